#include <qv/QvQuatFCurve.h>
#include <qv/QvTransfo4.h>

#include <gtest/gtest.h>

#include <cmath>
#include <functional>

namespace {

constexpr double kDeg = 0.017453292519943295;

// Keys of a quarter turn about z per unit of time, seen through the z view.
void quarter_turns(QvQuatFCurve& z, int keys) {
  for (int i = 0; i < keys; ++i) z.CreateKey(static_cast<double>(i), 90.0 * i);
}

const _pmbUID kTag = {0x12345678u, 0x9ABC, 0xDEF0, {1, 2, 3, 4, 5, 6, 7, 8}};

}  // namespace

TEST(QvQuatFCurve, ViewsShareOneCurve) {
  QvQuatFCurve y(1);
  QvQuatFCurve x(y.GetQuatCurve(), 0);
  QvQuatFCurve z(y.GetQuatCurve(), 2);
  y.GetQuatCurve()->SetValueWhenNoKeys(QvPoint3<double>(10 * kDeg, 0, -20 * kDeg));
  // A key made through the y view keeps x and z as the curve evaluated them there.
  ASSERT_EQ(1, y.CreateKey(2.0, 90.0));
  EXPECT_EQ(1u, x.GetNumKeys());
  EXPECT_EQ(1u, z.GetNumKeys());
  double v = 0;
  EXPECT_EQ(1, x.GetKeyValue(2.0, QvBaseFCurve::KeySideLeft, v, 0.0));
  EXPECT_NEAR(10.0, v, 1e-12);
  EXPECT_NEAR(-20.0, z.Eval(7.0, 0), 1e-12);
  EXPECT_NEAR(90.0, y.Eval(-3.0, 0), 1e-12);
  // Assignment writes into the shared curve, so the other views change too.
  QvQuatFCurve other(0);
  other.CreateKey(0.0, 5.0);
  other.CreateKey(1.0, 6.0);
  x = other;
  EXPECT_EQ(2u, z.GetNumKeys());
  EXPECT_EQ(2u, y.GetNumKeys());
  EXPECT_EQ(1u, x.GetComponent() + 1u);
  // A clone owns a copy.
  QvBaseFCurve* clone = x.Clone();
  ASSERT_NE(nullptr, clone);
  clone->RemoveKey(0.0, 0.0);
  EXPECT_EQ(2u, x.GetNumKeys());
  EXPECT_EQ(1, x.Set(*clone));
  EXPECT_EQ(1u, z.GetNumKeys());
  delete clone;
}

TEST(QvQuatFCurve, ReadOnlyRefusesEveryEdit) {
  QvQuatFCurve z(2);
  quarter_turns(z, 3);
  QvQuatFCurve other(2);
  quarter_turns(other, 2);
  ASSERT_EQ(1, z.SetReadOnlyConstraint(1));
  double t = 1.0;
  const std::pair<const char*, std::function<QvLong()>> edits[] = {
      {"CreateKey", [&] { return z.CreateKey(5.0, 1.0); }},
      {"CreateNonModifyingKey", [&] { return z.CreateNonModifyingKey(0.5, 1); }},
      {"MergeAndCreateKey", [&] { return z.MergeAndCreateKey(0, 1, 0.5, 1, 0, 0, 0); }},
      {"RemoveKey", [&] { return z.RemoveKey(1.0, 0.0); }},
      {"RemoveKeys", [&] { return z.RemoveKeys(0.0, 2.0, 0, 0); }},
      {"SetKeyValue", [&] { return z.SetKeyValue(1.0, QvBaseFCurve::KeySideRight, 3, 0); }},
      {"SetValueWhenNoKeys", [&] { return z.SetValueWhenNoKeys(1.0); }},
      {"RemoveTail", [&] { return z.RemoveTail(0.5); }},
      {"Append", [&] { return z.Append(other); }},
      {"ShiftParameters", [&] { return z.ShiftParameters(1.0); }},
      {"ScaleAndShiftValues", [&] { return z.ScaleAndShiftValues(2.0, 1.0); }},
      {"MirrorValues", [&] { return z.MirrorValues(); }},
      {"MirrorParameters", [&] { return z.MirrorParameters(); }},
      {"SetExtrapolationMethod",
       [&] { return z.SetExtrapolationMethod(QvBaseFCurve::ExtrapolationCycle); }},
      {"SetConstraint",
       [&] { return z.SetConstraint(t, QvBaseFCurve::KCValueLocked, 1, 0.0); }},
      {"AppendLinearSegment", [&] { return z.AppendLinearSegment(QvPoint2<double>(9, 9)); }},
  };
  for (const auto& edit : edits) {
    SCOPED_TRACE(edit.first);
    EXPECT_EQ(0, edit.second());
  }
  EXPECT_EQ(3u, z.GetNumKeys());
  EXPECT_NEAR(90.0, z.Eval(1.0, 0), 1e-9);
  EXPECT_EQ(QvBaseFCurve::ExtrapolationConstant, z.GetExtrapolationMethod());
}

