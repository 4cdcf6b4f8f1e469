#include <qv/QvGC.h>
#include <qv/QvPath2f.h>
#include <qv/QvPath2fProp1d.h>
#include <qv/QvPathBuilder.h>

#include "builder_support.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <random>
#include <vector>

namespace {

using builder_test::make_gc;
using builder_test::P;
using builder_test::points_of;
using builder_test::values_of;

// A seeded wandering stroke that keeps moving right.
std::vector<P> random_stroke(unsigned seed, int count) {
  std::mt19937 rng(seed);
  std::uniform_real_distribution<float> step(-3.0f, 6.0f);
  std::vector<P> stroke{P(0, 0)};
  for (int i = 1; i < count; ++i) {
    const P& q = stroke.back();
    stroke.push_back(P(q.x + std::fabs(step(rng)), q.y + step(rng)));
  }
  return stroke;
}

std::unique_ptr<QvBasePathPropBuilder> make_prop_builder(bool fit, const QvGC& gc,
                                                         QvPath2fProp1d* path) {
  if (fit) return std::make_unique<QvBezierFitPathPropBuilder>(gc, path, 20.0, 1.0, 0.1, 3);
  return std::make_unique<QvLinearPathPropBuilder>(gc, path);
}

// Everything a stroke gave out, in order.
struct Collected {
  std::vector<P> samples;
  std::vector<double> values;
  void Take(const QvPoint2fArray& s, const QvDoubleArray& v) {
    ASSERT_EQ(s.size, v.size);
    for (const P& p : points_of(s)) samples.push_back(p);
    for (double x : values_of(v)) values.push_back(x);
  }
};

// Feeds stroke[1..] with value(p), asking for samples every `every` points, and ends the stroke
// on its last point.
template <class Value>
Collected run_stroke(QvBasePathPropBuilder& b, const std::vector<P>& stroke, Value value,
                     int every, QvLong close) {
  Collected got;
  QvDoubleArray values(4);
  b.StartSubpath(stroke[0], value(stroke[0]));
  for (size_t i = 1; i < stroke.size(); ++i) {
    b.AddInputPoint(stroke[i], value(stroke[i]), 0);
    if (i % static_cast<size_t>(every) == 0) got.Take(b.GetTrailingSamples(values), values);
  }
  const P& end = stroke.back();
  got.Take(b.EndSubpathAndGetTrailingSamples(end, value(end), values, close), values);
  return got;
}

TEST(PropBuilders, MatchThePlainBuildersWhileTheValueIsConstant) {
  // The same stroke through a plain builder and its property twin must give the same path and
  // the same samples: the values ride along and never steer the geometry.
  const std::vector<P> stroke = random_stroke(11, 120);
  const QvGC gc = make_gc(2.5, 0.01, 0.05);
  struct Row { const char* name; bool fit; QvLong close; } rows[] = {
      {"linear open", false, 0}, {"linear closed", false, 1},
      {"fit open", true, 0},     {"fit closed", true, 1},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    QvPath2f plain_path;
    QvPath2fProp1d prop_path;
    std::unique_ptr<QvBasePathBuilder> plain;
    if (row.fit)
      plain = std::make_unique<QvBezierFitPathBuilder>(gc, &plain_path, 20.0, 1.0, 0.1, 3);
    else
      plain = std::make_unique<QvLinearPathBuilder>(gc, &plain_path);
    std::unique_ptr<QvBasePathPropBuilder> prop = make_prop_builder(row.fit, gc, &prop_path);

    std::vector<P> plain_samples;
    plain->StartSubpath(stroke[0]);
    for (size_t i = 1; i < stroke.size(); ++i) {
      plain->AddInputPoint(stroke[i], 0);
      if (i % 9 == 0)
        for (const P& s : points_of(plain->GetTrailingSamples())) plain_samples.push_back(s);
    }
    for (const P& s : points_of(plain->EndSubpath(stroke.back(), row.close)))
      plain_samples.push_back(s);
    const Collected got = run_stroke(*prop, stroke, [](const P&) { return 2.0; }, 9, row.close);

    ASSERT_EQ(plain_path.NumPoints(), prop_path.NumPoints());
    for (QvULong i = 0; i < plain_path.NumPoints(); ++i) {
      SCOPED_TRACE(i);
      EXPECT_EQ(plain_path.GetPoint(i).x, prop_path.GetPoint(i).x);
      EXPECT_EQ(plain_path.GetPoint(i).y, prop_path.GetPoint(i).y);
      EXPECT_EQ(plain_path.GetDegree(i), prop_path.GetDegree(i));
    }
    EXPECT_EQ(plain_path.IsSubpathClosed(0), prop_path.IsSubpathClosed(0));
    ASSERT_EQ(plain_samples.size(), got.samples.size());
    for (size_t k = 0; k < got.samples.size(); ++k) {
      EXPECT_EQ(plain_samples[k].x, got.samples[k].x);
      EXPECT_EQ(plain_samples[k].y, got.samples[k].y);
      EXPECT_EQ(2.0, got.values[k]);
    }
    ASSERT_EQ(1, prop_path.HasPropCurve(0));
    EXPECT_EQ(2u, prop_path.GetPropCurve(0).GetNumKeys()) << "a constant needs one segment";
    EXPECT_GT(prop_path.GetLargestArcLength(0), 300.0);
    EXPECT_EQ(2.0, prop_path.EvalPropCurve(0, 123.0));
  }
}

TEST(PropBuilders, ValuesFollowALinearFieldAlongTheStroke) {
  // Independent reference: with values taken from a linear field over the plane, thinning, gap
  // filling and smoothing all keep every input's value equal to the field at the input, so each
  // sample's value must be the field at the sample, and the curve the field along the path.
  const auto field = [](const P& p) { return 1.0 + 0.05 * p.x - 0.03 * p.y; };
  const std::vector<P> stroke = random_stroke(5, 150);
  QvGC gc = make_gc(2.5, 0.01, 0.01);
  gc.SetPropertyTolerance(1e-4);
  struct Row { const char* name; bool fit; double bound; } rows[] = {
      {"linear", false, 1e-4},
      // Fitted curves leave the inputs by up to the fit's tolerance, and a sample's place along
      // them is matched to the inputs by arc length in proportion.
      {"fit", true, 0.03},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    QvPath2fProp1d path;
    std::unique_ptr<QvBasePathPropBuilder> b = make_prop_builder(row.fit, gc, &path);
    const Collected got = run_stroke(*b, stroke, field, 7, 0);
    ASSERT_GT(got.samples.size(), 100u);
    for (size_t k = 0; k < got.samples.size(); ++k) {
      SCOPED_TRACE(k);
      EXPECT_NEAR(field(got.samples[k]), got.values[k], row.bound);
    }
    ASSERT_EQ(1, path.HasPropCurve(0));
    EXPECT_NEAR(field(stroke[0]), path.EvalPropCurve(0, 0.0), 1e-12);
    EXPECT_NEAR(field(stroke.back()), path.EvalPropCurve(0, path.GetLargestArcLength(0)), 1e-4);
    if (row.fit) continue;
    // The linear path's nodes are the inputs, and the curve runs along their arc length.
    double run = 0.0;
    for (QvULong i = 0; i < path.NumPoints(); ++i) {
      if (i > 0) {
        const P a = path.GetPoint(i - 1), c = path.GetPoint(i);
        run += std::hypot(double(c.x) - a.x, double(c.y) - a.y);
      }
      EXPECT_NEAR(field(path.GetPoint(i)), path.EvalPropCurve(0, run), 2e-4);
    }
    EXPECT_NEAR(run, path.GetLargestArcLength(0), 1e-3);
  }
}

TEST(LinearPropBuilder, StraightRunKeepsTwoPointsOnlyWhileItsValuesKeepInLine) {
  QvGC gc = make_gc(10.0);
  gc.SetPropertyTolerance(0.02);
  std::vector<P> stroke;
  for (int i = 0; i <= 30; ++i) stroke.push_back(P(static_cast<float>(i), 0.0f));
  struct Row {
    const char* name;
    double (*value)(double x);
    QvULong min_points, max_points;
  } rows[] = {
      {"constant", [](double) { return 1.0; }, 2, 2},
      {"ramp", [](double x) { return x / 10.0; }, 2, 2},
      // Flat, a rise between 15 and 20, flat again: both knees must stay as nodes, since a line
      // from end to end would miss both flats.
      {"step", [](double x) { return x < 15.0 ? 1.0 : (x > 20.0 ? 3.0 : 1.0 + (x - 15.0) * 0.4); },
       4, 5},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    QvPath2fProp1d path;
    QvLinearPathPropBuilder b(gc, &path);
    const Collected got =
        run_stroke(b, stroke, [&row](const P& p) { return row.value(p.x); }, 100, 0);
    EXPECT_LE(row.min_points, path.NumPoints());
    EXPECT_GE(row.max_points, path.NumPoints());
    EXPECT_EQ(row.value(0.0), path.EvalPropCurve(0, 0.0));
    EXPECT_DOUBLE_EQ(row.value(30.0), path.EvalPropCurve(0, 30.0));
    if (row.min_points > 2) continue;
    // In line, the samples at 0, 10, 20 and 30 carry the values there, and so does the curve.
    ASSERT_EQ(4u, got.samples.size());
    for (size_t k = 0; k < 4; ++k) {
      EXPECT_EQ(10.0f * static_cast<float>(k), got.samples[k].x);
      EXPECT_NEAR(row.value(10.0 * static_cast<double>(k)), got.values[k], 1e-12);
    }
    for (int x = 0; x <= 30; ++x) EXPECT_NEAR(row.value(x), path.EvalPropCurve(0, x), 1e-12) << x;
  }
}

TEST(PropBuilders, SinglePointStrokeAndAskingTwice) {
  const QvGC gc = make_gc(10.0);
  for (bool fit : {false, true}) {
    SCOPED_TRACE(fit ? "fit" : "linear");
    QvPath2fProp1d path;
    std::unique_ptr<QvBasePathPropBuilder> b = make_prop_builder(fit, gc, &path);
    QvDoubleArray values(4);
    b->StartSubpath(P(3, 4), 0.75);
    const QvPoint2fArray& one = b->EndSubpathAndGetTrailingSamples(P(3, 4), 0.5, values, 0);
    ASSERT_EQ(1u, one.size);
    ASSERT_EQ(1u, values.size);
    EXPECT_EQ(3.0f, one.data[0].x);
    EXPECT_EQ(0.75, values.data[0]);
    EXPECT_EQ(1u, path.NumPoints());
    EXPECT_EQ(0.75, path.EvalPropCurve(0, 0.0));

    // Nothing new between two askings gives nothing the second time, values included.
    b->StartSubpath(P(0, 10), 1.0);
    for (int i = 1; i <= 25; ++i) b->AddInputPoint(P(static_cast<float>(i), 10.0f), 1.0, 0);
    EXPECT_EQ(3u, b->GetTrailingSamples(values).size);
    EXPECT_EQ(0u, b->GetTrailingSamples(values).size);
    EXPECT_EQ(0u, values.size);
  }
}

TEST(PropBuilders, ClosedStrokeCarriesTheFirstValueRoundTheSeam) {
  // Forced inputs and a feature size larger than the square keep every corner where it is.
  const QvGC gc = make_gc(10.0, 100.0);
  const P corners[] = {P(0, 0), P(10, 0), P(10, 10), P(0, 10)};
  for (bool fit : {false, true}) {
    SCOPED_TRACE(fit ? "fit" : "linear");
    QvPath2fProp1d path;
    std::unique_ptr<QvBasePathPropBuilder> b = make_prop_builder(fit, gc, &path);
    b->StartSubpath(corners[0], 1.0);
    b->AddInputPoint(corners[1], 2.0, 1);
    b->AddInputPoint(corners[2], 3.0, 1);
    b->EndSubpath(corners[3], 4.0, 1);
    EXPECT_EQ(1, path.IsSubpathClosed(0));
    // Keys (0, 1), (10, 2) extended along its line to (30, 4), then back to 1 at the seam.
    EXPECT_EQ(40.0, path.GetLargestArcLength(0));
    EXPECT_EQ(3u, path.GetPropCurve(0).GetNumKeys());
    EXPECT_DOUBLE_EQ(2.5, path.EvalPropCurve(0, 35.0));
    EXPECT_DOUBLE_EQ(1.0, path.EvalPropCurve(0, 40.0));
  }
}

TEST(PropBuilders, BadInputNeitherHangsNorLosesStep) {
  const float nan = std::nanf("");
  const double huge = 1e300;
  const P stroke[] = {P(1, 1), P(5, 2), P(nan, 3), P(9, 9), P(1e30f, -1e30f), P(12, 4), P(20, 0)};
  const double values_in[] = {1.0, std::nan(""), 2.0, INFINITY, 3.0, -huge, 1.0};
  const QvGC gc = make_gc(1.0);
  struct Row { const char* name; double max, min; QvULong degree; bool fit; } rows[] = {
      {"linear", 0, 0, 0, false},
      {"fit", 20.0, 0.5, 3, true},
      {"fit of degree 0", 20.0, 0.5, 0, true},
      {"fit of degree 20", 20.0, 0.5, 20, true},
      {"fit filling gaps of up to 1e9 at 1e-12", 1e9, 1e-12, 3, true},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    QvPath2fProp1d path;
    std::unique_ptr<QvBasePathPropBuilder> b;
    if (row.fit)
      b = std::make_unique<QvBezierFitPathPropBuilder>(gc, &path, row.max, row.min, 0.1,
                                                       row.degree);
    else
      b = std::make_unique<QvLinearPathPropBuilder>(gc, &path);
    QvDoubleArray values(4);
    b->StartSubpath(P(0, 0), 1.0);
    for (size_t i = 0; i < 7; ++i) {
      b->AddInputPoint(stroke[i], values_in[i], 0);
      EXPECT_EQ(b->GetTrailingSamples(values).size, values.size);
    }
    EXPECT_EQ(b->EndSubpathAndGetTrailingSamples(P(25, 0), 1.0, values, 0).size, values.size);
    EXPECT_LT(b->NumPoints(), 100000u);

    // The builder is whole again for the next stroke.
    const QvULong before = path.NumPoints();
    b->StartSubpath(P(0, 50), 2.0);
    for (int i = 1; i < 10; ++i) b->AddInputPoint(P(static_cast<float>(3 * i), 50.0f), 2.0, 0);
    b->EndSubpath(P(30, 50), 2.0, 0);
    if (row.fit && (row.degree < 3 || row.degree > 8)) continue;  // no fit: only the Moveto
    EXPECT_EQ(30.0f, path.GetCurrentPoint().x);
    EXPECT_EQ(2.0, path.EvalPropCurve(before, 15.0));
  }
}

}  // namespace
