#include "fcurve/rotation_math.h"

#include <qv/QvQuat.h>

#include <cmath>

namespace qv::internal {

namespace {

constexpr double kThird = 0.3333333333333333;
constexpr double kArcEpsilon = 1e-12;   // below this 1 - |cos| the arc is straight
constexpr double kLinearProbe = 0.0001;  // how far into the end span linear extrapolation looks
// Up to this many cycles the cycle rotation is applied one cycle at a time; beyond, by squaring,
// so that a far parameter costs a few dozen products and not millions.
constexpr double kStepwiseCycles = 65536.0;

Quat scaled(const Quat& v, double s) { return Quat{v.w * s, v.x * s, v.y * s, v.z * s}; }

Quat weighted_sum(double wa, const Quat& a, double wb, const Quat& b) {
  return Quat{wa * a.w + wb * b.w, wa * a.x + wb * b.x, wa * a.y + wb * b.y, wa * a.z + wb * b.z};
}

// The rotation one step beyond `near`, continuing the arc that comes from `far`: the slerp from
// far through near at s = 2. Taken through Euler angles and back so that it returns normalised.
Quat phantom(const Quat& far, const Quat& near) {
  const double d = quat_dot(far, near);
  const double ad = std::fabs(d);
  double w_far = -1.0;
  double w_near = 2.0;
  if (!(1.0 - ad < kArcEpsilon)) {
    const double a = std::acos(ad);
    const double s = std::sin(a);
    w_far = std::sin(a - 2.0 * a) / s;
    w_near = std::sin(2.0 * a) / s;
  }
  if (d < 0.0) w_near = -w_near;
  const Quat sum = weighted_sum(w_far, far, w_near, near);
  QvPoint3<double> euler;
  QvQuat(sum.w, sum.x, sum.y, sum.z).Get(euler);
  return quat_from_euler(euler);
}

// q multiplied on the right by r, `cycles` times.
Quat times_power(Quat result, Quat r, double cycles) {
  if (cycles <= kStepwiseCycles) {
    for (double k = 0.0; k < cycles; k += 1.0) result = quat_mul(result, r);
    return result;
  }
  auto count = static_cast<unsigned long long>(std::fmin(cycles, 4.0e18));
  while (count != 0) {
    if ((count & 1u) != 0) result = quat_mul(result, r);
    r = quat_mul(r, r);
    count >>= 1;
  }
  return result;
}

}  // namespace

Quat quat_mul(const Quat& a, const Quat& b) {
  return Quat{a.w * b.w - a.x * b.x - a.y * b.y - a.z * b.z,
              a.w * b.x + a.x * b.w + a.y * b.z - a.z * b.y,
              a.w * b.y - a.x * b.z + a.y * b.w + a.z * b.x,
              a.w * b.z + a.x * b.y - a.y * b.x + a.z * b.w};
}

Quat quat_inverse(const Quat& q) { return Quat{q.w, -q.x, -q.y, -q.z}; }

double quat_dot(const Quat& a, const Quat& b) {
  return a.w * b.w + a.x * b.x + a.y * b.y + a.z * b.z;
}

Quat quat_log(const Quat& q) {
  Quat out = q;
  if (std::fabs(q.w) < 1.0) {
    const double a = std::acos(q.w);
    const double s = std::sin(a);
    if (std::fabs(s) >= kArcEpsilon) {
      const double f = a / s;
      out.x = q.x * f;
      out.y = q.y * f;
      out.z = q.z * f;
    }
  }
  return out;
}

Quat quat_exp(const Quat& v) {
  double a = std::sqrt(v.x * v.x + v.y * v.y + v.z * v.z);
  if (std::fabs(a) < 1e-9) a = 0.0;
  const double s = std::sin(a);
  Quat out{std::cos(a), v.x, v.y, v.z};
  if (std::fabs(s) >= kArcEpsilon) {
    out.x = v.x * s / a;
    out.y = v.y * s / a;
    out.z = v.z * s / a;
  }
  return out;
}

Quat quat_slerp(const Quat& a, const Quat& b, double s) {
  const double d = quat_dot(a, b);
  const double ad = std::fabs(d);
  double wa = 1.0 - s;
  double wb = s;
  if (!(1.0 - ad < kArcEpsilon)) {
    const double angle = std::acos(ad);
    const double sa = std::sin(angle);
    wa = std::sin(angle - s * angle) / sa;
    wb = std::sin(s * angle) / sa;
  }
  if (d < 0.0) wb = -wb;
  return weighted_sum(wa, a, wb, b);
}

Quat quat_from_euler(const QvPoint3<double>& euler) {
  Quat q{};
  QvQuat(euler).Get(q.w, q.x, q.y, q.z);
  return q;
}

QvPoint3<double> quat_to_euler(const Quat& q, const QvPoint3<double>& hint) {
  QvPoint3<double> euler;
  QvQuat(q.w, q.x, q.y, q.z).Get(euler, hint);
  return euler;
}

// Tangents of the tension, continuity and bias kind, on rotation vectors between neighbours. The
// ends see phantom keys that continue the first and the last arc, so that an end tangent follows
// the curve instead of stopping it. The incoming tangent's second term uses the continuity of the
// span's first key; stored documents were evaluated so.
QuatSegmentTable build_segment_table(const std::vector<QvQuatKey>& keys, QvLong extrapolation) {
  const std::size_t n = keys.size();
  std::vector<Quat> q(n + 2);
  std::vector<double> t(n + 2);
  for (std::size_t i = 0; i < n; ++i) {
    q[i + 1] = quat_from_euler(keys[i].value);
    t[i + 1] = keys[i].time;
  }
  t[0] = 2.0 * t[1] - t[2];
  t[n + 1] = 2.0 * t[n] - t[n - 1];
  q[0] = phantom(q[2], q[1]);
  q[n + 1] = phantom(q[n - 1], q[n]);
  // Neighbours on the same hemisphere, so that every log takes the short way.
  for (std::size_t i = 1; i < n + 2; ++i)
    if (quat_dot(q[i - 1], q[i]) < 0.0) q[i] = scaled(q[i], -1.0);

  QuatSegmentTable table;
  table.count = static_cast<QvULong>(n - 1);
  table.extrapolation = extrapolation;
  table.segments.resize(n - 1);
  for (std::size_t i = 0; i + 1 < n; ++i) {
    const std::size_t p = i, a = i + 1, b = i + 2, nx = i + 3;
    const QvQuatKey& k0 = keys[i];
    const QvQuatKey& k1 = keys[i + 1];
    double h0 = (t[a] - t[p]) / (t[b] - t[p]);
    double h1 = (t[b] - t[a]) / (t[b] - t[p]);
    if ((k0.flags & QvQuatKey::kFlagNegateTimeFactor) != 0) h0 = -h0;
    if ((k1.flags & QvQuatKey::kFlagNegateTimeFactor) != 0) h1 = -h1;
    const Quat l0 = quat_log(quat_mul(quat_inverse(q[p]), q[a]));
    const Quat l1 = quat_log(quat_mul(quat_inverse(q[a]), q[b]));
    const Quat l2 = quat_log(quat_mul(quat_inverse(q[b]), q[nx]));
    const double t0 = k0.tension, c0 = k0.continuity, b0 = k0.bias;
    const double t1 = k1.tension, c1 = k1.continuity, b1 = k1.bias;
    const double out_f = (1.0 - t0) * h0;
    const double out_a = (1.0 + c0) * (1.0 + b0);
    const double out_b = (1.0 - c0) * (1.0 - b0);
    const double in_f = (1.0 - t1) * h1;
    const double in_a = (1.0 - c1) * (1.0 + b1);
    const double in_b = (1.0 + c0) * (1.0 - b1);
    const Quat out{0.0, out_f * (out_a * l0.x + out_b * l1.x), out_f * (out_a * l0.y + out_b * l1.y),
                   out_f * (out_a * l0.z + out_b * l1.z)};
    const Quat in{0.0, in_f * (in_a * l1.x + in_b * l2.x), in_f * (in_a * l1.y + in_b * l2.y),
                  in_f * (in_a * l1.z + in_b * l2.z)};
    QuatSegment& s = table.segments[i];
    s.start = q[a];
    s.end = q[b];
    s.omega1 = scaled(out, kThird);
    s.omega3 = scaled(in, kThird);
    const Quat rest = quat_mul(
        quat_mul(quat_mul(quat_exp(scaled(s.omega1, -1.0)), quat_inverse(s.start)), s.end),
        quat_exp(scaled(s.omega3, -1.0)));
    s.omega2 = quat_log(rest);
    s.timeStart = k0.time;
    s.timeEnd = k1.time;
    s.inverseDuration = 1.0 / (s.timeEnd - s.timeStart);
  }
  return table;
}

Quat eval_segment(const QuatSegment& s, double u) {
  const double v = 1.0 - u;
  const double b1 = 1.0 - v * v * v;
  const double b2 = 3.0 * u * u - 2.0 * u * u * u;
  const double b3 = u * u * u;
  return quat_mul(quat_mul(quat_mul(s.start, quat_exp(scaled(s.omega1, b1))),
                           quat_exp(scaled(s.omega2, b2))),
                  quat_exp(scaled(s.omega3, b3)));
}

SegmentPosition locate_segment(const QuatSegmentTable& table, double t) {
  const QvULong last = table.count - 1;
  if (!(t > table.segments[0].timeStart)) return SegmentPosition{0, 0.0};
  if (t >= table.segments[last].timeEnd) return SegmentPosition{last, 1.0};
  for (QvULong i = 0; i < table.count; ++i) {
    const QuatSegment& s = table.segments[i];
    if (s.timeEnd > t) {
      double u = (t - s.timeStart) * s.inverseDuration;
      if (!std::isfinite(u)) u = 0.0;  // two keys at one time: the span has no inside
      return SegmentPosition{i, u};
    }
  }
  return SegmentPosition{last, 1.0};  // keys out of order: hold the end
}

double fold_cycle(double t, double first, double last) {
  const double period = last - first;
  if (t > last) return std::fmin(std::fmax(std::fmod(t - first, period) + first, first), last);
  if (t < first) return std::fmin(std::fmax(last - std::fmod(first - t, period), first), last);
  return t;
}

Quat eval_table(const QuatSegmentTable& table, double t) {
  const QuatSegment& head = table.segments[0];
  const QuatSegment& tail = table.segments[table.count - 1];
  const double first = head.timeStart;
  const double last = tail.timeEnd;
  const bool outside = t < first || t > last;
  // A parameter that is not finite, or keys without a forward span, hold the end rotations.
  if (!outside || !std::isfinite(t) || !(last > first)) {
    const SegmentPosition at = locate_segment(table, t);
    return eval_segment(table.segments[at.index], at.u);
  }
  switch (table.extrapolation) {
    case 2: {
      if (t < first) {
        const double s = (t - first) / ((head.timeEnd - head.timeStart) * kLinearProbe);
        return quat_slerp(head.start, eval_segment(head, kLinearProbe), s);
      }
      const double probe = 1.0 - kLinearProbe;
      const double base = (tail.timeEnd - tail.timeStart) * probe + tail.timeStart;
      const double s = (t - base) / (tail.timeEnd - base);
      return quat_slerp(eval_segment(tail, probe), tail.end, s);
    }
    case 3: {
      const SegmentPosition at = locate_segment(table, fold_cycle(t, first, last));
      return eval_segment(table.segments[at.index], at.u);
    }
    case 4: {
      const SegmentPosition at = locate_segment(table, fold_cycle(t, first, last));
      const Quat folded = eval_segment(table.segments[at.index], at.u);
      const double m = std::floor((t - first) / (last - first));
      Quat cycle = quat_mul(quat_inverse(head.start), tail.end);
      if (m < 0.0) cycle = quat_inverse(cycle);
      return times_power(folded, cycle, std::fabs(m));
    }
    default: {
      const SegmentPosition at = locate_segment(table, t);
      return eval_segment(table.segments[at.index], at.u);
    }
  }
}

}  // namespace qv::internal
