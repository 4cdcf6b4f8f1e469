// What the rest of the library reads off a path: tagged polylines, evenly
// spaced samples, extents, hits against boxes, near points and arc length.
// All of it is read-only and runs under the path's lock.
#include <qv/QvPath2f.h>

#include <qv/QvBezierTool.h>
#include <qv/QvGC.h>
#include <qv/QvRaster.h>
#include <qv/QvTransfo4.h>

#include "shape/path_types.h"

#include <cmath>
#include <vector>

namespace qi = qv::internal;

namespace {

using ExtentState = QvExtentStates::ExtentState;
constexpr ExtentState kBounded = QvExtentStates::ExtentBounded;
constexpr ExtentState kEmpty = QvExtentStates::ExtentEmpty;
constexpr ExtentState kUniverse = QvExtentStates::ExtentUniverse;

// Polyline temporaries start at this capacity so that ordinary outlines do
// not reallocate.
constexpr QvULong kPolylineCapacity = 64;

// A step of a flattened polyline: the difference is taken in single
// precision, as the points are stored, and measured in double. A squared
// length at or below 1e-9 counts as 0.
double step_length(const QvPoint2<float>& a, const QvPoint2<float>& b) {
  const double dx = static_cast<double>(b.x - a.x);
  const double dy = static_cast<double>(b.y - a.y);
  const double s = dx * dx + dy * dy;
  return s <= 1e-9 ? 0.0 : std::sqrt(s);
}

// The point at fraction u of the step from a to b: the product is rounded to
// single precision and added in single precision.
QvPoint2<float> lerp_float(const QvPoint2<float>& a, const QvPoint2<float>& b, double u) {
  return QvPoint2<float>(a.x + static_cast<float>(static_cast<double>(b.x - a.x) * u),
                         a.y + static_cast<float>(static_cast<double>(b.y - a.y) * u));
}

bool near_float(const QvPoint2<float>& a, const QvPoint2<float>& b) {
  const float dx = a.x - b.x;
  const float dy = a.y - b.y;
  return -1e-7f <= dx && dx <= 1e-7f && -1e-7f <= dy && dy <= 1e-7f;
}

template <class T>
bool holds(const QvExtent2<T>& e, const QvPoint2<T>& p) {
  if (e.state == kUniverse) return true;
  return e.IsInside(p);
}

template <class T>
QvExtent2<T>& reset(QvExtent2<T>& e) {
  e.min = QvPoint2<T>();
  e.max = QvPoint2<T>();
  e.state = kEmpty;
  return e;
}

// Whether anything of the segment a-b remains after clipping it to the box.
// End points within 1e-7 of the box accept the segment at once; bounds that
// are not finite take no part in that test.
bool segment_reaches(const QvPoint2<float>& a, const QvPoint2<float>& b,
                     const QvExtent2<float>& box) {
  if (box.state == kEmpty) return false;
  if (box.state == kUniverse) return true;
  const float tol = 1e-7f;
  auto near_inside = [&](const QvPoint2<float>& p) {
    if (std::isfinite(box.min.x) && p.x < box.min.x - tol) return false;
    if (std::isfinite(box.max.x) && p.x > box.max.x + tol) return false;
    if (std::isfinite(box.min.y) && p.y < box.min.y - tol) return false;
    if (std::isfinite(box.max.y) && p.y > box.max.y + tol) return false;
    return true;
  };
  if (near_inside(a) && near_inside(b)) return true;
  const float dx = b.x - a.x;
  const float dy = b.y - a.y;
  const float p[4] = {-dx, dx, -dy, dy};
  const float q[4] = {a.x - box.min.x, box.max.x - a.x, a.y - box.min.y, box.max.y - a.y};
  float t0 = 0.0f;
  float t1 = 1.0f;
  for (int k = 0; k < 4; ++k) {
    if (p[k] == 0.0f) {
      if (q[k] < 0.0f) return false;
      continue;
    }
    const float r = q[k] / p[k];
    if (p[k] < 0.0f) {
      if (r > t1) return false;
      if (r > t0) t0 = r;
    } else {
      if (r < t0) return false;
      if (r < t1) t1 = r;
    }
  }
  return t0 <= t1;
}

}  // namespace

