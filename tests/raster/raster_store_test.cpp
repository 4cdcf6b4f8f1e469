#include <qv/QvRaster.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <new>
#include <random>
#include <vector>

#include "raster/raster_test_support.h"

using qv::test::pixels_of;

TEST(RasterStore, OwnershipOfBlocks) {
  std::vector<short> memory(12, 7);
  {
    QvRaster<short> view(memory.data(), 4, 3, 0, 0);  // a zero value still overwrites
    const QvRaster<short> second_view(view);          // a view copies as a view
    EXPECT_EQ(memory.data(), second_view.pixels);
    EXPECT_EQ(0, second_view.ownsPixels);
  }
  EXPECT_EQ(std::vector<short>(12, 0), memory);  // filled, and not released

  auto* handed = static_cast<float*>(std::malloc(6 * sizeof(float)));
  QvRaster<float> owner(handed, 3, 2, 1, 0.5f);  // released by the raster
  owner.bottomUp = 1;
  const QvRaster<float> deep(owner);
  EXPECT_NE(owner.pixels, deep.pixels);
  EXPECT_EQ(pixels_of(owner), pixels_of(deep));
  EXPECT_EQ(1, deep.bottomUp);

  // Assignment from a view, here a view of the target's own block: the pixels
  // go into a fresh block before the old one is released, and the view's flag
  // comes along, so nobody will release the new block.
  QvRaster<short> target(2, 1, 3);
  QvRaster<short> alias(target.pixels, 0, 0, 0, 0);
  alias.width = 2;
  alias.height = 1;
  target = alias;
  EXPECT_EQ(0, target.ownsPixels);
  EXPECT_EQ((std::vector<short>{3, 3}), pixels_of(target));
  std::free(target.pixels);
  target.pixels = nullptr;
}

TEST(RasterStore, FillsAndReconstruction) {
  QvRaster<double> minus_zero(2, 2, -0.0);  // the value 0 is a zero fill
  EXPECT_FALSE(std::signbit(minus_zero.pixels[3]));
  EXPECT_EQ(1, QvRaster<short>(0, 5, 3).AllPixelValuesAre(-1));  // no pixels
  const float nan = std::numeric_limits<float>::quiet_NaN();
  EXPECT_EQ(0, QvRaster<float>(2, 1, nan).AllPixelValuesAre(nan));
  EXPECT_THROW(QvRaster<int>(65536, 65536, 0), std::bad_alloc);  // beyond 31 bits of pixels

  std::vector<unsigned char> memory(4);
  QvRaster<unsigned char> r(memory.data(), 2, 2, 0, 1);
  r.bottomUp = 1;
  r.Reconstruct(3, 1, 8);
  EXPECT_NE(memory.data(), r.pixels);
  EXPECT_EQ((std::vector<QvLong>{3, 1, 1, 1}), (std::vector<QvLong>{r.width, r.height, r.ownsPixels, r.bottomUp}));
  EXPECT_TRUE(r.AllPixelValuesAre(8));

  // The single-pixel form: index y*width+x, no per-axis check, typed comparison.
  r.SetValWhenSmaller(2, 0, 5);
  r.SetValWhenSmaller(1, 0, 9);
  r.SetValWhenSmaller(3, 0, 0);  // beyond the block: ignored
  EXPECT_EQ((std::vector<unsigned char>{8, 8, 5}), pixels_of(r));
  QvRaster<short> shorts(1, 1, 5);
  shorts.SetValWhenSmaller(0, 0, -5);
  EXPECT_EQ(-5, shorts.pixels[0]);
}

