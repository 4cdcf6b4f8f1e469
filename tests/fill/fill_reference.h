// Slow, independent twins of the scan converters: every pixel or sub-sample
// centre is classified on its own against every edge, with no edge table, no
// incremental crossings and no mask words.
#ifndef QV_TESTS_FILL_REFERENCE_H
#define QV_TESTS_FILL_REFERENCE_H

#include "raster/fill_internal.h"

#include <qv/QvPath2f.h>
#include <qv/QvRaster.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <vector>

namespace qvtest {

using P = QvPoint2<float>;

inline QvPath2f polyline_path(const std::vector<P>& points, bool close = false) {
  QvPath2f path(16);
  path.Moveto(points[0]);
  for (std::size_t i = 1; i < points.size(); ++i) path.Lineto(points[i]);
  if (close) path.Closeto();
  return path;
}

inline QvPath2f rect_path(float x0, float y0, float x1, float y1) {
  return polyline_path({P(x0, y0), P(x1, y0), P(x1, y1), P(x0, y1), P(x0, y0)}, true);
}

// Pixel (x, y) of the raster's rows, whatever their order in memory.
template <class T>
T pixel(const QvRaster<T>& r, QvLong x, QvLong y) {
  return r.pixels[(r.bottomUp ? r.height - 1 - y : y) * r.width + x];
}

struct Pt {
  double x, y;
};
using Polygon = std::vector<Pt>;  // closed implicitly: the last vertex joins the first

// Loads polygons into the context's vertex table as the flattening delivers
// them: each one repeats its first point at the end, tagged TagLast.
inline QvLong load(const std::vector<Polygon>& polygons, double scale, CFillContext& context) {
  std::vector<QvPoint2<double>> points;
  std::vector<QvPointTag> tags;
  for (const Polygon& poly : polygons)
    for (std::size_t i = 0; i <= poly.size(); ++i) {
      const Pt& p = poly[i % poly.size()];
      points.emplace_back(p.x, p.y);
      tags.push_back(i == 0 ? TagFirst : i == poly.size() ? TagLast : TagInner);
    }
  return qv::internal::build_vertex_table(points.data(), tags.data(),
                                          static_cast<QvULong>(points.size()), scale, context);
}

// Is the point (cx, cy) inside, with crossings at the centre counting as
// inside on both sides? Coordinates are those of the scaled polygon.
inline bool centre_inside(const std::vector<Polygon>& polygons, double scale, double cx, double cy,
                          bool winding) {
  struct Crossing {
    double x;
    int dir;
  };
  std::vector<Crossing> xs;
  for (const Polygon& poly : polygons) {
    for (std::size_t i = 0; i < poly.size(); ++i) {
      const Pt a{poly[i].x * scale, poly[i].y * scale};
      const Pt& pb = poly[(i + 1) % poly.size()];
      const Pt b{pb.x * scale, pb.y * scale};
      const Pt& t = a.y < b.y ? a : b;
      const Pt& u = a.y < b.y ? b : a;
      if (!(t.y <= cy && cy < u.y)) continue;
      xs.push_back({t.x + (cy - t.y) * (u.x - t.x) / (u.y - t.y), a.y < b.y ? 1 : -1});
    }
  }
  std::sort(xs.begin(), xs.end(), [](const Crossing& p, const Crossing& q) { return p.x < q.x; });
  if (!winding) {
    for (std::size_t k = 0; k + 1 < xs.size(); k += 2)
      if (xs[k].x < xs[k + 1].x && xs[k].x <= cx && cx <= xs[k + 1].x) return true;
    return false;
  }
  int sum = 0;
  for (const Crossing& c : xs) {
    if (c.x > cx) break;
    sum += c.dir;
    if (sum != 0) continue;
    if (c.x == cx) return true;  // a run ending exactly at the centre includes it
  }
  return sum != 0;
}

// Random polygons within [lo, hi]^2: star-like or wildly self-crossing.
inline std::vector<Polygon> random_polygons(std::mt19937& rng, int count, double lo, double hi) {
  std::uniform_real_distribution<double> coord(lo, hi);
  std::uniform_int_distribution<int> size(3, 12);
  std::vector<Polygon> out;
  for (int p = 0; p < count; ++p) {
    Polygon poly;
    const int n = size(rng);
    for (int i = 0; i < n; ++i) poly.push_back({coord(rng), coord(rng)});
    out.push_back(poly);
  }
  return out;
}

// Sub-sample masks of the whole scanned area, then the box counts of the
// anti-aliased fill, with the rule for which pixels a row writes.
struct AAReference {
  int s, r, p;
  QvLong xLo, xHi, yLo, yHi, first, end, py0, py1;
  std::vector<std::vector<bool>> bits;  // [sub-row - py0*s][sub-column - first*s]

  AAReference(const std::vector<Polygon>& polygons, int s_, int r_, bool winding,
              const qv::internal::FillBox& box, QvLong width, QvLong height)
      : s(s_), r(r_) {
    p = (r + s - 1) / s;
    xLo = std::max(box.xMin - p, 0);
    xHi = std::min(box.xMax + p, width);
    yLo = std::max(box.yMin - p, 0);
    yHi = std::min(box.yMax + p, height);
    first = xLo - p;
    end = xHi + p;
    py0 = yLo - p;
    py1 = yHi + p;
    for (QvLong sy = py0 * s; sy < py1 * s; ++sy) {
      std::vector<bool> row;
      for (QvLong sx = first * s; sx < end * s; ++sx)
        row.push_back(centre_inside(polygons, s, sx + 0.5, sy + 0.5, winding));
      bits.push_back(row);
    }
  }

  bool bit(QvLong sx, QvLong sy) const {
    if (sx < first * s || sx >= end * s || sy < py0 * s || sy >= py1 * s) return false;
    return bits[static_cast<std::size_t>(sy - py0 * s)][static_cast<std::size_t>(sx - first * s)];
  }

  bool pixel_touched(QvLong px, QvLong py) const {
    for (int j = 0; j < s; ++j)
      for (int i = 0; i < s; ++i)
        if (bit(px * s + i, py * s + j)) return true;
    return false;
  }

  unsigned count(QvLong px, QvLong py) const {
    unsigned c = 0;
    for (QvLong sy = py * s - r; sy < py * s + s + r; ++sy)
      for (QvLong sx = px * s - r; sx < px * s + s + r; ++sx) c += bit(sx, sy) ? 1 : 0;
    return c;
  }

  // Columns written in raster row y, as [left, right]; left > right for none.
  std::pair<QvLong, QvLong> written(QvLong y) const {
    QvLong lo = end, hi = first - 1;
    const QvLong rows_from = p == 0 ? y : y - 1;
    const QvLong rows_to = p == 0 ? y : y + 1;
    for (QvLong py = rows_from; py <= rows_to; ++py)
      for (QvLong x = first; x < end; ++x)
        if (pixel_touched(x, py)) {
          lo = std::min(lo, x);
          hi = std::max(hi, x);
        }
    if (p == 0) return {lo, hi};
    const QvLong left = lo <= xLo ? xLo : lo - 1;
    const QvLong right = hi >= xHi - 1 ? xHi - 1 : hi + 1;
    return {left, right};
  }
};

}  // namespace qvtest

#endif  // QV_TESTS_FILL_REFERENCE_H
