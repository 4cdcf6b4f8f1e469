#include <qv/QvFCurveMovers.h>

#include "fcurve/QvStdFCurveImpl.h"
#include "fcurve/edit_ops.h"
#include "fcurve/mover_common.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <new>
#include <vector>

using qv::internal::box_add;
using qv::internal::kMoverMargin;

// The snapshot taken at mouse-down. Every Update starts again from it, so offsets are always
// measured from the start of the drag and rounding never accumulates over a long drag.
class [[gnu::visibility("hidden")]] QvFCurveKeyMover::Impl {
 public:
  using Kind = QvBaseFCurve::Kind;

  Impl(QvBaseFCurve& c) : curve(c) {}

  bool Begin(const QvDoubleArray& keys, const QvExtent2<double>& keysExtent,
             const QvExtent2<double>& limits);
  QvLong Update(QvPoint2<double>& offset, QvDoubleArray& moved, QvExtent2<double>& changed,
                QvExtent2<double>& selection, double from, double to);

  bool MoveStandard(double dx, double dy);
  bool MoveGeneric(double dx, double dy);

  QvBaseFCurve& curve;
  Kind kind = static_cast<Kind>(0);
  std::unique_ptr<QvBaseFCurve> snapshot;
  std::vector<double> requested;  // the caller's order, snapped onto keys
  std::vector<double> selected;   // rising, without repeats
  std::vector<QvULong> indices;   // of `selected` in the snapshot
  QvExtent2<double> extent;       // the selection's box at the start
  double prevUnselected = -std::numeric_limits<double>::infinity();
  double nextUnselected = std::numeric_limits<double>::infinity();
  double dxMin = 0.0, dxMax = 0.0, dyMin = 0.0, dyMax = 0.0;
  double valueMin = 0.0, valueMax = 0.0;
  bool parameterLocked = false;
  bool valueLocked = false;
  bool valid = false;
};

namespace {

constexpr double kInf = std::numeric_limits<double>::infinity();

bool bounded(const QvExtent2<double>& box) { return box.state == QvExtentStates::ExtentBounded; }

double clamp_to(double v, double lo, double hi) {
  if (lo > hi) return 0.0;
  return std::fmin(std::fmax(v, lo), hi);
}

}  // namespace

bool QvFCurveKeyMover::Impl::Begin(const QvDoubleArray& keys, const QvExtent2<double>& keysExtent,
                                   const QvExtent2<double>& limits) {
  kind = curve.GetKind();
  if (!qv::internal::mover_supports_kind(kind) || curve.IsReadOnly() != 0) return false;
  if (keys.GetSize() == 0 || curve.GetNumKeys() == 0) return false;
  QvDoubleArray all;
  curve.GetAllKeyParameters(all);
  std::vector<bool> chosen(all.GetSize(), false);
  for (QvULong k = 0; k < keys.GetSize(); ++k) {
    double p = keys[k];
    if (!std::isfinite(p) || curve.GetNearestKeyParameterInCenteredInterval(p, 1e-12) == 0)
      return false;
    QvULong index;
    if (curve.GetKeyIndex(p, index) == 0 || index >= all.GetSize()) return false;
    requested.push_back(p);
    chosen[index] = true;
  }
  extent = QvExtent2<double>();
  for (QvULong i = 0; i < all.GetSize(); ++i) {
    if (!chosen[i]) continue;
    const double p = all[i];
    selected.push_back(p);
    indices.push_back(i);
    double left = 0.0, right = 0.0;
    curve.GetKeyValues(p, left, right, 0.0);
    box_add(extent, QvPoint2<double>(p, right));
    if (kind == QvBaseFCurve::KindStandard) box_add(extent, QvPoint2<double>(p, left));
    QvLong on = 0;
    double at = p;
    if (curve.GetConstraint(at, QvBaseFCurve::KCParameterLocked, on, 0.0) && on) parameterLocked = true;
    at = p;
    on = 0;
    if (curve.GetConstraint(at, QvBaseFCurve::KCValueLocked, on, 0.0) && on) valueLocked = true;
  }
  valueMin = extent.min.y;
  valueMax = extent.max.y;
  // No selected key may pass an unselected one: each keeps the margin to the nearest unselected
  // key on either side. A key that is already closer than the margin pins that direction.
  dxMin = -kInf;
  dxMax = kInf;
  for (QvULong i = 0; i < all.GetSize(); ++i) {
    if (!chosen[i]) continue;
    QvULong j = i;
    while (j > 0 && chosen[j - 1]) --j;
    if (j > 0) dxMin = std::fmax(dxMin, all[j - 1] + kMoverMargin - all[i]);
    j = i;
    while (j + 1 < all.GetSize() && chosen[j + 1]) ++j;
    if (j + 1 < all.GetSize()) dxMax = std::fmin(dxMax, all[j + 1] - kMoverMargin - all[i]);
  }
  if (indices.front() > 0) prevUnselected = all[indices.front() - 1];
  if (indices.back() + 1 < all.GetSize()) nextUnselected = all[indices.back() + 1];
  dyMin = -kInf;
  dyMax = kInf;
  if (bounded(limits)) {
    const QvExtent2<double>& box = bounded(keysExtent) ? keysExtent : extent;
    dxMin = std::fmax(dxMin, limits.min.x - box.min.x);
    dxMax = std::fmin(dxMax, limits.max.x - box.max.x);
    if (limits.min.y > qv::internal::kFloatLowest) dyMin = limits.min.y - box.min.y;
    dyMax = limits.max.y - box.max.y;
  }
  dxMin = std::fmin(dxMin, 0.0);
  dxMax = std::fmax(dxMax, 0.0);
  dyMin = std::fmin(dyMin, 0.0);
  dyMax = std::fmax(dyMax, 0.0);
  snapshot.reset(curve.Clone());
  return snapshot != nullptr;
}

