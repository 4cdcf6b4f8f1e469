#include <qv/QvBezierTool.h>
#include <qv/QvPath2f.h>

#include "bezier/fit_core.h"

using qv::internal::EndCondition;
using qv::internal::FitProblem;
using qv::internal::FitSolution;

namespace {

constexpr QvULong kFitFlatCapacity = 128;

// Drops exact repeats, which would have no direction: a sample goes when both of its coordinates
// lie within 1e-15 of the sample before it in the input.
void clean_samples(const QvPoint2fArray& in, QvPoint2fArray& out) {
  const QvULong size = in.GetSize();
  for (QvULong i = 0; i < size; ++i) {
    if (i > 0) {
      const float dx = in[i].x - in[i - 1].x;
      const float dy = in[i].y - in[i - 1].y;
      if (-1e-15f <= dx && dx <= 1e-15f && -1e-15f <= dy && dy <= 1e-15f) continue;
    }
    out.Add(in[i]);
  }
}

// A corner turns by more than a right angle, and by more than the angle whose squared cosine is
// corner_cos_squared.
bool is_corner(const QvPoint2fArray& p, QvULong i, double corner_cos_squared) {
  const double ax = static_cast<double>(p[i].x) - static_cast<double>(p[i - 1].x);
  const double ay = static_cast<double>(p[i].y) - static_cast<double>(p[i - 1].y);
  const double bx = static_cast<double>(p[i + 1].x) - static_cast<double>(p[i].x);
  const double by = static_cast<double>(p[i + 1].y) - static_cast<double>(p[i].y);
  const double d = ax * bx + ay * by;
  return d < 0.0 && d * d > (ax * ax + ay * ay) * (bx * bx + by * by) * corner_cos_squared;
}

}  // namespace

QvULong QvBezierTool::OpenFit(const QvPoint2fArray& points, double cornerCosSquared, QvULong degree,
                              double tolerance, QvLong pointsAreClean, QvPath2f* path,
                              QvLong continuePath) {
  if (path == nullptr || degree < 3 || degree > qv::internal::kMaxFitDegree) return 0;
  QvPoint2fArray cleaned;
  if (!pointsAreClean) clean_samples(points, cleaned);
  const QvPoint2fArray& p = pointsAreClean ? points : cleaned;
  const QvULong count = p.GetSize();
  if (count == 0) return 0;
  if (count == 1) {
    if (continuePath) return 0;
    path->Moveto(p[0]);
    return 1;
  }
  if (count == 2) {
    if (!continuePath) path->Moveto(p[0]);
    path->Lineto(p[1]);
    return 1;
  }
  if (!continuePath) path->Moveto(p[0]);
  return FitStretches(p, cornerCosSquared, degree, tolerance, path);
}

QvULong QvBezierTool::ClosedFit(const QvPoint2fArray& points, double cornerCosSquared,
                                QvULong degree, double tolerance, QvLong pointsAreClean,
                                QvPath2f* path) {
  if (path == nullptr || degree < 3 || degree > qv::internal::kMaxFitDegree) return 0;
  QvPoint2fArray cleaned;
  if (!pointsAreClean) clean_samples(points, cleaned);
  const QvPoint2fArray& p = pointsAreClean ? points : cleaned;
  const QvULong count = p.GetSize();
  if (count == 0) return 0;
  if (count == 1) {
    path->Moveto(p[0]);
    path->Closeto();
    return 1;
  }
  if (count == 2) {
    path->Moveto(p[0]);
    path->Lineto(p[1]);
    path->Lineto(p[0]);
    path->Closeto();
    return 2;
  }
  path->Moveto(p[0]);
  const QvULong segments = FitStretches(p, cornerCosSquared, degree, tolerance, path);
  path->Closeto();
  return segments;
}

// Cuts the samples at corners and fits each stretch; the corner is the shared end of both
// stretches, so the outline is only G0 there, and tangents never look across it.
QvULong QvBezierTool::FitStretches(const QvPoint2fArray& samples, double cornerCosSquared,
                                   QvULong degree, double tolerance, QvPath2f* path) {
  const QvULong count = samples.GetSize();
  QvDoubleArray lengths(count);
  qv::internal::cumulative_lengths(samples, lengths);
  m_fitTolerance = tolerance;
  m_fitToleranceSquared = tolerance * tolerance;
  m_fitPoints = &samples;
  m_fitLengths = &lengths;
  m_fitPath = path;
  m_fitCount = 0;
  QvULong start = 0;
  for (QvULong i = 1; i < count; ++i) {
    if (i + 1 < count && !is_corner(samples, i, cornerCosSquared)) continue;
    OpenFit2DPrivate(start, UnitTangentVectorFirst(start), i, UnitTangentVectorLast(i), degree);
    start = i;
  }
  m_fitPoints = nullptr;
  m_fitLengths = nullptr;
  m_fitPath = nullptr;
  return m_fitCount;
}

// Fits one stretch with both ends G1, or splits it at the middle sample and fits the halves. A
// stretch of two or three samples is always taken whole, which ends the recursion.
void QvBezierTool::OpenFit2DPrivate(QvULong first, const QvPoint2<double>& startTangent,
                                    QvULong last, const QvPoint2<double>& endTangent,
                                    QvULong degree) {
  const QvPoint2fArray& p = *m_fitPoints;
  const QvULong m = last - first;
  QvULong n = degree;
  if (m + 1 < n + 3) {
    if (m == 2) {
      m_fitPath->Curveto(p[first + 1], p[first + 1], p[last]);
      ++m_fitCount;
      return;
    }
    if (m == 1) {
      m_fitPath->Lineto(p[last]);
      ++m_fitCount;
      return;
    }
    if (m == 0) return;
    n = 3;
  }
  FitProblem problem;
  problem.degree = n;
  problem.start = EndCondition::G1;
  problem.end = EndCondition::G1;
  problem.start_tangent = startTangent;
  problem.end_tangent = endTangent;
  const FitSolution s = qv::internal::solve_fit(p, *m_fitLengths, first, last, problem);
  if (qv::internal::handles_point_inward(problem, s)) {
    QvPoint2<float> q[qv::internal::kMaxFitDegree + 1];
    qv::internal::build_float_polygon(p, first, last, problem, s, q);
    QvPoint2fArray flat(kFitFlatCapacity);
    Flatten(q, 0, n, m_fitTolerance, &flat, 0);
    QvDoubleArray flat_lengths(kFitFlatCapacity);
    qv::internal::cumulative_lengths(flat, flat_lengths);
    QvULong fail_index = 0;
    if (qv::internal::arc_length_check(flat, flat_lengths, p, *m_fitLengths, first, last,
                                       m_fitTolerance, fail_index)) {
      m_fitPath->AltCurveto(q + 1, n);
      ++m_fitCount;
      return;
    }
  }
  const QvULong mid = (first + last) / 2;
  const QvPoint2<double> tangent = UnitTangentVectorCenter(mid);
  OpenFit2DPrivate(first, startTangent, mid, tangent, n);
  OpenFit2DPrivate(mid, tangent, last, endTangent, n);
}
