#include <qv/QvGC.h>
#include <qv/QvPath2f.h>
#include <qv/QvTransfo4.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include "shape/shape_test_support.h"

using qv_test::P;
using qv_test::PathProbe;

namespace {

// de Casteljau in double: the independent reference for a segment of any degree.
QvPoint2<double> bezier_at(std::vector<QvPoint2<double>> c, double t) {
  for (std::size_t level = c.size() - 1; level > 0; --level)
    for (std::size_t k = 0; k < level; ++k)
      c[k] = QvPoint2<double>(c[k].x + (c[k + 1].x - c[k].x) * t, c[k].y + (c[k + 1].y - c[k].y) * t);
  return c[0];
}

double distance_to_polyline(const QvPoint2<double>& p, const std::vector<QvPoint2<double>>& poly) {
  double best = 1e300;
  for (std::size_t i = 0; i + 1 < poly.size(); ++i) {
    const double dx = poly[i + 1].x - poly[i].x;
    const double dy = poly[i + 1].y - poly[i].y;
    const double len2 = dx * dx + dy * dy;
    double u = len2 > 0 ? ((p.x - poly[i].x) * dx + (p.y - poly[i].y) * dy) / len2 : 0.0;
    u = std::clamp(u, 0.0, 1.0);
    best = std::min(best, std::hypot(poly[i].x + u * dx - p.x, poly[i].y + u * dy - p.y));
  }
  return best;
}

QvExtent2<float> box(float x0, float y0, float x1, float y1) {
  QvExtent2<float> e;
  e.min = QvPoint2<float>(x0, y0);
  e.max = QvPoint2<float>(x1, y1);
  e.state = QvExtentStates::ExtentBounded;
  return e;
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
  path.Moveto(P(0, 0));
  path.Lineto(P(1, 0));
  path.Lineto(P(1, 1));
  QvPoint2fArray pts;
  pts.Add(P(-1, -1));  // appended to, never cleared
  QvPointTagArray tags;
  tags.Add(TagLast);
  EXPECT_EQ(5u, path.AltFlatten(0.1, pts, tags));
  ASSERT_EQ(6u, pts.GetSize());
  ASSERT_EQ(6u, tags.GetSize());
  const QvPointTag want[] = {TagLast, TagFirst, TagLast, TagFirst, TagInner, TagLast};
  for (QvULong i = 0; i < 6; ++i) EXPECT_EQ(want[i], tags[i]) << i;
  EXPECT_EQ(2.0f, pts[1].x);
  EXPECT_EQ(2.0f, pts[2].x);
  EXPECT_EQ(3.0f, pts[2].y);

  // The double forms count subpaths, not points.
  QvPoint2dArray dpts;
  QvPointTagArray dtags;
  EXPECT_EQ(2u, path.TransformAndFlattenPath(QvTransfo4(), 0.1, dpts, dtags));
  EXPECT_EQ(5u, dpts.GetSize());
  EXPECT_EQ(0u, path.TransformAndFlattenClosedSubPaths(QvTransfo4(), 0.1, dpts, dtags));
  path.Lineto(P(0, 0));
  path.Closeto();
  EXPECT_EQ(1u, path.TransformAndFlattenClosedSubPaths(QvTransfo4(), 0.1, dpts, dtags));

  QvPoint2fArray one;
  EXPECT_EQ(4u, path.FlattenSubpath(3, 0.1, one));
  EXPECT_EQ(0.0f, one[0].x);
}

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
  QvPoint2fArray mapped;
  QvPointTagArray mapped_tags;
  path.Flatten(gc, mapped, mapped_tags);

