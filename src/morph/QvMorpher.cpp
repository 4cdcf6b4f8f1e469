#include <qv/QvMorpher.h>

#include <qv/QvBezierTool.h>
#include <qv/QvGC.h>
#include <qv/QvPath2f.h>
#include <qv/QvPath2fProp1d.h>
#include <qv/QvRawFCurve.h>
#include <qv/QvTransfo4.h>

#include "morph/morph_polyline.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace qi = qv::internal;

struct QvMorpherRecord {
  struct MotionEntry {
    QvULong sourceIndex;
    QvULong targetIndex;
    const QvPath2f* path;
  };

  const QvPath2fProp1d* source;
  const QvPath2fProp1d* target;
  const QvGC* gc;
  QvULong motionCount;
  QvULong motionCapacity;
  MotionEntry* motion;
};

namespace {

// One side of a property blend: the curve of a subpath (by any of its point
// indices), sampled from `start` in steps of `step`.
struct PropSide {
  const QvPath2fProp1d* shape;
  QvULong index;
  bool has;
  bool constant;  // a single key: its value everywhere
  double start;
  double step;

  double Eval(double position) const { return shape->EvalPropCurve(index, position); }
};

PropSide prop_side(const QvPath2fProp1d& shape, QvULong index, double steps, double position) {
  PropSide side{&shape, index, shape.HasPropCurve(index) != 0, false, 0.0, 0.0};
  if (!side.has) return side;
  side.constant = shape.GetPropCurve(index).GetNumKeys() <= 1;
  side.step = steps > 0.0 ? shape.GetLargestArcLength(index) / steps : 0.0;
  side.start = position * side.step;
  return side;
}

// Sets on subpath p of result a curve of count samples blended from the two
// sides. Positions run by repeated addition; the x of each sample follows the
// side with the larger step, so the longer curve's arc positions are kept. A
// lone constant curve has no arc positions to keep and counts 0, 1, 2, ...
void blend_prop_curves(const PropSide& a, const PropSide& b, double t, QvULong count,
                       double tolerance, QvPath2fProp1d& result, QvULong p) {
  if (!a.has && !b.has) return;
  QvPoint2dArray points(count);
  if (a.has && b.has) {
    double pa = a.start, pb = b.start, x = 0.0;
    const double x_step = a.step <= b.step ? b.step : a.step;
    const double x_advance = x_step > 0.0 ? x_step : 1.0;
    for (QvULong k = 0; k < count; ++k) {
      points.Add(QvPoint2<double>(x, b.Eval(pb) * t + a.Eval(pa) * (1.0 - t)));
      pa += a.step;
      pb += b.step;
      x += x_advance;
    }
  } else {
    const PropSide& only = a.has ? a : b;
    const bool counting = only.constant || !(only.step > 0.0);
    const double value = only.constant ? only.Eval(only.start) : 0.0;
    double position = only.start, x = 0.0;
    for (QvULong k = 0; k < count; ++k) {
      points.Add(QvPoint2<double>(x, only.constant ? value : only.Eval(position)));
      position += only.step;
      x += counting ? 1.0 : only.step;
    }
  }
  result.SetPropCurve(p, points, tolerance);
}

struct Settings {
  double step;
  double corner;
  double prop_tolerance;
};

Settings settings_of(const QvGC& gc) {
  return Settings{gc.GetSmallestFeatureSize(), gc.GetAngleThreshold(), gc.GetPropertyTolerance()};
}

void open_fit(const QvPoint2fArray& points, const Settings& s, QvPath2fProp1d& result) {
  QvBezierTool tool;
  tool.OpenFit(points, s.corner, 3, s.step, 0, &result, 0);
}

void closed_fit(const QvPoint2fArray& points, const Settings& s, QvPath2fProp1d& result) {
  QvBezierTool tool;
  tool.ClosedFit(points, s.corner, 3, s.step, 0, &result);
}

// Flattened subpaths of a shape, in order, with their first point indices.
struct FlatSubpath {
  QvULong first;
  QvLong closed;
  QvPoint2fArray polyline;
  std::vector<double> cum;
  double length;
  QvULong steps;  // set by the allotment
  QvPoint2fArray samples;
};

std::vector<FlatSubpath> flatten_subpaths(const QvPath2f& shape, double tolerance) {
  std::vector<FlatSubpath> out;
  const QvULong count = shape.NumPoints();
  QvULong first = 0;
  while (first < count) {
    QvULong s = 0, e = 0;
    shape.GetSubpathIndices(first, s, e);
    if (e < first) break;  // a broken structure would walk in place for ever
    FlatSubpath sub{first, shape.IsSubpathClosed(first), QvPoint2fArray(), {}, 0.0, 0,
                    QvPoint2fArray()};
    shape.FlattenSubpath(first, tolerance, sub.polyline);
    if (sub.polyline.size == 0) {
      QvPoint2<float> point;
      shape.GetPoint(first, point);
      sub.polyline.Add(point);
    }
    sub.length = qi::morph_measure(sub.polyline, sub.cum);
    out.push_back(std::move(sub));
    first = e + 1;
  }
  return out;
}

}  // namespace

