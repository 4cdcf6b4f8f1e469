#include "fcurve/raw_body.h"

#include <algorithm>
#include <cmath>

using qv::internal::kRawKeyTolerance;
using qv::internal::kRawSeamTolerance;
using qv::internal::kRawSnapTolerance;
using qv::internal::RawLocation;
using qv::internal::RawSelection;

QvRawFCurveImpl::QvRawFCurveImpl(double valueWhenNoKeys) : m_valueWhenNoKeys(valueWhenNoKeys) {
  m_keys.reserve(2);
}

QvRawFCurveImpl::QvRawFCurveImpl(const QvRawFCurveImpl& other)
    : m_keys(other.m_keys),
      m_valueWhenNoKeys(other.m_valueWhenNoKeys),
      m_clampLow(other.m_clampLow),
      m_clampHigh(other.m_clampHigh),
      m_cursor(other.m_cursor),
      m_extrapolation(other.m_extrapolation),
      m_defaultBezierTangent(other.m_defaultBezierTangent),
      m_readOnly(other.m_readOnly),
      m_isTimeCurve(other.m_isTimeCurve) {}

QvRawFCurveImpl& QvRawFCurveImpl::operator=(const QvRawFCurveImpl& other) {
  if (this == &other) return *this;
  m_keys = other.m_keys;  // the only step that can throw, and it comes first
  m_hasAttributes = false;
  m_valueWhenNoKeys = other.m_valueWhenNoKeys;
  m_clampLow = other.m_clampLow;
  m_clampHigh = other.m_clampHigh;
  m_cursor = other.m_cursor;
  m_extrapolation = other.m_extrapolation;
  m_defaultBezierTangent = other.m_defaultBezierTangent;
  m_readOnly = other.m_readOnly;
  m_isTimeCurve = other.m_isTimeCurve;
  return *this;
}

// Consecutive evaluations at rising parameters mostly land in the cursor's interval or next to
// it, so a long curve first tries the few intervals around the cursor before it bisects.
RawLocation QvRawFCurveImpl::LocateKey(double t) const {
  const QvULong n = NumKeys();
  const Key* k = m_keys.data();
  if (t <= k[0].parameter) {
    m_cursor = 0;
    const bool exact = std::fabs(t - k[0].parameter) <= kRawKeyTolerance;
    return RawLocation{exact ? 1u : 0u, exact};
  }
  if (t >= k[n - 1].parameter) {
    m_cursor = n - 1;
    return RawLocation{n, std::fabs(t - k[n - 1].parameter) <= kRawKeyTolerance};
  }
  if (m_cursor > n - 1) m_cursor = n - 1;
  const QvULong cursor = m_cursor;
  const QvULong lo = cursor >= 2 ? cursor - 2 : 0;
  const QvULong hi = std::min(cursor + 2, n - 1);

  if (n - 1 >= 11 && t >= k[lo].parameter && t <= k[hi].parameter) {
    const long long tries[4] = {static_cast<long long>(cursor), static_cast<long long>(hi) - 1,
                                static_cast<long long>(lo), static_cast<long long>(cursor) - 1};
    for (long long i : tries) {
      if (i < 0 || i + 1 > static_cast<long long>(n - 1)) continue;
      const QvULong a = static_cast<QvULong>(i);
      if (t >= k[a].parameter && t < k[a + 1].parameter) {
        m_cursor = a;
        return RawLocation{a + 1, std::fabs(t - k[a].parameter) <= kRawKeyTolerance};
      }
    }
    if (std::fabs(t - k[hi].parameter) <= kRawKeyTolerance) {
      m_cursor = hi;
      return RawLocation{hi + 1, true};
    }
  }

  QvULong a;
  QvULong b;
  if (t > k[lo].parameter) {
    a = t > k[hi].parameter ? hi : lo;
    b = n - 1;
  } else {
    a = 0;
    b = lo;
  }
  while (b - a > 1) {
    const QvULong mid = (a + b) / 2;
    if (t > k[mid].parameter) {
      a = mid;
    } else if (t < k[mid].parameter) {
      b = mid;
    } else {
      m_cursor = mid;
      return RawLocation{mid + 1, true};
    }
  }
  // The lower start [0, lo] may end on a key equal to t at its upper end.
  if (t == k[b].parameter) {
    m_cursor = b;
    return RawLocation{b + 1, true};
  }
  m_cursor = a;
  return RawLocation{a + 1, false};
}

bool QvRawFCurveImpl::FindKeyNear(double t, double tolerance, QvULong& index) const {
  const QvULong n = NumKeys();
  if (n == 0) return false;
  const RawLocation loc = LocateKey(t - tolerance);
  const QvULong candidate = loc.exact ? loc.position - 1 : loc.position;
  if (candidate >= n) return false;
  const double top = t + tolerance;
  if (m_keys[candidate].parameter > top) return false;
  QvULong best = candidate;
  double best_distance = std::fabs(t - m_keys[candidate].parameter);
  QvULong i = candidate;
  while (std::fabs(m_keys[i].parameter - top) > kRawKeyTolerance && i + 1 < n &&
         m_keys[i + 1].parameter <= top) {
    ++i;
    const double d = std::fabs(t - m_keys[i].parameter);
    if (d < best_distance) {
      best = i;
      best_distance = d;
    }
  }
  index = best;
  return true;
}

