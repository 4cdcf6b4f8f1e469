#include <qv/QvStdFCurve.h>

#include "fcurve/QvStdFCurveImpl.h"

#include <cmath>

using qv::internal::kKeyTolerance;

namespace {

bool is_key_side(QvBaseFCurve::KeySide side) {
  return side == QvBaseFCurve::KeySideLeft || side == QvBaseFCurve::KeySideRight;
}

// One of the fourteen constraint values, not an OR of several.
bool is_single_constraint(QvLong c) {
  return c > 0 && c <= QvBaseFCurve::KCTangentLinearAlternate && (c & (c - 1)) == 0;
}

QvBaseFCurve::FSKind as_kind(unsigned char kind) {
  return static_cast<QvBaseFCurve::FSKind>(kind);
}

// The bound of the control polygon, not the tight one: cheap, and never inside the curve. An
// automatic interior key contributes one handle only, the one on the side its neighbours lean to.
// `beyond(a, b)` tells whether a lies further out than b: greater for the upper bound, smaller for
// the lower. Needs at least one key.
template <class Beyond>
double polygon_bound(const QvStdFCurveImpl& body, Beyond beyond) {
  const QvULong n = body.m_numKeys;
  double bound = body.Key(0).leftValue;
  auto take = [&bound, &beyond](double v) {
    if (beyond(v, bound)) bound = v;
  };
  for (QvULong i = 0; i + 1 < n; ++i) {
    const QvStdFCurveKey& key = body.Key(i);
    const QvStdFCurveKey& next = body.Key(i + 1);
    switch (key.segmentKind) {
      case QvBaseFCurve::FSConstant:
        take(key.rightValue);
        break;
      case QvBaseFCurve::FSLinear:
        take(key.rightValue);
        take(next.leftValue);
        break;
      case QvBaseFCurve::FSBezierCubic:
        take(next.leftValue);
        take(key.rightValue);
        if (i > 0 && (key.flags & qv::internal::kFlagTangentAutomatic)) {
          take(beyond(body.Key(i - 1).rightValue, next.leftValue) ? body.LeftHandleValue(i)
                                                                  : body.RightHandleValue(i));
        } else {
          take(body.LeftHandleValue(i + 1));
          take(body.RightHandleValue(i));
        }
        break;
      default:
        break;
    }
  }
  take(body.Key(n - 1).rightValue);
  return bound;
}

}  // namespace

QvStdFCurve::QvStdFCurve(double valueWhenNoKeys, FSKind firstSegmentKind)
    : m_impl(new QvStdFCurveImpl(valueWhenNoKeys, firstSegmentKind)) {}

QvStdFCurve::~QvStdFCurve() {
  LockGuard guard(*this);
  delete m_impl;
  m_impl = nullptr;
}

QvBaseFCurve* QvStdFCurve::QueryFCurveKind(Kind kind) const {
  return kind == KindStandard ? const_cast<QvStdFCurve*>(this) : nullptr;
}

QvBaseFCurve::Kind QvStdFCurve::GetKind() const { return KindStandard; }

QvLong QvStdFCurve::GetKeyValue(double parameter, KeySide side, double& value,
                                double tolerance) const {
  LockGuard guard(*this);
  const QvStdFCurveImpl& body = *m_impl;
  QvULong i;
  if (!body.FindKeyNear(parameter, tolerance, i)) return 0;
  value = side == KeySideLeft ? body.Arrival(i) : body.Key(i).rightValue;
  return 1;
}

QvLong QvStdFCurve::GetKeyValues(double parameter, double& left, double& right,
                                 double tolerance) const {
  LockGuard guard(*this);
  const QvStdFCurveImpl& body = *m_impl;
  QvULong i;
  if (!body.FindKeyNear(parameter, tolerance, i)) return 0;
  left = body.Arrival(i);
  right = body.Key(i).rightValue;
  return 1;
}

