#include "raster/vectorizer_sweep.h"

#include <qv/QvPath2f.h>
#include <qv/QvPoint.h>
#include <qv/QvRaster.h>

#include <cmath>
#include <vector>

// The sweep keeps, for every run of the rows around the sweep line, the two
// chains that stand at its ends: the left-side chain (boundary with background
// on its left) and the right-side chain. Each contour under construction is a
// doubly linked path of nodes whose two open ends are exactly one left-side
// and one right-side chain: the path runs up the right-side chain, across the
// top and down the left-side chain. Its order is the output order: down left
// sides, up right sides, so outer contours turn one way and holes the other.
//
// Node coordinates are biased: a left-side node stands at column a + 2 for a
// run starting at pixel column a, a right-side node at b + 1 for a run ending
// before column b, and a node of row r at r + 2. A node marks the pixel corner
// (x - 2 or x - 1, y - 2). Between two nodes of one chain the outline makes an
// L: the corner takes the column of the lower node and the row of the upper
// one, because a node records the column a chain leaves, at the row where it
// leaves it.

namespace qv::internal {
namespace {

constexpr QvLong kNone = -1;

enum NodeKind : unsigned char {
  kOpenOuterLeft = 1,
  kOpenOuterRight = 2,
  kOpenHoleLeft = 3,   // right side of the run left of the gap
  kOpenHoleRight = 4,  // left side of the run right of the gap
  kCloseLeft = 5,
  kCloseRight = 6,
  kJoinLeft = 7,
  kJoinRight = 8,
  kCornerLeftSide = 9,
  kCornerRightSide = 10
};

struct Run {
  QvLong a;  // first pixel column
  QvLong b;  // one past the last
};

struct Node {
  QvLong x;
  QvLong y;
  QvLong prev;
  QvLong next;
  unsigned char kind;
  bool right_side;
};

struct Chain {
  QvLong x;
  QvLong contour;
  bool right_side;
};

struct Contour {
  QvLong head;   // newest node of the right-side chain
  QvLong tail;   // newest node of the left-side chain
  QvLong start;  // where output begins
  QvLong region;
  QvLong chain_left;
  QvLong chain_right;
  QvLong hole_prev;  // circular list of the region's holes; kNone when not listed
  QvLong hole_next;
};

struct Region {
  QvLong outer;
  QvLong first_hole;
  QvLong open_contours;
};

// Records are recycled through a free list so that memory follows the live
// boundary, not everything the sweep has seen.
template <class T>
class Pool {
 public:
  QvLong Acquire(const T& value) {
    if (!m_free.empty()) {
      const QvLong i = m_free.back();
      m_free.pop_back();
      m_items[static_cast<std::size_t>(i)] = value;
      return i;
    }
    m_items.push_back(value);
    return static_cast<QvLong>(m_items.size() - 1);
  }
  void Release(QvLong i) { m_free.push_back(i); }
  T& operator[](QvLong i) { return m_items[static_cast<std::size_t>(i)]; }

 private:
  std::vector<T> m_items;
  std::vector<QvLong> m_free;
};

// Writes rectilinear contours into the path, merging collinear steps.
class OutlineWriter {
 public:
  explicit OutlineWriter(QvPath2f& path) : m_path(path) {}

  void Begin(const QvPoint2<float>& p) {
    m_path.Moveto(p);
    m_last_index = m_path.NumPoints() - 1;
    m_count = 1;
    m_last = p;
    ++m_added;
  }

  void Add(const QvPoint2<float>& p) {
    if (p.x == m_last.x && p.y == m_last.y) return;  // no move, no vertex
    if (m_count >= 2 && ContinuesStraight(p)) {
      m_path.ReplacePointIgnoringLock(m_last_index, p);
      m_last = p;
      return;
    }
    m_path.Lineto(p);
    ++m_last_index;
    ++m_count;
    ++m_added;
    m_before_last = m_last;
    m_last = p;
  }

  // An axis-parallel L from the pen to p: across first when going down, up
  // first when going up, which is how both chain sides meet their corners.
  void AddStep(const QvPoint2<float>& p) {
    if (p.y > m_last.y)
      Add(QvPoint2<float>(p.x, m_last.y));
    else if (p.y < m_last.y)
      Add(QvPoint2<float>(m_last.x, p.y));
    Add(p);
  }

  void End() { m_path.Closeto(); }

  QvULong Added() const { return m_added; }

