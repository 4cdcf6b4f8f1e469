#include <qv/QvFCurveMovers.h>

#include "fcurve/mover_common.h"

#include <cmath>
#include <limits>
#include <memory>
#include <new>
#include <vector>

using qv::internal::box_add;
using qv::internal::kFloatLowest;
using qv::internal::kMoverMargin;

// The selection is every key between the first and the last key given, as a box drawn around
// them would hold. Each Update restores the snapshot and applies the scale that the offset
// means, so the scale is always relative to the box at mouse-down.
class [[gnu::visibility("hidden")]] QvFCurveStretcher::Impl {
 public:
  using Kind = QvBaseFCurve::Kind;
  using RegionHandle = QvBaseFCurve::RegionHandle;

  explicit Impl(QvBaseFCurve& c) : curve(c) {}

  bool Begin(QvExtent2<double>& box, const QvDoubleArray& keys, const QvExtent2<double>& limitBox,
             const QvPoint2<double>& anchorPoint, RegionHandle edge, QvLong farSide,
             double tolerance);
  bool MovesParameters() const {
    return handle == QvBaseFCurve::RegionHandleMinParameter ||
           handle == QvBaseFCurve::RegionHandleMaxParameter;
  }
  // One edge: the scale that offset `d` of the moving edge gives, cut down to the limits. Writes
  // the offset and scale taken; returns 1 if the offset had to be cut.
  QvLong Edge(RegionHandle edge, double& d, double& scale, double from, double to) const;

  QvBaseFCurve& curve;
  Kind kind = static_cast<Kind>(0);
  RegionHandle handle = static_cast<RegionHandle>(0);
  std::unique_ptr<QvBaseFCurve> snapshot;
  std::vector<double> parameters;  // the selection, rising
  QvExtent2<double> extent;
  QvExtent2<double> limits;
  QvPoint2<double> anchor;
  double smallestGap = std::numeric_limits<double>::infinity();
  double prevUnselected = -std::numeric_limits<double>::infinity();
  double nextUnselected = std::numeric_limits<double>::infinity();
  QvPoint2<double> lastOffset;
  bool boundFarSide = false;
  bool valid = false;
};

bool QvFCurveStretcher::Impl::Begin(QvExtent2<double>& box, const QvDoubleArray& keys,
                                    const QvExtent2<double>& limitBox,
                                    const QvPoint2<double>& anchorPoint, RegionHandle edge,
                                    QvLong farSide, double tolerance) {
  kind = curve.GetKind();
  if (!qv::internal::mover_supports_kind(kind) || curve.IsReadOnly() != 0) return false;
  if (edge != 1 && edge != 2 && edge != 4 && edge != 8) return false;
  if (keys.GetSize() == 0 || curve.GetNumKeys() == 0) return false;
  if (!std::isfinite(anchorPoint.x) || !std::isfinite(anchorPoint.y)) return false;
  handle = edge;
  const double tol = tolerance >= 0.0 ? tolerance : 0.0;
  double lo = std::numeric_limits<double>::infinity();
  double hi = -lo;
  for (QvULong k = 0; k < keys.GetSize(); ++k) {
    double p = keys[k];
    if (!std::isfinite(p) || curve.GetNearestKeyParameterInCenteredInterval(p, tol) == 0)
      return false;
    lo = std::fmin(lo, p);
    hi = std::fmax(hi, p);
  }
  QvDoubleArray inside;
  curve.GetKeyParameters(lo, hi, inside, 0, 0);
  if (inside.GetSize() == 0) return false;
  extent = QvExtent2<double>();
  for (QvULong k = 0; k < inside.GetSize(); ++k) {
    double left = 0.0, right = 0.0;
    curve.GetKeyValues(inside[k], left, right, 0.0);
    parameters.push_back(inside[k]);
    box_add(extent, QvPoint2<double>(inside[k], right));
    if (kind == QvBaseFCurve::KindStandard) box_add(extent, QvPoint2<double>(inside[k], left));
    if (k > 0) smallestGap = std::fmin(smallestGap, inside[k] - inside[k - 1]);
  }
  double p = 0.0;
  if (curve.GetPrevKeyParameter(lo, p, 0) != 0) prevUnselected = p;
  if (curve.GetNextKeyParameter(hi, p, 0) != 0) nextUnselected = p;
  // A locked key refuses the whole stretch, as the curve itself would.
  if (MovesParameters() ? curve.AreAnyParametersLockedInInterval(lo, hi, 0, 0) != 0
                        : curve.AreAnyValuesLockedInInterval(lo, hi, 0, 0) != 0)
    return false;
  anchor = anchorPoint;
  limits = limitBox;
  boundFarSide = farSide != 0;
  // The moving edge must lie on its own side of the anchor, or there is nothing to scale.
  double width = 0.0;
  switch (handle) {
    case QvBaseFCurve::RegionHandleMinParameter: width = anchor.x - extent.min.x; break;
    case QvBaseFCurve::RegionHandleMaxParameter: width = extent.max.x - anchor.x; break;
    case QvBaseFCurve::RegionHandleMinValue: width = anchor.y - extent.min.y; break;
    default: width = extent.max.y - anchor.y; break;
  }
  if (!(width > 0.0)) return false;
  snapshot.reset(curve.Clone());
  if (snapshot == nullptr) return false;
  box = extent;
  return true;
}

