#include "shape/builder_geometry.h"

#include <qv/QvBezierTool.h>
#include <qv/QvPath2f.h>

#include <cmath>
#include <vector>

namespace qv::internal {

double walk_samples(const QvPoint2<float>* points, QvULong first, QvULong last, double spacing,
                    double& carry, QvPoint2fArray& out, bool flush, QvDoubleArray* positions) {
  if (last <= first) {
    if (flush && carry > spacing * 0.1) {
      out.Add(points[last]);
      if (positions) positions->Add(0.0);
      carry = 0.0;
    }
    return 0.0;
  }
  // Cumulative length from points[first]; the walk never measures a step twice.
  const QvULong count = last - first + 1;
  std::vector<double> cum(count);
  cum[0] = 0.0;
  for (QvULong k = 1; k < count; ++k)
    cum[k] = cum[k - 1] + diff(points[first + k], points[first + k - 1]).Length();
  const double length = cum[count - 1];
  double total = length + carry;
  if (!std::isfinite(total)) {
    carry = 0.0;
    return length;
  }
  if (total >= spacing && spacing > 0.0) {
    const double n = std::floor(total / spacing);
    if (n > kMaxSamplesPerWalk) {
      carry = 0.0;
      return length;
    }
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
      if (positions) positions->Add(target);
    }
    total -= n * spacing;
  }
  carry = total;
  if (flush && carry > spacing * 0.1) {
    out.Add(points[last]);
    if (positions) positions->Add(length);
    carry = 0.0;
  }
  return length;
}

void smooth_trailing(QvPoint2fArray& points, QvULong first, double smallest, double* values) {
  if (points.size < 3) return;
  smooth_range(points, first, points.size - 1, smallest, values);
}

void smooth_range(QvPoint2fArray& points, QvULong first, QvULong last, double smallest,
                  double* values) {
  QvPoint2<float>* p = points.data;
  QvPoint2<float> old_prev = p[first];
  double old_prev_value = values ? values[first] : 0.0;
  for (QvULong i = first + 1; i < last; ++i) {
    const QvPoint2<float> own = p[i];
    const double own_value = values ? values[i] : 0.0;
    const QvPoint2<float> q((old_prev.x + p[i + 1].x) * 0.25f + own.x * 0.5f,
                            (old_prev.y + p[i + 1].y) * 0.25f + own.y * 0.5f);
    if (!within(q, p[i - 1], smallest)) {
      p[i] = q;
      if (values) values[i] = (old_prev_value + values[i + 1]) * 0.25 + own_value * 0.5;
    }
    old_prev = own;
    old_prev_value = own_value;
  }
}

void measure_lengths(const QvPoint2fArray& points, QvULong from, QvDoubleArray& lengths) {
  if (lengths.size > from + 1) lengths.Chop(from + 1);
  if (lengths.size == 0) lengths.Add(0.0);
  for (QvULong i = lengths.size; i < points.size; ++i)
    lengths.Add(lengths.data[i - 1] + diff(points.data[i], points.data[i - 1]).Length());
}

void values_at_lengths(const double* lengths, const double* values, QvULong first, QvULong last,
                       const double* at, QvULong count, QvDoubleArray& out) {
  QvULong j = first;
  for (QvULong k = 0; k < count; ++k) {
    const double a = at[k];
    while (j < last && !(a <= lengths[j + 1])) ++j;
    if (j >= last || !(a > lengths[j])) {
      out.Add(j >= last ? values[last] : values[j]);
      continue;
    }
    const double span = lengths[j + 1] - lengths[j];
    const double f = (a - lengths[j]) / span;
    out.Add(values[j] + (values[j + 1] - values[j]) * f);
  }
}

void flatten_path_from(QvPath2f& path, QvULong n, QvULong firstPathIndex, double tolerance,
                       QvBezierTool& tool, QvPoint2fArray& out) {
  out.Chop(0);
  const QvULong count = path.NumPoints();
  if (count == 0) return;
  QvULong start = (n == firstPathIndex || n == 0) ? n : n - 1;
  if (start >= count) start = count - 1;
  out.Add(path.GetPoint(start));
  QvPoint2<float> block[9];
  QvULong at = start;
  while (at + 1 < count) {
    const QvULong degree = path.GetDegree(at + 1);
    if (degree == 0 || at + degree >= count || degree > 8) break;
    path.GetPoints(at, at + degree, block);
    tool.Flatten(block, 0, degree, tolerance, &out, 1);
    at += degree;
  }
}

void linear_add_input(QvPoint2fArray& inputs, QvDoubleArray* values, LinearThinning thinning,
                      const QvPoint2<float>& p, double value, bool force, double smallest,
                      double tolerance, double valueTolerance) {
  QvPoint2<float>& direction = thinning.direction;
  QvPoint2<float>& pending = thinning.pending;
  const bool with_values = values != nullptr;
  if (force || inputs.size == 0) {
    inputs.Add(p);
    if (with_values) values->Add(value);
    return;
  }
  const QvPoint2<float> last = inputs.data[inputs.size - 1];
  if (thinning.hasPending && !within(p, pending, smallest)) {
    const QvPoint2<float> from_last = diff(p, last);
    const double c = static_cast<double>(from_last.x) * direction.y -
                     static_cast<double>(from_last.y) * direction.x;
    const QvPoint2<float> ahead = diff(p, pending);
    const double d = static_cast<double>(ahead.x) * direction.x +
                     static_cast<double>(ahead.y) * direction.y;
    bool in_line = std::fabs(c) < tolerance * 0.5 && d > 0.0;
    if (in_line && with_values) {
      const double expected = values->data[values->size - 1] + *thinning.slope * from_last.Length();
      in_line = std::fabs(value - expected) <= valueTolerance;
    }
    if (in_line) {
      pending = p;
      if (with_values) *thinning.pendingValue = value;
      return;
    }
    inputs.Add(pending);
    if (with_values) {
      values->Add(*thinning.pendingValue);
      const double run = ahead.Length();
      *thinning.slope = run > 0.0 ? (value - *thinning.pendingValue) / run : 0.0;
      *thinning.pendingValue = value;
    }
    direction = ahead;
    direction.Normalize();
    pending = p;
    return;
  }
  if (within(p, last, smallest)) return;
  pending = p;
  direction = diff(p, last);
  direction.Normalize();
  thinning.hasPending = 1;
  if (with_values) {
    const double run = diff(p, last).Length();
    *thinning.slope = run > 0.0 ? (value - values->data[values->size - 1]) / run : 0.0;
    *thinning.pendingValue = value;
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
