#include <qv/QvRaster.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <limits>
#include <vector>

namespace {

template <class D, class S>
D convert_one(S s) {
  QvRaster<S> src(1, 1, s);
  QvRaster<D> dst(1, 1, D(0));
  QvRasterConvert(dst, src);
  return dst.pixels[0];
}

template <class T>
std::vector<T> pixels_of(const QvRaster<T>& r) {
  return std::vector<T>(r.pixels, r.pixels + static_cast<std::ptrdiff_t>(r.width) * r.height);
}

}  // namespace

TEST(RasterConvert, ByteFromFloatTruncatesWithoutClamp) {
  const float nan = std::numeric_limits<float>::quiet_NaN();
  const float inf = std::numeric_limits<float>::infinity();
  struct Case { float s; unsigned char want; };
  const Case cases[] = {
      {1.0f, 255},  {0.999f, 254}, {1.5f, 126},  // 382, low byte
      {0.0f, 0},    {-0.5f, 129},               // -127 as a byte
      {1e10f, 0},                               // huge floats are multiples of 256
      {nan, 0},     {inf, 0},    {-inf, 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << c.s);
    EXPECT_EQ(c.want, (convert_one<unsigned char, float>(c.s)));
  }
}

TEST(RasterConvert, ShortFromFloatRoundsWithoutClamp) {
  struct Case { float s; short want; };
  const Case cases[] = {
      {1.0f, 16384},  {0.5f, 8192},     {0.25f, 4096},  {-0.5f, -8191},  // toward zero after +0.5
      {2.0f, -32768}, {4.0f, 0},                                         // low 16 bits
      {131073.5f, 24576}, {-131073.5f, -24576},  // beyond 32 bits of integer, still low bits
      {std::numeric_limits<float>::quiet_NaN(), 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << c.s);
    EXPECT_EQ(c.want, (convert_one<short, float>(c.s)));
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
      {16384, 255, 1.0f},  {20000, 255, 1.0f},  {32767, 255, 1.0f},
      {0, 0, 0.0f},        {-1, 0, 0.0f},       {-32, 0, 0.0f},
      {-33, 255, 0.0f},    {-100, 255, 0.0f},  // the sum turns negative and reads large
      {1, 0, 6.103515625e-05f},  {8192, 128, 0.5f},
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
  EXPECT_EQ(0, (convert_one<short, unsigned char>(0)));
  EXPECT_EQ(1.0f, (convert_one<float, unsigned char>(255)));  // full coverage stays exact
  EXPECT_EQ(0.0f, (convert_one<float, unsigned char>(0)));
  // Every byte survives the trip through either other type.
  for (int s = 0; s < 256; ++s) {
    SCOPED_TRACE(s);
    const auto b = static_cast<unsigned char>(s);
    EXPECT_EQ(b, (convert_one<unsigned char, short>(convert_one<short, unsigned char>(b))));
    EXPECT_EQ(b, (convert_one<unsigned char, float>(convert_one<float, unsigned char>(b))));
  }
  EXPECT_EQ(-7, (convert_one<short, short>(-7)));
  EXPECT_EQ(0.75f, (convert_one<float, float>(0.75f)));
}

TEST(RasterConvert, OppositeOrientationTurnsRowsOver) {
  QvRaster<unsigned char> src(2, 3, 0);
  for (int i = 0; i < 6; ++i)
    src.pixels[i] = static_cast<unsigned char>(i * 51);  // rows {0,51} {102,153} {204,255}
  struct Case { QvLong src_up, dst_up; std::vector<short> want; };
  const std::vector<short> kept = {0, 3277, 6554, 9830, 13107, 16384};
  const std::vector<short> flipped = {13107, 16384, 6554, 9830, 0, 3277};
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
}

TEST(RasterConvert, SameBlockViewsFlipInPlace) {
  QvRaster<float> a(3, 3, 0.0f);
  for (int i = 0; i < 9; ++i)
    a.pixels[i] = static_cast<float>(i);
  QvRaster<float> b(a.pixels, 0, 0, 0, 0.0f);  // a second view of the same block
  b.width = 3;
  b.height = 3;
  b.bottomUp = 1;
  QvRasterConvert(b, a);
  EXPECT_EQ((std::vector<float>{6, 7, 8, 3, 4, 5, 0, 1, 2}), pixels_of(a));
  QvRasterConvert(a, a);  // itself: nothing moves
  EXPECT_EQ((std::vector<float>{6, 7, 8, 3, 4, 5, 0, 1, 2}), pixels_of(a));
}

TEST(RasterConvert, DestinationTakesTheSourceSize) {
  QvRaster<float> src(3, 2, 0.5f);
  unsigned char memory[4] = {1, 2, 3, 4};
  QvRaster<unsigned char> view(memory, 2, 2, 0, 9);
  view.bottomUp = 1;
  QvRasterConvert(view, src);
  EXPECT_EQ(3, view.width);
  EXPECT_EQ(2, view.height);
  EXPECT_EQ(1, view.ownsPixels);  // a fresh block, now owned
  EXPECT_EQ(1, view.bottomUp);
  EXPECT_NE(memory, view.pixels);
  EXPECT_EQ(1, view.AllPixelValuesAre(127));
  EXPECT_EQ(9, memory[0]);  // the caller's memory is left alone

  // Same size: written in place, ownership unchanged.
  unsigned char same[6] = {};
  QvRaster<unsigned char> in_place(same, 3, 2, 0, 0);
  QvRasterConvert(in_place, src);
  EXPECT_EQ(same, in_place.pixels);
  EXPECT_EQ(0, in_place.ownsPixels);
  EXPECT_EQ(127, same[5]);
}