 private:
  bool ContinuesStraight(const QvPoint2<float>& p) const {
    constexpr double kEps = 1e-15;
    const double ax = m_before_last.x, ay = m_before_last.y;
    const double bx = m_last.x, by = m_last.y;
    const double cx = p.x, cy = p.y;
    auto same_way = [](double d1, double d2) {
      return (d1 > kEps && d2 > kEps) || (d1 < -kEps && d2 < -kEps);
    };
    if (std::fabs(ax - bx) <= kEps && std::fabs(bx - cx) <= kEps)
      return same_way(by - ay, cy - by);
    if (std::fabs(ay - by) <= kEps && std::fabs(by - cy) <= kEps)
      return same_way(bx - ax, cx - bx);
    return false;
  }

  QvPath2f& m_path;
  QvULong m_last_index = 0;
  QvULong m_count = 0;
  QvULong m_added = 0;
  QvPoint2<float> m_last;
  QvPoint2<float> m_before_last;
};

class Sweep {
 public:
  Sweep(double perimeter_threshold, double area_threshold, QvPath2f& path)
      : m_perimeter(perimeter_threshold), m_area(area_threshold), m_writer(path) {}

  // One pass with row r at the sweep line: opens what starts in r against the
  // row above, moves the chains that continue, and closes or joins what ends
  // under r against the row below. Chains of r are left in cur_left/right.
  void Pass(QvLong r, const std::vector<Run>& above, const std::vector<QvLong>& above_left,
            const std::vector<QvLong>& above_right, const std::vector<Run>& cur,
            const std::vector<Run>& below, std::vector<QvLong>& cur_left,
            std::vector<QvLong>& cur_right) {
    Overlaps(cur, above, m_first_above, m_last_above);
    Overlaps(cur, below, m_first_below, m_last_below);
    const std::size_t n = cur.size();
    cur_left.assign(n, kNone);
    cur_right.assign(n, kNone);
    const QvLong y_top = r + 2;
    const QvLong y_bottom = r + 3;
    for (std::size_t j = 0; j < n; ++j) {
      const Run& run = cur[j];
      const QvLong fa = m_first_above[j];
      const QvLong la = m_last_above[j];
      if (fa == kNone) {
        OpenRegion(run, y_top, cur_left[j], cur_right[j]);
      } else {
        if (j == 0 || m_last_above[j - 1] != fa) {
          cur_left[j] = above_left[static_cast<std::size_t>(fa)];
          Move(cur_left[j], run.a + 2, y_top);
        }
        // Otherwise the hole opened at the previous run gave this side.
        if (j + 1 < n && m_first_above[j + 1] == la) {
          OpenHole(run, cur[j + 1], y_top, cur_left[j], cur_right[j], cur_left[j + 1]);
        } else {
          cur_right[j] = above_right[static_cast<std::size_t>(la)];
          Move(cur_right[j], run.b + 1, y_top);
        }
      }
      const QvLong fb = m_first_below[j];
      if (j > 0 && fb != kNone && m_last_below[j - 1] == fb)
        Meet(cur_right[j - 1], cur_left[j], y_bottom);
      if (fb == kNone) Meet(cur_left[j], cur_right[j], y_bottom);
    }
  }

  QvULong Added() const { return m_writer.Added(); }

 private:
  // For each run of rows, the first and last run of other that shares a
  // column with it, or kNone. Both lists are sorted and disjoint.
  static void Overlaps(const std::vector<Run>& rows, const std::vector<Run>& other,
                       std::vector<QvLong>& first, std::vector<QvLong>& last) {
    first.assign(rows.size(), kNone);
    last.assign(rows.size(), kNone);
    std::size_t k = 0;
    for (std::size_t j = 0; j < rows.size(); ++j) {
      const Run& run = rows[j];
      while (k < other.size() && other[k].b <= run.a) ++k;
      std::size_t m = k;
      while (m < other.size() && other[m].a < run.b) ++m;
      if (m > k) {
        first[j] = static_cast<QvLong>(k);
        last[j] = static_cast<QvLong>(m - 1);
      }
    }
  }

  QvLong NewNode(QvLong x, QvLong y, unsigned char kind, bool right_side) {
    return m_nodes.Acquire(Node{x, y, kNone, kNone, kind, right_side});
  }

