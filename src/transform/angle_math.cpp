#include "transform/angle_math.h"

#include <cmath>

namespace qv::internal {

double snap_unit(double v) {
  if (std::fabs(v) < 1e-7)
    return 0.0;
  if (std::fabs(v - 1.0) < 1e-7)
    return 1.0;
  if (std::fabs(v + 1.0) < 1e-7)
    return -1.0;
  return v;
}

double clamp_unit(double v) {
  if (v < -1.0)
    return -1.0;
  if (v > 1.0)
    return 1.0;
  return v;
}

double wrap_to_turn(double a) {
  return a - std::floor(a * kInvTwoPi) * kTwoPi;
}

double signed_hint(double h) {
  return h - std::floor((h + kPi) / kTwoPi) * kTwoPi;
}

double angle_of(double s, double c, double threshold) {
  s = clamp_unit(s);
  c = clamp_unit(c);
  if (std::fabs(c) > threshold) {
    double a = std::asin(s);
    if (c < 0.0)
      a = (a > 0.0 ? kPi : -kPi) - a;
    return a;
  }
  double a = std::acos(c);
  return s < 0.0 ? -a : a;
}

double angle_distance(double a, double b) {
  double d = std::fabs(wrap_to_turn(a) - wrap_to_turn(b));
  return d > kPi ? kTwoPi - d : d;
}

double nearest_turn(double angle, double hint) {
  return angle + std::floor((kPi + hint - angle) / kTwoPi) * kTwoPi;
}

void settle_gimbal_lock(double& rx, double& ry, double& rz, double ry1, double ry2, double hx,
                        double hy, double hz) {
  const double alt_x = wrap_to_turn(rx + kPi);
  const double alt_z = wrap_to_turn(rz + kPi);
  rx = wrap_to_turn(rx);
  rz = wrap_to_turn(rz);
  const double own = angle_distance(rx, hx) + angle_distance(rz, hz);
  const double alt = angle_distance(alt_x, hx) + angle_distance(alt_z, hz);
  if (!(alt > own)) {
    rx = alt_x;
    rz = alt_z;
  }
  ry = angle_distance(ry1, hy) < angle_distance(ry2, hy) ? ry1 : ry2;
}

double heading_of(double c, double s) {
  c = clamp_unit(c);
  s = clamp_unit(s);
  if (std::fabs(c) > 0.7071067811865476) {
    double a = std::asin(s);
    if (c < 0.0)
      return kPi - a;
    return a < 0.0 ? a + kTwoPi : a;
  }
  double a = std::acos(c);
  return s < 0.0 ? kTwoPi - a : a;
}

}  // namespace qv::internal
