#include <qv/QvRaster.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <limits>
#include <new>
#include <random>
#include <string>
#include <vector>

namespace {

template <class T>
std::vector<T> pixels_of(const QvRaster<T>& r) {
  return std::vector<T>(r.pixels, r.pixels + static_cast<std::ptrdiff_t>(r.width) * r.height);
}

// Pixel values 1.., distinct per position, so a misplaced copy shows.
template <class T>
void number_pixels(QvRaster<T>& r, int first) {
  for (QvLong i = 0; i < r.width * r.height; ++i)
    r.pixels[i] = static_cast<T>(first + i);
}

}  // namespace

TEST(RasterStore, WrappedMemoryIsFilledAndStaysWithTheCaller) {
  std::vector<short> memory(12, 7);
  {
    QvRaster<short> view(memory.data(), 4, 3, 0, 0);  // a zero value still overwrites
    EXPECT_EQ(memory.data(), view.pixels);
    EXPECT_EQ(0, view.ownsPixels);
    EXPECT_EQ(0, view.bottomUp);
    view.pixels[5] = -3;
  }
  // Destruction released nothing: the memory is still ours and still written.
  for (int i = 0; i < 12; ++i)
    EXPECT_EQ(i == 5 ? -3 : 0, memory[static_cast<std::size_t>(i)]) << i;

  // Handed over: the raster releases it (the leak checker sees to the rest).
  auto* owned = static_cast<float*>(std::malloc(6 * sizeof(float)));
  QvRaster<float> taken(owned, 3, 2, 1, 0.5f);
  EXPECT_EQ(1, taken.ownsPixels);
  EXPECT_EQ(1, taken.AllPixelValuesAre(0.5f));
}

TEST(RasterStore, NewBuffersAreFilled) {
  QvRaster<unsigned char> bytes(5, 3, 200);
  EXPECT_EQ(1, bytes.AllPixelValuesAre(200));
  EXPECT_EQ(1, bytes.ownsPixels);
  EXPECT_EQ(0, bytes.bottomUp);
  QvRaster<double> minus_zero(2, 2, -0.0);  // the value 0 is a zero fill
  EXPECT_FALSE(std::signbit(minus_zero.pixels[3]));
  QvRaster<unsigned int> words(3, 1, 0xdeadbeefu);
  EXPECT_EQ(1, words.AllPixelValuesAre(0xdeadbeefu));
  QvRaster<int> empty(0, 5, 1);
  EXPECT_NE(nullptr, empty.pixels);
  EXPECT_THROW(QvRaster<int>(-1, 5, 0), std::bad_alloc);
  EXPECT_THROW(QvRaster<int>(65536, 65536, 0), std::bad_alloc);  // beyond 31 bits of pixels
}

TEST(RasterStore, CopiesFollowOwnership) {
  QvRaster<int> owner(3, 2, 0);
  number_pixels(owner, 1);
  owner.bottomUp = 1;
  const QvRaster<int> deep(owner);
  EXPECT_NE(owner.pixels, deep.pixels);
  EXPECT_EQ(pixels_of(owner), pixels_of(deep));
  EXPECT_EQ(1, deep.ownsPixels);
  EXPECT_EQ(1, deep.bottomUp);

  std::vector<int> memory(6);
  QvRaster<int> view(memory.data(), 3, 2, 0, 4);
  const QvRaster<int> second_view(view);
  EXPECT_EQ(memory.data(), second_view.pixels);
  EXPECT_EQ(0, second_view.ownsPixels);

  // Assignment always makes a fresh block and copies the flag as it stands.
  QvRaster<int> target(1, 1, 9);
  target = owner;
  EXPECT_NE(owner.pixels, target.pixels);
  EXPECT_EQ(pixels_of(owner), pixels_of(target));
  EXPECT_EQ(1, target.bottomUp);
  target = view;
  EXPECT_NE(memory.data(), target.pixels);
  EXPECT_EQ(0, target.ownsPixels);
  EXPECT_EQ(std::vector<int>(6, 4), pixels_of(target));
  std::free(target.pixels);  // nobody else will
  target.pixels = nullptr;

  // Assigning a view of the target's own block copies before releasing it.
  QvRaster<int> self_source(2, 2, 0);
  number_pixels(self_source, 10);
  QvRaster<int> alias(self_source.pixels, 0, 0, 0, 0);
  alias.width = 2;
  alias.height = 2;
  alias.ownsPixels = 0;
  self_source = alias;
  EXPECT_EQ((std::vector<int>{10, 11, 12, 13}), pixels_of(self_source));
  std::free(self_source.pixels);
  self_source.pixels = nullptr;

  QvRaster<int>& same = owner;
  owner = same;
  EXPECT_EQ(1, owner.pixels[0]);
}