// ---------------------------------------------------------------------------
// Segment walk and flattening

QvULong QvPath2f::SegmentEndWithin(QvULong index, QvULong start, QvULong last) const {
  QvULong e = EndOfSegment(index);
  if (e < index || e > last) e = last;
  if (e - start > qi::kMaxDegree) e = start + qi::kMaxDegree;
  return e;
}

// The segment's first point is never emitted by the segment itself: the
// subpath's first point, or the previous segment's end, stands for it.
QvULong QvPath2f::FlattenSubpathInsideCriticalSection(QvULong first, QvULong last,
                                                      const QvTransfo4* transform,
                                                      double tolerance, QvBezierTool& tool,
                                                      QvPoint2fArray& out, QvULong markNode,
                                                      QvULong* mark) const {
  const QvULong before = out.size;
  out.Add(transform ? transform->Map(m_points[first]) : m_points[first]);
  QvPoint2<float> block[qi::kMaxDegree + 1];
  QvULong s = first;
  QvULong e = SegmentEndWithin(first, first, last);
  for (;;) {
    const QvULong degree = e - s;
    for (QvULong k = 0; k <= degree; ++k) block[k] = m_points[s + k];
    if (transform) transform->MapInPlace(block, degree + 1);
    if (degree == 3)
      QvBezierTool_FlattenCubic2f(block, tolerance, &out, 1);
    else
      tool.Flatten(block, 0, degree, tolerance, &out, 1);
    if (mark && e == markNode) *mark = out.size - 1 - before;
    if (e >= last) break;
    s = e;
    e = SegmentEndWithin(s + 1, s, last);
  }
  return out.size - before;
}

QvULong QvPath2f::FlattenSubpathInsideCriticalSection(QvULong first, QvULong last,
                                                      const QvTransfo4& transform,
                                                      double tolerance, QvBezierTool& tool,
                                                      QvPoint2dArray& out) const {
  const QvULong before = out.size;
  out.Add(transform.Map(QvPoint2<double>(m_points[first].x, m_points[first].y)));
  QvPoint2<double> block[qi::kMaxDegree + 1];
  QvULong s = first;
  QvULong e = SegmentEndWithin(first, first, last);
  for (;;) {
    const QvULong degree = e - s;
    for (QvULong k = 0; k <= degree; ++k)
      block[k] = QvPoint2<double>(m_points[s + k].x, m_points[s + k].y);
    transform.MapInPlace(block, degree + 1);
    if (degree == 3)
      QvBezierTool_FlattenCubic2d(block, tolerance, &out, 1);
    else
      tool.Flatten(block, 0, degree, tolerance, &out, 1);
    if (e >= last) break;
    s = e;
    e = SegmentEndWithin(s + 1, s, last);
  }
  return out.size - before;
}

QvULong QvPath2f::FlattenTagged(const QvTransfo4* transform, double tolerance,
                                QvPoint2fArray& points, QvPointTagArray& tags) const {
  LockGuard guard(*this);
  const QvULong before = points.size;
  QvBezierTool tool;
  for (QvULong first = 0; first < m_points.size;) {
    const QvULong last = EndOfSubpath(first);
    const QvULong c =
        FlattenSubpathInsideCriticalSection(first, last, transform, tolerance, tool, points) - 1;
    tags.Add(TagFirst);
    for (QvULong k = 1; k < c; ++k) tags.Add(TagInner);
    tags.Add(TagLast);
    first = last + 1;
  }
  return points.size - before;
}

QvULong QvPath2f::Flatten(const QvGC& gc, QvPoint2fArray& points, QvPointTagArray& tags) const {
  return FlattenTagged(&gc.GetTransform(), gc.GetFlatteningTolerance(), points, tags);
}

QvULong QvPath2f::AltFlatten(double tolerance, QvPoint2fArray& points,
                             QvPointTagArray& tags) const {
  return FlattenTagged(nullptr, tolerance, points, tags);
}