TEST(QvQuatFCurve, LocksThroughConstraints) {
  QvQuatFCurve z(2);
  quarter_turns(z, 4);
  double t = 1.0 + 1e-3;
  EXPECT_EQ(1, z.SetConstraint(t, QvBaseFCurve::KCValueLocked, 1, 0.01));
  EXPECT_EQ(1.0, t);
  QvLong on = 0;
  t = 1.0;
  EXPECT_EQ(1, z.GetConstraint(t, QvBaseFCurve::KCKeyLocked, on, 0.0));
  EXPECT_EQ(1, on);  // the combined value reads either lock
  EXPECT_EQ(1, z.GetConstraint(t, QvBaseFCurve::KCParameterLocked, on, 0.0));
  EXPECT_EQ(0, on);
  EXPECT_EQ(0, z.SetKeyValue(1.0, QvBaseFCurve::KeySideRight, 5.0, 0.0));
  EXPECT_EQ(0, z.RemoveKey(1.0, 0.0));
  EXPECT_EQ(1, z.AreAnyValuesLockedInInterval(0.5, 1.0, 0, 0));
  EXPECT_EQ(0, z.AreAnyValuesLockedInInterval(0.5, 1.0, 0, 1));
  EXPECT_EQ(0, z.AreAnyParametersLockedInInterval(0.0, 3.0, 0, 0));
  EXPECT_EQ(1, z.AreAnyKeysLockedInInterval(0.0, 3.0, 0, 0));
  EXPECT_EQ(0, z.AreAnyKeysLockedInInterval(1.0, 1.0, 1, 1));
  // Values move around a locked key.
  EXPECT_EQ(1, z.ScaleAndShiftValues(2.0, 10.0));
  EXPECT_NEAR(10.0, z.Eval(0.0, 0), 1e-9);
  EXPECT_NEAR(90.0, z.Eval(1.0, 0), 1e-9);
  EXPECT_NEAR(370.0, z.Eval(2.0, 0), 1e-9);
  t = 2.0;
  EXPECT_EQ(1, z.SetConstraint(t, QvBaseFCurve::KCKeyLocked, 1, 0.0));
  EXPECT_EQ(0, z.ShiftParameters(1.0));
  EXPECT_EQ(0, z.ScaleParameterAxis(2.0));
  for (QvLong c : {1, 2, 32}) EXPECT_EQ(1, z.IsConstraintSupported(static_cast<QvBaseFCurve::KeyConstraint>(c)));
  for (QvLong c : {4, 8, 16, 64, 2048}) EXPECT_EQ(0, z.IsConstraintSupported(static_cast<QvBaseFCurve::KeyConstraint>(c)));
}

