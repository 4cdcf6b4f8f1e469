#include <qv/QvBooleanFCurve.h>

#include "fcurve/kinds_ops.h"

// Every slot is the shared stepped-curve code; see kinds_ops.cpp.
using Ops = QvSteppedFCurveOps<QvBooleanFCurve>;

QvBooleanFCurve::QvBooleanFCurve(double valueWhenNoKeys) : m_impl(nullptr) {
  Ops::Construct(*this, valueWhenNoKeys);
}

QvBooleanFCurve::QvBooleanFCurve(const QvBooleanFCurve& other)
    : QvBaseFCurve(other), m_impl(nullptr) {
  Ops::CopyConstruct(*this, other);
}

QvBooleanFCurve::~QvBooleanFCurve() { delete m_impl; }

QvBooleanFCurve& QvBooleanFCurve::operator=(const QvBooleanFCurve& other) {
  Ops::Assign(*this, other);
  return *this;
}

QvBaseFCurve* QvBooleanFCurve::QueryFCurveKind(Kind kind) const {
  return Ops::QueryFCurveKind(*this, kind);
}

QvBaseFCurve::Kind QvBooleanFCurve::GetKind() const { return KindBoolean; }

QvBaseFCurve* QvBooleanFCurve::Clone() const { return Ops::Clone(*this); }

QvBaseFCurve* QvBooleanFCurve::SnapShot(double from, double to, ExtrapolationMethod method) const {
  return Ops::SnapShot(*this, from, to, method);
}

QvLong QvBooleanFCurve::CreateKey(double parameter, double value) {
  return Ops::CreateKey(*this, parameter, value);
}

QvLong QvBooleanFCurve::MergeAndCreateKey(double from, double to, double parameter, double value,
                                          QvLong openFrom, QvLong openTo, QvLong keepUserData) {
  return Ops::MergeAndCreateKey(*this, from, to, parameter, value, openFrom, openTo, keepUserData);
}

QvLong QvBooleanFCurve::CreateNonModifyingKey(double parameter, QvLong noFold) {
  return Ops::CreateNonModifyingKey(*this, parameter, noFold);
}

QvLong QvBooleanFCurve::MergeAndCreateNonModifyingKey(double from, double to, double parameter,
                                                      QvLong openFrom, QvLong openTo,
                                                      QvLong keepUserData, QvLong noFold) {
  return Ops::MergeAndCreateNonModifyingKey(*this, from, to, parameter, openFrom, openTo,
                                            keepUserData, noFold);
}

QvLong QvBooleanFCurve::RemoveKey(double parameter, double tolerance) {
  return Ops::RemoveKey(*this, parameter, tolerance);
}

QvLong QvBooleanFCurve::RemoveKeys(double from, double to, QvLong openFrom, QvLong openTo) {
  return Ops::RemoveKeys(*this, from, to, openFrom, openTo);
}

QvLong QvBooleanFCurve::SetValueWhenNoKeys(double value) {
  return Ops::SetValueWhenNoKeys(*this, value);
}

QvLong QvBooleanFCurve::GetKeyValue(double parameter, KeySide side, double& value,
                                    double tolerance) const {
  return Ops::GetKeyValue(*this, parameter, side, value, tolerance);
}

QvLong QvBooleanFCurve::GetKeyValues(double parameter, double& left, double& right,
                                     double tolerance) const {
  return Ops::GetKeyValues(*this, parameter, left, right, tolerance);
}

QvLong QvBooleanFCurve::SetKeyValue(double parameter, KeySide side, double value,
                                    double tolerance) {
  return Ops::SetKeyValue(*this, parameter, side, value, tolerance);
}

QvLong QvBooleanFCurve::Cut(double from, double to, QvBaseFCurve& out) {
  return Ops::Cut(*this, from, to, out);
}

QvLong QvBooleanFCurve::RemoveTail(double parameter) { return Ops::RemoveTail(*this, parameter); }

QvLong QvBooleanFCurve::RemoveHead(double parameter) { return Ops::RemoveHead(*this, parameter); }

QvLong QvBooleanFCurve::Append(const QvBaseFCurve& other) { return Ops::Append(*this, other); }

QvLong QvBooleanFCurve::Paste(const QvBaseFCurve& source, double from, double to) {
  return Ops::Paste(*this, source, from, to);
}

QvLong QvBooleanFCurve::ShiftParameters(double offset) {
  return Ops::ShiftParameters(*this, offset);
}

QvLong QvBooleanFCurve::ScaleParameterAxis(double scale) {
  return Ops::ScaleParameterAxis(*this, scale);
}

QvLong QvBooleanFCurve::ShiftValues(double offset) { return Ops::ShiftValues(*this, offset); }

QvLong QvBooleanFCurve::ReduceNumKeys(double from, double to, double tolerance) {
  return Ops::ReduceNumKeys(*this, from, to, tolerance);
}

QvLong QvBooleanFCurve::GetFCurveInfo(FCurveInfo* info) const {
  return Ops::GetFCurveInfo(*this, info);
}

