#include <qv/QvGC.h>
#include <qv/QvPath2f.h>
#include <qv/QvPathBuilder.h>

#include "builder_support.h"
#include "shape/builder_geometry.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

namespace {

using builder_test::make_gc;
using builder_test::P;
using builder_test::points_of;
namespace qi = qv::internal;

TEST(SampleWalker, SpacingCarriesAcrossCallsAndFlushNeedsATenth) {
  // Two stretches of 7 with spacing 10: one sample, three into the second stretch, 4 carried.
  QvPoint2fArray out(4);
  double carry = 0.0;
  const P first[] = {P(0, 0), P(7, 0)};
  qi::walk_samples(first, 0, 1, 10.0, carry, out, false);
  EXPECT_EQ(0u, out.size);
  EXPECT_EQ(7.0, carry);
  const P second[] = {P(7, 0), P(14, 0)};
  qi::walk_samples(second, 0, 1, 10.0, carry, out, false);
  ASSERT_EQ(1u, out.size);
  EXPECT_EQ(10.0f, out.data[0].x);
  EXPECT_EQ(4.0, carry);

  struct Row { float tail; QvULong samples; } rows[] = {{0.9f, 0}, {1.1f, 1}};
  for (const Row& row : rows) {
    SCOPED_TRACE(row.tail);
    QvPoint2fArray flushed(4);
    double c = 0.0;
    const P stretch[] = {P(0, 0), P(row.tail, 0)};
    qi::walk_samples(stretch, 0, 1, 10.0, c, flushed, true);
    EXPECT_EQ(row.samples, flushed.size);
    EXPECT_EQ(row.samples ? 0.0 : static_cast<double>(row.tail), c);
  }
}

TEST(SampleWalker, ReportsPositionsAndRefusesWhatItCannotSample) {
  // Positions are arc lengths from the first point: a carry of 4 puts the first sample at 6.
  QvPoint2fArray out(4);
  QvDoubleArray positions(4);
  double carry = 4.0;
  const P bent[] = {P(0, 0), P(20, 0), P(20, 10)};
  EXPECT_EQ(30.0, qi::walk_samples(bent, 0, 2, 10.0, carry, out, true, &positions));
  ASSERT_EQ(4u, positions.size);
  const double want[] = {6.0, 16.0, 26.0, 30.0};  // the last from the flush
  for (QvULong k = 0; k < 4; ++k) EXPECT_EQ(want[k], positions.data[k]);
  EXPECT_EQ(20.0f, out.data[2].x);
  EXPECT_EQ(6.0f, out.data[2].y);

  // Too many samples for one walk, or no finite length: nothing placed, carry back to 0.
  const float nan = std::nanf("");
  struct Row { const char* name; P far; double spacing; } rows[] = {
      {"huge", P(1e30f, 0), 1.0},
      {"nan", P(nan, 0), 1.0},
      {"infinite", P(INFINITY, 0), 1.0},
      {"spacing far below the coordinates", P(1e7f, 0), 1e-3},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    QvPoint2fArray none(4);
    double c = 3.0;
    const P line[] = {P(0, 0), row.far};
    qi::walk_samples(line, 0, 1, row.spacing, c, none, false);
    EXPECT_EQ(0u, none.size);
    EXPECT_EQ(0.0, c);
  }
}

TEST(CircleTangent, RunsAlongTheCircleFromFirstToLast) {
  // Three points on the unit circle, counter-clockwise and then clockwise.
  const P a(1, 0), b(0, 1), c(-1, 0);
  struct Row { P a, b, c; int position; P expected; } rows[] = {
      {a, b, c, 0, P(0, 1)}, {a, b, c, 1, P(-1, 0)}, {a, b, c, 2, P(0, -1)},
      {c, b, a, 0, P(0, 1)}, {c, b, a, 2, P(0, -1)},
      {a, P(2, 0), P(3, 0), 0, P(1, 0)},  // collinear: the chord
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.position);
    P t = qi::circle_tangent(row.a, row.b, row.c, row.position);
    t.Normalize();
    EXPECT_NEAR(row.expected.x, t.x, 1e-6);
    EXPECT_NEAR(row.expected.y, t.y, 1e-6);
  }
}

