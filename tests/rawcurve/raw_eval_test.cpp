#include <qv/QvRawFCurve.h>

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

namespace {

using EM = QvBaseFCurve::ExtrapolationMethod;

QvRawFCurve make_curve(const std::vector<QvPoint2<double>>& keys, EM method) {
  QvRawFCurve c(0.0);
  for (const auto& k : keys) c.CreateKey(k.x, k.y);
  c.SetExtrapolationMethod(method);
  return c;
}

// Plain reference for the value between the keys: a linear scan for the segment, then the same
// interpolation the library must use bit for bit.
double reference_inside(const std::vector<QvPoint2<double>>& k, double t) {
  if (t <= k.front().x) return k.front().y;
  if (t >= k.back().x) return k.back().y;
  std::size_t b = 1;
  while (k[b].x <= t) ++b;
  const std::size_t a = b - 1;
  if (k[a].x == t) return k[a].y;
  return k[a].y + (k[b].y - k[a].y) * (t - k[a].x) / (k[b].x - k[a].x);
}

std::vector<QvPoint2<double>> random_keys(std::mt19937& rng, int n) {
  std::uniform_real_distribution<double> gap(0.01, 2.0);
  std::uniform_real_distribution<double> value(-5.0, 5.0);
  std::vector<QvPoint2<double>> keys;
  double t = std::uniform_real_distribution<double>(-10.0, 10.0)(rng);
  for (int i = 0; i < n; ++i) {
    keys.emplace_back(t, value(rng));
    t += gap(rng);
  }
  return keys;
}

}  // namespace