TEST(RasterStore, ReconstructTakesOwnershipAndKeepsOrientation) {
  std::vector<unsigned char> memory(4);
  QvRaster<unsigned char> r(memory.data(), 2, 2, 0, 1);
  r.bottomUp = 1;
  r.Reconstruct(3, 1, 8);
  EXPECT_NE(memory.data(), r.pixels);
  EXPECT_EQ(1, r.ownsPixels);
  EXPECT_EQ(1, r.bottomUp);
  EXPECT_EQ(3, r.width);
  EXPECT_EQ(1, r.height);
  EXPECT_EQ(1, r.AllPixelValuesAre(8));
  r.pixels[0] = 0;
  r.Reconstruct(3, 1, 9);  // same size, still a fresh fill
  EXPECT_EQ(1, r.AllPixelValuesAre(9));
  EXPECT_THROW(r.Reconstruct(-2, 3, 0), std::bad_alloc);
  EXPECT_EQ(3, r.width);  // a failed reconstruction leaves the raster as it was
  EXPECT_EQ(1, r.AllPixelValuesAre(9));
}

TEST(RasterStore, AllPixelValuesAre) {
  QvRaster<float> r(3, 3, 0.25f);
  EXPECT_EQ(1, r.AllPixelValuesAre(0.25f));
  r.pixels[8] = 0.5f;
  EXPECT_EQ(0, r.AllPixelValuesAre(0.25f));
  const float nan = std::numeric_limits<float>::quiet_NaN();
  EXPECT_EQ(0, r.AllPixelValuesAre(nan));
  QvRaster<float> of_nan(2, 1, nan);
  EXPECT_EQ(0, of_nan.AllPixelValuesAre(nan));
  QvRaster<short> none(0, 5, 3);
  EXPECT_EQ(1, none.AllPixelValuesAre(-1));
}

TEST(RasterStore, SetValWhenSmallerPixel) {
  QvRaster<unsigned char> bytes(3, 2, 100);
  bytes.SetValWhenSmaller(2, 1, 50);
  bytes.SetValWhenSmaller(0, 0, 150);  // greater: kept
  bytes.SetValWhenSmaller(3, 0, 40);   // index 3 is (0, 1): no per-axis check
  bytes.SetValWhenSmaller(0, 2, 0);    // beyond the block: ignored
  EXPECT_EQ((std::vector<unsigned char>{100, 100, 100, 40, 100, 50}), pixels_of(bytes));
  QvRaster<short> shorts(1, 1, 5);
  shorts.SetValWhenSmaller(0, 0, -5);  // signed comparison
  EXPECT_EQ(-5, shorts.pixels[0]);
  QvRaster<unsigned int> words(1, 1, 5);
  words.SetValWhenSmaller(0, 0, 0xffffffffu);  // unsigned comparison
  EXPECT_EQ(5u, words.pixels[0]);
}

namespace {

// Plain per-pixel statement of CopyRaster: source (i, j) goes to memory
// position (x + i, y + j) when that lies inside; orientation plays no part.
void reference_copy(QvRaster<short>& dst, QvLong x, QvLong y, const QvRaster<short>& src) {
  for (QvLong j = 0; j < src.height; ++j)
    for (QvLong i = 0; i < src.width; ++i) {
      const QvLong dx = x + i, dy = y + j;
      if (dx >= 0 && dx < dst.width && dy >= 0 && dy < dst.height)
        dst.pixels[dy * dst.width + dx] = src.pixels[j * src.width + i];
    }
}

// Per-pixel statement of the raster SetValWhenSmaller for rasters of equal
// orientation. Rows are logical: a bottom-up raster keeps row j at memory row
// height-1-j, and the placement row of a bottom-up destination is height-1-y.
void reference_smaller(QvRaster<short>& dst, QvLong x, QvLong y, const QvRaster<short>& src) {
  const QvLong yy = dst.bottomUp ? dst.height - 1 - y : y;
  for (QvLong j = 0; j < src.height; ++j)
    for (QvLong i = 0; i < src.width; ++i) {
      const QvLong dx = x + i, dy = yy + j;
      if (dx < 0 || dx >= dst.width || dy < 0 || dy >= dst.height)
        continue;
      const QvLong dmem = dst.bottomUp ? dst.height - 1 - dy : dy;
      const QvLong smem = src.bottomUp ? src.height - 1 - j : j;
      short& d = dst.pixels[dmem * dst.width + dx];
      d = std::min(d, src.pixels[smem * src.width + i]);
    }
}

}  // namespace