namespace {

// A whole path flattened as one list; a path of several subpaths is flattened
// through a plain copy of all its points.
QvULong flatten_whole(const QvPath2f& shape, double tolerance, QvPoint2fArray& polyline) {
  QvPointTagArray tags;
  const QvULong count = shape.NumPoints();
  if (count == 0) return 0;
  if (shape.NumSubpaths() > 1) {
    const QvPath2f copy(shape, 0, count - 1);
    return copy.AltFlatten(tolerance, polyline, tags);
  }
  return shape.AltFlatten(tolerance, polyline, tags);
}

// Similarity that takes a to c and b to d: a translation by c - a, then a
// rotation and a uniform scale about c. Stays the identity when either pair
// is too close to give a direction.
QvTransfo4 similarity(const QvPoint2<float>& a, const QvPoint2<float>& b,
                      const QvPoint2<float>& c, const QvPoint2<float>& d) {
  QvTransfo4 m;
  const double r1 = QvPoint2<float>(a.x - b.x, a.y - b.y).Length();
  const double r2 = QvPoint2<float>(c.x - d.x, c.y - d.y).Length();
  if (std::fabs(r1) < 1e-7 || std::fabs(r2) < 1e-7) return m;
  const double ux = static_cast<double>(b.x) - a.x, uy = static_cast<double>(b.y) - a.y;
  const double vx = static_cast<double>(d.x) - c.x, vy = static_cast<double>(d.y) - c.y;
  const double angle = std::atan2(ux * vy - uy * vx, ux * vx + uy * vy) * (180.0 / 3.1415926535897932384626433832795);
  if (!std::isfinite(angle)) return m;
  const QvPoint2<double> centre(c.x, c.y);
  // The last call acts first on a point.
  m.ScaleXY(r2 / r1, r2 / r1, centre);
  m.RotateXY(angle, centre);
  m.Translate(static_cast<double>(c.x) - a.x, static_cast<double>(c.y) - a.y, 0.0);
  return m;
}

// Where the anchor of a motion entry stands at t: on the straight line from
// `from` to `to`, or at arc length L t along the flattened motion path, whose
// own ends give way to `from` and `to` at the limits.
QvPoint2<float> anchor_at(const QvPath2f* path, const QvPoint2<float>& from,
                          const QvPoint2<float>& to, double t, double tolerance) {
  if (!path) {
    return QvPoint2<float>(static_cast<float>(from.x + (static_cast<double>(to.x) - from.x) * t),
                           static_cast<float>(from.y + (static_cast<double>(to.y) - from.y) * t));
  }
  QvPoint2fArray polyline;
  QvPointTagArray tags;
  path->AltFlatten(tolerance, polyline, tags);
  std::vector<double> cum;
  const double total = qi::morph_measure(polyline, cum);
  const double u = std::clamp(total * t, 0.0, total);
  if (std::fabs(u) <= 1e-9) return from;
  if (std::fabs(u - total) <= 1e-15) return to;
  for (QvULong i = 1; i < polyline.size; ++i) {
    if (u <= cum[i]) {
      const double f = (u - cum[i - 1]) / (cum[i] - cum[i - 1]);
      const QvPoint2<float>& p = polyline[i - 1];
      const QvPoint2<float>& q = polyline[i];
      return QvPoint2<float>(static_cast<float>(p.x + (static_cast<double>(q.x) - p.x) * f),
                             static_cast<float>(p.y + (static_cast<double>(q.y) - p.y) * f));
    }
  }
  return QvPoint2<float>();
}

// Steps for each subpath of one shape, n in all: subpaths no longer than the
// mean step share a fixed unit, the others split what is left in proportion
// to their length, each keeping at least one step and leaving one for every
// subpath still to come. With stop_when_full, subpaths after the allotment
// is used up get none and are dropped (the source keeps only those it can
// sample; the target always allots all). Returns the number of subpaths
// resampled.
std::size_t allot_steps(std::vector<FlatSubpath>& subs, double total, QvULong n_steps,
                        bool stop_when_full) {
  const double n = static_cast<double>(n_steps);
  const double m = static_cast<double>(subs.size());
  const double mean = total / n;
  double shorts = 0.0;
  for (const FlatSubpath& sub : subs)
    if (sub.length <= mean) shorts += 1.0;
  const double share = std::floor(n / m);
  const double unit = (total < -1e-9 || total > 1e-9 || share == 0.0) ? 1.0 : share;
  double given = 0.0, done = 0.0;
  std::size_t used = 0;
  for (std::size_t i = 0; i < subs.size(); ++i) {
    if (stop_when_full && given >= n) break;
    FlatSubpath& sub = subs[i];
    double c;
    if (sub.length <= mean) {
      c = unit;
      shorts -= unit;
    } else {
      c = std::floor((n - given - shorts) * sub.length / (total - done));
      if (!(c >= 1.0)) c = 1.0;
      c = std::min(c, n - given - (m - static_cast<double>(i) - 1.0));
    }
    if (given + c > n || (i + 1 == subs.size() && given + c < n)) c = n - given;
    if (!(c >= 0.0)) c = 0.0;
    sub.steps = static_cast<QvULong>(c);
    qi::morph_resample(sub.polyline, sub.cum, sub.steps, sub.samples);
    if (sub.steps == 0) sub.samples.Add(sub.polyline[0]);
    given += c;
    done += sub.length;
    ++used;
  }
  return used;
}

}  // namespace

