#include <qv/QvMotionPath3d.h>

#include <qv/QvPath2f.h>

#include "shape/motion_body.h"

#include <cmath>
#include <vector>

using qv::internal::kMotionMinLength;
using qv::internal::kMotionTimeTolerance;

QvLong QvMotionPath3d::Eval(double t, double tolerance, QvPoint3<double>& point, QvLong) const {
  QvCriticalSectionGuard guard(m_lock);
  if (m_body->points.empty()) return 0;
  point = qv::internal::motion_eval(*m_body, t, tolerance, false);
  return 1;
}

QvLong QvMotionPath3d::EvalSequence(double from, double to, double step, double tolerance,
                                    QvPoint3dArray& points, QvLong) const {
  QvCriticalSectionGuard guard(m_lock);
  if (m_body->points.empty() || !(step > 0.0) || !(from <= to) || !std::isfinite(from) ||
      !std::isfinite(to))
    return 0;
  // A step so small that the samples would not fit in memory is refused rather than attempted.
  const double span = (to - from) / step;
  if (!(span < 16777216.0)) return 0;
  const QvULong count = static_cast<QvULong>(std::floor(span + 1e-9)) + 1u;
  QvPoint3dArray out(count);
  for (QvULong i = 0; i < count; ++i) {
    const double t = from + static_cast<double>(i) * step;
    if (t > to + 1e-9) break;
    out.Add(qv::internal::motion_eval(*m_body, t, tolerance, false));
  }
  points = out;
  return 1;
}

namespace {

// Appends render samples while there is room.
class RenderSink {
 public:
  RenderSink(QvULong limit, QvPoint3dArray& points, QvUByteArray& flags, QvDoubleArray& times,
             QvULongArray& indices)
      : m_limit(limit), m_points(points), m_flags(flags), m_times(times), m_indices(indices) {}

  bool Full() const { return m_points.size >= m_limit; }

  void Add(const QvPoint3<double>& p, double t, bool node) {
    if (Full()) return;
    if (node) m_indices.Add(m_points.size);
    m_points.Add(p);
    m_flags.Add(static_cast<unsigned char>(node ? QvMotionPath3d::RenderNodePoint
                                                : QvMotionPath3d::RenderInnerPoint));
    m_times.Add(t);
  }

 private:
  QvULong m_limit;
  QvPoint3dArray& m_points;
  QvUByteArray& m_flags;
  QvDoubleArray& m_times;
  QvULongArray& m_indices;
};

bool is_node_time(const QvMotionPath3dImpl& body, double t) {
  const QvULong n = body.NumNodes();
  if (t <= body.nodeTimes[0] + kMotionTimeTolerance) return std::fabs(t - body.nodeTimes[0]) <= kMotionTimeTolerance;
  if (t >= body.nodeTimes[n - 1] - kMotionTimeTolerance) return std::fabs(t - body.nodeTimes[n - 1]) <= kMotionTimeTolerance;
  const QvULong k = qv::internal::motion_find_segment(body, t);
  return std::fabs(t - body.nodeTimes[k]) <= kMotionTimeTolerance ||
         std::fabs(t - body.nodeTimes[k + 1]) <= kMotionTimeTolerance;
}

}  // namespace

