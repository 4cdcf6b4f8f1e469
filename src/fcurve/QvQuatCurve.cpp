#include <qv/QvQuatFCurve.h>

#include "fcurve/rotation_math.h"

#include <cmath>
#include <utility>

using qv::internal::kDegreesToRadians;
using qv::internal::kRadiansToDegrees;
using qv::internal::Quat;
using qv::internal::QuatSegmentTable;

namespace {

constexpr QvULong kNoKey = 0xFFFFFFFFu;
constexpr double kMemoTolerance = 1e-9;

double& component_of(QvPoint3<double>& p, QvULong component) {
  return component == 0 ? p.x : (component == 1 ? p.y : p.z);
}

double component_of(const QvPoint3<double>& p, QvULong component) {
  return component == 0 ? p.x : (component == 1 ? p.y : p.z);
}

}  // namespace

QvQuatCurve::QvQuatCurve()
    : m_valueWhenNoKeys(0.0, 0.0, 0.0), m_cachedValue(0.0, 0.0, 0.0), m_cachedTime(0.0),
      m_segments(nullptr), m_refCount(0), m_extrapolation(1), m_readOnly(0) {}

QvQuatCurve::QvQuatCurve(const QvQuatCurve& other)
    : m_valueWhenNoKeys(other.m_valueWhenNoKeys), m_cachedValue(other.m_cachedValue),
      m_cachedTime(other.m_cachedTime), m_keys(other.m_keys), m_segments(nullptr),
      m_refCount(0), m_extrapolation(other.m_extrapolation), m_readOnly(other.m_readOnly) {
  if (other.m_segments != nullptr) m_segments = new QuatSegmentTable(*other.m_segments);
}

QvQuatCurve& QvQuatCurve::operator=(const QvQuatCurve& other) {
  if (&other == this) return *this;
  // Both copies are made before anything changes, so a failed allocation leaves this curve whole.
  std::vector<QvQuatKey> keys(other.m_keys);
  QuatSegmentTable* segments =
      other.m_segments != nullptr ? new QuatSegmentTable(*other.m_segments) : nullptr;
  m_keys.swap(keys);
  delete m_segments;
  m_segments = segments;
  m_valueWhenNoKeys = other.m_valueWhenNoKeys;
  m_cachedValue = other.m_cachedValue;
  m_cachedTime = other.m_cachedTime;
  m_extrapolation = other.m_extrapolation;
  m_readOnly = other.m_readOnly;
  return *this;
}

QvQuatCurve::~QvQuatCurve() { delete m_segments; }

void QvQuatCurve::Ref() { ++m_refCount; }

void QvQuatCurve::UnRef() {
  const QvLong before = m_refCount--;
  if (before <= 1) delete this;
}

void QvQuatCurve::ChangeNotify() {
  delete m_segments;
  m_segments = nullptr;
}

QvULong QvQuatCurve::GetNumKeys() const { return static_cast<QvULong>(m_keys.size()); }

QvQuatKey QvQuatCurve::GetKey(QvULong index) const {
  return index < GetNumKeys() ? m_keys[index] : QvQuatKey();
}

double QvQuatCurve::GetKeyTime(QvULong index) const {
  return index < GetNumKeys() ? m_keys[index].time : 0.0;
}

double QvQuatCurve::GetParameter(QvULong index) const { return GetKeyTime(index); }

QvPoint3<double> QvQuatCurve::GetKeyValue(QvULong index) const {
  return index < GetNumKeys() ? m_keys[index].value : m_valueWhenNoKeys;
}

double QvQuatCurve::GetKeyValue(QvULong index, QvULong component) const {
  if (component > 2) return 0.0;
  return component_of(GetKeyValue(index), component) * kRadiansToDegrees;
}

QvULong QvQuatCurve::FindKey(double t, double tolerance) const {
  QvULong best = kNoKey;
  double best_distance = 0.0;
  for (QvULong i = 0; i < GetNumKeys(); ++i) {
    const double d = std::fabs(m_keys[i].time - t);
    if (!(d <= tolerance)) continue;
    if (best == kNoKey || d < best_distance) {
      best = i;
      best_distance = d;
    }
  }
  return best;
}

QvLong QvQuatCurve::SetKey(QvULong index, QvQuatKey const& key) {
  const QvULong n = GetNumKeys();
  if (index >= n || !std::isfinite(key.time)) return 0;
  if (index > 0 && !(key.time > m_keys[index - 1].time)) return 0;
  if (index + 1 < n && !(key.time < m_keys[index + 1].time)) return 0;
  m_keys[index] = key;
  ChangeNotify();
  return 1;
}

