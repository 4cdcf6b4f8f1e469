#include "motion/motion_test_support.h"

#include <cmath>

namespace {

// Two cubics meeting at the origin with a kink: the handle before it points to (-1, 1), the one
// after it to (2, 1).
QvMotionPath3d kinked() {
  QvMotionPath3d path(P3(-3, 0, 0), P3(-2, 1, 0), P3(-1, 1, 0), P3(0, 0, 0), 0.0, 1.0);
  path.Curveto(P3(2, 1, 0), P3(3, 1, 0), P3(4, 0, 0), 2.0);
  return path;
}

P3 at(const QvMotionPath3d& path, QvULong i) {
  P3 p;
  path.GetControlPoint(i, p);
  return p;
}

P3 sub(const P3& a, const P3& b) { return P3(a.x - b.x, a.y - b.y, a.z - b.z); }
double norm(const P3& a) { return std::sqrt(a.x * a.x + a.y * a.y + a.z * a.z); }
double cross_norm(const P3& a, const P3& b) {
  return norm(P3(a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x));
}

TEST(MotionG1, LockLinesUpTheHandlesKeepingTheirLengthsAndSurvivesAppends) {
  QvMotionPath3d path(P3(-3, 0, 0), P3(-2, 1, 0), P3(-1, 1, 0), P3(0, 0, 0), 0.0, 1.0);
  ASSERT_EQ(1, path.LockG1Continuity(3));  // an end node: only the flag
  EXPECT_EQ(1, at(path, 2) == P3(-1, 1, 0));
  // The append applies the lock again: the direction is the mean of the two backward handles,
  // (-1.5, 0, 0), made unit, and each handle keeps its length.
  ASSERT_EQ(1, path.Curveto(P3(2, 1, 0), P3(3, 1, 0), P3(4, 0, 0), 2.0));
  EXPECT_EQ(1, path.IsG1ContinuityLocked(3));
  EXPECT_EQ(1, at(path, 2) == P3(-std::sqrt(2.0), 0, 0));
  EXPECT_EQ(1, at(path, 4) == P3(std::sqrt(5.0), 0, 0));
  // An append without a handle at the joint cannot keep the lock.
  ASSERT_EQ(1, path.LockG1Continuity(6));
  ASSERT_EQ(1, path.Curveto(P3(4, 0, 0), P3(5, 1, 0), P3(6, 0, 0), 3.0));
  EXPECT_EQ(0, path.IsG1ContinuityLocked(6));
  EXPECT_EQ(1, at(path, 7) == P3(4, 0, 0));
}

TEST(MotionG1, LockRefusalsLeaveTheGeometry) {
  QvMotionPath3d line_then_cubic(P3(-1, 0, 0), P3(0, 0, 0), 0.0, 1.0);
  line_then_cubic.Curveto(P3(1, 1, 0), P3(2, 1, 0), P3(3, 0, 0), 2.0);
  QvMotionPath3d cubic_then_line = kinked();
  cubic_then_line.Lineto(P3(9, 0, 0), 3.0);
  QvMotionPath3d lone;
  lone.Moveto(P3(), 0.0);
  QvMotionPath3d short_handle(P3(-3, 0, 0), P3(-2, 1, 0), P3(5e-8, 0, 0), P3(0, 0, 0), 0.0, 1.0);
  short_handle.Curveto(P3(2, 1, 0), P3(3, 1, 0), P3(4, 0, 0), 2.0);
  QvMotionPath3d folded(P3(-3, 0, 0), P3(-2, 1, 0), P3(1, 0, 0), P3(0, 0, 0), 0.0, 1.0);
  folded.Curveto(P3(1, 0, 0), P3(3, 1, 0), P3(4, 0, 0), 2.0);
  struct Case {
    const char* name;
    QvMotionPath3d path;
    QvULong node;
  };
  const Case cases[] = {
      {"inner node next to a straight segment", line_then_cubic, 3},
      {"last node after a straight segment", cubic_then_line, 9},
      {"a lone node", lone, 0},
      {"not a node", kinked(), 4},
      {"a handle shorter than 1e-7", short_handle, 3},
      {"handles that cancel out", folded, 3},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    QvMotionPath3d path = c.path;
    EXPECT_EQ(0, path.LockG1Continuity(c.node));
    EXPECT_EQ(0, path.IsG1ContinuityLocked(c.node));
    EXPECT_EQ(bytes_of(c.path), bytes_of(path));
  }
}

TEST(MotionEdit, DraggingControlsAndNodes) {
  struct Case {
    const char* name;
    QvLong keepLength;
    double opposite;
  };
  for (const Case& c : {Case{"keeps its own length", 1, std::sqrt(2.0)}, Case{"mirrors", 0, 3.0}}) {
    SCOPED_TRACE(c.name);
    QvMotionPath3d path = kinked();
    ASSERT_EQ(1, path.LockG1Continuity(3));
    ASSERT_EQ(1, path.ReplaceControlPoint(4, P3(0, 3, 0), c.keepLength));
    EXPECT_EQ(1, at(path, 2) == P3(0, -c.opposite, 0));
  }
  QvMotionPath3d path = kinked();
  ASSERT_EQ(1, path.TranslateControlPoint(3, P3(1, 1, 1), 0));  // a node carries its controls
  EXPECT_EQ(1, at(path, 2) == P3(0, 2, 1) && at(path, 4) == P3(3, 2, 1));
  EXPECT_EQ(1, at(path, 5) == P3(3, 1, 0));
  EXPECT_EQ(0, path.ReplaceNode(3, P3(), 2.0, 1e-9));  // time must stay between its neighbours
  ASSERT_EQ(1, path.ReplaceNode(3, P3(0, 1, 0), 1.5, 1e-9));
  EXPECT_EQ(1, at(path, 4) == P3(2, 2, 0));
  ASSERT_EQ(1, path.ReplaceTangentVectorDirections(3, P3(0, 0, 2)));
  EXPECT_EQ(1, at(path, 4) == P3(0, 1, std::sqrt(5.0)) && at(path, 2) == P3(0, 1, -std::sqrt(2.0)));

  // The controls of a straight segment sit on its ends and follow the node they sit on.
  QvMotionPath3d line(P3(0, 0, 0), P3(1, 0, 0), 0.0, 1.0);
  EXPECT_EQ(0, line.ReplaceControlPoint(1, P3(5, 5, 5), 1));
  ASSERT_EQ(1, line.ReplaceControlPoint(0, P3(0, 1, 0), 1));
  EXPECT_EQ(1, at(line, 1) == P3(0, 1, 0) && at(line, 2) == P3(0, 1, 0));
}

TEST(MotionEdit, LinearizeSmoothAndAdjustPlaceHandlesAtThirds) {
  QvMotionPath3d path = kinked();
  path.LockG1Continuity(3);
  ASSERT_EQ(0, path.IsCubicSegmentLinearlyParameterized(0));
  ASSERT_EQ(1, path.LinearizeSegment(1));  // any point index of the segment
  EXPECT_EQ(1, path.IsCubicSegmentLinearlyParameterized(2));
  EXPECT_EQ(0, path.IsG1ContinuityLocked(3));
  EXPECT_EQ(-3.0 + 3.0 * 0.6666666666666666, at(path, 2).x);
  path.ReplaceControlPointIgnoringLock(1, P3(-2, 3e-4, 0));  // squared offset 9e-8 still passes
  EXPECT_EQ(1, path.IsCubicSegmentLinearlyParameterized(0));
  EXPECT_EQ(0, QvMotionPath3d(P3(), P3(1, 0, 0), 0.0, 1.0).IsCubicSegmentLinearlyParameterized(0));

  path = kinked();
  path.Curveto(P3(5, -1, 1), P3(6, 0, 2), P3(7, 1, 1), 3.0);
  ASSERT_EQ(1, path.SmoothSegment(3));
  const P3 p0 = at(path, 3), p3 = at(path, 6);
  EXPECT_NEAR(norm(sub(p3, p0)) / 3.0, norm(sub(at(path, 4), p0)), 1e-9);
  EXPECT_NEAR(norm(sub(p3, p0)) / 3.0, norm(sub(at(path, 5), p3)), 1e-9);
  EXPECT_LT(cross_norm(sub(at(path, 4), p0), sub(p0, at(path, 2))), 1e-7);
  EXPECT_LT(cross_norm(sub(at(path, 7), p3), sub(p3, at(path, 5))), 1e-7);
  EXPECT_GT(at(path, 4).x, p0.x);  // onwards, not back

  const P3 target(8, 3, 1);
  ASSERT_EQ(1, path.AdjustLastTwoCubics(target));
  EXPECT_EQ(1, at(path, 9) == target);
  const P3 mid = at(path, 6);
  EXPECT_NEAR(norm(sub(target, mid)) / 3.0, norm(sub(at(path, 7), mid)), 1e-12);
  EXPECT_LT(cross_norm(sub(at(path, 7), mid), sub(mid, at(path, 5))), 1e-12);
  ASSERT_EQ(1, path.AdjustFirstTwoCubics(P3(-4, -1, 0)));
  EXPECT_EQ(1, at(path, 0) == P3(-4, -1, 0));
  QvMotionPath3d one(P3(), P3(1, 1, 0), P3(2, 1, 0), P3(3, 0, 0), 0.0, 1.0);
  EXPECT_EQ(0, one.AdjustLastTwoCubics(target));  // needs two segments
}

TEST(MotionEdit, InsertNodeSplitsWithoutChangingTheGeometry) {
  const P3 cps[4] = {P3(0, 0, 0), P3(1, 3, 1), P3(4, 3, -1), P3(5, 0, 0)};
  QvMotionPath3d path(cps[0], cps[1], cps[2], cps[3], 1.0, 3.0);
  P3 expected, node;
  path.Eval(1.7, 1e-4, expected);
  QvULong index = 0;
  QvLong inserted = -1;
  ASSERT_EQ(1, path.InsertNode(1.7, 1e-4, 1e-4, index, inserted));
  EXPECT_EQ(1, inserted);
  EXPECT_EQ(3u, index);
  double t = 0;
  path.GetNode(3, node, t);
  EXPECT_EQ(1.7, t);
  EXPECT_NEAR(0.0, norm(sub(expected, node)), 1e-3);

  // Each half, sampled by its own parameter, lies on the original curve.
  const auto bezier = [](const P3* p, double u) {
    const double v = 1.0 - u, w[4] = {v * v * v, 3 * v * v * u, 3 * v * u * u, u * u * u};
    return P3(w[0] * p[0].x + w[1] * p[1].x + w[2] * p[2].x + w[3] * p[3].x,
              w[0] * p[0].y + w[1] * p[1].y + w[2] * p[2].y + w[3] * p[3].y,
              w[0] * p[0].z + w[1] * p[1].z + w[2] * p[2].z + w[3] * p[3].z);
  };
  const std::vector<P3> now = all_points(path);
  for (int i = 0; i <= 80; ++i) {
    const P3 q = bezier(now.data() + 3 * (i % 2), (i / 2) / 40.0);
    double best = 1e300;
    for (int j = 0; j <= 4000; ++j) best = std::fmin(best, norm(sub(bezier(cps, j / 4000.0), q)));
    EXPECT_LT(best, 3e-3) << "sample " << i;
  }

  ASSERT_EQ(1, path.InsertNode(3.0, 1e-4, 1e-4, index, inserted));
  EXPECT_EQ(0, inserted);
  EXPECT_EQ(6u, index);
  EXPECT_EQ(0, path.InsertNode(3.5, 1e-4, 1e-4, index, inserted));

  QvMotionPath3d line(P3(0, 0, 0), P3(4, 0, 0), 0.0, 4.0);
  ASSERT_EQ(1, line.InsertNode(1.0, 1e-4, 1e-4, index, inserted));
  EXPECT_EQ(1, at(line, 3) == P3(1, 0, 0));
  line.Eval(2.5, 1e-4, node);  // both halves still straight
  EXPECT_EQ(1, node == P3(2.5, 0, 0));
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
      {"all", 0, 12, {}, 0.0},
      {"not a node", 4, 6, {0, 1, 2, 10, 11, 12, 20, 21, 22, 30, 31, 32, 40}, 0.0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    QvMotionPath3d path = base;
    EXPECT_EQ(c.xs.size() == 13 ? 0 : 1, path.RemoveNodes(c.first, c.last));
    const std::vector<P3> pts = all_points(path);
    ASSERT_EQ(c.xs.size(), pts.size());
    for (std::size_t i = 0; i < pts.size(); ++i) EXPECT_EQ(c.xs[i], pts[i].x);
    EXPECT_EQ(c.first_time, path.GetFirstTime());
    EXPECT_EQ((pts.size() + 2) / 3, path.NumNodes());
  }
}

TEST(MotionEdit, TimesScaleAndShiftOnlyWhileTheyRise) {
  struct Case {
    double scale, offset;
    QvLong want;
    double first, last;
  };
  const Case cases[] = {
      {2.0, 1.0, 1, 1.0, 5.0},      {-1.0, 0.0, 0, 0.0, 2.0},  // would fall
      {0.0, 3.0, 0, 0.0, 2.0},      // would collapse
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

}  // namespace
