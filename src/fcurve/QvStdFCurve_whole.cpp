#include <qv/QvStdFCurve.h>

#include "fcurve/QvStdFCurveImpl.h"

#include <cfloat>
#include <new>
#include <utility>

using qv::internal::kFlagTangentContinuity;
using qv::internal::kFlagValueLocked;

namespace {

// A fresh key with both handles on itself and tangent continuity on.
QvStdFCurveKey make_key(double parameter, double leftValue, double rightValue,
                        QvBaseFCurve::FSKind kind) {
  QvStdFCurveKey key{};
  key.leftHandle = QvPoint2<double>(parameter, leftValue);
  key.rightHandle = QvPoint2<double>(parameter, rightValue);
  key.parameter = parameter;
  key.leftValue = leftValue;
  key.rightValue = rightValue;
  key.segmentKind = static_cast<unsigned char>(kind);
  key.flags = kFlagTangentContinuity;
  return key;
}

}  // namespace

QvStdFCurve::QvStdFCurve(double parameter, double leftValue, double rightValue,
                         FSKind firstSegmentKind, FSKind segmentKind)
    : m_impl(new QvStdFCurveImpl(leftValue, firstSegmentKind)) {
  m_impl->Resize(1);
  m_impl->Key(0) = make_key(parameter, leftValue, rightValue, segmentKind);
}

// Two keys joined by a straight segment, with level handles one third of the way along it, as if
// the second key had been appended to the first.
QvStdFCurve::QvStdFCurve(double x0, double y0, double x1, double y1, FSKind firstSegmentKind,
                         FSKind segmentKind)
    : m_impl(new QvStdFCurveImpl(y0, firstSegmentKind)) {
  if (!(x1 > x0)) {
    m_impl->Resize(1);
    m_impl->Key(0) = make_key(x0, y0, y0, segmentKind);
    return;
  }
  const double d = (x1 - x0) / 3.0;
  m_impl->Resize(2);
  QvStdFCurveKey& first = m_impl->Key(0);
  first = make_key(x0, y0, y0, FSLinear);
  first.rightHandle = QvPoint2<double>(x0 + d, y0);
  first.leftHandle = QvPoint2<double>(x0 - d, y0);
  QvStdFCurveKey& second = m_impl->Key(1);
  second = make_key(x1, y1, y1, segmentKind);
  second.leftHandle = QvPoint2<double>(x1 - d, y1);
  second.rightHandle = QvPoint2<double>(x1 + d, y1);
}

QvStdFCurve::QvStdFCurve(const QvPoint2<double>& key0, const QvPoint2<double>& rightHandle0,
                         const QvPoint2<double>& leftHandle1, const QvPoint2<double>& key1,
                         FSKind firstSegmentKind, FSKind segmentKind)
    : m_impl(new QvStdFCurveImpl(key0.y, firstSegmentKind)) {
  if (!QvStdFCurve_IsCubicSegmentValid(key0, rightHandle0, leftHandle1, key1)) {
    m_impl->Resize(1);
    m_impl->Key(0) = make_key(key0.x, key0.y, key0.y, segmentKind);
    return;
  }
  m_impl->Resize(2);
  m_impl->Key(0) = make_key(key0.x, key0.y, key0.y, FSBezierCubic);
  m_impl->Key(0).rightHandle = rightHandle0;
  m_impl->Key(1) = make_key(key1.x, key1.y, key1.y, segmentKind);
  m_impl->Key(1).leftHandle = leftHandle1;
}

QvStdFCurve::QvStdFCurve(const QvPoint2dArray&, DPMethod, double, FSKind firstSegmentKind,
                         FSKind)
    : m_impl(new QvStdFCurveImpl(0.0, firstSegmentKind)) {}

QvStdFCurve::QvStdFCurve(const QvStdFCurve& other) : QvBaseFCurve(other), m_impl(nullptr) {
  LockGuard source(other);
  m_impl = new QvStdFCurveImpl(*other.m_impl);
}

QvStdFCurve::QvStdFCurve(const QvStdFCurve& other, double, double)
    : QvBaseFCurve(other), m_impl(nullptr) {
  LockGuard source(other);
  m_impl = new QvStdFCurveImpl(*other.m_impl);
}

// The target is locked before the source; the copies are made before anything is replaced, so a
// failed allocation leaves the target as it was.
QvStdFCurve& QvStdFCurve::operator=(const QvStdFCurve& other) {
  LockGuard target(*this);
  if (&other == this) return *this;
  LockGuard source(other);
  QvStdFCurveImpl copy(*other.m_impl);
  QvBaseFCurve::operator=(other);
  m_impl->Swap(copy);
  return *this;
}

QvBaseFCurve* QvStdFCurve::Clone() const {
  try {
    return new QvStdFCurve(*this);
  } catch (...) {
    return nullptr;
  }
}

