#include <qv/QvBezierTool.h>

#include "bezier/fit_core.h"

using qv::internal::EndCondition;
using qv::internal::FitProblem;
using qv::internal::FitSolution;

namespace {

constexpr QvULong kFitFlatCapacity = 128;

bool valid_range(QvULong points_size, QvULong lengths_size, QvULong first, QvULong last) {
  return first < last && last < points_size && last < lengths_size;
}

// The one-curve fits: no split, and the candidate is checked against the samples by equal arc
// length after flattening at half the tolerance, so that the flattening itself uses up little of
// it.
QvLong single_curve_fit(QvBezierTool& tool, const QvPoint2fArray& points,
                        const QvDoubleArray& lengths, QvULong first, QvULong last,
                        const FitProblem& problem, double tolerance, QvPoint2<float>* out,
                        QvULong& failIndex) {
  const QvULong n = problem.degree;
  const QvULong min_degree =
      problem.start == EndCondition::G1 && problem.end == EndCondition::G1 ? 3 : 2;
  if (out == nullptr || n < min_degree || n > qv::internal::kMaxFitDegree ||
      !valid_range(points.GetSize(), lengths.GetSize(), first, last))
    return 0;
  const FitSolution s = qv::internal::solve_fit(points, lengths, first, last, problem);
  if (!qv::internal::handles_point_inward(problem, s)) {
    failIndex = (first + last) / 2;
    return 0;
  }
  qv::internal::build_float_polygon(points, first, last, problem, s, out);
  QvPoint2fArray flat(kFitFlatCapacity);
  tool.Flatten(out, 0, n, 0.5 * tolerance, &flat, 0);
  QvDoubleArray flat_lengths(kFitFlatCapacity);
  qv::internal::cumulative_lengths(flat, flat_lengths);
  return qv::internal::arc_length_check(flat, flat_lengths, points, lengths, first, last, tolerance,
                                        failIndex)
             ? 1
             : 0;
}

}  // namespace

QvLong QvBezierTool::SingleCurveFitC0C0(const QvPoint2fArray& points, const QvDoubleArray& lengths,
                                        QvULong first, QvULong last, double tolerance,
                                        QvULong degree, QvPoint2<float>* out, QvULong& failIndex) {
  FitProblem problem;
  problem.degree = degree;
  return single_curve_fit(*this, points, lengths, first, last, problem, tolerance, out, failIndex);
}

QvLong QvBezierTool::SingleCurveFitG1C0(const QvPoint2fArray& points, const QvDoubleArray& lengths,
                                        QvULong first, QvULong last,
                                        const QvPoint2<double>& startTangent, double tolerance,
                                        QvULong degree, QvPoint2<float>* out, QvULong& failIndex) {
  FitProblem problem;
  problem.degree = degree;
  problem.start = EndCondition::G1;
  problem.start_tangent = startTangent;
  return single_curve_fit(*this, points, lengths, first, last, problem, tolerance, out, failIndex);
}

QvLong QvBezierTool::SingleCurveFitC0G1(const QvPoint2fArray& points, const QvDoubleArray& lengths,
                                        QvULong first, QvULong last,
                                        const QvPoint2<double>& endTangent, double tolerance,
                                        QvULong degree, QvPoint2<float>* out, QvULong& failIndex) {
  FitProblem problem;
  problem.degree = degree;
  problem.end = EndCondition::G1;
  problem.end_tangent = endTangent;
  return single_curve_fit(*this, points, lengths, first, last, problem, tolerance, out, failIndex);
}

QvLong QvBezierTool::SingleCurveFitG1G1(const QvPoint2fArray& points, const QvDoubleArray& lengths,
                                        QvULong first, QvULong last,
                                        const QvPoint2<double>& startTangent,
                                        const QvPoint2<double>& endTangent, double tolerance,
                                        QvULong degree, QvPoint2<float>* out, QvULong& failIndex) {
  FitProblem problem;
  problem.degree = degree;
  problem.start = EndCondition::G1;
  problem.end = EndCondition::G1;
  problem.start_tangent = startTangent;
  problem.end_tangent = endTangent;
  return single_curve_fit(*this, points, lengths, first, last, problem, tolerance, out, failIndex);
}

QvLong QvBezierTool::SingleCubicFitG1C0(const QvPoint2dArray& points, const QvDoubleArray& lengths,
                                        QvULong first, QvULong last,
                                        const QvPoint2<double>& startTangent, double tolerance,
                                        QvPoint2<double>* out, QvULong& failIndex) {
  if (out == nullptr || !valid_range(points.GetSize(), lengths.GetSize(), first, last)) return 0;
  FitProblem problem;
  problem.degree = 3;
  problem.start = EndCondition::G1;
  problem.start_tangent = startTangent;
  const FitSolution s = qv::internal::solve_fit(points, lengths, first, last, problem);
  if (!qv::internal::handles_point_inward(problem, s)) {
    failIndex = (first + last) / 2;
    return 0;
  }
  const QvPoint2<double>& p0 = points[first];
  out[0] = p0;
  out[1] = QvPoint2<double>(s.a1 * startTangent.x + p0.x, s.a1 * startTangent.y + p0.y);
  out[2] = s.inner[2];
  out[3] = points[last];
  QvPoint2dArray flat(32);
  QvBezierTool_FlattenCubic2d(out, 0.5 * tolerance, &flat, 0);
  QvDoubleArray flat_lengths(32);
  qv::internal::cumulative_lengths(flat, flat_lengths);
  return qv::internal::arc_length_check(flat, flat_lengths, points, lengths, first, last, tolerance,
                                        failIndex)
             ? 1
             : 0;
}

// Unit tangents from the float difference of two neighbours, widened. A difference within 1e-9 of
// zero is returned as it stands.
QvPoint2<double> QvBezierTool::UnitTangentVectorFirst(QvULong i) const {
  const QvPoint2fArray& p = *m_fitPoints;
  QvPoint2<double> t(p[i + 1].x - p[i].x, p[i + 1].y - p[i].y);
  return t.Normalize();
}

QvPoint2<double> QvBezierTool::UnitTangentVectorLast(QvULong i) const {
  const QvPoint2fArray& p = *m_fitPoints;
  QvPoint2<double> t(p[i].x - p[i - 1].x, p[i].y - p[i - 1].y);
  return t.Normalize();
}

QvPoint2<double> QvBezierTool::UnitTangentVectorCenter(QvULong i) const {
  const QvPoint2fArray& p = *m_fitPoints;
  QvPoint2<double> t(p[i + 1].x - p[i - 1].x, p[i + 1].y - p[i - 1].y);
  return t.Normalize();
}
