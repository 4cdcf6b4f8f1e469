// Soft fill as a separable convolution of the hard fill.
//
// The first pass convolves each row's spans with the kernel into a plane that
// has a margin of n on every side. Within a span the sum of kernel entries that
// fall inside it is a difference of two tail sums, so a span costs one
// operation a pixel whatever the kernel's length; where the whole kernel lies
// inside, exactly 1.0 is stored. The second pass walks each column of the
// plane: runs of values at or above 1.0 are spans again and take the tail sums,
// zeros are skipped, and only the edge zones in between pay the full kernel.
#include "raster/fill_internal.h"

#include <algorithm>
#include <limits>
#include <new>

namespace qv::internal {

namespace {

// Adds the convolution of the unit span [first, last] with the kernel into
// out[u] for u from lo to hi, u and the span in the same index space.
inline void add_span(double* out, std::int64_t first, std::int64_t last, std::int64_t lo,
                     std::int64_t hi, std::int64_t n, const double* tail) noexcept {
  const std::int64_t two_n = 2 * n;
  for (std::int64_t u = lo; u <= hi; ++u) {
    const std::int64_t a = u - n;
    std::int64_t k0 = first - a;
    if (k0 <= 0) k0 = 0;
    const std::int64_t k1 = std::min(u + n, last) - a;
    if (k0 == 0 && k1 == two_n)
      out[u] = 1.0;
    else if (k1 == two_n)
      out[u] += tail[k0];
    else
      out[u] += tail[k0] - tail[k1 + 1];
  }
}

std::int64_t truncate_saturated(double v) noexcept {
  if (!(v == v)) return 0;
  if (v <= -9.2e18) return std::numeric_limits<std::int64_t>::min();
  if (v >= 9.2e18) return std::numeric_limits<std::int64_t>::max();
  return static_cast<std::int64_t>(v);
}

template <class T>
T store(double c) noexcept;
template <>
unsigned char store<unsigned char>(double c) noexcept {
  return static_cast<unsigned char>(truncate_saturated(c * 255.0 + 0.5) & 0xFF);
}
template <>
short store<short>(double c) noexcept {
  return static_cast<short>(static_cast<std::uint16_t>(truncate_saturated(c * 16384.0 + 0.5) & 0xFFFF));
}
template <>
float store<float>(double c) noexcept {
  return static_cast<float>(c);
}

}  // namespace

QvLong soft_fill_half_width(double total_offset) {
  double n = std::ceil(total_offset - 0.5);
  if (!(n >= 1.0)) n = 1.0;
  if (n > 1.0e8) throw std::bad_alloc();
  return static_cast<QvLong>(n);
}

void allocate_soft_buffers(CFillContext& context, QvLong n, const FillBox& box, QvLong height) {
  const std::size_t kernel_size = 2 * static_cast<std::size_t>(n) + 1;
  const std::size_t band_width =
      static_cast<std::size_t>(std::max(0, box.xMax - box.xMin)) + 2 * static_cast<std::size_t>(n);
  const std::size_t band_height = static_cast<std::size_t>(std::max(0, box.yMax - box.yMin));
  const std::size_t column_size = static_cast<std::size_t>(height) + 2 * static_cast<std::size_t>(n);
  if (band_height != 0 &&
      band_width > std::numeric_limits<std::size_t>::max() / sizeof(double) / band_height)
    throw std::bad_alloc();
  context.kernel = new double[kernel_size]();
  context.kernelTail = new double[kernel_size]();
  context.plane = new double[band_width * band_height]();
  context.column = new double[column_size]();
}

// The plane holds only the band of rows that the first pass writes, yMin to
// yMax-1, and the columns xMin-n to xMax-1+n that its spans reach; everything
// outside it is zero. Indices below are those of the whole plane of
// (width+2n) by (height+2n), whose raster pixel (x, y) is at (x+n, y+n).
template <class T>
bool soft_fill(CFillContext& context, QvLong num_points, const FillBox& box, bool winding, QvLong n,
               double opacity, const PixelRows<T>& raster, PollFunction poll) {
  const std::int64_t n64 = n;
  const std::int64_t band_left = static_cast<std::int64_t>(box.xMin) - n64;  // raster column
  const std::int64_t band_width = std::max<std::int64_t>(0, box.xMax - box.xMin) + 2 * n64;
  const std::int64_t plane_height = static_cast<std::int64_t>(raster.height) + 2 * n64;
  double* band = context.plane;
  const double* kernel = context.kernel;
  const double* tail = context.kernelTail;

  EdgeWalker walker(context, num_points, winding);
  const double x_min = box.xMin;
  const double x_max = box.xMax;
  for (QvLong y = box.yMin; y < box.yMax; ++y) {
    if (poll != nullptr && poll() != 0) return false;
    walker.Advance(static_cast<double>(y) - 0.5, static_cast<double>(y) + 0.5);
    // Indexed by raster column.
    double* row = band + (static_cast<std::int64_t>(y) - box.yMin) * band_width - band_left;
    walker.SpansAndStep(x_min, x_max, [row, n64, tail](std::int64_t left, std::int64_t right) {
      add_span(row, left, right, left - n64, right + n64, n64, tail);
    });
  }

  // Every pixel is written: those whose column or row lies beyond the reach of
  // the kernel take the value of a zero column.
  const T zero = store<T>(0.0 * opacity);
  const std::int64_t band_top = static_cast<std::int64_t>(box.yMin) + n64;  // plane row
  const std::int64_t band_rows = std::max<std::int64_t>(0, box.yMax - box.yMin);
  const std::int64_t reach_first = std::max<std::int64_t>(0, static_cast<std::int64_t>(box.yMin) - n64);
  const std::int64_t reach_last =
      std::min<std::int64_t>(raster.height - 1, static_cast<std::int64_t>(box.yMax) - 1 + n64);
  const std::int64_t reach_left = std::max<std::int64_t>(0, band_left);
  const std::int64_t reach_right =
      band_rows == 0 ? -1 : std::min<std::int64_t>(raster.width - 1, band_left + band_width - 1);
  // Without a poll nobody sees the order of the writes, and the pixels out of
  // reach are written a row at a time instead of down their columns.
  const bool by_columns = poll != nullptr;
  if (!by_columns) {
    for (QvLong y = 0; y < raster.height; ++y) {
      T* row = raster.Row(y);
      if (y < reach_first || y > reach_last || reach_left > reach_right) {
        std::fill(row, row + raster.width, zero);
      } else {
        std::fill(row, row + reach_left, zero);
        std::fill(row + reach_right + 1, row + raster.width, zero);
      }
    }
  }
  double* column = context.column;
  const std::int64_t x_first = by_columns ? 0 : reach_left;
  const std::int64_t x_last = by_columns ? raster.width - 1 : reach_right;
  for (std::int64_t x = x_first; x <= x_last; ++x) {
    if (poll != nullptr && poll() != 0) return false;
    const std::int64_t c = x - band_left;
    if (c < 0 || c >= band_width || band_rows == 0) {
      for (QvLong y = 0; y < raster.height; ++y) raster.Row(y)[x] = zero;
      continue;
    }
    const double* source = band + c;
    for (std::int64_t r = 0; r < band_rows; ++r) {
      const double v = source[r * band_width];
      const std::int64_t i = r + band_top;
      if (v >= 1.0) {
        std::int64_t e = r;
        while (e + 1 < band_rows && source[(e + 1) * band_width] >= 1.0) ++e;
        const std::int64_t last = e + band_top;
        add_span(column, i, last, std::max<std::int64_t>(i - n64, 0),
                 std::min<std::int64_t>(last + n64, plane_height - 1), n64, tail);
        r = e;
      } else if (v <= 0.0) {
        continue;
      } else {
        const std::int64_t j0 = std::max<std::int64_t>(0, n64 - i);
        const std::int64_t j1 = std::min<std::int64_t>(2 * n64, plane_height - 1 - i + n64);
        for (std::int64_t j = j0; j <= j1; ++j) column[i - n64 + j] += v * kernel[j];
      }
    }
    if (by_columns)
      for (std::int64_t y = 0; y < reach_first; ++y) raster.Row(static_cast<QvLong>(y))[x] = zero;
    for (std::int64_t y = reach_first; y <= reach_last; ++y) {
      raster.Row(static_cast<QvLong>(y))[x] = store<T>(column[y + n64] * opacity);
      column[y + n64] = 0.0;
    }
    if (by_columns)
      for (std::int64_t y = reach_last + 1; y < raster.height; ++y)
        raster.Row(static_cast<QvLong>(y))[x] = zero;
    // The run's ends can spill past the raster into the column's margins.
    std::fill(column, column + n64 + reach_first, 0.0);
    std::fill(column + n64 + reach_last + 1, column + plane_height, 0.0);
  }
  return true;
}

template <>
void mask_by_coverage<unsigned char>(unsigned char* d, const unsigned char* m,
                                     std::size_t count) noexcept {
  for (std::size_t k = 0; k < count; ++k) {
    if (m[k] == 0) {
      d[k] = 0;
    } else if (m[k] != 1) {
      const float product = (static_cast<float>(m[k]) * 0.003921569f) *
                            (static_cast<float>(d[k]) * 0.003921569f);
      d[k] = static_cast<unsigned char>(truncate_saturated(product * 255.0 + 0.5) & 0xFF);
    }
  }
}

template <>
void mask_by_coverage<short>(short* d, const short* m, std::size_t count) noexcept {
  for (std::size_t k = 0; k < count; ++k) {
    if (m[k] == 0) {
      d[k] = 0;
    } else if (m[k] != 1) {
      const float fm = std::clamp(static_cast<float>(m[k]) * 6.1035156e-5f, 0.0f, 1.0f);
      const float fd = std::clamp(static_cast<float>(d[k]) * 6.1035156e-5f, 0.0f, 1.0f);
      const float product = fm * fd;
      d[k] = static_cast<short>(
          static_cast<std::uint16_t>(truncate_saturated(product * 16384.0 + 0.5) & 0xFFFF));
    }
  }
}

template <>
void mask_by_coverage<float>(float* d, const float* m, std::size_t count) noexcept {
  for (std::size_t k = 0; k < count; ++k) {
    if (m[k] == 0.0f)
      d[k] = 0.0f;
    else if (m[k] != 1.0f)
      d[k] = d[k] * m[k];
  }
}

template bool soft_fill<unsigned char>(CFillContext&, QvLong, const FillBox&, bool, QvLong, double,
                                       const PixelRows<unsigned char>&, PollFunction);
template bool soft_fill<short>(CFillContext&, QvLong, const FillBox&, bool, QvLong, double,
                               const PixelRows<short>&, PollFunction);
template bool soft_fill<float>(CFillContext&, QvLong, const FillBox&, bool, QvLong, double,
                               const PixelRows<float>&, PollFunction);

}  // namespace qv::internal