QvULong QvQuatCurve::SetKey(QvQuatKey const& key, double tolerance) {
  if (!std::isfinite(key.time)) return kNoKey;
  const QvULong found = FindKey(key.time, tolerance);
  if (found != kNoKey) {
    m_keys[found] = key;
    ChangeNotify();
    return found;
  }
  QvULong at = 0;
  while (at < GetNumKeys() && m_keys[at].time < key.time) ++at;
  m_keys.insert(m_keys.begin() + at, key);
  ChangeNotify();
  return at;
}

QvULong QvQuatCurve::SetKey(double t, QvPoint3<double> const& value, double tolerance) {
  if (!std::isfinite(t)) return kNoKey;
  const QvULong found = FindKey(t, tolerance);
  if (found != kNoKey) {
    if (m_keys[found].valueLock != 0) return found;
    m_keys[found].value = value;
    ChangeNotify();
    return found;
  }
  return SetKey(QvQuatKey(t, value, 0.0f, 0.0f, 0.0f, 0), tolerance);
}

QvULong QvQuatCurve::SetKey(double t, QvULong component, double degrees, double tolerance) {
  if (component > 2 || !std::isfinite(t)) return kNoKey;
  QvPoint3<double> value = Eval(t);
  component_of(value, component) = degrees * kDegreesToRadians;
  return SetKey(t, value, tolerance);
}

QvLong QvQuatCurve::SetKeyValue(QvULong index, QvPoint3<double> const& value) {
  if (index >= GetNumKeys()) return 0;
  if (m_keys[index].valueLock != 0) return 1;
  m_keys[index].value = value;
  ChangeNotify();
  return 1;
}

QvLong QvQuatCurve::SetKeyValue(QvULong index, QvULong component, double degrees) {
  if (index >= GetNumKeys() || component > 2) return 0;
  QvPoint3<double> value = m_keys[index].value;
  component_of(value, component) = degrees * kDegreesToRadians;
  return SetKeyValue(index, value);
}

QvLong QvQuatCurve::RemoveKey(double t, double tolerance) {
  return RemoveKeyAt(FindKey(t, tolerance));
}

QvLong QvQuatCurve::RemoveKeyAt(QvULong index) {
  if (index >= GetNumKeys()) return 0;
  m_keys.erase(m_keys.begin() + index);
  ChangeNotify();
  return 1;
}

QvLong QvQuatCurve::RemoveKeyRange(QvULong first, QvULong last) {
  if (first > last || last >= GetNumKeys()) return 0;
  m_keys.erase(m_keys.begin() + first, m_keys.begin() + last + 1);
  ChangeNotify();
  return 1;
}

void QvQuatCurve::RemoveAllKeys() {
  m_keys.clear();
  ChangeNotify();
}

QvULong QvQuatCurve::GetNextKey(double t, double tolerance) const {
  for (QvULong i = 0; i < GetNumKeys(); ++i)
    if (m_keys[i].time > t + tolerance) return i;
  return kNoKey;
}

QvULong QvQuatCurve::GetPrevKey(double t, double tolerance) const {
  for (QvULong i = GetNumKeys(); i-- > 0;)
    if (m_keys[i].time < t - tolerance) return i;
  return kNoKey;
}

QvLong QvQuatCurve::Scale(double factor) {
  if (!(factor >= 1e-12) || !std::isfinite(factor)) return 0;
  for (QvQuatKey& k : m_keys)
    if (k.paramLock == 0) k.time *= factor;
  ChangeNotify();
  return 1;
}

QvLong QvQuatCurve::Shift(double offset) {
  if (!std::isfinite(offset)) return 0;
  for (QvQuatKey& k : m_keys)
    if (k.paramLock == 0) k.time += offset;
  ChangeNotify();
  return 1;
}

QvLong QvQuatCurve::SetParameter(QvULong index, double t) {
  if (index >= GetNumKeys() || !std::isfinite(t)) return 0;
  m_keys[index].time = t;
  ChangeNotify();
  return 1;
}

QvLong QvQuatCurve::IsParamLocked(QvULong index) const {
  return index < GetNumKeys() && m_keys[index].paramLock != 0 ? 1 : 0;
}

QvLong QvQuatCurve::SetParamLock(QvULong index, QvLong on) {
  if (index >= GetNumKeys()) return 0;
  m_keys[index].paramLock = on != 0 ? 1 : 0;
  return 1;
}

QvLong QvQuatCurve::IsValueLocked(QvULong index) const {
  return index < GetNumKeys() && m_keys[index].valueLock != 0 ? 1 : 0;
}

QvLong QvQuatCurve::SetValueLock(QvULong index, QvLong on) {
  if (index >= GetNumKeys()) return 0;
  m_keys[index].valueLock = on != 0 ? 1 : 0;
  return 1;
}