QvLong QvStdFCurve::GetFCurveInfo(FCurveInfo* info) const {
  if (info == nullptr) return 0;
  LockGuard guard(*this);
  const QvStdFCurveImpl& body = *m_impl;
  const QvULong mask = info->mask;
  if (mask & 1) info->kind = KindStandard;
  if (mask & 2) info->numKeys = body.m_numKeys;
  if (mask & 4) info->valueWhenNoKeys = body.m_valueWhenNoKeys;
  if (mask & 8) info->firstSegmentKind = body.m_firstSegmentKind;
  if (mask & 16) info->clampMin = body.m_clampMin;
  if (mask & 32) info->clampMax = body.m_clampMax;
  if (mask & 64) info->extrapolation = static_cast<ExtrapolationMethod>(body.m_extrapolation);
  return 1;
}

QvLong QvStdFCurve::GetKeyInfoFromIndex(QvULong index, KeyInfo* info) const {
  if (info == nullptr) return 0;
  LockGuard guard(*this);
  const QvStdFCurveImpl& body = *m_impl;
  if (index >= body.m_numKeys) {
    info->mask = 0;
    return 0;
  }
  const QvStdFCurveKey& key = body.Key(index);
  const QvULong mask = info->mask;
  if (mask & 1) info->index = index;
  if (mask & 2) info->parameter = key.parameter;
  if (mask & 4) info->leftValue = body.Arrival(index);
  if (mask & 8) info->rightValue = key.rightValue;
  if (mask & (16 | 32)) {
    const QvPoint2<double> left = body.EvaluatedLeftHandle(index);
    if (mask & 16) info->leftTangentX = left.x - key.parameter;
    if (mask & 32) info->leftTangentY = left.y - key.leftValue;
  }
  if (mask & (64 | 128)) {
    const QvPoint2<double> right = body.EvaluatedRightHandle(index);
    if (mask & 64) info->rightTangentX = right.x - key.parameter;
    if (mask & 128) info->rightTangentY = right.y - key.rightValue;
  }
  if (mask & 256) info->segmentKind = as_kind(key.segmentKind);
  return 1;
}

QvLong QvStdFCurve::GetKeyInfoFromParameter(double parameter, KeyInfo* info) const {
  if (info == nullptr) return 0;
  LockGuard guard(*this);
  QvULong i;
  if (!m_impl->FindKeyNear(parameter, 0.0, i)) {
    info->mask = 0;
    return 0;
  }
  return GetKeyInfoFromIndex(i, info);
}

QvLong QvStdFCurve::GetKeyParameter(QvULong index, double& parameter) const {
  LockGuard guard(*this);
  if (index >= m_impl->m_numKeys) return 0;
  parameter = m_impl->Key(index).parameter;
  return 1;
}

QvLong QvStdFCurve::GetKeyIndex(double parameter, QvULong& index) const {
  LockGuard guard(*this);
  QvULong i;
  if (!m_impl->FindKeyNear(parameter, 0.0, i)) return 0;
  index = i;
  return 1;
}

QvULong QvStdFCurve::GetNumKeys() const {
  LockGuard guard(*this);
  return m_impl->m_numKeys;
}

QvULong QvStdFCurve::GetKeyParameters(double from, double to, QvDoubleArray& parameters,
                                      QvLong openFrom, QvLong openTo) const {
  LockGuard guard(*this);
  const QvStdFCurveImpl& body = *m_impl;
  QvULong first;
  QvULong end;
  body.SelectInterval(from, to, openFrom, openTo, first, end);
  for (QvULong i = first; i < end; ++i) parameters.Add(body.Key(i).parameter);
  return end - first;
}

QvLong QvStdFCurve::IsKeyParameter(double parameter, double tolerance) const {
  LockGuard guard(*this);
  QvULong i;
  return m_impl->FindKeyNear(parameter, tolerance, i) ? 1 : 0;
}

QvULong QvStdFCurve::GetAllKeyParameters(QvDoubleArray& parameters) const {
  LockGuard guard(*this);
  const QvStdFCurveImpl& body = *m_impl;
  for (QvULong i = 0; i < body.m_numKeys; ++i) parameters.Add(body.Key(i).parameter);
  return body.m_numKeys;
}

QvLong QvStdFCurve::GetNextKeyParameter(double parameter, double& next, QvLong include) const {
  LockGuard guard(*this);
  const QvStdFCurveImpl& body = *m_impl;
  if (body.m_numKeys == 0) return 0;
  const QvStdFCurveImpl::KeyPosition found = body.FindKey(parameter);
  QvULong i = found.position;
  if (include != 0 && found.exact) i = found.position - 1;
  if (i == body.m_numKeys) return 0;
  next = body.Key(i).parameter;
  return 1;
}

