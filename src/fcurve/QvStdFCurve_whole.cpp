#include <qv/QvSpline.h>
#include <qv/QvStdFCurve.h>

#include "fcurve/QvStdFCurveImpl.h"
#include "fcurve/edit_ops.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <new>
#include <utility>
#include <vector>

using qv::internal::kFlagTangentContinuity;
using qv::internal::kFlagValueLocked;
using qv::internal::kKeyTolerance;
using FS = QvBaseFCurve::FSKind;

namespace {

// A fresh key with both handles on itself and tangent continuity on.
QvStdFCurveKey make_key(double parameter, double leftValue, double rightValue,
                        QvBaseFCurve::FSKind kind) {
  QvStdFCurveKey key{};
  key.leftHandle = QvPoint2<double>(parameter, leftValue);
  key.rightHandle = QvPoint2<double>(parameter, rightValue);
  key.parameter = parameter;
  key.leftValue = leftValue;
  key.rightValue = rightValue;
  key.segmentKind = static_cast<unsigned char>(kind);
  key.flags = kFlagTangentContinuity;
  return key;
}

}  // namespace

QvStdFCurve::QvStdFCurve(double parameter, double leftValue, double rightValue,
                         FSKind firstSegmentKind, FSKind segmentKind)
    : m_impl(new QvStdFCurveImpl(leftValue, firstSegmentKind)) {
  m_impl->Resize(1);
  m_impl->Key(0) = make_key(parameter, leftValue, rightValue, segmentKind);
}

// Two keys joined by a straight segment, with level handles one third of the way along it, as if
// the second key had been appended to the first.
QvStdFCurve::QvStdFCurve(double x0, double y0, double x1, double y1, FSKind firstSegmentKind,
                         FSKind segmentKind)
    : m_impl(new QvStdFCurveImpl(y0, firstSegmentKind)) {
  if (!(x1 > x0)) {
    m_impl->Resize(1);
    m_impl->Key(0) = make_key(x0, y0, y0, segmentKind);
    return;
  }
  const double d = (x1 - x0) / 3.0;
  m_impl->Resize(2);
  QvStdFCurveKey& first = m_impl->Key(0);
  first = make_key(x0, y0, y0, FSLinear);
  first.rightHandle = QvPoint2<double>(x0 + d, y0);
  first.leftHandle = QvPoint2<double>(x0 - d, y0);
  QvStdFCurveKey& second = m_impl->Key(1);
  second = make_key(x1, y1, y1, segmentKind);
  second.leftHandle = QvPoint2<double>(x1 - d, y1);
  second.rightHandle = QvPoint2<double>(x1 + d, y1);
}

QvStdFCurve::QvStdFCurve(const QvPoint2<double>& key0, const QvPoint2<double>& rightHandle0,
                         const QvPoint2<double>& leftHandle1, const QvPoint2<double>& key1,
                         FSKind firstSegmentKind, FSKind segmentKind)
    : m_impl(new QvStdFCurveImpl(key0.y, firstSegmentKind)) {
  if (!QvStdFCurve_IsCubicSegmentValid(key0, rightHandle0, leftHandle1, key1)) {
    m_impl->Resize(1);
    m_impl->Key(0) = make_key(key0.x, key0.y, key0.y, segmentKind);
    return;
  }
  m_impl->Resize(2);
  m_impl->Key(0) = make_key(key0.x, key0.y, key0.y, FSBezierCubic);
  m_impl->Key(0).rightHandle = rightHandle0;
  m_impl->Key(1) = make_key(key1.x, key1.y, key1.y, segmentKind);
  m_impl->Key(1).leftHandle = leftHandle1;
}

namespace {

// Appends keys for the point-array constructor: cubic pieces with their handles stored as given,
// and straight pieces with level handles one third of the way along.
class KeyAppender {
 public:
  explicit KeyAppender(QvStdFCurveImpl& body) : m_body(body) {}

  void First(const QvPoint2<double>& p, QvBaseFCurve::FSKind kind) {
    m_body.Resize(1);
    m_body.Key(0) = make_key(p.x, p.y, p.y, kind);
    m_body.m_valueWhenNoKeys = p.y;
  }

  // Both handles go through the slope rule, as any stored handle does.
  void Cubic(const QvPoint2<double>& right, const QvPoint2<double>& left,
             const QvPoint2<double>& next) {
    const QvULong n = m_body.m_numKeys;
    m_body.Resize(n + 1);
    m_body.Key(n) = make_key(next.x, next.y, next.y, QvBaseFCurve::FSBezierCubic);
    m_body.Key(n - 1).segmentKind = QvBaseFCurve::FSBezierCubic;
    qv::internal::store_right_handle(m_body, n - 1, right);
    qv::internal::store_left_handle(m_body, n, left);
  }

  void Linear(const QvPoint2<double>& next) {
    const QvULong n = m_body.m_numKeys;
    m_body.Resize(n + 1);
    QvStdFCurveKey& prev = m_body.Key(n - 1);
    const double d = (next.x - prev.parameter) / 3.0;
    prev.segmentKind = QvBaseFCurve::FSLinear;
    prev.rightHandle = QvPoint2<double>(prev.parameter + d, prev.rightValue);
    if (n == 1) prev.leftHandle = QvPoint2<double>(prev.parameter - d, prev.leftValue);
    QvStdFCurveKey& key = m_body.Key(n);
    key = make_key(next.x, next.y, next.y, QvBaseFCurve::FSLinear);
    key.leftHandle = QvPoint2<double>(next.x - d, next.y);
    key.rightHandle = QvPoint2<double>(next.x + d, next.y);
  }

