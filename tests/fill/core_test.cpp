// The scan converters' parts over private polygons: the anti-aliased fill's
// tables, fixed-point scales, poll of each path and a sub-sample brute force
// on random polygons in the three pixel types; the soft fill's kernel and its
// masking by coverage. The figures are checked through QvPath2f.
#include "fill_reference.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

namespace {

using qv::internal::AAFillParams;
using qv::internal::FillBox;
using qv::internal::PixelRows;
using qvtest::Polygon;

template <class T>
void aa(const std::vector<Polygon>& polygons, const FillBox& box, const AAFillParams& params,
        QvRaster<T>& image, qv::internal::PollFunction poll = nullptr) {
  CFillContext context;
  const QvLong n = qvtest::load(polygons, params.super_sampling, context);
  const PixelRows<T> rows{image.pixels, image.width, image.height, image.bottomUp != 0};
  qv::internal::aa_fill<T>(context, n, box, params, rows, poll);
}

AAFillParams params(int s, int r, double opacity = 1.0, bool winding = true) {
  AAFillParams p;
  p.super_sampling = s;
  p.radius = r;
  p.opacity = opacity;
  p.winding = winding;
  return p;
}

TEST(AATables, CountsAndCoverage) {
  using qv::internal::BitCountTable;
  using qv::internal::CoverageByteTable;
  struct Case {
    unsigned mask, bits, coverage;
  };
  const Case cases[] = {{0x0000, 0, 0},   {0x0001, 1, 16},  {0x8000, 1, 16},  {0x00FF, 8, 128},
                        {0x0F0F, 8, 128}, {0x7FFF, 15, 239}, {0xFFFF, 16, 255}, {0x1111, 4, 64}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.mask);
    EXPECT_EQ(c.bits, BitCountTable[c.mask]);
    EXPECT_EQ(c.coverage, CoverageByteTable[c.mask]);
  }
}

TEST(SpanRounding, AgreesWithTheLibrary) {
  const double values[] = {-0.0, 2.5, -2.5, -1e-300, 3.0, -3.0, 0.49999999999999994,
                           -7.000000000000001, 4095.9999999999995, -2147483648.0};
  for (double v : values) {
    SCOPED_TRACE(v);
    EXPECT_EQ(std::floor(v), static_cast<double>(qv::internal::floor_in_box(v)));
    EXPECT_EQ(std::ceil(v), static_cast<double>(qv::internal::ceil_in_box(v)));
  }
}

// The walk takes in every vertex at the first scan line k with y <= k + 0.5;
// the table must bring them in that order, each vertex once, whether it was
// ordered by scan line (many vertices, few lines) or by comparison (few
// vertices over many lines, or heights that are not finite).
TEST(VertexTable, ComesInByScanLine) {
  std::mt19937 rng(5);
  for (int trial = 0; trial < 40; ++trial) {
    SCOPED_TRACE(trial);
    const double spread = trial % 2 == 0 ? 30.0 : 3000.0;
    auto polygons = qvtest::random_polygons(rng, 1 + trial % 5, -spread, spread);
    if (trial % 4 == 3) polygons[0][0].y = std::numeric_limits<double>::infinity();
    CFillContext context;
    const QvLong n = qvtest::load(polygons, trial % 3 == 0 ? 8.0 : 1.0, context);
    std::vector<int> seen(static_cast<std::size_t>(n), 0);
    double reached = -std::numeric_limits<double>::infinity();
    for (QvLong i = 0; i < n; ++i) {
      const double y = context.points[context.vertices[i].index].y;
      ++seen[static_cast<std::size_t>(context.vertices[i].index)];
      const double line = std::ceil(y - 0.5);
      EXPECT_LE(reached, line) << i;
      reached = std::max(reached, line);
    }
    EXPECT_EQ(std::vector<int>(static_cast<std::size_t>(n), 1), seen);
  }
}

TEST(AAScales, OpaqueTable) {
  struct Case {
    int s, r;
    std::int32_t byte_scale, short_scale;
  };
  const Case cases[] = {
      {4, 0, 1044480, 16777216}, {4, 1, 464213, 7456540}, {4, 2, 261120, 4194304},
      {4, 3, 167117, 2684355},   {4, 4, 116053, 1864135}, {8, 0, 261120, 4194304},
      {8, 1, 167117, 2684355},   {8, 2, 116053, 1864135}, {8, 3, 85264, 1369569},
      {8, 4, 65280, 1048576},    {8, 5, 51579, 828504},   {8, 6, 41779, 671089},
      {8, 7, 34528, 554619},     {8, 8, 29013, 466034},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << c.s << "/" << c.r);
    const QvLong w = c.s + 2 * c.r;
    EXPECT_EQ(c.byte_scale, qv::internal::aa_byte_scale(1.0, w * w));
    EXPECT_EQ(c.short_scale, qv::internal::aa_short_scale(1.0, w * w));
  }
  EXPECT_EQ(522240, qv::internal::aa_byte_scale(0.5, 16));
}

