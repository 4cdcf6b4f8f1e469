#ifndef QV_SRC_FOUNDATION_BYTE_ORDER_H
#define QV_SRC_FOUNDATION_BYTE_ORDER_H

// Little-endian integer fields of stored buffers. Buffers are read and written a byte at a time,
// so no alignment is assumed and the bytes are the same on any host.

#include <qv/QvTypes.h>

#include <cstdint>

namespace qv::internal {

inline void store_u16(unsigned char* out, std::uint16_t v) {
  out[0] = static_cast<unsigned char>(v & 0xFFu);
  out[1] = static_cast<unsigned char>((v >> 8) & 0xFFu);
}

inline void store_u32(unsigned char* out, std::uint32_t v) {
  out[0] = static_cast<unsigned char>(v & 0xFFu);
  out[1] = static_cast<unsigned char>((v >> 8) & 0xFFu);
  out[2] = static_cast<unsigned char>((v >> 16) & 0xFFu);
  out[3] = static_cast<unsigned char>((v >> 24) & 0xFFu);
}

inline std::uint16_t load_u16(const unsigned char* in) {
  return static_cast<std::uint16_t>(static_cast<unsigned>(in[0]) |
                                    (static_cast<unsigned>(in[1]) << 8));
}

inline std::uint32_t load_u32(const unsigned char* in) {
  return static_cast<std::uint32_t>(in[0]) | (static_cast<std::uint32_t>(in[1]) << 8) |
         (static_cast<std::uint32_t>(in[2]) << 16) | (static_cast<std::uint32_t>(in[3]) << 24);
}

// A body is handed over without its size: the length word that stands just before it is the only
// bound a reader may trust.
inline QvULong body_length(const void* body) {
  return load_u32(static_cast<const unsigned char*>(body) - 4);
}

}  // namespace qv::internal

#endif
