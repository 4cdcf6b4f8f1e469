#include <qv/QvBezierTool.h>
#include <qv/QvStdFCurve.h>
#include <qv/QvTransfo4.h>

#include "fcurve/QvStdFCurveImpl.h"

#include <cfloat>
#include <cmath>

using qv::internal::kKeyTolerance;

namespace {

// A jump at a key is drawn as a vertical step when its two values differ by more than this.
constexpr double kJumpTolerance = 1e-9;

// Working flag of a flattened point: the first point, an ordinary one, and the far end of a jump.
constexpr QvLong kFlagFirst = 0;
constexpr QvLong kFlagInner = 1;
constexpr QvLong kFlagJump = 2;

// The most samples EvalSequence gives in one call.
constexpr double kMaxSamples = 268435456.0;

// Appends transformed pieces of the curve to three parallel arrays, clipped to an extent given in
// drawing coordinates. Straight pieces and jumps go through the cubic clipper as straight cubics,
// so that every piece is clipped and joined to its predecessor by the same rule.
class ClippedEmitter {
 public:
  ClippedEmitter(const QvTransfo4& transform, const QvExtent2<double>& extent, double tolerance,
                 QvPoint2dArray& points, QvPointTagArray& tags, QvBoolArray& flags)
      : m_transform(transform),
        m_extent(extent),
        m_tolerance(tolerance),
        m_points(points),
        m_tags(tags),
        m_flags(flags) {}

  void Cubic(const QvPoint2<double>* control, double dx, double dy) {
    QvPoint2<double> mapped[4];
    for (int i = 0; i < 4; ++i) {
      mapped[i] = m_transform.Map(QvPoint2<double>(control[i].x + dx, control[i].y + dy));
    }
    QvBezierTool_ClipAndFlattenCubic2d(mapped, m_tolerance, m_extent, &m_points, &m_tags,
                                       &m_flags);
  }

  void Line(double x0, double y0, double x1, double y1, double dx, double dy) {
    const QvPoint2<double> control[4] = {
        QvPoint2<double>(x0, y0),
        QvPoint2<double>(x0 + (x1 - x0) / 3.0, y0 + (y1 - y0) / 3.0),
        QvPoint2<double>(x1 - (x1 - x0) / 3.0, y1 - (y1 - y0) / 3.0),
        QvPoint2<double>(x1, y1)};
    Cubic(control, dx, dy);
  }