TEST(Builders, SinglePointStrokeGivesAMovetoAndThatPoint) {
  QvGC gc = make_gc(10.0);
  QvPath2f linear_path, cubic_path;
  QvLinearPathBuilder linear(gc, &linear_path);
  QvCubicPathBuilder cubic(gc, &cubic_path);
  QvBasePathBuilder* builders[] = {&linear, &cubic};
  for (QvBasePathBuilder* b : builders) {
    b->StartSubpath(P(3, 4));
    const std::vector<P> samples = points_of(b->EndSubpath(P(3, 4), 0));
    ASSERT_EQ(1u, samples.size());
    EXPECT_EQ(3.0f, samples[0].x);
    EXPECT_EQ(4.0f, samples[0].y);
    EXPECT_EQ(1u, b->GetCurrentPath()->NumPoints());
  }
}

TEST(LinearBuilder, StraightStrokeKeepsTwoPointsAndDoublingBackCommits) {
  QvGC gc = make_gc(10.0);
  QvPath2f path;
  QvLinearPathBuilder b(gc, &path);
  b.StartSubpath(P(0, 0));
  for (int i = 1; i <= 30; ++i) b.AddInputPoint(P(static_cast<float>(i), 0.0f), 0);
  std::vector<P> samples = points_of(b.GetTrailingSamples());
  EXPECT_EQ(2u, path.NumPoints());
  EXPECT_EQ(30.0f, path.GetPoint(1).x);
  ASSERT_EQ(4u, samples.size());  // the first point, then 10, 20 and 30
  for (QvULong k = 0; k < 4; ++k) EXPECT_EQ(10.0f * static_cast<float>(k), samples[k].x);
  // Nothing new: no samples and no path growth.
  EXPECT_EQ(0u, b.GetTrailingSamples().size);
  EXPECT_EQ(2u, path.NumPoints());

  // Going on along x keeps moving the pending point; turning back commits it. The committed 40
  // is then smoothed against its neighbours: (30 + 38) / 4 + 40 / 2 = 37.
  b.AddInputPoint(P(35, 0), 0);
  b.AddInputPoint(P(40, 0), 0);
  b.AddInputPoint(P(38, 0), 0);
  b.EndSubpath(P(38, 0), 0);
  ASSERT_EQ(4u, path.NumPoints());
  EXPECT_EQ(37.0f, path.GetPoint(2).x);
  EXPECT_EQ(38.0f, path.GetPoint(3).x);
}

TEST(LinearBuilder, SamplesFollowTheArcLengthOfARandomStroke) {
  // Independent reference: walk the finished polyline in double and place a sample every D.
  std::mt19937 rng(7);
  std::uniform_real_distribution<float> step(-3.0f, 6.0f);
  const double spacing = 2.5;
  QvGC gc = make_gc(spacing, 0.01, 0.01);
  QvPath2f path;
  QvLinearPathBuilder b(gc, &path);
  P p(0, 0);
  b.StartSubpath(p);
  std::vector<P> samples;
  for (int i = 0; i < 200; ++i) {
    p = P(p.x + std::fabs(step(rng)), p.y + step(rng));
    b.AddInputPoint(p, 0);
    if (i % 7 == 0)
      for (const P& s : points_of(b.GetTrailingSamples())) samples.push_back(s);
  }
  for (const P& s : points_of(b.EndSubpath(p, 0))) samples.push_back(s);

  std::vector<P> expected;
  double run = 0.0, next = 0.0;
  for (QvULong i = 0; i + 1 < path.NumPoints(); ++i) {
    const P a = path.GetPoint(i), c = path.GetPoint(i + 1);
    const double len = std::hypot(double(c.x) - a.x, double(c.y) - a.y);
    while (next <= run + len) {
      const double f = (next - run) / len;
      expected.push_back(P(static_cast<float>(a.x + (c.x - a.x) * f),
                           static_cast<float>(a.y + (c.y - a.y) * f)));
      next += spacing;
    }
    run += len;
  }
  if (run - (next - spacing) > spacing * 0.1) expected.push_back(path.GetPoint(path.NumPoints() - 1));
  ASSERT_EQ(expected.size(), samples.size());
  for (size_t k = 0; k < samples.size(); ++k) {
    SCOPED_TRACE(k);
    EXPECT_NEAR(expected[k].x, samples[k].x, 1e-3);
    EXPECT_NEAR(expected[k].y, samples[k].y, 1e-3);
  }
}

