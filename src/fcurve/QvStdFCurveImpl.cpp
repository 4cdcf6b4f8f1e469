#include "fcurve/QvStdFCurveImpl.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstring>
#include <new>
#include <type_traits>
#include <utility>

static_assert(std::is_trivially_copyable_v<QvStdFCurveKey>, "keys move by block copies");

using qv::internal::kDegenerateHandle;
using qv::internal::kFlagTangentAutomatic;
using qv::internal::kFlagTangentFlat;
using qv::internal::kFlagTangentFlatAtExtremum;
using qv::internal::kFlagTangentLinear;
using qv::internal::kFlagTangentZeroLength;
using qv::internal::kKeyTolerance;
using qv::internal::kSnapTolerance;

namespace qv::internal {

std::uint16_t constraint_flag_bits(QvLong constraint) {
  struct Bit {
    QvLong constraint;
    std::uint16_t flags;
  };
  static constexpr Bit kBits[] = {
      {QvBaseFCurve::KCParameterLocked, kFlagParameterLocked},
      {QvBaseFCurve::KCValueLocked, kFlagValueLocked},
      {QvBaseFCurve::KCTangentContinuity, kFlagTangentContinuity},
      {QvBaseFCurve::KCTangentDirectionLocked, kFlagTangentDirectionLocked},
      {QvBaseFCurve::KCTangentLengthLocked, kFlagTangentLengthLocked},
      {QvBaseFCurve::KCKeyLocked, kFlagKeyLocked},
      {QvBaseFCurve::KCTangentFlat, kFlagTangentFlat},
      {QvBaseFCurve::KCTangentFlatAtExtremum, kFlagTangentFlatAtExtremum},
      {QvBaseFCurve::KCTangentAutomatic, kFlagTangentAutomatic},
      {QvBaseFCurve::KCTangentZeroLength, kFlagTangentZeroLength},
      {QvBaseFCurve::KCTangentLengthContinuity, kFlagTangentLengthContinuity},
      {QvBaseFCurve::KCTangentLinear, kFlagTangentLinear},
      {QvBaseFCurve::KCTangentMirrorContinuity, kFlagTangentMirrorContinuity},
      {QvBaseFCurve::KCTangentLinearAlternate, kFlagTangentLinear},
  };
  std::uint16_t flags = 0;
  for (const Bit& bit : kBits)
    if ((constraint & bit.constraint) != 0) flags = static_cast<std::uint16_t>(flags | bit.flags);
  return flags;
}

// Newton steps are taken only while the tangent line at t meets zero inside the bracket
// [low, high]; otherwise the step halves the distance to the anchor, the end of the bracket on
// the far side of the root. The bracket shrinks with every evaluation, so the search cannot
// wander off a badly conditioned cubic.
double solve_bezier(double x, double x0, double x1, double x2, double x3) {
  if (x - x0 < 1e-20) return 0.0;
  if (x3 - x < 1e-20) return 1.0;
  const double a = x3 - 3.0 * x2 + 3.0 * x1 - x0;
  const double b = 3.0 * (x0 - 2.0 * x1 + x2);
  const double c = 3.0 * (x1 - x0);
  const double d = x0 - x;
  double t = 0.5;
  double low = 0.0;
  double high = 1.0;
  double f = ((a * t + b) * t + c) * t + d;
  double anchor = f < 0.0 ? 1.0 : 0.0;
  for (int iteration = 0; iteration < 100; ++iteration) {
    const double g = (3.0 * a * t + 2.0 * b) * t + c;
    const double at_low = (low - t) * g + f;
    const double at_high = (high - t) * g + f;
    const double step = at_low * at_high < 0.0 ? f / g : (t - anchor) * 0.5;
    t -= step;
    if (std::fabs(step) <= 1e-9) break;
    f = ((a * t + b) * t + c) * t + d;
    if (std::fabs(f) <= 1e-29) break;
    if (f < 0.0) {
      low = t;
      anchor = high;
    } else {
      high = t;
      anchor = low;
    }
  }
  if (t < 0.0) return 0.0;
  if (t > 1.0) return 1.0;
  return t;
}

CubicPolynomial bezier_polynomial(double v0, double v1, double v2, double v3) {
  CubicPolynomial p;
  p.c = 3.0 * (v1 - v0);
  p.b = 3.0 * (v2 - v1) - p.c;
  p.a = v3 - v0 - 3.0 * (v2 - v1);
  p.d = v0;
  return p;
}

}  // namespace qv::internal

