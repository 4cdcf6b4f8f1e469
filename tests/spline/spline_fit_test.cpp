#include <gtest/gtest.h>
#include <qv/QvSpline.h>

#include <limits>
#include <vector>

#include "bezier/spline_core.h"
#include "spline_support.h"

using namespace spline_test;

namespace {

const QvSpline::Kind kCardinal = QvSpline::KindCardinal;
const QvSpline::Kind kHermite = QvSpline::KindHermite;

TEST(SplineFit, RefusedInputLeavesTheSplineAsItWas) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  struct Case {
    const char* name;
    bool closed;
    std::vector<double> t, v;
    double tol;
    QvSpline::Kind kind;
  };
  const Case cases[] = {
      {"no samples", false, {}, {}, 0.1, kCardinal},
      {"one sample", false, {0}, {1}, 0.1, kCardinal},
      {"kind none", false, {0, 1}, {0, 1}, 0.1, QvSpline::KindNone},
      {"unknown kind", false, {0, 1}, {0, 1}, 0.1, static_cast<QvSpline::Kind>(7)},
      {"negative tolerance", false, {0, 1}, {0, 1}, -1e-12, kCardinal},
      {"fewer values", false, {0, 1, 2}, {0, 1}, 0.1, kCardinal},
      {"repeated parameter", false, {0, 1, 1, 2}, {0, 1, 2, 3}, 0.1, kCardinal},
      {"falling parameter", false, {0, 2, 1}, {0, 1, 2}, 0.1, kHermite},
      {"NaN parameter", false, {0, nan, 2}, {0, 1, 2}, 0.1, kCardinal},
      {"closed, two samples", true, {0, 1}, {1, 1}, 0.1, kCardinal},
      {"closed, ends 1e-12 apart", true, {0, 1, 2}, {1, 2, 1 + 1e-12}, 0.1, kHermite},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    QvSpline1d s;
    ASSERT_EQ(1, s.OpenFit(doubles({0, 1, 3}), doubles({0, 2, 2}), 0.0, kHermite));
    QvDoubleArray t, v;
    for (double d : c.t) t.Add(d);
    for (double d : c.v) v.Add(d);
    EXPECT_EQ(0, c.closed ? s.ClosedFit(t, v, c.tol, c.kind) : s.OpenFit(t, v, c.tol, c.kind));
    EXPECT_EQ(kHermite, s.GetKind());
    EXPECT_EQ((std::vector<double>{0, 1, 3}), to_vector(s.GetKeyParameters()));
    EXPECT_EQ((std::vector<double>{2, 2.0 / 3.0, 0}), to_vector(s.GetRightDerivatives()));
  }
  // Point values close a loop under the tolerant point equality.
  for (double gap : {0.0, 5e-10, 1e-6}) {
    SCOPED_TRACE(gap);
    QvPoint2dArray v2;
    QvPoint3dArray v3;
    for (double y : {1.0, 3.0, 1.0 + gap}) {
      v2.Add(QvPoint2<double>(1, y));
      v3.Add(1, 2, y);
    }
    const QvLong want = gap < 1e-9 ? 1 : 0;
    QvSpline2d s2;
    QvSpline3d s3;
    EXPECT_EQ(want, s2.ClosedFit(doubles({0, 1, 2}), v2, 0.1, kCardinal));
    EXPECT_EQ(want, s3.ClosedFit(doubles({0, 1, 2}), v3, 0.1, kHermite));
    EXPECT_EQ(want, s3.IsClosed());
  }
}

