#include <qv/QvStdFCurve.h>

#include "fcurve/QvStdFCurveImpl.h"

// Key and tangent editing of the standard curve. Every operation refuses for now and leaves the
// curve as it was. The read-only constraint and lock queries (GetConstraint, GetConstraintAtIndex,
// IsTangent...Locked, AreAny...LockedInInterval) live with the other readers in QvStdFCurve.cpp.

QvLong QvStdFCurve::CreateKey(double, double) { return 0; }
QvLong QvStdFCurve::CreateKey(double, double, FSKind, FSKind) { return 0; }
QvLong QvStdFCurve::MergeAndCreateKey(double, double, double, double, QvLong, QvLong, QvLong) {
  return 0;
}
QvLong QvStdFCurve::MergeAndCreateKey(double, double, double, double, FSKind, FSKind, QvLong,
                                      QvLong, QvLong) {
  return 0;
}
QvLong QvStdFCurve::CreateNonModifyingKey(double, QvLong) { return 0; }
QvLong QvStdFCurve::MergeAndCreateNonModifyingKey(double, double, double, QvLong, QvLong, QvLong,
                                                  QvLong) {
  return 0;
}
QvLong QvStdFCurve::RemoveKey(double, double) { return 0; }
QvLong QvStdFCurve::RemoveKey(double, FSKind, double) { return 0; }
QvLong QvStdFCurve::RemoveKeys(double, double, QvLong, QvLong) { return 0; }
QvLong QvStdFCurve::RemoveKeys(double, double, FSKind, QvLong, QvLong) { return 0; }
QvLong QvStdFCurve::SetValueWhenNoKeys(double) { return 0; }
QvLong QvStdFCurve::SetKeyValue(double, KeySide, double, double) { return 0; }
QvLong QvStdFCurve::AppendConstantSegment(const QvPoint2<double>&) { return 0; }
QvLong QvStdFCurve::AppendLinearSegment(const QvPoint2<double>&) { return 0; }
QvLong QvStdFCurve::AppendOrExtendLinearSegment(const QvPoint2<double>&, double) { return 0; }
QvLong QvStdFCurve::AppendBezierCubicSegment(const QvPoint2<double>&, const QvPoint2<double>&,
                                             const QvPoint2<double>&) {
  return 0;
}
QvLong QvStdFCurve::SetKeyTgtHandle(double, KeySide, const QvPoint2<double>&, double) { return 0; }
QvLong QvStdFCurve::SetKeyTgtHandles(double, const QvPoint2<double>&, const QvPoint2<double>&,
                                     double) {
  return 0;
}
QvLong QvStdFCurve::LockTangentContinuity(double&, double) { return 0; }
QvLong QvStdFCurve::UnlockTangentContinuity(double&, double) { return 0; }
QvLong QvStdFCurve::UnifyAndLockTangentContinuity(double&, KeySide, double) { return 0; }
QvLong QvStdFCurve::LockTangentLengthContinuity(double&, double, double) { return 0; }
QvLong QvStdFCurve::UnlockTangentLengthContinuity(double&, double, double) { return 0; }
QvLong QvStdFCurve::UnifyAndLockTangentLengthContinuity(double&, KeySide, double, double) {
  return 0;
}
QvLong QvStdFCurve::SetConstraint(double&, KeyConstraint, QvLong, double) { return 0; }
QvLong QvStdFCurve::SetConstraintAtIndex(QvULong, KeyConstraint, QvLong) { return 0; }
QvLong QvStdFCurve::FreezeAllTangents(KeyConstraint) { return 0; }
QvLong QvStdFCurve::FreezeTangentsInInterval(double, double, QvLong, QvLong, KeyConstraint) {
  return 0;
}
QvLong QvStdFCurve::FreezeTangentsInInterval(QvULong, QvULong, QvLong, QvLong, KeyConstraint) {
  return 0;
}
QvLong QvStdFCurve::SetSegmentKind(double, KeySide, FSKind, double) { return 0; }
QvLong QvStdFCurve::SetSegmentKindAtIndex(QvULong, KeySide, FSKind) { return 0; }
QvLong QvStdFCurve::SetSegmentKindAtParameter(double, FSKind) { return 0; }
QvLong QvStdFCurve::SetFirstSegmentKind(FSKind) { return 0; }
QvLong QvStdFCurve::ConvertToUniformSegmentKind(FSKind) { return 0; }
QvLong QvStdFCurve::SetDefaultBezierTangentConstraint(QvLong) { return 0; }
QvLong QvStdFCurve::SetReadOnlyConstraint(QvLong) { return 0; }
QvLong QvStdFCurve::SetClampingValues(double, double) { return 0; }
QvLong QvStdFCurve::SetExtrapolationMethod(ExtrapolationMethod) { return 0; }
QvLong QvStdFCurve::SetAsTimeFCurve(QvLong) { return 0; }
QvLong QvStdFCurve::AdjustAdjacentAutomaticKeysTangents(double) { return 1; }
