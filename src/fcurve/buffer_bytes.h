#ifndef QV_SRC_FCURVE_BUFFER_BYTES_H
#define QV_SRC_FCURVE_BUFFER_BYTES_H

// Field access for the curves' buffer bodies: every field is little-endian and unaligned, so that
// the bytes are the same on every host, and a double or float that is not finite travels as 0
// both ways.

#include <qv/QvTypes.h>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "foundation/byte_order.h"

namespace qv::internal {

inline void put_f64(unsigned char* p, double v) {
  if (!std::isfinite(v)) v = 0.0;
  std::uint64_t bits;
  std::memcpy(&bits, &v, sizeof bits);
  for (int i = 0; i < 8; ++i) p[i] = static_cast<unsigned char>((bits >> (8 * i)) & 0xFFu);
}

inline void put_f32(unsigned char* p, float v) {
  if (!std::isfinite(v)) v = 0.0f;
  QvULong bits;
  std::memcpy(&bits, &v, sizeof bits);
  store_u32(p, bits);
}

inline double get_f64(const unsigned char* p) {
  std::uint64_t bits = 0;
  for (int i = 0; i < 8; ++i) bits |= static_cast<std::uint64_t>(p[i]) << (8 * i);
  double v;
  std::memcpy(&v, &bits, sizeof v);
  return std::isfinite(v) ? v : 0.0;
}

inline float get_f32(const unsigned char* p) {
  const QvULong bits = load_u32(p);
  float v;
  std::memcpy(&v, &bits, sizeof v);
  return std::isfinite(v) ? v : 0.0f;
}

// Writes forward through a body whose size the caller has already worked out.
class BodyWriter {
 public:
  explicit BodyWriter(unsigned char* p) : m_p(p) {}
  void U8(unsigned v) { *m_p++ = static_cast<unsigned char>(v); }
  void U16(unsigned v) {
    store_u16(m_p, static_cast<std::uint16_t>(v));
    m_p += 2;
  }
  void U32(QvULong v) {
    store_u32(m_p, v);
    m_p += 4;
  }
  void F64(double v) {
    put_f64(m_p, v);
    m_p += 8;
  }
  unsigned char* At() const { return m_p; }
  void Skip(std::size_t n) { m_p += n; }

 private:
  unsigned char* m_p;
};

// Reads forward through a body and never past the end that its length word declares; a read
// beyond it marks the reader bad, and that read and every later one yield zeros, so that a caller
// may test once at the end of a section.
class BodyReader {
 public:
  BodyReader(const unsigned char* begin, QvULong length)
      : m_begin(begin), m_p(begin), m_end(begin + length) {}

  bool Need(std::size_t n) {
    if (static_cast<std::size_t>(m_end - m_p) < n) m_ok = false;
    return m_ok;
  }
  unsigned char U8() {
    if (!Need(1)) return 0;
    return *m_p++;
  }
  std::uint16_t U16() {
    if (!Need(2)) return 0;
    const std::uint16_t v = load_u16(m_p);
    m_p += 2;
    return v;
  }
  QvULong U32() {
    if (!Need(4)) return 0;
    const QvULong v = load_u32(m_p);
    m_p += 4;
    return v;
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
  // Moves to a place inside the range that the caller has already checked.
  void JumpTo(const unsigned char* p) { m_p = p; }
  // The user data block: its length word, then that many bytes, which start with a version this
  // library reads and a flag. A length of 0 is no block; `read(start)` reads a block whose flag
  // is 1 and returns 0 on failure. False when the block is cut short or refused.
  template <class ReadUserData>
  bool UserDataBlock(ReadUserData read) {
    const QvULong block = U32();
    if (!Ok()) return false;
    if (block == 0) return true;
    if (block < 5 || !Need(block)) return false;
    const unsigned char* start = m_p;
    const QvULong block_version = load_u32(start);
    if (block_version < 256 || block_version == 0xFFFFFFFFu) return false;
    if (start[4] == 1 && read(start) == 0) return false;
    Skip(block);
    return true;
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

}  // namespace qv::internal

#endif