TEST(CubicBuilder, LagsOneCubicUntilTheStrokeEnds) {
  QvGC gc = make_gc(1.0);
  QvPath2f path;
  QvCubicPathBuilder b(gc, &path);
  b.StartSubpath(P(0, 0));
  b.AddInputPoint(P(10, 0), 0);
  b.AddInputPoint(P(20, 5), 0);
  b.GetTrailingSamples();
  EXPECT_EQ(4u, path.NumPoints());  // Moveto and the cubic into (10, 0)
  b.AddInputPoint(P(30, 5), 0);
  b.GetTrailingSamples();
  EXPECT_EQ(7u, path.NumPoints());
  EXPECT_EQ(20.0f, path.GetPoint(6).x);
  const std::vector<P> last = points_of(b.EndSubpath(P(40, 0), 0));
  ASSERT_EQ(13u, path.NumPoints());
  EXPECT_EQ(40.0f, path.GetPoint(12).x);
  ASSERT_FALSE(last.empty());
  EXPECT_EQ(40.0f, last.back().x);
  // The handles sit at 0.4 of the chord along unit tangents: (10,0)->(20,5) has chord sqrt(125).
  const double h = 0.4 * std::sqrt(125.0);
  const P c1 = path.GetPoint(4);
  EXPECT_NEAR(h, std::hypot(c1.x - 10.0, c1.y - 0.0), 1e-4);
}

TEST(CubicBuilder, ClosedStrokeEndsOnItsFirstPoint) {
  QvGC gc = make_gc(1.0);
  QvPath2f path;
  QvCubicPathBuilder b(gc, &path);
  b.StartSubpath(P(0, 0));
  b.AddInputPoint(P(10, 0), 0);
  b.AddInputPoint(P(10, 10), 0);
  b.EndSubpath(P(0, 10), 1);
  ASSERT_EQ(13u, path.NumPoints());
  EXPECT_EQ(1, path.IsSubpathClosed(0));
  EXPECT_EQ(0.0f, path.GetPoint(12).x);
  EXPECT_EQ(0.0f, path.GetPoint(12).y);
}

// Exposes the evened-out inputs, which the fit works on.
struct FitProbe : QvBezierFitPathBuilder {
  using QvBezierFitPathBuilder::QvBezierFitPathBuilder;
  std::vector<P> inputs() const { return points_of(m_inputs); }
};

TEST(FitBuilder, FillsOnlyGapsBetweenTheTwoLimits) {
  QvGC gc = make_gc(10.0);
  QvPath2f path;
  struct Row { const char* name; double min, max; size_t count; } rows[] = {
      {"filled", 2.0, 20.0, 6},        // steps at 2, 4, 6, 8, then 10 itself
      {"min above gap", 12.0, 20.0, 2},
      {"gap above max", 2.0, 9.0, 2},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    FitProbe b(gc, &path, row.max, row.min, 0.1, 3);
    b.StartSubpath(P(0, 0));
    b.AddInputPoint(P(10, 0), 0);
    const std::vector<P> in = b.inputs();
    ASSERT_EQ(row.count, in.size());
    EXPECT_EQ(10.0f, in.back().x);
    if (row.count == 6) {
      EXPECT_EQ(4.0f, in[2].x);
    }
  }
}

