// Anti-aliased fill by sub-sample masks.
//
// Each pixel owns one mask word with a bit per sub-sample (bit s*j+i for
// sub-column i of sub-row j). Spans of a sub-scan-line set bits in the newest of
// three rolling rows of words; when a pixel row is complete its value is the
// number of set bits in a box of (s+2r) by (s+2r) sub-samples centred on the
// pixel, scaled to the pixel type. With r = 0 the box is the pixel's own word;
// otherwise it reaches r sub-samples into the eight neighbours, and the output
// lags one pixel row behind the scan.
#include "raster/fill_internal.h"

#include <algorithm>
#include <cmath>
#include <limits>
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
  // Spans of up to this many words between their end words set them at once.
  static constexpr QvLong kShortSpan = 9;

  AAScan(CFillContext& context, QvLong num_points, const FillBox& box,
         const AAFillParams& params, const PixelRows<T>& raster, PollFunction poll)
      : m_context(context),
        m_walker(context, num_points, params.winding),
        m_raster(raster),
        m_poll(poll),
        m_radius(params.radius),
        m_store(std::fabs(params.opacity - 1.0) > 1e-07 ? params.opacity : 1.0,
                (S + 2 * params.radius) * (S + 2 * params.radius)),
        m_opaqueCoverage(std::is_same<T, unsigned char>::value && S == 4 && params.radius == 0 &&
                         !(std::fabs(params.opacity - 1.0) > 1e-07)),
        m_pollEverySubRow(!(S == 4 && !params.winding)) {
    m_p = (m_radius + S - 1) / S;
    m_fullValue = Value(static_cast<Word>(~Word{0}) >> (sizeof(Word) * 8 - S * S));
    m_zeroValue = Value(0);
    m_xLo = std::max(box.xMin - m_p, 0);
    m_xHi = std::min(static_cast<std::int64_t>(box.xMax) + m_p,
                     static_cast<std::int64_t>(raster.width));
    m_yLo = std::max(box.yMin - m_p, 0);
    m_yHi = std::min(static_cast<std::int64_t>(box.yMax) + m_p,
                     static_cast<std::int64_t>(raster.height));
    if (m_p == 0) {
      // Every span of a sub-row takes two crossings at least.
      m_extentCapacity = static_cast<std::size_t>(num_points) / 2 + 1;
      m_extents.resize(m_extentCapacity * (S + 2));
      m_full = m_extents.data() + m_extentCapacity * S;
      m_scratch = m_full + m_extentCapacity;
    }
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
    const QvLong first = static_cast<QvLong>(m_xLo - m_p);
    const QvLong end = static_cast<QvLong>(m_xHi + m_p);
    m_first = first;
    m_end = end;

    Word** rows = Mask<S>::Rows(m_context);
    m_context.maskRowFirst = first;
    m_context.maskRowEnd = end;
    const std::size_t words = static_cast<std::size_t>(end - first);
    const int row_count = m_p == 1 ? 3 : 1;
    for (int k = 0; k < row_count; ++k) rows[k] = new Word[words]() - first;
    m_new = rows[0];
    m_mid = row_count == 3 ? rows[1] : nullptr;
    m_old = row_count == 3 ? rows[2] : nullptr;
    for (Range& r : m_ranges) r = Range{end, first - 1};

    // Sub-sample centres lie at sy + 0.5 in the scaled polygon.
    const double x_min = static_cast<double>(first) * S;
    const double x_max = static_cast<double>(end) * S;
    for (std::int64_t sy = py0 * S; sy < py1 * S; ++sy) {
      const int j = static_cast<int>(sy & (S - 1));
      if (m_poll != nullptr && (m_pollEverySubRow || j == 0) && m_poll() != 0) return;
      m_walker.Advance(static_cast<double>(sy) - 0.5, static_cast<double>(sy) + 0.5);
      const int shift = S * j;
      Word* row = m_new;
      Range& touched = m_ranges[0];
      if (m_p == 0) {
        // Only the end words are written now; the whole words between them
        // are noted with the span and set, where needed, at the flush.
        QvLong& count = m_extentCount[j];
        Range* extents = m_extents.data() + static_cast<std::size_t>(j) * m_extentCapacity;
        m_walker.SpansAndStep(x_min, x_max, [&, row, shift](std::int64_t left, std::int64_t right) {
          const auto a = static_cast<QvLong>(left >> Mask<S>::kShift);
          const auto b = static_cast<QvLong>(right >> Mask<S>::kShift);
          SetEnds(row, shift, left, right, a, b, touched);
          if (b - a <= kShortSpan) {
            const Word full = static_cast<Word>(Mask<S>::kSubRow << shift);
            for (QvLong x = a + 1; x < b; ++x) row[x] |= full;
          } else {
            extents[count++] = Range{a, b};
          }
        });
      } else {
        m_walker.SpansAndStep(x_min, x_max, [&, row, shift](std::int64_t left, std::int64_t right) {
          const auto a = static_cast<QvLong>(left >> Mask<S>::kShift);
          const auto b = static_cast<QvLong>(right >> Mask<S>::kShift);
          SetEnds(row, shift, left, right, a, b, touched);
          const Word full = static_cast<Word>(Mask<S>::kSubRow << shift);
          for (QvLong x = a + 1; x < b; ++x) row[x] |= full;
        });
      }
      if (((sy + 1) & (S - 1)) == 0) {
        const std::int64_t py = (sy + 1) / S - 1;
        if (m_p == 0)
          FlushPlain(static_cast<QvLong>(py));
        else
          FlushFiltered(static_cast<QvLong>(py), py0);
      }
    }
  }

 private:
  struct Range {
    QvLong first;
    QvLong last;
  };

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

  T Value(Word w) const noexcept {
    return m_opaqueCoverage ? static_cast<T>(CoverageByteTable[w & 0xFFFFu])
                            : m_store(Mask<S>::Count(w));
  }

  // Flush without a filter. Spans of one sub-row never share a sub-sample
  // with the whole words of another span of it, so a word that lies between
  // the end words of a long span in every sub-row was never written: it is a
  // full pixel, and clean. Those words form the intersection over the sub-rows
  // of the long spans' interiors; the other interior words of long spans get
  // their bits here, and only the rest of the touched range is counted. Short
  // spans set their whole words as they come: they would rarely hold a full
  // pixel, and noting them costs more than the few words.
  void FlushPlain(QvLong py) noexcept {
    Range& touched = m_ranges[0];
    if (touched.first <= touched.last) {
      // Spans of a list that crossings which are not numbers have disordered
      // may overlap and write inside each other's whole words: then every
      // word is counted, and so cleared.
      const bool ordered = m_walker.Ordered();
      bool aligned = ordered;
      for (int j = 1; j < S; ++j) aligned &= m_extentCount[j] == m_extentCount[0];
      const std::size_t full_count = aligned ? AlignedFullWords() : ordered ? FullWords() : 0;
      const Range* full = m_full;
      for (int j = 0; j < S; ++j) {
        const Word bits = static_cast<Word>(Mask<S>::kSubRow << (S * j));
        const Range* extents = m_extents.data() + static_cast<std::size_t>(j) * m_extentCapacity;
        if (aligned) {
          // The k-th full range, if any, lies inside the k-th span of every
          // sub-row: the span's words are those on either side of it.
          const Range* groups = m_scratch;
          for (QvLong k = 0; k < m_extentCount[j]; ++k) {
            const QvLong first = extents[k].first + 1;
            const QvLong last = extents[k].last - 1;
            const Range g = groups[k];
            if (g.first <= g.last) {
              for (QvLong w = first; w < g.first; ++w) m_new[w] |= bits;
              for (QvLong w = g.last + 1; w <= last; ++w) m_new[w] |= bits;
            } else {
              for (QvLong w = first; w <= last; ++w) m_new[w] |= bits;
            }
          }
          continue;
        }
        std::size_t f = 0;
        for (QvLong k = 0; k < m_extentCount[j]; ++k) {
          QvLong x = extents[k].first + 1;
          const QvLong last = extents[k].last - 1;
          while (x <= last) {
            while (f < full_count && full[f].last < x) ++f;
            if (f < full_count && full[f].first <= x) {
              x = full[f].last + 1;
              continue;
            }
            const QvLong end = f < full_count ? std::min(last, full[f].first - 1) : last;
            for (QvLong w = x; w <= end; ++w) m_new[w] |= bits;
            x = end + 1;
          }
        }
      }

      T* out = m_raster.Row(py);
      QvLong x = touched.first;
      for (std::size_t f = 0; f < full_count; ++f) {
        WriteCounted(out, x, full[f].first - 1);
        std::fill(out + full[f].first, out + full[f].last + 1, m_fullValue);
        x = full[f].last + 1;
      }
      WriteCounted(out, x, touched.last);
    }
    for (QvLong& count : m_extentCount) count = 0;
    touched = Range{m_end, m_first - 1};
  }

  // Counts words from..to and clears them. Most words between shapes are
  // zero: they are skipped eight at a time. The choice of table or count is
  // made once a call, not once a pixel.
  void WriteCounted(T* out, QvLong from, QvLong to) noexcept {
    if (m_opaqueCoverage)
      WriteCountedBy<true>(out, from, to);
    else
      WriteCountedBy<false>(out, from, to);
  }

  template <bool Opaque>
  T ValueBy(Word w) const noexcept {
    if constexpr (Opaque)
      return static_cast<T>(CoverageByteTable[w & 0xFFFFu]);
    else
      return m_store(Mask<S>::Count(w));
  }

  template <bool Opaque>
  void WriteCountedBy(T* out, QvLong from, QvLong to) noexcept {
    Word* words = m_new;
    QvLong x = from;
    for (; x + 8 <= to + 1; x += 8) {
      Word* w = words + x;
      const Word any = w[0] | w[1] | w[2] | w[3] | w[4] | w[5] | w[6] | w[7];
      T* o = out + x;
      if (any == 0) {
        std::fill(o, o + 8, m_zeroValue);
        continue;
      }
      o[0] = ValueBy<Opaque>(w[0]);
      o[1] = ValueBy<Opaque>(w[1]);
      o[2] = ValueBy<Opaque>(w[2]);
      o[3] = ValueBy<Opaque>(w[3]);
      o[4] = ValueBy<Opaque>(w[4]);
      o[5] = ValueBy<Opaque>(w[5]);
      o[6] = ValueBy<Opaque>(w[6]);
      o[7] = ValueBy<Opaque>(w[7]);
      std::fill(w, w + 8, Word{0});
    }
    for (; x <= to; ++x) {
      out[x] = ValueBy<Opaque>(words[x]);
      words[x] = 0;
    }
  }

  // When every sub-row holds as many long spans, the k-th spans of the
  // sub-rows usually cover the same stretch of one shape: the words inside all
  // of them are full. m_scratch[k] receives that range of the k-th spans
  // (empty when they do not overlap) and m_full the non-empty ones in order;
  // returns their count. Full words missed by the pairing are merely counted.
  std::size_t AlignedFullWords() noexcept {
    std::size_t count = 0;
    const Range* extents = m_extents.data();
    for (QvLong k = 0; k < m_extentCount[0]; ++k) {
      QvLong first = extents[k].first;
      QvLong last = extents[k].last;
      for (int j = 1; j < S; ++j) {
        const Range& e = extents[static_cast<std::size_t>(j) * m_extentCapacity + static_cast<std::size_t>(k)];
        first = std::max(first, e.first);
        last = std::min(last, e.last);
      }
      m_scratch[k] = Range{first + 1, last - 1};
      if (first + 1 <= last - 1) m_full[count++] = m_scratch[k];
    }
    return count;
  }

  // The words inside a span in every sub-row, as sorted disjoint ranges in
  // m_full; returns their count.
  std::size_t FullWords() noexcept {
    std::size_t count = 0;
    for (int j = 0; j < S; ++j) {
      const Range* extents = m_extents.data() + static_cast<std::size_t>(j) * m_extentCapacity;
      std::size_t next = 0;
      if (j == 0) {
        for (QvLong k = 0; k < m_extentCount[j]; ++k)
          if (extents[k].first + 1 <= extents[k].last - 1)
            m_full[next++] = Range{extents[k].first + 1, extents[k].last - 1};
      } else {
        std::size_t f = 0;
        QvLong k = 0;
        const Range* full = m_full;
        Range* out = m_scratch;
        const QvLong extent_count = m_extentCount[j];
        while (f < count && k < extent_count) {
          const QvLong lo = std::max(full[f].first, extents[k].first + 1);
          const QvLong hi = std::min(full[f].last, extents[k].last - 1);
          if (lo <= hi) out[next++] = Range{lo, hi};
          if (full[f].last < extents[k].last - 1)
            ++f;
          else
            ++k;
        }
        std::swap(m_full, m_scratch);
      }
      count = next;
      if (count == 0) break;
    }
    return count;
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
  bool m_opaqueCoverage;
  bool m_pollEverySubRow;
  QvLong m_p = 0;
  std::int64_t m_xLo = 0, m_xHi = 0, m_yLo = 0, m_yHi = 0;
  QvLong m_first = 0, m_end = 0;
  Word* m_new = nullptr;
  Word* m_mid = nullptr;
  Word* m_old = nullptr;
  Range m_ranges[3] = {};
  // The long spans of each sub-row of the pixel row, then two rows of ranges
  // for the intersection of their interiors.
  std::vector<Range> m_extents;
  Range* m_full = nullptr;
  Range* m_scratch = nullptr;
  std::size_t m_extentCapacity = 0;
  QvLong m_extentCount[S] = {};
  T m_fullValue = T(0);
  T m_zeroValue = T(0);
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
