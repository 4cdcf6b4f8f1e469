#ifndef QV_SRC_FCURVE_MOVER_COMMON_H
#define QV_SRC_FCURVE_MOVER_COMMON_H

#include <qv/QvBaseFCurve.h>
#include <qv/QvPoint.h>

// Pieces shared by the drag objects of the curve editor.
namespace qv::internal {

// Closest that a dragged key or edge may come to a key it must not pass, or to the anchor.
constexpr double kMoverMargin = 0.001;
// A limit at or below this is no limit: hosts pass the most negative float for "unbounded".
constexpr double kFloatLowest = -3.4028234663852886e38;

// Whether the drag objects know how to move keys of this kind.
bool mover_supports_kind(QvLong kind);

// Grows `box` to hold `p`; an empty box becomes the point. A box of everything stays so.
void box_add(QvExtent2<double>& box, const QvPoint2<double>& p);
void box_add(QvExtent2<double>& box, const QvExtent2<double>& other);

// Angle in degrees, in [0, 360), that turns `a` onto `b` counter-clockwise. 0 when either vector
// is within 1e-7 of zero on both axes; an angle within 1e-9 of a full turn is 0.
double angle_between(const QvPoint2<double>& a, const QvPoint2<double>& b);

// `v` turned counter-clockwise by `degrees`.
QvPoint2<double> rotate_degrees(const QvPoint2<double>& v, double degrees);

// The left handle of the key at x3 may reach no further left than the value returned, for the
// segment x0, x1 (previous key and its right handle), x2 (the handle), x3 (the key) to stay
// invertible. False when the polynomial has no limit (negative q or discriminant).
bool left_handle_x_limit(double x0, double x1, double x3, double& limit);

}  // namespace qv::internal

#endif
