// Distance transforms: four-neighbour sequential vector propagation. Each
// pixel carries the offset (dx, dy) to its nearest seed found so far; two
// sweeps, down then up, each pull the offset of the row before and then run
// left-to-right and right-to-left along the row.

#include <qv/QvRaster.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <type_traits>

#include "raster/raster_pixel.h"
#include "raster/raster_memory.h"

namespace {

struct SquaredEuclidean {
  static double norm(double dx, double dy) { return dx * dx + dy * dy; }
};

struct LInfinity {
  static double norm(double dx, double dy) { return dx > dy ? dx : dy; }
};

// A tie keeps the offset already there, so results do not depend on which
// neighbour is tried first among equals.
template <class Norm>
inline void try_candidate(double& dx, double& dy, double cx, double cy) {
  if (Norm::norm(dx, dy) > Norm::norm(cx, cy)) {
    dx = cx;
    dy = cy;
  }
}

template <class Norm>
void propagate_row(double* dx, double* dy, const double* from_dx, const double* from_dy,
                   std::int64_t w) {
  for (std::int64_t x = 0; x < w; ++x)
    try_candidate<Norm>(dx[x], dy[x], from_dx[x], from_dy[x] + 1.0);
  for (std::int64_t x = 1; x < w; ++x)
    try_candidate<Norm>(dx[x], dy[x], dx[x - 1] + 1.0, dy[x - 1]);
  for (std::int64_t x = w - 2; x >= 0; --x)
    try_candidate<Norm>(dx[x], dy[x], dx[x + 1] + 1.0, dy[x + 1]);
}

template <class T, class Norm>
void distance_map(QvRaster<T>& raster, QvRaster<unsigned char> const& mask, bool negate_marked) {
  const std::int32_t count = qv::internal::raster_pixel_count(raster.width, raster.height);
  if (count == 0)
    return;
  const std::int64_t w = raster.width, h = raster.height;
  // The mask is read by linear index; pixels beyond its end count as
  // background rather than being read out of bounds.
  std::int64_t mask_count = 0;
  if (mask.pixels != nullptr && mask.width > 0 && mask.height > 0)
    mask_count = std::min<std::int64_t>(static_cast<std::int64_t>(mask.width) * mask.height, count);

  std::unique_ptr<double[]> dx(new double[static_cast<std::size_t>(count)]);
  std::unique_ptr<double[]> dy(new double[static_cast<std::size_t>(count)]);
  const double big = static_cast<double>(std::max(raster.width, raster.height)) + 1.0;
  for (std::int64_t i = 0; i < count; ++i) {
    const bool seed = i < mask_count && mask.pixels[i] == 1;
    dx[i] = seed ? 0.0 : big;
    dy[i] = seed ? 0.0 : big;
  }

  // Row 0 gets its horizontal passes in the upward sweep and the last row in
  // the downward one; a single row therefore propagates nothing.
  if (h >= 2) {
    for (std::int64_t y = 1; y < h; ++y)
      propagate_row<Norm>(&dx[y * w], &dy[y * w], &dx[(y - 1) * w], &dy[(y - 1) * w], w);
    for (std::int64_t y = h - 2; y >= 0; --y)
      propagate_row<Norm>(&dx[y * w], &dy[y * w], &dx[(y + 1) * w], &dy[(y + 1) * w], w);
  }

  T* out = raster.pixels;
  for (std::int64_t i = 0; i < count; ++i) {
    // Read the mark before the store: the mask may be this very raster.
    const bool marked = negate_marked && i < mask_count && mask.pixels[i] == 2;
    const T v = qv::internal::distance_to_pixel<T>(Norm::norm(dx[i], dy[i]));
    out[i] = marked ? qv::internal::negate_pixel(v) : v;
  }
}

}  // namespace

template <class T>
void QvRaster<T>::SetToSquaredEuclideanDistanceMap(QvRaster<unsigned char> const& mask) {
  distance_map<T, SquaredEuclidean>(*this, mask, true);
}

template <class T>
void QvRaster<T>::SetToLInfinityDistanceMap(QvRaster<unsigned char> const& mask) {
  distance_map<T, LInfinity>(*this, mask, false);
}

template void QvRaster<unsigned char>::SetToSquaredEuclideanDistanceMap(QvRaster<unsigned char> const&);
template void QvRaster<unsigned char>::SetToLInfinityDistanceMap(QvRaster<unsigned char> const&);
template void QvRaster<short>::SetToSquaredEuclideanDistanceMap(QvRaster<unsigned char> const&);
template void QvRaster<short>::SetToLInfinityDistanceMap(QvRaster<unsigned char> const&);
template void QvRaster<int>::SetToSquaredEuclideanDistanceMap(QvRaster<unsigned char> const&);
template void QvRaster<int>::SetToLInfinityDistanceMap(QvRaster<unsigned char> const&);
template void QvRaster<unsigned int>::SetToSquaredEuclideanDistanceMap(QvRaster<unsigned char> const&);
template void QvRaster<unsigned int>::SetToLInfinityDistanceMap(QvRaster<unsigned char> const&);
template void QvRaster<float>::SetToSquaredEuclideanDistanceMap(QvRaster<unsigned char> const&);
template void QvRaster<float>::SetToLInfinityDistanceMap(QvRaster<unsigned char> const&);
template void QvRaster<double>::SetToSquaredEuclideanDistanceMap(QvRaster<unsigned char> const&);
template void QvRaster<double>::SetToLInfinityDistanceMap(QvRaster<unsigned char> const&);
