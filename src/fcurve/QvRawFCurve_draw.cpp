#include <qv/QvRawFCurve.h>
#include <qv/QvTransfo4.h>

#include "fcurve/raw_body.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <vector>

using qv::internal::kRawKeyTolerance;

namespace {

// A vertex of the drawn curve in (parameter, value) space. `jump` marks the far point of a jump:
// the second of two vertices at one parameter.
struct PolyPoint {
  double t;
  double v;
  bool jump;
};

// Beyond this many repeated vertices only the ends of the extent are drawn.
constexpr double kMaxRepeatedPoints = 4194304.0;

// The curve over [from, to] as a polyline. A raw curve is already a polyline, so the vertices are
// the keys themselves, repeated cycle by cycle under the cycling methods; the ends are evaluated.
// Under the plain cycle every seam is a jump from the last key's value back to the first's.
// Appends to `out`, which the caller may reuse from call to call.
void build_polyline(const QvRawFCurveImpl& body, double from, double to,
                    std::vector<PolyPoint>& out) {
  out.push_back(PolyPoint{from, body.Eval(from), false});
  if (!(to - from > kRawKeyTolerance)) return;
  const QvULong n = body.NumKeys();
  auto inside = [&](double p) {
    return p - from > kRawKeyTolerance && to - p > kRawKeyTolerance && p > out.back().t;
  };
  if (n >= 2 && body.IsCycling()) {
    const double first = body.KeyAt(0).parameter;
    const double period = body.KeyAt(n - 1).parameter - first;
    const double rise = body.KeyAt(n - 1).value - body.KeyAt(0).value;
    const double c0 = std::floor((from - first) / period);
    const double c1 = std::floor((to - first) / period);
    if ((c1 - c0 + 1.0) * static_cast<double>(n) <= kMaxRepeatedPoints) {
      for (double c = c0; c <= c1; c += 1.0) {
        const double offset = body.m_extrapolation == 4 ? c * rise : 0.0;
        for (QvULong i = 0; i + 1 < n; ++i) {
          const double p = body.KeyAt(i).parameter + c * period;
          if (!inside(p)) continue;
          const double v = body.KeyAt(i).value + offset;
          if (i == 0 && body.m_extrapolation == 3) {
            out.push_back(PolyPoint{p, body.KeyAt(n - 1).value, false});
            out.push_back(PolyPoint{p, v, true});
          } else {
            out.push_back(PolyPoint{p, v, false});
          }
        }
      }
    }
  } else {
    for (QvULong i = 0; i < n; ++i) {
      const double p = body.KeyAt(i).parameter;
      if (inside(p)) out.push_back(PolyPoint{p, body.KeyAt(i).value, false});
    }
  }
  // Under the plain cycle the far end may itself sit on a seam, where the curve restarts.
  if (n >= 2 && body.m_extrapolation == 3) {
    const double at_to = body.Eval(to);
    const double folded = body.Fold(to);
    if (folded == body.KeyAt(n - 1).parameter) {
      out.push_back(PolyPoint{to, body.KeyAt(n - 1).value, false});
      out.push_back(PolyPoint{to, at_to, true});
      return;
    }
    out.push_back(PolyPoint{to, at_to, false});
    return;
  }
  out.push_back(PolyPoint{to, body.Eval(to), false});
}

// Limits drawn as horizontal lines: where an edge crosses a finite clamp value, a vertex is added
// on the limit, and every value is then held inside the limits.
void clamp_polyline(double low, double high, std::vector<PolyPoint>& points) {
  const bool has_low = low > -DBL_MAX;
  const bool has_high = high < DBL_MAX;
  if (!has_low && !has_high) return;
  std::vector<PolyPoint> out;
  out.reserve(points.size() * 2);
  for (std::size_t i = 0; i < points.size(); ++i) {
    if (i > 0 && !points[i].jump) {
      const PolyPoint& a = points[i - 1];
      const PolyPoint& b = points[i];
      double crossings[2];
      int count = 0;
      for (double level : {low, high}) {
        if ((level == low && !has_low) || (level == high && !has_high)) continue;
        if ((a.v - level) * (b.v - level) < 0.0)
          crossings[count++] = (level - a.v) / (b.v - a.v);
      }
      if (count == 2 && crossings[1] < crossings[0]) std::swap(crossings[0], crossings[1]);
      for (int c = 0; c < count; ++c) {
        const double s = crossings[c];
        out.push_back(PolyPoint{a.t + s * (b.t - a.t), a.v + s * (b.v - a.v), false});
      }
    }
    out.push_back(points[i]);
  }
  for (PolyPoint& p : out) p.v = std::min(std::max(p.v, low), high);
  points.swap(out);
}

QvULong emit(const std::vector<PolyPoint>& poly, const QvTransfo4& transform,
             QvPoint2dArray& points, QvPointTagArray& tags, QvBoolArray* flags) {
  for (std::size_t i = 0; i < poly.size(); ++i) {
    points.Add(transform.Map(QvPoint2<double>(poly[i].t, poly[i].v)));
    tags.Add(i == 0 ? TagFirst : TagLast);
    if (flags != nullptr) flags->Add(poly[i].jump ? 2 : 0);
  }
  return static_cast<QvULong>(poly.size());
}

}  // namespace