TEST(QvQuatFCurve, AppendingSamples) {
  QvQuatFCurve z(2);
  EXPECT_EQ(0, z.AppendLinearSegment(QvPoint2<double>(1, 1)));  // needs a first key
  z.CreateKey(0.0, 0.0);
  EXPECT_EQ(1, z.AppendOrExtendLinearSegment(QvPoint2<double>(1.0, 10.0), 0.5));
  EXPECT_EQ(0, z.AppendLinearSegment(QvPoint2<double>(1.0, 5.0)));
  // Near the line the last key slides along it, and takes the line's value, not the sample's.
  EXPECT_EQ(1, z.AppendOrExtendLinearSegment(QvPoint2<double>(2.0, 20.4), 0.5));
  EXPECT_EQ(2u, z.GetNumKeys());
  double v = 0;
  EXPECT_EQ(1, z.GetKeyValue(2.0, QvBaseFCurve::KeySideRight, v, 0.0));
  EXPECT_NEAR(20.0, v, 1e-12);
  EXPECT_EQ(1, z.AppendOrExtendLinearSegment(QvPoint2<double>(3.0, 40.0), 0.5));
  EXPECT_EQ(3u, z.GetNumKeys());
}

TEST(QvQuatFCurve, WholeCurveMoves) {
  QvQuatFCurve z(2);
  quarter_turns(z, 3);
  const unsigned char blob[] = {7, 8};
  double t = 2.0;
  ASSERT_EQ(1, z.SetKeyUserData(t, kTag, blob, 2, 0.0));
  EXPECT_EQ(1, z.ShiftParameters(1.0));
  EXPECT_EQ(1, z.HasUserData(3.0));
  EXPECT_EQ(1, z.ScaleParameterAxis(2.0));
  EXPECT_EQ(1, z.HasUserData(6.0));
  EXPECT_EQ(0, z.ScaleParameterAxis(0.0));
  EXPECT_EQ(1, z.MirrorParameters());  // keys at 2, 4, 6 reverse about 4
  EXPECT_EQ(1, z.HasUserData(2.0));
  EXPECT_NEAR(180.0, z.Eval(2.0, 0), 1e-9);
  EXPECT_NEAR(0.0, z.Eval(6.0, 0), 1e-9);
  EXPECT_EQ(1, z.MirrorValues());  // about the mean, 90
  EXPECT_NEAR(0.0, z.Eval(2.0, 0), 1e-9);
  EXPECT_NEAR(180.0, z.Eval(6.0, 0), 1e-9);
  EXPECT_EQ(1, z.ShiftValues(-90.0));
  double low = 0, high = 0;
  EXPECT_EQ(1, z.GetValueBoundsBetween(3.0, 6.0, low, high));
  EXPECT_NEAR(0.0, low, 1e-9);
  EXPECT_NEAR(90.0, high, 1e-9);
  EXPECT_EQ(0, z.GetValueBoundsBetween(6.5, 9.0, low, high));
}

TEST(QvQuatFCurve, CutAppendAndPaste) {
  QvQuatFCurve z(2);
  quarter_turns(z, 5);  // 0, 90, 180, 270, 360 at 0 to 4
  QvQuatFCurve piece(2);
  ASSERT_EQ(1, z.Cut(1.0, 3.0, piece));
  EXPECT_EQ(3u, piece.GetNumKeys());
  EXPECT_NEAR(180.0, piece.Eval(2.0, 0), 1e-9);
  // The rest closes up: the later side's rotation stands at the seam.
  EXPECT_EQ(3u, z.GetNumKeys());
  double last = 0;
  EXPECT_EQ(1, z.GetLargestKeyParameter(last));
  EXPECT_EQ(2.0, last);
  EXPECT_NEAR(270.0, z.Eval(1.0, 0), 1e-9);

  QvQuatFCurve a(2);
  quarter_turns(a, 2);
  ASSERT_EQ(1, a.Append(piece));  // piece 90, 180, 270 lands on a's last key
  EXPECT_EQ(4u, a.GetNumKeys());
  EXPECT_EQ(1, a.GetLargestKeyParameter(last));
  EXPECT_EQ(3.0, last);
  EXPECT_NEAR(270.0, a.Eval(3.0, 0), 1e-9);
  QvQuatFCurve empty(2);
  EXPECT_EQ(0, a.Append(empty));

  QvQuatFCurve b(2);
  quarter_turns(b, 4);
  ASSERT_EQ(1, b.Paste(piece, 1.0, 2.0));  // a span of 2 replaces one of 1
  EXPECT_EQ(5u, b.GetNumKeys());
  EXPECT_EQ(1, b.GetLargestKeyParameter(last));
  EXPECT_EQ(4.0, last);
  EXPECT_NEAR(180.0, b.Eval(2.0, 0), 1e-9);
}

