#include "motion/motion_test_support.h"

#include <qv/QvPath2f.h>

#include <cmath>
#include <random>

namespace {

// A cubic along x from 0 to 1 whose controls crowd the start: the Bezier parameter runs far from
// evenly, so only a law by arc length lands the hand figures below. Its flattening stays on the
// axis, which makes the distance along it exactly x.
QvMotionPath3d crowded_line(double t0, double t1) {
  return QvMotionPath3d(P3(0, 0, 0), P3(0.9, 0, 0), P3(1, 0, 0), P3(1, 0, 0), t0, t1);
}

TEST(MotionEval, DistanceLawHandFigures) {
  // With times 2 to 6 the law is written in absolute time; s is the fraction of the interval.
  struct Case {
    const char* name;
    QvLong right0;
    QvLong left1;
    double s;
    double want;  // fraction of the length
  };
  const Case cases[] = {
      {"smooth ends of a lone segment stand still: 3s^2 - 2s^3", 3, 3, 0.25, 0.15625},
      {"smooth", 3, 3, 0.75, 0.84375},
      {"default reads as smooth", 0, 0, 0.25, 0.15625},
      {"ease on both ends", 4, 4, 0.75, 0.84375},
      {"constant on both ends is uniform", 2, 2, 0.25, 0.25},
      {"ease then constant: 2s^2 - s^3", 4, 2, 0.5, 0.375},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << c.name << " at " << c.s);
    QvMotionPath3d path = crowded_line(2.0, 6.0);
    ASSERT_EQ(1, path.SetRightTangentInfo(0, static_cast<QvULong>(c.right0)));
    ASSERT_EQ(1, path.SetLeftTangentInfo(3, static_cast<QvULong>(c.left1)));
    P3 got;
    ASSERT_EQ(1, path.Eval(2.0 + 4.0 * c.s, 1e-4, got));
    EXPECT_NEAR(c.want, got.x, 1e-12);
    EXPECT_EQ(0.0, got.y);
  }
}

TEST(MotionEval, SmoothSpeedIsContinuousThroughNodes) {
  // Three straight runs along x of lengths 1, 2, 1 at times 0, 1, 2, 4, built as cubics with
  // evenly spaced controls. The speed at a joint is the mean speed of the two segments meeting
  // there: 3 / 2 at t = 1, 3 / 3 at t = 2, and 0 at both ends.
  QvMotionPath3d path(P3(0, 0, 0), P3(1.0 / 3, 0, 0), P3(2.0 / 3, 0, 0), P3(1, 0, 0), 0.0, 1.0);
  path.Curveto(P3(5.0 / 3, 0, 0), P3(7.0 / 3, 0, 0), P3(3, 0, 0), 2.0);
  path.Curveto(P3(10.0 / 3, 0, 0), P3(11.0 / 3, 0, 0), P3(4, 0, 0), 4.0);
  const auto x = [&](double t) {
    P3 p;
    path.Eval(t, 1e-4, p);
    return p.x;
  };
  struct Case {
    double t;
    double speed;
  };
  const double e = 1e-6;
  for (const Case& c : {Case{0.0, 0.0}, Case{1.0, 1.5}, Case{2.0, 1.0}, Case{4.0, 0.0}}) {
    SCOPED_TRACE(c.t);
    if (c.t > 0.0) {
      EXPECT_NEAR(c.speed, (x(c.t) - x(c.t - e)) / e, 1e-4);
    }
    if (c.t < 4.0) {
      EXPECT_NEAR(c.speed, (x(c.t + e) - x(c.t)) / e, 1e-4);
    }
  }
}

TEST(MotionEval, HoldStraightAndDegenerateSegments) {
  {
    SCOPED_TRACE("hold keeps the node until the next node's time exactly; the ends clamp");
    QvMotionPath3d path = crowded_line(0.0, 1.0);
    path.SetRightTangentInfo(0, QvMotionPath3d::TangentHold);
    struct Case {
      double t, x;
    };
    for (const Case& c : {Case{-5, 0}, Case{0.1, 0}, Case{0.999999, 0}, Case{1, 1}, Case{1e30, 1}}) {
      P3 p(7, 7, 7);
      ASSERT_EQ(1, path.Eval(c.t, 1e-3, p));
      EXPECT_EQ(c.x, p.x);
    }
    P3 untouched(9, 9, 9);
    EXPECT_EQ(0, QvMotionPath3d().Eval(0.0, 1e-3, untouched));
    EXPECT_EQ(9.0, untouched.x);
  }
  {
    SCOPED_TRACE("a straight segment blends its nodes, whatever the tangents say");
    QvMotionPath3d path(P3(0, 0, 0), P3(4, 2, 0), 0.0, 2.0);
    path.SetRightTangentInfo(0, QvMotionPath3d::TangentEase);
    P3 p;
    path.Eval(0.5, 1e-3, p);
    EXPECT_EQ(1.0, p.x);
    EXPECT_EQ(0.5, p.y);
  }
  {
    SCOPED_TRACE("a segment shorter than 1e-7 gives its first point");
    const P3 a(1, 1, 1);
    const P3 b(1 + 5e-8, 1, 1);
    for (const QvMotionPath3d& path :
         {QvMotionPath3d(a, a, a, a, 0.0, 1.0), QvMotionPath3d(a, a, b, b, 0.0, 1.0)}) {
      P3 p;
      path.Eval(0.7, 1e-9, p);
      EXPECT_EQ(a.x, p.x);
    }
  }
}

