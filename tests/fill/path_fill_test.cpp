// The rasterisers through QvPath2f: preparation of the vertex table (extent,
// raster cut, clip box), the worked figures of each fill, the hard fill's
// brute-force twin on flattened cubic paths, and bad geometry.
#include "fill_reference.h"

#include <qv/QvGC.h>
#include <qv/QvPath2f.h>
#include <qv/QvRaster.h>
#include <qv/QvTransfo4.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

namespace {

using qvtest::P;
using qvtest::pixel;
using qvtest::rect_path;

// Painted rectangle (inclusive) of a raster that started at `background`.
template <class T>
void expect_only_rect(const QvRaster<T>& r, T background, T full, QvLong x0, QvLong y0, QvLong x1,
                      QvLong y1) {
  for (QvLong y = 0; y < r.height; ++y)
    for (QvLong x = 0; x < r.width; ++x) {
      const bool in = x >= x0 && x <= x1 && y >= y0 && y <= y1;
      ASSERT_EQ(in ? full : background, pixel(r, x, y)) << x << "," << y;
    }
}

QvLong stop_at_once(void) { return 1; }

TEST(PathFill, Figures) {
  struct Case {
    const char* name;
    float x0, y0, x1, y1;
    tqRnBbox2l clip;
    QvLong (*poll)(void);
    QvLong px0, py0, px1, py1;  // painted, inclusive; px0 > px1 for nothing
  };
  const Case cases[] = {
      {"centres inside", 10, 10, 20, 20, {}, nullptr, 10, 10, 19, 19},
      {"centres on both edges", 10.5f, 10, 20.5f, 20, {}, nullptr, 10, 10, 20, 19},
      {"clip box short of its far side", -10, -10, 50, 50, {5, 5, 10, 10}, nullptr, 5, 5, 13, 13},
      {"cut by the raster", -5, -5, 4, 40, {}, nullptr, 0, 0, 3, 31},
      {"outside the raster", -30, 2, -20, 6, {}, nullptr, 1, 0, 0, 0},
      {"stopped at once", 1, 1, 7, 7, {}, stop_at_once, 1, 0, 0, 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    QvRaster<unsigned char> r(32, 32, 3);
    rect_path(c.x0, c.y0, c.x1, c.y1).Fill(QvGC(), r, c.poll, c.clip.width ? &c.clip : nullptr);
    expect_only_rect<unsigned char>(r, 3, 255, c.px0, c.py0, c.px1, c.py1);
  }
  // Other pixel types: full values, bottom-up rows, and opacity ignored.
  QvGC half;
  half.SetFillOpacity(0.5);
  QvRaster<short> shorts(16, 16, 0);
  shorts.bottomUp = 1;
  rect_path(2, 3, 6, 5).Fill(half, shorts, nullptr, nullptr);
  expect_only_rect<short>(shorts, 0, 16384, 2, 3, 5, 4);
  EXPECT_EQ(16384, shorts.pixels[(16 - 1 - 3) * 16 + 2]);
  QvRaster<float> floats(8, 8, 0.25f);
  rect_path(1, 1, 7, 7).Fill(half, floats, nullptr, nullptr);
  expect_only_rect<float>(floats, 0.25f, 1.0f, 1, 1, 6, 6);
}

TEST(PathAAFill, Figures) {
  struct Case {
    const char* name;
    float x0;
    QvLong s, r;
    double opacity;
    QvLong x;
    int want;
  };
  const Case cases[] = {
      {"inside", 10, 4, 0, 1.0, 15, 255},
      {"outside untouched", 10, 4, 0, 1.0, 9, 3},
      {"half column", 10.5f, 4, 0, 1.0, 10, 128},
      {"8x8 half column", 10.5f, 8, 0, 1.0, 10, 128},
      {"filter: 6 of 36 in column 20", 10.5f, 4, 1, 1.0, 20, 42},
      {"filter writes 0 beyond the touched range", 10.5f, 4, 1, 1.0, 9, 0},
      {"opacity 0.5", 10, 4, 0, 0.5, 15, 128},
      {"opacity 2.0 stores the low byte of 510", 10, 4, 0, 2.0, 15, 254},
      {"opacity 1.00000001 is opaque", 10, 4, 0, 1.00000001, 15, 255},
      {"radius 100 acts as 4: 48 of 144", 10.5f, 4, 100, 1.0, 20, 85},
      {"radius -3 acts as 0", 10.5f, 4, -3, 1.0, 10, 128},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    QvGC gc;
    gc.SetAASuperSampling(c.s);
    gc.SetAAFilterRadius(c.r);
    gc.SetFillOpacity(c.opacity);
    QvRaster<unsigned char> r(32, 32, 3);
    rect_path(c.x0, 10, 20, 20).AAFill(gc, r, nullptr, nullptr);
    EXPECT_EQ(c.want, pixel(r, c.x, 15));
    EXPECT_EQ(3, pixel(r, 15, 8));  // two rows above: untouched
  }
}

// A closed path of random cubics, its flattened polygon taken from the path's
// own flattening so that only the scan is under test.
QvPath2f random_cubic_path(std::mt19937& rng, int cubics, float lo, float hi) {
  std::uniform_real_distribution<float> coord(lo, hi);
  QvPath2f path(64);
  const P start(coord(rng), coord(rng));
  path.Moveto(start);
  for (int i = 0; i < cubics; ++i) {
    const P end = i + 1 == cubics ? start : P(coord(rng), coord(rng));
    path.Curveto(P(coord(rng), coord(rng)), P(coord(rng), coord(rng)), end);
  }
  path.Closeto();
  return path;
}

std::vector<qvtest::Polygon> flattened(const QvPath2f& path, const QvGC& gc) {
  QvPoint2dArray points(64);
  QvPointTagArray tags(64);
  path.TransformAndFlattenClosedSubPaths(gc.GetTransform(),
                                         std::max(0.25, gc.GetFlatteningTolerance()), points, tags);
  std::vector<qvtest::Polygon> out;
  for (QvULong i = 0; i < points.size; ++i) {
    if (tags[i] == TagFirst) out.emplace_back();
    if (tags[i] != TagLast) out.back().push_back({points[i].x, points[i].y});
  }
  return out;
}

// Pixel for pixel against the centre test of the path's own flattened
// polygon, under both rules, with and without a clip box, in both row orders,
// for paths that the raster cuts.
TEST(PathFill, MatchesBruteForceOnCubicPaths) {
  std::mt19937 rng(2024);
  for (int trial = 0; trial < 40; ++trial) {
    SCOPED_TRACE(trial);
    const bool winding = trial % 2 == 1;
    const QvPath2f path = random_cubic_path(rng, 2 + trial % 4, -6.0f, 38.0f);
    QvGC gc;
    gc.SetFillRule(winding ? QvGC::WindingRule : QvGC::EvenOddRule);
    QvRaster<unsigned char> r(32, 30, 9);
    r.bottomUp = trial % 3 == 0;
    const tqRnBbox2l clip = {3, 4, 20, 17};
    const bool clipped = trial % 5 == 0;
    path.Fill(gc, r, nullptr, clipped ? &clip : nullptr);
    const auto polygons = flattened(path, gc);
    for (QvLong y = 0; y < 30; ++y)
      for (QvLong x = 0; x < 32; ++x) {
        const bool in_clip = !clipped || (x >= 3 && x < 22 && y >= 4 && y < 20);
        const bool in = in_clip && qvtest::centre_inside(polygons, 1.0, x + 0.5, y + 0.5, winding);
        ASSERT_EQ(in ? 255 : 9, pixel(r, x, y)) << x << "," << y;
      }
  }
}

// Bad geometry draws what it can and never writes outside the raster.
TEST(PathRasterisers, SurviveDegenerateGeometry) {
  const float nan = std::numeric_limits<float>::quiet_NaN();
  const float inf = std::numeric_limits<float>::infinity();
  const std::vector<std::vector<P>> cases = {
      {P(nan, 1), P(5, nan), P(2, 8), P(nan, 1)},  {P(-inf, 2), P(inf, 3), P(4, inf), P(-inf, 2)},
      {P(1, 1), P(1e30f, 2), P(1, 1e-30f), P(1, 1)}, {P(3, 3), P(9, 3), P(3, 3)},
      {P(4, 4), P(4, 4)}};
  for (std::size_t i = 0; i < cases.size(); ++i) {
    SCOPED_TRACE(i);
    const QvPath2f path = qvtest::polyline_path(cases[i], true);
    QvGC gc;
    gc.SetAAFilterRadius(2);
    gc.SetInteriorOffset(2);
    std::vector<unsigned char> guarded(2 + 12 * 12, 77);
    QvRaster<unsigned char> r(guarded.data() + 1, 12, 12, 0, 0);
    path.Fill(gc, r, nullptr, nullptr);
    path.AAFill(gc, r, nullptr, nullptr);
    path.SoftFill(gc, r, nullptr);
    path.Stroke(gc, r);
    EXPECT_EQ(77, guarded.front());
    EXPECT_EQ(77, guarded.back());
  }
}

}  // namespace
