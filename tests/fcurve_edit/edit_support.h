#ifndef QV_TESTS_FCURVE_EDIT_EDIT_SUPPORT_H
#define QV_TESTS_FCURVE_EDIT_EDIT_SUPPORT_H

#include <qv/QvStdFCurve.h>

#include "fcurve/QvStdFCurveImpl.h"
#include "fcurve/curve_builder.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

namespace qv::test {

// Everything that an edit may change, compared byte for byte: a refused call must leave all of it.
struct CurveState {
  std::vector<unsigned char> keys;
  double valueWhenNoKeys;
  double clampMin, clampMax;
  QvLong firstSegmentKind, defaultTangent, readOnly, timeCurve;
  unsigned char extrapolation;

  bool operator==(const CurveState& o) const {
    return keys == o.keys && std::memcmp(&valueWhenNoKeys, &o.valueWhenNoKeys, 8) == 0 &&
           std::memcmp(&clampMin, &o.clampMin, 8) == 0 &&
           std::memcmp(&clampMax, &o.clampMax, 8) == 0 &&
           firstSegmentKind == o.firstSegmentKind && defaultTangent == o.defaultTangent &&
           readOnly == o.readOnly && timeCurve == o.timeCurve && extrapolation == o.extrapolation;
  }
};

inline CurveState state_of(const QvStdFCurve& curve) {
  const QvStdFCurveImpl& b = *curve.GetImpl();
  CurveState s;
  const auto* bytes = reinterpret_cast<const unsigned char*>(b.m_keys);
  s.keys.assign(bytes, bytes + sizeof(QvStdFCurveKey) * b.m_numKeys);
  s.valueWhenNoKeys = b.m_valueWhenNoKeys;
  s.clampMin = b.m_clampMin;
  s.clampMax = b.m_clampMax;
  s.firstSegmentKind = b.m_firstSegmentKind;
  s.defaultTangent = b.m_defaultBezierTangent;
  s.readOnly = b.m_readOnly;
  s.timeCurve = b.m_timeCurve;
  s.extrapolation = b.m_extrapolation;
  return s;
}

inline ::testing::AssertionResult every_segment_valid(const QvStdFCurve& curve) {
  const QvStdFCurveImpl& b = *curve.GetImpl();
  for (QvULong i = 0; i + 1 < b.m_numKeys; ++i) {
    const QvStdFCurveKey& k = b.Key(i);
    const QvStdFCurveKey& n = b.Key(i + 1);
    if (!(n.parameter > k.parameter))
      return ::testing::AssertionFailure() << "parameters do not rise at key " << i;
    if (!QvStdFCurve_IsCubicSegmentValid(QvPoint2<double>(k.parameter, k.rightValue),
                                         k.rightHandle, n.leftHandle,
                                         QvPoint2<double>(n.parameter, n.leftValue)))
      return ::testing::AssertionFailure() << "segment " << i << " is not invertible";
  }
  if (!b.IsValid()) return ::testing::AssertionFailure() << "the body fails its validity test";
  return ::testing::AssertionSuccess();
}

}  // namespace qv::test

#endif
