#include <qv/QvMotionPath3d.h>

#include <qv/QvBezierTool.h>
#include <qv/QvTransfo4.h>

#include "shape/motion_body.h"

#include <cmath>
#include <vector>

using qv::internal::kMotionMinLength;
using qv::internal::kMotionTimeTolerance;
using qv::internal::motion_add;
using qv::internal::motion_handle_length;
using qv::internal::motion_scale;
using qv::internal::motion_squared_length;
using qv::internal::motion_sub;

namespace {

constexpr double kOneThird = 0.3333333333333333;
constexpr double kTwoThirds = 0.6666666666666666;

void clear_lock(QvMotionPath3dImpl& body, QvULong k) {
  body.nodeFlags[k] = static_cast<unsigned char>(body.nodeFlags[k] & ~QvMotionPath3d::NodeG1Locked);
}

// Valid segment of point index i, or false.
bool segment_of(const QvMotionPath3dImpl& body, QvULong i, QvULong& k) {
  if (body.NumNodes() < 2) return false;
  k = i / 3;
  return k < body.NumSegments();
}

// Unit vector of v, or false when v is too short to give a direction.
bool unit(const QvPoint3<double>& v, QvPoint3<double>& out) {
  if (motion_handle_length(v) < kMotionMinLength) return false;
  out = v;
  out.Normalize();
  return true;
}

// Moves node k by delta, with the controls that travel with it. The controls of a straight
// segment sit on its ends: only those lying on the moved node follow it.
void move_node(QvMotionPath3dImpl& body, QvULong k, const QvPoint3<double>& delta) {
  const QvPoint3<double> old = body.points[3u * k];
  body.points[3u * k] = motion_add(old, delta);
  const auto carry = [&](QvULong seg) {
    for (QvULong c = 3u * seg + 1u; c <= 3u * seg + 2u; ++c) {
      if (!body.IsStraight(seg) || body.points[c] == old)
        body.points[c] = motion_add(body.points[c], delta);
    }
  };
  if (k > 0) {
    if (body.IsStraight(k - 1)) carry(k - 1);
    else body.points[3u * k - 1u] = motion_add(body.points[3u * k - 1u], delta);
  }
  if (k + 1 < body.NumNodes()) {
    if (body.IsStraight(k)) carry(k);
    else body.points[3u * k + 1u] = motion_add(body.points[3u * k + 1u], delta);
  }
}

}  // namespace

QvLong QvMotionPath3d::LockG1Continuity(QvULong i) {
  QvCriticalSectionGuard guard(m_lock);
  if (i % 3 != 0 || i >= m_body->NumPoints()) return 0;
  return qv::internal::motion_lock_g1(*m_body, i / 3) ? 1 : 0;
}

QvLong QvMotionPath3d::UnlockG1Continuity(QvULong i) {
  QvCriticalSectionGuard guard(m_lock);
  if (i % 3 != 0 || i >= m_body->NumPoints()) return 0;
  clear_lock(*m_body, i / 3);
  return 1;
}

QvLong QvMotionPath3d::IsG1ContinuityLocked(QvULong i) const {
  QvCriticalSectionGuard guard(m_lock);
  if (i % 3 != 0 || i >= m_body->NumPoints()) return 0;
  return m_body->IsLocked(i / 3) ? 1 : 0;
}

QvLong QvMotionPath3d::LockG1ContinuityAtAllNodes() {
  QvCriticalSectionGuard guard(m_lock);
  for (QvULong k = 0; k < m_body->NumNodes(); ++k) qv::internal::motion_lock_g1(*m_body, k);
  return 1;
}

