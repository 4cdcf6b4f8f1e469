// Polylines and samples of a path with a property, each point with the
// property's value beside it, and the blend of two such paths.
#include <qv/QvPath2fProp1d.h>

#include <qv/QvBezierTool.h>
#include <qv/QvGC.h>
#include <qv/QvTransfo4.h>

#include "shape/path_types.h"
#include "shape/prop_entries.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <vector>

namespace qi = qv::internal;

namespace {

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
  return QvPoint2<float>(static_cast<float>(static_cast<double>(b.x - a.x) * u) + a.x,
                         static_cast<float>(static_cast<double>(b.y - a.y) * u) + a.y);
}

bool near_float(const QvPoint2<float>& a, const QvPoint2<float>& b) {
  const float dx = a.x - b.x;
  const float dy = a.y - b.y;
  return -1e-7f <= dx && dx <= 1e-7f && -1e-7f <= dy && dy <= 1e-7f;
}

void cumulative_lengths(const QvPoint2fArray& poly, std::vector<double>& cum) {
  cum.assign(1, 0.0);
  for (QvULong i = 1; i < poly.size; ++i) cum.push_back(cum.back() + step_length(poly[i - 1], poly[i]));
}

void add_tags(QvPointTagArray& tags, QvULong count) {
  tags.Add(TagFirst);
  for (QvULong k = 2; k < count; ++k) tags.Add(TagInner);
  tags.Add(TagLast);
}

double largest_key(const QvRawFCurve& curve) {
  double largest = 0.0;
  curve.GetLargestKeyParameter(largest);
  return largest;
}

bool holds(const QvExtent2<float>& e, const QvPoint2<float>& p) {
  if (e.state == QvExtentStates::ExtentUniverse) return true;
  return e.IsInside(p);
}

// Output of one sampled subpath, so that the closing chop can take back the
// last sample from all three arrays.
struct SampleOut {
  QvPoint2fArray& points;
  QvPointTagArray& tags;
  QvDoubleArray& values;

  void add(const QvPoint2<float>& p, QvPointTag tag, double value) {
    points.Add(p);
    tags.Add(tag);
    values.Add(value);
  }

  // The last sample becomes the end of the run; on a closed outline a last
  // sample that sits on the joint repeats the first and goes.
  void finish(QvULong appended, bool closed, const QvPoint2<float>& end) {
    tags[tags.size - 1] = TagLast;
    if (appended > 1 && closed && near_float(points[points.size - 1], end)) {
      points.Chop(points.size - 1);
      tags.Chop(tags.size - 1);
      values.Chop(values.size - 1);
      tags[tags.size - 1] = TagLast;
    }
  }
};

// Even samples of one polyline, the spacing stretched or shrunk to divide its
// length exactly; the same walk as the plain path sampler, with one value.
void even_samples(const QvPoint2fArray& poly, const std::vector<double>& cum, double spacing,
                  bool closed, double value, SampleOut& out) {
  const QvULong end = poly.size - 1;
  const double total = cum.back();
  out.add(poly[0], TagFirst, value);
  QvULong appended = 0;
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
      out.add(lerp_float(poly[a], poly[j], (target - cum[a]) / (cum[j] - cum[a])), TagInner, value);
      ++appended;
    }
  }
  if (appended == 0)
    out.add(poly[end], TagLast, value);
  else
    out.finish(appended, closed, poly[end]);
}

// Steps never leave [smallest, spacing]: a property of 1 samples at the
// sampling distance, smaller values crowd the samples down to the smallest
// feature size.
double clamp_step(double x, double smallest, double spacing) {
  if (x <= smallest) return smallest;
  if (x >= spacing) return spacing;
  return x;
}

