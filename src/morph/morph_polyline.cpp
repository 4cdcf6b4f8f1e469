#include "morph/morph_polyline.h"

#include <qv/QvPoint.h>

#include <algorithm>
#include <cmath>

namespace qv::internal {

namespace {

constexpr double kTwoPi = 6.283185307179586476925286766559;
constexpr double kPi = 3.1415926535897932384626433832795;

double step_length(const QvPoint2<float>& from, const QvPoint2<float>& to) {
  return QvPoint2<float>(to.x - from.x, to.y - from.y).Length();
}

bool snaps_to_source(double t) { return t >= -1e-9 && t <= 1e-9; }
bool snaps_to_target(double t) { return t - 1.0 >= -1e-15 && t - 1.0 <= 1e-15; }

float blend(float a, float b, double t) {
  return static_cast<float>(a * (1.0 - t)) + static_cast<float>(b * t);
}

}  // namespace

double morph_measure(const QvPoint2fArray& polyline, std::vector<double>& cum) {
  const QvULong count = polyline.size;
  cum.assign(count, 0.0);
  for (QvULong i = 1; i < count; ++i) cum[i] = cum[i - 1] + step_length(polyline[i - 1], polyline[i]);
  return count ? cum[count - 1] : 0.0;
}

void morph_resample(const QvPoint2fArray& polyline, const std::vector<double>& cum, QvULong n,
                    QvPoint2fArray& out) {
  const QvULong count = polyline.size;
  if (count == 0 || n == 0) return;
  const double total = cum[count - 1];
  if (total >= -1e-9 && total <= 1e-9) {
    for (QvULong k = 0; k <= n; ++k) out.Add(polyline[0]);
    return;
  }
  const double step = total / static_cast<double>(n);
  out.Add(polyline[0]);
  if (total > step && n != 1) {
    // The target is accumulated rather than multiplied so that a rounding
    // that carries it past the end shows up as a walk off the last piece.
    double target = 0.0;
    QvULong piece = 1;
    for (QvULong k = 1; k < n; ++k) {
      target += step;
      while (piece < count && cum[piece] < target) ++piece;
      if (piece >= count) {
        out.Add(polyline[count - 1]);
        break;
      }
      const QvPoint2<float>& a = polyline[piece - 1];
      const QvPoint2<float>& b = polyline[piece];
      const double fraction = (target - cum[piece - 1]) / (cum[piece] - cum[piece - 1]);
      const float dx = b.x - a.x;
      const float dy = b.y - a.y;
      out.Add(QvPoint2<float>(static_cast<float>(dx * fraction) + a.x,
                              static_cast<float>(dy * fraction) + a.y));
    }
  }
  out.Add(polyline[count - 1]);
}

QvULong morph_step_count(double length_a, double length_b, double step) {
  const double steps = std::ceil(std::max(length_a, length_b) / step);
  if (!(steps >= 1.0)) return 1;  // also a NaN from a zero step over no length
  if (steps >= static_cast<double>(kMaxMorphSteps)) return kMaxMorphSteps;
  return static_cast<QvULong>(steps);
}

void morph_lerp(const QvPoint2fArray& a, QvULong first_a, const QvPoint2fArray& b,
                QvULong first_b, QvULong count, double t, QvPoint2fArray& out) {
  out.Chop(0);
  if (snaps_to_source(t)) {
    out.Add(a.data + first_a, count);
  } else if (snaps_to_target(t)) {
    out.Add(b.data + first_b, count);
  } else {
    for (QvULong i = 0; i < count; ++i) {
      const QvPoint2<float>& pa = a[first_a + i];
      const QvPoint2<float>& pb = b[first_b + i];
      out.Add(QvPoint2<float>(blend(pa.x, pb.x, t), blend(pa.y, pb.y, t)));
    }
  }
}

double morph_heading(double x, double y) {
  const double length = std::sqrt(x * x + y * y);
  const double c = std::clamp(x / length, -1.0, 1.0);
  const double s = std::clamp(y / length, -1.0, 1.0);
  if (std::isnan(c) || std::isnan(s)) return std::nan("");
  // Near the axes asin loses accuracy in the cosine's direction and acos in
  // the sine's, so each quadrant uses whichever is flatter there.
  const bool use_sine = std::fabs(c) > std::sqrt(0.5);
  double h;
  if (s >= 0.0) {
    if (c >= 0.0)
      h = use_sine ? std::asin(s) : std::acos(c);
    else
      h = use_sine ? kPi - std::asin(s) : std::acos(c);
  } else {
    if (c < 0.0)
      h = use_sine ? kPi - std::asin(s) : kTwoPi - std::acos(c);
    else
      h = use_sine ? kTwoPi + std::asin(s) : kTwoPi - std::acos(c);
  }
  h = std::clamp(h, 0.0, kTwoPi);
  if (kTwoPi - h <= 1e-15) h = 0.0;
  return h;
}

void morph_turtle_walk(const QvPoint2fArray& a, const QvPoint2fArray& b, double t,
                       QvPoint2fArray& out) {
  out = a;
  if (snaps_to_source(t)) return;
  if (snaps_to_target(t)) {
    out = b;
    return;
  }
  const QvULong count = std::min(a.size, b.size);
  if (count == 0) return;
  out[0] = QvPoint2<float>(blend(a[0].x, b[0].x, t), blend(a[0].y, b[0].y, t));
  if (count == 1) return;
  // Resampling made every step of each polyline equal, so the first step
  // stands for all of them.
  const double length = step_length(a[0], a[1]) * (1.0 - t) + step_length(b[0], b[1]) * t;
  for (QvULong i = 1; i < count; ++i) {
    const double ha = morph_heading(static_cast<double>(a[i].x - a[i - 1].x),
                                    static_cast<double>(a[i].y - a[i - 1].y));
    const double hb = morph_heading(static_cast<double>(b[i].x - b[i - 1].x),
                                    static_cast<double>(b[i].y - b[i - 1].y));
    // Plain blend of the two numbers: 350 and 10 degrees meet at 180.
    const double h = ha * (1.0 - t) + hb * t;
    out[i] = QvPoint2<float>(static_cast<float>(out[i - 1].x + length * std::cos(h)),
                             static_cast<float>(out[i - 1].y + length * std::sin(h)));
  }
}

}  // namespace qv::internal
