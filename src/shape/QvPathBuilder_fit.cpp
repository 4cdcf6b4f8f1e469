#include <qv/QvPathBuilder.h>

#include <qv/QvGC.h>
#include <qv/QvPath2f.h>

#include "shape/builder_fit.h"
#include "shape/builder_geometry.h"

namespace qi = qv::internal;

QvBezierFitPathBuilder::QvBezierFitPathBuilder(const QvGC& gc, QvPath2f* path, double maxDistance,
                                               double minDistance, double tolerance,
                                               QvULong degree)
    : QvBasePathBuilder(gc, path),
      m_maxDistance(maxDistance),
      m_minDistance(minDistance),
      m_degree(degree),
      m_tolerance(tolerance),
      m_lengths(128),
      m_tool(),
      m_cornerFlags(128),
      m_flat(64) {}

QvBezierFitPathBuilder::~QvBezierFitPathBuilder() = default;

double QvBezierFitPathBuilder::GetMaxDistance() const { return m_maxDistance; }
void QvBezierFitPathBuilder::SetMaxDistance(double value) { m_maxDistance = value; }
double QvBezierFitPathBuilder::GetMinDistance() const { return m_minDistance; }
void QvBezierFitPathBuilder::SetMinDistance(double value) { m_minDistance = value; }
QvULong QvBezierFitPathBuilder::GetDegree() const { return m_degree; }
void QvBezierFitPathBuilder::SetDegree(QvULong value) { m_degree = value; }
double QvBezierFitPathBuilder::GetTolerance() const { return m_tolerance; }
void QvBezierFitPathBuilder::SetTolerance(double value) { m_tolerance = value; }

void QvBezierFitPathBuilder::Reset() {
  QvBasePathBuilder::Reset();
  m_lengths.Chop(0);
  m_cornerFlags.Chop(0);
  m_flat.Chop(0);
}

void QvBezierFitPathBuilder::AddInputPoint(const QvPoint2<float>& point, QvLong force) {
  qi::fit_add_input(m_inputs, nullptr, MapInput(point), 0.0, force != 0,
                    m_gc.GetSmallestFeatureSize(), m_minDistance, m_maxDistance);
}

const QvPoint2fArray& QvBezierFitPathBuilder::GetTrailingSamples() {
  m_trailing.Chop(0);
  if (m_inputs.size == 0 || m_path == nullptr) return m_trailing;
  const QvULong n = m_path->NumPoints();
  AddTrailingInputPoints(0);
  ComputeTrailingSamplePoints(n, 0);
  return m_trailing;
}

const QvPoint2fArray& QvBezierFitPathBuilder::EndSubpath(const QvPoint2<float>& point,
                                                         QvLong close) {
  m_trailing.Chop(0);
  if (m_inputs.size == 0 || m_path == nullptr) return m_trailing;
  const QvPoint2<float> p = MapInput(point);
  if (!qi::within(p, m_inputs.data[m_inputs.size - 1], 1e-7)) m_inputs.Add(p);
  const QvULong n = m_path->NumPoints();
  AddTrailingInputPoints(close);
  ComputeTrailingSamplePoints(n, 1);
  return m_trailing;
}

void QvBezierFitPathBuilder::AddTrailingInputPoints(QvLong close) {
  qi::FitStroke stroke{m_gc, *m_path, m_inputs, nullptr, m_lengths, m_cornerFlags, m_tool,
                       m_consumed, m_firstPathIndex, m_wantMoveto, m_maxDistance,
                       m_minDistance, m_tolerance, m_degree};
  qi::fit_settle(stroke, close != 0);
}

void QvBezierFitPathBuilder::ComputeTrailingSamplePoints(QvULong n, QvLong flush) {
  m_trailing.Chop(0);
  if (m_consumed >= m_inputs.size) return;
  SampleNewPathPart(n, flush, m_flat);
  m_consumed = m_inputs.size - 1;
}