TEST(AAFill, PollFrequencyByPath) {
  static int calls;
  struct Poll {
    static QvLong count(void) {
      ++calls;
      return 0;
    }
    static QvLong second(void) { return ++calls == 2 ? 1 : 0; }
  };
  const Polygon square = {{1, 1}, {5, 1}, {5, 5}, {1, 5}};
  struct Case {
    int s;
    bool winding;
    int r;
    FillBox box;
    int calls;
  };
  // Rows 1..4 are scanned; a filter adds two rows on either side. A box with
  // no writable column or row (a clip box beside the shape) is scanned all
  // the same, and nothing is written.
  const FillBox whole = {1, 1, 5, 5};
  const Case cases[] = {{4, false, 0, whole, 4},        {4, true, 0, whole, 16},
                        {8, false, 0, whole, 32},       {8, true, 0, whole, 32},
                        {4, false, 1, whole, 8},        {4, true, 1, whole, 32},
                        {4, true, 0, {5, 1, 5, 5}, 16}, {8, false, 1, {1, 5, 5, 3}, 16}};
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << c.s << (c.winding ? " winding" : " even-odd") << c.r
                                    << " box " << c.box.xMin << "," << c.box.yMin);
    calls = 0;
    QvRaster<unsigned char> image(8, 8, 0);
    aa({square}, c.box, params(c.s, c.r, 1.0, c.winding), image, &Poll::count);
    EXPECT_EQ(c.calls, calls);
    const bool writable = c.box.xMin < c.box.xMax && c.box.yMin < c.box.yMax;
    EXPECT_NE(writable, image.AllPixelValuesAre(0) != 0);
  }
  // Stopping at the second call: the 4x4 even-odd path has finished one pixel
  // row; a filtered path has written nothing yet.
  calls = 0;
  QvRaster<unsigned char> one_row(8, 8, 0);
  aa({square}, {1, 1, 5, 5}, params(4, 0, 1.0, false), one_row, &Poll::second);
  EXPECT_EQ(255, qvtest::pixel(one_row, 2, 1));
  EXPECT_EQ(0, qvtest::pixel(one_row, 2, 2));
  calls = 0;
  QvRaster<unsigned char> filtered(8, 8, 0);
  aa({square}, {1, 1, 5, 5}, params(4, 1, 1.0, false), filtered, &Poll::second);
  EXPECT_TRUE(filtered.AllPixelValuesAre(0));
}

template <class T>
T expected_value(unsigned count, int s, int r, double opacity) {
  const QvLong w = s + 2 * r;
  if constexpr (std::is_same_v<T, unsigned char>) {
    const auto scale = static_cast<std::int64_t>(qv::internal::aa_byte_scale(opacity, w * w));
    return static_cast<unsigned char>((count * scale + 32768) >> 16);
  } else if constexpr (std::is_same_v<T, short>) {
    const auto scale = static_cast<std::int64_t>(qv::internal::aa_short_scale(opacity, w * w));
    return static_cast<short>((count * scale + 8192) >> 14);
  } else {
    return static_cast<float>(count) * static_cast<float>(opacity / (w * w));
  }
}

// Fills the polygons into a raster of background 7 and compares every pixel
// with the sub-sample brute force, written and kept pixels alike.
template <class T>
void expect_reference_fill(const std::vector<Polygon>& polygons, const AAFillParams& p,
                           const FillBox& box, bool flip) {
  const QvLong width = 48, height = 28;  // wide enough for spans of many whole words
  const T background = static_cast<T>(7);
  QvRaster<T> image(width, height, background);
  image.bottomUp = flip;
  aa(polygons, box, p, image);
  const int s = static_cast<int>(p.super_sampling), r = static_cast<int>(p.radius);
  const qvtest::AAReference ref(polygons, s, r, p.winding, box, width, height);
  for (QvLong y = 0; y < height; ++y) {
    const bool row_writable = y >= ref.yLo && y < ref.yHi;
    const auto span = ref.written(y);
    for (QvLong x = 0; x < width; ++x) {
      const bool written = row_writable && x >= span.first && x <= span.second;
      const T want = written ? expected_value<T>(ref.count(x, y), s, r, p.opacity) : background;
      ASSERT_EQ(want, qvtest::pixel(image, x, y)) << x << "," << y;
    }
  }
}