// Samples of one polyline whose spacing follows the curve, which is stretched
// over the polyline's whole length.
void property_samples(const QvPoint2fArray& poly, const std::vector<double>& cum,
                      const QvRawFCurve& curve, double spacing, double smallest, bool closed,
                      SampleOut& out) {
  const QvULong count = poly.size;
  const double total = cum.back();
  const double largest = largest_key(curve);
  const double k = total > 0.0 ? largest / total : 0.0;
  const double start = curve.Eval(0.0, 0);
  out.add(poly[0], TagFirst, start);
  double step = clamp_step(start * spacing, smallest, spacing);
  double s = step;
  double value = curve.Eval(k * s, 0);
  QvULong appended = 0;
  QvULong j = 1;
  // A step that is not positive would never reach the end.
  while (step > 0.0 && s < total && j < count) {
    while (j < count && cum[j] < s) ++j;
    if (j >= count) break;
    const QvULong a = j - 1;
    out.add(lerp_float(poly[a], poly[j], (s - cum[a]) / (cum[j] - cum[a])), TagInner, value);
    ++appended;
    step = clamp_step(value * spacing, smallest, spacing);
    s += step;
    value = curve.Eval(k * s, 0);
  }
  if (appended == 0)
    out.add(poly[count - 1], TagLast, curve.Eval(largest, 0));
  else
    out.finish(appended, closed, poly[count - 1]);
}

// Upper bound on the resampling count of a blend, so that a tiny step cannot
// exhaust memory.
constexpr double kMaxBlendSamples = 1048576.0;

}  // namespace

// ---------------------------------------------------------------------------
// Polylines

// The same walk over segments as the plain path's flattener; cubicsApart
// sends cubic segments to the dedicated cubic flattener, as the samplers do.
void QvPath2fProp1d::FlattenSubpathPolyline(QvULong first, QvULong last,
                                            const QvTransfo4* transform, double tolerance,
                                            bool cubicsApart, QvPoint2fArray& out) const {
  const QvPoint2fArray& pts = GetPointsInsideCriticalSection();
  out.Add(transform ? transform->Map(pts[first]) : pts[first]);
  QvBezierTool tool;
  QvPoint2<float> block[qi::kMaxDegree + 1];
  const auto segment_end = [&](QvULong index, QvULong start) {
    QvULong e = EndOfSegment(index);
    if (e < index || e > last) e = last;
    if (e - start > qi::kMaxDegree) e = start + qi::kMaxDegree;
    return e;
  };
  QvULong s = first;
  QvULong e = segment_end(first, first);
  for (;;) {
    const QvULong degree = e - s;
    for (QvULong k = 0; k <= degree; ++k) block[k] = pts[s + k];
    if (transform) transform->MapInPlace(block, degree + 1);
    if (cubicsApart && degree == 3)
      QvBezierTool_FlattenCubic2f(block, tolerance, &out, 1);
    else
      tool.Flatten(block, 0, degree, tolerance, &out, 1);
    if (e >= last) break;
    s = e;
    e = segment_end(s + 1, s);
  }
}