QvMorpher::QvMorpher(const QvPath2fProp1d* source, const QvPath2fProp1d* target, const QvGC& gc)
    : m_record(new QvMorpherRecord{source, target, &gc, 0, 1, nullptr}) {
  try {
    m_record->motion = new QvMorpherRecord::MotionEntry[1];
  } catch (...) {
    delete m_record;
    throw;
  }
}

QvMorpher::~QvMorpher() {
  delete[] m_record->motion;
  delete m_record;
}

QvLong QvMorpher::SetMotionPath(QvULong sourceIndex, QvULong targetIndex, const QvPath2f* path) {
  QvMorpherRecord& r = *m_record;
  if (r.motionCount == r.motionCapacity) {
    const QvULong capacity = r.motionCapacity * 2;
    auto* grown = new QvMorpherRecord::MotionEntry[capacity];
    std::copy(r.motion, r.motion + r.motionCount, grown);
    delete[] r.motion;
    r.motion = grown;
    r.motionCapacity = capacity;
  }
  r.motion[r.motionCount++] = QvMorpherRecord::MotionEntry{sourceIndex, targetIndex, path};
  return 1;
}

QvLong QvMorpher::LinearMorph(double t, QvPath2fProp1d& result) {
  const QvMorpherRecord& r = *m_record;
  if (!r.source || !r.target) return 1;
  const QvPath2fProp1d& source = *r.source;
  const QvPath2fProp1d& target = *r.target;
  const Settings s = settings_of(*r.gc);

  // Siblings blend point by point and keep their Bezier structure; nothing
  // is fitted.
  if (source.IsSiblingOf(target)) {
    result.SetToLerpAB(source, target, t, s.step, s.prop_tolerance);
    return 1;
  }

  std::vector<FlatSubpath> a = flatten_subpaths(source, s.step);
  std::vector<FlatSubpath> b = flatten_subpaths(target, s.step);
  if (a.empty() || b.empty()) return 1;
  QvPoint2fArray blended;

  if (a.size() == b.size()) {
    for (std::size_t k = 0; k < a.size(); ++k) {
      FlatSubpath& sa = a[k];
      FlatSubpath& sb = b[k];
      const QvULong n = qi::morph_step_count(sa.length, sb.length, s.step);
      qi::morph_resample(sa.polyline, sa.cum, n, sa.samples);
      qi::morph_resample(sb.polyline, sb.cum, n, sb.samples);
      qi::morph_lerp(sa.samples, 0, sb.samples, 0, std::min(sa.samples.size, sb.samples.size), t,
                     blended);
      const QvULong p = result.NumPoints();
      if (sa.closed && sb.closed)
        closed_fit(blended, s, result);
      else
        open_fit(blended, s, result);
      const double steps = static_cast<double>(n);
      blend_prop_curves(prop_side(source, sa.first, steps, 0.0),
                        prop_side(target, sb.first, steps, 0.0), t, n + 1, s.prop_tolerance,
                        result, p);
    }
    return 1;
  }

  // Different subpath counts: both shapes are one long polyline each, cut at
  // every subpath end of either, and each stretch between cuts becomes a
  // subpath of its own.
  double total_a = 0.0, total_b = 0.0;
  for (const FlatSubpath& sub : a) total_a += sub.length;
  for (const FlatSubpath& sub : b) total_b += sub.length;
  const QvULong most = static_cast<QvULong>(std::max(a.size(), b.size()));
  const QvULong n = std::max(qi::morph_step_count(total_a, total_b, s.step), most);
  const std::size_t used_a = allot_steps(a, total_a, n, true);
  allot_steps(b, total_b, n, false);

  std::size_t ia = 0, ib = 0;
  QvULong pos_a = 0, pos_b = 0;
  while (ia < used_a && ib < b.size()) {
    const FlatSubpath& sa = a[ia];
    const FlatSubpath& sb = b[ib];
    const QvULong left = std::min(sa.steps - pos_a, sb.steps - pos_b);
    qi::morph_lerp(sa.samples, pos_a, sb.samples, pos_b, left + 1, t, blended);
    const QvULong p = result.NumPoints();
    const QvPoint2<float> head = blended[0];
    const QvPoint2<float> tail = blended[blended.size - 1];
    // A stretch whose ends meet within the step closes on itself.
    if (QvPoint2<float>(head.x - tail.x, head.y - tail.y).Length() > s.step) {
      open_fit(blended, s, result);
    } else {
      if (std::fabs(head.x - tail.x) > 1e-7f || std::fabs(head.y - tail.y) > 1e-7f) blended.Add(head);
      closed_fit(blended, s, result);
    }
    blend_prop_curves(prop_side(source, sa.first, static_cast<double>(sa.steps),
                                static_cast<double>(pos_a)),
                      prop_side(target, sb.first, static_cast<double>(sb.steps),
                                static_cast<double>(pos_b)),
                      t, left + 1, s.prop_tolerance, result, p);
    pos_a += left;
    pos_b += left;
    if (pos_a >= sa.steps) {
      ++ia;
      pos_a = 0;
    }
    if (pos_b >= sb.steps) {
      ++ib;
      pos_b = 0;
    }
  }
  return 1;
}