TEST(QvQuatFCurve, SamplingFollowsTheCurve) {
  QvQuatFCurve z(2);
  quarter_turns(z, 3);
  QvDoubleArray params, values;
  EXPECT_EQ(5u, z.EvalSequence(0.0, 1.0, 0.3, 0.0, params, values, 0));
  EXPECT_EQ(1.0, params.data[4]);  // the end comes last
  EXPECT_NEAR(27.0, values.data[1], 1e-9);
  EXPECT_NEAR(90.0, values.data[4], 1e-9);

  QvPoint2dArray points;
  QvPointTagArray tags;
  const QvULong n = z.Flatten(QvTransfo4(), 0.1, points, tags, 0);
  ASSERT_GT(n, 2u);
  for (QvULong i = 0; i < n; ++i)
    EXPECT_NEAR(90.0 * points.data[i].x, points.data[i].y, 1e-9);

  // The plain cycle jumps back at each seam, drawn as a flagged pair of points.
  z.SetExtrapolationMethod(QvBaseFCurve::ExtrapolationCycle);
  QvExtent2<double> extent;
  extent.Augment(QvPoint2<double>(1.0, 0.0));
  extent.Augment(QvPoint2<double>(3.0, 0.0));
  QvPoint2dArray cyc;
  QvPointTagArray cyc_tags;
  QvBoolArray flags;
  const QvULong m = z.FlattenFromTo(extent, QvTransfo4(), 0.1, cyc, cyc_tags, flags, 0);
  int jumps = 0;
  for (QvULong i = 0; i < m; ++i) {
    if (flags.data[i] != 2) continue;
    ++jumps;
    EXPECT_EQ(2.0, cyc.data[i].x);
    EXPECT_NEAR(180.0, cyc.data[i - 1].y, 1e-9);
    EXPECT_NEAR(0.0, cyc.data[i].y, 1e-9);
  }
  EXPECT_EQ(1, jumps);

  // A snapshot holds sampled keys that reproduce the curve.
  z.SetExtrapolationMethod(QvBaseFCurve::ExtrapolationCycleOffset);
  QvBaseFCurve* shot = z.SnapShot(-1.0, 3.0, QvBaseFCurve::ExtrapolationConstant);
  ASSERT_NE(nullptr, shot);
  EXPECT_EQ(QvBaseFCurve::KindQuat, shot->GetKind());
  for (double s = -1.0; s <= 3.0; s += 0.125)
    EXPECT_NEAR(z.Eval(s, 0), shot->Eval(s, 0), 1e-6) << s;
  EXPECT_NEAR(z.Eval(3.0, 0), shot->Eval(9.0, 0), 1e-9);
  delete shot;
}

TEST(QvQuatFCurve, ResampleReplacesInnerKeys) {
  QvQuatFCurve z(2);
  quarter_turns(z, 3);
  ASSERT_EQ(1, z.ResampleSequence(0.0, 2.0, 0.5, 0, 0));
  EXPECT_EQ(5u, z.GetNumKeys());
  EXPECT_NEAR(135.0, z.Eval(1.5, 0), 1e-9);
  ASSERT_EQ(1, z.ResampleSequence(0.0, 2.0, 0.8, 0, 0));  // 0, 0.8, 1.6, 2
  EXPECT_EQ(4u, z.GetNumKeys());
  EXPECT_EQ(0, z.ResampleSequence(0.0, 2.0, 0.0, 0, 0));
}
