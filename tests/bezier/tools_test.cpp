#include <gtest/gtest.h>
#include <qv/QvBezierTool.h>

#include <cmath>
#include <vector>

#include "bezier_reference.h"

using bezier_test::P2;

namespace {

struct Tagged {
  QvPoint2dArray points;
  QvPointTagArray tags;
  QvBoolArray flags;
};

// A straight cubic, evenly parameterised: it flattens to its two end points.
std::vector<QvPoint2<double>> line(double ax, double ay, double bx, double by) {
  return {{ax, ay},
          {ax + (bx - ax) / 3, ay + (by - ay) / 3},
          {ax + 2 * (bx - ax) / 3, ay + 2 * (by - ay) / 3},
          {bx, by}};
}

QvExtent2<double> box(double x0, double y0, double x1, double y1) {
  QvExtent2<double> e;
  e.min = QvPoint2<double>(x0, y0);
  e.max = QvPoint2<double>(x1, y1);
  e.state = QvExtentStates::ExtentBounded;
  return e;
}

// The gamma arc of exponent g over the unit box, drawn from u = a to u = b.
std::vector<QvPoint2<double>> gamma(double g, double a, double b) {
  return {{0, 1}, {a, 1 - std::pow(a, g)}, {b, 1 - std::pow(b, g)}, {1, 0}};
}

}  // namespace

// Runs continue across curves that join, end with flag 0 where a new curve starts elsewhere, and
// end with flag 1 where clipping cut them.
TEST(BezierClip, RunsTagsAndFlags) {
  struct Step {
    std::vector<QvPoint2<double>> curve;
  };
  const QvExtent2<double> clip = box(2, -1, 8, 1);
  const Step steps[] = {
      {line(0, 0, 9, 0)},      // clipped to (2,0)-(8,0): starts the first run
      {line(8, 0, 8, 0.5)},    // inside, joins: continues
      {line(8, 0.5, 0, 0.5)},  // clipped at x = 2, joins
      {line(2, 0.5, 2, 5)},    // clipped at y = 1, joins
      {line(5, 5, 5, -5)},     // clipped to (5,1)-(5,-1): clipping broke the run
      {line(20, 20, 30, 30)},  // wholly outside: nothing
      {line(3, 0, 4, 0)},      // inside, elsewhere: a new curve broke the run
      {line(4, -1e-9, 5, 0)},  // 1e-9 from the run's end, bound included: continues
  };
  Tagged out;
  for (const Step& s : steps)
    QvBezierTool_ClipAndFlattenCubic2d(s.curve.data(), 0.1, clip, &out.points, &out.tags,
                                       &out.flags);
  struct Want {
    double x, y;
    QvPointTag tag;
    QvLong flag;
  };
  const Want want[] = {{2, 0, TagFirst, 1},   {8, 0, TagInner, 1}, {8, 0.5, TagInner, 1},
                       {2, 0.5, TagInner, 1}, {2, 1, TagLast, 1},  {5, 1, TagFirst, 1},
                       {5, -1, TagLast, 0},   {3, 0, TagFirst, 1}, {4, 0, TagInner, 1},
                       {5, 0, TagInner, 1}};
  ASSERT_EQ(std::size(want), out.points.GetSize());
  ASSERT_EQ(std::size(want), out.tags.GetSize());
  ASSERT_EQ(std::size(want), out.flags.GetSize());
  for (QvULong i = 0; i < std::size(want); ++i) {
    SCOPED_TRACE(i);
    EXPECT_NEAR(want[i].x, out.points[i].x, 1e-12);
    EXPECT_NEAR(want[i].y, out.points[i].y, 1e-12);
    EXPECT_EQ(want[i].tag, out.tags[i]);
    EXPECT_EQ(want[i].flag, out.flags[i]);
  }

  // An empty extent, or arrays that are not parallel, leave everything as it was.
  const std::vector<QvPoint2<double>> c = line(0, 0, 1, 1);
  QvBezierTool_ClipAndFlattenCubic2d(c.data(), 0.1, QvExtent2<double>(), &out.points, &out.tags,
                                     &out.flags);
  out.tags.Add(TagFirst);
  QvBezierTool_ClipAndFlattenCubic2d(c.data(), 0.1, clip, &out.points, &out.tags, &out.flags);
  EXPECT_EQ(std::size(want), out.points.GetSize());
  EXPECT_EQ(std::size(want), out.flags.GetSize());
}