// The scale from an offset d of the moving edge e, with the anchor a, is (w + d) / w on the two
// max edges and (w - d) / w on the two min edges, w being the edge's distance from the anchor.
// The scale is then held between the bounds that the keys' neighbours and the host's limits
// allow; every bound is a linear condition on the scale, as each key moves to a + (p - a) s.
QvLong QvFCurveStretcher::Impl::Edge(RegionHandle edge, double& d, double& scale, double from,
                                     double to) const {
  if (edge != handle || !valid) {
    d = 0.0;
    scale = 1.0;
    return 0;
  }
  const bool along_parameters = MovesParameters();
  if (!along_parameters && kind == QvBaseFCurve::KindBoolean) {
    d = 0.0;
    scale = 1.0;
    return 0;
  }
  const bool max_edge = edge == QvBaseFCurve::RegionHandleMaxParameter ||
                        edge == QvBaseFCurve::RegionHandleMaxValue;
  const double a = along_parameters ? anchor.x : anchor.y;
  const double lo = along_parameters ? extent.min.x : extent.min.y;
  const double hi = along_parameters ? extent.max.x : extent.max.y;
  const double e = max_edge ? hi : lo;
  const double far = max_edge ? lo : hi;
  const double w = max_edge ? e - a : a - e;
  double s = max_edge ? (w + d) / w : (w - d) / w;
  if (!std::isfinite(s)) s = 1.0;
  double s_min = -std::numeric_limits<double>::infinity();
  double s_max = std::numeric_limits<double>::infinity();
  // Bounds p' = a + (p - a) s <= bound for a key p on either side of the anchor.
  auto at_most = [&](double p, double bound) {
    const double r = p - a;
    if (r > 0.0) s_max = std::fmin(s_max, (bound - a) / r);
    else if (r < 0.0) s_min = std::fmax(s_min, (bound - a) / r);
  };
  auto at_least = [&](double p, double bound) {
    const double r = p - a;
    if (r > 0.0) s_min = std::fmax(s_min, (bound - a) / r);
    else if (r < 0.0) s_max = std::fmin(s_max, (bound - a) / r);
  };
  const bool bounded = limits.state == QvExtentStates::ExtentBounded;
  const double limit_lo = along_parameters ? limits.min.x : limits.min.y;
  const double limit_hi = along_parameters ? limits.max.x : limits.max.y;
  if (s < 1.0) {
    // Shrinking: parameters never cross or meet, and the moving edge keeps its margin to the
    // anchor. Values may fold over the anchor unless the host set a limit.
    const bool in_force = along_parameters || (bounded && limit_lo > kFloatLowest);
    if (in_force) {
      s_min = std::fmax(s_min, kMoverMargin / w);
      if (along_parameters && std::isfinite(smallestGap))
        s_min = std::fmax(s_min, kMoverMargin / smallestGap);
    }
  } else {
    // Growing: the moving edge keeps its margin to the next unselected key, and the far side to
    // its own neighbour.
    if (along_parameters) {
      if (std::isfinite(nextUnselected)) at_most(hi, nextUnselected - kMoverMargin);
      if (std::isfinite(prevUnselected)) at_least(lo, prevUnselected + kMoverMargin);
      at_most(hi, to);
      at_least(lo, from);
    }
    if (bounded) {
      if (max_edge) at_most(e, limit_hi);
      else if (limit_lo > kFloatLowest) at_least(e, limit_lo);
      if (boundFarSide) {
        if (max_edge && limit_lo > kFloatLowest) at_least(far, limit_lo);
        else if (!max_edge) at_most(far, limit_hi);
      }
    }
    s_min = std::fmin(s_min, 1.0);
    s_max = std::fmax(s_max, 1.0);
  }
  double taken = s;
  if (taken < s_min) taken = s_min;
  if (taken > s_max) taken = s_max;
  const QvLong cut = taken != s ? 1 : 0;
  if (cut) d = max_edge ? w * taken - w : w - w * taken;
  scale = taken;
  return cut;
}

