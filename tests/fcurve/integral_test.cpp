#include "curve_builder.h"

#include <gtest/gtest.h>

#include <random>

using qv::test::append_key;
using qv::test::fill_random;
using qv::test::set_extrapolation;
using Base = QvBaseFCurve;

namespace {

// Composite Simpson over each stretch where the curve is smooth: the key parameters split the
// range so that no jump falls inside a panel.
double numeric_integral(const QvStdFCurve& curve, double from, double to) {
  std::vector<double> cuts{from};
  const QvStdFCurveImpl& body = *curve.GetImpl();
  for (QvULong i = 0; i < body.m_numKeys; ++i)
    if (body.Key(i).parameter > from && body.Key(i).parameter < to)
      cuts.push_back(body.Key(i).parameter);
  cuts.push_back(to);
  double sum = 0.0;
  for (size_t c = 0; c + 1 < cuts.size(); ++c) {
    const int panels = 2000;
    const double h = (cuts[c + 1] - cuts[c]) / panels;
    // Stay clear of the ends by a hair so that jumps at keys are read from the inside.
    auto f = [&](int k) {
      double x = cuts[c] + h * k;
      if (k == 0) x += 1e-11;
      if (k == panels) x -= 1e-11;
      return curve.Eval(x, 0);
    };
    double s = f(0) + f(panels);
    for (int k = 1; k < panels; ++k) s += f(k) * (k % 2 == 1 ? 4.0 : 2.0);
    sum += s * h / 3.0;
  }
  return sum;
}

}  // namespace

TEST(StdFCurveIntegral, MatchesNumericIntegration) {
  std::mt19937 rng(5);
  std::uniform_real_distribution<double> unit(0.0, 1.0);
  for (int trial = 0; trial < 12; ++trial) {
    SCOPED_TRACE(trial);
    QvStdFCurve curve;
    fill_random(curve, rng, 6);
    const QvStdFCurveImpl& body = *curve.GetImpl();
    const double first = body.Key(0).parameter;
    const double last = body.Key(5).parameter;
    const double from = first - 1.0 + unit(rng) * (last - first);
    const double to = from + unit(rng) * (last - from + 1.0);
    EXPECT_NEAR(numeric_integral(curve, from, to), curve.EvalIntegral(from, to), 1e-7);
    EXPECT_NEAR(-curve.EvalIntegral(from, to), curve.EvalIntegral(to, from), 1e-12);
  }
}

// Outside the keys the curve counts as its end values, whatever the extrapolation says.
TEST(StdFCurveIntegral, EndsAndExtrapolation) {
  for (auto method : {Base::ExtrapolationConstant, Base::ExtrapolationLinear,
                      Base::ExtrapolationCycle, Base::ExtrapolationCycleOffset}) {
    SCOPED_TRACE(method);
    QvStdFCurve curve;
    append_key(curve, 0.0, 2.0, Base::FSConstant);
    append_key(curve, 2.0, 4.0, 5.0, Base::FSLinear);
    append_key(curve, 4.0, 7.0, Base::FSLinear);
    set_extrapolation(curve, method);
    // 1 * 2 before, 2 * 2 constant, (5 + 7) / 2 * 2 linear, 1 * 7 after.
    EXPECT_DOUBLE_EQ(25.0, curve.EvalIntegral(-1.0, 5.0));
    EXPECT_DOUBLE_EQ(6.5, curve.EvalIntegral(3.0, 4.0));
    EXPECT_EQ(0.0, curve.EvalIntegral(1.5, 1.5));
  }
}