// Clipped output is the unclipped polyline cut to the extent: every point lies inside it and on
// the polyline, and the runs are well formed.
TEST(BezierClip, RandomCurvesStayInsideAndOnThePolyline) {
  std::mt19937 rng(5);
  const QvExtent2<double> clip = box(-40, -30, 50, 60);
  for (int trial = 0; trial < 100; ++trial) {
    SCOPED_TRACE(trial);
    const std::vector<P2> ctrl = bezier_test::random_polygon(rng, 4, 100);
    std::vector<QvPoint2<double>> p;
    for (const P2& c : ctrl) p.emplace_back(c.x, c.y);
    QvPoint2dArray whole;
    QvBezierTool_FlattenCubic2d(p.data(), 0.5, &whole, 0);
    std::vector<P2> poly;
    for (QvULong i = 0; i < whole.GetSize(); ++i) poly.push_back({whole[i].x, whole[i].y});
    Tagged out;
    QvBezierTool_ClipAndFlattenCubic2d(p.data(), 0.5, clip, &out.points, &out.tags, &out.flags);
    ASSERT_EQ(out.points.GetSize(), out.tags.GetSize());
    ASSERT_EQ(out.points.GetSize(), out.flags.GetSize());
    for (QvULong i = 0; i < out.points.GetSize(); ++i) {
      const QvPoint2<double>& q = out.points[i];
      EXPECT_TRUE(clip.min.x - 1e-9 <= q.x && q.x <= clip.max.x + 1e-9) << i;
      EXPECT_TRUE(clip.min.y - 1e-9 <= q.y && q.y <= clip.max.y + 1e-9) << i;
      EXPECT_LT(bezier_test::dist_to_polyline({q.x, q.y}, poly), 1e-9) << i;
      EXPECT_EQ(1, out.flags[i]);  // within one curve only clipping breaks runs
      const bool starts = i == 0 || out.tags[i - 1] == TagLast;
      EXPECT_EQ(starts, out.tags[i] == TagFirst) << i;
    }
  }
}

TEST(BezierGamma, ArcPointsAndStart) {
  const std::vector<QvPoint2<double>> p = gamma(2.0, 0.0, 0.5);  // u1 = 0: g from P[2]
  QvPoint2dArray out;
  const QvULong n = QvBezierTool_FlattenGamma(p.data(), 123.0, &out, 0);
  ASSERT_EQ(out.GetSize(), n);
  ASSERT_GE(n, 31u);  // P[0], u = 1/60 ... 29/60 (30/60 if the sum falls short), P[2]
  ASSERT_LE(n, 32u);
  EXPECT_EQ(p[0], out[0]);  // the box corner, although the stretch starts at P[1]
  EXPECT_EQ(p[2], out[n - 1]);
  for (QvULong i = 1; i + 1 < n; ++i) {
    SCOPED_TRACE(i);
    EXPECT_EQ(static_cast<double>(static_cast<float>(out[i].x)), out[i].x);  // rounded on output
    EXPECT_NEAR(double(i) / 60, out[i].x, 1e-6);
    EXPECT_NEAR(1 - out[i].x * out[i].x, out[i].y, 1e-6);
  }
  // The clipping wrapper starts the run at P[1] instead.
  Tagged t;
  QvExtent2<double> all;
  all.state = QvExtentStates::ExtentUniverse;
  QvBezierTool_ClipAndFlattenGamma(p.data(), 0.01, all, &t.points, &t.tags, &t.flags);
  ASSERT_EQ(n, t.points.GetSize());
  EXPECT_EQ(p[1], t.points[0]);
  EXPECT_EQ(TagFirst, t.tags[0]);
  EXPECT_EQ(TagInner, t.tags[n - 1]);
}

