#include "fcurve/kinds_body.h"

#include <algorithm>
#include <cmath>

using qv::internal::kFlagValueLocked;
using qv::internal::kStepKeyTolerance;
using qv::internal::kStepSeamTolerance;
using qv::internal::kStepSnapTolerance;
using qv::internal::SteppedLocation;
using qv::internal::SteppedSelection;

namespace qv::internal {

QvLong saturate_trunc(double v) {
  if (std::isnan(v)) return 0;
  if (v <= -2147483648.0) return INT32_MIN;
  if (v >= 2147483647.0) return INT32_MAX;
  return static_cast<QvLong>(v);
}

QvLong wrap_long(long long v) {
  return static_cast<QvLong>(static_cast<std::uint32_t>(static_cast<unsigned long long>(v)));
}

}  // namespace qv::internal

QvSteppedFCurveImpl::QvSteppedFCurveImpl(bool boolean, double valueWhenNoKeys)
    : m_boolean(boolean),
      m_valueWhenNoKeys(boolean ? (std::fabs(valueWhenNoKeys - 1.0) <= kStepKeyTolerance ? 1 : 0)
                                : qv::internal::saturate_trunc(valueWhenNoKeys)),
      m_clampLow(boolean ? 0 : INT32_MIN),
      m_clampHigh(boolean ? 1 : INT32_MAX) {
  m_keys.reserve(2);
}

// Consecutive evaluations at rising parameters mostly land in the cursor's interval or next to
// it, so a long curve tries the few intervals around the cursor before it bisects.
SteppedLocation QvSteppedFCurveImpl::LocateKey(double t) const {
  const QvULong n = NumKeys();
  const Key* k = m_keys.data();
  if (t <= k[0].parameter) {
    m_cursor = 0;
    const bool exact = std::fabs(t - k[0].parameter) <= kStepKeyTolerance;
    return SteppedLocation{exact ? 1u : 0u, exact};
  }
  if (t >= k[n - 1].parameter) {
    m_cursor = n - 1;
    return SteppedLocation{n, std::fabs(t - k[n - 1].parameter) <= kStepKeyTolerance};
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
        return SteppedLocation{a + 1, std::fabs(t - k[a].parameter) <= kStepKeyTolerance};
      }
    }
    if (std::fabs(t - k[hi].parameter) <= kStepKeyTolerance) {
      m_cursor = hi;
      return SteppedLocation{hi + 1, true};
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
      return SteppedLocation{mid + 1, true};
    }
  }
  if (t == k[b].parameter) {
    m_cursor = b;
    return SteppedLocation{b + 1, true};
  }
  m_cursor = a;
  return SteppedLocation{a + 1, false};
}