QvLong QvStdFCurve::GetPrevKeyParameter(double parameter, double& prev, QvLong include) const {
  LockGuard guard(*this);
  const QvStdFCurveImpl& body = *m_impl;
  if (body.m_numKeys == 0) return 0;
  const QvStdFCurveImpl::KeyPosition found = body.FindKey(parameter);
  QvULong i;
  if (found.exact && include == 0) {
    if (found.position < 2) return 0;
    i = found.position - 2;
  } else {
    if (found.position == 0) return 0;
    i = found.position - 1;
  }
  prev = body.Key(i).parameter;
  return 1;
}

QvLong QvStdFCurve::GetNearestKeyParameter(double parameter, double& nearest) const {
  LockGuard guard(*this);
  const QvStdFCurveImpl& body = *m_impl;
  const QvULong n = body.m_numKeys;
  if (n == 0) return 0;
  const QvStdFCurveImpl::KeyPosition found = body.FindKey(parameter);
  QvULong i;
  if (found.exact) {
    i = found.position - 1;
  } else if (found.position == 0) {
    i = 0;
  } else if (found.position == n) {
    i = n - 1;
  } else {
    // Halfway between two keys the later one wins.
    const double before = parameter - body.Key(found.position - 1).parameter;
    const double after = body.Key(found.position).parameter - parameter;
    i = before < after ? found.position - 1 : found.position;
  }
  nearest = body.Key(i).parameter;
  return 1;
}

QvLong QvStdFCurve::GetNearestKeyParameterInCenteredInterval(double& parameter,
                                                             double halfWidth) const {
  LockGuard guard(*this);
  QvULong i;
  if (!m_impl->FindKeyNear(parameter, halfWidth, i)) return 0;
  parameter = m_impl->Key(i).parameter;
  return 1;
}

QvLong QvStdFCurve::GetClampingValues(double& min, double& max) const {
  LockGuard guard(*this);
  min = m_impl->m_clampMin;
  max = m_impl->m_clampMax;
  return 1;
}

QvLong QvStdFCurve::GetSmallestKeyParameter(double& parameter) const {
  LockGuard guard(*this);
  if (m_impl->m_numKeys == 0) return 0;
  parameter = m_impl->Key(0).parameter;
  return 1;
}

QvLong QvStdFCurve::IsSmallestKeyParameter(double parameter) const {
  LockGuard guard(*this);
  if (m_impl->m_numKeys == 0) return 0;
  return std::fabs(parameter - m_impl->Key(0).parameter) <= kKeyTolerance ? 1 : 0;
}

double QvStdFCurve::GetMinusInfinityVal() const {
  LockGuard guard(*this);
  const QvStdFCurveImpl& body = *m_impl;
  return body.m_numKeys == 0 ? body.m_valueWhenNoKeys : body.Key(0).leftValue;
}

QvLong QvStdFCurve::GetLargestKeyParameter(double& parameter) const {
  LockGuard guard(*this);
  const QvULong n = m_impl->m_numKeys;
  if (n == 0) return 0;
  parameter = m_impl->Key(n - 1).parameter;
  return 1;
}

QvLong QvStdFCurve::IsLargestKeyParameter(double parameter) const {
  LockGuard guard(*this);
  const QvULong n = m_impl->m_numKeys;
  if (n == 0) return 0;
  return std::fabs(parameter - m_impl->Key(n - 1).parameter) <= kKeyTolerance ? 1 : 0;
}

double QvStdFCurve::GetPlusInfinityVal() const {
  LockGuard guard(*this);
  const QvStdFCurveImpl& body = *m_impl;
  const QvULong n = body.m_numKeys;
  return n == 0 ? body.m_valueWhenNoKeys : body.Key(n - 1).rightValue;
}

double QvStdFCurve::GetValueUpperBound(QvLong clamp) const {
  LockGuard guard(*this);
  const QvStdFCurveImpl& body = *m_impl;
  if (body.m_numKeys == 0)
    return clamp != 0 ? body.Clamp(body.m_valueWhenNoKeys) : body.m_valueWhenNoKeys;
  const double bound = polygon_bound(body, [](double a, double b) { return a > b; });
  return clamp != 0 ? body.Clamp(bound) : bound;
}