namespace {

// The line through (x1, y1) and (x2, y2), at x, in the same order of operations as a linear
// segment so that the two agree where they coincide.
double line_at(double x1, double y1, double x2, double y2, double x) {
  return (x - x1) / (x2 - x1) * (y2 - y1) + y1;
}

bool is_degenerate(const QvPoint2<double>& handle, double x, double y) {
  const double dx = handle.x - x;
  const double dy = handle.y - y;
  return dx * dx + dy * dy < kDegenerateHandle;
}

// The new capacity under the typed arrays' rule: keep a block that is at most twice too big,
// otherwise halve and double along the block's own chain.
QvULong capacity_for(QvULong capacity, QvULong n) {
  if (capacity >= n && capacity / 2 < n) return capacity;
  QvULong c = capacity;
  if (c > n) {
    while (c > n) c >>= 1;
  }
  if (c == 0) c = 1;
  while (c < n) {
    if (c > 0x7FFFFFFFu) throw std::bad_alloc();
    c <<= 1;
  }
  return c;
}

void copy_keys(QvStdFCurveKey* to, const QvStdFCurveKey* from, QvULong count) {
  if (count != 0) std::memmove(static_cast<void*>(to), from, sizeof(QvStdFCurveKey) * count);
}

void zero_keys(QvStdFCurveKey* keys, QvULong count) {
  if (count != 0) std::memset(static_cast<void*>(keys), 0, sizeof(QvStdFCurveKey) * count);
}

QvStdFCurveKey* allocate_keys(QvULong capacity) {
  QvStdFCurveKey* keys = new QvStdFCurveKey[capacity];
  zero_keys(keys, capacity);
  return keys;
}

}  // namespace

QvStdFCurveImpl::QvStdFCurveImpl(double valueWhenNoKeys, FSKind firstSegmentKind)
    : m_numKeys(0),
      m_capacity(2),
      m_keys(allocate_keys(2)),
      m_firstSegmentKind(firstSegmentKind),
      m_valueWhenNoKeys(valueWhenNoKeys),
      m_clampMin(-DBL_MAX),
      m_clampMax(DBL_MAX),
      m_searchHint(0),
      m_extrapolation(QvBaseFCurve::ExtrapolationConstant),
      m_defaultBezierTangent(0),
      m_readOnly(0),
      m_timeCurve(1) {}

QvStdFCurveImpl::QvStdFCurveImpl(const QvStdFCurveImpl& other)
    : m_numKeys(other.m_numKeys),
      m_capacity(other.m_capacity),
      m_keys(allocate_keys(other.m_capacity)),
      m_firstSegmentKind(other.m_firstSegmentKind),
      m_valueWhenNoKeys(other.m_valueWhenNoKeys),
      m_clampMin(other.m_clampMin),
      m_clampMax(other.m_clampMax),
      m_searchHint(other.m_searchHint),
      m_extrapolation(other.m_extrapolation),
      m_defaultBezierTangent(other.m_defaultBezierTangent),
      m_readOnly(other.m_readOnly),
      m_timeCurve(other.m_timeCurve) {
  copy_keys(m_keys, other.m_keys, m_numKeys);
}

QvStdFCurveImpl& QvStdFCurveImpl::operator=(const QvStdFCurveImpl& other) {
  if (this != &other) {
    QvStdFCurveImpl copy(other);
    Swap(copy);
  }
  return *this;
}

QvStdFCurveImpl::~QvStdFCurveImpl() { delete[] m_keys; }

void QvStdFCurveImpl::Swap(QvStdFCurveImpl& other) noexcept {
  std::swap(m_numKeys, other.m_numKeys);
  std::swap(m_capacity, other.m_capacity);
  std::swap(m_keys, other.m_keys);
  std::swap(m_firstSegmentKind, other.m_firstSegmentKind);
  std::swap(m_valueWhenNoKeys, other.m_valueWhenNoKeys);
  std::swap(m_clampMin, other.m_clampMin);
  std::swap(m_clampMax, other.m_clampMax);
  std::swap(m_searchHint, other.m_searchHint);
  std::swap(m_extrapolation, other.m_extrapolation);
  std::swap(m_defaultBezierTangent, other.m_defaultBezierTangent);
  std::swap(m_readOnly, other.m_readOnly);
  std::swap(m_timeCurve, other.m_timeCurve);
}

void QvStdFCurveImpl::Reallocate(QvULong capacity, QvULong keep) {
  QvStdFCurveKey* keys = allocate_keys(capacity);
  copy_keys(keys, m_keys, keep);
  delete[] m_keys;
  m_keys = keys;
  m_capacity = capacity;
}

void QvStdFCurveImpl::Resize(QvULong n) {
  const QvULong capacity = capacity_for(m_capacity, n);
  if (capacity != m_capacity) {
    Reallocate(capacity, std::min(m_numKeys, n));
  } else if (n < m_numKeys) {
    zero_keys(m_keys + n, m_numKeys - n);
  }
  m_numKeys = n;
}

void QvStdFCurveImpl::InsertKeys(QvULong at, QvULong count) {
  const QvULong old = m_numKeys;
  const QvULong n = old + count;
  const QvULong capacity = capacity_for(m_capacity, n);
  if (capacity != m_capacity) Reallocate(capacity, old);
  copy_keys(m_keys + at + count, m_keys + at, old - at);
  zero_keys(m_keys + at, count);
  m_numKeys = n;
}

