#include <qv/QvPathBuilder.h>

#include <qv/QvGC.h>
#include <qv/QvPath2f.h>

#include "shape/builder_geometry.h"

#include <algorithm>
#include <cmath>

namespace qi = qv::internal;

namespace {

double cheap_distance(const QvPoint2<float>& a, const QvPoint2<float>& b) {
  const double dx = std::fabs(static_cast<double>(b.x) - a.x);
  const double dy = std::fabs(static_cast<double>(b.y) - a.y);
  return std::max(dx, dy) + 0.3334 * std::min(dx, dy);
}

// The turn at i is a corner when it goes past a right angle and its squared cosine, between the
// reversed incoming and the outgoing step, exceeds the limit: the rule the whole-run fit uses.
bool turns_sharply(const QvPoint2<float>* p, QvULong i, double corner_cos_squared) {
  const double ax = static_cast<double>(p[i].x) - p[i - 1].x;
  const double ay = static_cast<double>(p[i].y) - p[i - 1].y;
  const double bx = static_cast<double>(p[i + 1].x) - p[i].x;
  const double by = static_cast<double>(p[i + 1].y) - p[i].y;
  const double d = ax * bx + ay * by;
  return d < 0.0 && d * d > (ax * ax + ay * ay) * (bx * bx + by * by) * corner_cos_squared;
}

QvPoint2<double> widen(const QvPoint2<float>& t) { return QvPoint2<double>(t.x, t.y); }
QvPoint2<float> narrow(const QvPoint2<double>& t) {
  return QvPoint2<float>(static_cast<float>(t.x), static_cast<float>(t.y));
}

QvPoint2<double> unit(const QvPoint2<float>& a, const QvPoint2<float>& b) {
  QvPoint2<double> t(static_cast<double>(b.x) - a.x, static_cast<double>(b.y) - a.y);
  t.Normalize();
  return t;
}

QvPoint2<float> along(const QvPoint2<float>& p, const QvPoint2<float>& t, double h) {
  return QvPoint2<float>(static_cast<float>(p.x + t.x * h), static_cast<float>(p.y + t.y * h));
}

}  // namespace

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

// Least squares weighs samples by their spacing, so gaps between the two limits are filled with
// evenly spaced points; wider gaps are left for the chain of cubics.
void QvBezierFitPathBuilder::AddInputPoint(const QvPoint2<float>& point, QvLong force) {
  const QvPoint2<float> p = MapInput(point);
  if (force != 0 || m_inputs.size == 0) {
    m_inputs.Add(p);
    return;
  }
  const double smallest = m_gc.GetSmallestFeatureSize();
  const QvPoint2<float> last = m_inputs.data[m_inputs.size - 1];
  if (qi::within(p, last, smallest)) return;
  const double m = cheap_distance(last, p);
  if (m_minDistance >= m || m > m_maxDistance) {
    m_inputs.Add(p);
    return;
  }
  const double step = m_minDistance / m;
  if (!(step < 1.0) || !(step > 0.0)) {
    m_inputs.Add(p);
    return;
  }
  const QvPoint2<float> d = qi::diff(p, last);
  for (double t = step; t < 1.0; t += step) {
    const float tf = static_cast<float>(t);
    m_inputs.Add(QvPoint2<float>(last.x + d.x * tf, last.y + d.y * tf));
  }
  if (!qi::within(p, m_inputs.data[m_inputs.size - 1], smallest))
    m_inputs.Add(p);
  else
    m_inputs.data[m_inputs.size - 1] = p;
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
  if (m_wantMoveto) {
    m_path->Moveto(m_inputs.data[0]);
    m_firstPathIndex = m_path->NumPoints() - 1;
    m_wantMoveto = 0;
  }
  if (m_inputs.size < 2) return;
  if (close != 0 && !qi::within(m_inputs.data[m_inputs.size - 1], m_inputs.data[0], 1e-7))
    m_inputs.Add(m_inputs.data[0]);

  const QvULong count = m_inputs.size;
  const QvULong last = count - 1;
  const double smallest = m_gc.GetSmallestFeatureSize();
  const double corner_cos_squared = m_gc.GetAngleThreshold();

  // Corners first, each on the samples as smoothed up to it, so that smoothing never rounds a
  // corner off: every stretch is smoothed with its corners held.
  if (m_cornerFlags.size > m_consumed) m_cornerFlags.Chop(m_consumed);
  while (m_cornerFlags.size < count) m_cornerFlags.Add(0);
  QvULong smooth_from = m_consumed;
  for (QvULong i = m_consumed; i < count; ++i) {
    m_cornerFlags.data[i] = 0;
    if (i == 0 || i == last) continue;
    const QvPoint2<float>* p = m_inputs.data;
    if (qi::within(p[i], p[i - 1], m_tolerance) || qi::within(p[i], p[i + 1], m_tolerance)) continue;
    if (!turns_sharply(p, i, corner_cos_squared)) continue;
    m_cornerFlags.data[i] = 1;
    qi::smooth_range(m_inputs, smooth_from, i, smallest);
    smooth_from = i;
  }
  qi::smooth_range(m_inputs, smooth_from, last, smallest);

  // Settled lengths are kept; only the samples that smoothing may have moved are measured again.
  if (m_lengths.size > m_consumed + 1) m_lengths.Chop(m_consumed + 1);
  if (m_lengths.size == 0) m_lengths.Add(0.0);
  for (QvULong i = m_consumed + 1; i < count; ++i)
    m_lengths.Add(m_lengths.data[i - 1] + qi::diff(m_inputs.data[i], m_inputs.data[i - 1]).Length());

  const bool closing_stroke = close != 0;
  QvULong s = m_consumed;
  while (s < last) {
    const QvPoint2<float>* p = m_inputs.data;
    const bool first_long = cheap_distance(p[s], p[s + 1]) >= m_maxDistance;
    QvULong e = s + 1;
    while (e < last && !m_cornerFlags.data[e]) {
      const bool long_step = m_lengths.data[e + 1] - m_lengths.data[e] >= m_maxDistance;
      if (long_step != first_long) break;
      ++e;
    }
    const bool corner_s = m_cornerFlags.data[s] != 0;
    const bool corner_e = m_cornerFlags.data[e] != 0;
    const bool closing = closing_stroke && e == last;
    const QvULong k = e - s;
    if (first_long || k < 2)
      ChainStep(s, corner_s, e, corner_e, closing);
    else if (k >= m_degree)
      FitStretch(s, corner_s, e, corner_e, closing);
    else
      PolygonStep(s, corner_s, e, closing);
    s = e;
  }
}

