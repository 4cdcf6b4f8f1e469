#ifndef QV_SRC_FCURVE_EDIT_OPS_H
#define QV_SRC_FCURVE_EDIT_OPS_H

#include "fcurve/QvStdFCurveImpl.h"

#include <vector>

// Editing steps on the body of a standard curve. They assume the curve's lock, do no read-only or
// lock tests of their own unless they say so, and keep every segment invertible: the x of the
// cubic of the stored handles rises monotonically. Whole-curve operations build on them.
namespace qv::internal {

using Point2d = QvPoint2<double>;

// Handles are written only through these two. Under the default Bezier tangent constraint a
// handle keeps only its slope and sits one third of the way to the neighbouring key.
Point2d left_handle_to_store(const QvStdFCurveImpl& body, QvULong i, const Point2d& h);
Point2d right_handle_to_store(const QvStdFCurveImpl& body, QvULong i, const Point2d& h);
void store_left_handle(QvStdFCurveImpl& body, QvULong i, const Point2d& h);
void store_right_handle(QvStdFCurveImpl& body, QvULong i, const Point2d& h);

// Brings p1 and p2 back to a cubic whose x rises: first clamped into the span, then shortened by
// factors of 0.9, and at last laid along their directions at a third of the span.
void repair_cubic(const Point2d& p0, Point2d& p1, Point2d& p2, const Point2d& p3);

// Whether the segment from key i to key i + 1 passes the validity test with its stored handles,
// or with `right` and `left` in their place.
bool segment_valid(const QvStdFCurveImpl& body, QvULong i);
bool segment_valid_with(const QvStdFCurveImpl& body, QvULong i, const Point2d& right,
                        const Point2d& left);
// Repairs every segment of [first, last] that fails the validity test; indices beyond the keys
// are ignored.
void repair_segments(QvStdFCurveImpl& body, QvULong first, QvULong last);

// The handle to store for a request in curve coordinates, shortened towards the key by factors of
// 0.99 until its segment is valid and the handle lies inside the segment's span. False when 1022
// shortenings do not help; `stored` is then unspecified.
bool fit_left_handle(const QvStdFCurveImpl& body, QvULong i, const Point2d& requested,
                     Point2d& stored);
bool fit_right_handle(const QvStdFCurveImpl& body, QvULong i, const Point2d& requested,
                      Point2d& stored);

// Whether the evaluated tangents of key i are collinear (or mirrored, under the mirror flag).
bool tangents_continuous(const QvStdFCurveImpl& body, QvULong i);
// propagate_left turns the right handle of key i to the direction of its left tangent, negated
// (mirrored across the vertical under mirror continuity), keeping the right handle's length;
// propagate_right does the same the other way round. Handles of zero length, on either side,
// are left alone, and so is one that no shortening makes valid.
void propagate_left(QvStdFCurveImpl& body, QvULong i);
void propagate_right(QvStdFCurveImpl& body, QvULong i);

// Stores evaluated handles as the key's own. Which sides: left, right or both.
void freeze_left(QvStdFCurveImpl& body, QvULong i);
void freeze_right(QvStdFCurveImpl& body, QvULong i);

// Sets both values of key i, each handle riding along with the change of its side. On a
// value-locked key a side keeps its value unless the new one is within 1e-15 of it.
void set_both_values(QvStdFCurveImpl& body, QvULong i, double value);

// Inserts a key, or sets the values of the key already at x. Kinds of 0 inherit from the
// neighbouring key. False, with nothing changed, on a value-locked key at x. `x` must be finite
// and the kinds 0 to 3. May throw std::bad_alloc before anything changes.
bool create_key(QvStdFCurveImpl& body, double x, double y, QvBaseFCurve::FSKind left,
                QvBaseFCurve::FSKind right);
// The between-keys case of create_key: splits the segment from key i at x so that the shape of
// the cubic of its stored handles stays.
bool insert_between(QvStdFCurveImpl& body, QvULong i, double x, double y,
                    QvBaseFCurve::FSKind left, QvBaseFCurve::FSKind right);

// Removes keys [first, end) and re-forms what remains; a kind of 0 inherits. The parameters of
// the removed keys are appended to `removed` so that the caller can drop their user data.
void remove_keys(QvStdFCurveImpl& body, QvULong first, QvULong end, QvBaseFCurve::FSKind kind,
                 std::vector<double>& removed);

// Changes the kind of the segment that leaves key i; a cubic gets straight handles when its stored
// ones would not be valid.
void change_segment_kind(QvStdFCurveImpl& body, QvULong i, QvBaseFCurve::FSKind kind);

// The value at x with the snap of evaluation and constant extrapolation, whatever the curve's own
// method; valueWhenNoKeys for an empty curve.
double value_with_constant_extrapolation(const QvStdFCurveImpl& body, double x);

inline bool is_kind(QvLong kind) { return kind >= 1 && kind <= 3; }
inline bool is_kind_or_inherit(QvLong kind) { return kind >= 0 && kind <= 3; }

}  // namespace qv::internal

#endif