namespace {

// CopyRaster pixel by pixel: source (i, j) goes to memory position
// (x + i, y + j) when that lies inside; orientation plays no part.
void reference_copy(QvRaster<short>& dst, QvLong x, QvLong y, const QvRaster<short>& src) {
  for (QvLong j = 0; j < src.height; ++j)
    for (QvLong i = 0; i < src.width; ++i)
      if (x + i >= 0 && x + i < dst.width && y + j >= 0 && y + j < dst.height)
        dst.pixels[(y + j) * dst.width + x + i] = src.pixels[j * src.width + i];
}

// SetValWhenSmaller pixel by pixel, for rasters of equal orientation, in
// logical rows: a bottom-up raster keeps row j at memory row height-1-j, and
// a bottom-up destination places the source at logical row height-1-y.
void reference_smaller(QvRaster<short>& dst, QvLong x, QvLong y, const QvRaster<short>& src) {
  const QvLong yy = dst.bottomUp ? dst.height - 1 - y : y;
  for (QvLong j = 0; j < src.height; ++j)
    for (QvLong i = 0; i < src.width; ++i) {
      const QvLong dx = x + i, dy = yy + j;
      if (dx < 0 || dx >= dst.width || dy < 0 || dy >= dst.height)
        continue;
      short& d = dst.pixels[(dst.bottomUp ? dst.height - 1 - dy : dy) * dst.width + dx];
      d = std::min(d, src.pixels[(src.bottomUp ? src.height - 1 - j : j) * src.width + i]);
    }
}

}  // namespace

TEST(RasterStore, PlacementsMatchPerPixelReference) {
  std::mt19937 rng(1234);
  std::uniform_int_distribution<int> size(0, 9), offset(-12, 12), flag(0, 1), value(0, 200);
  for (int trial = 0; trial < 4000; ++trial) {
    const bool smaller = trial % 2 == 1, bottom_up = flag(rng) != 0;
    QvRaster<short> dst(size(rng), size(rng), 0);
    // A bottom-up destination places source rows by its own height, which
    // makes a picture only for a source of that height.
    QvRaster<short> src(size(rng), smaller && bottom_up ? dst.height : size(rng), 0);
    for (QvRaster<short>* r : {&dst, &src})
      for (QvLong i = 0; i < r->width * r->height; ++i)
        r->pixels[i] = static_cast<short>(value(rng));
    dst.bottomUp = bottom_up;
    src.bottomUp = smaller ? bottom_up : flag(rng) != 0;
    const QvLong x = offset(rng), y = offset(rng);
    QvRaster<short> want(dst);
    SCOPED_TRACE(testing::Message() << "trial " << trial << " at " << x << ", " << y);
    if (smaller) {
      reference_smaller(want, x, y, src);
      dst.SetValWhenSmaller(x, y, src);
    } else {
      reference_copy(want, x, y, src);
      dst.CopyRaster(x, y, src);
    }
    ASSERT_EQ(pixels_of(want), pixels_of(dst));
  }
}

TEST(RasterStore, SetValWhenSmallerMixedOrientation) {
  QvRaster<short> src(2, 3, 0);
  qv::test::number_pixels(src, 1);  // rows {1,2} {3,4} {5,6}
  struct Case { QvLong src_up, dst_up, y; std::vector<short> want; };
  const Case cases[] = {
      // The bottom-up source walks up from the first placed row, so only
      // that row comes from inside the source.
      {1, 0, 1, {100, 100, 1, 2, 100, 100}},
      // A bottom-up destination starts the source at row H-1 and walks down
      // past its end; again one row is used.
      {0, 1, 2, {100, 100, 100, 100, 5, 6}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << c.src_up << " into " << c.dst_up);
    src.bottomUp = c.src_up;
    QvRaster<short> dst(2, 3, 100);
    dst.bottomUp = c.dst_up;
    dst.SetValWhenSmaller(0, c.y, src);
    EXPECT_EQ(c.want, pixels_of(dst));
  }
}

TEST(RasterStore, PrintWritesTopMemoryRowFirst) {
  QvRaster<short> shorts(2, 2, 0);
  qv::test::number_pixels(shorts, -1);
  QvRaster<unsigned char> bytes(3, 1, 'a');  // raw characters, not numbers
  bytes.pixels[1] = 'Z';
  testing::internal::CaptureStdout();
  shorts.Print();
  bytes.Print();
  QvRaster<float>(1, 1, 0.5f).Print();
  QvRaster<double>(4, 0, 0.0).Print();
  EXPECT_EQ(
      "Type raster W x H = 2 x 2\n   1   2\n  -1   0\n"
      "Type raster W x H = 3 x 1\n   a   Z   a\n"
      "Type raster W x H = 1 x 1\n 0.5\n"
      "Type raster W x H = 4 x 0\n",
      testing::internal::GetCapturedStdout());
}
