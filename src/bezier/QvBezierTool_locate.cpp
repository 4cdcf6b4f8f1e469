#include <qv/QvBezierTool.h>

#include "bezier/bezier_core.h"

namespace {

using qv::internal::kLog2StepBudget;

inline double dot(const QvPoint2<double>& a, const QvPoint2<double>& b) {
  return a.x * b.x + a.y * b.y;
}
inline double dot(const QvPoint3<double>& a, const QvPoint3<double>& b) {
  return a.x * b.x + a.y * b.y + a.z * b.z;
}

inline bool outside_grown_box(const QvPoint2<double>* p, const QvPoint2<double>& q, double grow) {
  double min_x = p[0].x, max_x = p[0].x, min_y = p[0].y, max_y = p[0].y;
  for (int i = 1; i < 4; ++i) {
    if (p[i].x < min_x) min_x = p[i].x;
    if (p[i].x > max_x) max_x = p[i].x;
    if (p[i].y < min_y) min_y = p[i].y;
    if (p[i].y > max_y) max_y = p[i].y;
  }
  return !(min_x - grow <= q.x && q.x <= max_x + grow && min_y - grow <= q.y &&
           q.y <= max_y + grow);
}

inline bool outside_grown_box(const QvPoint3<double>* p, const QvPoint3<double>& q, double grow) {
  double min_x = p[0].x, max_x = p[0].x, min_y = p[0].y, max_y = p[0].y, min_z = p[0].z,
         max_z = p[0].z;
  for (int i = 1; i < 4; ++i) {
    if (p[i].x < min_x) min_x = p[i].x;
    if (p[i].x > max_x) max_x = p[i].x;
    if (p[i].y < min_y) min_y = p[i].y;
    if (p[i].y > max_y) max_y = p[i].y;
    if (p[i].z < min_z) min_z = p[i].z;
    if (p[i].z > max_z) max_z = p[i].z;
  }
  return !(min_x - grow <= q.x && q.x <= max_x + grow && min_y - grow <= q.y &&
           q.y <= max_y + grow && min_z - grow <= q.z && q.z <= max_z + grow);
}

// Nearest point search over the flattened cubic: subdivision prunes halves whose box, grown by the
// acceptance bound, misses the point; the leaves walk their polyline segment by segment.
template <class P>
class Locator {
 public:
  Locator(const P& target, double q, double limit, QvULong max_log2, double& best,
          double& parameter)
      : m_target(target),
        m_q(q),
        m_limit(limit),
        m_maxLog2(max_log2),
        m_best(best),
        m_parameter(parameter) {}

  bool Search(const P* p, QvULong depth, double t0, double t1, bool test_box) {
    if (test_box && outside_grown_box(p, m_target, m_limit)) return false;
    P left[4];
    P right[4];
    qv::internal::split_cubic_half(p, left, right);
    const double tm = t0 + (t1 - t0) / 2;
    const bool found_left =
        depth - 1 == 0 ? Leaf(left, t0, tm) : Search(left, depth - 1, t0, tm, true);
    const bool found_right =
        depth - 1 == 0 ? Leaf(right, tm, t1) : Search(right, depth - 1, tm, t1, true);
    return found_left || found_right;
  }

  bool Leaf(const P* p, double t0, double t1) {
    qv::internal::CubicLeaf<P> leaf = qv::internal::make_cubic_leaf(p, m_q, m_maxLog2);
    const QvULong segments = QvULong{1} << leaf.log2_steps;
    const double steps = static_cast<double>(segments);
    bool found = false;
    P a = p[0];
    for (QvULong i = 1; i <= segments; ++i) {
      const P b = qv::internal::add(a, leaf.first);
      const P ab = qv::internal::sub(b, a);
      const P pa = qv::internal::sub(m_target, a);
      const double ab2 = dot(ab, ab);
      double u;
      double d;
      if ((ab2 < 0.0 ? -ab2 : ab2) <= 1e-7) {
        u = 0.0;
        d = dot(pa, pa);
      } else {
        u = dot(pa, ab) / ab2;
        if (u <= 0.0) {
          u = 0.0;
          d = dot(pa, pa);
        } else if (u >= 1.0) {
          u = 1.0;
          const P pb = qv::internal::sub(b, m_target);
          d = dot(pb, pb);
        } else {
          const P on = qv::internal::add(a, scale(ab, u));
          const P off = qv::internal::sub(on, m_target);
          d = dot(off, off);
        }
      }
      if (!(d > m_limit) && m_best > d) {
        m_best = d;
        m_parameter = (static_cast<double>(i) + u - 1.0) * (t1 - t0) / steps + t0;
        found = true;
      }
      leaf.second = qv::internal::add(leaf.second, leaf.third);
      a = b;
      leaf.first = qv::internal::add(leaf.first, leaf.second);
    }
    return found;
  }

 private:
  static QvPoint2<double> scale(const QvPoint2<double>& v, double s) {
    return QvPoint2<double>(v.x * s, v.y * s);
  }
  static QvPoint3<double> scale(const QvPoint3<double>& v, double s) {
    return QvPoint3<double>(v.x * s, v.y * s, v.z * s);
  }

  P m_target;
  double m_q;
  double m_limit;
  QvULong m_maxLog2;
  double& m_best;
  double& m_parameter;
};

template <class P>
QvLong locate_point(const P* p, double flatness, const P& point, double reach, double& best,
                    double& parameter) {
  if (outside_grown_box(p, point, reach)) return 0;
  const QvULong depth = qv::internal::cubic_depth(p, flatness);
  // One value plays two parts: a distance for the boxes, a squared distance for acceptance.
  const double limit = flatness * flatness + reach;
  double found_best = limit + limit;
  double found_parameter = parameter;
  Locator<P> locator(point, 0.75 / flatness, limit, kLog2StepBudget - depth, found_best,
                     found_parameter);
  const bool found =
      depth == 0 ? locator.Leaf(p, 0.0, 1.0) : locator.Search(p, depth, 0.0, 1.0, false);
  if (!found || found_best > reach) return 0;
  best = found_best;
  parameter = found_parameter;
  return 1;
}

}  // namespace

QvLong QvBezierTool_LocatePoint2d(const QvPoint2<double>* points, double flatness,
                                  const QvPoint2<double>& point, double reach, double& best,
                                  double& parameter) {
  if (points == nullptr) return 0;
  return locate_point(points, flatness, point, reach, best, parameter);
}

QvLong QvBezierTool_LocatePoint2f(const QvPoint2<float>* points, double flatness,
                                  const QvPoint2<float>& point, double reach, double& best,
                                  double& parameter) {
  if (points == nullptr) return 0;
  const QvPoint2<double> wide[4] = {points[0].ToDouble(), points[1].ToDouble(),
                                    points[2].ToDouble(), points[3].ToDouble()};
  return locate_point(wide, flatness, point.ToDouble(), reach, best, parameter);
}

QvLong QvBezierTool_LocatePoint3d(const QvPoint3<double>* points, double flatness,
                                  const QvPoint3<double>& point, double reach, double& best,
                                  double& parameter) {
  if (points == nullptr) return 0;
  return locate_point(points, flatness, point, reach, best, parameter);
}
