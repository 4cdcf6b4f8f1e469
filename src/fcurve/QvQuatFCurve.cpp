#include <qv/QvQuatFCurve.h>

#include "fcurve/rotation_view.h"

#include <cfloat>
#include <cmath>
#include <new>

using qv::internal::kNoRotationKey;
using qv::internal::kRotationKeyTolerance;

namespace {

constexpr unsigned kLockParameter = 1;
constexpr unsigned kLockValue = 2;

}  // namespace

QvQuatFCurve::QvQuatFCurve(QvULong component) : m_curve(new QvQuatCurve), m_component(component) {
  m_curve->Ref();
}

QvQuatFCurve::QvQuatFCurve(QvQuatCurve* curve, QvULong component)
    : m_curve(curve != nullptr ? curve : new QvQuatCurve), m_component(component) {
  m_curve->Ref();
}

QvQuatFCurve::QvQuatFCurve(const QvQuatFCurve& other)
    : QvBaseFCurve(other), m_curve(nullptr), m_component(other.m_component) {
  LockGuard source(other);
  m_curve = new QvQuatCurve(*other.m_curve);
  m_curve->Ref();
}

QvQuatFCurve::~QvQuatFCurve() { m_curve->UnRef(); }

QvQuatFCurve& QvQuatFCurve::operator=(const QvQuatFCurve& other) {
  LockGuard target(*this);
  if (&other == this) return *this;
  LockGuard source(other);
  QvBaseFCurve::operator=(other);
  *m_curve = *other.m_curve;
  return *this;
}

// Lookups and per-key answers

QvLong QvQuatFCurve::GetKeyIndicesInInterval(double from, double to, QvULong& first,
                                             QvULong& last, QvLong excludeFrom,
                                             QvLong excludeTo) const {
  const QvQuatCurve& c = *m_curve;
  bool found = false;
  QvULong lo = 0, hi = 0;
  for (QvULong i = 0; i < c.GetNumKeys(); ++i) {
    const double t = c.GetKeyTime(i);
    const bool at_from = std::fabs(t - from) <= kRotationKeyTolerance;
    const bool at_to = std::fabs(t - to) <= kRotationKeyTolerance;
    bool inside = (t >= from || at_from) && (t <= to || at_to);
    if ((excludeFrom != 0 && at_from) || (excludeTo != 0 && at_to)) inside = false;
    if (!inside) continue;
    if (!found) lo = i;
    hi = i;
    found = true;
  }
  if (!found) return 0;
  first = lo;
  last = hi;
  return 1;
}

QvLong QvQuatFCurve::AnyLockInInterval(double from, double to, QvLong openFrom, QvLong openTo,
                                       unsigned which) const {
  LockGuard guard(*this);
  if (openFrom != 0 && openTo != 0 && std::fabs(to - from) <= kRotationKeyTolerance) return 0;
  QvULong first = 0, last = 0;
  if (GetKeyIndicesInInterval(from, to, first, last, openFrom, openTo) == 0) return 0;
  for (QvULong i = first; i <= last; ++i) {
    if ((which & kLockParameter) != 0 && m_curve->IsParamLocked(i) != 0) return 1;
    if ((which & kLockValue) != 0 && m_curve->IsValueLocked(i) != 0) return 1;
  }
  return 0;
}

QvLong QvQuatFCurve::AreAnyValuesLockedInInterval(double from, double to, QvLong openFrom,
                                                  QvLong openTo) const {
  return AnyLockInInterval(from, to, openFrom, openTo, kLockValue);
}

QvLong QvQuatFCurve::AreAnyParametersLockedInInterval(double from, double to, QvLong openFrom,
                                                      QvLong openTo) const {
  return AnyLockInInterval(from, to, openFrom, openTo, kLockParameter);
}

