// The path model: storage, construction verbs, index arithmetic over the type
// bytes, G1 locks, copies, the iterator, printing and the stored body.
#include <qv/QvPath2f.h>

#include <qv/QvTransfo4.h>

#include "shape/path_types.h"
#include "shape/shape_buffer.h"

#include <cstdint>
#include <iostream>
#include <new>
#include <utility>

namespace qi = qv::internal;

namespace {

// Coordinates of a closing node may differ from the first point by float
// rounding only; the difference is taken in single precision.
bool coincide(const QvPoint2<float>& a, const QvPoint2<float>& b, float tol) {
  const float dx = a.x - b.x;
  const float dy = a.y - b.y;
  return -tol <= dx && dx <= tol && -tol <= dy && dy <= tol;
}

constexpr float kCloseTolerance = 1e-7f;

// Exchanges two arrays' blocks; cannot fail, so it commits work built aside.
template <class A>
void swap_arrays(A& a, A& b) noexcept {
  std::swap(a.size, b.size);
  std::swap(a.capacity, b.capacity);
  std::swap(a.data, b.data);
}

unsigned char with_type(unsigned char byte, unsigned type) {
  return static_cast<unsigned char>((byte & qi::kKeptBits) | (type & qi::kTypeMask));
}

}  // namespace

// ---------------------------------------------------------------------------
// Construction and copies

QvPath2f::QvPath2f() : QvPath2f(1) {}

QvPath2f::QvPath2f(QvULong capacity) : m_points(capacity), m_types(capacity), m_active(0) {}

QvPath2f::QvPath2f(const QvPath2f& other)
    : QvShape2f(other), m_points(1), m_types(1), m_active(0) {
  LockGuard guard(other);
  m_points = other.m_points;
  m_types = other.m_types;
  m_active = other.m_active;
}

QvPath2f::QvPath2f(const QvPath2f& source, QvULong first, QvULong last)
    : m_points(1), m_types(1), m_active(0) {
  {
    LockGuard guard(source);
    const QvULong count = source.m_points.size;
    if (count == 0 || first > last || first >= count) return;
    if (last >= count) last = count - 1;
    m_points.Add(source.m_points, first, last);
    m_types.Add(source.m_types.data + first, last - first + 1);
  }
  m_types[0] = with_type(m_types[0], qi::kMoveto);
  const QvULong e = LastIndex();
  const QvULong s = StartOfSubpath(e);
  if (!(coincide(m_points[s], m_points[e], kCloseTolerance) && ClosedSubpathEnds(e))) {
    m_types[s] = static_cast<unsigned char>(m_types[s] & ~qi::kG1LockBit);
    m_types[e] = static_cast<unsigned char>(m_types[e] & ~qi::kG1LockBit);
    OpenSubpath(e);
  }
  m_active = ClosedSubpathEnds(e) ? 0 : 1;
}

QvPath2f::~QvPath2f() = default;

QvPath2f& QvPath2f::operator=(const QvPath2f& other) {
  LockGuard guard(*this);
  if (&other == this) return *this;
  LockGuard other_guard(other);
  try {
    m_points = other.m_points;
    m_types = other.m_types;
    m_active = other.m_active;
  } catch (const std::bad_alloc&) {
    // A half-made copy is worse than none: the path is left empty.
    m_active = 0;
    m_points.Chop(0);
    m_types.Chop(0);
  }
  return *this;
}

QvShape2f& QvPath2f::operator=(const QvShape2f& other) {
  const QvShape2f* source = &other;
  if (const QvPath2f* path = dynamic_cast<const QvPath2f*>(source)) {
    *this = *path;
  } else {
    QvShape2f::operator=(other);
  }
  return *this;
}

QvShape2f* QvPath2f::QueryShapeKind(Kind kind) const {
  LockGuard guard(*this);
  return kind == KindPath ? const_cast<QvPath2f*>(this) : nullptr;
}