QvULong QvPath2f::FlattenSubpath(QvULong index, double tolerance, QvPoint2fArray& points) const {
  LockGuard guard(*this);
  if (!IsLegalIndex(index)) return 0;
  QvBezierTool tool;
  return FlattenSubpathInsideCriticalSection(StartOfSubpath(index), EndOfSubpath(index), nullptr,
                                             tolerance, tool, points);
}

QvULong QvPath2f::TransformAndFlattenSubpaths(const QvTransfo4& transform, double tolerance,
                                              bool closedOnly, QvPoint2dArray& points,
                                              QvPointTagArray& tags) const {
  LockGuard guard(*this);
  QvULong emitted = 0;
  QvBezierTool tool;
  for (QvULong first = 0; first < m_points.size;) {
    const QvULong last = EndOfSubpath(first);
    if (!closedOnly || ClosedSubpathEnds(last)) {
      const QvULong c =
          FlattenSubpathInsideCriticalSection(first, last, transform, tolerance, tool, points) - 1;
      tags.Add(TagFirst);
      for (QvULong k = 1; k < c; ++k) tags.Add(TagInner);
      tags.Add(TagLast);
      ++emitted;
    }
    first = last + 1;
  }
  return emitted;
}

QvULong QvPath2f::TransformAndFlattenPath(const QvTransfo4& transform, double tolerance,
                                          QvPoint2dArray& points, QvPointTagArray& tags) const {
  return TransformAndFlattenSubpaths(transform, tolerance, false, points, tags);
}

QvULong QvPath2f::TransformAndFlattenClosedSubPaths(const QvTransfo4& transform,
                                                    double tolerance, QvPoint2dArray& points,
                                                    QvPointTagArray& tags) const {
  return TransformAndFlattenSubpaths(transform, tolerance, true, points, tags);
}

// Each closed subpath is clipped as a polygon by four Sutherland-Hodgman
// passes against the closed half-planes x >= min.x, y >= min.y, x <= max.x
// and y <= max.y, in that order, and closed again. The clip keeps the
// winding; a concave polygon may come out with coincident edges along the box.
QvULong QvPath2f::TransformFlattenAndClipClosedSubPaths(const QvTransfo4& transform,
                                                        double tolerance,
                                                        const QvExtent2<double>& clip,
                                                        QvPoint2dArray& points,
                                                        QvPointTagArray& tags) const {
  LockGuard guard(*this);
  QvULong emitted = 0;
  QvBezierTool tool;
  std::vector<QvPoint2<double>> a;
  std::vector<QvPoint2<double>> b;
  for (QvULong first = 0; first < m_points.size;) {
    const QvULong last = EndOfSubpath(first);
    const QvULong next_first = last + 1;
    if (!(first + 1 < last && ClosedSubpathEnds(last))) {
      first = next_first;
      continue;
    }
    QvPoint2dArray flat(last - first + 1);
    FlattenSubpathInsideCriticalSection(first, last, transform, tolerance, tool, flat);
    flat.Chop(flat.size - 1);  // the closing point repeats the first
    a.assign(flat.data, flat.data + flat.size);
    bool alive = !a.empty();
    for (int pass = 0; pass < 4 && alive; ++pass) {
      const bool on_x = (pass % 2) == 0;
      const bool keep_above = pass < 2;
      const double v = on_x ? (keep_above ? clip.min.x : clip.max.x)
                            : (keep_above ? clip.min.y : clip.max.y);
      auto axis = [on_x](const QvPoint2<double>& p) { return on_x ? p.x : p.y; };
      auto other = [on_x](const QvPoint2<double>& p) { return on_x ? p.y : p.x; };
      auto inside = [&](const QvPoint2<double>& p) {
        return keep_above ? axis(p) >= v : axis(p) <= v;
      };
      auto crossing = [&](const QvPoint2<double>& prev, const QvPoint2<double>& cur) {
        const double d = axis(prev) - axis(cur);
        double o;
        if (d < -1e-15 || d > 1e-15)
          o = other(prev) + (other(cur) - other(prev)) * (v - axis(prev)) / (axis(cur) - axis(prev));
        else
          o = (other(prev) + other(cur)) * 0.5;
        return on_x ? QvPoint2<double>(v, o) : QvPoint2<double>(o, v);
      };
      b.clear();
      QvPoint2<double> prev = a.back();
      for (const QvPoint2<double>& cur : a) {
        const bool cur_in = inside(cur);
        const bool prev_in = inside(prev);
        if (cur_in) {
          if (!prev_in) b.push_back(crossing(prev, cur));
          b.push_back(cur);
        } else if (prev_in) {
          b.push_back(crossing(prev, cur));
        }
        prev = cur;
      }
      a.swap(b);
      alive = !a.empty();
    }
    if (alive) {
      for (std::size_t k = 0; k < a.size(); ++k) {
        points.Add(a[k]);
        tags.Add(k == 0 ? TagFirst : TagInner);
      }
      points.Add(a.front());
      tags.Add(TagLast);
      ++emitted;
    }
    first = next_first;
  }
  return emitted;
}