 private:
  const QvTransfo4& m_transform;
  const QvExtent2<double>& m_extent;
  double m_tolerance;
  QvPoint2dArray& m_points;
  QvPointTagArray& m_tags;
  QvBoolArray& m_flags;
};

// The cubic of segment i with the handles that evaluation uses.
void segment_cubic(const QvStdFCurveImpl& body, QvULong i, QvPoint2<double>* control) {
  const QvStdFCurveKey& key = body.Key(i);
  const QvStdFCurveKey& next = body.Key(i + 1);
  control[0] = QvPoint2<double>(key.parameter, key.rightValue);
  control[1] = body.EvaluatedRightHandle(i);
  control[2] = body.EvaluatedLeftHandle(i + 1);
  control[3] = QvPoint2<double>(next.parameter, next.leftValue);
}

// Draws the segments of keys [first, last] shifted by (dx, dy), the jumps at their keys, and the
// jump at the first key when `leading_jump` is set. Segments wholly outside [lo, hi] are skipped.
void emit_keys(const QvStdFCurveImpl& body, ClippedEmitter& out, double lo, double hi, double dx,
               double dy, bool leading_jump) {
  const QvULong n = body.m_numKeys;
  for (QvULong i = 0; i < n; ++i) {
    const QvStdFCurveKey& key = body.Key(i);
    const double x = key.parameter + dx;
    const double arrival = i == 0 ? key.leftValue : body.Arrival(i);
    if ((i > 0 || leading_jump) && x >= lo && x <= hi &&
        std::fabs(arrival - key.rightValue) > kJumpTolerance)
      out.Line(key.parameter, arrival, key.parameter, key.rightValue, dx, dy);
    if (i + 1 == n) break;
    const QvStdFCurveKey& next = body.Key(i + 1);
    if (next.parameter + dx < lo || x > hi) continue;
    switch (key.segmentKind) {
      case QvBaseFCurve::FSConstant:
        out.Line(key.parameter, key.rightValue, next.parameter, key.rightValue, dx, dy);
        break;
      case QvBaseFCurve::FSLinear:
        out.Line(key.parameter, key.rightValue, next.parameter, next.leftValue, dx, dy);
        break;
      case QvBaseFCurve::FSBezierCubic: {
        QvPoint2<double> control[4];
        segment_cubic(body, i, control);
        out.Cubic(control, dx, dy);
        break;
      }
      default:
        out.Line(key.parameter, 0.0, next.parameter, 0.0, dx, dy);
        break;
    }
  }
}

// The clipped flattening behind FlattenFromTo and EvalSequence, without the lock.
QvULong flatten_from_to(const QvStdFCurveImpl& body, const QvExtent2<double>& extent,
                        const QvTransfo4& transform, double tolerance, QvPoint2dArray& points,
                        QvPointTagArray& tags, QvBoolArray& flags) {
  const QvULong before = points.GetSize();
  if (extent.state == QvExtent2<double>::ExtentEmpty) return 0;
  const double lo = extent.min.x;
  const double hi = extent.max.x;
  const QvULong n = body.m_numKeys;

  // No width: the one point, or the two values of a jump there.
  if (std::fabs(hi - lo) <= kKeyTolerance) {
    const double x = body.SnapToKey(lo);
    const double left = n == 0 ? body.m_valueWhenNoKeys : body.EvalLeftCore(x);
    const double right = n == 0 ? body.m_valueWhenNoKeys : body.EvalCore(x);
    points.Add(transform.Map(QvPoint2<double>(lo, left)));
    tags.Add(TagFirst);
    flags.Add(1);
    if (std::fabs(left - right) > kKeyTolerance) {
      points.Add(transform.Map(QvPoint2<double>(lo, right)));
      tags.Add(TagLast);
      flags.Add(1);
    }
    return points.GetSize() - before;
  }

  const QvExtent2<double> clip = transform.Map(extent);
  ClippedEmitter out(transform, clip, tolerance, points, tags, flags);
  if (n == 0) {
    out.Line(lo, body.m_valueWhenNoKeys, hi, body.m_valueWhenNoKeys, 0.0, 0.0);
    return points.GetSize() - before;
  }
  const QvStdFCurveKey& first = body.Key(0);
  const QvStdFCurveKey& last = body.Key(n - 1);
  const double f = first.parameter;
  const double l = last.parameter;
  const unsigned char method = body.m_extrapolation;
  const bool cycling = n >= 2 && (method == QvBaseFCurve::ExtrapolationCycle ||
                                  method == QvBaseFCurve::ExtrapolationCycleOffset);
  if (!cycling) {
    const bool linear = method == QvBaseFCurve::ExtrapolationLinear;
    if (lo < f) {
      const double end = hi < f ? hi : f;
      if (linear)
        out.Line(lo, body.LeftExtrapolation(lo), end, body.LeftExtrapolation(end), 0.0, 0.0);
      else
        out.Line(lo, first.leftValue, end, first.leftValue, 0.0, 0.0);
    }
    emit_keys(body, out, lo, hi, 0.0, 0.0, true);
    if (hi > l) {
      const double start = lo > l ? lo : l;
      if (linear)
        out.Line(start, body.RightExtrapolation(start), hi, body.RightExtrapolation(hi), 0.0,
                 0.0);
      else
        out.Line(start, last.rightValue, hi, last.rightValue, 0.0, 0.0);
    }
    return points.GetSize() - before;
  }

  // Cycle by cycle, each shifted by its period and, with the offset method, by the value step
  // that every period adds. The seam between two cycles is a jump when the last key's arrival
  // differs from the first key's value in the next cycle.
  const double period = l - f;
  const double delta = method == QvBaseFCurve::ExtrapolationCycleOffset
                           ? last.rightValue - first.rightValue
                           : 0.0;
  const double first_cycle = std::floor((lo - f) / period);
  const double last_cycle = std::ceil((hi - f) / period) - 1.0;
  if (!(last_cycle - first_cycle < 1e6)) return 0;  // a hopeless request draws nothing
  for (double c = first_cycle; c <= last_cycle; c += 1.0) {
    const double dx = c * period;
    const double dy = c * delta;
    emit_keys(body, out, lo, hi, dx, dy, false);
    const double seam = l + dx;
    const double from = body.Arrival(n - 1) + dy;
    const double to = first.rightValue + dy + delta;
    if (c < last_cycle && seam >= lo && seam <= hi && std::fabs(from - to) > kJumpTolerance)
      out.Line(seam, from, seam, to, 0.0, 0.0);
  }
  return points.GetSize() - before;
}

}  // namespace