// The same bits as the key flags of the stepped curves: 4 locks the parameter, 2 the value.
std::uint16_t QvQuatCurve::GetConstraintData(QvULong index) const {
  if (index >= GetNumKeys()) return 0;
  const QvQuatKey& k = m_keys[index];
  return static_cast<std::uint16_t>((k.paramLock != 0 ? 4 : 0) | (k.valueLock != 0 ? 2 : 0));
}

QvLong QvQuatCurve::SetConstraintData(QvULong index, std::uint16_t word) {
  if (index >= GetNumKeys()) return 0;
  m_keys[index].paramLock = (word & 4) != 0 ? 1 : 0;
  m_keys[index].valueLock = (word & 2) != 0 ? 1 : 0;
  return 1;
}

QvLong QvQuatCurve::IsValid() const {
  for (std::size_t i = 1; i < m_keys.size(); ++i)
    if (!(m_keys[i].time > m_keys[i - 1].time)) return 0;
  return 1;
}

QvLong QvQuatCurve::IsReadOnly() const { return m_readOnly; }

QvLong QvQuatCurve::SetReadOnlyConstraint(QvLong on) {
  m_readOnly = on != 0 ? 1 : 0;
  return 1;
}

QvPoint3<double> QvQuatCurve::GetValueWhenNoKeys() const { return m_valueWhenNoKeys; }

double QvQuatCurve::GetValueWhenNoKeys(QvULong component) const {
  if (component > 2) return 0.0;
  return component_of(m_valueWhenNoKeys, component) * kRadiansToDegrees;
}

void QvQuatCurve::SetValueWhenNoKeys(QvPoint3<double> const& value) { m_valueWhenNoKeys = value; }

void QvQuatCurve::SetValueWhenNoKeys(QvULong component, double degrees) {
  if (component > 2) return;
  component_of(m_valueWhenNoKeys, component) = degrees * kDegreesToRadians;
}

QvLong QvQuatCurve::GetExtrapolationMethod() const { return m_extrapolation; }

// A live cache takes the new method in place: its spans do not depend on it. The memo does, and
// is dropped.
QvLong QvQuatCurve::SetExtrapolationMethod(QvLong method) {
  if (method < 1 || method > 4) return 0;
  m_extrapolation = method;
  if (m_segments != nullptr) m_segments->extrapolation = method;
  m_cachedTime = std::nan("");
  return 1;
}

QvExtent2<double> QvQuatCurve::GetKeyExtent(QvULong index, QvULong component) const {
  QvExtent2<double> extent;
  const QvULong n = GetNumKeys();
  if (index >= n || component > 2) return extent;
  const QvULong first = index >= 2 ? index - 2 : 0;
  const QvULong last = index + 2 < n ? index + 2 : n - 1;
  for (QvULong i = first; i <= last; ++i)
    extent.Augment(QvPoint2<double>(m_keys[i].time, GetKeyValue(i, component)));
  return extent;
}

void QvQuatCurve::BuildSegmentsIfMissing() const {
  if (m_segments != nullptr) return;
  m_segments = new QuatSegmentTable(qv::internal::build_segment_table(m_keys, m_extrapolation));
}

QvPoint3<double> QvQuatCurve::Eval(double t) const {
  const QvULong n = GetNumKeys();
  if (n == 0) return m_valueWhenNoKeys;
  if (n == 1) return m_keys[0].value;
  if (m_segments == nullptr) {
    BuildSegmentsIfMissing();
    m_cachedTime = std::nan("");  // the memo belongs to the keys that were dropped
  }
  if (std::fabs(t - m_cachedTime) <= kMemoTolerance) return m_cachedValue;
  const qv::internal::SegmentPosition at = qv::internal::locate_segment(*m_segments, t);
  // The Euler answer is taken nearest to the straight mix of the two keys' angles, so it stays on
  // the keys' turn even where they wind past a full turn.
  const QvPoint3<double>& v0 = m_keys[at.index].value;
  const QvPoint3<double>& v1 = m_keys[at.index + 1].value;
  const double w = 1.0 - at.u;
  const QvPoint3<double> hint(w * v0.x + at.u * v1.x, w * v0.y + at.u * v1.y,
                              w * v0.z + at.u * v1.z);
  const Quat q = qv::internal::eval_table(*m_segments, t);
  m_cachedValue = qv::internal::quat_to_euler(q, hint);
  m_cachedTime = t;
  return m_cachedValue;
}

double QvQuatCurve::Eval(double t, QvULong component) const {
  if (component > 2) return 0.0;
  return component_of(Eval(t), component) * kRadiansToDegrees;
}
