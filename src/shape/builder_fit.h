#ifndef QV_SHAPE_BUILDER_FIT_H
#define QV_SHAPE_BUILDER_FIT_H

#include <qv/QvArray.h>
#include <qv/QvPoint.h>
#include <qv/QvTypes.h>

class QvBezierTool;
class QvGC;
class QvPath2f;

namespace qv::internal {

// The stroke of a fitting builder, borrowed from the builder (with or without a property) for
// the length of one step. values lies beside inputs, or is null.
struct FitStroke {
  const QvGC& gc;
  QvPath2f& path;
  QvPoint2fArray& inputs;
  QvDoubleArray* values;
  QvDoubleArray& lengths;
  QvBoolArray& corners;
  QvBezierTool& tool;
  QvULong consumed;
  QvULong& firstPathIndex;
  QvLong& wantMoveto;
  double maxDistance;
  double minDistance;
  double tolerance;
  QvULong degree;
};

// Least squares weighs samples by their spacing, so a gap between minDistance and maxDistance
// before p is filled with points minDistance apart (values interpolated alike when given); wider
// gaps are left for the chain of cubics, and p within smallest of the last input is dropped.
// A gap that would take more than kMaxFillPoints points is taken as it comes.
constexpr double kMaxFillPoints = 65536.0;
void fit_add_input(QvPoint2fArray& inputs, QvDoubleArray* values, const QvPoint2<float>& p,
                   double value, bool force, double smallest, double minDistance,
                   double maxDistance);

// Settles the inputs from consumed to the last into the path: the Moveto when wanted, corners,
// smoothing, arc lengths, then each stretch as a fitted curve, a control polygon or a chain of
// cubics. With close, the first input is repeated at the end when the stroke has not come back
// to it, and the path is closed.
void fit_settle(FitStroke& stroke, bool close);

}  // namespace qv::internal

#endif