// Removal reallocates only once the keys fill less than half of the block, one step later than
// Resize would: a run of removals and insertions at the boundary does not thrash the block.
void QvStdFCurveImpl::EraseKeys(QvULong first, QvULong count) {
  const QvULong old = m_numKeys;
  copy_keys(m_keys + first, m_keys + first + count, old - first - count);
  zero_keys(m_keys + old - count, count);
  const QvULong n = old - count;
  m_numKeys = n;
  if (n < m_capacity / 2) {
    QvULong c = m_capacity;
    while (c > n) c >>= 1;
    if (c == 0) c = 1;
    while (c < n) c <<= 1;
    try {
      Reallocate(c, n);
    } catch (const std::bad_alloc&) {
      // Keeping the larger block is harmless.
    }
  }
}

// Position search. Sequential evaluation moves the hint by at most one key, so on long curves the
// intervals next to the hint are tried before a binary search; short curves go straight to the
// binary search. Only the neighbourhood and the ends compare at 1e-15: the binary search calls a
// hit only on bit-for-bit equality.
QvStdFCurveImpl::KeyPosition QvStdFCurveImpl::FindKey(double x) const {
  const QvStdFCurveKey* k = m_keys;
  const QvULong n = m_numKeys;
  const QvULong last = n - 1;
  if (k[0].parameter >= x) {
    m_searchHint = 0;
    if (std::fabs(x - k[0].parameter) <= kKeyTolerance) return {1, true};
    return {0, false};
  }
  if (x >= k[last].parameter) {
    m_searchHint = last;
    return {n, std::fabs(x - k[last].parameter) <= kKeyTolerance};
  }
  const QvULong c = std::min(m_searchHint, last);
  const QvULong a = c - std::min<QvULong>(c, 2);
  const QvULong b = c + std::min<QvULong>(last - c, 2);
  auto in_interval = [k](QvULong i, double v) {
    return k[i].parameter <= v && v < k[i + 1].parameter;
  };
  auto hit = [this, k](QvULong i, double v) -> KeyPosition {
    m_searchHint = i;
    return {i + 1, std::fabs(v - k[i].parameter) <= kKeyTolerance};
  };
  if (last >= 11 && k[a].parameter <= x && x <= k[b].parameter) {
    if (c < last && in_interval(c, x)) return hit(c, x);
    if (in_interval(b - 1, x)) return hit(b - 1, x);
    if (in_interval(a, x)) return hit(a, x);
    if (c >= 1 && in_interval(c - 1, x)) return hit(c - 1, x);
    if (std::fabs(x - k[b].parameter) <= kKeyTolerance) {
      m_searchHint = b;
      return {b + 1, true};
    }
  }
  QvULong low;
  QvULong high;
  if (k[a].parameter > x) {
    low = 0;
    high = a;
  } else {
    high = last;
    low = x > k[b].parameter ? b : 0;
  }
  while (high - low >= 2) {
    const QvULong mid = (low + high) >> 1;
    if (x > k[mid].parameter) {
      low = mid;
    } else if (k[mid].parameter > x) {
      high = mid;
    } else {
      m_searchHint = mid;
      return {mid + 1, true};
    }
  }
  m_searchHint = low;
  return {low + 1, false};
}

// A NaN parameter or tolerance has no key within it; without this test the search, which treats
// NaN as equal to any key, would hand one out.
bool QvStdFCurveImpl::FindKeyNear(double x, double tolerance, QvULong& index) const {
  const QvULong n = m_numKeys;
  if (n == 0 || std::isnan(x) || std::isnan(tolerance)) return false;
  const KeyPosition found = FindKey(x - tolerance);
  const QvULong first = found.exact ? found.position - 1 : found.position;
  if (first == n) return false;
  const double hi = x + tolerance;
  if (m_keys[first].parameter > hi) return false;
  QvULong last = first;
  if (std::fabs(m_keys[first].parameter - hi) > kKeyTolerance) {
    while (last + 1 < n && m_keys[last + 1].parameter <= hi) {
      ++last;
      if (std::fabs(m_keys[last].parameter - hi) <= kKeyTolerance) break;
    }
  }
  QvULong best = first;
  double best_distance = std::fabs(x - m_keys[first].parameter);
  for (QvULong i = first + 1; i <= last; ++i) {
    const double distance = std::fabs(x - m_keys[i].parameter);
    if (distance < best_distance) {
      best = i;
      best_distance = distance;
    }
  }
  index = best;
  return true;
}

double QvStdFCurveImpl::SnapToKey(double x) const {
  QvULong i;
  if (FindKeyNear(x, kSnapTolerance, i)) return m_keys[i].parameter;
  return x;
}

void QvStdFCurveImpl::SelectInterval(double from, double to, QvLong openFrom, QvLong openTo,
                                     QvULong& first, QvULong& end) const {
  first = end = 0;
  const QvULong n = m_numKeys;
  if (n == 0) return;
  const bool same_ends = std::fabs(from - to) <= kKeyTolerance;
  if (same_ends && openFrom != 0 && openTo != 0) return;
  const KeyPosition found = FindKey(from);
  QvULong i = found.position;
  if (found.exact) {
    const bool skip = openFrom != 0 && (!same_ends || openFrom == openTo);
    i = skip ? found.position : found.position - 1;
  }
  QvULong j = i;
  while (j < n && !(m_keys[j].parameter > to)) {
    if (openTo != 0 && std::fabs(m_keys[j].parameter - to) <= kKeyTolerance) break;
    ++j;
  }
  first = i;
  end = j;
}