// A key with either lock counts here, unlike the stepped curves, which ask for both.
QvLong QvQuatFCurve::AreAnyKeysLockedInInterval(double from, double to, QvLong openFrom,
                                                QvLong openTo) const {
  return AnyLockInInterval(from, to, openFrom, openTo, kLockParameter | kLockValue);
}

QvBaseFCurve* QvQuatFCurve::QueryFCurveKind(Kind kind) const {
  return kind == KindQuat ? const_cast<QvQuatFCurve*>(this) : nullptr;
}

QvBaseFCurve::Kind QvQuatFCurve::GetKind() const { return KindQuat; }

QvBaseFCurve* QvQuatFCurve::Clone() const {
  try {
    return new QvQuatFCurve(*this);
  } catch (...) {
    return nullptr;
  }
}

QvLong QvQuatFCurve::Set(const QvBaseFCurve& other) {
  const QvBaseFCurve* same = other.QueryFCurveKind(KindQuat);
  if (same == nullptr) return 0;
  *this = static_cast<const QvQuatFCurve&>(*same);
  return 1;
}

QvLong QvQuatFCurve::CreateKey(double parameter, double value) {
  LockGuard guard(*this);
  if (m_curve->IsReadOnly() != 0) return 0;
  const QvULong index = m_curve->SetKey(parameter, m_component, value, 0.0);
  return index < m_curve->GetNumKeys() ? 1 : 0;
}

QvLong QvQuatFCurve::CreateNonModifyingKey(double parameter, QvLong noFold) {
  LockGuard guard(*this);
  QvQuatCurve& c = *m_curve;
  if (c.IsReadOnly() != 0 || !std::isfinite(parameter)) return 0;
  const double t = noFold != 0 ? parameter : FoldParameter(parameter);
  const QvULong index = c.SetKey(t, c.Eval(t), 0.0);
  return index < c.GetNumKeys() ? 1 : 0;
}

void QvQuatFCurve::RemoveKeysInsideCriticalSection(QvULong first, QvULong last) {
  for (QvULong i = first; i <= last; ++i) QvBaseFCurve::RemoveKeyUserData(m_curve->GetKeyTime(i));
  m_curve->RemoveKeyRange(first, last);
}

QvLong QvQuatFCurve::RemoveKey(double parameter, double tolerance) {
  LockGuard guard(*this);
  QvQuatCurve& c = *m_curve;
  if (c.IsReadOnly() != 0) return 0;
  if (c.GetNumKeys() == 0) return 1;
  const QvULong i = c.FindKey(parameter, tolerance);
  if (i == kNoRotationKey || c.GetConstraintData(i) != 0) return 0;
  RemoveKeysInsideCriticalSection(i, i);
  return 1;
}

QvLong QvQuatFCurve::RemoveKeys(double from, double to, QvLong openFrom, QvLong openTo) {
  LockGuard guard(*this);
  if (m_curve->IsReadOnly() != 0) return 0;
  if (AreAnyKeysLockedInInterval(from, to, openFrom, openTo) != 0) return 0;
  QvULong first = 0, last = 0;
  if (GetKeyIndicesInInterval(from, to, first, last, openFrom, openTo) != 0)
    RemoveKeysInsideCriticalSection(first, last);
  return 1;
}

QvLong QvQuatFCurve::SetValueWhenNoKeys(double value) {
  LockGuard guard(*this);
  if (m_curve->IsReadOnly() != 0 || m_component > 2) return 0;
  m_curve->SetValueWhenNoKeys(m_component, value);
  return 1;
}

QvLong QvQuatFCurve::GetKeyValue(double parameter, KeySide, double& value,
                                 double tolerance) const {
  LockGuard guard(*this);
  const QvULong i = m_curve->FindKey(parameter, tolerance);
  if (i == kNoRotationKey) return 0;
  value = m_curve->GetKeyValue(i, m_component);
  return 1;
}

