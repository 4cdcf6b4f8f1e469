#ifndef QV_SRC_RASTER_RASTER_MEMORY_H
#define QV_SRC_RASTER_RASTER_MEMORY_H

#include <cstddef>
#include <cstdint>
#include <limits>
#include <new>

#include <qv/QvArray.h>
#include <qv/QvTypes.h>

namespace qv::internal {

// Number of pixels of a w x h raster. Pixel indices are 32-bit signed, so a
// negative size or a count beyond 31 bits is refused as the allocator refuses
// an impossible size, with std::bad_array_new_length.
inline std::int32_t raster_pixel_count(QvLong w, QvLong h) {
  const std::int64_t count = static_cast<std::int64_t>(w) * static_cast<std::int64_t>(h);
  if (w < 0 || h < 0 || count > std::numeric_limits<std::int32_t>::max())
    throw std::bad_array_new_length();
  return static_cast<std::int32_t>(count);
}

// Block of `count` pixels from the library's allocator (malloc, new-handler
// retry, never null). Hosts hand blocks over with the same allocator, so both
// are released by raster_release.
inline void* raster_allocate(std::int32_t count, std::size_t pixel_bytes) {
  return allocate_block(static_cast<std::size_t>(count) * pixel_bytes);
}

inline void raster_release(void* block) noexcept { free_block(block); }

}  // namespace qv::internal

#endif  // QV_SRC_RASTER_RASTER_MEMORY_H
