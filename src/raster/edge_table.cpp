#include "raster/edge_table.h"

#include <algorithm>
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

void EdgeWalker::Remove(QvLong key) noexcept {
  for (QvLong k = 0; k < m_active; ++k) {
    if (m_edges[k].key == key) {
      std::memmove(m_edges + k, m_edges + k + 1,
                   static_cast<std::size_t>(m_active - k - 1) * sizeof(FillEdge));
      --m_active;
      return;
    }
  }
}

void EdgeWalker::HandleEdge(QvLong key, QvLong near_index, QvLong far_index, double lower,
                            double upper) noexcept {
  const double far_y = m_points[far_index].y;
  if (far_y <= lower) {
    Remove(key);
  } else if (upper < far_y) {
    // The near end has been reached and the far one lies below the scan line,
    // so the near end is the top of the edge.
    const QvPoint2<double>& t = m_points[near_index];
    const QvPoint2<double>& b = m_points[far_index];
    FillEdge& e = m_edges[m_active++];
    e.dxdy = (b.x - t.x) / (b.y - t.y);
    e.x = (upper - t.y) * e.dxdy + t.x - 0.5;
    m_ordered &= e.x == e.x && e.dxdy - e.dxdy == 0.0;
    if (m_active > 1 && m_edges[m_active - 2].x > e.x) m_inverted = true;
    e.key = key;
    // The edge keyed by the near vertex runs from it downwards in path order.
    e.direction = m_winding ? (key == near_index ? 1 : -1) : 0;
  }
}

void EdgeWalker::SortByX() noexcept {
  // The list is nearly sorted: crossings swap only where edges cross.
  for (QvLong k = 1; k < m_active; ++k) {
    const FillEdge e = m_edges[k];
    QvLong j = k;
    while (j > 0 && e.x < m_edges[j - 1].x) {
      m_edges[j] = m_edges[j - 1];
      --j;
    }
    m_edges[j] = e;
  }
}

}  // namespace qv::internal
