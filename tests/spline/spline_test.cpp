#include <gtest/gtest.h>
#include <qv/QvSpline.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include "bezier/spline_core.h"

namespace {

const QvSpline::Kind kCardinal = QvSpline::KindCardinal;
const QvSpline::Kind kHermite = QvSpline::KindHermite;
const double kNaN = std::numeric_limits<double>::quiet_NaN();
const double kInf = std::numeric_limits<double>::infinity();

QvDoubleArray doubles(const std::vector<double>& list) {
  QvDoubleArray a;
  for (double d : list) a.Add(d);
  return a;
}
std::vector<double> vec(const QvDoubleArray& a) { return {a.data, a.data + a.size}; }

double coord(double a, int) { return a; }
double coord(const QvPoint2<double>& a, int k) { return k == 0 ? a.x : a.y; }
double coord(const QvPoint3<double>& a, int k) { return k == 0 ? a.x : (k == 1 ? a.y : a.z); }
template <class V>
double dist2(const V& a, const V& b) {
  const int axes = sizeof(V) / sizeof(double);
  double s = 0;
  for (int k = 0; k < axes; ++k) s += (coord(a, k) - coord(b, k)) * (coord(a, k) - coord(b, k));
  return s;
}
void make(double& v, double a, double, double) { v = a; }
void make(QvPoint2<double>& v, double a, double b, double) { v = QvPoint2<double>(a, b); }
void make(QvPoint3<double>& v, double a, double b, double c) { v = QvPoint3<double>(a, b, c); }

template <class S>
struct Samples {
  using V = std::remove_reference_t<decltype(*S().GetKeyValues().data)>;
  QvDoubleArray t;
  std::remove_cv_t<std::remove_reference_t<decltype(S().GetKeyValues())>> v;
};

// Smooth wandering values plus noise over unevenly spaced, rising parameters. A closed run goes
// once round a smooth loop and repeats its first value exactly at its end.
template <class S>
Samples<S> random_samples(std::mt19937& rng, int n, double noise, bool closed) {
  std::uniform_real_distribution<double> step(0.05, 1.0), jitter(-noise, noise), phase(0, 6);
  const double p0 = phase(rng), p1 = phase(rng), p2 = phase(rng);
  Samples<S> s;
  for (double t = step(rng) * 10 - 5; s.t.size < static_cast<QvULong>(n); t += step(rng))
    s.t.Add(t);
  const double turn = closed ? 6.283185307179586 / (s.t[s.t.size - 1] - s.t[0]) : 0.4;
  for (QvULong i = 0; i < s.t.size; ++i) {
    const double a = turn * (s.t[i] - s.t[0]);
    std::remove_cv_t<typename Samples<S>::V> v;
    make(v, 3 * std::sin(a + p0) + jitter(rng), 2 * std::cos(a + p1) + jitter(rng),
         std::sin(2 * a + p2) + jitter(rng));
    s.v.Add(v);
  }
  if (closed) s.v[s.v.size - 1] = s.v[0];
  return s;
}

template <class S>
QvLong fit(S& s, const Samples<S>& in, double tol, QvSpline::Kind kind, bool closed) {
  return closed ? s.ClosedFit(in.t, in.v, tol, kind) : s.OpenFit(in.t, in.v, tol, kind);
}

// Keys (0, 0), (1, 2), (3, 2): at tolerance 0 none can go.
QvSpline1d hand_spline(QvSpline::Kind kind) {
  QvSpline1d s;
  EXPECT_EQ(1, s.OpenFit(doubles({0, 1, 3}), doubles({0, 2, 2}), 0.0, kind));
  return s;
}

TEST(SplineFit, RefusedInputLeavesTheSplineAsItWas) {
  struct Case {
    const char* name;
    bool closed;
    std::vector<double> t, v;
    double tol;
    QvSpline::Kind kind;
  };
  const Case cases[] = {
      {"one sample", false, {0}, {1}, 0.1, kCardinal},
      {"kind none", false, {0, 1}, {0, 1}, 0.1, QvSpline::KindNone},
      {"unknown kind", false, {0, 1}, {0, 1}, 0.1, static_cast<QvSpline::Kind>(7)},
      {"negative tolerance", false, {0, 1}, {0, 1}, -1e-12, kCardinal},
      {"fewer values", false, {0, 1, 2}, {0, 1}, 0.1, kCardinal},
      {"repeated parameter", false, {0, 1, 1, 2}, {0, 1, 2, 3}, 0.1, kCardinal},
      {"NaN parameter", false, {0, kNaN, 2}, {0, 1, 2}, 0.1, kHermite},
      {"closed, two samples", true, {0, 1}, {1, 1}, 0.1, kCardinal},
      {"closed, ends 1e-12 apart", true, {0, 1, 2}, {1, 2, 1 + 1e-12}, 0.1, kHermite},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    QvSpline1d s = hand_spline(kHermite);
    const QvDoubleArray t = doubles(c.t), v = doubles(c.v);
    EXPECT_EQ(0, c.closed ? s.ClosedFit(t, v, c.tol, c.kind) : s.OpenFit(t, v, c.tol, c.kind));
    EXPECT_EQ(kHermite, s.GetKind());
    EXPECT_EQ((std::vector<double>{2, 2.0 / 3, 0}), vec(s.GetRightDerivatives()));
  }
  // Points close a loop under their tolerant equality.
  for (double gap : {5e-10, 1e-6}) {
    QvPoint3dArray v3;
    for (double y : {1.0, 3.0, 1.0 + gap}) v3.Add(1, 2, y);
    QvSpline3d s3;
    EXPECT_EQ(gap < 1e-9, s3.ClosedFit(doubles({0, 1, 2}), v3, 0.1, kCardinal) == 1) << gap;
  }
}

// Recursive halving worked by hand: a peak that one cubic misses by 0.5, a plateau whose odd
// range splits at its lower middle, and a loop whose wrapped end slope is (1 - -1) / (1 - -1).
// The first key's left derivative mirrors the last key's right one.
TEST(SplineFit, HermiteHandFigures) {
  struct Case {
    bool closed;
    std::vector<double> t, v;
    double tol;
    std::vector<double> key_t, right, left;
  };
  const Case cases[] = {
      {false, {0, 1, 2}, {0, 1, 0}, 0.6, {0, 2}, {1, -1}, {1, 1}},
      {false, {0, 1, 2}, {0, 1, 0}, 0.4, {0, 1, 2}, {1, 0, -1}, {1, 0, 1}},
      {false, {0, 1, 2, 3}, {0, 1, 1, 0}, 0.3, {0, 1, 3}, {1, 0.5, -1}, {1, -0.5, 1}},
      {true, {0, 1, 2, 3}, {0, 1, -1, 0}, 1.0, {0, 3}, {1, 1}, {-1, -1}},
      {true, {0, 1, 2, 3}, {0, 1, -1, 0}, 0.5, {0, 1, 2, 3}, {1, -.5, -.5, 1}, {-1, .5, .5, -1}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.tol);
    QvSpline1d s;
    const QvDoubleArray t = doubles(c.t), v = doubles(c.v);
    ASSERT_EQ(1, c.closed ? s.ClosedFit(t, v, c.tol, kHermite) : s.OpenFit(t, v, c.tol, kHermite));
    EXPECT_EQ(c.closed ? 1 : 0, s.IsClosed());
    EXPECT_EQ(c.key_t, vec(s.GetKeyParameters()));
    EXPECT_EQ(c.right, vec(s.GetRightDerivatives()));
    EXPECT_EQ(c.left, vec(s.GetLeftDerivatives()));
  }
}

// Data linear in the parameter is reproduced by both kinds, so the ends (and at most one
// neighbour, for rounding) will do; at tolerance 0 noisy samples all stay.
TEST(SplineFit, ToleranceDecidesWhatStays) {
  QvDoubleArray t, v;
  for (double i = 0; i < 40; ++i) t.Add(0.25 * i * i + i), v.Add(3 - 0.5 * t[t.size - 1]);
  std::mt19937 rng(11);
  const Samples<QvSpline1d> noisy = random_samples<QvSpline1d>(rng, 50, 0.2, false);
  for (QvSpline::Kind kind : {kCardinal, kHermite}) {
    QvSpline1d s;
    ASSERT_EQ(1, s.OpenFit(t, v, 1e-9, kind));
    EXPECT_LE(s.GetNumKeys(), 3u) << kind;
    ASSERT_EQ(1, s.OpenFit(noisy.t, noisy.v, 0.0, kind));
    EXPECT_EQ(vec(noisy.t), vec(s.GetKeyParameters())) << kind;
  }
}

template <class S>
class SplineFamily : public testing::Test {};
using SplineClasses = testing::Types<QvSpline1d, QvSpline2d, QvSpline3d>;
TYPED_TEST_SUITE(SplineFamily, SplineClasses, );

// What every fit promises: the keys are samples, both ends among them, the spline passes through
// them, and no sample lies farther than the tolerance from it at its own parameter.
TYPED_TEST(SplineFamily, EverySampleStaysWithinTolerance) {
  std::mt19937 rng(20261123);
  for (int round = 0; round < 24; ++round) {
    const bool closed = round % 2 == 1;
    const double tol = round < 12 ? 0.05 : 0.3;
    const auto in = random_samples<TypeParam>(rng, 5 + 7 * round, 0.01, closed);
    SCOPED_TRACE(testing::Message() << "round " << round);
    TypeParam s;
    ASSERT_EQ(1, fit(s, in, tol, round % 4 < 2 ? kCardinal : kHermite, closed));
    const QvDoubleArray& kt = s.GetKeyParameters();
    EXPECT_EQ(in.t[in.t.size - 1], kt[kt.size - 1]);
    if (in.t.size > 20) {
      EXPECT_LT(kt.size, in.t.size * 3 / 4);
    }
    typename Samples<TypeParam>::V y;
    for (QvULong k = 0, j = 0; k < kt.size; ++k, ++j) {
      while (j < in.t.size && in.t[j] != kt[k]) ++j;
      ASSERT_LT(j, in.t.size) << "key " << k << " is not a sample";
      ASSERT_EQ(1, s.Eval(y, kt[k]));
      EXPECT_EQ(0.0, dist2(y, in.v[j]) + dist2(s.GetKeyValues()[k], in.v[j]));
    }
    for (QvULong i = 0; i < in.t.size; ++i) {
      ASSERT_EQ(1, s.Eval(y, in.t[i]));
      EXPECT_LE(dist2(y, in.v[i]), tol * tol) << "sample " << i;
    }
  }
}

// The cardinal walk tests only the intervals that a removal reshapes: a plain greedy walk that
// tests every sample against the whole spline must keep exactly the same keys.
TYPED_TEST(SplineFamily, CardinalWalkMatchesAWholeSplineReference) {
  using V = typename Samples<TypeParam>::V;
  std::mt19937 rng(777);
  for (int round = 0; round < 16; ++round) {
    const bool closed = round % 2 == 1;
    const double tol = 0.02 + 0.03 * (round % 5);
    const auto in = random_samples<TypeParam>(rng, 4 + 5 * round, 0.02, closed);
    const QvULong n = in.t.size;
    std::vector<QvULong> keys;
    for (QvULong i = 0; i < n; ++i) keys.push_back(i);
    auto drop_if_holds = [&](std::size_t k) {
      std::vector<double> t;
      std::vector<V> v;
      for (std::size_t m = 0; m < keys.size(); ++m)
        if (m != k) t.push_back(in.t[keys[m]]), v.push_back(in.v[keys[m]]);
      for (QvULong j = 0; j < n; ++j) {
        const V y = qv::internal::spline_eval_keys<V>(t.data(), v.data(), nullptr, nullptr,
                                                      static_cast<QvULong>(t.size()), kCardinal,
                                                      closed, in.t[j]);
        if (!(dist2(y, in.v[j]) <= tol * tol)) return;
      }
      keys.erase(keys.begin() + static_cast<std::ptrdiff_t>(k));
    };
    for (QvULong i = closed ? 2 : 1; n >= (closed ? 5u : 3u) && i <= n - (closed ? 3 : 2); ++i)
      drop_if_holds(
          static_cast<std::size_t>(std::find(keys.begin(), keys.end(), i) - keys.begin()));
    if (closed && n >= 5 && keys.size() >= 5) drop_if_holds(1);
    if (n >= (closed ? 5u : 3u) && keys.size() >= (closed ? 5u : 3u))
      drop_if_holds(keys.size() - 2);
    std::vector<double> want;
    for (QvULong k : keys) want.push_back(in.t[k]);
    TypeParam s;
    ASSERT_EQ(1, fit(s, in, tol, kCardinal, closed));
    EXPECT_EQ(want, vec(s.GetKeyParameters())) << "round " << round;
  }
}

// A cardinal spline is a Hermite spline whose slopes are the central differences of its keys, so
// its converted copy, evaluated as Bezier pieces, traces the same curve. Both give each key one
// slope on both sides, so one-sided difference quotients meet at every key and, on a loop, across
// the seam; and a loop repeats with its period.
TYPED_TEST(SplineFamily, CurvesAreSmoothPeriodicAndAgreeAcrossKinds) {
  using V = typename Samples<TypeParam>::V;
  std::mt19937 rng(31);
  for (bool closed : {false, true}) {
    SCOPED_TRACE(closed ? "closed" : "open");
    TypeParam cardinal, hermite;
    ASSERT_EQ(1, fit(cardinal, random_samples<TypeParam>(rng, 50, 0.05, closed), 0.02, kCardinal,
                     closed));
    ASSERT_EQ(1, cardinal.CopyAndConvert(hermite, kHermite));
    const QvDoubleArray& kt = hermite.GetKeyParameters();
    ASSERT_GE(kt.size, 4u);
    const double first = kt[0], last = kt[kt.size - 1], period = last - first;
    auto at = [](const TypeParam& s, double t) {
      V y;
      EXPECT_EQ(1, s.Eval(y, t));
      return y;
    };
    for (double x = first - 1; x < last + 1; x += (period + 2) / 300) {
      EXPECT_LE(dist2(at(cardinal, x), at(hermite, x)), 1e-22) << x;
      for (int k : {-3, 1, 2}) {
        if (closed) {
          EXPECT_LE(dist2(at(hermite, x + k * period), at(hermite, x)), 1e-18) << x;
        }
      }
    }
    const double h = 1e-7;
    for (const TypeParam* s : {&cardinal, &hermite}) {
      for (QvULong k = closed ? 0 : 1; k + 1 < kt.size; ++k) {
        const double before = k == 0 ? last : kt[k];
        const V a = at(*s, before - h), b = at(*s, before), c = at(*s, kt[k]),
                d = at(*s, kt[k] + h);
        for (int axis = 0; axis < static_cast<int>(sizeof(V) / sizeof(double)); ++axis) {
          const double left = (coord(b, axis) - coord(a, axis)) / h;
          EXPECT_NEAR(left, (coord(d, axis) - coord(c, axis)) / h, 1e-3 * (1 + std::fabs(left)))
              << "key " << k << " kind " << s->GetKind();
        }
      }
    }
  }
}

// First interval: the chord 2 and (1/3)(2 - 0) as unit-interval tangents; last interval:
// (2/3)(2 - 0) and the chord 0. Mid-interval the blend is (v0 + v1)/2 + (m0 - m1)/8.
TEST(SplineEval, HandFiguresAndEnds) {
  const QvSpline1d s = hand_spline(kCardinal);
  QvSpline1d two, empty;
  ASSERT_EQ(1, two.OpenFit(doubles({2, 6}), doubles({1, 5}), 0.5, kCardinal));
  struct Case {
    const QvSpline1d* s;
    double t, want, bound;
  };
  const Case cases[] = {
      {&s, 0.5, 7.0 / 6, 1e-15}, {&s, 2.0, 13.0 / 6, 1e-15},
      {&s, 1.0, 2.0, 0},                                 // a key gives its value exactly
      {&s, -4.0, 0.0, 0},        {&s, 9.0, 2.0, 0},      // an open spline holds its end values
      {&s, 1e-16, 0.0, 0},       {&s, 3 - 8e-16, 2, 0},  // within 1e-15 of an end snaps to it
      {&two, 3.0, 2.0, 0},       {&two, 5.5, 4.5, 0},    // two keys blend linearly
  };
  for (const Case& c : cases) {
    double y = -1;
    ASSERT_EQ(1, c.s->Eval(y, c.t));
    EXPECT_NEAR(c.want, y, c.bound) << c.t;
  }
  double y = 42;
  EXPECT_EQ(1, s.Eval(y, 2e-15));
  EXPECT_NE(0.0, y);  // past the snap the curve leaves its key
  y = 42;
  EXPECT_EQ(0, empty.Eval(y, 0.5));
  EXPECT_EQ(42, y);
  EXPECT_EQ(1, empty.IsEmpty());
}

TEST(SplineConvert, KindsAndDerivatives) {
  QvSpline1d loop, loop2;  // four keys, and a loop loose enough to keep only its ends
  ASSERT_EQ(1, loop.ClosedFit(doubles({0, 1, 2, 3}), doubles({0, 1, -1, 0}), 0.0, kCardinal));
  ASSERT_EQ(1, loop2.ClosedFit(doubles({0, 1, 2}), doubles({0, 0.1, 0}), 1.0, kHermite));
  ASSERT_EQ(2u, loop2.GetNumKeys());
  struct Case {
    QvSpline1d source;
    QvSpline::Kind to;
    QvLong want;
    std::vector<double> right;
  };
  const Case cases[] = {
      {hand_spline(kCardinal), kHermite, 1, {2, 2.0 / 3, 0}},  // end chords, central inside
      {loop, kHermite, 1, {1, -0.5, -0.5, 1}},                 // ends wrap as in the fit
      {hand_spline(kCardinal), kCardinal, 1, {}},
      {hand_spline(kHermite), kHermite, 1, {2, 2.0 / 3, 0}},
      {hand_spline(kHermite), kCardinal, 0, {}},
      {hand_spline(kCardinal), QvSpline::KindNone, 0, {}},
      {loop2, kHermite, 0, {}},
      {QvSpline1d(), kHermite, 0, {}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << c.source.GetKind() << " to " << c.to);
    QvSpline1d source = c.source, target;
    ASSERT_EQ(1, target.OpenFit(doubles({5, 6}), doubles({1, 1}), 0.0, kCardinal));
    EXPECT_EQ(c.want, source.CopyAndConvert(target, c.to));
    const QvSpline1d& expect = c.want ? source : QvSpline1d(target);
    EXPECT_EQ(vec(expect.GetKeyValues()), vec(target.GetKeyValues()));
    EXPECT_EQ(c.want ? c.to : kCardinal, target.GetKind());
    EXPECT_EQ(c.want ? source.IsClosed() : 0, target.IsClosed());
    if (!c.want) continue;
    EXPECT_EQ(c.right, vec(target.GetRightDerivatives()));
    if (source.GetKind() == kCardinal && c.to == kHermite) {
      for (QvULong k = 0; k < target.GetNumKeys(); ++k) {
        EXPECT_EQ(-c.right[k], target.GetLeftDerivatives()[k]);
      }
    }
    EXPECT_EQ(1, source.CopyAndConvert(source, c.to));  // in place
    EXPECT_EQ(vec(target.GetLeftDerivatives()), vec(source.GetLeftDerivatives()));
  }
}

// Copies are deep; extents measure both inputs; nothing a host passes crashes or hangs, and a
// loop folds even a huge parameter into its period.
TEST(Spline, CopiesExtentsAndHostileInput) {
  QvSpline1d a = hand_spline(kHermite), b(a), c;
  c = a;
  QvSpline1d& alias = c;
  c = alias;  // self-assignment keeps the keys
  ASSERT_EQ(1, a.OpenFit(doubles({0, 4}), doubles({0, 4}), 0.0, kCardinal));
  EXPECT_EQ((std::vector<double>{0, 1, 3}), vec(b.GetKeyParameters()));
  EXPECT_EQ(vec(b.GetKeyValues()), vec(c.GetKeyValues()));

  double pr = -1, vr = -1;
  EXPECT_EQ(0, QvSpline1d::GetInputExtent(doubles({1, 2}), QvDoubleArray(), pr, vr));
  EXPECT_EQ(-1, pr);
  EXPECT_EQ(1, QvSpline1d::GetInputExtent(doubles({3, -1, 2}), doubles({5, 7, -2}), pr, vr));
  EXPECT_EQ(4, pr);
  EXPECT_EQ(9, vr);
  QvPoint3dArray p3;
  for (double k : {1.0, -2.0, 4.0}) p3.Add(k, 6 - k, k * k);
  QvExtent3<double> e3;
  EXPECT_EQ(1, QvSpline3d::GetInputExtent(doubles({7, 7.5}), p3, pr, e3));
  EXPECT_EQ(0.5, pr);
  EXPECT_EQ(1, e3.min == QvPoint3<double>(-2, 2, 1) && e3.max == QvPoint3<double>(4, 8, 16));

  for (QvSpline::Kind kind : {kCardinal, kHermite}) {
    QvSpline1d odd, wide, loop;
    ASSERT_EQ(1,
              odd.OpenFit(doubles({0, 1, 2, 3, 4}), doubles({0, kNaN, kInf, -kInf, 1}), 0.5, kind));
    EXPECT_EQ(5u, odd.GetNumKeys());
    ASSERT_EQ(1, wide.OpenFit(doubles({-1e308, 0, 1e308}), doubles({1, 2, 1}), 0.1, kind));
    ASSERT_EQ(1,
              loop.ClosedFit(doubles({0, 1, 2, 3, 4, 5}), doubles({1, 2, 3, 2, 1, 1}), 0.1, kind));
    double y = 0;
    for (const QvSpline1d* s : {&odd, &wide, &loop})
      for (double x : {kNaN, kInf, -kInf, 1e300, -1e300, 0.5}) EXPECT_EQ(1, s->Eval(y, x));
    ASSERT_EQ(1, loop.Eval(y, 1e300));
    EXPECT_TRUE(y > 0.5 && y < 3.5) << y;
  }
}

}  // namespace
