#ifndef QV_SHAPE_BUILDER_GEOMETRY_H
#define QV_SHAPE_BUILDER_GEOMETRY_H

#include <qv/QvArray.h>
#include <qv/QvPoint.h>
#include <qv/QvTypes.h>

namespace qv::internal {

// Spreads samples spacing apart along points[first..last], appending them to out. carry is the
// arc length already run since the previous sample, and comes back as the length run past the
// last one. With flush, a tail longer than a tenth of the spacing ends on the polyline's last
// point. points must hold last + 1 points; out must not be the polyline.
void walk_samples(const QvPoint2<float>* points, QvULong first, QvULong last, double spacing,
                  double& carry, QvPoint2fArray& out, bool flush);

// In place over points[first + 1 .. size - 2], each point against its neighbours as they stood
// before the pass; a move smaller than smallest against the smoothed predecessor is not made.
void smooth_trailing(QvPoint2fArray& points, QvULong first, double smallest);
// The same over points[first + 1 .. last - 1]; last must be below the array's size.
void smooth_range(QvPoint2fArray& points, QvULong first, QvULong last, double smallest);

// Unit tangent of the samples at index i; zero beyond the last index. Near-zero vectors come back
// as they are.
QvPoint2<float> estimate_tangent(const QvPoint2fArray& points, QvULong i, bool at_start, bool at_end,
                                 bool chord_only);

// Tangent of the circle through a, b, c at a (position 0), b (1) or c (2), running from a to c;
// not scaled.
QvPoint2<float> circle_tangent(const QvPoint2<float>& a, const QvPoint2<float>& b,
                               const QvPoint2<float>& c, int position);

// Both axes within tol of each other.
inline bool within(const QvPoint2<float>& a, const QvPoint2<float>& b, double tol) {
  return !(static_cast<double>(a.x) - b.x > tol || static_cast<double>(b.x) - a.x > tol ||
           static_cast<double>(a.y) - b.y > tol || static_cast<double>(b.y) - a.y > tol);
}

inline QvPoint2<float> diff(const QvPoint2<float>& a, const QvPoint2<float>& b) {
  return QvPoint2<float>(a.x - b.x, a.y - b.y);
}

}  // namespace qv::internal

#endif
