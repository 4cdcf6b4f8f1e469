#include <qv/QvPathBuilder.h>

#include <qv/QvGC.h>
#include <qv/QvPath2fProp1d.h>

#include "shape/builder_fit.h"
#include "shape/builder_geometry.h"

namespace qi = qv::internal;

QvBezierFitPathPropBuilder::QvBezierFitPathPropBuilder(const QvGC& gc, QvPath2fProp1d* path,
                                                       double maxDistance, double minDistance,
                                                       double tolerance, QvULong degree)
    : QvBasePathPropBuilder(gc, path),
      m_maxDistance(maxDistance),
      m_minDistance(minDistance),
      m_degree(degree),
      m_tolerance(tolerance),
      m_tool(),
      m_cornerFlags(128),
      m_flat(64) {}

QvBezierFitPathPropBuilder::~QvBezierFitPathPropBuilder() = default;

double QvBezierFitPathPropBuilder::GetMaxDistance() const { return m_maxDistance; }
void QvBezierFitPathPropBuilder::SetMaxDistance(double value) { m_maxDistance = value; }
double QvBezierFitPathPropBuilder::GetMinDistance() const { return m_minDistance; }
void QvBezierFitPathPropBuilder::SetMinDistance(double value) { m_minDistance = value; }
QvULong QvBezierFitPathPropBuilder::GetDegree() const { return m_degree; }
void QvBezierFitPathPropBuilder::SetDegree(QvULong value) { m_degree = value; }
double QvBezierFitPathPropBuilder::GetTolerance() const { return m_tolerance; }
void QvBezierFitPathPropBuilder::SetTolerance(double value) { m_tolerance = value; }

void QvBezierFitPathPropBuilder::Reset() {
  QvBasePathPropBuilder::Reset();
  m_cornerFlags.Chop(0);
  m_flat.Chop(0);
}

void QvBezierFitPathPropBuilder::AddInputPoint(const QvPoint2<float>& point, double value,
                                               QvLong force) {
  qi::fit_add_input(m_inputs, &m_values, MapInput(point), value, force != 0,
                    m_gc.GetSmallestFeatureSize(), m_minDistance, m_maxDistance);
}

const QvPoint2fArray& QvBezierFitPathPropBuilder::GetTrailingSamples(QvDoubleArray& values) {
  m_trailing.Chop(0);
  values.Chop(0);
  if (m_inputs.size == 0 || m_path == nullptr) return m_trailing;
  const QvULong n = m_path->NumPoints();
  AddTrailingInputPoints(0);
  AddPropDataAndComputeTrailingSamplePoints(n, values, 0);
  return m_trailing;
}

const QvPoint2fArray& QvBezierFitPathPropBuilder::EndSubpathAndGetTrailingSamples(
    const QvPoint2<float>& point, double value, QvDoubleArray& values, QvLong close) {
  m_trailing.Chop(0);
  values.Chop(0);
  if (m_inputs.size == 0 || m_path == nullptr) return m_trailing;
  const QvPoint2<float> p = MapInput(point);
  if (!qi::within(p, m_inputs.data[m_inputs.size - 1], 1e-7)) {
    m_inputs.Add(p);
    m_values.Add(value);
  }
  const QvULong n = m_path->NumPoints();
  AddTrailingInputPoints(close);
  AddPropDataAndComputeTrailingSamplePoints(n, values, 1);
  return m_trailing;
}

// The Moveto is issued here rather than by the fit, so that the property curve starts with it.
void QvBezierFitPathPropBuilder::AddTrailingInputPoints(QvLong close) {
  BeginPathIfWanted();
  qi::FitStroke stroke{m_gc, *m_path, m_inputs, &m_values, m_lengths, m_cornerFlags, m_tool,
                       m_consumed, m_firstPathIndex, m_wantMoveto, m_maxDistance,
                       m_minDistance, m_tolerance, m_degree};
  qi::fit_settle(stroke, close != 0);
}

void QvBezierFitPathPropBuilder::AddPropDataAndComputeTrailingSamplePoints(QvULong n,
                                                                           QvDoubleArray& values,
                                                                           QvLong flush) {
  m_trailing.Chop(0);
  values.Chop(0);
  if (m_path == nullptr || m_consumed >= m_inputs.size) return;
  if (m_lengths.size < m_inputs.size) qi::measure_lengths(m_inputs, m_consumed, m_lengths);
  AppendPropKeys();
  qi::flatten_path_from(*m_path, n, m_firstPathIndex, m_gc.GetFlatteningTolerance(), m_tool,
                        m_flat);
  if (m_flat.size != 0) SampleWithValues(m_flat.data, 0, m_flat.size - 1, values, flush);
  m_consumed = m_inputs.size - 1;
}
