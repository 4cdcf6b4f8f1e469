#include <qv/QvRect2f.h>

#include "shape/rectoval_geometry.h"

#include <cmath>

namespace qi = qv::internal;

namespace {

// The anchor of a handle operation. The opposite of the centre, by the same
// rule as the other handles, is handle 4.
QvPoint2<float> anchor_of(const qi::Corners& k, QvULong handle, QvRect2f::CenterStyle style) {
  switch (style) {
    case QvRect2f::CenterStyleCentre:
      return qi::handle_point(k, 0);
    case QvRect2f::CenterStyleOpposite:
      return qi::handle_point(k, qi::opposite_handle(handle));
    default:
      return QvPoint2<float>(0.0f, 0.0f);
  }
}

}  // namespace

QvLong QvRect2f::HandleTranslate(QvULong handle, const QvPoint2<float>& target) {
  if (handle >= qi::kHandleCount) return 0;
  LockGuard guard(*this);
  const QvPoint2<float> h = qi::handle_point(qi::Corners{cornerA, cornerB, cornerC}, handle);
  const QvPoint2<float> d(target.x - h.x, target.y - h.y);
  cornerA += d;
  cornerB += d;
  cornerC += d;
  return 1;
}

// The angle from the handle to the target as seen from the anchor, in
// degrees, counter-clockwise positive as Rotate takes it.
QvLong QvRect2f::HandleRotate(QvULong handle, const QvPoint2<float>& target, CenterStyle style) {
  if (handle >= qi::kHandleCount) return 0;
  LockGuard guard(*this);
  const qi::Corners k{cornerA, cornerB, cornerC};
  const QvPoint2<float> anchor = anchor_of(k, handle, style);
  const QvPoint2<float> h = qi::handle_point(k, handle);
  const QvPoint2<double> a(static_cast<double>(h.x) - anchor.x,
                           static_cast<double>(h.y) - anchor.y);
  const QvPoint2<double> b(static_cast<double>(target.x) - anchor.x,
                           static_cast<double>(target.y) - anchor.y);
  if (a.Length() == 0.0 || b.Length() == 0.0) return 0;
  const double angle = std::atan2(a.x * b.y - a.y * b.x, a.x * b.x + a.y * b.y);
  if (!std::isfinite(angle)) return 0;
  Rotate(angle * (180.0 / 3.14159265358979323846), anchor);
  return 1;
}

QvLong QvRect2f::HandleScale(QvULong handle, const QvPoint2<float>& target, CenterStyle style) {
  if (handle >= qi::kHandleCount) return 0;
  LockGuard guard(*this);
  const qi::Corners k{cornerA, cornerB, cornerC};
  return HandleScale(handle, target, anchor_of(k, handle, style));
}

QvLong QvRect2f::HandleRotate(QvULong handle, const QvPoint2<float>& target, QvLong style) {
  return HandleRotate(handle, target, static_cast<CenterStyle>(style));
}

QvLong QvRect2f::HandleScale(QvULong handle, const QvPoint2<float>& target, QvLong style) {
  return HandleScale(handle, target, static_cast<CenterStyle>(style));
}

QvLong QvRect2f::HandleScale(QvULong handle, const QvPoint2<float>& target,
                             const QvPoint2<float>& anchor) {
  if (handle >= qi::kHandleCount) return 0;
  LockGuard guard(*this);
  const qi::Corners k{cornerA, cornerB, cornerC};
  qi::Corners scaled;
  if (!qi::scale_corners(k, handle, target, anchor, scaled)) return HandleSkew(handle, target);
  cornerA = scaled.a;
  cornerB = scaled.b;
  cornerC = scaled.c;
  return 1;
}

QvLong QvRect2f::HandleSkew(QvULong handle, const QvPoint2<float>& target) {
  LockGuard guard(*this);
  qi::Corners k{cornerA, cornerB, cornerC};
  qi::skew_corners(k, handle, target);
  cornerA = k.a;
  cornerB = k.b;
  cornerC = k.c;
  return 1;
}

QvLong QvRect2f::HandleSkew(QvULong handle, const QvPoint2<float>& target,
                            const QvPoint2<float>&) {
  return HandleSkew(handle, target);
}
