#ifndef QV_QVPOINT_H
#define QV_QVPOINT_H

#include <qv/QvTypes.h>

#include <cmath>
#include <type_traits>

namespace qv::internal {

// Points compare with a tolerance that belongs to the element type, so that values that went
// through a float round trip or a few double operations still meet.
template <class T> struct PointTolerance;
template <> struct PointTolerance<int> { static constexpr int value = 0; };
template <> struct PointTolerance<float> { static constexpr float value = 1e-7f; };
template <> struct PointTolerance<double> { static constexpr double value = 1e-9; };

template <class T> inline bool axis_matches(T own, T other) {
  if constexpr (std::is_same_v<T, int>) {
    return own == other;
  } else {
    const T d = own - other;  // a NaN difference fails both tests
    return -PointTolerance<T>::value <= d && d <= PointTolerance<T>::value;
  }
}

template <class T> inline bool near_zero(T v) {
  return -PointTolerance<T>::value <= v && v <= PointTolerance<T>::value;
}

template <class T, class... Allowed> using EnableFor =
    std::enable_if_t<(std::is_same_v<T, Allowed> || ...), int>;

}  // namespace qv::internal

template <class T> class QvPoint3;

// A plain 2D point of int, float or double. Copied bitwise; arrays move it by block copies.
template <class T> class QvPoint2 {
 public:
  T x;
  T y;

  QvPoint2(T x_ = T(0), T y_ = T(0)) : x(x_), y(y_) {}

  T X() const { return x; }
  T Y() const { return y; }
  void SetX(T v) { x = v; }
  void SetY(T v) { y = v; }
  void SetXY(T x_, T y_) { x = x_; y = y_; }

  template <class U = T, qv::internal::EnableFor<U, float, double> = 0> T GetX() const { return x; }
  template <class U = T, qv::internal::EnableFor<U, float, double> = 0> T GetY() const { return y; }

  QvLong operator==(const QvPoint2& o) const {
    return qv::internal::axis_matches(x, o.x) && qv::internal::axis_matches(y, o.y) ? 1 : 0;
  }
  QvLong operator!=(const QvPoint2& o) const { return *this == o ? 0 : 1; }

  // Lexicographic, with the tolerant tie of operator== on each axis.
  template <class U = T, qv::internal::EnableFor<U, double> = 0>
  QvLong operator<(const QvPoint2& o) const {
    if (!qv::internal::axis_matches(x, o.x)) return o.x > x ? 1 : 0;
    return (o.y > y && !qv::internal::axis_matches(y, o.y)) ? 1 : 0;
  }
  template <class U = T, qv::internal::EnableFor<U, double> = 0>
  QvLong operator>=(const QvPoint2& o) const { return (*this < o) ? 0 : 1; }

  QvPoint2& operator+=(const QvPoint2& o) {
    x += o.x;
    y += o.y;
    return *this;
  }

  template <class U = T, qv::internal::EnableFor<U, float, double> = 0>
  QvPoint2& operator*=(double factor) {
    const T f = static_cast<T>(factor);  // the float form multiplies in single precision
    x *= f;
    y *= f;
    return *this;
  }

  template <class U = T, qv::internal::EnableFor<U, float> = 0>
  QvPoint2& operator/=(double divisor) {
    const float d = static_cast<float>(divisor);
    x /= d;
    y /= d;
    return *this;
  }

  template <class U = T, qv::internal::EnableFor<U, double> = 0>
  QvPoint2& Translate(double dx, double dy) {
    x += dx;
    y += dy;
    return *this;
  }

  template <class U = T, qv::internal::EnableFor<U, float, double> = 0>
  QvPoint2& HalfWay(const QvPoint2& o) {
    x = static_cast<T>((x + o.x) * 0.5);
    y = static_cast<T>((y + o.y) * 0.5);
    return *this;
  }

  // The threshold applies to the squared length: shorter vectors than about 3.16e-5 (double) or
  // 3.16e-4 (float) have length 0.
  template <class U = T, qv::internal::EnableFor<U, float, double> = 0>
  double Length() const {
    const T s = x * x + y * y;
    if (s <= qv::internal::PointTolerance<T>::value) return 0.0;
    return static_cast<double>(std::sqrt(s));
  }

  template <class U = T, qv::internal::EnableFor<U, double> = 0>
  double SquaredLength() const { return x * x + y * y; }

  // A vector that escapes the near-zero test but has a squared length under the tolerance is
  // scaled by 1/0: its non-zero components become infinite and its zero ones NaN.
  template <class U = T, qv::internal::EnableFor<U, float, double> = 0>
  QvPoint2& Normalize() {
    if (qv::internal::near_zero(x) && qv::internal::near_zero(y)) return *this;
    const double inverse = 1.0 / Length();
    x = static_cast<T>(x * inverse);
    y = static_cast<T>(y * inverse);
    return *this;
  }

  template <class U = T, qv::internal::EnableFor<U, double> = 0>
  QvPoint2 NormalizedClone() const {
    if (qv::internal::near_zero(x) && qv::internal::near_zero(y)) return QvPoint2();
    QvPoint2 p(*this);
    p.Normalize();
    return p;
  }

  template <class U = T, qv::internal::EnableFor<U, int, double> = 0>
  QvPoint2<float> ToFloat() const {
    return QvPoint2<float>(static_cast<float>(x), static_cast<float>(y));
  }

  template <class U = T, qv::internal::EnableFor<U, float> = 0>
  QvPoint2<double> ToDouble() const { return QvPoint2<double>(x, y); }
};

