#include "raster/stroke_outline.h"

#include <cmath>

namespace qv::internal {

namespace {

struct V2 {
  double x, y;
};
inline V2 operator+(V2 a, V2 b) { return {a.x + b.x, a.y + b.y}; }
inline V2 operator-(V2 a, V2 b) { return {a.x - b.x, a.y - b.y}; }
inline V2 operator-(V2 a) { return {-a.x, -a.y}; }
inline V2 operator*(V2 a, double k) { return {a.x * k, a.y * k}; }
inline double dot(V2 a, V2 b) { return a.x * b.x + a.y * b.y; }
inline double norm2(V2 a) { return a.x * a.x + a.y * a.y; }

inline bool coincide(V2 a, V2 b) { return std::fabs(a.x - b.x) <= 1e-09 && std::fabs(a.y - b.y) <= 1e-09; }

// The turn at p1 on the way p0 -> p1 -> p2. Negative when the corner bends
// away from the offsets of the forward side, which then lies outside.
inline double turn(V2 p0, V2 p1, V2 p2) {
  return (p2.y - p0.y) * (p1.x - p0.x) - (p2.x - p0.x) * (p1.y - p0.y);
}

class Emitter {
 public:
  explicit Emitter(OutlineSink& sink) : m_sink(sink) {}
  void Move(V2 p) { m_sink.Moveto(p.x, p.y); }
  void Line(V2 p) { m_sink.Lineto(p.x, p.y); }
  void Quad(V2 c, V2 p) { m_sink.Quadto(c.x, c.y, p.x, p.y); }
  void Cubic(V2 c1, V2 c2, V2 p) { m_sink.Cubicto(c1.x, c1.y, c2.x, c2.y, p.x, p.y); }
  void Close() { m_sink.Closeto(); }