template <class T>
void compare_with_brute_force(std::uint32_t seed, int trials) {
  std::mt19937 rng(seed);
  for (int trial = 0; trial < trials; ++trial) {
    const int s = trial % 2 == 0 ? 4 : 8;
    const int r = trial % 3 == 1 ? 0 : static_cast<int>(rng() % static_cast<unsigned>(s + 1));
    const bool winding = (trial / 2) % 2 == 1;
    const double opacity = trial % 3 == 0 ? 0.75 : 1.0;
    SCOPED_TRACE(testing::Message() << "trial " << trial << " s " << s << " r " << r
                                    << (winding ? " winding" : " even-odd"));
    const auto polygons = qvtest::random_polygons(rng, 1 + trial % 3, -3.0, 51.0);
    FillBox box{0, 0, 48, 28};
    if (trial % 4 == 3) box = {5, 3, 38, 21};
    expect_reference_fill<T>(polygons, params(s, r, opacity, winding), box, trial % 5 == 2);
  }
}

TEST(AAFill, MatchesBruteForce) {
  compare_with_brute_force<unsigned char>(77, 48);
  compare_with_brute_force<short>(78, 24);
  compare_with_brute_force<float>(79, 24);
}

// Rectangles with sides on sub-sample centres and between them, in both
// directions: neighbours share a side, overlap or nest, so that two spans of
// one sub-row meet on the same sub-sample, which must still count once.
TEST(AAFill, SharedSidesCountOnce) {
  std::mt19937 rng(81);
  for (int trial = 0; trial < 64; ++trial) {
    const int s = trial % 2 == 0 ? 4 : 8;
    const int r = trial % 4 < 2 ? 0 : 1 + static_cast<int>(rng() % static_cast<unsigned>(s));
    const bool winding = (trial / 2) % 2 == 1;
    SCOPED_TRACE(testing::Message() << "trial " << trial << " s " << s << " r " << r
                                    << (winding ? " winding" : " even-odd"));
    const double step = 0.5 / s;  // half a sub-sample
    auto coord = [&](double hi) {
      return static_cast<double>(rng() % static_cast<unsigned>(hi / step)) * step - 2.0;
    };
    std::vector<Polygon> polygons;
    double x = coord(20.0);
    for (int k = 0; k < 2 + trial % 4; ++k) {
      // Each rectangle starts where the last one ended, or a little before.
      const double x0 = k == 0 || rng() % 3 == 0 ? coord(40.0) : x;
      x = x0 + static_cast<double>(1 + rng() % 80) * step;
      const double y0 = coord(20.0), y1 = y0 + static_cast<double>(1 + rng() % 120) * step;
      if (rng() % 2 == 0)
        polygons.push_back({{x0, y0}, {x, y0}, {x, y1}, {x0, y1}});
      else
        polygons.push_back({{x0, y0}, {x0, y1}, {x, y1}, {x, y0}});
    }
    expect_reference_fill<unsigned char>(polygons, params(s, r, 1.0, winding), {0, 0, 48, 28},
                                         trial % 3 == 0);
  }
}

// Large convex polygons and hourglasses (two sides crossing between their
// ends) without a filter: most pixel rows hold just two edges and reach no
// vertex, and in an hourglass the pair swaps places inside such rows.
TEST(AAFill, TwoEdgeRowsMatchBruteForce) {
  std::mt19937 rng(83);
  std::uniform_real_distribution<double> u(0.0, 1.0);
  for (int trial = 0; trial < 48; ++trial) {
    const int s = trial % 2 == 0 ? 4 : 8;
    const bool winding = (trial / 2) % 2 == 1;
    const bool hourglass = trial % 8 >= 4;
    SCOPED_TRACE(testing::Message() << "trial " << trial << " s " << s
                                    << (winding ? " winding" : " even-odd")
                                    << (hourglass ? " hourglass" : " convex"));
    Polygon polygon;
    if (hourglass) {
      const double y0 = -2.0 + 4.0 * u(rng), y1 = 24.0 + 6.0 * u(rng);
      const double a = -3.0 + 20.0 * u(rng), b = 30.0 + 22.0 * u(rng);
      const double c = -3.0 + 20.0 * u(rng), d = 30.0 + 22.0 * u(rng);
      polygon = {{a, y0}, {b, y0}, {c, y1}, {d, y1}};
    } else {
      const double cx = 24.0 + 4.0 * u(rng), cy = 14.0 + 2.0 * u(rng);
      const double rx = 10.0 + 20.0 * u(rng), ry = 8.0 + 8.0 * u(rng);
      const int n = 3 + static_cast<int>(rng() % 14);
      const double turn = trial % 3 == 0 ? -1.0 : 1.0;
      for (int k = 0; k < n; ++k) {
        const double t = turn * 6.283185307179586 * (k + 0.8 * u(rng)) / n;
        polygon.push_back({cx + rx * std::cos(t), cy + ry * std::sin(t)});
      }
    }
    FillBox box{0, 0, 48, 28};
    if (trial % 6 == 5) box = {5, 3, 38, 21};
    expect_reference_fill<unsigned char>({polygon}, params(s, 0, 1.0, winding), box,
                                         trial % 5 == 2);
    if (trial % 4 == 1)
      expect_reference_fill<float>({polygon}, params(s, 0, 0.75, winding), box, false);
  }
}

