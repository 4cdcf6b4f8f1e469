#include "curve_builder.h"
#include "support/byte_buffer.h"

#include <qv/QvSpline.h>

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <random>
#include <vector>

using qv::test::append_key;
using qv::test::fill_random;
using Base = QvBaseFCurve;
using qv::test::bytes_of;

namespace {

// A random curve without jumps or constant segments, so that it reads the same from both sides.
void smooth_curve(QvStdFCurve& curve, std::mt19937& rng) {
  fill_random(curve, rng, 6, false, true);
  QvStdFCurveImpl& body = *curve.GetImpl();
  for (QvULong i = 0; i < body.m_numKeys; ++i) body.Key(i).rightValue = body.Key(i).leftValue;
}

}  // namespace

TEST(StdFCurveWhole, AxisMovesKeepTheShape) {
  std::mt19937 rng(51);
  QvStdFCurve original;
  smooth_curve(original, rng);
  struct Case {
    const char* name;
    std::function<QvLong(QvStdFCurve&)> apply;
    std::function<double(double)> where;         // where the moved curve shows a point...
    std::function<double(double)> value;        // ...and with which value
  };
  const Case cases[] = {
      {"shift parameters", [](QvStdFCurve& c) { return c.ShiftParameters(2.5); },
       [](double x) { return x + 2.5; }, [](double v) { return v; }},
      {"scale parameters", [](QvStdFCurve& c) { return c.ScaleParameterAxis(3.0); },
       [](double x) { return x * 3.0; }, [](double v) { return v; }},
      {"shift values", [](QvStdFCurve& c) { return c.ShiftValues(-1.5); },
       [](double x) { return x; }, [](double v) { return v - 1.5; }},
      {"scale and shift values", [](QvStdFCurve& c) { return c.ScaleAndShiftValues(-2.0, 1.0); },
       [](double x) { return x; }, [](double v) { return v * -2.0 + 1.0; }},
      {"mirror parameters", [](QvStdFCurve& c) { return c.MirrorParameters(); },
       [&](double x) {
         const QvStdFCurveImpl& b = *original.GetImpl();
         return b.Key(0).parameter + b.Key(b.m_numKeys - 1).parameter - x;
       },
       [](double v) { return v; }},
  };
  const QvStdFCurveImpl& body = *original.GetImpl();
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    QvStdFCurve moved(original);
    ASSERT_EQ(1, c.apply(moved));
    for (double x = body.Key(0).parameter; x <= body.Key(5).parameter; x += 0.05)
      ASSERT_NEAR(c.value(original.Eval(x, 0)), moved.Eval(c.where(x), 0), 1e-7) << x;
  }
}

TEST(StdFCurveWhole, MirrorsUndoThemselves) {
  std::mt19937 rng(53);
  QvStdFCurve curve;
  fill_random(curve, rng, 7);
  curve.GetImpl()->m_firstSegmentKind = Base::FSConstant;
  const QvStdFCurve before(curve);
  ASSERT_EQ(1, curve.MirrorParameters());
  EXPECT_EQ(curve.GetImpl()->m_firstSegmentKind, before.GetImpl()->Key(6).segmentKind);
  ASSERT_EQ(1, curve.MirrorParameters());
  // Parameters come back up to the rounding of f + l - x; everything else exactly.
  for (QvULong i = 0; i < 7; ++i) {
    const QvStdFCurveKey& a = before.GetImpl()->Key(i);
    const QvStdFCurveKey& b = curve.GetImpl()->Key(i);
    EXPECT_NEAR(a.parameter, b.parameter, 1e-14);
    EXPECT_NEAR(a.leftHandle.x, b.leftHandle.x, 1e-14);
    EXPECT_NEAR(a.rightHandle.x, b.rightHandle.x, 1e-14);
    EXPECT_EQ(a.leftValue, b.leftValue);
    EXPECT_EQ(a.rightHandle.y, b.rightHandle.y);
    EXPECT_EQ(a.segmentKind, b.segmentKind);
  }
  EXPECT_EQ(Base::FSConstant, curve.GetFirstSegmentKind());

  QvStdFCurve line;
  append_key(line, 0.0, 1.0, Base::FSLinear);
  append_key(line, 1.0, 3.0, Base::FSLinear);
  ASSERT_EQ(1, line.MirrorValues());
  EXPECT_EQ(3.0, line.Eval(0.0, 0));
  EXPECT_EQ(1.0, line.Eval(1.0, 0));
}