double QvStdFCurve::GetValueLowerBound(QvLong clamp) const {
  LockGuard guard(*this);
  const QvStdFCurveImpl& body = *m_impl;
  if (body.m_numKeys == 0)
    return clamp != 0 ? body.Clamp(body.m_valueWhenNoKeys) : body.m_valueWhenNoKeys;
  const double bound = polygon_bound(body, [](double a, double b) { return a < b; });
  return clamp != 0 ? body.Clamp(bound) : bound;
}

// A parameter that has drifted by rounding onto a key reads that key's value rather than a value
// from inside the neighbouring segment.
double QvStdFCurve::Eval(double parameter, QvLong clamp) const {
  LockGuard guard(*this);
  const QvStdFCurveImpl& body = *m_impl;
  const double v = body.EvalCore(body.SnapToKey(parameter));
  return clamp != 0 ? body.Clamp(v) : v;
}

double QvStdFCurve::EvalLeft(double parameter, QvLong clamp) const {
  LockGuard guard(*this);
  const QvStdFCurveImpl& body = *m_impl;
  const double v = body.EvalLeftCore(body.SnapToKey(parameter));
  return clamp != 0 ? body.Clamp(v) : v;
}

double QvStdFCurve::EvalIntegral(double from, double to) const {
  LockGuard guard(*this);
  return m_impl->Integral(from, to);
}

QvULong QvStdFCurve::GetKeys(QvDoubleArray& parameters, QvDoubleArray& leftValues,
                             QvDoubleArray& rightValues, QvLong clamp) const {
  LockGuard guard(*this);
  const QvStdFCurveImpl& body = *m_impl;
  for (QvULong i = 0; i < body.m_numKeys; ++i) {
    const double left = body.Arrival(i);
    const double right = body.Key(i).rightValue;
    parameters.Add(body.Key(i).parameter);
    leftValues.Add(clamp != 0 ? body.Clamp(left) : left);
    rightValues.Add(clamp != 0 ? body.Clamp(right) : right);
  }
  return body.m_numKeys;
}

QvLong QvStdFCurve::IsReadOnly() const {
  LockGuard guard(*this);
  return m_impl->m_readOnly != 0 ? 1 : 0;
}

QvLong QvStdFCurve::GetConstraint(double& parameter, KeyConstraint constraint, QvLong& on,
                                  double tolerance) const {
  LockGuard guard(*this);
  QvULong i;
  if (!m_impl->FindKeyNear(parameter, tolerance, i)) return 0;
  on = GetConstraintAtIndex(i, constraint);
  parameter = m_impl->Key(i).parameter;
  return 1;
}

// Only a single constraint value, or the key lock as a whole, can be asked for.
QvLong QvStdFCurve::GetConstraintAtIndex(QvULong index, KeyConstraint constraint) const {
  LockGuard guard(*this);
  if (index >= m_impl->m_numKeys) return 0;
  if (!is_single_constraint(constraint)) return 0;
  const std::uint16_t bits = qv::internal::constraint_flag_bits(constraint);
  if (bits == 0) return 0;
  return (m_impl->Key(index).flags & bits) == bits ? 1 : 0;
}

QvLong QvStdFCurve::IsConstraintSupported(KeyConstraint) const { return 1; }

QvLong QvStdFCurve::AreAnyValuesLockedInInterval(double from, double to, QvLong openFrom,
                                                 QvLong openTo) const {
  LockGuard guard(*this);
  return m_impl->AnyKeyHasFlags(from, to, openFrom, openTo, qv::internal::kFlagValueLocked) ? 1
                                                                                              : 0;
}

QvLong QvStdFCurve::AreAnyParametersLockedInInterval(double from, double to, QvLong openFrom,
                                                     QvLong openTo) const {
  LockGuard guard(*this);
  return m_impl->AnyKeyHasFlags(from, to, openFrom, openTo, qv::internal::kFlagParameterLocked)
             ? 1
             : 0;
}

