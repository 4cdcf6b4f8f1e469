#include <gtest/gtest.h>
#include <qv/QvBooleanFCurve.h>
#include <qv/QvIntegerFCurve.h>
#include <qv/QvTransfo4.h>

#include <cmath>
#include <memory>
#include <random>
#include <vector>

#include "curvekinds/kinds_support.h"

using C = QvBaseFCurve;
using qv::test::integers;
using qv::test::parameters_of;

// The searches against a linear scan of the same keys, on long curves where the cursor's
// neighbourhood is tried before bisection.
TEST(SteppedCurveQuery, SearchesMatchALinearScan) {
  std::mt19937 rng(7);
  std::uniform_real_distribution<double> gap(0.01, 1.0);
  for (int round = 0; round < 10; ++round) {
    QvBooleanFCurve c(0.0);
    std::vector<double> keys;
    double t = 0.0;
    for (int i = 0; i < 40; ++i) {
      t += gap(rng);
      keys.push_back(t);
      ASSERT_EQ(1, c.CreateKey(t, static_cast<double>(i % 2)));
    }
    std::uniform_real_distribution<double> where(-1.0, t + 1.0);
    std::uniform_int_distribution<std::size_t> pick(0, keys.size() - 1);
    for (int s = 0; s < 400; ++s) {
      const double x = s % 3 == 0 ? keys[pick(rng)] : where(rng);
      for (QvLong include : {0, 1}) {
        SCOPED_TRACE(include);
        double next = -1.0;
        double prev = -1.0;
        double expected_next = -1.0;
        double expected_prev = -1.0;
        for (double k : keys)
          if ((k > x || (include && k == x)) && expected_next < 0) expected_next = k;
        for (double k : keys)
          if (k < x || (include && k == x)) expected_prev = k;
        EXPECT_EQ(expected_next >= 0 ? 1 : 0, c.GetNextKeyParameter(x, next, include));
        EXPECT_EQ(expected_next >= 0 ? expected_next : -1.0, next);
        EXPECT_EQ(expected_prev >= 0 ? 1 : 0, c.GetPrevKeyParameter(x, prev, include));
        EXPECT_EQ(expected_prev >= 0 ? expected_prev : -1.0, prev);
      }
      const double width = 0.05;
      double nearest_expected = 0.0;
      double best = 1e300;
      for (double k : keys)
        if (std::fabs(k - x) <= width && std::fabs(k - x) < best) {
          best = std::fabs(k - x);
          nearest_expected = k;
        }
      double snapped = x;
      EXPECT_EQ(best < 1e300 ? 1 : 0, c.GetNearestKeyParameterInCenteredInterval(snapped, width));
      EXPECT_EQ(best < 1e300 ? nearest_expected : x, snapped);
      QvDoubleArray found;
      const QvULong count = c.GetKeyParameters(x - 0.5, x + 0.5, found, 1, 0);
      QvULong expected_count = 0;
      for (double k : keys)
        if (k > x - 0.5 && k <= x + 0.5) ++expected_count;
      EXPECT_EQ(expected_count, count);
    }
  }
}

TEST(SteppedCurveQuery, HeadAndTailKeepTheStepsInside) {
  QvIntegerFCurve c = integers({1, 2, 3, 4}, 0);
  ASSERT_EQ(1, c.RemoveHead(1.5));
  EXPECT_EQ((std::vector<double>{1.5, 2, 3}), parameters_of(c));
  EXPECT_EQ(2.0, c.Eval(1.5, 0));
  EXPECT_EQ(2.0, c.Eval(1.0, 0));  // what arrived at the new first key is still shown before it
  ASSERT_EQ(1, c.RemoveTail(2.5));
  EXPECT_EQ((std::vector<double>{1.5, 2, 2.5}), parameters_of(c));
  EXPECT_EQ(3.0, c.Eval(2.5, 0));
  ASSERT_EQ(1, c.RemoveTail(2.0));  // a key already there: nothing changes
  EXPECT_EQ(3u, c.GetNumKeys());
}

