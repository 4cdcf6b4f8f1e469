// Editing a path in place: moving points while the G1 locks stay true,
// replacing a segment or a section of a subpath, removing subpaths and
// sections, fitting the samples of another path onto this one, and copies
// whose points are pushed along their normals.
//
// A path is two parallel arrays, and inserting into or removing from either
// may reallocate. Structural edits therefore work on a scratch copy and swap
// its arrays in once everything has succeeded: an allocation failure part way
// leaves the path exactly as it was, and the exception goes on to the caller.
#include <qv/QvPath2f.h>

#include <qv/QvBezierTool.h>
#include <qv/QvGC.h>

#include "shape/path_types.h"

#include <utility>
#include <vector>

namespace qi = qv::internal;

namespace {

// Ends of a segment and the joint of a closed subpath match to float
// rounding; the difference is taken in single precision, bounds inclusive.
bool coincide(const QvPoint2<float>& a, const QvPoint2<float>& b) {
  const float dx = a.x - b.x;
  const float dy = a.y - b.y;
  return -1e-7f <= dx && dx <= 1e-7f && -1e-7f <= dy && dy <= 1e-7f;
}

unsigned char with_type(unsigned char byte, unsigned type) {
  return static_cast<unsigned char>((byte & qi::kKeptBits) | (type & qi::kTypeMask));
}

bool is_locked(unsigned char byte) { return (byte & qi::kG1LockBit) != 0; }

// Type of the end node of a segment of the given degree, open or closing.
unsigned end_type(QvULong degree, bool closing) {
  const unsigned d = static_cast<unsigned>(degree);
  return qi::first_type_of_degree(d) + d - 1 + (closing ? 1u : 0u);
}

QvPoint2<float> difference(const QvPoint2<float>& a, const QvPoint2<float>& b) {
  return QvPoint2<float>(a.x - b.x, a.y - b.y);
}

QvPoint2<double> widened_difference(const QvPoint2<float>& a, const QvPoint2<float>& b) {
  return QvPoint2<double>(static_cast<double>(a.x) - static_cast<double>(b.x),
                          static_cast<double>(a.y) - static_cast<double>(b.y));
}

template <class A>
void swap_arrays(A& a, A& b) noexcept {
  std::swap(a.size, b.size);
  std::swap(a.capacity, b.capacity);
  std::swap(a.data, b.data);
}

// Where the handle opposite a moved one goes, so that both stay in line
// through their node. Without keepRatio, or when the old handle sat on the
// node so that no ratio exists, the opposite handle keeps its length;
// otherwise the ratio of the two handle lengths is kept. A moved handle that
// lies on the node gives no direction and is used as it stands.
QvPoint2<float> aligned_opposite(const QvPoint2<float>& moved, const QvPoint2<float>& old_handle,
                                 const QvPoint2<float>& node, const QvPoint2<float>& opposite,
                                 QvLong keepRatio) {
  QvPoint2<double> u = widened_difference(moved, node);
  const double moved_length = u.Length();
  double length = widened_difference(opposite, node).Length();
  if (keepRatio && !coincide(old_handle, node)) {
    const double old_length = widened_difference(old_handle, node).Length();
    if (old_length > 0.0) length = moved_length * length / old_length;
  }
  const bool raw = qi::near_zero(u.x) && qi::near_zero(u.y);
  if (!raw && moved_length > 0.0) {
    const double inverse = 1.0 / moved_length;
    u.x *= inverse;
    u.y *= inverse;
  }
  return QvPoint2<float>(static_cast<float>(static_cast<double>(node.x) - u.x * length),
                         static_cast<float>(static_cast<double>(node.y) - u.y * length));
}

// Whether first..last bounds a section of one subpath: first a node, last an
// end node (open or closing) after it, and no subpath starting in between.
bool is_section(const QvUByteArray& types, QvULong first, QvULong last) {
  if (first >= last || last >= types.size) return false;
  if (!qi::is_node_type(qi::low_type(types[first]))) return false;
  const unsigned tl = qi::low_type(types[last]);
  if (!qi::is_open_end(tl) && !qi::is_closing(tl)) return false;
  for (QvULong i = first + 1; i <= last; ++i)
    if (qi::low_type(types[i]) == qi::kMoveto) return false;
  return true;
}

// Both arrays lose first..last inclusive.
void remove_points(QvPoint2fArray& points, QvUByteArray& types, QvULong first, QvULong last) {
  points.RemoveClosedRange(first, last);
  types.RemoveClosedRange(first, last);
}

// Inserts count points before index, their types running on from first_type.
void insert_points(QvPoint2fArray& points, QvUByteArray& types, QvULong index,
                   const QvPoint2<float>* run, QvULong count, unsigned first_type) {
  if (count == 0) return;
  std::vector<unsigned char> run_types(count);
  for (QvULong k = 0; k < count; ++k) run_types[k] = static_cast<unsigned char>(first_type + k);
  points.InsertBefore(index, run, count);
  types.InsertBefore(index, run_types.data(), count);
}

// The unit normals of the steps of an outline, (dy, -dx) of each step, and
// at each point the mean of the normals of the steps on either side of it.
// With wrap, a step runs from the last point back to the first, and serves
// both ends; without, each end has its one step only. A step too short to
// have a direction contributes nothing, and a mean too short to scale stays
// as it is.
std::vector<QvPoint2<float>> mean_normals(const std::vector<QvPoint2<float>>& p, bool wrap) {
  const std::size_t n = p.size();
  std::vector<QvPoint2<float>> step(n, QvPoint2<float>());
  for (std::size_t k = 0; k < n; ++k) {
    if (k + 1 == n && !wrap) break;
    const QvPoint2<float>& a = p[k];
    const QvPoint2<float>& b = p[k + 1 < n ? k + 1 : 0];
    QvPoint2<float> v(b.y - a.y, a.x - b.x);
    const double length = v.Length();
    if (length > 0.0) {
      v *= 1.0 / length;
    } else {
      v = QvPoint2<float>();
    }
    step[k] = v;
  }
  std::vector<QvPoint2<float>> mean(n, QvPoint2<float>());
  for (std::size_t i = 0; i < n; ++i) {
    QvPoint2<float> m;
    if (i + 1 < n || wrap) m += step[i];
    if (i > 0) {
      m += step[i - 1];
    } else if (wrap) {
      m += step[n - 1];
    }
    if (!(qi::near_zero(m.x) && qi::near_zero(m.y)) && m.Length() > 0.0) m.Normalize();
    mean[i] = m;
  }
  return mean;
}

}  // namespace

