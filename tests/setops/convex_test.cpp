#include <gtest/gtest.h>

#include "support/shapes.h"

#include <qv/QvArray.h>
#include <qv/QvShapeSetOps.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

namespace {

using qv::test::P;

double cross(const QvPoint2<float>& o, const QvPoint2<float>& a, const QvPoint2<float>& b) {
  return (static_cast<double>(a.x) - o.x) * (static_cast<double>(b.y) - o.y) -
         (static_cast<double>(a.y) - o.y) * (static_cast<double>(b.x) - o.x);
}

// Distance from p to the segment a..b.
double segment_distance(const QvPoint2<float>& p, const QvPoint2<float>& a,
                        const QvPoint2<float>& b) {
  const double dx = static_cast<double>(b.x) - a.x, dy = static_cast<double>(b.y) - a.y;
  const double wx = static_cast<double>(p.x) - a.x, wy = static_cast<double>(p.y) - a.y;
  const double len2 = dx * dx + dy * dy;
  double t = len2 > 0 ? (wx * dx + wy * dy) / len2 : 0.0;
  t = std::max(0.0, std::min(1.0, t));
  return std::hypot(wx - t * dx, wy - t * dy);
}

bool inside_convex(const std::vector<QvPoint2<float>>& poly, const QvPoint2<float>& p) {
  for (std::size_t i = 0; i < poly.size(); ++i)
    if (cross(poly[i], poly[(i + 1) % poly.size()], p) < 0) return false;
  return true;
}

// Distance from p to a convex polygon (0 inside).
double polygon_distance(const std::vector<QvPoint2<float>>& poly, const QvPoint2<float>& p) {
  if (poly.size() > 2 && inside_convex(poly, p)) return 0.0;
  double best = std::numeric_limits<double>::max();
  for (std::size_t i = 0; i < poly.size(); ++i)
    best = std::min(best, segment_distance(p, poly[i], poly[(i + 1) % poly.size()]));
  return best;
}

std::vector<QvPoint2<float>> points_of(const QvPoint2fArray& a, QvULong from = 0) {
  return std::vector<QvPoint2<float>>(a.data + from, a.data + a.size);
}

}  // namespace

// Brute force: every input point lies on or inside every hull edge, every
// hull vertex is an input point, and every turn is strictly convex.
TEST(ConvexHull, RandomCloudsAgainstBruteForce) {
  std::mt19937 rng(4);
  std::uniform_real_distribution<double> u(-100.0, 100.0);
  for (int trial = 0; trial < 50; ++trial) {
    SCOPED_TRACE(trial);
    const int n = 1 + trial * 3;
    std::vector<QvPoint2<float>> cloud;
    for (int i = 0; i < n; ++i) cloud.push_back(P(std::round(u(rng)), std::round(u(rng) / 4)));
    QvPoint2fArray hull(4);
    hull.Add(P(1234, 5678));  // the hull is appended, not written over
    ASSERT_EQ(1, QvGetConvexHull2D(n, cloud.data(), &hull));
    ASSERT_EQ(1234.0f, hull[0].x);
    const std::vector<QvPoint2<float>> h = points_of(hull, 1);
    ASSERT_GE(h.size(), 1u);
    ASSERT_LE(h.size(), static_cast<std::size_t>(n));
    for (const QvPoint2<float>& v : h)
      EXPECT_NE(cloud.end(), std::find_if(cloud.begin(), cloud.end(), [&](const QvPoint2<float>& c) {
                  return c.x == v.x && c.y == v.y;
                }));
    if (h.size() < 3) continue;
    for (std::size_t i = 0; i < h.size(); ++i) {
      EXPECT_GT(cross(h[i], h[(i + 1) % h.size()], h[(i + 2) % h.size()]), 0.0);
      for (const QvPoint2<float>& c : cloud) ASSERT_GE(cross(h[i], h[(i + 1) % h.size()], c), 0.0);
    }
  }
}

