#include <qv/QvGC.h>
#include <qv/QvPath2f.h>
#include <qv/QvTransfo4.h>

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "shape/shape_test_support.h"

using qv_test::box;
using qv_test::P;

namespace {

using Poly = std::vector<QvPoint2<double>>;

// de Casteljau in double: the independent reference for a segment of any degree.
QvPoint2<double> bezier_at(Poly c, double t) {
  for (std::size_t level = c.size() - 1; level > 0; --level)
    for (std::size_t k = 0; k < level; ++k)
      c[k] = QvPoint2<double>(c[k].x + (c[k + 1].x - c[k].x) * t, c[k].y + (c[k + 1].y - c[k].y) * t);
  return c[0];
}

void build_square(QvPath2f& path, float x0, float y0, float side) {
  path.Moveto(P(x0, y0));
  path.Lineto(P(x0 + side, y0));
  path.Lineto(P(x0 + side, y0 + side));
  path.Lineto(P(x0, y0 + side));
  path.Lineto(P(x0, y0));
  path.Closeto();
}

TEST(PathFlatten, TagsRunPerSubpathAndALonePointIsDoubled) {
  QvPath2f path;
  path.Moveto(P(2, 3));
  build_square(path, 0, 0, 1);
  QvPoint2fArray pts;
  pts.Add(P(-1, -1));  // appended to, never cleared
  QvPointTagArray tags;
  tags.Add(TagLast);
  EXPECT_EQ(7u, path.AltFlatten(0.1, pts, tags));
  const QvPointTag want[] = {TagLast, TagFirst, TagLast, TagFirst, TagInner, TagInner, TagInner, TagLast};
  ASSERT_EQ(8u, tags.GetSize());
  for (QvULong i = 0; i < 8; ++i) EXPECT_EQ(want[i], tags[i]) << i;
  EXPECT_EQ(pts[1].y, pts[2].y);
  EXPECT_EQ(3.0f, pts[2].y);
  // The double forms count subpaths, not points.
  QvPoint2dArray dpts;
  EXPECT_EQ(2u, path.TransformAndFlattenPath(QvTransfo4(), 0.1, dpts, tags));
  EXPECT_EQ(1u, path.TransformAndFlattenClosedSubPaths(QvTransfo4(), 0.1, dpts, tags));
  EXPECT_EQ(12u, dpts.GetSize());
  QvPoint2fArray one;
  EXPECT_EQ(5u, path.FlattenSubpath(3, 0.1, one));
}

// The tolerance is absolute in target units: flattening a mapped path must
// give what flattening the path moved beforehand gives, bit for bit.
TEST(PathFlatten, TransformComesBeforeTheTolerance) {
  QvPath2f path;
  path.Moveto(P(0, 0));
  path.Curveto(P(1, 2), P(3, 2), P(4, 0));
  path.Curveto(P(5, 1), P(6, 0));
  QvTransfo4 scale;
  scale.Scale(10.0, 10.0, 1.0);
  QvGC gc;
  gc.SetTransform(scale);
  gc.SetFlatteningTolerance(0.5);
  QvPath2f big(path);
  big.Transform(scale);
  QvPoint2fArray mapped, direct, coarse;
  QvPointTagArray tags;
  path.Flatten(gc, mapped, tags);
  big.AltFlatten(0.5, direct, tags);
  path.AltFlatten(0.5, coarse, tags);
  EXPECT_LT(coarse.GetSize(), mapped.GetSize());
  ASSERT_EQ(direct.GetSize(), mapped.GetSize());
  for (QvULong i = 0; i < direct.GetSize(); ++i) {
    EXPECT_EQ(direct[i].x, mapped[i].x) << i;
    EXPECT_EQ(direct[i].y, mapped[i].y) << i;
  }
}

TEST(PathClip, ClosedSubpathsAreClippedToTheBoxAndClosedAgain) {
  QvPath2f path;
  build_square(path, 0, 0, 10);
  path.Moveto(P(0, 0));  // open: skipped
  path.Lineto(P(8, 0));
  path.Moveto(P(0, 0));  // a closed subpath of one line: skipped
  path.Lineto(P(0, 0));
  path.Closeto();
  build_square(path, 100, 100, 1);  // wholly outside: nothing
  path.Moveto(P(0, 0));  // a triangle with a slanted edge
  path.Lineto(P(8, 0));
  path.Lineto(P(0, 8));
  path.Lineto(P(0, 0));
  path.Closeto();
  QvExtent2<double> clip;
  clip.min = QvPoint2<double>(2, -5);
  clip.max = QvPoint2<double>(15, 5);
  clip.state = QvExtentStates::ExtentBounded;
  QvPoint2dArray pts;
  QvPointTagArray tags;
  ASSERT_EQ(2u, path.TransformFlattenAndClipClosedSubPaths(QvTransfo4(), 0.1, clip, pts, tags));
  // Passes x >= 2, y >= -5, x <= 15, y <= 5, each starting from the last point.
  const double want[][2] = {{2, 5}, {2, 0}, {10, 0}, {10, 5}, {2, 5},
                            {2, 5}, {2, 0}, {8, 0}, {3, 5}, {2, 5}};
  ASSERT_EQ(10u, pts.GetSize());
  for (QvULong i = 0; i < 10; ++i) {
    SCOPED_TRACE(i);
    EXPECT_EQ(want[i][0], pts[i].x);
    EXPECT_EQ(want[i][1], pts[i].y);
    EXPECT_EQ(i % 5 == 0 ? TagFirst : (i % 5 == 4 ? TagLast : TagInner), tags[i]);
  }
}

TEST(PathExtent, BoundsHandlesAndTightBoundsOnlyCubics) {
  QvPath2f path;
  qv_test::build_mixed(path);
  QvExtent2<float> f;
  path.GetExtent(f);
  EXPECT_EQ(QvExtentStates::ExtentBounded, f.state);
  EXPECT_EQ(-4.0f, f.min.x);  // the quadratic's handle
  EXPECT_EQ(30.0f, f.max.x);
  path.GetSegmentExtent(3, f);
  EXPECT_EQ(10.0f, f.min.x);
  EXPECT_EQ(14.0f, f.max.x);
  QvPath2f(path, 0, 6).GetTightExtent(f);
  EXPECT_EQ(-4.0f, f.min.x);  // not tightened
  EXPECT_LT(f.max.x, 14.0f);  // tightened inside the cubic's handles

  QvExtent2<double> d;
  d.state = QvExtentStates::ExtentUniverse;
  d.max.x = 3;
  QvPath2f().GetExtent(d);
  EXPECT_EQ(QvExtentStates::ExtentEmpty, d.state);
  EXPECT_EQ(0.0, d.max.x);

  // Handles far off the curve: tighter than them, never tighter than the curve.
  QvPath2f arch;
  arch.Moveto(P(0, 0));
  arch.Curveto(P(0, 100), P(100, 100), P(100, 0));
  arch.GetTightExtent(d);
  EXPECT_LT(d.max.y, 100.0);
  for (int s = 0; s <= 1000; ++s)
    ASSERT_LE(bezier_at({{0, 0}, {0, 100}, {100, 100}, {100, 0}}, s / 1000.0).y, d.max.y);
}

TEST(PathHit, OutlineAndSamplesAgainstTheBox) {
  QvPath2f path;
  build_square(path, 0, 0, 10);
  const QvExtent2<float> universe = qv_test::universe();
  struct Case { const char* name; QvExtent2<float> extent; QvLong skip; QvLong want; };
  const Case cases[] = {
      {"around a node", box(9, 9, 11, 11), 0, 1},
      {"across an edge, no node inside", box(4, -1, 6, 1), 0, 1},
      {"touching an edge", box(10, 4, 12, 6), 0, 1},
      {"inside, clear of the outline", box(3, 3, 7, 7), 0, 0},
      {"far away, no quick test", box(20, 20, 30, 30), 1, 0},
      {"universe", universe, 0, 1},
      {"empty", QvExtent2<float>(), 0, 0},
  };
  for (const Case& c : cases)
    EXPECT_EQ(c.want, path.IsIntersectingExtent(QvGC(), c.extent, c.skip)) << c.name;

  // The filled shape reaches a box wholly inside it; one outside or in a hole it does not.
  QvPath2f ring(path);
  build_square(ring, 3, 3, 4);  // a hole under the even-odd rule
  QvGC even_odd;
  even_odd.SetFillRule(QvGC::EvenOddRule);
  EXPECT_EQ(1, path.IsInteriorIntersectingExtent(even_odd, box(3, 3, 7, 7), 0));
  EXPECT_EQ(0, ring.IsInteriorIntersectingExtent(even_odd, box(4, 4, 6, 6), 0));
  EXPECT_EQ(1, ring.IsInteriorIntersectingExtent(even_odd, box(1, 1, 2, 2), 0));
  EXPECT_EQ(0, path.IsInteriorIntersectingExtent(even_odd, box(12, 1, 13, 2), 1));

  QvTransfo4 shift;
  shift.Translate(100.0, 0.0, 0.0);
  QvGC gc;
  gc.SetTransform(shift);
  EXPECT_EQ(1, path.IsIntersectingExtent(gc, box(104, -1, 106, 1), 0));
  EXPECT_EQ(0, path.IsIntersectingExtent(gc, box(4, -1, 6, 1), 0));
  // Samples in a box keep their own tags; the quick test sees the transform.
  QvPoint2fArray pts;
  QvPointTagArray tags;
  EXPECT_EQ(3u, path.IntersectSamplePointsExtent(gc, box(102.5f, -1, 105.5f, 1), pts, tags, 0));
  EXPECT_EQ(103.0f, pts[0].x);
  EXPECT_EQ(TagInner, tags[0]);
  EXPECT_EQ(0u, path.IntersectSamplePointsExtent(gc, box(2.5f, -1, 5.5f, 1), pts, tags, 0));
}

TEST(PathNear, FirstHitInABoxOrNearestUnderTheCheapNorm) {
  QvPath2f path;
  path.Moveto(P(0, 0));
  path.Lineto(P(5, 0));
  path.Lineto(P(5.1, 0));
  QvULong index = 77;
  EXPECT_EQ(1, path.GetClosePointIndex(P(5.2, 0), 1.0, &index));
  EXPECT_EQ(1u, index);  // not the nearer 2
  EXPECT_EQ(1, path.GetClosePointIndex(P(5.5, 0.5), 1.0, &index));
  index = 77;
  EXPECT_EQ(0, path.GetClosePointIndex(P(5.2, 3), 1.0, &index));
  EXPECT_EQ(77u, index);
  QvULongArray found;
  EXPECT_EQ(2u, path.GetPointsInExtentIndices(box(0, 0, 5, 1), &found));
  EXPECT_EQ(3u, path.GetPointsInExtentIndices(qv_test::universe(), &found));
  EXPECT_EQ(0u, path.GetPointsInExtentIndices(QvExtent2<float>(), &found));
  EXPECT_EQ(1u, found[1]);

  // Without a size: nearest under the cheap norm, ties to the lower index.
  QvPath2f near;
  near.Moveto(P(3, 3));    // cheap norm 4.0002, Euclidean 4.24
  near.Lineto(P(4.1, 0));  // cheap norm 4.1, Euclidean 4.1
  near.Lineto(P(3, 3));    // a tie with the first
  EXPECT_EQ(1, near.GetClosePointIndex(P(0, 0), &index));
  EXPECT_EQ(0u, index);
  index = 77;
  EXPECT_EQ(0, QvPath2f().GetClosePointIndex(P(0, 0), &index));
  EXPECT_EQ(0u, index);
}

TEST(PathArcLength, NodesStandAtTheirFractionOfTheSubpath) {
  QvPath2f path;
  path.Moveto(P(0, 0));
  path.Lineto(P(3, 0));
  path.Lineto(P(3, 4));
  path.Curveto(P(1, 4), P(0, 4));  // straight, 3 long
  path.Lineto(P(0, 0));
  path.Closeto();
  const double want[] = {0.0, 3.0 / 14, 0.5, 0.0 /* a handle */, 10.0 / 14, 1.0};
  for (QvULong i = 0; i < 6; ++i) EXPECT_NEAR(want[i], path.GetNodeNormalizedArcLength(i, 0.01), 1e-7) << i;

  // A curved subpath against a dense measure of the true curves.
  QvPath2f wave;
  wave.Moveto(P(0, 0));
  wave.Curveto(P(10, 30), P(20, -30), P(30, 0));
  wave.Curveto(P(35, 20), P(45, 20), P(50, 0));
  auto length = [](const Poly& c) {
    double sum = 0;
    for (int s = 1; s <= 100000; ++s) {
      const QvPoint2<double> a = bezier_at(c, (s - 1) / 100000.0), b = bezier_at(c, s / 100000.0);
      sum += std::hypot(b.x - a.x, b.y - a.y);
    }
    return sum;
  };
  const double la = length({{0, 0}, {10, 30}, {20, -30}, {30, 0}});
  const double lb = length({{30, 0}, {35, 20}, {45, 20}, {50, 0}});
  EXPECT_NEAR(la / (la + lb), wave.GetNodeNormalizedArcLength(3, 0.001), 1e-4);
}

}  // namespace