  QvPath2f big(path);
  big.Transform(scale);
  QvPoint2fArray direct;
  QvPointTagArray direct_tags;
  big.AltFlatten(0.5, direct, direct_tags);
  ASSERT_EQ(direct.GetSize(), mapped.GetSize());
  for (QvULong i = 0; i < direct.GetSize(); ++i) {
    EXPECT_EQ(direct[i].x, mapped[i].x) << i;
    EXPECT_EQ(direct[i].y, mapped[i].y) << i;
  }
  QvPoint2fArray coarse;
  QvPointTagArray coarse_tags;
  path.AltFlatten(0.5, coarse, coarse_tags);
  EXPECT_LT(coarse.GetSize(), mapped.GetSize());
}

TEST(PathFlatten, PolylinesFollowEverySegmentDegreeWithinTheTolerance) {
  std::mt19937 rng(7);
  std::uniform_real_distribution<double> coord(-40.0, 40.0);
  const double tolerance = 0.05;
  for (QvULong degree = 1; degree <= 8; ++degree) {
    SCOPED_TRACE(degree);
    QvPath2f path;
    std::vector<QvPoint2<double>> control;
    control.emplace_back(0.0, 0.0);
    path.Moveto(P(0, 0));
    std::vector<QvPoint2<float>> run;
    for (QvULong k = 0; k < degree; ++k) {
      run.push_back(P(coord(rng), coord(rng)));
      control.emplace_back(run.back().x, run.back().y);
    }
    path.AltCurveto(run.data(), degree);
    QvPoint2fArray flat;
    QvPointTagArray tags;
    path.AltFlatten(tolerance, flat, tags);
    std::vector<QvPoint2<double>> poly;
    for (QvULong i = 0; i < flat.GetSize(); ++i) poly.emplace_back(flat[i].x, flat[i].y);
    EXPECT_EQ(0.0, poly.front().x);
    EXPECT_EQ(control.back().x, poly.back().x);
    for (int s = 0; s <= 2000; ++s) {
      const QvPoint2<double> on_curve = bezier_at(control, s / 2000.0);
      ASSERT_LE(distance_to_polyline(on_curve, poly), tolerance * 1.5) << s;
    }
  }
}

TEST(PathClip, ClosedSubpathsAreClippedToTheBoxAndClosedAgain) {
  QvPath2f path;
  build_square(path, 0, 0, 10);
  QvExtent2<double> clip;
  clip.min = QvPoint2<double>(5, -5);
  clip.max = QvPoint2<double>(15, 5);
  clip.state = QvExtentStates::ExtentBounded;
  QvPoint2dArray pts;
  QvPointTagArray tags;
  ASSERT_EQ(1u, path.TransformFlattenAndClipClosedSubPaths(QvTransfo4(), 0.1, clip, pts, tags));
  const double want[][2] = {{5, 5}, {5, 0}, {10, 0}, {10, 5}, {5, 5}};
  const QvPointTag want_tags[] = {TagFirst, TagInner, TagInner, TagInner, TagLast};
  ASSERT_EQ(5u, pts.GetSize());
  for (QvULong i = 0; i < 5; ++i) {
    SCOPED_TRACE(i);
    EXPECT_EQ(want[i][0], pts[i].x);
    EXPECT_EQ(want[i][1], pts[i].y);
    EXPECT_EQ(want_tags[i], tags[i]);
  }

  // A slanted edge crosses at the exact edge value, interpolated on the other axis.
  QvPath2f triangle;
  triangle.Moveto(P(0, 0));
  triangle.Lineto(P(8, 0));
  triangle.Lineto(P(0, 8));
  triangle.Lineto(P(0, 0));
  triangle.Closeto();
  clip.min = QvPoint2<double>(-1, -1);
  clip.max = QvPoint2<double>(2, 20);
  QvPoint2dArray tri;
  QvPointTagArray tri_tags;
  ASSERT_EQ(1u, triangle.TransformFlattenAndClipClosedSubPaths(QvTransfo4(), 0.1, clip, tri, tri_tags));
  ASSERT_EQ(5u, tri.GetSize());
  EXPECT_EQ(2.0, tri[1].x);
  EXPECT_EQ(0.0, tri[1].y);
  EXPECT_EQ(2.0, tri[2].x);
  EXPECT_EQ(6.0, tri[2].y);

  // Skipped: open subpaths, a closed subpath of one line, one wholly outside.
  QvPath2f skipped;
  skipped.Moveto(P(0, 0));
  skipped.Lineto(P(0, 0));
  skipped.Closeto();
  skipped.Moveto(P(0, 0));
  skipped.Lineto(P(3, 3));
  build_square(skipped, 100, 100, 1);
  QvPoint2dArray none;
  QvPointTagArray none_tags;
  EXPECT_EQ(0u, skipped.TransformFlattenAndClipClosedSubPaths(QvTransfo4(), 0.1, clip, none, none_tags));
  EXPECT_EQ(0u, none.GetSize());
  EXPECT_EQ(0u, none_tags.GetSize());
}