// ---------------------------------------------------------------------------
// Moving points

void QvPath2f::ReplacePoint(QvULong index, const QvPoint2<float>& point, QvLong keepRatio) {
  LockGuard guard(*this);
  if (!IsLegalIndex(index)) return;
  const QvPoint2<float> p = point;
  const unsigned type = qi::low_type(m_types[index]);

  if (qi::is_node_type(type)) {
    const QvULong first = StartOfSubpath(index);
    const QvULong last = EndOfSubpath(index);
    if (index != first && index != last) {
      if (!is_locked(m_types[index])) {
        m_points[index] = p;
        return;
      }
      // The handles ride along with their node. Float rounding of the
      // additions can bend the node; the next handle is then turned back in
      // line with the previous one.
      const QvPoint2<float> d = difference(p, m_points[index]);
      m_points[index] = p;
      m_points[index - 1] += d;
      m_points[index + 1] += d;
      if (!IsG1Continuous(index)) {
        m_points[index + 1] = aligned_opposite(m_points[index - 1], m_points[index - 1],
                                               m_points[index], m_points[index + 1], 0);
      }
      return;
    }
    const bool closed = ClosedSubpathEnds(last) != 0;
    if (closed && is_locked(m_types[index]) && last - first >= 2) {
      // The joint of a closed subpath: both copies of the point move, and the
      // handles on either side of the seam with them.
      const QvPoint2<float> d = difference(p, m_points[index]);
      m_points[last] = p;
      m_points[first] = p;
      m_points[last - 1] += d;
      if (first + 1 != last - 1) m_points[first + 1] += d;
      if (last - first >= 3 && !IsG1Continuous(first)) {
        m_points[first + 1] = aligned_opposite(m_points[last - 1], m_points[last - 1],
                                               m_points[first], m_points[first + 1], 0);
      }
      return;
    }
    if (closed) {
      m_points[last] = p;
      m_points[first] = p;
    } else {
      m_points[index] = p;
    }
    return;
  }

  // A handle. Only the handles next to a node have a direction to keep.
  const bool first_handle = qi::is_first_handle(type);
  const bool last_handle = qi::is_last_handle(type);
  if (!first_handle && !last_handle) {
    m_points[index] = p;
    return;
  }
  QvULong node = last_handle ? index + 1 : index - 1;
  if (first_handle && last_handle && !(IsLegalIndex(node) && is_locked(m_types[node]))) {
    node = index - 1;  // a quadratic's handle serves the node on either side
  }
  if (!IsLegalIndex(node) || !is_locked(m_types[node])) {
    m_points[index] = p;
    return;
  }
  const QvULong first = StartOfSubpath(node);
  const QvULong last = EndOfSubpath(node);
  QvULong opposite;
  if (node == first || node == last) {
    // Across the seam of a closed subpath; an open end has nothing opposite.
    if (!ClosedSubpathEnds(last) || last - first < 2) {
      m_points[index] = p;
      return;
    }
    opposite = node == first ? last - 1 : first + 1;
  } else {
    opposite = node > index ? node + 1 : node - 1;
  }
  if (opposite != index) {
    m_points[opposite] =
        aligned_opposite(p, m_points[index], m_points[node], m_points[opposite], keepRatio);
  }
  m_points[index] = p;
}

