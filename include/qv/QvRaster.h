#ifndef QV_QVRASTER_H
#define QV_QVRASTER_H

#include <qv/QvTypes.h>

// A packed two-dimensional array of one scalar per pixel: the store every
// rasteriser writes and the vectoriser reads.
//
// Rows are packed (`width` is also the row pitch, in pixels) and pixel (x, y)
// of the memory layout is `pixels[y * width + x]`. The fields are public on
// purpose: the rasterisers read and write them directly.
//
// The library exists for T = unsigned char, short, int, unsigned int, float
// and double. The first three, with full coverage 255, 16384 and 1.0, are the
// drawing types served by the rasterisers and by QvRasterConvert; the other
// three are plain stores.
//
// Memory: a raster that owns its block allocates it with std::malloc and
// releases it with std::free (the library's allocator). A block handed over
// with `owns` 1 must therefore come from std::malloc. On allocation failure
// std::bad_alloc propagates; a pixel count that is negative or does not fit in
// 31 bits fails the same way, as std::bad_array_new_length.
template <class T>
class QV_API QvRaster {
 public:
  QvLong width;       // pixels per row, and the row pitch
  QvLong height;      // rows
  T* pixels;          // first pixel of memory row 0
  QvLong ownsPixels;  // non-zero: `pixels` is released by this raster
  QvLong bottomUp;    // non-zero: raster row y is memory row height-1-y

  // Allocates w*h pixels set to `value`.
  QvRaster(QvLong w, QvLong h, T value);
  // Wraps `memory` (packed, at least w*h pixels) and overwrites every pixel
  // with `value`. `owns` is stored as `ownsPixels`: 1 hands the block over
  // (it must come from std::malloc), 0 leaves it with the caller.
  QvRaster(T* memory, QvLong w, QvLong h, QvLong owns, T value);
  // An owning source gives a deep copy; a non-owning one a second view of the
  // same memory, also non-owning.
  QvRaster(QvRaster const& other);
  ~QvRaster();
  // Always copies into a fresh block of the source's size and takes every
  // field of the source, `ownsPixels` included.
  QvRaster& operator=(QvRaster const& other);

  // New size, fresh block (also for an unchanged size), every pixel `value`;
  // the raster owns the new block. `bottomUp` is kept.
  void Reconstruct(QvLong w, QvLong h, T value);
  // 1 when every pixel equals `value` (also for a raster of no pixels), else 0.
  QvLong AllPixelValuesAre(T value) const;
  // Copies `src` with its pixel (0, 0) at memory position (x, y), clipped to
  // this raster. Memory rows on both sides: `bottomUp` is not consulted.
  void CopyRaster(QvLong x, QvLong y, QvRaster const& src);
  // Writes `value` at index y*width+x when the stored pixel is greater.
  void SetValWhenSmaller(QvLong x, QvLong y, T value);
  // Keeps the smaller of this raster and `src` placed at (x, y), clipped;
  // honours the `bottomUp` flags of both rasters.
  void SetValWhenSmaller(QvLong x, QvLong y, QvRaster const& src);
  // Debug dump to std::cout, top memory row first.
  void Print(void) const;

  // Distance transforms over this raster's size. `mask` is read by linear
  // index: 1 marks a seed, 2 a pixel whose squared distance is stored negated.
  void SetToSquaredEuclideanDistanceMap(QvRaster<unsigned char> const& mask);
  void SetToLInfinityDistanceMap(QvRaster<unsigned char> const& mask);
};

extern template class QvRaster<unsigned char>;
extern template class QvRaster<short>;
extern template class QvRaster<int>;
extern template class QvRaster<unsigned int>;
extern template class QvRaster<float>;
extern template class QvRaster<double>;

// Converts `src` into `dst` for D and S among unsigned char, short and float.
// `dst` takes the size of `src` when they differ (a fresh zeroed block that it
// owns); it keeps its own `bottomUp`, and rows are turned over when the two
// flags differ. `dst` and `src` may be the same raster.
template <class D, class S>
QV_API void QvRasterConvert(QvRaster<D>& dst, QvRaster<S> const& src);

extern template QV_API void QvRasterConvert(QvRaster<unsigned char>&, QvRaster<unsigned char> const&);
extern template QV_API void QvRasterConvert(QvRaster<unsigned char>&, QvRaster<short> const&);
extern template QV_API void QvRasterConvert(QvRaster<unsigned char>&, QvRaster<float> const&);
extern template QV_API void QvRasterConvert(QvRaster<short>&, QvRaster<unsigned char> const&);
extern template QV_API void QvRasterConvert(QvRaster<short>&, QvRaster<short> const&);
extern template QV_API void QvRasterConvert(QvRaster<short>&, QvRaster<float> const&);
extern template QV_API void QvRasterConvert(QvRaster<float>&, QvRaster<unsigned char> const&);
extern template QV_API void QvRasterConvert(QvRaster<float>&, QvRaster<short> const&);
extern template QV_API void QvRasterConvert(QvRaster<float>&, QvRaster<float> const&);

#endif  // QV_QVRASTER_H
