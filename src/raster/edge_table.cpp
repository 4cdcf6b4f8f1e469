#include "raster/edge_table.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <vector>

CFillContext::~CFillContext() { Release(); }

void CFillContext::Release() {
  delete[] points;
  points = nullptr;
  delete[] vertices;
  vertices = nullptr;
  delete[] activeEdges;
  activeEdges = nullptr;
  // The mask rows are stored biased so that a pixel column indexes them.
  for (std::uint32_t*& row : maskRows32) {
    if (row != nullptr) delete[] (row + maskRowFirst);
    row = nullptr;
  }
  for (std::uint64_t*& row : maskRows64) {
    if (row != nullptr) delete[] (row + maskRowFirst);
    row = nullptr;
  }
  delete[] kernel;
  kernel = nullptr;
  delete[] kernelTail;
  kernelTail = nullptr;
  delete[] plane;
  plane = nullptr;
  delete[] column;
  column = nullptr;
}

namespace qv::internal {

QvLong saturate_to_long(double value) noexcept {
  if (!(value == value)) return 0;
  if (value <= static_cast<double>(std::numeric_limits<QvLong>::min()))
    return std::numeric_limits<QvLong>::min();
  if (value >= static_cast<double>(std::numeric_limits<QvLong>::max()))
    return std::numeric_limits<QvLong>::max();
  return static_cast<QvLong>(value);
}

namespace {

// NaN sorts first, where the walk would take it anyway (a NaN never compares
// greater than the scan line), and the order stays a strict weak one.
inline double sort_key(double y) noexcept {
  return y == y ? y : -std::numeric_limits<double>::infinity();
}

// The walk takes in, at scan line k (sampled at k + 0.5), every vertex whose
// height is at most k + 0.5, and all of them in one go. Vertices therefore
// need to be ordered only by the first scan line that reaches them; within
// one line their order decides nothing but the order of edges at equal
// crossings, which makes no difference to a span while every crossing is a
// number and every slope finite. A counting sort by that line replaces the
// comparison sort when all coordinates and slopes are finite and the lines
// are not too many for the vertex count; otherwise returns false.
bool order_by_scan_line(const QvPoint2<double>* points, FillVertex* vertices, QvLong count) {
  if (count == 0) return false;
  double y_min = points[0].y;
  double y_max = points[0].y;
  for (QvLong i = 0; i < count; ++i) {
    const QvPoint2<double>& p = points[i];
    const QvPoint2<double>& q = points[vertices[i].next];
    if (!(std::fabs(p.x) < 4503599627370496.0 && std::fabs(p.y) < 4503599627370496.0)) return false;
    if (p.y != q.y && !(std::fabs((q.x - p.x) / (q.y - p.y)) <= std::numeric_limits<double>::max()))
      return false;
    y_min = std::min(y_min, p.y);
    y_max = std::max(y_max, p.y);
  }
  // Vertices are still in path order here: vertices[i].index == i.
  auto line = [](double y) noexcept {
    const double f = static_cast<double>(static_cast<std::int64_t>(y >= 0.0 ? y : y - 1.0));
    // f is floor(y) or, for a negative whole y, one less; either way the line
    // is the first k >= f with y <= k + 0.5.
    std::int64_t k = static_cast<std::int64_t>(f);
    while (static_cast<double>(k) + 0.5 < y) ++k;
    return k;
  };
  const std::int64_t first = line(y_min);
  const std::int64_t lines = line(y_max) - first + 1;
  if (lines > 4 * static_cast<std::int64_t>(count) + 1024) return false;

  std::vector<QvLong> starts(static_cast<std::size_t>(lines) + 1, 0);
  std::vector<std::int32_t> of(static_cast<std::size_t>(count));
  for (QvLong i = 0; i < count; ++i) {
    const auto k = static_cast<std::int32_t>(line(points[i].y) - first);
    of[static_cast<std::size_t>(i)] = k;
    ++starts[static_cast<std::size_t>(k) + 1];
  }
  for (std::size_t k = 1; k < starts.size(); ++k) starts[k] += starts[k - 1];
  std::vector<FillVertex> sorted(static_cast<std::size_t>(count));
  for (QvLong i = 0; i < count; ++i) {
    QvLong& slot = starts[static_cast<std::size_t>(of[static_cast<std::size_t>(i)])];
    sorted[static_cast<std::size_t>(slot++)] = vertices[i];
  }
  std::copy(sorted.begin(), sorted.end(), vertices);
  return true;
}

}  // namespace

QvLong build_vertex_table(const QvPoint2<double>* points, const QvPointTag* tags,
                          QvULong count, double scale, CFillContext& context) {
  context.points = new QvPoint2<double>[count];
  context.vertices = new FillVertex[count];
  context.activeEdges = new FillEdge[count];

  QvPoint2<double>* out = context.points;
  FillVertex* vertices = context.vertices;
  QvLong kept = 0;
  QvLong first = 0;
  auto close_polygon = [&]() {
    if (kept > first) {
      vertices[first].prev = kept - 1;
      vertices[kept - 1].next = first;
    }
    first = kept;
  };
  for (QvULong i = 0; i < count; ++i) {
    if (tags[i] == TagFirst) close_polygon();
    if (tags[i] == TagLast) {
      close_polygon();
      continue;
    }
    out[kept].x = points[i].x * scale;
    out[kept].y = points[i].y * scale;
    vertices[kept].index = kept;
    vertices[kept].prev = kept - 1;
    vertices[kept].next = kept + 1;
    vertices[kept].points = out;
    ++kept;
  }
  close_polygon();

  if (order_by_scan_line(out, vertices, kept)) return kept;

  // The keys are read once beside the vertices rather than through their point
  // at every comparison. The sort sees the same comparisons and so leaves
  // vertices of equal height in the same order.
  struct Keyed {
    double key;
    FillVertex vertex;
  };
  std::vector<Keyed> keyed(static_cast<std::size_t>(kept));
  for (QvLong i = 0; i < kept; ++i)
    keyed[static_cast<std::size_t>(i)] = Keyed{sort_key(out[vertices[i].index].y), vertices[i]};
  std::sort(keyed.begin(), keyed.end(), [](const Keyed& a, const Keyed& b) { return a.key < b.key; });
  for (QvLong i = 0; i < kept; ++i) vertices[i] = keyed[static_cast<std::size_t>(i)].vertex;
  return kept;
}

QvLong EdgeWalker::Find(QvLong key) const noexcept {
  for (QvLong k = 0; k < m_active; ++k)
    if (m_edges[k].key == key) return k;
  return -1;
}

void EdgeWalker::Remove(QvLong key) noexcept {
  const QvLong k = Find(key);
  if (k < 0) return;
  std::memmove(m_edges + k, m_edges + k + 1,
               static_cast<std::size_t>(m_active - k - 1) * sizeof(FillEdge));
  --m_active;
}

bool EdgeWalker::MakeEdge(FillEdge& e, QvLong key, QvLong near_index, QvLong far_index,
                          double upper) noexcept {
  // The near end has been reached and the far one lies below the scan line,
  // so the near end is the top of the edge.
  const QvPoint2<double>& t = m_points[near_index];
  const QvPoint2<double>& b = m_points[far_index];
  e.dxdy = (b.x - t.x) / (b.y - t.y);
  e.x = (upper - t.y) * e.dxdy + t.x - 0.5;
  e.key = key;
  // The edge keyed by the near vertex runs from it downwards in path order.
  e.direction = m_winding ? (key == near_index ? 1 : -1) : 0;
  return e.x == e.x && e.dxdy - e.dxdy == 0.0;
}

void EdgeWalker::HandleEdge(QvLong key, QvLong near_index, QvLong far_index, double lower,
                            double upper) noexcept {
  const double far_y = m_points[far_index].y;
  if (far_y <= lower) {
    Remove(key);
  } else if (upper < far_y) {
    FillEdge& e = m_edges[m_active++];
    m_ordered &= MakeEdge(e, key, near_index, far_index, upper);
    if (m_active > 1 && m_edges[m_active - 2].x > e.x) m_inverted = true;
  }
}

bool EdgeWalker::Replace(QvLong old_key, QvLong key, QvLong near_index, QvLong far_index,
                         double upper) noexcept {
  FillEdge e;
  if (!MakeEdge(e, key, near_index, far_index, upper)) return false;
  const QvLong k = Find(old_key);
  if (k < 0) return false;
  m_edges[k] = e;
  if ((k > 0 && m_edges[k - 1].x > e.x) || (k + 1 < m_active && e.x > m_edges[k + 1].x))
    m_inverted = true;
  return true;
}

void EdgeWalker::HandleVertex(const FillVertex& v, double lower, double upper) noexcept {
  const QvLong i = v.index;
  const double prev_y = m_points[v.prev].y;
  const double next_y = m_points[v.next].y;
  // A vertex inside a chain ends one edge and starts the next: the new edge
  // takes the old one's place, where its crossing nearly always belongs,
  // rather than closing a gap and travelling back from the end of the list.
  // The set of edges is the same; only their order among equal crossings
  // may differ, and that changes no span. Once a crossing that is not a
  // number has come in, the list has no order to keep, and the pairing of
  // its edges follows from where each one was put: then edges join at the
  // end as always.
  if (m_ordered) {
    if (prev_y <= lower && upper < next_y) {
      if (Replace(v.prev, i, i, v.next, upper)) return;
    } else if (next_y <= lower && upper < prev_y) {
      if (Replace(i, v.prev, i, v.prev, upper)) return;
    }
  }
  HandleEdge(v.prev, i, v.prev, lower, upper);
  HandleEdge(i, i, v.next, lower, upper);
}

void EdgeWalker::SortByX() noexcept {
  // The list is nearly sorted: crossings swap only where edges cross, so an
  // edge is picked up only when it is out of place.
  FillEdge* edges = m_edges;
  for (QvLong k = 1; k < m_active; ++k) {
    if (!(edges[k].x < edges[k - 1].x)) continue;
    const FillEdge e = edges[k];
    QvLong j = k;
    do {
      edges[j] = edges[j - 1];
      --j;
    } while (j > 0 && e.x < edges[j - 1].x);
    edges[j] = e;
  }
}

}  // namespace qv::internal