QvFCurveStretcher::QvFCurveStretcher(QvBaseFCurve& curve, QvExtent2<double>& extent,
                                     const QvDoubleArray& keys, const QvExtent2<double>& limits,
                                     const QvPoint2<double>& anchor,
                                     QvBaseFCurve::RegionHandle handle, QvLong boundFarSide,
                                     double tolerance)
    : m_impl(nullptr) {
  try {
    m_impl = new Impl(curve);
    QvBaseFCurve::LockGuard guard(curve);
    m_impl->valid = m_impl->Begin(extent, keys, limits, anchor, handle, boundFarSide, tolerance);
  } catch (const std::bad_alloc&) {
    if (m_impl != nullptr) m_impl->valid = false;
  }
}

QvFCurveStretcher::~QvFCurveStretcher() { delete m_impl; }

QvLong QvFCurveStretcher::ComputeScalingFactorAndTranslationVector(QvPoint2<double>& translation,
                                                                   double& scale) {
  if (m_impl == nullptr || !m_impl->valid) {
    translation = QvPoint2<double>(0.0, 0.0);
    scale = 1.0;
    return 0;
  }
  Impl& body = *m_impl;
  QvBaseFCurve::LockGuard guard(body.curve);
  const double inf = std::numeric_limits<double>::infinity();
  translation = QvPoint2<double>(0.0, 0.0);
  scale = 1.0;
  for (QvBaseFCurve::RegionHandle edge :
       {QvBaseFCurve::RegionHandleMinParameter, QvBaseFCurve::RegionHandleMaxParameter,
        QvBaseFCurve::RegionHandleMaxValue, QvBaseFCurve::RegionHandleMinValue}) {
    if (edge != body.handle) continue;
    const bool along_parameters = body.MovesParameters();
    double d = along_parameters ? body.lastOffset.x : body.lastOffset.y;
    body.Edge(edge, d, scale, -inf, inf);
    if (along_parameters) translation.x = d;
    else translation.y = d;
  }
  return 1;
}

QvLong QvFCurveStretcher::Update(QvPoint2<double>& offset, double from, double to,
                                 QvDoubleArray& parameters, QvDoubleArray& values,
                                 QvExtent2<double>& changed, QvExtent2<double>& selection,
                                 QvLong& cut) {
  if (m_impl == nullptr || !m_impl->valid) return 0;
  Impl& body = *m_impl;
  if (!(from <= to) || parameters.GetSize() != 0 || values.GetSize() != 0) return 0;
  if (!std::isfinite(offset.x) || !std::isfinite(offset.y)) return 0;
  QvBaseFCurve::LockGuard guard(body.curve);
  if (body.curve.IsReadOnly() != 0 || !qv::internal::mover_supports_kind(body.curve.GetKind()))
    return 0;
  const bool along_parameters = body.MovesParameters();
  double d = along_parameters ? offset.x : offset.y;
  if (body.kind == QvBaseFCurve::KindInteger && !along_parameters)
    d = std::floor(std::fmin(std::fmax(d, -2147483648.0), 2147483647.0) + 0.5);
  double scale = 1.0;
  const QvLong was_cut = body.Edge(body.handle, d, scale, from, to);
  const double a = along_parameters ? body.anchor.x : body.anchor.y;
  try {
    QvDoubleArray new_parameters;
    QvDoubleArray new_values;
    if (body.curve.Set(*body.snapshot) == 0) return 0;
    if (scale != 1.0 &&
        body.curve.ScaleAndOffsetParameters(body.parameters.front(), body.parameters.back(), a,
                                            scale, 0.0, 0, 0, body.handle) == 0) {
      body.curve.Set(*body.snapshot);
      return 0;
    }
    QvExtent2<double> now;
    for (double p : body.parameters) {
      const double q = along_parameters ? a + (p - a) * scale : p;
      double v = 0.0;
      double left = 0.0;
      body.curve.GetKeyValues(q, left, v, 1e-9);
      new_parameters.Add(q);
      new_values.Add(v);
      box_add(now, QvPoint2<double>(q, v));
      if (body.kind == QvBaseFCurve::KindStandard) box_add(now, QvPoint2<double>(q, left));
    }
    QvExtent2<double> region = body.extent;
    box_add(region, now);
    if (std::isfinite(body.prevUnselected)) region.min.x = std::fmin(region.min.x, body.prevUnselected);
    if (std::isfinite(body.nextUnselected)) region.max.x = std::fmax(region.max.x, body.nextUnselected);
    parameters.Add(new_parameters);
    values.Add(new_values);
    changed = region;
    selection = now;
    body.lastOffset = along_parameters ? QvPoint2<double>(d, 0.0) : QvPoint2<double>(0.0, d);
    offset = body.lastOffset;
    cut = was_cut;
    return 1;
  } catch (const std::bad_alloc&) {
    body.curve.Set(*body.snapshot);
    return 0;
  }
}

QvLong QvFCurveStretcher::Finalize() {
  if (m_impl == nullptr || !m_impl->valid) return 0;
  m_impl->snapshot.reset();
  m_impl->valid = false;
  return 1;
}