// Direction of travel at the end of the path as it stands, so that a new curve joins it G1.
QvPoint2<double> QvBezierFitPathBuilder::PathEndTangent() const {
  const QvULong n = m_path->NumPoints();
  if (n < 3) {
    if (n >= 2 || m_inputs.size < 2) return QvPoint2<double>();
    return unit(m_inputs.data[m_inputs.size - 2], m_inputs.data[m_inputs.size - 1]);
  }
  return unit(m_path->GetPoint(n - 2), m_path->GetPoint(n - 1));
}

QvPoint2<double> QvBezierFitPathBuilder::PathStartTangent() const {
  const QvULong n = m_path->NumPoints();
  if (n < 3) {
    if (n >= 2 || m_inputs.size < 2) return QvPoint2<double>();
    return unit(m_inputs.data[0], m_inputs.data[1]);
  }
  return unit(m_path->GetPoint(m_firstPathIndex), m_path->GetPoint(m_firstPathIndex + 1));
}

QvPoint2<double> QvBezierFitPathBuilder::StartTangent(QvULong s, bool cornerAtStart) const {
  if (s == 0 || cornerAtStart) return widen(qi::estimate_tangent(m_inputs, s, true, false, false));
  return PathEndTangent();
}

void QvBezierFitPathBuilder::FitStretch(QvULong s, bool cornerAtStart, QvULong e, bool cornerAtEnd,
                                        bool closing) {
  const QvPoint2<float>* p = m_inputs.data;
  const QvULong last = m_inputs.size - 1;
  QvPoint2<float> out[9];
  QvULong fail = 0;
  QvLong ok = 0;
  // Fits exist for degrees 3 to 8 only; any other degree would split the stretch without end.
  if (m_degree < 3 || m_degree > 8) return;
  if (!closing) {
    const QvPoint2<double> t0 = StartTangent(s, cornerAtStart);
    if (e >= s + 2 && qi::within(p[e - 2], p[e - 1], m_tolerance) &&
        qi::within(p[e - 1], p[e], m_tolerance) && qi::within(p[e - 2], p[e], m_tolerance)) {
      ok = m_tool.SingleCurveFitG1C0(m_inputs, m_lengths, s, e, t0, m_tolerance, m_degree, out, fail);
    } else {
      const bool at_end = e == last || cornerAtEnd;
      const QvPoint2<double> t1 = widen(qi::estimate_tangent(m_inputs, e, false, at_end, false));
      ok = m_tool.SingleCurveFitG1G1(m_inputs, m_lengths, s, e, t0, t1, m_tolerance, m_degree, out,
                                     fail);
    }
  } else if (s != 0) {
    if (cornerAtStart && cornerAtEnd)
      ok = m_tool.SingleCurveFitC0C0(m_inputs, m_lengths, s, e, m_tolerance, m_degree, out, fail);
    else if (cornerAtStart)
      ok = m_tool.SingleCurveFitC0G1(m_inputs, m_lengths, s, e, PathStartTangent(), m_tolerance,
                                     m_degree, out, fail);
    else if (cornerAtEnd)
      ok = m_tool.SingleCurveFitG1C0(m_inputs, m_lengths, s, e, PathEndTangent(), m_tolerance,
                                     m_degree, out, fail);
    else
      ok = m_tool.SingleCurveFitG1G1(m_inputs, m_lengths, s, e, PathEndTangent(),
                                     PathStartTangent(), m_tolerance, m_degree, out, fail);
  } else if (cornerAtStart || cornerAtEnd) {
    ok = m_tool.SingleCurveFitC0C0(m_inputs, m_lengths, s, e, m_tolerance, m_degree, out, fail);
  } else {
    // A whole closed loop: one tangent across the seam serves both ends.
    const QvPoint2<double> t = e >= 2 ? unit(p[e - 1], p[1]) : QvPoint2<double>();
    ok = m_tool.SingleCurveFitG1G1(m_inputs, m_lengths, s, e, t, t, m_tolerance, m_degree, out,
                                   fail);
  }
  if (ok) {
    m_path->AltCurveto(out + 1, m_degree);
    if (closing) m_path->Closeto();
    return;
  }
  const QvULong mid = (s + e) / 2;
  const bool left_short = mid - s < 2;
  if (mid - s < m_degree) {
    if (left_short)
      ChainStep(s, cornerAtStart, mid, false, false);
    else
      PolygonStep(s, cornerAtStart, mid, false);
  } else {
    FitStretch(s, cornerAtStart, mid, false, false);
  }
  // The right half picks its step by the left half's length, which keeps stored strokes as
  // they were built.
  if (e - mid < m_degree) {
    if (left_short)
      ChainStep(mid, false, e, cornerAtEnd, closing);
    else
      PolygonStep(mid, false, e, closing);
  } else {
    FitStretch(mid, false, e, cornerAtEnd, closing);
  }
}

