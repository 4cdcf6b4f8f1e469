#include <qv/QvShape2f.h>

#include <qv/QvGC.h>
#include <qv/QvOval2f.h>
#include <qv/QvPath2f.h>
#include <qv/QvPath2fProp1d.h>
#include <qv/QvRect2f.h>
#include <qv/QvTransfo4.h>

#include "shape/shape_buffer.h"

#include <new>

QvShape2f::QvShape2f() : m_lockCount(0) {}

// A copy gets a lock of its own; the source is only locked and released, so
// that a copy never starts in the middle of another thread's change.
QvShape2f::QvShape2f(const QvShape2f& other) : QvShape2f() {
  other.Lock();
  other.Unlock();
}

QvShape2f& QvShape2f::operator=(const QvShape2f& other) {
  Lock();
  if (&other != this) {
    other.Lock();
    other.Unlock();
  }
  Unlock();
  return *this;
}

QvShape2f::~QvShape2f() = default;

void QvShape2f::Lock() const {
  m_section.LOCK();
  ++m_lockCount;
}

void QvShape2f::Unlock() const {
  --m_lockCount;
  m_section.UNLOCK();
}

QvLong QvShape2f::GetLockCount() const {
  m_section.LOCK();
  const QvLong count = m_lockCount;
  m_section.UNLOCK();
  return count;
}

QvLong QvShape2f::IsRasterExtentIntersecting(const QvGC& gc,
                                             const QvExtent2<float>& extent) const {
  QvExtent2<float> own;
  GetExtent(own);
  const QvExtent2<float> mapped = gc.GetTransform().Map(own);
  if (mapped.state == QvExtentStates::ExtentEmpty) return 0;
  if (mapped.state != QvExtentStates::ExtentBounded)
    return extent.state != QvExtentStates::ExtentEmpty ? 1 : 0;
  if (extent.state != QvExtentStates::ExtentBounded)
    return extent.state == QvExtentStates::ExtentUniverse ? 1 : 0;
  const bool apart = mapped.min.x > extent.max.x || extent.min.x > mapped.max.x ||
                     mapped.min.y > extent.max.y || extent.min.y > mapped.max.y;
  return apart ? 0 : 1;
}

QvULong QvShape2f_GetBufferBodyLengthSize() { return 4; }

// Only the low half of the kind word names the kind. This looks at the two
// bytes of the kind alone, so that a caller may classify a kind word that
// stands on its own; the factory checks the length word before it asks.
QvShape2f::Kind QvShape2f_GetKindFromBufferBody(const void* body) {
  if (!body) return QvShape2f::KindNone;
  const unsigned kind = qv::internal::load_u16(static_cast<const unsigned char*>(body));
  if (kind < 1 || kind > 4) return QvShape2f::KindNone;
  return static_cast<QvShape2f::Kind>(kind);
}

namespace {

// Only the kinds whose classes are part of this build can be made; the others
// answer as unknown kinds do.
QvShape2f* make_shape(QvShape2f::Kind kind) {
  switch (kind) {
    case QvShape2f::KindPath:
      return new QvPath2f(1);
    case QvShape2f::KindRect:
      return new QvRect2f();
    case QvShape2f::KindOval:
      return new QvOval2f();
    case QvShape2f::KindPathProp:
      return new QvPath2fProp1d(1);
    default:
      return nullptr;
  }
}

}  // namespace

QvShape2f* QvShape2f_CreateFromBufferBody(const void* body, QvULong& bytesRead) {
  bytesRead = 0;
  if (!body || qv::internal::body_length(body) < 4) return nullptr;  // no room for a kind word
  const QvShape2f::Kind kind = QvShape2f_GetKindFromBufferBody(body);
  if (kind == QvShape2f::KindNone) return nullptr;
  QvShape2f* shape = nullptr;
  try {
    shape = make_shape(kind);
    if (!shape) return nullptr;
    const QvULong read = shape->ReadFromBufferBody(body);
    if (read == 0) {
      delete shape;
      return nullptr;
    }
    bytesRead = read;
    return shape;
  } catch (const std::bad_alloc&) {
    delete shape;
    return nullptr;
  }
}
