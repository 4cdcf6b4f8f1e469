#include <qv/QvRaster.h>

#include <gtest/gtest.h>

#include <limits>
#include <vector>

#include "raster/raster_test_support.h"

using qv::test::pixels_of;

namespace {

template <class D, class S>
D convert_one(S s) {
  QvRaster<S> src(1, 1, s);
  QvRaster<D> dst(1, 1, D(0));
  QvRasterConvert(dst, src);
  return dst.pixels[0];
}

}  // namespace

TEST(RasterConvert, FromFloatTruncatesOrRoundsWithoutClamp) {
  const float nan = std::numeric_limits<float>::quiet_NaN();
  struct Case { float s; unsigned char byte; short word; };
  const Case cases[] = {
      {1.0f, 255, 16384},  {0.999f, 254, 16368},
      {1.5f, 126, 24576},  // 382 as a byte keeps its low 8 bits
      {0.5f, 127, 8192},   {-0.5f, 129, -8191},   // truncation toward zero
      {2.0f, 254, -32768}, {4.0f, 252, 0},        // low 16 bits of 32768 and 65536
      {131073.5f, 126, 24576}, {-131073.5f, 130, -24576},  // shorts past 32-bit integers
      {nan, 0, 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << c.s);
    EXPECT_EQ(c.byte, (convert_one<unsigned char, float>(c.s)));
    EXPECT_EQ(c.word, (convert_one<short, float>(c.s)));
  }
  // Rows mixing ordinary and huge values give each pixel its own result.
  QvRaster<float> src(3, 2, 0.5f);
  src.pixels[4] = 131073.5f;
  src.pixels[5] = -0.5f;
  QvRaster<short> dst(3, 2, 0);
  QvRasterConvert(dst, src);
  EXPECT_EQ((std::vector<short>{8192, 8192, 8192, 8192, 24576, -8191}), pixels_of(dst));
}

TEST(RasterConvert, FromShortClamps) {
  struct Case { short s; unsigned char byte; float real; };
  const Case cases[] = {
      {16384, 255, 1.0f}, {20000, 255, 1.0f}, {8192, 128, 0.5f}, {1, 0, 6.103515625e-05f},
      {0, 0, 0.0f},       {-1, 0, 0.0f},      {-32, 0, 0.0f},
      {-33, 255, 0.0f},   {-100, 255, 0.0f},  // the sum turns negative and reads large
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << c.s);
    EXPECT_EQ(c.byte, (convert_one<unsigned char, short>(c.s)));
    EXPECT_EQ(c.real, (convert_one<float, short>(c.s)));
  }
}

TEST(RasterConvert, FromBytes) {
  EXPECT_EQ(16384, (convert_one<short, unsigned char>(255)));
  EXPECT_EQ(64, (convert_one<short, unsigned char>(1)));
  EXPECT_EQ(1.0f, (convert_one<float, unsigned char>(255)));  // full coverage stays exact
  // Every byte survives the trip through either other type.
  for (int s = 0; s < 256; ++s) {
    SCOPED_TRACE(s);
    const auto b = static_cast<unsigned char>(s);
    EXPECT_EQ(b, (convert_one<unsigned char, short>(convert_one<short, unsigned char>(b))));
    EXPECT_EQ(b, (convert_one<unsigned char, float>(convert_one<float, unsigned char>(b))));
  }
}

TEST(RasterConvert, OppositeOrientationTurnsRowsOver) {
  QvRaster<unsigned char> src(2, 3, 0);
  for (int i = 0; i < 6; ++i)
    src.pixels[i] = static_cast<unsigned char>(i * 51);  // rows {0,51} {102,153} {204,255}
  const std::vector<short> kept = {0, 3277, 6554, 9830, 13107, 16384};
  const std::vector<short> flipped = {13107, 16384, 6554, 9830, 0, 3277};
  struct Case { QvLong src_up, dst_up; const std::vector<short>& want; };
  const Case cases[] = {{0, 0, kept}, {1, 1, kept}, {0, 1, flipped}, {1, 0, flipped}};
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << c.src_up << " -> " << c.dst_up);
    src.bottomUp = c.src_up;
    QvRaster<short> dst(2, 3, 0);
    dst.bottomUp = c.dst_up;
    QvRasterConvert(dst, src);
    EXPECT_EQ(c.want, pixels_of(dst));
    EXPECT_EQ(c.dst_up, dst.bottomUp);  // the destination keeps its flag
  }
  // Two views of one block with opposite flags: the block is turned over.
  QvRaster<float> a(1, 3, 0.0f);
  qv::test::number_pixels(a, 1);
  QvRaster<float> b(a.pixels, 0, 0, 0, 0.0f);  // sized afterwards, so nothing is filled
  b.width = 1;
  b.height = 3;
  b.bottomUp = 1;
  QvRasterConvert(b, a);
  EXPECT_EQ((std::vector<float>{3, 2, 1}), pixels_of(a));
}

TEST(RasterConvert, DestinationTakesTheSourceSize) {
  unsigned char memory[6] = {};
  QvRaster<unsigned char> view(memory, 2, 2, 0, 9);
  QvRasterConvert(view, QvRaster<float>(3, 2, 0.5f));
  EXPECT_EQ((std::vector<QvLong>{3, 2, 1}), (std::vector<QvLong>{view.width, view.height, view.ownsPixels}));
  EXPECT_EQ(std::vector<unsigned char>(6, 127), pixels_of(view));
  EXPECT_EQ(9, memory[0]);  // a fresh block: the caller's memory is left alone
  QvRaster<unsigned char> in_place(memory, 3, 2, 0, 0);
  QvRasterConvert(in_place, QvRaster<float>(3, 2, 0.5f));  // same size: written where it stands
  EXPECT_EQ(127, memory[5]);
}
