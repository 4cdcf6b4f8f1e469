#include <gtest/gtest.h>
#include <qv/QvBezierTool.h>

#include <cmath>
#include <limits>
#include <vector>

#include "bezier/bezier_core.h"
#include "bezier_reference.h"

using bezier_test::P2;

namespace {

std::vector<P2> to_vector(const QvPoint2dArray& a) {
  std::vector<P2> v;
  for (QvULong i = 0; i < a.GetSize(); ++i) v.push_back({a[i].x, a[i].y});
  return v;
}

std::vector<QvPoint2<double>> to_points(const std::vector<P2>& v) {
  std::vector<QvPoint2<double>> p;
  for (const P2& c : v) p.emplace_back(c.x, c.y);
  return p;
}

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

TEST(BezierCore, ConversionTable) {
  EXPECT_EQ(1u, qv::internal::conversion_table(3, 3, 1));
  EXPECT_EQ(6u, qv::internal::conversion_table(3, 3, 2));
  EXPECT_EQ(6u, qv::internal::conversion_table(3, 3, 3));
  EXPECT_EQ(254u, qv::internal::conversion_table(8, 8, 2));
  EXPECT_EQ(40320u, qv::internal::conversion_table(8, 8, 8));
  EXPECT_EQ(1u, qv::internal::conversion_table(4, 0, 0));
  EXPECT_EQ(0u, qv::internal::conversion_table(3, 2, 3));  // i > j
}

TEST(BezierCore, DepthAndStepCounts) {
  struct Case {
    double value;
    QvULong depth, steps;
  };
  // clang-format off
  const Case cases[] = {
      {0.0, 0, 0},    {0.49, 0, 0},   {0.5, 0, 1},     // w = 1 empties after one shift
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
// midpoints fall at t = 1/4, 1/2, 3/4 exactly.
TEST(BezierFlatten, StraightUnevenCubicGivesMidpointsOnly) {
  const double s[] = {0, 42.34375, 68.75, 85.78125, 100};
  const QvPoint2<double> pd[4] = {{0, 0}, {210, 280}, {240, 320}, {300, 400}};
  const QvPoint2<float> pf[4] = {{0, 0}, {210, 280}, {240, 320}, {300, 400}};
  const QvPoint3<double> p3[4] = {{0, 0, 0}, {210, 280, 0}, {240, 320, 0}, {300, 400, 0}};
  QvPoint2dArray cubic2d, general2d;
  QvPoint2fArray cubic2f, general2f;
  QvPoint3dArray cubic3d;
  QvBezierTool tool;
  EXPECT_EQ(5u, QvBezierTool_FlattenCubic2d(pd, 1.0, &cubic2d, 0));
  EXPECT_EQ(5u, QvBezierTool_FlattenCubic2f(pf, 1.0, &cubic2f, 0));
  EXPECT_EQ(5u, QvBezierTool_FlattenCubic3d(p3, 1.0, &cubic3d, 0));
  EXPECT_EQ(5u, tool.Flatten(pd, 0, 3, 1.0, &general2d, 0));
  EXPECT_EQ(5u, tool.Flatten(pf, 0, 3, 1.0, &general2f, 0));
  for (QvULong i = 0; i < 5; ++i) {
    SCOPED_TRACE(i);
    EXPECT_EQ(3 * s[i], cubic2d[i].x);
    EXPECT_EQ(4 * s[i], cubic2d[i].y);
    EXPECT_EQ(3 * s[i], general2d[i].x);
    EXPECT_EQ(4 * s[i], general2d[i].y);
    EXPECT_EQ(float(3 * s[i]), cubic2f[i].x);
    EXPECT_EQ(float(4 * s[i]), general2f[i].y);
    EXPECT_EQ(3 * s[i], cubic3d[i].x);
  }
}

TEST(BezierFlatten, DepthFollowsThirdDifference) {
  struct Case {
    double end_x;
    QvULong count;
  };
  const Case cases[] = {{7.4, 2}, {8.0, 3}, {63.0, 3}, {64.0, 5}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.end_x);
    const QvPoint2<double> p[4] = {{0, 0}, {0, 0}, {0, 0}, {c.end_x, 0}};  // |T3| = end_x
    QvPoint2dArray out;
    QvBezierTool tool;
    EXPECT_EQ(c.count, QvBezierTool_FlattenCubic2d(p, 1.0, &out, 0));
    EXPECT_EQ(c.count, tool.Flatten(p, 0, 3, 1.0, &out, 0));
  }
}

// T3 = 0 keeps the depth at 0 and M = 200 across the chord, so at tolerance 1e-4 the single leaf
// wants k = 11. The double cubic stops at 2^10 steps; the float and 3D cubics and the general
// engine do not.
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
  EXPECT_EQ(8u, QvBezierTool::MaxDegreeForThisImplementation());

  QvPoint2fArray source(p, 3);
  EXPECT_EQ(0u, tool.Flatten(source, 1, 2, 0.1, &out, 0));  // runs past the array
  EXPECT_EQ(0u, tool.Flatten(p, 0, 9, 0.1, &out, 0));       // beyond the table
  EXPECT_EQ(0u, tool.Flatten(p, 0, 2, 0.1, static_cast<QvPoint2fArray*>(nullptr), 0));
  EXPECT_EQ(3u, out.GetSize());

  // Tolerances that are no distance draw the end points (and midpoints) only, and never run away.
  const QvPoint2<double> c[4] = {{0, 0}, {100, 200}, {250, -90}, {300, 0}};
  const double bad[] = {0.0, -1.0, std::nan(""), -std::numeric_limits<double>::infinity(),
                        std::numeric_limits<double>::infinity()};
  for (double tol : bad) {
    SCOPED_TRACE(tol);
    QvPoint2dArray a, b;
    EXPECT_EQ(2u, QvBezierTool_FlattenCubic2d(c, tol, &a, 0));
    EXPECT_EQ(2u, tool.Flatten(c, 0, 3, tol, &b, 0));
  }
  // Control points that live in the output array, which grows under them.
  QvPoint2dArray copy, self(c, 4);
  QvBezierTool_FlattenCubic2d(c, 0.5, &copy, 0);
  QvBezierTool_FlattenCubic2d(self.data, 0.5, &self, 0);
  ASSERT_EQ(copy.GetSize() + 4, self.GetSize());
  EXPECT_EQ(copy[copy.GetSize() - 1], self[self.GetSize() - 1]);
  QvPoint2dArray tiny;
  EXPECT_LE(tool.Flatten(c, 0, 3, 1e-300, &tiny, 0), (1u << 22) + 2u);
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
      const std::vector<QvPoint2<double>> q = to_points(ctrl);
      QvBezierTool tool;
      QvPoint2dArray out;
      const QvULong count = tool.Flatten(q.data(), 0, degree, tol, &out, 0);
      ASSERT_EQ(count, out.GetSize());
      const std::vector<P2> poly = to_vector(out);
      for (const P2& p : poly) ASSERT_LT(bezier_test::dist_to_curve(p, ctrl), 1e-9);
      if (trial >= 6) continue;  // hooks deviate along their chords, which the count ignores
      for (int i = 0; i <= 1000; ++i)
        ASSERT_LE(bezier_test::dist_to_polyline(bezier_test::eval(ctrl, i / 1000.0), poly),
                  1.25 * tol);
    }
  }
}

// The hand-folded cubic and the general engine agree, and the float cubic is the double one rounded
// on output: the state stays in double.
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
