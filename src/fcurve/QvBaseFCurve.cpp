#include <qv/QvBaseFCurve.h>

#include "fcurve/userdata_store.h"
#include "foundation/byte_order.h"

#include <qv/QvBooleanFCurve.h>
#include <qv/QvIntegerFCurve.h>
#include <qv/QvQuatFCurve.h>
#include <qv/QvRawFCurve.h>
#include <qv/QvStdFCurve.h>

#include <cstring>
#include <new>

QvBaseFCurve::QvBaseFCurve() : m_userData(nullptr), m_lockCount(0) {}

// A copy starts unlocked with a lock of its own; only the source is held while it is read.
QvBaseFCurve::QvBaseFCurve(const QvBaseFCurve& other) : m_userData(nullptr), m_lockCount(0) {
  LockGuard source(other);
  m_userData = qv::internal::clone_user_data_store(other.m_userData);
}

QvBaseFCurve& QvBaseFCurve::operator=(const QvBaseFCurve& other) {
  LockGuard target(*this);
  if (&other == this) return *this;
  LockGuard source(other);
  QvFCurveUserDataStore* copy = qv::internal::clone_user_data_store(other.m_userData);
  qv::internal::destroy_user_data_store(m_userData);
  m_userData = copy;
  return *this;
}

QvBaseFCurve::~QvBaseFCurve() {
  LockGuard guard(*this);
  qv::internal::destroy_user_data_store(m_userData);
  m_userData = nullptr;
}

void QvBaseFCurve::Lock() const {
  m_lock.LOCK();
  ++m_lockCount;
}

void QvBaseFCurve::Unlock() const {
  --m_lockCount;
  m_lock.UNLOCK();
}

QvLong QvBaseFCurve::GetLockCount() const {
  m_lock.LOCK();
  const QvLong count = m_lockCount;
  m_lock.UNLOCK();
  return count;
}

namespace {

QvBaseFCurve* make_curve_of_kind(QvBaseFCurve::Kind kind) {
  switch (kind) {
    case QvBaseFCurve::KindStandard:
      return new QvStdFCurve(0.0, QvBaseFCurve::FSBezierCubic);
    case QvBaseFCurve::KindBoolean:
      return new QvBooleanFCurve(1.0);
    case QvBaseFCurve::KindInteger:
      return new QvIntegerFCurve(0.0);
    case QvBaseFCurve::KindRaw:
      return new QvRawFCurve(0.0);
    case QvBaseFCurve::KindQuat:
      return new QvQuatFCurve(QvULong{0});
    default:
      return nullptr;  // an unknown kind
  }
}

}  // namespace

QvULong QvBaseFCurve_GetBufferBodyLengthSize() { return 4; }

// Reads the kind bytes alone, like the shape form: a host may ask about a body
// it holds without its length word. The factory checks the length first.
QvBaseFCurve::Kind QvBaseFCurve_GetKindFromBufferBody(const void* body) {
  if (body == nullptr) return static_cast<QvBaseFCurve::Kind>(0);
  const unsigned char* bytes = static_cast<const unsigned char*>(body);
  // Only the oldest standard body has a version word below 256.
  if (bytes[1] == 0 && bytes[2] == 0 && bytes[3] == 0) return QvBaseFCurve::KindStandard;
  switch (qv::internal::load_u32(bytes + 4)) {
    case QvBaseFCurve::KindBoolean:
      return QvBaseFCurve::KindBoolean;
    case QvBaseFCurve::KindInteger:
      return QvBaseFCurve::KindInteger;
    case QvBaseFCurve::KindStandard:
      return QvBaseFCurve::KindStandard;
    case QvBaseFCurve::KindRaw:
      return QvBaseFCurve::KindRaw;
    case QvBaseFCurve::KindQuat:
      return QvBaseFCurve::KindQuat;
    default:
      return static_cast<QvBaseFCurve::Kind>(0);
  }
}

QvLong QvBaseFCurve_CreateFromBufferBody(const void* body, QvBaseFCurve** out) {
  if (body == nullptr || out == nullptr) return 0;
  QvBaseFCurve* curve = nullptr;
  try {
    // Every body holds at least a version and a kind word.
    if (qv::internal::body_length(body) >= 8)
      curve = make_curve_of_kind(QvBaseFCurve_GetKindFromBufferBody(body));
    if (curve != nullptr && curve->ReadFromBufferBody(body) != 0) {
      *out = curve;
      return 1;
    }
  } catch (...) {
    // Only the allocator throws; a failed load is reported as no curve.
  }
  delete curve;
  *out = nullptr;
  return 0;
}
