// Geometry shared by the rectangle and the oval: both are three corners of a
// parallelogram, and everything but drawing reads the same way for both.
#ifndef QV_SRC_SHAPE_RECTOVAL_GEOMETRY_H
#define QV_SRC_SHAPE_RECTOVAL_GEOMETRY_H

#include <qv/QvArray.h>
#include <qv/QvPoint.h>
#include <qv/QvTypes.h>

class QvPath2f;
class QvTransfo4;

namespace qv::internal {

struct Corners {
  QvPoint2<float> a;
  QvPoint2<float> b;
  QvPoint2<float> c;
};

constexpr QvULong kHandleCount = 9;
constexpr QvULong kRectOvalBufferSize = 32;
constexpr QvULong kRectOvalBodyLength = 28;
// Control distance of a quarter circle drawn as one cubic.
constexpr double kQuarterArcKappa = 0.5522847498307935;

// p moved by (dx, dy) in single precision: the corners of a shape given by a
// corner, a width and a height.
inline QvPoint2<float> corner_plus(const QvPoint2<float>& p, float dx, float dy) {
  return QvPoint2<float>(p.x + dx, p.y + dy);
}

// The fourth corner, cornerB + cornerC - cornerA, in single precision.
QvPoint2<float> far_corner(const Corners& k);
// Handle i of 0 .. 8; i must be below 9.
QvPoint2<float> handle_point(const Corners& k, QvULong i);

// Handle queries shared by both corner shapes: the box of the parallelogram, the handles copied out
// (clipped to the handle count), the first handle in a square of side `size` around a point, and
// the handles inside an extent (appended, count returned).
QvExtent2<double> corners_extent_d(const Corners& k);
QvExtent2<float> corners_extent_f(const Corners& k);
template <class P> void copy_handles(const Corners& k, QvULong first, QvULong last, P* out);
QvLong find_close_handle(const Corners& k, const QvPoint2<float>& point, double size, QvULong* index);
QvULong handles_in_extent(const Corners& k, const QvExtent2<float>& extent, QvULongArray* indices);
// ((h + 3) & 7) + 1: the handle across the centre from h.
inline QvULong opposite_handle(QvULong h) { return ((h + 3) & 7) + 1; }

// Length of b - a in double.
double side_length(const QvPoint2<float>& a, const QvPoint2<float>& b);
// cornerB (or cornerC) moved along its side from cornerA to the given length.
QvPoint2<float> side_with_length(const QvPoint2<float>& a, const QvPoint2<float>& end,
                                 double length);

void map_corners(const QvTransfo4& transform, Corners& k);

// Outlines appended to path: four lines, or four quarter-arc cubics through
// the odd handles, each closed.
void append_rect_outline(const Corners& k, QvPath2f& path);
void append_oval_outline(const Corners& k, QvPath2f& path);

// Buffer bodies of both kinds. The writer fills 32 bytes; the reader checks
// the length word and the kind and leaves k untouched on refusal.
void write_corners(const Corners& k, QvLong kind, unsigned char* out);
QvULong read_corners(const void* body, QvLong kind, Corners& k);

// The scaled corners for a handle drag, anchor fixed. Returns false when the
// handle stands on the anchor: the caller skews instead.
bool scale_corners(const Corners& k, QvULong handle, const QvPoint2<float>& target,
                   const QvPoint2<float>& anchor, Corners& out);
// Moves the corners that belong to the handle by target minus the handle.
void skew_corners(Corners& k, QvULong handle, const QvPoint2<float>& target);

}  // namespace qv::internal

#endif  // QV_SRC_SHAPE_RECTOVAL_GEOMETRY_H
