#include <gtest/gtest.h>
#include <qv/QvBooleanFCurve.h>
#include <qv/QvIntegerFCurve.h>
#include <qv/QvTransfo4.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

namespace {

struct RefKey {
  double t;
  int v;
};

// The step function written plainly: the value of the last key at or before t, the value before
// the first key ahead of it; under the cycling methods t is first brought into the key range.
double reference(const std::vector<RefKey>& keys, int before, int method, double t) {
  const double first = keys.front().t;
  const double last = keys.back().t;
  if ((method == 3 || method == 4) && keys.size() >= 2) {
    const double period = last - first;
    double r = std::fmod(t - first, period);
    if (r < 0) r += period;
    t = first + r;
  }
  int v = before;
  for (const RefKey& k : keys)
    if (k.t <= t) v = k.v;
  return v;
}

template <class Curve>
void check_against_reference(std::mt19937& rng, bool boolean) {
  std::uniform_real_distribution<double> gap(0.1, 2.0);
  std::uniform_int_distribution<int> value(boolean ? 0 : -50, boolean ? 1 : 50);
  std::uniform_int_distribution<int> count(2, 30);
  for (int round = 0; round < 20; ++round) {
    Curve curve(0.0);
    std::vector<RefKey> keys;
    double t = gap(rng) - 3.0;
    const int n = count(rng);
    for (int i = 0; i < n; ++i) {
      keys.push_back(RefKey{t, value(rng)});
      t += gap(rng);
    }
    // Inserted out of order so that the searches see every kind of insertion.
    std::vector<int> order(keys.size());
    for (std::size_t i = 0; i < order.size(); ++i) order[i] = static_cast<int>(i);
    std::shuffle(order.begin(), order.end(), rng);
    for (int i : order) ASSERT_EQ(1, curve.CreateKey(keys[i].t, keys[i].v));
    // Creating a key ahead of all others sets the value before the first key; put it back.
    const int before = value(rng);
    ASSERT_EQ(1, curve.SetKeyValue(keys.front().t, QvBaseFCurve::KeySideLeft, before, 0.0));
    for (int method : {1, 3, 4}) {
      SCOPED_TRACE(method);
      ASSERT_EQ(
          1, curve.SetExtrapolationMethod(static_cast<QvBaseFCurve::ExtrapolationMethod>(method)));
      std::uniform_real_distribution<double> where(keys.front().t - 40.0, keys.back().t + 40.0);
      for (int s = 0; s < 300; ++s) {
        const double x = where(rng);
        bool near_key = false;
        const double period = keys.back().t - keys.front().t;
        for (const RefKey& k : keys) {
          const double d = std::fabs(std::remainder(x - k.t, period));
          if (method == 1 ? std::fabs(x - k.t) < 1e-6 : d < 1e-6) near_key = true;
        }
        if (near_key) continue;
        ASSERT_EQ(reference(keys, before, method, x), curve.Eval(x, 0)) << x;
      }
      // Exactly on the keys the step has already risen; within 1e-12 the parameter snaps on.
      for (std::size_t i = 0; i + 1 < keys.size(); ++i) {
        ASSERT_EQ(keys[i].v, curve.Eval(keys[i].t, 0));
        ASSERT_EQ(keys[i].v, curve.Eval(keys[i].t - 5e-13, 0));
      }
      // At the last key a cycling curve restarts with the first key's value.
      ASSERT_EQ(method == 1 ? keys.back().v : keys.front().v, curve.Eval(keys.back().t, 0));
    }
  }
}

}  // namespace

TEST(SteppedCurveEval, MatchesPlainStepFunctionOnRandomKeys) {
  std::mt19937 rng(20261123);
  check_against_reference<QvBooleanFCurve>(rng, true);
  check_against_reference<QvIntegerFCurve>(rng, false);
}

TEST(SteppedCurveEval, EmptyAndSingleKeyCurves) {
  QvBooleanFCurve on(1.0 - 1e-16);
  QvBooleanFCurve off(0.7);
  QvIntegerFCurve minus(-7.9);
  EXPECT_EQ(1.0, on.Eval(3.0, 0));
  EXPECT_EQ(0.0, off.Eval(3.0, 0));
  EXPECT_EQ(-7.0, minus.Eval(3.0, 0));
  EXPECT_EQ(1.0, on.GetMinusInfinityVal());
  EXPECT_EQ(-7.0, minus.GetPlusInfinityVal());

  for (int method : {1, 3, 4}) {
    SCOPED_TRACE(method);
    QvIntegerFCurve one(0.0);
    ASSERT_EQ(1, one.CreateKey(2.0, 5.0));
    ASSERT_EQ(1, one.SetKeyValue(2.0, QvBaseFCurve::KeySideLeft, -1.0, 0.0));
    ASSERT_EQ(1,
              one.SetExtrapolationMethod(static_cast<QvBaseFCurve::ExtrapolationMethod>(method)));
    EXPECT_EQ(-1.0, one.Eval(1.0, 0));
    EXPECT_EQ(5.0, one.Eval(2.0, 0));
    EXPECT_EQ(5.0, one.Eval(9.0, 0));
  }
}

