#include <qv/QvRaster.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <random>
#include <utility>
#include <vector>

#include "raster/raster_distance.h"
#include "raster/raster_test_support.h"

using qv::test::pixels_of;

namespace {

QvRaster<unsigned char> mask_with(QvLong w, QvLong h, std::vector<std::pair<int, int>> marks) {
  QvRaster<unsigned char> mask(w, h, 0);
  for (const auto& m : marks)
    mask.pixels[m.first] = static_cast<unsigned char>(m.second);
  return mask;
}

}  // namespace

TEST(RasterDistance, HandValues) {
  using Marks = std::vector<std::pair<int, int>>;
  using Pixels = std::vector<float>;
  const Pixels corner_sq = {0, 1, 4, 1, 2, 5, 4, 5, 8}, corner_inf = {0, 1, 2, 1, 1, 2, 2, 2, 2};
  struct Case { QvLong w, h, mask_w, mask_h; Marks marks; Pixels sq, inf; };
  const Case cases[] = {
      {3, 3, 3, 3, {{0, 1}}, corner_sq, corner_inf},
      // mask value 2 negates the squared distance and means nothing to L-infinity
      {3, 3, 3, 3, {{0, 1}, {8, 2}}, {0, 1, 4, 1, 2, 5, 4, 5, -8}, corner_inf},
      // no seed: every pixel keeps 2*big*big, or big, with big = max(w, h) + 1
      {4, 3, 4, 3, {}, Pixels(12, 50), Pixels(12, 5)},
      // one row: no sweep runs at all, the seed alone is 0
      {4, 1, 4, 1, {{1, 1}}, {50, 0, 50, 50}, {5, 0, 5, 5}},
      // one column: only the vertical steps run
      {1, 4, 1, 4, {{0, 1}}, {0, 1, 4, 9}, {0, 1, 2, 3}},
      // a mask shorter than the raster: the pixels past its end are background
      {3, 3, 1, 1, {{0, 1}}, corner_sq, corner_inf},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << c.w << " x " << c.h << ", " << c.marks.size() << " marks");
    QvRaster<float> sq(c.w, c.h, -1.0f), inf(c.w, c.h, -1.0f);
    sq.SetToSquaredEuclideanDistanceMap(mask_with(c.mask_w, c.mask_h, c.marks));
    inf.SetToLInfinityDistanceMap(mask_with(c.mask_w, c.mask_h, c.marks));
    EXPECT_EQ(c.sq, pixels_of(sq));
    EXPECT_EQ(c.inf, pixels_of(inf));
  }
}

TEST(RasterDistance, StoredPerPixelType) {
  // Seed at (0, 0) of a 17 x 2 raster: (16, 0) lies at squared distance 256,
  // (16, 1) at 257, (2, 0) at 4 and is marked for negation.
  const QvRaster<unsigned char> mask = mask_with(17, 2, {{0, 1}, {2, 2}});
  QvRaster<unsigned char> bytes(17, 2, 0);
  QvRaster<short> shorts(17, 2, 0);
  QvRaster<unsigned int> words(17, 2, 0);
  bytes.SetToSquaredEuclideanDistanceMap(mask);
  shorts.SetToSquaredEuclideanDistanceMap(mask);
  words.SetToSquaredEuclideanDistanceMap(mask);
  EXPECT_EQ(0, bytes.pixels[16]);  // low 8 bits of 256
  EXPECT_EQ(1, bytes.pixels[33]);
  EXPECT_EQ(252, bytes.pixels[2]);  // two's complement of 4
  EXPECT_EQ(256, shorts.pixels[16]);
  EXPECT_EQ(-4, shorts.pixels[2]);
  EXPECT_EQ(0xfffffffcu, words.pixels[2]);
  // The mask may be the raster itself: each mark is read before its pixel is written.
  QvRaster<unsigned char> self(mask);
  self.SetToSquaredEuclideanDistanceMap(self);
  EXPECT_EQ(pixels_of(bytes), pixels_of(self));
}

// The public maps work in integer offsets where those are exact; the double
// form that very large rasters take must give the same bits. With one seed
// both maps are exact distances, whatever the size and the seed's place.
TEST(RasterDistance, RandomMasksMatchReferences) {
  std::mt19937 rng(23);
  std::uniform_int_distribution<int> size(1, 32), mark(0, 30);
  for (int trial = 0; trial < 400; ++trial) {
    const QvLong w = size(rng), h = size(rng);
    const bool single = trial % 2 == 0;
    const int seed = std::uniform_int_distribution<int>(0, w * h - 1)(rng);
    QvRaster<unsigned char> mask(w, h, 0);
    for (QvLong i = 0; i < w * h; ++i) {
      const int m = single ? (i == seed ? 0 : 9) : mark(rng);
      mask.pixels[i] = static_cast<unsigned char>(m < 2 ? 1 : m < 4 ? 2 : 0);
    }
    SCOPED_TRACE(testing::Message() << "trial " << trial << ", " << w << " x " << h);
    QvRaster<double> sq(w, h, 0.0), inf(w, h, 0.0), sq_plain(w, h, 0.0), inf_plain(w, h, 0.0);
    sq.SetToSquaredEuclideanDistanceMap(mask);
    inf.SetToLInfinityDistanceMap(mask);
    qv::internal::distance_map_in_doubles(sq_plain, mask, true);
    qv::internal::distance_map_in_doubles(inf_plain, mask, false);
    ASSERT_EQ(pixels_of(sq_plain), pixels_of(sq));
    ASSERT_EQ(pixels_of(inf_plain), pixels_of(inf));
    if (!single || h < 2)  // a single row propagates nothing
      continue;
    for (QvLong i = 0; i < w * h; ++i) {
      const double dx = std::abs(i % w - seed % w), dy = std::abs(i / w - seed / w);
      ASSERT_EQ(dx * dx + dy * dy, sq.pixels[i]) << i;
      ASSERT_EQ(std::max(dx, dy), inf.pixels[i]) << i;
    }
  }
}
