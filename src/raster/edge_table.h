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
#include <limits>

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

// Ceiling and floor of a span's ends without a library call (the baseline
// instruction set has no rounding instruction). The ends are first limited to
// the box, so that they are finite and within range of an integer; truncation
// is then off by one only where it went the wrong way.
inline std::int64_t ceil_in_box(double v) noexcept {
  const auto t = static_cast<std::int64_t>(v);
  return t + (static_cast<double>(t) < v ? 1 : 0);
}

inline std::int64_t floor_in_box(double v) noexcept {
  const auto t = static_cast<std::int64_t>(v);
  return t - (static_cast<double>(t) > v ? 1 : 0);
}

// The active edge list over one scan line at a time. Advance() brings in the
// vertices that the scan line at `upper` has reached; the span makers hand the
// pixel ranges [left, right] to a callback and move every crossing down one
// scan line.
class EdgeWalker {
 public:
  static constexpr double kInfinity = std::numeric_limits<double>::infinity();

  EdgeWalker(CFillContext& context, QvLong num_points, bool winding) noexcept
      : m_points(context.points),
        m_vertices(context.vertices),
        m_edges(context.activeEdges),
        m_numPoints(num_points),
        m_winding(winding),
        m_nextY(NextY()) {}

  void Advance(double lower, double upper) noexcept;

  QvLong ActiveCount() const noexcept { return m_active; }
  // False once an edge has come in whose crossing is not a number or whose
  // slope is not finite: the list may then be out of order whatever the
  // sort does, and its spans may overlap. Finite crossings and slopes keep a
  // total order, infinities included.
  bool Ordered() const noexcept { return m_ordered; }
  bool Winding() const noexcept { return m_winding; }

  // The spans of the current scan line, then every crossing moved on to the
  // next one, in one pass over the list: each crossing is read for its span
  // and advanced at once, and an inversion is noted as it goes, so that the
  // next Advance need not look for one.
  //
  // Even-odd: pairs of crossings. x_min and x_max bound the columns written
  // (x_max exclusive); ceiling and floor of the crossings keep centres on
  // either crossing inside. Limiting a crossing to the box before rounding
  // gives the same column as rounding first, since the limits are whole;
  // ends that cross over after limiting make no span either way.
  template <class SpanFn>
  void EvenOddSpansAndStep(double x_min, double x_max, SpanFn&& span) noexcept {
    FillEdge* e = m_edges;
    const QvLong count = m_active;
    const double x_last = x_max - 1;
    double previous = -kInfinity;
    bool inverted = false;
    QvLong k = 0;
    for (; k + 1 < count; k += 2) {
      const double x0 = e[k].x;
      const double x1 = e[k + 1].x;
      const double next0 = x0 + e[k].dxdy;
      const double next1 = x1 + e[k + 1].dxdy;
      e[k].x = next0;
      e[k + 1].x = next1;
      inverted |= (previous > next0) | (next0 > next1);
      previous = next1;
      if (!(x0 < x1)) continue;
      const double lo = x0 < x_min ? x_min : x0;
      const double hi = x1 > x_last ? x_last : x1;
      if (lo <= hi) {
        const std::int64_t left = ceil_in_box(lo);
        const std::int64_t right = floor_in_box(hi);
        if (left <= right) span(left, right);
      }
    }
    if (k < count) {
      const double next = e[k].x + e[k].dxdy;
      e[k].x = next;
      inverted |= previous > next;
    }
    m_inverted |= inverted;
  }

  // Winding: runs of non-zero sum. When the edges run out before the sum
  // returns to zero the run reaches the far side of the box.
  template <class SpanFn>
  void WindingSpansAndStep(double x_min, double x_max, SpanFn&& span) noexcept {
    FillEdge* e = m_edges;
    const QvLong count = m_active;
    const double x_last = x_max - 1;
    double previous = -kInfinity;
    bool inverted = false;
    auto take = [e, &previous, &inverted](QvLong i) noexcept {
      const double x = e[i].x;
      const double next = x + e[i].dxdy;
      e[i].x = next;
      inverted |= previous > next;
      previous = next;
      return x;
    };
    QvLong k = 0;
    while (k < count) {
      const double x0 = take(k);
      QvLong sum = e[k].direction;
      ++k;
      double x1 = x0;
      while (sum != 0 && k < count) {
        x1 = take(k);
        sum += e[k].direction;
        ++k;
      }
      if (!(x0 < x1)) continue;
      const double lo = x0 < x_min ? x_min : x0;
      const double hi = sum == 0 && x1 < x_last ? x1 : x_last;
      if (lo <= hi) {
        const std::int64_t left = ceil_in_box(lo);
        const std::int64_t right = floor_in_box(hi);
        if (left <= right) span(left, right);
      }
    }
    m_inverted |= inverted;
  }

