#ifndef QV_SRC_BEZIER_SPLINE_CORE_H
#define QV_SRC_BEZIER_SPLINE_CORE_H

// The spline family is one set of algorithms over three value types. Everything here is written
// once against SplineValue<V>, which supplies the arithmetic of the value type component by
// component, so that the 2D and 3D classes compute each coordinate exactly as the 1D class does.

#include <qv/QvArray.h>
#include <qv/QvPoint.h>
#include <qv/QvSpline.h>

#include <cmath>
#include <memory>
#include <vector>

namespace qv::internal {

template <class V> struct SplineValue;

template <> struct SplineValue<double> {
  using Array = QvDoubleArray;
  static double add(double a, double b) { return a + b; }
  static double sub(double a, double b) { return a - b; }
  static double mul(double a, double s) { return a * s; }
  static double div(double a, double s) { return a / s; }
  static double neg(double a) { return -a; }
  static double dist2(double a, double b) {
    const double d = a - b;
    return d * d;
  }
  // A closed fit starts and ends on the same sample value, exactly.
  static bool ends_match(double first, double last) { return first == last; }
};

template <> struct SplineValue<QvPoint2<double>> {
  using V = QvPoint2<double>;
  using Array = QvPoint2dArray;
  static V add(const V& a, const V& b) { return V(a.x + b.x, a.y + b.y); }
  static V sub(const V& a, const V& b) { return V(a.x - b.x, a.y - b.y); }
  static V mul(const V& a, double s) { return V(a.x * s, a.y * s); }
  static V div(const V& a, double s) { return V(a.x / s, a.y / s); }
  static V neg(const V& a) { return V(-a.x, -a.y); }
  static double dist2(const V& a, const V& b) {
    const double dx = a.x - b.x;
    const double dy = a.y - b.y;
    return dx * dx + dy * dy;
  }
  static bool ends_match(const V& first, const V& last) { return (first == last) != 0; }
};

template <> struct SplineValue<QvPoint3<double>> {
  using V = QvPoint3<double>;
  using Array = QvPoint3dArray;
  static V add(const V& a, const V& b) { return V(a.x + b.x, a.y + b.y, a.z + b.z); }
  static V sub(const V& a, const V& b) { return V(a.x - b.x, a.y - b.y, a.z - b.z); }
  static V mul(const V& a, double s) { return V(a.x * s, a.y * s, a.z * s); }
  static V div(const V& a, double s) { return V(a.x / s, a.y / s, a.z / s); }
  static V neg(const V& a) { return V(-a.x, -a.y, -a.z); }
  static double dist2(const V& a, const V& b) {
    const double dx = a.x - b.x;
    const double dy = a.y - b.y;
    const double dz = a.z - b.z;
    return dx * dx + dy * dy + dz * dz;
  }
  static bool ends_match(const V& first, const V& last) { return (first != last) == 0; }
};

constexpr QvULong kSplineKeyCapacity = 4;
constexpr QvULong kSplineDerivativeCapacity = 1;
// Parameters closer than this to an end of the key range evaluate to the end value.
constexpr double kSplineEndSnap = 1e-15;
// Bezier handles lie a third of the interval along the derivative.
constexpr double kSplineOneThird = 0.3333333333333333;

template <class V> struct SplineBody {
  using Value = V;
  using Array = typename SplineValue<V>::Array;

  QvDoubleArray keyParameters{kSplineKeyCapacity};
  Array keyValues{kSplineKeyCapacity};
  Array leftDerivatives{kSplineDerivativeCapacity};
  Array rightDerivatives{kSplineDerivativeCapacity};
  QvSpline::Kind kind = QvSpline::KindNone;
  QvLong closed = 0;
};

// A neighbouring key that sets the tangent at one end of a cardinal interval; absent at the ends
// of an open spline, where the chord serves instead.
template <class V> struct SplineNeighbour {
  bool present = false;
  double t = 0.0;
  V v{};
};

// Cardinal interval from key a to key b at parameter x, with tangents scaled to the unit interval
// so that a run of keys on one line in parameter and value reproduces that line. Without either
// neighbour the interval is the straight blend of its keys.
template <class V>
V cardinal_interval(const SplineNeighbour<V>& prev, double ta, const V& va, double tb, const V& vb,
                    const SplineNeighbour<V>& next, double x) {
  using O = SplineValue<V>;
  const double dt = tb - ta;
  const double u = (x - ta) / dt;
  const V chord = O::sub(vb, va);
  if (!prev.present && !next.present) return O::add(va, O::mul(chord, u));
  const V m0 = prev.present ? O::mul(O::sub(vb, prev.v), dt / (tb - prev.t)) : chord;
  const V m1 = next.present ? O::mul(O::sub(next.v, va), dt / (next.t - ta)) : chord;
  const double u2 = u * u;
  const double u3 = u2 * u;
  const double h00 = 2.0 * u3 - 3.0 * u2 + 1.0;
  const double h10 = u3 - 2.0 * u2 + u;
  const double h01 = 3.0 * u2 - 2.0 * u3;
  const double h11 = u3 - u2;
  return O::add(O::add(O::mul(va, h00), O::mul(m0, h10)),
                O::add(O::mul(vb, h01), O::mul(m1, h11)));
}

// Cubic Bezier on [ta, tb] whose handles lie a third of the interval along the right derivative
// at a and the left derivative at b, evaluated by its power form.
template <class V>
V hermite_interval(double ta, const V& va, const V& right_a, double tb, const V& vb,
                   const V& left_b, double x) {
  using O = SplineValue<V>;
  const double d = tb - ta;
  const double u = (x - ta) / d;
  const V c1 = O::add(va, O::mul(O::mul(right_a, d), kSplineOneThird));
  const V c2 = O::add(vb, O::mul(O::mul(left_b, d), kSplineOneThird));
  const V q1 = O::sub(c1, va);
  const V q2 = O::sub(c2, c1);
  const V q3 = O::sub(vb, c2);
  const V k1 = O::mul(q1, 3.0);
  const V k2 = O::mul(O::sub(q2, q1), 3.0);
  const V k3 = O::add(O::sub(q3, O::mul(q2, 2.0)), q1);
  return O::add(O::mul(O::add(O::mul(O::add(O::mul(k3, u), k2), u), k1), u), va);
}

// Neighbours of the cardinal interval from key i to key i + 1 over n keys. A closed spline wraps:
// before its first key stands key n - 2, one last interval earlier, and after its last key stands
// key 1, one first interval later. Two keys have no neighbours.
template <class V>
void cardinal_neighbours(const double* t, const V* v, QvULong n, bool closed, QvULong i,
                         SplineNeighbour<V>& prev, SplineNeighbour<V>& next) {
  prev.present = false;
  next.present = false;
  if (n < 3) return;
  if (i > 0) {
    prev = {true, t[i - 1], v[i - 1]};
  } else if (closed) {
    prev = {true, t[0] - (t[n - 1] - t[n - 2]), v[n - 2]};
  }
  if (i + 2 < n) {
    next = {true, t[i + 2], v[i + 2]};
  } else if (closed) {
    next = {true, t[n - 1] + (t[1] - t[0]), v[1]};
  }
}

// Evaluates keys t[0..n-1], v[0..n-1] (and, for KindHermite, the derivatives) at x. Needs n >= 2
// and strictly rising parameters; left and right may be null for KindCardinal.
template <class V>
V spline_eval_keys(const double* t, const V* v, const V* left, const V* right, QvULong n,
                   QvSpline::Kind kind, bool closed, double x) {
  const double first = t[0];
  const double last = t[n - 1];
  if (closed) {
    const double period = last - first;
    if (x > last) {
      x = std::fmod(x - first, period) + first;
    } else if (x < first) {
      x = last - std::fmod(first - x, period);
    }
    if (x < first) x = first;
    if (x > last) x = last;
  }
  if (x - first <= kSplineEndSnap) return v[0];
  if (last - x <= kSplineEndSnap) return v[n - 1];

  QvULong lo = 0;
  QvULong hi = n - 1;
  while (hi - lo > 1) {
    const QvULong mid = lo + (hi - lo) / 2;
    if (x < t[mid]) hi = mid;
    else lo = mid;
  }
  if (x == t[lo]) return v[lo];

  if (kind == QvSpline::KindHermite)
    return hermite_interval(t[lo], v[lo], right[lo], t[hi], v[hi], left[hi], x);
  SplineNeighbour<V> prev;
  SplineNeighbour<V> next;
  cardinal_neighbours(t, v, n, closed, lo, prev, next);
  return cardinal_interval(prev, t[lo], v[lo], t[hi], v[hi], next, x);
}

template <class V> bool spline_eval(const SplineBody<V>& body, V& out, double x) {
  const QvULong n = body.keyParameters.size;
  if (n < 2) return false;
  if (body.kind != QvSpline::KindCardinal && body.kind != QvSpline::KindHermite) return false;
  out = spline_eval_keys(body.keyParameters.data, body.keyValues.data, body.leftDerivatives.data,
                         body.rightDerivatives.data, n, body.kind, body.closed != 0, x);
  return true;
}

// The shared input checks of both fits: enough samples, a kind that can be fitted, a tolerance
// that is not negative, one value per parameter and strictly rising parameters.
template <class V>
bool spline_fit_input_ok(const QvDoubleArray& params, const typename SplineValue<V>::Array& values,
                         double tolerance, QvSpline::Kind kind, QvULong min_samples) {
  const QvULong n = params.size;
  if (n < min_samples || kind == QvSpline::KindNone || tolerance < 0.0 || values.size != n)
    return false;
  for (QvULong i = 0; i + 1 < n; ++i)
    if (!(params.data[i] < params.data[i + 1])) return false;
  return kind == QvSpline::KindCardinal || kind == QvSpline::KindHermite;
}

// Cardinal fit: drops samples one by one while every sample stays within tolerance. Returns the
// indices of the kept samples, rising; the first and the last are always kept.
template <class V>
std::vector<QvULong> cardinal_fit_keys(const double* t, const V* v, QvULong n, bool closed,
                                       double tol2) {
  using O = SplineValue<V>;
  std::vector<unsigned char> kept(n, 1);

  auto at = [&](QvULong k) { return SplineNeighbour<V>{true, t[k], v[k]}; };

  // Every sample strictly inside span (a, b) against the span's interval.
  auto span_passes = [&](const SplineNeighbour<V>& prev, QvULong a, QvULong b,
                         const SplineNeighbour<V>& next) {
    for (QvULong j = a + 1; j < b; ++j) {
      const V c = cardinal_interval(prev, t[a], v[a], t[b], v[b], next, t[j]);
      if (!(O::dist2(c, v[j]) <= tol2)) return false;
    }
    return true;
  };

  const bool walk = closed ? n >= 5 : n >= 3;
  const QvULong from = closed ? 2 : 1;
  const QvULong to = closed ? n - 3 : n - 2;
  for (QvULong i = from; walk && i <= to; ++i) {
    QvULong left[3] = {};
    QvULong right[3] = {};
    int nl = 0;
    int nr = 0;
    for (QvULong j = i; j > 0 && nl < 3;)
      if (kept[--j]) left[nl++] = j;
    for (QvULong j = i + 1; j < n && nr < 3; ++j)
      if (kept[j]) right[nr++] = j;

    // Removing i reshapes the intervals that use it as a neighbour, and merges its own two. A
    // closed walk never reaches the samples beside the ends, so the end intervals, the only ones
    // with wrapped neighbours, hold no sample to test and an open end stands in for the wrap.
    const SplineNeighbour<V> none;
    auto before = [&](int k) { return k < nl ? at(left[k]) : none; };
    auto after = [&](int k) { return k < nr ? at(right[k]) : none; };
    bool ok = span_passes(before(1), left[0], right[0], after(1));
    if (ok && nl >= 2) ok = span_passes(before(2), left[1], left[0], at(right[0]));
    if (ok && nr >= 2) ok = span_passes(at(left[0]), right[0], right[1], after(2));
    if (ok) kept[i] = 0;
  }

  std::vector<QvULong> keys;
  for (QvULong i = 0; i < n; ++i)
    if (kept[i]) keys.push_back(i);

  // Taking out a key next to an end reshapes the wrapped intervals at the far end as well, so the
  // whole run of samples is tested against the spline that would result.
  std::vector<double> kt;
  std::vector<V> kv;
  auto try_remove = [&](std::size_t k) {
    kt.clear();
    kv.clear();
    for (std::size_t m = 0; m < keys.size(); ++m) {
      if (m == k) continue;
      kt.push_back(t[keys[m]]);
      kv.push_back(v[keys[m]]);
    }
    const QvULong nk = static_cast<QvULong>(kt.size());
    for (QvULong j = 0; j < n; ++j) {
      const V c = spline_eval_keys<V>(kt.data(), kv.data(), nullptr, nullptr, nk,
                                      QvSpline::KindCardinal, closed, t[j]);
      if (!(O::dist2(c, v[j]) <= tol2)) return;
    }
    keys.erase(keys.begin() + static_cast<std::ptrdiff_t>(k));
  };
  if (closed && walk && keys.size() >= 5) try_remove(1);
  if (walk && (closed ? keys.size() >= 5 : keys.size() >= 3)) try_remove(keys.size() - 2);
  return keys;
}

// Hermite fit: recursive halving of the sample range until each piece's cubic, built from the
// slopes at its ends, holds every sample inside it.
template <class V> class HermiteFitter {
 public:
  using O = SplineValue<V>;

  HermiteFitter(const double* t, const V* v, double tol2, SplineBody<V>& out)
      : m_t(t), m_v(v), m_tol2(tol2), m_out(out) {}

  void Run(QvULong n, bool closed) {
    V d0;
    V d1;
    if (closed) {
      const double before = m_t[0] - (m_t[n - 1] - m_t[n - 2]);
      d0 = O::div(O::sub(m_v[1], m_v[n - 2]), m_t[1] - before);
      d1 = d0;
    } else {
      d0 = slope(0, 1);
      d1 = slope(n - 2, n - 1);
    }
    Emit(0, d0);
    Range(0, n - 1, d0, d1);
    const QvULong last = m_out.keyParameters.size - 1;
    m_out.leftDerivatives[0] = O::neg(m_out.rightDerivatives[last]);
  }

 private:
  V slope(QvULong a, QvULong b) const {
    return O::div(O::sub(m_v[b], m_v[a]), m_t[b] - m_t[a]);
  }

  void Emit(QvULong k, const V& d) {
    m_out.keyParameters.Add(m_t[k]);
    m_out.keyValues.Add(m_v[k]);
    m_out.rightDerivatives.Add(d);
    m_out.leftDerivatives.Add(O::neg(d));
  }

  // Depth stays near log2(n): each split halves the index range.
  void Range(QvULong a, QvULong b, const V& da, const V& db) {
    if (b - a >= 2 && !Holds(a, b, da, db)) {
      const QvULong m = a + (b - a) / 2;
      const V dm = slope(m - 1, m + 1);
      Range(a, m, da, dm);
      Range(m, b, dm, db);
      return;
    }
    Emit(b, db);
  }

  bool Holds(QvULong a, QvULong b, const V& da, const V& db) const {
    const V left_b = O::neg(db);
    for (QvULong j = a + 1; j < b; ++j) {
      const V c = hermite_interval(m_t[a], m_v[a], da, m_t[b], m_v[b], left_b, m_t[j]);
      if (!(O::dist2(c, m_v[j]) <= m_tol2)) return false;
    }
    return true;
  }

  const double* m_t;
  const V* m_v;
  double m_tol2;
  SplineBody<V>& m_out;
};

// Fits into a fresh body, which the caller swaps in. Returns null when the input is refused.
template <class Body, class V = typename Body::Value>
std::unique_ptr<Body> spline_fit(const QvDoubleArray& params,
                                 const typename SplineValue<V>::Array& values, double tolerance,
                                 QvSpline::Kind kind, bool closed) {
  if (!spline_fit_input_ok<V>(params, values, tolerance, kind, closed ? 3 : 2)) return nullptr;
  const QvULong n = params.size;
  const double* t = params.data;
  const V* v = values.data;
  if (closed && !SplineValue<V>::ends_match(v[0], v[n - 1])) return nullptr;

  const double tol2 = tolerance * tolerance;
  auto body = std::make_unique<Body>();
  body->kind = kind;
  body->closed = closed ? 1 : 0;
  if (kind == QvSpline::KindCardinal) {
    for (QvULong k : cardinal_fit_keys(t, v, n, closed, tol2)) {
      body->keyParameters.Add(t[k]);
      body->keyValues.Add(v[k]);
    }
  } else {
    HermiteFitter<V>(t, v, tol2, *body).Run(n, closed);
  }
  return body;
}

// A copy of source, converted to kind; null when the conversion is refused.
template <class Body, class V = typename Body::Value>
std::unique_ptr<Body> spline_convert(const Body& source, QvSpline::Kind kind) {
  using O = SplineValue<V>;
  const QvULong n = source.keyParameters.size;
  const bool closed = source.closed != 0;
  if (n < 2 || (closed && n == 2)) return nullptr;
  const bool plain = (source.kind == QvSpline::KindHermite && kind == QvSpline::KindHermite) ||
                     (source.kind == QvSpline::KindCardinal && kind == QvSpline::KindCardinal);
  const bool derive = source.kind == QvSpline::KindCardinal && kind == QvSpline::KindHermite;
  if (!plain && !derive) return nullptr;

  auto body = std::make_unique<Body>(source);
  if (derive) {
    const double* t = source.keyParameters.data;
    const V* v = source.keyValues.data;
    body->kind = QvSpline::KindHermite;
    body->leftDerivatives.Chop(0);
    body->rightDerivatives.Chop(0);
    for (QvULong i = 0; i < n; ++i) {
      V d;
      if (i > 0 && i + 1 < n) {
        d = O::div(O::sub(v[i + 1], v[i - 1]), t[i + 1] - t[i - 1]);
      } else if (closed) {
        const double before = t[0] - (t[n - 1] - t[n - 2]);
        d = O::div(O::sub(v[1], v[n - 2]), t[1] - before);
      } else if (i == 0) {
        d = O::div(O::sub(v[1], v[0]), t[1] - t[0]);
      } else {
        d = O::div(O::sub(v[n - 1], v[n - 2]), t[n - 1] - t[n - 2]);
      }
      body->rightDerivatives.Add(d);
      body->leftDerivatives.Add(O::neg(d));
    }
  }
  return body;
}

// The spread of the parameters; false when either array is empty.
template <class Array>
bool spline_param_range(const QvDoubleArray& params, const Array& values, double& range) {
  if (params.size == 0 || values.size == 0) return false;
  double lo = params.data[0];
  double hi = params.data[0];
  for (QvULong i = 1; i < params.size; ++i) {
    if (params.data[i] < lo) lo = params.data[i];
    if (params.data[i] > hi) hi = params.data[i];
  }
  range = hi - lo;
  return true;
}

// The spread of the parameters and the box of the point values; false, leaving both outputs as
// they were, when either array is empty.
template <class Array, class Extent>
bool spline_input_extent(const QvDoubleArray& params, const Array& values, double& paramRange,
                         Extent& valueRange) {
  double param_range = 0.0;
  if (!spline_param_range(params, values, param_range)) return false;
  Extent extent;
  for (QvULong i = 0; i < values.size; ++i) extent.Augment(values.data[i]);
  valueRange = extent;
  paramRange = param_range;
  return true;
}

// A spline's body is replaced only by one that was built whole: a null `built` (a refused or
// failed fit or conversion) leaves the spline as it was.
template <class Body>
QvLong adopt_spline_body(Body*& slot, std::unique_ptr<Body> built) {
  if (!built) return 0;
  delete slot;
  slot = built.release();
  return 1;
}

// Copy assignment: the copy is made before the old body goes, so a throwing copy changes nothing.
template <class Body>
void assign_spline_body(Body*& slot, const Body& source) {
  Body* copy = new Body(source);
  delete slot;
  slot = copy;
}

}  // namespace qv::internal

class QvSpline1dImpl : public qv::internal::SplineBody<double> {};
class QvSpline2dImpl : public qv::internal::SplineBody<QvPoint2<double>> {};
class QvSpline3dImpl : public qv::internal::SplineBody<QvPoint3<double>> {};

#endif
