#include <qv/QvRaster.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <random>
#include <vector>

#include "raster/raster_distance.h"

namespace {

template <class T>
std::vector<T> pixels_of(const QvRaster<T>& r) {
  return std::vector<T>(r.pixels, r.pixels + static_cast<std::ptrdiff_t>(r.width) * r.height);
}

QvRaster<unsigned char> mask_with(QvLong w, QvLong h, std::vector<std::pair<int, unsigned char>> marks) {
  QvRaster<unsigned char> mask(w, h, 0);
  for (const auto& m : marks)
    mask.pixels[m.first] = m.second;
  return mask;
}

}  // namespace

TEST(RasterDistance, CornerSeedInThreeByThree) {
  const QvRaster<unsigned char> mask = mask_with(3, 3, {{0, 1}});
  QvRaster<float> sq(3, 3, -1.0f);
  sq.SetToSquaredEuclideanDistanceMap(mask);
  EXPECT_EQ((std::vector<float>{0, 1, 4, 1, 2, 5, 4, 5, 8}), pixels_of(sq));
  QvRaster<float> inf(3, 3, -1.0f);
  inf.SetToLInfinityDistanceMap(mask);
  EXPECT_EQ((std::vector<float>{0, 1, 2, 1, 1, 2, 2, 2, 2}), pixels_of(inf));

  // Mask value 2 negates the squared distance and means nothing to L-infinity.
  const QvRaster<unsigned char> marked = mask_with(3, 3, {{0, 1}, {8, 2}});
  sq.SetToSquaredEuclideanDistanceMap(marked);
  EXPECT_EQ(-8.0f, sq.pixels[8]);
  EXPECT_EQ(4.0f, sq.pixels[2]);
  inf.SetToLInfinityDistanceMap(marked);
  EXPECT_EQ(2.0f, inf.pixels[8]);
}

TEST(RasterDistance, NothingToPropagate) {
  struct Case { QvLong w, h; std::vector<std::pair<int, unsigned char>> marks; std::vector<double> want; };
  const Case cases[] = {
      // no seed: every pixel keeps 2*big*big, big = max(w, h) + 1
      {4, 3, {}, std::vector<double>(12, 50.0)},
      // one row: no sweep runs at all, the seed alone is 0
      {4, 1, {{1, 1}}, {50, 0, 50, 50}},
      // one column: only the vertical steps run
      {1, 4, {{0, 1}}, {0, 1, 4, 9}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << c.w << " x " << c.h);
    QvRaster<double> r(c.w, c.h, 0.0);
    r.SetToSquaredEuclideanDistanceMap(mask_with(c.w, c.h, c.marks));
    EXPECT_EQ(c.want, pixels_of(r));
  }
}

TEST(RasterDistance, StoredPerPixelType) {
  // Seed at (0, 0) of a 17 x 2 raster: (16, 0) lies at squared distance 256,
  // (16, 1) at 257, (2, 0) at 4 and is marked for negation.
  const QvRaster<unsigned char> mask = mask_with(17, 2, {{0, 1}, {2, 2}});
  QvRaster<unsigned char> bytes(17, 2, 0);
  bytes.SetToSquaredEuclideanDistanceMap(mask);
  EXPECT_EQ(0, bytes.pixels[16]);  // low 8 bits of 256
  EXPECT_EQ(1, bytes.pixels[33]);
  EXPECT_EQ(252, bytes.pixels[2]);  // two's complement of 4
  QvRaster<short> shorts(17, 2, 0);
  shorts.SetToSquaredEuclideanDistanceMap(mask);
  EXPECT_EQ(256, shorts.pixels[16]);
  EXPECT_EQ(-4, shorts.pixels[2]);
  QvRaster<int> ints(17, 2, 0);
  ints.SetToSquaredEuclideanDistanceMap(mask);
  EXPECT_EQ(257, ints.pixels[33]);
  EXPECT_EQ(-4, ints.pixels[2]);
  QvRaster<unsigned int> words(17, 2, 0);
  words.SetToSquaredEuclideanDistanceMap(mask);
  EXPECT_EQ(0xfffffffcu, words.pixels[2]);

  // 300 columns: the farthest pixel lies at 299^2 + 1 = 89402, whose low
  // 16 bits are 23866; one row further at 299^2 = 89401 it is 23865.
  QvRaster<short> wide(300, 2, 0);
  wide.SetToSquaredEuclideanDistanceMap(mask_with(300, 2, {{300, 1}}));
  EXPECT_EQ(23866, wide.pixels[299]);
  EXPECT_EQ(23865, wide.pixels[599]);
}