// A poll that stops the scan inside a pixel row of two edges and no vertex
// leaves that row unwritten and the rows before it whole.
TEST(AAFill, PollStopsInsideTwoEdgeRow) {
  static int calls;
  struct Poll {
    static QvLong sixth(void) { return ++calls == 6 ? 1 : 0; }
  };
  const Polygon square = {{1, 1}, {5, 1}, {5, 5}, {1, 5}};
  calls = 0;
  QvRaster<unsigned char> image(8, 8, 0);
  aa({square}, {1, 1, 5, 5}, params(4, 0, 1.0, true), image, &Poll::sixth);
  EXPECT_EQ(6, calls);
  EXPECT_EQ(255, qvtest::pixel(image, 2, 1));
  EXPECT_EQ(0, qvtest::pixel(image, 2, 2));
  EXPECT_EQ(0, qvtest::pixel(image, 2, 3));
}

double constant_profile(double) { return 0.5; }

TEST(SoftKernel, HalfWidthAndProfiles) {
  struct Case {
    double offset;
    QvLong n;
  };
  const Case widths[] = {{1.0, 1}, {1.5, 1}, {2.0, 2}, {2.6, 3}, {0.2, 1}, {32.0, 32}};
  for (const Case& c : widths) {
    SCOPED_TRACE(c.offset);
    EXPECT_EQ(c.n, qv::internal::soft_fill_half_width(c.offset));
  }
  EXPECT_THROW(qv::internal::soft_fill_half_width(1e30), std::bad_alloc);

  CFillContext context;
  qv::internal::allocate_soft_buffers(context, 3, qv::internal::FillBox{0, 0, 4, 4}, 4);
  qv::internal::build_soft_kernel(context, 3, constant_profile);
  for (int j = 0; j < 7; ++j) {
    EXPECT_DOUBLE_EQ(1.0 / 7.0, context.kernel[j]);  // a constant curve is a box
    EXPECT_NEAR((7 - j) / 7.0, context.kernelTail[j], 1e-15);
  }
  EXPECT_DOUBLE_EQ(1.0, context.kernelTail[0]);
}

TEST(SoftMask, PerTypeRules) {
  {
    const unsigned char m[] = {0, 1, 255, 128, 128};
    unsigned char d[] = {200, 200, 200, 255, 100};
    qv::internal::mask_by_coverage<unsigned char>(d, m, 5);
    const unsigned char want[] = {0, 200, 200, 128, 50};
    for (int k = 0; k < 5; ++k) EXPECT_EQ(want[k], d[k]) << k;
  }
  {
    const short m[] = {0, 1, 16384, 8192, 20000, -5};
    short d[] = {9000, 9000, 9000, 16384, 16384, 9000};
    qv::internal::mask_by_coverage<short>(d, m, 6);
    const short want[] = {0, 9000, 9000, 8192, 16384, 0};  // factors clamped to 0 .. 1
    for (int k = 0; k < 6; ++k) EXPECT_EQ(want[k], d[k]) << k;
  }
  {
    const float m[] = {0.0f, 1.0f, 0.5f};
    float d[] = {0.75f, 0.75f, 0.75f};
    qv::internal::mask_by_coverage<float>(d, m, 3);
    EXPECT_EQ(0.0f, d[0]);
    EXPECT_EQ(0.75f, d[1]);
    EXPECT_EQ(0.375f, d[2]);
  }
}

}  // namespace