QvLong QvBooleanFCurve::GetKeyInfoFromIndex(QvULong index, KeyInfo* info) const {
  return Ops::GetKeyInfoFromIndex(*this, index, info);
}

QvLong QvBooleanFCurve::GetKeyInfoFromParameter(double parameter, KeyInfo* info) const {
  return Ops::GetKeyInfoFromParameter(*this, parameter, info);
}

QvLong QvBooleanFCurve::GetKeyParameter(QvULong index, double& parameter) const {
  return Ops::GetKeyParameter(*this, index, parameter);
}

QvLong QvBooleanFCurve::GetKeyIndex(double parameter, QvULong& index) const {
  return Ops::GetKeyIndex(*this, parameter, index);
}

QvULong QvBooleanFCurve::GetNumKeys() const { return Ops::GetNumKeys(*this); }

QvULong QvBooleanFCurve::GetKeyParameters(double from, double to, QvDoubleArray& parameters,
                                          QvLong openFrom, QvLong openTo) const {
  return Ops::GetKeyParameters(*this, from, to, parameters, openFrom, openTo);
}

QvLong QvBooleanFCurve::IsKeyParameter(double parameter, double tolerance) const {
  return Ops::IsKeyParameter(*this, parameter, tolerance);
}

QvULong QvBooleanFCurve::GetAllKeyParameters(QvDoubleArray& parameters) const {
  return Ops::GetAllKeyParameters(*this, parameters);
}

QvLong QvBooleanFCurve::GetNextKeyParameter(double parameter, double& next, QvLong include) const {
  return Ops::GetNextKeyParameter(*this, parameter, next, include);
}

QvLong QvBooleanFCurve::GetPrevKeyParameter(double parameter, double& prev, QvLong include) const {
  return Ops::GetPrevKeyParameter(*this, parameter, prev, include);
}

QvLong QvBooleanFCurve::GetNearestKeyParameter(double parameter, double& nearest) const {
  return Ops::GetNearestKeyParameter(*this, parameter, nearest);
}

QvLong QvBooleanFCurve::GetNearestKeyParameterInCenteredInterval(double& parameter,
                                                                 double halfWidth) const {
  return Ops::GetNearestKeyParameterInCenteredInterval(*this, parameter, halfWidth);
}

QvLong QvBooleanFCurve::SetClampingValues(double min, double max) {
  return Ops::SetClampingValues(*this, min, max);
}

QvLong QvBooleanFCurve::GetClampingValues(double& min, double& max) const {
  return Ops::GetClampingValues(*this, min, max);
}

QvLong QvBooleanFCurve::GetSmallestKeyParameter(double& parameter) const {
  return Ops::GetSmallestKeyParameter(*this, parameter);
}

QvLong QvBooleanFCurve::IsSmallestKeyParameter(double parameter) const {
  return Ops::IsSmallestKeyParameter(*this, parameter);
}

double QvBooleanFCurve::GetMinusInfinityVal() const { return Ops::GetMinusInfinityVal(*this); }

QvLong QvBooleanFCurve::GetLargestKeyParameter(double& parameter) const {
  return Ops::GetLargestKeyParameter(*this, parameter);
}

QvLong QvBooleanFCurve::IsLargestKeyParameter(double parameter) const {
  return Ops::IsLargestKeyParameter(*this, parameter);
}

double QvBooleanFCurve::GetPlusInfinityVal() const { return Ops::GetPlusInfinityVal(*this); }

double QvBooleanFCurve::GetValueUpperBound(QvLong clamp) const {
  return Ops::GetValueUpperBound(*this, clamp);
}

double QvBooleanFCurve::GetValueLowerBound(QvLong clamp) const {
  return Ops::GetValueLowerBound(*this, clamp);
}

double QvBooleanFCurve::Eval(double parameter, QvLong clamp) const {
  return Ops::Eval(*this, parameter, clamp);
}

QvULong QvBooleanFCurve::EvalSequence(double from, double to, double step, double tolerance,
                                      QvDoubleArray& parameters, QvDoubleArray& values,
                                      QvLong clamp) const {
  return Ops::EvalSequence(*this, from, to, step, tolerance, parameters, values, clamp);
}

QvULong QvBooleanFCurve::Flatten(const QvTransfo4& transform, double tolerance,
                                 QvPoint2dArray& points, QvPointTagArray& tags,
                                 QvLong clamp) const {
  return Ops::Flatten(*this, transform, tolerance, points, tags, clamp);
}

QvULong QvBooleanFCurve::FlattenFromTo(const QvExtent2<double>& extent, const QvTransfo4& transform,
                                       double tolerance, QvPoint2dArray& points,
                                       QvPointTagArray& tags, QvBoolArray& flags,
                                       QvLong clamp) const {
  return Ops::FlattenFromTo(*this, extent, transform, tolerance, points, tags, flags, clamp);
}

