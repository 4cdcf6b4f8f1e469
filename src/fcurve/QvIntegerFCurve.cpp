#include <qv/QvIntegerFCurve.h>

#include "fcurve/kinds_ops.h"

// Every slot is the shared stepped-curve code; see kinds_ops.cpp.
using Ops = QvSteppedFCurveOps<QvIntegerFCurve>;

QvIntegerFCurve::QvIntegerFCurve(double valueWhenNoKeys) : m_impl(nullptr) {
  Ops::Construct(*this, valueWhenNoKeys);
}

QvIntegerFCurve::QvIntegerFCurve(const QvIntegerFCurve& other)
    : QvBaseFCurve(other), m_impl(nullptr) {
  Ops::CopyConstruct(*this, other);
}

QvIntegerFCurve::~QvIntegerFCurve() { delete m_impl; }

QvIntegerFCurve& QvIntegerFCurve::operator=(const QvIntegerFCurve& other) {
  Ops::Assign(*this, other);
  return *this;
}

QvBaseFCurve* QvIntegerFCurve::QueryFCurveKind(Kind kind) const {
  return Ops::QueryFCurveKind(*this, kind);
}

QvBaseFCurve::Kind QvIntegerFCurve::GetKind() const { return KindInteger; }

QvBaseFCurve* QvIntegerFCurve::Clone() const { return Ops::Clone(*this); }

QvBaseFCurve* QvIntegerFCurve::SnapShot(double from, double to, ExtrapolationMethod method) const {
  return Ops::SnapShot(*this, from, to, method);
}

QvLong QvIntegerFCurve::CreateKey(double parameter, double value) {
  return Ops::CreateKey(*this, parameter, value);
}

QvLong QvIntegerFCurve::MergeAndCreateKey(double from, double to, double parameter, double value,
                                          QvLong openFrom, QvLong openTo, QvLong keepUserData) {
  return Ops::MergeAndCreateKey(*this, from, to, parameter, value, openFrom, openTo, keepUserData);
}

QvLong QvIntegerFCurve::CreateNonModifyingKey(double parameter, QvLong noFold) {
  return Ops::CreateNonModifyingKey(*this, parameter, noFold);
}

QvLong QvIntegerFCurve::MergeAndCreateNonModifyingKey(double from, double to, double parameter,
                                                      QvLong openFrom, QvLong openTo,
                                                      QvLong keepUserData, QvLong noFold) {
  return Ops::MergeAndCreateNonModifyingKey(*this, from, to, parameter, openFrom, openTo,
                                            keepUserData, noFold);
}

QvLong QvIntegerFCurve::RemoveKey(double parameter, double tolerance) {
  return Ops::RemoveKey(*this, parameter, tolerance);
}

QvLong QvIntegerFCurve::RemoveKeys(double from, double to, QvLong openFrom, QvLong openTo) {
  return Ops::RemoveKeys(*this, from, to, openFrom, openTo);
}

QvLong QvIntegerFCurve::SetValueWhenNoKeys(double value) {
  return Ops::SetValueWhenNoKeys(*this, value);
}

QvLong QvIntegerFCurve::GetKeyValue(double parameter, KeySide side, double& value,
                                    double tolerance) const {
  return Ops::GetKeyValue(*this, parameter, side, value, tolerance);
}

QvLong QvIntegerFCurve::GetKeyValues(double parameter, double& left, double& right,
                                     double tolerance) const {
  return Ops::GetKeyValues(*this, parameter, left, right, tolerance);
}

QvLong QvIntegerFCurve::SetKeyValue(double parameter, KeySide side, double value,
                                    double tolerance) {
  return Ops::SetKeyValue(*this, parameter, side, value, tolerance);
}

QvLong QvIntegerFCurve::Cut(double from, double to, QvBaseFCurve& out) {
  return Ops::Cut(*this, from, to, out);
}

QvLong QvIntegerFCurve::RemoveTail(double parameter) { return Ops::RemoveTail(*this, parameter); }

QvLong QvIntegerFCurve::RemoveHead(double parameter) { return Ops::RemoveHead(*this, parameter); }

QvLong QvIntegerFCurve::Append(const QvBaseFCurve& other) { return Ops::Append(*this, other); }

QvLong QvIntegerFCurve::Paste(const QvBaseFCurve& source, double from, double to) {
  return Ops::Paste(*this, source, from, to);
}

QvLong QvIntegerFCurve::ShiftParameters(double offset) {
  return Ops::ShiftParameters(*this, offset);
}

QvLong QvIntegerFCurve::ScaleParameterAxis(double scale) {
  return Ops::ScaleParameterAxis(*this, scale);
}

QvLong QvIntegerFCurve::ShiftValues(double offset) { return Ops::ShiftValues(*this, offset); }

QvLong QvIntegerFCurve::ReduceNumKeys(double from, double to, double tolerance) {
  return Ops::ReduceNumKeys(*this, from, to, tolerance);
}