QvLong QvStdFCurve::Set(const QvBaseFCurve& other) {
  if (other.GetKind() != KindStandard) return 0;
  *this = static_cast<const QvStdFCurve&>(other);
  return 1;
}

QvBaseFCurve* QvStdFCurve::SnapShot(double, double, ExtrapolationMethod) const { return nullptr; }
QvLong QvStdFCurve::Cut(double, double, QvBaseFCurve&) { return 0; }
QvLong QvStdFCurve::RemoveTail(double) { return 0; }
QvLong QvStdFCurve::RemoveHead(double) { return 0; }
QvLong QvStdFCurve::Paste(const QvBaseFCurve&, double, double) { return 0; }
QvLong QvStdFCurve::ReduceNumKeys(double, double, double) { return 0; }
QvULong QvStdFCurve::ReduceNumKeys(double) {
  LockGuard guard(*this);
  return m_impl->m_numKeys;
}
QvLong QvStdFCurve::ResampleSequence(double, double, double, QvLong, QvLong) { return 0; }
QvLong QvStdFCurve::SmoothSequence(double, double, const double*, QvULong) { return 0; }
QvLong QvStdFCurve::ScaleAndOffsetParameters(double, double, double, double, double, QvLong,
                                             QvLong, RegionHandle) {
  return 0;
}

namespace {

// A lock anywhere on the curve, tested over the whole range of doubles.
bool any_locked(const QvStdFCurveImpl& body, std::uint16_t bits) {
  return body.AnyKeyHasFlags(-DBL_MAX, DBL_MAX, 0, 0, bits);
}

// Moves every parameter and handle x through `map`. Under the default Bezier constraint handles
// sit one third of the way to their neighbour, wherever the keys go.
template <class Map> void map_parameters(QvStdFCurveImpl& body, Map map) {
  const QvULong n = body.m_numKeys;
  for (QvULong i = 0; i < n; ++i) body.Key(i).parameter = map(body.Key(i).parameter);
  for (QvULong i = 0; i < n; ++i) {
    QvStdFCurveKey& key = body.Key(i);
    if (body.m_defaultBezierTangent != 0 && i > 0)
      key.leftHandle.x = key.parameter + (body.Key(i - 1).parameter - key.parameter) / 3.0;
    else
      key.leftHandle.x = map(key.leftHandle.x);
    if (body.m_defaultBezierTangent != 0 && i + 1 < n)
      key.rightHandle.x = key.parameter + (body.Key(i + 1).parameter - key.parameter) / 3.0;
    else
      key.rightHandle.x = map(key.rightHandle.x);
  }
}

template <class Map> void map_values(QvStdFCurveImpl& body, Map map) {
  for (QvULong i = 0; i < body.m_numKeys; ++i) {
    QvStdFCurveKey& key = body.Key(i);
    key.leftValue = map(key.leftValue);
    key.rightValue = map(key.rightValue);
    key.leftHandle.y = map(key.leftHandle.y);
    key.rightHandle.y = map(key.rightHandle.y);
  }
}

}  // namespace

QvLong QvStdFCurve::ShiftParameters(double offset) {
  LockGuard guard(*this);
  QvStdFCurveImpl& body = *m_impl;
  if (body.m_readOnly != 0 || any_locked(body, qv::internal::kFlagParameterLocked)) return 0;
  map_parameters(body, [offset](double x) { return x + offset; });
  TranslateAllKeyUserData(offset);
  return 1;
}

QvLong QvStdFCurve::ScaleParameterAxis(double scale) {
  LockGuard guard(*this);
  QvStdFCurveImpl& body = *m_impl;
  if (body.m_readOnly != 0 || any_locked(body, qv::internal::kFlagParameterLocked)) return 0;
  if (body.m_numKeys == 0) return 1;
  QvStdFCurveImpl scaled(body);
  map_parameters(scaled, [scale](double x) { return x * scale; });
  if (!scaled.IsValid()) return 0;
  body.Swap(scaled);
  ScaleAllKeyUserData(scale);
  return 1;
}

QvLong QvStdFCurve::ShiftValues(double offset) {
  LockGuard guard(*this);
  QvStdFCurveImpl& body = *m_impl;
  if (body.m_readOnly != 0 || any_locked(body, kFlagValueLocked)) return 0;
  if (body.m_numKeys == 0) {
    body.m_valueWhenNoKeys += offset;
    return 1;
  }
  map_values(body, [offset](double v) { return v + offset; });
  return 1;
}

// A negative scale turns the tangents over with the values; nothing else needs doing.
QvLong QvStdFCurve::ScaleAndShiftValues(double scale, double shift) {
  LockGuard guard(*this);
  QvStdFCurveImpl& body = *m_impl;
  if (body.m_readOnly != 0 || any_locked(body, kFlagValueLocked)) return 0;
  QvStdFCurveImpl moved(body);
  auto map = [scale, shift](double v) { return v * scale + shift; };
  map_values(moved, map);
  moved.m_valueWhenNoKeys = map(moved.m_valueWhenNoKeys);
  if (!moved.IsValid()) return 0;
  body.Swap(moved);
  return 1;
}