// The standard curve moves its key records whole, so handles, flags, segment kinds and spare
// bytes ride along. The selection keeps its place in the key order, since no selected key may
// pass an unselected one; only the segments at the selection's borders need repair.
bool QvFCurveKeyMover::Impl::MoveStandard(double dx, double dy) {
  auto& target = static_cast<QvStdFCurve&>(curve);
  const auto& original = static_cast<const QvStdFCurve&>(*snapshot);
  QvStdFCurveImpl work(*original.GetImpl());
  for (QvULong i : indices) {
    QvStdFCurveKey& key = work.Key(i);
    key.parameter += dx;
    key.leftValue += dy;
    key.rightValue += dy;
    key.leftHandle.x += dx;
    key.leftHandle.y += dy;
    key.rightHandle.x += dx;
    key.rightHandle.y += dy;
  }
  for (QvULong i = 1; i < work.m_numKeys; ++i)
    if (!(work.Key(i).parameter > work.Key(i - 1).parameter)) return false;
  for (QvULong i : indices) {
    const QvULong first = i == 0 ? 0 : i - 1;
    const QvULong last = std::min<QvULong>(i + 1, work.m_numKeys - 1);
    if (work.m_defaultBezierTangent != 0) {
      // Handles sit a third of the way to the neighbours, which have moved.
      for (QvULong k = first; k <= last; ++k) {
        qv::internal::store_left_handle(work, k, work.Key(k).leftHandle);
        qv::internal::store_right_handle(work, k, work.Key(k).rightHandle);
      }
    }
    qv::internal::repair_segments(work, first, i);
  }
  target = original;
  target.GetImpl()->Swap(work);
  if (dx != 0.0) {
    QvDoubleArray from_parameters;
    QvDoubleArray to_parameters;
    for (double p : selected) {
      from_parameters.Add(p);
      to_parameters.Add(p + dx);
    }
    curve.MoveKeyUserDataTail(from_parameters, to_parameters);
  }
  return true;
}

// Other kinds move each key through the frame's own stretch slot with a scale of 1, which keeps
// everything the kind stores with a key (locks, user data, the other channels of a rotation key)
// and re-inserts it at its new place. Keys go in the order of the move, the leading one first,
// so that no key is ever moved onto another of the selection.
bool QvFCurveKeyMover::Impl::MoveGeneric(double dx, double dy) {
  if (curve.Set(*snapshot) == 0) return false;
  bool ok = true;
  const std::size_t n = selected.size();
  if (dx != 0.0) {
    for (std::size_t k = 0; ok && k < n; ++k) {
      const double p = selected[dx > 0.0 ? n - 1 - k : k];
      ok = curve.ScaleAndOffsetParameters(p, p, 0.0, 1.0, dx, 0, 0,
                                          QvBaseFCurve::RegionHandleMaxParameter) != 0;
    }
  }
  if (dy != 0.0) {
    for (std::size_t k = 0; ok && k < n; ++k) {
      const double p = selected[k] + dx;
      ok = curve.ScaleAndOffsetParameters(p, p, 0.0, 1.0, dy, 0, 0,
                                          QvBaseFCurve::RegionHandleMaxValue) != 0;
    }
  }
  if (!ok) curve.Set(*snapshot);
  return ok;
}

