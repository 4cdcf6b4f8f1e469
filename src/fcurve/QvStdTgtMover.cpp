#include <qv/QvFCurveMovers.h>

#include "fcurve/QvStdFCurveImpl.h"
#include "fcurve/edit_ops.h"
#include "fcurve/mover_common.h"

#include <cmath>
#include <new>

using Point2d = QvPoint2<double>;

// The body of a tangent drag: the key, the side that is dragged, and for each side of the key what
// it was at mouse-down, so that every Update turns and scales from the start of the drag.
class QvStdTgtMoverImpl {
 public:
  struct Side {
    Point2d key;            // the key point on this side
    Point2d tangent;        // stored handle minus key point at the start
    double length = 0.0;
    bool hasPartner = false;
    Point2d partnerKey;     // the neighbouring key on this side
    Point2d partnerHandle;  // its handle that faces this key
  };

  explicit QvStdTgtMoverImpl(QvStdFCurve& c) : curve(c) {}

  void Begin(double parameter, QvBaseFCurve::KeySide dragged, double tolerance);
  QvLong Update(const Point2d& target, QvLong keepContinuity, QvLong keepLength, double scale,
                QvExtent2<double>& affected);
  QvLong Move(bool left, const Point2d& target, QvLong keepContinuity, QvLong keepLength,
              double scale, QvExtent2<double>& affected);
  bool Limit(const QvStdFCurveImpl& body, bool left, const Point2d& key, Point2d wanted,
             Point2d& handle) const;

  QvStdFCurve& curve;
  QvULong index = 0;
  QvBaseFCurve::KeySide side = QvBaseFCurve::KeySideLeft;
  bool valid = false;
  bool firstUpdate = true;
  Side sides[2];  // left, right
};

void QvStdTgtMoverImpl::Begin(double parameter, QvBaseFCurve::KeySide dragged, double tolerance) {
  QvBaseFCurve::LockGuard guard(curve);
  QvStdFCurveImpl& body = *curve.GetImpl();
  if (body.m_numKeys < 2 || std::isnan(parameter) || !(tolerance >= 0.0)) return;
  QvULong i;
  if (!body.FindKeyNear(parameter, tolerance, i)) return;
  index = i;
  side = dragged;
  // An automatic, flat or linear tangent becomes a stored one first, so that the handle the
  // host grabs is the one it sees and the shape does not jump at the first move.
  curve.FreezeTangentsInInterval(i, i, 0, 0, static_cast<QvBaseFCurve::KeyConstraint>(0x9C0));
  const QvStdFCurveKey& k = body.Key(i);
  Side& l = sides[0];
  l.key = Point2d(k.parameter, k.leftValue);
  l.tangent = Point2d(k.leftHandle.x - l.key.x, k.leftHandle.y - l.key.y);
  l.length = std::sqrt(l.tangent.x * l.tangent.x + l.tangent.y * l.tangent.y);
  if (i > 0) {
    const QvStdFCurveKey& p = body.Key(i - 1);
    l.hasPartner = true;
    l.partnerKey = Point2d(p.parameter, p.rightValue);
    l.partnerHandle = p.rightHandle;
  }
  Side& r = sides[1];
  r.key = Point2d(k.parameter, k.rightValue);
  r.tangent = Point2d(k.rightHandle.x - r.key.x, k.rightHandle.y - r.key.y);
  r.length = std::sqrt(r.tangent.x * r.tangent.x + r.tangent.y * r.tangent.y);
  if (i + 1 < body.m_numKeys) {
    const QvStdFCurveKey& n = body.Key(i + 1);
    r.hasPartner = true;
    r.partnerKey = Point2d(n.parameter, n.leftValue);
    r.partnerHandle = n.leftHandle;
  }
  valid = true;
}

// A handle stays on its own side of the key, and its segment stays invertible. The limit of the
// validity polynomial is met by moving the handle back towards the key along the line to the
// wanted place; the right side is the left one seen in a mirror, which leaves the polynomial as
// it is. Without a limit, or if rounding leaves the limit just outside, the handle is shortened
// step by step.
bool QvStdTgtMoverImpl::Limit(const QvStdFCurveImpl& body, bool left, const Point2d& key,
                              Point2d wanted, Point2d& handle) const {
  if (left ? wanted.x > key.x : wanted.x < key.x) wanted.x = key.x;
  const bool has_partner = left ? index > 0 : index + 1 < body.m_numKeys;
  if (!has_partner) {
    handle = wanted;
    return true;
  }
  const QvULong segment = left ? index - 1 : index;
  const QvStdFCurveKey& other = body.Key(left ? index - 1 : index + 1);
  auto passes = [&](const Point2d& h) {
    return left ? qv::internal::segment_valid_with(body, segment, other.rightHandle, h)
                : qv::internal::segment_valid_with(body, segment, h, other.leftHandle);
  };
  if (passes(wanted)) {
    handle = wanted;
    return true;
  }
  double limit;
  const bool found = left ? qv::internal::left_handle_x_limit(other.parameter, other.rightHandle.x,
                                                              key.x, limit)
                          : qv::internal::left_handle_x_limit(-other.parameter,
                                                              -other.leftHandle.x, -key.x, limit);
  if (found) {
    limit = left ? std::fmax(limit, other.parameter) : std::fmin(-limit, other.parameter);
    const double reach = wanted.x - key.x;
    if (reach != 0.0) {
      const double t = (limit - key.x) / reach;
      if (t >= 0.0 && t <= 1.0) {
        const Point2d h(key.x + t * reach, key.y + t * (wanted.y - key.y));
        if (passes(h)) {
          handle = h;
          return true;
        }
        wanted = h;
      }
    }
  }
  return left ? qv::internal::fit_left_handle(body, index, wanted, handle)
              : qv::internal::fit_right_handle(body, index, wanted, handle);
}

