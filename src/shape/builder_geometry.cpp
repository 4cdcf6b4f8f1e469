#include "shape/builder_geometry.h"

#include <cmath>
#include <vector>

namespace qv::internal {

void walk_samples(const QvPoint2<float>* points, QvULong first, QvULong last, double spacing,
                  double& carry, QvPoint2fArray& out, bool flush) {
  if (last <= first) {
    if (flush && carry > spacing * 0.1) {
      out.Add(points[last]);
      carry = 0.0;
    }
    return;
  }
  // Cumulative length from points[first]; the walk never measures a step twice.
  const QvULong count = last - first + 1;
  std::vector<double> cum(count);
  cum[0] = 0.0;
  for (QvULong k = 1; k < count; ++k)
    cum[k] = cum[k - 1] + diff(points[first + k], points[first + k - 1]).Length();
  double total = cum[count - 1] + carry;
  if (total >= spacing && spacing > 0.0) {
    const double n = std::floor(total / spacing);
    double target = spacing - carry;
    QvULong j = 1;
    for (double k = 1.0; k <= n && j < count; k += 1.0, target += spacing) {
      while (j < count && target > cum[j]) ++j;
      if (j >= count) break;
      const QvPoint2<float>& a = points[first + j - 1];
      const QvPoint2<float>& b = points[first + j];
      const double step = cum[j] - cum[j - 1];
      const double f = step > 0.0 ? (target - cum[j - 1]) / step : 0.0;
      const float dx = static_cast<float>(static_cast<double>(b.x - a.x) * f);
      const float dy = static_cast<float>(static_cast<double>(b.y - a.y) * f);
      out.Add(QvPoint2<float>(a.x + dx, a.y + dy));
    }
    total -= n * spacing;
  }
  carry = total;
  if (flush && carry > spacing * 0.1) {
    out.Add(points[last]);
    carry = 0.0;
  }
}

void smooth_trailing(QvPoint2fArray& points, QvULong first, double smallest) {
  if (points.size < 3) return;
  smooth_range(points, first, points.size - 1, smallest);
}

void smooth_range(QvPoint2fArray& points, QvULong first, QvULong last, double smallest) {
  QvPoint2<float>* p = points.data;
  QvPoint2<float> old_prev = p[first];
  for (QvULong i = first + 1; i < last; ++i) {
    const QvPoint2<float> own = p[i];
    const QvPoint2<float> q((old_prev.x + p[i + 1].x) * 0.25f + own.x * 0.5f,
                            (old_prev.y + p[i + 1].y) * 0.25f + own.y * 0.5f);
    if (!within(q, p[i - 1], smallest)) p[i] = q;
    old_prev = own;
  }
}

namespace {

double cross(const QvPoint2<float>& u, const QvPoint2<float>& v) {
  return static_cast<double>(u.x) * v.y - static_cast<double>(u.y) * v.x;
}
double dot(const QvPoint2<float>& u, const QvPoint2<float>& v) {
  return static_cast<double>(u.x) * v.x + static_cast<double>(u.y) * v.y;
}

// Squared sine of the turn at b; NaN when a leg has no length, which callers read as "not
// straight" and hand to the circle, whose coincidence rules cover it.
double squared_sine(const QvPoint2<float>& a, const QvPoint2<float>& b, const QvPoint2<float>& c) {
  const QvPoint2<float> u = diff(a, b);
  const QvPoint2<float> v = diff(c, b);
  const double s = cross(u, v);
  return s * s / (dot(u, u) * dot(v, v));
}

}  // namespace

QvPoint2<float> circle_tangent(const QvPoint2<float>& a, const QvPoint2<float>& b,
                               const QvPoint2<float>& c, int position) {
  if (within(a, b, 1e-7)) return position == 1 ? diff(a, b) : diff(b, a);
  if (within(b, c, 1e-7)) return position == 0 ? diff(b, a) : diff(a, b);
  if (within(a, c, 1e-7)) return position == 2 ? diff(a, c) : diff(c, a);
  const double da = dot(diff(b, a), diff(c, a));
  const double db = dot(diff(a, b), diff(c, b));
  const double dc = dot(diff(a, c), diff(b, c));
  const double w = da * db + db * dc + dc * da;
  if (std::fabs(w) < 1e-6) return position == 2 ? diff(c, b) : diff(b, a);
  const double ka = da * (db + dc);
  const double kb = db * (da + dc);
  const double kc = dc * (da + db);
  const float sx = static_cast<float>(ka * a.x) + static_cast<float>(kb * b.x) +
                   static_cast<float>(kc * c.x);
  const float sy = static_cast<float>(ka * a.y) + static_cast<float>(kb * b.y) +
                   static_cast<float>(kc * c.y);
  const QvPoint2<float> centre(static_cast<float>(sx / (2.0 * w)),
                               static_cast<float>(sy / (2.0 * w)));
  const QvPoint2<float>& at = position == 0 ? a : (position == 1 ? b : c);
  const QvPoint2<float>& other = position == 0 ? b : (position == 1 ? c : b);
  const QvPoint2<float> r = diff(at, centre);
  const QvPoint2<float> r_other = diff(other, centre);
  // Turning counter-clockwise towards the next point means the stroke runs counter-clockwise;
  // seen from the previous point the sense flips.
  bool ccw = cross(r, r_other) > 0.0;
  if (position == 2) ccw = !ccw;
  return ccw ? QvPoint2<float>(-r.y, r.x) : QvPoint2<float>(r.y, -r.x);
}

QvPoint2<float> estimate_tangent(const QvPoint2fArray& points, QvULong i, bool at_start,
                                 bool at_end, bool chord_only) {
  const QvULong count = points.size;
  if (count == 0 || i >= count) return QvPoint2<float>();
  const QvPoint2<float>* p = points.data;
  QvPoint2<float> t;
  if (!at_start && !at_end) {
    if (i == 0 || i + 1 >= count) return QvPoint2<float>();
    t = diff(p[i + 1], p[i - 1]);
  } else if (at_start) {
    if (i + 1 >= count) return QvPoint2<float>();
    if (i + 2 < count && !chord_only) {
      if (squared_sine(p[i], p[i + 1], p[i + 2]) < 0.03)
        t = diff(p[i + 1], p[i]);
      else
        t = circle_tangent(p[i], p[i + 1], p[i + 2], 0);
    } else {
      t = diff(p[i + 1], p[i]);
    }
  } else {
    if (i == 0) return QvPoint2<float>();
    if (i >= 2 && !chord_only) {
      if (squared_sine(p[i - 2], p[i - 1], p[i]) < 0.03)
        t = diff(p[i], p[i - 1]);
      else
        t = circle_tangent(p[i - 2], p[i - 1], p[i], 2);
    } else {
      t = diff(p[i], p[i - 1]);
    }
  }
  t.Normalize();
  return t;
}

}  // namespace qv::internal