 private:
  QvStdFCurveImpl& m_body;
};

QvPoint2<double> unit_chord(const QvPoint2<double>& a, const QvPoint2<double>& b) {
  QvPoint2<double> t(b.x - a.x, b.y - a.y);
  t.Normalize();
  return t;
}

QvPoint2<double> along(const QvPoint2<double>& p, const QvPoint2<double>& t, double s) {
  return QvPoint2<double>(p.x + t.x * s, p.y + t.y * s);
}

// Tangents from the neighbours, each handle reaching one third of the way to its neighbour in x.
void catmull_rom(const std::vector<QvPoint2<double>>& p, KeyAppender& out) {
  const size_t n = p.size();
  auto tangent = [&](size_t i) {
    if (i == 0) return unit_chord(p[0], p[1]);
    if (i + 1 == n) return unit_chord(p[n - 2], p[n - 1]);
    return QvPoint2<double>(p[i + 1].x - p[i - 1].x, p[i + 1].y - p[i - 1].y);
  };
  for (size_t i = 0; i + 1 < n; ++i) {
    const QvPoint2<double> t0 = tangent(i);
    const QvPoint2<double> t1 = tangent(i + 1);
    const double dx = p[i + 1].x - p[i].x;
    out.Cubic(along(p[i], t0, dx / (3.0 * t0.x)), along(p[i + 1], t1, -dx / (3.0 * t1.x)),
              p[i + 1]);
  }
}

// The cubic spline through every point, its second derivatives from the tridiagonal sweep with
// the end slopes of the first and last chords.
void natural_spline(const std::vector<QvPoint2<double>>& p, KeyAppender& out) {
  const size_t n = p.size();
  const QvPoint2<double> t0 = unit_chord(p[0], p[1]);
  const QvPoint2<double> tn = unit_chord(p[n - 2], p[n - 1]);
  const double yp1 = t0.y / t0.x;
  const double ypn = tn.y / tn.x;
  std::vector<double> y2(n);
  std::vector<double> u(n);
  y2[0] = -0.5;
  u[0] = (3.0 / (p[1].x - p[0].x)) * ((p[1].y - p[0].y) / (p[1].x - p[0].x) - yp1);
  for (size_t i = 1; i + 1 < n; ++i) {
    const double sig = (p[i].x - p[i - 1].x) / (p[i + 1].x - p[i - 1].x);
    const double q = sig * y2[i - 1] + 2.0;
    y2[i] = (sig - 1.0) / q;
    const double d = (p[i + 1].y - p[i].y) / (p[i + 1].x - p[i].x) -
                     (p[i].y - p[i - 1].y) / (p[i].x - p[i - 1].x);
    u[i] = (6.0 * d / (p[i + 1].x - p[i - 1].x) - sig * u[i - 1]) / q;
  }
  const double qn = 0.5;
  const double un = (3.0 / (p[n - 1].x - p[n - 2].x)) *
                    (ypn - (p[n - 1].y - p[n - 2].y) / (p[n - 1].x - p[n - 2].x));
  y2[n - 1] = (un - qn * u[n - 2]) / (qn * y2[n - 2] + 1.0);
  for (size_t k = n - 1; k-- > 0;) y2[k] = y2[k] * y2[k + 1] + u[k];
  for (size_t i = 0; i + 1 < n; ++i) {
    const double dx = p[i + 1].x - p[i].x;
    const double dy = p[i + 1].y - p[i].y;
    const double m0 = y2[i];
    const double m1 = y2[i + 1];
    const QvPoint2<double> right(p[i].x + dx / 3.0,
                                 p[i].y + (dy - (2.0 * m0 + m1) * dx * dx / 6.0) / 3.0);
    const QvPoint2<double> left(p[i + 1].x - dx / 3.0,
                                p[i + 1].y - (dy + (m0 + 2.0 * m1) * dx * dx / 6.0) / 3.0);
    out.Cubic(right, left, p[i + 1]);
  }
}

// Straight segments through the points that a line test keeps: a point stays when the next one
// strays from the line further than the tolerance, measured in value.
void linear_reduced(const std::vector<QvPoint2<double>>& p, double tolerance, KeyAppender& out) {
  const size_t n = p.size();
  QvPoint2<double> a = p[0];
  QvPoint2<double> b = p[1];
  for (size_t k = 2; k < n; ++k) {
    const double on_line = a.y + (p[k].x - a.x) * (b.y - a.y) / (b.x - a.x);
    if (std::fabs(on_line - p[k].y) > tolerance) {
      out.Linear(p[k - 1]);
      a = p[k - 1];
      b = p[k];
    }
  }
  out.Linear(p[n - 1]);
}

// Cubics through the keys that a Hermite spline fit keeps within the tolerance, measured in
// value at each point's own x. The spline's handles sit a third of each interval along the slope
// at either end, so with handle x at the thirds the key curve is the spline itself. The fit gives
// one slope to both sides of a key, and continuity stays locked wherever the evaluated tangents
// agree.
void spline_fit(const std::vector<QvPoint2<double>>& p, double tolerance, KeyAppender& out,
                QvStdFCurveImpl& body) {
  const size_t n = p.size();
  if (n == 2) {
    const double dx = p[1].x - p[0].x;
    const double dy = p[1].y - p[0].y;
    out.Cubic(QvPoint2<double>(p[0].x + dx / 3.0, p[0].y + dy / 3.0),
              QvPoint2<double>(p[1].x - dx / 3.0, p[1].y - dy / 3.0), p[1]);
    return;
  }
  const QvULong count = static_cast<QvULong>(n);
  QvDoubleArray xs(count);
  QvDoubleArray ys(count);
  for (const QvPoint2<double>& q : p) {
    xs.Add(q.x);
    ys.Add(q.y);
  }
  QvSpline1d spline;
  // A tolerance the fit refuses (negative or NaN) keeps every point that is off the curve.
  if (!spline.OpenFit(xs, ys, tolerance, QvSpline::KindHermite))
    spline.OpenFit(xs, ys, 0.0, QvSpline::KindHermite);
  const QvDoubleArray& t = spline.GetKeyParameters();
  const QvDoubleArray& v = spline.GetKeyValues();
  const QvDoubleArray& left = spline.GetLeftDerivatives();
  const QvDoubleArray& right = spline.GetRightDerivatives();
  const double third = 0.3333333333333333;
  for (QvULong i = 0; i + 1 < spline.GetNumKeys(); ++i) {
    const double d = t[i + 1] - t[i];
    out.Cubic(QvPoint2<double>(t[i] + d * third, v[i] + right[i] * d * third),
              QvPoint2<double>(t[i + 1] - d * third, v[i + 1] + left[i + 1] * d * third),
              QvPoint2<double>(t[i + 1], v[i + 1]));
  }
  for (QvULong i = 1; i + 1 < body.m_numKeys; ++i)
    if (!body.TangentsContinuous(i))
      body.Key(i).flags &= static_cast<std::uint16_t>(~kFlagTangentContinuity);
}

}  // namespace

// Points that do not lie after their predecessor, or are not finite, are left out: keys must rise.
QvStdFCurve::QvStdFCurve(const QvPoint2dArray& points, DPMethod method, double tolerance,
                         FSKind firstSegmentKind, FSKind segmentKind)
    : m_impl(new QvStdFCurveImpl(0.0, firstSegmentKind)) {
  std::vector<QvPoint2<double>> p;
  for (QvULong i = 0; i < points.GetSize(); ++i) {
    const QvPoint2<double>& q = points[i];
    if (!std::isfinite(q.x) || !std::isfinite(q.y)) continue;
    if (!p.empty() && !(q.x > p.back().x)) continue;
    p.push_back(q);
  }
  if (p.empty() || method < DPCatmullRom || method > DPSplineFit) return;
  KeyAppender out(*m_impl);
  out.First(p[0], method == DPLinearReduced ? FSLinear : FSBezierCubic);
  if (p.size() >= 2) {
    switch (method) {
      case DPCatmullRom:
        catmull_rom(p, out);
        break;
      case DPLinearReduced:
        linear_reduced(p, tolerance, out);
        break;
      case DPNaturalSpline:
        natural_spline(p, out);
        break;
      default:  // DPSplineFit
        spline_fit(p, tolerance, out, *m_impl);
        break;
    }
  }
  m_impl->Key(m_impl->m_numKeys - 1).segmentKind = static_cast<unsigned char>(segmentKind);
}

