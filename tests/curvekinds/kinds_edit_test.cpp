#include <gtest/gtest.h>
#include <qv/QvBooleanFCurve.h>
#include <qv/QvIntegerFCurve.h>

#include <vector>

#include "curvekinds/kinds_support.h"

namespace {

using C = QvBaseFCurve;
using qv::test::integers;
using qv::test::parameters_of;
using qv::test::values_of;

// Exposes the lock level, which hosts cannot see.
struct BooleanProbe : QvBooleanFCurve {
  using QvBaseFCurve::GetLockCount;
};

}  // namespace

TEST(SteppedCurveEdit, KeyValuesAreTestedBeforeAnythingChanges) {
  struct Case {
    double value;
    QvLong boolean;
    QvLong integer;
  } cases[] = {
      {0.0, 1, 1},          {1.0, 1, 1},           {1.0 + 1e-16, 1, 1},   {0.5, 0, 0},
      {2.0, 0, 1},          {-3.0, 0, 1},          {2.5, 0, 0},           {3e9, 0, 0},
      {2147483647.0, 0, 1}, {-2147483648.0, 0, 1}, {-2147483649.0, 0, 0}, {-0.25, 0, 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.value);
    QvBooleanFCurve b(0.0);
    QvIntegerFCurve i(0.0);
    EXPECT_EQ(c.boolean, b.CreateKey(1.0, c.value));
    EXPECT_EQ(c.integer, i.CreateKey(1.0, c.value));
    EXPECT_EQ(static_cast<QvULong>(c.boolean), b.GetNumKeys());
    if (c.integer != 0) {
      EXPECT_EQ(c.value, i.Eval(5.0, 0));
    }
  }
}

TEST(SteppedCurveEdit, FirstKeySetsEmptyAndLeftValues) {
  QvIntegerFCurve c(9.0);
  ASSERT_EQ(1, c.CreateKey(2.0, 4.0));
  C::FCurveInfo info{};
  info.mask = 4;
  ASSERT_EQ(1, c.GetFCurveInfo(&info));
  EXPECT_EQ(4.0, info.valueWhenNoKeys);
  EXPECT_EQ(4.0, c.GetMinusInfinityVal());
  // A key ahead of the first takes over the left value too; a key after leaves it.
  c.CreateKey(1.0, 7.0);
  c.CreateKey(3.0, -2.0);
  EXPECT_EQ(7.0, c.Eval(0.0, 0));
  double left = 0;
  double right = 0;
  ASSERT_EQ(1, c.GetKeyValues(3.0, left, right, 0.0));
  EXPECT_EQ(4.0, left);
  EXPECT_EQ(-2.0, right);

  // Bits that a stepped curve cannot serve are cleared and answered with fixed fields.
  info.mask = 2 | 8 | 32;
  EXPECT_EQ(0, c.GetFCurveInfo(&info));
  EXPECT_EQ(2u, info.mask);
  EXPECT_EQ(C::FSConstant, info.firstSegmentKind);
  EXPECT_EQ(0.0, info.clampMax);
  C::KeyInfo key{};
  key.mask = 1 | 2 | 4 | 8;
  ASSERT_EQ(1, c.GetKeyInfoFromIndex(1, &key));
  EXPECT_EQ(7.0, key.leftValue);
  EXPECT_EQ(0, c.GetKeyInfoFromIndex(3, &key));
  EXPECT_EQ(0u, key.mask);
}

TEST(SteppedCurveEdit, SidesOfAKey) {
  QvIntegerFCurve c = integers({10, 20, 30, 40}, 5);
  // The left side of key 3 is the value of key 2.
  ASSERT_EQ(1, c.SetKeyValue(3.0, C::KeySideLeft, 33.0, 1e-9));
  EXPECT_EQ((std::vector<double>{10, 20, 33, 40}), values_of(c));
  ASSERT_EQ(1, c.SetKeyValue(0.0, C::KeySideLeft, -4.0, 0.0));
  EXPECT_EQ(-4.0, c.Eval(-1.0, 0));
  double v = 0;
  ASSERT_EQ(1, c.GetKeyValue(0.0, C::KeySideLeft, v, 0.0));
  EXPECT_EQ(-4.0, v);
  EXPECT_EQ(0, c.SetKeyValue(1.0, static_cast<C::KeySide>(3), 1.0, 0.0));
  EXPECT_EQ(0, c.SetKeyValue(1.5, C::KeySideRight, 1.0, 0.1));
  // A boolean counts only 1 within 1e-15 as true.
  QvBooleanFCurve b(0.0);
  b.CreateKey(0.0, 1.0);
  ASSERT_EQ(1, b.SetKeyValue(0.0, C::KeySideRight, 0.9, 0.0));
  EXPECT_EQ(0.0, b.Eval(1.0, 0));
}

