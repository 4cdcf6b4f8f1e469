#include <qv/QvGC.h>
#include <qv/QvPath2f.h>

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

#include "shape/shape_test_support.h"

using qv_test::P;

namespace {

struct Samples { QvPoint2fArray points; QvPointTagArray tags; };

Samples sample(const QvPath2f& path, double spacing, double tolerance = 0.1) {
  QvGC gc;
  gc.SetSamplingDistance(spacing);
  gc.SetFlatteningTolerance(tolerance);
  Samples s;
  path.Sample(gc, s.points, s.tags);
  return s;
}

TEST(PathSample, StraightLinesAndLonePoints) {
  QvPath2f path;
  path.Moveto(P(0, 0));
  path.Lineto(P(10, 0));
  path.Moveto(P(0, 5));  // a lone point: itself twice
  const float third = static_cast<float>(10.0 / 3.0), two_thirds = static_cast<float>(20.0 / 3.0);
  // The end at 10 is sampled only when nothing else is.
  struct Case { double spacing; std::vector<float> xs; };
  const Case cases[] = {
      {3.0, {0, third, two_thirds}},  // n = 3, step 3.3333
      {3.9, {0, third, two_thirds}},  // fmod 2.2 is above half of 3.9: rounds up
      {4.0, {0, 5}},                  // fmod 2 is not above half of 4: two steps of 5
      {8.0, {0, 10}},                 // one step: the start and the end
      {12.0, {0, 10}},                // shorter than the spacing
      {1.0, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9}},
      {-1.0, {0, 10}},                // spacings that cannot be counted out
      {1e-30, {0, 10}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.spacing);
    const Samples s = sample(path, c.spacing);
    const QvULong n = static_cast<QvULong>(c.xs.size());
    ASSERT_EQ(n + 2, s.points.GetSize());
    for (QvULong i = 0; i < n; ++i) {
      EXPECT_EQ(c.xs[i], s.points[i].x) << i;
      EXPECT_EQ(i == 0 ? TagFirst : (i + 1 == n ? TagLast : TagInner), s.tags[i]) << i;
    }
    EXPECT_EQ(5.0f, s.points[n + 1].y);
    EXPECT_EQ(TagFirst, s.tags[n]);
    EXPECT_EQ(TagLast, s.tags[n + 1]);
  }
}

TEST(PathSample, ClosedOutlineIsEvenAllRoundIncludingTheJoint) {
  QvPath2f circle;
  const float r = 50, k = 0.5522847498307935f * r;
  circle.Moveto(P(r, 0));
  circle.Curveto(P(r, k), P(k, r), P(0, r));
  circle.Curveto(P(-k, r), P(-r, k), P(-r, 0));
  circle.Curveto(P(-r, -k), P(-k, -r), P(0, -r));
  circle.Curveto(P(k, -r), P(r, -k), P(r, 0));
  circle.Closeto();
  const Samples s = sample(circle, 2.0, 0.01);
  // The circumference is about 314.16: 157 steps of about 2.001.
  const QvULong n = s.points.GetSize();
  ASSERT_EQ(157u, n);
  EXPECT_EQ(TagLast, s.tags[n - 1]);
  for (QvULong i = 0; i < n; ++i) {
    const QvPoint2<float>& a = s.points[i];
    const QvPoint2<float>& b = s.points[(i + 1) % n];  // the last step closes onto the first
    ASSERT_NEAR(2.001, std::hypot(double(b.x - a.x), double(b.y - a.y)), 0.002) << i;
  }
}

// Against an independent walk of the same polyline: every sample stands a
// whole number of steps along it, and the step is the sampling distance
// stretched by at most half a step over the whole length.
TEST(PathSample, SpacingFollowsTheSamplingDistanceOnRandomCurves) {
  std::mt19937 rng(314);
  std::uniform_real_distribution<double> jitter(-4.0, 4.0);
  for (int round = 0; round < 20; ++round) {
    SCOPED_TRACE(round);
    QvPath2f path;
    double x = 0, y = 0;
    path.Moveto(P(x, y));
    for (int seg = 0; seg < 5; ++seg, x += 20) {
      const double ny = y + jitter(rng) * 3;
      path.Curveto(P(x + 7 + jitter(rng), y + jitter(rng)), P(x + 13 + jitter(rng), ny + jitter(rng)),
                   P(x + 20, ny));
      y = ny;
    }
    const double spacing = 1.5;
    const Samples s = sample(path, spacing, 0.01);
    QvPoint2fArray poly;
    QvPointTagArray poly_tags;
    path.AltFlatten(0.01, poly, poly_tags);
    std::vector<double> cum(1, 0.0);
    for (QvULong i = 1; i < poly.GetSize(); ++i)
      cum.push_back(cum.back() + std::hypot(double(poly[i].x - poly[i - 1].x), double(poly[i].y - poly[i - 1].y)));
    const QvULong n = s.points.GetSize();
    const double step = cum.back() / n;
    ASSERT_LE(std::fabs(step - spacing), spacing * 0.5 / n);
    QvULong j = 1;
    for (QvULong i = 1; i < n; ++i) {
      while (cum[j] < step * i) ++j;
      const double u = (step * i - cum[j - 1]) / (cum[j] - cum[j - 1]);
      ASSERT_NEAR(poly[j - 1].x + (poly[j].x - poly[j - 1].x) * u, s.points[i].x, 1e-3) << i;
      ASSERT_NEAR(poly[j - 1].y + (poly[j].y - poly[j - 1].y) * u, s.points[i].y, 1e-3) << i;
    }
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
  for (QvULong i = 0; i < 5; ++i) {
    EXPECT_EQ(want[i][0], pts[i].x) << i;
    EXPECT_EQ(want[i][1], pts[i].y) << i;
    EXPECT_EQ(want_tags[i], tags[i]) << i;
  }
}

}  // namespace
