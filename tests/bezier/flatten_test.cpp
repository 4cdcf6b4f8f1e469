#include <gtest/gtest.h>
#include <qv/QvBezierTool.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

#include "bezier/bezier_core.h"
#include "bezier_reference.h"

using bezier_test::P2;

namespace {

// Evenly parameterised graphs of y over x: the shape of the function curves the library draws.
std::vector<P2> random_graph(std::mt19937& rng, unsigned degree) {
  std::uniform_real_distribution<double> height(-0.5, 0.5), length(1.0, 200.0), angle(0.0, 6.283);
  const double l = length(rng), a = angle(rng);
  std::vector<P2> c(degree + 1);
  for (unsigned i = 0; i <= degree; ++i) {
    const double x = double(i) / degree, y = (i == 0 || i == degree) ? 0.0 : height(rng);
    c[i] = {l * (x * std::cos(a) - y * std::sin(a)), l * (x * std::sin(a) + y * std::cos(a))};
  }
  return c;
}

}  // namespace

// The depth and step rules at their rounding edges: w = truncate(value + 0.5), emptied by shifts.
TEST(BezierCore, DepthAndStepCounts) {
  struct Case {
    double value;
    QvULong depth, steps;
  };
  // clang-format off
  const Case cases[] = {
      {0.0, 0, 0},    {0.49, 0, 0},   {0.5, 0, 1},     // w = 1 empties after one shift
      {0.49999999999999994, 0, 1},                     // v + 0.5 rounds to 1.0: w = 1
      {3.4, 0, 1},    {3.5, 0, 2},    {7.4, 0, 2},     // |T3| = 7.4 at tolerance 1: depth 0
      {8.0, 1, 2},    {63.4, 1, 3},   {63.5, 2, 4},    {1e6, 6, 10},
      {2147483646.0, 10, 16},  {3e9, 10, 16},          // past 31 bits v counts down by quarters
      {-5.0, 0, 0},   {std::nan(""), 0, 0},  {std::numeric_limits<double>::infinity(), 0, 0},
  };
  // clang-format on
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << c.value);
    EXPECT_EQ(c.depth, qv::internal::subdivision_depth(c.value));
    EXPECT_EQ(c.steps, qv::internal::leaf_log2_steps(c.value, 30));
  }
  EXPECT_EQ(10u, qv::internal::subdivision_depth(1e300));  // saturates at 32 bits
  EXPECT_EQ(12u, qv::internal::leaf_log2_steps(1e300, 12));
}

// A straight cubic has no inner points however unevenly its control points are spaced: only the
// subdivision midpoints remain. Along (3, 4) at 0, 70, 80, 100, |T3| = 350 gives depth 2, and the
// midpoints fall at t = 1/4, 1/2, 3/4 exactly. Along x at 0, 0, 0, e, |T3| = e: at tolerance 1,
// 7.4 rounds to w = 7 and depth 0, 8 gives depth 1, 64 depth 2.
// The leaf step scales by powers of two with a product; it must round exactly as ldexp does,
// subnormal, overflowing and out-of-range exponents included.
TEST(BezierCore, PowerOfTwoScaleMatchesLdexp) {
  std::mt19937_64 rng(7);
  std::uniform_real_distribution<double> mantissa(-2.0, 2.0);
  std::uniform_int_distribution<int> exponent(-1200, 1200);
  const double specials[] = {0.0, -0.0, 1e300, -1e-300, 4.9e-324, std::numeric_limits<double>::infinity()};
  for (int i = 0; i < 200000; ++i) {
    const double x = i < 6 ? specials[i] : std::ldexp(mantissa(rng), exponent(rng) / 2);
    const int e = exponent(rng);
    const double want = std::ldexp(x, e), got = qv::internal::times_power_of_two(x, e);
    ASSERT_EQ(0, std::memcmp(&want, &got, sizeof want)) << x << " * 2^" << e;
  }
  EXPECT_TRUE(std::isnan(qv::internal::times_power_of_two(std::nan(""), -3)));
}

TEST(BezierFlatten, StraightUnevenCubicGivesMidpointsOnly) {
  const double s[] = {0, 42.34375, 68.75, 85.78125, 100};
  const QvPoint2<double> pd[4] = {{0, 0}, {210, 280}, {240, 320}, {300, 400}};
  const QvPoint2<float> pf[4] = {{0, 0}, {210, 280}, {240, 320}, {300, 400}};
  QvPoint2dArray cubic, general;
  QvPoint2fArray general_f;
  QvBezierTool tool;
  EXPECT_EQ(5u, QvBezierTool_FlattenCubic2d(pd, 1.0, &cubic, 0));
  EXPECT_EQ(5u, tool.Flatten(pd, 0, 3, 1.0, &general, 0));
  EXPECT_EQ(5u, tool.Flatten(pf, 0, 3, 1.0, &general_f, 0));
  for (QvULong i = 0; i < 5; ++i) {
    SCOPED_TRACE(i);
    EXPECT_EQ(QvPoint2<double>(3 * s[i], 4 * s[i]), cubic[i]);
    EXPECT_EQ(QvPoint2<double>(3 * s[i], 4 * s[i]), general[i]);
    EXPECT_EQ(float(4 * s[i]), general_f[i].y);
  }
  const double ends[] = {7.4, 8.0, 63.0, 64.0};
  const QvULong counts[] = {2, 3, 3, 5};
  for (int i = 0; i < 4; ++i) {
    SCOPED_TRACE(ends[i]);
    const QvPoint2<double> p[4] = {{0, 0}, {0, 0}, {0, 0}, {ends[i], 0}};
    QvPoint2dArray out;
    EXPECT_EQ(counts[i], QvBezierTool_FlattenCubic2d(p, 1.0, &out, 0));
    EXPECT_EQ(counts[i], tool.Flatten(p, 0, 3, 1.0, &out, 0));
  }
}