// A plain 3D point of float or double.
template <class T> class QvPoint3 {
 public:
  T x;
  T y;
  T z;

  QvPoint3(T x_ = T(0), T y_ = T(0), T z_ = T(0)) : x(x_), y(y_), z(z_) {}

  template <class U = T, qv::internal::EnableFor<U, double> = 0>
  QvPoint3(const QvPoint2<double>& p, double z_) : x(p.x), y(p.y), z(z_) {}

  T X() const { return x; }
  T Y() const { return y; }
  T Z() const { return z; }
  void SetX(T v) { x = v; }
  void SetY(T v) { y = v; }
  void SetZ(T v) { z = v; }

  template <class U = T, qv::internal::EnableFor<U, double> = 0> T GetX() const { return x; }
  template <class U = T, qv::internal::EnableFor<U, double> = 0> T GetY() const { return y; }
  template <class U = T, qv::internal::EnableFor<U, double> = 0> T GetZ() const { return z; }

  template <class U = T, qv::internal::EnableFor<U, double> = 0>
  void SetXYZ(T x_, T y_, T z_) {
    x = x_;
    y = y_;
    z = z_;
  }

  // Any index past 1 reads z; only 0, 1 and 2 write.
  template <class U = T, qv::internal::EnableFor<U, double> = 0>
  T GetAt(QvLong i) const { return i == 0 ? x : (i == 1 ? y : z); }

  template <class U = T, qv::internal::EnableFor<U, double> = 0>
  void SetAt(QvLong i, T v) {
    if (i == 0) x = v;
    else if (i == 1) y = v;
    else if (i == 2) z = v;
  }

  QvLong operator==(const QvPoint3& o) const {
    return qv::internal::axis_matches(x, o.x) && qv::internal::axis_matches(y, o.y) &&
                   qv::internal::axis_matches(z, o.z)
               ? 1
               : 0;
  }
  QvLong operator!=(const QvPoint3& o) const { return *this == o ? 0 : 1; }

  template <class U = T, qv::internal::EnableFor<U, double> = 0>
  QvPoint3& operator*=(double factor) {
    x *= factor;
    y *= factor;
    z *= factor;
    return *this;
  }

  template <class U = T, qv::internal::EnableFor<U, double> = 0>
  QvPoint3& HalfWay(const QvPoint3& o) {
    x = (x + o.x) * 0.5;
    y = (y + o.y) * 0.5;
    z = (z + o.z) * 0.5;
    return *this;
  }

  // Unlike the 2D form, no test of the squared sum: only the all-near-zero vector is left alone.
  template <class U = T, qv::internal::EnableFor<U, double> = 0>
  QvPoint3& Normalize() {
    if (qv::internal::near_zero(x) && qv::internal::near_zero(y) && qv::internal::near_zero(z))
      return *this;
    const double inverse = 1.0 / std::sqrt(x * x + y * y + z * z);
    x *= inverse;
    y *= inverse;
    z *= inverse;
    return *this;
  }

  template <class U = T, qv::internal::EnableFor<U, double> = 0>
  QvPoint3<float> ToFloat() const {
    return QvPoint3<float>(static_cast<float>(x), static_cast<float>(y), static_cast<float>(z));
  }
};

