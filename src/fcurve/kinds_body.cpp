#include "fcurve/kinds_body.h"

#include <algorithm>
#include <cmath>

using qv::internal::kFlagValueLocked;
using qv::internal::kStepKeyTolerance;
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

SteppedLocation QvSteppedFCurveImpl::LocateKey(double t) const {
  return qv::internal::locate_key(m_keys, m_cursor, t);
}

bool QvSteppedFCurveImpl::FindKeyNear(double t, double tolerance, QvULong& index) const {
  if (std::isnan(t)) return false;
  return qv::internal::find_key_near(m_keys, m_cursor, t, tolerance, index);
}

SteppedSelection QvSteppedFCurveImpl::Select(double from, double to, QvLong openFrom,
                                             QvLong openTo) const {
  if (std::isnan(from) || std::isnan(to)) return SteppedSelection{0, 0};
  return qv::internal::select_keys(m_keys, m_cursor, from, to, openFrom, openTo);
}

QvLong QvSteppedFCurveImpl::StepValue(double t) const {
  if (m_keys.empty()) return m_valueWhenNoKeys;
  const SteppedLocation loc = LocateKey(t);
  if (loc.position == 0) return m_valueBeforeFirstKey;
  return m_keys[loc.position - 1].value;
}

double QvSteppedFCurveImpl::Fold(double t) const {
  if (!IsCycling() || NumKeys() < 2) return t;
  const double first = m_keys.front().parameter;
  double folded = qv::internal::fold_plain_cycle(first, m_keys.back().parameter, t);
  QvULong k;
  if (FindKeyNear(folded, qv::internal::kKeySnapTolerance, k)) folded = m_keys[k].parameter;
  return folded;
}

double QvSteppedFCurveImpl::FoldOffset(double t) const {
  const double last = m_keys.back().parameter;
  return qv::internal::fold_offset_cycle(m_keys.front().parameter, last, t, last);
}

QvLong QvSteppedFCurveImpl::Eval(double t) const {
  const QvULong n = NumKeys();
  if (n == 0) return m_valueWhenNoKeys;
  QvULong snapped;
  if (FindKeyNear(t, qv::internal::kKeySnapTolerance, snapped)) t = m_keys[snapped].parameter;
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
  return qv::internal::keys_strictly_rising(m_keys);
}

void QvSteppedFCurveImpl::RepairOrder() {
  if (qv::internal::repair_key_order(m_keys)) m_cursor = 0;
}