// Where the curve has a breakpoint between polyline points, a point is added
// so that the value's corners survive; where it is smoother than the
// polyline, the polyline points take interpolated values. Breakpoints closer
// than the smallest feature size to the last point out add nothing.
QvULong QvPath2fProp1d::Flatten(const QvGC& gc, QvPoint2fArray& points, QvPointTagArray& tags,
                                QvDoubleArray& values) const {
  LockGuard guard(*this);
  const QvULong before = points.size;
  const QvTransfo4& transform = gc.GetTransform();
  const double tolerance = gc.GetFlatteningTolerance();
  const double smallest = gc.GetSmallestFeatureSize();
  const QvTransfo4 identity;
  QvPoint2fArray poly(64);
  QvPoint2dArray curve_points(64);
  QvPointTagArray curve_tags(64);
  std::vector<double> cum, a, b;
  const QvULong n = NumPointsInsideCriticalSection();
  for (QvULong first = 0; first < n;) {
    const QvULong last = EndOfSubpath(first);
    poly.Chop(0);
    FlattenSubpathPolyline(first, last, &transform, tolerance, false, poly);
    const QvULong c = poly.size;
    const QvRawFCurve* curve = GetPropCurveInsideCriticalSection(first);
    first = last + 1;
    if (!curve) {
      points.Add(poly);
      for (QvULong k = 0; k < c; ++k) values.Add(0.0);
      add_tags(tags, c);
      continue;
    }
    curve_points.Chop(0);
    curve_tags.Chop(0);
    curve->Flatten(identity, gc.GetPropertyTolerance(), curve_points, curve_tags, 0);
    const QvULong m = curve_points.size;
    if (m == 0) {
      const double value = curve->Eval(0.0, 0);
      points.Add(poly);
      for (QvULong k = 0; k < c; ++k) values.Add(value);
      add_tags(tags, c);
      continue;
    }
    cumulative_lengths(poly, cum);
    const double total = cum[c - 1];
    const QvULong out_before = points.size;
    points.Add(poly[0]);
    values.Add(curve_points[0].y);
    if (smallest > total) {
      points.Add(poly[c - 1]);
      values.Add(curve_points[m - 1].y);
      add_tags(tags, 2);
      continue;
    }
    // The curve is stretched over the polyline's length.
    a.assign(1, 0.0);
    b.assign(1, curve_points[0].y);
    const double last_argument = curve_points[m - 1].x;
    if (last_argument > 0.0) {
      const double k = total / last_argument;
      for (QvULong i = 1; i < m; ++i) {
        double x = curve_points[i].x * k;
        if (x > total) x = total;
        if (x > a.back()) {
          a.push_back(x);
          b.push_back(curve_points[i].y);
        }
      }
    }
    a.back() = total;
    const std::size_t na = a.size();
    QvULong i = 1;
    std::size_t j = 1;
    double prev = 0.0;
    while (i < c) {
      if (j >= na) {
        points.Add(poly[i]);
        values.Add(b.back());
        ++i;
      } else if (a[j] > cum[i]) {
        const double u = (cum[i] - a[j - 1]) / (a[j] - a[j - 1]);
        points.Add(poly[i]);
        values.Add(b[j - 1] + (b[j] - b[j - 1]) * u);
        prev = cum[i];
        ++i;
      } else if (cum[i] > a[j]) {
        if (a[j] - prev > smallest) {
          const double span = cum[i] - cum[i - 1];
          const double u = span > 0.0 ? (a[j] - cum[i - 1]) / span : 0.0;
          points.Add(lerp_float(poly[i - 1], poly[i], u));
          values.Add(b[j]);
          prev = a[j];
        }
        ++j;
      } else {
        points.Add(poly[i]);
        values.Add(b[j]);
        prev = cum[i];
        ++i;
        ++j;
      }
    }
    add_tags(tags, points.size - out_before);
  }
  return points.size - before;
}

// ---------------------------------------------------------------------------
// Samples

// The value follows the sample's index, not a measured length, so that a
// curve made for one length follows the subpath at any length.
QvULong QvPath2fProp1d::Sample(const QvGC& gc, QvPoint2fArray& points, QvPointTagArray& tags,
                               QvDoubleArray& values) const {
  LockGuard guard(*this);
  const QvULong before = points.size;
  QvPath2f::Sample(gc, points, tags);
  const QvULong end = points.size;
  const double fallback = gc.GetDefaultPropertyValue();
  QvULong run = before;
  for (QvULong first = 0; first < NumPointsInsideCriticalSection() && run < end;) {
    const QvULong last = EndOfSubpath(first);
    QvULong run_end = run;
    while (run_end + 1 < end && tags[run_end] != TagLast) ++run_end;
    const QvULong n = run_end - run + 1;
    if (const QvRawFCurve* curve = GetPropCurveInsideCriticalSection(first)) {
      const double step = n > 1 ? largest_key(*curve) / static_cast<double>(n - 1) : 0.0;
      double x = 0.0;
      for (QvULong k = 0; k < n; ++k, x += step) values.Add(curve->Eval(x, 0));
    } else {
      for (QvULong k = 0; k < n; ++k) values.Add(fallback);
    }
    run = run_end + 1;
    first = last + 1;
  }
  return end - before;
}

QvULong QvPath2fProp1d::SampleInsideCriticalSection(const QvGC& gc, bool byProperty,
                                                    QvPoint2fArray& points,
                                                    QvPointTagArray& tags,
                                                    QvDoubleArray& values) const {
  if (!byProperty) return Sample(gc, points, tags, values);
  const QvULong before = points.size;
  const double spacing = gc.GetSamplingDistance();
  const double smallest = gc.GetSmallestFeatureSize();
  const double tolerance = gc.GetFlatteningTolerance();
  const double fallback = gc.GetDefaultPropertyValue();
  const QvTransfo4& transform = gc.GetTransform();
  QvPoint2fArray poly(256);
  std::vector<double> cum;
  cum.reserve(256);
  SampleOut out{points, tags, values};
  const QvULong n = NumPointsInsideCriticalSection();
  for (QvULong first = 0; first < n;) {
    const QvULong last = EndOfSubpath(first);
    poly.Chop(0);
    FlattenSubpathPolyline(first, last, &transform, tolerance, true, poly);
    cumulative_lengths(poly, cum);
    const bool closed = ClosedSubpathEnds(last) != 0;
    if (const QvRawFCurve* curve = GetPropCurveInsideCriticalSection(first))
      property_samples(poly, cum, *curve, spacing, smallest, closed, out);
    else
      even_samples(poly, cum, spacing, closed, fallback, out);
    first = last + 1;
  }
  return points.size - before;
}