bool QvStdFCurveImpl::AnyKeyHasFlags(double from, double to, QvLong openFrom, QvLong openTo,
                                     std::uint16_t bits) const {
  QvULong first;
  QvULong end;
  SelectInterval(from, to, openFrom, openTo, first, end);
  for (QvULong i = first; i < end; ++i)
    if ((m_keys[i].flags & bits) == bits) return true;
  return false;
}

double QvStdFCurveImpl::Arrival(QvULong i) const {
  if (i > 0 && m_keys[i - 1].segmentKind == QvBaseFCurve::FSConstant)
    return m_keys[i - 1].rightValue;
  return m_keys[i].leftValue;
}

namespace {

// A key flat at an extremum keeps both handles level where its values are a local peak or
// trough, and always at the two ends of the curve.
bool flat_at_extremum(const QvStdFCurveKey* k, QvULong n, QvULong i) {
  if (i == 0 || i == n - 1) return true;
  const double q = k[i - 1].rightValue;
  const double r = k[i].rightValue;
  const double l = k[i].leftValue;
  const double s = k[i + 1].leftValue;
  const bool e = (s >= r && q >= r) || (r >= q && r >= s);
  if (std::fabs(r - l) <= kKeyTolerance) return e;
  return e || (q >= l && s >= l) || (l >= q && l >= s);
}

double third_towards(double from, double to) { return from + (to - from) / 3.0; }

}  // namespace

// Automatic handles take the slope of the chord between the two neighbours; linear handles take
// the slope of the chord to the neighbour on their side. The left side decides on one third of the
// way by its own automatic flag; the right side only when the next key is automatic too.
double QvStdFCurveImpl::LeftHandleValue(QvULong i) const {
  const QvStdFCurveKey& key = m_keys[i];
  const std::uint16_t flags = key.flags;
  if (flags & (kFlagTangentFlat | kFlagTangentZeroLength)) return key.leftValue;
  if ((flags & kFlagTangentFlatAtExtremum) && flat_at_extremum(m_keys, m_numKeys, i))
    return key.leftValue;
  if (flags & kFlagTangentLinear) {
    if (i == 0) return key.leftValue;
    const QvStdFCurveKey& prev = m_keys[i - 1];
    const double m = (key.leftValue - prev.rightValue) / (key.parameter - prev.parameter);
    const double x = (flags & kFlagTangentAutomatic) ? third_towards(key.parameter, prev.parameter)
                                                     : key.leftHandle.x;
    return key.leftValue + m * (x - key.parameter);
  }
  if (!(flags & kFlagTangentAutomatic)) return key.leftHandle.y;
  if (i == 0 || i == m_numKeys - 1) return key.leftValue;
  const QvStdFCurveKey& prev = m_keys[i - 1];
  const QvStdFCurveKey& next = m_keys[i + 1];
  const double m = (next.leftValue - prev.rightValue) / (next.parameter - prev.parameter);
  const double x = third_towards(key.parameter, prev.parameter);
  return key.leftValue + m * (x - key.parameter);
}

double QvStdFCurveImpl::RightHandleValue(QvULong i) const {
  const QvStdFCurveKey& key = m_keys[i];
  const std::uint16_t flags = key.flags;
  if (flags & (kFlagTangentFlat | kFlagTangentZeroLength)) return key.rightValue;
  if ((flags & kFlagTangentFlatAtExtremum) && flat_at_extremum(m_keys, m_numKeys, i))
    return key.rightValue;
  const bool last = i == m_numKeys - 1;
  const bool third = !last && (flags & kFlagTangentAutomatic) &&
                     (m_keys[i + 1].flags & kFlagTangentAutomatic);
  if (flags & kFlagTangentLinear) {
    if (last) return key.rightValue;
    const QvStdFCurveKey& next = m_keys[i + 1];
    const double m = (next.leftValue - key.rightValue) / (next.parameter - key.parameter);
    const double x = third ? third_towards(key.parameter, next.parameter) : key.rightHandle.x;
    return key.rightValue + m * (x - key.parameter);
  }
  if (!(flags & kFlagTangentAutomatic)) return key.rightHandle.y;
  if (i == 0 || last) return key.rightValue;
  const QvStdFCurveKey& prev = m_keys[i - 1];
  const QvStdFCurveKey& next = m_keys[i + 1];
  const double m = (next.leftValue - prev.rightValue) / (next.parameter - prev.parameter);
  const double x = third ? third_towards(key.parameter, next.parameter) : key.rightHandle.x;
  return key.rightValue + m * (x - key.parameter);
}