QvLong QvStdFCurve::AreAnyKeysLockedInInterval(double from, double to, QvLong openFrom,
                                               QvLong openTo) const {
  LockGuard guard(*this);
  return m_impl->AnyKeyHasFlags(from, to, openFrom, openTo, qv::internal::kFlagKeyLocked) ? 1 : 0;
}

QvLong QvStdFCurve::AreAnyTgtLengthsLockedInInterval(double from, double to, QvLong openFrom,
                                                     QvLong openTo) const {
  LockGuard guard(*this);
  return m_impl->AnyKeyHasFlags(from, to, openFrom, openTo,
                                qv::internal::kFlagTangentLengthLocked)
             ? 1
             : 0;
}

QvLong QvStdFCurve::AreAnyTgtDirectionsLockedInInterval(double from, double to, QvLong openFrom,
                                                        QvLong openTo) const {
  LockGuard guard(*this);
  return m_impl->AnyKeyHasFlags(from, to, openFrom, openTo,
                                qv::internal::kFlagTangentDirectionLocked)
             ? 1
             : 0;
}

QvLong QvStdFCurve::IsTangentContinuityLocked(double& parameter, double tolerance) const {
  LockGuard guard(*this);
  QvULong i;
  if (!m_impl->FindKeyNear(parameter, tolerance, i)) return 0;
  parameter = m_impl->Key(i).parameter;
  return (m_impl->Key(i).flags & qv::internal::kFlagTangentContinuity) != 0 ? 1 : 0;
}

QvLong QvStdFCurve::IsTangentLengthContinuityLocked(double& parameter, double tolerance) const {
  LockGuard guard(*this);
  QvULong i;
  if (!m_impl->FindKeyNear(parameter, tolerance, i)) return 0;
  parameter = m_impl->Key(i).parameter;
  return (m_impl->Key(i).flags & qv::internal::kFlagTangentLengthContinuity) != 0 ? 1 : 0;
}

QvBaseFCurve::ExtrapolationMethod QvStdFCurve::GetExtrapolationMethod() const {
  LockGuard guard(*this);
  return static_cast<ExtrapolationMethod>(m_impl->m_extrapolation);
}

double QvStdFCurve::FoldParameter(double parameter) const {
  LockGuard guard(*this);
  return m_impl->Fold(parameter);
}

// The inverse is defined only for a curve that is one to one. Values beyond the ends give the
// end parameters; a value within 1e-7 of a key's value gives the key.
QvLong QvStdFCurve::EvalInverse(double value, double& parameter, QvLong) const {
  LockGuard guard(*this);
  const QvStdFCurveImpl& body = *m_impl;
  if (!body.IsBijective()) return 0;
  const QvULong n = body.m_numKeys;
  const QvStdFCurveKey& first = body.Key(0);
  const QvStdFCurveKey& last = body.Key(n - 1);
  const bool rising = body.Key(1).rightValue > first.rightValue;
  if (rising ? value < first.rightValue : value > first.rightValue) {
    parameter = first.parameter;
    return 1;
  }
  if (rising ? value > last.rightValue : value < last.rightValue) {
    parameter = last.parameter;
    return 1;
  }
  const double sign = rising ? 1.0 : -1.0;
  for (QvULong i = 0; i < n; ++i) {
    const QvStdFCurveKey& key = body.Key(i);
    if (std::fabs(value - key.rightValue) <= 1e-7) {
      parameter = key.parameter;
      return 1;
    }
    if (i + 1 == n) break;
    const QvStdFCurveKey& next = body.Key(i + 1);
    const double lo = sign * key.rightValue;
    const double hi = sign * next.leftValue;
    const double v = sign * value;
    if (!(lo < v && v < hi)) continue;
    if (key.segmentKind == FSLinear) {
      parameter = key.parameter + (value - key.rightValue) / (next.leftValue - key.rightValue) *
                                      (next.parameter - key.parameter);
      return 1;
    }
    if (key.segmentKind == FSBezierCubic) {
      const qv::internal::SegmentControls s = body.CubicControls(i);
      const double t = qv::internal::solve_bezier(v, sign * s.y[0], sign * s.y[1],
                                                  sign * s.y[2], sign * s.y[3]);
      parameter = qv::internal::bezier_polynomial(s.x[0], s.x[1], s.x[2], s.x[3]).At(t);
      return 1;
    }
  }
  return 0;
}

