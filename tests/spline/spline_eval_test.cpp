#include <gtest/gtest.h>
#include <qv/QvSpline.h>

#include <cmath>
#include <limits>
#include <vector>

#include "spline_support.h"

using namespace spline_test;

namespace {

const QvSpline::Kind kCardinal = QvSpline::KindCardinal;
const QvSpline::Kind kHermite = QvSpline::KindHermite;

// Keys (0, 0), (1, 2), (3, 2): at tolerance 0 no sample can go.
QvSpline1d hand_spline(QvSpline::Kind kind) {
  QvSpline1d s;
  EXPECT_EQ(1, s.OpenFit(doubles({0, 1, 3}), doubles({0, 2, 2}), 0.0, kind));
  return s;
}

// First interval: the chord 2 and (1/3)(2 - 0) as unit-interval tangents; last interval:
// (2/3)(2 - 0) and the chord 0. Mid-interval the blend is (v0 + v1)/2 + (m0 - m1)/8.
TEST(SplineEval, HandFiguresAndEnds) {
  const QvSpline1d s = hand_spline(kCardinal);
  const QvSpline1d two = [] {
    QvSpline1d l;
    EXPECT_EQ(1, l.OpenFit(doubles({2, 6}), doubles({1, 5}), 0.5, kCardinal));
    return l;
  }();
  struct Case {
    const QvSpline1d* s;
    double t, want, bound;
  };
  const Case cases[] = {
      {&s, 0.5, 7.0 / 6.0, 1e-15}, {&s, 2.0, 13.0 / 6.0, 1e-15},
      {&s, 1.0, 2.0, 0},                                 // a key gives its value exactly
      {&s, -4.0, 0.0, 0},                                // an open spline holds its end values
      {&s, 9.0, 2.0, 0},           {&s, 1e-16, 0.0, 0},  // within 1e-15 of an end snaps to it
      {&s, 3.0 - 8e-16, 2.0, 0},   {&two, 3.0, 2.0, 0},  // two keys blend linearly
      {&two, 5.5, 4.5, 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.t);
    double y = -1;
    ASSERT_EQ(1, c.s->Eval(y, c.t));
    EXPECT_NEAR(c.want, y, c.bound);
  }
  double y = 42;
  EXPECT_EQ(1, s.Eval(y, 2e-15));
  EXPECT_NE(0.0, y);  // past the snap the curve leaves its key
  QvSpline1d empty;
  EXPECT_EQ(QvSpline::KindNone, empty.GetKind());
  EXPECT_EQ(1, empty.IsEmpty());
  y = 42;
  EXPECT_EQ(0, empty.Eval(y, 0.5));
  EXPECT_EQ(42, y);
}

template <class S>
class SplineEvalFamily : public testing::Test {};
using SplineClasses = testing::Types<QvSpline1d, QvSpline2d, QvSpline3d>;
TYPED_TEST_SUITE(SplineEvalFamily, SplineClasses);

// A cardinal spline is a Hermite spline whose slopes are the central differences of its keys, so
// its converted copy, evaluated as Bezier pieces, traces the same curve. Both give each key one
// slope on both sides, so one-sided difference quotients meet at every key and, on a loop, across
// the seam; a loop repeats with its period.
TYPED_TEST(SplineEvalFamily, CurvesAreSmoothPeriodicAndAgreeAcrossKinds) {
  using V = typename Family<TypeParam>::V;
  std::mt19937 rng(31);
  for (bool closed : {false, true}) {
    SCOPED_TRACE(closed ? "closed" : "open");
    const auto in = random_samples<TypeParam>(rng, 50, 0.05, closed);
    TypeParam cardinal, hermite;
    ASSERT_EQ(1, fit(cardinal, in, 0.02, kCardinal, closed));
    ASSERT_EQ(1, cardinal.CopyAndConvert(hermite, kHermite));
    EXPECT_EQ(closed ? 1 : 0, hermite.IsClosed());
    const QvDoubleArray& kt = hermite.GetKeyParameters();
    ASSERT_GE(kt.size, 4u);
    const double first = kt[0], last = kt[kt.size - 1], period = last - first;
    auto at = [](const TypeParam& s, double t) {
      V y;
      EXPECT_EQ(1, s.Eval(y, t));
      return y;
    };
    for (int i = 0; i <= 300; ++i) {
      const double x = first - 1 + (period + 2) * i / 300;
      EXPECT_LE(dist2(at(cardinal, x), at(hermite, x)), 1e-22) << x;
      if (closed) {
        for (int k : {-3, 1, 2})
          EXPECT_LE(dist2(at(hermite, x + k * period), at(hermite, x)), 1e-18);
      }
    }
    const double h = 1e-7;
    for (const TypeParam* s : {&cardinal, &hermite}) {
      for (QvULong k = closed ? 0 : 1; k + 1 < kt.size; ++k) {
        SCOPED_TRACE(testing::Message() << "key " << k << " kind " << s->GetKind());
        const double before = k == 0 ? last : kt[k];
        const V a = at(*s, before - h), b = at(*s, before), c = at(*s, kt[k]),
                d = at(*s, kt[k] + h);
        for (int axis = 0; axis < 3; ++axis) {
          const double left =
              (Family<TypeParam>::coord(b, axis) - Family<TypeParam>::coord(a, axis)) / h;
          const double right =
              (Family<TypeParam>::coord(d, axis) - Family<TypeParam>::coord(c, axis)) / h;
          EXPECT_NEAR(left, right, 1e-3 * (1 + std::fabs(left)));
        }
      }
    }
  }
}

TEST(SplineConvert, KindsAndDerivatives) {
  QvSpline1d loop, loop2;  // four keys, and a loop loose enough to keep only its ends
  ASSERT_EQ(1, loop.ClosedFit(doubles({0, 1, 2, 3}), doubles({0, 1, -1, 0}), 0.0, kCardinal));
  ASSERT_EQ(1, loop2.ClosedFit(doubles({0, 1, 2}), doubles({0, 0.1, 0}), 1.0, kHermite));
  ASSERT_EQ(2u, loop2.GetNumKeys());
  struct Case {
    const char* name;
    QvSpline1d source;
    QvSpline::Kind to;
    QvLong want;
    std::vector<double> right, left;
  };
  const Case cases[] = {
      // chord slopes at open ends, central differences inside
      {"cardinal to hermite",
       hand_spline(kCardinal),
       kHermite,
       1,
       {2, 2.0 / 3, 0},
       {-2, -2.0 / 3, 0}},
      // a loop's ends share (v[1] - v[n-2]) / (t[1] - (t[0] - (t[n-1] - t[n-2]))) = 1
      {"closed cardinal to hermite", loop, kHermite, 1, {1, -0.5, -0.5, 1}, {-1, 0.5, 0.5, -1}},
      {"cardinal to cardinal", hand_spline(kCardinal), kCardinal, 1, {}, {}},
      // a fitted Hermite spline's first left derivative mirrors its last right one
      {"hermite to hermite", hand_spline(kHermite), kHermite, 1, {2, 2.0 / 3, 0}, {0, -2.0 / 3, 0}},
      {"hermite to cardinal", hand_spline(kHermite), kCardinal, 0, {}, {}},
      {"cardinal to none", hand_spline(kCardinal), QvSpline::KindNone, 0, {}, {}},
      {"closed with two keys", loop2, kHermite, 0, {}, {}},
      {"empty", QvSpline1d(), kHermite, 0, {}, {}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    QvSpline1d source = c.source, target;
    ASSERT_EQ(1, target.OpenFit(doubles({5, 6}), doubles({1, 1}), 0.0, kCardinal));
    EXPECT_EQ(c.want, source.CopyAndConvert(target, c.to));
    const QvSpline1d& expect = c.want ? source : target;
    EXPECT_EQ(c.want ? c.to : kCardinal, target.GetKind());
    EXPECT_EQ(to_vector(expect.GetKeyParameters()), to_vector(target.GetKeyParameters()));
    EXPECT_EQ(to_vector(expect.GetKeyValues()), to_vector(target.GetKeyValues()));
    EXPECT_EQ(source.IsClosed() && c.want, target.IsClosed() != 0);
    if (!c.want) continue;
    EXPECT_EQ(c.right, to_vector(target.GetRightDerivatives()));
    EXPECT_EQ(c.left, to_vector(target.GetLeftDerivatives()));
    EXPECT_EQ(1, source.CopyAndConvert(source, c.to));  // in place
    EXPECT_EQ(to_vector(target.GetLeftDerivatives()), to_vector(source.GetLeftDerivatives()));
  }
}

TEST(SplineExtent, RangesOfParametersAndValues) {
  double pr = -1, vr = -1;
  EXPECT_EQ(1, QvSpline1d::GetInputExtent(doubles({3, -1, 2}), doubles({5, 7, -2}), pr, vr));
  EXPECT_EQ(4, pr);
  EXPECT_EQ(9, vr);
  pr = vr = -1;
  EXPECT_EQ(0, QvSpline1d::GetInputExtent(doubles({1, 2}), QvDoubleArray(), pr, vr));
  EXPECT_EQ(0, QvSpline1d::GetInputExtent(QvDoubleArray(), doubles({1, 2}), pr, vr));
  EXPECT_EQ(-1, pr);
  EXPECT_EQ(-1, vr);
  QvPoint2dArray p2;
  QvPoint3dArray p3;
  for (double k : {1.0, -2.0, 4.0}) {
    p2.Add(QvPoint2<double>(k, 6 - k));
    p3.Add(k, 6 - k, k * k);
  }
  QvExtent2<double> e2;
  EXPECT_EQ(1, QvSpline2d::GetInputExtent(doubles({0, 10, 2}), p2, pr, e2));
  EXPECT_EQ(10, pr);
  EXPECT_EQ(QvExtentStates::ExtentBounded, e2.state);
  EXPECT_EQ(1, e2.min == QvPoint2<double>(-2, 2));
  EXPECT_EQ(1, e2.max == QvPoint2<double>(4, 8));
  QvExtent3<double> e3;
  EXPECT_EQ(1, QvSpline3d::GetInputExtent(doubles({7, 7.5}), p3, pr, e3));
  EXPECT_EQ(0.5, pr);
  EXPECT_EQ(1, e3.min == QvPoint3<double>(-2, 2, 1));
  EXPECT_EQ(1, e3.max == QvPoint3<double>(4, 8, 16));
}

// Copies are deep, and nothing a host passes crashes or hangs: non-finite samples keep their
// keys, and non-finite or huge parameters evaluate to something.
TEST(Spline, CopiesAndHostileInput) {
  QvSpline1d a = hand_spline(kHermite), b(a), c;
  c = a;
  c = c;
  ASSERT_EQ(1, a.OpenFit(doubles({0, 4}), doubles({0, 4}), 0.0, kCardinal));
  EXPECT_EQ(to_vector(b.GetKeyParameters()), to_vector(c.GetKeyParameters()));
  EXPECT_EQ((std::vector<double>{0, 1, 3}), to_vector(c.GetKeyParameters()));

  const double inf = std::numeric_limits<double>::infinity();
  const double nan = std::numeric_limits<double>::quiet_NaN();
  for (QvSpline::Kind kind : {kCardinal, kHermite}) {
    SCOPED_TRACE(kind);
    QvSpline1d odd, wide, closed;
    ASSERT_EQ(1, odd.OpenFit(doubles({0, 1, 2, 3, 4}), doubles({0, nan, inf, -inf, 1}), 0.5, kind));
    EXPECT_EQ(5u, odd.GetNumKeys());
    ASSERT_EQ(1, wide.OpenFit(doubles({-1e308, 0, 1e308}), doubles({1, 2, 1}), 0.1, kind));
    ASSERT_EQ(
        1, closed.ClosedFit(doubles({0, 1, 2, 3, 4, 5}), doubles({1, 2, 3, 2, 1, 1}), 0.1, kind));
    double y = 0;
    for (const QvSpline1d* s : {&odd, &wide, &closed})
      for (double x : {nan, inf, -inf, 1e300, -1e300, 0.5}) EXPECT_EQ(1, s->Eval(y, x));
    ASSERT_EQ(1, closed.Eval(y, 1e300));
    EXPECT_TRUE(y > 0.5 && y < 3.5) << y;  // folded into the period, not lost
  }
}

}  // namespace
