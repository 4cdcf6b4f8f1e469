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
  scratch.Chop(0);
  const QvULong count = m_path->NumPoints();
  if (count == 0) return;
  QvULong start = (n == m_firstPathIndex || n == 0) ? n : n - 1;
  if (start >= count) start = count - 1;
  scratch.Add(m_path->GetPoint(start));
  QvBezierTool tool;
  const double tolerance = m_gc.GetFlatteningTolerance();
  QvPoint2<float> block[9];
  QvULong at = start;
  while (at + 1 < count) {
    const QvULong degree = m_path->GetDegree(at + 1);
    if (degree == 0 || at + degree >= count || degree > 8) break;
    m_path->GetPoints(at, at + degree, block);
    tool.Flatten(block, 0, degree, tolerance, &scratch, 1);
    at += degree;
  }
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

// A run of points along one line keeps only its ends: the newest point waits as pending, and
// moves forward while the stroke stays within half the flattening tolerance of the line and keeps
// going the same way.
void QvLinearPathBuilder::AddInputPoint(const QvPoint2<float>& point, QvLong force) {
  const QvPoint2<float> p = MapInput(point);
  if (force != 0 || m_inputs.size == 0) {
    m_inputs.Add(p);
    return;
  }
  const double smallest = m_gc.GetSmallestFeatureSize();
  const QvPoint2<float> last = m_inputs.data[m_inputs.size - 1];
  if (m_hasPending && !qi::within(p, m_pending, smallest)) {
    const QvPoint2<float> from_last = qi::diff(p, last);
    const double c = static_cast<double>(from_last.x) * m_direction.y -
                     static_cast<double>(from_last.y) * m_direction.x;
    const QvPoint2<float> ahead = qi::diff(p, m_pending);
    const double d = static_cast<double>(ahead.x) * m_direction.x +
                     static_cast<double>(ahead.y) * m_direction.y;
    if (std::fabs(c) < m_gc.GetFlatteningTolerance() * 0.5 && d > 0.0) {
      m_pending = p;
      return;
    }
    m_inputs.Add(m_pending);
    m_direction = qi::diff(p, m_pending);
    m_direction.Normalize();
    m_pending = p;
    return;
  }
  if (qi::within(p, last, smallest)) return;
  m_pending = p;
  m_direction = qi::diff(p, last);
  m_direction.Normalize();
  m_hasPending = 1;
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
