#ifndef QV_BEZIER_CORE_H
#define QV_BEZIER_CORE_H

// Arithmetic shared by the flattening, clipping and locating code. Every rounding point here is
// part of the numbers that stored documents were drawn with: keep the order of operations.

#include <qv/QvPoint.h>
#include <qv/QvTypes.h>

#include <cmath>
#include <cstdint>
#include <cstring>

namespace qv::internal {

constexpr QvULong kMaxBezierDegree = 8;

// n(n-1)/2: the factor n(n-1)/8 of the flatness bound, times 4.
constexpr QvULong kPairs[kMaxBezierDegree + 1] = {0, 0, 1, 3, 6, 10, 15, 21, 28};

// Whatever the tolerance, one call never cuts its leaves into more than 2^(22 - depth) steps each:
// with depth at most 10, a call emits at most a few million points. Curves that need more are
// beyond what double precision can resolve, and a zero or denormal tolerance must not run away.
constexpr QvULong kLog2StepBudget = 22;

// The largest k whose sample count 2^k + 1 still fits a 32-bit count: the ceiling of a leaf that is
// only counted, never walked.
constexpr QvULong kMaxCountableLog2Steps = 31;

// T[n][j][i] = C(n, j) i! S(j, i), S the Stirling numbers of the second kind: turns the Bezier
// differences at t = 0 into forward differences of one step.
QvULong conversion_table(QvULong n, QvULong j, QvULong i);

// floor(log8 w) with w = truncate(ratio + 0.5); 0 when w is 0. The subdivision depth of a curve
// whose third differences measure ratio tolerances: each midpoint split divides them by 8. A NaN,
// negative or infinite ratio gives 0; a finite ratio past 32 bits saturates, so the depth never
// exceeds 10.
QvULong subdivision_depth(double ratio);

// The k of a leaf: the least k with 4^k above the rounded v, from v = M n(n-1) / (8 tolerance), by
// the flatness bound of a Bezier cut into 2^k equal steps. Past 31 bits v is counted down by
// quarters instead. The result never exceeds max_log2; a NaN, negative or infinite v gives 0.
QvULong leaf_log2_steps(double v, QvULong max_log2);

// Length with the squared-length threshold of the point type: 0 at or below 1e-9.
inline double guarded_length(const QvPoint2<double>& v) { return v.Length(); }
inline double guarded_length(const QvPoint3<double>& v) {
  const double s = v.x * v.x + v.y * v.y + v.z * v.z;
  if (s <= 1e-9) return 0.0;
  return std::sqrt(s);
}

inline bool is_null_chord(double length) { return -1e-15 <= length && length <= 1e-15; }

inline QvPoint2<double> sub(const QvPoint2<double>& a, const QvPoint2<double>& b) {
  return QvPoint2<double>(a.x - b.x, a.y - b.y);
}
inline QvPoint3<double> sub(const QvPoint3<double>& a, const QvPoint3<double>& b) {
  return QvPoint3<double>(a.x - b.x, a.y - b.y, a.z - b.z);
}
inline QvPoint2<double> add(const QvPoint2<double>& a, const QvPoint2<double>& b) {
  return QvPoint2<double>(a.x + b.x, a.y + b.y);
}
inline QvPoint3<double> add(const QvPoint3<double>& a, const QvPoint3<double>& b) {
  return QvPoint3<double>(a.x + b.x, a.y + b.y, a.z + b.z);
}
inline QvPoint2<double> midpoint(const QvPoint2<double>& a, const QvPoint2<double>& b) {
  return QvPoint2<double>((a.x + b.x) * 0.5, (a.y + b.y) * 0.5);
}
inline QvPoint3<double> midpoint(const QvPoint3<double>& a, const QvPoint3<double>& b) {
  return QvPoint3<double>((a.x + b.x) * 0.5, (a.y + b.y) * 0.5, (a.z + b.z) * 0.5);
}
// x * 2^exponent, rounded once, as ldexp gives it. While 2^exponent is a normal double the product
// by it is that same correctly rounded result, and costs a multiply instead of a library call; this
// runs for every leaf of every flattened curve.
inline double times_power_of_two(double x, int exponent) {
  if (exponent < -1022 || exponent > 1023) return std::ldexp(x, exponent);
  const std::uint64_t bits = static_cast<std::uint64_t>(exponent + 1023) << 52;
  double power;
  std::memcpy(&power, &bits, sizeof power);
  return x * power;
}

// factor * v, then an exact power-of-two scale per axis, so that the differences lose no bits.
inline QvPoint2<double> scaled(const QvPoint2<double>& v, double factor, int exponent) {
  return QvPoint2<double>(times_power_of_two(factor * v.x, exponent),
                          times_power_of_two(factor * v.y, exponent));
}
inline QvPoint3<double> scaled(const QvPoint3<double>& v, double factor, int exponent) {
  return QvPoint3<double>(times_power_of_two(factor * v.x, exponent),
                          times_power_of_two(factor * v.y, exponent),
                          times_power_of_two(factor * v.z, exponent));
}

inline QvPoint2<double> divided(const QvPoint2<double>& v, double d) {
  return QvPoint2<double>(v.x / d, v.y / d);
}
inline QvPoint3<double> divided(const QvPoint3<double>& v, double d) {
  return QvPoint3<double>(v.x / d, v.y / d, v.z / d);
}

// How far v strays from the line of the chord: |cross(v, chord)| / length in 2D, the length of v
// less its projection on the chord in 3D. Measuring across the chord rather than the whole second
// difference lets a straight but unevenly parameterised curve cost no steps at all.
inline double chord_deviation(const QvPoint2<double>& v, const QvPoint2<double>& chord,
                              double chord_length) {
  return std::fabs(v.x * chord.y - v.y * chord.x) / chord_length;
}
inline double chord_deviation(const QvPoint3<double>& v, const QvPoint3<double>& chord,
                              double chord_length) {
  const double along =
      (v.x * chord.x + v.y * chord.y + v.z * chord.z) / (chord_length * chord_length);
  const double px = v.x - along * chord.x;
  const double py = v.y - along * chord.y;
  const double pz = v.z - along * chord.z;
  return std::sqrt(px * px + py * py + pz * pz);
}

// P[3] - 3 P[2] + 3 P[1] - P[0], left to right.
inline QvPoint2<double> cubic_third_difference(const QvPoint2<double>* p) {
  return QvPoint2<double>(p[3].x - 3.0 * p[2].x + 3.0 * p[1].x - p[0].x,
                          p[3].y - 3.0 * p[2].y + 3.0 * p[1].y - p[0].y);
}
inline QvPoint3<double> cubic_third_difference(const QvPoint3<double>* p) {
  return QvPoint3<double>(p[3].x - 3.0 * p[2].x + 3.0 * p[1].x - p[0].x,
                          p[3].y - 3.0 * p[2].y + 3.0 * p[1].y - p[0].y,
                          p[3].z - 3.0 * p[2].z + 3.0 * p[1].z - p[0].z);
}

// Splits a cubic at t = 1/2 by repeated averaging; left[3] and right[0] are the shared midpoint.
template <class P>
void split_cubic_half(const P* p, P* left, P* right) {
  const P p01 = midpoint(p[0], p[1]);
  const P p12 = midpoint(p[1], p[2]);
  const P p23 = midpoint(p[2], p[3]);
  const P p012 = midpoint(p01, p12);
  const P p123 = midpoint(p12, p23);
  const P mid = midpoint(p012, p123);
  left[0] = p[0];
  left[1] = p01;
  left[2] = p012;
  left[3] = mid;
  right[0] = mid;
  right[1] = p123;
  right[2] = p23;
  right[3] = p[3];
}

// The subdivision depth of a cubic at a tolerance.
template <class P>
QvULong cubic_depth(const P* p, double tolerance) {
  return subdivision_depth(guarded_length(cubic_third_difference(p)) / tolerance);
}

// The forward differences of one cubic leaf. a1, a2, a3 are 3 d1 h, 3 A h^2 and 6 T h^3 for the
// step h = 2^-k; first and second are then the first and second differences at t = 0, with the
// third difference a3 folded into second on the first step.
template <class P>
struct CubicLeaf {
  QvULong log2_steps = 0;
  P first;
  P second;
  P third;
};

// k from the second differences across the chord, and the differences to walk the leaf with.
// q is 0.75 / tolerance: n(n-1)/8 at n = 3, over the tolerance.
template <class P>
CubicLeaf<P> make_cubic_leaf(const P* p, double q, QvULong max_log2) {
  const P d1 = sub(p[1], p[0]);
  const P d2 = sub(p[2], p[1]);
  const P a = sub(d2, d1);
  const P b = sub(sub(p[3], p[2]), d2);
  const P t = sub(b, a);
  const P chord = sub(p[3], p[0]);
  const double chord_length = guarded_length(chord);
  double m;
  if (is_null_chord(chord_length)) {
    // A closed or null chord: measure the loop by its reach from P[0] so that it is not dropped.
    const double l2 = guarded_length(sub(p[2], p[0]));
    const double l1 = guarded_length(d1);
    m = l2 > l1 ? l2 : l1;
  } else {
    const double ma = chord_deviation(a, chord, chord_length);
    const double mb = chord_deviation(b, chord, chord_length);
    m = ma > mb ? ma : mb;
  }
  CubicLeaf<P> leaf;
  leaf.log2_steps = m > 0.0 ? leaf_log2_steps(m * q, max_log2) : 0;
  const int k = static_cast<int>(leaf.log2_steps);
  const P a1 = scaled(d1, 3.0, -k);
  const P a2 = scaled(a, 3.0, -2 * k);
  leaf.third = scaled(t, 6.0, -3 * k);
  leaf.first = add(add(a1, a2), divided(leaf.third, 6.0));
  leaf.second = scaled(a2, 2.0, 0);
  return leaf;
}

}  // namespace qv::internal

#endif
