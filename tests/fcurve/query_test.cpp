#include "curve_builder.h"

#include <gtest/gtest.h>

using qv::test::append_key;
using Base = QvBaseFCurve;

namespace {

// (0, 0) cubic with right handle (1, 4); (3, 1) with left handle (2, -2), then linear to (4, 2)
// with a jump to 6 at the last key.
void bumpy(QvStdFCurve& curve) {
  QvStdFCurveKey& a = append_key(curve, 0.0, 0.0, Base::FSBezierCubic);
  a.rightHandle = QvPoint2<double>(1.0, 4.0);
  QvStdFCurveKey& b = append_key(curve, 3.0, 1.0, Base::FSLinear);
  b.leftHandle = QvPoint2<double>(2.0, -2.0);
  append_key(curve, 4.0, 2.0, 6.0, Base::FSConstant);
}

}  // namespace

TEST(StdFCurveQuery, BoundsAndRanges) {
  QvStdFCurve curve;
  bumpy(curve);
  EXPECT_EQ(6.0, curve.GetValueUpperBound(0));
  EXPECT_EQ(-2.0, curve.GetValueLowerBound(0));
  EXPECT_EQ(0.0, curve.GetMinusInfinityVal());
  EXPECT_EQ(6.0, curve.GetPlusInfinityVal());
  curve.GetImpl()->m_clampMin = -1.0;
  curve.GetImpl()->m_clampMax = 5.0;
  EXPECT_EQ(5.0, curve.GetValueUpperBound(1));
  EXPECT_EQ(-1.0, curve.GetValueLowerBound(1));

  struct Case {
    const char* name;
    double x;
    Base::KeySide side;
    double low, high;
  };
  const Case cases[] = {
      {"left of the first key", 0.0, Base::KeySideLeft, 0.0, 0.0},
      {"hull of the cubic", 0.0, Base::KeySideRight, -2.0, 4.0},
      {"the same from its end", 3.0, Base::KeySideLeft, -2.0, 4.0},
      {"linear ends", 3.0, Base::KeySideRight, 1.0, 2.0},
      {"right of the last key", 4.0, Base::KeySideRight, 6.0, 6.0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    double low = 99, high = 99;
    ASSERT_EQ(1, curve.GetValueRange(c.x, c.side, low, high, 0.0, 0));
    EXPECT_EQ(c.low, low);
    EXPECT_EQ(c.high, high);
  }
  double low = 99, high = 99;
  EXPECT_EQ(0, curve.GetValueRange(0.0, static_cast<Base::KeySide>(3), low, high, 0.0, 0));
  EXPECT_EQ(0, curve.GetValueRange(0.5, Base::KeySideRight, low, high, 0.1, 0));
  EXPECT_EQ(99.0, low);
}

TEST(StdFCurveQuery, ConstantValue) {
  QvStdFCurve empty;
  EXPECT_EQ(1, empty.HasConstantValue());
  QvStdFCurve flat;
  append_key(flat, 0.0, 2.0, Base::FSConstant);
  append_key(flat, 1.0, 7.0, 2.0, Base::FSBezierCubic);  // the stored 7 is never reached
  append_key(flat, 2.0, 2.0, Base::FSLinear);
  EXPECT_EQ(1, flat.HasConstantValue());
  flat.GetImpl()->Key(1).rightHandle.y = 2.5;
  EXPECT_EQ(0, flat.HasConstantValue());
}

TEST(StdFCurveQuery, KeysValuesAndKinds) {
  QvStdFCurve curve(0.0, Base::FSLinear);
  bumpy(curve);
  append_key(curve, 5.0, 1.0, Base::FSBezierCubic);
  QvDoubleArray parameters, lefts, rights;
  ASSERT_EQ(4u, curve.GetKeys(parameters, lefts, rights, 0));
  EXPECT_EQ(6.0, lefts[3]);  // arrival after a constant segment
  EXPECT_EQ(1.0, rights[3]);
  double left = 0, right = 0;
  ASSERT_EQ(1, curve.GetKeyValues(4.0, left, right, 0.0));
  EXPECT_EQ(2.0, left);
  EXPECT_EQ(6.0, right);

  // Kinds: the region before the first key has the curve's own; a key's left side is the kind
  // of the segment arriving there.
  EXPECT_EQ(Base::FSLinear, curve.GetSegmentKindAtParameter(-1.0));
  EXPECT_EQ(Base::FSBezierCubic, curve.GetSegmentKindAtParameter(0.0));
  Base::FSKind l = Base::FSConstant, r = Base::FSConstant;
  ASSERT_EQ(1, curve.GetSegmentKinds(3.05, l, r, 0.1));
  EXPECT_EQ(Base::FSBezierCubic, l);
  EXPECT_EQ(Base::FSLinear, r);
  EXPECT_EQ(0, curve.GetSegmentKindAtIndex(4, Base::KeySideRight, l));
  EXPECT_EQ(0, curve.HasUniformSegmentKind(l));
}

TEST(StdFCurveQuery, InfoRecordsFollowTheMask) {
  QvStdFCurve curve(1.5, Base::FSConstant);
  bumpy(curve);
  Base::FCurveInfo info;
  info.mask = 2 | 64;
  info.kind = static_cast<Base::Kind>(0);
  info.valueWhenNoKeys = -7.0;
  info.numKeys = 0;
  info.extrapolation = static_cast<Base::ExtrapolationMethod>(0);
  ASSERT_EQ(1, curve.GetFCurveInfo(&info));
  EXPECT_EQ(3u, info.numKeys);
  EXPECT_EQ(Base::ExtrapolationConstant, info.extrapolation);
  EXPECT_EQ(0, info.kind);
  EXPECT_EQ(-7.0, info.valueWhenNoKeys);
  EXPECT_EQ(0, curve.GetFCurveInfo(nullptr));

  Base::KeyInfo key{};
  key.mask = 4 | 256;
  key.rightValue = -7.0;
  ASSERT_EQ(1, curve.GetKeyInfoFromParameter(4.0, &key));
  EXPECT_EQ(2.0, key.leftValue);
  EXPECT_EQ(Base::FSConstant, key.segmentKind);
  EXPECT_EQ(-7.0, key.rightValue);
  key.mask = 0x1FF;
  EXPECT_EQ(0, curve.GetKeyInfoFromIndex(3, &key));
  EXPECT_EQ(0u, key.mask);
}

TEST(StdFCurveQuery, Constraints) {
  using namespace qv::internal;
  QvStdFCurve curve;
  append_key(curve, 0.0, 0.0, Base::FSLinear, kFlagKeyLocked | kFlagTangentLinear);
  append_key(curve, 1.0, 0.0, Base::FSLinear, kFlagTangentContinuity);
  struct Case {
    Base::KeyConstraint constraint;
    QvLong want;
  };
  const Case cases[] = {
      {Base::KCKeyLocked, 1},          {Base::KCValueLocked, 1},
      {Base::KCParameterLocked, 1},    {Base::KCTangentContinuity, 0},
      {Base::KCTangentLinear, 1},      {Base::KCTangentLinearAlternate, 1},
      {static_cast<Base::KeyConstraint>(Base::KCParameterLocked | Base::KCValueLocked), 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.constraint);
    EXPECT_EQ(c.want, curve.GetConstraintAtIndex(0, c.constraint));
    double parameter = 1e-3;
    QvLong on = -1;
    // A combination of several values reads as off.
    ASSERT_EQ(1, curve.GetConstraint(parameter, c.constraint, on, 0.01));
    EXPECT_EQ(c.want, on);
    EXPECT_EQ(0.0, parameter);  // the key's own parameter is written back
  }
  EXPECT_EQ(1, curve.AreAnyKeysLockedInInterval(-1.0, 0.5, 0, 0));
  EXPECT_EQ(0, curve.AreAnyKeysLockedInInterval(0.0, 1.0, 1, 0));
  double parameter = 0.999;
  EXPECT_EQ(1, curve.IsTangentContinuityLocked(parameter, 0.01));
  EXPECT_EQ(1.0, parameter);
  EXPECT_EQ(0, curve.GetConstraintAtIndex(2, Base::KCValueLocked));
}