TEST(RasterDistance, MaskMayBeTheRasterItself) {
  QvRaster<unsigned char> r(5, 4, 0);
  r.pixels[7] = 1;
  r.pixels[19] = 2;
  QvRaster<unsigned char> want(5, 4, 0);
  want.SetToSquaredEuclideanDistanceMap(r);
  r.SetToSquaredEuclideanDistanceMap(r);
  EXPECT_EQ(pixels_of(want), pixels_of(r));
}

TEST(RasterDistance, ShortMaskReadsAsBackground) {
  const QvRaster<unsigned char> mask(1, 1, 1);  // only pixel 0 exists
  QvRaster<double> r(3, 3, 0.0);
  r.SetToLInfinityDistanceMap(mask);
  EXPECT_EQ((std::vector<double>{0, 1, 2, 1, 1, 2, 2, 2, 2}), pixels_of(r));
}

// One seed: both maps are exact, whatever the size and the seed's place.
TEST(RasterDistance, SingleSeedMatchesBruteForce) {
  std::mt19937 rng(7);
  std::uniform_int_distribution<int> size(2, 24);
  for (int trial = 0; trial < 300; ++trial) {
    const QvLong w = size(rng), h = size(rng);
    const int seed = std::uniform_int_distribution<int>(0, w * h - 1)(rng);
    const QvRaster<unsigned char> mask = mask_with(w, h, {{seed, 1}});
    QvRaster<double> sq(w, h, 0.0), inf(w, h, 0.0);
    sq.SetToSquaredEuclideanDistanceMap(mask);
    inf.SetToLInfinityDistanceMap(mask);
    SCOPED_TRACE(testing::Message() << w << " x " << h << " seed " << seed);
    for (QvLong i = 0; i < w * h; ++i) {
      const double dx = std::abs(i % w - seed % w), dy = std::abs(i / w - seed / w);
      ASSERT_EQ(dx * dx + dy * dy, sq.pixels[i]) << i;
      ASSERT_EQ(std::max(dx, dy), inf.pixels[i]) << i;
    }
  }
}

// Several seeds: the propagation may miss the nearest seed, but what it
// reports is always the exact distance to some seed, never below the nearest.
TEST(RasterDistance, ManySeedsReportARealSeed) {
  std::mt19937 rng(11);
  std::uniform_int_distribution<int> size(2, 20), coin(0, 9);
  for (int trial = 0; trial < 200; ++trial) {
    const QvLong w = size(rng), h = size(rng);
    QvRaster<unsigned char> mask(w, h, 0);
    std::vector<int> seeds;
    for (QvLong i = 0; i < w * h; ++i)
      if (coin(rng) == 0) {
        mask.pixels[i] = 1;
        seeds.push_back(i);
      }
    if (seeds.empty())
      continue;
    QvRaster<int> sq(w, h, 0);
    sq.SetToSquaredEuclideanDistanceMap(mask);
    SCOPED_TRACE(testing::Message() << "trial " << trial);
    for (QvLong i = 0; i < w * h; ++i) {
      int nearest = 1 << 30;
      bool reported_is_real = false;
      for (int s : seeds) {
        const int dx = i % w - s % w, dy = i / w - s / w;
        nearest = std::min(nearest, dx * dx + dy * dy);
        reported_is_real = reported_is_real || dx * dx + dy * dy == sq.pixels[i];
      }
      ASSERT_GE(sq.pixels[i], nearest) << i;
      ASSERT_TRUE(reported_is_real) << i;
    }
  }
}

// The public maps work in integer offsets where those are exact; the double
// form that very large rasters take must give the same bits.
TEST(RasterDistance, IntegerOffsetsAgreeWithDoubles) {
  std::mt19937 rng(23);
  std::uniform_int_distribution<int> size(1, 40), mark(0, 30);
  for (int trial = 0; trial < 200; ++trial) {
    const QvLong w = size(rng), h = size(rng);
    QvRaster<unsigned char> mask(w, h, 0);
    for (QvLong i = 0; i < w * h; ++i) {
      const int m = mark(rng);
      mask.pixels[i] = static_cast<unsigned char>(m < 2 ? 1 : m < 4 ? 2 : 0);
    }
    SCOPED_TRACE(testing::Message() << "trial " << trial);
    for (bool euclidean : {true, false}) {
      QvRaster<double> fast(w, h, 0.0), plain(w, h, 0.0);
      if (euclidean)
        fast.SetToSquaredEuclideanDistanceMap(mask);
      else
        fast.SetToLInfinityDistanceMap(mask);
      qv::internal::distance_map_in_doubles(plain, mask, euclidean);
      ASSERT_EQ(pixels_of(plain), pixels_of(fast));
    }
  }
}
