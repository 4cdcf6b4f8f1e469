#include "curve_builder.h"

#include <qv/QvTransfo4.h>

#include <gtest/gtest.h>

#include <limits>
#include <random>

using qv::test::append_key;
using qv::test::fill_random;
using qv::test::set_extrapolation;
using Base = QvBaseFCurve;

// Samples come from the polyline, so they agree with evaluation within the flattening tolerance,
// exactly on straight pieces, and take the right value at a jump.
TEST(StdFCurveSequence, SamplesFollowTheCurve) {
  std::mt19937 rng(31);
  for (int method = 1; method <= 4; ++method) {
    SCOPED_TRACE(method);
    QvStdFCurve curve;
    fill_random(curve, rng, 7);
    set_extrapolation(curve, static_cast<Base::ExtrapolationMethod>(method));
    const QvStdFCurveImpl& body = *curve.GetImpl();
    const double first = body.Key(0).parameter;
    const double last = body.Key(6).parameter;
    const double from = first - (last - first) * 1.3;
    const double to = last + (last - first) * 1.7;
    QvDoubleArray xs, vs;
    const QvULong count = curve.EvalSequence(from, to, 0.01, 1e-5, xs, vs, 0);
    ASSERT_EQ(count, xs.GetSize());
    ASSERT_EQ(count, vs.GetSize());
    EXPECT_EQ(from, xs[0]);
    EXPECT_EQ(to, xs[count - 1]);
    for (QvULong i = 0; i < count; ++i) {
      const double x = xs[i];
      // The polyline is within the tolerance of the curve, which steep cubics turn into a larger
      // error in value. A sample right at a jump may fall on either side of it.
      bool near_key = false;
      for (QvULong k = 0; k < body.m_numKeys; ++k) {
        const double d = std::fmod(std::fabs(x - body.Key(k).parameter), last - first);
        near_key = near_key || d < 1e-6 || (last - first) - d < 1e-6;
      }
      if (!near_key) {
        ASSERT_NEAR(curve.Eval(x, 0), vs[i], 1e-3) << x;
      }
    }
  }
}

TEST(StdFCurveSequence, JumpsEndsAndClamp) {
  QvStdFCurve curve;
  append_key(curve, 0.0, 0.0, Base::FSLinear);
  append_key(curve, 1.0, 1.0, 3.0, Base::FSLinear);
  append_key(curve, 2.0, 2.0, Base::FSLinear);
  QvDoubleArray xs, vs;
  ASSERT_EQ(5u, curve.EvalSequence(0.0, 2.0, 0.5, 1e-3, xs, vs, 0));
  const double want[] = {0.0, 0.5, 3.0, 2.5, 2.0};
  for (QvULong i = 0; i < 5; ++i) {
    EXPECT_EQ(0.5 * i, xs[i]);
    EXPECT_DOUBLE_EQ(want[i], vs[i]);
  }
  curve.GetImpl()->m_clampMax = 2.2;
  QvDoubleArray one_x, one_v;
  ASSERT_EQ(2u, curve.EvalSequence(1.0, 1.0, 0.5, 1e-3, one_x, one_v, 1));
  EXPECT_EQ(1.0, one_v[0]);   // the arrival first
  EXPECT_EQ(2.2, one_v[1]);   // then the jump's value, clamped
}

TEST(StdFCurveSequence, FlattenMarksJumps) {
  QvStdFCurve curve;
  append_key(curve, 0.0, 0.0, 1.0, Base::FSConstant);
  append_key(curve, 1.0, 5.0, Base::FSBezierCubic);
  QvStdFCurveKey& end = append_key(curve, 3.0, 0.0, Base::FSLinear);
  curve.GetImpl()->Key(1).rightHandle = QvPoint2<double>(1.5, 7.0);
  end.leftHandle = QvPoint2<double>(2.5, 7.0);
  QvPoint2dArray points;
  QvPointTagArray tags;
  const QvULong count = curve.Flatten(QvTransfo4(), 1e-3, points, tags, 0);
  ASSERT_EQ(count, points.GetSize());
  ASSERT_GT(count, 6u);
  // Two points at each jump: (0, 0) then (0, 1); (1, 1) then (1, 5).
  EXPECT_EQ(QvPoint2<double>(0, 0), points[0]);
  EXPECT_EQ(QvPoint2<double>(0, 1), points[1]);
  EXPECT_EQ(QvPoint2<double>(1, 1), points[2]);
  EXPECT_EQ(QvPoint2<double>(1, 5), points[3]);
  EXPECT_EQ(TagFirst, tags[0]);
  EXPECT_EQ(TagLast, tags[1]);
  EXPECT_EQ(TagLast, tags[3]);
  EXPECT_EQ(QvPoint2<double>(3, 0), points[count - 1]);
  for (QvULong i = 4; i < count; ++i) {
    EXPECT_NEAR(curve.Eval(points[i].x, 0), points[i].y, 2e-3);
    EXPECT_EQ(TagInner, tags[i]);
  }
  QvStdFCurve empty;
  EXPECT_EQ(0u, empty.Flatten(QvTransfo4(), 1e-3, points, tags, 0));
}

// Bad arguments give some answer, never a fault: the sanitizer build runs these.
TEST(StdFCurveSequence, HostileArguments) {
  std::mt19937 rng(61);
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const double inf = std::numeric_limits<double>::infinity();
  for (int method = 1; method <= 4; ++method) {
    SCOPED_TRACE(method);
    QvStdFCurve curve;
    fill_random(curve, rng, 5);
    set_extrapolation(curve, static_cast<Base::ExtrapolationMethod>(method));
    for (double x : {nan, inf, -inf, 1e300, -1e300}) {
      curve.Eval(x, 1);
      curve.EvalLeft(x, 0);
      curve.FoldParameter(x);
      curve.EvalIntegral(0.0, x);
      double p = 0.0;
      curve.EvalInverse(x, p, 0);
      QvDoubleArray xs, vs;
      const QvULong samples = curve.EvalSequence(x, 1.0, 0.5, 1e-3, xs, vs, 0);
      if (!std::isfinite(x) || x < 0.0) {
        EXPECT_EQ(0u, samples);  // no ends to start from, or far too many samples
      }
      curve.EvalSequence(0.0, 1.0, 0.1, x, xs, vs, 0);
      QvPoint2dArray points;
      QvPointTagArray tags;
      QvBoolArray flags;
      QvExtent2<double> extent;
      extent.state = QvExtent2<double>::ExtentBounded;
      extent.min = QvPoint2<double>(x, -1.0);
      extent.max = QvPoint2<double>(2.0, 1.0);
      curve.FlattenFromTo(extent, QvTransfo4(), 1e-3, points, tags, flags, 0);
      curve.Flatten(QvTransfo4(), x, points, tags, 1);
    }
    QvDoubleArray xs, vs;
    EXPECT_EQ(2u, curve.EvalSequence(0.0, 1.0, 0.0, 1e-3, xs, vs, 0));  // no step: the two ends
  }
}