TEST(SteppedCurveQuery, SnapShotHoldsTheRangeAndCycles) {
  QvIntegerFCurve c = integers({1, 2, 3}, -5);
  c.SetExtrapolationMethod(C::ExtrapolationCycle);
  std::unique_ptr<C> snap(c.SnapShot(-1.5, 3.5, C::ExtrapolationConstant));
  ASSERT_NE(nullptr, snap);
  EXPECT_EQ(C::KindInteger, snap->GetKind());
  for (double x = -1.5; x < 3.5; x += 0.25) EXPECT_EQ(c.Eval(x, 0), snap->Eval(x, 0)) << x;
  EXPECT_EQ(c.Eval(-1.5, 0), snap->Eval(-9.0, 0));
  EXPECT_EQ(c.Eval(3.5, 0), snap->Eval(9.0, 0));
}

TEST(SteppedCurveQuery, FlattenFromToFollowsEval) {
  QvIntegerFCurve c = integers({1, 4, 2}, 0);
  c.SetExtrapolationMethod(C::ExtrapolationCycle);
  QvExtent2<double> extent;
  extent.min = QvPoint2<double>(-3.25, 0.0);
  extent.max = QvPoint2<double>(5.5, 0.0);
  extent.state = QvExtent2<double>::ExtentBounded;
  QvTransfo4 identity;
  QvPoint2dArray points;
  QvPointTagArray tags;
  QvBoolArray flags;
  const QvULong n = c.FlattenFromTo(extent, identity, 0.1, points, tags, flags, 0);
  ASSERT_GT(n, 2u);
  EXPECT_EQ(-3.25, points.data[0].x);
  EXPECT_EQ(5.5, points.data[n - 1].x);
  // Between two vertices at distinct parameters the drawn run is flat, at the curve's value.
  for (QvULong i = 0; i + 1 < n; ++i) {
    SCOPED_TRACE(i);
    const QvPoint2<double> a = points.data[i];
    const QvPoint2<double> b = points.data[i + 1];
    ASSERT_LE(a.x, b.x);
    if (b.x > a.x) {
      EXPECT_EQ(a.y, b.y);
      EXPECT_EQ(c.Eval(0.5 * (a.x + b.x), 0), a.y);
    } else {
      EXPECT_EQ(2, flags.data[i + 1]);
    }
  }
}

TEST(SteppedCurveQuery, KeyUserDataTravelsWithItsKey) {
  QvBooleanFCurve c(0.0);
  c.CreateKey(1.0, 1.0);
  c.CreateKey(2.0, 0.0);
  const _pmbUID id = {9, 8, 7, {6, 5, 4, 3, 2, 1, 0, 0}};
  const unsigned char blob[1] = {42};
  double t = 2.0;
  ASSERT_EQ(1, c.SetKeyUserData(t, id, blob, 1, 0.0));
  ASSERT_EQ(1, c.ShiftParameters(0.5));
  ASSERT_EQ(1, c.ScaleParameterAxis(2.0));
  EXPECT_EQ(1, c.HasUserData(5.0));
  EXPECT_EQ(0, c.ScaleParameterAxis(-1.0));  // parameters would fall: nothing changes
  EXPECT_EQ((std::vector<double>{3, 5}), parameters_of(c));
  ASSERT_EQ(1, c.RemoveKey(5.0, 0.0));
  EXPECT_EQ(0, c.HasUserData(5.0));
}

TEST(SteppedCurveQuery, ResampleAndCycleAwareReduction) {
  QvIntegerFCurve c = integers({1, 2, 3}, 0);
  ASSERT_EQ(1, c.ResampleSequence(0.0, 2.0, 0.5, 0, 0));
  EXPECT_EQ((std::vector<double>{0, 0.5, 1, 1.5, 2}), parameters_of(c));
  for (double x = -0.75; x < 3.0; x += 0.5)
    EXPECT_EQ(integers({1, 2, 3}, 0).Eval(x, 0), c.Eval(x, 0));
  // Under the plain cycle a range beyond the keys is folded into them before reducing.
  c.SetExtrapolationMethod(C::ExtrapolationCycle);
  ASSERT_EQ(1, c.ReduceNumKeys(10.0, 11.0, 0.0));
  EXPECT_EQ((std::vector<double>{0, 1, 1.5, 2}), parameters_of(c));
}