QvULong QvPath2fProp1d::PropertySample(const QvGC& gc, QvPoint2fArray& points,
                                       QvPointTagArray& tags, QvDoubleArray& values) const {
  LockGuard guard(*this);
  return SampleInsideCriticalSection(gc, true, points, tags, values);
}

QvULong QvPath2fProp1d::IntersectInsideCriticalSection(const QvGC& gc,
                                                       const QvExtent2<float>& extent,
                                                       bool byProperty, QvPoint2fArray& points,
                                                       QvPointTagArray& tags,
                                                       QvDoubleArray& values,
                                                       QvLong skipQuickTest) const {
  // The quick test of the plain path: can the mapped path touch the box?
  if (!skipQuickTest) {
    if (extent.state == QvExtentStates::ExtentEmpty) return 0;
    QvExtent2<float> own;
    GetExtent(own);
    const QvExtent2<float> mapped = gc.GetTransform().Map(own);
    if (mapped.state == QvExtentStates::ExtentEmpty) return 0;
    if (extent.state == QvExtentStates::ExtentBounded &&
        mapped.state == QvExtentStates::ExtentBounded &&
        (mapped.min.x > extent.max.x || extent.min.x > mapped.max.x ||
         mapped.min.y > extent.max.y || extent.min.y > mapped.max.y))
      return 0;
  }
  QvPoint2fArray samples(64);
  QvPointTagArray sample_tags(64);
  QvDoubleArray sample_values(64);
  SampleInsideCriticalSection(gc, byProperty, samples, sample_tags, sample_values);
  QvULong copied = 0;
  for (QvULong i = 0; i < samples.size; ++i) {
    if (!holds(extent, samples[i])) continue;
    points.Add(samples[i]);
    tags.Add(sample_tags[i]);
    values.Add(sample_values[i]);
    ++copied;
  }
  return copied;
}

QvULong QvPath2fProp1d::IntersectSamplePointsExtent(const QvGC& gc, const QvExtent2<float>& extent,
                                                    QvPoint2fArray& points, QvPointTagArray& tags,
                                                    QvDoubleArray& values,
                                                    QvLong skipQuickTest) const {
  LockGuard guard(*this);
  return IntersectInsideCriticalSection(gc, extent, false, points, tags, values, skipQuickTest);
}

QvULong QvPath2fProp1d::IntersectPropertySamplePointsExtent(const QvGC& gc,
                                                            const QvExtent2<float>& extent,
                                                            QvPoint2fArray& points,
                                                            QvPointTagArray& tags,
                                                            QvDoubleArray& values,
                                                            QvLong skipQuickTest) const {
  LockGuard guard(*this);
  return IntersectInsideCriticalSection(gc, extent, true, points, tags, values, skipQuickTest);
}

// ---------------------------------------------------------------------------
// Building

// Subpaths of other are fitted one at a time, which samples them exactly as a
// whole-path fit would, and tells which subpath here each fit went into. A
// fit that continues an open subpath here gives it the curve only if it has
// none of its own.
QvULong QvPath2fProp1d::AddFittedSamplesFromPath(const QvGC& gc, const QvPath2fProp1d& other) {
  LockGuard guard(*this);
  LockGuard other_guard(other);
  const QvULong before = NumPointsInsideCriticalSection();
  const QvULong other_n = other.NumPointsInsideCriticalSection();
  for (QvULong first = 0; first < other_n;) {
    const QvULong last = other.EndOfSubpath(first);
    const QvULong count_before = NumPointsInsideCriticalSection();
    const QvPath2f piece(other, first, last);
    QvPath2f::AddFittedSamplesFromPath(gc, piece);
    const QvRawFCurve* curve = other.GetPropCurveInsideCriticalSection(first);
    if (curve && NumPointsInsideCriticalSection() > count_before) {
      const QvULong target = StartOfSubpath(LastIndex());
      if (target >= count_before || !GetPropCurveInsideCriticalSection(target))
        SetPropCurveInsideCriticalSection(target, *curve);
    }
    first = last + 1;
  }
  return NumPointsInsideCriticalSection() - before;
}

