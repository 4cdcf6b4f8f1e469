// The soft fill's kernel and its masking by coverage; the passes themselves
// are checked through QvPath2f against a direct convolution.
#include "fill_reference.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace {


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
