#include <qv/QvPathBuilder.h>

#include <qv/QvGC.h>
#include <qv/QvPath2fProp1d.h>
#include <qv/QvRawFCurve.h>
#include <qv/QvTransfo4.h>

#include "shape/builder_geometry.h"

namespace qi = qv::internal;

// --- QvBasePathPropBuilder --------------------------------------------------------------------

QvBasePathPropBuilder::QvBasePathPropBuilder(const QvGC& gc, QvPath2fProp1d* path)
    : m_gc(gc),
      m_path(path),
      m_inputs(128),
      m_values(128),
      m_lengths(128),
      m_consumed(0),
      m_firstPathIndex(0),
      m_wantFirstSample(1),
      m_wantMoveto(1),
      m_carry(0.0),
      m_trailing(64),
      m_positions(64) {}

QvBasePathPropBuilder::~QvBasePathPropBuilder() = default;

void QvBasePathPropBuilder::Reset() {
  m_inputs.Chop(0);
  m_values.Chop(0);
  m_lengths.Chop(0);
  m_trailing.Chop(0);
  m_positions.Chop(0);
  m_carry = 0.0;
  m_consumed = 0;
  m_firstPathIndex = 0;
  m_wantFirstSample = 1;
  m_wantMoveto = 1;
}

void QvBasePathPropBuilder::StartSubpath(const QvPoint2<float>& p, double value) {
  Reset();
  m_inputs.Add(MapInput(p));
  m_values.Add(value);
}

void QvBasePathPropBuilder::StartSubpath(const QvPoint2<float>& p, double value,
                                         QvPath2fProp1d* path) {
  Reset();
  m_path = path;
  m_inputs.Add(MapInput(p));
  m_values.Add(value);
}

void QvBasePathPropBuilder::StartSubpath(const QvPoint2<float>& p, QvPath2fProp1d* path,
                                         double value) {
  StartSubpath(p, value, path);
}

void QvBasePathPropBuilder::EndSubpath(const QvPoint2<float>& p, double value, QvLong close) {
  QvDoubleArray discarded(64);
  EndSubpathAndGetTrailingSamples(p, value, discarded, close);
}

QvULong QvBasePathPropBuilder::NumPoints() const { return m_inputs.size; }

const QvGC& QvBasePathPropBuilder::GetGraphicsContext() const { return m_gc; }

QvPath2fProp1d* QvBasePathPropBuilder::GetCurrentPath() const { return m_path; }

QvPoint2<float> QvBasePathPropBuilder::MapInput(const QvPoint2<float>& p) const {
  return m_gc.GetTransform().Map(p);
}

void QvBasePathPropBuilder::BeginPathIfWanted() {
  if (!m_wantMoveto) return;
  m_path->Moveto(m_inputs.data[0]);
  m_firstPathIndex = m_path->NumPoints() - 1;
  m_wantMoveto = 0;
  m_path->SetPropCurve(m_firstPathIndex, QvRawFCurve(0.0, m_values.data[0]));
}

// Keys that fall in line with the last segment only move its end, which keeps the curve of a
// steady stroke to a few keys however long it runs. A step too short to measure adds no key:
// the curve's arguments must rise.
void QvBasePathPropBuilder::AppendPropKeys() {
  const double tolerance = m_gc.GetPropertyTolerance();
  for (QvULong i = m_consumed + 1; i < m_inputs.size && i < m_lengths.size; ++i)
    m_path->AppendOrExtendLinearSegment(m_firstPathIndex, m_lengths.data[i], m_values.data[i],
                                        tolerance);
}

// The polyline walked is the path's new part, which runs from inputs[consumed] to the last input
// but may be longer or shorter than the inputs between them (a fitted curve). Each sample's
// position along it is carried over in proportion onto the inputs' arc length, so the values at
// the two ends are exact and none drifts from one call to the next.
void QvBasePathPropBuilder::SampleWithValues(const QvPoint2<float>* points, QvULong first,
                                             QvULong last, QvDoubleArray& values, QvLong flush) {
  m_positions.Chop(0);
  if (m_wantFirstSample) {
    m_trailing.Add(points[first]);
    m_positions.Add(0.0);
    m_wantFirstSample = 0;
  }
  const double walked = qi::walk_samples(points, first, last, m_gc.GetSamplingDistance(), m_carry,
                                         m_trailing, flush != 0, &m_positions);
  const QvULong from = m_consumed;
  const QvULong to = m_inputs.size - 1;
  if (m_lengths.size < m_inputs.size) qi::measure_lengths(m_inputs, from, m_lengths);
  const double start = m_lengths.data[from];
  const double end = m_lengths.data[to];
  const double scale = walked > 0.0 ? (end - start) / walked : 0.0;
  for (QvULong k = 0; k < m_positions.size; ++k) {
    double& a = m_positions.data[k];
    a = !(a < walked) ? end : start + a * scale;
  }
  qi::values_at_lengths(m_lengths.data, m_values.data, from, to, m_positions.data,
                        m_positions.size, values);
}

