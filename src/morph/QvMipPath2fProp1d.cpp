#include <qv/QvMipPath2fProp1d.h>

#include <qv/QvGC.h>
#include <qv/QvPath2fProp1d.h>

#include "morph/keyframed_body.h"
#include "shape/shape_buffer.h"

#include <cmath>
#include <cstdint>
#include <memory>
#include <new>
#include <utility>

namespace qi = qv::internal;

namespace {

constexpr QvULong kVersion = 256;

class ListLock {
 public:
  explicit ListLock(QvCriticalSection& section) : m_section(section) { m_section.LOCK(); }
  ~ListLock() { m_section.UNLOCK(); }
  ListLock(const ListLock&) = delete;
  ListLock& operator=(const ListLock&) = delete;

 private:
  QvCriticalSection& m_section;
};

}  // namespace

QvMipPath2fProp1d::QvMipPath2fProp1d() : m_impl(new QvMipPath2fProp1dImpl) {}

QvMipPath2fProp1d::QvMipPath2fProp1d(const QvPath2fProp1d& path, double parameter)
    : m_impl(new QvMipPath2fProp1dImpl) {
  try {
    m_impl->CreateKey(parameter, path);
  } catch (...) {
    delete m_impl;
    throw;
  }
}

QvMipPath2fProp1d::QvMipPath2fProp1d(const QvMipPath2fProp1d& other) : m_impl(nullptr) {
  ListLock lock(other.m_section);
  m_impl = new QvMipPath2fProp1dImpl(*other.m_impl);
}

QvMipPath2fProp1d::QvMipPath2fProp1d(const QvMipPath2fProp1d& source, double from, double to)
    : m_impl(nullptr) {
  if (from > to) std::swap(from, to);
  ListLock lock(source.m_section);
  auto body = std::make_unique<QvMipPath2fProp1dImpl>();
  const QvMipPath2fProp1dImpl& src = *source.m_impl;
  for (const QvMipKey& k : src.keys) {
    if (k.parameter < from - kQvMipKeyTolerance || k.parameter > to + kQvMipKeyTolerance) continue;
    body->keys.push_back(QvMipKey{k.parameter, std::make_unique<QvPath2fProp1d>(*k.path)});
  }
  const QvULong n = src.NumKeys();
  if (n > 1) {
    // The ends of the cut take the shape that the source shows there, made
    // with the evaluation tolerances of a default context.
    const QvGC gc;
    QvMipP2fP1dAgent agent(const_cast<QvMipPath2fProp1d&>(source));
    const double ends[2] = {from, to};
    for (double end : ends) {
      if (end <= src.Parameter(0) || end >= src.Parameter(n - 1)) continue;
      if (qi::MipLocate(src, 0, n - 1, end).hit) continue;
      const QvPath2fProp1d& shape =
          agent.Eval(end, gc.GetSmallestFeatureSize(), gc.GetPropertyTolerance());
      body->CreateKey(end, shape);
    }
  }
  m_impl = body.release();
}

QvMipPath2fProp1d::~QvMipPath2fProp1d() { delete m_impl; }

QvMipPath2fProp1d& QvMipPath2fProp1d::operator=(const QvMipPath2fProp1d& other) {
  if (this == &other) return *this;
  ListLock lock(m_section);
  ListLock other_lock(other.m_section);
  auto copy = std::make_unique<QvMipPath2fProp1dImpl>(*other.m_impl);
  delete m_impl;
  m_impl = copy.release();
  return *this;
}

QvULong QvMipPath2fProp1d::GetNumKeys() const {
  ListLock lock(m_section);
  return m_impl->NumKeys();
}

QvULong QvMipPath2fProp1d::GetAllKeyParameters(QvDoubleArray& parameters) const {
  ListLock lock(m_section);
  for (const QvMipKey& k : m_impl->keys) parameters.Add(k.parameter);
  return m_impl->NumKeys();
}

QvLong QvMipPath2fProp1d::GetSmallestKeyParameter(double& t) const {
  ListLock lock(m_section);
  if (m_impl->keys.empty()) return 0;
  t = m_impl->keys.front().parameter;
  return 1;
}

QvLong QvMipPath2fProp1d::GetLargestKeyParameter(double& t) const {
  ListLock lock(m_section);
  if (m_impl->keys.empty()) return 0;
  t = m_impl->keys.back().parameter;
  return 1;
}

QvULong QvMipPath2fProp1d::GetBufferSize() const {
  ListLock lock(m_section);
  QvULong size = 12;
  for (const QvMipKey& k : m_impl->keys) size += 8 + k.path->GetBufferSize();
  return size;
}

QvULong QvMipPath2fProp1d::WriteToBuffer(void* buffer) const {
  if (!buffer) return 0;
  ListLock lock(m_section);
  unsigned char* out = static_cast<unsigned char*>(buffer);
  const QvULong size = GetBufferSize();
  qi::store_u32(out, size - 4);
  qi::store_u32(out + 4, kVersion);
  qi::store_u32(out + 8, m_impl->NumKeys());
  QvULong at = 12;
  for (const QvMipKey& k : m_impl->keys) {
    qi::MipStoreF64(out + at, k.parameter);
    at += 8;
    at += k.path->WriteToBuffer(out + at);
  }
  return at;
}

// The keys are read into a new body, which replaces the old one only when the
// whole buffer has been read. Keys are taken in the order stored.
QvULong QvMipPath2fProp1d::ReadFromBufferBody(const void* body) {
  if (!body) return 0;
  const unsigned char* in = static_cast<const unsigned char*>(body);
  const std::uint64_t length = qi::body_length(body);
  if (length < 8) return 0;
  // Versions below 256 predate this layout.
  if ((qi::load_u32(in) & 0xFFFFFF00u) == 0) return 0;
  const QvULong count = qi::load_u32(in + 4);
  try {
    auto fresh = std::make_unique<QvMipPath2fProp1dImpl>();
    std::uint64_t at = 8;
    for (QvULong i = 0; i < count; ++i) {
      if (at + 12 > length) return 0;
      const double parameter = qi::MipLoadF64(in + at);
      const std::uint64_t path_length = qi::load_u32(in + at + 8);
      if (at + 12 + path_length > length) return 0;
      auto path = std::make_unique<QvPath2fProp1d>(1);
      const QvULong read = path->ReadFromBufferBody(in + at + 12);
      if (read == 0 || read != path_length) return 0;
      fresh->keys.push_back(QvMipKey{parameter, std::move(path)});
      at += 12 + path_length;
    }
    ListLock lock(m_section);
    QvMipPath2fProp1dImpl* old = m_impl;
    m_impl = fresh.release();
    delete old;
    return static_cast<QvULong>(at);
  } catch (const std::bad_alloc&) {
    return 0;
  }
}

QvMipPath2fProp1dImpl* QvMipPath2fProp1d::GetImpl() const { return m_impl; }

void QvMipPath2fProp1d::Lock() const { m_section.LOCK(); }

void QvMipPath2fProp1d::Unlock() const { m_section.UNLOCK(); }