TEST(SteppedCurveEdit, LocksGuardValuesAndParameters) {
  QvIntegerFCurve c = integers({1, 2, 3}, 0);
  double t = 1.0 + 1e-10;
  ASSERT_EQ(1, c.SetConstraint(t, C::KCValueLocked, 1, 1e-9));
  EXPECT_EQ(1.0, t);
  EXPECT_EQ(0, c.SetConstraint(t, C::KCTangentFlat, 1, 0.0));
  QvLong on = 0;
  ASSERT_EQ(1, c.GetConstraint(t, C::KCValueLocked, on, 0.0));
  EXPECT_EQ(1, on);
  ASSERT_EQ(1, c.GetConstraint(t, C::KCKeyLocked, on, 0.0));
  EXPECT_EQ(0, on);

  EXPECT_EQ(0, c.CreateKey(1.0, 9.0));
  EXPECT_EQ(0, c.SetKeyValue(2.0, C::KeySideLeft, 9.0, 0.0));
  EXPECT_EQ(1, c.AreAnyValuesLockedInInterval(0.0, 1.0, 0, 0));
  EXPECT_EQ(0, c.AreAnyValuesLockedInInterval(0.0, 1.0, 0, 1));
  EXPECT_EQ(0, c.AreAnyParametersLockedInInterval(0.0, 2.0, 0, 0));
  EXPECT_EQ(0, c.AreAnyKeysLockedInInterval(0.0, 2.0, 0, 0));
  ASSERT_EQ(1, c.SetConstraint(t, C::KCParameterLocked, 1, 0.0));
  EXPECT_EQ(1, c.AreAnyKeysLockedInInterval(0.0, 2.0, 0, 0));
  EXPECT_EQ(0, c.ShiftParameters(1.0));
  EXPECT_EQ(0, c.RemoveKey(1.0, 0.0));
  EXPECT_EQ(0, c.RemoveKeys(0.5, 1.5, 0, 0));
  ASSERT_EQ(1, c.GetConstraint(t, C::KCKeyLocked, on, 0.0));
  EXPECT_EQ(1, on);
  for (C::KeyConstraint k : {C::KCParameterLocked, C::KCValueLocked, C::KCKeyLocked})
    EXPECT_EQ(1, c.IsConstraintSupported(k));
  EXPECT_EQ(0, c.IsConstraintSupported(C::KCTangentContinuity));
  EXPECT_EQ((std::vector<double>{1, 2, 3}), values_of(c));
}

TEST(SteppedCurveEdit, RemovingTheFirstKeyKeepsTheStepsToTheRight) {
  QvIntegerFCurve c = integers({10, 20, 30}, 5);
  ASSERT_EQ(1, c.RemoveKey(0.0, 0.0));
  EXPECT_EQ(10.0, c.Eval(0.5, 0));
  EXPECT_EQ(20.0, c.Eval(1.0, 0));
  // The only key gone, the value before it follows the empty curve's value.
  QvIntegerFCurve one(0.0);
  one.CreateKey(1.0, 8.0);
  one.SetValueWhenNoKeys(3.0);
  ASSERT_EQ(1, one.RemoveKey(1.0, 0.0));
  EXPECT_EQ(3.0, one.GetMinusInfinityVal());
  EXPECT_EQ(1, one.RemoveKey(1.0, 0.0));  // nothing left to remove is no failure
  // A value-locked first key that goes leaves its own value arriving at the next key only if that
  // key's lock allows it.
  QvIntegerFCurve guarded = integers({10, 20, 30}, 5);
  double t = 1.0;
  guarded.SetConstraint(t, C::KCValueLocked, 1, 0.0);
  ASSERT_EQ(1, guarded.RemoveKey(0.0, 0.0));
  EXPECT_EQ(5.0, guarded.GetMinusInfinityVal());
  t = 1.0;
  guarded.SetConstraint(t, C::KCValueLocked, 0, 0.0);
  ASSERT_EQ(1, guarded.RemoveKey(1.0, 0.0));
  EXPECT_EQ(20.0, guarded.GetMinusInfinityVal());
  QvIntegerFCurve range = integers({1, 2, 3, 4}, 0);
  ASSERT_EQ(1, range.RemoveKeys(0.0, 2.0, 0, 1));
  EXPECT_EQ(2.0, range.Eval(1.0, 0));
  EXPECT_EQ(2u, range.GetNumKeys());
}