QvLong QvStdFCurve::IsBijective() const {
  LockGuard guard(*this);
  return m_impl->IsBijective() ? 1 : 0;
}

QvLong QvStdFCurve::IsDefautlBezierTangentConstraintOn() const {
  LockGuard guard(*this);
  return m_impl->m_defaultBezierTangent != 0 ? 1 : 0;
}

QvLong QvStdFCurve::IsTimeFCurve() const {
  LockGuard guard(*this);
  return m_impl->m_timeCurve != 0 ? 1 : 0;
}

QvLong QvStdFCurve::GetValueRange(double parameter, KeySide side, double& low, double& high,
                                  double tolerance, QvLong clamp) const {
  LockGuard guard(*this);
  const QvStdFCurveImpl& body = *m_impl;
  if (!is_key_side(side)) return 0;
  QvULong i;
  if (!body.FindKeyNear(parameter, tolerance, i)) return 0;
  const QvULong n = body.m_numKeys;
  double lo;
  double hi;
  if (side == KeySideLeft && i == 0) {
    lo = hi = body.Key(0).leftValue;
  } else if (side == KeySideRight && i == n - 1) {
    lo = hi = body.Key(n - 1).rightValue;
  } else {
    const QvULong s = side == KeySideLeft ? i - 1 : i;
    const QvStdFCurveKey& key = body.Key(s);
    const QvStdFCurveKey& next = body.Key(s + 1);
    lo = hi = key.rightValue;
    auto take = [&lo, &hi](double v) {
      if (v < lo) lo = v;
      if (v > hi) hi = v;
    };
    if (key.segmentKind == FSLinear) {
      take(next.leftValue);
    } else if (key.segmentKind == FSBezierCubic) {
      const qv::internal::SegmentControls c = body.CubicControls(s);
      take(c.y[1]);
      take(c.y[2]);
      take(c.y[3]);
    }
  }
  low = clamp != 0 ? body.Clamp(lo) : lo;
  high = clamp != 0 ? body.Clamp(hi) : hi;
  return 1;
}

QvLong QvStdFCurve::HasConstantValue() const {
  LockGuard guard(*this);
  const QvStdFCurveImpl& body = *m_impl;
  const QvULong n = body.m_numKeys;
  if (n == 0) return 1;
  const double v = body.Key(0).leftValue;
  auto same = [v](double w) { return std::fabs(w - v) <= kKeyTolerance; };
  for (QvULong i = 0; i + 1 < n; ++i) {
    const QvStdFCurveKey& key = body.Key(i);
    const QvStdFCurveKey& next = body.Key(i + 1);
    switch (key.segmentKind) {
      case FSConstant:
        if (!same(key.rightValue)) return 0;
        break;
      case FSLinear:
        if (!same(key.rightValue) || !same(next.leftValue)) return 0;
        break;
      case FSBezierCubic:
        if (!same(key.rightValue) || !same(next.leftValue) || !same(key.rightHandle.y) ||
            !same(next.leftHandle.y))
          return 0;
        break;
      default:
        break;
    }
  }
  return same(body.Key(n - 1).rightValue) ? 1 : 0;
}

QvBaseFCurve::FSKind QvStdFCurve::GetFirstSegmentKind() const {
  LockGuard guard(*this);
  return m_impl->m_firstSegmentKind;
}

QvBaseFCurve::FSKind QvStdFCurve::GetSegmentKindAtParameter(double parameter) const {
  LockGuard guard(*this);
  const QvStdFCurveImpl& body = *m_impl;
  if (body.m_numKeys == 0) return body.m_firstSegmentKind;
  const QvStdFCurveImpl::KeyPosition found = body.FindKey(parameter);
  if (found.position == 0) return body.m_firstSegmentKind;
  return as_kind(body.Key(found.position - 1).segmentKind);
}

QvLong QvStdFCurve::GetSegmentKindAtIndex(QvULong index, KeySide side, FSKind& kind) const {
  LockGuard guard(*this);
  const QvStdFCurveImpl& body = *m_impl;
  if (index >= body.m_numKeys) return 0;
  if (side == KeySideLeft)
    kind = index == 0 ? body.m_firstSegmentKind : as_kind(body.Key(index - 1).segmentKind);
  else
    kind = as_kind(body.Key(index).segmentKind);
  return 1;
}