// A control next to a locked node turns the opposite control with it, so the pair stays
// collinear through the node; the opposite one keeps its own length or mirrors the moved one.
QvLong QvMotionPath3d::ReplaceControlPoint(QvULong i, const QvPoint3<double>& point,
                                           QvLong keepLength) {
  QvCriticalSectionGuard guard(m_lock);
  QvMotionPath3dImpl& body = *m_body;
  if (i >= body.NumPoints()) return 0;
  if (i % 3 == 0) {
    if (point == body.points[i]) return 1;
    move_node(body, i / 3, motion_sub(point, body.points[i]));
    return 1;
  }
  const QvULong seg = i / 3;
  if (body.IsStraight(seg)) return 0;
  if (point == body.points[i]) return 1;
  const QvULong node = i % 3 == 1 ? i - 1 : i + 1;
  body.points[i] = point;
  const QvULong k = node / 3;
  if (!body.IsLocked(k) || k == 0 || k + 1 == body.NumNodes()) return 1;
  const QvULong opposite = i % 3 == 1 ? node - 1 : node + 1;
  if (body.IsStraight(opposite / 3)) return 1;
  QvPoint3<double> direction;
  if (!unit(motion_sub(point, body.points[node]), direction)) return 1;
  const double length =
      keepLength ? motion_handle_length(motion_sub(body.points[opposite], body.points[node]))
                 : motion_handle_length(motion_sub(point, body.points[node]));
  body.points[opposite] = motion_sub(body.points[node], motion_scale(direction, length));
  return 1;
}

QvLong QvMotionPath3d::TranslateControlPoint(QvULong i, const QvPoint3<double>& delta,
                                             QvLong keepLength) {
  QvCriticalSectionGuard guard(m_lock);
  if (i >= m_body->NumPoints()) return 0;
  return ReplaceControlPoint(i, motion_add(m_body->points[i], delta), keepLength);
}

QvLong QvMotionPath3d::ReplaceControlPointIgnoringLock(QvULong i, const QvPoint3<double>& point) {
  QvCriticalSectionGuard guard(m_lock);
  if (i >= m_body->NumPoints()) return 0;
  m_body->points[i] = point;
  return 1;
}

QvLong QvMotionPath3d::ReplaceTangentVectorDirections(QvULong i,
                                                      const QvPoint3<double>& direction) {
  QvCriticalSectionGuard guard(m_lock);
  QvMotionPath3dImpl& body = *m_body;
  if (i % 3 != 0 || i >= body.NumPoints()) return 0;
  QvPoint3<double> d;
  if (!unit(direction, d)) return 0;
  const QvULong k = i / 3;
  const QvPoint3<double> node = body.points[i];
  if (k > 0 && !body.IsStraight(k - 1)) {
    const double len = motion_handle_length(motion_sub(body.points[i - 1], node));
    body.points[i - 1] = motion_sub(node, motion_scale(d, len));
  }
  if (k + 1 < body.NumNodes() && !body.IsStraight(k)) {
    const double len = motion_handle_length(motion_sub(body.points[i + 1], node));
    body.points[i + 1] = motion_add(node, motion_scale(d, len));
  }
  return 1;
}

QvLong QvMotionPath3d::ReplaceNode(QvULong i, const QvPoint3<double>& point, double time,
                                   double tolerance) {
  QvCriticalSectionGuard guard(m_lock);
  QvMotionPath3dImpl& body = *m_body;
  if (i % 3 != 0 || i >= body.NumPoints() || !std::isfinite(time)) return 0;
  const QvULong k = i / 3;
  // A time within tolerance of the node's own keeps it exactly, so that dragging in space alone
  // does not wear the time away.
  const double new_time = std::fabs(time - body.nodeTimes[k]) <= tolerance ? body.nodeTimes[k] : time;
  if (k > 0 && !(new_time > body.nodeTimes[k - 1])) return 0;
  if (k + 1 < body.NumNodes() && !(new_time < body.nodeTimes[k + 1])) return 0;
  move_node(body, k, motion_sub(point, body.points[i]));
  body.nodeTimes[k] = new_time;
  return 1;
}