QvULong QvRawFCurve::Flatten(const QvTransfo4& transform, double, QvPoint2dArray& points,
                             QvPointTagArray& tags, QvLong clamp) const {
  LockGuard guard(*this);
  const QvRawFCurveImpl& body = *m_impl;
  const QvULong n = body.NumKeys();
  if (n == 0) return 0;
  std::vector<PolyPoint> poly;
  poly.reserve(n + 1);
  for (QvULong i = 0; i < n; ++i)
    poly.push_back(PolyPoint{body.KeyAt(i).parameter, body.KeyAt(i).value, false});
  if (n == 1) poly.push_back(poly.front());
  if (clamp != 0) clamp_polyline(body.m_clampLow, body.m_clampHigh, poly);
  return emit(poly, transform, points, tags, nullptr);
}

QvULong QvRawFCurve::FlattenFromTo(const QvExtent2<double>& extent, const QvTransfo4& transform,
                                   double, QvPoint2dArray& points, QvPointTagArray& tags,
                                   QvBoolArray& flags, QvLong clamp) const {
  LockGuard guard(*this);
  const QvRawFCurveImpl& body = *m_impl;
  double from = extent.min.x;
  double to = extent.max.x;
  if (extent.state == QvExtent2<double>::ExtentEmpty) return 0;
  if (extent.state == QvExtent2<double>::ExtentUniverse) {
    if (body.NumKeys() == 0) return 0;
    from = body.KeyAt(0).parameter;
    to = body.KeyAt(body.NumKeys() - 1).parameter;
  }
  if (!std::isfinite(from) || !std::isfinite(to)) return 0;
  if (from > to) std::swap(from, to);
  std::vector<PolyPoint> poly;
  poly.reserve(128);
  build_polyline(body, from, to, poly);
  if (clamp != 0) clamp_polyline(body.m_clampLow, body.m_clampHigh, poly);
  return emit(poly, transform, points, tags, &flags);
}

// Samples come from the drawn polyline, walked once from left to right, and not from a search
// per sample: a host asks for thousands of samples of one curve at a time.
QvULong QvRawFCurve::EvalSequence(double from, double to, double step, double,
                                  QvDoubleArray& parameters, QvDoubleArray& values,
                                  QvLong clamp) const {
  LockGuard guard(*this);
  const QvRawFCurveImpl& body = *m_impl;
  if (!std::isfinite(from) || !std::isfinite(to)) return 0;
  auto finish = [&](double v) { return clamp != 0 ? body.Clamp(v) : v; };
  if (std::fabs(to - from) <= kRawKeyTolerance) {
    parameters.Add(from);
    values.Add(finish(body.Eval(from)));
    return 1;
  }
  if (from < to && (!(step > 0.0) || !std::isfinite(step) || (to - from) / step > 16777216.0))
    return 0;
  std::vector<PolyPoint> poly;
  poly.reserve(128);
  build_polyline(body, std::min(from, to), std::max(from, to), poly);
  QvULong added = 0;
  std::size_t edge = 0;
  for (double k = 0.0;; k += 1.0) {
    const double x = from + k * step;
    if (!(x < to)) break;
    while (edge + 1 < poly.size() && poly[edge + 1].t <= x) ++edge;
    double v;
    if (std::fabs(x - poly[edge].t) <= kRawKeyTolerance) {
      v = poly[edge].v;
      if (edge + 1 < poly.size() && poly[edge + 1].jump) v = poly[edge + 1].v;
    } else if (edge + 1 < poly.size()) {
      const PolyPoint& a = poly[edge];
      const PolyPoint& b = poly[edge + 1];
      v = a.v + (b.v - a.v) * (x - a.t) / (b.t - a.t);
    } else {
      v = poly[edge].v;
    }
    parameters.Add(x);
    values.Add(finish(v));
    ++added;
  }
  parameters.Add(to);
  values.Add(finish(from < to ? poly.back().v : poly.front().v));
  return added + 1;
}