// T3 = 0 keeps the depth at 0 and M = 200 across the chord, so at tolerance 1e-4 the single leaf
// wants k = 11. The double cubic stops at 2^10 steps; the float and 3D cubics and the general
// engine do not. A size bound only counts, so it follows the rule far past what is ever walked.
TEST(BezierFlatten, LeafCapOfDoubleCubicOnly) {
  const QvPoint2<double> pd[4] = {{0, 0}, {100, 200}, {200, 200}, {300, 0}};
  const QvPoint2<float> pf[4] = {{0, 0}, {100, 200}, {200, 200}, {300, 0}};
  const QvPoint3<double> p3[4] = {{0, 0, 5}, {100, 200, 5}, {200, 200, 5}, {300, 0, 5}};
  QvPoint2dArray a2d, general;
  QvPoint2fArray a2f;
  QvPoint3dArray a3d;
  QvBezierTool tool;
  EXPECT_EQ(1023u + 2u, QvBezierTool_FlattenCubic2d(pd, 1e-4, &a2d, 0));
  EXPECT_EQ(2047u + 2u, QvBezierTool_FlattenCubic2f(pf, 1e-4, &a2f, 0));
  EXPECT_EQ(2047u + 1u, QvBezierTool_FlattenCubic3d(p3, 1e-4, &a3d, 1));
  EXPECT_EQ(2047u + 2u, tool.Flatten(pd, 0, 3, 1e-4, &general, 0));
  EXPECT_EQ(2049u, tool.FlatPolylineSizeUpperBound(pf, 0, 3, 1e-4));
  EXPECT_EQ((1u << 25) + 1u, tool.FlatPolylineSizeUpperBound(pf, 0, 3, 3e-13));  // v = 5e14
  // The walk ends where it should: the last inner point is one step before P[3].
  const P2 last = bezier_test::eval({{0, 0}, {100, 200}, {200, 200}, {300, 0}}, 1023.0 / 1024.0);
  EXPECT_NEAR(last.x, a2d[1023].x, 1e-9);
  EXPECT_NEAR(last.y, a2d[1023].y, 1e-9);
}

// A closed loop has no chord to measure across; it must still be flattened, not dropped.
TEST(BezierFlatten, NullChordLoop) {
  const QvPoint2<double> p[4] = {{0, 0}, {10, 10}, {-10, 10}, {0, 0}};
  QvPoint2dArray cubic, general;
  QvBezierTool tool;
  ASSERT_EQ(3u, QvBezierTool_FlattenCubic2d(p, 10.0, &cubic, 0));
  ASSERT_EQ(3u, tool.Flatten(p, 0, 3, 10.0, &general, 0));
  EXPECT_EQ(0.0, cubic[1].x);
  EXPECT_EQ(7.5, cubic[1].y);
  EXPECT_EQ(7.5, general[1].y);
}

TEST(BezierFlatten, TrivialDegreesAndBadInput) {
  const QvPoint2<float> p[3] = {{1, 2}, {3, 4}, {5, 6}};
  QvBezierTool tool;
  QvPoint2fArray out;
  EXPECT_EQ(2u, tool.Flatten(p, 1, 0, 0.1, &out, 0));  // degree 0: the one point twice
  EXPECT_EQ(1u, tool.Flatten(p, 1, 1, 0.1, &out, 1));
  ASSERT_EQ(3u, out.GetSize());
  EXPECT_EQ(3.0f, out[0].x);
  EXPECT_EQ(3.0f, out[1].x);
  EXPECT_EQ(5.0f, out[2].x);
  EXPECT_EQ(2u, tool.FlatPolylineSizeUpperBound(p, 0, 1, 0.1));
  const QvPoint2fArray source(p, 3);
  EXPECT_EQ(0u, tool.Flatten(source, 1, 2, 0.1, &out, 0));  // runs past the array
  EXPECT_EQ(0u, tool.Flatten(p, 0, 9, 0.1, &out, 0));       // beyond the table
  EXPECT_EQ(3u, out.GetSize());

  // Tolerances that are no distance draw the end points only, and never run away.
  const QvPoint2<double> c[4] = {{0, 0}, {100, 200}, {250, -90}, {300, 0}};
  const double bad[] = {0.0, -1.0, std::nan(""), -std::numeric_limits<double>::infinity(),
                        std::numeric_limits<double>::infinity()};
  for (double tol : bad) {
    SCOPED_TRACE(tol);
    QvPoint2dArray a, b;
    EXPECT_EQ(2u, QvBezierTool_FlattenCubic2d(c, tol, &a, 0));
    EXPECT_EQ(2u, tool.Flatten(c, 0, 3, tol, &b, 0));
  }
  QvPoint2dArray tiny;
  EXPECT_LE(tool.Flatten(c, 0, 3, 1e-300, &tiny, 0), (1u << 22) + 2u);
  // Control points that live in the output array, which grows under them.
  QvPoint2dArray copy, self(c, 4);
  QvBezierTool_FlattenCubic2d(c, 0.5, &copy, 0);
  QvBezierTool_FlattenCubic2d(self.data, 0.5, &self, 0);
  ASSERT_EQ(copy.GetSize() + 4, self.GetSize());
  EXPECT_EQ(copy[copy.GetSize() - 1], self[self.GetSize() - 1]);
}

