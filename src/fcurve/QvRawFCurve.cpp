#include <qv/QvRawFCurve.h>

#include "fcurve/raw_body.h"
#include "fcurve/userdata_set.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <utility>
#include <new>

using qv::internal::kRawKeyTolerance;
using qv::internal::RawLocation;
using qv::internal::RawSelection;

// Construction

QvRawFCurve::QvRawFCurve(double valueWhenNoKeys) : m_impl(new QvRawFCurveImpl(valueWhenNoKeys)) {}

QvRawFCurve::QvRawFCurve(double parameter, double value) : m_impl(new QvRawFCurveImpl(value)) {
  std::unique_ptr<QvRawFCurveImpl> owner(m_impl);
  m_impl->Append(parameter, value);
  owner.release();
}

QvRawFCurve::QvRawFCurve(double p0, double y0, double p1, double y1)
    : m_impl(new QvRawFCurveImpl(y0)) {
  std::unique_ptr<QvRawFCurveImpl> owner(m_impl);
  m_impl->Append(p0, y0);
  m_impl->Append(p1, y1);
  owner.release();
}

QvRawFCurve::QvRawFCurve(const QvPoint2dArray& points, double tolerance)
    : m_impl(new QvRawFCurveImpl(points.size != 0 ? points.data[0].y : 0.0)) {
  std::unique_ptr<QvRawFCurveImpl> owner(m_impl);
  m_impl->m_keys.reserve(points.size);
  for (QvULong i = 0; i < points.size; ++i) m_impl->Append(points.data[i].x, points.data[i].y);
  if (points.size >= 3) ReduceInsideCriticalSection(0, points.size - 1, tolerance);
  owner.release();
}

QvRawFCurve::QvRawFCurve(const QvRawFCurve& other) : QvBaseFCurve(other), m_impl(nullptr) {
  LockGuard source(other);
  m_impl = new QvRawFCurveImpl(*other.m_impl);
}

QvRawFCurve::QvRawFCurve(const QvRawFCurve& other, double from, double to)
    : QvRawFCurve(other) {
  // The delegated constructor has finished, so a throw from here on runs the destructor.
  const QvRawFCurveImpl& body = *m_impl;
  if (body.NumKeys() != 0 && from > body.KeyAt(0).parameter) RemoveHeadInsideCriticalSection(from);
  if (body.NumKeys() != 0 && to < body.KeyAt(body.NumKeys() - 1).parameter)
    RemoveTailInsideCriticalSection(to);
}

QvRawFCurve::~QvRawFCurve() {
  LockGuard guard(*this);
  delete m_impl;
  m_impl = nullptr;
}

QvRawFCurve& QvRawFCurve::operator=(const QvRawFCurve& other) {
  LockGuard target(*this);
  if (&other == this) return *this;
  LockGuard source(other);
  // Both copies are made before anything is replaced: a failed allocation changes nothing.
  std::unique_ptr<QvRawFCurveImpl> fresh(new QvRawFCurveImpl(*other.m_impl));
  QvBaseFCurve::operator=(other);
  delete m_impl;
  m_impl = fresh.release();
  return *this;
}

QvLong QvRawFCurve::Set(const QvBaseFCurve& other) {
  if (other.GetKind() != KindRaw) return 0;
  *this = static_cast<const QvRawFCurve&>(other);
  return 1;
}

QvBaseFCurve* QvRawFCurve::QueryFCurveKind(Kind kind) const {
  return kind == KindRaw ? const_cast<QvRawFCurve*>(this) : nullptr;
}

QvBaseFCurve::Kind QvRawFCurve::GetKind() const { return KindRaw; }

QvBaseFCurve* QvRawFCurve::Clone() const {
  try {
    return new QvRawFCurve(*this);
  } catch (...) {
    return nullptr;
  }
}

// Appending samples

QvLong QvRawFCurve::AppendLinearSegment(const QvPoint2<double>& point) {
  LockGuard guard(*this);
  QvRawFCurveImpl& body = *m_impl;
  const QvULong n = body.NumKeys();
  if (body.m_readOnly != 0 || n == 0) return 0;
  if (!(point.x > body.KeyAt(n - 1).parameter) || !std::isfinite(point.x)) return 0;
  body.Append(point.x, point.y);
  return 1;
}

