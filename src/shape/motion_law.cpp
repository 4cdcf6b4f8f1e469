#include "shape/motion_body.h"

#include <qv/QvBezierTool.h>

#include <algorithm>

namespace qv::internal {

double motion_flatten_segment(const QvMotionPath3dImpl& body, QvULong k, double tol,
                              QvPoint3dArray& poly, std::vector<double>& cumulative) {
  poly.Chop(0);
  QvBezierTool_FlattenCubic3d(body.points.data() + 3u * k, tol, &poly, 0);
  cumulative.resize(poly.size);
  double total = 0.0;
  if (poly.size) cumulative[0] = 0.0;
  for (QvULong i = 1; i < poly.size; ++i) {
    total += std::sqrt(motion_squared_length(motion_sub(poly[i], poly[i - 1])));
    cumulative[i] = total;
  }
  return total;
}

namespace {

double segment_length(const QvMotionPath3dImpl& body, QvULong k, double tol) {
  QvPoint3dArray poly(32);
  std::vector<double> cumulative;
  return motion_flatten_segment(body, k, tol, poly, cumulative);
}

}  // namespace

// The law is the cubic Hermite of distance over time with the end speeds w0 and w1, written in
// absolute time so that stored documents keep their exact positions:
//   s(t) = 3 a t^2 + 2 b t + c,  D(t) = ((a t + b) t + c) t.
MotionSpeedLaw motion_speed_law(const QvMotionPath3dImpl& body, QvULong k, double tol,
                                double length) {
  MotionSpeedLaw law;
  law.t0 = body.nodeTimes[k];
  law.t1 = body.nodeTimes[k + 1];
  law.length = length;
  const std::int32_t right = body.tangentInfo[k].right;
  const std::int32_t left = body.tangentInfo[k + 1].left;
  const double t0 = law.t0;
  const double t1 = law.t1;

  double w0 = 0.0;
  if (right == QvMotionPath3d::TangentEase) {
    w0 = 0.0;
  } else if (right == QvMotionPath3d::TangentConstant && left == QvMotionPath3d::TangentConstant) {
    law.uniform = true;
    return law;
  } else if (k > 0) {
    const double before = segment_length(body, k - 1, tol);
    w0 = (before + length) / (t1 - body.nodeTimes[k - 1]);
  }

  double w1 = 0.0;
  if (left == QvMotionPath3d::TangentEase) {
    w1 = 0.0;
  } else if (left == QvMotionPath3d::TangentConstant) {
    w1 = length / (t1 - t0);
  } else if (k + 2 < body.NumNodes()) {
    const double after = segment_length(body, k + 1, tol);
    w1 = (length + after) / (body.nodeTimes[k + 2] - t0);
  }

  const double h = 1.0 / (t1 - t0);
  const double m = h * length;
  law.a = (w0 + w1 - 2.0 * m) * (h * h);
  law.b = ((3.0 * m - 2.0 * w0 - w1) * 2.0 * h * t1 - (w0 - 3.0 * m + 2.0 * w1) * 2.0 * h * t0) *
          h / 2.0;
  law.c = w0 - (2.0 * law.b + 3.0 * law.a * t0) * t0;
  law.d0 = ((law.a * t0 + law.b) * t0 + law.c) * t0;
  return law;
}

double MotionSpeedLaw::Distance(double t) const {
  double d;
  if (uniform) {
    d = length * (t - t0) / (t1 - t0);
  } else {
    d = ((a * t + b) * t + c) * t - d0;
  }
  if (!(d > 0.0)) return 0.0;
  return d > length ? length : d;
}

double MotionSpeedLaw::TimeAt(double d) const {
  if (!(d > 0.0)) return t0;
  if (uniform) return d >= length ? t1 : t0 + (t1 - t0) * (d / length);
  // The law may overshoot and come back when the end speeds are far from the mean, so it is not
  // inverted in closed form: bisection finds the earliest crossing of a monotone envelope.
  double lo = t0;
  double hi = t1;
  for (int i = 0; i < 64 && lo < hi; ++i) {
    const double mid = lo + (hi - lo) * 0.5;
    if (mid <= lo || mid >= hi) break;
    if (Distance(mid) >= d) hi = mid;
    else lo = mid;
  }
  return hi;
}

QvPoint3<double> motion_point_at_distance(const QvPoint3dArray& poly,
                                          const std::vector<double>& cumulative, double d) {
  const QvULong n = poly.size;
  if (n == 0) return QvPoint3<double>();
  if (!(d > 0.0)) return poly[0];
  if (d >= cumulative[n - 1]) return poly[n - 1];
  // First chord end at or beyond d.
  const auto it = std::lower_bound(cumulative.begin(), cumulative.end(), d);
  QvULong j = static_cast<QvULong>(it - cumulative.begin());
  if (j == 0) return poly[0];
  const QvULong i = j - 1;
  const double chord = cumulative[j] - cumulative[i];
  if (!(chord > 0.0)) return poly[j];
  const double u = (d - cumulative[i]) / chord;
  return motion_add(poly[i], motion_scale(motion_sub(poly[j], poly[i]), u));
}

QvULong motion_find_segment(const QvMotionPath3dImpl& body, double t) {
  QvULong lo = 0;
  QvULong hi = body.NumNodes() - 1;
  while (hi - lo > 1) {
    const QvULong mid = lo + (hi - lo) / 2;
    if (body.nodeTimes[mid] <= t) lo = mid;
    else hi = mid;
  }
  return lo;
}

QvPoint3<double> motion_eval(const QvMotionPath3dImpl& body, double t, double tol,
                             bool ignoreHold) {
  const QvULong n = body.NumNodes();
  if (n == 1 || t <= body.nodeTimes[0] + kMotionTimeTolerance) return body.points.front();
  if (t >= body.nodeTimes[n - 1] - kMotionTimeTolerance) return body.points.back();
  if (t != t) return body.points.front();
  const QvULong k = motion_find_segment(body, t);
  const double t0 = body.nodeTimes[k];
  const double t1 = body.nodeTimes[k + 1];
  if (std::fabs(t - t0) <= kMotionTimeTolerance) return body.points[3u * k];
  if (std::fabs(t - t1) <= kMotionTimeTolerance) return body.points[3u * k + 3u];
  if (!ignoreHold && body.tangentInfo[k].right == QvMotionPath3d::TangentHold)
    return body.points[3u * k];

  const QvPoint3<double>& p0 = body.points[3u * k];
  const QvPoint3<double>& p1 = body.points[3u * k + 3u];
  if (body.IsStraight(k)) {
    const double u = (t - t0) / (t1 - t0);
    return motion_add(p0, motion_scale(motion_sub(p1, p0), u));
  }

  QvPoint3dArray poly(32);
  std::vector<double> cumulative;
  const double length = motion_flatten_segment(body, k, tol, poly, cumulative);
  if (std::fabs(length) < kMotionMinLength) return p0;
  const MotionSpeedLaw law = motion_speed_law(body, k, tol, length);
  return motion_point_at_distance(poly, cumulative, law.Distance(t));
}

bool motion_lock_g1(QvMotionPath3dImpl& body, QvULong k) {
  const QvULong n = body.NumNodes();
  if (n < 2 || k >= n) return false;
  if (k == 0 || k == n - 1) {
    // An end node has one control only: nothing to line up, the flag just remembers the wish.
    if (body.IsStraight(k == 0 ? 0 : n - 2)) return false;
    body.nodeFlags[k] = static_cast<unsigned char>(body.nodeFlags[k] | QvMotionPath3d::NodeG1Locked);
    return true;
  }
  if (body.IsStraight(k - 1) || body.IsStraight(k)) return false;
  const QvPoint3<double> node = body.points[3u * k];
  const QvPoint3<double> before = body.points[3u * k - 1u];
  const QvPoint3<double> after = body.points[3u * k + 1u];
  const double len_before = motion_handle_length(motion_sub(before, node));
  const double len_after = motion_handle_length(motion_sub(node, after));
  if (len_before < kMotionMinLength || len_after < kMotionMinLength) return false;
  QvPoint3<double> d =
      motion_scale(motion_add(motion_sub(before, node), motion_sub(node, after)), 0.5);
  if (motion_handle_length(d) < kMotionMinLength) return false;
  d.Normalize();
  body.points[3u * k - 1u] = motion_add(node, motion_scale(d, len_before));
  body.points[3u * k + 1u] = motion_sub(node, motion_scale(d, len_after));
  body.nodeFlags[k] = static_cast<unsigned char>(body.nodeFlags[k] | QvMotionPath3d::NodeG1Locked);
  return true;
}

}  // namespace qv::internal