TEST(RasterStore, CopyRasterMatchesPerPixelPlacement) {
  std::mt19937 rng(1234);
  std::uniform_int_distribution<int> size(0, 9), offset(-12, 12), flag(0, 1);
  for (int trial = 0; trial < 3000; ++trial) {
    QvRaster<short> dst(size(rng), size(rng), 0);
    QvRaster<short> src(size(rng), size(rng), 0);
    number_pixels(dst, 1000);
    number_pixels(src, 1);
    dst.bottomUp = flag(rng);
    src.bottomUp = flag(rng);
    const QvLong x = offset(rng), y = offset(rng);
    QvRaster<short> want(dst);
    reference_copy(want, x, y, src);
    dst.CopyRaster(x, y, src);
    SCOPED_TRACE(testing::Message() << "trial " << trial << " at " << x << ", " << y);
    ASSERT_EQ(pixels_of(want), pixels_of(dst));
  }
}

TEST(RasterStore, CopyRasterEdges) {
  QvRaster<unsigned char> dst(4, 2, 0);
  QvRaster<unsigned char> src(2, 2, 0);
  number_pixels(src, 1);
  dst.CopyRaster(-2, 0, src);  // entirely left: untouched
  EXPECT_EQ(1, dst.AllPixelValuesAre(0));
  dst.CopyRaster(3, 0, src);  // overlapping the right edge: one column
  EXPECT_EQ((std::vector<unsigned char>{0, 0, 0, 1, 0, 0, 0, 3}), pixels_of(dst));
  dst.CopyRaster(4, 0, src);  // x == width: nothing left to copy
  dst.CopyRaster(0, 2, src);  // y == height
  EXPECT_EQ((std::vector<unsigned char>{0, 0, 0, 1, 0, 0, 0, 3}), pixels_of(dst));
}

TEST(RasterStore, SetValWhenSmallerMatchesPerPixelPlacement) {
  std::mt19937 rng(99);
  std::uniform_int_distribution<int> size(0, 9), offset(-12, 12), flag(0, 1), value(0, 200);
  for (int trial = 0; trial < 3000; ++trial) {
    const bool bottom_up = flag(rng) != 0;
    QvRaster<short> dst(size(rng), size(rng), 0);
    // A bottom-up destination places source rows by its own height, which is
    // a picture only for a source of that height.
    QvRaster<short> src(size(rng), bottom_up ? dst.height : size(rng), 0);
    for (QvLong i = 0; i < dst.width * dst.height; ++i)
      dst.pixels[i] = static_cast<short>(value(rng));
    for (QvLong i = 0; i < src.width * src.height; ++i)
      src.pixels[i] = static_cast<short>(value(rng));
    dst.bottomUp = bottom_up;
    src.bottomUp = bottom_up;
    const QvLong x = offset(rng), y = offset(rng);
    QvRaster<short> want(dst);
    reference_smaller(want, x, y, src);
    dst.SetValWhenSmaller(x, y, src);
    SCOPED_TRACE(testing::Message() << "trial " << trial << " bottomUp " << bottom_up << " at "
                                    << x << ", " << y);
    ASSERT_EQ(pixels_of(want), pixels_of(dst));
  }
}

TEST(RasterStore, SetValWhenSmallerMixedOrientation) {
  // Top-down destination, bottom-up source: the source walks up from the
  // first placed row, so only that row comes from inside the source.
  QvRaster<short> dst(2, 3, 100);
  QvRaster<short> src(2, 3, 0);
  number_pixels(src, 1);  // rows {1,2} {3,4} {5,6}
  src.bottomUp = 1;
  dst.SetValWhenSmaller(0, 1, src);
  EXPECT_EQ((std::vector<short>{100, 100, 1, 2, 100, 100}), pixels_of(dst));

  // Bottom-up destination, top-down source of the same height: the source
  // starts at row H-1 and walks down past its end; only that row is used.
  src.bottomUp = 0;
  QvRaster<short> up(2, 3, 100);
  up.bottomUp = 1;
  up.SetValWhenSmaller(0, 2, src);
  EXPECT_EQ((std::vector<short>{100, 100, 100, 100, 5, 6}), pixels_of(up));
}

TEST(RasterStore, PrintWritesTopMemoryRowFirst) {
  QvRaster<short> shorts(2, 2, 0);
  number_pixels(shorts, -1);
  testing::internal::CaptureStdout();
  shorts.Print();
  EXPECT_EQ("Type raster W x H = 2 x 2\n   1   2\n  -1   0\n",
            testing::internal::GetCapturedStdout());

  QvRaster<unsigned char> bytes(3, 1, 'a');  // raw characters, not numbers
  bytes.pixels[1] = 'Z';
  QvRaster<float> floats(1, 1, 0.5f);
  QvRaster<double> no_rows(4, 0, 0.0);
  testing::internal::CaptureStdout();
  bytes.Print();
  floats.Print();
  no_rows.Print();
  EXPECT_EQ(
      "Type raster W x H = 3 x 1\n   a   Z   a\n"
      "Type raster W x H = 1 x 1\n 0.5\n"
      "Type raster W x H = 4 x 0\n",
      testing::internal::GetCapturedStdout());
}