// Recursive halving worked by hand: a peak that one cubic misses by 0.5, a plateau whose odd
// range splits at its lower middle, and a loop whose wrapped end slope is (1 - -1) / (1 - -1).
TEST(SplineFit, HermiteHandFigures) {
  struct Case {
    const char* name;
    bool closed;
    std::vector<double> t, v;
    double tol;
    std::vector<double> key_t, right, left;
  };
  const Case cases[] = {
      {"peak within 0.6", false, {0, 1, 2}, {0, 1, 0}, 0.6, {0, 2}, {1, -1}, {1, 1}},
      {"peak beyond 0.4", false, {0, 1, 2}, {0, 1, 0}, 0.4, {0, 1, 2}, {1, 0, -1}, {1, 0, 1}},
      {"plateau", false, {0, 1, 2, 3}, {0, 1, 1, 0}, 0.3, {0, 1, 3}, {1, 0.5, -1}, {1, -0.5, 1}},
      {"closed, loose", true, {0, 1, 2, 3}, {0, 1, -1, 0}, 1.0, {0, 3}, {1, 1}, {-1, -1}},
      {"closed, tight",
       true,
       {0, 1, 2, 3},
       {0, 1, -1, 0},
       0.5,
       {0, 1, 2, 3},
       {1, -0.5, -0.5, 1},
       {-1, 0.5, 0.5, -1}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    QvDoubleArray t, v;
    for (double d : c.t) t.Add(d);
    for (double d : c.v) v.Add(d);
    QvSpline1d s;
    ASSERT_EQ(1, c.closed ? s.ClosedFit(t, v, c.tol, kHermite) : s.OpenFit(t, v, c.tol, kHermite));
    EXPECT_EQ(c.closed ? 1 : 0, s.IsClosed());
    EXPECT_EQ(c.key_t, to_vector(s.GetKeyParameters()));
    EXPECT_EQ(c.right, to_vector(s.GetRightDerivatives()));
    EXPECT_EQ(c.left, to_vector(s.GetLeftDerivatives()));
  }
}

// Data linear in the parameter is reproduced by both kinds, so the ends alone (or with one
// neighbour, for rounding) will do; at tolerance 0 noisy samples must all stay.
TEST(SplineFit, ToleranceDecidesWhatStays) {
  QvDoubleArray t, v;
  for (int i = 0; i < 40; ++i) {
    t.Add(0.25 * i * i + i);
    v.Add(3 - 0.5 * t[static_cast<QvULong>(i)]);
  }
  std::mt19937 rng(11);
  const Samples<QvSpline1d> noisy = random_samples<QvSpline1d>(rng, 50, 0.2, false);
  for (QvSpline::Kind kind : {kCardinal, kHermite}) {
    SCOPED_TRACE(kind);
    QvSpline1d s;
    ASSERT_EQ(1, s.OpenFit(t, v, 1e-9, kind));
    EXPECT_LE(s.GetNumKeys(), 3u);
    EXPECT_EQ(t[39], s.GetKeyParameters()[s.GetNumKeys() - 1]);
    ASSERT_EQ(1, s.OpenFit(noisy.t, noisy.v, 0.0, kind));
    EXPECT_EQ(to_vector(noisy.t), to_vector(s.GetKeyParameters()));
  }
}

template <class S>
class SplineFitFamily : public testing::Test {};
using SplineClasses = testing::Types<QvSpline1d, QvSpline2d, QvSpline3d>;
TYPED_TEST_SUITE(SplineFitFamily, SplineClasses);

// The promise of every fit: the keys are samples, including both ends, the spline passes
// through them, and no sample lies farther than the tolerance from it at its own parameter.
TYPED_TEST(SplineFitFamily, EverySampleStaysWithinTolerance) {
  std::mt19937 rng(20261123);
  for (int round = 0; round < 24; ++round) {
    const bool closed = round % 2 == 1;
    const QvSpline::Kind kind = round % 4 < 2 ? kCardinal : kHermite;
    const double tol = round < 12 ? 0.05 : 0.3;
    const auto in = random_samples<TypeParam>(rng, 5 + 7 * round, 0.01, closed);
    SCOPED_TRACE(testing::Message() << "round " << round);
    TypeParam s;
    ASSERT_EQ(1, fit(s, in, tol, kind, closed));
    const QvDoubleArray& kt = s.GetKeyParameters();
    ASSERT_EQ(kt.size, s.GetKeyValues().size);
    EXPECT_EQ(in.t[0], kt[0]);
    EXPECT_EQ(in.t[in.t.size - 1], kt[kt.size - 1]);
    if (in.t.size > 20) {
      EXPECT_LT(kt.size, in.t.size * 3 / 4);
    }
    typename Family<TypeParam>::V y;
    for (QvULong k = 0, j = 0; k < kt.size; ++k, ++j) {
      while (j < in.t.size && in.t[j] != kt[k]) ++j;
      ASSERT_LT(j, in.t.size) << "key " << k << " is not a sample";
      ASSERT_EQ(1, s.Eval(y, kt[k]));
      EXPECT_EQ(0.0, dist2(y, in.v[j]));
      EXPECT_EQ(0.0, dist2(s.GetKeyValues()[k], in.v[j]));
    }
    for (QvULong i = 0; i < in.t.size; ++i) {
      ASSERT_EQ(1, s.Eval(y, in.t[i]));
      EXPECT_LE(dist2(y, in.v[i]), tol * tol) << "sample " << i;
    }
  }
}

// The cardinal walk tests only the intervals that a removal reshapes. A plain greedy walk that
// tests every sample against the whole spline must keep exactly the same keys.
template <class S>
std::vector<double> greedy_keys(const Samples<S>& in, double tol, bool closed) {
  using V = typename Family<S>::V;
  const QvULong n = in.t.size;
  std::vector<QvULong> keys;
  for (QvULong i = 0; i < n; ++i) keys.push_back(i);
  auto drop_if_holds = [&](std::size_t k) {
    std::vector<double> t;
    std::vector<V> v;
    for (std::size_t m = 0; m < keys.size(); ++m) {
      if (m == k) continue;
      t.push_back(in.t[keys[m]]);
      v.push_back(in.v[keys[m]]);
    }
    for (QvULong j = 0; j < n; ++j) {
      const V y = qv::internal::spline_eval_keys<V>(t.data(), v.data(), nullptr, nullptr,
                                                    static_cast<QvULong>(t.size()), kCardinal,
                                                    closed, in.t[j]);
      if (!(dist2(y, in.v[j]) <= tol * tol)) return;
    }
    keys.erase(keys.begin() + static_cast<std::ptrdiff_t>(k));
  };
  if (closed ? n < 5 : n < 3) return to_vector(in.t);
  for (QvULong i = closed ? 2 : 1; i <= (closed ? n - 3 : n - 2); ++i) {
    std::size_t k = 0;
    while (keys[k] != i) ++k;
    drop_if_holds(k);
  }
  if (closed && keys.size() >= 5) drop_if_holds(1);
  if (keys.size() >= (closed ? 5u : 3u)) drop_if_holds(keys.size() - 2);
  std::vector<double> out;
  for (QvULong k : keys) out.push_back(in.t[k]);
  return out;
}

TYPED_TEST(SplineFitFamily, CardinalWalkMatchesAWholeSplineReference) {
  std::mt19937 rng(777);
  for (int round = 0; round < 16; ++round) {
    const bool closed = round % 2 == 1;
    const double tol = 0.02 + 0.03 * (round % 5);
    const auto in = random_samples<TypeParam>(rng, 4 + 5 * round, 0.02, closed);
    SCOPED_TRACE(testing::Message() << "round " << round);
    TypeParam s;
    ASSERT_EQ(1, fit(s, in, tol, kCardinal, closed));
    EXPECT_EQ(greedy_keys(in, tol, closed), to_vector(s.GetKeyParameters()));
  }
}

}  // namespace