void QvPath2f::ReplacePointIgnoringLock(QvULong index, const QvPoint2<float>& point) {
  LockGuard guard(*this);
  if (!IsLegalIndex(index)) return;
  m_points[index] = point;
}

QvLong QvPath2f::ReplaceTangentVectorDirections(QvULong index, const QvPoint2<float>& direction) {
  LockGuard guard(*this);
  if (!IsLegalIndex(index) || !qi::is_node_type(qi::low_type(m_types[index]))) return 0;
  const QvPoint2<float> v = direction;
  const QvULong first = StartOfSubpath(index);
  const QvULong last = EndOfSubpath(index);
  QvULong before = index - 1;
  QvULong after = index + 1;
  if (index == first || index == last) {
    // The ends themselves must not move, or the subpath would no longer close.
    if (!ClosedSubpathEnds(last) || last - first < 2) return 0;
    before = last - 1;
    after = first + 1;
  }
  const QvPoint2<float> node = m_points[index];
  m_points[before] = QvPoint2<float>(node.x - v.x, node.y - v.y);
  m_points[after] = QvPoint2<float>(node.x + v.x, node.y + v.y);
  return 1;
}

// ---------------------------------------------------------------------------
// Replacing segments and sections

QvLong QvPath2f::ReplaceSegment(QvULong index, const QvPoint2<float>* points, QvULong degree) {
  LockGuard guard(*this);
  // Degrees outside the table would leave type bytes that no longer describe
  // the points; they are refused.
  if (!points || degree < 1 || degree > qi::kMaxDegree || !IsLegalIndex(index)) return 0;
  const QvULong s = StartOfSegment(index);
  const QvULong e = EndOfSegment(index);
  if (s >= e || e > LastIndex()) return 0;  // a lone first point has no segment
  const QvULong old = e - s;
  // The ends of a segment can't move through this operation.
  if (!coincide(points[0], m_points[s]) || !coincide(points[degree], m_points[e])) return 0;
  // A line or a quadratic cannot honour a lock at its ends.
  if (degree <= 2 && (is_locked(m_types[s]) || is_locked(m_types[e]))) return 0;

  // The caller's points may be ours; take them before anything moves.
  QvPoint2<float> run[qi::kMaxDegree + 1];
  for (QvULong k = 0; k <= degree; ++k) run[k] = points[k];
  const unsigned first_type = qi::first_type_of_degree(static_cast<unsigned>(degree));
  const bool closing = qi::is_closing(qi::low_type(m_types[e]));

  QvPath2f work(*this);
  QvPoint2fArray& wp = work.m_points;
  QvUByteArray& wt = work.m_types;
  if (degree <= 2) {
    if (old > 1) remove_points(wp, wt, s + 1, e - 1);
    if (degree == 2) insert_points(wp, wt, s + 1, &run[1], 1, PointQuad1);
  } else if (old >= 3) {
    // The old first and last handles stay, so that the handles next to the
    // ends pass through the G1 rule; the inner ones are plain points.
    if (old > 3) remove_points(wp, wt, s + 2, e - 2);
    work.ReplacePoint(s + 1, run[1], 1);
    wt[s + 1] = static_cast<unsigned char>(first_type);
    insert_points(wp, wt, s + 2, &run[2], degree - 3, first_type + 1);
    work.ReplacePoint(s + degree - 1, run[degree - 1], 1);
    wt[s + degree - 1] = static_cast<unsigned char>(first_type + degree - 2);
  } else {
    if (old == 2) remove_points(wp, wt, s + 1, s + 1);
    insert_points(wp, wt, s + 1, &run[1], degree - 1, first_type);
  }
  wt[s + degree] = with_type(wt[s + degree], end_type(degree, closing));

  swap_arrays(m_points, wp);
  swap_arrays(m_types, wt);
  return 1;
}

