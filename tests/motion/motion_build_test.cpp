#include "motion/motion_test_support.h"

namespace {

TEST(MotionBuild, EndVerbsRefuseTimesThatDoNotRiseAndLayOutEveryKind) {
  QvMotionPath3d path;
  EXPECT_EQ(0, path.Lineto(P3(1, 0, 0), 1.0));  // nothing to continue
  ASSERT_EQ(1, path.Moveto(P3(0, 0, 0), 0.0));
  QvLong kind = -1;
  ASSERT_EQ(1, path.GetControlPointKind(0, kind));
  EXPECT_EQ(QvMotionPath3d::PointOnly, kind);
  EXPECT_EQ(0, path.Moveto(P3(5, 0, 0), 5.0));  // only on an empty path
  EXPECT_EQ(0, path.Lineto(P3(1, 0, 0), 0.0));  // equal time
  EXPECT_EQ(0, path.Curveto(P3(), P3(), P3(1, 0, 0), -1.0));
  EXPECT_EQ(0, path.PreLineto(P3(-1, 0, 0), 1.0));  // inner side
  ASSERT_EQ(1, path.Lineto(P3(3, 0, 0), 1.0));
  ASSERT_EQ(1, path.Curveto(P3(4, 1, 0), P3(5, 1, 0), P3(6, 0, 0), 2.0));
  ASSERT_EQ(1, path.PreLineto(P3(-3, 0, 0), -1.0));
  ASSERT_EQ(1, path.PreCurveto(P3(-4, 1, 0), P3(-5, 1, 0), P3(-6, 0, 0), -2.0));
  ASSERT_EQ(13u, path.NumPoints());
  EXPECT_EQ(5u, path.NumNodes());

  // Cubic, line, line, cubic.
  const QvLong want[13] = {4, 5, 6, 0, 1, 2, 0, 1, 2, 4, 5, 6, 7};
  for (QvULong i = 0; i < 13; ++i) {
    SCOPED_TRACE(i);
    ASSERT_EQ(1, path.GetControlPointKind(i, kind));
    EXPECT_EQ(want[i], kind);
  }
  const std::vector<P3> pts = all_points(path);
  // PreCurveto's first control sits by the old first node, its second by the new one.
  EXPECT_EQ(1, pts[1] == P3(-5, 1, 0));
  EXPECT_EQ(1, pts[2] == P3(-4, 1, 0));
  // Lineto and PreLineto store their point three times.
  EXPECT_EQ(1, pts[4] == P3(-3, 0, 0) && pts[5] == P3(-3, 0, 0));
  EXPECT_EQ(1, pts[7] == P3(3, 0, 0) && pts[8] == P3(3, 0, 0));
  // The two-point constructor repeats the start instead.
  EXPECT_EQ(1, all_points(QvMotionPath3d(P3(1, 2, 3), P3(4, 5, 6), 0.0, 1.0))[2] == P3(1, 2, 3));

  P3 node;
  double time = 0;
  EXPECT_EQ(0, path.GetNode(4, node, time));
  ASSERT_EQ(1, path.GetNode(9, node, time));
  EXPECT_EQ(1.0, time);
  EXPECT_EQ(-2.0, path.GetFirstTime());
  EXPECT_EQ(2.0, path.GetLastTime());
  EXPECT_EQ(0, path.SetLeftTangentInfo(3, 5));
}

TEST(MotionBuild, ClosestControlPointSkipsStraightControlsAndPrefersTheEarlier) {
  QvMotionPath3d path(P3(0, 0, 0), P3(1, 0, 0), 0.0, 1.0);
  path.Curveto(P3(1, 1, 0), P3(2, 1, 0), P3(2, 0, 0), 2.0);
  struct Case {
    P3 at;
    double tolerance;
    QvLong found;
    QvULong index;
  };
  const Case cases[] = {
      {P3(0.01, 0, 0), 0.1, 1, 0},      // the line's controls on (0,0,0) are not candidates
      {P3(1.5, 1.0, 0), 0.5, 1, 4},     // a tie goes to the earlier
      {P3(1.9, 1.0, 0), 0.5, 1, 5},
      {P3(2.4, 0.4, 0.4), 0.4, 1, 6},   // a box per axis, not a sphere
      {P3(5, 5, 5), 0.5, 0, 99},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << c.at.x << ", " << c.at.y);
    QvULong index = 99;
    EXPECT_EQ(c.found, path.GetClosestControlPointIndex(c.at, c.tolerance, index));
    EXPECT_EQ(c.index, index);
  }
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
      {-1.0, 77, 0, 0, 1},     // before the first node
      {0.0, 0, 1, 0, 1},       // exact hit on the first
      {1.5, 3, 1, 6, 1},       // inside
      {2.0, 6, 1, 6, 1},       // exact hit inside
      {3.99995, 9, 1, 9, 1},   // within tolerance of the last
      {5.0, 9, 1, 77, 0},      // past the last
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.t);
    QvULong before = 77, after = 77;
    QvLong hasBefore = 7, hasAfter = 7;
    ASSERT_EQ(1, path.GetBracketingIndices(c.t, 1e-4, before, hasBefore, after, hasAfter));
    EXPECT_EQ(c.hasBefore, hasBefore);
    EXPECT_EQ(c.hasAfter, hasAfter);
    EXPECT_EQ(c.before, before);
    EXPECT_EQ(c.after, after);
  }
  QvULong index = 0;
  ASSERT_EQ(1, path.GetNodeIndexFromInitialTime(1.05, 0.1, index));
  EXPECT_EQ(3u, index);
  EXPECT_EQ(0, path.GetNodeIndexFromInitialTime(3.0, 0.5, index));
  ASSERT_EQ(1, path.GetNodeIndexFromInitialTime(3.6, 0.5, index));
  EXPECT_EQ(9u, index);
}

}  // namespace