QvULong QvBooleanFCurve::GetKeys(QvDoubleArray& parameters, QvDoubleArray& leftValues,
                                 QvDoubleArray& rightValues, QvLong clamp) const {
  return Ops::GetKeys(*this, parameters, leftValues, rightValues, clamp);
}

QvLong QvBooleanFCurve::ResampleSequence(double from, double to, double step, QvLong keepKeys,
                                         QvLong reserved) {
  return Ops::ResampleSequence(*this, from, to, step, keepKeys, reserved);
}

QvLong QvBooleanFCurve::SmoothSequence(double from, double to, const double* kernel,
                                       QvULong count) {
  return Ops::SmoothSequence(*this, from, to, kernel, count);
}

QvLong QvBooleanFCurve::MirrorValues() { return Ops::MirrorValues(*this); }

QvLong QvBooleanFCurve::MirrorParameters() { return Ops::MirrorParameters(*this); }

QvLong QvBooleanFCurve::ScaleAndOffsetParameters(double from, double to, double anchor,
                                                 double scale, double offset, QvLong openFrom,
                                                 QvLong openTo, RegionHandle handle) {
  return Ops::ScaleAndOffsetParameters(*this, from, to, anchor, scale, offset, openFrom, openTo,
                                       handle);
}

QvLong QvBooleanFCurve::SetReadOnlyConstraint(QvLong on) {
  return Ops::SetReadOnlyConstraint(*this, on);
}

QvLong QvBooleanFCurve::IsReadOnly() const { return Ops::IsReadOnly(*this); }

QvLong QvBooleanFCurve::SetConstraint(double& parameter, KeyConstraint constraint, QvLong on,
                                      double tolerance) {
  return Ops::SetConstraint(*this, parameter, constraint, on, tolerance);
}

QvLong QvBooleanFCurve::GetConstraint(double& parameter, KeyConstraint constraint, QvLong& on,
                                      double tolerance) const {
  return Ops::GetConstraint(*this, parameter, constraint, on, tolerance);
}

QvLong QvBooleanFCurve::IsConstraintSupported(KeyConstraint constraint) const {
  return Ops::IsConstraintSupported(*this, constraint);
}

QvLong QvBooleanFCurve::AreAnyValuesLockedInInterval(double from, double to, QvLong openFrom,
                                                     QvLong openTo) const {
  return Ops::AreAnyValuesLockedInInterval(*this, from, to, openFrom, openTo);
}

QvLong QvBooleanFCurve::AreAnyParametersLockedInInterval(double from, double to, QvLong openFrom,
                                                         QvLong openTo) const {
  return Ops::AreAnyParametersLockedInInterval(*this, from, to, openFrom, openTo);
}

QvLong QvBooleanFCurve::AreAnyKeysLockedInInterval(double from, double to, QvLong openFrom,
                                                   QvLong openTo) const {
  return Ops::AreAnyKeysLockedInInterval(*this, from, to, openFrom, openTo);
}

QvLong QvBooleanFCurve::SetExtrapolationMethod(ExtrapolationMethod method) {
  return Ops::SetExtrapolationMethod(*this, method);
}

QvBaseFCurve::ExtrapolationMethod QvBooleanFCurve::GetExtrapolationMethod() const {
  return Ops::GetExtrapolationMethod(*this);
}

double QvBooleanFCurve::FoldParameter(double parameter) const {
  return Ops::FoldParameter(*this, parameter);
}

QvULong QvBooleanFCurve::GetBufferSize() const { return Ops::GetBufferSize(*this); }

QvULong QvBooleanFCurve::WriteToBuffer(void* buffer) const {
  return Ops::WriteToBuffer(*this, buffer);
}

QvULong QvBooleanFCurve::ReadFromBufferBody(const void* body) {
  return Ops::ReadFromBufferBody(*this, body);
}

QvLong QvBooleanFCurve::ScaleAndShiftValues(double scale, double shift) {
  return Ops::ScaleAndShiftValues(*this, scale, shift);
}

QvLong QvBooleanFCurve::EvalInverse(double value, double& parameter, QvLong reserved) const {
  return Ops::EvalInverse(*this, value, parameter, reserved);
}

QvLong QvBooleanFCurve::IsBijective() const { return Ops::IsBijective(*this); }

QvLong QvBooleanFCurve::SetDefaultBezierTangentConstraint(QvLong on) {
  return Ops::SetDefaultBezierTangentConstraint(*this, on);
}

QvLong QvBooleanFCurve::IsDefautlBezierTangentConstraintOn() const {
  return Ops::IsDefautlBezierTangentConstraintOn(*this);
}

QvLong QvBooleanFCurve::SetAsTimeFCurve(QvLong on) { return Ops::SetAsTimeFCurve(*this, on); }

QvLong QvBooleanFCurve::IsTimeFCurve() const { return Ops::IsTimeFCurve(*this); }

QvLong QvBooleanFCurve::Set(const QvBaseFCurve& other) { return Ops::Set(*this, other); }
