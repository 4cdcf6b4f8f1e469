// The rasterisers of the parametric shapes. All of them sample pixel centres:
// a pixel whose centre (x + 0.5, y + 0.5) lies in the shape is written, and no
// other pixel is touched. Centres on the boundary count as inside, except on
// the row through the shape's largest y, which the path fill leaves out
// too. Corners arrive in raster
// space. Rows honour the raster's bottomUp flag as the path fills do.
#ifndef QV_SRC_SHAPE_RECTOVAL_RASTER_H
#define QV_SRC_SHAPE_RECTOVAL_RASTER_H

#include <qv/QvArray.h>
#include <qv/QvPoint.h>
#include <qv/QvRaster.h>
#include <qv/QvTypes.h>

#include "shape/rectoval_geometry.h"

class QvGC;

namespace qv::internal {

template <class T>
QvExtent2<float> raster_box(const QvRaster<T>& raster) {
  QvExtent2<float> extent;
  const float w = static_cast<float>(raster.width);
  const float h = static_cast<float>(raster.height);
  extent.min = QvPoint2<float>(w < 0.0f ? w : 0.0f, h < 0.0f ? h : 0.0f);
  extent.max = QvPoint2<float>(w > 0.0f ? w : 0.0f, h > 0.0f ? h : 0.0f);
  extent.state = QvExtentStates::ExtentBounded;
  return extent;
}

// Full coverage of each pixel type: 255, 16384, 1.0.
template <class T> T full_value();

template <class T>
void fill_parallelogram(QvRaster<T>& raster, const Corners& k);

// Writes into params, for each pixel centre in the parallelogram, the
// distance from the centre in the max-norm of the side coordinates, scaled so
// that the boundary reads radius: concentric parallelograms of equal value.
void fill_parallelogram_parameter(QvRaster<float>& params, const Corners& k, double radius);

// The ellipse inscribed in the parallelogram, by the path that suits its
// shape: rows of an axis-aligned ellipse solved directly, thin ellipses lying
// along x scanned in columns through a transposed raster, and every other one
// solved row by row from its conjugate half-axes.
template <class T>
void fill_oval(QvRaster<T>& raster, const Corners& k);

// The three paths of fill_oval, for tests.
template <class T>
void fill_ellipse_direct(QvRaster<T>& raster, const Corners& k);
template <class T>
void fill_ellipse_affine(QvRaster<T>& raster, const Corners& k);
template <class T>
void fill_ellipse_transposed(QvRaster<T>& raster, const Corners& k);

// The gradient curve as a polyline of (parameter, value), looked up by
// parameter with linear interpolation.
class GradientTable {
 public:
  explicit GradientTable(const QvGC& gc);
  bool Empty() const { return m_points.size == 0; }
  double Lookup(double parameter) const;

 private:
  QvPoint2dArray m_points;
};

// Stores a looked-up value clamped to 0 .. 1 at the type's scale.
template <class T> T radial_value(double value);

template <class T>
void radial_fill_oval(const QvGC& gc, QvRaster<T>& raster, const Corners& mapped);
template <class T>
void radial_fill_rect(const QvGC& gc, QvRaster<T>& raster, const Corners& mapped);

}  // namespace qv::internal

#endif  // QV_SRC_SHAPE_RECTOVAL_RASTER_H
