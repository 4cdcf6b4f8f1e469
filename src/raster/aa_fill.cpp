// Anti-aliased fill by sub-sample counts.
//
// A pixel's value is the number of covered sub-samples in a box of (s+2r) by
// (s+2r) centred on it, scaled to the pixel type. Without a filter (r = 0) the
// box is the pixel itself, and the count is accumulated from the spans' ends
// as differences along the pixel row. With a filter each pixel owns one mask
// word with a bit per sub-sample (bit s*j+i for sub-column i of sub-row j);
// spans set bits in the newest of three rolling rows of words, the box reaches
// r sub-samples into the eight neighbours, and the output lags one pixel row
// behind the scan.
#include "raster/fill_internal.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <type_traits>
#include <vector>

namespace qv::internal {

namespace {

std::int32_t scale_to_long(double value) noexcept {
  if (!(value == value)) return 0;
  if (value <= -2147483648.0) return std::numeric_limits<std::int32_t>::min();
  if (value >= 2147483647.0) return std::numeric_limits<std::int32_t>::max();
  return static_cast<std::int32_t>(value);
}

template <int S>
struct Mask;

template <>
struct Mask<4> {
  using Word = std::uint32_t;
  static constexpr int kShift = 2;
  static constexpr Word kSubRow = 0xF;
  static Word** Rows(CFillContext& context) noexcept { return context.maskRows32; }
  static unsigned Count(Word w) noexcept { return BitCountTable[w & 0xFFFFu]; }
};

template <>
struct Mask<8> {
  using Word = std::uint64_t;
  static constexpr int kShift = 3;
  static constexpr Word kSubRow = 0xFF;
  static Word** Rows(CFillContext& context) noexcept { return context.maskRows64; }
  static unsigned Count(Word w) noexcept {
    return static_cast<unsigned>(BitCountTable[w & 0xFFFFu]) + BitCountTable[(w >> 16) & 0xFFFFu] +
           BitCountTable[(w >> 32) & 0xFFFFu] + BitCountTable[(w >> 48) & 0xFFFFu];
  }
};

// Count to pixel. The byte and short stores are the 32-bit fixed-point products
// of the interface; opacity is not clamped, so an over-opaque fill wraps into
// the low bits as the integer arithmetic gives it.
template <class T>
struct Store;

template <>
struct Store<unsigned char> {
  std::uint32_t scale;
  Store(double opacity, QvLong n) : scale(static_cast<std::uint32_t>(aa_byte_scale(opacity, n))) {}
  unsigned char operator()(unsigned count) const noexcept {
    const auto v = static_cast<std::int32_t>(count * scale + 32768u);
    return static_cast<unsigned char>(v >> 16);
  }
};

template <>
struct Store<short> {
  std::uint32_t scale;
  Store(double opacity, QvLong n) : scale(static_cast<std::uint32_t>(aa_short_scale(opacity, n))) {}
  short operator()(unsigned count) const noexcept {
    const auto v = static_cast<std::int32_t>(count * scale + 8192u);
    return static_cast<short>(v >> 14);
  }
};

template <>
struct Store<float> {
  float scale;
  Store(double opacity, QvLong n) : scale(static_cast<float>(opacity / static_cast<double>(n))) {}
  float operator()(unsigned count) const noexcept { return static_cast<float>(count) * scale; }
};

template <class T, int S>
class AAScan {
 public:
  using Word = typename Mask<S>::Word;

