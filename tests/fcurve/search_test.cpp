#include "curve_builder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

using qv::test::append_key;
using qv::test::fill_random;
using FS = QvBaseFCurve::FSKind;

namespace {

// Position and exactness by counting, for parameters that are either keys themselves or farther
// than 1e-15 from every key.
QvStdFCurveImpl::KeyPosition reference_position(const QvStdFCurveImpl& body, double x) {
  QvULong count = 0;
  bool exact = false;
  for (QvULong i = 0; i < body.m_numKeys; ++i) {
    if (body.Key(i).parameter <= x) ++count;
    if (body.Key(i).parameter == x) exact = true;
  }
  return {count, exact};
}

}  // namespace

// Whatever the hint holds, the answer is the one of a plain count. Sizes below and above twelve
// keys take the binary search alone and the neighbourhood of the hint first.
TEST(StdFCurveSearch, FindKeyMatchesCountForEveryHint) {
  std::mt19937 rng(7);
  for (int n : {1, 2, 5, 11, 12, 13, 40}) {
    SCOPED_TRACE(testing::Message() << n << " keys");
    QvStdFCurve curve;
    fill_random(curve, rng, n);
    const QvStdFCurveImpl& body = *curve.GetImpl();
    std::vector<double> probes;
    std::uniform_real_distribution<double> any(body.Key(0).parameter - 1.0,
                                               body.Key(body.m_numKeys - 1).parameter + 1.0);
    for (int i = 0; i < 60; ++i) probes.push_back(any(rng));
    for (QvULong i = 0; i < body.m_numKeys; ++i) probes.push_back(body.Key(i).parameter);
    for (double x : probes) {
      const QvStdFCurveImpl::KeyPosition want = reference_position(body, x);
      for (QvULong hint = 0; hint <= body.m_numKeys + 1; ++hint) {
        body.m_searchHint = hint;
        const QvStdFCurveImpl::KeyPosition got = body.FindKey(x);
        ASSERT_EQ(want.position, got.position) << "x " << x << " hint " << hint;
        ASSERT_EQ(want.exact, got.exact) << "x " << x << " hint " << hint;
      }
    }
  }
}

TEST(StdFCurveSearch, TolerantLookupTies) {
  QvStdFCurve curve;
  for (double p : {0.0, 1.0, 2.0, 3.0}) append_key(curve, p, p * 10.0, QvBaseFCurve::FSLinear);
  struct Case {
    const char* name;
    double x, tolerance;
    bool found;
    QvULong index;
  };
  const Case cases[] = {
      {"two keys equally far go to the earlier", 0.5, 0.5, true, 0},
      {"nearest of three", 1.9, 1.0, true, 2},
      {"exact with zero tolerance", 2.0, 0.0, true, 2},
      {"miss with zero tolerance", 2.0 + 1e-9, 0.0, false, 0},
      {"interval closed at both ends", 3.5, 0.5, true, 3},
      {"before the first key", -0.6, 0.5, false, 0},
      {"after the last key", 3.6, 0.5, false, 0},
      {"NaN is near nothing", std::nan(""), 1.0, false, 0},
      {"nor within a NaN tolerance", 1.0, std::nan(""), false, 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    QvULong index = 99;
    EXPECT_EQ(c.found, curve.GetImpl()->FindKeyNear(c.x, c.tolerance, index));
    if (c.found) {
      EXPECT_EQ(c.index, index);
    }
    EXPECT_EQ(c.found ? 1 : 0, curve.IsKeyParameter(c.x, c.tolerance));
  }
}

TEST(StdFCurveSearch, SimpleKeyQueries) {
  QvStdFCurve curve;
  for (double p : {0.0, 1.0, 2.0}) append_key(curve, p, 0.0, QvBaseFCurve::FSLinear);
  struct Case {
    const char* name;
    QvLong result;
    double got, want;
  };
  double next = -1, prev = -1, nearest = -1, centred = 1.4;
  double n1 = -1, n2 = -1, p1 = -1, p2 = -1, p3 = -1;
  const Case cases[] = {
      {"next after", curve.GetNextKeyParameter(0.5, next, 0), next, 1.0},
      {"next at key, included", curve.GetNextKeyParameter(1.0, n1, 1), n1, 1.0},
      {"next at key, excluded", curve.GetNextKeyParameter(1.0, n2, 0), n2, 2.0},
      {"prev before", curve.GetPrevKeyParameter(1.5, prev, 0), prev, 1.0},
      {"prev at key, included", curve.GetPrevKeyParameter(1.0, p1, 1), p1, 1.0},
      {"prev at key, excluded", curve.GetPrevKeyParameter(1.0, p2, 0), p2, 0.0},
      {"prev past the end", curve.GetPrevKeyParameter(7.0, p3, 0), p3, 2.0},
      {"halfway goes to the later key", curve.GetNearestKeyParameter(0.5, nearest), nearest, 1.0},
      {"centred interval snaps", curve.GetNearestKeyParameterInCenteredInterval(centred, 0.5),
       centred, 1.0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(1, c.result);
    EXPECT_EQ(c.want, c.got);
  }
  double untouched = 5.0;
  EXPECT_EQ(0, curve.GetNearestKeyParameterInCenteredInterval(untouched, 0.5));
  EXPECT_EQ(0, curve.GetNextKeyParameter(2.0, untouched, 0));
  EXPECT_EQ(0, curve.GetPrevKeyParameter(0.0, untouched, 0));
  EXPECT_EQ(5.0, untouched);
}

TEST(StdFCurveSearch, IntervalSelection) {
  QvStdFCurve curve;
  for (double p : {0.0, 1.0, 2.0, 3.0, 4.0}) append_key(curve, p, 0.0, QvBaseFCurve::FSLinear);
  curve.GetImpl()->Key(2).flags |= qv::internal::kFlagValueLocked;
  struct Case {
    const char* name;
    double from, to;
    QvLong openFrom, openTo;
    std::vector<double> want;
  };
  const Case cases[] = {
      {"closed", 1.0, 3.0, 0, 0, {1.0, 2.0, 3.0}},
      {"open start", 1.0, 3.0, 1, 0, {2.0, 3.0}},
      {"open end", 1.0, 3.0, 0, 1, {1.0, 2.0}},
      {"open both", 1.0, 3.0, 1, 1, {2.0}},
      {"between keys", 0.5, 3.5, 1, 1, {1.0, 2.0, 3.0}},
      {"one point, both open", 2.0, 2.0, 1, 1, {}},
      {"one point, closed", 2.0, 2.0, 0, 0, {2.0}},
      {"one point, start open", 2.0, 2.0, 1, 0, {2.0}},
      {"reversed", 3.0, 1.0, 0, 0, {}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    QvDoubleArray found;
    found.Add(-1.0);  // results are appended
    EXPECT_EQ(c.want.size(), curve.GetKeyParameters(c.from, c.to, found, c.openFrom, c.openTo));
    ASSERT_EQ(c.want.size() + 1, found.GetSize());
    for (size_t i = 0; i < c.want.size(); ++i)
      EXPECT_EQ(c.want[i], found[static_cast<QvULong>(i + 1)]);
    const bool has_two =
        std::find(c.want.begin(), c.want.end(), 2.0) != c.want.end();
    EXPECT_EQ(has_two ? 1 : 0,
              curve.AreAnyValuesLockedInInterval(c.from, c.to, c.openFrom, c.openTo));
  }
}