QvLong QvFCurveKeyMover::Impl::Update(QvPoint2<double>& offset, QvDoubleArray& moved,
                                      QvExtent2<double>& changed, QvExtent2<double>& selection,
                                      double from, double to) {
  if (!valid || !(from <= to) || moved.GetSize() != 0) return 0;
  if (!std::isfinite(offset.x) || !std::isfinite(offset.y)) return 0;
  QvBaseFCurve::LockGuard guard(curve);
  if (curve.IsReadOnly() != 0) return 0;
  double dy = offset.y;
  switch (kind) {
    case QvBaseFCurve::KindBoolean:
      dy = 0.0;  // boolean keys move only along the parameter axis
      break;
    case QvBaseFCurve::KindInteger:
      dy = std::floor(std::fmin(std::fmax(dy, -2147483648.0), 2147483647.0) + 0.5);
      // Keep every moved value a 32-bit integer.
      dy = std::fmin(std::fmax(dy, -2147483648.0 - valueMin), 2147483647.0 - valueMax);
      break;
    case QvBaseFCurve::KindStandard:
    case QvBaseFCurve::KindRaw:
    case QvBaseFCurve::KindQuat:
      break;
    default:
      return 0;
  }
  double dx = clamp_to(offset.x, std::fmax(dxMin, from - selected.front()),
                       std::fmin(dxMax, to - selected.back()));
  dy = clamp_to(dy, dyMin, dyMax);
  if (kind == QvBaseFCurve::KindInteger) dy = std::trunc(dy);
  if (parameterLocked) dx = 0.0;
  if (valueLocked) dy = 0.0;
  try {
    QvDoubleArray out;
    for (double p : requested) out.Add(p + dx);
    const bool ok = kind == QvBaseFCurve::KindStandard ? MoveStandard(dx, dy) : MoveGeneric(dx, dy);
    if (!ok) return 0;
    QvExtent2<double> now = extent;
    now.min.x += dx;
    now.max.x += dx;
    now.min.y += dy;
    now.max.y += dy;
    QvExtent2<double> region = extent;
    box_add(region, now);
    // The segments that join the selection to its neighbours change too.
    if (std::isfinite(prevUnselected)) region.min.x = prevUnselected;
    if (std::isfinite(nextUnselected)) region.max.x = nextUnselected;
    moved.Add(out);
    changed = region;
    selection = now;
    offset = QvPoint2<double>(dx, dy);
    return 1;
  } catch (const std::bad_alloc&) {
    curve.Set(*snapshot);
    return 0;
  }
}

QvFCurveKeyMover::QvFCurveKeyMover(QvBaseFCurve& curve, const QvDoubleArray& keys,
                                   const QvExtent2<double>& keysExtent,
                                   const QvExtent2<double>& limits)
    : m_impl(nullptr) {
  try {
    m_impl = new Impl(curve);
    QvBaseFCurve::LockGuard guard(curve);
    m_impl->valid = m_impl->Begin(keys, keysExtent, limits);
  } catch (const std::bad_alloc&) {
    if (m_impl != nullptr) m_impl->valid = false;
  }
}

QvFCurveKeyMover::~QvFCurveKeyMover() { delete m_impl; }

QvLong QvFCurveKeyMover::Update(QvPoint2<double>& offset, QvDoubleArray& moved,
                                QvExtent2<double>& changed, QvExtent2<double>& selection,
                                double from, double to) {
  if (m_impl == nullptr) return 0;
  return m_impl->Update(offset, moved, changed, selection, from, to);
}

QvLong QvFCurveKeyMover::Finalize() {
  if (m_impl == nullptr || !m_impl->valid) return 0;
  // Keys that were passed keep their own data: no key is ever run over, so nothing was parked.
  m_impl->snapshot.reset();
  m_impl->valid = false;
  return 1;
}