  AAScan(CFillContext& context, QvLong num_points, const FillBox& box,
         const AAFillParams& params, const PixelRows<T>& raster, PollFunction poll)
      : m_context(context),
        m_walker(context, num_points, params.winding),
        m_raster(raster),
        m_poll(poll),
        m_radius(params.radius),
        m_store(std::fabs(params.opacity - 1.0) > 1e-07 ? params.opacity : 1.0,
                (S + 2 * params.radius) * (S + 2 * params.radius)),
        m_pollEverySubRow(!(S == 4 && !params.winding)),
        m_numPoints(num_points) {
    m_p = (m_radius + S - 1) / S;
    m_xLo = std::max(box.xMin - m_p, 0);
    m_xHi = std::min(static_cast<std::int64_t>(box.xMax) + m_p,
                     static_cast<std::int64_t>(raster.width));
    m_yLo = std::max(box.yMin - m_p, 0);
    m_yHi = std::min(static_cast<std::int64_t>(box.yMax) + m_p,
                     static_cast<std::int64_t>(raster.height));
    // Without a filter a pixel's value depends on its count alone; with
    // opacity 1 at 4 by 4 the byte values are those of the coverage table.
    const bool opaque_coverage = std::is_same<T, unsigned char>::value && S == 4 &&
                                 m_radius == 0 && !(std::fabs(params.opacity - 1.0) > 1e-07);
    for (unsigned c = 0; c <= S * S; ++c)
      m_values[c] =
          opaque_coverage ? static_cast<T>(CoverageByteTable[(1u << c) - 1u]) : m_store(c);
  }

  void Run() {
    const std::int64_t py0 = m_yLo - m_p;
    const std::int64_t py1 = m_yHi + m_p;
    if (m_xLo >= m_xHi || m_yLo >= m_yHi) {
      // Nothing can be written, but the host still sees its poll at every
      // sub-row the scan would visit.
      for (std::int64_t sy = py0 * S; sy < py1 * S; ++sy)
        if (m_poll != nullptr && (m_pollEverySubRow || (sy & (S - 1)) == 0) && m_poll() != 0)
          return;
      return;
    }
    m_first = static_cast<QvLong>(m_xLo - m_p);
    m_end = static_cast<QvLong>(m_xHi + m_p);
    if (m_p == 0 && m_walker.Winding())
      RunCounts<true>(py0, py1);
    else if (m_p == 0)
      RunCounts<false>(py0, py1);
    else
      RunMasks(py0, py1);
  }

 private:
  struct Range {
    QvLong first;
    QvLong last;
  };
  struct Span {
    std::int64_t left;
    std::int64_t right;
  };