// Every emitted point lies on the curve, and the curve stays within the tolerance of the polyline.
// The step count bounds the deviation across each leaf's chord; on evenly parameterised curves the
// leaves are nearly even too, so the whole deviation stays within a quarter more than that.
TEST(BezierFlatten, RandomCurvesOfEveryDegree) {
  std::mt19937 rng(20261123);
  const double tolerances[] = {0.05, 0.25, 1.0};
  for (unsigned degree = 2; degree <= 8; ++degree) {
    for (int trial = 0; trial < 12; ++trial) {
      const double tol = tolerances[trial % 3];
      const std::vector<P2> ctrl =
          trial < 6 ? random_graph(rng, degree) : bezier_test::random_polygon(rng, degree + 1, 100);
      SCOPED_TRACE(testing::Message() << "degree " << degree << " trial " << trial);
      std::vector<QvPoint2<double>> q;
      for (const P2& c : ctrl) q.emplace_back(c.x, c.y);
      QvBezierTool tool;
      QvPoint2dArray out;
      const QvULong count = tool.Flatten(q.data(), 0, degree, tol, &out, 0);
      ASSERT_EQ(count, out.GetSize());
      std::vector<P2> poly;
      for (QvULong i = 0; i < out.GetSize(); ++i) poly.push_back({out[i].x, out[i].y});
      for (const P2& p : poly) ASSERT_LT(bezier_test::dist_to_curve(p, ctrl), 1e-9);
      if (trial >= 6) continue;  // hooks deviate along their chords, which the count ignores
      for (int i = 0; i <= 1000; ++i)
        ASSERT_LE(bezier_test::dist_to_polyline(bezier_test::eval(ctrl, i / 1000.0), poly),
                  1.25 * tol);
    }
  }
}

// The hand-folded cubic and the general engine agree, the float cubic is the double one rounded on
// output (the state stays in double), and a planar 3D cubic walks exactly as the 2D one.
TEST(BezierFlatten, CubicFormsAgree) {
  std::mt19937 rng(7);
  std::uniform_real_distribution<float> coord(-100.0f, 100.0f);
  for (int trial = 0; trial < 200; ++trial) {
    SCOPED_TRACE(trial);
    QvPoint2<float> pf[4];
    QvPoint2<double> pd[4];
    QvPoint3<double> p3[4];
    for (int i = 0; i < 4; ++i) {
      pf[i] = QvPoint2<float>(coord(rng), coord(rng));
      pd[i] = pf[i].ToDouble();
      p3[i] = QvPoint3<double>(pd[i], 0.0);
    }
    const double tol = trial % 2 ? 0.25 : 1.0;
    QvPoint2dArray cubic, general;
    QvPoint2fArray rounded;
    QvPoint3dArray spatial;
    QvBezierTool tool;
    QvBezierTool_FlattenCubic2d(pd, tol, &cubic, 1);
    tool.Flatten(pd, 0, 3, tol, &general, 1);
    QvBezierTool_FlattenCubic2f(pf, tol, &rounded, 1);
    QvBezierTool_FlattenCubic3d(p3, tol, &spatial, 1);
    ASSERT_EQ(cubic.GetSize(), general.GetSize());
    ASSERT_EQ(cubic.GetSize(), rounded.GetSize());
    ASSERT_EQ(cubic.GetSize(), spatial.GetSize());
    for (QvULong i = 0; i < cubic.GetSize(); ++i) {
      EXPECT_NEAR(cubic[i].x, general[i].x, 1e-9);
      EXPECT_NEAR(cubic[i].y, general[i].y, 1e-9);
      EXPECT_EQ(static_cast<float>(cubic[i].x), rounded[i].x);
      EXPECT_EQ(static_cast<float>(cubic[i].y), rounded[i].y);
      EXPECT_EQ(cubic[i].x, spatial[i].x);
      EXPECT_EQ(0.0, spatial[i].z);
    }
  }
}
