// The anti-aliased scan over private polygons: the tables, the fixed-point
// scales, the poll of each path, and a sub-sample brute force on random
// polygons in the three pixel types. The figures are checked through QvPath2f.
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
struct Image {
  QvLong width, height;
  bool bottom_up;
  std::vector<T> pixels;
  Image(QvLong w, QvLong h, T value, bool flip = false)
      : width(w), height(h), bottom_up(flip), pixels(static_cast<std::size_t>(w * h), value) {}
  PixelRows<T> rows() { return PixelRows<T>{pixels.data(), width, height, bottom_up}; }
  T at(QvLong x, QvLong y) const {
    const QvLong m = bottom_up ? height - 1 - y : y;
    return pixels[static_cast<std::size_t>(m * width + x)];
  }
};

template <class T>
void aa(const std::vector<Polygon>& polygons, const FillBox& box, const AAFillParams& params,
        Image<T>& image, qv::internal::PollFunction poll = nullptr) {
  CFillContext context;
  const QvLong n = qvtest::load(polygons, params.super_sampling, context);
  qv::internal::aa_fill<T>(context, n, box, params, image.rows(), poll);
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
  const double inf = std::numeric_limits<double>::infinity();
  const double values[] = {0.0, -0.0, 0.5, -0.5, 1.0, -1.0, 2.5, -2.5, 1e-300, -1e-300,
                           4503599627370495.5, -4503599627370495.5, 9007199254740993.0,
                           1e300, -1e300, inf, -inf, 0.49999999999999994, -7.000000000000001};
  for (double v : values) {
    SCOPED_TRACE(v);
    EXPECT_EQ(std::floor(v), qv::internal::floor_exact(v));
    EXPECT_EQ(std::ceil(v), qv::internal::ceil_exact(v));
  }
  EXPECT_TRUE(std::isnan(qv::internal::floor_exact(std::nan(""))));
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
    int r, calls;
  };
  // Rows 1..4 are scanned; a filter adds two rows on either side.
  const Case cases[] = {{4, false, 0, 4}, {4, true, 0, 16}, {8, false, 0, 32},
                        {8, true, 0, 32}, {4, false, 1, 8}, {4, true, 1, 32}};
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << c.s << (c.winding ? " winding" : " even-odd") << c.r);
    calls = 0;
    Image<unsigned char> image(8, 8, 0);
    aa({square}, {1, 1, 5, 5}, params(c.s, c.r, 1.0, c.winding), image, &Poll::count);
    EXPECT_EQ(c.calls, calls);
  }
  // Stopping at the second call: the 4x4 even-odd path has finished one pixel
  // row; a filtered path has written nothing yet.
  calls = 0;
  Image<unsigned char> one_row(8, 8, 0);
  aa({square}, {1, 1, 5, 5}, params(4, 0, 1.0, false), one_row, &Poll::second);
  EXPECT_EQ(255, one_row.at(2, 1));
  EXPECT_EQ(0, one_row.at(2, 2));
  calls = 0;
  Image<unsigned char> filtered(8, 8, 0);
  aa({square}, {1, 1, 5, 5}, params(4, 1, 1.0, false), filtered, &Poll::second);
  EXPECT_EQ(std::vector<unsigned char>(64, 0), filtered.pixels);
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

template <class T>
void compare_with_brute_force(std::uint32_t seed, int trials) {
  std::mt19937 rng(seed);
  const QvLong width = 24, height = 20;
  for (int trial = 0; trial < trials; ++trial) {
    const int s = trial % 2 == 0 ? 4 : 8;
    const int r = trial % 3 == 1 ? 0 : static_cast<int>(rng() % static_cast<unsigned>(s + 1));
    const bool winding = (trial / 2) % 2 == 1;
    const double opacity = trial % 3 == 0 ? 0.75 : 1.0;
    const bool flip = trial % 5 == 2;
    SCOPED_TRACE(testing::Message() << "trial " << trial << " s " << s << " r " << r
                                    << (winding ? " winding" : " even-odd"));
    const auto polygons = qvtest::random_polygons(rng, 1 + trial % 2, -3.0, 27.0);
    FillBox box{0, 0, width, height};
    if (trial % 4 == 3) box = {5, 3, 18, 15};
    const T background = static_cast<T>(7);
    Image<T> image(width, height, background, flip);
    aa(polygons, box, params(s, r, opacity, winding), image);
    const qvtest::AAReference ref(polygons, s, r, winding, box, width, height);
    for (QvLong y = 0; y < height; ++y) {
      const bool row_writable = y >= ref.yLo && y < ref.yHi;
      const auto span = ref.written(y);
      for (QvLong x = 0; x < width; ++x) {
        const bool written = row_writable && x >= span.first && x <= span.second;
        const T want = written ? expected_value<T>(ref.count(x, y), s, r, opacity) : background;
        ASSERT_EQ(want, image.at(x, y)) << x << "," << y;
      }
    }
  }
}

TEST(AAFill, MatchesBruteForceBytes) { compare_with_brute_force<unsigned char>(77, 48); }
TEST(AAFill, MatchesBruteForceShorts) { compare_with_brute_force<short>(78, 24); }
TEST(AAFill, MatchesBruteForceFloats) { compare_with_brute_force<float>(79, 24); }

}  // namespace
