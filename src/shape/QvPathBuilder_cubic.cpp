#include <qv/QvPathBuilder.h>

#include <qv/QvGC.h>
#include <qv/QvPath2f.h>

#include "shape/builder_geometry.h"

namespace qi = qv::internal;

namespace {

// The stroke's own ends use the start and end estimates; every inner node the central difference.
QvPoint2<float> node_tangent(const QvPoint2fArray& inputs, QvULong i) {
  const bool at_start = i == 0;
  const bool at_end = !at_start && i + 1 >= inputs.size;
  return qi::estimate_tangent(inputs, i, at_start, at_end, false);
}

QvPoint2<float> along(const QvPoint2<float>& p, const QvPoint2<float>& t, double h) {
  return QvPoint2<float>(static_cast<float>(p.x + t.x * h), static_cast<float>(p.y + t.y * h));
}

// Handles at 0.4 of the chord rather than a third: a stroke through sparse samples reads rounder.
void emit_cubic(QvPath2f& path, const QvPoint2<float>& a, const QvPoint2<float>& t0,
                const QvPoint2<float>& b, const QvPoint2<float>& t1) {
  const double h = 0.4 * qi::diff(b, a).Length();
  path.Curveto(along(a, t0, h), along(b, t1, -h), b);
}

}  // namespace

QvCubicPathBuilder::QvCubicPathBuilder(const QvGC& gc, QvPath2f* path)
    : QvBasePathBuilder(gc, path) {}

QvCubicPathBuilder::~QvCubicPathBuilder() = default;

void QvCubicPathBuilder::AddInputPoint(const QvPoint2<float>& point, QvLong force) {
  const QvPoint2<float> p = MapInput(point);
  if (force != 1 && m_inputs.size != 0 &&
      qi::within(p, m_inputs.data[m_inputs.size - 1], m_gc.GetSmallestFeatureSize()))
    return;
  m_inputs.Add(p);
}

const QvPoint2fArray& QvCubicPathBuilder::GetTrailingSamples() {
  m_trailing.Chop(0);
  if (m_inputs.size == 0 || m_path == nullptr) return m_trailing;
  const QvULong n = m_path->NumPoints();
  AddTrailingInputPoints(0, 0);
  ComputeTrailingSamplePoints(n, 0);
  return m_trailing;
}

const QvPoint2fArray& QvCubicPathBuilder::EndSubpath(const QvPoint2<float>& point, QvLong close) {
  m_trailing.Chop(0);
  if (m_inputs.size == 0 || m_path == nullptr) return m_trailing;
  const QvPoint2<float> p = MapInput(point);
  if (!qi::within(p, m_inputs.data[m_inputs.size - 1], 1e-7)) m_inputs.Add(p);
  SmoothTrailingInputs();
  const QvULong n = m_path->NumPoints();
  AddTrailingInputPoints(close, 1);
  ComputeTrailingSamplePoints(n, 1);
  return m_trailing;
}

void QvCubicPathBuilder::AddTrailingInputPoints(QvLong close, QvLong isFinal) {
  QvPath2f& path = *m_path;
  if (m_wantMoveto) {
    path.Moveto(m_inputs.data[0]);
    m_firstPathIndex = path.NumPoints() - 1;
    m_wantMoveto = 0;
  }
  if (m_inputs.size < 2) return;
  if (close != 0 && isFinal != 0 &&
      !qi::within(m_inputs.data[m_inputs.size - 1], m_inputs.data[0], 1e-7))
    m_inputs.Add(m_inputs.data[0]);
  const QvPoint2<float>* p = m_inputs.data;
  const QvULong count = m_inputs.size;
  const QvULong s = m_consumed;
  // The cubic into the newest sample waits: its end tangent needs the sample after it.
  if (count - s >= 2)
    for (QvULong i = s == 0 ? 1 : s; i + 2 <= count; ++i)
      emit_cubic(path, p[i - 1], node_tangent(m_inputs, i - 1), p[i], node_tangent(m_inputs, i));
  if (isFinal == 0) return;
  const QvULong e = count - 1;
  if (close != 0) {
    emit_cubic(path, p[e - 1], node_tangent(m_inputs, e - 1), p[0],
               qi::estimate_tangent(m_inputs, 0, true, false, false));
    path.Closeto();
  } else {
    emit_cubic(path, p[e - 1], node_tangent(m_inputs, e - 1), p[e],
               qi::estimate_tangent(m_inputs, e, false, true, false));
  }
}

void QvCubicPathBuilder::ComputeTrailingSamplePoints(QvULong n, QvLong flush) {
  m_trailing.Chop(0);
  if (m_consumed >= m_inputs.size) return;
  QvPoint2fArray flat(32);
  SampleNewPathPart(n, flush, flat);
  m_consumed = m_inputs.size - 1;
}