TEST(ConvexHull, DegenerateInputs) {
  struct Case {
    const char* name;
    std::vector<QvPoint2<float>> points;
    QvLong result;
    std::size_t hull_size;
  };
  const float nan = std::numeric_limits<float>::quiet_NaN();
  const Case cases[] = {
      {"no point", {}, 0, 0},
      {"one point", {P(3, 4)}, 1, 1},
      {"one point thrice", {P(3, 4), P(3, 4), P(3, 4)}, 1, 1},
      {"collinear keeps the ends", {P(0, 0), P(2, 2), P(1, 1), P(3, 3)}, 1, 2},
      {"square with its centre and a repeat", {P(0, 0), P(4, 0), P(2, 2), P(4, 4), P(0, 4), P(4, 0)}, 1, 4},
      {"a NaN is refused", {P(0, 0), P(nan, 1), P(3, 3)}, 0, 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    std::vector<QvPoint2<float>> pts = c.points;
    QvPoint2fArray hull(2);
    EXPECT_EQ(c.result, QvGetConvexHull2D(static_cast<QvLong>(pts.size()), pts.data(), &hull));
    EXPECT_EQ(c.hull_size, hull.size);
  }
  QvPoint2<float> one = P(1, 1);
  EXPECT_EQ(0, QvGetConvexHull2D(-3, &one, nullptr));
}

TEST(ConvexExpand, OnePointBecomesACircle) {
  QvPoint2fArray point(1);
  point.Add(P(10, 20));
  QvPoint2fArray out(1);
  QvExpandConvexPolygon2D(point, 5.0, 90.0, &out);
  ASSERT_EQ(4u, out.size);
  const float want[4][2] = {{15, 20}, {10, 25}, {5, 20}, {10, 15}};
  for (QvULong i = 0; i < 4; ++i) {
    EXPECT_NEAR(want[i][0], out[i].x, 1e-5);
    EXPECT_NEAR(want[i][1], out[i].y, 1e-5);
  }
  // A repeated point is still one point.
  point.Add(P(10, 20.001f));
  QvPoint2fArray again(1);
  QvExpandConvexPolygon2D(point, 5.0, 90.0, &again);
  EXPECT_EQ(4u, again.size);
}

TEST(ConvexExpand, NegativeDistanceAndClosingRepeat) {
  QvPoint2fArray square(4);
  for (const QvPoint2<float>& p : {P(0, 0), P(10, 0), P(10, 10), P(0, 10)}) square.Add(p);
  QvPoint2fArray flat(4);
  QvExpandConvexPolygon2D(square, -1.0, 15.0, &flat);
  ASSERT_EQ(4u, flat.size);  // no distance: the corners themselves, once each
  for (QvULong i = 0; i < 4; ++i) {
    EXPECT_EQ(square[i].x, flat[i].x);
    EXPECT_EQ(square[i].y, flat[i].y);
  }
  QvPoint2fArray grown(4), grown_closed(4);
  QvExpandConvexPolygon2D(square, 2.0, 15.0, &grown);
  square.Add(P(0, 0));
  QvExpandConvexPolygon2D(square, 2.0, 15.0, &grown_closed);
  ASSERT_EQ(grown.size, grown_closed.size);
  for (QvULong i = 0; i < grown.size; ++i) {
    EXPECT_EQ(grown[i].x, grown_closed[i].x);
    EXPECT_EQ(grown[i].y, grown_closed[i].y);
  }
  QvPoint2fArray none(1);
  QvExpandConvexPolygon2D(square, 2.0, 0.0, &none);
  QvExpandConvexPolygon2D(square, 2.0, std::numeric_limits<double>::quiet_NaN(), &none);
  EXPECT_EQ(0u, none.size);
}

// Every point of the grown outline lies at the distance from the polygon,
// the outline is convex and turns the polygon's way: both orientations grow
// outward. A full turn of corners takes about 360 / step chords.
TEST(ConvexExpand, RandomHullsGrowByTheDistance) {
  std::mt19937 rng(12);
  std::uniform_real_distribution<double> u(-50.0, 50.0);
  for (int trial = 0; trial < 40; ++trial) {
    SCOPED_TRACE(trial);
    std::vector<QvPoint2<float>> cloud;
    for (int i = 0; i < 2 + trial; ++i) cloud.push_back(P(u(rng), u(rng)));
    QvPoint2fArray hull(4);
    ASSERT_EQ(1, QvGetConvexHull2D(static_cast<QvLong>(cloud.size()), cloud.data(), &hull));
    if (trial % 2) std::reverse(hull.data, hull.data + hull.size);
    std::vector<QvPoint2<float>> ccw = points_of(hull);
    if (trial % 2) std::reverse(ccw.begin(), ccw.end());
    const double distance = 1.0 + trial % 7;
    const double step = 10.0 + trial % 4 * 7.5;
    hull.Add(hull[0]);
    QvExpandConvexPolygon2D(hull, distance, step, &hull);  // out may be the polygon itself
    const std::vector<QvPoint2<float>> grown = points_of(hull, static_cast<QvULong>(ccw.size()) + 1);
    ASSERT_GE(grown.size(), ccw.size());
    EXPECT_LE(grown.size(), 2 * ccw.size() + static_cast<std::size_t>(360.0 / step) + 1);
    for (std::size_t i = 0; i < grown.size(); ++i) {
      EXPECT_NEAR(distance, polygon_distance(ccw, grown[i]), 1e-3 * (1 + distance));
      const QvPoint2<float>& a = grown[i];
      const QvPoint2<float>& b = grown[(i + 1) % grown.size()];
      const QvPoint2<float>& c = grown[(i + 2) % grown.size()];
      if (trial % 2) {
        EXPECT_LE(cross(a, b, c), 1e-3);
      } else {
        EXPECT_GE(cross(a, b, c), -1e-3);
      }
    }
  }
}
