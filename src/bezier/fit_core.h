#ifndef QV_BEZIER_FIT_CORE_H
#define QV_BEZIER_FIT_CORE_H

// The least-squares step of the curve fitter, shared by the one-curve forms and the recursive fit
// of a stretch. The parameter of each sample is its chord-length fraction, fixed once: there is no
// reparameterisation.

#include <qv/QvArray.h>
#include <qv/QvPoint.h>
#include <qv/QvTypes.h>

namespace qv::internal {

constexpr QvULong kMaxFitDegree = 8;
// 2n - 2 unknowns at most, for the free inner points of a degree-8 curve.
constexpr int kMaxFitUnknowns = 2 * static_cast<int>(kMaxFitDegree) - 2;

// What ties the end control points of a fitted curve: C0 fixes only the end point, G1 also the
// direction of its handle, leaving the handle's length to the fit.
enum class EndCondition { C0, G1 };

struct FitProblem {
  QvULong degree = 3;
  EndCondition start = EndCondition::C0;
  EndCondition end = EndCondition::C0;
  QvPoint2<double> start_tangent;
  QvPoint2<double> end_tangent;
};

// The solved unknowns: the handle lengths a1 and a2 of G1 ends along their tangents, and the free
// inner control points. In the system they stand as a1, then a2 when both ends are G1, then the
// free points' x, then their y, then a2 when only the end is G1.
struct FitSolution {
  double a1 = 0.0;
  double a2 = 0.0;
  QvPoint2<double> inner[kMaxFitDegree + 1];  // inner[j] for the free control points j
};

// Gauss-Jordan elimination with full pivoting, in place, on the n x n matrix a (row stride
// kMaxFitUnknowns) and the right-hand side b. A pivot at or below 1e-9 in magnitude ends the
// elimination at once, leaving b as it stands. Returns false in that case.
bool gauss_jordan(double (*a)[kMaxFitUnknowns], double* b, int n);

// Least-squares fit of points[first..last] (lengths indexed like points) with the control points
// P[first] and P[last] at the ends.
FitSolution solve_fit(const QvPoint2fArray& points, const QvDoubleArray& lengths, QvULong first,
                      QvULong last, const FitProblem& problem);
FitSolution solve_fit(const QvPoint2dArray& points, const QvDoubleArray& lengths, QvULong first,
                      QvULong last, const FitProblem& problem);

// The candidate in single precision: out receives degree + 1 control points.
void build_float_polygon(const QvPoint2fArray& points, QvULong first, QvULong last,
                         const FitProblem& problem, const FitSolution& s, QvPoint2<float>* out);

// The handles must point into the curve: forward from the start, backward from the end.
bool handles_point_inward(const FitProblem& problem, const FitSolution& s);

// Cumulative lengths of a polyline, from 0.
void cumulative_lengths(const QvPoint2fArray& points, QvDoubleArray& lengths);
void cumulative_lengths(const QvPoint2dArray& points, QvDoubleArray& lengths);

// Walks the candidate's polyline and the samples first + 1 to last - 1 by equal arc length and
// compares each sample with the point at its distance along the polyline. Returns false and stores
// the first sample farther than tolerance in fail_index.
bool arc_length_check(const QvPoint2fArray& flat, const QvDoubleArray& flat_lengths,
                      const QvPoint2fArray& points, const QvDoubleArray& lengths, QvULong first,
                      QvULong last, double tolerance, QvULong& fail_index);
bool arc_length_check(const QvPoint2dArray& flat, const QvDoubleArray& flat_lengths,
                      const QvPoint2dArray& points, const QvDoubleArray& lengths, QvULong first,
                      QvULong last, double tolerance, QvULong& fail_index);

}  // namespace qv::internal

#endif
