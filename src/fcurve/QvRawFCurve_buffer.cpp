#include <qv/QvRawFCurve.h>

#include "fcurve/buffer_bytes.h"
#include "fcurve/raw_body.h"

#include <cmath>
#include <cstring>

// The body of a raw curve, after the length word:
//   version (264), kind (30), valueWhenNoKeys, clampLow, clampHigh, key count n, n pairs of
//   (parameter, value); the attribute flag (0, or 0xFFFFFFFF followed by per-key attribute bytes,
//   one per key before version 259, two from it); tag 258, extrapolation byte, read-only byte, the
//   user data block with its length word; tag 264, time-curve byte.
// Doubles that are not finite travel as 0.0 both ways.

using qv::internal::BodyReader;
using qv::internal::load_u32;
using qv::internal::put_f64;
using qv::internal::store_u32;

namespace {

constexpr QvULong kVersionWritten = 264;
constexpr QvULong kTagSettings = 258;
constexpr QvULong kTagTimeCurve = 264;
constexpr QvULong kAttributesPresent = 0xFFFFFFFFu;
constexpr QvULong kFixedBytes = 55;  // everything but the keys, attributes and user data

}  // namespace

// A body whose parameters do not rise (an old document, or one read as it was stored) is put
// right before it is measured, so that size and contents agree.
void QvRawFCurve::RepairOrderInsideCriticalSection() const {
  if (qv::internal::repair_key_order(m_impl->m_keys)) m_impl->m_cursor = 0;
}

QvULong QvRawFCurve::GetBufferSize() const {
  LockGuard guard(*this);
  RepairOrderInsideCriticalSection();
  const QvULong n = m_impl->NumKeys();
  const QvULong attributes = m_impl->m_hasAttributes ? 2 * n : 0;
  return kFixedBytes + 16 * n + attributes + GetUserDataBufferSize();
}

QvULong QvRawFCurve::WriteToBuffer(void* buffer) const {
  if (buffer == nullptr) return 0;
  LockGuard guard(*this);
  const QvULong size = GetBufferSize();
  const QvRawFCurveImpl& body = *m_impl;
  const QvULong n = body.NumKeys();
  unsigned char* p = static_cast<unsigned char*>(buffer);
  store_u32(p, size - 4);
  store_u32(p + 4, kVersionWritten);
  store_u32(p + 8, static_cast<QvULong>(KindRaw));
  put_f64(p + 12, body.m_valueWhenNoKeys);
  put_f64(p + 20, body.m_clampLow);
  put_f64(p + 28, body.m_clampHigh);
  store_u32(p + 36, n);
  p += 40;
  for (QvULong i = 0; i < n; ++i) {
    put_f64(p, body.KeyAt(i).parameter);
    put_f64(p + 8, body.KeyAt(i).value);
    p += 16;
  }
  store_u32(p, body.m_hasAttributes ? kAttributesPresent : 0);
  p += 4;
  if (body.m_hasAttributes) {
    std::memset(p, 0, 2 * static_cast<std::size_t>(n));
    p += 2 * static_cast<std::size_t>(n);
  }
  store_u32(p, kTagSettings);
  p[4] = body.m_extrapolation;
  p[5] = body.m_readOnly != 0 ? 1 : 0;
  p += 6;
  p += WriteUserDataToBuffer(p);
  store_u32(p, kTagTimeCurve);
  p[4] = body.m_isTimeCurve != 0 ? 1 : 0;
  return size;
}

// Everything is read into a scratch curve; only a body that reads whole is swapped in.
QvULong QvRawFCurve::ReadFromBufferBody(const void* data) {
  if (data == nullptr) return 0;
  const unsigned char* bytes = static_cast<const unsigned char*>(data);
  BodyReader in(bytes, load_u32(bytes - 4));
  try {
    QvRawFCurve scratch(0.0);
    QvRawFCurveImpl& body = *scratch.m_impl;
    const QvULong version = in.U32();
    if (!in.Ok() || version < 256) return 0;
    if (in.U32() != static_cast<QvULong>(KindRaw) || !in.Ok()) return 0;
    body.m_valueWhenNoKeys = in.F64();
    body.m_clampLow = in.F64();
    body.m_clampHigh = in.F64();
    const QvULong n = in.U32();
    if (!in.Ok() || in.Remaining() / 16 < n) return 0;
    body.m_keys.resize(n);
    for (QvULong i = 0; i < n; ++i) {
      body.KeyAt(i).parameter = in.F64();
      body.KeyAt(i).value = in.F64();
    }
    // Per-key attributes have no reader in this library; their bytes are passed over.
    if (in.U32() == kAttributesPresent) {
      in.Skip(version < 259 ? static_cast<std::size_t>(n) : 2 * static_cast<std::size_t>(n));
    }
    if (!in.Ok()) return 0;
    if (version >= 258) {
      if (in.U32() != kTagSettings) return 0;
      body.m_extrapolation = in.U8();
      body.m_readOnly = in.U8() != 0 ? 1 : 0;
      if (!in.UserDataBlock([&scratch](const unsigned char* start) {
            return scratch.ReadUserDataFromBufferBody(start);
          }))
        return 0;
      if (version >= 264) {
        if (in.U32() != kTagTimeCurve) return 0;
        body.m_isTimeCurve = in.U8() == 1 ? 1 : 0;
      }
    }
    if (!in.Ok()) return 0;
    LockGuard guard(*this);
    std::swap(m_impl, scratch.m_impl);
    ExchangeUserData(scratch);
    return in.Consumed();
  } catch (...) {
    return 0;
  }
}