QvLong QvRawFCurve::AppendOrExtendLinearSegment(const QvPoint2<double>& point, double tolerance) {
  LockGuard guard(*this);
  QvRawFCurveImpl& body = *m_impl;
  const QvULong n = body.NumKeys();
  if (body.m_readOnly != 0 || n == 0) return 0;
  if (!(point.x > body.KeyAt(n - 1).parameter) || !std::isfinite(point.x)) return 0;
  if (n >= 2) {
    const QvRawFCurveImpl::Key& a = body.KeyAt(n - 2);
    const QvRawFCurveImpl::Key& b = body.KeyAt(n - 1);
    const double e =
        a.value + (point.x - a.parameter) * (b.value - a.value) / (b.parameter - a.parameter);
    if (std::fabs(e - point.y) <= tolerance) {
      // The key stays on the line, so that a long straight run never drifts from its start.
      const double old_parameter = b.parameter;
      body.KeyAt(n - 1) = QvRawFCurveImpl::Key{point.x, e};
      if (GetUserDataSet(old_parameter) != nullptr) {
        const QvDoubleArray from(old_parameter, 1);
        const QvDoubleArray to(point.x, 1);
        MoveKeyUserDataTail(from, to);
      }
      return 1;
    }
  }
  body.Append(point.x, point.y);
  return 1;
}

// Keys

QvULong QvRawFCurve::EnsureKeyInsideCriticalSection(double parameter) {
  QvRawFCurveImpl& body = *m_impl;
  if (body.NumKeys() == 0) {
    body.Append(parameter, body.m_valueWhenNoKeys);
    return 0;
  }
  const RawLocation loc = body.LocateKey(parameter);
  if (loc.exact) return loc.position - 1;
  body.Insert(loc.position, parameter, body.EvalHold(parameter));
  return loc.position;
}

void QvRawFCurve::RemoveKeyRangeInsideCriticalSection(QvULong first, QvULong count) {
  QvRawFCurveImpl& body = *m_impl;
  for (QvULong i = first; i < first + count; ++i) RemoveKeyUserData(body.KeyAt(i).parameter);
  body.Erase(first, count);
}

QvLong QvRawFCurve::CreateKey(double parameter, double value) {
  LockGuard guard(*this);
  QvRawFCurveImpl& body = *m_impl;
  if (body.m_readOnly != 0 || !std::isfinite(parameter)) return 0;
  if (body.NumKeys() == 0) {
    body.Append(parameter, value);
    body.m_valueWhenNoKeys = value;
    return 1;
  }
  const RawLocation loc = body.LocateKey(parameter);
  if (loc.exact) {
    body.KeyAt(loc.position - 1).value = value;
  } else {
    body.Insert(loc.position, parameter, value);
  }
  return 1;
}

QvLong QvRawFCurve::CreateNonModifyingKey(double parameter, QvLong noFold) {
  LockGuard guard(*this);
  QvRawFCurveImpl& body = *m_impl;
  if (body.m_readOnly != 0) return 0;
  const double t = noFold != 0 ? parameter : body.Fold(parameter);
  return CreateKey(t, body.EvalHold(t));
}

QvLong QvRawFCurve::MergeAndCreateKeyInsideCriticalSection(double from, double to,
                                                          double parameter, double value,
                                                          QvLong openFrom, QvLong openTo,
                                                          QvLong keepUserData) {
  QvRawFCurveImpl& body = *m_impl;
  if (!std::isfinite(parameter)) return 0;
  if (body.NumKeys() == 0) return CreateKey(parameter, value);
  const RawSelection sel = body.Select(from, to, openFrom, openTo);
  if (sel.count == 0) return CreateKey(parameter, value);
  if (sel.count == 1 &&
      std::fabs(parameter - body.KeyAt(sel.first).parameter) <= kRawKeyTolerance)
    return CreateKey(parameter, value);

  std::unique_ptr<CFCUserDataSet> kept;
  if (keepUserData != 0) {
    QvULong nearest = sel.first;
    for (QvULong i = sel.first + 1; i < sel.first + sel.count; ++i)
      if (std::fabs(body.KeyAt(i).parameter - parameter) <
          std::fabs(body.KeyAt(nearest).parameter - parameter))
        nearest = i;
    if (const CFCUserDataSet* set = GetUserDataSet(body.KeyAt(nearest).parameter))
      kept = std::make_unique<CFCUserDataSet>(*set);
  }
  // Build the new key list aside: a failed allocation leaves the curve as it was.
  std::vector<QvRawFCurveImpl::Key> keys(body.m_keys);
  keys.erase(keys.begin() + sel.first, keys.begin() + sel.first + sel.count);
  QvRawFCurveImpl scratch(body);
  scratch.m_keys.swap(keys);
  if (scratch.NumKeys() == 0) {
    scratch.Append(parameter, value);
    scratch.m_valueWhenNoKeys = value;
  } else {
    const RawLocation loc = scratch.LocateKey(parameter);
    if (loc.exact) {
      scratch.KeyAt(loc.position - 1).value = value;
    } else {
      scratch.Insert(loc.position, parameter, value);
    }
  }
  for (QvULong i = sel.first; i < sel.first + sel.count; ++i)
    RemoveKeyUserData(body.KeyAt(i).parameter);
  body.m_keys.swap(scratch.m_keys);
  body.m_valueWhenNoKeys = scratch.m_valueWhenNoKeys;
  body.m_cursor = 0;
  if (kept) SetUserDataSet(*kept, parameter);
  return 1;
}

