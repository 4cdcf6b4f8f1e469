#ifndef QV_SRC_FCURVE_RAW_BODY_H
#define QV_SRC_FCURVE_RAW_BODY_H

#include <qv/QvBaseFCurve.h>
#include <qv/QvTypes.h>

#include <cfloat>
#include <cstdint>
#include <vector>

#include "fcurve/key_array.h"

namespace qv::internal {

struct RawKey {
  double parameter;
  double value;
};

using RawLocation = KeyLocation;
using RawSelection = KeySelection;

constexpr double kRawKeyTolerance = kKeySearchTolerance;

}  // namespace qv::internal

// The state of a raw curve. Every member function assumes that the caller holds the curve's lock;
// the search cursor is written by const searches, which is safe only under that lock.
class QvRawFCurveImpl {
 public:
  using Key = qv::internal::RawKey;

  explicit QvRawFCurveImpl(double valueWhenNoKeys);
  // Copies everything but the attribute block, which no copy carries.
  QvRawFCurveImpl(const QvRawFCurveImpl& other);
  QvRawFCurveImpl& operator=(const QvRawFCurveImpl& other);

  QvULong NumKeys() const { return static_cast<QvULong>(m_keys.size()); }
  const Key& KeyAt(QvULong i) const { return m_keys[i]; }
  Key& KeyAt(QvULong i) { return m_keys[i]; }

  // The search under every keyed operation; keeps the cursor. Needs at least one key.
  qv::internal::RawLocation LocateKey(double t) const;
  // The key nearest to t among those within `tolerance`; an earlier key wins a tie.
  bool FindKeyNear(double t, double tolerance, QvULong& index) const;
  // Keys in [from, to]; a non-zero open flag leaves out a key lying on that end.
  qv::internal::RawSelection Select(double from, double to, QvLong openFrom,
                                    QvLong openTo) const;

  // v[a] + (v[b] - v[a]) (t - t[a]) / (t[b] - t[a]), in that order: stored documents were
  // evaluated so, and must keep their values to the last bit.
  double Interpolate(QvULong a, QvULong b, double t) const;
  // Value at t with the ends held, whatever the extrapolation; valueWhenNoKeys with no keys.
  double EvalHold(double t) const;
  // Value at t under the curve's extrapolation method, before the clamp.
  double Eval(double t) const;
  double Clamp(double v) const;
  // The fold of the plain cycle, snapped onto a key; t itself for other methods or < 2 keys.
  double Fold(double t) const;
  // The fold of the offset cycle: where t lands in the key range, and how many cycles lie between.
  double FoldOffset(double t, double& cycles) const;
  bool IsCycling() const { return m_extrapolation == 3 || m_extrapolation == 4; }

  // Both raise the count by one; the insertion may throw, leaving the keys as they were.
  void Insert(QvULong position, double parameter, double value);
  void Append(double parameter, double value) { m_keys.push_back(Key{parameter, value}); }
  void Erase(QvULong first, QvULong count);
  bool StrictlyRising() const;
  // 1 for rising values, -1 for falling, 0 otherwise or with fewer than two keys.
  int Monotonic() const;

  std::vector<Key> m_keys;
  bool m_hasAttributes = false;
  double m_valueWhenNoKeys;
  double m_clampLow = -DBL_MAX;
  double m_clampHigh = DBL_MAX;
  mutable QvULong m_cursor = 0;
  std::uint8_t m_extrapolation = 1;
  QvLong m_defaultBezierTangent = 0;
  QvLong m_readOnly = 0;
  QvLong m_isTimeCurve = 1;
};

#endif