// ---------------------------------------------------------------------------
// Sampling

// The spacing is stretched or shrunk so that the samples divide each
// subpath's length exactly, rounding to the nearer count. The subpath's own
// end is not sampled; on a closed outline that keeps the spacing even
// across the joint.
QvULong QvPath2f::Sample(const QvGC& gc, QvPoint2fArray& points, QvPointTagArray& tags) const {
  LockGuard guard(*this);
  if (IsEmpty()) return 0;
  const QvULong before = points.size;
  const double spacing = gc.GetSamplingDistance();
  const double tolerance = gc.GetFlatteningTolerance();
  const QvTransfo4& transform = gc.GetTransform();
  QvBezierTool tool;
  QvPoint2fArray poly(kPolylineCapacity);
  std::vector<double> cum;
  cum.reserve(kPolylineCapacity);
  for (QvULong first = 0; first < m_points.size;) {
    const QvULong last = EndOfSubpath(first);
    poly.Chop(0);
    FlattenSubpathInsideCriticalSection(first, last, &transform, tolerance, tool, poly);
    const QvULong end = poly.size - 1;
    points.Add(poly[0]);
    tags.Add(TagFirst);
    cum.assign(1, 0.0);
    for (QvULong i = 1; i <= end; ++i) cum.push_back(cum.back() + step_length(poly[i - 1], poly[i]));
    const double total = cum.back();
    QvULong appended = 0;
    // A spacing that is not positive, or so fine that the count would not
    // fit, leaves only the subpath's ends, as a subpath shorter than it does.
    const bool countable = spacing > 0.0 && total / spacing < 4294967295.0;
    if (countable && total > spacing) {
      QvULong n = static_cast<QvULong>(std::floor(total / spacing));
      if (spacing * 0.5 < std::fmod(total, spacing)) ++n;
      const double step = total / n;
      double target = 0.0;
      QvULong j = 0;
      for (QvULong i = 1; i < n; ++i) {
        target += step;
        while (j <= end && target > cum[j]) ++j;
        if (j > end) break;
        const QvULong a = j - 1;
        const double u = (target - cum[a]) / (cum[j] - cum[a]);
        points.Add(lerp_float(poly[a], poly[j], u));
        tags.Add(TagInner);
        ++appended;
      }
    }
    if (appended == 0) {
      points.Add(poly[end]);
      tags.Add(TagLast);
    } else {
      tags[tags.size - 1] = TagLast;
      if (appended > 1 && ClosedSubpathEnds(last) && near_float(points[points.size - 1], poly[end])) {
        points.Chop(points.size - 1);
        tags.Chop(tags.size - 1);
        tags[tags.size - 1] = TagLast;
      }
    }
    first = last + 1;
  }
  return points.size - before;
}