TEST(MotionEval, SequenceStepsByMultiplesOfTheStep) {
  QvMotionPath3d path(P3(0, 0, 0), P3(1, 2, 0), P3(3, 2, 1), P3(4, 0, 1), 0.0, 1.0);
  QvPoint3dArray seq;
  ASSERT_EQ(1, path.EvalSequence(-0.5, 1.5, 0.1, 1e-3, seq));
  ASSERT_EQ(21u, seq.size);  // 1.5 is reached although 20 steps of 0.1 do not sum to 2 exactly
  P3 p;
  path.Eval(-0.5 + 7 * 0.1, 1e-3, p);
  EXPECT_EQ(p.x, seq[7].x);
  EXPECT_EQ(0, path.EvalSequence(0.0, 1.0, 0.0, 1e-3, seq));
  EXPECT_EQ(0, path.EvalSequence(0.0, 1.0, 1e-12, 1e-3, seq));  // far too many samples
}

QvMotionPath3d random_path(std::mt19937& rng, int segments) {
  std::uniform_real_distribution<double> coord(-10.0, 10.0);
  std::uniform_real_distribution<double> gap(0.2, 3.0);
  std::uniform_int_distribution<int> kind(0, 4);
  const auto point = [&] { return P3(coord(rng), coord(rng), coord(rng)); };
  // Two corners of the box fix the path's extent at 20 on every axis.
  double t = gap(rng);
  QvMotionPath3d path(P3(-10, -10, -10), P3(10, 10, 10), point(), point(), t, t + gap(rng));
  for (int s = 1; s < segments; ++s) {
    t = path.GetLastTime() + gap(rng);
    if (kind(rng) == 0) path.Lineto(point(), t);
    else path.Curveto(point(), point(), point(), t);
  }
  // Every speed rule but the hold, which jumps.
  const QvULong infos[] = {0, 2, 3, 4};
  std::uniform_int_distribution<int> pick(0, 3);
  for (QvULong i = 0; i < path.NumPoints(); i += 3) {
    path.SetLeftTangentInfo(i, infos[pick(rng)]);
    path.SetRightTangentInfo(i, infos[pick(rng)]);
  }
  return path;
}

TEST(MotionRender, EveryPointSitsWhereEvaluationPutsItAtItsTime) {
  std::mt19937 rng(20261123);
  for (int round = 0; round < 20; ++round) {
    SCOPED_TRACE(round);
    const QvMotionPath3d path = random_path(rng, 1 + round % 5);
    double first = 0, last = 0;
    path.GetTimeInterval(first, last);
    const double from = round % 2 ? first - 1.0 : first + (last - first) * 0.3;
    const double to = round % 3 ? last + 1.0 : first + (last - first) * 0.8;
    QvPoint3dArray points;
    QvUByteArray flags;
    QvDoubleArray times;
    QvULongArray indices;
    ASSERT_EQ(1, path.Render(from, to, 100000, points, flags, times, indices));
    ASSERT_GE(points.size, 2u);
    ASSERT_EQ(points.size, flags.size);
    ASSERT_EQ(points.size, times.size);
    const double lo = from < first ? first : from;
    const double hi = to > last ? last : to;
    EXPECT_EQ(lo, times[0]);
    EXPECT_EQ(hi, times[times.size - 1]);
    // The render flattens to a thousandth of the path's largest extent; evaluating at that
    // tolerance walks the same polyline, so the points agree to the rounding of the time
    // inversion.
    const double tol = 20.0 * 1e-3;
    for (QvULong i = 0; i < points.size; ++i) {
      SCOPED_TRACE(i);
      if (i > 0) {
        EXPECT_LE(times[i - 1], times[i]);
      }
      P3 want;
      path.Eval(times[i], tol, want);
      expect_point_near(want, points[i], 1e-6);
    }
    // Every node inside the interval is listed, in order, at its own time.
    QvULong expected_nodes = 0;
    for (QvULong n = 0; n < path.NumPoints(); n += 3) {
      P3 node;
      double t;
      path.GetNode(n, node, t);
      if (t < lo || t > hi) continue;
      ASSERT_LT(expected_nodes, indices.size);
      const QvULong at = indices[expected_nodes++];
      EXPECT_EQ(QvMotionPath3d::RenderNodePoint, flags[at]);
      EXPECT_EQ(t, times[at]);
      EXPECT_EQ(1, points[at] == node);
    }
    EXPECT_EQ(expected_nodes, indices.size);

    QvPoint3dArray few;
    ASSERT_EQ(1, path.Render(from, to, 3, few, flags, times, indices));
    EXPECT_EQ(points.size < 3u ? points.size : 3u, few.size);
  }
}

TEST(MotionProjection, AxesAndSegmentKinds) {
  QvMotionPath3d path(P3(1, 2, 3), P3(4, 5, 6), P3(7, 8, 9), P3(10, 11, 12), 0.0, 1.0);
  path.Lineto(P3(-1, -2, -3), 2.0);
  const QvPoint2<float> want[3] = {{-1, -2}, {3, -2}, {-1, 3}};  // (x, y), (-z, y), (x, -z)
  for (QvLong projection = 0; projection < 3; ++projection) {
    SCOPED_TRACE(projection);
    QvPath2f out;
    ASSERT_EQ(1, path.GetProjectedPath(projection, out));
    ASSERT_EQ(5u, out.NumPoints());  // Moveto, three for the cubic, one for the line
    QvPoint2<float> p;
    out.GetPoint(4, p);
    EXPECT_EQ(want[projection].x, p.x);
    EXPECT_EQ(want[projection].y, p.y);
  }
  QvPath2f out;
  EXPECT_EQ(0, path.GetProjectedPath(3, out));
}

}  // namespace