QvPoint2<double> QvStdFCurveImpl::EvaluatedLeftHandle(QvULong i) const {
  const QvStdFCurveKey& key = m_keys[i];
  const std::uint16_t flags = key.flags;
  if (flags & kFlagTangentZeroLength) return QvPoint2<double>(key.parameter, key.leftValue);
  if (flags & kFlagTangentFlat) return QvPoint2<double>(key.leftHandle.x, key.leftValue);
  if ((flags & kFlagTangentFlatAtExtremum) && flat_at_extremum(m_keys, m_numKeys, i))
    return QvPoint2<double>(key.leftHandle.x, key.leftValue);
  if (!(flags & (kFlagTangentLinear | kFlagTangentAutomatic))) return key.leftHandle;
  const double x = ((flags & kFlagTangentAutomatic) && i != 0)
                       ? third_towards(key.parameter, m_keys[i - 1].parameter)
                       : key.leftHandle.x;
  return QvPoint2<double>(x, LeftHandleValue(i));
}

QvPoint2<double> QvStdFCurveImpl::EvaluatedRightHandle(QvULong i) const {
  const QvStdFCurveKey& key = m_keys[i];
  const std::uint16_t flags = key.flags;
  if (flags & kFlagTangentZeroLength) return QvPoint2<double>(key.parameter, key.rightValue);
  if (flags & kFlagTangentFlat) return QvPoint2<double>(key.rightHandle.x, key.rightValue);
  if ((flags & kFlagTangentFlatAtExtremum) && flat_at_extremum(m_keys, m_numKeys, i))
    return QvPoint2<double>(key.rightHandle.x, key.rightValue);
  if (!(flags & (kFlagTangentLinear | kFlagTangentAutomatic))) return key.rightHandle;
  const bool third = i + 1 < m_numKeys && (flags & kFlagTangentAutomatic) &&
                     (m_keys[i + 1].flags & kFlagTangentAutomatic);
  const double x =
      third ? third_towards(key.parameter, m_keys[i + 1].parameter) : key.rightHandle.x;
  return QvPoint2<double>(x, RightHandleValue(i));
}

qv::internal::SegmentControls QvStdFCurveImpl::CubicControls(QvULong i) const {
  const QvStdFCurveKey& key = m_keys[i];
  const QvStdFCurveKey& next = m_keys[i + 1];
  qv::internal::SegmentControls s;
  s.x[0] = key.parameter;
  s.x[3] = next.parameter;
  if (key.flags & kFlagTangentZeroLength)
    s.x[1] = s.x[0];
  else if ((key.flags & kFlagTangentAutomatic) && (next.flags & kFlagTangentAutomatic))
    s.x[1] = third_towards(key.parameter, next.parameter);
  else
    s.x[1] = key.rightHandle.x;
  if (next.flags & kFlagTangentZeroLength)
    s.x[2] = s.x[3];
  else if (next.flags & kFlagTangentAutomatic)
    s.x[2] = third_towards(next.parameter, key.parameter);
  else
    s.x[2] = next.leftHandle.x;
  s.y[0] = key.rightValue;
  s.y[1] = RightHandleValue(i);
  s.y[2] = LeftHandleValue(i + 1);
  s.y[3] = next.leftValue;
  return s;
}

double QvStdFCurveImpl::SegmentValue(double x, QvULong i) const {
  const QvStdFCurveKey& key = m_keys[i];
  switch (key.segmentKind) {
    case QvBaseFCurve::FSConstant:
      return key.rightValue;
    case QvBaseFCurve::FSLinear: {
      const QvStdFCurveKey& next = m_keys[i + 1];
      return line_at(key.parameter, key.rightValue, next.parameter, next.leftValue, x);
    }
    case QvBaseFCurve::FSBezierCubic: {
      const qv::internal::SegmentControls s = CubicControls(i);
      const double t = qv::internal::solve_bezier(x, s.x[0], s.x[1], s.x[2], s.x[3]);
      return qv::internal::bezier_polynomial(s.y[0], s.y[1], s.y[2], s.y[3]).At(t);
    }
    default:
      return 0.0;
  }
}

// Outside the keys a linear extrapolation continues the first or last segment. A cubic continues
// along its stored outer handle when that handle has a length, otherwise along its inner one; a
// vertical handle is tilted by 1e-7 so that the line has a slope.
double QvStdFCurveImpl::LeftExtrapolation(double x) const {
  const QvStdFCurveKey& key = m_keys[0];
  if (m_numKeys == 1 || key.segmentKind == QvBaseFCurve::FSConstant) return key.leftValue;
  const QvStdFCurveKey& next = m_keys[1];
  auto linear = [&] {
    return line_at(key.parameter, key.rightValue, next.parameter, next.leftValue, x);
  };
  if (key.segmentKind == QvBaseFCurve::FSLinear) return linear();
  if (key.segmentKind != QvBaseFCurve::FSBezierCubic) return key.leftValue;
  if (key.flags & (kFlagTangentFlat | kFlagTangentFlatAtExtremum)) return key.leftValue;
  const QvPoint2<double>& left = key.leftHandle;
  const double e_left = std::fabs(left.x - key.parameter) < kDegenerateHandle ? 1e-7 : 0.0;
  if (!is_degenerate(left, key.parameter, key.leftValue))
    return line_at(left.x - e_left, left.y, key.parameter, key.rightValue, x);
  const QvPoint2<double>& right = key.rightHandle;
  const double e_right = std::fabs(right.x - key.parameter) < kDegenerateHandle ? 1e-7 : 0.0;
  if (is_degenerate(right, key.parameter, key.rightValue)) return linear();
  return line_at(key.parameter, key.rightValue, right.x + e_right, right.y, x);
}