QvLong QvIntegerFCurve::GetFCurveInfo(FCurveInfo* info) const {
  return Ops::GetFCurveInfo(*this, info);
}

QvLong QvIntegerFCurve::GetKeyInfoFromIndex(QvULong index, KeyInfo* info) const {
  return Ops::GetKeyInfoFromIndex(*this, index, info);
}

QvLong QvIntegerFCurve::GetKeyInfoFromParameter(double parameter, KeyInfo* info) const {
  return Ops::GetKeyInfoFromParameter(*this, parameter, info);
}

QvLong QvIntegerFCurve::GetKeyParameter(QvULong index, double& parameter) const {
  return Ops::GetKeyParameter(*this, index, parameter);
}

QvLong QvIntegerFCurve::GetKeyIndex(double parameter, QvULong& index) const {
  return Ops::GetKeyIndex(*this, parameter, index);
}

QvULong QvIntegerFCurve::GetNumKeys() const { return Ops::GetNumKeys(*this); }

QvULong QvIntegerFCurve::GetKeyParameters(double from, double to, QvDoubleArray& parameters,
                                          QvLong openFrom, QvLong openTo) const {
  return Ops::GetKeyParameters(*this, from, to, parameters, openFrom, openTo);
}

QvLong QvIntegerFCurve::IsKeyParameter(double parameter, double tolerance) const {
  return Ops::IsKeyParameter(*this, parameter, tolerance);
}

QvULong QvIntegerFCurve::GetAllKeyParameters(QvDoubleArray& parameters) const {
  return Ops::GetAllKeyParameters(*this, parameters);
}

QvLong QvIntegerFCurve::GetNextKeyParameter(double parameter, double& next, QvLong include) const {
  return Ops::GetNextKeyParameter(*this, parameter, next, include);
}

QvLong QvIntegerFCurve::GetPrevKeyParameter(double parameter, double& prev, QvLong include) const {
  return Ops::GetPrevKeyParameter(*this, parameter, prev, include);
}

QvLong QvIntegerFCurve::GetNearestKeyParameter(double parameter, double& nearest) const {
  return Ops::GetNearestKeyParameter(*this, parameter, nearest);
}

QvLong QvIntegerFCurve::GetNearestKeyParameterInCenteredInterval(double& parameter,
                                                                 double halfWidth) const {
  return Ops::GetNearestKeyParameterInCenteredInterval(*this, parameter, halfWidth);
}

QvLong QvIntegerFCurve::SetClampingValues(double min, double max) {
  return Ops::SetClampingValues(*this, min, max);
}

QvLong QvIntegerFCurve::GetClampingValues(double& min, double& max) const {
  return Ops::GetClampingValues(*this, min, max);
}

QvLong QvIntegerFCurve::GetSmallestKeyParameter(double& parameter) const {
  return Ops::GetSmallestKeyParameter(*this, parameter);
}

QvLong QvIntegerFCurve::IsSmallestKeyParameter(double parameter) const {
  return Ops::IsSmallestKeyParameter(*this, parameter);
}

double QvIntegerFCurve::GetMinusInfinityVal() const { return Ops::GetMinusInfinityVal(*this); }

QvLong QvIntegerFCurve::GetLargestKeyParameter(double& parameter) const {
  return Ops::GetLargestKeyParameter(*this, parameter);
}

QvLong QvIntegerFCurve::IsLargestKeyParameter(double parameter) const {
  return Ops::IsLargestKeyParameter(*this, parameter);
}

double QvIntegerFCurve::GetPlusInfinityVal() const { return Ops::GetPlusInfinityVal(*this); }

double QvIntegerFCurve::GetValueUpperBound(QvLong clamp) const {
  return Ops::GetValueUpperBound(*this, clamp);
}

double QvIntegerFCurve::GetValueLowerBound(QvLong clamp) const {
  return Ops::GetValueLowerBound(*this, clamp);
}

double QvIntegerFCurve::Eval(double parameter, QvLong clamp) const {
  return Ops::Eval(*this, parameter, clamp);
}

QvULong QvIntegerFCurve::EvalSequence(double from, double to, double step, double tolerance,
                                      QvDoubleArray& parameters, QvDoubleArray& values,
                                      QvLong clamp) const {
  return Ops::EvalSequence(*this, from, to, step, tolerance, parameters, values, clamp);
}

QvULong QvIntegerFCurve::Flatten(const QvTransfo4& transform, double tolerance,
                                 QvPoint2dArray& points, QvPointTagArray& tags,
                                 QvLong clamp) const {
  return Ops::Flatten(*this, transform, tolerance, points, tags, clamp);
}

QvULong QvIntegerFCurve::FlattenFromTo(const QvExtent2<double>& extent, const QvTransfo4& transform,
                                       double tolerance, QvPoint2dArray& points,
                                       QvPointTagArray& tags, QvBoolArray& flags,
                                       QvLong clamp) const {
  return Ops::FlattenFromTo(*this, extent, transform, tolerance, points, tags, flags, clamp);
}

