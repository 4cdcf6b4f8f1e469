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