  // Extends the contour of chain c by a node at its open end.
  void AddAtEnd(QvLong c, QvLong x, QvLong y, unsigned char kind) {
    Chain& chain = m_chains[c];
    const QvLong node = NewNode(x, y, kind, chain.right_side);
    Contour& contour = m_contours[chain.contour];
    if (chain.right_side) {
      m_nodes[node].next = contour.head;
      m_nodes[contour.head].prev = node;
      contour.head = node;
    } else {
      m_nodes[node].prev = contour.tail;
      m_nodes[contour.tail].next = node;
      contour.tail = node;
    }
  }

  void Move(QvLong c, QvLong x, QvLong y) {
    Chain& chain = m_chains[c];
    if (chain.x == x) return;  // straight stretches make no nodes
    const QvLong old_x = chain.x;
    chain.x = x;
    AddAtEnd(c, old_x, y, chain.right_side ? kCornerRightSide : kCornerLeftSide);
  }

  void OpenRegion(const Run& run, QvLong y, QvLong& left, QvLong& right) {
    const QvLong region = m_regions.Acquire(Region{kNone, kNone, 1});
    const QvLong left_node = NewNode(run.a + 2, y, kOpenOuterLeft, false);
    const QvLong right_node = NewNode(run.b + 1, y, kOpenOuterRight, true);
    m_nodes[right_node].next = left_node;
    m_nodes[left_node].prev = right_node;
    const QvLong contour = m_contours.Acquire(
        Contour{right_node, left_node, left_node, region, kNone, kNone, kNone, kNone});
    left = m_chains.Acquire(Chain{run.a + 2, contour, false});
    right = m_chains.Acquire(Chain{run.b + 1, contour, true});
    m_contours[contour].chain_left = left;
    m_contours[contour].chain_right = right;
    m_regions[region].outer = contour;
  }

  void OpenHole(const Run& left_run, const Run& right_run, QvLong y, QvLong left_of_run,
                QvLong& gap_left, QvLong& gap_right) {
    const QvLong region = m_contours[m_chains[left_of_run].contour].region;
    const QvLong first = NewNode(left_run.b + 1, y, kOpenHoleLeft, true);
    const QvLong second = NewNode(right_run.a + 2, y, kOpenHoleRight, false);
    m_nodes[first].next = second;
    m_nodes[second].prev = first;
    const QvLong contour =
        m_contours.Acquire(Contour{first, second, first, region, kNone, kNone, kNone, kNone});
    gap_left = m_chains.Acquire(Chain{left_run.b + 1, contour, true});
    gap_right = m_chains.Acquire(Chain{right_run.a + 2, contour, false});
    m_contours[contour].chain_left = gap_right;
    m_contours[contour].chain_right = gap_left;
    ListHole(region, contour);
    ++m_regions[region].open_contours;
  }

  void ListHole(QvLong region, QvLong contour) {
    Region& reg = m_regions[region];
    Contour& c = m_contours[contour];
    if (reg.first_hole == kNone) {
      reg.first_hole = contour;
      c.hole_prev = c.hole_next = contour;
      return;
    }
    const QvLong first = reg.first_hole;
    const QvLong last = m_contours[first].hole_prev;
    c.hole_prev = last;
    c.hole_next = first;
    m_contours[last].hole_next = contour;
    m_contours[first].hole_prev = contour;
  }

  void UnlistHole(QvLong region, QvLong contour) {
    Contour& c = m_contours[contour];
    if (c.hole_next == kNone) return;
    Region& reg = m_regions[region];
    if (c.hole_next == contour) {
      reg.first_hole = kNone;
    } else {
      m_contours[c.hole_prev].hole_next = c.hole_next;
      m_contours[c.hole_next].hole_prev = c.hole_prev;
      if (reg.first_hole == contour) reg.first_hole = c.hole_next;
    }
    c.hole_prev = c.hole_next = kNone;
  }

  // Sweep order of a contour's first node: row, then column.
  bool StartsBefore(QvLong a, QvLong b) {
    const Node& na = m_nodes[m_contours[a].start];
    const Node& nb = m_nodes[m_contours[b].start];
    return na.y < nb.y || (na.y == nb.y && na.x < nb.x);
  }

