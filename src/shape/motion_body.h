#ifndef QV_SRC_SHAPE_MOTION_BODY_H
#define QV_SRC_SHAPE_MOTION_BODY_H

#include <qv/QvArray.h>
#include <qv/QvMotionPath3d.h>
#include <qv/QvPoint.h>

#include <cmath>
#include <cstdint>
#include <vector>

// The (left, right) speed behaviour at one node.
struct QvMotionTangentPair {
  std::int32_t left;
  std::int32_t right;
};

// Body of a motion path. points holds 3k + 1 entries for k segments (none when empty); every
// per-node vector holds one entry per node.
class QvMotionPath3dImpl {
 public:
  std::vector<QvPoint3<double>> points;
  std::vector<void*> clientData;
  std::vector<double> nodeTimes;
  std::vector<unsigned char> nodeFlags;
  std::vector<QvMotionTangentPair> tangentInfo;

  QvULong NumPoints() const { return static_cast<QvULong>(points.size()); }
  QvULong NumNodes() const { return static_cast<QvULong>(nodeTimes.size()); }
  QvULong NumSegments() const { return nodeTimes.empty() ? 0 : NumNodes() - 1; }
  bool IsStraight(QvULong segment) const {
    return (nodeFlags[segment] & QvMotionPath3d::NodeStraightSegment) != 0;
  }
  bool IsLocked(QvULong node) const {
    return (nodeFlags[node] & QvMotionPath3d::NodeG1Locked) != 0;
  }

  // Makes room for `nodes` more nodes in every vector, so that the appends that follow cannot
  // throw half way.
  void Reserve(QvULong nodes) {
    points.reserve(points.size() + 3u * nodes);
    clientData.reserve(clientData.size() + 3u * nodes);
    nodeTimes.reserve(nodeTimes.size() + nodes);
    nodeFlags.reserve(nodeFlags.size() + nodes);
    tangentInfo.reserve(tangentInfo.size() + nodes);
  }
};

namespace qv::internal {

inline constexpr double kMotionTimeTolerance = 1e-15;
inline constexpr double kMotionMinLength = 1e-7;

inline QvPoint3<double> motion_sub(const QvPoint3<double>& a, const QvPoint3<double>& b) {
  return QvPoint3<double>(a.x - b.x, a.y - b.y, a.z - b.z);
}
inline QvPoint3<double> motion_add(const QvPoint3<double>& a, const QvPoint3<double>& b) {
  return QvPoint3<double>(a.x + b.x, a.y + b.y, a.z + b.z);
}
inline QvPoint3<double> motion_scale(const QvPoint3<double>& a, double s) {
  return QvPoint3<double>(a.x * s, a.y * s, a.z * s);
}
inline double motion_squared_length(const QvPoint3<double>& v) {
  return v.x * v.x + v.y * v.y + v.z * v.z;
}
// Handle lengths below this resolution are noise from repeated edits: a squared length under 1e-9
// counts as 0.
inline double motion_handle_length(const QvPoint3<double>& v) {
  const double s = motion_squared_length(v);
  return s < 1e-9 ? 0.0 : std::sqrt(s);
}

// Flattens segment k at tol into poly (emptied first) and writes the cumulative chord lengths into
// cumulative, indexed like poly. Returns the total length.
double motion_flatten_segment(const QvMotionPath3dImpl& body, QvULong k, double tol,
                              QvPoint3dArray& poly, std::vector<double>& cumulative);

// The distance travelled along segment k as a function of time: a cubic fitted to the speeds at
// its ends, or plain uniform motion.
struct MotionSpeedLaw {
  double t0 = 0.0;
  double t1 = 1.0;
  double length = 0.0;
  bool uniform = false;
  double a = 0.0;
  double b = 0.0;
  double c = 0.0;
  double d0 = 0.0;  // D(t0)

  // Distance at t, clamped to [0, length].
  double Distance(double t) const;
  // The earliest time in [t0, t1] whose distance reaches d.
  double TimeAt(double d) const;
};

MotionSpeedLaw motion_speed_law(const QvMotionPath3dImpl& body, QvULong k, double tol,
                                double length);

// Point at distance d along poly, by interpolation on the chord that holds it.
QvPoint3<double> motion_point_at_distance(const QvPoint3dArray& poly,
                                          const std::vector<double>& cumulative, double d);

// Segment index whose interval [t_k, t_{k+1}) holds t, by bisection; the caller has ruled out
// times outside the path.
QvULong motion_find_segment(const QvMotionPath3dImpl& body, double t);

// Position at t on a non-empty body. With ignoreHold, a held segment moves as if it were not.
QvPoint3<double> motion_eval(const QvMotionPath3dImpl& body, double t, double tol,
                             bool ignoreHold);

// Applies the G1 lock at node k to the geometry; false, with nothing changed, when it cannot.
bool motion_lock_g1(QvMotionPath3dImpl& body, QvULong k);

}  // namespace qv::internal

#endif