// Seams and linear ends: the random references below stay clear of both.
TEST(RawCurveEval, FixedFigures) {
  const std::vector<QvPoint2<double>> ramp = {{0, 0}, {1, 1}};
  const std::vector<QvPoint2<double>> three = {{0, 1}, {2, 3}, {4, 0}};
  struct Case {
    const char* name;
    std::vector<QvPoint2<double>> keys;
    EM method;
    double t;
    double want;
  };
  const Case cases[] = {
      {"offset cycle at a seam", ramp, QvBaseFCurve::ExtrapolationCycleOffset, 2.0, 2.0},
      {"cycle restarts on the last key", three, QvBaseFCurve::ExtrapolationCycle, 4.0, 1.0},
      {"cycle on a later seam", three, QvBaseFCurve::ExtrapolationCycle, 8.0, 1.0},
      {"linear before the keys", three, QvBaseFCurve::ExtrapolationLinear, -2.0, -1.0},
      {"linear after the keys", three, QvBaseFCurve::ExtrapolationLinear, 6.0, -3.0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const QvRawFCurve curve = make_curve(c.keys, c.method);
    EXPECT_EQ(c.want, curve.Eval(c.t, 0));
  }
}

TEST(RawCurveEval, EmptyAndSingleKeyUnderEveryMethod) {
  for (int m = 1; m <= 4; ++m) {
    SCOPED_TRACE(m);
    QvRawFCurve empty(7.5);
    ASSERT_EQ(1, empty.SetExtrapolationMethod(static_cast<EM>(m)));
    EXPECT_EQ(7.5, empty.Eval(-3.0, 0));
    EXPECT_EQ(7.5, empty.Eval(1e9, 1));

    QvRawFCurve one(2.0, -4.0);
    one.SetExtrapolationMethod(static_cast<EM>(m));
    for (double t : {-100.0, 2.0, 2.5, 1e12}) EXPECT_EQ(-4.0, one.Eval(t, 0));
    EXPECT_EQ(17.0, one.FoldParameter(17.0));  // nothing to fold into
  }
  QvRawFCurve c(0.0);
  EXPECT_EQ(0, c.SetExtrapolationMethod(static_cast<EM>(5)));
  EXPECT_EQ(0, c.SetExtrapolationMethod(static_cast<EM>(0)));
  EXPECT_EQ(QvBaseFCurve::ExtrapolationConstant, c.GetExtrapolationMethod());
}

// Random curves long enough to take the neighbourhood search and short enough to bisect, read in
// rising order (the cursor's good case), in falling order and at random.
TEST(RawCurveEval, MatchesLinearScanOnRandomCurves) {
  std::mt19937 rng(20261123);
  for (int n : {2, 3, 7, 12, 13, 40, 300}) {
    SCOPED_TRACE(n);
    const auto keys = random_keys(rng, n);
    const QvRawFCurve curve = make_curve(keys, QvBaseFCurve::ExtrapolationConstant);
    ASSERT_EQ(static_cast<QvULong>(n), curve.GetNumKeys());
    const double lo = keys.front().x - 1.0;
    const double hi = keys.back().x + 1.0;
    std::vector<double> ts;
    for (int i = 0; i <= 500; ++i) ts.push_back(lo + (hi - lo) * i / 500.0);
    for (const auto& k : keys) ts.push_back(k.x);
    std::uniform_real_distribution<double> any(lo, hi);
    for (int i = 0; i < 500; ++i) ts.push_back(any(rng));
    for (double t : ts) ASSERT_EQ(reference_inside(keys, t), curve.Eval(t, 0)) << t;
    for (auto it = ts.rbegin(); it != ts.rend(); ++it)
      ASSERT_EQ(reference_inside(keys, *it), curve.Eval(*it, 0)) << *it;
  }
}

// The cycling methods must agree with folding by hand: the plain cycle repeats the values, the
// offset cycle adds one rise per period, and both are whole numbers of periods away from the keys.
TEST(RawCurveEval, CyclesRepeatTheKeyRange) {
  std::mt19937 rng(7);
  const auto keys = random_keys(rng, 15);
  const double period = keys.back().x - keys.front().x;
  const double rise = keys.back().y - keys.front().y;
  const QvRawFCurve cycle = make_curve(keys, QvBaseFCurve::ExtrapolationCycle);
  const QvRawFCurve offset = make_curve(keys, QvBaseFCurve::ExtrapolationCycleOffset);
  std::uniform_real_distribution<double> inside(keys.front().x, keys.back().x);
  for (int i = 0; i < 300; ++i) {
    const double t = inside(rng);
    const double base = reference_inside(keys, t);
    for (int c : {-3, -1, 1, 4}) {
      SCOPED_TRACE(testing::Message() << t << " cycle " << c);
      const double shifted = t + c * period;
      EXPECT_NEAR(base, cycle.Eval(shifted, 0), 1e-9);
      EXPECT_NEAR(base + c * rise, offset.Eval(shifted, 0), 1e-9);
      EXPECT_NEAR(t, cycle.FoldParameter(shifted), 1e-9);
      EXPECT_NEAR(t, offset.FoldParameter(shifted), 1e-9);
    }
  }
}

TEST(RawCurveEval, ClampAndBounds) {
  QvRawFCurve c = make_curve({{0, -2}, {1, 5}, {2, 1}}, QvBaseFCurve::ExtrapolationConstant);
  EXPECT_EQ(0, c.SetClampingValues(1.0, 0.0));
  ASSERT_EQ(1, c.SetClampingValues(0.0, 3.0));
  EXPECT_EQ(5.0, c.Eval(1.0, 0));
  EXPECT_EQ(3.0, c.Eval(1.0, 1));
  EXPECT_EQ(0.0, c.Eval(0.0, 1));
  EXPECT_EQ(5.0, c.GetValueUpperBound(0));
  EXPECT_EQ(3.0, c.GetValueUpperBound(1));
  EXPECT_EQ(-2.0, c.GetValueLowerBound(0));
  EXPECT_EQ(0.0, c.GetValueLowerBound(1));
  EXPECT_EQ(-2.0, c.GetMinusInfinityVal());
  EXPECT_EQ(1.0, c.GetPlusInfinityVal());
  // The clamp is not an edit: a read-only curve still takes it.
  c.SetReadOnlyConstraint(1);
  EXPECT_EQ(1, c.SetClampingValues(-1.0, 1.0));
}

TEST(RawCurveEval, KeySearches) {
  const QvRawFCurve c =
      make_curve({{0, 0}, {1, 10}, {1.5, 15}, {3, 30}}, QvBaseFCurve::ExtrapolationConstant);
  struct Case {
    const char* name;
    double t;
    double tolerance;
    QvLong found;
    double key;
  };
  const Case near[] = {
      {"exact", 1.5, 0.0, 1, 1.5},
      {"miss with no tolerance", 1.4, 0.0, 0, 0},
      {"nearest of two in reach", 1.3, 0.5, 1, 1.5},
      {"a tie goes to the earlier key", 1.25, 0.25, 1, 1.0},
      {"reach below the first key", -0.1, 0.1, 1, 0.0},
      {"beyond the last key", 3.2, 0.1, 0, 0},
  };
  for (const Case& k : near) {
    SCOPED_TRACE(k.name);
    double t = k.t;
    EXPECT_EQ(k.found, c.GetNearestKeyParameterInCenteredInterval(t, k.tolerance));
    EXPECT_EQ(k.found ? k.key : k.t, t);
    EXPECT_EQ(k.found, c.IsKeyParameter(k.t, k.tolerance));
  }
  QvULong index = 99;
  EXPECT_EQ(1, c.GetKeyIndex(1.5, index));
  EXPECT_EQ(2u, index);

  struct Walk {
    double t;
    QvLong include;
    QvLong next_ok;
    double next;
    QvLong prev_ok;
    double prev;
  };
  const Walk walks[] = {
      {1.0, 1, 1, 1.0, 1, 1.0}, {1.0, 0, 1, 1.5, 1, 0.0}, {1.2, 0, 1, 1.5, 1, 1.0},
      {0.0, 0, 1, 1.0, 0, 0.0}, {3.0, 0, 0, 0.0, 1, 1.5}, {-1.0, 0, 1, 0.0, 0, 0.0},
  };
  for (const Walk& w : walks) {
    SCOPED_TRACE(testing::Message() << w.t << " include " << w.include);
    double next = 0.0;
    double prev = 0.0;
    EXPECT_EQ(w.next_ok, c.GetNextKeyParameter(w.t, next, w.include));
    if (w.next_ok) {
      EXPECT_EQ(w.next, next);
    }
    EXPECT_EQ(w.prev_ok, c.GetPrevKeyParameter(w.t, prev, w.include));
    if (w.prev_ok) {
      EXPECT_EQ(w.prev, prev);
    }
  }
  double nearest = 0.0;
  ASSERT_EQ(1, c.GetNearestKeyParameter(1.25, nearest));
  EXPECT_EQ(1.5, nearest);  // a tie goes to the later key here
  ASSERT_EQ(1, c.GetNearestKeyParameter(2.0, nearest));
  EXPECT_EQ(1.5, nearest);

  QvDoubleArray found;
  EXPECT_EQ(3u, c.GetKeyParameters(1.0, 3.0, found, 0, 0));
  EXPECT_EQ(1u, c.GetKeyParameters(1.0, 3.0, found, 1, 1));
  ASSERT_EQ(4u, found.size);
  EXPECT_EQ(1.5, found[3]);
  EXPECT_EQ(1, c.IsSmallestKeyParameter(0.0));
  EXPECT_EQ(1, c.IsLargestKeyParameter(3.0));
  EXPECT_EQ(0, QvRawFCurve(1.0).IsLargestKeyParameter(1.0));
}

TEST(RawCurveEval, InverseOfMonotonicCurves) {
  const QvRawFCurve rising =
      make_curve({{0, 0}, {1, 2}, {3, 3}}, QvBaseFCurve::ExtrapolationConstant);
  const QvRawFCurve falling =
      make_curve({{0, 3}, {2, 1}, {4, 0}}, QvBaseFCurve::ExtrapolationConstant);
  const QvRawFCurve bumpy =
      make_curve({{0, 0}, {1, 2}, {2, 1}}, QvBaseFCurve::ExtrapolationConstant);
  EXPECT_EQ(1, rising.IsBijective());
  EXPECT_EQ(1, falling.IsBijective());
  EXPECT_EQ(0, bumpy.IsBijective());
  EXPECT_EQ(0, QvRawFCurve(1.0, 1.0).IsBijective());
  struct Case {
    const QvRawFCurve* curve;
    double value;
    double want;
  };
  const Case cases[] = {
      {&rising, 2.5, 2.0},  {&rising, -4.0, 0.0}, {&rising, 9.0, 3.0}, {&rising, 2.0, 1.0},
      {&falling, 0.5, 3.0}, {&falling, 5.0, 0.0}, {&falling, -1.0, 4.0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.value);
    double t = -99.0;
    ASSERT_EQ(1, c.curve->EvalInverse(c.value, t, 0));
    EXPECT_EQ(c.want, t);
  }
  double t = -99.0;
  EXPECT_EQ(0, bumpy.EvalInverse(1.0, t, 0));
  EXPECT_EQ(-99.0, t);
}

// Samples are read off the drawn polyline; for a curve made of lines they must agree with Eval,
// and every sequence ends on `to`.
TEST(RawCurveEval, SequenceAgreesWithEval) {
  std::mt19937 rng(99);
  const auto keys = random_keys(rng, 20);
  for (int m = 1; m <= 4; ++m) {
    SCOPED_TRACE(m);
    const QvRawFCurve c = make_curve(keys, static_cast<EM>(m));
    // Off the keys' grid: right after a seam the offset cycle snaps onto the seam's far side.
    const double from = keys.front().x - 7.3 + 0.013;
    const double to = keys.back().x + 11.1;
    QvDoubleArray ts;
    QvDoubleArray vs;
    const QvULong count = c.EvalSequence(from, to, 0.05, 1e-3, ts, vs, 0);
    ASSERT_EQ(count, ts.size);
    ASSERT_EQ(count, vs.size);
    EXPECT_EQ(to, ts[count - 1]);
    for (QvULong i = 0; i < count; ++i) {
      SCOPED_TRACE(ts[i]);
      ASSERT_NEAR(c.Eval(ts[i], 0), vs[i], 1e-9);
    }
  }
  QvDoubleArray ts;
  QvDoubleArray vs;
  const QvRawFCurve c = make_curve(keys, QvBaseFCurve::ExtrapolationConstant);
  EXPECT_EQ(1u, c.EvalSequence(2.0, 2.0, 0.1, 1e-3, ts, vs, 0));
  EXPECT_EQ(0u, c.EvalSequence(0.0, 1.0, 0.0, 1e-3, ts, vs, 0));
  EXPECT_EQ(1u, ts.size);
}
