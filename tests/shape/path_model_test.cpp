#include <qv/QvPath2f.h>

#include <gtest/gtest.h>

#include <memory>
#include <sstream>
#include <vector>

#include "shape/shape_test_support.h"

using qv_test::P;
using qv_test::PathProbe;

namespace {

TEST(PathModel, EverySegmentDegreeHasItsRunOfTypes) {
  const QvULong first_type[9] = {0, 3, 5, 8, 12, 17, 23, 30, 38};
  for (QvULong degree = 1; degree <= 8; ++degree) {
    SCOPED_TRACE(testing::Message() << "degree " << degree);
    std::vector<QvPoint2<float>> pts;
    for (QvULong k = 1; k <= degree; ++k) pts.push_back(P(k, k * k));
    PathProbe path;
    path.Moveto(P(0, 0));
    path.AltCurveto(pts.data(), degree);
    ASSERT_EQ(degree + 1, path.NumPoints());
    EXPECT_EQ(degree, path.LargestDegree());
    EXPECT_EQ(1u, path.NumSegments());
    EXPECT_EQ(degree == 1 ? 1 : 0, path.IsPolyline());
    for (QvULong i = 1; i <= degree; ++i) {
      SCOPED_TRACE(testing::Message() << "index " << i);
      EXPECT_EQ(static_cast<QvLong>(first_type[degree] + i - 1), path.GetType(i));
      EXPECT_EQ(degree, path.Degree(i));
      EXPECT_EQ(0u, path.StartOfSegment(i));
      EXPECT_EQ(degree, path.EndOfSegment(i));
      // Only the handles next to the nodes are tangent handles.
      const bool handle = i < degree;
      EXPECT_EQ(handle && i == 1 ? 1 : 0, path.IsStartingTangentHandle(i));
      EXPECT_EQ(handle && i == degree - 1 ? 1 : 0, path.IsEndingTangentHandle(i));
      EXPECT_EQ(handle && (i == 1 || i == degree - 1) ? 1 : 0, path.IsTangentHandle(i));
      EXPECT_EQ(handle ? 0 : 1, path.IsNode(i));
      EXPECT_EQ(handle ? 1 : 0, path.IsInnerPoint(i));
    }
    EXPECT_EQ(degree, path.Degree(0));  // a first point takes the degree of what follows
    EXPECT_EQ(0u, path.StartOfSegment(0));
    EXPECT_EQ(degree, path.EndOfSegment(0));
    // The array form takes the same points from an offset.
    QvPoint2fArray array;
    array.Add(P(-1, -1));
    for (const QvPoint2<float>& p : pts) array.Add(p);
    PathProbe from_array;
    from_array.Moveto(P(0, 0));
    from_array.AltAltCurveto(array, 1, degree);
    EXPECT_EQ(qv_test::stored(path), qv_test::stored(from_array));
  }
  PathProbe path;
  path.Moveto(P(0, 0));
  const QvPoint2<float> nine[9] = {};
  path.AltCurveto(nine, 9);
  path.AltCurveto(nine, 0);
  EXPECT_EQ(1u, path.NumPoints());
}

TEST(PathModel, EmptyAndLonePoints) {
  PathProbe empty;
  EXPECT_EQ(0, empty.IsPolyline());
  EXPECT_EQ(0u, empty.LargestDegree());
  EXPECT_EQ(0u, empty.NumSubpaths());
  EXPECT_EQ(0u, empty.NumSegments());
  EXPECT_EQ(0xFFFFFFFFu, empty.LastIndex());
  EXPECT_EQ(0, empty.Closeto());
  EXPECT_EQ(0, empty.IsNode(0));
  EXPECT_EQ(0, empty.IsActive());

  PathProbe two;
  two.Moveto(P(1, 1));
  two.Moveto(P(2, 2));
  EXPECT_EQ(2u, two.NumSubpaths());
  EXPECT_EQ(2u, two.NumSegments());
  EXPECT_EQ(0u, two.Degree(0));
  EXPECT_EQ(0u, two.Degree(1));
  EXPECT_EQ(0u, two.EndOfSegment(0));
  EXPECT_EQ(1, two.IsActive());
}

TEST(PathModel, CountsOfAMixedPath) {
  PathProbe path;
  qv_test::build_mixed(path);
  ASSERT_EQ(9u, path.NumPoints());
  EXPECT_EQ(4u, path.NumSegments());
  EXPECT_EQ(2u, path.NumSubpaths());
  EXPECT_EQ(6u, path.NumNodes());  // 0, 1, 4, 6, 7, 8
  EXPECT_EQ(5u, path.NumNodesExceptLastNodeOfClosedSubpaths());
  EXPECT_EQ(3u, path.LargestDegree());
  EXPECT_EQ(QvPath2f::PointQuadClose, path.GetType(6));
  EXPECT_EQ(1, path.IsSubpathClosed(3));
  EXPECT_EQ(0, path.IsSubpathClosed(8));
  QvLong closed = -1;
  EXPECT_EQ(0, path.IsEndOfSubpath(5, closed));
  EXPECT_EQ(-1, closed);
  EXPECT_EQ(1, path.IsEndOfSubpath(6, closed));
  EXPECT_EQ(1, closed);
  EXPECT_EQ(1, path.IsEndOfSubpath(8, closed));
  EXPECT_EQ(0, closed);
  QvULong first = 99, last = 99;
  path.GetSubpathIndices(3, first, last);
  EXPECT_EQ(0u, first);
  EXPECT_EQ(6u, last);
  path.GetSegmentIndices(3, first, last);
  EXPECT_EQ(1u, first);
  EXPECT_EQ(4u, last);
  path.GetSegmentIndices(7, first, last);
  EXPECT_EQ(7u, first);
  EXPECT_EQ(8u, last);
  EXPECT_EQ(1, path.IsStartOfSubpath(7));
  EXPECT_EQ(0, path.IsStartOfSubpath(6));
  EXPECT_EQ(1, path.IsActive());

  QvPath2fIter iter(path);
  QvULong bounds[4] = {};
  ASSERT_EQ(1, iter.GetNextSubPathIndices(bounds[0], bounds[1]));
  ASSERT_EQ(1, iter.GetNextSubPathIndices(bounds[2], bounds[3]));
  EXPECT_EQ(0, iter.GetNextSubPathIndices(first, last));
  EXPECT_EQ(0u, bounds[0]);
  EXPECT_EQ(6u, bounds[1]);
  EXPECT_EQ(7u, bounds[2]);
  EXPECT_EQ(8u, bounds[3]);
  iter.Reset();
  ASSERT_EQ(1, iter.GetNextSubPathIndices(first, last));
  EXPECT_EQ(6u, last);
}

TEST(PathModel, ClosetoMarksOnlyWhatWasDrawnBackToTheStart) {
  struct Case {
    const char* name;
    float dx;
    QvLong want;
    QvLong active_after;
    QvPath2f::PointType last_type;
  };
  const Case cases[] = {
      {"off by 2e-7", 2e-7f, 0, 1, QvPath2f::PointLine},
      {"off by 1e-7", 1e-7f, 1, 0, QvPath2f::PointLineClose},
      {"exact", 0.0f, 1, 0, QvPath2f::PointLineClose},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    PathProbe path;
    path.Moveto(P(0, 0));
    path.Lineto(P(5, 0));
    path.Lineto(P(5, 5));
    path.Lineto(QvPoint2<float>(c.dx, 0.0f));
    EXPECT_EQ(c.want, path.Closeto());
    EXPECT_EQ(c.active_after, path.IsActive());
    EXPECT_EQ(c.last_type, path.GetType(3));
  }
  PathProbe lone;
  lone.Moveto(P(3, 3));
  EXPECT_EQ(1, lone.Closeto());
  EXPECT_EQ(0, lone.IsActive());
  EXPECT_EQ(QvPath2f::PointMoveto, lone.GetType(0));
}

TEST(PathModel, CloseSubpathAddsAClosingLineWhereItIsMissing) {
  // Already closed: refused.
  PathProbe closed;
  qv_test::build_mixed(closed);
  EXPECT_EQ(0, closed.CloseSubpath(2));
  EXPECT_EQ(9u, closed.NumPoints());

  // Open subpath in the middle, ends apart: a point goes in, the rest stays whole.
  PathProbe middle;
  middle.Moveto(P(0, 0));
  middle.Lineto(P(4, 0));
  middle.Lineto(P(4, 4));
  middle.Moveto(P(10, 10));
  middle.Lineto(P(12, 10));
  ASSERT_EQ(1, middle.CloseSubpath(1));
  ASSERT_EQ(6u, middle.NumPoints());
  EXPECT_EQ(QvPath2f::PointLineClose, middle.GetType(3));
  EXPECT_EQ(0.0f, middle.GetPoint(3).x);
  EXPECT_EQ(QvPath2f::PointMoveto, middle.GetType(4));
  EXPECT_EQ(12.0f, middle.GetPoint(5).x);
  EXPECT_EQ(2u, middle.NumSubpaths());
  EXPECT_EQ(1, middle.IsActive());

  // The last subpath: the point is appended and construction ends.
  ASSERT_EQ(1, middle.CloseSubpath(5));
  EXPECT_EQ(7u, middle.NumPoints());
  EXPECT_EQ(QvPath2f::PointLineClose, middle.GetType(6));
  EXPECT_EQ(0, middle.IsActive());

  // Ends that meet already are only marked, and active is left alone.
  PathProbe meeting;
  meeting.Moveto(P(0, 0));
  meeting.Curveto(P(1, 1), P(2, 1), P(0, 0));
  ASSERT_EQ(1, meeting.CloseSubpath(0));
  EXPECT_EQ(QvPath2f::PointCubicClose, meeting.GetType(3));
  EXPECT_EQ(4u, meeting.NumPoints());
  EXPECT_EQ(1, meeting.IsActive());

  // And opened again.
  ASSERT_EQ(1, meeting.OpenSubpath(1));
  EXPECT_EQ(QvPath2f::PointCubicEnd, meeting.GetType(3));
  EXPECT_EQ(0, meeting.OpenSubpath(1));
}

// A closed loop of cubics with smooth joints: (0,0) -> (10,0) -> (10,10) -> back.
void build_smooth_loop(QvPath2f& path) {
  path.Moveto(P(0, 0));
  path.Curveto(P(3, -2), P(7, -2), P(10, 0));     // 1..3
  path.Curveto(P(13, 2), P(13, 8), P(10, 10));    // 4..6
  path.Curveto(P(7, 12), P(-3, 3), P(0, 0));      // 7..9, arrives along (3, 3)
  path.Closeto();
}

TEST(PathModel, G1LocksNeedSmoothJointsAndNoLinesBeside) {
  PathProbe loop;
  build_smooth_loop(loop);
  EXPECT_EQ(1, loop.IsG1Continuous(3));
  EXPECT_EQ(1, loop.LockG1(3));
  EXPECT_EQ(128, loop.IsG1LockOn(3));
  EXPECT_EQ(1, loop.LockG1(3));  // already on
  EXPECT_EQ(0, loop.LockG1(2));  // a handle
  // The joint at the start: (3,-3) arriving, (3,-2) leaving is a corner.
  EXPECT_EQ(0, loop.IsG1Continuous(0));
  EXPECT_EQ(0, loop.LockG1(9));
  loop.UnlockG1(3);
  EXPECT_EQ(0, loop.IsG1LockOn(3));

  // A closed loop whose joint is smooth locks both ends at once.
  PathProbe round;
  round.Moveto(P(0, 0));
  round.Curveto(P(5, 0), P(10, 5), P(10, 10));
  round.Curveto(P(10, 15), P(-5, 0), P(0, 0));
  round.Closeto();
  ASSERT_EQ(1, round.LockG1(0));
  EXPECT_EQ(128, round.IsG1LockOn(0));
  EXPECT_EQ(128, round.IsG1LockOn(6));
  EXPECT_EQ(1, round.UnlockG1(6));
  EXPECT_EQ(0, round.IsG1LockOn(0));
  ASSERT_EQ(1, round.LockG1(6));
  ASSERT_EQ(1, round.OpenSubpath(0));  // opening drops the lock of both ends
  EXPECT_EQ(0, round.IsG1LockOn(0));
  EXPECT_EQ(0, round.IsG1LockOn(6));

  // Aligned, but a line on one side: refused.
  PathProbe line_then_cubic;
  line_then_cubic.Moveto(P(0, 0));
  line_then_cubic.Lineto(P(10, 0));
  line_then_cubic.Curveto(P(15, 0), P(20, 5), P(20, 10));
  EXPECT_EQ(1, line_then_cubic.IsG1Continuous(1));
  EXPECT_EQ(0, line_then_cubic.LockG1(1));

  // A closed subpath ending in a line is refused at its ends; one that only
  // starts with a line is not, since only the last type counts.
  PathProbe ends_in_line;
  ends_in_line.Moveto(P(0, 0));
  ends_in_line.Curveto(P(-5, -5), P(5, 10), P(10, 10));  // smooth at the joint
  ends_in_line.Lineto(P(0, 0));
  ends_in_line.Closeto();
  EXPECT_EQ(0, ends_in_line.LockG1(0));
  PathProbe starts_with_line;
  starts_with_line.Moveto(P(0, 0));
  starts_with_line.Lineto(P(10, 0));
  starts_with_line.Curveto(P(10, 10), P(-10, 0), P(0, 0));
  starts_with_line.Closeto();
  EXPECT_EQ(1, starts_with_line.LockG1(0));
}

TEST(PathModel, RangeCopyOpensWhatItCutsOpen) {
  PathProbe loop;
  build_smooth_loop(loop);
  ASSERT_EQ(1, loop.LockG1(3));

  PathProbe whole(loop, 0, 9);
  EXPECT_EQ(QvPath2f::PointCubicClose, whole.GetType(9));
  EXPECT_EQ(0, whole.IsActive());

  PathProbe part(loop, 3, 9);
  ASSERT_EQ(7u, part.NumPoints());
  EXPECT_EQ(QvPath2f::PointMoveto, part.GetType(0));
  EXPECT_EQ(0, part.IsG1LockOn(0));  // a cut end has no neighbour to stay in line with
  EXPECT_EQ(QvPath2f::PointCubicEnd, part.GetType(6));
  EXPECT_EQ(1, part.IsActive());
  EXPECT_EQ(10.0f, part.GetPoint(0).x);

  PathProbe nothing(loop, 5, 2);
  EXPECT_EQ(0u, nothing.NumPoints());
}

TEST(PathModel, SiblingsShareStructureNotCoordinatesOrLocks) {
  PathProbe a;
  build_smooth_loop(a);
  PathProbe b;
  build_smooth_loop(b);
  b.Translate(P(5, 5));
  ASSERT_EQ(1, b.LockG1(3));
  EXPECT_EQ(1, a.IsSiblingOf(b));
  PathProbe c;
  build_smooth_loop(c);
  c.OpenSubpath(0);
  EXPECT_EQ(0, a.IsSiblingOf(c));
  EXPECT_EQ(1, PathProbe().IsSiblingOf(PathProbe()));
  EXPECT_EQ(0, a.IsSiblingOf(PathProbe()));
}

TEST(PathModel, CopiesAreDeep) {
  PathProbe path;
  qv_test::build_mixed(path);
  const std::vector<unsigned char> before = qv_test::stored(path);
  std::unique_ptr<QvShape2f> clone(path.Clone());
  PathProbe copy(path);
  PathProbe assigned;
  assigned = path;
  QvPath2f by_shape;
  static_cast<QvShape2f&>(by_shape) = static_cast<const QvShape2f&>(path);
  path.Translate(P(1, 1));
  path.Clear();
  EXPECT_EQ(0u, path.NumPoints());
  EXPECT_EQ(0, path.IsActive());
  EXPECT_EQ(before, qv_test::stored(*clone));
  EXPECT_EQ(before, qv_test::stored(copy));
  EXPECT_EQ(before, qv_test::stored(assigned));
  EXPECT_EQ(before, qv_test::stored(by_shape));
}

TEST(PathModel, PrintListsCountsThenPoints) {
  QvPath2f path;
  path.Moveto(P(0, 0));
  path.Curveto(P(1, 2), P(3.5, 0));
  std::ostringstream out;
  out << path;
  EXPECT_EQ(
      "Statistics for this path: \n"
      "NumPoints: 3\n"
      "NumSegments: 1\n"
      "NumSubpaths: 1\n"
      "LargestDegree: 2\n"
      "The points: \n"
      "Index: 0 X: 0 Y: 0 First: 0 Last: 2\n"
      "Index: 1 X: 1 Y: 2 First: 0 Last: 2\n"
      "Index: 2 X: 3.5 Y: 0 First: 0 Last: 2\n",
      out.str());
}

TEST(PathModel, WholePathMovesKeepStructure) {
  QvPath2f path;
  qv_test::build_mixed(path);
  path.Scale(2.0, 3.0, P(10, 0));
  EXPECT_EQ(-10.0f, path.GetPoint(0).x);
  EXPECT_EQ(30.0f, path.GetPoint(4).y);
  path.Rotate(90.0, P(0, 0));
  EXPECT_EQ(0.0f, path.GetPoint(1).x);
  EXPECT_EQ(10.0f, path.GetPoint(1).y);
  path.ShearX(0.5, 0.0);
  EXPECT_EQ(5.0f, path.GetPoint(1).x);
  path.ShearY(1.0, 5.0);
  EXPECT_EQ(10.0f, path.GetPoint(1).y);
  EXPECT_EQ(9u, path.NumPoints());
  EXPECT_EQ(1, path.IsSubpathClosed(0));
}

}  // namespace