  // Without a filter. The spans of one sub-row cover each sub-sample at most
  // once once their shared ends are cut (two spans meet on one sub-sample when
  // a crossing falls exactly on its centre), so a pixel's count is the sum of
  // the sub-columns its spans cover. Each span adds to the pixel row's count
  // differences at its two ends only, whatever its length: the partial
  // sub-columns of its end pixels, and the whole sub-rows of the pixels
  // between as a rise after the first and a fall at the last. The flush turns
  // the differences into counts with one running sum over the touched range.
  template <bool kWinding>
  void RunCounts(std::int64_t py0, std::int64_t py1) {
    const std::size_t cells = static_cast<std::size_t>(m_end - m_first) + 1;
    m_deltaStore.assign(cells, 0);
    m_delta = m_deltaStore.data() - m_first;
    // Not cleared: a sub-row writes its spans before it reads them.
    m_spans.reset(new Span[static_cast<std::size_t>(m_numPoints) + 1]);
    const Range none{m_end, m_first - 1};
    Range touched = none;
    const double x_min = static_cast<double>(m_first) * S;
    const double x_max = static_cast<double>(m_end) * S;
    // Sub-sample centres lie at sy + 0.5 in the scaled polygon; the scan line
    // is counted in double as well, exactly, since it stays far below 2^52.
    double centre = static_cast<double>(py0 * S) + 0.5;
    for (std::int64_t sy = py0 * S; sy < py1 * S; ++sy, centre += 1.0) {
      const int j = static_cast<int>(sy & (S - 1));
      if (j == 0 && m_walker.Steady(centre + (S - 1))) {
        // Most pixel rows of a large convex shape have two edges and no
        // vertex: a lean walk of the whole pixel row.
        if (!SteadyPixelRow<kWinding>(sy, x_min, x_max)) return;
        sy += S - 1;
        centre += S - 1;
        continue;
      }
      if (m_poll != nullptr && (m_pollEverySubRow || j == 0) && m_poll() != 0) return;
      m_walker.Advance(centre - 1.0, centre);
      std::int8_t* delta = m_delta;
      // The pixels of a span from its third to its last but one receive no
      // difference from this sub-row: the widest such stretch of each
      // sub-row, intersected over the pixel row, needs no counting at all.
      Range& wide = m_wide[j];
      wide = none;
      QvLong widest = 2;
      auto add = [&](std::int64_t left, std::int64_t right, QvLong a, QvLong b) {
        AddSpan(delta, left, right, a, b);
        if (b - a > widest) {
          widest = b - a;
          wide = Range{a + 2, b - 1};
        }
      };
      if (m_walker.Ordered()) {
        // Ordered crossings give spans from left to right, each starting at
        // or after the end of the one before, on it at the most.
        // The first span's start and the last one's end bound the sub-row's
        // touched pixels.
        constexpr std::int64_t kNoSpan = std::numeric_limits<std::int64_t>::min();
        std::int64_t done = kNoSpan;
        auto span = [&](std::int64_t left, std::int64_t right) {
          auto a = static_cast<QvLong>(left >> Mask<S>::kShift);
          const auto b = static_cast<QvLong>(right >> Mask<S>::kShift);
          if (done == kNoSpan) {
            touched.first = std::min(touched.first, a);
          } else if (left <= done) {
            left = done + 1;
            if (left > right) return;
            a = static_cast<QvLong>(left >> Mask<S>::kShift);
          }
          done = right;
          add(left, right, a, b);
        };
        if constexpr (kWinding)
          m_walker.WindingSpansAndStep(x_min, x_max, span);
        else
          m_walker.EvenOddSpansAndStep(x_min, x_max, span);
        if (done != kNoSpan)
          touched.last = std::max(touched.last, static_cast<QvLong>(done >> Mask<S>::kShift));
      } else {
        // A crossing that is not a number can disorder the list, and its
        // spans may then overlap anywhere: they are sorted and merged first.
        Span* spans = m_spans.get();
        std::size_t count = 0;
        m_walker.SpansAndStep(x_min, x_max, [&](std::int64_t left, std::int64_t right) {
          Touch(touched, left, right);
          spans[count++] = Span{left, right};
        });
        std::sort(spans, spans + count,
                  [](const Span& a, const Span& b) { return a.left < b.left; });
        std::int64_t done = std::numeric_limits<std::int64_t>::min();
        for (std::size_t k = 0; k < count; ++k) {
          const std::int64_t left = std::max(spans[k].left, done + 1);
          const std::int64_t right = spans[k].right;
          if (right > done) done = right;
          if (left <= right)
            add(left, right, static_cast<QvLong>(left >> Mask<S>::kShift),
                static_cast<QvLong>(right >> Mask<S>::kShift));
        }
      }
      if (j == S - 1) {
        Range quiet = m_wide[0];
        for (int k = 1; k < S; ++k) {
          quiet.first = std::max(quiet.first, m_wide[k].first);
          quiet.last = std::min(quiet.last, m_wide[k].last);
        }
        FlushCounts(static_cast<QvLong>((sy + 1) / S - 1), touched, quiet);
        touched = none;
      }
    }
  }

  // One pixel row whose sub-rows all see the same two edges and no vertex,
  // from sub-row `sy`: the same polls, spans and flush as
  // the general walk, one span a sub-row at the most. False when the poll
  // asked to stop.
  template <bool kWinding>
  bool SteadyPixelRow(std::int64_t sy, double x_min, double x_max) {
    std::int8_t* delta = m_delta;
    Range touched{m_end, m_first - 1};
    // A span from a to b leaves a + 2 .. b - 1 without differences, a range
    // that is empty just when the span is too short to count as wide; the
    // quiet stretch is the intersection over the sub-rows, and empty when a
    // sub-row has no span.
    Range quiet{std::numeric_limits<QvLong>::min(), std::numeric_limits<QvLong>::max()};
    int spans = 0;
    for (int j = 0; j < S; ++j) {
      if (m_poll != nullptr && (m_pollEverySubRow || j == 0) && m_poll() != 0) return false;
      m_walker.template PairSpanAndStep<kWinding>(
          x_min, x_max, [&](std::int64_t left, std::int64_t right) {
            const auto a = static_cast<QvLong>(left >> Mask<S>::kShift);
            const auto b = static_cast<QvLong>(right >> Mask<S>::kShift);
            if (a < touched.first) touched.first = a;
            if (b > touched.last) touched.last = b;
            AddSpan(delta, left, right, a, b);
            quiet.first = std::max(quiet.first, a + 2);
            quiet.last = std::min(quiet.last, b - 1);
            ++spans;
          });
    }
    if (spans < S) quiet = Range{m_end, m_first - 1};
    FlushCounts(static_cast<QvLong>((sy + S) / S - 1), touched, quiet);
    return true;
  }