RawSelection QvRawFCurveImpl::Select(double from, double to, QvLong openFrom,
                                     QvLong openTo) const {
  const QvULong n = NumKeys();
  if (n == 0) return RawSelection{0, 0};
  const bool same = std::fabs(from - to) <= kRawKeyTolerance;
  if (same && openFrom != 0 && openTo != 0) return RawSelection{0, 0};
  const RawLocation loc = LocateKey(from);
  QvULong first = loc.exact ? loc.position - 1 : loc.position;
  if (loc.exact && openFrom != 0 && (!same || (openFrom != 0) == (openTo != 0))) ++first;
  QvULong end = first;
  while (end < n) {
    const double p = m_keys[end].parameter;
    const bool at_to = std::fabs(p - to) <= kRawKeyTolerance;
    if (p > to && !at_to) break;
    if (at_to && openTo != 0) break;
    ++end;
  }
  if (first >= end) return RawSelection{first, 0};
  return RawSelection{first, end - first};
}

double QvRawFCurveImpl::Interpolate(QvULong a, QvULong b, double t) const {
  const Key& ka = m_keys[a];
  const Key& kb = m_keys[b];
  return ka.value + (kb.value - ka.value) * (t - ka.parameter) / (kb.parameter - ka.parameter);
}

double QvRawFCurveImpl::EvalHold(double t) const {
  const QvULong n = NumKeys();
  if (n == 0) return m_valueWhenNoKeys;
  const RawLocation loc = LocateKey(t);
  if (loc.exact) return m_keys[loc.position - 1].value;
  if (loc.position >= n) return m_keys[n - 1].value;
  if (loc.position == 0) return m_keys[0].value;
  return Interpolate(loc.position - 1, loc.position, t);
}

double QvRawFCurveImpl::Fold(double t) const {
  const QvULong n = NumKeys();
  if (!IsCycling() || n < 2) return t;
  const double first = m_keys[0].parameter;
  const double last = m_keys[n - 1].parameter;
  double folded = t;
  if (t > last) {
    folded = std::clamp(std::fmod(t - first, last - first) + first, first, last);
  } else if (t < first) {
    folded = std::clamp(last - std::fmod(first - t, last - first), first, last);
  }
  QvULong k;
  if (FindKeyNear(folded, kRawSnapTolerance, k)) folded = m_keys[k].parameter;
  return folded;
}

double QvRawFCurveImpl::FoldOffset(double t, double& cycles) const {
  const QvULong n = NumKeys();
  const double first = m_keys[0].parameter;
  const double last = m_keys[n - 1].parameter;
  const double period = last - first;
  const double x = (t - first) / period;
  double folded;
  if (t > first) {
    const double r = period * (x - std::floor(x));
    folded = std::fabs(r) <= kRawSeamTolerance ? last : std::clamp(r + first, first, last);
  } else {
    const double r = period * (std::ceil(x) - x);
    folded = std::fabs(r) <= kRawSeamTolerance ? last : std::clamp(last - r, first, last);
  }
  cycles = std::trunc(std::ceil(x) - 1.0);
  return folded;
}

double QvRawFCurveImpl::Eval(double t) const {
  const QvULong n = NumKeys();
  if (n == 0) return m_valueWhenNoKeys;
  switch (m_extrapolation) {
    case 2: {
      if (n == 1) return m_keys[0].value;
      const RawLocation loc = LocateKey(t);
      if (loc.exact) return m_keys[loc.position - 1].value;
      if (loc.position == 0) return Interpolate(0, 1, t);
      if (loc.position >= n) return Interpolate(n - 2, n - 1, t);
      return Interpolate(loc.position - 1, loc.position, t);
    }
    case 3: {
      if (n == 1) return m_keys[0].value;
      const double folded = Fold(t);
      const RawLocation loc = LocateKey(folded);
      // At the seam the cycle restarts: the last key shows the first key's value.
      if (loc.exact && loc.position == n) return m_keys[0].value;
      return EvalHold(folded);
    }
    case 4: {
      if (n == 1) return m_keys[0].value;
      double cycles = 0.0;
      const double folded = FoldOffset(t, cycles);
      const double rise = m_keys[n - 1].value - m_keys[0].value;
      const RawLocation loc = LocateKey(folded);
      // Counting the last key as first value plus one rise keeps the curve whole across seams.
      const double base = loc.exact && loc.position == n ? m_keys[0].value + rise : EvalHold(folded);
      return base + cycles * rise;
    }
    default:
      return EvalHold(t);
  }
}

double QvRawFCurveImpl::Clamp(double v) const {
  if (v < m_clampLow) return m_clampLow;
  if (v > m_clampHigh) return m_clampHigh;
  return v;
}

void QvRawFCurveImpl::Insert(QvULong position, double parameter, double value) {
  m_keys.insert(m_keys.begin() + static_cast<std::ptrdiff_t>(position), Key{parameter, value});
}

void QvRawFCurveImpl::Erase(QvULong first, QvULong count) {
  if (count == 0) return;
  const auto begin = m_keys.begin() + static_cast<std::ptrdiff_t>(first);
  m_keys.erase(begin, begin + static_cast<std::ptrdiff_t>(count));
  if (m_cursor >= NumKeys()) m_cursor = 0;
}

bool QvRawFCurveImpl::StrictlyRising() const {
  for (std::size_t i = 1; i < m_keys.size(); ++i)
    if (!(m_keys[i].parameter > m_keys[i - 1].parameter)) return false;
  return true;
}

int QvRawFCurveImpl::Monotonic() const {
  if (m_keys.size() < 2) return 0;
  bool rising = true;
  bool falling = true;
  for (std::size_t i = 1; i < m_keys.size(); ++i) {
    if (!(m_keys[i].value > m_keys[i - 1].value)) rising = false;
    if (!(m_keys[i].value < m_keys[i - 1].value)) falling = false;
  }
  return rising ? 1 : (falling ? -1 : 0);
}