// A rotation has no jumps: both sides of a key carry the key's value.
QvLong QvQuatFCurve::GetKeyValues(double parameter, double& left, double& right,
                                  double tolerance) const {
  LockGuard guard(*this);
  const QvULong i = m_curve->FindKey(parameter, tolerance);
  if (i == kNoRotationKey) return 0;
  left = right = m_curve->GetKeyValue(i, m_component);
  return 1;
}

QvLong QvQuatFCurve::SetKeyValue(double parameter, KeySide, double value, double tolerance) {
  LockGuard guard(*this);
  QvQuatCurve& c = *m_curve;
  if (c.IsReadOnly() != 0) return 0;
  const QvULong i = c.FindKey(parameter, tolerance);
  if (i == kNoRotationKey || c.IsValueLocked(i) != 0) return 0;
  return c.SetKeyValue(i, m_component, value);
}

QvLong QvQuatFCurve::GetFCurveInfo(FCurveInfo* info) const {
  if (info == nullptr) return 0;
  LockGuard guard(*this);
  const QvULong mask = info->mask;
  if ((mask & 1) != 0) info->kind = KindQuat;
  if ((mask & 2) != 0) info->numKeys = m_curve->GetNumKeys();
  if ((mask & 4) != 0) info->valueWhenNoKeys = m_curve->GetValueWhenNoKeys(m_component);
  if ((mask & 8) != 0) info->firstSegmentKind = FSBezierCubic;  // the spans are smooth
  if ((mask & 16) != 0) info->clampMin = -DBL_MAX;
  if ((mask & 32) != 0) info->clampMax = DBL_MAX;
  if ((mask & 64) != 0)
    info->extrapolation = static_cast<ExtrapolationMethod>(m_curve->GetExtrapolationMethod());
  return 1;
}

// Index, parameter and value are served; a rotation component has no stored tangents, so a request
// for them clears those bits and fails, as the raw curve does.
QvLong QvQuatFCurve::GetKeyInfoFromIndex(QvULong index, KeyInfo* info) const {
  if (info == nullptr) return 0;
  LockGuard guard(*this);
  if (index >= m_curve->GetNumKeys()) {
    info->mask = 0;
    return 0;
  }
  const QvULong mask = info->mask;
  if ((mask & 1) != 0) info->index = index;
  if ((mask & 2) != 0) info->parameter = m_curve->GetKeyTime(index);
  if ((mask & 4) != 0) info->leftValue = m_curve->GetKeyValue(index, m_component);
  if ((mask & 8) != 0) info->rightValue = m_curve->GetKeyValue(index, m_component);
  if ((mask & 0x1F0u) != 0) {
    info->mask = mask & ~0x1F0u;
    info->leftTangentX = info->leftTangentY = 0.0;
    info->rightTangentX = info->rightTangentY = 0.0;
    info->segmentKind = FSConstant;
    return 0;
  }
  return 1;
}

QvLong QvQuatFCurve::GetKeyInfoFromParameter(double parameter, KeyInfo* info) const {
  if (info == nullptr) return 0;
  LockGuard guard(*this);
  const QvULong i = m_curve->FindKey(parameter, kRotationKeyTolerance);
  if (i == kNoRotationKey) {
    info->mask = 0;
    return 0;
  }
  return GetKeyInfoFromIndex(i, info);
}

QvLong QvQuatFCurve::GetKeyParameter(QvULong index, double& parameter) const {
  LockGuard guard(*this);
  if (index >= m_curve->GetNumKeys()) return 0;
  parameter = m_curve->GetKeyTime(index);
  return 1;
}

QvLong QvQuatFCurve::GetKeyIndex(double parameter, QvULong& index) const {
  LockGuard guard(*this);
  const QvULong i = m_curve->FindKey(parameter, 0.0);
  if (i == kNoRotationKey) return 0;
  index = i;
  return 1;
}

QvULong QvQuatFCurve::GetNumKeys() const {
  LockGuard guard(*this);
  return m_curve->GetNumKeys();
}