TEST(FitBuilder, ShortStretchUsesItsSamplesAsControlPolygon) {
  QvGC gc = make_gc(10.0, 100.0);  // a large feature size keeps smoothing from moving samples
  QvPath2f path;
  QvBezierFitPathBuilder b(gc, &path, 1000.0, 0.0, 0.1, 5);
  const P in[] = {P(0, 0), P(10, 0), P(20, 5), P(30, 5)};
  b.StartSubpath(in[0]);
  for (int i = 1; i < 4; ++i) b.AddInputPoint(in[i], 1);
  b.EndSubpath(in[3], 0);
  ASSERT_EQ(5u, path.NumPoints());
  EXPECT_EQ(4u, path.GetDegree(4));
  for (int i = 1; i < 4; ++i) {
    SCOPED_TRACE(i);
    EXPECT_EQ(in[i].x, path.GetPoint(static_cast<QvULong>(i + 1)).x);
    EXPECT_EQ(in[i].y, path.GetPoint(static_cast<QvULong>(i + 1)).y);
  }
  // The added handle sits a quarter of the end-to-end distance out along the start tangent.
  const P h = path.GetPoint(1);
  EXPECT_NEAR(std::hypot(30.0, 5.0) / 4.0, std::hypot(double(h.x), double(h.y)), 1e-4);
}

TEST(FitBuilder, FittedArcStaysOnTheCircle) {
  // Reference: the circle the samples came from, checked densely along the flattened result.
  QvGC gc = make_gc(1.0, 0.01, 0.01);
  QvPath2f path;
  QvBezierFitPathBuilder b(gc, &path, 20.0, 0.5, 0.05, 3);
  const double r = 50.0;
  auto on_circle = [r](double a) {
    return P(static_cast<float>(r * std::cos(a)), static_cast<float>(r * std::sin(a)));
  };
  b.StartSubpath(on_circle(0.0));
  std::vector<P> samples;
  for (int i = 1; i <= 90; ++i) {
    b.AddInputPoint(on_circle(i * 0.03), 0);
    if (i % 11 == 0)
      for (const P& s : points_of(b.GetTrailingSamples())) samples.push_back(s);
  }
  for (const P& s : points_of(b.EndSubpath(on_circle(2.7), 0))) samples.push_back(s);
  EXPECT_EQ(2.7f * 50.0f, static_cast<float>(samples.size() - 1)) << "about one sample a unit";
  ASSERT_GT(path.NumPoints(), 4u);
  for (const P& s : samples) EXPECT_NEAR(r, std::hypot(double(s.x), double(s.y)), 0.2);
  const P end = path.GetPoint(path.NumPoints() - 1);
  EXPECT_NEAR(on_circle(2.7).x, end.x, 1e-4);
}

TEST(FitBuilder, DegreesWithoutAFitEndTheStroke) {
  // Fits exist for degrees 3 to 8; any other degree must neither hang nor write a curve.
  QvGC gc = make_gc(1.0, 0.01, 0.01);
  for (QvULong degree : {0u, 1u, 2u, 9u}) {
    SCOPED_TRACE(degree);
    QvPath2f path;
    QvBezierFitPathBuilder b(gc, &path, 20.0, 0.5, 0.05, 3);
    b.SetDegree(degree);
    b.StartSubpath(P(0, 0));
    for (int i = 1; i <= 40; ++i) b.AddInputPoint(P(static_cast<float>(i), static_cast<float>(i % 7)), 0);
    b.EndSubpath(P(41, 0), 0);
    EXPECT_LE(path.NumPoints(), 1u);
  }
}

}  // namespace
