#include "curve_builder.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

using qv::test::append_key;
using qv::test::fill_random;
using qv::test::set_extrapolation;
using Curve = QvStdFCurve;
using Base = QvBaseFCurve;

namespace {

// Keys at 0 and 10 with values 1 and 3, joined by a straight segment.
void two_key_line(Curve& curve) {
  append_key(curve, 0.0, 1.0, Base::FSLinear);
  append_key(curve, 10.0, 3.0, Base::FSLinear);
}

}  // namespace

TEST(StdFCurveEval, EmptyCurveGivesItsValueInEveryMethod) {
  for (int method = 0; method <= 5; ++method) {
    SCOPED_TRACE(method);
    Curve curve(-2.5, Base::FSBezierCubic);
    set_extrapolation(curve, static_cast<Base::ExtrapolationMethod>(method));
    for (double x : {-1e9, 0.0, 3.0}) {
      EXPECT_EQ(-2.5, curve.Eval(x, 0));
      EXPECT_EQ(-2.5, curve.EvalLeft(x, 1));
    }
    EXPECT_EQ(-2.5, curve.GetValueUpperBound(0));
    EXPECT_EQ(-2.5, curve.GetValueLowerBound(0));
    EXPECT_EQ(-5.0, curve.EvalIntegral(0.0, 2.0));
  }
}

