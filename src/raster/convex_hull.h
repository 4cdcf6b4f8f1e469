// The convex hull behind QvGetConvexHull2D: a small vector type and a static
// builder with the call shape that the public function is written against.
#ifndef QV_SRC_RASTER_CONVEX_HULL_H
#define QV_SRC_RASTER_CONVEX_HULL_H

#include <qv/QvTypes.h>

namespace qv::internal {

template <class T>
class HullVector2 {
 public:
  HullVector2() : m_v{T(0), T(0)} {}
  ~HullVector2() = default;
  // Index 0 is x, 1 is y; nothing else is valid.
  T& operator[](QvLong i) { return m_v[i]; }
  const T& operator[](QvLong i) const { return m_v[i]; }

 private:
  T m_v[2];
};

struct HullGeometry {
  // Writes the hull of input[0 .. count-1] into hull, counter-clockwise (for
  // y up) from the point of smallest x, smallest y among those, without
  // repeating the first point and without collinear middle points. hull needs
  // room for count entries and must not overlap input. Returns 1, or 0 with
  // hullCount 0 when count is not positive or a coordinate is not finite.
  template <class T>
  static QvLong BuildConvexHull(QvLong count, HullVector2<T>* const input, QvLong& hullCount,
                                HullVector2<T>* const hull);
};

}  // namespace qv::internal

#endif  // QV_SRC_RASTER_CONVEX_HULL_H