QvLong QvPath2f::ReplaceSubpathSection(QvULong first, QvULong last) {
  LockGuard guard(*this);
  if (!is_section(m_types, first, last)) return 0;
  if (is_locked(m_types[first]) || is_locked(m_types[last])) return 0;
  if (last - first < 2) return 1;  // already a line
  const bool closing = qi::is_closing(qi::low_type(m_types[last]));
  QvPath2f work(*this);
  remove_points(work.m_points, work.m_types, first + 1, last - 1);
  work.m_types[first + 1] = with_type(work.m_types[first + 1], end_type(1, closing));
  swap_arrays(m_points, work.m_points);
  swap_arrays(m_types, work.m_types);
  return 1;
}

QvLong QvPath2f::ReplaceSubpathSection(QvULong first, QvULong last, const QvPoint2<float>& c1,
                                       const QvPoint2<float>& c2) {
  LockGuard guard(*this);
  if (!is_section(m_types, first, last)) return 0;
  if (is_locked(m_types[first]) || is_locked(m_types[last])) return 0;
  const QvPoint2<float> handles[2] = {c1, c2};
  const bool closing = qi::is_closing(qi::low_type(m_types[last]));
  QvPath2f work(*this);
  if (last - first >= 2) remove_points(work.m_points, work.m_types, first + 1, last - 1);
  work.m_types[first + 1] = with_type(work.m_types[first + 1], end_type(3, closing));
  insert_points(work.m_points, work.m_types, first + 1, handles, 2, PointCubic1);
  swap_arrays(m_points, work.m_points);
  swap_arrays(m_types, work.m_types);
  return 1;
}

// The section of other takes the place of this one between its two nodes,
// which keep their coordinates. Where other's ends lie elsewhere, the handles
// next to them move with them, so that the section leaves and arrives in the
// directions it had in other. The subpath ends up last - first - otherLast +
// otherFirst points shorter.
QvLong QvPath2f::ReplaceSubpathSection(QvULong first, QvULong last, const QvPath2f& other,
                                       QvULong otherFirst, QvULong otherLast) {
  LockGuard guard(*this);
  if (!is_section(m_types, first, last)) return 0;
  if (is_locked(m_types[first]) || is_locked(m_types[last])) return 0;

  QvPath2f work(*this);
  QvPoint2<float> first_delta;
  QvPoint2<float> last_delta;
  QvPoint2<float> first_handle;
  QvPoint2<float> last_handle;
  bool has_first_handle;
  bool has_last_handle;
  const QvULong span = otherLast - otherFirst;
  {
    LockGuard other_guard(other);
    if (!is_section(other.m_types, otherFirst, otherLast)) return 0;
    const bool closing = qi::is_closing(qi::low_type(m_types[last]));
    const unsigned other_end = qi::low_type(other.m_types[otherLast]);
    QvPoint2fArray& wp = work.m_points;
    QvUByteArray& wt = work.m_types;
    if (last - first >= 2) remove_points(wp, wt, first + 1, last - 1);
    if (span >= 2) {
      wp.InsertBefore(first + 1, other.m_points.data + otherFirst + 1, span - 1);
      wt.InsertBefore(first + 1, other.m_types.data + otherFirst + 1, span - 1);
    }
    wt[first + span] = with_type(wt[first + span], end_type(qi::type_degree(other_end), closing));

    first_delta = difference(m_points[first], other.m_points[otherFirst]);
    last_delta = difference(m_points[last], other.m_points[otherLast]);
    has_first_handle = qi::is_handle_type(qi::low_type(other.m_types[otherFirst + 1]));
    has_last_handle = qi::is_handle_type(qi::low_type(other.m_types[otherLast - 1]));
    first_handle = other.m_points[otherFirst + 1];
    last_handle = other.m_points[otherLast - 1];
  }
  const bool moves_first = first_delta.x != 0.0f || first_delta.y != 0.0f;
  const bool moves_last = last_delta.x != 0.0f || last_delta.y != 0.0f;
  if (has_first_handle && has_last_handle && span == 2) {
    // One quadratic: its handle answers to both ends and takes the mean move.
    if (moves_first || moves_last) {
      const QvPoint2<float> mean((first_delta.x + last_delta.x) * 0.5f,
                                 (first_delta.y + last_delta.y) * 0.5f);
      first_handle += mean;
      work.ReplacePoint(first + 1, first_handle, 1);
    }
  } else {
    if (has_first_handle && moves_first) {
      first_handle += first_delta;
      work.ReplacePoint(first + 1, first_handle, 1);
    }
    if (has_last_handle && moves_last) {
      last_handle += last_delta;
      work.ReplacePoint(first + span - 1, last_handle, 1);
    }
  }
  swap_arrays(m_points, work.m_points);
  swap_arrays(m_types, work.m_types);
  return 1;
}