  // The height of the next vertex to come in; infinity when none is left.
  double PendingY() const noexcept { return m_nextY; }

  // True when the walk holds exactly two edges in order and no scan line up
  // to `upper` reaches a vertex: until then each scan line needs nothing but
  // PairSpanAndStep, in place of Advance and the span maker.
  bool Steady(double upper) const noexcept {
    return m_active == 2 && m_ordered && upper < m_nextY;
  }

  // Advance and the span maker of the rule, for a steady pair: the one
  // possible span of the scan line, and both crossings moved on. A pair that
  // crossed over on the last step is put back in order first, as the sort
  // would.
  template <bool kWinding, class SpanFn>
  void PairSpanAndStep(double x_min, double x_max, SpanFn&& span) noexcept {
    FillEdge* e = m_edges;
    if (m_inverted && e[1].x < e[0].x) {
      const FillEdge t = e[0];
      e[0] = e[1];
      e[1] = t;
    }
    const double x0 = e[0].x;
    const double x1 = e[1].x;
    const double next0 = x0 + e[0].dxdy;
    const double next1 = x1 + e[1].dxdy;
    e[0].x = next0;
    e[1].x = next1;
    m_inverted = next0 > next1;
    // Under the winding rule the first edge opens a run (its direction is
    // never zero) that the second closes unless both run the same way; then
    // the run reaches the far side of the box.
    const bool closes = !kWinding || e[0].direction + e[1].direction == 0;
    if (kWinding && e[0].direction == 0) return;
    if (!(x0 < x1)) return;
    const double x_last = x_max - 1;
    const double lo = x0 < x_min ? x_min : x0;
    const double hi = closes && x1 < x_last ? x1 : x_last;
    if (lo <= hi) {
      const std::int64_t left = ceil_in_box(lo);
      const std::int64_t right = floor_in_box(hi);
      if (left <= right) span(left, right);
    }
  }

  template <class SpanFn>
  void SpansAndStep(double x_min, double x_max, SpanFn&& span) noexcept {
    if (m_winding)
      WindingSpansAndStep(x_min, x_max, span);
    else
      EvenOddSpansAndStep(x_min, x_max, span);
  }

 private:
  void HandleVertex(const FillVertex& v, double lower, double upper) noexcept;
  void HandleEdge(QvLong key, QvLong near_index, QvLong far_index, double lower,
                  double upper) noexcept;
  bool Replace(QvLong old_key, QvLong key, QvLong near_index, QvLong far_index,
               double upper) noexcept;
  // Fills in the edge; false when its crossing is not a number or its slope
  // is not finite.
  bool MakeEdge(FillEdge& e, QvLong key, QvLong near_index, QvLong far_index,
                double upper) noexcept;
  QvLong Find(QvLong key) const noexcept;
  void Remove(QvLong key) noexcept;
  void SortByX() noexcept;

  const QvPoint2<double>* m_points;
  const FillVertex* m_vertices;
  FillEdge* m_edges;
  QvLong m_numPoints;
  QvLong m_next = 0;
  QvLong m_active = 0;
  bool m_winding;
  // Some neighbouring pair of active edges is out of order. Removal keeps the
  // order; stepping and an append can break it.
  bool m_inverted = false;
  bool m_ordered = true;
  // The height of the next vertex to come in, or infinity when none is left:
  // most scan lines reach no vertex and look no further than this.
  double m_nextY;

  double NextY() const noexcept {
    return m_next < m_numPoints ? m_points[m_vertices[m_next].index].y : kInfinity;
  }
};

// Inline: it runs once a scan line, or once a sub-sample row.
inline void EdgeWalker::Advance(double lower, double upper) noexcept {
  // A height that is not a number compares false and so comes in at once,
  // as it would in the walk itself.
  if (!(upper < m_nextY)) {
    while (m_next < m_numPoints) {
      const FillVertex& v = m_vertices[m_next];
      if (upper < m_points[v.index].y) break;
      HandleVertex(v, lower, upper);
      ++m_next;
    }
    m_nextY = NextY();
  }
  if (m_inverted) {
    SortByX();
    m_inverted = false;
  }
}

}  // namespace qv::internal

#endif  // QV_RASTER_EDGE_TABLE_H