  static void Touch(Range& touched, std::int64_t left, std::int64_t right) noexcept {
    const auto a = static_cast<QvLong>(left >> Mask<S>::kShift);
    const auto b = static_cast<QvLong>(right >> Mask<S>::kShift);
    if (a < touched.first) touched.first = a;
    if (b > touched.last) touched.last = b;
  }

  // Pixel a gets S - c0 sub-columns, pixel b gets c1 + 1, the pixels between
  // S each; for a == b the sums come to c1 - c0 + 1 in the one pixel.
  static void AddSpan(std::int8_t* delta, std::int64_t left, std::int64_t right, QvLong a,
                      QvLong b) noexcept {
    const int c0 = static_cast<int>(left & (S - 1));
    const int c1 = static_cast<int>(right & (S - 1)) + 1;
    delta[a] = static_cast<std::int8_t>(delta[a] + (S - c0));
    delta[a + 1] = static_cast<std::int8_t>(delta[a + 1] + c0);
    delta[b] = static_cast<std::int8_t>(delta[b] + (c1 - S));
    delta[b + 1] = static_cast<std::int8_t>(delta[b + 1] - c1);
  }

  // Writes the touched range of pixel row py from the running sum of the
  // differences and clears them. The quiet stretch, where no difference was
  // added, is one fill of the count reached at its start.
  void FlushCounts(QvLong py, Range touched, Range quiet) noexcept {
    if (touched.first > touched.last) return;
    T* out = m_raster.Row(py);
    const QvLong stop = touched.last + 1;
    if (quiet.first <= quiet.last) {
      const unsigned sum = WriteCounts(out, touched.first, quiet.first, 0);
      std::fill(out + quiet.first, out + quiet.last + 1, m_values[sum]);
      WriteCounts(out, quiet.last + 1, stop, sum);
    } else {
      WriteCounts(out, touched.first, stop, 0);
    }
    m_delta[stop] = 0;
  }

  // Pixels from..stop-1 from the running sum, which starts at `sum`; returns
  // the sum at the end. Runs of zero differences (outside the shapes and
  // inside them) are found eight and thirty-two cells at a time and written
  // as one fill.
  unsigned WriteCounts(T* out, QvLong from, QvLong stop, unsigned sum) noexcept {
    std::int8_t* delta = m_delta;
    const T* values = m_values;
    auto block = [delta](QvLong x) noexcept {
      std::uint64_t bits;
      std::memcpy(&bits, delta + x, sizeof bits);
      return bits;
    };
    QvLong x = from;
    for (; stop - x >= 8; x += 8) {
      if (block(x) != 0) {
        for (int i = 0; i < 8; ++i) {
          sum = (sum + static_cast<unsigned>(delta[x + i])) & 0xFFu;
          out[x + i] = values[sum];
        }
        std::memset(delta + x, 0, 8);
        continue;
      }
      const T value = values[sum];
      std::fill_n(out + x, 8, value);
      if (stop - x < 16 || block(x + 8) != 0) continue;
      QvLong run = x + 16;
      while (stop - run >= 32 &&
             (block(run) | block(run + 8) | block(run + 16) | block(run + 24)) == 0)
        run += 32;
      std::fill(out + x + 8, out + run, value);
      x = run - 8;
    }
    for (; x < stop; ++x) {
      sum = (sum + static_cast<unsigned>(delta[x])) & 0xFFu;
      out[x] = values[sum];
      delta[x] = 0;
    }
    return sum;
  }

