#include <qv/QvGC.h>
#include <qv/QvMorpher.h>
#include <qv/QvPath2fProp1d.h>
#include <qv/QvRawFCurve.h>

#include <gtest/gtest.h>

#include "support/shapes.h"

#include <cmath>
#include <vector>

namespace {

using P = QvPoint2<float>;
constexpr double kPi = 3.14159265358979323846;

QvGC context(double step) {
  QvGC gc;
  gc.SetSmallestFeatureSize(step);
  return gc;
}

using qv::test::polylines;

// A circle about the origin from (r, 0), counter-clockwise, in `arcs` cubics.
QvPath2fProp1d circle(float r, int arcs) {
  QvPath2fProp1d path;
  const double sweep = 2 * kPi / arcs, k = 4.0 / 3.0 * std::tan(sweep / 4);
  const auto at = [&](double a, double along) {
    return P(static_cast<float>(r * (std::cos(a) - along * std::sin(a))),
             static_cast<float>(r * (std::sin(a) + along * std::cos(a))));
  };
  path.Moveto(P(r, 0));
  for (int i = 0; i < arcs; ++i)
    path.Curveto(at(sweep * i, k), at(sweep * (i + 1), -k),
                 i + 1 < arcs ? at(sweep * (i + 1), 0) : P(r, 0));
  path.Closeto();
  return path;
}

// Subpaths of a path as (first, last, closed).
struct Sub {
  QvULong first, last;
  bool closed;
};
std::vector<Sub> subpaths(const QvPath2f& path) {
  std::vector<Sub> out;
  for (QvULong i = 0; i < path.NumPoints();) {
    QvULong s, e;
    path.GetSubpathIndices(i, s, e);
    out.push_back({s, e, path.IsSubpathClosed(s) != 0});
    i = e + 1;
  }
  return out;
}

P point(const QvPath2f& path, QvULong i) {
  P p;
  path.GetPoint(i, p);
  return p;
}

TEST(Morpher, SiblingsBlendPointByPointAndOverwrite) {
  const QvPath2fProp1d a = polylines({{P(0, 0), P(1, 0), P(1, 1)}});
  const QvPath2fProp1d b = polylines({{P(0.3f, 0), P(5, 0.7f), P(2, 9)}});
  const QvGC gc = context(0.1);
  QvMorpher morpher(&a, &b, gc);
  QvPath2fProp1d result = circle(3, 4);
  EXPECT_EQ(1, morpher.LinearMorph(0.3, result));
  ASSERT_TRUE(result.IsSiblingOf(a));
  for (QvULong i = 0; i < 3; ++i)
    EXPECT_EQ(static_cast<float>(point(a, i).y * 0.7) + static_cast<float>(point(b, i).y * 0.3),
              point(result, i).y) << i;
}

// Circles of radius 10 and 20 with different structures pair up and blend to
// a closed circle of radius 15 at t = 0.5; an open partner makes it open.
TEST(Morpher, PairedSubpathsBlendAndFitClosedOnlyWhenBothClosed) {
  const QvPath2fProp1d small = circle(10, 4);
  const QvPath2fProp1d large = circle(20, 7);
  const QvGC gc = context(0.05);
  QvPath2fProp1d result = polylines({{P(100, 100), P(101, 100)}});
  QvMorpher(&small, &large, gc).LinearMorph(0.5, result);
  std::vector<Sub> subs = subpaths(result);
  ASSERT_EQ(2u, subs.size());  // appended after what was there
  EXPECT_TRUE(subs[1].closed);
  QvPoint2fArray flat;
  result.FlattenSubpath(subs[1].first, 0.01, flat);
  for (QvULong i = 0; i < flat.size; ++i)
    ASSERT_NEAR(15.0, std::hypot(flat[i].x, flat[i].y), 0.1) << i;

  const QvPath2fProp1d arc = polylines({{P(10, 0), P(0, 10), P(-10, 0)}});
  QvPath2fProp1d open;
  QvMorpher(&small, &arc, gc).LinearMorph(0.5, open);
  subs = subpaths(open);
  ASSERT_EQ(1u, subs.size());
  EXPECT_FALSE(subs[0].closed);
}

// One line against two: the walk cuts where the target's first subpath
// ends, so at t = 0 the source comes out in two pieces.
TEST(Morpher, UnequalSubpathCountsCutAtEveryEnd) {
  const QvPath2fProp1d one = polylines({{P(0, 0), P(20, 0)}});
  const QvPath2fProp1d two = polylines({{P(0, 5), P(10, 5)}, {P(10, 8), P(20, 8)}});
  const QvGC gc = context(0.5);
  QvPath2fProp1d result;
  QvMorpher(&one, &two, gc).LinearMorph(0.0, result);
  const std::vector<Sub> subs = subpaths(result);
  ASSERT_EQ(2u, subs.size());
  for (int k = 0; k < 2; ++k) {
    EXPECT_FALSE(subs[k].closed);
    EXPECT_NEAR(10.0 * k, point(result, subs[k].first).x, 1e-4) << k;
    EXPECT_NEAR(10.0 * k + 10.0, point(result, subs[k].last).x, 1e-4) << k;
  }
  // Shapes of no length, and more subpaths than steps, still come out whole.
  const QvPath2fProp1d dots = polylines({{P(1, 1), P(1, 1)}, {P(2, 2), P(2, 2)}});
  const QvPath2fProp1d bits = polylines({{P(0, 0), P(0.1f, 0)}, {P(0, 1)}, {P(0, 2), P(3, 2)}});
  QvPath2fProp1d mixed;
  for (const double t : {0.0, 0.5, 1.0}) QvMorpher(&dots, &bits, gc).LinearMorph(t, mixed);
  QvMorpher(&dots, &one, gc).TurtleMorph(0.5, mixed);
  EXPECT_GE(mixed.NumSubpaths(), 6u);
}

TEST(Morpher, TurtleTurnsRatherThanCollapses) {
  const QvPath2fProp1d a = polylines({{P(0, 0), P(10, 0)}});
  const QvPath2fProp1d b = polylines({{P(0, 0), P(0, 20)}});
  const QvGC gc = context(0.25);
  QvPath2fProp1d result;
  EXPECT_EQ(1, QvMorpher(&a, &b, gc).TurtleMorph(0.5, result));
  ASSERT_EQ(1u, result.NumSubpaths());
  EXPECT_FALSE(result.IsSubpathClosed(0));
  const P last = point(result, result.NumPoints() - 1);
  EXPECT_NEAR(15.0 / std::sqrt(2.0), last.x, 1e-3);
  EXPECT_NEAR(15.0 / std::sqrt(2.0), last.y, 1e-3);
}

TEST(Morpher, MotionPathsCarryTheMarkedStretch) {
  const QvPath2fProp1d a = polylines({{P(0, 0), P(10, 0), P(10, 3)}});
  const QvPath2fProp1d b = polylines({{P(0, 10), P(10, 10)}});
  const QvPath2fProp1d detour = polylines({{P(0, 0), P(-10, 0), P(-10, 10), P(0, 10)}});
  const QvGC gc = context(0.25);
  const struct {
    const char* name;
    const QvPath2f* path0;
    double t;
    P first, last;
  } rows[] = {
      {"straight travel at 0 gives the source stretch", nullptr, 0.0, P(0, 0), P(10, 0)},
      {"straight travel half way", nullptr, 0.5, P(0, 5), P(10, 5)},
      {"first anchor half way along a detour", &detour, 0.5, P(-10, 5), P(10, 5)},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    QvMorpher morpher(&a, &b, gc);
    morpher.SetMotionPath(0, 0, row.path0);
    morpher.SetMotionPath(1, 1, nullptr);
    morpher.SetMotionPath(2, 1, nullptr);  // entries past the second are ignored
    QvPath2fProp1d result;
    EXPECT_EQ(1, morpher.LinearMotionPathMorph(row.t, result));
    ASSERT_EQ(1u, result.NumSubpaths());
    const P first = point(result, 0), last = point(result, result.NumPoints() - 1);
    EXPECT_NEAR(0.0, std::hypot(first.x - row.first.x, first.y - row.first.y), 1e-4);
    EXPECT_NEAR(0.0, std::hypot(last.x - row.last.x, last.y - row.last.y), 1e-4);
  }
}

TEST(Morpher, PropertyCurvesBlendAlong) {
  QvPath2fProp1d a = polylines({{P(0, 0), P(10, 0)}});
  QvPath2fProp1d b = polylines({{P(0, 0), P(0, 20), P(5, 20)}});
  a.SetPropCurve(0, QvRawFCurve(0.0, 1.0, 10.0, 3.0));
  b.SetPropCurve(0, QvRawFCurve(0.0, 5.0, 25.0, 5.0));
  const QvGC gc = context(0.5);
  QvPath2fProp1d result;
  QvMorpher(&a, &b, gc).LinearMorph(0.5, result);
  ASSERT_TRUE(result.HasPropCurve(0));
  // The x runs over b's arc positions, the longer curve: 0 to 25.
  EXPECT_NEAR(25.0, result.GetLargestArcLength(0), 1e-9);
  EXPECT_NEAR(3.0, result.EvalPropCurve(0, 0.0), 1e-9);
  EXPECT_NEAR(3.5, result.EvalPropCurve(0, 12.5), 1e-9);
  EXPECT_NEAR(4.0, result.EvalPropCurve(0, 25.0), 1e-9);
}

}  // namespace