QvLong QvMotionPath3d::InsertNode(double time, double tolerance, double flatness, QvULong& index,
                                  QvLong& inserted) {
  QvCriticalSectionGuard guard(m_lock);
  QvMotionPath3dImpl& body = *m_body;
  const QvULong n = body.NumNodes();
  if (n == 0 || !std::isfinite(time)) return 0;
  for (QvULong k = 0; k < n; ++k) {
    if (std::fabs(body.nodeTimes[k] - time) <= kMotionTimeTolerance) {
      index = 3u * k;
      inserted = 0;
      return 1;
    }
  }
  if (!(time > body.nodeTimes.front() && time < body.nodeTimes.back())) return 0;
  const QvULong k = qv::internal::motion_find_segment(body, time);
  const QvULong base = 3u * k;

  // The split point follows the geometry, whatever the segment's hold says about the motion.
  const QvPoint3<double> at = qv::internal::motion_eval(body, time, flatness, true);
  QvPoint3<double> pieces[5];
  if (body.IsStraight(k)) {
    // The two halves stay straight and keep their controls on their ends.
  } else {
    double best = 0.0;
    double parameter = 0.0;
    const double reach = tolerance > 4.0 * flatness * flatness ? tolerance
                                                               : 4.0 * flatness * flatness;
    if (!QvBezierTool_LocatePoint3d(body.points.data() + base, flatness, at, reach, best,
                                    parameter))
      return 0;
    QvBezierTool_SplitCubic3d(body.points.data() + base, pieces, parameter);
  }

  QvMotionPath3dImpl next(body);
  const bool straight = body.IsStraight(k);
  next.points[base + 1u] = straight ? at : pieces[0];
  next.points[base + 2u] = straight ? at : pieces[1];
  const QvPoint3<double> inner[3] = {straight ? at : pieces[2],
                                     straight ? body.points[base + 3u] : pieces[3],
                                     straight ? body.points[base + 3u] : pieces[4]};
  next.points.insert(next.points.begin() + base + 3, inner, inner + 3);
  next.clientData.insert(next.clientData.begin() + base + 3, 3, nullptr);
  // The controls the host tagged keep their pointers on the pieces they became.
  next.clientData[base + 5u] = body.clientData[base + 2u];
  next.clientData[base + 2u] = nullptr;
  next.nodeTimes.insert(next.nodeTimes.begin() + k + 1, time);
  next.nodeFlags.insert(next.nodeFlags.begin() + k + 1,
                        straight ? static_cast<unsigned char>(NodeStraightSegment)
                                 : static_cast<unsigned char>(0));
  next.tangentInfo.insert(next.tangentInfo.begin() + k + 1,
                          QvMotionTangentPair{TangentSmooth, TangentSmooth});
  std::swap(body, next);
  index = base + 3u;
  inserted = 1;
  return 1;
}

QvLong QvMotionPath3d::RemoveNodes(QvULong first, QvULong last) {
  QvCriticalSectionGuard guard(m_lock);
  QvMotionPath3dImpl& body = *m_body;
  const QvULong n = body.NumNodes();
  if (first % 3 != 0 || last % 3 != 0 || first > last || last >= body.NumPoints()) return 0;
  const QvULong a = first / 3;
  const QvULong b = last / 3;
  QvMotionPath3dImpl next;
  if (a == 0 && b == n - 1) {
    std::swap(body, next);
    return 1;
  }
  next = body;
  QvULong p_first, p_last;  // points to erase
  if (a == 0) {
    p_first = 0;
    p_last = 3u * b + 2u;
  } else if (b == n - 1) {
    p_first = 3u * a - 2u;
    p_last = 3u * b;
  } else {
    p_first = 3u * a - 1u;
    p_last = 3u * b + 1u;
  }
  if (a > 0 && b < n - 1) {
    // One segment now spans the gap, from node a - 1 to node b + 1. It stays straight only when
    // both of the segments it grew from were.
    const bool straight = body.IsStraight(a - 1) && body.IsStraight(b);
    unsigned char& f = next.nodeFlags[a - 1];
    if (straight) {
      next.points[3u * a - 2u] = body.points[3u * b + 3u];
      next.points[3u * b + 2u] = body.points[3u * b + 3u];
      f = static_cast<unsigned char>(f | NodeStraightSegment);
    } else {
      f = static_cast<unsigned char>(f & ~NodeStraightSegment);
    }
  }
  next.points.erase(next.points.begin() + p_first, next.points.begin() + p_last + 1);
  next.clientData.erase(next.clientData.begin() + p_first, next.clientData.begin() + p_last + 1);
  next.nodeTimes.erase(next.nodeTimes.begin() + a, next.nodeTimes.begin() + b + 1);
  next.nodeFlags.erase(next.nodeFlags.begin() + a, next.nodeFlags.begin() + b + 1);
  next.tangentInfo.erase(next.tangentInfo.begin() + a, next.tangentInfo.begin() + b + 1);
  std::swap(body, next);
  return 1;
}