QvLong QvMorpher::TurtleMorph(double t, QvPath2fProp1d& result) {
  const QvMorpherRecord& r = *m_record;
  if (!r.source || !r.target) return 1;
  const Settings s = settings_of(*r.gc);
  // Subpaths run together into one polyline: the jumps between them are
  // steps like any others.
  QvPoint2fArray flat_a, flat_b;
  flatten_whole(*r.source, s.step, flat_a);
  flatten_whole(*r.target, s.step, flat_b);
  if (flat_a.size == 0 || flat_b.size == 0) return 1;
  std::vector<double> cum_a, cum_b;
  const double length_a = qi::morph_measure(flat_a, cum_a);
  const double length_b = qi::morph_measure(flat_b, cum_b);
  const QvULong n = qi::morph_step_count(length_a, length_b, s.step);
  QvPoint2fArray samples_a, samples_b, walked;
  qi::morph_resample(flat_a, cum_a, n, samples_a);
  qi::morph_resample(flat_b, cum_b, n, samples_b);
  qi::morph_turtle_walk(samples_a, samples_b, t, walked);
  const QvULong p = result.NumPoints();
  open_fit(walked, s, result);
  const double steps = static_cast<double>(n);
  blend_prop_curves(prop_side(*r.source, 0, steps, 0.0), prop_side(*r.target, 0, steps, 0.0), t,
                    n + 1, s.prop_tolerance, result, p);
  return 1;
}

