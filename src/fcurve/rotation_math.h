#ifndef QV_SRC_FCURVE_ROTATION_MATH_H
#define QV_SRC_FCURVE_ROTATION_MATH_H

#include <qv/QvQuatFCurve.h>
#include <qv/QvTypes.h>

#include <vector>

// The quaternion arithmetic under the rotation curve, on plain (w, x, y, z) records. Products are
// Hamilton products, evaluated left to right: stored documents were evaluated so.
namespace qv::internal {

struct Quat {
  double w;
  double x;
  double y;
  double z;
};

constexpr double kRadiansToDegrees = 57.29577951308232;
constexpr double kDegreesToRadians = 0.017453292519943295;

Quat quat_mul(const Quat& a, const Quat& b);
// The conjugate: the inverse of a unit quaternion.
Quat quat_inverse(const Quat& q);
double quat_dot(const Quat& a, const Quat& b);
// Rotation vector of a unit quaternion; w is left as it was and is never read.
Quat quat_log(const Quat& q);
// Unit quaternion of a rotation vector (its w is not read).
Quat quat_exp(const Quat& v);
// From s = 0 at a to s = 1 at b along the shorter arc, going on beyond both ends.
Quat quat_slerp(const Quat& a, const Quat& b, double s);
// Through QvQuat: normalised.
Quat quat_from_euler(const QvPoint3<double>& euler);
QvPoint3<double> quat_to_euler(const Quat& q, const QvPoint3<double>& hint);

// One span between two keys of the cumulative cubic:
//   q(u) = start exp(b1 omega1) exp(b2 omega2) exp(b3 omega3),
//   b1 = 1 - (1 - u)^3, b2 = 3 u^2 - 2 u^3, b3 = u^3,
// so that q(0) = start, q(1) = end, and omega1 and omega3 are a third of the end tangents.
struct QuatSegment {
  Quat start;
  Quat omega1;
  Quat omega3;
  Quat end;
  Quat omega2;
  double timeStart;
  double timeEnd;
  double inverseDuration;
};

struct QuatSegmentTable {
  QvULong count = 0;
  std::vector<QuatSegment> segments;
  QvLong extrapolation = 1;
};

// Needs at least two keys. May throw std::bad_alloc.
QuatSegmentTable build_segment_table(const std::vector<QvQuatKey>& keys, QvLong extrapolation);

Quat eval_segment(const QuatSegment& segment, double u);

// Where t falls: the segment, and u on it (0 before the keys, 1 after them).
struct SegmentPosition {
  QvULong index;
  double u;
};
SegmentPosition locate_segment(const QuatSegmentTable& table, double t);

// The rotation at t with the table's extrapolation outside the keys.
Quat eval_table(const QuatSegmentTable& table, double t);

// Folds t into [first, last] by the remainder of its distance to the range, for the cycling
// methods; t itself inside the range.
double fold_cycle(double t, double first, double last);

}  // namespace qv::internal

#endif