TEST(PathExtent, BoundsHandlesAndTightBoundsOnlyCubics) {
  QvPath2f path;
  qv_test::build_mixed(path);
  QvExtent2<float> f;
  path.GetExtent(f);
  EXPECT_EQ(QvExtentStates::ExtentBounded, f.state);
  EXPECT_EQ(-4.0f, f.min.x);
  EXPECT_EQ(0.0f, f.min.y);
  EXPECT_EQ(30.0f, f.max.x);
  EXPECT_EQ(10.0f, f.max.y);
  QvExtent2<double> d;
  path.GetExtent(d);
  EXPECT_EQ(-4.0, d.min.x);
  EXPECT_EQ(30.0, d.max.x);
  path.GetSegmentExtent(3, f);
  EXPECT_EQ(10.0f, f.min.x);
  EXPECT_EQ(14.0f, f.max.x);
  EXPECT_EQ(0.0f, f.min.y);
  EXPECT_EQ(10.0f, f.max.y);

  QvPath2f empty;
  d.state = QvExtentStates::ExtentUniverse;
  d.max.x = 3;
  empty.GetExtent(d);
  EXPECT_EQ(QvExtentStates::ExtentEmpty, d.state);
  EXPECT_EQ(0.0, d.max.x);
  empty.GetTightExtent(f);
  EXPECT_EQ(QvExtentStates::ExtentEmpty, f.state);

  // A cubic whose handles stand far off: tighter than the handles, never
  // tighter than the curve.
  QvPath2f arch;
  arch.Moveto(P(0, 0));
  arch.Curveto(P(0, 100), P(100, 100), P(100, 0));
  QvExtent2<double> loose;
  QvExtent2<double> tight;
  arch.GetExtent(loose);
  arch.GetTightExtent(tight);
  EXPECT_LT(tight.max.y, loose.max.y);
  const std::vector<QvPoint2<double>> control = {{0, 0}, {0, 100}, {100, 100}, {100, 0}};
  for (int s = 0; s <= 1000; ++s) {
    const QvPoint2<double> p = bezier_at(control, s / 1000.0);
    ASSERT_LE(p.y, tight.max.y);
    ASSERT_GE(p.x, tight.min.x);
    ASSERT_LE(p.x, tight.max.x);
  }
  QvExtent2<float> tight_f;
  arch.GetTightExtent(tight_f);
  EXPECT_NEAR(tight.max.y, tight_f.max.y, 1e-4);

  // The quadratic of the mixed path keeps its handle in the tight extent,
  // while its cubic is tightened inside its handles at x = 14.
  QvPath2f first(path, 0, 6);
  first.GetTightExtent(f);
  EXPECT_EQ(-4.0f, f.min.x);
  EXPECT_LT(f.max.x, 14.0f);
  EXPECT_GT(f.max.x, 12.0f);
}