// --- QvLinearPathPropBuilder ------------------------------------------------------------------

QvLinearPathPropBuilder::QvLinearPathPropBuilder(const QvGC& gc, QvPath2fProp1d* path)
    : QvBasePathPropBuilder(gc, path),
      m_direction(),
      m_pending(),
      m_pendingValue(0.0),
      m_slope(0.0),
      m_hasPending(0) {}

QvLinearPathPropBuilder::~QvLinearPathPropBuilder() = default;

void QvLinearPathPropBuilder::Reset() {
  QvBasePathPropBuilder::Reset();
  m_hasPending = 0;
}

void QvLinearPathPropBuilder::AddInputPoint(const QvPoint2<float>& point, double value,
                                            QvLong force) {
  qi::linear_add_input(m_inputs, &m_values,
                       {m_direction, m_pending, m_hasPending, &m_pendingValue, &m_slope},
                       MapInput(point), value, force != 0, m_gc.GetSmallestFeatureSize(),
                       m_gc.GetFlatteningTolerance(), m_gc.GetPropertyTolerance());
}

void QvLinearPathPropBuilder::CommitPending() {
  if (!m_hasPending) return;
  m_inputs.Add(m_pending);
  m_values.Add(m_pendingValue);
  m_hasPending = 0;
}

const QvPoint2fArray& QvLinearPathPropBuilder::GetTrailingSamples(QvDoubleArray& values) {
  m_trailing.Chop(0);
  values.Chop(0);
  if (m_inputs.size == 0 || m_path == nullptr) return m_trailing;
  CommitPending();
  qi::smooth_trailing(m_inputs, m_consumed, m_gc.GetSmallestFeatureSize(), m_values.data);
  AddTrailingInputPoints(0);
  ComputeTrailingSamplePoints(values, 0);
  return m_trailing;
}

const QvPoint2fArray& QvLinearPathPropBuilder::EndSubpathAndGetTrailingSamples(
    const QvPoint2<float>& point, double value, QvDoubleArray& values, QvLong close) {
  m_trailing.Chop(0);
  values.Chop(0);
  if (m_inputs.size == 0 || m_path == nullptr) return m_trailing;
  CommitPending();
  const QvPoint2<float> p = MapInput(point);
  if (!qi::within(p, m_inputs.data[m_inputs.size - 1], 1e-7)) {
    m_inputs.Add(p);
    m_values.Add(value);
  }
  qi::smooth_trailing(m_inputs, m_consumed, m_gc.GetSmallestFeatureSize(), m_values.data);
  AddTrailingInputPoints(close);
  ComputeTrailingSamplePoints(values, 1);
  return m_trailing;
}

// The closing line back to the first point is part of the subpath, so the property curve runs
// over it too, back to the first value: a closed stroke's property meets itself at the seam.
void QvLinearPathPropBuilder::AddTrailingInputPoints(QvLong close) {
  BeginPathIfWanted();
  qi::measure_lengths(m_inputs, m_consumed, m_lengths);
  if (m_inputs.size < 2) return;
  const QvULong last = m_inputs.size - 1;
  if (last > m_consumed) {
    for (QvULong i = m_consumed + 1; i <= last; ++i) m_path->Lineto(m_inputs.data[i]);
    AppendPropKeys();
  }
  if (close != 0) {
    const QvPoint2<float> start = m_inputs.data[0];
    if (!qi::within(m_inputs.data[last], start, 1e-7)) {
      m_path->Lineto(start);
      const double closing = m_lengths.data[last] + qi::diff(start, m_inputs.data[last]).Length();
      m_path->AppendOrExtendLinearSegment(m_firstPathIndex, closing, m_values.data[0],
                                          m_gc.GetPropertyTolerance());
    }
    m_path->Closeto();
  }
}

// The samples lie along the inputs themselves, which are the path's new nodes.
void QvLinearPathPropBuilder::ComputeTrailingSamplePoints(QvDoubleArray& values, QvLong flush) {
  m_trailing.Chop(0);
  values.Chop(0);
  SampleWithValues(m_inputs.data, m_consumed, m_inputs.size - 1, values, flush);
  m_consumed = m_inputs.size - 1;
}