// Values are reflected across the middle of the control polygon's bounds, so that the mirrored
// curve keeps the same bounds.
QvLong QvStdFCurve::MirrorValues() {
  LockGuard guard(*this);
  QvStdFCurveImpl& body = *m_impl;
  if (body.m_readOnly != 0 || any_locked(body, kFlagValueLocked)) return 0;
  const double sum = GetValueUpperBound(0) + GetValueLowerBound(0);
  QvStdFCurveImpl mirrored(body);
  auto map = [sum](double v) { return sum - v; };
  map_values(mirrored, map);
  mirrored.m_valueWhenNoKeys = map(mirrored.m_valueWhenNoKeys);
  if (!mirrored.IsValid()) return 0;
  body.Swap(mirrored);
  return 1;
}

// Keys are taken in reverse order with their sides exchanged. The kinds move one key along: the
// region beyond the old last key is the new region before the first, and the other way round.
QvLong QvStdFCurve::MirrorParameters() {
  LockGuard guard(*this);
  QvStdFCurveImpl& body = *m_impl;
  if (body.m_readOnly != 0 || any_locked(body, qv::internal::kFlagParameterLocked)) return 0;
  const QvULong n = body.m_numKeys;
  if (n == 0) return 1;
  const double sum = body.Key(0).parameter + body.Key(n - 1).parameter;
  QvStdFCurveImpl mirrored(body);
  for (QvULong j = 0; j < n; ++j) {
    const QvStdFCurveKey& old = body.Key(n - 1 - j);
    QvStdFCurveKey& key = mirrored.Key(j);
    key = old;
    key.parameter = sum - old.parameter;
    key.leftValue = old.rightValue;
    key.rightValue = old.leftValue;
    key.leftHandle = QvPoint2<double>(sum - old.rightHandle.x, old.rightHandle.y);
    key.rightHandle = QvPoint2<double>(sum - old.leftHandle.x, old.leftHandle.y);
    key.segmentKind = j + 1 < n ? body.Key(n - 2 - j).segmentKind
                                : static_cast<unsigned char>(body.m_firstSegmentKind);
  }
  mirrored.m_firstSegmentKind = static_cast<FSKind>(body.Key(n - 1).segmentKind);
  if (!mirrored.IsValid()) return 0;
  QvDoubleArray from(n);
  QvDoubleArray to(n);
  for (QvULong j = 0; j < n; ++j) {
    from.Add(body.Key(n - 1 - j).parameter);
    to.Add(mirrored.Key(j).parameter);
  }
  body.Swap(mirrored);
  MoveKeyUserDataTail(from, to);
  return 1;
}

// The other curve's first key lands on this curve's last key, which takes over its right side;
// the other keys follow, shifted along the parameter axis.
QvLong QvStdFCurve::Append(const QvBaseFCurve& other) {
  LockGuard target(*this);
  if (other.GetKind() != KindStandard) return 0;
  LockGuard source(other);
  QvStdFCurveImpl& body = *m_impl;
  const QvStdFCurveImpl tail(*static_cast<const QvStdFCurve&>(other).m_impl);
  if (body.m_readOnly != 0 || body.m_numKeys == 0 || tail.m_numKeys == 0) return 0;
  QvStdFCurveImpl joined(body);
  const QvULong n = joined.m_numKeys;
  const QvULong m = tail.m_numKeys;
  const QvStdFCurveKey& first = tail.Key(0);
  const double d = joined.Key(n - 1).parameter - first.parameter;
  joined.Resize(n + m - 1);
  QvStdFCurveKey& last = joined.Key(n - 1);
  if (!(last.flags & kFlagValueLocked)) last.rightValue = first.rightValue;
  last.rightHandle.y = first.rightHandle.y;
  if (joined.m_defaultBezierTangent != 0 && m > 1)
    last.rightHandle.x = last.parameter + (tail.Key(1).parameter + d - last.parameter) / 3.0;
  else
    last.rightHandle.x = first.rightHandle.x + d;
  last.segmentKind = first.segmentKind;
  for (QvULong i = 1; i < m; ++i) {
    QvStdFCurveKey& key = joined.Key(n - 1 + i);
    key = tail.Key(i);
    key.parameter += d;
    key.leftHandle.x += d;
    key.rightHandle.x += d;
  }
  if (!joined.TangentsContinuous(n - 1))
    last.flags &= static_cast<std::uint16_t>(~kFlagTangentContinuity);
  if (!joined.IsValid()) return 0;
  body.Swap(joined);
  return 1;
}