  // With a filter: the mask words of three rolling rows.
  void RunMasks(std::int64_t py0, std::int64_t py1) {
    const QvLong first = m_first;
    const QvLong end = m_end;
    Word** rows = Mask<S>::Rows(m_context);
    m_context.maskRowFirst = first;
    m_context.maskRowEnd = end;
    const std::size_t words = static_cast<std::size_t>(end - first);
    for (int k = 0; k < 3; ++k) rows[k] = new Word[words]() - first;
    m_new = rows[0];
    m_mid = rows[1];
    m_old = rows[2];
    for (Range& r : m_ranges) r = Range{end, first - 1};

    const double x_min = static_cast<double>(first) * S;
    const double x_max = static_cast<double>(end) * S;
    for (std::int64_t sy = py0 * S; sy < py1 * S; ++sy) {
      const int j = static_cast<int>(sy & (S - 1));
      if (m_poll != nullptr && (m_pollEverySubRow || j == 0) && m_poll() != 0) return;
      m_walker.Advance(static_cast<double>(sy) - 0.5, static_cast<double>(sy) + 0.5);
      const int shift = S * j;
      Word* row = m_new;
      Range& touched = m_ranges[0];
      m_walker.SpansAndStep(x_min, x_max, [&, row, shift](std::int64_t left, std::int64_t right) {
        const auto a = static_cast<QvLong>(left >> Mask<S>::kShift);
        const auto b = static_cast<QvLong>(right >> Mask<S>::kShift);
        SetEnds(row, shift, left, right, a, b, touched);
        const Word full = static_cast<Word>(Mask<S>::kSubRow << shift);
        for (QvLong x = a + 1; x < b; ++x) row[x] |= full;
      });
      if (j == S - 1) FlushFiltered(static_cast<QvLong>((sy + 1) / S - 1), py0);
    }
  }

  void Clear(Word* row, Range& range) noexcept {
    if (range.first <= range.last)
      std::fill(row + range.first, row + range.last + 1, Word{0});
    range = Range{m_end, m_first - 1};
  }

  // The bits of a span in its first and last word; with a == b, the one word.
  static void SetEnds(Word* row, int shift, std::int64_t left, std::int64_t right, QvLong a,
                      QvLong b, Range& touched) noexcept {
    if (a < touched.first) touched.first = a;
    if (b > touched.last) touched.last = b;
    const int c0 = static_cast<int>(left & (S - 1));
    const int c1 = static_cast<int>(right & (S - 1));
    const Word head = static_cast<Word>((Mask<S>::kSubRow << c0) & Mask<S>::kSubRow);
    const Word tail = static_cast<Word>(Mask<S>::kSubRow >> (S - 1 - c1));
    if (a == b) {
      row[a] |= static_cast<Word>((head & tail) << shift);
    } else {
      row[a] |= static_cast<Word>(head << shift);
      row[b] |= static_cast<Word>(tail << shift);
    }
  }

  void FlushFiltered(QvLong py, std::int64_t py0) noexcept {
    if (py >= py0 + 2) {
      QvLong m = std::min({m_ranges[0].first, m_ranges[1].first, m_ranges[2].first});
      QvLong big_m = std::max({m_ranges[0].last, m_ranges[1].last, m_ranges[2].last});
      const auto x_lo = static_cast<QvLong>(m_xLo);
      const auto x_hi = static_cast<QvLong>(m_xHi);
      const QvLong left = m <= x_lo ? x_lo : m - 1;
      const QvLong right = big_m >= x_hi - 1 ? x_hi - 1 : big_m + 1;
      if (left <= right) WriteBoxRow(py - 1, left, right);
    }
    // The oldest row is reused as the newest.
    Word* reused = m_old;
    m_old = m_mid;
    m_mid = m_new;
    m_new = reused;
    const Range reused_range = m_ranges[2];
    m_ranges[2] = m_ranges[1];
    m_ranges[1] = m_ranges[0];
    m_ranges[0] = reused_range;
    Clear(m_new, m_ranges[0]);
  }