QvLong QvMorpher::LinearMotionPathMorph(double t, QvPath2fProp1d& result) {
  const QvMorpherRecord& r = *m_record;
  if (!r.source || !r.target || r.motionCount < 2) return 1;
  const QvPath2fProp1d& source = *r.source;
  const QvPath2fProp1d& target = *r.target;
  const Settings s = settings_of(*r.gc);
  const QvMorpherRecord::MotionEntry e0 = r.motion[0];
  const QvMorpherRecord::MotionEntry e1 = r.motion[1];
  const QvULong count_a = source.NumPoints();
  const QvULong count_b = target.NumPoints();
  // Marks outside the shapes, or in reverse order, name no stretch.
  if (e0.sourceIndex >= count_a || e1.sourceIndex >= count_a || e0.targetIndex >= count_b ||
      e1.targetIndex >= count_b || e0.sourceIndex > e1.sourceIndex ||
      e0.targetIndex > e1.targetIndex)
    return 1;

  QvPoint2<float> a0, a1, b0, b1;
  source.GetPoint(e0.sourceIndex, a0);
  source.GetPoint(e1.sourceIndex, a1);
  target.GetPoint(e0.targetIndex, b0);
  target.GetPoint(e1.targetIndex, b1);
  const QvPoint2<float> m0 = anchor_at(e0.path, a0, b0, t, s.step);
  const QvPoint2<float> m1 = anchor_at(e1.path, a1, b1, t, s.step);

  // Each shape's stretch between its marks rides rigidly on the anchors.
  QvPath2f stretch_a(source, e0.sourceIndex, e1.sourceIndex);
  QvPath2f stretch_b(target, e0.targetIndex, e1.targetIndex);
  stretch_a.Transform(similarity(a0, a1, m0, m1));
  stretch_b.Transform(similarity(b0, b1, m0, m1));

  QvPoint2fArray flat_a, flat_b;
  QvPointTagArray tags;
  stretch_a.AltFlatten(s.step, flat_a, tags);
  stretch_b.AltFlatten(s.step, flat_b, tags);
  if (flat_a.size == 0 || flat_b.size == 0) return 1;
  std::vector<double> cum_a, cum_b;
  const double length_a = qi::morph_measure(flat_a, cum_a);
  const double length_b = qi::morph_measure(flat_b, cum_b);
  const QvULong n = qi::morph_step_count(length_a, length_b, s.step);
  QvPoint2fArray samples_a, samples_b, blended;
  qi::morph_resample(flat_a, cum_a, n, samples_a);
  qi::morph_resample(flat_b, cum_b, n, samples_b);
  qi::morph_lerp(samples_a, 0, samples_b, 0, std::min(samples_a.size, samples_b.size), t, blended);
  const QvULong p = result.NumPoints();
  open_fit(blended, s, result);
  // The curves come from each shape's first subpath, wherever the marks lie.
  const double steps = static_cast<double>(n);
  blend_prop_curves(prop_side(source, 0, steps, 0.0), prop_side(target, 0, steps, 0.0), t, n + 1,
                    s.prop_tolerance, result, p);
  return 1;
}