// ---------------------------------------------------------------------------
// Removing

QvLong QvPath2f::RemoveSubpath(QvULong index) {
  LockGuard guard(*this);
  if (!IsLegalIndex(index)) return 0;
  const QvULong first = StartOfSubpath(index);
  const QvULong last = EndOfSubpath(index);
  const bool was_last = last == LastIndex();
  QvPath2f work(*this);
  remove_points(work.m_points, work.m_types, first, last);
  swap_arrays(m_points, work.m_points);
  swap_arrays(m_types, work.m_types);
  // The subpath now last decides whether construction may go on.
  if (was_last && first > 0) m_active = ClosedSubpathEnds(LastIndex()) ? 0 : 1;
  return 1;
}

QvLong QvPath2f::RemoveSubpathSection(QvULong first, QvULong last) {
  LockGuard guard(*this);
  if (first >= last || !IsLegalIndex(last)) return 0;
  if (!qi::is_node_type(qi::low_type(m_types[first])) ||
      !qi::is_node_type(qi::low_type(m_types[last])))
    return 0;
  for (QvULong i = first + 1; i <= last; ++i)
    if (GetType(i) == PointMoveto) return 0;
  const QvULong s = StartOfSubpath(first);
  const QvULong e = EndOfSubpath(first);

  QvPath2f work(*this);
  // Neither node keeps a lock that its neighbours can no longer honour, and a
  // closed subpath is opened before anything leaves it.
  if (is_locked(work.m_types[first])) work.UnlockG1(first);
  if (is_locked(work.m_types[last])) work.UnlockG1(last);
  work.OpenSubpath(e);
  QvPoint2fArray& wp = work.m_points;
  QvUByteArray& wt = work.m_types;
  if (last == e) {
    remove_points(wp, wt, first + 1, last);
  } else {
    wt[last] = with_type(wt[last], qi::kMoveto);
    if (first == s) {
      remove_points(wp, wt, first, last - 1);  // no lone first point stays ahead
    } else if (last - first >= 2) {
      remove_points(wp, wt, first + 1, last - 1);
    }
  }
  swap_arrays(m_points, wp);
  swap_arrays(m_types, wt);
  m_active = work.m_active;
  return 1;
}

// ---------------------------------------------------------------------------
// Fitting samples of another path