 private:
  OutlineSink& m_sink;
};

using JoinFn = void (*)(V2 a, V2 b, V2 v, double r, double limit, Emitter& out);
using CapFn = void (*)(V2 a, V2 b, double r, Emitter& out);

// The intersection of the offset lines through v+a and v+b (normals a and b,
// both of length r).
inline V2 miter_point(V2 a, V2 b, V2 v, double r) {
  const double k = r * r / (a.x * b.y - a.y * b.x);
  return v + V2{(b.y - a.y) * k, (a.x - b.x) * k};
}

void bevel_join(V2 a, V2 b, V2 v, double, double, Emitter& out) {
  out.Line(v + a);
  out.Line(v + b);
}

// A spike longer than limit*r is cut by a line parallel to the chord b-a; the
// cut comes nearer the vertex the farther the spike would have reached.
void miter_join(V2 a, V2 b, V2 v, double r, double limit, Emitter& out) {
  const V2 q = miter_point(a, b, v, r);
  const double reach2 = norm2(v - q);
  const double allowed = limit * r;
  if (allowed * allowed > reach2) {
    out.Line(q);
    return;
  }
  const double f = 2.0 * limit * r / std::sqrt(reach2) - 1.0;
  const V2 c = v + (q - v) * f;
  const V2 d = b - a;
  // X = c + t d on the line n.(X - v) = n.n, for n = a and n = b.
  const double ta = (dot(a, a) - dot(a, c - v)) / dot(a, d);
  const double tb = (dot(b, b) - dot(b, c - v)) / dot(b, d);
  out.Line(c + d * ta);
  out.Line(c + d * tb);
}

// One quadratic arc up to a turn of 120 degrees; beyond that its control point
// runs away, and the chord is used.
void round_join(V2 a, V2 b, V2 v, double r, double, Emitter& out) {
  if (dot(a, b) >= -0.5 * r * r) {
    out.Line(v + a);
    out.Quad(miter_point(a, b, v, r), v + b);
  } else {
    out.Line(v + a);
    out.Line(v + b);
  }
}

void round_cap(V2 a, V2 b, double, Emitter& out) {
  const double k = 0.5522847498307935;
  const V2 t = {(a.y - b.y) / 2, (b.x - a.x) / 2};
  const V2 tip = V2{(a.x + b.x) / 2, (a.y + b.y) / 2} + t;
  const V2 c1 = a + t;
  const V2 c2 = b + t;
  out.Cubic(a + (c1 - a) * k, tip + (c1 - tip) * k, tip);
  out.Cubic(tip + (c2 - tip) * k, b + (c2 - b) * k, b);
}

void square_cap(V2 a, V2 b, double, Emitter& out) {
  const V2 t = {(a.y - b.y) / 2, (b.x - a.x) / 2};
  out.Line(a + t);
  out.Line(b + t);
  out.Line(b);
}

void butt_cap(V2, V2 b, double, Emitter& out) { out.Line(b); }

const JoinFn kJoins[3] = {bevel_join, miter_join, round_join};
const CapFn kCaps[3] = {round_cap, square_cap, butt_cap};

// The selection survives a stroke whose style is out of range; it is kept per
// thread so that concurrent strokes do not see each other's.
thread_local JoinFn t_join = miter_join;
thread_local CapFn t_cap = butt_cap;

inline V2 at(const std::vector<QvPoint2<double>>& p, std::size_t i) { return {p[i].x, p[i].y}; }

}  // namespace

Polyline clean_polyline(const QvPoint2<double>* points, const QvPointTag* tags, QvULong count) {
  Polyline out;
  out.points.reserve(count);
  out.tags.reserve(count);
  for (QvULong i = 0; i < count; ++i) {
    const V2 p = {points[i].x, points[i].y};
    const bool near_last = !out.points.empty() && coincide(p, at(out.points, out.points.size() - 1));
    switch (tags[i]) {
      case TagFirst:
        break;
      case TagInner:
        if (near_last) continue;
        break;
      case TagLast:
        if (near_last && out.tags.back() != TagFirst) {
          out.tags.back() = TagLast;
          continue;
        }
        break;
      default:
        continue;
    }
    out.points.push_back(points[i]);
    out.tags.push_back(tags[i]);
  }
  return out;
}

std::vector<double> stroke_width_factors(const Polyline& polyline, QvLong width_type) {
  const std::size_t count = polyline.points.size();
  std::vector<double> factors(count, 1.0);
  if (width_type == 0) return factors;
  std::size_t s = 0;
  while (s < count) {
    std::size_t e = s;
    while (e + 1 < count && polyline.tags[e] != TagLast && polyline.tags[e + 1] != TagFirst) ++e;
    std::vector<double> cumulative(e - s + 1, 0.0);
    for (std::size_t i = s + 1; i <= e; ++i) {
      const V2 d = at(polyline.points, i) - at(polyline.points, i - 1);
      const double sq = norm2(d);
      cumulative[i - s] = cumulative[i - 1 - s] + (sq <= 1e-09 ? 0.0 : std::sqrt(sq));
    }
    const double total = cumulative[e - s];
    for (std::size_t i = s; i <= e; ++i) {
      const double u = total == 0.0 ? 0.0 : cumulative[i - s] / total;
      factors[i] = u * 4.0 * (1.0 - u);
    }
    s = e + 1;
  }
  return factors;
}

void build_stroke_outline(const Polyline& polyline, const std::vector<double>& w,
                          const StrokeStyle& style, OutlineSink& sink) {
  const double h = style.line_width * 0.5;
  const double limit = style.miter_limit > 1.0 ? style.miter_limit : 1.0;
  const double tol2 = style.flattening_tolerance * style.flattening_tolerance;
  if (style.join >= 0 && style.join <= 2) t_join = kJoins[style.join];
  if (style.end_cap >= 0 && style.end_cap <= 2) t_cap = kCaps[style.end_cap];
  const JoinFn join = t_join;
  const CapFn cap = t_cap;
  const bool close_after_join = style.join == 1;
  Emitter out(sink);

  const std::vector<QvPoint2<double>>& pts = polyline.points;
  const std::size_t count = pts.size();
  std::vector<V2> offsets;
  std::size_t s = 0;
  while (s < count) {
    std::size_t e = s;
    while (e + 1 < count && polyline.tags[e] != TagLast && polyline.tags[e + 1] != TagFirst) ++e;
    const std::size_t next = e + 1;
    if (e == s || (e == s + 1 && coincide(at(pts, s), at(pts, e)))) {
      out.Move(at(pts, s));  // a dot paints nothing
      s = next;
      continue;
    }

    // Offsets at the start (2k) and end (2k+1) of segment k = i - s.
    offsets.assign(2 * (e - s), V2{0, 0});
    for (std::size_t i = s; i < e; ++i) {
      const V2 p0 = at(pts, i);
      const V2 p1 = at(pts, i + 1);
      const double sq = norm2(p1 - p0);
      const double length = sq <= 1e-09 ? 0.0 : std::sqrt(sq);
      const double k = h / length;
      const V2 normal = {(p0.y - p1.y) * k, (p1.x - p0.x) * k};
      offsets[2 * (i - s)] = normal * w[i];
      offsets[2 * (i - s) + 1] = normal * w[i + 1];
    }
    auto start_of = [&](std::size_t i) { return offsets[2 * (i - s)]; };
    auto end_of = [&](std::size_t i) { return offsets[2 * (i - s) + 1]; };
    // A corner where the offsets differ: the join on the outer side, or a notch
    // through the vertex on the inner side, which the winding rule fills.
    auto corner = [&](V2 a, V2 b, V2 v, double c, double r) {
      if (c < 0)
        join(a, b, v, r, limit, out);
      else {
        out.Line(v + a);
        out.Line(v);
        out.Line(v + b);
      }
    };

    // Forward side.
    out.Move(at(pts, s) + start_of(s));
    for (std::size_t i = s + 1; i < e; ++i) {
      const V2 a = end_of(i - 1);
      const V2 b = start_of(i);
      if (norm2(a - b) <= tol2)
        out.Line(at(pts, i) + b);
      else
        corner(a, b, at(pts, i), turn(at(pts, i - 1), at(pts, i), at(pts, i + 1)), w[i] * h);
    }

    // Arrival at the end.
    const V2 last_end = end_of(e - 1);
    const V2 first_start = start_of(s);
    const bool closed = coincide(at(pts, e), at(pts, s));
    if (!closed) {
      out.Line(at(pts, e) + last_end);
      cap(at(pts, e) + last_end, at(pts, e) - last_end, w[e] * h, out);
    } else {
      if (norm2(last_end - first_start) <= tol2) {
        out.Line(at(pts, s) + first_start);
      } else {
        corner(last_end, first_start, at(pts, e),
               turn(at(pts, e - 1), at(pts, e), at(pts, s + 1)), w[e] * h);
        if (close_after_join) out.Line(at(pts, s) + first_start);
      }
      out.Close();
      out.Move(at(pts, e) - last_end);
    }

    // Backward side.
    for (std::size_t i = e - 1; i > s; --i) {
      const V2 a = end_of(i - 1);
      const V2 b = start_of(i);
      if (norm2(a - b) <= tol2)
        out.Line(at(pts, i) - a);
      else
        corner(-b, -a, at(pts, i), turn(at(pts, i + 1), at(pts, i), at(pts, i - 1)), w[i] * h);
    }

    // Return to the start.
    if (!closed) {
      out.Line(at(pts, s) - first_start);
      cap(at(pts, s) - first_start, at(pts, s) + first_start, w[s] * h, out);
    } else {
      if (norm2(last_end - first_start) <= tol2) {
        out.Line(at(pts, s) - last_end);
      } else {
        corner(-first_start, -last_end, at(pts, s),
               turn(at(pts, s + 1), at(pts, s), at(pts, e - 1)), w[s] * h);
        if (close_after_join) out.Line(at(pts, s) - last_end);
      }
    }
    out.Close();
    s = next;
  }
}

}  // namespace qv::internal