QvLong QvMotionPath3d::LinearizeSegment(QvULong i) {
  QvCriticalSectionGuard guard(m_lock);
  QvMotionPath3dImpl& body = *m_body;
  QvULong k;
  if (!segment_of(body, i, k)) return 0;
  if (body.IsStraight(k)) return 1;
  clear_lock(body, k);
  clear_lock(body, k + 1);
  const QvPoint3<double> p0 = body.points[3u * k];
  const QvPoint3<double> chord = motion_sub(body.points[3u * k + 3u], p0);
  body.points[3u * k + 1u] = motion_add(p0, motion_scale(chord, kOneThird));
  body.points[3u * k + 2u] = motion_add(p0, motion_scale(chord, kTwoThirds));
  return 1;
}

QvLong QvMotionPath3d::IsCubicSegmentLinearlyParameterized(QvULong i) const {
  QvCriticalSectionGuard guard(m_lock);
  const QvMotionPath3dImpl& body = *m_body;
  QvULong k;
  if (!segment_of(body, i, k) || body.IsStraight(k)) return 0;
  const QvPoint3<double> p0 = body.points[3u * k];
  const QvPoint3<double> chord = motion_sub(body.points[3u * k + 3u], p0);
  const QvPoint3<double> c0 = motion_add(p0, motion_scale(chord, kOneThird));
  const QvPoint3<double> c1 = motion_add(p0, motion_scale(chord, kTwoThirds));
  return motion_squared_length(motion_sub(body.points[3u * k + 1u], c0)) <= 1e-7 &&
                 motion_squared_length(motion_sub(body.points[3u * k + 2u], c1)) <= 1e-7
             ? 1
             : 0;
}

// The handles follow the neighbours' handles through the shared nodes, so the segment continues
// their directions; where a neighbour gives none (path end, collapsed handle) the chord does.
QvLong QvMotionPath3d::SmoothSegment(QvULong i) {
  QvCriticalSectionGuard guard(m_lock);
  QvMotionPath3dImpl& body = *m_body;
  QvULong k;
  if (!segment_of(body, i, k)) return 0;
  const QvULong s = 3u * k;
  const QvPoint3<double> p0 = body.points[s];
  const QvPoint3<double> p3 = body.points[s + 3u];
  const QvPoint3<double> chord = motion_sub(p3, p0);
  const double chord_length = motion_handle_length(chord);
  if (chord_length < kMotionMinLength) return 0;
  QvPoint3<double> chord_dir = chord;
  chord_dir.Normalize();

  QvPoint3<double> in = chord_dir;
  if (k > 0 && !unit(motion_sub(p0, body.points[s - 1u]), in) &&
      !unit(motion_sub(p0, body.points[s - 3u]), in))
    in = chord_dir;
  QvPoint3<double> out = chord_dir;
  if (k + 2 < body.NumNodes() && !unit(motion_sub(body.points[s + 4u], p3), out) &&
      !unit(motion_sub(body.points[s + 6u], p3), out))
    out = chord_dir;

  const double handle = chord_length * kOneThird;
  body.points[s + 1u] = motion_add(p0, motion_scale(in, handle));
  body.points[s + 2u] = motion_sub(p3, motion_scale(out, handle));
  body.nodeFlags[k] = static_cast<unsigned char>(body.nodeFlags[k] & ~NodeStraightSegment);
  return 1;
}