QvShape2f* QvPath2f::Clone() const {
  try {
    return new QvPath2f(*this);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

QvPath2f* QvPath2f::Clear() {
  LockGuard guard(*this);
  m_active = 0;
  try {
    m_points.ChopAndResize(0);
    m_types.ChopAndResize(0);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
  return this;
}

// Each verb appends whole or not at all: if an append throws, both arrays
// go back to the count they had, and the exception goes on.
namespace {

void append_run(QvPoint2fArray& points, QvUByteArray& types, const QvPoint2<float>* run,
                QvULong count, unsigned first_type) {
  const QvULong before = points.size;
  try {
    for (QvULong k = 0; k < count; ++k) {
      points.Add(run[k]);
      types.Add(static_cast<unsigned char>(first_type + k));
    }
  } catch (...) {
    points.Chop(before);
    types.Chop(before);
    throw;
  }
}

}  // namespace

void QvPath2f::Moveto(const QvPoint2<float>& point) {
  LockGuard guard(*this);
  append_run(m_points, m_types, &point, 1, PointMoveto);
  m_active = 1;
}

void QvPath2f::Lineto(const QvPoint2<float>& point) {
  LockGuard guard(*this);
  append_run(m_points, m_types, &point, 1, PointLine);
}

void QvPath2f::Curveto(const QvPoint2<float>& control, const QvPoint2<float>& point) {
  const QvPoint2<float> run[2] = {control, point};
  LockGuard guard(*this);
  append_run(m_points, m_types, run, 2, PointQuad1);
}

void QvPath2f::Curveto(const QvPoint2<float>& control1, const QvPoint2<float>& control2,
                       const QvPoint2<float>& point) {
  const QvPoint2<float> run[3] = {control1, control2, point};
  LockGuard guard(*this);
  append_run(m_points, m_types, run, 3, PointCubic1);
}

void QvPath2f::AltCurveto(const QvPoint2<float>* points, QvULong degree) {
  if (!points || degree < 1 || degree > qi::kMaxDegree) return;
  QvPoint2<float> run[qi::kMaxDegree];
  for (QvULong k = 0; k < degree; ++k) run[k] = points[k];  // the caller's block may be ours
  LockGuard guard(*this);
  append_run(m_points, m_types, run, degree, qi::first_type_of_degree(degree));
}

void QvPath2f::AltAltCurveto(const QvPoint2fArray& array, QvULong first, QvULong degree) {
  if (degree < 1 || degree > qi::kMaxDegree) return;
  if (first >= array.size || array.size - first < degree) return;
  AltCurveto(array.data + first, degree);
}

QvLong QvPath2f::Closeto() {
  LockGuard guard(*this);
  if (IsEmpty()) return 0;
  const QvULong last = LastIndex();
  const QvULong first = StartOfSubpath(last);
  if (!coincide(m_points[first], m_points[last], kCloseTolerance)) return 0;
  const unsigned t = qi::low_type(m_types[last]);
  if (qi::is_open_end(t)) m_types[last] = with_type(m_types[last], t + 1);
  m_active = 0;
  return 1;
}

QvLong QvPath2f::CloseSubpath(QvULong index) {
  LockGuard guard(*this);
  if (!IsLegalIndex(index)) return 0;
  const QvULong first = StartOfSubpath(index);
  const QvULong last = EndOfSubpath(index);
  if (coincide(m_points[first], m_points[last], kCloseTolerance)) {
    const unsigned t = qi::low_type(m_types[last]);
    if (!qi::is_open_end(t)) return 0;
    m_types[last] = with_type(m_types[last], t + 1);
    return 1;
  }
  const QvPoint2<float> start = m_points[first];
  if (last == LastIndex()) {
    append_run(m_points, m_types, &start, 1, PointLineClose);
    m_active = 0;
    return 1;
  }
  m_points.InsertBefore(last + 1, start);
  try {
    m_types.InsertBefore(last + 1, static_cast<unsigned char>(PointLineClose));
  } catch (...) {
    m_points.Remove(last + 1);
    throw;
  }
  return 1;
}

QvLong QvPath2f::OpenSubpath(QvULong index) {
  LockGuard guard(*this);
  if (!IsLegalIndex(index)) return 0;
  const QvULong last = EndOfSubpath(index);
  const unsigned t = qi::low_type(m_types[last]);
  if (!qi::is_closing(t)) return 0;
  m_types[last] = with_type(m_types[last], t - 1);
  if (m_types[last] & qi::kG1LockBit) {
    const QvULong first = StartOfSubpath(last);
    m_types[first] = static_cast<unsigned char>(m_types[first] & ~qi::kG1LockBit);
    m_types[last] = static_cast<unsigned char>(m_types[last] & ~qi::kG1LockBit);
  }
  if (last == LastIndex()) m_active = 1;
  return 1;
}

// ---------------------------------------------------------------------------
// G1 continuity and locks

// A vanished handle imposes no direction, so it counts as continuous. The
// cross product is tested relative to both lengths, so the test does not
// depend on the scale of the drawing.
QvLong QvPath2f::IsG1Continuous(QvULong index) const {
  const QvULong first = StartOfSubpath(index);
  const QvULong last = EndOfSubpath(index);
  QvULong prev;
  QvULong node;
  QvULong next;
  if (index == first || index == last) {
    if (!ClosedSubpathEnds(last) || last - first < 3) return 0;
    prev = last - 1;
    node = first;
    next = first + 1;
  } else {
    prev = index - 1;
    node = index;
    next = index + 1;
  }
  const QvPoint2<float>& p = m_points[prev];
  const QvPoint2<float>& n = m_points[node];
  const QvPoint2<float>& q = m_points[next];
  const double ax = static_cast<double>(n.x) - static_cast<double>(p.x);
  const double ay = static_cast<double>(n.y) - static_cast<double>(p.y);
  const double bx = static_cast<double>(q.x) - static_cast<double>(n.x);
  const double by = static_cast<double>(q.y) - static_cast<double>(n.y);
  const double aa = ax * ax + ay * ay;
  const double bb = bx * bx + by * by;
  if (aa <= 1e-12 || bb <= 1e-12) return 1;
  const double cross = ax * by - ay * bx;
  const double dot = static_cast<double>(n.x - p.x) * static_cast<double>(q.x - n.x) +
                     static_cast<double>(n.y - p.y) * static_cast<double>(q.y - n.y);
  return (cross * cross / (aa * bb) <= 1e-6 && dot > 0.0) ? 1 : 0;
}

QvLong QvPath2f::LockG1(QvULong index) {
  LockGuard guard(*this);
  if (!IsLegalIndex(index)) return 0;
  if (m_types[index] & qi::kG1LockBit) return 1;
  if (!qi::is_node_type(qi::low_type(m_types[index]))) return 0;
  if (!IsG1Continuous(index)) return 0;
  const unsigned t = qi::low_type(m_types[index]);
  const bool inner = t != qi::kMoveto && index != LastIndex() && GetType(index + 1) != qi::kMoveto;
  if (inner) {
    // No lock beside a line or a quadratic: their handles cannot follow.
    const unsigned next = qi::low_type(m_types[index + 1]);
    if (next == PointLine || next == PointLineClose || next == PointQuad1 || t == PointLine ||
        t == PointQuadEnd)
      return 0;
    m_types[index] = static_cast<unsigned char>(m_types[index] | qi::kG1LockBit);
    return 1;
  }
  const QvULong first = StartOfSubpath(index);
  const QvULong last = EndOfSubpath(index);
  const unsigned lt = qi::low_type(m_types[last]);
  if (lt == PointLineClose || lt == PointQuadClose) return 0;
  m_types[first] = static_cast<unsigned char>(m_types[first] | qi::kG1LockBit);
  m_types[last] = static_cast<unsigned char>(m_types[last] | qi::kG1LockBit);
  return 1;
}

QvLong QvPath2f::UnlockG1(QvULong index) {
  LockGuard guard(*this);
  if (!IsLegalIndex(index)) return 1;
  const bool inner = GetType(index) != qi::kMoveto && index != LastIndex() &&
                     GetType(index + 1) != qi::kMoveto;
  if (inner) {
    m_types[index] = static_cast<unsigned char>(m_types[index] & ~qi::kG1LockBit);
  } else {
    const QvULong first = StartOfSubpath(index);
    const QvULong last = EndOfSubpath(index);
    m_types[first] = static_cast<unsigned char>(m_types[first] & ~qi::kG1LockBit);
    m_types[last] = static_cast<unsigned char>(m_types[last] & ~qi::kG1LockBit);
  }
  return 1;
}

QvLong QvPath2f::IsG1LockOn(QvULong index) const {
  LockGuard guard(*this);
  if (!IsLegalIndex(index)) return 0;
  return static_cast<QvLong>(m_types[index] & qi::kG1LockBit);
}

// ---------------------------------------------------------------------------
// Index arithmetic; the caller holds the lock

QvLong QvPath2f::IsEmpty() const { return m_points.size == 0 ? 1 : 0; }
QvLong QvPath2f::IsNotEmpty() const { return m_points.size != 0 ? 1 : 0; }
QvULong QvPath2f::NumPointsInsideCriticalSection() const { return m_points.size; }
QvULong QvPath2f::LastIndex() const { return m_points.size - 1; }

QvLong QvPath2f::IsLegalIndex(QvULong index) const {
  return (m_points.size != 0 && index <= m_points.size - 1) ? 1 : 0;
}

QvLong QvPath2f::GetPointInsideCriticalSection(QvULong index, QvPoint2<float>& point) const {
  if (index >= m_points.size) return 0;
  point = m_points[index];
  return 1;
}

QvPoint2<float> QvPath2f::GetPointInsideCriticalSection(QvULong index) const {
  return m_points[index];
}

const QvPoint2fArray& QvPath2f::GetPointsInsideCriticalSection() const { return m_points; }

QvPath2f::PointType QvPath2f::GetType(QvULong index) const {
  return static_cast<PointType>(qi::low_type(m_types[index]));
}

void QvPath2f::SetType(QvULong index, PointType type) {
  m_types[index] = with_type(m_types[index], static_cast<unsigned>(type));
}

void QvPath2f::AppendPoint(const QvPoint2<float>& point, PointType type) {
  append_run(m_points, m_types, &point, 1, static_cast<unsigned>(type) & qi::kTypeMask);
}

QvLong QvPath2f::SubpathStarts(QvULong index) const {
  return GetType(index) == PointMoveto ? 1 : 0;
}

QvLong QvPath2f::SubpathEnds(QvULong index) const {
  return (index == LastIndex() || GetType(index + 1) == PointMoveto) ? 1 : 0;
}

// Stops at index 0 whatever its type, so that a path that does not begin
// with a Moveto cannot send the walk below the array.
QvULong QvPath2f::StartOfSubpath(QvULong index) const {
  while (index > 0 && GetType(index) != PointMoveto) --index;
  return index;
}

QvULong QvPath2f::EndOfSubpath(QvULong index) const {
  const QvULong count = m_points.size;
  while (index + 1 < count && GetType(index + 1) != PointMoveto) ++index;
  return index;
}

QvLong QvPath2f::ClosedSubpathEnds(QvULong index) const {
  return qi::is_closing(qi::low_type(m_types[index])) ? 1 : 0;
}

QvLong QvPath2f::ClosedSubpathStarts(QvULong index) const {
  if (GetType(index) != PointMoveto || index == LastIndex()) return 0;
  return ClosedSubpathEnds(EndOfSubpath(index));
}

QvLong QvPath2f::EndOfClosedSubpath(QvULong index, QvULong& end) const {
  end = EndOfSubpath(index);
  return ClosedSubpathEnds(end);
}

QvLong QvPath2f::IsStartingTangentHandle(QvULong index) const {
  return qi::is_first_handle(qi::low_type(m_types[index])) ? 1 : 0;
}

QvLong QvPath2f::IsEndingTangentHandle(QvULong index) const {
  return qi::is_last_handle(qi::low_type(m_types[index])) ? 1 : 0;
}

QvLong QvPath2f::IsTangentHandle(QvULong index) const {
  const unsigned t = qi::low_type(m_types[index]);
  return (qi::is_first_handle(t) || qi::is_last_handle(t)) ? 1 : 0;
}

QvULong QvPath2f::Degree(QvULong index) const {
  unsigned t = qi::low_type(m_types[index]);
  if (t == qi::kMoveto) {
    if (index == LastIndex()) return 0;
    t = qi::low_type(m_types[index + 1]);
    if (t == qi::kMoveto) return 0;
  }
  return qi::type_degree(t);
}

QvULong QvPath2f::StartOfSegment(QvULong index) const {
  const unsigned t = qi::low_type(m_types[index]);
  if (t == qi::kMoveto) return index;
  const unsigned back = qi::steps_back_to_segment_start(t);
  if (back == 0 || back > index) return 0;
  return index - back;
}

QvULong QvPath2f::EndOfSegment(QvULong index) const {
  const unsigned t = qi::low_type(m_types[index]);
  if (t == qi::kMoveto) {
    if (index == LastIndex() || GetType(index + 1) == PointMoveto) return index;
    return EndOfSegment(index + 1);
  }
  if (qi::is_open_end(t) || qi::is_closing(t)) return index;
  if (qi::is_handle_type(t)) return index + qi::steps_forward_to_segment_end(t);
  return 0;
}

// ---------------------------------------------------------------------------
// Public queries

QvULong QvPath2f::NumPoints() const {
  LockGuard guard(*this);
  return m_points.size;
}

QvPoint2<float> QvPath2f::GetPoint(QvULong index) {
  LockGuard guard(*this);
  return index < m_points.size ? m_points[index] : QvPoint2<float>();
}

QvLong QvPath2f::GetPoint(QvULong index, QvPoint2<float>& point) const {
  LockGuard guard(*this);
  return GetPointInsideCriticalSection(index, point);
}

QvPoint2<double>* QvPath2f::GetPoints(QvULong first, QvULong last, QvPoint2<double>* out) const {
  LockGuard guard(*this);
  if (!out || first > last || last >= m_points.size) return out;
  for (QvULong i = first; i <= last; ++i)
    out[i - first] = QvPoint2<double>(m_points[i].x, m_points[i].y);
  return out;
}

QvPoint2<float>* QvPath2f::GetPoints(QvULong first, QvULong last, QvPoint2<float>* out) const {
  LockGuard guard(*this);
  if (!out || first > last || last >= m_points.size) return out;
  for (QvULong i = first; i <= last; ++i) out[i - first] = m_points[i];
  return out;
}

QvPoint2<float> QvPath2f::GetCurrentPoint() const {
  LockGuard guard(*this);
  return IsEmpty() ? QvPoint2<float>() : m_points[LastIndex()];
}

QvULong QvPath2f::NumSegments() const {
  LockGuard guard(*this);
  QvULong count = 0;
  for (QvULong i = 0; i < m_points.size; ++count) {
    const QvULong e = EndOfSegment(i);
    i = (e > i ? e : i) + 1;
  }
  return count;
}

QvULong QvPath2f::NumSubpaths() const {
  LockGuard guard(*this);
  if (IsEmpty()) return 0;
  QvULong count = 1;
  for (QvULong i = 1; i < m_points.size; ++i)
    if (GetType(i) == PointMoveto) ++count;
  return count;
}

QvULong QvPath2f::NumNodes() const {
  LockGuard guard(*this);
  QvULong count = 0;
  for (QvULong i = 0; i < m_points.size; ++i)
    if (qi::is_node_type(qi::low_type(m_types[i]))) ++count;
  return count;
}

QvULong QvPath2f::NumNodesExceptLastNodeOfClosedSubpaths() const {
  LockGuard guard(*this);
  QvULong count = 0;
  for (QvULong i = 0; i < m_points.size; ++i) {
    const unsigned t = qi::low_type(m_types[i]);
    if (t == qi::kMoveto || qi::is_open_end(t)) ++count;
  }
  return count;
}

QvULong QvPath2f::LargestDegree() const {
  LockGuard guard(*this);
  QvULong largest = 0;
  for (QvULong i = 0; i < m_points.size; ++i) {
    const QvULong d = Degree(i);
    if (d > largest) largest = d;
  }
  return largest;
}

QvULong QvPath2f::GetDegree(QvULong index) const {
  LockGuard guard(*this);
  return IsLegalIndex(index) ? Degree(index) : 0;
}

QvLong QvPath2f::IsPolyline() const {
  LockGuard guard(*this);
  if (IsEmpty()) return 0;
  for (QvULong i = 0; i < m_points.size; ++i)
    if (Degree(i) >= 2) return 0;
  return 1;
}

// Deliberately looser than Closeto: it answers whether the outline looks
// closed, not whether it was closed.
QvLong QvPath2f::IsPathClosed() const {
  if (m_points.size == 0) return 0;
  return coincide(m_points[0], m_points[m_points.size - 1], 1e-6f) ? 1 : 0;
}

QvLong QvPath2f::IsNode(QvULong index) const {
  LockGuard guard(*this);
  return (IsLegalIndex(index) && qi::is_node_type(qi::low_type(m_types[index]))) ? 1 : 0;
}

QvLong QvPath2f::IsNodeAndNotLastNodeOfClosedSubpath(QvULong index) const {
  LockGuard guard(*this);
  if (!IsLegalIndex(index)) return 0;
  const unsigned t = qi::low_type(m_types[index]);
  return (t == qi::kMoveto || qi::is_open_end(t)) ? 1 : 0;
}

QvLong QvPath2f::IsInnerPoint(QvULong index) const {
  LockGuard guard(*this);
  return (IsLegalIndex(index) && !qi::is_node_type(qi::low_type(m_types[index]))) ? 1 : 0;
}

QvLong QvPath2f::IsStartOfSubpath(QvULong index) const {
  LockGuard guard(*this);
  return IsLegalIndex(index) ? SubpathStarts(index) : 0;
}

QvLong QvPath2f::IsEndOfSubpath(QvULong index, QvLong& closed) const {
  LockGuard guard(*this);
  if (!IsLegalIndex(index) || !SubpathEnds(index)) return 0;
  closed = ClosedSubpathEnds(index);
  return 1;
}

QvLong QvPath2f::IsSubpathClosed(QvULong index) const {
  LockGuard guard(*this);
  return IsLegalIndex(index) ? ClosedSubpathEnds(EndOfSubpath(index)) : 0;
}

void QvPath2f::GetSubpathIndices(QvULong index, QvULong& first, QvULong& last) const {
  LockGuard guard(*this);
  if (!IsLegalIndex(index)) return;
  first = StartOfSubpath(index);
  last = EndOfSubpath(index);
}

void QvPath2f::GetSegmentIndices(QvULong index, QvULong& first, QvULong& last) const {
  LockGuard guard(*this);
  if (!IsLegalIndex(index)) return;
  const QvULong s = StartOfSegment(index);
  const QvULong e = EndOfSegment(index);
  first = s <= index ? s : index;
  last = (e >= index && e < m_points.size) ? e : index;
}

QvLong QvPath2f::IsSiblingOf(const QvPath2f& other) const {
  LockGuard guard(*this);
  LockGuard other_guard(other);
  if (m_points.size != other.m_points.size) return 0;
  for (QvULong i = 0; i < m_types.size; ++i)
    if (qi::low_type(m_types[i]) != qi::low_type(other.m_types[i])) return 0;
  return 1;
}

QvLong QvPath2f::IsActive() const { return m_active; }

QvULong QvPath2f::MaxDegreeForThisImplementation() const { return qi::kMaxDegree; }

// ---------------------------------------------------------------------------
// Printing

std::ostream& operator<<(std::ostream& stream, const QvPath2f& path) {
  QvPath2f::LockGuard guard(path);
  stream << "Statistics for this path: " << std::endl;
  stream << "NumPoints: " << path.NumPoints() << std::endl;
  stream << "NumSegments: " << path.NumSegments() << std::endl;
  stream << "NumSubpaths: " << path.NumSubpaths() << std::endl;
  stream << "LargestDegree: " << path.LargestDegree() << std::endl;
  stream << "The points: " << std::endl;
  for (QvULong i = 0; i < path.m_points.size; ++i) {
    stream << "Index: " << i << " X: " << static_cast<double>(path.m_points[i].x)
           << " Y: " << static_cast<double>(path.m_points[i].y)
           << " First: " << path.StartOfSegment(i) << " Last: " << path.EndOfSegment(i)
           << std::endl;
  }
  return stream;
}

void QvPath2f::Print() const { std::cout << *this; }

// ---------------------------------------------------------------------------
// Stored body: kind word, count, points, type bytes, active word

QvULong QvPath2f::GetBufferSize() const {
  LockGuard guard(*this);
  return 9 * m_points.size + 16;
}

QvULong QvPath2f::WriteToBuffer(void* buffer) const {
  if (!buffer) return 0;
  LockGuard guard(*this);
  const QvULong n = m_points.size;
  unsigned char* out = static_cast<unsigned char*>(buffer);
  qi::store_u32(out, 9 * n + 12);
  qi::store_u32(out + 4, KindPath);
  qi::store_u32(out + 8, n);
  unsigned char* p = out + 12;
  for (QvULong i = 0; i < n; ++i, p += 8) {
    qi::store_f32(p, m_points[i].x);
    qi::store_f32(p + 4, m_points[i].y);
  }
  // G1 locks are an editing aid and are not stored.
  for (QvULong i = 0; i < n; ++i) *p++ = static_cast<unsigned char>(m_types[i] & qi::kTypeMask);
  qi::store_u32(p, static_cast<std::uint32_t>(m_active));
  return 9 * n + 16;
}

QvULong QvPath2f::ReadFromBufferBody(const void* body) {
  if (!body) return 0;
  const unsigned char* in = static_cast<const unsigned char*>(body);
  const std::uint64_t length = qi::body_length(body);
  if (length < 12) return 0;
  if (qi::load_u16(in) != KindPath) return 0;
  const std::uint64_t n = qi::load_u32(in + 4);
  // The length word is the only bound there is: a count that does not fill
  // the body exactly is refused before anything past the header is read.
  if (9 * n + 12 != length) return 0;
  // Type bytes and the active word are taken as they stand. Every walk over
  // a path stays inside its arrays whatever its types say, and a range copy
  // cut through a segment stores a run of types that no verb would build.
  const std::uint32_t active = qi::load_u32(in + 8 + 9 * n);
  const unsigned char* type_bytes = in + 8 + 8 * n;
  const QvULong count = static_cast<QvULong>(n);
  try {
    QvPoint2fArray points(count ? count : 1);
    QvUByteArray types(count ? count : 1);
    types.Add(type_bytes, count);
    const unsigned char* p = in + 8;
    for (QvULong i = 0; i < count; ++i, p += 8)
      points.Add(QvPoint2<float>(qi::load_f32(p), qi::load_f32(p + 4)));
    LockGuard guard(*this);
    swap_arrays(m_points, points);
    swap_arrays(m_types, types);
    m_active = static_cast<QvLong>(active);
  } catch (const std::bad_alloc&) {
    return 0;
  }
  return static_cast<QvULong>(length);
}

// ---------------------------------------------------------------------------
// Iterator

QvPath2fIter::QvPath2fIter(const QvPath2f& path) : m_path(path), m_next(0) {}

QvLong QvPath2fIter::GetNextSubPathIndices(QvULong& first, QvULong& last) {
  QvPath2f::LockGuard guard(m_path);
  if (m_next >= m_path.m_points.size) return 0;
  first = m_next;
  last = m_path.EndOfSubpath(m_next);
  m_next = last + 1;
  return 1;
}

void QvPath2fIter::Reset() { m_next = 0; }

// ---------------------------------------------------------------------------
// Moving the whole path

QvShape2f& QvPath2f::Translate(const QvPoint2<float>& offset) {
  LockGuard guard(*this);
  for (QvULong i = 0; i < m_points.size; ++i) m_points[i] += offset;
  return *this;
}

QvShape2f& QvPath2f::Rotate(double angle, const QvPoint2<float>& center) {
  QvTransfo4 transform;
  transform.RotateXY(angle, QvPoint2<double>(center.x, center.y));
  return Transform(transform);
}

QvShape2f& QvPath2f::Scale(double sx, double sy, const QvPoint2<float>& center) {
  QvTransfo4 transform;
  transform.ScaleXY(sx, sy, QvPoint2<double>(center.x, center.y));
  return Transform(transform);
}

// x moves by factor times the height above the line y = origin.
QvShape2f& QvPath2f::ShearX(double factor, double origin) {
  LockGuard guard(*this);
  for (QvULong i = 0; i < m_points.size; ++i) {
    QvPoint2<float>& p = m_points[i];
    p.x = static_cast<float>(static_cast<double>(p.x) + factor * (static_cast<double>(p.y) - origin));
  }
  return *this;
}

// y moves by factor times the distance right of the line x = origin.
QvShape2f& QvPath2f::ShearY(double factor, double origin) {
  LockGuard guard(*this);
  for (QvULong i = 0; i < m_points.size; ++i) {
    QvPoint2<float>& p = m_points[i];
    p.y = static_cast<float>(static_cast<double>(p.y) + factor * (static_cast<double>(p.x) - origin));
  }
  return *this;
}

QvShape2f& QvPath2f::Transform(const QvTransfo4& transform) {
  LockGuard guard(*this);
  if (m_points.size) transform.MapInPlace(m_points.data, m_points.size);
  return *this;
}