QvStdFCurve::QvStdFCurve(const QvStdFCurve& other) : QvBaseFCurve(other), m_impl(nullptr) {
  LockGuard source(other);
  m_impl = new QvStdFCurveImpl(*other.m_impl);
}


// The target is locked before the source; the copies are made before anything is replaced, so a
// failed allocation leaves the target as it was.
QvStdFCurve& QvStdFCurve::operator=(const QvStdFCurve& other) {
  LockGuard target(*this);
  if (&other == this) return *this;
  LockGuard source(other);
  QvStdFCurveImpl copy(*other.m_impl);
  QvBaseFCurve::operator=(other);
  m_impl->Swap(copy);
  return *this;
}

QvBaseFCurve* QvStdFCurve::Clone() const {
  try {
    return new QvStdFCurve(*this);
  } catch (...) {
    return nullptr;
  }
}

QvLong QvStdFCurve::Set(const QvBaseFCurve& other) {
  if (other.GetKind() != KindStandard) return 0;
  *this = static_cast<const QvStdFCurve&>(other);
  return 1;
}


namespace {

// A lock anywhere on the curve, tested over the whole range of doubles.
bool any_locked(const QvStdFCurveImpl& body, std::uint16_t bits) {
  return body.AnyKeyHasFlags(-DBL_MAX, DBL_MAX, 0, 0, bits);
}

// Moves every parameter and handle x through `map`. Under the default Bezier constraint handles
// sit one third of the way to their neighbour, wherever the keys go.
template <class Map> void map_parameters(QvStdFCurveImpl& body, Map map) {
  const QvULong n = body.m_numKeys;
  for (QvULong i = 0; i < n; ++i) body.Key(i).parameter = map(body.Key(i).parameter);
  for (QvULong i = 0; i < n; ++i) {
    QvStdFCurveKey& key = body.Key(i);
    if (body.m_defaultBezierTangent != 0 && i > 0)
      key.leftHandle.x = key.parameter + (body.Key(i - 1).parameter - key.parameter) / 3.0;
    else
      key.leftHandle.x = map(key.leftHandle.x);
    if (body.m_defaultBezierTangent != 0 && i + 1 < n)
      key.rightHandle.x = key.parameter + (body.Key(i + 1).parameter - key.parameter) / 3.0;
    else
      key.rightHandle.x = map(key.rightHandle.x);
  }
}

template <class Map> void map_values(QvStdFCurveImpl& body, Map map) {
  for (QvULong i = 0; i < body.m_numKeys; ++i) {
    QvStdFCurveKey& key = body.Key(i);
    key.leftValue = map(key.leftValue);
    key.rightValue = map(key.rightValue);
    key.leftHandle.y = map(key.leftHandle.y);
    key.rightHandle.y = map(key.rightHandle.y);
  }
}

}  // namespace

QvLong QvStdFCurve::ShiftParameters(double offset) {
  LockGuard guard(*this);
  QvStdFCurveImpl& body = *m_impl;
  if (body.m_readOnly != 0 || any_locked(body, qv::internal::kFlagParameterLocked)) return 0;
  map_parameters(body, [offset](double x) { return x + offset; });
  TranslateAllKeyUserData(offset);
  return 1;
}

QvLong QvStdFCurve::ScaleParameterAxis(double scale) {
  LockGuard guard(*this);
  QvStdFCurveImpl& body = *m_impl;
  if (body.m_readOnly != 0 || any_locked(body, qv::internal::kFlagParameterLocked)) return 0;
  if (body.m_numKeys == 0) return 1;
  QvStdFCurveImpl scaled(body);
  map_parameters(scaled, [scale](double x) { return x * scale; });
  if (!scaled.IsValid()) return 0;
  body.Swap(scaled);
  ScaleAllKeyUserData(scale);
  return 1;
}

QvLong QvStdFCurve::ShiftValues(double offset) {
  LockGuard guard(*this);
  QvStdFCurveImpl& body = *m_impl;
  if (body.m_readOnly != 0 || any_locked(body, kFlagValueLocked)) return 0;
  if (body.m_numKeys == 0) {
    body.m_valueWhenNoKeys += offset;
    return 1;
  }
  map_values(body, [offset](double v) { return v + offset; });
  return 1;
}

// A negative scale turns the tangents over with the values; nothing else needs doing.
QvLong QvStdFCurve::ScaleAndShiftValues(double scale, double shift) {
  LockGuard guard(*this);
  QvStdFCurveImpl& body = *m_impl;
  if (body.m_readOnly != 0 || any_locked(body, kFlagValueLocked)) return 0;
  QvStdFCurveImpl moved(body);
  auto map = [scale, shift](double v) { return v * scale + shift; };
  map_values(moved, map);
  moved.m_valueWhenNoKeys = map(moved.m_valueWhenNoKeys);
  if (!moved.IsValid()) return 0;
  body.Swap(moved);
  return 1;
}

// Values are reflected across the middle of the control polygon's bounds, so that the mirrored
// curve keeps the same bounds.
QvLong QvStdFCurve::MirrorValues() {
  LockGuard guard(*this);
  QvStdFCurveImpl& body = *m_impl;
  if (body.m_readOnly != 0 || any_locked(body, kFlagValueLocked)) return 0;
  const double sum = GetValueUpperBound(0) + GetValueLowerBound(0);
  QvStdFCurveImpl mirrored(body);
  auto map = [sum](double v) { return sum - v; };
  map_values(mirrored, map);
  mirrored.m_valueWhenNoKeys = map(mirrored.m_valueWhenNoKeys);
  if (!mirrored.IsValid()) return 0;
  body.Swap(mirrored);
  return 1;
}

// Keys are taken in reverse order with their sides exchanged. The kinds move one key along: the
// region beyond the old last key is the new region before the first, and the other way round.
QvLong QvStdFCurve::MirrorParameters() {
  LockGuard guard(*this);
  QvStdFCurveImpl& body = *m_impl;
  if (body.m_readOnly != 0 || any_locked(body, qv::internal::kFlagParameterLocked)) return 0;
  const QvULong n = body.m_numKeys;
  if (n == 0) return 1;
  const double sum = body.Key(0).parameter + body.Key(n - 1).parameter;
  QvStdFCurveImpl mirrored(body);
  for (QvULong j = 0; j < n; ++j) {
    const QvStdFCurveKey& old = body.Key(n - 1 - j);
    QvStdFCurveKey& key = mirrored.Key(j);
    key = old;
    key.parameter = sum - old.parameter;
    key.leftValue = old.rightValue;
    key.rightValue = old.leftValue;
    key.leftHandle = QvPoint2<double>(sum - old.rightHandle.x, old.rightHandle.y);
    key.rightHandle = QvPoint2<double>(sum - old.leftHandle.x, old.leftHandle.y);
    key.segmentKind = j + 1 < n ? body.Key(n - 2 - j).segmentKind
                                : static_cast<unsigned char>(body.m_firstSegmentKind);
  }
  mirrored.m_firstSegmentKind = static_cast<FSKind>(body.Key(n - 1).segmentKind);
  if (!mirrored.IsValid()) return 0;
  QvDoubleArray from(n);
  QvDoubleArray to(n);
  for (QvULong j = 0; j < n; ++j) {
    from.Add(body.Key(n - 1 - j).parameter);
    to.Add(mirrored.Key(j).parameter);
  }
  body.Swap(mirrored);
  MoveKeyUserDataTail(from, to);
  return 1;
}

