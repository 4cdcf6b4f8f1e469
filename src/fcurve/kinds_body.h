#ifndef QV_SRC_FCURVE_KINDS_BODY_H
#define QV_SRC_FCURVE_KINDS_BODY_H

#include <qv/QvBaseFCurve.h>
#include <qv/QvTypes.h>

#include <cstdint>
#include <vector>

#include "fcurve/key_array.h"

namespace qv::internal {

struct SteppedKey {
  double parameter;
  QvLong value;
  std::uint16_t flags;
};

using SteppedLocation = KeyLocation;
using SteppedSelection = KeySelection;

constexpr double kStepKeyTolerance = kKeySearchTolerance;

constexpr std::uint16_t kFlagValueLocked = 2;
constexpr std::uint16_t kFlagParameterLocked = 4;
constexpr std::uint16_t kFlagBothLocks = 6;

// Saturating truncation of a double to a 32-bit value; not-a-number gives 0.
QvLong saturate_trunc(double v);
// Wrapping arithmetic on stored values: the stored width is 32 bits, whatever the arithmetic.
QvLong wrap_long(long long v);

}  // namespace qv::internal

// The state of a boolean or integer curve: keys that hold a value from their parameter up to the
// next key, one lock-flag word per key, and the value shown before the first key. Every member
// assumes that the caller holds the curve's lock; the cursor is written by const searches.
class QvSteppedFCurveImpl {
 public:
  using Key = qv::internal::SteppedKey;

  QvSteppedFCurveImpl(bool boolean, double valueWhenNoKeys);

  QvULong NumKeys() const { return static_cast<QvULong>(m_keys.size()); }
  const Key& KeyAt(QvULong i) const { return m_keys[i]; }
  Key& KeyAt(QvULong i) { return m_keys[i]; }
  bool IsCycling() const { return m_extrapolation == 3 || m_extrapolation == 4; }

  qv::internal::SteppedLocation LocateKey(double t) const;
  bool FindKeyNear(double t, double tolerance, QvULong& index) const;
  qv::internal::SteppedSelection Select(double from, double to, QvLong openFrom,
                                        QvLong openTo) const;

  // The value arriving at key i: the previous key's value, or the value before the first key.
  QvLong LeftValue(QvULong i) const { return i == 0 ? m_valueBeforeFirstKey : m_keys[i - 1].value; }
  // The step at t, ignoring extrapolation: before the first key the value before it.
  QvLong StepValue(double t) const;
  // The value at t under the extrapolation method.
  QvLong Eval(double t) const;
  // The plain cycle's fold with its snap onto a key; t for other methods or fewer than two keys.
  double Fold(double t) const;
  // The offset cycle's fold, whose remainder snaps onto the last key; needs two keys.
  double FoldOffset(double t) const;

  // The first key's left value takes v, unless that key's value is locked and differs from v.
  void UpdateValueBeforeFirstKey(QvLong v);
  // Makes or replaces the key at t with v; 0 when an existing key at t has its value locked.
  QvLong CreateKeyCore(double t, QvLong v);
  // Drops `count` keys from `first` and keeps the step to the left of what remains unchanged.
  void EraseKeys(QvULong first, QvULong count);

  bool AnyFlagInRange(double from, double to, QvLong openFrom, QvLong openTo, std::uint16_t mask,
                      bool all) const;
  bool StrictlyRising() const;
  // Walks keys 1 onward with a running maximum and drops any key not above it; after a drop the
  // walk moves on one index, so the key that slid into the hole is not examined in that pass.
  void RepairOrder();

  bool m_boolean;
  std::vector<Key> m_keys;
  QvLong m_valueBeforeFirstKey = 0;
  QvLong m_valueWhenNoKeys;
  QvLong m_clampLow;
  QvLong m_clampHigh;
  mutable QvULong m_cursor = 0;
  std::uint8_t m_extrapolation = 1;
  QvLong m_defaultBezierTangent = 0;
  QvLong m_readOnly = 0;
  QvLong m_isTimeCurve = 1;
};

#endif
