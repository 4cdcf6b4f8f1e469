#include "motion/motion_test_support.h"

#include <qv/QvTransfo4.h>

#include <cmath>
#include <random>

namespace {

const double kSqrt2 = std::sqrt(2.0);
const double kSqrt5 = std::sqrt(5.0);

// Two cubics meeting at the origin with a kink: the handle before it points to (-1, 1), the one
// after it to (2, 1).
QvMotionPath3d kinked() {
  QvMotionPath3d path(P3(-3, 0, 0), P3(-2, 1, 0), P3(-1, 1, 0), P3(0, 0, 0), 0.0, 1.0);
  path.Curveto(P3(2, 1, 0), P3(3, 1, 0), P3(4, 0, 0), 2.0);
  return path;
}

P3 point_at(const QvMotionPath3d& path, QvULong i) {
  P3 p;
  path.GetControlPoint(i, p);
  return p;
}

double cross_length(const P3& a, const P3& b) {
  const P3 c(a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x);
  return std::sqrt(c.x * c.x + c.y * c.y + c.z * c.z);
}

P3 sub(const P3& a, const P3& b) { return P3(a.x - b.x, a.y - b.y, a.z - b.z); }
double norm(const P3& a) { return std::sqrt(a.x * a.x + a.y * a.y + a.z * a.z); }

TEST(MotionG1, LockLinesUpTheHandlesKeepingTheirLengths) {
  QvMotionPath3d path = kinked();
  ASSERT_EQ(1, path.LockG1Continuity(3));
  EXPECT_EQ(1, path.IsG1ContinuityLocked(3));
  // The direction is the mean of the two backward handles, (-1.5, 0, 0), made unit.
  const P3 before = point_at(path, 2);
  const P3 after = point_at(path, 4);
  EXPECT_NEAR(-kSqrt2, before.x, 1e-15);
  EXPECT_EQ(0.0, before.y);
  EXPECT_NEAR(kSqrt5, after.x, 1e-15);
  EXPECT_EQ(0.0, after.y);
  EXPECT_EQ(1, path.UnlockG1Continuity(3));
  EXPECT_EQ(0, path.IsG1ContinuityLocked(3));
}

TEST(MotionG1, LockRefusals) {
  struct Case {
    const char* name;
    QvMotionPath3d path;
    QvULong node;
    QvLong want;
    QvLong flagged;
  };
  QvMotionPath3d line_then_cubic(P3(-1, 0, 0), P3(0, 0, 0), 0.0, 1.0);
  line_then_cubic.Curveto(P3(1, 1, 0), P3(2, 1, 0), P3(3, 0, 0), 2.0);
  QvMotionPath3d cubic_then_line = kinked();
  cubic_then_line.Lineto(P3(9, 0, 0), 3.0);
  QvMotionPath3d lone;
  lone.Moveto(P3(), 0.0);
  QvMotionPath3d flat_handle(P3(-3, 0, 0), P3(-2, 1, 0), P3(0, 0, 0), P3(0, 0, 0), 0.0, 1.0);
  flat_handle.Curveto(P3(2, 1, 0), P3(3, 1, 0), P3(4, 0, 0), 2.0);
  QvMotionPath3d folded(P3(-3, 0, 0), P3(-2, 1, 0), P3(1, 0, 0), P3(0, 0, 0), 0.0, 1.0);
  folded.Curveto(P3(1, 0, 0), P3(3, 1, 0), P3(4, 0, 0), 2.0);
  const Case cases[] = {
      {"inner node after a straight segment", line_then_cubic, 3, 0, 0},
      {"first node of a straight segment", line_then_cubic, 0, 0, 0},
      {"inner node before a straight segment", cubic_then_line, 6, 0, 0},
      {"last node after a straight segment", cubic_then_line, 9, 0, 0},
      {"last node after a cubic only sets the flag", kinked(), 6, 1, 1},
      {"first node of a cubic only sets the flag", kinked(), 0, 1, 1},
      {"a lone node", lone, 0, 0, 0},
      {"not a node", kinked(), 4, 0, 0},
      {"a handle shorter than 1e-7", flat_handle, 3, 0, 0},
      {"handles that cancel out", folded, 3, 0, 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    QvMotionPath3d path = c.path;
    const std::vector<P3> before = all_points(path);
    EXPECT_EQ(c.want, path.LockG1Continuity(c.node));
    EXPECT_EQ(c.flagged, path.IsG1ContinuityLocked(c.node));
    const std::vector<P3> after = all_points(path);
    for (std::size_t i = 0; i < before.size(); ++i) EXPECT_EQ(1, before[i] == after[i]);
  }
}

TEST(MotionG1, AppendingACubicReappliesTheLockOrDropsIt) {
  QvMotionPath3d path(P3(-3, 0, 0), P3(-2, 1, 0), P3(-1, 1, 0), P3(0, 0, 0), 0.0, 1.0);
  ASSERT_EQ(1, path.LockG1Continuity(3));
  ASSERT_EQ(1, path.Curveto(P3(2, 1, 0), P3(3, 1, 0), P3(4, 0, 0), 2.0));
  EXPECT_EQ(1, path.IsG1ContinuityLocked(3));
  EXPECT_NEAR(kSqrt5, point_at(path, 4).x, 1e-15);

  ASSERT_EQ(1, path.LockG1Continuity(6));
  ASSERT_EQ(1, path.Curveto(P3(4, 0, 0), P3(5, 1, 0), P3(6, 0, 0), 3.0));  // no handle
  EXPECT_EQ(0, path.IsG1ContinuityLocked(6));
  EXPECT_EQ(1, point_at(path, 7) == P3(4, 0, 0));

  ASSERT_EQ(1, path.LockG1Continuity(0));
  ASSERT_EQ(1, path.PreCurveto(P3(-4, -1, 0), P3(-5, -1, 0), P3(-6, 0, 0), -1.0));
  EXPECT_EQ(1, path.IsG1ContinuityLocked(3));
  EXPECT_LT(cross_length(sub(point_at(path, 2), point_at(path, 3)),
                         sub(point_at(path, 4), point_at(path, 3))),
            1e-12);
}

TEST(MotionEdit, ReplacingAHandleAtALockedNodeTurnsTheOther) {
  struct Case {
    const char* name;
    QvLong keepLength;
    double opposite_length;
  };
  for (const Case& c : {Case{"keeps its own length", 1, kSqrt2}, Case{"mirrors", 0, 3.0}}) {
    SCOPED_TRACE(c.name);
    QvMotionPath3d path = kinked();
    ASSERT_EQ(1, path.LockG1Continuity(3));
    ASSERT_EQ(1, path.ReplaceControlPoint(4, P3(0, 3, 0), c.keepLength));
    const P3 opposite = point_at(path, 2);
    EXPECT_NEAR(0.0, opposite.x, 1e-15);
    EXPECT_NEAR(-c.opposite_length, opposite.y, 1e-15);
    EXPECT_EQ(1, point_at(path, 4) == P3(0, 3, 0));
  }
  {
    SCOPED_TRACE("unlocked: only the control moves");
    QvMotionPath3d path = kinked();
    ASSERT_EQ(1, path.TranslateControlPoint(4, P3(0, 1, 0), 0));
    EXPECT_EQ(1, point_at(path, 4) == P3(2, 2, 0));
    EXPECT_EQ(1, point_at(path, 2) == P3(-1, 1, 0));
  }
  {
    SCOPED_TRACE("a node carries its controls");
    QvMotionPath3d path = kinked();
    ASSERT_EQ(1, path.TranslateControlPoint(3, P3(1, 1, 1), 0));
    EXPECT_EQ(1, point_at(path, 2) == P3(0, 2, 1));
    EXPECT_EQ(1, point_at(path, 3) == P3(1, 1, 1));
    EXPECT_EQ(1, point_at(path, 4) == P3(3, 2, 1));
    EXPECT_EQ(1, point_at(path, 5) == P3(3, 1, 0));
  }
  {
    SCOPED_TRACE("a straight segment keeps its controls on its ends");
    QvMotionPath3d path(P3(0, 0, 0), P3(1, 0, 0), 0.0, 1.0);
    EXPECT_EQ(0, path.ReplaceControlPoint(1, P3(5, 5, 5), 1));
    EXPECT_EQ(1, path.ReplaceControlPoint(0, P3(0, 1, 0), 1));
    EXPECT_EQ(1, point_at(path, 1) == P3(0, 1, 0));
    EXPECT_EQ(1, point_at(path, 2) == P3(0, 1, 0));
    EXPECT_EQ(1, path.ReplaceControlPointIgnoringLock(1, P3(5, 5, 5)));
    EXPECT_EQ(0, path.ReplaceControlPoint(4, P3(), 1));
  }
}

TEST(MotionEdit, NodesMoveInSpaceAndTimeOnlyWhileTimesRise) {
  QvMotionPath3d path = kinked();
  EXPECT_EQ(0, path.ReplaceNode(3, P3(0, 1, 0), 2.0, 1e-9));
  EXPECT_EQ(0, path.ReplaceNode(3, P3(0, 1, 0), 0.0, 1e-9));
  EXPECT_EQ(0, path.ReplaceNode(4, P3(0, 1, 0), 1.0, 1e-9));
  EXPECT_EQ(1, point_at(path, 3) == P3(0, 0, 0));
  ASSERT_EQ(1, path.ReplaceNode(3, P3(0, 1, 0), 1.5, 1e-9));
  P3 node;
  double t = 0;
  path.GetNode(3, node, t);
  EXPECT_EQ(1.5, t);
  EXPECT_EQ(1, point_at(path, 4) == P3(2, 2, 0));

  ASSERT_EQ(1, path.ReplaceTangentVectorDirections(3, P3(0, 0, 2)));
  EXPECT_EQ(1, point_at(path, 4) == P3(0, 1, std::sqrt(5.0)));
  EXPECT_EQ(1, point_at(path, 2) == P3(0, 1, -std::sqrt(2.0)));
  EXPECT_EQ(0, path.ReplaceTangentVectorDirections(3, P3(0, 0, 0)));
}

TEST(MotionEdit, LinearizeAndTheLinearParameterTest) {
  QvMotionPath3d path = kinked();
  path.LockG1Continuity(0);
  path.LockG1Continuity(3);
  EXPECT_EQ(0, path.IsCubicSegmentLinearlyParameterized(0));
  ASSERT_EQ(1, path.LinearizeSegment(1));  // any point index of the segment
  EXPECT_EQ(1, path.IsCubicSegmentLinearlyParameterized(0));
  EXPECT_EQ(1, path.IsCubicSegmentLinearlyParameterized(2));
  EXPECT_EQ(0, path.IsCubicSegmentLinearlyParameterized(3));
  EXPECT_EQ(0, path.IsG1ContinuityLocked(0));
  EXPECT_EQ(0, path.IsG1ContinuityLocked(3));
  EXPECT_EQ(-3.0 + 3.0 * 0.3333333333333333, point_at(path, 1).x);
  EXPECT_EQ(-3.0 + 3.0 * 0.6666666666666666, point_at(path, 2).x);
  // A control nudged by less than sqrt(1e-7) still passes.
  path.ReplaceControlPointIgnoringLock(1, P3(-2, 2e-4, 0));
  EXPECT_EQ(1, path.IsCubicSegmentLinearlyParameterized(0));
  path.ReplaceControlPointIgnoringLock(1, P3(-2, 4e-4, 0));
  EXPECT_EQ(0, path.IsCubicSegmentLinearlyParameterized(0));

  QvMotionPath3d line(P3(0, 0, 0), P3(1, 0, 0), 0.0, 1.0);
  EXPECT_EQ(1, line.LinearizeSegment(0));
  EXPECT_EQ(1, point_at(line, 1) == P3(0, 0, 0));  // unchanged
  EXPECT_EQ(0, line.IsCubicSegmentLinearlyParameterized(0));
  EXPECT_EQ(0, line.LinearizeSegment(3));
}

TEST(MotionEdit, SmoothSegmentJoinsItsNeighbours) {
  QvMotionPath3d path = kinked();
  path.Curveto(P3(5, -1, 1), P3(6, 0, 2), P3(7, 1, 1), 3.0);
  ASSERT_EQ(1, path.SmoothSegment(3));
  const P3 p0 = point_at(path, 3);
  const P3 p3 = point_at(path, 6);
  const double third = norm(sub(p3, p0)) * 0.3333333333333333;
  EXPECT_NEAR(third, norm(sub(point_at(path, 4), p0)), 1e-9);
  EXPECT_NEAR(third, norm(sub(point_at(path, 5), p3)), 1e-9);
  // Collinear with the neighbours' handles through the shared nodes, and pointing on.
  EXPECT_LT(cross_length(sub(point_at(path, 4), p0), sub(p0, point_at(path, 2))), 1e-7);
  EXPECT_LT(cross_length(sub(point_at(path, 7), p3), sub(p3, point_at(path, 5))), 1e-7);
  EXPECT_GT(point_at(path, 4).x, p0.x);

  QvMotionPath3d zero(P3(1, 1, 1), P3(2, 2, 2), P3(3, 3, 3), P3(1, 1, 1), 0.0, 1.0);
  EXPECT_EQ(0, zero.SmoothSegment(0));
}

TEST(MotionEdit, InsertNodeKeepsTheGeometry) {
  const P3 cps[4] = {P3(0, 0, 0), P3(1, 3, 1), P3(4, 3, -1), P3(5, 0, 0)};
  QvMotionPath3d path(cps[0], cps[1], cps[2], cps[3], 1.0, 3.0);
  int tag = 0;
  path.SetClientData(2, &tag);
  P3 expected;
  path.Eval(1.7, 1e-4, expected);
  QvULong index = 0;
  QvLong inserted = -1;
  ASSERT_EQ(1, path.InsertNode(1.7, 1e-4, 1e-4, index, inserted));
  EXPECT_EQ(1, inserted);
  EXPECT_EQ(3u, index);
  ASSERT_EQ(7u, path.NumPoints());
  P3 node;
  double t = 0;
  path.GetNode(3, node, t);
  EXPECT_EQ(1.7, t);
  expect_point_near(expected, node, 1e-3);
  EXPECT_EQ(&tag, path.GetClientData(5));
  EXPECT_EQ(nullptr, path.GetClientData(2));
  QvLong info = 0;
  path.GetLeftTangentInfo(3, info);
  EXPECT_EQ(QvMotionPath3d::TangentSmooth, info);

  // Each half, sampled by its own parameter, lies on the original curve.
  const auto bezier = [](const P3* p, double u) {
    const double v = 1.0 - u;
    const double w[4] = {v * v * v, 3 * v * v * u, 3 * v * u * u, u * u * u};
    P3 out;
    for (int i = 0; i < 4; ++i) {
      out.x += w[i] * p[i].x;
      out.y += w[i] * p[i].y;
      out.z += w[i] * p[i].z;
    }
    return out;
  };
  std::vector<P3> dense;
  for (int i = 0; i <= 4000; ++i) dense.push_back(bezier(cps, i / 4000.0));
  const std::vector<P3> now = all_points(path);
  for (int half = 0; half < 2; ++half) {
    for (int i = 0; i <= 40; ++i) {
      const P3 q = bezier(now.data() + 3 * half, i / 40.0);
      double best = 1e300;
      for (const P3& d : dense) best = std::fmin(best, norm(sub(d, q)));
      EXPECT_LT(best, 3e-3) << "half " << half << " sample " << i;
    }
  }

  inserted = -1;
  ASSERT_EQ(1, path.InsertNode(3.0, 1e-4, 1e-4, index, inserted));
  EXPECT_EQ(0, inserted);
  EXPECT_EQ(6u, index);
  EXPECT_EQ(0, path.InsertNode(3.5, 1e-4, 1e-4, index, inserted));

  QvMotionPath3d line(P3(0, 0, 0), P3(4, 0, 0), 0.0, 4.0);
  ASSERT_EQ(1, line.InsertNode(1.0, 1e-4, 1e-4, index, inserted));
  QvLong kind = -1;
  line.GetControlPointKind(3, kind);
  EXPECT_EQ(QvMotionPath3d::PointLineStart, kind);
  EXPECT_EQ(1, point_at(line, 3) == P3(1, 0, 0));
  P3 p;
  line.Eval(2.5, 1e-4, p);
  EXPECT_EQ(1, p == P3(2.5, 0, 0));
}

TEST(MotionEdit, RemoveNodesFromHeadMiddleAndTail) {
  // Five nodes x = 0, 10, 20, 30, 40 at times 0 to 4; controls at x + 1 and x + 2.
  QvMotionPath3d base(P3(0, 0, 0), P3(1, 0, 0), P3(2, 0, 0), P3(10, 0, 0), 0.0, 1.0);
  for (int k = 1; k < 4; ++k)
    base.Curveto(P3(10.0 * k + 1, 0, 0), P3(10.0 * k + 2, 0, 0), P3(10.0 * k + 10, 0, 0), k + 1.0);
  struct Case {
    const char* name;
    QvULong first, last;
    std::vector<double> xs;
    double first_time;
  };
  const Case cases[] = {
      {"head", 0, 3, {20, 21, 22, 30, 31, 32, 40}, 2.0},
      {"tail", 9, 12, {0, 1, 2, 10, 11, 12, 20}, 0.0},
      {"middle: one cubic spans the gap", 3, 6, {0, 1, 22, 30, 31, 32, 40}, 0.0},
      {"one inner node", 6, 6, {0, 1, 2, 10, 11, 22, 30, 31, 32, 40}, 0.0},
      {"all", 0, 12, {}, 0.0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    QvMotionPath3d path = base;
    ASSERT_EQ(1, path.RemoveNodes(c.first, c.last));
    const std::vector<P3> pts = all_points(path);
    ASSERT_EQ(c.xs.size(), pts.size());
    for (std::size_t i = 0; i < pts.size(); ++i) EXPECT_EQ(c.xs[i], pts[i].x);
    EXPECT_EQ(c.first_time, path.GetFirstTime());
    EXPECT_EQ((pts.size() + 2) / 3, path.NumNodes());
  }
  QvMotionPath3d path = base;
  EXPECT_EQ(0, path.RemoveNodes(4, 6));
  EXPECT_EQ(0, path.RemoveNodes(6, 3));
  EXPECT_EQ(0, path.RemoveNodes(12, 15));
  EXPECT_EQ(13u, path.NumPoints());
  // An emptied path starts over with Moveto.
  ASSERT_EQ(1, path.RemoveNodes(0, 12));
  EXPECT_EQ(1, path.Moveto(P3(), 7.0));
}

TEST(MotionEdit, TimesScaleAndShiftOnlyWhileTheyRise) {
  struct Case {
    double scale, offset;
    QvLong want;
    double first, last;
  };
  const Case cases[] = {
      {2.0, 1.0, 1, 1.0, 5.0},
      {1.0, 0.0, 1, 0.0, 2.0},
      {-1.0, 0.0, 0, 0.0, 2.0},  // would fall
      {0.0, 3.0, 0, 0.0, 2.0},   // would collapse
      {1e-10, 1e-10, 1, 0.0, 2.0},  // both near zero: left as is
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << c.scale << ", " << c.offset);
    QvMotionPath3d path = kinked();
    EXPECT_EQ(c.want, path.ScaleAndOffsetInitialTimes(c.scale, c.offset));
    EXPECT_EQ(c.first, path.GetFirstTime());
    EXPECT_EQ(c.last, path.GetLastTime());
  }
}

TEST(MotionEdit, TransformMapsEveryPoint) {
  QvMotionPath3d path = kinked();
  path.Lineto(P3(5, 5, 5), 3.0);
  QvTransfo4 m;
  m.Translate(1, 2, 3).Scale(2.0);
  const std::vector<P3> before = all_points(path);
  ASSERT_EQ(1, path.Transform(m));
  const std::vector<P3> after = all_points(path);
  for (std::size_t i = 0; i < before.size(); ++i) {
    SCOPED_TRACE(i);
    EXPECT_EQ(1, after[i] == P3(2 * before[i].x + 1, 2 * before[i].y + 2, 2 * before[i].z + 3));
  }
}

TEST(MotionEdit, AdjustTheTwoEndCubics) {
  QvMotionPath3d path = kinked();
  path.Curveto(P3(5, -1, 0), P3(6, -1, 0), P3(7, 0, 0), 3.0);
  const P3 target(8, 3, 1);
  ASSERT_EQ(1, path.AdjustLastTwoCubics(target));
  EXPECT_EQ(1, point_at(path, 9) == target);
  const P3 mid = point_at(path, 6);
  EXPECT_EQ(1, mid == P3(4, 0, 0));
  EXPECT_NEAR(norm(sub(target, mid)) / 3.0, norm(sub(point_at(path, 7), mid)), 1e-12);
  EXPECT_NEAR(norm(sub(mid, point_at(path, 3))) / 3.0, norm(sub(point_at(path, 5), mid)), 1e-12);
  EXPECT_LT(cross_length(sub(point_at(path, 7), mid), sub(mid, point_at(path, 5))), 1e-12);

  ASSERT_EQ(1, path.AdjustFirstTwoCubics(P3(-4, -1, 0)));
  EXPECT_EQ(1, point_at(path, 0) == P3(-4, -1, 0));
  EXPECT_LT(cross_length(sub(point_at(path, 2), point_at(path, 3)),
                         sub(point_at(path, 3), point_at(path, 4))),
            1e-12);

  QvMotionPath3d one(P3(0, 0, 0), P3(1, 1, 0), P3(2, 1, 0), P3(3, 0, 0), 0.0, 1.0);
  EXPECT_EQ(0, one.AdjustLastTwoCubics(target));
  QvMotionPath3d ends_straight = kinked();
  ends_straight.Lineto(P3(9, 0, 0), 3.0);
  EXPECT_EQ(0, ends_straight.AdjustLastTwoCubics(target));
  EXPECT_EQ(1, ends_straight.AdjustFirstTwoCubics(target));
}

}  // namespace
