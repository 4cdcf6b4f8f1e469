#ifndef QV_TESTS_SPLINE_SPLINE_SUPPORT_H
#define QV_TESTS_SPLINE_SPLINE_SUPPORT_H

#include <qv/QvSpline.h>

#include <cmath>
#include <initializer_list>
#include <random>
#include <vector>

namespace spline_test {

// What the typed tests need to know about each member of the family.
template <class S>
struct Family;
template <>
struct Family<QvSpline1d> {
  using V = double;
  using Array = QvDoubleArray;
  static V make(double a, double, double) { return a; }
  static double coord(V a, int) { return a; }
};
template <>
struct Family<QvSpline2d> {
  using V = QvPoint2<double>;
  using Array = QvPoint2dArray;
  static V make(double a, double b, double) { return V(a, b); }
  static double coord(V a, int k) { return k == 0 ? a.x : a.y; }
};
template <>
struct Family<QvSpline3d> {
  using V = QvPoint3<double>;
  using Array = QvPoint3dArray;
  static V make(double a, double b, double c) { return V(a, b, c); }
  static double coord(V a, int k) { return k == 0 ? a.x : (k == 1 ? a.y : a.z); }
};

inline double dist2(double a, double b) { return (a - b) * (a - b); }
inline double dist2(const QvPoint2<double>& a, const QvPoint2<double>& b) {
  return dist2(a.x, b.x) + dist2(a.y, b.y);
}
inline double dist2(const QvPoint3<double>& a, const QvPoint3<double>& b) {
  return dist2(a.x, b.x) + dist2(a.y, b.y) + dist2(a.z, b.z);
}

inline QvDoubleArray doubles(std::initializer_list<double> list) {
  QvDoubleArray a;
  for (double d : list) a.Add(d);
  return a;
}

inline std::vector<double> to_vector(const QvDoubleArray& a) {
  return std::vector<double>(a.data, a.data + a.size);
}

template <class S>
struct Samples {
  QvDoubleArray t;
  typename Family<S>::Array v;
};

// Smooth wandering values plus noise over unevenly spaced, rising parameters. A closed run goes
// once round a smooth loop and repeats its first value exactly at its end.
template <class S>
Samples<S> random_samples(std::mt19937& rng, int n, double noise, bool closed) {
  std::uniform_real_distribution<double> step(0.05, 1.0), jitter(-noise, noise), phase(0, 6);
  const double p0 = phase(rng), p1 = phase(rng), p2 = phase(rng);
  Samples<S> s;
  for (double t = step(rng) * 10 - 5; s.t.size < static_cast<QvULong>(n); t += step(rng))
    s.t.Add(t);
  const double first = s.t[0];
  const double turn = closed ? 6.283185307179586 / (s.t[s.t.size - 1] - first) : 0.4;
  for (QvULong i = 0; i < s.t.size; ++i) {
    const double a = turn * (s.t[i] - first);
    s.v.Add(Family<S>::make(3 * std::sin(a + p0) + jitter(rng), 2 * std::cos(a + p1) + jitter(rng),
                            std::sin(2 * a + p2) + jitter(rng)));
  }
  if (closed) s.v[s.v.size - 1] = s.v[0];
  return s;
}

template <class S>
QvLong fit(S& s, const Samples<S>& in, double tol, QvSpline::Kind kind, bool closed) {
  return closed ? s.ClosedFit(in.t, in.v, tol, kind) : s.OpenFit(in.t, in.v, tol, kind);
}

}  // namespace spline_test

#endif
