#include "fcurve/mover_common.h"

#include <cmath>

namespace qv::internal {

bool mover_supports_kind(QvLong kind) {
  return kind == QvBaseFCurve::KindBoolean || kind == QvBaseFCurve::KindInteger ||
         kind == QvBaseFCurve::KindStandard || kind == QvBaseFCurve::KindRaw ||
         kind == QvBaseFCurve::KindQuat;
}

void box_add(QvExtent2<double>& box, const QvPoint2<double>& p) {
  if (box.state == QvExtentStates::ExtentUniverse) return;
  if (box.state != QvExtentStates::ExtentBounded) {
    box.min = p;
    box.max = p;
    box.state = QvExtentStates::ExtentBounded;
    return;
  }
  box.min.x = std::fmin(box.min.x, p.x);
  box.min.y = std::fmin(box.min.y, p.y);
  box.max.x = std::fmax(box.max.x, p.x);
  box.max.y = std::fmax(box.max.y, p.y);
}

void box_add(QvExtent2<double>& box, const QvExtent2<double>& other) {
  if (other.state == QvExtentStates::ExtentUniverse) {
    box.state = QvExtentStates::ExtentUniverse;
    return;
  }
  if (other.state != QvExtentStates::ExtentBounded) return;
  box_add(box, other.min);
  box_add(box, other.max);
}

namespace {

double degrees_of(const QvPoint2<double>& v) {
  double a = std::atan2(v.y, v.x) * 57.29577951308232;
  if (a < 0.0) a += 360.0;
  return a;
}

bool is_null(const QvPoint2<double>& v) { return std::fabs(v.x) <= 1e-7 && std::fabs(v.y) <= 1e-7; }

}  // namespace

double angle_between(const QvPoint2<double>& a, const QvPoint2<double>& b) {
  if (is_null(a) || is_null(b)) return 0.0;
  const double from = degrees_of(a);
  const double to = degrees_of(b);
  double angle = to - from;
  if (to < from) angle += 360.0;
  if (angle < 0.0) angle = 0.0;
  if (angle > 360.0) angle = 360.0;
  if (std::fabs(angle - 360.0) <= 1e-9) angle = 0.0;
  return angle;
}

QvPoint2<double> rotate_degrees(const QvPoint2<double>& v, double degrees) {
  const double r = degrees * 0.017453292519943295;
  const double c = std::cos(r);
  const double s = std::sin(r);
  return QvPoint2<double>(v.x * c - v.y * s, v.x * s + v.y * c);
}

// The validity polynomial x1^2 + x2^2 - x3 (x1 - x0) - x2 (x0 + x1), set to zero, is the
// quadratic x2^2 - s x2 - q = 0 in the handle x2, with s = x0 + x1 and q = (x1 - x0) x3 - x1^2.
// It is negative between its roots, and x1 always lies between them, so a handle that reaches
// too far left meets the smaller root first. Written for u = -x2 the quadratic is u^2 + s u - q,
// whose roots are -r and q / r with the cancellation-free r = (s + sign(s) root) / 2.
bool left_handle_x_limit(double x0, double x1, double x3, double& limit) {
  const double s = x0 + x1;
  const double q = (x1 - x0) * x3 - x1 * x1;
  const double disc = 4.0 * q + s * s;
  if (!(q >= 0.0) || !(disc >= 0.0)) return false;
  const double root = std::sqrt(disc);
  double u0;
  double u1;
  if (std::fabs(s) <= 1e-7) {
    u0 = std::sqrt(q);
    u1 = -u0;
  } else {
    const double r = (s + (s < 0.0 ? -root : root)) * 0.5;
    u0 = -r;
    u1 = q / r;
  }
  // x2 = -u; the smaller x2 belongs to the larger u.
  limit = -std::fmax(u0, u1);
  return std::isfinite(limit);
}

}  // namespace qv::internal
