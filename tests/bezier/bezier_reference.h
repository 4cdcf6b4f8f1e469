#ifndef QV_TESTS_BEZIER_REFERENCE_H
#define QV_TESTS_BEZIER_REFERENCE_H

// Plain references for the flattening tests: evaluation by de Casteljau's triangle and brute-force
// distances, independent of the library's forward differencing.

#include <qv/QvPoint.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <random>
#include <vector>

namespace bezier_test {

struct P2 {
  double x, y;
};

inline P2 eval(const std::vector<P2>& ctrl, double t) {
  P2 w[16];
  const size_t n = std::min<size_t>(ctrl.size(), 16);
  std::copy(ctrl.begin(), ctrl.begin() + static_cast<std::ptrdiff_t>(n), w);
  for (size_t r = 1; r < n; ++r)
    for (size_t i = 0; i + r < n; ++i)
      w[i] = {w[i].x + (w[i + 1].x - w[i].x) * t, w[i].y + (w[i + 1].y - w[i].y) * t};
  return w[0];
}

inline double dist(P2 a, P2 b) { return std::hypot(a.x - b.x, a.y - b.y); }

inline double dist_to_segment(P2 p, P2 a, P2 b) {
  const double dx = b.x - a.x, dy = b.y - a.y;
  const double len2 = dx * dx + dy * dy;
  double u = len2 > 0 ? ((p.x - a.x) * dx + (p.y - a.y) * dy) / len2 : 0.0;
  u = std::clamp(u, 0.0, 1.0);
  return dist(p, {a.x + u * dx, a.y + u * dy});
}

inline double dist_to_polyline(P2 p, const std::vector<P2>& poly) {
  double best = poly.empty() ? std::numeric_limits<double>::infinity() : dist(p, poly[0]);
  for (size_t i = 0; i + 1 < poly.size(); ++i)
    best = std::min(best, dist_to_segment(p, poly[i], poly[i + 1]));
  return best;
}

// Distance from p to the curve: every local minimum of dense samples, refined by golden section,
// so that a loop passing close by cannot hide the true foot point.
inline double dist_to_curve(P2 p, const std::vector<P2>& ctrl) {
  const size_t n = 2000;
  std::vector<double> d(n + 1);
  for (size_t i = 0; i <= n; ++i) d[i] = dist(p, eval(ctrl, double(i) / double(n)));
  double best = std::numeric_limits<double>::infinity();
  const double g = (std::sqrt(5.0) - 1) / 2;
  for (size_t i = 0; i <= n; ++i) {
    if ((i > 0 && d[i - 1] < d[i]) || (i < n && d[i + 1] < d[i])) continue;
    const double lo_i = i > 0 ? double(i - 1) : 0.0;
    double lo = lo_i / double(n), hi = std::min(1.0, double(i + 1) / double(n));
    for (int it = 0; it < 80; ++it) {
      const double a = hi - g * (hi - lo), b = lo + g * (hi - lo);
      if (dist(p, eval(ctrl, a)) < dist(p, eval(ctrl, b)))
        hi = b;
      else
        lo = a;
    }
    const double t = (lo + hi) / 2;
    const double dt = std::min(d[i], dist(p, eval(ctrl, t)));
    best = std::min(best, dt);
  }
  return best;
}

inline std::vector<P2> random_polygon(std::mt19937& rng, size_t count, double extent) {
  std::uniform_real_distribution<double> coord(-extent, extent);
  std::vector<P2> v(count);
  for (P2& p : v) p = {coord(rng), coord(rng)};
  return v;
}

}  // namespace bezier_test

#endif