// Fractions are of the whole path's length, with no jump between subpaths:
// a polyline's first point repeats the running length. The tags are written
// by index from 0, so the tag array is expected to come in empty.
QvULong QvPath2f::Sample(const QvGC& gc, const QvFloatArray& fractions, QvPoint2fArray& points,
                         QvPointTagArray& tags) const {
  LockGuard guard(*this);
  if (IsEmpty()) return 0;
  const QvULong before = points.size;
  QvPoint2fArray poly(1);
  QvPointTagArray poly_tags(1);
  Flatten(gc, poly, poly_tags);
  if (poly.size == 0) return 0;
  std::vector<double> cum(poly.size, 0.0);
  for (QvULong i = 1; i < poly.size; ++i)
    cum[i] = cum[i - 1] + (poly_tags[i] == TagFirst ? 0.0 : step_length(poly[i - 1], poly[i]));
  const double total = cum.back();
  const QvULong nf = fractions.size;
  QvULong f = 0;
  for (QvULong first = 0; first < poly.size;) {
    QvULong last = first;
    while (last + 1 < poly.size && poly_tags[last] != TagLast) ++last;
    const QvULong f_run = f;
    QvULong c = first + 1;
    while (f < nf) {
      const double target = static_cast<double>(fractions[f]) * total;
      while (c <= last && target > cum[c]) ++c;
      if (c > last) break;
      const QvULong a = c - 1;
      const double span = cum[c] - cum[a];
      points.Add(span > 0.0 ? lerp_float(poly[a], poly[c], (target - cum[a]) / span) : poly[a]);
      tags.Add(TagInner);
      ++f;
    }
    if (f_run < tags.size) tags[f_run] = TagFirst;
    if (f >= 1 && f - 1 < tags.size) tags[f - 1] = TagLast;
    first = last + 1;
  }
  return points.size - before;
}

// ---------------------------------------------------------------------------
// Extents

QvExtent2<double>& QvPath2f::GetExtent(QvExtent2<double>& extent) const {
  LockGuard guard(*this);
  reset(extent);
  for (QvULong i = 0; i < m_points.size; ++i)
    extent.Augment(QvPoint2<double>(m_points[i].x, m_points[i].y));
  return extent;
}

QvExtent2<float>& QvPath2f::GetExtent(QvExtent2<float>& extent) const {
  LockGuard guard(*this);
  reset(extent);
  for (QvULong i = 0; i < m_points.size; ++i) extent.Augment(m_points[i]);
  return extent;
}

QvExtent2<float>& QvPath2f::GetSegmentExtent(QvULong index, QvExtent2<float>& extent) const {
  LockGuard guard(*this);
  reset(extent);
  if (!IsLegalIndex(index)) return extent;
  QvULong first = index;
  QvULong last = index;
  GetSegmentIndices(index, first, last);
  for (QvULong i = first; i <= last; ++i) extent.Augment(m_points[i]);
  return extent;
}

namespace {

// Only cubics are tightened; every other segment adds its control points.
// A cubic whose inner points already lie in the extent cannot grow it.
template <class T, class AugmentCubic>
void tight_extent(const QvPath2f& path, const QvPoint2fArray& pts, QvExtent2<T>& extent,
                  QvULong first, QvULong last,
                  QvULong (QvPath2f::*segment_end)(QvULong, QvULong, QvULong) const,
                  AugmentCubic augment_cubic) {
  auto widen = [](const QvPoint2<float>& p) { return QvPoint2<T>(p.x, p.y); };
  extent.Augment(widen(pts[first]));
  QvULong s = first;
  QvULong e = (path.*segment_end)(first, first, last);
  for (;;) {
    const QvULong degree = e - s;
    if (degree == 1) {
      extent.Augment(widen(pts[e]));
    } else if (degree == 3) {
      const QvPoint2<T> cubic[4] = {widen(pts[s]), widen(pts[s + 1]), widen(pts[s + 2]),
                                    widen(pts[s + 3])};
      const bool contained = extent.state == kBounded && extent.IsInside(cubic[1]) &&
                             extent.IsInside(cubic[2]) && extent.IsInside(cubic[3]);
      if (!contained) augment_cubic(extent, cubic);
    } else {
      for (QvULong k = s; k <= e; ++k) extent.Augment(widen(pts[k]));
    }
    if (e >= last) break;
    s = e;
    e = (path.*segment_end)(s + 1, s, last);
  }
}

}  // namespace