// Within 0.001 of 1, bound included, the arc is drawn as its chord.
TEST(BezierGamma, StraightBoundary) {
  struct Case {
    double g;
    bool straight;
  };
  const Case cases[] = {{1.0, true},     {1.0009, true},  {1.001, true}, {0.9991, true},
                        {1.0011, false}, {0.9989, false}, {0.5, false},  {3.0, false}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.g);
    QvPoint2dArray out;
    const QvULong n = QvBezierTool_FlattenGamma(gamma(c.g, 0.5, 0.9).data(), 0.0, &out, 1);
    if (c.straight)
      EXPECT_EQ(1u, n);
    else
      EXPECT_GT(n, 10u);
  }
  // A malformed arc within a bounded extent is drawn as its clipped chord; a degenerate box stays
  // bounded.
  Tagged t;
  const std::vector<QvPoint2<double>> bad = {{0, 0}, {0.2, 0.5}, {0.8, 0.7}, {1, 1}};
  QvBezierTool_ClipAndFlattenGamma(bad.data(), 0.01, box(0, 0, 0.5, 1), &t.points, &t.tags,
                                   &t.flags);
  ASSERT_EQ(2u, t.points.GetSize());
  EXPECT_NEAR(0.5, t.points[1].x, 1e-12);
  EXPECT_NEAR(0.6, t.points[1].y, 1e-12);
  QvPoint2dArray out;
  const std::vector<QvPoint2<double>> thin = {{0, 1}, {0, 0.5}, {1, -1}, {1e-300, 0}};
  EXPECT_LE(QvBezierTool_FlattenGamma(thin.data(), 0.0, &out, 0), 1026u);
}

TEST(BezierLocate, HandValuesAndFailures) {
  const QvPoint2<double> p[4] = {{0, 0}, {1, 0}, {2, 0}, {3, 0}};
  struct Case {
    double x, y, flatness, reach;
    QvLong found;
    double best, parameter;
  };
  const Case cases[] = {
      {3, 0, 0.1, 1.0, 1, 0.0, 1.0},  // the end: u clamps to 1 on the last segment
      {0, 0, 0.1, 1.0, 1, 0.0, 0.0},      {1.5, 0.5, 0.1, 1.0, 1, 0.25, 0.5},
      {10, 0, 0.1, 1.0, 0, 0, 0},     // outside the box grown by reach
      {1.5, 1.2, 0.1, 1.3, 0, 0, 0},  // 1.44 is above the acceptance bound 1.31
      {1.5, 1.2, 0.5, 1.3, 0, 0, 0},  // accepted at 1.55, but ends above reach
      {1.5, 1.2, 0.5, 1.5, 1, 1.44, 0.5},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << c.x << ", " << c.y << " reach " << c.reach);
    double best = 123.0, parameter = 456.0;
    ASSERT_EQ(c.found, QvBezierTool_LocatePoint2d(p, c.flatness, QvPoint2<double>(c.x, c.y),
                                                  c.reach, best, parameter));
    EXPECT_DOUBLE_EQ(c.found ? c.best : 123.0, best);
    EXPECT_EQ(c.found ? c.parameter : 456.0, parameter);
  }
}

