#include <qv/QvRaster.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <iomanip>
#include <iostream>
#include <limits>
#include <type_traits>

#include "raster/raster_memory.h"

namespace {

using qv::internal::raster_allocate;
using qv::internal::raster_pixel_count;
using qv::internal::raster_release;

// Pixel count of a raster whose fields the library did not set itself: a
// negative or oversized product counts as no pixels, so that no loop runs
// over memory that cannot exist.
std::int64_t pixels_in(QvLong w, QvLong h) {
  if (w <= 0 || h <= 0)
    return 0;
  const std::int64_t count = static_cast<std::int64_t>(w) * h;
  return count > std::numeric_limits<std::int32_t>::max() ? 0 : count;
}

// Byte fill for bytes, and a zero fill for the value 0 (so -0.0 is stored as
// 0.0); every other value is stored pixel by pixel.
template <class T>
void fill_pixels(T* p, std::int64_t count, T value) {
  if (p == nullptr || count <= 0)
    return;
  const std::size_t n = static_cast<std::size_t>(count);
  if constexpr (std::is_same_v<T, unsigned char>)
    std::memset(p, value, n);
  else if (value == T(0))
    std::memset(p, 0, n * sizeof(T));
  else
    std::fill(p, p + n, value);
}

template <class T>
T* allocate_copy(const T* from, std::int32_t count) {
  T* block = static_cast<T*>(raster_allocate(count, sizeof(T)));
  if (count > 0) {
    if (from != nullptr)
      std::memcpy(block, from, static_cast<std::size_t>(count) * sizeof(T));
    else
      std::memset(block, 0, static_cast<std::size_t>(count) * sizeof(T));
  }
  return block;
}

template <class T>
void print_pixel(std::ostream& os, T v) {
  // Bytes are characters on a stream, which is what the dump shows for them.
  os << std::setw(4) << v;
}

}  // namespace

template <class T>
QvRaster<T>::QvRaster(QvLong w, QvLong h, T value)
    : width(w), height(h), pixels(nullptr), ownsPixels(1), bottomUp(0) {
  const std::int32_t count = raster_pixel_count(w, h);
  pixels = static_cast<T*>(raster_allocate(count, sizeof(T)));
  fill_pixels(pixels, count, value);
}

template <class T>
QvRaster<T>::QvRaster(T* memory, QvLong w, QvLong h, QvLong owns, T value)
    : width(w), height(h), pixels(memory), ownsPixels(owns), bottomUp(0) {
  // Wrapped memory never keeps its contents, not even for a zero value.
  fill_pixels(pixels, pixels_in(w, h), value);
}

template <class T>
QvRaster<T>::QvRaster(QvRaster const& other)
    : width(other.width),
      height(other.height),
      pixels(other.pixels),
      ownsPixels(other.ownsPixels),
      bottomUp(other.bottomUp) {
  if (ownsPixels != 0)
    pixels = allocate_copy(other.pixels, raster_pixel_count(width, height));
}

template <class T>
QvRaster<T>::~QvRaster() {
  if (ownsPixels != 0 && pixels != nullptr)
    raster_release(pixels);
  pixels = nullptr;
}

template <class T>
QvRaster<T>& QvRaster<T>::operator=(QvRaster const& other) {
  if (this == &other)
    return *this;
  // Copy before releasing: `other` may be a view of this raster's own block.
  T* fresh = allocate_copy(other.pixels, raster_pixel_count(other.width, other.height));
  if (ownsPixels != 0 && pixels != nullptr)
    raster_release(pixels);
  width = other.width;
  height = other.height;
  pixels = fresh;
  ownsPixels = other.ownsPixels;
  bottomUp = other.bottomUp;
  return *this;
}

template <class T>
void QvRaster<T>::Reconstruct(QvLong w, QvLong h, T value) {
  const std::int32_t count = raster_pixel_count(w, h);
  T* fresh = static_cast<T*>(raster_allocate(count, sizeof(T)));
  fill_pixels(fresh, count, value);
  if (ownsPixels != 0) {
    if (pixels != nullptr)
      raster_release(pixels);
  } else {
    ownsPixels = 1;
  }
  width = w;
  height = h;
  pixels = fresh;
}