TEST(StdFCurveEval, ExtrapolationFigures) {
  struct Case {
    const char* name;
    Base::ExtrapolationMethod method;
    double x;
    double eval, evalLeft;
  };
  const Case cases[] = {
      {"constant before", Base::ExtrapolationConstant, -4.0, 1.0, 1.0},
      {"constant after", Base::ExtrapolationConstant, 14.0, 3.0, 3.0},
      {"linear before", Base::ExtrapolationLinear, -10.0, -1.0, -1.0},
      {"linear after", Base::ExtrapolationLinear, 20.0, 5.0, 5.0},
      {"cycle at the last key restarts", Base::ExtrapolationCycle, 10.0, 1.0, 3.0},
      {"cycle at the first key closes the last cycle", Base::ExtrapolationCycle, 0.0, 1.0, 3.0},
      {"cycle inside", Base::ExtrapolationCycle, 15.0, 2.0, 2.0},
      {"cycle before", Base::ExtrapolationCycle, -5.0, 2.0, 2.0},
      {"offset adds a period's step", Base::ExtrapolationCycleOffset, 15.0, 4.0, 4.0},
      {"offset on the seam", Base::ExtrapolationCycleOffset, 20.0, 5.0, 5.0},
      {"offset at the last key", Base::ExtrapolationCycleOffset, 10.0, 3.0, 3.0},
      {"offset at the first key", Base::ExtrapolationCycleOffset, 0.0, 1.0, 1.0},
      {"offset one period back", Base::ExtrapolationCycleOffset, -5.0, 0.0, 0.0},
      {"unknown method acts as constant", static_cast<Base::ExtrapolationMethod>(9), 14.0, 3.0,
       3.0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    Curve curve;
    two_key_line(curve);
    set_extrapolation(curve, c.method);
    EXPECT_DOUBLE_EQ(c.eval, curve.Eval(c.x, 0));
    EXPECT_DOUBLE_EQ(c.evalLeft, curve.EvalLeft(c.x, 0));
  }
}

// A parameter that misses a key by rounding lands on it: the jump's right value for Eval, the
// arrival for EvalLeft. Beyond the snap the segment is evaluated as it stands.
TEST(StdFCurveEval, SnapOntoAJump) {
  Curve curve;
  append_key(curve, 0.0, 0.0, Base::FSLinear);
  append_key(curve, 1.0, 1.0, 5.0, Base::FSLinear);
  append_key(curve, 2.0, 5.0, Base::FSConstant);
  EXPECT_EQ(5.0, curve.Eval(1.0 - 1e-13, 0));
  EXPECT_EQ(1.0, curve.EvalLeft(1.0 - 1e-13, 0));
  EXPECT_EQ(5.0, curve.Eval(1.0 + 1e-13, 0));
  EXPECT_NEAR(1.0 - 1e-11, curve.Eval(1.0 - 1e-11, 0), 1e-15);
  // After a constant segment the arrival is the previous key's right value.
  append_key(curve, 3.0, 9.0, Base::FSLinear);
  EXPECT_EQ(5.0, curve.EvalLeft(3.0, 0));
  EXPECT_EQ(9.0, curve.Eval(3.0, 0));
}

TEST(StdFCurveEval, ClampPassesNaN) {
  Curve curve;
  append_key(curve, 0.0, -3.0, Base::FSLinear);
  append_key(curve, 1.0, 3.0, Base::FSLinear);
  append_key(curve, 2.0, std::numeric_limits<double>::quiet_NaN(), Base::FSLinear);
  curve.GetImpl()->m_clampMin = -1.0;
  curve.GetImpl()->m_clampMax = 1.0;
  EXPECT_EQ(-1.0, curve.Eval(0.0, 1));
  EXPECT_EQ(1.0, curve.Eval(1.0, 1));
  EXPECT_EQ(3.0, curve.Eval(1.0, 0));
  EXPECT_EQ(0.0, curve.Eval(0.5, 1));
  EXPECT_TRUE(std::isnan(curve.Eval(2.0, 1)));
}

// Folding maps into the key range only when the curve cycles and has a range to cycle over.
TEST(StdFCurveEval, Folding) {
  Curve curve;
  two_key_line(curve);
  EXPECT_EQ(25.0, curve.FoldParameter(25.0));  // not cycling: unchanged
  set_extrapolation(curve, Base::ExtrapolationCycle);
  EXPECT_DOUBLE_EQ(5.0, curve.FoldParameter(25.0));
  EXPECT_DOUBLE_EQ(5.0, curve.FoldParameter(-15.0));
  EXPECT_EQ(0.0, curve.FoldParameter(20.0));
  EXPECT_EQ(10.0, curve.FoldParameter(-10.0));
  EXPECT_EQ(10.0, curve.FoldParameter(10.0 - 1e-13));  // snapped onto the key
  for (auto method : {Base::ExtrapolationCycle, Base::ExtrapolationCycleOffset}) {
    SCOPED_TRACE(method);
    Curve single;
    append_key(single, 2.0, -1.0, 4.0, Base::FSBezierCubic);
    set_extrapolation(single, method);
    EXPECT_EQ(-1.0, single.Eval(-7.0, 0));
    EXPECT_EQ(4.0, single.Eval(2.0, 0));
    EXPECT_EQ(4.0, single.Eval(9.0, 0));
    EXPECT_EQ(9.0, single.FoldParameter(9.0));
  }
}

// The handle rules, checked through the evaluated handles that KeyInfo also reports.
TEST(StdFCurveEval, ResolvedHandles) {
  using namespace qv::internal;
  struct Case {
    const char* name;
    std::uint16_t flags;
    double left_x, left_y, right_x, right_y;  // relative to the key
  };
  // Keys (0, 0), (1, 1), (3, 5); the middle key has stored handles (0.8, 0.7) and (1.5, 1.2).
  const Case cases[] = {
      {"stored", 0, -0.2, -0.3, 0.5, 0.2},
      {"flat keeps the stored x", kFlagTangentFlat, -0.2, 0.0, 0.5, 0.0},
      {"zero length", kFlagTangentZeroLength, 0.0, 0.0, 0.0, 0.0},
      // Automatic: slope of the chord between the neighbours, 5/3. The left handle sits one third
      // of the way to the previous key; the right one keeps its x, the next key being manual.
      {"automatic", kFlagTangentAutomatic, -1.0 / 3.0, -5.0 / 9.0, 0.5, 5.0 / 6.0},
      // Linear: slope of the chord on each side, at the stored x.
      {"linear", kFlagTangentLinear, -0.2, -0.2, 0.5, 1.0},
      // Monotone neighbours: not an extremum, so the stored handles stand.
      {"flat at extremum, not one", kFlagTangentFlatAtExtremum, -0.2, -0.3, 0.5, 0.2},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    Curve curve;
    append_key(curve, 0.0, 0.0, Base::FSBezierCubic);
    QvStdFCurveKey& key = append_key(curve, 1.0, 1.0, Base::FSBezierCubic, c.flags);
    key.leftHandle = QvPoint2<double>(0.8, 0.7);
    key.rightHandle = QvPoint2<double>(1.5, 1.2);
    append_key(curve, 3.0, 5.0, Base::FSBezierCubic);
    QvPoint2<double> left, right;
    ASSERT_EQ(1, curve.GetEvaluatedKeyTgtHandles(1.0, left, right, 0.0));
    EXPECT_NEAR(c.left_x, left.x, 1e-15);
    EXPECT_NEAR(c.left_y, left.y, 1e-15);
    EXPECT_NEAR(c.right_x, right.x, 1e-15);
    EXPECT_NEAR(c.right_y, right.y, 1e-15);
    QvBaseFCurve::KeyInfo info{};
    info.mask = 0x1FF;
    ASSERT_EQ(1, curve.GetKeyInfoFromIndex(1, &info));
    EXPECT_EQ(left.y, info.leftTangentY);
    EXPECT_EQ(right.x, info.rightTangentX);
    ASSERT_EQ(1, curve.GetActualKeyTgtHandles(1.0, left, right, 0.0));
    EXPECT_NEAR(-0.3, left.y, 1e-15);
    EXPECT_NEAR(0.5, right.x, 1e-15);
  }
  // A peak is an extremum: both handles go level.
  Curve peak;
  append_key(peak, 0.0, 0.0, Base::FSBezierCubic);
  QvStdFCurveKey& top = append_key(peak, 1.0, 2.0, Base::FSBezierCubic, kFlagTangentFlatAtExtremum);
  top.leftHandle = QvPoint2<double>(0.8, 2.5);
  append_key(peak, 3.0, 0.0, Base::FSBezierCubic);
  QvPoint2<double> handle;
  ASSERT_EQ(1, peak.GetEvaluatedKeyTgtHandle(1.0, Base::KeySideLeft, handle, 0.0));
  EXPECT_NEAR(-0.2, handle.x, 1e-15);
  EXPECT_EQ(0.0, handle.y);
}

TEST(StdFCurveEval, CubicWithThirdHandlesIsTheLine) {
  Curve curve(QvPoint2<double>(0.0, 1.0), QvPoint2<double>(1.0, 2.0), QvPoint2<double>(2.0, 3.0),
              QvPoint2<double>(3.0, 4.0), Base::FSBezierCubic, Base::FSBezierCubic);
  ASSERT_EQ(2u, curve.GetNumKeys());
  for (double x = 0.0; x <= 3.0; x += 0.125) EXPECT_NEAR(1.0 + x, curve.Eval(x, 0), 1e-9) << x;
  // Linear extrapolation follows the stored handles outward: the outer handles are on the keys,
  // so the inner ones give the slope.
  set_extrapolation(curve, Base::ExtrapolationLinear);
  EXPECT_NEAR(-1.0, curve.Eval(-2.0, 0), 1e-12);
  EXPECT_NEAR(6.0, curve.Eval(5.0, 0), 1e-12);
}

TEST(StdFCurveEval, SolveBezierAgainstBisection) {
  std::mt19937 rng(3);
  std::uniform_real_distribution<double> unit(0.0, 1.0);
  for (int trial = 0; trial < 300; ++trial) {
    const double x0 = unit(rng) * 4.0 - 2.0;
    const double x3 = x0 + 0.01 + unit(rng) * 5.0;
    const double x1 = x0 + (x3 - x0) * unit(rng) * 0.6;
    const double x2 = x3 - (x3 - x0) * unit(rng) * 0.6;
    if (!QvStdFCurve_IsCubicSegmentValid(QvPoint2<double>(x0, 0), QvPoint2<double>(x1, 0),
                                         QvPoint2<double>(x2, 0), QvPoint2<double>(x3, 0)))
      continue;
    const qv::internal::CubicPolynomial poly = qv::internal::bezier_polynomial(x0, x1, x2, x3);
    const double x = x0 + (x3 - x0) * unit(rng);
    double lo = 0.0, hi = 1.0;
    for (int i = 0; i < 200; ++i) (poly.At(0.5 * (lo + hi)) < x ? lo : hi) = 0.5 * (lo + hi);
    const double t = qv::internal::solve_bezier(x, x0, x1, x2, x3);
    ASSERT_NEAR(x, poly.At(t), 1e-8 * (x3 - x0)) << trial;
    ASSERT_NEAR(lo, t, 1e-6) << trial;
  }
  EXPECT_EQ(0.0, qv::internal::solve_bezier(-1.0, 0.0, 1.0, 2.0, 3.0));
  EXPECT_EQ(1.0, qv::internal::solve_bezier(3.0, 0.0, 1.0, 2.0, 3.0));
}

TEST(StdFCurveEval, CubicSegmentValidity) {
  struct Case {
    const char* name;
    double x0, x1, x2, x3;
    QvLong want;
  };
  const Case cases[] = {
      {"handles at thirds", 0, 1, 2, 3, 1},
      {"handles on the keys", 0, 0, 3, 3, 1},
      {"empty span", 1, 1, 1, 1, 0},
      {"first handle before the start", 0, -0.1, 2, 3, 0},
      {"second handle after the end", 0, 1, 3.1, 3, 0},
      {"crossing handles that stay monotonic", 0, 2, 1, 3, 1},
      {"first handle beyond the end", 0, 5, 2.5, 3, 0},
      {"NaN", 0, std::numeric_limits<double>::quiet_NaN(), 2, 3, 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(c.want, QvStdFCurve_IsCubicSegmentValid(
                          QvPoint2<double>(c.x0, 7), QvPoint2<double>(c.x1, -3),
                          QvPoint2<double>(c.x2, 1e30), QvPoint2<double>(c.x3, 0)));
  }
}
