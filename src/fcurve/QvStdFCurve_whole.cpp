#include <qv/QvStdFCurve.h>

#include "fcurve/QvStdFCurveImpl.h"

#include <new>

using qv::internal::kFlagTangentContinuity;

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
QvLong QvStdFCurve::Append(const QvBaseFCurve&) { return 0; }
QvLong QvStdFCurve::Paste(const QvBaseFCurve&, double, double) { return 0; }
QvLong QvStdFCurve::ShiftParameters(double) { return 0; }
QvLong QvStdFCurve::ScaleParameterAxis(double) { return 0; }
QvLong QvStdFCurve::ShiftValues(double) { return 0; }
QvLong QvStdFCurve::ReduceNumKeys(double, double, double) { return 0; }
QvULong QvStdFCurve::ReduceNumKeys(double) {
  LockGuard guard(*this);
  return m_impl->m_numKeys;
}
QvLong QvStdFCurve::ResampleSequence(double, double, double, QvLong, QvLong) { return 0; }
QvLong QvStdFCurve::SmoothSequence(double, double, const double*, QvULong) { return 0; }
QvLong QvStdFCurve::MirrorValues() { return 0; }
QvLong QvStdFCurve::MirrorParameters() { return 0; }
QvLong QvStdFCurve::ScaleAndOffsetParameters(double, double, double, double, double, QvLong,
                                             QvLong, RegionHandle) {
  return 0;
}
QvLong QvStdFCurve::ScaleAndShiftValues(double, double) { return 0; }