// The other curve's first key lands on this curve's last key, which takes over its right side;
// the other keys follow, shifted along the parameter axis.
QvLong QvStdFCurve::Append(const QvBaseFCurve& other) {
  LockGuard target(*this);
  if (other.GetKind() != KindStandard) return 0;
  LockGuard source(other);
  QvStdFCurveImpl& body = *m_impl;
  const QvStdFCurveImpl tail(*static_cast<const QvStdFCurve&>(other).m_impl);
  if (body.m_readOnly != 0 || body.m_numKeys == 0 || tail.m_numKeys == 0) return 0;
  QvStdFCurveImpl joined(body);
  const QvULong n = joined.m_numKeys;
  const QvULong m = tail.m_numKeys;
  const QvStdFCurveKey& first = tail.Key(0);
  const double d = joined.Key(n - 1).parameter - first.parameter;
  joined.Resize(n + m - 1);
  QvStdFCurveKey& last = joined.Key(n - 1);
  if (!(last.flags & kFlagValueLocked)) last.rightValue = first.rightValue;
  last.rightHandle.y = first.rightHandle.y;
  if (joined.m_defaultBezierTangent != 0 && m > 1)
    last.rightHandle.x = last.parameter + (tail.Key(1).parameter + d - last.parameter) / 3.0;
  else
    last.rightHandle.x = first.rightHandle.x + d;
  last.segmentKind = first.segmentKind;
  for (QvULong i = 1; i < m; ++i) {
    QvStdFCurveKey& key = joined.Key(n - 1 + i);
    key = tail.Key(i);
    key.parameter += d;
    key.leftHandle.x += d;
    key.rightHandle.x += d;
  }
  if (!joined.TangentsContinuous(n - 1))
    last.flags &= static_cast<std::uint16_t>(~kFlagTangentContinuity);
  if (!joined.IsValid()) return 0;
  body.Swap(joined);
  return 1;
}

namespace {

struct ParameterRange {
  double from;
  double to;
};

// The ranges that a stretch operation works on. Under a cycling method the ends are folded into
// the keys, a request of more than a period covers all keys, and one that wraps round the seam is
// done as two runs. A landing on a seam counts as the first key for the start and as the last key
// for the end.
int cycle_ranges(const QvStdFCurveImpl& body, double from, double to, ParameterRange* out) {
  const QvULong n = body.m_numKeys;
  const bool cycling = n >= 2 && (body.m_extrapolation == QvBaseFCurve::ExtrapolationCycle ||
                                  body.m_extrapolation == QvBaseFCurve::ExtrapolationCycleOffset);
  if (!cycling) {
    out[0] = {from, to};
    return 1;
  }
  const double f = body.Key(0).parameter;
  const double l = body.Key(n - 1).parameter;
  const double period = l - f;
  auto fold = [&](double x, double seam) {
    const double r = (x - f) / period;
    const bool rising = x > f;
    const double d = rising ? period * (r - std::floor(r)) : period * (std::ceil(r) - r);
    if (std::fabs(d) <= 1e-9) return seam;
    const double y = rising ? f + d : l - d;
    return y < f ? f : (y > l ? l : y);
  };
  const double folded_from = fold(from, f);
  const double folded_to = fold(to, l);
  const double cf = std::floor((from - f) / period);
  const double ct = std::ceil((to - f) / period) - 1.0;
  if (!(cf < ct)) {
    out[0] = {folded_from, folded_to};
    return 1;
  }
  if (to - from > period) {
    out[0] = {f, l};
    return 1;
  }
  out[0] = {f, folded_to};
  out[1] = {folded_from, l};
  return 2;
}

}  // namespace

// A filter over the key values of a stretch: right values and arrivals are filtered apart, the
// kernel centred on each key and cut short at the ends of the stretch without renormalising.
// Handles ride with their values; value-locked keys keep theirs.
QvLong QvStdFCurve::SmoothSequence(double from, double to, const double* kernel, QvULong count) {
  LockGuard guard(*this);
  QvStdFCurveImpl& body = *m_impl;
  if (body.m_readOnly != 0 || kernel == nullptr || count == 0) return 0;
  if (body.m_numKeys == 0) return 1;
  ParameterRange ranges[2];
  const int runs = cycle_ranges(body, from, to, ranges);
  const QvLong half = static_cast<QvLong>((count - 1) / 2);
  for (int run = 0; run < runs; ++run) {
    QvULong first;
    QvULong end;
    body.SelectInterval(ranges[run].from, ranges[run].to, 0, 0, first, end);
    const QvLong k = static_cast<QvLong>(end - first);
    std::vector<double> right(static_cast<size_t>(k));
    std::vector<double> arrival(static_cast<size_t>(k));
    for (QvLong i = 0; i < k; ++i) {
      right[static_cast<size_t>(i)] = body.Key(first + static_cast<QvULong>(i)).rightValue;
      arrival[static_cast<size_t>(i)] = body.Arrival(first + static_cast<QvULong>(i));
    }
    std::vector<double> smooth_right(static_cast<size_t>(k), 0.0);
    std::vector<double> smooth_arrival(static_cast<size_t>(k), 0.0);
    for (QvLong i = 0; i < k; ++i) {
      for (QvLong d = -half; d <= half; ++d) {
        const QvLong j = i + d;
        if (j < 0 || j >= k) continue;
        const double w = kernel[half + d];
        smooth_right[static_cast<size_t>(i)] += w * right[static_cast<size_t>(j)];
        smooth_arrival[static_cast<size_t>(i)] += w * arrival[static_cast<size_t>(j)];
      }
    }
    for (QvLong i = 0; i < k; ++i) {
      QvStdFCurveKey& key = body.Key(first + static_cast<QvULong>(i));
      if (key.flags & kFlagValueLocked) continue;
      const double r = smooth_right[static_cast<size_t>(i)];
      const double a = smooth_arrival[static_cast<size_t>(i)];
      key.rightHandle.y += r - key.rightValue;
      key.rightValue = r;
      key.leftHandle.y += a - arrival[static_cast<size_t>(i)];
      key.leftValue = a;
    }
  }
  return 1;
}

