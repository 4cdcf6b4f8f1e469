#include <qv/QvRawFCurve.h>

#include "fcurve/raw_body.h"

#include <cmath>
#include <cstring>

// The body of a raw curve, after the length word:
//   version (264), kind (30), valueWhenNoKeys, clampLow, clampHigh, key count n, n pairs of
//   (parameter, value); the attribute flag (0, or 0xFFFFFFFF followed by per-key attribute bytes,
//   one per key before version 259, two from it); tag 258, extrapolation byte, read-only byte, the
//   user data block with its length word; tag 264, time-curve byte.
// Doubles that are not finite travel as 0.0 both ways.

namespace {

constexpr QvULong kVersionWritten = 264;
constexpr QvULong kTagSettings = 258;
constexpr QvULong kTagTimeCurve = 264;
constexpr QvULong kAttributesPresent = 0xFFFFFFFFu;
constexpr QvULong kFixedBytes = 55;  // everything but the keys, attributes and user data

void put_u32(unsigned char* p, QvULong v) {
  for (int i = 0; i < 4; ++i) p[i] = static_cast<unsigned char>((v >> (8 * i)) & 0xFFu);
}

void put_f64(unsigned char* p, double v) {
  if (!std::isfinite(v)) v = 0.0;
  std::uint64_t bits;
  std::memcpy(&bits, &v, sizeof bits);
  for (int i = 0; i < 8; ++i) p[i] = static_cast<unsigned char>((bits >> (8 * i)) & 0xFFu);
}

QvULong get_u32(const unsigned char* p) {
  return static_cast<QvULong>(p[0]) | (static_cast<QvULong>(p[1]) << 8) |
         (static_cast<QvULong>(p[2]) << 16) | (static_cast<QvULong>(p[3]) << 24);
}

double get_f64(const unsigned char* p) {
  std::uint64_t bits = 0;
  for (int i = 0; i < 8; ++i) bits |= static_cast<std::uint64_t>(p[i]) << (8 * i);
  double v;
  std::memcpy(&v, &bits, sizeof v);
  return std::isfinite(v) ? v : 0.0;
}

// Reads forward through a body and never past the end that its length word declares; a read
// beyond it marks the cursor bad and yields zeros.
class BodyReader {
 public:
  BodyReader(const unsigned char* begin, QvULong length)
      : m_begin(begin), m_p(begin), m_end(begin + length) {}

  bool Need(std::size_t n) {
    if (static_cast<std::size_t>(m_end - m_p) < n) m_ok = false;
    return m_ok;
  }
  QvULong U32() {
    if (!Need(4)) return 0;
    const QvULong v = get_u32(m_p);
    m_p += 4;
    return v;
  }
  unsigned char U8() {
    if (!Need(1)) return 0;
    return *m_p++;
  }
  double F64() {
    if (!Need(8)) return 0.0;
    const double v = get_f64(m_p);
    m_p += 8;
    return v;
  }
  void Skip(std::size_t n) {
    if (Need(n)) m_p += n;
  }
  const unsigned char* At() const { return m_p; }
  std::size_t Remaining() const { return static_cast<std::size_t>(m_end - m_p); }
  bool Ok() const { return m_ok; }
  QvULong Consumed() const { return static_cast<QvULong>(m_p - m_begin); }

 private:
  const unsigned char* m_begin;
  const unsigned char* m_p;
  const unsigned char* m_end;
  bool m_ok = true;
};

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
  put_u32(p, size - 4);
  put_u32(p + 4, kVersionWritten);
  put_u32(p + 8, static_cast<QvULong>(KindRaw));
  put_f64(p + 12, body.m_valueWhenNoKeys);
  put_f64(p + 20, body.m_clampLow);
  put_f64(p + 28, body.m_clampHigh);
  put_u32(p + 36, n);
  p += 40;
  for (QvULong i = 0; i < n; ++i) {
    put_f64(p, body.KeyAt(i).parameter);
    put_f64(p + 8, body.KeyAt(i).value);
    p += 16;
  }
  put_u32(p, body.m_hasAttributes ? kAttributesPresent : 0);
  p += 4;
  if (body.m_hasAttributes) {
    std::memset(p, 0, 2 * static_cast<std::size_t>(n));
    p += 2 * static_cast<std::size_t>(n);
  }
  put_u32(p, kTagSettings);
  p[4] = body.m_extrapolation;
  p[5] = body.m_readOnly != 0 ? 1 : 0;
  p += 6;
  p += WriteUserDataToBuffer(p);
  put_u32(p, kTagTimeCurve);
  p[4] = body.m_isTimeCurve != 0 ? 1 : 0;
  return size;
}

// Everything is read into a scratch curve; only a body that reads whole is swapped in.
QvULong QvRawFCurve::ReadFromBufferBody(const void* data) {
  if (data == nullptr) return 0;
  const unsigned char* bytes = static_cast<const unsigned char*>(data);
  BodyReader in(bytes, get_u32(bytes - 4));
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
      const QvULong block = in.U32();
      if (!in.Ok()) return 0;
      if (block != 0) {
        if (block < 5 || !in.Need(block)) return 0;
        const unsigned char* start = in.At();
        const QvULong block_version = get_u32(start);
        if (block_version < 256 || block_version == 0xFFFFFFFFu) return 0;
        if (start[4] == 1 && scratch.ReadUserDataFromBufferBody(start) == 0) return 0;
        in.Skip(block);
      }
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