double QvStdFCurveImpl::RightExtrapolation(double x) const {
  const QvULong n = m_numKeys;
  const QvStdFCurveKey& key = m_keys[n - 1];
  if (n == 1) return key.rightValue;
  const QvStdFCurveKey& prev = m_keys[n - 2];
  if (prev.segmentKind == QvBaseFCurve::FSConstant) return key.rightValue;
  auto linear = [&] {
    return line_at(prev.parameter, prev.rightValue, key.parameter, key.leftValue, x);
  };
  if (prev.segmentKind == QvBaseFCurve::FSLinear) return linear();
  if (prev.segmentKind != QvBaseFCurve::FSBezierCubic) return key.rightValue;
  if (key.flags & (kFlagTangentFlat | kFlagTangentFlatAtExtremum)) return key.rightValue;
  const QvPoint2<double>& right = key.rightHandle;
  const double e_right = std::fabs(right.x - key.parameter) < kDegenerateHandle ? 1e-7 : 0.0;
  if (!is_degenerate(right, key.parameter, key.rightValue))
    return line_at(key.parameter, key.leftValue, right.x + e_right, right.y, x);
  const QvPoint2<double>& left = key.leftHandle;
  const double e_left = std::fabs(left.x - key.parameter) < kDegenerateHandle ? 1e-7 : 0.0;
  if (is_degenerate(left, key.parameter, key.leftValue)) return linear();
  return line_at(left.x - e_left, left.y, key.parameter, key.leftValue, x);
}

double QvStdFCurveImpl::Fold(double x) const {
  const QvULong n = m_numKeys;
  if (n < 2) return x;
  if (m_extrapolation != QvBaseFCurve::ExtrapolationCycle &&
      m_extrapolation != QvBaseFCurve::ExtrapolationCycleOffset)
    return x;
  const double first = m_keys[0].parameter;
  const double last = m_keys[n - 1].parameter;
  double y = x;
  if (x > last)
    y = std::fmod(x - first, last - first) + first;
  else if (x < first)
    y = last - std::fmod(first - x, last - first);
  if (y < first) y = first;
  if (y > last) y = last;
  return SnapToKey(y);
}

double QvStdFCurveImpl::Clamp(double v) const {
  if (m_clampMin >= v) return m_clampMin;
  if (v >= m_clampMax) return m_clampMax;
  return v;  // NaN passes through
}

// With the cycle offset every whole period adds the value step of one period. From the right,
// a parameter on a seam is read at the last key of the previous period; from the left it is read
// at the first key of its own period, whose arrival is that same seam seen from below.
double QvStdFCurveImpl::CycleOffsetValue(double x, bool fromLeft) const {
  const QvULong n = m_numKeys;
  const QvStdFCurveKey& first = m_keys[0];
  const QvStdFCurveKey& last = m_keys[n - 1];
  double y = x;
  double cycles = 0.0;
  double delta = 0.0;
  if (n >= 2) {
    const double f = first.parameter;
    const double l = last.parameter;
    const double period = l - f;
    const double r = (x - f) / period;
    const double c = std::ceil(r);
    const bool rising = fromLeft ? 1e-9 >= f - x : x > f;
    const double d = rising ? period * (r - std::floor(r)) : period * (c - r);
    if (std::fabs(d) <= 1e-9) {
      y = fromLeft ? f : l;
    } else {
      y = rising ? f + d : l - d;
      if (y < f) y = f;
      if (y > l) y = l;
    }
    if (fromLeft) {
      delta = last.rightValue - first.leftValue;
      cycles = std::floor(r);
    } else {
      delta = last.rightValue - first.rightValue;
      cycles = std::trunc(c - 1.0);
    }
  }
  const KeyPosition found = FindKey(y);
  if (found.exact) {
    const QvULong i = found.position - 1;
    if (!fromLeft) {
      if (n >= 2 && i == n - 1) return first.rightValue + delta + cycles * delta;
      return m_keys[i].rightValue + cycles * delta;
    }
    if (n >= 2 && i == 0) return last.rightValue - delta + cycles * delta;
    return Arrival(i) + cycles * delta;
  }
  if (found.position == n) return last.rightValue;
  if (found.position == 0) return first.leftValue;
  return SegmentValue(y, found.position - 1) + cycles * delta;
}

double QvStdFCurveImpl::EvalCore(double x) const {
  const QvULong n = m_numKeys;
  if (n == 0) return m_valueWhenNoKeys;
  const unsigned char method = m_extrapolation;
  if (method == QvBaseFCurve::ExtrapolationCycleOffset) return CycleOffsetValue(x, false);
  const bool cycle = method == QvBaseFCurve::ExtrapolationCycle;
  if (cycle && n >= 2) x = Fold(x);
  const KeyPosition found = FindKey(x);
  if (found.exact) {
    // A cycle restarts at its seam: the last key reads as the first.
    if (cycle && n >= 2 && found.position == n) return m_keys[0].rightValue;
    return m_keys[found.position - 1].rightValue;
  }
  const bool linear = method == QvBaseFCurve::ExtrapolationLinear;
  if (found.position == n) return linear ? RightExtrapolation(x) : m_keys[n - 1].rightValue;
  if (found.position == 0) return linear ? LeftExtrapolation(x) : m_keys[0].leftValue;
  return SegmentValue(x, found.position - 1);
}