  // The region whose outer contour began first takes over the other: its
  // contours, its holes after the survivor's own, and its open count.
  QvLong MergeRegions(QvLong ra, QvLong rb) {
    QvLong keep = ra, lose = rb;
    if (StartsBefore(m_regions[rb].outer, m_regions[ra].outer)) {
      keep = rb;
      lose = ra;
    }
    Region& loser = m_regions[lose];
    // The loser's outer contour waits in the hole list until the join that
    // caused the merge absorbs it.
    ListHole(keep, loser.outer);
    m_contours[loser.outer].region = keep;
    if (loser.first_hole != kNone) {
      QvLong h = loser.first_hole;
      do {
        m_contours[h].region = keep;
        h = m_contours[h].hole_next;
      } while (h != loser.first_hole);
      Region& survivor = m_regions[keep];
      const QvLong a_first = survivor.first_hole;  // not empty: the outer was listed
      const QvLong a_last = m_contours[a_first].hole_prev;
      const QvLong b_first = loser.first_hole;
      const QvLong b_last = m_contours[b_first].hole_prev;
      m_contours[a_last].hole_next = b_first;
      m_contours[b_first].hole_prev = a_last;
      m_contours[b_last].hole_next = a_first;
      m_contours[a_first].hole_prev = b_last;
    }
    m_regions[keep].open_contours += loser.open_contours;
    m_regions.Release(lose);
    return keep;
  }

  // Two adjacent chains end at row y: under a run (left side, then right
  // side) or under a gap (right side, then left side).
  void Meet(QvLong cl, QvLong cr, QvLong y) {
    const QvLong a = m_chains[cl].contour;
    const QvLong b = m_chains[cr].contour;
    const bool same = a == b;
    AddAtEnd(cl, m_chains[cl].x, y, same ? kCloseLeft : kJoinLeft);
    AddAtEnd(cr, m_chains[cr].x, y, same ? kCloseRight : kJoinRight);
    const QvLong lch = m_chains[cl].right_side ? cr : cl;
    const QvLong rch = lch == cl ? cr : cl;
    const QvLong x_contour = m_chains[lch].contour;  // its tail ends here
    const QvLong y_contour = m_chains[rch].contour;  // its head ends here
    const QvLong tail = m_contours[x_contour].tail;
    const QvLong head = m_contours[y_contour].head;
    m_nodes[tail].next = head;
    m_nodes[head].prev = tail;
    m_chains.Release(cl);
    m_chains.Release(cr);

    if (same) {
      const QvLong region = m_contours[a].region;
      if (--m_regions[region].open_contours == 0) Finish(region);
      return;
    }

    QvLong region = m_contours[x_contour].region;
    const QvLong other_region = m_contours[y_contour].region;
    if (region != other_region) region = MergeRegions(region, other_region);

    QvLong keep = x_contour, drop = y_contour;
    const QvLong outer = m_regions[region].outer;
    if (drop == outer || (keep != outer && StartsBefore(drop, keep))) {
      keep = y_contour;
      drop = x_contour;
    }
    const QvLong new_head = m_contours[x_contour].head;
    const QvLong new_tail = m_contours[y_contour].tail;
    const QvLong new_right = m_contours[x_contour].chain_right;
    const QvLong new_left = m_contours[y_contour].chain_left;
    UnlistHole(region, drop);
    m_contours.Release(drop);
    Contour& k = m_contours[keep];
    k.head = new_head;
    k.tail = new_tail;
    k.chain_right = new_right;
    k.chain_left = new_left;
    m_chains[new_right].contour = keep;
    m_chains[new_left].contour = keep;
    --m_regions[region].open_contours;
  }

  QvPoint2<float> Corner(QvLong n) {
    const Node& node = m_nodes[n];
    return QvPoint2<float>(static_cast<float>(node.x - (node.right_side ? 1 : 2)),
                           static_cast<float>(node.y - 2));
  }

  // Thresholds look at the node polygon, which is coarser than the outline.
  bool Passes(QvLong contour) {
    const QvLong start = m_contours[contour].start;
    if (m_area > kThresholdOff) {
      double sum = 0.0;
      QvULong count = 0;
      QvLong n = start;
      do {
        const Node& p = m_nodes[n];
        const Node& q = m_nodes[p.next];
        sum += static_cast<double>(p.x) * static_cast<double>(q.y) -
               static_cast<double>(q.x) * static_cast<double>(p.y);
        ++count;
        n = p.next;
      } while (n != start);
      if (count < 3 || std::fabs(sum) < 2.0 * m_area) return false;
    }
    if (m_perimeter > kThresholdOff) {
      double length = 0.0;
      bool reached = false;
      QvLong n = start;
      do {
        const Node& p = m_nodes[n];
        const Node& q = m_nodes[p.next];
        const QvPoint2<double> d(static_cast<double>(q.x - p.x), static_cast<double>(q.y - p.y));
        length += d.Length();
        if (length >= m_perimeter) {
          reached = true;
          break;
        }
        n = p.next;
      } while (n != start);
      if (!reached) return false;
    }
    return true;
  }