  // The box of one pixel is three column sums of its own and its two
  // neighbouring columns of words: the part of the left neighbour's words that
  // lies in the box, the whole centre column and the part of the right
  // neighbour's. Each column's sums are computed once and slid along.
  void WriteBoxRow(QvLong y, QvLong left, QvLong right) noexcept {
    const int r = static_cast<int>(m_radius);
    Word rows_first = 0, rows_last = 0, cols_first = 0, cols_last = 0;
    for (int j = 0; j < S; ++j) {
      for (int i = 0; i < S; ++i) {
        const Word bit = static_cast<Word>(Word{1} << (S * j + i));
        if (j < r) rows_first |= bit;
        if (j >= S - r) rows_last |= bit;
        if (i < r) cols_first |= bit;
        if (i >= S - r) cols_last |= bit;
      }
    }
    const Word* o = m_old;
    const Word* mid = m_mid;
    const Word* n = m_new;
    auto sums = [&](QvLong c, unsigned& as_left, unsigned& as_centre, unsigned& as_right) {
      const Word wo = static_cast<Word>(o[c] & rows_last);
      const Word wm = mid[c];
      const Word wn = static_cast<Word>(n[c] & rows_first);
      as_left = Mask<S>::Count(wo & cols_last) + Mask<S>::Count(wm & cols_last) +
                Mask<S>::Count(wn & cols_last);
      as_centre = Mask<S>::Count(wo) + Mask<S>::Count(wm) + Mask<S>::Count(wn);
      as_right = Mask<S>::Count(wo & cols_first) + Mask<S>::Count(wm & cols_first) +
                 Mask<S>::Count(wn & cols_first);
    };
    T* out = m_raster.Row(y);
    unsigned l0, c0, r0, l1, c1, r1, l2, c2, r2;
    sums(left - 1, l0, c0, r0);
    sums(left, l1, c1, r1);
    for (QvLong x = left; x <= right; ++x) {
      sums(x + 1, l2, c2, r2);
      out[x] = m_store(l0 + c1 + r2);
      l0 = l1;
      c0 = c1;
      r0 = r1;
      l1 = l2;
      c1 = c2;
      r1 = r2;
    }
    (void)c0;
    (void)r0;
  }

  CFillContext& m_context;
  EdgeWalker m_walker;
  PixelRows<T> m_raster;
  PollFunction m_poll;
  QvLong m_radius;
  Store<T> m_store;
  bool m_pollEverySubRow;
  QvLong m_numPoints;
  QvLong m_p = 0;
  std::int64_t m_xLo = 0, m_xHi = 0, m_yLo = 0, m_yHi = 0;
  QvLong m_first = 0, m_end = 0;
  // Pixel value by count, for the unfiltered path; a count is at most 64.
  T m_values[256] = {};
  // Unfiltered: the count differences of the pixel row, one cell a pixel
  // column and one past the last, indexed by the column; and room for the
  // spans of one sub-row when they must be sorted.
  std::vector<std::int8_t> m_deltaStore;
  std::int8_t* m_delta = nullptr;
  std::unique_ptr<Span[]> m_spans;
  // The widest stretch without differences of each sub-row of the pixel row.
  Range m_wide[S] = {};
  // Filtered: the three rows of mask words and their touched ranges.
  Word* m_new = nullptr;
  Word* m_mid = nullptr;
  Word* m_old = nullptr;
  Range m_ranges[3] = {};
};

}  // namespace

std::int32_t aa_byte_scale(double opacity, QvLong n) {
  return scale_to_long((opacity * 255.0 / static_cast<double>(n)) * 65536.0 + 0.5);
}

std::int32_t aa_short_scale(double opacity, QvLong n) {
  return scale_to_long((opacity * 16384.0 / static_cast<double>(n)) * 16384.0 + 0.5);
}

template <class T>
void aa_fill(CFillContext& context, QvLong num_points, const FillBox& box,
             const AAFillParams& params, const PixelRows<T>& raster, PollFunction poll) {
  if (params.super_sampling == 4) {
    AAScan<T, 4> scan(context, num_points, box, params, raster, poll);
    scan.Run();
  } else {
    AAScan<T, 8> scan(context, num_points, box, params, raster, poll);
    scan.Run();
  }
}

template void aa_fill<unsigned char>(CFillContext&, QvLong, const FillBox&, const AAFillParams&,
                                     const PixelRows<unsigned char>&, PollFunction);
template void aa_fill<short>(CFillContext&, QvLong, const FillBox&, const AAFillParams&,
                             const PixelRows<short>&, PollFunction);
template void aa_fill<float>(CFillContext&, QvLong, const FillBox&, const AAFillParams&,
                             const PixelRows<float>&, PollFunction);

}  // namespace qv::internal