TEST(StdFCurveWhole, Append) {
  QvStdFCurve head;
  append_key(head, 0.0, 0.0, Base::FSLinear);
  append_key(head, 1.0, 1.0, Base::FSLinear);
  QvStdFCurve tail;
  append_key(tail, 5.0, 7.0, 2.0, Base::FSLinear);
  append_key(tail, 7.0, 6.0, Base::FSConstant);
  ASSERT_EQ(1, head.Append(tail));
  ASSERT_EQ(3u, head.GetNumKeys());
  EXPECT_EQ(1.0, head.EvalLeft(1.0, 0));  // the joint keeps its arrival...
  EXPECT_EQ(2.0, head.Eval(1.0, 0));      // ...and takes the other curve's right side
  EXPECT_EQ(4.0, head.Eval(2.0, 0));
  EXPECT_EQ(6.0, head.Eval(3.0, 0));
  QvStdFCurve empty;
  EXPECT_EQ(0, head.Append(empty));
  EXPECT_EQ(0, empty.Append(tail));
  EXPECT_EQ(3u, head.GetNumKeys());
}

// Refusals leave the curve exactly as it was.
TEST(StdFCurveWhole, Refusals) {
  struct Case {
    const char* name;
    std::uint16_t flags;
    QvLong readOnly;
    std::function<QvLong(QvStdFCurve&)> apply;
  };
  QvStdFCurve other;
  append_key(other, 0.0, 1.0, Base::FSLinear);
  const Case cases[] = {
      {"shift a locked parameter", qv::internal::kFlagParameterLocked, 0,
       [](QvStdFCurve& c) { return c.ShiftParameters(1.0); }},
      {"scale by zero", 0, 0, [](QvStdFCurve& c) { return c.ScaleParameterAxis(0.0); }},
      {"scale by a negative", 0, 0, [](QvStdFCurve& c) { return c.ScaleParameterAxis(-1.0); }},
      {"mirror a locked parameter", qv::internal::kFlagParameterLocked, 0,
       [](QvStdFCurve& c) { return c.MirrorParameters(); }},
      {"shift a locked value", qv::internal::kFlagValueLocked, 0,
       [](QvStdFCurve& c) { return c.ShiftValues(1.0); }},
      {"scale a locked value", qv::internal::kFlagValueLocked, 0,
       [](QvStdFCurve& c) { return c.ScaleAndShiftValues(2.0, 0.0); }},
      {"mirror a locked value", qv::internal::kFlagValueLocked, 0,
       [](QvStdFCurve& c) { return c.MirrorValues(); }},
      {"read-only shift", 0, 1, [](QvStdFCurve& c) { return c.ShiftValues(1.0); }},
      {"read-only append", 0, 1, [&](QvStdFCurve& c) { return c.Append(other); }},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    QvStdFCurve curve;
    append_key(curve, 0.0, 1.0, Base::FSLinear);
    append_key(curve, 1.0, 2.0, Base::FSLinear, static_cast<std::uint16_t>(1 | c.flags));
    curve.GetImpl()->m_readOnly = c.readOnly;
    const std::vector<unsigned char> before = bytes_of(curve);
    EXPECT_EQ(0, c.apply(curve));
    EXPECT_EQ(before, bytes_of(curve));
  }
}

