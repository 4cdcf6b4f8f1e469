#include <qv/QvPath2f.h>
#include <qv/QvTransfo4.h>

#include <gtest/gtest.h>

#include <memory>
#include <sstream>
#include <vector>

#include "shape/shape_test_support.h"

using qv_test::P;
using qv_test::PathProbe;

namespace {

TEST(PathModel, EverySegmentDegreeHasItsRunOfTypes) {
  const QvLong first_type[9] = {0, 3, 5, 8, 12, 17, 23, 30, 38};
  for (QvULong degree = 1; degree <= 8; ++degree) {
    SCOPED_TRACE(testing::Message() << "degree " << degree);
    QvPoint2fArray pts;
    pts.Add(P(-1, -1));
    for (QvULong k = 1; k <= degree; ++k) pts.Add(P(k, k * k));
    PathProbe path;
    path.Moveto(P(0, 0));
    path.AltAltCurveto(pts, 1, degree);
    ASSERT_EQ(degree + 1, path.NumPoints());
    EXPECT_EQ(degree, path.LargestDegree());
    EXPECT_EQ(degree, path.Degree(0));  // a first point takes the degree of what follows
    EXPECT_EQ(degree, path.EndOfSegment(0));
    for (QvULong i = 1; i <= degree; ++i) {
      SCOPED_TRACE(testing::Message() << "index " << i);
      EXPECT_EQ(first_type[degree] + static_cast<QvLong>(i) - 1, path.GetType(i));
      EXPECT_EQ(degree, path.Degree(i));
      EXPECT_EQ(0u, path.StartOfSegment(i) + (path.EndOfSegment(i) - degree));
      // Only the handles next to the nodes are tangent handles.
      const bool handle = i < degree;
      EXPECT_EQ(handle && (i == 1 || i == degree - 1) ? 1 : 0, path.IsTangentHandle(i));
      EXPECT_EQ(handle ? 0 : 1, path.IsNode(i));
    }
  }
  PathProbe path;
  const QvPoint2<float> nine[9] = {};
  path.AltCurveto(nine, 9);
  path.AltCurveto(nine, 0);
  EXPECT_EQ(0u, path.NumPoints());
}

TEST(PathModel, CountsOfEmptyLoneAndMixedPaths) {
  PathProbe empty;
  EXPECT_EQ(0, empty.IsPolyline() + empty.Closeto());
  EXPECT_EQ(0u, empty.LargestDegree() + empty.NumSubpaths());
  EXPECT_EQ(0xFFFFFFFFu, empty.LastIndex());

  PathProbe two;
  two.Moveto(P(1, 1));
  two.Moveto(P(2, 2));
  EXPECT_EQ(2u, two.NumSubpaths());
  EXPECT_EQ(2u, two.NumSegments());
  EXPECT_EQ(0u, two.Degree(0));
  EXPECT_EQ(0u, two.Degree(1));
  EXPECT_EQ(1, two.IsPolyline());

  PathProbe path;
  qv_test::build_mixed(path);
  EXPECT_EQ(4u, path.NumSegments());
  EXPECT_EQ(2u, path.NumSubpaths());
  EXPECT_EQ(6u, path.NumNodes());  // 0, 1, 4, 6, 7, 8
  EXPECT_EQ(5u, path.NumNodesExceptLastNodeOfClosedSubpaths());
  EXPECT_EQ(1, path.IsSubpathClosed(3));
  EXPECT_EQ(0, path.IsSubpathClosed(8));
  QvLong closed = -1;
  EXPECT_EQ(0, path.IsEndOfSubpath(5, closed));
  EXPECT_EQ(1, path.IsEndOfSubpath(6, closed) * closed);
  QvULong first = 99, last = 99;
  path.GetSegmentIndices(3, first, last);
  EXPECT_EQ(1u, first);
  EXPECT_EQ(4u, last);
  QvPath2fIter iter(path);
  std::vector<QvULong> bounds;
  while (iter.GetNextSubPathIndices(first, last)) bounds.insert(bounds.end(), {first, last});
  EXPECT_EQ((std::vector<QvULong>{0, 6, 7, 8}), bounds);
}

TEST(PathModel, ClosingMarksWhatWasDrawnBackToTheStart) {
  // IsPathClosed only compares the ends, ten times as loosely as Closeto.
  struct Case { const char* name; float dx; QvLong want, active_after, looks_closed; };
  const Case cases[] = {{"off by 2e-6", 2e-6f, 0, 1, 0}, {"off by 1e-6", 1e-6f, 0, 1, 1},
                        {"off by 2e-7", 2e-7f, 0, 1, 1}, {"off by 1e-7", 1e-7f, 1, 0, 1}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    PathProbe path;
    path.Moveto(P(0, 0));
    path.Lineto(P(5, 5));
    path.Lineto(QvPoint2<float>(c.dx, 0.0f));
    EXPECT_EQ(c.looks_closed, path.IsPathClosed());
    EXPECT_EQ(c.want, path.Closeto());
    EXPECT_EQ(c.active_after, path.IsActive());
    EXPECT_EQ(c.want ? QvPath2f::PointLineClose : QvPath2f::PointLine, path.GetType(2));
  }
  PathProbe lone;
  lone.Moveto(P(3, 3));
  EXPECT_EQ(1, lone.Closeto());
  EXPECT_EQ(0, lone.IsActive());
  EXPECT_EQ(QvPath2f::PointMoveto, lone.GetType(0));

  // CloseSubpath in the middle inserts a closing line and keeps what follows.
  PathProbe middle;
  middle.Moveto(P(0, 0));
  middle.Lineto(P(4, 0));
  middle.Lineto(P(4, 4));
  middle.Moveto(P(10, 10));
  middle.Lineto(P(12, 10));
  ASSERT_EQ(1, middle.CloseSubpath(1));
  EXPECT_EQ(QvPath2f::PointLineClose, middle.GetType(3));
  EXPECT_EQ(0.0f, middle.GetPoint(3).x);
  EXPECT_EQ(12.0f, middle.GetPoint(5).x);
  EXPECT_EQ(0, middle.CloseSubpath(2));  // already closed
  EXPECT_EQ(1, middle.IsActive());
  ASSERT_EQ(1, middle.CloseSubpath(5));  // the last: appended, construction ends
  EXPECT_EQ(7u, middle.NumPoints());
  EXPECT_EQ(0, middle.IsActive());
  ASSERT_EQ(1, middle.OpenSubpath(6));
  EXPECT_EQ(QvPath2f::PointLine, middle.GetType(6));
  EXPECT_EQ(1, middle.IsActive());
  EXPECT_EQ(0, middle.OpenSubpath(6));
}

TEST(PathModel, G1LocksNeedSmoothJointsAndNoLineOrQuadraticBeside) {
  // Smooth at (10,10) and at the joint (0,0); a corner at (10,0).
  PathProbe round;
  round.Moveto(P(0, 0));
  round.Curveto(P(5, 0), P(8, -5), P(10, 0));
  round.Curveto(P(10, 5), P(10, 5), P(10, 10));
  round.Curveto(P(10, 15), P(-5, 0), P(0, 0));
  round.Closeto();
  EXPECT_EQ(0, round.LockG1(3));
  EXPECT_EQ(0, round.LockG1(4));  // a handle
  ASSERT_EQ(1, round.LockG1(6));
  EXPECT_EQ(128, round.IsG1LockOn(6));
  ASSERT_EQ(1, round.LockG1(0));  // both ends at once
  EXPECT_EQ(128, round.IsG1LockOn(9));
  EXPECT_EQ(1, round.UnlockG1(9));
  EXPECT_EQ(0, round.IsG1LockOn(0));
  ASSERT_EQ(1, round.LockG1(9));
  ASSERT_EQ(1, round.OpenSubpath(0));  // opening drops the lock of both ends
  EXPECT_EQ(0, round.IsG1LockOn(0) + round.IsG1LockOn(9));

  // A cubic after Moveto (0,0), with a line before or after it.
  struct Case {
    const char* name;
    std::vector<QvPoint2<float>> cubic;
    bool line_first, line_last;
    QvULong node;
    QvLong want;
  };
  const Case cases[] = {
      // Aligned, but a line on one side of an inner node.
      {"line then cubic", {P(15, 0), P(20, 5), P(20, 10)}, true, false, 1, 0},
      // Only the last type of a closed subpath counts at its ends.
      {"closed, ends in a line", {P(-5, -5), P(5, 10), P(10, 10)}, false, true, 0, 0},
      {"closed, starts with a line", {P(10, 10), P(-10, 0), P(0, 0)}, true, false, 0, 1},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    PathProbe path;
    path.Moveto(P(0, 0));
    if (c.line_first) path.Lineto(P(10, 0));
    path.Curveto(c.cubic[0], c.cubic[1], c.cubic[2]);
    if (c.line_last) path.Lineto(P(0, 0));
    path.Closeto();
    EXPECT_EQ(c.want, path.LockG1(c.node));
  }
}

TEST(PathModel, CopiesAreDeepRangeCopiesOpenWhatTheyCut) {
  PathProbe path;
  qv_test::build_mixed(path);
  PathProbe whole(path, 0, 6);
  EXPECT_EQ(QvPath2f::PointQuadClose, whole.GetType(6));
  EXPECT_EQ(0, whole.IsActive());
  PathProbe part(path, 1, 6);  // from the line's end: a first point, and open
  ASSERT_EQ(6u, part.NumPoints());
  EXPECT_EQ(QvPath2f::PointMoveto, part.GetType(0));
  EXPECT_EQ(QvPath2f::PointQuadEnd, part.GetType(5));
  EXPECT_EQ(1, part.IsActive());
  EXPECT_EQ(0u, PathProbe(path, 5, 2).NumPoints());

  const std::vector<unsigned char> before = qv_test::bytes_of(path);
  std::unique_ptr<QvShape2f> clone(path.Clone());
  PathProbe copy(path);
  QvPath2f by_shape;
  static_cast<QvShape2f&>(by_shape) = static_cast<const QvShape2f&>(path);
  EXPECT_EQ(1, copy.IsSiblingOf(path));
  path.Translate(P(1, 1));
  EXPECT_EQ(1, copy.IsSiblingOf(path));
  path.OpenSubpath(0);
  EXPECT_EQ(0, copy.IsSiblingOf(path));
  EXPECT_EQ(path.Clear(), &path);
  EXPECT_EQ(0, path.IsActive());
  EXPECT_EQ(1, path.IsSiblingOf(QvPath2f()));
  EXPECT_EQ(before, qv_test::bytes_of(*clone));
  EXPECT_EQ(before, qv_test::bytes_of(copy));
  EXPECT_EQ(before, qv_test::bytes_of(by_shape));
}

TEST(PathModel, WholePathMovesMapEveryPoint) {
  // The point (3, 1) under each move; angles are in degrees, about the centre.
  struct Case { const char* name; void (*move)(QvShape2f&); float x, y; };
  const Case cases[] = {
      {"translate", [](QvShape2f& s) { s.Translate(P(1, -2)); }, 4, -1},
      {"rotate 90 about (1, 1)", [](QvShape2f& s) { s.Rotate(90.0, P(1, 1)); }, 1, 3},
      {"scale about (1, 1)", [](QvShape2f& s) { s.Scale(2.0, -1.0, P(1, 1)); }, 5, 1},
      {"shear x", [](QvShape2f& s) { s.ShearX(0.5, 0.0); }, 3.5f, 1},
      {"shear y", [](QvShape2f& s) { s.ShearY(0.5, 0.0); }, 3, 2.5f},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    QvPath2f path;
    path.Moveto(P(3, 1));
    c.move(path);
    EXPECT_EQ(c.x, path.GetPoint(0).x);
    EXPECT_EQ(c.y, path.GetPoint(0).y);
  }
}

TEST(PathModel, PrintListsCountsThenPoints) {
  QvPath2f path;
  path.Moveto(P(0, 0));
  path.Curveto(P(1, 2), P(3.5, 0));
  std::ostringstream out;
  out << path;
  EXPECT_EQ(
      "Statistics for this path: \nNumPoints: 3\nNumSegments: 1\nNumSubpaths: 1\n"
      "LargestDegree: 2\nThe points: \n"
      "Index: 0 X: 0 Y: 0 First: 0 Last: 2\n"
      "Index: 1 X: 1 Y: 2 First: 0 Last: 2\n"
      "Index: 2 X: 3.5 Y: 0 First: 0 Last: 2\n",
      out.str());
}

}  // namespace
