#ifndef QV_SRC_SHAPE_SHAPE_BUFFER_H
#define QV_SRC_SHAPE_SHAPE_BUFFER_H

// Single-precision fields of shape buffers, stored bit for bit beside the little-endian integer
// fields.

#include <qv/QvTypes.h>

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "foundation/byte_order.h"

namespace qv::internal {

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

}  // namespace qv::internal

#endif
