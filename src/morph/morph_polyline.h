#ifndef QV_MORPH_MORPH_POLYLINE_H
#define QV_MORPH_MORPH_POLYLINE_H

#include <qv/QvArray.h>
#include <qv/QvTypes.h>

#include <vector>

// Polyline steps shared by the morphs: measuring, resampling to equal steps,
// blending and the heading walk. Positions stay in single precision with the
// rounding points fixed here, so that a morph gives the same bytes on every
// build.
namespace qv::internal {

// Largest step count a morph will resample to; a tiny or broken feature size
// would otherwise ask for more points than memory holds.
constexpr QvULong kMaxMorphSteps = 1u << 22;

// cum is resized to the point count: cum[0] = 0, cum[i] adds the guarded
// length of step i. Returns the total, 0 for fewer than two points.
double morph_measure(const QvPoint2fArray& polyline, std::vector<double>& cum);

// Appends n + 1 points equally spaced in arc length to out, the first and
// last being the polyline's own. A polyline of no length gives its first point
// n + 1 times. polyline must hold at least one point; n at least 1.
void morph_resample(const QvPoint2fArray& polyline, const std::vector<double>& cum, QvULong n,
                    QvPoint2fArray& out);

// Steps for two lengths at step size S: ceil(max / S), at least 1, at most
// kMaxMorphSteps.
QvULong morph_step_count(double length_a, double length_b, double step);

// out receives count points blended from a + first_a and b + first_b:
// a's exactly at t within 1e-9 of 0, b's at t within 1e-15 of 1, and
// otherwise each axis (float)(a (1 - t)) + (float)(b t).
void morph_lerp(const QvPoint2fArray& a, QvULong first_a, const QvPoint2fArray& b,
                QvULong first_b, QvULong count, double t, QvPoint2fArray& out);

// Heading of (x, y) in [0, 2 pi), through the better-conditioned of asin and
// acos in each quadrant. A zero vector gives NaN.
double morph_heading(double x, double y);

// The turtle in-between of two polylines of equal point count and equal
// steps: blended start, blended first-step length, blended headings. out is
// replaced.
void morph_turtle_walk(const QvPoint2fArray& a, const QvPoint2fArray& b, double t,
                       QvPoint2fArray& out);

}  // namespace qv::internal

#endif  // QV_MORPH_MORPH_POLYLINE_H