QvULong QvQuatFCurve::GetKeyParameters(double from, double to, QvDoubleArray& parameters,
                                       QvLong openFrom, QvLong openTo) const {
  LockGuard guard(*this);
  QvULong first = 0, last = 0;
  if (GetKeyIndicesInInterval(from, to, first, last, openFrom, openTo) == 0) return 0;
  for (QvULong i = first; i <= last; ++i) parameters.Add(m_curve->GetKeyTime(i));
  return last - first + 1;
}

QvLong QvQuatFCurve::IsKeyParameter(double parameter, double tolerance) const {
  LockGuard guard(*this);
  return m_curve->FindKey(parameter, tolerance) != kNoRotationKey ? 1 : 0;
}

QvULong QvQuatFCurve::GetAllKeyParameters(QvDoubleArray& parameters) const {
  LockGuard guard(*this);
  const QvULong n = m_curve->GetNumKeys();
  for (QvULong i = 0; i < n; ++i) parameters.Add(m_curve->GetKeyTime(i));
  return n;
}

QvLong QvQuatFCurve::GetNextKeyParameter(double parameter, double& next, QvLong include) const {
  LockGuard guard(*this);
  for (QvULong i = 0; i < m_curve->GetNumKeys(); ++i) {
    const double t = m_curve->GetKeyTime(i);
    const bool at = std::fabs(t - parameter) <= kRotationKeyTolerance;
    if ((include != 0 && at) || (!at && t > parameter)) {
      next = t;
      return 1;
    }
  }
  return 0;
}

QvLong QvQuatFCurve::GetPrevKeyParameter(double parameter, double& prev, QvLong include) const {
  LockGuard guard(*this);
  for (QvULong i = m_curve->GetNumKeys(); i-- > 0;) {
    const double t = m_curve->GetKeyTime(i);
    const bool at = std::fabs(t - parameter) <= kRotationKeyTolerance;
    if ((include != 0 && at) || (!at && t < parameter)) {
      prev = t;
      return 1;
    }
  }
  return 0;
}

// The nearer of the two keys around the parameter; the later one on a tie.
QvLong QvQuatFCurve::GetNearestKeyParameter(double parameter, double& nearest) const {
  LockGuard guard(*this);
  const QvULong n = m_curve->GetNumKeys();
  if (n == 0) return 0;
  QvULong best = 0;
  for (QvULong i = 1; i < n; ++i)
    if (std::fabs(m_curve->GetKeyTime(i) - parameter) <=
        std::fabs(m_curve->GetKeyTime(best) - parameter))
      best = i;
  nearest = m_curve->GetKeyTime(best);
  return 1;
}

QvLong QvQuatFCurve::GetNearestKeyParameterInCenteredInterval(double& parameter,
                                                              double halfWidth) const {
  LockGuard guard(*this);
  const QvULong i = m_curve->FindKey(parameter, halfWidth);
  if (i == kNoRotationKey) return 0;
  parameter = m_curve->GetKeyTime(i);
  return 1;
}

// A rotation channel is never clamped.
QvLong QvQuatFCurve::SetClampingValues(double, double) { return 0; }

QvLong QvQuatFCurve::GetClampingValues(double& min, double& max) const {
  min = -DBL_MAX;
  max = DBL_MAX;
  return 1;
}

QvLong QvQuatFCurve::GetSmallestKeyParameter(double& parameter) const {
  LockGuard guard(*this);
  if (m_curve->GetNumKeys() == 0) return 0;
  parameter = m_curve->GetKeyTime(0);
  return 1;
}

QvLong QvQuatFCurve::IsSmallestKeyParameter(double parameter) const {
  LockGuard guard(*this);
  if (m_curve->GetNumKeys() == 0) return 0;
  return std::fabs(m_curve->GetKeyTime(0) - parameter) <= kRotationKeyTolerance ? 1 : 0;
}

