#include <qv/QvShapeSetOps.h>

#include "raster/convex_hull.h"

#include <cmath>
#include <cstddef>
#include <vector>

namespace qi = qv::internal;

QvLong QvGetConvexHull2D(QvLong count, QvPoint2<float>* points, QvPoint2fArray* hull) {
  if (count < 0 || (count > 0 && !points) || !hull) return 0;
  const std::size_t n = static_cast<std::size_t>(count);
  std::vector<qi::HullVector2<double>> input(n);
  std::vector<qi::HullVector2<double>> output(n);
  for (std::size_t i = 0; i < n; ++i) {
    input[i][0] = points[i].x;
    input[i][1] = points[i].y;
  }
  QvLong hull_count = 0;
  const QvLong result =
      qi::HullGeometry::BuildConvexHull<double>(count, input.data(), hull_count, output.data());
  if (result == 0) return 0;
  for (QvLong i = 0; i < hull_count; ++i) {
    const qi::HullVector2<double>& v = output[static_cast<std::size_t>(i)];
    hull->Add(QvPoint2<float>(static_cast<float>(v[0]), static_cast<float>(v[1])));
  }
  return result;
}

namespace {

struct P2 {
  double x;
  double y;
};

// Points closer than sqrt(1e-5) are one point.
bool same(const P2& a, const P2& b) {
  const double dx = a.x - b.x;
  const double dy = a.y - b.y;
  return dx * dx + dy * dy < 1e-5;
}

// Finer steps would put millions of chords on one corner.
constexpr double kFinestStep = 1e-4;
constexpr double kPi = 3.14159265358979323846;

class Emitter {
 public:
  explicit Emitter(const QvPoint2fArray& out) {
    if (out.size) {
      m_last = P2{out.data[out.size - 1].x, out.data[out.size - 1].y};
      m_has_last = true;
    }
  }
  // Adds p unless it repeats the last point emitted.
  void Add(const P2& p) {
    if (m_has_last && same(p, m_last)) return;
    m_points.push_back(p);
    m_last = p;
    m_has_last = true;
  }
  void AddAlways(const P2& p) {
    m_points.push_back(p);
    m_last = p;
    m_has_last = true;
  }
  void FlushTo(QvPoint2fArray& out) const {
    for (const P2& p : m_points)
      out.Add(QvPoint2<float>(static_cast<float>(p.x), static_cast<float>(p.y)));
  }

 private:
  std::vector<P2> m_points;
  P2 m_last{0.0, 0.0};
  bool m_has_last = false;
};

void emit_circle(const P2& c, double distance, double step_deg, Emitter& emit) {
  for (double a = 0.0; a < 360.0; a += step_deg) {
    const double r = kPi * a / 180.0;
    emit.AddAlways(P2{c.x + distance * std::cos(r), c.y + distance * std::sin(r)});
  }
}

}  // namespace

// The offset of each edge is its outward normal scaled to the distance; which
// side is outward follows from the sign of the polygon's area, so both
// orientations grow. At a vertex the offset turns from the arriving edge's
// normal to the leaving edge's in chords of angleStep, the short way round;
// a straight or concave vertex gets no chord.
void QvExpandConvexPolygon2D(QvPoint2fArray& polygon, double distance, double angleStep,
                             QvPoint2fArray* out) {
  if (!out || polygon.size == 0) return;
  if (!(angleStep >= kFinestStep) || !std::isfinite(angleStep)) return;
  if (!(distance > 0.0)) distance = 0.0;
  std::vector<P2> p;
  p.reserve(polygon.size);
  for (QvULong i = 0; i < polygon.size; ++i) p.push_back(P2{polygon.data[i].x, polygon.data[i].y});
  while (p.size() > 1 && same(p.back(), p.front())) p.pop_back();

  Emitter emit(*out);
  const std::size_t n = p.size();
  if (n == 1) {
    emit_circle(p[0], distance, angleStep, emit);
    emit.FlushTo(*out);
    return;
  }
  double area = 0.0;
  for (std::size_t i = 0; i < n; ++i) {
    const P2& a = p[i];
    const P2& b = p[(i + 1) % n];
    area += a.x * b.y - b.x * a.y;
  }
  const double turn = area < 0.0 ? -1.0 : 1.0;
  const double step = angleStep * kPi / 180.0;
  const double c = std::cos(step);
  const double s = std::sin(step) * turn;
  const double kShortest = std::sqrt(1e-7);
  auto normal = [&](const P2& e) {
    const double len = std::sqrt(e.x * e.x + e.y * e.y);
    if (len < kShortest) return P2{0.0, 0.0};
    const double f = distance / len;
    return P2{turn * e.y * f, -turn * e.x * f};
  };

  for (std::size_t i = 0; i < n; ++i) {
    if (i > 0 && same(p[i], p[i - 1])) continue;
    std::size_t prev = (i + n - 1) % n;
    while (prev != i && same(p[prev], p[i])) prev = (prev + n - 1) % n;
    if (prev == i) {  // every point within the tolerance of this one
      emit_circle(p[i], distance, angleStep, emit);
      emit.FlushTo(*out);
      return;
    }
    std::size_t next = (i + 1) % n;
    while (same(p[next], p[i])) next = (next + 1) % n;
    const P2& v = p[i];
    const P2 in = normal(P2{v.x - p[prev].x, v.y - p[prev].y});
    const P2 leave = normal(P2{p[next].x - v.x, p[next].y - v.y});
    emit.Add(P2{v.x + in.x, v.y + in.y});
    double theta = std::atan2(turn * (in.x * leave.y - in.y * leave.x),
                              in.x * leave.x + in.y * leave.y);
    if (theta <= -kPi + 1e-12) theta = kPi;  // a reversal turns the polygon's way
    P2 o = in;
    for (double done = step; done < theta - 1e-9; done += step) {
      o = P2{c * o.x - s * o.y, s * o.x + c * o.y};
      emit.Add(P2{v.x + o.x, v.y + o.y});
    }
    emit.Add(P2{v.x + leave.x, v.y + leave.y});
  }
  emit.FlushTo(*out);
}