QvLong QvStdFCurve::GetSegmentKind(double parameter, KeySide side, FSKind& kind,
                                   double tolerance) const {
  LockGuard guard(*this);
  QvULong i;
  if (!m_impl->FindKeyNear(parameter, tolerance, i)) return 0;
  return GetSegmentKindAtIndex(i, side, kind);
}

QvLong QvStdFCurve::GetSegmentKinds(double parameter, FSKind& left, FSKind& right,
                                    double tolerance) const {
  LockGuard guard(*this);
  QvULong i;
  if (!m_impl->FindKeyNear(parameter, tolerance, i)) return 0;
  GetSegmentKindAtIndex(i, KeySideLeft, left);
  GetSegmentKindAtIndex(i, KeySideRight, right);
  return 1;
}

QvLong QvStdFCurve::HasUniformSegmentKind(FSKind& kind) const {
  LockGuard guard(*this);
  const QvStdFCurveImpl& body = *m_impl;
  const FSKind k = body.m_firstSegmentKind;
  for (QvULong i = 0; i < body.m_numKeys; ++i)
    if (body.Key(i).segmentKind != k) return 0;
  kind = k;
  return 1;
}

QvLong QvStdFCurve::GetActualKeyTgtHandle(double parameter, KeySide side,
                                          QvPoint2<double>& handle, double tolerance) const {
  LockGuard guard(*this);
  if (!is_key_side(side)) return 0;
  QvULong i;
  if (!m_impl->FindKeyNear(parameter, tolerance, i)) return 0;
  const QvStdFCurveKey& key = m_impl->Key(i);
  if (side == KeySideLeft)
    handle = QvPoint2<double>(key.leftHandle.x - key.parameter, key.leftHandle.y - key.leftValue);
  else
    handle =
        QvPoint2<double>(key.rightHandle.x - key.parameter, key.rightHandle.y - key.rightValue);
  return 1;
}

QvLong QvStdFCurve::GetActualKeyTgtHandles(double parameter, QvPoint2<double>& left,
                                           QvPoint2<double>& right, double tolerance) const {
  LockGuard guard(*this);
  QvULong i;
  if (!m_impl->FindKeyNear(parameter, tolerance, i)) return 0;
  const QvStdFCurveKey& key = m_impl->Key(i);
  left = QvPoint2<double>(key.leftHandle.x - key.parameter, key.leftHandle.y - key.leftValue);
  right = QvPoint2<double>(key.rightHandle.x - key.parameter, key.rightHandle.y - key.rightValue);
  return 1;
}

QvLong QvStdFCurve::GetEvaluatedKeyTgtHandle(double parameter, KeySide side,
                                             QvPoint2<double>& handle, double tolerance) const {
  LockGuard guard(*this);
  if (!is_key_side(side)) return 0;
  QvULong i;
  if (!m_impl->FindKeyNear(parameter, tolerance, i)) return 0;
  const QvStdFCurveKey& key = m_impl->Key(i);
  if (side == KeySideLeft) {
    const QvPoint2<double> h = m_impl->EvaluatedLeftHandle(i);
    handle = QvPoint2<double>(h.x - key.parameter, h.y - key.leftValue);
  } else {
    const QvPoint2<double> h = m_impl->EvaluatedRightHandle(i);
    handle = QvPoint2<double>(h.x - key.parameter, h.y - key.rightValue);
  }
  return 1;
}

QvLong QvStdFCurve::GetEvaluatedKeyTgtHandles(double parameter, QvPoint2<double>& left,
                                              QvPoint2<double>& right, double tolerance) const {
  LockGuard guard(*this);
  QvULong i;
  if (!m_impl->FindKeyNear(parameter, tolerance, i)) return 0;
  const QvStdFCurveKey& key = m_impl->Key(i);
  const QvPoint2<double> l = m_impl->EvaluatedLeftHandle(i);
  const QvPoint2<double> r = m_impl->EvaluatedRightHandle(i);
  left = QvPoint2<double>(l.x - key.parameter, l.y - key.leftValue);
  right = QvPoint2<double>(r.x - key.parameter, r.y - key.rightValue);
  return 1;
}