QvLong QvQuatFCurve::GetLargestKeyParameter(double& parameter) const {
  LockGuard guard(*this);
  const QvULong n = m_curve->GetNumKeys();
  if (n == 0) return 0;
  parameter = m_curve->GetKeyTime(n - 1);
  return 1;
}

QvLong QvQuatFCurve::IsLargestKeyParameter(double parameter) const {
  LockGuard guard(*this);
  const QvULong n = m_curve->GetNumKeys();
  if (n == 0) return 0;
  return std::fabs(m_curve->GetKeyTime(n - 1) - parameter) <= kRotationKeyTolerance ? 1 : 0;
}

double QvQuatFCurve::GetMinusInfinityVal() const {
  LockGuard guard(*this);
  if (m_curve->GetNumKeys() == 0) return m_curve->GetValueWhenNoKeys(m_component);
  return m_curve->GetKeyValue(0, m_component);
}

double QvQuatFCurve::GetPlusInfinityVal() const {
  LockGuard guard(*this);
  const QvULong n = m_curve->GetNumKeys();
  if (n == 0) return m_curve->GetValueWhenNoKeys(m_component);
  return m_curve->GetKeyValue(n - 1, m_component);
}

double QvQuatFCurve::GetValueUpperBound(QvLong) const {
  LockGuard guard(*this);
  const QvULong n = m_curve->GetNumKeys();
  if (n == 0) return m_curve->GetValueWhenNoKeys(m_component);
  double high = m_curve->GetKeyValue(0, m_component);
  for (QvULong i = 1; i < n; ++i) high = std::fmax(high, m_curve->GetKeyValue(i, m_component));
  return high;
}

double QvQuatFCurve::GetValueLowerBound(QvLong) const {
  LockGuard guard(*this);
  const QvULong n = m_curve->GetNumKeys();
  if (n == 0) return m_curve->GetValueWhenNoKeys(m_component);
  double low = m_curve->GetKeyValue(0, m_component);
  for (QvULong i = 1; i < n; ++i) low = std::fmin(low, m_curve->GetKeyValue(i, m_component));
  return low;
}

QvLong QvQuatFCurve::GetValueBoundsBetween(double from, double to, double& low,
                                           double& high) const {
  LockGuard guard(*this);
  QvULong first = 0, last = 0;
  if (GetKeyIndicesInInterval(from, to, first, last, 0, 0) == 0) return 0;
  double lo = m_curve->GetKeyValue(first, m_component);
  double hi = lo;
  for (QvULong i = first + 1; i <= last; ++i) {
    lo = std::fmin(lo, m_curve->GetKeyValue(i, m_component));
    hi = std::fmax(hi, m_curve->GetKeyValue(i, m_component));
  }
  low = lo;
  high = hi;
  return 1;
}

double QvQuatFCurve::Eval(double parameter, QvLong) const {
  LockGuard guard(*this);
  return m_curve->Eval(parameter, m_component);
}

QvULong QvQuatFCurve::GetKeys(QvDoubleArray& parameters, QvDoubleArray& leftValues,
                              QvDoubleArray& rightValues, QvLong) const {
  LockGuard guard(*this);
  const QvULong n = m_curve->GetNumKeys();
  for (QvULong i = 0; i < n; ++i) {
    const double v = m_curve->GetKeyValue(i, m_component);
    parameters.Add(m_curve->GetKeyTime(i));
    leftValues.Add(v);
    rightValues.Add(v);
  }
  return n;
}

QvLong QvQuatFCurve::SetReadOnlyConstraint(QvLong on) {
  LockGuard guard(*this);
  return m_curve->SetReadOnlyConstraint(on);
}

QvLong QvQuatFCurve::IsReadOnly() const {
  LockGuard guard(*this);
  return m_curve->IsReadOnly();
}

