#include "raster/fill_internal.h"

#include <algorithm>
#include <cstring>

namespace qv::internal {

namespace {

template <class T>
inline void write_span(T* row, std::int64_t left, std::int64_t right) noexcept {
  std::fill(row + left, row + right + 1, FullCoverage<T>::kValue);
}

template <>
inline void write_span<unsigned char>(unsigned char* row, std::int64_t left,
                                      std::int64_t right) noexcept {
  std::memset(row + left, 255, static_cast<std::size_t>(right - left + 1));
}

template <class T, bool kWinding>
void scan_rows(EdgeWalker& walker, const FillBox& box, const PixelRows<T>& raster,
               PollFunction poll) {
  const double x_min = box.xMin;
  const double x_max = box.xMax;
  for (QvLong y = box.yMin; y < box.yMax; ++y) {
    if (poll != nullptr && poll() != 0) return;
    // Row y samples the scan line through its pixel centres, y + 0.5.
    walker.Advance(static_cast<double>(y) - 0.5, static_cast<double>(y) + 0.5);
    T* row = raster.Row(y);
    auto span = [row](std::int64_t left, std::int64_t right) { write_span(row, left, right); };
    if (kWinding)
      walker.WindingSpansAndStep(x_min, x_max, span);
    else
      walker.EvenOddSpansAndStep(x_min, x_max, span);
  }
}

}  // namespace

template <class T>
void scan_fill(CFillContext& context, QvLong num_points, const FillBox& box, bool winding,
               const PixelRows<T>& raster, PollFunction poll) {
  EdgeWalker walker(context, num_points, winding);
  if (winding)
    scan_rows<T, true>(walker, box, raster, poll);
  else
    scan_rows<T, false>(walker, box, raster, poll);
}

template void scan_fill<unsigned char>(CFillContext&, QvLong, const FillBox&, bool,
                                       const PixelRows<unsigned char>&, PollFunction);
template void scan_fill<short>(CFillContext&, QvLong, const FillBox&, bool,
                               const PixelRows<short>&, PollFunction);
template void scan_fill<float>(CFillContext&, QvLong, const FillBox&, bool,
                               const PixelRows<float>&, PollFunction);

}  // namespace qv::internal