namespace {

constexpr std::uint16_t kFlagAnyKeyLock =
    qv::internal::kFlagParameterLocked | qv::internal::kFlagValueLocked;

// Makes sure that a key lies at x without changing the shape, and gives its index. Past the last
// key the new key holds the last value; before the first it holds the first arrival; between two
// keys their tangents are frozen first, so that the segment splits into two of the same shape.
bool split_at(QvStdFCurveImpl& body, double x, QvULong& index) {
  const QvULong n = body.m_numKeys;
  if (n == 0 || !std::isfinite(x)) return false;
  const QvStdFCurveImpl::KeyPosition found = body.FindKey(x);
  if (found.exact) {
    index = found.position - 1;
    return true;
  }
  const std::uint16_t not_automatic =
      static_cast<std::uint16_t>(~qv::internal::kFlagTangentAutomatic);
  if (found.position == n) {
    qv::internal::freeze_left(body, n - 1);
    qv::internal::freeze_right(body, n - 1);
    QvStdFCurveKey& last = body.Key(n - 1);
    last.flags &= not_automatic;
    const FS kind = static_cast<FS>(last.segmentKind);
    if (!qv::internal::create_key(body, x, last.rightValue, kind, kind)) return false;
  } else if (found.position == 0) {
    if (!qv::internal::create_key(body, x, body.Key(0).leftValue, FS(0), FS(0))) return false;
  } else {
    const QvULong k = found.position - 1;
    for (QvULong i = k; i <= k + 1; ++i) {
      qv::internal::freeze_left(body, i);
      qv::internal::freeze_right(body, i);
      body.Key(i).flags &= not_automatic;
    }
    if (!qv::internal::create_key(body, x, body.SegmentValue(x, k), FS(0), FS(0))) return false;
  }
  const QvStdFCurveImpl::KeyPosition again = body.FindKey(x);
  if (!again.exact) return false;
  index = again.position - 1;
  return true;
}

bool any_key_locked(const QvStdFCurveImpl& body, QvULong first, QvULong end) {
  for (QvULong i = first; i < end; ++i)
    if (body.Key(i).flags & kFlagAnyKeyLock) return true;
  return false;
}

// Cuts the body down to [from, to]: split at each end that lies inside the keys, and what lies
// beyond goes. The parameters of removed keys are appended to `removed`.
bool keep_stretch(QvStdFCurveImpl& body, double from, double to, std::vector<double>& removed) {
  if (body.m_numKeys == 0) return true;
  QvULong index;
  if (from > body.Key(0).parameter) {
    if (!split_at(body, from, index)) return false;
    qv::internal::remove_keys(body, 0, index, FS(0), removed);
  }
  if (to < body.Key(body.m_numKeys - 1).parameter) {
    if (!split_at(body, to, index)) return false;
    qv::internal::remove_keys(body, index + 1, body.m_numKeys, FS(0), removed);
  }
  return true;
}

}  // namespace

QvStdFCurve::QvStdFCurve(const QvStdFCurve& other, double from, double to)
    : QvBaseFCurve(other), m_impl(nullptr) {
  LockGuard source(other);
  m_impl = new QvStdFCurveImpl(*other.m_impl);
  std::vector<double> removed;
  if (std::isfinite(from) && std::isfinite(to))
    keep_stretch(*m_impl, from < to ? from : to, from < to ? to : from, removed);
  for (double parameter : removed) RemoveKeyUserData(parameter);
}

QvLong QvStdFCurve::RemoveHead(double parameter) {
  LockGuard guard(*this);
  QvStdFCurveImpl& body = *m_impl;
  if (body.m_readOnly != 0 || body.m_numKeys == 0) return 0;
  const double first = body.Key(0).parameter;
  if (parameter <= first || std::fabs(parameter - first) <= kKeyTolerance) return 1;
  const QvStdFCurveImpl::KeyPosition found = body.FindKey(parameter);
  if (any_key_locked(body, 0, found.exact ? found.position - 1 : found.position)) return 0;
  QvStdFCurveImpl cut(body);
  QvULong index;
  if (!split_at(cut, parameter, index)) return 0;
  std::vector<double> removed;
  qv::internal::remove_keys(cut, 0, index, FS(0), removed);
  body.Swap(cut);
  for (double p : removed) RemoveKeyUserData(p);
  return 1;
}

QvLong QvStdFCurve::RemoveTail(double parameter) {
  LockGuard guard(*this);
  QvStdFCurveImpl& body = *m_impl;
  const QvULong n = body.m_numKeys;
  if (body.m_readOnly != 0 || n == 0) return 0;
  const double last = body.Key(n - 1).parameter;
  if (parameter >= last || std::fabs(parameter - last) <= kKeyTolerance) return 1;
  if (any_key_locked(body, body.FindKey(parameter).position, n)) return 0;
  QvStdFCurveImpl cut(body);
  QvULong index;
  if (!split_at(cut, parameter, index)) return 0;
  std::vector<double> removed;
  qv::internal::remove_keys(cut, index + 1, cut.m_numKeys, FS(0), removed);
  body.Swap(cut);
  for (double p : removed) RemoveKeyUserData(p);
  return 1;
}

// The curve's appearance over [from, to] as a curve of its own. Outside the keys the constant and
// linear methods add a key at each end with the extrapolated value; the cycling methods unroll
// the cycles that the interval covers.
QvBaseFCurve* QvStdFCurve::SnapShot(double from, double to, ExtrapolationMethod method) const {
  try {
    LockGuard guard(*this);
    const QvStdFCurveImpl& body = *m_impl;
    if (!std::isfinite(from) || !std::isfinite(to)) return nullptr;
    if (from > to) std::swap(from, to);
    const QvULong n = body.m_numKeys;
    if (std::fabs(from - to) <= kKeyTolerance || n == 0) {
      QvStdFCurve* one = new QvStdFCurve(*this, from, to);
      one->m_impl->m_extrapolation = static_cast<unsigned char>(method);
      return one;
    }
    const double f = body.Key(0).parameter;
    const double l = body.Key(n - 1).parameter;
    const unsigned char own = body.m_extrapolation;
    const bool cycling = n >= 2 && (own == ExtrapolationCycle || own == ExtrapolationCycleOffset);
    QvStdFCurve* shot = nullptr;
    if (!cycling) {
      shot = new QvStdFCurve(*this, from > f ? from : f, to < l ? to : l);
      QvStdFCurveImpl& out = *shot->m_impl;
      const FS kind = own == ExtrapolationLinear ? FSLinear : FSConstant;
      if (from < f) {
        qv::internal::create_key(out, from, body.EvalCore(from), kind, kind);
      }
      if (to > l) qv::internal::create_key(out, to, body.EvalCore(to), kind, kind);
    } else {
      const double period = l - f;
      const double delta =
          own == ExtrapolationCycleOffset ? body.Key(n - 1).rightValue - body.Key(0).rightValue : 0.0;
      const double first_cycle = std::floor((from - f) / period);
      const double last_cycle = std::ceil((to - f) / period) - 1.0;
      if (!(last_cycle - first_cycle < 1e5)) return nullptr;
      for (double c = first_cycle; c <= last_cycle; c += 1.0) {
        QvStdFCurve cycle(*this);
        QvStdFCurveImpl& part = *cycle.m_impl;
        part.m_extrapolation = ExtrapolationConstant;
        for (QvULong i = 0; i < part.m_numKeys; ++i) {
          QvStdFCurveKey& key = part.Key(i);
          key.parameter += c * period;
          key.leftHandle.x += c * period;
          key.rightHandle.x += c * period;
          key.leftValue += c * delta;
          key.rightValue += c * delta;
          key.leftHandle.y += c * delta;
          key.rightHandle.y += c * delta;
        }
        std::vector<double> removed;
        keep_stretch(part, from, to, removed);
        if (shot == nullptr) {
          shot = new QvStdFCurve(cycle);
        } else if (shot->Append(cycle) == 0) {
          delete shot;
          return nullptr;
        }
      }
    }
    if (shot != nullptr) shot->m_impl->m_extrapolation = static_cast<unsigned char>(method);
    return shot;
  } catch (...) {
    return nullptr;
  }
}