QvLong QvQuatFCurve::IsConstraintSupported(KeyConstraint constraint) const {
  return constraint == KCParameterLocked || constraint == KCValueLocked ||
                 constraint == KCKeyLocked
             ? 1
             : 0;
}

QvLong QvQuatFCurve::SetConstraint(double& parameter, KeyConstraint constraint, QvLong on,
                                   double tolerance) {
  LockGuard guard(*this);
  QvQuatCurve& c = *m_curve;
  const QvLong bits = static_cast<QvLong>(constraint);
  if (bits == 0 || (bits & ~(KCParameterLocked | KCValueLocked | KCKeyLocked)) != 0) return 0;
  if (c.IsReadOnly() != 0) return 0;
  const QvULong i = c.FindKey(parameter, tolerance);
  if (i == kNoRotationKey) return 0;
  if ((bits & (KCParameterLocked | KCKeyLocked)) != 0) c.SetParamLock(i, on);
  if ((bits & (KCValueLocked | KCKeyLocked)) != 0) c.SetValueLock(i, on);
  parameter = c.GetKeyTime(i);
  return 1;
}

QvLong QvQuatFCurve::GetConstraint(double& parameter, KeyConstraint constraint, QvLong& on,
                                   double tolerance) const {
  LockGuard guard(*this);
  if (IsConstraintSupported(constraint) == 0) return 0;
  const QvQuatCurve& c = *m_curve;
  const QvULong i = c.FindKey(parameter, tolerance);
  if (i == kNoRotationKey) return 0;
  if (constraint == KCParameterLocked) on = c.IsParamLocked(i);
  else if (constraint == KCValueLocked) on = c.IsValueLocked(i);
  else on = (c.IsParamLocked(i) != 0 || c.IsValueLocked(i) != 0) ? 1 : 0;
  parameter = c.GetKeyTime(i);
  return 1;
}

QvLong QvQuatFCurve::SetExtrapolationMethod(ExtrapolationMethod method) {
  LockGuard guard(*this);
  if (m_curve->IsReadOnly() != 0) return 0;
  return m_curve->SetExtrapolationMethod(method);
}

QvBaseFCurve::ExtrapolationMethod QvQuatFCurve::GetExtrapolationMethod() const {
  LockGuard guard(*this);
  return static_cast<ExtrapolationMethod>(m_curve->GetExtrapolationMethod());
}

// The plain cycle's fold for both cycling methods, without a snap onto keys.
double QvQuatFCurve::FoldParameter(double parameter) const {
  LockGuard guard(*this);
  const QvQuatCurve& c = *m_curve;
  const QvULong n = c.GetNumKeys();
  const QvLong method = c.GetExtrapolationMethod();
  if (n < 2 || (method != 3 && method != 4) || !std::isfinite(parameter)) return parameter;
  const double first = c.GetKeyTime(0);
  const double last = c.GetKeyTime(n - 1);
  const double period = last - first;
  if (!(period > 0.0)) return parameter;
  if (parameter > last)
    return std::fmin(std::fmax(std::fmod(parameter - first, period) + first, first), last);
  if (parameter < first)
    return std::fmin(std::fmax(last - std::fmod(first - parameter, period), first), last);
  return parameter;
}

QvLong QvQuatFCurve::ReduceNumKeys(double, double, double) { return 0; }
QvLong QvQuatFCurve::SmoothSequence(double, double, const double*, QvULong) { return 0; }
QvLong QvQuatFCurve::EvalInverse(double, double&, QvLong) const { return 0; }
QvLong QvQuatFCurve::IsBijective() const { return 0; }
QvLong QvQuatFCurve::SetDefaultBezierTangentConstraint(QvLong) { return 1; }
QvLong QvQuatFCurve::IsDefautlBezierTangentConstraintOn() const { return 0; }
QvLong QvQuatFCurve::SetAsTimeFCurve(QvLong) { return 1; }
QvLong QvQuatFCurve::IsTimeFCurve() const { return 1; }