QvLong QvRawFCurve::MergeAndCreateKey(double from, double to, double parameter, double value,
                                      QvLong openFrom, QvLong openTo, QvLong keepUserData) {
  LockGuard guard(*this);
  if (m_impl->m_readOnly != 0) return 0;
  if (AreAnyParametersLockedInInterval(from, to, openFrom, openTo) != 0 ||
      AreAnyValuesLockedInInterval(from, to, openFrom, openTo) != 0)
    return 0;
  return MergeAndCreateKeyInsideCriticalSection(from, to, parameter, value, openFrom, openTo,
                                                keepUserData);
}

QvLong QvRawFCurve::MergeAndCreateNonModifyingKey(double from, double to, double parameter,
                                                  QvLong openFrom, QvLong openTo,
                                                  QvLong keepUserData, QvLong noFold) {
  LockGuard guard(*this);
  QvRawFCurveImpl& body = *m_impl;
  if (body.m_readOnly != 0) return 0;
  if (AreAnyParametersLockedInInterval(from, to, openFrom, openTo) != 0 ||
      AreAnyValuesLockedInInterval(from, to, openFrom, openTo) != 0)
    return 0;
  double t = parameter;
  if (noFold == 0 && body.IsCycling() && body.NumKeys() >= 2) {
    t = body.Fold(parameter);
    const double shift = t - parameter;
    from += shift;
    to += shift;
    if (from > to) std::swap(from, to);
    t = std::clamp(t, from, to);
  }
  return MergeAndCreateKeyInsideCriticalSection(from, to, t, body.EvalHold(t), openFrom, openTo,
                                                keepUserData);
}

QvLong QvRawFCurve::RemoveKey(double parameter, double tolerance) {
  LockGuard guard(*this);
  QvRawFCurveImpl& body = *m_impl;
  if (body.m_readOnly != 0) return 0;
  if (body.NumKeys() == 0) return 1;
  QvULong i;
  if (!body.FindKeyNear(parameter, tolerance, i)) return 0;
  if (body.NumKeys() == 1) {
    RemoveAllKeyUserData();
    body.m_keys.clear();
    body.m_cursor = 0;
    return 1;
  }
  RemoveKeyRangeInsideCriticalSection(i, 1);
  return 1;
}

QvLong QvRawFCurve::RemoveKeys(double from, double to, QvLong openFrom, QvLong openTo) {
  LockGuard guard(*this);
  QvRawFCurveImpl& body = *m_impl;
  if (body.m_readOnly != 0) return 0;
  if (AreAnyKeysLockedInInterval(from, to, openFrom, openTo) != 0) return 0;
  if ((openFrom != 0) != (openTo != 0) && std::fabs(from - to) <= kRawKeyTolerance) {
    openFrom = 0;
    openTo = 0;
  }
  const RawSelection sel = body.Select(from, to, openFrom, openTo);
  RemoveKeyRangeInsideCriticalSection(sel.first, sel.count);
  return 1;
}

void QvRawFCurve::RemoveHeadInsideCriticalSection(double parameter) {
  const QvULong at = EnsureKeyInsideCriticalSection(parameter);
  RemoveKeyRangeInsideCriticalSection(0, at);
}