template <class T>
QvLong QvRaster<T>::AllPixelValuesAre(T value) const {
  const std::int64_t count = pixels_in(width, height);
  for (std::int64_t i = 0; i < count; ++i) {
    if (!(pixels[i] == value))
      return 0;
  }
  return 1;
}

template <class T>
void QvRaster<T>::CopyRaster(QvLong x, QvLong y, QvRaster const& src) {
  // 64-bit bounds: placements far off the raster must not wrap around.
  const std::int64_t W = width, H = height, sw = src.width, sh = src.height;
  if (y + sh < 0 || y > H || x > W || x + sw < 0)
    return;
  const std::int64_t c0 = std::max<std::int64_t>(x, 0), c1 = std::min(x + sw, W);
  const std::int64_t r0 = std::max<std::int64_t>(y, 0), r1 = std::min(y + sh, H);
  if (c0 >= c1 || r0 >= r1 || pixels == nullptr || src.pixels == nullptr)
    return;
  const std::size_t row_bytes = static_cast<std::size_t>(c1 - c0) * sizeof(T);
  for (std::int64_t r = r0; r < r1; ++r) {
    // memmove: the source may be this raster itself.
    std::memmove(pixels + r * W + c0, src.pixels + (r - y) * sw + (c0 - x), row_bytes);
  }
}

template <class T>
void QvRaster<T>::SetValWhenSmaller(QvLong x, QvLong y, T value) {
  const std::int64_t index = static_cast<std::int64_t>(y) * width + x;
  if (index < 0 || index >= pixels_in(width, height))
    return;
  if (pixels[index] > value)
    pixels[index] = value;
}

// With a bottom-up destination the source starts at row H-1-(y0-yy), H being
// this raster's height; that is the placement rule of the library and hosts
// depend on it. Rows that the rule maps outside the source are left alone.
template <class T>
void QvRaster<T>::SetValWhenSmaller(QvLong x, QvLong y, QvRaster const& src) {
  const std::int64_t W = width, H = height, sw = src.width, sh = src.height;
  if (W < x)
    return;
  const std::int64_t yy = bottomUp != 0 ? H - 1 - y : static_cast<std::int64_t>(y);
  if (x + sw < 0 || H < yy || yy + sh < 0)
    return;
  const std::int64_t c0 = std::max<std::int64_t>(x, 0), c1 = std::min(x + sw, W);
  const std::int64_t r0 = std::max<std::int64_t>(yy, 0), r1 = std::min(yy + sh, H);
  if (c0 >= c1 || r0 >= r1 || pixels == nullptr || src.pixels == nullptr)
    return;
  std::int64_t dst_row = bottomUp != 0 ? H - 1 - r0 : r0;
  const std::int64_t dst_step = bottomUp != 0 ? -1 : 1;
  std::int64_t src_row = bottomUp != 0 ? H - 1 - (r0 - yy) : r0 - yy;
  const std::int64_t src_step = src.bottomUp != 0 ? -1 : 1;
  const std::int64_t n = c1 - c0;
  for (std::int64_t k = r0; k < r1; ++k, dst_row += dst_step, src_row += src_step) {
    if (src_row < 0 || src_row >= sh)
      continue;
    T* d = pixels + dst_row * W + c0;
    const T* s = src.pixels + src_row * sw + (c0 - x);
    for (std::int64_t i = 0; i < n; ++i) {
      if (s[i] < d[i])
        d[i] = s[i];
    }
  }
}

template <class T>
void QvRaster<T>::Print(void) const {
  std::ostream& os = std::cout;
  os << "Type raster W x H = " << width << " x " << height << std::endl;
  for (std::int64_t r = static_cast<std::int64_t>(height) - 1; r >= 0; --r) {
    const T* row = pixels + r * static_cast<std::int64_t>(width);
    for (QvLong c = 0; c < width; ++c)
      print_pixel(os, row[c]);
    os << "\n" << std::flush;
  }
}

template class QvRaster<unsigned char>;
template class QvRaster<short>;
template class QvRaster<int>;
template class QvRaster<unsigned int>;
template class QvRaster<float>;
template class QvRaster<double>;
