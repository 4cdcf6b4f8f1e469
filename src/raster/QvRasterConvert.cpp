#include <qv/QvRaster.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "raster/raster_memory.h"
#include "raster/raster_pixel.h"

namespace {

// Both rasters share one memory block and differ only in `bottomUp`: turning
// the picture over is a swap of row pairs.
template <class T>
void flip_rows_in_place(T* pixels, std::int64_t w, std::int64_t h) {
  for (std::int64_t top = 0, bottom = h - 1; top < bottom; ++top, --bottom)
    std::swap_ranges(pixels + top * w, pixels + (top + 1) * w, pixels + bottom * w);
}

}  // namespace

template <class D, class S>
void QvRasterConvert(QvRaster<D>& dst, QvRaster<S> const& src) {
  if (dst.width != src.width || dst.height != src.height) {
    const std::int32_t count = qv::internal::raster_pixel_count(src.width, src.height);
    D* fresh = static_cast<D*>(qv::internal::raster_allocate(count, sizeof(D)));
    std::memset(fresh, 0, static_cast<std::size_t>(count) * sizeof(D));
    if (dst.ownsPixels != 0) {
      if (dst.pixels != nullptr)
        qv::internal::raster_release(dst.pixels);
    } else {
      dst.ownsPixels = 1;
    }
    dst.width = src.width;
    dst.height = src.height;
    dst.pixels = fresh;
  }
  const std::int64_t w = src.width, h = src.height;
  if (w <= 0 || h <= 0 || dst.pixels == nullptr || src.pixels == nullptr)
    return;
  const bool flip = (dst.bottomUp != 0) != (src.bottomUp != 0);

  if constexpr (std::is_same_v<D, S>) {
    if (static_cast<const void*>(dst.pixels) == static_cast<const void*>(src.pixels)) {
      if (flip)
        flip_rows_in_place(dst.pixels, w, h);
      return;
    }
    for (std::int64_t i = 0; i < h; ++i) {
      const S* s = src.pixels + (flip ? h - 1 - i : i) * w;
      std::memcpy(dst.pixels + i * w, s, static_cast<std::size_t>(w) * sizeof(D));
    }
  } else if constexpr (std::is_same_v<S, float>) {
    using Convert = qv::internal::PixelConvert<D, S>;
    for (std::int64_t i = 0; i < h; ++i) {
      const S* s = src.pixels + (flip ? h - 1 - i : i) * w;
      D* d = dst.pixels + i * w;
      // Nearly every row holds coverage in range: check the row once, then
      // convert without a per-pixel branch.
      std::int32_t out_of_range = 0;
      for (std::int64_t x = 0; x < w; ++x)
        out_of_range |= qv::internal::fits_int32(Convert::scaled(s[x])) ? 0 : 1;
      if (out_of_range == 0) {
        for (std::int64_t x = 0; x < w; ++x)
          d[x] = Convert::apply_in_range(s[x]);
      } else {
        for (std::int64_t x = 0; x < w; ++x)
          d[x] = Convert::apply(s[x]);
      }
    }
  } else {
    for (std::int64_t i = 0; i < h; ++i) {
      const S* s = src.pixels + (flip ? h - 1 - i : i) * w;
      D* d = dst.pixels + i * w;
      for (std::int64_t x = 0; x < w; ++x)
        d[x] = qv::internal::PixelConvert<D, S>::apply(s[x]);
    }
  }
}

template void QvRasterConvert(QvRaster<unsigned char>&, QvRaster<unsigned char> const&);
template void QvRasterConvert(QvRaster<unsigned char>&, QvRaster<short> const&);
template void QvRasterConvert(QvRaster<unsigned char>&, QvRaster<float> const&);
template void QvRasterConvert(QvRaster<short>&, QvRaster<unsigned char> const&);
template void QvRasterConvert(QvRaster<short>&, QvRaster<short> const&);
template void QvRasterConvert(QvRaster<short>&, QvRaster<float> const&);
template void QvRasterConvert(QvRaster<float>&, QvRaster<unsigned char> const&);
template void QvRasterConvert(QvRaster<float>&, QvRaster<short> const&);
template void QvRasterConvert(QvRaster<float>&, QvRaster<float> const&);