namespace {

// Rebuilds the two cubics that meet at the node `mid` when the far end `end` moves to `target`:
// the handles at mid follow the line from the other node to the new end, each a third of its own
// chord, and the handle at the end points back to mid's handle at a third of that chord. The
// controls are given from mid outwards: toward_start is mid's handle on the side away from the
// end, toward_end the one facing it, end_handle the one at the end.
void adjust_two_cubics(QvMotionPath3dImpl& body, QvULong other, QvULong toward_start, QvULong mid,
                       QvULong toward_end, QvULong end_handle, QvULong end,
                       const QvPoint3<double>& target) {
  const QvPoint3<double> m = body.points[mid];
  const QvPoint3<double> o = body.points[other];
  const double len_other = motion_handle_length(motion_sub(m, o)) * kOneThird;
  const double len_end = motion_handle_length(motion_sub(target, m)) * kOneThird;
  QvPoint3<double> d;
  if (!unit(motion_sub(target, o), d) && !unit(motion_sub(target, m), d)) d = QvPoint3<double>();
  body.points[end] = target;
  body.points[toward_start] = motion_sub(m, motion_scale(d, len_other));
  body.points[toward_end] = motion_add(m, motion_scale(d, len_end));
  QvPoint3<double> back;
  if (!unit(motion_sub(body.points[toward_end], target), back)) back = QvPoint3<double>();
  body.points[end_handle] = motion_add(target, motion_scale(back, len_end));
}

}  // namespace

QvLong QvMotionPath3d::AdjustLastTwoCubics(const QvPoint3<double>& point) {
  QvCriticalSectionGuard guard(m_lock);
  QvMotionPath3dImpl& body = *m_body;
  const QvULong n = body.NumPoints();
  if (n < 7) return 0;
  const QvULong segs = body.NumSegments();
  if (body.IsStraight(segs - 1) || body.IsStraight(segs - 2)) return 0;
  adjust_two_cubics(body, n - 7, n - 5, n - 4, n - 3, n - 2, n - 1, point);
  return 1;
}

QvLong QvMotionPath3d::AdjustFirstTwoCubics(const QvPoint3<double>& point) {
  QvCriticalSectionGuard guard(m_lock);
  QvMotionPath3dImpl& body = *m_body;
  const QvULong n = body.NumPoints();
  if (n < 7) return 0;
  if (body.IsStraight(0) || body.IsStraight(1)) return 0;
  adjust_two_cubics(body, 6, 4, 3, 2, 1, 0, point);
  return 1;
}

QvLong QvMotionPath3d::ScaleAndOffsetInitialTimes(double scale, double offset) {
  QvCriticalSectionGuard guard(m_lock);
  QvMotionPath3dImpl& body = *m_body;
  if (std::fabs(scale) <= 1e-9 && std::fabs(offset) <= 1e-9) return 1;
  std::vector<double> times(body.nodeTimes.size());
  for (std::size_t k = 0; k < times.size(); ++k) {
    times[k] = body.nodeTimes[k] * scale + offset;
    if (!std::isfinite(times[k])) return 0;
    if (k > 0 && !(times[k] > times[k - 1])) return 0;
  }
  body.nodeTimes.swap(times);
  return 1;
}

QvLong QvMotionPath3d::Transform(const QvTransfo4& transform) {
  QvCriticalSectionGuard guard(m_lock);
  for (QvPoint3<double>& p : m_body->points) transform.MapInPlace(p);
  return 1;
}