TEST(PathHit, OutlineReachesTheBox) {
  QvPath2f path;
  build_square(path, 0, 0, 10);
  QvGC gc;
  QvExtent2<float> universe;
  universe.state = QvExtentStates::ExtentUniverse;
  QvExtent2<float> empty;
  struct Case {
    const char* name;
    QvExtent2<float> extent;
    QvLong skip;
    QvLong want;
  };
  const Case cases[] = {
      {"around a node", box(9, 9, 11, 11), 0, 1},
      {"across an edge, no node inside", box(4, -1, 6, 1), 0, 1},
      {"touching an edge", box(10, 4, 12, 6), 0, 1},
      {"inside, clear of the outline", box(3, 3, 7, 7), 0, 0},
      {"far away", box(20, 20, 30, 30), 0, 0},
      {"far away, no quick test", box(20, 20, 30, 30), 1, 0},
      {"universe", universe, 0, 1},
      {"empty", empty, 0, 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(c.want, path.IsIntersectingExtent(gc, c.extent, c.skip));
  }
  QvTransfo4 shift;
  shift.Translate(100.0, 0.0, 0.0);
  gc.SetTransform(shift);
  EXPECT_EQ(1, path.IsIntersectingExtent(gc, box(104, -1, 106, 1), 0));
  EXPECT_EQ(0, path.IsIntersectingExtent(gc, box(4, -1, 6, 1), 0));
}

TEST(PathHit, SamplesInTheBoxKeepTheirTags) {
  QvPath2f path;
  path.Moveto(P(0, 0));
  path.Lineto(P(10, 0));
  QvGC gc;
  QvPoint2fArray pts;
  QvPointTagArray tags;
  EXPECT_EQ(3u, path.IntersectSamplePointsExtent(gc, box(2.5f, -1, 5.5f, 1), pts, tags, 0));
  ASSERT_EQ(3u, pts.GetSize());
  EXPECT_EQ(3.0f, pts[0].x);
  EXPECT_EQ(5.0f, pts[2].x);
  EXPECT_EQ(TagInner, tags[0]);
  EXPECT_EQ(0u, path.IntersectSamplePointsExtent(gc, box(20, 20, 30, 30), pts, tags, 0));
}

TEST(PathNear, BoxQueryTakesTheFirstHitNotTheNearest) {
  QvPath2f path;
  path.Moveto(P(0, 0));
  path.Lineto(P(5, 0));
  path.Lineto(P(5.1, 0));
  QvULong index = 77;
  EXPECT_EQ(1, path.GetClosePointIndex(P(5.2, 0), 1.0, &index));
  EXPECT_EQ(1u, index);
  index = 77;
  EXPECT_EQ(0, path.GetClosePointIndex(P(5.2, 3), 1.0, &index));
  EXPECT_EQ(77u, index);
  EXPECT_EQ(1, path.GetClosePointIndex(P(5.5, 0.5), 1.0, &index));  // closed bounds
  EXPECT_EQ(1u, index);
}

TEST(PathNear, NearestUsesTheCheapNormAndKeepsTheLowerIndexOnTies) {
  QvPath2f path;
  path.Moveto(P(3, 3));    // cheap norm 4.0002, Euclidean 4.24
  path.Lineto(P(4.1, 0));  // cheap norm 4.1, Euclidean 4.1
  QvULong index = 77;
  EXPECT_EQ(1, path.GetClosePointIndex(P(0, 0), &index));
  EXPECT_EQ(0u, index);

  QvPath2f ties;
  ties.Moveto(P(1, 2));
  ties.Lineto(P(2, 1));
  EXPECT_EQ(1, ties.GetClosePointIndex(P(0, 0), &index));
  EXPECT_EQ(0u, index);

  QvPath2f empty;
  index = 77;
  EXPECT_EQ(0, empty.GetClosePointIndex(P(0, 0), &index));
  EXPECT_EQ(0u, index);

  // Seeded random clouds against a plain search.
  std::mt19937 rng(99);
  std::uniform_int_distribution<int> grid(-20, 20);
  for (int round = 0; round < 200; ++round) {
    QvPath2f cloud;
    std::vector<QvPoint2<float>> pts;
    for (int k = 0; k < 30; ++k) {
      pts.push_back(P(grid(rng) * 0.5, grid(rng) * 0.5));
      if (k == 0) cloud.Moveto(pts.back()); else cloud.Lineto(pts.back());
    }
    const QvPoint2<float> q = P(grid(rng) * 0.37, grid(rng) * 0.41);
    QvULong want = 0;
    double best = 1e300;
    for (std::size_t k = 0; k < pts.size(); ++k) {
      const double dx = std::fabs(static_cast<double>(pts[k].x - q.x));
      const double dy = std::fabs(static_cast<double>(pts[k].y - q.y));
      const double d = std::max(dx, dy) + 0.3334 * std::min(dx, dy);
      if (d < best) {
        best = d;
        want = static_cast<QvULong>(k);
      }
    }
    ASSERT_EQ(1, cloud.GetClosePointIndex(q, &index));
    ASSERT_EQ(want, index) << round;
  }
}

TEST(PathNear, PointsInExtent) {
  QvPath2f path;
  qv_test::build_mixed(path);
  QvULongArray found;
  EXPECT_EQ(2u, path.GetPointsInExtentIndices(box(10, 0, 14, 2), &found));
  ASSERT_EQ(2u, found.GetSize());
  EXPECT_EQ(1u, found[0]);  // (10, 0)
  EXPECT_EQ(2u, found[1]);  // (14, 2), on the corner
  QvExtent2<float> universe;
  universe.state = QvExtentStates::ExtentUniverse;
  EXPECT_EQ(9u, path.GetPointsInExtentIndices(universe, &found));
  EXPECT_EQ(0u, path.GetPointsInExtentIndices(QvExtent2<float>(), &found));
}

TEST(PathArcLength, NodesStandAtTheirFractionOfTheSubpath) {
  PathProbe path;
  path.Moveto(P(0, 0));
  path.Lineto(P(3, 0));
  path.Lineto(P(3, 4));
  path.Curveto(P(1, 4), P(0, 4));
  path.Lineto(P(0, 0));
  path.Closeto();
  EXPECT_EQ(0.0, path.GetNodeNormalizedArcLength(0, 0.01));
  EXPECT_NEAR(3.0 / 14.0, path.GetNodeNormalizedArcLength(1, 0.01), 1e-7);
  EXPECT_NEAR(0.5, path.GetNodeNormalizedArcLength(2, 0.01), 1e-7);
  EXPECT_NEAR(10.0 / 14.0, path.GetNodeNormalizedArcLength(4, 0.01), 1e-7);
  EXPECT_EQ(0.0, path.GetNodeNormalizedArcLength(3, 0.01));  // a handle
  EXPECT_EQ(1.0, path.GetNodeNormalizedArcLength(5, 0.01));

  // A curved subpath against a dense measure of the true curve.
  QvPath2f wave;
  wave.Moveto(P(0, 0));
  wave.Curveto(P(10, 30), P(20, -30), P(30, 0));
  wave.Curveto(P(35, 20), P(45, 20), P(50, 0));
  const std::vector<QvPoint2<double>> a = {{0, 0}, {10, 30}, {20, -30}, {30, 0}};
  const std::vector<QvPoint2<double>> b = {{30, 0}, {35, 20}, {45, 20}, {50, 0}};
  auto length = [](const std::vector<QvPoint2<double>>& c) {
    double sum = 0;
    QvPoint2<double> prev = c[0];
    for (int s = 1; s <= 100000; ++s) {
      const QvPoint2<double> p = bezier_at(c, s / 100000.0);
      sum += std::hypot(p.x - prev.x, p.y - prev.y);
      prev = p;
    }
    return sum;
  };
  const double la = length(a);
  const double lb = length(b);
  EXPECT_NEAR(la / (la + lb), wave.GetNodeNormalizedArcLength(3, 0.001), 1e-4);
}

}  // namespace
