#include <qv/QvQuatFCurve.h>

#include "fcurve/buffer_bytes.h"
#include "fcurve/rotation_view.h"

#include <cmath>
#include <cstdint>
#include <cstring>

// The body of a rotation curve, after the length word:
//   version "1010" (0x30313031), kind 40, component, key count n, n key records of 48 bytes,
//   valueWhenNoKeys (three doubles), readOnly, extrapolation, the user data block with its length.
// A key record: time, the three Euler angles, tension, continuity and bias as floats, the low 8
// and the high 6 bits of the flags, and the lock word (4 parameter, 2 value).
// The older version "1000" (0x30313030) has no component word. Doubles and floats that are not
// finite travel as 0 both ways.

using qv::internal::get_f32;
using qv::internal::get_f64;
using qv::internal::load_u32;
using qv::internal::put_f32;
using qv::internal::put_f64;
using qv::internal::store_u32;

namespace {

constexpr QvULong kVersionWritten = 0x30313031u;
constexpr QvULong kVersionWithoutComponent = 0x30313030u;
constexpr QvULong kFixedBytes = 52;
constexpr QvULong kKeyBytes = 48;

}  // namespace

QvULong QvQuatFCurve::GetBufferSize() const {
  LockGuard guard(*this);
  return kFixedBytes + kKeyBytes * m_curve->GetNumKeys() + GetUserDataBufferSize();
}

QvULong QvQuatFCurve::WriteToBuffer(void* buffer) const {
  if (buffer == nullptr) return 0;
  LockGuard guard(*this);
  const QvQuatCurve& c = *m_curve;
  const QvULong size = GetBufferSize();
  const QvULong n = c.GetNumKeys();
  unsigned char* p = static_cast<unsigned char*>(buffer);
  store_u32(p, size - 4);
  store_u32(p + 4, kVersionWritten);
  store_u32(p + 8, static_cast<QvULong>(KindQuat));
  store_u32(p + 12, m_component);
  store_u32(p + 16, n);
  p += 20;
  for (QvULong i = 0; i < n; ++i) {
    const QvQuatKey k = c.GetKey(i);
    put_f64(p, k.time);
    put_f64(p + 8, k.value.x);
    put_f64(p + 16, k.value.y);
    put_f64(p + 24, k.value.z);
    put_f32(p + 32, k.tension);
    put_f32(p + 36, k.continuity);
    put_f32(p + 40, k.bias);
    const unsigned flags = k.flags;
    p[44] = static_cast<unsigned char>(flags & 0xFFu);
    p[45] = static_cast<unsigned char>((flags >> 8) & 0x3Fu);
    const std::uint16_t word = c.GetConstraintData(i);
    p[46] = static_cast<unsigned char>(word & 0xFFu);
    p[47] = static_cast<unsigned char>((word >> 8) & 0xFFu);
    p += kKeyBytes;
  }
  const QvPoint3<double> none = c.GetValueWhenNoKeys();
  put_f64(p, none.x);
  put_f64(p + 8, none.y);
  put_f64(p + 16, none.z);
  store_u32(p + 24, static_cast<QvULong>(c.IsReadOnly()));
  store_u32(p + 28, static_cast<QvULong>(c.GetExtrapolationMethod()));
  WriteUserDataToBuffer(p + 32);
  return size;
}

// Keys go into a scratch view one by one, so that they land sorted and equal times merge; only a
// body that reads whole reaches this view and its shared curve.
QvULong QvQuatFCurve::ReadFromBufferBody(const void* data) {
  if (data == nullptr) return 0;
  const unsigned char* body = static_cast<const unsigned char*>(data);
  const std::uint64_t length = load_u32(body - 4);
  try {
    if (length < 8) return 0;
    const QvULong version = load_u32(body);
    if (load_u32(body + 4) != static_cast<QvULong>(KindQuat)) return 0;
    std::uint64_t at = 8;
    QvULong component = m_component;
    if (version == kVersionWritten) {
      if (length < at + 4) return 0;
      component = load_u32(body + at);
      at += 4;
      if (component > 2) return 0;
    } else if (version != kVersionWithoutComponent) {
      return 0;
    }
    if (length < at + 4) return 0;
    const std::uint64_t n = load_u32(body + at);
    at += 4;
    if (length < at + kKeyBytes * n + 36) return 0;
    QvQuatFCurve scratch(component);
    QvQuatCurve& c = *scratch.m_curve;
    for (std::uint64_t i = 0; i < n; ++i) {
      const unsigned char* r = body + at;
      QvQuatKey key(get_f64(r), QvPoint3<double>(get_f64(r + 8), get_f64(r + 16), get_f64(r + 24)),
                    get_f32(r + 32), get_f32(r + 36), get_f32(r + 40),
                    static_cast<int>(r[44] | ((r[45] & 0x3Fu) << 8)));
      const QvULong index = c.SetKey(key, 0.0);
      c.SetConstraintData(index, static_cast<std::uint16_t>(r[46] | (r[47] << 8)));
      at += kKeyBytes;
    }
    const unsigned char* tail = body + at;
    c.SetValueWhenNoKeys(QvPoint3<double>(get_f64(tail), get_f64(tail + 8), get_f64(tail + 16)));
    c.SetReadOnlyConstraint(static_cast<QvLong>(load_u32(tail + 24)));
    // A method outside 1 to 4 is not one this curve can hold; the default stays.
    c.SetExtrapolationMethod(static_cast<QvLong>(load_u32(tail + 28)));
    const std::uint64_t block = load_u32(tail + 32);
    at += 36;
    if (block != 0) {
      if (block < 5 || length < at + block) return 0;
      const unsigned char* start = body + at;
      const QvULong block_version = load_u32(start);
      if (block_version < 256 || block_version == 0xFFFFFFFFu) return 0;
      if (start[4] == 1 && scratch.ReadUserDataFromBufferBody(start) == 0) return 0;
      at += block;
    }
    LockGuard guard(*this);
    *m_curve = c;
    ExchangeUserData(scratch);
    m_component = component;
    return static_cast<QvULong>(at);
  } catch (...) {
    return 0;
  }
}
