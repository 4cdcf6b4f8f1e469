// The two passes of the soft fill against a direct 2D convolution of the hard
// fill, the kernel and the masking by coverage.
#include "fill_reference.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace {

using qv::internal::FillBox;
using qv::internal::PixelRows;
using qvtest::Polygon;

double constant_profile(double) { return 0.5; }
double falling_profile(double t) { return 1.0 - t * t * (3.0 - 2.0 * t); }

struct SoftRun {
  std::vector<float> pixels;
  std::vector<double> kernel;
  bool finished;
};

SoftRun soft(const std::vector<Polygon>& polygons, QvLong width, QvLong height, QvLong n,
             double (*profile)(double), double opacity, bool winding,
             qv::internal::PollFunction poll = nullptr, float background = 0.0f) {
  CFillContext context;
  const QvLong count = qvtest::load(polygons, 1.0, context);
  qv::internal::allocate_soft_buffers(context, n, width, height);
  qv::internal::build_soft_kernel(context, n, profile);
  SoftRun run;
  run.pixels.assign(static_cast<std::size_t>(width * height), background);
  run.kernel.assign(context.kernel, context.kernel + 2 * n + 1);
  PixelRows<float> rows{run.pixels.data(), width, height, false};
  run.finished = qv::internal::soft_fill<float>(context, count, FillBox{0, 0, width, height}, winding,
                                                n, opacity, rows, poll);
  return run;
}

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
  qv::internal::allocate_soft_buffers(context, 3, 4, 4);
  qv::internal::build_soft_kernel(context, 3, constant_profile);
  for (int j = 0; j < 7; ++j) {
    EXPECT_DOUBLE_EQ(1.0 / 7.0, context.kernel[j]);  // a constant curve is a box
    EXPECT_NEAR((7 - j) / 7.0, context.kernelTail[j], 1e-15);
  }
  EXPECT_DOUBLE_EQ(1.0, context.kernelTail[0]);
}

// Every pixel against sum over the box of hard(x+i, y+j) k[i] k[j].
TEST(SoftFill, MatchesDirectConvolution) {
  std::mt19937 rng(4242);
  for (int trial = 0; trial < 12; ++trial) {
    const QvLong n = 1 + trial % 4;
    const bool winding = trial % 2 == 0;
    const double opacity = trial % 3 == 0 ? 0.5 : 1.0;
    SCOPED_TRACE(testing::Message() << "trial " << trial << " n " << n);
    const auto polygons = qvtest::random_polygons(rng, 1 + trial % 2, -2.0, 22.0);
    const QvLong width = 20, height = 18;
    const SoftRun run = soft(polygons, width, height, n, falling_profile, opacity, winding);
    ASSERT_TRUE(run.finished);
    auto hard = [&](QvLong x, QvLong y) {
      if (x < 0 || y < 0 || x >= width || y >= height) return 0.0;
      return qvtest::centre_inside(polygons, 1.0, x + 0.5, y + 0.5, winding) ? 1.0 : 0.0;
    };
    for (QvLong y = 0; y < height; ++y)
      for (QvLong x = 0; x < width; ++x) {
        double want = 0.0;
        for (QvLong j = -n; j <= n; ++j)
          for (QvLong i = -n; i <= n; ++i)
            want += hard(x + i, y + j) * run.kernel[static_cast<std::size_t>(i + n)] *
                    run.kernel[static_cast<std::size_t>(j + n)];
        ASSERT_NEAR(want * opacity, run.pixels[static_cast<std::size_t>(y * width + x)], 1e-6)
            << x << "," << y;
      }
  }
}

TEST(SoftFill, InteriorReachesExactlyFullAndFarPixelsAreZeroed) {
  const Polygon big = {{6, 6}, {24, 6}, {24, 24}, {6, 24}};
  const SoftRun run = soft({big}, 30, 30, 3, falling_profile, 1.0, true, nullptr, 0.3f);
  EXPECT_EQ(1.0f, run.pixels[15 * 30 + 15]);
  EXPECT_EQ(0.0f, run.pixels[0]);  // rewritten although far from the shape
  EXPECT_GT(run.pixels[15 * 30 + 3], 0.0f);  // spread up to n pixels past the edge
  EXPECT_EQ(0.0f, run.pixels[15 * 30 + 2]);
  EXPECT_LT(run.pixels[15 * 30 + 7], 1.0f);
}

TEST(SoftFill, PollStops) {
  static int calls;
  struct Poll {
    static QvLong first(void) { return 1; }
    static QvLong in_columns(void) { return ++calls == 10 + 3 ? 1 : 0; }  // 10 rows, 2 columns
  };
  const Polygon square = {{2, 0}, {8, 0}, {8, 10}, {2, 10}};
  const SoftRun untouched = soft({square}, 10, 10, 2, falling_profile, 1.0, true, &Poll::first, 0.25f);
  EXPECT_FALSE(untouched.finished);
  EXPECT_EQ(std::vector<float>(100, 0.25f), untouched.pixels);
  calls = 0;
  const SoftRun partial =
      soft({square}, 10, 10, 2, falling_profile, 1.0, true, &Poll::in_columns, 0.25f);
  EXPECT_FALSE(partial.finished);
  EXPECT_NE(0.25f, partial.pixels[5 * 10 + 1]);  // column 1 finished
  EXPECT_EQ(0.25f, partial.pixels[5 * 10 + 2]);  // column 2 never written
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