// The three states of an extent. ExtentUniverse is honoured by readers; no library operation
// produces it.
struct QvExtentStates {
  enum ExtentState : std::int32_t { ExtentBounded = 0, ExtentEmpty = 1, ExtentUniverse = 2 };
};

// The same states under their plain names, for hosts that name them without an extent type at hand:
// `e.state = ExtentEmpty` reads like `e.state = QvExtent2<double>::ExtentEmpty`.
using ExtentState = QvExtentStates::ExtentState;
constexpr ExtentState ExtentBounded = QvExtentStates::ExtentBounded;
constexpr ExtentState ExtentEmpty = QvExtentStates::ExtentEmpty;
constexpr ExtentState ExtentUniverse = QvExtentStates::ExtentUniverse;

// A closed axis-aligned box. Users read and write the fields directly, and may brace-initialise
// it as {min, max, state}, so it stays a plain aggregate: the states are named here rather than
// inherited. The members are the rules every part of the library applies to the fields.
template <class T> struct QvExtent2 {
  using ExtentState = QvExtentStates::ExtentState;
  static constexpr ExtentState ExtentBounded = QvExtentStates::ExtentBounded;
  static constexpr ExtentState ExtentEmpty = QvExtentStates::ExtentEmpty;
  static constexpr ExtentState ExtentUniverse = QvExtentStates::ExtentUniverse;

  QvPoint2<T> min;
  QvPoint2<T> max;
  ExtentState state = ExtentEmpty;

  void Augment(const QvPoint2<T>& p) {
    if (state == ExtentUniverse) return;
    if (state == ExtentEmpty) {
      min = p;
      max = p;
      state = ExtentBounded;
      return;
    }
    if (min.x > p.x) min.x = p.x;
    else if (p.x > max.x) max.x = p.x;
    if (min.y > p.y) min.y = p.y;
    else if (p.y > max.y) max.y = p.y;
  }

  // Touching boxes intersect.
  bool IsIntersecting(const QvExtent2& o) const {
    if (state == ExtentEmpty || o.state == ExtentEmpty) return false;
    if (state == ExtentUniverse || o.state == ExtentUniverse) return true;
    return !(min.x > o.max.x || o.min.x > max.x || min.y > o.max.y || o.min.y > max.y);
  }

  // Closed bounds; only a bounded extent holds points.
  bool IsInside(const QvPoint2<T>& p) const {
    return state == ExtentBounded && min.x <= p.x && p.x <= max.x && min.y <= p.y && p.y <= max.y;
  }
};

// The 3D extent; only the 3D spline's input range uses it.
template <class T> struct QvExtent3 {
  using ExtentState = QvExtentStates::ExtentState;
  static constexpr ExtentState ExtentBounded = QvExtentStates::ExtentBounded;
  static constexpr ExtentState ExtentEmpty = QvExtentStates::ExtentEmpty;
  static constexpr ExtentState ExtentUniverse = QvExtentStates::ExtentUniverse;

  QvPoint3<T> min;
  QvPoint3<T> max;
  ExtentState state = ExtentEmpty;

  void Augment(const QvPoint3<T>& p) {
    if (state == ExtentUniverse) return;
    if (state == ExtentEmpty) {
      min = p;
      max = p;
      state = ExtentBounded;
      return;
    }
    if (min.x > p.x) min.x = p.x;
    else if (p.x > max.x) max.x = p.x;
    if (min.y > p.y) min.y = p.y;
    else if (p.y > max.y) max.y = p.y;
    if (min.z > p.z) min.z = p.z;
    else if (p.z > max.z) max.z = p.z;
  }
};

#endif