TEST(SteppedCurveEdit, ReduceKeepsTheFirstOfEachRunAndLockedKeys) {
  QvIntegerFCurve c = integers({1, 1, 1, 2, 2, 5, 5, 5}, 0);
  double t = 6.0;
  c.SetConstraint(t, C::KCParameterLocked, 1, 0.0);
  ASSERT_EQ(1, c.ReduceNumKeys(0.0, 7.0, 0.5));
  EXPECT_EQ((std::vector<double>{0, 3, 5, 6, 7}), parameters_of(c));
  for (double x = -1.0; x < 8.0; x += 0.5)
    EXPECT_EQ(integers({1, 1, 1, 2, 2, 5, 5, 5}, 0).Eval(x, 0), c.Eval(x, 0));
}

TEST(SteppedCurveEdit, IntegerValueArithmetic) {
  // Locked values stay under a shift; the empty-curve value moves, the value before the keys not.
  QvIntegerFCurve c = integers({1, 2, 3}, 7);
  double t = 1.0;
  c.SetConstraint(t, C::KCValueLocked, 1, 0.0);
  ASSERT_EQ(1, c.ShiftValues(2.5));
  EXPECT_EQ((std::vector<double>{4, 2, 6}), values_of(c));
  EXPECT_EQ(7.0, c.GetMinusInfinityVal());

  // Scaling drives each key from the value arriving at it.
  QvIntegerFCurve s = integers({1, 2, 3}, 7);
  ASSERT_EQ(1, s.ScaleAndShiftValues(2.0, 1.0));
  EXPECT_EQ((std::vector<double>{15, 31, 63}), values_of(s));
  QvIntegerFCurve collapse = integers({1, 2, 3}, 7);
  ASSERT_EQ(1, collapse.ScaleAndShiftValues(1.0, 0.0));
  EXPECT_EQ((std::vector<double>{7, 7, 7}), values_of(collapse));
  EXPECT_EQ(0, collapse.ScaleAndShiftValues(1e-8, 0.0));

  QvIntegerFCurve m = integers({1, 5, 3}, 2);
  ASSERT_EQ(1, m.MirrorValues());
  EXPECT_EQ((std::vector<double>{5, 1, 3}), values_of(m));
  EXPECT_EQ(4.0, m.GetMinusInfinityVal());

  const double kernel[3] = {0.25, 0.5, 0.25};
  QvIntegerFCurve sm = integers({0, 4, 0, 4}, 0);
  ASSERT_EQ(1, sm.SmoothSequence(0.0, 3.0, kernel, 3));
  EXPECT_EQ((std::vector<double>{1, 2, 2, 2}), values_of(sm));

  // The boolean kind has no value arithmetic.
  QvBooleanFCurve b(0.0);
  b.CreateKey(0.0, 1.0);
  EXPECT_EQ(1, b.ShiftValues(3.0));
  EXPECT_EQ(1, b.ScaleAndShiftValues(2.0, 1.0));
  EXPECT_EQ(0, b.SmoothSequence(0.0, 1.0, kernel, 3));
  EXPECT_EQ(1.0, b.Eval(0.0, 0));
  double lo = 0;
  double hi = 0;
  EXPECT_EQ(1, b.GetClampingValues(lo, hi));
  EXPECT_EQ(-1.7976931348623157e+308, lo);
  EXPECT_EQ(0, b.SetClampingValues(0.0, 1.0));
}

