#include <qv/QvPathBuilder.h>

#include <qv/QvGC.h>
#include <qv/QvPath2f.h>
#include <qv/QvTransfo4.h>

#include "shape/builder_geometry.h"

#include <cmath>

namespace qi = qv::internal;

// --- QvBasePathBuilder ------------------------------------------------------------------------

QvBasePathBuilder::QvBasePathBuilder(const QvGC& gc, QvPath2f* path)
    : m_gc(gc),
      m_path(path),
      m_inputs(128),
      m_consumed(0),
      m_firstPathIndex(0),
      m_wantFirstSample(1),
      m_wantMoveto(1),
      m_carry(0.0),
      m_trailing(64) {}

QvBasePathBuilder::~QvBasePathBuilder() = default;

void QvBasePathBuilder::StartSubpath(const QvPoint2<float>& p, QvPath2f* path) {
  Reset();
  m_path = path;
  m_inputs.Add(MapInput(p));
}

void QvBasePathBuilder::StartSubpath(const QvPoint2<float>& p) {
  Reset();
  m_inputs.Add(MapInput(p));
}

void QvBasePathBuilder::Reset() {
  m_inputs.Chop(0);
  m_trailing.Chop(0);
  m_carry = 0.0;
  m_consumed = 0;
  m_firstPathIndex = 0;
  m_wantFirstSample = 1;
  m_wantMoveto = 1;
}

const QvGC& QvBasePathBuilder::GetGraphicsContext() const { return m_gc; }

QvPath2f* QvBasePathBuilder::GetCurrentPath() const { return m_path; }

QvPoint2<float> QvBasePathBuilder::MapInput(const QvPoint2<float>& p) const {
  return m_gc.GetTransform().Map(p);
}

void QvBasePathBuilder::SmoothTrailingInputs() {
  qi::smooth_trailing(m_inputs, m_consumed, m_gc.GetSmallestFeatureSize());
}

// Only the segments added since index n are flattened: the part of the path before them was
// sampled by an earlier call, and the carry continues the spacing from there.
void QvBasePathBuilder::SampleNewPathPart(QvULong n, QvLong flush, QvPoint2fArray& scratch) {
  QvBezierTool tool;
  qi::flatten_path_from(*m_path, n, m_firstPathIndex, m_gc.GetFlatteningTolerance(), tool, scratch);
  if (scratch.size == 0) return;
  if (m_wantFirstSample) {
    m_trailing.Add(scratch.data[0]);
    m_wantFirstSample = 0;
  }
  qi::walk_samples(scratch.data, 0, scratch.size - 1, m_gc.GetSamplingDistance(), m_carry,
                   m_trailing, flush != 0);
}

// --- QvLinearPathBuilder ----------------------------------------------------------------------

QvLinearPathBuilder::QvLinearPathBuilder(const QvGC& gc, QvPath2f* path)
    : QvBasePathBuilder(gc, path), m_direction(), m_pending(), m_hasPending(0) {}

QvLinearPathBuilder::~QvLinearPathBuilder() = default;

void QvLinearPathBuilder::Reset() {
  QvBasePathBuilder::Reset();
  m_hasPending = 0;
}

void QvLinearPathBuilder::AddInputPoint(const QvPoint2<float>& point, QvLong force) {
  qi::linear_add_input(m_inputs, nullptr, {m_direction, m_pending, m_hasPending, nullptr, nullptr},
                       MapInput(point), 0.0, force != 0, m_gc.GetSmallestFeatureSize(),
                       m_gc.GetFlatteningTolerance(), 0.0);
}

void QvLinearPathBuilder::CommitPending() {
  if (!m_hasPending) return;
  m_inputs.Add(m_pending);
  m_hasPending = 0;
}

const QvPoint2fArray& QvLinearPathBuilder::GetTrailingSamples() {
  m_trailing.Chop(0);
  if (m_inputs.size == 0 || m_path == nullptr) return m_trailing;
  CommitPending();
  SmoothTrailingInputs();
  if (m_wantMoveto) {
    m_path->Moveto(m_inputs.data[0]);
    m_firstPathIndex = m_path->NumPoints() - 1;
    m_wantMoveto = 0;
  }
  for (QvULong i = m_consumed + 1; i < m_inputs.size; ++i) m_path->Lineto(m_inputs.data[i]);
  ComputeTrailingSamplePoints(0);
  return m_trailing;
}

const QvPoint2fArray& QvLinearPathBuilder::EndSubpath(const QvPoint2<float>& point,
                                                      QvLong close) {
  m_trailing.Chop(0);
  if (m_inputs.size == 0 || m_path == nullptr) return m_trailing;
  CommitPending();
  const QvPoint2<float> p = MapInput(point);
  if (!qi::within(p, m_inputs.data[m_inputs.size - 1], 1e-7)) m_inputs.Add(p);
  SmoothTrailingInputs();
  AddTrailingInputPoints(close);
  ComputeTrailingSamplePoints(1);
  return m_trailing;
}

void QvLinearPathBuilder::AddTrailingInputPoints(QvLong close) {
  if (m_wantMoveto) {
    m_path->Moveto(m_inputs.data[0]);
    m_firstPathIndex = m_path->NumPoints() - 1;
    m_wantMoveto = 0;
  }
  if (m_inputs.size < 2) return;
  if (m_inputs.size - m_consumed >= 2)
    for (QvULong i = m_consumed + 1; i < m_inputs.size; ++i) m_path->Lineto(m_inputs.data[i]);
  if (close != 0) {
    if (!qi::within(m_inputs.data[m_inputs.size - 1], m_inputs.data[0], 1e-7))
      m_path->Lineto(m_inputs.data[0]);
    m_path->Closeto();
  }
}

// The samples lie along the inputs themselves, which are the path's new nodes.
void QvLinearPathBuilder::ComputeTrailingSamplePoints(QvLong flush) {
  m_trailing.Chop(0);
  if (m_wantFirstSample) {
    m_trailing.Add(m_inputs.data[0]);
    m_wantFirstSample = 0;
  }
  qi::walk_samples(m_inputs.data, m_consumed, m_inputs.size - 1, m_gc.GetSamplingDistance(),
                   m_carry, m_trailing, flush != 0);
  m_consumed = m_inputs.size - 1;
}
