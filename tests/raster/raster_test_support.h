#ifndef QV_TESTS_RASTER_RASTER_TEST_SUPPORT_H
#define QV_TESTS_RASTER_RASTER_TEST_SUPPORT_H

#include <qv/QvRaster.h>

#include <cstddef>
#include <vector>

namespace qv::test {

template <class T>
std::vector<T> pixels_of(const QvRaster<T>& r) {
  return std::vector<T>(r.pixels, r.pixels + static_cast<std::ptrdiff_t>(r.width) * r.height);
}

// Distinct values first, first+1, ... in memory order, so a misplaced pixel shows.
template <class T>
void number_pixels(QvRaster<T>& r, int first) {
  for (QvLong i = 0; i < r.width * r.height; ++i)
    r.pixels[i] = static_cast<T>(first + i);
}

}  // namespace qv::test

#endif  // QV_TESTS_RASTER_RASTER_TEST_SUPPORT_H