TEST(StdFCurveWhole, ConstructionFromPoints) {
  QvPoint2dArray points;
  const double xs[] = {0.0, 1.0, 2.5, 3.0, 4.0, 6.0};
  for (double x : xs) points.Add(x, std::sin(x));
  points.Add(5.0, 9.0);  // not after its predecessor: left out
  for (auto method : {QvStdFCurve::DPCatmullRom, QvStdFCurve::DPNaturalSpline}) {
    SCOPED_TRACE(method);
    QvStdFCurve curve(points, method, 0.0, Base::FSConstant, Base::FSLinear);
    ASSERT_EQ(6u, curve.GetNumKeys());
    EXPECT_TRUE(curve.GetImpl()->IsValid());
    EXPECT_EQ(Base::FSConstant, curve.GetFirstSegmentKind());
    Base::FSKind kind;
    ASSERT_EQ(1, curve.GetSegmentKindAtIndex(5, Base::KeySideRight, kind));
    EXPECT_EQ(Base::FSLinear, kind);
    for (double x : xs) EXPECT_NEAR(std::sin(x), curve.Eval(x, 0), 1e-12) << x;
    // Smooth through the interior points.
    for (QvULong i = 1; i < 5; ++i) EXPECT_TRUE(curve.GetImpl()->TangentsContinuous(i)) << i;
  }
}

TEST(StdFCurveWhole, LinearReducedKeepsCorners) {
  QvPoint2dArray points;
  const double ys[] = {0.0, 1.0, 2.05, 3.0, 2.0, 1.0, 0.0};
  for (int i = 0; i < 7; ++i) points.Add(i, ys[i]);
  QvStdFCurve curve(points, QvStdFCurve::DPLinearReduced, 0.1, Base::FSLinear, Base::FSConstant);
  QvDoubleArray kept;
  ASSERT_EQ(3u, curve.GetAllKeyParameters(kept));
  EXPECT_EQ(0.0, kept[0]);
  EXPECT_EQ(3.0, kept[1]);
  EXPECT_EQ(6.0, kept[2]);
  EXPECT_EQ(1.5, curve.Eval(1.5, 0));
  EXPECT_EQ(0.0, curve.GetPlusInfinityVal());
  QvStdFCurve one(QvPoint2dArray(QvPoint2<double>(2.0, 5.0), 1), QvStdFCurve::DPSplineFit, 0.1,
                  Base::FSLinear, Base::FSLinear);
  EXPECT_EQ(1u, one.GetNumKeys());
  EXPECT_EQ(5.0, one.Eval(-3.0, 0));
}

