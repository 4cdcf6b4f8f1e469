#include "motion/motion_test_support.h"

namespace {

TEST(MotionBuild, ConstructorsLayOutPointsFlagsAndTangents) {
  const QvMotionPath3d line(P3(1, 2, 3), P3(4, 5, 6), 10.0, 20.0);
  const std::vector<P3> pts = all_points(line);
  ASSERT_EQ(4u, pts.size());
  // Both controls repeat the start.
  EXPECT_EQ(1, pts[1] == P3(1, 2, 3));
  EXPECT_EQ(1, pts[2] == P3(1, 2, 3));
  QvMotionPath3d::PointKind kind;
  ASSERT_EQ(1, line.GetControlPointKind(1, kind));
  EXPECT_EQ(QvMotionPath3d::PointLineControl1, kind);
  double first = 0, last = 0;
  ASSERT_EQ(1, line.GetTimeInterval(first, last));
  EXPECT_EQ(10.0, first);
  EXPECT_EQ(20.0, last);
  for (QvULong i : {0u, 3u}) {
    QvMotionPath3d::TangentInfo left, right;
    ASSERT_EQ(1, line.GetLeftTangentInfo(i, left));
    ASSERT_EQ(1, line.GetRightTangentInfo(i, right));
    EXPECT_EQ(QvMotionPath3d::TangentSmooth, left);
    EXPECT_EQ(QvMotionPath3d::TangentSmooth, right);
  }

  const QvMotionPath3d cubic(P3(0, 0, 0), P3(1, 0, 0), P3(2, 1, 0), P3(3, 1, 0), 0.0, 1.0);
  ASSERT_EQ(4u, cubic.NumPoints());
  ASSERT_EQ(1, cubic.GetControlPointKind(0, kind));
  EXPECT_EQ(QvMotionPath3d::PointCubicStart, kind);

  const QvMotionPath3d empty;
  EXPECT_EQ(0u, empty.NumPoints());
  EXPECT_EQ(0, empty.GetTimeInterval(first, last));
  EXPECT_EQ(0, empty.GetControlPointKind(0, kind));
}

TEST(MotionBuild, EndVerbsNeedRisingTimesOnTheOuterSide) {
  QvMotionPath3d path;
  EXPECT_EQ(0, path.Lineto(P3(1, 0, 0), 1.0));  // nothing to continue
  EXPECT_EQ(0, path.PreCurveto(P3(), P3(), P3(), -1.0));
  ASSERT_EQ(1, path.Moveto(P3(0, 0, 0), 0.0));
  EXPECT_EQ(0, path.Moveto(P3(5, 0, 0), 5.0));  // only on an empty path
  EXPECT_EQ(0, path.Lineto(P3(1, 0, 0), 0.0));  // equal time
  EXPECT_EQ(0, path.Curveto(P3(), P3(), P3(1, 0, 0), -1.0));
  EXPECT_EQ(0, path.PreLineto(P3(-1, 0, 0), 0.0));
  EXPECT_EQ(0, path.PreLineto(P3(-1, 0, 0), 1.0));  // inner side
  EXPECT_EQ(1u, path.NumPoints());

  ASSERT_EQ(1, path.Lineto(P3(3, 0, 0), 1.0));
  ASSERT_EQ(1, path.Curveto(P3(4, 1, 0), P3(5, 1, 0), P3(6, 0, 0), 2.0));
  ASSERT_EQ(1, path.PreLineto(P3(-3, 0, 0), -1.0));
  ASSERT_EQ(1, path.PreCurveto(P3(-4, 1, 0), P3(-5, 1, 0), P3(-6, 0, 0), -2.0));
  EXPECT_EQ(13u, path.NumPoints());
  EXPECT_EQ(5u, path.NumNodes());

  // Kinds along the whole path: cubic, line, line, cubic, in that order.
  const QvLong want[13] = {4, 5, 6, 0, 1, 2, 0, 1, 2, 4, 5, 6, 7};
  const std::vector<P3> pts = all_points(path);
  for (QvULong i = 0; i < 13; ++i) {
    SCOPED_TRACE(i);
    QvLong kind = -1;
    ASSERT_EQ(1, path.GetControlPointKind(i, kind));
    EXPECT_EQ(want[i], kind);
  }
  // PreCurveto's first control sits by the old first node, its second by the new one.
  EXPECT_EQ(1, pts[0] == P3(-6, 0, 0));
  EXPECT_EQ(1, pts[1] == P3(-5, 1, 0));
  EXPECT_EQ(1, pts[2] == P3(-4, 1, 0));
  // Lineto stores its point three times; so does PreLineto at the front.
  EXPECT_EQ(1, pts[4] == P3(-3, 0, 0));
  EXPECT_EQ(1, pts[5] == P3(-3, 0, 0));
  EXPECT_EQ(1, pts[7] == P3(3, 0, 0));
  EXPECT_EQ(1, pts[8] == P3(3, 0, 0));

  double time = 0;
  P3 node;
  EXPECT_EQ(0, path.GetNode(4, node, time));
  EXPECT_EQ(0, path.GetNode(13, node, time));
  ASSERT_EQ(1, path.GetNode(9, node, time));
  EXPECT_EQ(1.0, time);
  EXPECT_EQ(-2.0, path.GetFirstTime());
  EXPECT_EQ(2.0, path.GetLastTime());
  EXPECT_EQ(1, path.IsNode(6));
  EXPECT_EQ(0, path.IsNode(7));

  P3 cps[4];
  double times[2] = {0, 0};
  ASSERT_EQ(1, path.GetControlPoints(5, 8, cps, times));
  EXPECT_EQ(1, cps[1] == P3(0, 0, 0));
  EXPECT_EQ(0.0, times[0]);  // the one node in the range
  EXPECT_EQ(0, path.GetControlPoints(8, 13, cps, times));
}

TEST(MotionBuild, KindOfALoneNodeAndOfTheLastNode) {
  QvMotionPath3d path;
  path.Moveto(P3(), 0.0);
  QvLong kind = -1;
  ASSERT_EQ(1, path.GetControlPointKind(0, kind));
  EXPECT_EQ(8, kind);
  path.Lineto(P3(1, 0, 0), 1.0);
  ASSERT_EQ(1, path.GetControlPointKind(3, kind));
  EXPECT_EQ(3, kind);
  path.Curveto(P3(1, 1, 0), P3(2, 1, 0), P3(2, 0, 0), 2.0);
  ASSERT_EQ(1, path.GetControlPointKind(6, kind));
  EXPECT_EQ(7, kind);
  ASSERT_EQ(1, path.GetControlPointKind(3, kind));
  EXPECT_EQ(4, kind);
}

TEST(MotionBuild, ClosestControlPointSkipsStraightControlsAndPrefersTheEarlier) {
  QvMotionPath3d path(P3(0, 0, 0), P3(1, 0, 0), 0.0, 1.0);
  path.Curveto(P3(1, 1, 0), P3(2, 1, 0), P3(2, 0, 0), 2.0);
  QvULong index = 99;
  // Controls 1 and 2 of the line sit on (0,0,0), as does node 0: the node wins.
  ASSERT_EQ(1, path.GetClosestControlPointIndex(P3(0.01, 0, 0), 0.1, index));
  EXPECT_EQ(0u, index);
  ASSERT_EQ(1, path.GetClosestControlPointIndex(P3(1.5, 1.0, 0), 0.5, index));
  EXPECT_EQ(4u, index);  // a tie between 4 and 5 goes to the earlier
  ASSERT_EQ(1, path.GetClosestControlPointIndex(P3(1.9, 1.0, 0), 0.5, index));
  EXPECT_EQ(5u, index);
  index = 99;
  EXPECT_EQ(0, path.GetClosestControlPointIndex(P3(5, 5, 5), 0.5, index));
  EXPECT_EQ(99u, index);
  // The box is per axis, not a sphere: a corner of the box is still inside.
  ASSERT_EQ(1, path.GetClosestControlPointIndex(P3(2.4, 0.4, 0.4), 0.4, index));
  EXPECT_EQ(6u, index);
}

TEST(MotionBuild, TangentInfoAndClientDataAccess) {
  QvMotionPath3d path(P3(0, 0, 0), P3(1, 0, 0), 0.0, 1.0);
  EXPECT_EQ(1, path.SetRightTangentInfo(0, QvMotionPath3d::TangentHold));
  EXPECT_EQ(1, path.SetLeftTangentInfo(3, 4));
  EXPECT_EQ(0, path.SetLeftTangentInfo(3, 5));
  EXPECT_EQ(0, path.SetRightTangentInfo(4, 1));
  QvLong info = -1;
  ASSERT_EQ(1, path.GetRightTangentInfo(1, info));  // controls answer for their node
  EXPECT_EQ(1, info);
  ASSERT_EQ(1, path.GetLeftTangentInfo(3, info));
  EXPECT_EQ(4, info);

  int tag = 0;
  EXPECT_EQ(nullptr, path.GetClientData(2));
  EXPECT_EQ(1, path.SetClientData(2, &tag));
  EXPECT_EQ(&tag, path.GetClientData(2));
  EXPECT_EQ(0, path.SetClientData(4, &tag));
  EXPECT_EQ(nullptr, path.GetClientData(4));

  // Copies are deep: the original keeps its geometry.
  QvMotionPath3d copy(path);
  copy.ReplaceNode(3, P3(9, 9, 9), 1.0, 0.0);
  P3 p;
  double t;
  path.GetNode(3, p, t);
  EXPECT_EQ(1, p == P3(1, 0, 0));
  QvMotionPath3d assigned;
  assigned = copy;
  assigned.GetNode(3, p, t);
  EXPECT_EQ(1, p == P3(9, 9, 9));
  EXPECT_EQ(&tag, assigned.GetClientData(2));
}

TEST(MotionBuild, NodeLookupByTime) {
  QvMotionPath3d path(P3(0, 0, 0), P3(1, 0, 0), 0.0, 1.0);
  path.Lineto(P3(2, 0, 0), 2.0);
  path.Lineto(P3(3, 0, 0), 4.0);
  struct Case {
    double t;
    QvULong before;
    QvLong hasBefore;
    QvULong after;
    QvLong hasAfter;
  };
  const Case cases[] = {
      {-1.0, 0, 0, 0, 1},   // before the first node
      {0.0, 0, 1, 0, 1},    // exact hit on the first
      {1.5, 3, 1, 6, 1},    // inside
      {2.0, 6, 1, 6, 1},    // exact hit inside
      {3.99995, 9, 1, 9, 1},  // within tolerance of the last
      {4.0, 9, 1, 9, 1},
      {5.0, 9, 1, 0, 0},    // past the last
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.t);
    QvULong before = 77, after = 77;
    QvLong hasBefore = 7, hasAfter = 7;
    ASSERT_EQ(1, path.GetBracketingIndices(c.t, 1e-4, before, hasBefore, after, hasAfter));
    EXPECT_EQ(c.hasBefore, hasBefore);
    EXPECT_EQ(c.hasAfter, hasAfter);
    if (c.hasBefore) {
      EXPECT_EQ(c.before, before);
    }
    if (c.hasAfter) {
      EXPECT_EQ(c.after, after);
    }
  }
  QvULong index = 0;
  ASSERT_EQ(1, path.GetNodeIndexFromInitialTime(1.05, 0.1, index));
  EXPECT_EQ(3u, index);
  EXPECT_EQ(0, path.GetNodeIndexFromInitialTime(3.0, 0.5, index));
  ASSERT_EQ(1, path.GetNodeIndexFromInitialTime(3.6, 0.5, index));
  EXPECT_EQ(9u, index);
}

}  // namespace
