#include <qv/QvGC.h>
#include <qv/QvPath2f.h>

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

#include "shape/shape_test_support.h"

using qv_test::P;

namespace {

struct Samples {
  QvPoint2fArray points;
  QvPointTagArray tags;
};

Samples sample(const QvPath2f& path, double spacing, double tolerance = 0.1) {
  QvGC gc;
  gc.SetSamplingDistance(spacing);
  gc.SetFlatteningTolerance(tolerance);
  Samples s;
  path.Sample(gc, s.points, s.tags);
  return s;
}

TEST(PathSample, StraightLineFigures) {
  QvPath2f line;
  line.Moveto(P(0, 0));
  line.Lineto(P(10, 0));
  struct Case {
    double spacing;
    std::vector<float> xs;  // the end at 10 is never sampled unless the line is short
  };
  const Case cases[] = {
      {3.0, {0.0f, static_cast<float>(10.0 / 3.0), static_cast<float>(10.0 / 3.0 * 2.0)}},
      {4.0, {0.0f, 5.0f}},             // fmod 2 is not above half of 4: two steps of 5
      {3.9, {0.0f, static_cast<float>(10.0 / 3.0), static_cast<float>(10.0 / 3.0 * 2.0)}},
      {6.0, {0.0f, 5.0f}},             // fmod 4 is above half of 6: two steps
      {8.0, {0.0f, 10.0f}},            // one step: the start and the end
      {12.0, {0.0f, 10.0f}},           // shorter than the spacing
      {1.0, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.spacing);
    const Samples s = sample(line, c.spacing);
    ASSERT_EQ(c.xs.size(), s.points.GetSize());
    for (QvULong i = 0; i < s.points.GetSize(); ++i) {
      EXPECT_EQ(c.xs[i], s.points[i].x) << i;
      EXPECT_EQ(0.0f, s.points[i].y);
      const QvPointTag want = i == 0 ? TagFirst : (i + 1 == s.points.GetSize() ? TagLast : TagInner);
      EXPECT_EQ(want, s.tags[i]) << i;
    }
  }
  QvPath2f empty;
  Samples none;
  EXPECT_EQ(0u, empty.Sample(QvGC(), none.points, none.tags));
}

// A circle of radius 50 from four cubics.
void build_circle(QvPath2f& path, float r) {
  const float k = 0.5522847498307935f * r;
  path.Moveto(P(r, 0));
  path.Curveto(P(r, k), P(k, r), P(0, r));
  path.Curveto(P(-k, r), P(-r, k), P(-r, 0));
  path.Curveto(P(-r, -k), P(-k, -r), P(0, -r));
  path.Curveto(P(k, -r), P(r, -k), P(r, 0));
  path.Closeto();
}

TEST(PathSample, ClosedOutlineIsEvenAllRoundIncludingTheJoint) {
  QvPath2f circle;
  build_circle(circle, 50);
  const double spacing = 2.0;
  const Samples s = sample(circle, spacing, 0.01);
  // The circumference is about 314.16, so 157 steps of about 2.001.
  ASSERT_EQ(157u, s.points.GetSize());
  EXPECT_EQ(TagFirst, s.tags[0]);
  EXPECT_EQ(TagLast, s.tags[156]);
  const QvULong n = s.points.GetSize();
  for (QvULong i = 0; i < n; ++i) {
    const QvPoint2<float>& a = s.points[i];
    const QvPoint2<float>& b = s.points[(i + 1) % n];  // the last step closes onto the first
    const double gap = std::hypot(static_cast<double>(b.x - a.x), static_cast<double>(b.y - a.y));
    ASSERT_NEAR(2.001, gap, 0.002) << i;
  }
}

TEST(PathSample, SpacingFollowsTheSamplingDistanceOnRandomCurves) {
  std::mt19937 rng(314);
  std::uniform_real_distribution<double> jitter(-4.0, 4.0);
  for (int round = 0; round < 20; ++round) {
    SCOPED_TRACE(round);
    QvPath2f path;
    double x = 0, y = 0;
    path.Moveto(P(x, y));
    for (int seg = 0; seg < 5; ++seg) {
      const double nx = x + 20 + jitter(rng), ny = y + jitter(rng) * 3;
      path.Curveto(P(x + (nx - x) / 3 + jitter(rng), y + (ny - y) / 3 + jitter(rng)),
                   P(x + 2 * (nx - x) / 3 + jitter(rng), y + 2 * (ny - y) / 3 + jitter(rng)),
                   P(nx, ny));
      x = nx;
      y = ny;
    }
    const double spacing = 1.5;
    const Samples s = sample(path, spacing, 0.01);
    // Walk the same polyline independently: every sample must stand a whole
    // number of steps along it, and the step must be the sampling distance
    // stretched by at most half a step over the whole length.
    QvPoint2fArray poly;
    QvPointTagArray poly_tags;
    path.AltFlatten(0.01, poly, poly_tags);
    std::vector<double> cum(1, 0.0);
    for (QvULong i = 1; i < poly.GetSize(); ++i)
      cum.push_back(cum.back() + std::hypot(static_cast<double>(poly[i].x - poly[i - 1].x),
                                            static_cast<double>(poly[i].y - poly[i - 1].y)));
    const double total = cum.back();
    const QvULong n = s.points.GetSize();
    const double step = total / static_cast<double>(n);
    ASSERT_LE(std::fabs(step - spacing), spacing * 0.5 / static_cast<double>(n));
    QvULong j = 1;
    for (QvULong i = 1; i < n; ++i) {
      const double along = step * static_cast<double>(i);
      while (cum[j] < along) ++j;
      const double u = (along - cum[j - 1]) / (cum[j] - cum[j - 1]);
      const double want_x = poly[j - 1].x + (poly[j].x - poly[j - 1].x) * u;
      const double want_y = poly[j - 1].y + (poly[j].y - poly[j - 1].y) * u;
      ASSERT_NEAR(want_x, s.points[i].x, 1e-3) << i;
      ASSERT_NEAR(want_y, s.points[i].y, 1e-3) << i;
    }
  }
}

TEST(PathSample, SubpathsAreSampledOneByOne) {
  QvPath2f path;
  path.Moveto(P(0, 0));
  path.Lineto(P(10, 0));
  path.Moveto(P(5, 5));
  path.Moveto(P(0, 10));
  path.Lineto(P(0.5, 10));
  const Samples s = sample(path, 4.0);
  // 0, 5 | the lone point twice | start and end of the short line
  const float xs[] = {0, 5, 5, 5, 0, 0.5f};
  const QvPointTag tags[] = {TagFirst, TagLast, TagFirst, TagLast, TagFirst, TagLast};
  ASSERT_EQ(6u, s.points.GetSize());
  for (QvULong i = 0; i < 6; ++i) {
    EXPECT_EQ(xs[i], s.points[i].x) << i;
    EXPECT_EQ(tags[i], s.tags[i]) << i;
  }
}

TEST(PathSample, FractionsRunOnAcrossSubpaths) {
  QvPath2f path;
  path.Moveto(P(0, 0));
  path.Lineto(P(10, 0));
  path.Moveto(P(0, 5));
  path.Lineto(P(10, 5));
  QvFloatArray fractions;
  for (float f : {0.0f, 0.25f, 0.5f, 0.75f, 1.0f}) fractions.Add(f);
  QvPoint2fArray pts;
  QvPointTagArray tags;
  ASSERT_EQ(5u, path.Sample(QvGC(), fractions, pts, tags));
  const float want[][2] = {{0, 0}, {5, 0}, {10, 0}, {5, 5}, {10, 5}};
  const QvPointTag want_tags[] = {TagFirst, TagInner, TagLast, TagFirst, TagLast};
  ASSERT_EQ(5u, tags.GetSize());
  for (QvULong i = 0; i < 5; ++i) {
    SCOPED_TRACE(i);
    EXPECT_EQ(want[i][0], pts[i].x);
    EXPECT_EQ(want[i][1], pts[i].y);
    EXPECT_EQ(want_tags[i], tags[i]);
  }
}

}  // namespace