void QvRawFCurve::RemoveTailInsideCriticalSection(double parameter) {
  const QvULong at = EnsureKeyInsideCriticalSection(parameter);
  RemoveKeyRangeInsideCriticalSection(at + 1, m_impl->NumKeys() - at - 1);
}

// A key already at the parameter marks the cut as made: the curve is left alone.
QvLong QvRawFCurve::RemoveHead(double parameter) {
  LockGuard guard(*this);
  QvRawFCurveImpl& body = *m_impl;
  if (body.m_readOnly != 0 || !std::isfinite(parameter)) return 0;
  if (body.NumKeys() != 0 && body.LocateKey(parameter).exact) return 1;
  RemoveHeadInsideCriticalSection(parameter);
  return 1;
}

QvLong QvRawFCurve::RemoveTail(double parameter) {
  LockGuard guard(*this);
  QvRawFCurveImpl& body = *m_impl;
  if (body.m_readOnly != 0 || !std::isfinite(parameter)) return 0;
  if (body.NumKeys() != 0 && body.LocateKey(parameter).exact) return 1;
  RemoveTailInsideCriticalSection(parameter);
  return 1;
}

QvLong QvRawFCurve::SetValueWhenNoKeys(double value) {
  LockGuard guard(*this);
  if (m_impl->m_readOnly != 0) return 0;
  m_impl->m_valueWhenNoKeys = value;
  return 1;
}

QvLong QvRawFCurve::GetKeyValue(double parameter, KeySide, double& value,
                                double tolerance) const {
  LockGuard guard(*this);
  QvULong i;
  if (!m_impl->FindKeyNear(parameter, tolerance, i)) return 0;
  value = m_impl->KeyAt(i).value;
  return 1;
}

QvLong QvRawFCurve::GetKeyValues(double parameter, double& left, double& right,
                                 double tolerance) const {
  LockGuard guard(*this);
  QvULong i;
  if (!m_impl->FindKeyNear(parameter, tolerance, i)) return 0;
  left = m_impl->KeyAt(i).value;
  right = left;
  return 1;
}

// Values are editable even on a read-only curve: hosts drive property values through this while
// the shape of the key list is frozen.
QvLong QvRawFCurve::SetKeyValue(double parameter, KeySide, double value, double tolerance) {
  LockGuard guard(*this);
  if (m_impl->NumKeys() == 0) return 0;
  if (AreAnyValuesLockedInInterval(parameter - tolerance, parameter + tolerance, 0, 0) != 0)
    return 0;
  QvULong i;
  if (!m_impl->FindKeyNear(parameter, tolerance, i)) return 0;
  m_impl->KeyAt(i).value = value;
  return 1;
}

// Queries

QvLong QvRawFCurve::GetKeyParameter(QvULong index, double& parameter) const {
  LockGuard guard(*this);
  if (index >= m_impl->NumKeys()) return 0;
  parameter = m_impl->KeyAt(index).parameter;
  return 1;
}

QvLong QvRawFCurve::GetKeyIndex(double parameter, QvULong& index) const {
  LockGuard guard(*this);
  QvULong i;
  if (!m_impl->FindKeyNear(parameter, 0.0, i)) return 0;
  index = i;
  return 1;
}

QvULong QvRawFCurve::GetNumKeys() const {
  LockGuard guard(*this);
  return m_impl->NumKeys();
}

QvULong QvRawFCurve::GetKeyParameters(double from, double to, QvDoubleArray& parameters,
                                      QvLong openFrom, QvLong openTo) const {
  LockGuard guard(*this);
  const RawSelection sel = m_impl->Select(from, to, openFrom, openTo);
  for (QvULong i = sel.first; i < sel.first + sel.count; ++i)
    parameters.Add(m_impl->KeyAt(i).parameter);
  return sel.count;
}

QvLong QvRawFCurve::IsKeyParameter(double parameter, double tolerance) const {
  LockGuard guard(*this);
  QvULong i;
  return m_impl->FindKeyNear(parameter, tolerance, i) ? 1 : 0;
}

QvULong QvRawFCurve::GetAllKeyParameters(QvDoubleArray& parameters) const {
  LockGuard guard(*this);
  const QvULong n = m_impl->NumKeys();
  for (QvULong i = 0; i < n; ++i) parameters.Add(m_impl->KeyAt(i).parameter);
  return n;
}