// Keys at every step from `from`, reusing a key that lies within 1e-7 of a sample; unless the old
// keys are kept, those between two samples go.
QvLong QvStdFCurve::ResampleSequence(double from, double to, double step, QvLong keepKeys,
                                     QvLong) {
  LockGuard guard(*this);
  QvStdFCurveImpl& body = *m_impl;
  if (body.m_readOnly != 0 || body.m_numKeys == 0) return 0;
  if (!std::isfinite(from) || !std::isfinite(to) || !(step > 0.0)) return 0;
  if (from > to) std::swap(from, to);
  if ((to - from) / step > 1e7) return 0;
  ParameterRange ranges[2];
  const int runs = cycle_ranges(body, from, to, ranges);
  QvStdFCurveImpl work(body);
  std::vector<double> removed;
  for (int run = 0; run < runs; ++run) {
    const double a = ranges[run].from;
    const double b = ranges[run].to;
    QvULong previous;
    if (!split_at(work, a, previous)) return 0;
    if (std::fabs(a - b) <= kKeyTolerance) continue;
    const double samples = std::floor((b - a) / step);
    auto take = [&](double x) {
      QvULong index;
      if (work.FindKeyNear(x, 1e-7, index)) {
      } else if (!split_at(work, x, index)) {
        return false;
      }
      if (keepKeys == 0 && index > previous + 1) {
        qv::internal::remove_keys(work, previous + 1, index, FS(0), removed);
        index = previous + 1;
      }
      previous = index;
      return true;
    };
    for (double i = 1.0; i <= samples; i += 1.0)
      if (!take(a + i * step)) return 0;
    if (!take(b)) return 0;
  }
  body.Swap(work);
  for (double p : removed) RemoveKeyUserData(p);
  return 1;
}

// The stretch [from, to] is replaced by the other curve, whose first key lands on `from`; what
// followed `to` moves by the difference in length. The two joint keys take their inner side, value
// and handle, from the other curve, and keep their outer side.
QvLong QvStdFCurve::Paste(const QvBaseFCurve& source, double from, double to) {
  LockGuard target(*this);
  if (source.GetKind() != KindStandard) return 0;
  const QvStdFCurve& other = static_cast<const QvStdFCurve&>(source);
  LockGuard hold(other);
  QvStdFCurveImpl& body = *m_impl;
  const QvStdFCurveImpl piece(*other.m_impl);
  const QvULong m = piece.m_numKeys;
  if (body.m_readOnly != 0 || body.m_numKeys == 0 || m == 0) return 0;
  if (!std::isfinite(from) || !std::isfinite(to)) return 0;
  if (from > to) std::swap(from, to);
  const bool one_place = std::fabs(to - from) <= kKeyTolerance;
  QvStdFCurveImpl work(body);
  std::vector<double> removed;
  QvULong a;
  QvULong b;
  if (!split_at(work, from, a)) return 0;
  if (one_place) {
    b = a;
  } else {
    if (!split_at(work, to, b)) return 0;
    qv::internal::remove_keys(work, a + 1, b, FS(0), removed);
    b = a + 1;
  }
  const double offset = from - piece.Key(0).parameter;
  const double length = piece.Key(m - 1).parameter - piece.Key(0).parameter;
  const double shift = length - (one_place ? 0.0 : to - from);
  auto moved = [](QvStdFCurveKey key, double dx) {
    key.parameter += dx;
    key.leftHandle.x += dx;
    key.rightHandle.x += dx;
    return key;
  };
  std::vector<QvStdFCurveKey> keys;
  keys.reserve(work.m_numKeys + m);
  for (QvULong i = 0; i <= a; ++i) keys.push_back(work.Key(i));
  const QvStdFCurveKey first = moved(piece.Key(0), offset);
  QvStdFCurveKey& joint = keys.back();
  joint.rightValue = first.rightValue;
  joint.rightHandle = first.rightHandle;
  joint.segmentKind = first.segmentKind;
  for (QvULong i = 1; i + 1 < m; ++i) keys.push_back(moved(piece.Key(i), offset));
  std::vector<double> tail_from;
  std::vector<double> tail_to;
  for (QvULong i = b; i < work.m_numKeys; ++i) {
    QvStdFCurveKey key = moved(work.Key(i), shift);
    if (i == b) {
      const QvStdFCurveKey last = moved(piece.Key(m - 1), offset);
      key.leftValue = last.leftValue;
      key.leftHandle = last.leftHandle;
    }
    if (i > b || !one_place) {
      tail_from.push_back(work.Key(i).parameter);
      tail_to.push_back(key.parameter);
    }
    keys.push_back(key);
  }
  QvStdFCurveImpl pasted(work);
  pasted.Resize(static_cast<QvULong>(keys.size()));
  for (QvULong i = 0; i < pasted.m_numKeys; ++i) pasted.Key(i) = keys[i];
  if (!pasted.IsValid()) return 0;
  body.Swap(pasted);
  for (double p : removed) RemoveKeyUserData(p);
  QvDoubleArray move_from(static_cast<QvULong>(tail_from.size()) + 1);
  QvDoubleArray move_to(static_cast<QvULong>(tail_to.size()) + 1);
  for (size_t i = tail_from.size(); i-- > 0;) {
    move_from.Add(tail_from[i]);
    move_to.Add(tail_to[i]);
  }
  MoveKeyUserDataTail(move_from, move_to);
  for (QvULong i = 1; i + 1 < m; ++i) {
    if (const CFCUserDataSet* set = other.GetUserDataSet(piece.Key(i).parameter))
      SetUserDataSet(*set, piece.Key(i).parameter + offset);
  }
  return 1;
}