QvExtent2<double>& QvPath2f::GetTightExtent(QvExtent2<double>& extent) const {
  LockGuard guard(*this);
  reset(extent);
  for (QvULong first = 0; first < m_points.size;) {
    const QvULong last = EndOfSubpath(first);
    tight_extent(*this, m_points, extent, first, last, &QvPath2f::SegmentEndWithin,
                 [](QvExtent2<double>& e, const QvPoint2<double>* c) {
                   QvBezierTool_AugmentExtentWithCubic2dTightExtent(e, c, 1);
                 });
    first = last + 1;
  }
  return extent;
}

QvExtent2<float>& QvPath2f::GetTightExtent(QvExtent2<float>& extent) const {
  LockGuard guard(*this);
  reset(extent);
  for (QvULong first = 0; first < m_points.size;) {
    const QvULong last = EndOfSubpath(first);
    tight_extent(*this, m_points, extent, first, last, &QvPath2f::SegmentEndWithin,
                 [](QvExtent2<float>& e, const QvPoint2<float>* c) {
                   QvBezierTool_AugmentExtentWithCubic2fTightExtent(e, c, 1);
                 });
    first = last + 1;
  }
  return extent;
}

// ---------------------------------------------------------------------------
// Hits against a box

// Saves the flattening in the common case of a shape far from the box.
bool QvPath2f::MayTouchExtent(const QvGC& gc, const QvExtent2<float>& extent) const {
  if (extent.state == kEmpty) return false;
  QvExtent2<float> own;
  GetExtent(own);
  const QvExtent2<float> mapped = gc.GetTransform().Map(own);
  if (mapped.state == kEmpty) return false;
  if (extent.state == kBounded && mapped.state == kBounded) {
    if (mapped.min.x > extent.max.x || extent.min.x > mapped.max.x ||
        mapped.min.y > extent.max.y || extent.min.y > mapped.max.y)
      return false;
  }
  return true;
}

// Nodes are tested before anything is flattened: a node in the box settles
// the question cheaply.
QvLong QvPath2f::IsIntersectingExtent(const QvGC& gc, const QvExtent2<float>& extent,
                                      QvLong skipQuickTest) const {
  LockGuard guard(*this);
  if (!skipQuickTest && !MayTouchExtent(gc, extent)) return 0;
  const QvTransfo4& transform = gc.GetTransform();
  for (QvULong i = 0; i < m_points.size; ++i) {
    if (!qi::is_node_type(qi::low_type(m_types[i]))) continue;
    if (holds(extent, transform.Map(m_points[i]))) return 1;
  }
  QvPoint2fArray poly(kPolylineCapacity);
  QvPointTagArray poly_tags(kPolylineCapacity);
  Flatten(gc, poly, poly_tags);
  for (QvULong i = 0; i + 1 < poly.size; ++i) {
    if (poly_tags[i] == TagLast) continue;
    if (segment_reaches(poly[i], poly[i + 1], extent)) return 1;
  }
  return 0;
}

// When the outline does not cross the box, the box lies wholly inside or
// wholly outside the fill, and one pixel at its corner tells which.
QvLong QvPath2f::IsInteriorIntersectingExtent(const QvGC& gc, const QvExtent2<float>& extent,
                                              QvLong skipQuickTest) const {
  LockGuard guard(*this);
  if (!skipQuickTest && !MayTouchExtent(gc, extent)) return 0;
  if (IsIntersectingExtent(gc, extent, 1)) return 1;
  QvRaster<unsigned char> pixel(1, 1, 0);
  QvGC shifted(gc);
  QvTransfo4 shift;
  shift.Translate(-static_cast<double>(extent.min.x), -static_cast<double>(extent.min.y), 0.0);
  QvTransfo4 transform = gc.GetTransform();
  transform.PreMultiply(shift);
  shifted.SetTransform(transform);
  Fill(shifted, pixel, nullptr, nullptr);
  return pixel.pixels[0] > 254 ? 1 : 0;
}