// The fitted curve is the Hermite spline of the same points: same keys, same values between them,
// every point within the tolerance, and continuity locked at the smooth interior keys.
TEST(StdFCurveWhole, SplineFitFollowsTheSpline) {
  const double tolerance = 1e-3;
  QvPoint2dArray points;
  QvDoubleArray xs;
  QvDoubleArray ys;
  for (int i = 0; i <= 200; ++i) {
    const double x = i * 0.0314;
    points.Add(x, std::sin(x) + 0.3 * x);
    xs.Add(x);
    ys.Add(std::sin(x) + 0.3 * x);
  }
  QvSpline1d spline;
  ASSERT_EQ(1, spline.OpenFit(xs, ys, tolerance, QvSpline::KindHermite));
  QvStdFCurve curve(points, QvStdFCurve::DPSplineFit, tolerance, Base::FSConstant, Base::FSLinear);
  ASSERT_EQ(spline.GetNumKeys(), curve.GetNumKeys());
  EXPECT_LT(curve.GetNumKeys(), 40u);
  EXPECT_TRUE(curve.GetImpl()->IsValid());
  QvDoubleArray keys;
  curve.GetAllKeyParameters(keys);
  for (QvULong i = 0; i < keys.GetSize(); ++i) EXPECT_EQ(spline.GetKeyParameters()[i], keys[i]);
  for (QvULong i = 0; i < points.GetSize(); ++i)
    EXPECT_LE(std::fabs(curve.Eval(points[i].x, 0) - points[i].y), tolerance) << i;
  for (double x = 0.0; x <= 6.28; x += 0.00517) {
    double want = 0.0;
    ASSERT_EQ(1, spline.Eval(want, x));
    EXPECT_NEAR(want, curve.Eval(x, 0), 1e-9) << x;
  }
  for (QvULong i = 0; i < curve.GetNumKeys(); ++i)
    EXPECT_EQ(1, curve.GetConstraintAtIndex(i, Base::KCTangentContinuity)) << i;
  Base::FSKind kind;
  ASSERT_EQ(1, curve.GetSegmentKindAtIndex(curve.GetNumKeys() - 1, Base::KeySideRight, kind));
  EXPECT_EQ(Base::FSLinear, kind);
  EXPECT_EQ(Base::FSConstant, curve.GetFirstSegmentKind());

  // A straight run needs its two ends only; two points give the straight
  // cubic between them.
  QvPoint2dArray line;
  for (int i = 0; i < 9; ++i) line.Add(i * 0.5, 4.0 - 1.5 * i);
  QvStdFCurve straight(line, QvStdFCurve::DPSplineFit, 1e-12, Base::FSBezierCubic,
                       Base::FSBezierCubic);
  EXPECT_EQ(2u, straight.GetNumKeys());
  QvStdFCurve two(QvPoint2dArray(line.data, 2), QvStdFCurve::DPSplineFit, 0.0,
                  Base::FSBezierCubic, Base::FSBezierCubic);
  ASSERT_EQ(2u, two.GetNumKeys());
  QvPoint2<double> handle;
  ASSERT_EQ(1, two.GetActualKeyTgtHandle(0.0, Base::KeySideRight, handle, 0.0));
  EXPECT_DOUBLE_EQ(0.5 / 3.0, handle.x);
  EXPECT_DOUBLE_EQ(-0.5, handle.y);  // relative to the key: a third of the drop
  for (double x : {0.1, 0.25, 0.4}) EXPECT_NEAR(4.0 - 3.0 * x, two.Eval(x, 0), 1e-12);
}

TEST(StdFCurveWhole, SmoothSequence) {
  QvStdFCurve curve;
  const double ys[] = {0.0, 3.0, 0.0, 3.0, 0.0, 9.0};
  for (int i = 0; i < 6; ++i) append_key(curve, i, ys[i], Base::FSLinear);
  const double kernel[] = {0.25, 0.5, 0.25};
  ASSERT_EQ(1, curve.SmoothSequence(1.0, 4.0, kernel, 3));
  // Keys 1 to 4 are filtered among themselves; the ends of the stretch lose a quarter.
  const double want[] = {0.0, 1.5, 1.5, 1.5, 0.75, 9.0};
  for (int i = 0; i < 6; ++i) {
    EXPECT_DOUBLE_EQ(want[i], curve.Eval(i, 0)) << i;
    EXPECT_DOUBLE_EQ(want[i], curve.EvalLeft(i, 0)) << i;
  }
  EXPECT_EQ(0, curve.SmoothSequence(0.0, 5.0, nullptr, 3));
  // Cycling: a stretch that wraps round the seam smooths both of its ends.
  QvStdFCurve cyclic;
  for (int i = 0; i < 6; ++i) append_key(cyclic, i, ys[i], Base::FSLinear);
  qv::test::set_extrapolation(cyclic, Base::ExtrapolationCycle);
  ASSERT_EQ(1, cyclic.SmoothSequence(4.5, 6.5, kernel, 3));  // folds to [0, 1.5] and [4.5, 5]
  EXPECT_DOUBLE_EQ(0.75, cyclic.Eval(0.0, 0));
  EXPECT_DOUBLE_EQ(1.5, cyclic.Eval(1.0, 0));
  EXPECT_EQ(0.0, cyclic.Eval(2.0, 0));
  EXPECT_DOUBLE_EQ(4.5, cyclic.EvalLeft(5.0, 0));
}