double QvStdFCurveImpl::EvalLeftCore(double x) const {
  const QvULong n = m_numKeys;
  if (n == 0) return m_valueWhenNoKeys;
  const unsigned char method = m_extrapolation;
  if (method == QvBaseFCurve::ExtrapolationCycleOffset) return CycleOffsetValue(x, true);
  const bool cycle = method == QvBaseFCurve::ExtrapolationCycle;
  if (cycle && n >= 2) x = Fold(x);
  const KeyPosition found = FindKey(x);
  if (found.exact) {
    // Approached from below, the first key of a cycle closes the previous one.
    if (cycle && n >= 2 && found.position == 1) return Arrival(n - 1);
    return Arrival(found.position - 1);
  }
  const bool linear = method == QvBaseFCurve::ExtrapolationLinear;
  if (found.position == n) return linear ? RightExtrapolation(x) : m_keys[n - 1].rightValue;
  if (found.position == 0) return linear ? LeftExtrapolation(x) : m_keys[0].leftValue;
  return SegmentValue(x, found.position - 1);
}

// The integral of a cubic segment is that of y(t) x'(t) over the parameter range of t, a
// polynomial of degree 5 integrated term by term.
double QvStdFCurveImpl::SegmentIntegral(QvULong i, double from, double to) const {
  const QvStdFCurveKey& key = m_keys[i];
  const QvStdFCurveKey& next = m_keys[i + 1];
  switch (key.segmentKind) {
    case QvBaseFCurve::FSConstant:
      return (to - from) * key.rightValue;
    case QvBaseFCurve::FSLinear: {
      const double a =
          line_at(key.parameter, key.rightValue, next.parameter, next.leftValue, from);
      const double b = line_at(key.parameter, key.rightValue, next.parameter, next.leftValue, to);
      return (to - from) * (a + b) * 0.5;
    }
    case QvBaseFCurve::FSBezierCubic: {
      const qv::internal::SegmentControls s = CubicControls(i);
      const double t1 =
          from <= key.parameter ? 0.0
                                : qv::internal::solve_bezier(from, s.x[0], s.x[1], s.x[2], s.x[3]);
      const double t2 =
          to >= next.parameter ? 1.0
                               : qv::internal::solve_bezier(to, s.x[0], s.x[1], s.x[2], s.x[3]);
      const qv::internal::CubicPolynomial y =
          qv::internal::bezier_polynomial(s.y[0], s.y[1], s.y[2], s.y[3]);
      const qv::internal::CubicPolynomial x =
          qv::internal::bezier_polynomial(s.x[0], s.x[1], s.x[2], s.x[3]);
      // x'(t) = 3 x.a t^2 + 2 x.b t + x.c
      const double da = 3.0 * x.a;
      const double db = 2.0 * x.b;
      const double dc = x.c;
      const double e5 = y.a * da;
      const double e4 = y.a * db + y.b * da;
      const double e3 = y.a * dc + y.b * db + y.c * da;
      const double e2 = y.b * dc + y.c * db + y.d * da;
      const double e1 = y.c * dc + y.d * db;
      const double e0 = y.d * dc;
      auto primitive = [&](double t) {
        return (((((e5 / 6.0 * t + e4 / 5.0) * t + e3 / 4.0) * t + e2 / 3.0) * t + e1 / 2.0) * t +
                e0) *
               t;
      };
      return primitive(t2) - primitive(t1);
    }
    default:
      return 0.0;
  }
}

// Outside the keys the curve counts as its end values, whatever the extrapolation method.
double QvStdFCurveImpl::Integral(double from, double to) const {
  const QvULong n = m_numKeys;
  if (n == 0) return (to - from) * m_valueWhenNoKeys;
  if (from > to) return -Integral(to, from);
  const QvStdFCurveKey& first = m_keys[0];
  const QvStdFCurveKey& last = m_keys[n - 1];
  double sum = 0.0;
  if (from < first.parameter) sum += (std::min(to, first.parameter) - from) * first.leftValue;
  if (to > last.parameter) sum += (to - std::max(from, last.parameter)) * last.rightValue;
  const double lo = std::max(from, first.parameter);
  const double hi = std::min(to, last.parameter);
  if (!(lo < hi)) return sum;
  QvULong i = FindKey(lo).position;
  i = i == 0 ? 0 : i - 1;
  if (i > 0 && m_keys[i].parameter > lo) --i;
  for (; i + 1 < n && m_keys[i].parameter < hi; ++i) {
    const double a = std::max(lo, m_keys[i].parameter);
    const double b = std::min(hi, m_keys[i + 1].parameter);
    if (a < b) sum += SegmentIntegral(i, a, b);
  }
  return sum;
}