// Too few samples for least squares: the samples themselves are the control polygon, with one
// handle added along the incoming tangent (and, closing, one along the outgoing).
void QvBezierFitPathBuilder::PolygonStep(QvULong s, bool cornerAtStart, QvULong e, bool closing) {
  const QvPoint2<float>* p = m_inputs.data;
  const QvULong k = e - s;
  if (k == 0) return;
  QvULong degree = k + 1;
  const bool end_handle = closing && k + 2 <= m_degree;
  if (end_handle) degree = k + 2;
  if (degree > 8) return;
  const double h = qi::diff(p[e], p[s]).Length() / static_cast<double>(k + 1);
  QvPoint2<float> control[8];
  QvULong n = 0;
  control[n++] = along(p[s], narrow(StartTangent(s, cornerAtStart)), h);
  for (QvULong i = s + 1; i < e; ++i) control[n++] = p[i];
  if (end_handle) control[n++] = along(p[e], narrow(PathStartTangent()), -h);
  control[n++] = p[e];
  m_path->AltCurveto(control, degree);
  if (closing) m_path->Closeto();
}

// Sample to sample cubics for sparse runs. Where a tangent crosses the chord steeply, the handle
// is shortened so that the curve swings out no more than about twice the tolerance.
void QvBezierFitPathBuilder::ChainStep(QvULong s, bool cornerAtStart, QvULong e, bool cornerAtEnd,
                                       bool closing) {
  const QvPoint2<float>* p = m_inputs.data;
  const QvULong last = m_inputs.size - 1;
  QvPoint2<float> t0 = narrow(StartTangent(s, cornerAtStart));
  for (QvULong i = s; i < e; ++i) {
    QvPoint2<float> t1;
    if (i + 1 == e) {
      if (closing && !cornerAtEnd)
        t1 = narrow(PathStartTangent());
      else
        t1 = qi::estimate_tangent(m_inputs, e, false, e == last || cornerAtEnd, false);
    } else if (i + 2 <= last) {
      t1 = qi::diff(p[i + 2], p[i]);
      t1.Normalize();
    }
    const QvPoint2<float> d = qi::diff(p[i + 1], p[i]);
    const float c0 = std::fabs(d.x * t0.y - d.y * t0.x);
    const float c1 = std::fabs(d.x * t1.y - d.y * t1.x);
    double f = 1.0 / 3.0;
    if (8.0 * m_tolerance < c0 || 8.0 * m_tolerance < c1)
      f = (8.0 / 3.0) * m_tolerance / std::max(c0, c1);
    const double len = f * (m_lengths.data[i + 1] - m_lengths.data[i]);
    m_path->Curveto(along(p[i], t0, len), along(p[i + 1], t1, -len), p[i + 1]);
    t0 = t1;
  }
  if (closing) m_path->Closeto();
}

void QvBezierFitPathBuilder::ComputeTrailingSamplePoints(QvULong n, QvLong flush) {
  m_trailing.Chop(0);
  if (m_consumed >= m_inputs.size) return;
  SampleNewPathPart(n, flush, m_flat);
  m_consumed = m_inputs.size - 1;
}
