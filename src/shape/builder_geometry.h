#ifndef QV_SHAPE_BUILDER_GEOMETRY_H
#define QV_SHAPE_BUILDER_GEOMETRY_H

#include <qv/QvArray.h>
#include <qv/QvPoint.h>
#include <qv/QvTypes.h>

class QvBezierTool;
class QvPath2f;

namespace qv::internal {

// One walk never places more samples than this. A stretch that would need more (a sample
// spacing far below the size of the coordinates) gets none, and the carry starts again at 0:
// that many samples resolve nothing, and placing them would not end.
constexpr double kMaxSamplesPerWalk = 4194304.0;

// Spreads samples spacing apart along points[first..last], appending them to out, and returns
// the polyline's length. carry is the arc length already run since the previous sample, and
// comes back as the length run past the last one. With flush, a tail longer than a tenth of the
// spacing ends on the polyline's last point. With positions, each sample's arc length from
// points[first] goes there too. points must hold last + 1 points; out must not be the polyline.
// A polyline of non-finite length places nothing and leaves a carry of 0.
double walk_samples(const QvPoint2<float>* points, QvULong first, QvULong last, double spacing,
                    double& carry, QvPoint2fArray& out, bool flush,
                    QvDoubleArray* positions = nullptr);

// In place over points[first + 1 .. size - 2], each point against its neighbours as they stood
// before the pass; a move smaller than smallest against the smoothed predecessor is not made.
// values, when given, lie beside points, and a point that moves takes its value along by the
// same weights, so that a value stays with the stretch of stroke it was measured on.
void smooth_trailing(QvPoint2fArray& points, QvULong first, double smallest,
                     double* values = nullptr);
// The same over points[first + 1 .. last - 1]; last must be below the array's size.
void smooth_range(QvPoint2fArray& points, QvULong first, QvULong last, double smallest,
                  double* values = nullptr);

// Cumulative arc length of points: lengths keeps its first from + 1 entries (a single 0 when it
// was shorter) and gets one more for each point after from. Steps are measured as the walker
// measures them, so a walk over the same points ends on the same length.
void measure_lengths(const QvPoint2fArray& points, QvULong from, QvDoubleArray& lengths);

// For each of count arc lengths at[k], in rising order, appends to out the value interpolated
// linearly between the samples first..last (lengths and values indexed alike, lengths rising).
// Lengths before the first sample or beyond the last take that end's value.
void values_at_lengths(const double* lengths, const double* values, QvULong first, QvULong last,
                       const double* at, QvULong count, QvDoubleArray& out);

// The part of path from index n on as one polyline into out (chopped first): it starts at the
// point where that part joins the path (n itself when n is the subpath's first point
// firstPathIndex, else n - 1), and each segment after it is flattened at tolerance.
void flatten_path_from(QvPath2f& path, QvULong n, QvULong firstPathIndex, double tolerance,
                       QvBezierTool& tool, QvPoint2fArray& out);

// The thinning of the linear builders: p joins the pending point, replaces it, or is dropped.
// A run of points along one line keeps only its ends: the newest point waits as pending, and
// moves forward while the stroke stays within half of tolerance of the line and keeps going the
// same way. With values (beside inputs), the run must also keep its values within
// valueTolerance of a line over its arc length, slope set by the run's first step; a value that
// leaves it ends the run as a turn does. pendingValue and slope are used only with values.
struct LinearThinning {
  QvPoint2<float>& direction;
  QvPoint2<float>& pending;
  QvLong& hasPending;
  double* pendingValue;
  double* slope;
};
void linear_add_input(QvPoint2fArray& inputs, QvDoubleArray* values, LinearThinning thinning,
                      const QvPoint2<float>& p, double value, bool force, double smallest,
                      double tolerance, double valueTolerance);

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
