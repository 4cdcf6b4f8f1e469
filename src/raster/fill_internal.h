// The scan converters over a private polygon. QvPath2f prepares the polygon
// (transform, flattening, clipping) under its lock and hands it here; nothing
// below touches a shape.
#ifndef QV_RASTER_FILL_INTERNAL_H
#define QV_RASTER_FILL_INTERNAL_H

#include "raster/edge_table.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace qv::internal {

// The pixels of a caller's raster, seen by raster row: with bottom_up, raster
// row y stands at memory row height-1-y.
template <class T>
struct PixelRows {
  T* pixels = nullptr;
  QvLong width = 0;
  QvLong height = 0;
  bool bottom_up = false;

  T* Row(QvLong y) const noexcept {
    const QvLong memory_row = bottom_up ? height - 1 - y : y;
    return pixels + static_cast<std::ptrdiff_t>(memory_row) * width;
  }
};

template <class T>
struct FullCoverage;
template <>
struct FullCoverage<unsigned char> {
  static constexpr unsigned char kValue = 255;
};
template <>
struct FullCoverage<short> {
  static constexpr short kValue = 16384;
};
template <>
struct FullCoverage<float> {
  static constexpr float kValue = 1.0f;
};

// Hard fill of rows box.yMin .. box.yMax-1: every pixel whose centre lies inside
// is set to the full value, all others keep theirs. `poll` runs before each
// row; a non-zero answer stops with finished rows kept.
template <class T>
void scan_fill(CFillContext& context, QvLong num_points, const FillBox& box, bool winding,
               const PixelRows<T>& raster, PollFunction poll);

struct AAFillParams {
  QvLong super_sampling = 4;  // 4 or 8
  QvLong radius = 0;          // already clamped to 0 .. super_sampling
  double opacity = 1.0;
  bool winding = true;
};

// Anti-aliased fill of a polygon whose points are in sub-sample units; `box` is
// in whole pixels. Allocates the mask rows into the context.
template <class T>
void aa_fill(CFillContext& context, QvLong num_points, const FillBox& box,
             const AAFillParams& params, const PixelRows<T>& raster, PollFunction poll);

// The two load-time tables of the anti-aliased fill.
// BitCountTable[m] is the number of set bits of m; CoverageByteTable[m] is the
// byte coverage of a 4 by 4 mask m, popcount(m)*255/16 rounded.
extern const std::array<unsigned char, 65536> BitCountTable;
extern const std::array<unsigned char, 65536> CoverageByteTable;

// The fixed-point scales of the byte and short stores for a box of n
// sub-samples at the given opacity.
std::int32_t aa_byte_scale(double opacity, QvLong n);
std::int32_t aa_short_scale(double opacity, QvLong n);

// Soft fill. The kernel's half width n follows from the total offset; it is at
// least 1. An offset too large for the buffers to exist fails as an
// allocation would.
QvLong soft_fill_half_width(double total_offset);

// Allocates and zeroes kernel, kernelTail (2n+1 each), the part of the plane
// that the spans of `box` reach, and the column of height+2n doubles.
void allocate_soft_buffers(CFillContext& context, QvLong n, const FillBox& box, QvLong height);

// kernel[n] = profile(0), kernel[n +- i] = profile(i/(n+0.5)); normalised to a
// sum of 1, with the tail sums kernelTail[j] = kernel[j] + ... + kernel[2n].
template <class Profile>
void build_soft_kernel(CFillContext& context, QvLong n, Profile&& profile) {
  double* kernel = context.kernel;
  kernel[n] = profile(0.0);
  for (QvLong i = 1; i <= n; ++i) {
    const double v = profile(static_cast<double>(i) * (1.0 / (static_cast<double>(n) + 0.5)));
    kernel[n + i] = v;
    kernel[n - i] = v;
  }
  double total = 0.0;
  for (QvLong j = 0; j <= 2 * n; ++j) total += kernel[j];
  const double inverse = 1.0 / total;
  for (QvLong j = 0; j <= 2 * n; ++j) kernel[j] *= inverse;
  double* tail = context.kernelTail;
  tail[2 * n] = kernel[2 * n];
  for (QvLong j = 2 * n - 1; j >= 0; --j) tail[j] = tail[j + 1] + kernel[j];
}

// The two passes of the soft fill: rows of hard spans convolved into the plane,
// then columns of the plane into the raster, which is rewritten whole. Returns
// false when `poll` stopped it (the raster is untouched if it stopped during
// the first pass, and holds the finished columns if during the second).
template <class T>
bool soft_fill(CFillContext& context, QvLong num_points, const FillBox& box, bool winding, QvLong n,
               double opacity, const PixelRows<T>& raster, PollFunction poll);

// Multiplies the soft image `d` by the anti-aliased coverage `m`, pixel by pixel.
template <class T>
void mask_by_coverage(T* d, const T* m, std::size_t count) noexcept;

}  // namespace qv::internal

#endif  // QV_RASTER_FILL_INTERNAL_H
