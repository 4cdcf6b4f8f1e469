// Distance transforms: four-neighbour sequential vector propagation. Each
// pixel carries the offset (dx, dy) to its nearest seed found so far; two
// sweeps, down then up, each pull the offset of the row before and then run
// left-to-right and right-to-left along the row.

#include <qv/QvRaster.h>

#include <algorithm>
#include <cstdint>
#include <memory>

#include "raster/raster_distance.h"
#include "raster/raster_memory.h"
#include "raster/raster_pixel.h"

namespace {

// Each norm also gives the norm of a horizontal neighbour's candidate
// (dx + 1, dy) from that neighbour's own (dx, dy, norm). In integers the
// squared length grows by 2 dx + 1 exactly, which keeps the serial chain of
// the horizontal passes short; in doubles it is recomputed as it stands.
struct SquaredEuclidean {
  static double norm(double dx, double dy) { return dx * dx + dy * dy; }
  static std::int64_t norm(std::int32_t dx, std::int32_t dy) {
    return std::int64_t{dx} * dx + std::int64_t{dy} * dy;
  }
  static double stepped(double dx, double dy, double) { return norm(dx + 1.0, dy); }
  static std::int64_t stepped(std::int32_t dx, std::int32_t, std::int64_t n) {
    return n + 2 * std::int64_t{dx} + 1;
  }
};

struct LInfinity {
  template <class Coord>
  static Coord norm(Coord dx, Coord dy) {
    return dx > dy ? dx : dy;
  }
  template <class Coord>
  static Coord stepped(Coord dx, Coord dy, Coord) {
    return norm(static_cast<Coord>(dx + 1), dy);
  }
};

// A candidate replaces the pixel's offset only when strictly nearer: a tie
// keeps what stands, so results do not depend on the order of neighbours.
template <class Norm, class Coord>
void propagate_row(Coord* dx, Coord* dy, const Coord* from_dx, const Coord* from_dy,
                   std::int64_t w) {
  using Value = decltype(Norm::norm(Coord(), Coord()));
  // Vertical step: independent across the row.
  for (std::int64_t x = 0; x < w; ++x) {
    const Coord ox = dx[x], oy = dy[x];
    const Coord cx = from_dx[x], cy = static_cast<Coord>(from_dy[x] + 1);
    const bool take = Norm::norm(ox, oy) > Norm::norm(cx, cy);
    dx[x] = take ? cx : ox;
    dy[x] = take ? cy : oy;
  }
  // Horizontal steps: each pixel's result feeds the next, carried in
  // registers together with its norm.
  if (w < 2)
    return;
  Coord px = dx[0], py = dy[0];
  Value pn = Norm::norm(px, py);
  for (std::int64_t x = 1; x < w; ++x) {
    const Value own = Norm::norm(dx[x], dy[x]), cand = Norm::stepped(px, py, pn);
    const bool take = own > cand;
    px = take ? static_cast<Coord>(px + 1) : dx[x];
    py = take ? py : dy[x];
    pn = take ? cand : own;
    dx[x] = px;
    dy[x] = py;
  }
  // px, py, pn now hold pixel w-1.
  for (std::int64_t x = w - 2; x >= 0; --x) {
    const Value own = Norm::norm(dx[x], dy[x]), cand = Norm::stepped(px, py, pn);
    const bool take = own > cand;
    px = take ? static_cast<Coord>(px + 1) : dx[x];
    py = take ? py : dy[x];
    pn = take ? cand : own;
    dx[x] = px;
    dy[x] = py;
  }
}

// Offsets never exceed big + 1, with big = max(width, height) + 1. Below
// kExactIntegerSide every offset fits in 32 bits and every squared length in
// 52, where integer and double arithmetic agree exactly; the integer form is
// the faster one and is used there.
constexpr QvLong kExactIntegerSide = 1 << 25;

template <class T, class Norm, class Coord>
void distance_map_in(QvRaster<T>& raster, QvRaster<unsigned char> const& mask, bool negate_marked,
                     std::int32_t count) {
  const std::int64_t w = raster.width, h = raster.height;
  // The mask is read by linear index; pixels beyond its end count as
  // background rather than being read out of bounds.
  std::int64_t mask_count = 0;
  if (mask.pixels != nullptr && mask.width > 0 && mask.height > 0)
    mask_count = std::min<std::int64_t>(static_cast<std::int64_t>(mask.width) * mask.height, count);

  // If the second block cannot be had, the first goes back before the
  // failure reaches the caller.
  const std::unique_ptr<Coord[]> dx_block(new Coord[static_cast<std::size_t>(count)]);
  const std::unique_ptr<Coord[]> dy_block(new Coord[static_cast<std::size_t>(count)]);
  Coord* const dx = dx_block.get();
  Coord* const dy = dy_block.get();
  const Coord big = static_cast<Coord>(std::max(w, h) + 1);
  for (std::int64_t i = 0; i < count; ++i) {
    const bool seed = i < mask_count && mask.pixels[i] == 1;
    dx[i] = seed ? Coord(0) : big;
    dy[i] = seed ? Coord(0) : big;
  }

  // Row 0 gets its horizontal passes in the upward sweep and the last row in
  // the downward one; a single row therefore propagates nothing.
  if (h >= 2) {
    for (std::int64_t y = 1; y < h; ++y)
      propagate_row<Norm>(dx + y * w, dy + y * w, dx + (y - 1) * w, dy + (y - 1) * w, w);
    for (std::int64_t y = h - 2; y >= 0; --y)
      propagate_row<Norm>(dx + y * w, dy + y * w, dx + (y + 1) * w, dy + (y + 1) * w, w);
  }

  T* out = raster.pixels;
  for (std::int64_t i = 0; i < count; ++i) {
    // Read the mark before the store: the mask may be this very raster.
    const bool marked = negate_marked && i < mask_count && mask.pixels[i] == 2;
    const T v = qv::internal::distance_to_pixel<T>(static_cast<double>(Norm::norm(dx[i], dy[i])));
    out[i] = marked ? qv::internal::negate_pixel(v) : v;
  }
}

template <class T, class Norm>
void distance_map(QvRaster<T>& raster, QvRaster<unsigned char> const& mask, bool negate_marked,
                  bool allow_integer) {
  const std::int32_t count = qv::internal::raster_pixel_count(raster.width, raster.height);
  if (count == 0)
    return;
  if (allow_integer && std::max(raster.width, raster.height) < kExactIntegerSide)
    distance_map_in<T, Norm, std::int32_t>(raster, mask, negate_marked, count);
  else
    distance_map_in<T, Norm, double>(raster, mask, negate_marked, count);
}

}  // namespace

template <class T>
void QvRaster<T>::SetToSquaredEuclideanDistanceMap(QvRaster<unsigned char> const& mask) {
  distance_map<T, SquaredEuclidean>(*this, mask, true, true);
}

template <class T>
void QvRaster<T>::SetToLInfinityDistanceMap(QvRaster<unsigned char> const& mask) {
  distance_map<T, LInfinity>(*this, mask, false, true);
}

namespace qv::internal {

void distance_map_in_doubles(QvRaster<double>& raster, QvRaster<unsigned char> const& mask,
                             bool squared_euclidean) {
  if (squared_euclidean)
    distance_map<double, SquaredEuclidean>(raster, mask, true, false);
  else
    distance_map<double, LInfinity>(raster, mask, false, false);
}

}  // namespace qv::internal

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