// Each subpath of other gives one run of samples, which the sampler ends
// short of the subpath's end: a closed run is completed with its own first
// sample, an open one with the subpath's last point. An open run continues
// this path's last subpath when that ends open at the run's first sample;
// otherwise it starts a subpath of its own, so that the path always begins
// with a first point and nothing follows a closing node.
QvULong QvPath2f::AddFittedSamplesFromPath(const QvGC& gc, const QvPath2f& other) {
  LockGuard guard(*this);
  const QvULong before = m_points.size;

  struct Subpath {
    bool closed;
    QvPoint2<float> end;
  };
  QvPoint2fArray samples(64);
  QvPointTagArray tags(64);
  std::vector<Subpath> subpaths;
  {
    LockGuard other_guard(other);
    other.Sample(gc, samples, tags);
    for (QvULong i = 0; i < other.m_points.size;) {
      const QvULong last = other.EndOfSubpath(i);
      subpaths.push_back(Subpath{other.ClosedSubpathEnds(last) != 0, other.m_points[last]});
      i = last + 1;
    }
  }

  const double tolerance = gc.GetFlatteningTolerance();
  const double corner_cos_squared = gc.GetAngleThreshold();
  QvBezierTool tool;
  QvULong k = 0;
  for (const Subpath& subpath : subpaths) {
    if (k >= samples.size) break;
    QvPoint2fArray run(64);
    for (;;) {
      run.Add(samples[k]);
      const bool run_ends = tags[k] == TagLast;
      ++k;
      if (run_ends || k >= samples.size) break;
    }
    if (subpath.closed) {
      run.Add(QvPoint2<float>(run[0]));
      tool.ClosedFit(run, corner_cos_squared, 3, tolerance, 0, this);
    } else {
      run.Add(subpath.end);
      const bool continues = IsNotEmpty() && !ClosedSubpathEnds(LastIndex()) &&
                             coincide(m_points[LastIndex()], run[0]);
      if (!continues) Moveto(run[0]);
      tool.OpenFit(run, corner_cos_squared, 3, tolerance, 0, this, 1);
    }
  }
  return m_points.size - before;
}

// ---------------------------------------------------------------------------
// Offset copies

namespace {

// The first subpath of a path as an outline: its points without the repeat
// of a closed subpath, and where the subpath ends in the path.
struct Outline {
  std::vector<QvPoint2<float>> points;
  QvULong last;
  bool closed;
};

Outline first_outline(const QvPoint2fArray& points, const QvUByteArray& types) {
  Outline outline;
  outline.last = 0;
  while (outline.last + 1 < types.size && qi::low_type(types[outline.last + 1]) != qi::kMoveto)
    ++outline.last;
  outline.closed = qi::is_closing(qi::low_type(types[outline.last]));
  outline.points.assign(points.data, points.data + outline.last + (outline.closed ? 0 : 1));
  return outline;
}

// Whether a target path has the outline's structure over the subpath, so
// that the same indices mean the same points.
bool shares_structure(const QvUByteArray& target, const QvUByteArray& source, QvULong last) {
  if (target.size <= last) return false;
  for (QvULong i = 0; i <= last; ++i)
    if (qi::low_type(target[i]) != qi::low_type(source[i])) return false;
  return true;
}

// Each point of the outline goes through the target's G1 rule, in index
// order; the repeat of a closed outline is made to match its first point.
void push_along(QvPath2f& target, const Outline& outline,
                const std::vector<QvPoint2<float>>& mean, float distance) {
  for (QvULong i = 0; i < outline.points.size(); ++i) {
    const QvPoint2<float>& p = outline.points[i];
    target.ReplacePoint(
        i, QvPoint2<float>(p.x + mean[i].x * distance, p.y + mean[i].y * distance), 1);
  }
  if (outline.closed) {
    QvPoint2<float> joint;
    target.GetPoint(0, joint);
    target.ReplacePointIgnoringLock(outline.last, joint);
  }
}

}  // namespace

// The offsets work on the first subpath only; later subpaths of the targets
// stay as they are. A target without the subpath's structure is left
// untouched.
void QvPath2f::GetInwardOutwardPaths(float inward, float outward, QvPath2f& in,
                                     QvPath2f& out) const {
  LockGuard guard(*this);
  if (IsEmpty()) return;
  const Outline outline = first_outline(m_points, m_types);
  // Every outline is taken round, open or not: the step from the last point
  // back to the first serves both ends.
  const std::vector<QvPoint2<float>> mean = mean_normals(outline.points, true);
  {
    LockGuard out_guard(out);
    if (shares_structure(out.m_types, m_types, outline.last))
      push_along(out, outline, mean, outward);
  }
  LockGuard in_guard(in);
  if (shares_structure(in.m_types, m_types, outline.last)) push_along(in, outline, mean, -inward);
}

void QvPath2f::GetSimilarPath(float distance, QvLong closed, QvPath2f& result) const {
  LockGuard guard(*this);
  if (IsEmpty()) return;
  const Outline outline = first_outline(m_points, m_types);
  const std::vector<QvPoint2<float>> mean = mean_normals(outline.points, closed != 0);
  LockGuard result_guard(result);
  if (shares_structure(result.m_types, m_types, outline.last))
    push_along(result, outline, mean, distance);
}
