// The vertex table and the scan-line edge walk shared by the hard, anti-aliased
// and soft fills. The walk works on the private polygon of a CFillContext, in
// whatever units its points were scaled to (pixels or sub-samples).
#ifndef QV_RASTER_EDGE_TABLE_H
#define QV_RASTER_EDGE_TABLE_H

#include <qv/QvArray.h>
#include <qv/QvFill.h>
#include <qv/QvTypes.h>

#include <cmath>
#include <cstdint>

namespace qv::internal {

using PollFunction = QvLong (*)(void);

// The box of whole pixels (or sub-samples) a fill may touch; the far sides are
// exclusive.
struct FillBox {
  QvLong xMin = 0;
  QvLong yMin = 0;
  QvLong xMax = 0;
  QvLong yMax = 0;
};

// Clamps a floor or ceiling computed in double to the 32-bit range; NaN reads
// as 0. Extents of degenerate shapes can be infinite or NaN.
QvLong saturate_to_long(double value) noexcept;

// Copies the polylines (tag TagLast marks each closing point, which is dropped)
// into `context.points` multiplied by `scale`, links every vertex to its
// neighbours in its own closed polygon and sorts the vertex table by y.
// Allocates points, vertices and activeEdges for `count` entries each.
// Returns the number of vertices kept.
QvLong build_vertex_table(const QvPoint2<double>* points, const QvPointTag* tags,
                          QvULong count, double scale, CFillContext& context);

// The active edge list over one scan line at a time. Advance() brings in the
// vertices that the scan line at `upper` has reached, the span makers hand the
// pixel ranges [left, right] to a callback, and Step() moves every crossing
// down one scan line.
class EdgeWalker {
 public:
  EdgeWalker(CFillContext& context, QvLong num_points, bool winding) noexcept
      : m_points(context.points),
        m_vertices(context.vertices),
        m_edges(context.activeEdges),
        m_numPoints(num_points),
        m_winding(winding) {}

  void Advance(double lower, double upper) noexcept;

  void Step() noexcept {
    for (QvLong k = 0; k < m_active; ++k) m_edges[k].x += m_edges[k].dxdy;
  }

  QvLong ActiveCount() const noexcept { return m_active; }
  bool Winding() const noexcept { return m_winding; }

  // Pairs of crossings. x_min and x_max bound the columns written (x_max
  // exclusive); ceiling and floor of the crossings keep centres on either
  // crossing inside.
  template <class SpanFn>
  void EvenOddSpans(double x_min, double x_max, SpanFn&& span) const {
    const FillEdge* e = m_edges;
    for (QvLong k = 0; k + 1 < m_active; k += 2) {
      const double x0 = e[k].x;
      const double x1 = e[k + 1].x;
      if (!(x0 < x1)) continue;
      double left = std::ceil(x0);
      if (left < x_min) left = x_min;
      double right = std::floor(x1);
      if (left <= right && left < x_max) {
        if (right > x_max - 1) right = x_max - 1;
        if (left <= right)
          span(static_cast<std::int64_t>(left), static_cast<std::int64_t>(right));
      }
    }
  }

  // Runs of non-zero winding. When the edges run out before the sum returns to
  // zero the run reaches the far side of the box.
  template <class SpanFn>
  void WindingSpans(double x_min, double x_max, SpanFn&& span) const {
    const FillEdge* e = m_edges;
    QvLong k = 0;
    while (k < m_active) {
      const double x0 = e[k].x;
      QvLong sum = e[k].direction;
      ++k;
      double x1 = x0;
      while (sum != 0 && k < m_active) {
        x1 = e[k].x;
        sum += e[k].direction;
        ++k;
      }
      double left = std::ceil(x0);
      if (left < x_min) left = x_min;
      double right = sum == 0 ? std::floor(x1) : x_max - 1;
      if (left < x_max && x0 < x1 && left <= right) {
        if (right > x_max - 1) right = x_max - 1;
        span(static_cast<std::int64_t>(left), static_cast<std::int64_t>(right));
      }
    }
  }

  template <class SpanFn>
  void Spans(double x_min, double x_max, SpanFn&& span) const {
    if (m_winding)
      WindingSpans(x_min, x_max, span);
    else
      EvenOddSpans(x_min, x_max, span);
  }

 private:
  void HandleEdge(QvLong key, QvLong near_index, QvLong far_index, double lower,
                  double upper) noexcept;
  void Remove(QvLong key) noexcept;
  void SortByX() noexcept;

  const QvPoint2<double>* m_points;
  const FillVertex* m_vertices;
  FillEdge* m_edges;
  QvLong m_numPoints;
  QvLong m_next = 0;
  QvLong m_active = 0;
  bool m_winding;
};

}  // namespace qv::internal

#endif  // QV_RASTER_EDGE_TABLE_H
