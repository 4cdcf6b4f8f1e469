#include "fcurve/raw_body.h"

#include <algorithm>
#include <cmath>

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

RawLocation QvRawFCurveImpl::LocateKey(double t) const {
  return qv::internal::locate_key(m_keys, m_cursor, t);
}

bool QvRawFCurveImpl::FindKeyNear(double t, double tolerance, QvULong& index) const {
  return qv::internal::find_key_near(m_keys, m_cursor, t, tolerance, index);
}

RawSelection QvRawFCurveImpl::Select(double from, double to, QvLong openFrom,
                                     QvLong openTo) const {
  return qv::internal::select_keys(m_keys, m_cursor, from, to, openFrom, openTo);
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
  if (!IsCycling() || NumKeys() < 2) return t;
  const double first = m_keys.front().parameter;
  double folded = qv::internal::fold_plain_cycle(first, m_keys.back().parameter, t);
  QvULong k;
  if (FindKeyNear(folded, qv::internal::kKeySnapTolerance, k)) folded = m_keys[k].parameter;
  return folded;
}

double QvRawFCurveImpl::FoldOffset(double t, double& cycles) const {
  const double first = m_keys.front().parameter;
  const double last = m_keys.back().parameter;
  cycles = std::trunc(std::ceil((t - first) / (last - first)) - 1.0);
  return qv::internal::fold_offset_cycle(first, last, t, last);
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
  return qv::internal::keys_strictly_rising(m_keys);
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