QvLong QvStdTgtMoverImpl::Move(bool left, const Point2d& target, QvLong keepContinuity,
                               QvLong keepLength, double scale, QvExtent2<double>& affected) {
  QvBaseFCurve::LockGuard guard(curve);
  QvStdFCurveImpl& body = *curve.GetImpl();
  if (index >= body.m_numKeys) return 0;
  const QvStdFCurveKey& key = body.Key(index);
  if (key.flags & (qv::internal::kFlagTangentDirectionLocked | qv::internal::kFlagTangentLengthLocked))
    return 0;
  const Side& mine = sides[left ? 0 : 1];
  const Side& theirs = sides[left ? 1 : 0];
  const Point2d here(key.parameter, left ? key.leftValue : key.rightValue);
  const Point2d there(key.parameter, left ? key.rightValue : key.leftValue);
  Point2d handle;
  if (!Limit(body, left, here, Point2d(here.x + target.x, here.y + target.y), handle)) return 0;
  Point2d other_handle;
  const bool turn_other = keepContinuity != 0;
  if (turn_other) {
    const double angle = qv::internal::angle_between(mine.tangent, target);
    Point2d dir = qv::internal::rotate_degrees(theirs.tangent, angle);
    if (keepLength != 0) {
      const Point2d t(handle.x - here.x, handle.y - here.y);
      const double want = std::sqrt(t.x * t.x + t.y * scale * t.y * scale);
      const double have = std::sqrt(dir.x * dir.x + dir.y * scale * dir.y * scale);
      if (have > 0.0) dir = Point2d(dir.x * want / have, dir.y * want / have);
    }
    if (!Limit(body, !left, there, Point2d(there.x + dir.x, there.y + dir.y), other_handle))
      return 0;
  }
  const bool was_continuous = (key.flags & qv::internal::kFlagTangentContinuity) != 0;
  if (left) {
    qv::internal::store_left_handle(body, index, handle);
    if (turn_other) qv::internal::store_right_handle(body, index, other_handle);
  } else {
    qv::internal::store_right_handle(body, index, handle);
    if (turn_other) qv::internal::store_left_handle(body, index, other_handle);
  }
  double parameter = body.Key(index).parameter;
  if (keepContinuity != 0 && was_continuous) {
    curve.LockTangentContinuity(parameter, 0.0);
  } else {
    body.Key(index).flags =
        static_cast<std::uint16_t>(body.Key(index).flags & ~qv::internal::kFlagTangentContinuity);
  }
  if (body.Key(index).flags & qv::internal::kFlagTangentContinuity) {
    if (left) qv::internal::propagate_left(body, index);
    else qv::internal::propagate_right(body, index);
  }
  parameter = body.Key(index).parameter;
  if (keepLength != 0) curve.LockTangentLengthContinuity(parameter, 0.0, scale);
  else curve.UnlockTangentLengthContinuity(parameter, 0.0, scale);
  QvExtent2<double> box;
  const QvStdFCurveKey& k = body.Key(index);
  qv::internal::box_add(box, Point2d(k.parameter, k.leftValue));
  qv::internal::box_add(box, Point2d(k.parameter, k.rightValue));
  if (index > 0) {
    const QvStdFCurveKey& p = body.Key(index - 1);
    qv::internal::box_add(box, Point2d(p.parameter, p.rightValue));
  }
  if (index + 1 < body.m_numKeys) {
    const QvStdFCurveKey& n = body.Key(index + 1);
    qv::internal::box_add(box, Point2d(n.parameter, n.leftValue));
  }
  affected = box;
  return 1;
}

QvLong QvStdTgtMoverImpl::Update(const Point2d& target, QvLong keepContinuity, QvLong keepLength,
                                 double scale, QvExtent2<double>& affected) {
  if (curve.IsReadOnly() != 0) return 1;
  if (!valid) return 0;
  if (!std::isfinite(target.x) || !std::isfinite(target.y) || !std::isfinite(scale)) return 0;
  if (firstUpdate) {
    QvBaseFCurve::LockGuard guard(curve);
    const QvStdFCurveImpl& body = *curve.GetImpl();
    if (index >= body.m_numKeys) return 0;
    double parameter = body.Key(index).parameter;
    // The handle is the user's now: no rule may recompute it.
    curve.SetConstraint(parameter, static_cast<QvBaseFCurve::KeyConstraint>(448), 0, 0.0);
    firstUpdate = false;
  }
  switch (side) {
    case QvBaseFCurve::KeySideLeft:
      return Move(true, target, keepContinuity, keepLength, scale, affected);
    case QvBaseFCurve::KeySideRight:
      return Move(false, target, keepContinuity, keepLength, scale, affected);
    default:
      return 0;
  }
}

QvStdTgtMover::QvStdTgtMover(QvStdFCurve& curve, double parameter, QvBaseFCurve::KeySide side,
                             double tolerance)
    : m_impl(nullptr) {
  try {
    m_impl = new QvStdTgtMoverImpl(curve);
    m_impl->Begin(parameter, side, tolerance);
  } catch (const std::bad_alloc&) {
    if (m_impl != nullptr) m_impl->valid = false;
  }
}

QvStdTgtMover::~QvStdTgtMover() { delete m_impl; }

QvLong QvStdTgtMover::Update(const QvPoint2<double>& target, QvLong keepContinuity,
                             QvLong keepLength, double scale, QvExtent2<double>& affected) {
  if (m_impl == nullptr) return 0;
  return m_impl->Update(target, keepContinuity, keepLength, scale, affected);
}