TEST(SteppedCurveEval, OffsetCycleRepeatsWithoutAccumulating) {
  QvIntegerFCurve steps(0.0);
  steps.CreateKey(0.0, 0.0);
  steps.CreateKey(1.0, 3.0);
  steps.CreateKey(2.0, 10.0);
  ASSERT_EQ(1, steps.SetExtrapolationMethod(QvBaseFCurve::ExtrapolationCycleOffset));
  EXPECT_EQ(3.0, steps.Eval(5.5, 0));
  EXPECT_EQ(0.0, steps.Eval(4.0, 0));
  EXPECT_EQ(0.0, steps.Eval(4.0 + 5e-10, 0));  // the seam snap of the offset fold
  EXPECT_EQ(3.0, steps.Eval(-0.5, 0));
  EXPECT_EQ(1.25, steps.FoldParameter(-0.75));
}

TEST(SteppedCurveEval, LinearMethodIsRefusedButReadBodiesMayHoldIt) {
  QvIntegerFCurve c(0.0);
  c.CreateKey(0.0, 4.0);
  c.CreateKey(1.0, 6.0);
  EXPECT_EQ(0, c.SetExtrapolationMethod(QvBaseFCurve::ExtrapolationLinear));
  EXPECT_EQ(0, c.SetExtrapolationMethod(static_cast<QvBaseFCurve::ExtrapolationMethod>(5)));
  EXPECT_EQ(QvBaseFCurve::ExtrapolationConstant, c.GetExtrapolationMethod());
  c.SetReadOnlyConstraint(1);
  EXPECT_EQ(0, c.SetExtrapolationMethod(QvBaseFCurve::ExtrapolationCycle));
}

TEST(SteppedCurveEval, FlattenDrawsTheSteps) {
  QvIntegerFCurve c(0.0);
  c.CreateKey(1.0, 2.0);
  c.CreateKey(3.0, 5.0);
  c.SetKeyValue(1.0, QvBaseFCurve::KeySideLeft, -1.0, 0.0);
  QvTransfo4 identity;
  QvPoint2dArray points;
  QvPointTagArray tags;
  ASSERT_EQ(5u, c.Flatten(identity, 0.1, points, tags, 0));
  // The rise at the first key ends in a jump point and reopens there; each later key is reached
  // flat and left by a jump.
  const double expected[5][2] = {{1, -1}, {1, 2}, {1, 2}, {3, 2}, {3, 5}};
  const QvPointTag expected_tags[5] = {TagFirst, TagLast, TagFirst, TagInner, TagLast};
  for (int i = 0; i < 5; ++i) {
    SCOPED_TRACE(i);
    EXPECT_EQ(expected[i][0], points.data[i].x);
    EXPECT_EQ(expected[i][1], points.data[i].y);
    EXPECT_EQ(expected_tags[i], tags.data[i]);
  }

  // A single key with no rise draws one point.
  QvBooleanFCurve single(0.0);
  single.CreateKey(2.0, 1.0);
  QvPoint2dArray p2;
  QvPointTagArray t2;
  EXPECT_EQ(1u, single.Flatten(identity, 0.1, p2, t2, 0));
}

TEST(SteppedCurveEval, EvalSequenceSamplesTheSteps) {
  QvIntegerFCurve c(0.0);
  c.CreateKey(0.0, 1.0);
  c.CreateKey(1.0, 2.0);
  c.SetExtrapolationMethod(QvBaseFCurve::ExtrapolationCycle);
  QvDoubleArray params;
  QvDoubleArray values;
  ASSERT_EQ(9u, c.EvalSequence(0.0, 2.0, 0.25, 0.0, params, values, 0));
  for (QvULong i = 0; i < params.size; ++i)
    EXPECT_EQ(c.Eval(params.data[i], 0), values.data[i]) << i;
}