void QvPath2fProp1d::SetToLerpAB(const QvPath2fProp1d& a, const QvPath2fProp1d& b, double t,
                                 double flatnessAndStep, double curveTolerance) {
  LockGuard guard(*this);
  LockGuard a_guard(a);
  LockGuard b_guard(b);
  // Blending into b itself: b is read after this has become a copy of a.
  QvPath2fProp1d b_copy(1);
  if (this == &b && this != &a) b_copy = b;
  const QvPath2fProp1d& bb = (this == &b && this != &a) ? b_copy : b;
  if (this != &a) *this = a;
  // Siblings have equal counts; the bound only keeps a wrong call in range.
  const QvULong n = std::min(a.NumPointsInsideCriticalSection(), bb.NumPointsInsideCriticalSection());
  for (QvULong i = 0; i < n; ++i) {
    const QvPoint2<float> p = a.GetPointInsideCriticalSection(i);
    const QvPoint2<float> q = bb.GetPointInsideCriticalSection(i);
    const QvPoint2<float> blend(
        static_cast<float>(static_cast<double>(p.x) * (1.0 - t)) +
            static_cast<float>(static_cast<double>(q.x) * t),
        static_cast<float>(static_cast<double>(p.y) * (1.0 - t)) +
            static_cast<float>(static_cast<double>(q.y) * t));
    ReplacePointIgnoringLock(i, blend);
  }
  const double step = flatnessAndStep;
  QvPoint2fArray poly_a(64), poly_b(64);
  const QvULong a_n = a.NumPointsInsideCriticalSection();
  for (QvULong f = 0; f < a_n;) {
    const QvULong next = a.EndOfSubpath(f) + 1;
    const QvRawFCurve* ca = a.GetPropCurveInsideCriticalSection(f);
    const QvRawFCurve* cb = bb.GetPropCurveInsideCriticalSection(f);
    if (!ca && !cb) {
      f = next;
      continue;
    }
    if (!ca || !cb) {
      SetPropCurveInsideCriticalSection(f, ca ? *ca : *cb);
      f = next;
      continue;
    }
    poly_a.Chop(0);
    poly_b.Chop(0);
    a.FlattenSubpath(f, step * 0.5, poly_a);
    bb.FlattenSubpath(f, step * 0.5, poly_b);
    double la = 0.0, lb = 0.0;
    for (QvULong k = 1; k < poly_a.size; ++k) la += step_length(poly_a[k - 1], poly_a[k]);
    for (QvULong k = 1; k < poly_b.size; ++k) lb += step_length(poly_b[k - 1], poly_b[k]);
    if (std::fabs(la) <= 1e-7) {
      SetPropCurveInsideCriticalSection(f, *cb);
    } else if (lb >= -1e-9 && lb <= 1e-9) {
      SetPropCurveInsideCriticalSection(f, *ca);
    } else {
      double count = std::ceil(std::max(la, lb) / step);
      if (!(count >= 1.0)) count = 1.0;
      if (count > kMaxBlendSamples) count = kMaxBlendSamples;
      const QvULong samples = static_cast<QvULong>(count);
      const double sa = largest_key(*ca) / count;
      const double sb = largest_key(*cb) / count;
      QvPoint2dArray blend(samples + 1);
      double pa = 0.0, pb = 0.0;
      for (QvULong i = 0; i <= samples; ++i, pa += sa, pb += sb) {
        const double value = cb->Eval(pb, 0) * t + ca->Eval(pa, 0) * (1.0 - t);
        blend.Add(sb <= sa ? pa : pb, value);
      }
      const QvRawFCurve resampled(blend, curveTolerance);
      SetPropCurveInsideCriticalSection(f, resampled);
    }
    f = next;
  }
}