namespace {

constexpr std::uint16_t kFlagAnyValueOrParameterLock =
    qv::internal::kFlagParameterLocked | qv::internal::kFlagValueLocked;

// Holds the handles of key i to their own sides of the key; under the default Bezier constraint
// they go to a third of the way to their neighbours instead.
void hold_handles_to_sides(QvStdFCurveImpl& body, QvULong i) {
  QvStdFCurveKey& key = body.Key(i);
  const QvULong n = body.m_numKeys;
  if (body.m_defaultBezierTangent != 0 && i > 0)
    key.leftHandle.x = key.parameter + (body.Key(i - 1).parameter - key.parameter) / 3.0;
  else
    key.leftHandle.x = std::min(key.leftHandle.x, key.parameter);
  if (body.m_defaultBezierTangent != 0 && i + 1 < n)
    key.rightHandle.x = key.parameter + (body.Key(i + 1).parameter - key.parameter) / 3.0;
  else
    key.rightHandle.x = std::max(key.rightHandle.x, key.parameter);
}

bool keys_rise(const QvStdFCurveImpl& body) {
  for (QvULong i = 1; i < body.m_numKeys; ++i)
    if (!(body.Key(i).parameter > body.Key(i - 1).parameter)) return false;
  return true;
}

}  // namespace

// The stretch [from, to] goes into `out`, and the rest of the curve closes over the gap: the key
// at `from` keeps what arrives from the left and takes the right side of the key at `to`, and
// everything after moves left by the length of the stretch. When nothing follows the stretch, the
// key at `from` ends the curve with a constant segment.
QvLong QvStdFCurve::Cut(double from, double to, QvBaseFCurve& out) {
  LockGuard target(*this);
  if (&out == this || out.GetKind() != KindStandard) return 0;
  QvStdFCurve& piece_out = static_cast<QvStdFCurve&>(out);
  QvStdFCurveImpl& body = *m_impl;
  if (body.m_readOnly != 0 || body.m_numKeys == 0) return 0;
  if (!std::isfinite(from) || !std::isfinite(to)) return 0;
  if (from > to) std::swap(from, to);
  if (to - from <= kKeyTolerance) return 0;
  if (body.AnyKeyHasFlags(from, to, 0, 0, qv::internal::kFlagParameterLocked) ||
      body.AnyKeyHasFlags(from, to, 0, 0, kFlagValueLocked))
    return 0;
  try {
    const QvStdFCurve piece(*this, from, to);
    QvStdFCurveImpl work(body);
    QvULong a;
    QvULong b;
    if (!split_at(work, from, a) || !split_at(work, to, b) || b <= a) return 0;
    const double gap = to - from;
    const QvULong n = work.m_numKeys;
    for (QvULong i = b + 1; i < n; ++i)
      if (work.Key(i).flags & qv::internal::kFlagParameterLocked) return 0;
    std::vector<double> removed;
    for (QvULong i = a + 1; i < b; ++i) removed.push_back(work.Key(i).parameter);
    QvStdFCurveKey& joint = work.Key(a);
    if (b + 1 < n) {
      const QvStdFCurveKey& after = work.Key(b);
      joint.rightValue = after.rightValue;
      joint.rightHandle = QvPoint2<double>(after.rightHandle.x - gap, after.rightHandle.y);
      joint.segmentKind = after.segmentKind;
    } else {
      joint.segmentKind = FSConstant;
    }
    QvDoubleArray moved_from;
    QvDoubleArray moved_to;
    for (QvULong i = b + 1; i < n; ++i) {
      QvStdFCurveKey& key = work.Key(i);
      moved_from.Add(key.parameter);
      key.parameter -= gap;
      key.leftHandle.x -= gap;
      key.rightHandle.x -= gap;
      moved_to.Add(key.parameter);
    }
    work.EraseKeys(a + 1, b - a);
    if (!keys_rise(work)) return 0;
    hold_handles_to_sides(work, a);
    if (!work.TangentsContinuous(a))
      work.Key(a).flags &= static_cast<std::uint16_t>(~kFlagTangentContinuity);
    qv::internal::repair_segments(work, a == 0 ? 0 : a - 1, a);
    if (!work.IsValid()) return 0;

    piece_out = piece;
    body.Swap(work);
    for (double p : removed) RemoveKeyUserData(p);
    // The key at `to` went into the joint; its user data follows unless the joint has its own.
    if (const CFCUserDataSet* set = GetUserDataSet(to)) {
      if (GetUserDataSet(from) == nullptr) SetUserDataSet(*set, from);
      RemoveKeyUserData(to);
    }
    MoveKeyUserDataTail(moved_from, moved_to);
    return 1;
  } catch (const std::bad_alloc&) {
    return 0;
  }
}

namespace {

// Keys of [first, last] that a run of linear or constant segments can do without: a key goes
// when it and every key dropped before it lie within `tolerance` of the line from the last key
// kept to the candidate end of the run (of the level of the last key kept, for constant runs).
std::vector<QvULong> keys_off_the_line(const QvStdFCurveImpl& body, QvULong first, QvULong last,
                                       double tolerance) {
  std::vector<QvULong> drop;
  const bool constant = body.Key(first).segmentKind == QvBaseFCurve::FSConstant;
  QvULong kept = first;
  auto fits = [&](QvULong end) {
    const QvStdFCurveKey& k0 = body.Key(kept);
    const QvStdFCurveKey& k1 = body.Key(end);
    for (QvULong i = kept + 1; i < end; ++i) {
      const QvStdFCurveKey& k = body.Key(i);
      const double level =
          constant ? k0.rightValue
                   : (k.parameter - k0.parameter) / (k1.parameter - k0.parameter) *
                             (k1.leftValue - k0.rightValue) +
                         k0.rightValue;
      if (std::fabs(k.rightValue - level) > tolerance) return false;
      if (!constant && std::fabs(k.leftValue - level) > tolerance) return false;
    }
    return true;
  };
  for (QvULong end = first + 2; end <= last; ++end) {
    if (fits(end)) continue;
    for (QvULong i = kept + 1; i + 1 < end; ++i) drop.push_back(i);
    kept = end - 1;
  }
  for (QvULong i = kept + 1; i < last; ++i) drop.push_back(i);
  return drop;
}

// Whether key i must stay in any reduction: it is locked, or the curve jumps there.
bool key_must_stay(const QvStdFCurveImpl& body, QvULong i) {
  const QvStdFCurveKey& key = body.Key(i);
  if (key.flags & kFlagAnyValueOrParameterLock) return true;
  return std::fabs(body.Arrival(i) - key.rightValue) > kKeyTolerance;
}

// Reduces the keys of one range [from, to] of the work body; false when a step fails.
bool reduce_range(QvStdFCurveImpl& work, double from, double to, double tolerance,
                  std::vector<double>& removed) {
  QvULong a;
  QvULong b;
  if (!split_at(work, from, a) || !split_at(work, to, b)) return false;
  // Runs are found from the back, so that what a run removes does not move the runs before it.
  QvULong end = b;
  while (end > a) {
    QvULong start = end - 1;
    const unsigned char kind = work.Key(start).segmentKind;
    while (start > a && work.Key(start - 1).segmentKind == kind && !key_must_stay(work, start))
      --start;
    if (end - start >= 2) {
      if (kind == QvBaseFCurve::FSBezierCubic) {
        // The run's values as its segments see them: leaving each key, and arriving at the
        // last, which may jump to another value beyond the run.
        QvPoint2dArray points(end - start + 1);
        for (QvULong i = start; i < end; ++i)
          points.Add(QvPoint2<double>(work.Key(i).parameter, work.Key(i).rightValue));
        points.Add(QvPoint2<double>(work.Key(end).parameter, work.Arrival(end)));
        const QvStdFCurve fit(points, QvStdFCurve::DPSplineFit, tolerance, QvBaseFCurve::FSBezierCubic,
                              QvBaseFCurve::FSBezierCubic);
        const QvStdFCurveImpl& f = *fit.GetImpl();
        const QvULong m = f.m_numKeys;
        // The fit always keeps both ends; the test only guards against a fit that did not run.
        if (m >= 2 &&
            std::fabs(f.Key(0).parameter - work.Key(start).parameter) <= kKeyTolerance &&
            std::fabs(f.Key(m - 1).parameter - work.Key(end).parameter) <= kKeyTolerance) {
          // Keys that the fit keeps stay where they were, with their user data.
          for (QvULong i = start + 1, j = 1; i < end; ++i) {
            while (j + 1 < m && f.Key(j).parameter < work.Key(i).parameter) ++j;
            if (j + 1 >= m || f.Key(j).parameter != work.Key(i).parameter)
              removed.push_back(work.Key(i).parameter);
          }
          work.EraseKeys(start + 1, end - start - 1);
          work.InsertKeys(start + 1, m - 2);
          for (QvULong j = 1; j + 1 < m; ++j) {
            QvStdFCurveKey& key = work.Key(start + j);
            key = f.Key(j);
            key.segmentKind = static_cast<unsigned char>(QvBaseFCurve::FSBezierCubic);
          }
          work.Key(start).rightHandle = f.Key(0).rightHandle;
          work.Key(start + m - 1).leftHandle = f.Key(m - 1).leftHandle;
          qv::internal::repair_segments(work, start, start + m - 2);
          // The ends of the run keep their outer handles, which may no longer line up.
          for (QvULong k : {start, start + m - 1})
            if (!work.TangentsContinuous(k))
              work.Key(k).flags &= static_cast<std::uint16_t>(~kFlagTangentContinuity);
        }
      } else {
        const std::vector<QvULong> drop = keys_off_the_line(work, start, end, tolerance);
        for (auto it = drop.rbegin(); it != drop.rend(); ++it)
          qv::internal::remove_keys(work, *it, *it + 1, FS(0), removed);
      }
    }
    end = start;
  }
  return true;
}

}  // namespace