  void Emit(QvLong contour) {
    const QvLong start = m_contours[contour].start;
    const Node& s = m_nodes[start];
    QvPoint2<float> first, second;
    if (s.right_side) {
      // A hole begins on the left edge of its gap and goes up.
      first = QvPoint2<float>(static_cast<float>(s.x - 1), static_cast<float>(s.y - 1));
      second = QvPoint2<float>(static_cast<float>(s.x - 1), static_cast<float>(s.y - 2));
    } else {
      first = QvPoint2<float>(static_cast<float>(s.x - 2), static_cast<float>(s.y - 2));
      second = QvPoint2<float>(static_cast<float>(s.x - 2), static_cast<float>(s.y - 1));
    }
    m_writer.Begin(first);
    m_writer.Add(second);
    for (QvLong n = m_nodes[start].next; n != start; n = m_nodes[n].next)
      m_writer.AddStep(Corner(n));
    m_writer.Add(first);
    m_writer.End();
  }

  void ReleaseContour(QvLong contour) {
    const QvLong start = m_contours[contour].start;
    QvLong n = start;
    do {
      const QvLong next = m_nodes[n].next;
      m_nodes.Release(n);
      n = next;
    } while (n != start);
    m_contours.Release(contour);
  }

  void Finish(QvLong region) {
    Region& reg = m_regions[region];
    const bool keep = Passes(reg.outer);
    if (keep) Emit(reg.outer);
    ReleaseContour(reg.outer);
    if (reg.first_hole != kNone) {
      QvLong h = reg.first_hole;
      do {
        const QvLong next = m_contours[h].hole_next;
        if (keep && Passes(h)) Emit(h);
        ReleaseContour(h);
        h = next;
      } while (h != reg.first_hole);
    }
    m_regions.Release(region);
  }

  double m_perimeter;
  double m_area;
  OutlineWriter m_writer;
  Pool<Node> m_nodes;
  Pool<Chain> m_chains;
  Pool<Contour> m_contours;
  Pool<Region> m_regions;
  std::vector<QvLong> m_first_above, m_last_above, m_first_below, m_last_below;
};

void encode_row(const unsigned char* pixels, QvLong width, unsigned char value,
                std::vector<Run>& runs) {
  runs.clear();
  QvLong x = 0;
  while (x < width) {
    while (x < width && pixels[x] != value) ++x;
    if (x == width) break;
    const QvLong a = x;
    while (x < width && pixels[x] == value) ++x;
    runs.push_back(Run{a, x});
  }
}

}  // namespace

QvULong vectorize_sweep(const QvRaster<unsigned char>& raster, unsigned char value,
                        double perimeter_threshold, double area_threshold, QvPath2f& path) {
  const QvLong width = raster.width;
  const QvLong height = raster.height;
  if (raster.pixels == nullptr || width <= 0 || height <= 0 || width >= kVectorizerMaxSide ||
      height >= kVectorizerMaxSide)
    return 0;

  Sweep sweep(perimeter_threshold, area_threshold, path);
  const std::size_t run_capacity = static_cast<std::size_t>(width / 2 + 1);
  std::vector<Run> rows[3];
  std::vector<QvLong> lefts[2], rights[2];
  for (auto& row : rows) row.reserve(run_capacity);
  for (int i = 0; i < 2; ++i) {
    lefts[i].reserve(run_capacity);
    rights[i].reserve(run_capacity);
  }
  // rows[0] above, rows[1] at and rows[2] below the sweep line.
  encode_row(raster.pixels, width, value, rows[1]);
  for (QvLong r = 0; r < height; ++r) {
    if (r + 1 < height)
      encode_row(raster.pixels + static_cast<std::ptrdiff_t>(r + 1) * width, width, value,
                 rows[2]);
    else
      rows[2].clear();
    sweep.Pass(r, rows[0], lefts[0], rights[0], rows[1], rows[2], lefts[1], rights[1]);
    std::swap(rows[0], rows[1]);
    std::swap(rows[1], rows[2]);
    std::swap(lefts[0], lefts[1]);
    std::swap(rights[0], rights[1]);
  }
  return sweep.Added();
}

}  // namespace qv::internal