// The polyline starts at the position of `from` and ends at that of `to`, both clamped to the
// path's times. In between come the flattened points of every segment, each timed by inverting
// the segment's distance law, and the nodes. A held segment stays at its start node until its end
// time, so its inner points all carry that end time.
QvLong QvMotionPath3d::Render(double from, double to, QvULong maxPoints, QvPoint3dArray& points,
                              QvUByteArray& flags, QvDoubleArray& times,
                              QvULongArray& indices) const {
  QvCriticalSectionGuard guard(m_lock);
  const QvMotionPath3dImpl& body = *m_body;
  if (body.points.empty() || maxPoints == 0 || !(from <= to)) return 0;
  const QvULong n = body.NumNodes();
  const double first = body.nodeTimes.front();
  const double last = body.nodeTimes.back();
  const double lo = from < first ? first : (from > last ? last : from);
  const double hi = to > last ? last : (to < first ? first : to);
  // Render takes no tolerance: it flattens to a thousandth of the path's largest extent, fine
  // enough for a display of the whole path at any zoom a host offers.
  QvPoint3<double> box_min = body.points[0];
  QvPoint3<double> box_max = body.points[0];
  for (const QvPoint3<double>& p : body.points) {
    box_min = QvPoint3<double>(std::fmin(box_min.x, p.x), std::fmin(box_min.y, p.y), std::fmin(box_min.z, p.z));
    box_max = QvPoint3<double>(std::fmax(box_max.x, p.x), std::fmax(box_max.y, p.y), std::fmax(box_max.z, p.z));
  }
  const double size = std::fmax(box_max.x - box_min.x, std::fmax(box_max.y - box_min.y, box_max.z - box_min.z));
  const double tol = std::isfinite(size) && size > 0.0 ? size * 1e-3 : 1e-3;

  QvPoint3dArray out_points(32);
  QvUByteArray out_flags(32);
  QvDoubleArray out_times(32);
  QvULongArray out_indices(4);
  RenderSink sink(maxPoints, out_points, out_flags, out_times, out_indices);
  sink.Add(qv::internal::motion_eval(body, lo, tol, false), lo, is_node_time(body, lo));

  QvPoint3dArray poly(32);
  std::vector<double> cumulative;
  const auto emit = [&](const QvPoint3<double>& p, double t, bool node) {
    if (t > lo + kMotionTimeTolerance && t < hi - kMotionTimeTolerance) sink.Add(p, t, node);
  };
  for (QvULong k = 0; k + 1 < n && !sink.Full(); ++k) {
    const double t0 = body.nodeTimes[k];
    const double t1 = body.nodeTimes[k + 1];
    if (!(t1 > lo) || !(t0 < hi)) continue;
    if (!body.IsStraight(k)) {
      const double length = qv::internal::motion_flatten_segment(body, k, tol, poly, cumulative);
      if (std::fabs(length) >= kMotionMinLength) {
        const bool hold = body.tangentInfo[k].right == TangentHold;
        const qv::internal::MotionSpeedLaw law =
            hold ? qv::internal::MotionSpeedLaw()
                 : qv::internal::motion_speed_law(body, k, tol, length);
        for (QvULong j = 1; j + 1 < poly.size; ++j)
          emit(poly[j], hold ? t1 : law.TimeAt(cumulative[j]), false);
      }
    }
    emit(body.points[3u * k + 3u], t1, true);
  }
  if (hi > lo) sink.Add(qv::internal::motion_eval(body, hi, tol, false), hi, is_node_time(body, hi));

  points = out_points;
  flags = out_flags;
  times = out_times;
  indices = out_indices;
  return 1;
}

QvLong QvMotionPath3d::GetProjectedPath(QvLong projection, QvPath2f& path) const {
  QvCriticalSectionGuard guard(m_lock);
  const QvMotionPath3dImpl& body = *m_body;
  if (body.points.empty() || projection < 0 || projection > 2) return 0;
  const auto project = [projection](const QvPoint3<double>& p) {
    switch (projection) {
      case ProjectionZY:
        return QvPoint2<float>(static_cast<float>(-p.z), static_cast<float>(p.y));
      case ProjectionXZ:
        return QvPoint2<float>(static_cast<float>(p.x), static_cast<float>(-p.z));
      default:
        return QvPoint2<float>(static_cast<float>(p.x), static_cast<float>(p.y));
    }
  };
  path.Moveto(project(body.points[0]));
  for (QvULong k = 0; k < body.NumSegments(); ++k) {
    const QvULong s = 3u * k;
    if (body.IsStraight(k)) {
      path.Lineto(project(body.points[s + 3u]));
    } else {
      path.Curveto(project(body.points[s + 1u]), project(body.points[s + 2u]),
                   project(body.points[s + 3u]));
    }
  }
  return 1;
}