QvLong QvStdFCurve::ReduceNumKeys(double from, double to, double tolerance) {
  LockGuard guard(*this);
  QvStdFCurveImpl& body = *m_impl;
  if (body.m_readOnly != 0 || body.m_numKeys == 0) return 0;
  if (!std::isfinite(from) || !std::isfinite(to) || !(tolerance >= 0.0)) return 0;
  if (from > to) std::swap(from, to);
  try {
    ParameterRange ranges[2];
    const int runs = cycle_ranges(body, from, to, ranges);
    QvStdFCurveImpl work(body);
    std::vector<double> removed;
    for (int run = 0; run < runs; ++run)
      if (!reduce_range(work, ranges[run].from, ranges[run].to, tolerance, removed)) return 0;
    if (!work.IsValid()) return 0;
    body.Swap(work);
    for (double p : removed) RemoveKeyUserData(p);
    return 1;
  } catch (const std::bad_alloc&) {
    return 0;
  }
}

QvULong QvStdFCurve::ReduceNumKeys(double tolerance) {
  LockGuard guard(*this);
  const QvStdFCurveImpl& body = *m_impl;
  if (body.m_numKeys >= 2)
    ReduceNumKeys(body.Key(0).parameter, body.Key(body.m_numKeys - 1).parameter, tolerance);
  return m_impl->m_numKeys;
}

// A stretch of a selection of keys by one edge of its box: the parameters (edges 2 and 4) or the
// values (edges 1 and 8) of the keys in [from, to] become anchor + (v - anchor) * scale + offset,
// handles keeping their place relative to their key, scaled alike. The keys must keep their order
// and the curve must stay valid, or nothing changes.
QvLong QvStdFCurve::ScaleAndOffsetParameters(double from, double to, double anchor, double scale,
                                             double offset, QvLong openFrom, QvLong openTo,
                                             RegionHandle handle) {
  LockGuard guard(*this);
  QvStdFCurveImpl& body = *m_impl;
  const bool parameters = handle == 2 || handle == 4;
  const bool values = handle == 1 || handle == 8;
  if (body.m_readOnly != 0 || body.m_numKeys == 0 || !(parameters || values)) return 0;
  if (!std::isfinite(from) || !std::isfinite(to) || !std::isfinite(anchor) ||
      !std::isfinite(scale) || !std::isfinite(offset))
    return 0;
  if (from > to) std::swap(from, to);
  const std::uint16_t lock = parameters ? qv::internal::kFlagParameterLocked : kFlagValueLocked;
  if (body.AnyKeyHasFlags(from, to, openFrom, openTo, lock)) return 0;
  QvULong first;
  QvULong end;
  body.SelectInterval(from, to, openFrom, openTo, first, end);
  if (first >= end) return 1;
  try {
    QvStdFCurveImpl work(body);
    auto map = [anchor, scale, offset](double v) { return anchor + (v - anchor) * scale + offset; };
    QvDoubleArray moved_from;
    QvDoubleArray moved_to;
    if (parameters) {
      if (!(scale > 0.0)) return 0;
      for (QvULong i = first; i < end; ++i) {
        QvStdFCurveKey& key = work.Key(i);
        const double p = map(key.parameter);
        moved_from.Add(key.parameter);
        moved_to.Add(p);
        key.leftHandle.x = p + (key.leftHandle.x - key.parameter) * scale;
        key.rightHandle.x = p + (key.rightHandle.x - key.parameter) * scale;
        key.parameter = p;
      }
      if (!keys_rise(work)) return 0;
      if (work.m_defaultBezierTangent != 0) {
        for (QvULong i = first == 0 ? 0 : first - 1; i <= end && i < work.m_numKeys; ++i)
          hold_handles_to_sides(work, i);
      }
    } else {
      for (QvULong i = first; i < end; ++i) {
        QvStdFCurveKey& key = work.Key(i);
        const double l = map(key.leftValue);
        const double r = map(key.rightValue);
        key.leftHandle.y = l + (key.leftHandle.y - key.leftValue) * scale;
        key.rightHandle.y = r + (key.rightHandle.y - key.rightValue) * scale;
        key.leftValue = l;
        key.rightValue = r;
      }
    }
    // The segments at the two edges of the selection may have been squeezed.
    qv::internal::repair_segments(work, first == 0 ? 0 : first - 1, first == 0 ? 0 : first - 1);
    qv::internal::repair_segments(work, end - 1, end - 1);
    if (!work.IsValid()) return 0;
    body.Swap(work);
    if (parameters) MoveKeyUserDataTail(moved_from, moved_to);
    return 1;
  } catch (const std::bad_alloc&) {
    return 0;
  }
}