// The whole curve as a polyline in drawing coordinates: level and straight segments exactly,
// cubics flattened to the tolerance after the transform, since the tolerance is a distance there.
// The tag of each point is its working flag: 0 for the first point, 2 for the far end of a jump,
// 1 for all others. A non-zero `filter` drops points that repeat their predecessor.
QvULong QvStdFCurve::Flatten(const QvTransfo4& transform, double tolerance,
                             QvPoint2dArray& points, QvPointTagArray& tags,
                             QvLong filter) const {
  LockGuard guard(*this);
  const QvStdFCurveImpl& body = *m_impl;
  const QvULong n = body.m_numKeys;
  if (n == 0) return 0;
  QvPoint2dArray work(128);
  QvBoolArray work_flags(128);
  auto add = [&](double x, double y, QvLong flag) {
    work.Add(transform.Map(QvPoint2<double>(x, y)));
    work_flags.Add(flag);
  };
  const QvStdFCurveKey& first = body.Key(0);
  add(first.parameter, first.leftValue, kFlagFirst);
  if (std::fabs(first.leftValue - first.rightValue) > kJumpTolerance)
    add(first.parameter, first.rightValue, kFlagJump);
  for (QvULong i = 0; i + 1 < n; ++i) {
    const QvStdFCurveKey& key = body.Key(i);
    const QvStdFCurveKey& next = body.Key(i + 1);
    switch (key.segmentKind) {
      case FSConstant:
        add(next.parameter, key.rightValue, kFlagInner);
        break;
      case FSBezierCubic: {
        QvPoint2<double> control[4];
        segment_cubic(body, i, control);
        transform.MapInPlace(control, 4);
        const QvULong added = QvBezierTool_FlattenCubic2d(control, tolerance, &work, 1);
        for (QvULong k = 0; k < added; ++k) work_flags.Add(kFlagInner);
        break;
      }
      default:
        add(next.parameter, next.leftValue, kFlagInner);
        break;
    }
    const double arrival = body.Arrival(i + 1);
    if (std::fabs(arrival - next.rightValue) > kJumpTolerance)
      add(next.parameter, next.rightValue, kFlagJump);
  }
  const QvULong before = points.GetSize();
  for (QvULong k = 0; k < work.GetSize(); ++k) {
    if (filter != 0 && k > 0 && work_flags[k] != kFlagJump && work[k] == work[k - 1]) continue;
    points.Add(work[k]);
    tags.Add(static_cast<QvPointTag>(work_flags[k]));
  }
  return points.GetSize() - before;
}

// The curve's appearance within a parameter extent: clipped, with the extrapolation drawn outside
// the keys and cycles unrolled. Points, tags and flags are those of the Bezier clipper.
QvULong QvStdFCurve::FlattenFromTo(const QvExtent2<double>& extent, const QvTransfo4& transform,
                                   double tolerance, QvPoint2dArray& points,
                                   QvPointTagArray& tags, QvBoolArray& flags, QvLong) const {
  LockGuard guard(*this);
  if (points.GetSize() != tags.GetSize() || points.GetSize() != flags.GetSize()) return 0;
  return flatten_from_to(*m_impl, extent, transform, tolerance, points, tags, flags);
}

// Samples come from one flattening walked in step, not from evaluating each sample: hosts ask for
// thousands of samples of a curve that a few hundred polyline points describe within tolerance.
QvULong QvStdFCurve::EvalSequence(double from, double to, double step, double tolerance,
                                  QvDoubleArray& parameters, QvDoubleArray& values,
                                  QvLong clamp) const {
  // Ends that are not finite, or more samples than an array can hold, are refused outright.
  if (!std::isfinite(from) || !std::isfinite(to)) return 0;
  if (step > 0.0 && (to - from) / step > kMaxSamples) return 0;
  LockGuard guard(*this);
  const QvStdFCurveImpl& body = *m_impl;
  QvExtent2<double> extent;
  extent.min = QvPoint2<double>(from < to ? from : to, -DBL_MAX);
  extent.max = QvPoint2<double>(from < to ? to : from, DBL_MAX);
  extent.state = QvExtent2<double>::ExtentBounded;
  QvPoint2dArray line(128);
  QvPointTagArray tags(128);
  QvBoolArray flags(128);
  flatten_from_to(body, extent, QvTransfo4(), tolerance, line, tags, flags);
  const QvULong m = line.GetSize();
  auto value_of = [&](double v) { return clamp != 0 ? body.Clamp(v) : v; };
  const double first_value = m == 0 ? body.EvalCore(body.SnapToKey(from)) : line[0].y;
  const double last_value = m == 0 ? body.EvalCore(body.SnapToKey(to)) : line[m - 1].y;
  QvULong count = 0;
  if (std::fabs(from - to) <= kKeyTolerance) {
    parameters.Add(from);
    values.Add(value_of(first_value));
    ++count;
  }
  if (m != 0) {
    QvULong j = 0;
    for (double i = 0.0;; i += 1.0) {
      const double x = from + i * step;
      // A step that does not advance gives the first sample only.
      if (!(x < to) || (i > 0.0 && !(step > 0.0))) break;
      // Advance to the last vertex at or before x; at a jump that is its far end.
      while (j + 1 < m && line[j + 1].x <= x) ++j;
      double v;
      if (std::fabs(x - line[j].x) <= kKeyTolerance || j + 1 == m || x < line[j].x) {
        v = line[j].y;
      } else {
        const QvPoint2<double>& a = line[j];
        const QvPoint2<double>& b = line[j + 1];
        v = a.y + (x - a.x) / (b.x - a.x) * (b.y - a.y);
      }
      parameters.Add(x);
      values.Add(value_of(v));
      ++count;
    }
  }
  parameters.Add(to);
  values.Add(value_of(last_value));
  return count + 1;
}