// Against a brute-force nearest point: the search finds the true distance to within the flattening,
// and the float and 3D forms agree exactly with the double one on float-exact input.
TEST(BezierLocate, RandomPointsNearCurves) {
  std::mt19937 rng(99);
  std::uniform_real_distribution<double> unit(0.0, 1.0), offset(-3.0, 3.0);
  for (int trial = 0; trial < 60; ++trial) {
    SCOPED_TRACE(trial);
    std::vector<P2> ctrl = bezier_test::random_polygon(rng, 4, 50);
    const P2 on = bezier_test::eval(ctrl, unit(rng));
    const QvPoint2<double> q(std::round(on.x + offset(rng)), std::round(on.y + offset(rng)));
    QvPoint2<double> p[4];
    QvPoint2<float> pf[4];
    QvPoint3<double> p3[4];
    for (size_t i = 0; i < 4; ++i) {
      ctrl[i] = {std::round(ctrl[i].x), std::round(ctrl[i].y)};
      p[i] = QvPoint2<double>(ctrl[i].x, ctrl[i].y);
      pf[i] = p[i].ToFloat();
      p3[i] = QvPoint3<double>(p[i], 0.0);
    }
    double best[3] = {-1, -1, -1}, parameter[3] = {-1, -1, -1};
    const QvLong found = QvBezierTool_LocatePoint2d(p, 0.05, q, 100.0, best[0], parameter[0]);
    EXPECT_EQ(found,
              QvBezierTool_LocatePoint2f(pf, 0.05, q.ToFloat(), 100.0, best[1], parameter[1]));
    EXPECT_EQ(found, QvBezierTool_LocatePoint3d(p3, 0.05, QvPoint3<double>(q, 0.0), 100.0, best[2],
                                                parameter[2]));
    for (int form = 1; form < 3; ++form) {
      EXPECT_EQ(best[0], best[form]) << form;
      EXPECT_EQ(parameter[0], parameter[form]) << form;
    }
    const double truth = bezier_test::dist_to_curve({q.x, q.y}, ctrl);
    if (truth * truth > 100.0) continue;
    ASSERT_EQ(1, found);
    EXPECT_NEAR(truth, std::sqrt(best[0]), 2 * 0.05);
    ASSERT_TRUE(parameter[0] >= 0.0 && parameter[0] <= 1.0);
    const P2 at = bezier_test::eval(ctrl, parameter[0]);
    EXPECT_LT(bezier_test::dist({q.x, q.y}, at), std::sqrt(best[0]) + 2.0);
  }
}

// The halves of a split trace the curve: evaluated on the same grid they agree with the whole.
TEST(BezierSplit, HalvesFollowTheCurve) {
  const QvPoint3<double> p[4] = {{0, 0, 0}, {3, 6, -3}, {9, 6, 3}, {12, 0, 12}};
  QvPoint3<double> out[5];
  QvBezierTool_SplitCubic3d(p, out, 0.5);
  EXPECT_EQ(QvPoint3<double>(6, 4.5, 1.5), out[2]);  // (P0 + 3 P1 + 3 P2 + P3) / 8
  const auto eval3 = [](const QvPoint3<double>* c, double s) {
    std::vector<P2> xy, z;
    for (int i = 0; i < 4; ++i) xy.push_back({c[i].x, c[i].y}), z.push_back({c[i].z, 0});
    const P2 a = bezier_test::eval(xy, s);
    return QvPoint3<double>(a.x, a.y, bezier_test::eval(z, s).x);
  };
  for (double t : {0.25, 0.7}) {
    SCOPED_TRACE(t);
    QvBezierTool_SplitCubic3d(p, out, t);
    const QvPoint3<double> left[4] = {p[0], out[0], out[1], out[2]};
    const QvPoint3<double> right[4] = {out[2], out[3], out[4], p[3]};
    for (double s = 0; s <= 1.0; s += 0.125) {
      EXPECT_EQ(eval3(p, s * t), eval3(left, s)) << s;
      EXPECT_EQ(eval3(p, t + s * (1 - t)), eval3(right, s)) << s;
    }
  }
}

TEST(BezierTightExtent, BoundsTheCurveCloserThanItsPolygon) {
  const QvPoint2<double> arch[4] = {{-1, 0}, {0, 4}, {4, 4}, {4, 0}};
  QvExtent2<double> e;
  QvBezierTool_AugmentExtentWithCubic2dTightExtent(e, arch, 0);
  EXPECT_EQ(QvExtentStates::ExtentBounded, e.state);
  EXPECT_EQ(QvPoint2<double>(-1, 0), e.min);
  EXPECT_EQ(QvPoint2<double>(4, 3), e.max);  // the polygon reaches 4, the curve 3
  QvExtent2<float> f;
  const QvPoint2<float> arch_f[4] = {{-1, 0}, {0, 4}, {4, 4}, {4, 0}};
  QvBezierTool_AugmentExtentWithCubic2fTightExtent(f, arch_f, 1);
  EXPECT_EQ(-0.75f, f.min.x);  // without P[0], the first point is the first quarter's P[1]
  EXPECT_EQ(3.0f, f.max.y);
  QvExtent2<double> all;
  all.state = QvExtentStates::ExtentUniverse;
  QvBezierTool_AugmentExtentWithCubic2dTightExtent(all, arch, 0);
  EXPECT_EQ(QvExtentStates::ExtentUniverse, all.state);
}