bool QvSteppedFCurveImpl::FindKeyNear(double t, double tolerance, QvULong& index) const {
  const QvULong n = NumKeys();
  if (n == 0 || std::isnan(t)) return false;
  const SteppedLocation loc = LocateKey(t - tolerance);
  const QvULong candidate = loc.exact ? loc.position - 1 : loc.position;
  if (candidate >= n) return false;
  const double top = t + tolerance;
  if (m_keys[candidate].parameter > top) return false;
  QvULong best = candidate;
  double best_distance = std::fabs(t - m_keys[candidate].parameter);
  QvULong i = candidate;
  while (std::fabs(m_keys[i].parameter - top) > kStepKeyTolerance && i + 1 < n &&
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

SteppedSelection QvSteppedFCurveImpl::Select(double from, double to, QvLong openFrom,
                                             QvLong openTo) const {
  const QvULong n = NumKeys();
  if (n == 0 || std::isnan(from) || std::isnan(to)) return SteppedSelection{0, 0};
  const bool same = std::fabs(from - to) <= kStepKeyTolerance;
  if (same && openFrom != 0 && openTo != 0) return SteppedSelection{0, 0};
  const SteppedLocation loc = LocateKey(from);
  QvULong first = loc.exact ? loc.position - 1 : loc.position;
  if (loc.exact && openFrom != 0 && (!same || (openFrom != 0) == (openTo != 0))) ++first;
  QvULong end = first;
  while (end < n) {
    const double p = m_keys[end].parameter;
    const bool at_to = std::fabs(p - to) <= kStepKeyTolerance;
    if (p > to && !at_to) break;
    if (at_to && openTo != 0) break;
    ++end;
  }
  if (first >= end) return SteppedSelection{first, 0};
  return SteppedSelection{first, end - first};
}

QvLong QvSteppedFCurveImpl::StepValue(double t) const {
  if (m_keys.empty()) return m_valueWhenNoKeys;
  const SteppedLocation loc = LocateKey(t);
  if (loc.position == 0) return m_valueBeforeFirstKey;
  return m_keys[loc.position - 1].value;
}

double QvSteppedFCurveImpl::Fold(double t) const {
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
  if (FindKeyNear(folded, kStepSnapTolerance, k)) folded = m_keys[k].parameter;
  return folded;
}

double QvSteppedFCurveImpl::FoldOffset(double t) const {
  const QvULong n = NumKeys();
  const double first = m_keys[0].parameter;
  const double last = m_keys[n - 1].parameter;
  const double period = last - first;
  const double x = (t - first) / period;
  if (t > first) {
    const double r = period * (x - std::floor(x));
    return std::fabs(r) <= kStepSeamTolerance ? last : std::clamp(r + first, first, last);
  }
  const double r = period * (std::ceil(x) - x);
  return std::fabs(r) <= kStepSeamTolerance ? last : std::clamp(last - r, first, last);
}

QvLong QvSteppedFCurveImpl::Eval(double t) const {
  const QvULong n = NumKeys();
  if (n == 0) return m_valueWhenNoKeys;
  QvULong snapped;
  if (FindKeyNear(t, kStepSnapTolerance, snapped)) t = m_keys[snapped].parameter;
  if (n >= 2 && IsCycling()) {
    // The offset fold lands in the key range but may miss a key by a rounding; the plain fold
    // that follows it only snaps it onto the key, so that a step rises exactly where it should.
    const double folded = Fold(m_extrapolation == 3 ? t : FoldOffset(t));
    const SteppedLocation loc = LocateKey(folded);
    // At the seam the cycle restarts: the last key shows the first key's value. A stepped curve
    // has no rise to carry from cycle to cycle, so the offset cycle repeats the same steps.
    if (loc.exact && loc.position == n) return m_keys[0].value;
    if (loc.position == 0) return m_valueBeforeFirstKey;
    return m_keys[loc.position - 1].value;
  }
  const SteppedLocation loc = LocateKey(t);
  if (!loc.exact && (loc.position == 0 || loc.position == n) && m_extrapolation == 2) return 0;
  if (loc.position == 0) return m_valueBeforeFirstKey;
  return m_keys[loc.position - 1].value;
}

void QvSteppedFCurveImpl::UpdateValueBeforeFirstKey(QvLong v) {
  if (!m_keys.empty() && (m_keys[0].flags & kFlagValueLocked) != 0 && m_keys[0].value != v) return;
  m_valueBeforeFirstKey = v;
}

QvLong QvSteppedFCurveImpl::CreateKeyCore(double t, QvLong v) {
  if (m_keys.empty()) {
    m_keys.push_back(Key{t, v, 0});
    m_valueWhenNoKeys = v;
    UpdateValueBeforeFirstKey(v);
    return 1;
  }
  const SteppedLocation loc = LocateKey(t);
  if (loc.exact) {
    Key& key = m_keys[loc.position - 1];
    if ((key.flags & kFlagValueLocked) != 0) return 0;
    key.value = v;
    if (loc.position == 1) UpdateValueBeforeFirstKey(v);
    return 1;
  }
  m_keys.insert(m_keys.begin() + static_cast<std::ptrdiff_t>(loc.position), Key{t, v, 0});
  if (loc.position == 0) UpdateValueBeforeFirstKey(v);
  return 1;
}

void QvSteppedFCurveImpl::EraseKeys(QvULong first, QvULong count) {
  if (count == 0) return;
  const QvULong n = NumKeys();
  if (first == 0) {
    if (count == n) {
      // The emptied curve shows valueWhenNoKeys; keep the left value in step unless the first
      // key guarded a different value.
      const Key& k = m_keys[0];
      if (!((k.flags & kFlagValueLocked) != 0 && k.value != m_valueWhenNoKeys))
        m_valueBeforeFirstKey = m_valueWhenNoKeys;
    } else {
      // The removed keys' last value now arrives at the new first key: the step to its left stays.
      const QvLong carried = m_keys[count - 1].value;
      const Key& next = m_keys[count];
      if (!((next.flags & kFlagValueLocked) != 0 && next.value != carried))
        m_valueBeforeFirstKey = carried;
    }
  }
  const auto begin = m_keys.begin() + static_cast<std::ptrdiff_t>(first);
  m_keys.erase(begin, begin + static_cast<std::ptrdiff_t>(count));
  if (m_cursor >= NumKeys()) m_cursor = 0;
}

bool QvSteppedFCurveImpl::AnyFlagInRange(double from, double to, QvLong openFrom, QvLong openTo,
                                         std::uint16_t mask, bool all) const {
  if (m_keys.empty()) return false;
  if (openFrom != 0 && openTo != 0 && std::fabs(from - to) <= kStepKeyTolerance) return false;
  if (from > to) std::swap(from, to);
  const SteppedSelection sel = Select(from, to, openFrom, openTo);
  for (QvULong i = sel.first; i < sel.first + sel.count; ++i) {
    const std::uint16_t f = m_keys[i].flags & mask;
    if (all ? f == mask : f != 0) return true;
  }
  return false;
}

bool QvSteppedFCurveImpl::StrictlyRising() const {
  for (std::size_t i = 1; i < m_keys.size(); ++i)
    if (!(m_keys[i].parameter > m_keys[i - 1].parameter)) return false;
  return true;
}

void QvSteppedFCurveImpl::RepairOrder() {
  if (m_keys.size() < 2 || StrictlyRising()) return;
  double highest = m_keys[0].parameter;
  std::size_t i = 1;
  while (i < m_keys.size()) {
    if (!(m_keys[i].parameter > highest)) {
      m_keys.erase(m_keys.begin() + static_cast<std::ptrdiff_t>(i));
    } else {
      highest = m_keys[i].parameter;
    }
    ++i;
  }
  m_cursor = 0;
}