QvULong QvIntegerFCurve::GetKeys(QvDoubleArray& parameters, QvDoubleArray& leftValues,
                                 QvDoubleArray& rightValues, QvLong clamp) const {
  return Ops::GetKeys(*this, parameters, leftValues, rightValues, clamp);
}

QvLong QvIntegerFCurve::ResampleSequence(double from, double to, double step, QvLong keepKeys,
                                         QvLong reserved) {
  return Ops::ResampleSequence(*this, from, to, step, keepKeys, reserved);
}

QvLong QvIntegerFCurve::SmoothSequence(double from, double to, const double* kernel,
                                       QvULong count) {
  return Ops::SmoothSequence(*this, from, to, kernel, count);
}

QvLong QvIntegerFCurve::MirrorValues() { return Ops::MirrorValues(*this); }

QvLong QvIntegerFCurve::MirrorParameters() { return Ops::MirrorParameters(*this); }

QvLong QvIntegerFCurve::ScaleAndOffsetParameters(double from, double to, double anchor,
                                                 double scale, double offset, QvLong openFrom,
                                                 QvLong openTo, RegionHandle handle) {
  return Ops::ScaleAndOffsetParameters(*this, from, to, anchor, scale, offset, openFrom, openTo,
                                       handle);
}

QvLong QvIntegerFCurve::SetReadOnlyConstraint(QvLong on) {
  return Ops::SetReadOnlyConstraint(*this, on);
}

QvLong QvIntegerFCurve::IsReadOnly() const { return Ops::IsReadOnly(*this); }

QvLong QvIntegerFCurve::SetConstraint(double& parameter, KeyConstraint constraint, QvLong on,
                                      double tolerance) {
  return Ops::SetConstraint(*this, parameter, constraint, on, tolerance);
}

QvLong QvIntegerFCurve::GetConstraint(double& parameter, KeyConstraint constraint, QvLong& on,
                                      double tolerance) const {
  return Ops::GetConstraint(*this, parameter, constraint, on, tolerance);
}

QvLong QvIntegerFCurve::IsConstraintSupported(KeyConstraint constraint) const {
  return Ops::IsConstraintSupported(*this, constraint);
}

QvLong QvIntegerFCurve::AreAnyValuesLockedInInterval(double from, double to, QvLong openFrom,
                                                     QvLong openTo) const {
  return Ops::AreAnyValuesLockedInInterval(*this, from, to, openFrom, openTo);
}

QvLong QvIntegerFCurve::AreAnyParametersLockedInInterval(double from, double to, QvLong openFrom,
                                                         QvLong openTo) const {
  return Ops::AreAnyParametersLockedInInterval(*this, from, to, openFrom, openTo);
}

QvLong QvIntegerFCurve::AreAnyKeysLockedInInterval(double from, double to, QvLong openFrom,
                                                   QvLong openTo) const {
  return Ops::AreAnyKeysLockedInInterval(*this, from, to, openFrom, openTo);
}

QvLong QvIntegerFCurve::SetExtrapolationMethod(ExtrapolationMethod method) {
  return Ops::SetExtrapolationMethod(*this, method);
}

QvBaseFCurve::ExtrapolationMethod QvIntegerFCurve::GetExtrapolationMethod() const {
  return Ops::GetExtrapolationMethod(*this);
}

double QvIntegerFCurve::FoldParameter(double parameter) const {
  return Ops::FoldParameter(*this, parameter);
}

QvULong QvIntegerFCurve::GetBufferSize() const { return Ops::GetBufferSize(*this); }

QvULong QvIntegerFCurve::WriteToBuffer(void* buffer) const {
  return Ops::WriteToBuffer(*this, buffer);
}

QvULong QvIntegerFCurve::ReadFromBufferBody(const void* body) {
  return Ops::ReadFromBufferBody(*this, body);
}

QvLong QvIntegerFCurve::ScaleAndShiftValues(double scale, double shift) {
  return Ops::ScaleAndShiftValues(*this, scale, shift);
}

QvLong QvIntegerFCurve::EvalInverse(double value, double& parameter, QvLong reserved) const {
  return Ops::EvalInverse(*this, value, parameter, reserved);
}

QvLong QvIntegerFCurve::IsBijective() const { return Ops::IsBijective(*this); }

QvLong QvIntegerFCurve::SetDefaultBezierTangentConstraint(QvLong on) {
  return Ops::SetDefaultBezierTangentConstraint(*this, on);
}

QvLong QvIntegerFCurve::IsDefautlBezierTangentConstraintOn() const {
  return Ops::IsDefautlBezierTangentConstraintOn(*this);
}

QvLong QvIntegerFCurve::SetAsTimeFCurve(QvLong on) { return Ops::SetAsTimeFCurve(*this, on); }

QvLong QvIntegerFCurve::IsTimeFCurve() const { return Ops::IsTimeFCurve(*this); }

QvLong QvIntegerFCurve::Set(const QvBaseFCurve& other) { return Ops::Set(*this, other); }