bool QvStdFCurveImpl::IsBijective() const {
  const QvULong n = m_numKeys;
  if (n < 2) return false;
  for (QvULong i = 0; i < n; ++i)
    if (std::fabs(Arrival(i) - m_keys[i].rightValue) > kKeyTolerance) return false;
  if (m_keys[0].rightValue == m_keys[1].rightValue) return false;
  const bool rising = m_keys[1].rightValue > m_keys[0].rightValue;
  const double sign = rising ? 1.0 : -1.0;
  for (QvULong i = 0; i + 1 < n; ++i) {
    switch (m_keys[i].segmentKind) {
      case QvBaseFCurve::FSLinear: {
        const double step = sign * (m_keys[i + 1].rightValue - m_keys[i].rightValue);
        if (!(step > 0.0)) return false;
        break;
      }
      case QvBaseFCurve::FSBezierCubic: {
        // A falling cubic is tested as the rising mirror of its values.
        const qv::internal::SegmentControls s = CubicControls(i);
        const double y0 = sign * s.y[0];
        const double y1 = sign * s.y[1];
        const double y2 = sign * s.y[2];
        const double y3 = sign * s.y[3];
        if (y2 > y3 || y0 > y1 || y0 >= y3) return false;
        if (!QvStdFCurve_IsCubicSegmentValid(QvPoint2<double>(y0, 0.0), QvPoint2<double>(y1, 0.0),
                                             QvPoint2<double>(y2, 0.0), QvPoint2<double>(y3, 0.0)))
          return false;
        break;
      }
      default:
        return false;  // a constant segment is never one to one
    }
  }
  return true;
}

bool QvStdFCurveImpl::IsValid() const {
  if (m_firstSegmentKind == 0) return false;
  if (std::isnan(m_clampMin) || std::isnan(m_clampMax) || std::isnan(m_valueWhenNoKeys))
    return false;
  if (m_clampMin > m_clampMax) return false;
  const QvULong n = m_numKeys;
  for (QvULong i = 0; i < n; ++i) {
    const QvStdFCurveKey& key = m_keys[i];
    if (key.segmentKind == 0) return false;
    if (i + 1 == n) break;
    const QvStdFCurveKey& next = m_keys[i + 1];
    if (!(next.parameter > key.parameter)) return false;
    if (!QvStdFCurve_IsCubicSegmentValid(QvPoint2<double>(key.parameter, key.rightValue),
                                         key.rightHandle, next.leftHandle,
                                         QvPoint2<double>(next.parameter, next.leftValue)))
      return false;
  }
  return true;
}

namespace {

bool near_zero(double v, double tolerance) { return -tolerance <= v && v <= tolerance; }

bool same_sign_or_zero(double a, double b) { return a == 0.0 || b == 0.0 || (a > 0.0) == (b > 0.0); }

}  // namespace

// Whether the two evaluated tangents of key i line up: collinear, or for a mirror-continuous key
// mirror images across the vertical through the key. A tangent of no length goes with anything.
bool QvStdFCurveImpl::TangentsContinuous(QvULong i) const {
  const QvStdFCurveKey& key = m_keys[i];
  const QvPoint2<double> left = EvaluatedLeftHandle(i);
  const QvPoint2<double> right = EvaluatedRightHandle(i);
  QvPoint2<double> a(left.x - key.parameter, left.y - key.leftValue);
  QvPoint2<double> b(right.x - key.parameter, right.y - key.rightValue);
  if ((near_zero(a.x, 1e-7) && near_zero(a.y, 1e-7)) || (near_zero(b.x, 1e-7) && near_zero(b.y, 1e-7)))
    return true;
  if (key.flags & qv::internal::kFlagTangentMirrorContinuity) {
    if (near_zero(a.x, 1e-15) && near_zero(b.x, 1e-15)) return same_sign_or_zero(a.y, b.y);
    a.Normalize();
    b.Normalize();
    return near_zero(a.x + b.x, 1e-15) && near_zero(a.y - b.y, 1e-15);
  }
  if (std::fabs(a.x) <= 1e-7 && std::fabs(b.x) <= 1e-7) return same_sign_or_zero(a.y, -b.y);
  return std::fabs(a.x * b.y - a.y * b.x) <= 1e-7;
}

// Only x matters: a cubic whose x rises monotonically has one parameter t for every x. The
// polynomial test is the discriminant of x'(t) = 0 in terms of the four control abscissae.
QvLong QvStdFCurve_IsCubicSegmentValid(const QvPoint2<double>& p0, const QvPoint2<double>& p1,
                                       const QvPoint2<double>& p2, const QvPoint2<double>& p3) {
  const double x0 = p0.x;
  const double x1 = p1.x;
  const double x2 = p2.x;
  const double x3 = p3.x;
  if (x0 >= x3 || x0 > x1 || x2 > x3) return 0;
  if (x1 - x2 <= 1e-9) return 1;
  if (std::fabs(x1 - x0) <= kKeyTolerance && std::fabs(x2 - x3) <= kKeyTolerance) return 1;
  return x1 * x1 + x2 * x2 - x3 * (x1 - x0) - x2 * (x0 + x1) <= 1e-9 ? 1 : 0;
}