QvLong QvRawFCurve::GetNextKeyParameter(double parameter, double& next, QvLong include) const {
  LockGuard guard(*this);
  const QvRawFCurveImpl& body = *m_impl;
  if (body.NumKeys() == 0) return 0;
  const RawLocation loc = body.LocateKey(parameter);
  QvULong i = loc.position;
  if (loc.exact && include != 0) i = loc.position - 1;
  if (i >= body.NumKeys()) return 0;
  next = body.KeyAt(i).parameter;
  return 1;
}

QvLong QvRawFCurve::GetPrevKeyParameter(double parameter, double& prev, QvLong include) const {
  LockGuard guard(*this);
  const QvRawFCurveImpl& body = *m_impl;
  if (body.NumKeys() == 0) return 0;
  const RawLocation loc = body.LocateKey(parameter);
  QvULong before = loc.position;  // keys [0, before) lie at or before the parameter
  if (loc.exact && include == 0) --before;
  if (before == 0) return 0;
  prev = body.KeyAt(before - 1).parameter;
  return 1;
}

QvLong QvRawFCurve::GetNearestKeyParameter(double parameter, double& nearest) const {
  LockGuard guard(*this);
  const QvRawFCurveImpl& body = *m_impl;
  const QvULong n = body.NumKeys();
  if (n == 0) return 0;
  const RawLocation loc = body.LocateKey(parameter);
  if (loc.exact) {
    nearest = body.KeyAt(loc.position - 1).parameter;
    return 1;
  }
  if (loc.position == 0) {
    nearest = body.KeyAt(0).parameter;
  } else if (loc.position >= n) {
    nearest = body.KeyAt(n - 1).parameter;
  } else {
    const double before = body.KeyAt(loc.position - 1).parameter;
    const double after = body.KeyAt(loc.position).parameter;
    nearest = parameter - before < after - parameter ? before : after;
  }
  return 1;
}

QvLong QvRawFCurve::GetNearestKeyParameterInCenteredInterval(double& parameter,
                                                             double halfWidth) const {
  LockGuard guard(*this);
  QvULong i;
  if (!m_impl->FindKeyNear(parameter, halfWidth, i)) return 0;
  parameter = m_impl->KeyAt(i).parameter;
  return 1;
}

QvLong QvRawFCurve::SetClampingValues(double min, double max) {
  LockGuard guard(*this);
  if (std::isnan(min) || std::isnan(max) || min > max) return 0;
  m_impl->m_clampLow = min;
  m_impl->m_clampHigh = max;
  return 1;
}

QvLong QvRawFCurve::GetClampingValues(double& min, double& max) const {
  LockGuard guard(*this);
  min = m_impl->m_clampLow;
  max = m_impl->m_clampHigh;
  return 1;
}

QvLong QvRawFCurve::GetSmallestKeyParameter(double& parameter) const {
  LockGuard guard(*this);
  if (m_impl->NumKeys() == 0) return 0;
  parameter = m_impl->KeyAt(0).parameter;
  return 1;
}

QvLong QvRawFCurve::IsSmallestKeyParameter(double parameter) const {
  LockGuard guard(*this);
  if (m_impl->NumKeys() == 0) return 0;
  return std::fabs(parameter - m_impl->KeyAt(0).parameter) <= kRawKeyTolerance ? 1 : 0;
}

QvLong QvRawFCurve::GetLargestKeyParameter(double& parameter) const {
  LockGuard guard(*this);
  if (m_impl->NumKeys() == 0) return 0;
  parameter = m_impl->KeyAt(m_impl->NumKeys() - 1).parameter;
  return 1;
}

QvLong QvRawFCurve::IsLargestKeyParameter(double parameter) const {
  LockGuard guard(*this);
  const QvULong n = m_impl->NumKeys();
  if (n == 0) return 0;
  return std::fabs(parameter - m_impl->KeyAt(n - 1).parameter) <= kRawKeyTolerance ? 1 : 0;
}

double QvRawFCurve::GetMinusInfinityVal() const {
  LockGuard guard(*this);
  return m_impl->NumKeys() == 0 ? m_impl->m_valueWhenNoKeys : m_impl->KeyAt(0).value;
}

