#ifndef QV_SRC_SHAPE_SHAPE_BUFFER_H
#define QV_SRC_SHAPE_SHAPE_BUFFER_H

// Little-endian field access for shape buffers. Stored buffers are read and
// written a byte at a time, so no alignment is assumed and the bytes are the
// same on any host.

#include <qv/QvTypes.h>

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace qv::internal {

inline void store_u32(unsigned char* out, std::uint32_t v) {
  out[0] = static_cast<unsigned char>(v & 0xFFu);
  out[1] = static_cast<unsigned char>((v >> 8) & 0xFFu);
  out[2] = static_cast<unsigned char>((v >> 16) & 0xFFu);
  out[3] = static_cast<unsigned char>((v >> 24) & 0xFFu);
}

inline std::uint32_t load_u32(const unsigned char* in) {
  return static_cast<std::uint32_t>(in[0]) | (static_cast<std::uint32_t>(in[1]) << 8) |
         (static_cast<std::uint32_t>(in[2]) << 16) | (static_cast<std::uint32_t>(in[3]) << 24);
}

inline std::uint16_t load_u16(const unsigned char* in) {
  return static_cast<std::uint16_t>(static_cast<unsigned>(in[0]) |
                                    (static_cast<unsigned>(in[1]) << 8));
}

inline void store_f32(unsigned char* out, float v) {
  std::uint32_t bits;
  std::memcpy(&bits, &v, sizeof bits);
  store_u32(out, bits);
}

inline float load_f32(const unsigned char* in) {
  const std::uint32_t bits = load_u32(in);
  float v;
  std::memcpy(&v, &bits, sizeof v);
  return v;
}

// A body is handed over without its size: the length word that stands just
// before it is the only bound a reader may trust.
inline QvULong body_length(const void* body) {
  return load_u32(static_cast<const unsigned char*>(body) - 4);
}

}  // namespace qv::internal

#endif
