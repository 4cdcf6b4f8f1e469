#include "shape/builder_fit.h"

#include <qv/QvBezierTool.h>
#include <qv/QvGC.h>
#include <qv/QvPath2f.h>

#include "shape/builder_geometry.h"

#include <algorithm>
#include <cmath>

namespace qv::internal {

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

// The three ways a stretch becomes path, over one borrowed stroke.
class FitSteps {
 public:
  explicit FitSteps(FitStroke& stroke) : s_(stroke) {}

  void FitStretch(QvULong s, bool cornerAtStart, QvULong e, bool cornerAtEnd, bool closing);
  void PolygonStep(QvULong s, bool cornerAtStart, QvULong e, bool closing);
  void ChainStep(QvULong s, bool cornerAtStart, QvULong e, bool cornerAtEnd, bool closing);

 private:
  QvPoint2<double> PathEndTangent() const;
  QvPoint2<double> PathStartTangent() const;
  QvPoint2<double> StartTangent(QvULong s, bool cornerAtStart) const;

  FitStroke& s_;
};

// Direction of travel at the end of the path as it stands, so that a new curve joins it G1.
QvPoint2<double> FitSteps::PathEndTangent() const {
  const QvULong n = s_.path.NumPoints();
  const QvPoint2fArray& in = s_.inputs;
  if (n < 3) {
    if (n >= 2 || in.size < 2) return QvPoint2<double>();
    return unit(in.data[in.size - 2], in.data[in.size - 1]);
  }
  return unit(s_.path.GetPoint(n - 2), s_.path.GetPoint(n - 1));
}

QvPoint2<double> FitSteps::PathStartTangent() const {
  const QvULong n = s_.path.NumPoints();
  const QvPoint2fArray& in = s_.inputs;
  if (n < 3) {
    if (n >= 2 || in.size < 2) return QvPoint2<double>();
    return unit(in.data[0], in.data[1]);
  }
  return unit(s_.path.GetPoint(s_.firstPathIndex), s_.path.GetPoint(s_.firstPathIndex + 1));
}

QvPoint2<double> FitSteps::StartTangent(QvULong s, bool cornerAtStart) const {
  if (s == 0 || cornerAtStart) return widen(estimate_tangent(s_.inputs, s, true, false, false));
  return PathEndTangent();
}

void FitSteps::FitStretch(QvULong s, bool cornerAtStart, QvULong e, bool cornerAtEnd,
                          bool closing) {
  const QvPoint2fArray& in = s_.inputs;
  const QvPoint2<float>* p = in.data;
  const QvULong last = in.size - 1;
  const QvULong degree = s_.degree;
  const double tolerance = s_.tolerance;
  QvBezierTool& tool = s_.tool;
  QvPoint2<float> out[9];
  QvULong fail = 0;
  QvLong ok = 0;
  // Fits exist for degrees 3 to 8 only; any other degree would split the stretch without end.
  if (degree < 3 || degree > 8) return;
  if (!closing) {
    const QvPoint2<double> t0 = StartTangent(s, cornerAtStart);
    if (e >= s + 2 && within(p[e - 2], p[e - 1], tolerance) && within(p[e - 1], p[e], tolerance) &&
        within(p[e - 2], p[e], tolerance)) {
      ok = tool.SingleCurveFitG1C0(in, s_.lengths, s, e, t0, tolerance, degree, out, fail);
    } else {
      const bool at_end = e == last || cornerAtEnd;
      const QvPoint2<double> t1 = widen(estimate_tangent(in, e, false, at_end, false));
      ok = tool.SingleCurveFitG1G1(in, s_.lengths, s, e, t0, t1, tolerance, degree, out, fail);
    }
  } else if (s != 0) {
    if (cornerAtStart && cornerAtEnd)
      ok = tool.SingleCurveFitC0C0(in, s_.lengths, s, e, tolerance, degree, out, fail);
    else if (cornerAtStart)
      ok = tool.SingleCurveFitC0G1(in, s_.lengths, s, e, PathStartTangent(), tolerance, degree,
                                   out, fail);
    else if (cornerAtEnd)
      ok = tool.SingleCurveFitG1C0(in, s_.lengths, s, e, PathEndTangent(), tolerance, degree, out,
                                   fail);
    else
      ok = tool.SingleCurveFitG1G1(in, s_.lengths, s, e, PathEndTangent(), PathStartTangent(),
                                   tolerance, degree, out, fail);
  } else if (cornerAtStart || cornerAtEnd) {
    ok = tool.SingleCurveFitC0C0(in, s_.lengths, s, e, tolerance, degree, out, fail);
  } else {
    // A whole closed loop: one tangent across the seam serves both ends.
    const QvPoint2<double> t = e >= 2 ? unit(p[e - 1], p[1]) : QvPoint2<double>();
    ok = tool.SingleCurveFitG1G1(in, s_.lengths, s, e, t, t, tolerance, degree, out, fail);
  }
  if (ok) {
    s_.path.AltCurveto(out + 1, degree);
    if (closing) s_.path.Closeto();
    return;
  }
  const QvULong mid = (s + e) / 2;
  const bool left_short = mid - s < 2;
  if (mid - s < degree) {
    if (left_short)
      ChainStep(s, cornerAtStart, mid, false, false);
    else
      PolygonStep(s, cornerAtStart, mid, false);
  } else {
    FitStretch(s, cornerAtStart, mid, false, false);
  }
  // The right half picks its step by the left half's length, which keeps stored strokes as
  // they were built.
  if (e - mid < degree) {
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
void FitSteps::PolygonStep(QvULong s, bool cornerAtStart, QvULong e, bool closing) {
  const QvPoint2<float>* p = s_.inputs.data;
  const QvULong k = e - s;
  if (k == 0) return;
  QvULong degree = k + 1;
  const bool end_handle = closing && k + 2 <= s_.degree;
  if (end_handle) degree = k + 2;
  if (degree > 8) return;
  const double h = diff(p[e], p[s]).Length() / static_cast<double>(k + 1);
  QvPoint2<float> control[8];
  QvULong n = 0;
  control[n++] = along(p[s], narrow(StartTangent(s, cornerAtStart)), h);
  for (QvULong i = s + 1; i < e; ++i) control[n++] = p[i];
  if (end_handle) control[n++] = along(p[e], narrow(PathStartTangent()), -h);
  control[n++] = p[e];
  s_.path.AltCurveto(control, degree);
  if (closing) s_.path.Closeto();
}

// Sample to sample cubics for sparse runs. Where a tangent crosses the chord steeply, the handle
// is shortened so that the curve swings out no more than about twice the tolerance.
void FitSteps::ChainStep(QvULong s, bool cornerAtStart, QvULong e, bool cornerAtEnd,
                         bool closing) {
  const QvPoint2fArray& in = s_.inputs;
  const QvPoint2<float>* p = in.data;
  const double* lengths = s_.lengths.data;
  const double tolerance = s_.tolerance;
  const QvULong last = in.size - 1;
  QvPoint2<float> t0 = narrow(StartTangent(s, cornerAtStart));
  for (QvULong i = s; i < e; ++i) {
    QvPoint2<float> t1;
    if (i + 1 == e) {
      if (closing && !cornerAtEnd)
        t1 = narrow(PathStartTangent());
      else
        t1 = estimate_tangent(in, e, false, e == last || cornerAtEnd, false);
    } else if (i + 2 <= last) {
      t1 = diff(p[i + 2], p[i]);
      t1.Normalize();
    }
    const QvPoint2<float> d = diff(p[i + 1], p[i]);
    const float c0 = std::fabs(d.x * t0.y - d.y * t0.x);
    const float c1 = std::fabs(d.x * t1.y - d.y * t1.x);
    double f = 1.0 / 3.0;
    if (8.0 * tolerance < c0 || 8.0 * tolerance < c1)
      f = (8.0 / 3.0) * tolerance / std::max(c0, c1);
    const double len = f * (lengths[i + 1] - lengths[i]);
    s_.path.Curveto(along(p[i], t0, len), along(p[i + 1], t1, -len), p[i + 1]);
    t0 = t1;
  }
  if (closing) s_.path.Closeto();
}

}  // namespace

void fit_add_input(QvPoint2fArray& inputs, QvDoubleArray* values, const QvPoint2<float>& p,
                   double value, bool force, double smallest, double minDistance,
                   double maxDistance) {
  const auto add = [&](const QvPoint2<float>& q, double v) {
    inputs.Add(q);
    if (values) values->Add(v);
  };
  if (force || inputs.size == 0) {
    add(p, value);
    return;
  }
  const QvPoint2<float> last = inputs.data[inputs.size - 1];
  if (within(p, last, smallest)) return;
  const double m = cheap_distance(last, p);
  if (minDistance >= m || m > maxDistance) {
    add(p, value);
    return;
  }
  const double step = minDistance / m;
  if (!(step < 1.0) || !(step * kMaxFillPoints >= 1.0)) {
    add(p, value);
    return;
  }
  const double last_value = values ? values->data[values->size - 1] : 0.0;
  const QvPoint2<float> d = diff(p, last);
  for (double t = step; t < 1.0; t += step) {
    const float tf = static_cast<float>(t);
    add(QvPoint2<float>(last.x + d.x * tf, last.y + d.y * tf),
        last_value + (value - last_value) * t);
  }
  if (!within(p, inputs.data[inputs.size - 1], smallest)) {
    add(p, value);
  } else {
    inputs.data[inputs.size - 1] = p;
    if (values) values->data[values->size - 1] = value;
  }
}

void fit_settle(FitStroke& stroke, bool close) {
  QvPoint2fArray& inputs = stroke.inputs;
  QvDoubleArray* values = stroke.values;
  QvPath2f& path = stroke.path;
  if (stroke.wantMoveto) {
    path.Moveto(inputs.data[0]);
    stroke.firstPathIndex = path.NumPoints() - 1;
    stroke.wantMoveto = 0;
  }
  if (inputs.size < 2) return;
  if (close && !within(inputs.data[inputs.size - 1], inputs.data[0], 1e-7)) {
    inputs.Add(inputs.data[0]);
    if (values) values->Add(values->data[0]);
  }

  const QvULong consumed = stroke.consumed;
  const QvULong count = inputs.size;
  const QvULong last = count - 1;
  const double smallest = stroke.gc.GetSmallestFeatureSize();
  const double corner_cos_squared = stroke.gc.GetAngleThreshold();
  double* value_data = values ? values->data : nullptr;

  // Corners first, each on the samples as smoothed up to it, so that smoothing never rounds a
  // corner off: every stretch is smoothed with its corners held.
  QvBoolArray& corners = stroke.corners;
  if (corners.size > consumed) corners.Chop(consumed);
  while (corners.size < count) corners.Add(0);
  QvULong smooth_from = consumed;
  for (QvULong i = consumed; i < count; ++i) {
    corners.data[i] = 0;
    if (i == 0 || i == last) continue;
    const QvPoint2<float>* p = inputs.data;
    if (within(p[i], p[i - 1], stroke.tolerance) || within(p[i], p[i + 1], stroke.tolerance))
      continue;
    if (!turns_sharply(p, i, corner_cos_squared)) continue;
    corners.data[i] = 1;
    smooth_range(inputs, smooth_from, i, smallest, value_data);
    smooth_from = i;
  }
  smooth_range(inputs, smooth_from, last, smallest, value_data);

  // Settled lengths are kept; only the samples that smoothing may have moved are measured again.
  measure_lengths(inputs, consumed, stroke.lengths);

  FitSteps steps(stroke);
  QvULong s = consumed;
  while (s < last) {
    const QvPoint2<float>* p = inputs.data;
    const double* lengths = stroke.lengths.data;
    const bool first_long = cheap_distance(p[s], p[s + 1]) >= stroke.maxDistance;
    QvULong e = s + 1;
    while (e < last && !corners.data[e]) {
      const bool long_step = lengths[e + 1] - lengths[e] >= stroke.maxDistance;
      if (long_step != first_long) break;
      ++e;
    }
    const bool corner_s = corners.data[s] != 0;
    const bool corner_e = corners.data[e] != 0;
    const bool closing = close && e == last;
    const QvULong k = e - s;
    if (first_long || k < 2)
      steps.ChainStep(s, corner_s, e, corner_e, closing);
    else if (k >= stroke.degree)
      steps.FitStretch(s, corner_s, e, corner_e, closing);
    else
      steps.PolygonStep(s, corner_s, e, closing);
    s = e;
  }
}

}  // namespace qv::internal