double QvRawFCurve::GetPlusInfinityVal() const {
  LockGuard guard(*this);
  const QvULong n = m_impl->NumKeys();
  return n == 0 ? m_impl->m_valueWhenNoKeys : m_impl->KeyAt(n - 1).value;
}

double QvRawFCurve::GetValueUpperBound(QvLong clamp) const {
  LockGuard guard(*this);
  const QvRawFCurveImpl& body = *m_impl;
  double v = body.m_valueWhenNoKeys;
  if (body.NumKeys() != 0) {
    v = body.KeyAt(0).value;
    for (QvULong i = 1; i < body.NumKeys(); ++i)
      if (body.KeyAt(i).value > v) v = body.KeyAt(i).value;
  }
  return clamp != 0 ? body.Clamp(v) : v;
}

double QvRawFCurve::GetValueLowerBound(QvLong clamp) const {
  LockGuard guard(*this);
  const QvRawFCurveImpl& body = *m_impl;
  double v = body.m_valueWhenNoKeys;
  if (body.NumKeys() != 0) {
    v = body.KeyAt(0).value;
    for (QvULong i = 1; i < body.NumKeys(); ++i)
      if (body.KeyAt(i).value < v) v = body.KeyAt(i).value;
  }
  return clamp != 0 ? body.Clamp(v) : v;
}

double QvRawFCurve::Eval(double parameter, QvLong clamp) const {
  LockGuard guard(*this);
  const double v = m_impl->Eval(parameter);
  return clamp != 0 ? m_impl->Clamp(v) : v;
}

double QvRawFCurve::FoldParameter(double parameter) const {
  LockGuard guard(*this);
  return m_impl->Fold(parameter);
}

QvULong QvRawFCurve::GetKeys(QvDoubleArray& parameters, QvDoubleArray& leftValues,
                             QvDoubleArray& rightValues, QvLong clamp) const {
  LockGuard guard(*this);
  const QvRawFCurveImpl& body = *m_impl;
  const QvULong n = body.NumKeys();
  for (QvULong i = 0; i < n; ++i) {
    const double v = clamp != 0 ? body.Clamp(body.KeyAt(i).value) : body.KeyAt(i).value;
    parameters.Add(body.KeyAt(i).parameter);
    leftValues.Add(v);
    rightValues.Add(v);
  }
  return n;
}

QvLong QvRawFCurve::GetFCurveInfo(FCurveInfo* info) const {
  if (info == nullptr) return 0;
  LockGuard guard(*this);
  const QvRawFCurveImpl& body = *m_impl;
  const QvULong mask = info->mask;
  if (mask & 1u) info->kind = KindRaw;
  if (mask & 2u) info->numKeys = body.NumKeys();
  if (mask & 4u) info->valueWhenNoKeys = body.m_valueWhenNoKeys;
  if (mask & 16u) info->clampMin = body.m_clampLow;
  if (mask & 32u) info->clampMax = body.m_clampHigh;
  if (mask & 64u) info->extrapolation = static_cast<ExtrapolationMethod>(body.m_extrapolation);
  if (mask & 8u) {
    // Every segment is a line: there is no first segment kind to report.
    info->mask &= ~8u;
    info->firstSegmentKind = static_cast<FSKind>(0);
    return 0;
  }
  return 1;
}

namespace {

// Fills the fields that a raw key has; a request for tangents or a segment kind is answered with
// zero handles and a constant kind, and fails.
QvLong fill_key_info(const QvRawFCurveImpl& body, QvULong index, QvBaseFCurve::KeyInfo& info) {
  const QvULong mask = info.mask;
  const QvRawFCurveImpl::Key& key = body.KeyAt(index);
  if (mask & 1u) info.index = index;
  if (mask & 2u) info.parameter = key.parameter;
  if (mask & 4u) info.leftValue = key.value;
  if (mask & 8u) info.rightValue = key.value;
  if (mask & 0x1F0u) {
    info.mask &= ~0x1F0u;
    info.leftTangentX = 0.0;
    info.leftTangentY = 0.0;
    info.rightTangentX = 0.0;
    info.rightTangentY = 0.0;
    info.segmentKind = QvBaseFCurve::FSConstant;
    return 0;
  }
  return 1;
}

}  // namespace