QvULong QvPath2f::IntersectSamplePointsExtent(const QvGC& gc, const QvExtent2<float>& extent,
                                              QvPoint2fArray& points, QvPointTagArray& tags,
                                              QvLong skipQuickTest) const {
  LockGuard guard(*this);
  if (!skipQuickTest && !MayTouchExtent(gc, extent)) return 0;
  QvPoint2fArray samples(kPolylineCapacity);
  QvPointTagArray sample_tags(kPolylineCapacity);
  Sample(gc, samples, sample_tags);
  QvULong copied = 0;
  for (QvULong i = 0; i < samples.size; ++i) {
    if (!holds(extent, samples[i])) continue;
    points.Add(samples[i]);
    tags.Add(sample_tags[i]);
    ++copied;
  }
  return copied;
}

// ---------------------------------------------------------------------------
// Points near a position

QvLong QvPath2f::GetClosePointIndex(const QvPoint2<float>& point, double size,
                                    QvULong* index) const {
  LockGuard guard(*this);
  const float half = static_cast<float>(size * 0.5);
  const float x0 = point.x - half;
  const float x1 = point.x + half;
  const float y0 = point.y - half;
  const float y1 = point.y + half;
  for (QvULong i = 0; i < m_points.size; ++i) {
    const QvPoint2<float>& p = m_points[i];
    if (x0 <= p.x && p.x <= x1 && y0 <= p.y && p.y <= y1) {
      if (index) *index = i;
      return 1;
    }
  }
  return 0;
}

// Nearest under the cheap norm max + 0.3334 min, not the Euclidean one; ties
// keep the lower index.
QvLong QvPath2f::GetClosePointIndex(const QvPoint2<float>& point, QvULong* index) const {
  LockGuard guard(*this);
  QvULong found = m_points.size;
  double best = 3.4028234663852886e38;
  for (QvULong i = 0; i < m_points.size; ++i) {
    const double dx = static_cast<double>(std::fabs(m_points[i].x - point.x));
    const double dy = static_cast<double>(std::fabs(m_points[i].y - point.y));
    const double d = dx > dy ? dx + 0.3334 * dy : dy + 0.3334 * dx;
    if (d < best) {
      best = d;
      found = i;
    }
  }
  if (index) *index = found;
  return found < m_points.size ? 1 : 0;
}

QvULong QvPath2f::GetPointsInExtentIndices(const QvExtent2<float>& extent,
                                           QvULongArray* indices) const {
  LockGuard guard(*this);
  if (!indices) return 0;
  QvULong added = 0;
  for (QvULong i = 0; i < m_points.size; ++i) {
    if (!holds(extent, m_points[i])) continue;
    indices->Add(i);
    ++added;
  }
  return added;
}

// ---------------------------------------------------------------------------
// Arc length

double QvPath2f::GetNodeNormalizedArcLength(QvULong node, double tolerance) const {
  LockGuard guard(*this);
  if (!IsLegalIndex(node)) return 0.0;
  const QvULong first = StartOfSubpath(node);
  const QvULong last = EndOfSubpath(node);
  if (node <= first) return 0.0;
  if (node >= last) return 1.0;
  QvBezierTool tool;
  QvPoint2fArray poly(kPolylineCapacity);
  QvULong mark = 0;
  FlattenSubpathInsideCriticalSection(first, last, nullptr, tolerance, tool, poly, node, &mark);
  double at_node = 0.0;
  double total = 0.0;
  for (QvULong i = 1; i < poly.size; ++i) {
    total += step_length(poly[i - 1], poly[i]);
    if (i == mark) at_node = total;
  }
  if (std::fabs(total) <= 1e-7) return 1.0;
  const double fraction = at_node / total;
  if (fraction <= 0.0) return 0.0;
  if (fraction >= 1.0) return 1.0;
  return fraction;
}