TEST(SteppedCurveEdit, MirroredParametersKeepEachStepsValue) {
  QvIntegerFCurve c = integers({1, 2, 3}, 0);
  ASSERT_EQ(1, c.MirrorParameters());
  for (double x = -0.75; x < 3.0; x += 0.5)
    EXPECT_EQ(integers({1, 2, 3}, 0).Eval(2.0 - x, 0), c.Eval(x, 0)) << x;
}

TEST(SteppedCurveEdit, CutAppendAndPaste) {
  QvIntegerFCurve c = integers({1, 2, 3, 4, 5}, 0);
  QvIntegerFCurve piece(0.0);
  ASSERT_EQ(1, c.Cut(1.0, 3.0, piece));
  EXPECT_EQ(4.0, c.Eval(1.5, 0));
  EXPECT_EQ(5.0, c.Eval(2.0, 0));
  EXPECT_EQ(3u, piece.GetNumKeys());
  EXPECT_EQ(3.0, piece.Eval(2.5, 0));

  QvIntegerFCurve a = integers({1, 2}, 0);
  QvIntegerFCurve b = integers({7, 8, 9}, 0);
  ASSERT_EQ(1, a.Append(b));
  EXPECT_EQ((std::vector<double>{1, 7, 8, 9}), values_of(a));
  QvBooleanFCurve other(0.0);
  EXPECT_EQ(0, a.Append(other));
  EXPECT_EQ(0, a.Set(other));

  QvIntegerFCurve p = integers({1, 2, 3, 4, 5}, 0);
  ASSERT_EQ(1, p.Paste(integers({8, 9}, 0), 1.0, 3.0));
  // The pasted curve's first key lands on the cut point, and the kept tail's first key on its
  // last key: each join takes the later curve's value.
  EXPECT_EQ((std::vector<double>{1, 8, 4, 5}), values_of(p));
}

TEST(SteppedCurveEdit, ReadOnlyRefusesEveryEdit) {
  QvBooleanFCurve c(0.0);
  c.CreateKey(0.0, 1.0);
  c.SetReadOnlyConstraint(1);
  EXPECT_EQ(0, c.CreateKey(1.0, 0.0));
  EXPECT_EQ(0, c.CreateNonModifyingKey(0.5, 1));
  EXPECT_EQ(0, c.RemoveKey(0.0, 0.0));
  EXPECT_EQ(0, c.SetKeyValue(0.0, C::KeySideRight, 0.0, 0.0));
  EXPECT_EQ(0, c.SetValueWhenNoKeys(1.0));
  EXPECT_EQ(0, c.MergeAndCreateKey(-1.0, 1.0, 0.0, 0.0, 0, 0, 0));
  EXPECT_EQ(1u, c.GetNumKeys());
  EXPECT_EQ(1, c.SetReadOnlyConstraint(0));
  EXPECT_EQ(1, c.CreateKey(1.0, 0.0));
}

TEST(SteppedCurveEdit, MergeReplacesTheRangeByOneKey) {
  QvIntegerFCurve c = integers({1, 2, 3, 4}, 0);
  ASSERT_EQ(1, c.MergeAndCreateKey(0.5, 2.5, 1.5, 9.0, 0, 0, 0));
  EXPECT_EQ((std::vector<double>{0, 1.5, 3}), parameters_of(c));
  EXPECT_EQ(9.0, c.Eval(2.0, 0));
  ASSERT_EQ(1, c.MergeAndCreateNonModifyingKey(-1.0, 0.5, 0.25, 0, 0, 0, 1));
  EXPECT_EQ(1.0, c.Eval(0.3, 0));
  EXPECT_EQ(1.0, c.Eval(-0.5, 0));  // the new first key brings its value to its left
  // A key made without changing the shape repeats the step it lands in.
  ASSERT_EQ(1, c.CreateNonModifyingKey(2.0, 1));
  EXPECT_EQ(9.0, c.Eval(2.0, 0));
}

TEST(SteppedCurveEdit, BooleanExtrapolationSetterLeavesTheLockOneLevelDeeper) {
  BooleanProbe b;
  EXPECT_EQ(0, b.GetLockCount());
  EXPECT_EQ(0, b.SetExtrapolationMethod(C::ExtrapolationLinear));
  EXPECT_EQ(0, b.GetLockCount());
  EXPECT_EQ(1, b.SetExtrapolationMethod(C::ExtrapolationCycle));
  EXPECT_EQ(1, b.GetLockCount());
}