QvLong QvRawFCurve::GetKeyInfoFromIndex(QvULong index, KeyInfo* info) const {
  if (info == nullptr) return 0;
  LockGuard guard(*this);
  if (index >= m_impl->NumKeys()) {
    info->mask = 0;
    return 0;
  }
  return fill_key_info(*m_impl, index, *info);
}

QvLong QvRawFCurve::GetKeyInfoFromParameter(double parameter, KeyInfo* info) const {
  if (info == nullptr) return 0;
  LockGuard guard(*this);
  QvULong i;
  if (!m_impl->FindKeyNear(parameter, 0.0, i)) {
    info->mask = 0;
    return 0;
  }
  return fill_key_info(*m_impl, i, *info);
}

// Settings and constraints. A raw key carries no locks: the three lock constraints are accepted
// so that generic editors can treat every kind alike, and they always read as off.

QvLong QvRawFCurve::SetReadOnlyConstraint(QvLong on) {
  LockGuard guard(*this);
  m_impl->m_readOnly = on != 0 ? 1 : 0;
  return 1;
}

QvLong QvRawFCurve::IsReadOnly() const {
  LockGuard guard(*this);
  return m_impl->m_readOnly;
}

QvLong QvRawFCurve::IsConstraintSupported(KeyConstraint constraint) const {
  return constraint == KCParameterLocked || constraint == KCValueLocked ||
                 constraint == KCKeyLocked
             ? 1
             : 0;
}

QvLong QvRawFCurve::SetConstraint(double& parameter, KeyConstraint constraint, QvLong,
                                  double tolerance) {
  LockGuard guard(*this);
  if (IsConstraintSupported(constraint) == 0 || m_impl->m_readOnly != 0) return 0;
  QvULong i;
  if (!m_impl->FindKeyNear(parameter, tolerance, i)) return 0;
  parameter = m_impl->KeyAt(i).parameter;
  return 1;
}

QvLong QvRawFCurve::GetConstraint(double& parameter, KeyConstraint constraint, QvLong& on,
                                  double tolerance) const {
  LockGuard guard(*this);
  if (IsConstraintSupported(constraint) == 0) return 0;
  QvULong i;
  if (!m_impl->FindKeyNear(parameter, tolerance, i)) return 0;
  on = 0;
  parameter = m_impl->KeyAt(i).parameter;
  return 1;
}

namespace {
QvLong no_locks() { return 0; }
}  // namespace

QvLong QvRawFCurve::AreAnyValuesLockedInInterval(double, double, QvLong, QvLong) const {
  return no_locks();
}

QvLong QvRawFCurve::AreAnyParametersLockedInInterval(double, double, QvLong, QvLong) const {
  return no_locks();
}

QvLong QvRawFCurve::AreAnyKeysLockedInInterval(double, double, QvLong, QvLong) const {
  return no_locks();
}

QvLong QvRawFCurve::SetExtrapolationMethod(ExtrapolationMethod method) {
  LockGuard guard(*this);
  if (method < ExtrapolationConstant || method > ExtrapolationCycleOffset) return 0;
  if (m_impl->m_readOnly != 0) return 0;
  m_impl->m_extrapolation = static_cast<std::uint8_t>(method);
  return 1;
}

QvBaseFCurve::ExtrapolationMethod QvRawFCurve::GetExtrapolationMethod() const {
  LockGuard guard(*this);
  return static_cast<ExtrapolationMethod>(m_impl->m_extrapolation);
}

// The default Bezier tangent has no effect on straight segments; the flag is only kept so that a
// host's setting survives a save.
QvLong QvRawFCurve::SetDefaultBezierTangentConstraint(QvLong on) {
  LockGuard guard(*this);
  m_impl->m_defaultBezierTangent = on != 0 ? 1 : 0;
  return 1;
}

QvLong QvRawFCurve::IsDefautlBezierTangentConstraintOn() const {
  LockGuard guard(*this);
  return m_impl->m_defaultBezierTangent;
}

QvLong QvRawFCurve::SetAsTimeFCurve(QvLong on) {
  LockGuard guard(*this);
  const QvLong value = on != 0 ? 1 : 0;
  if (m_impl->m_isTimeCurve == value) return 0;
  m_impl->m_isTimeCurve = value;
  return 1;
}

QvLong QvRawFCurve::IsTimeFCurve() const {
  LockGuard guard(*this);
  return m_impl->m_isTimeCurve;
}
