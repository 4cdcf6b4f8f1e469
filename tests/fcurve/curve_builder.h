#ifndef QV_TESTS_FCURVE_CURVE_BUILDER_H
#define QV_TESTS_FCURVE_CURVE_BUILDER_H

#include <qv/QvStdFCurve.h>

#include "fcurve/QvStdFCurveImpl.h"

#include <cstdint>
#include <random>

namespace qv::test {

using FS = QvBaseFCurve::FSKind;

// Appends a key straight into the body, with both handles on the key unless given later.
inline QvStdFCurveKey& append_key(QvStdFCurve& curve, double parameter, double left, double right,
                                  FS kind, std::uint16_t flags = 1) {
  QvStdFCurveImpl& body = *curve.GetImpl();
  body.Resize(body.m_numKeys + 1);
  QvStdFCurveKey& key = body.Key(body.m_numKeys - 1);
  key.parameter = parameter;
  key.leftValue = left;
  key.rightValue = right;
  key.leftHandle = QvPoint2<double>(parameter, left);
  key.rightHandle = QvPoint2<double>(parameter, right);
  key.segmentKind = static_cast<unsigned char>(kind);
  key.flags = flags;
  return key;
}

inline QvStdFCurveKey& append_key(QvStdFCurve& curve, double parameter, double value, FS kind,
                                  std::uint16_t flags = 1) {
  return append_key(curve, parameter, value, value, kind, flags);
}

inline void set_extrapolation(QvStdFCurve& curve, QvBaseFCurve::ExtrapolationMethod method) {
  curve.GetImpl()->m_extrapolation = static_cast<unsigned char>(method);
}

// A curve of `n` keys with random gaps, values and segment kinds, and stored handles that keep
// every cubic valid. With `monotonic`, values rise strictly and handles stay inside each step, so
// the curve is one to one; no key then has a jump.
inline void fill_random(QvStdFCurve& curve, std::mt19937& rng, int n, bool monotonic = false,
                        bool cubic_only = false) {
  std::uniform_real_distribution<double> gap(0.1, 2.0);
  std::uniform_real_distribution<double> value(-5.0, 5.0);
  std::uniform_real_distribution<double> reach(0.05, 0.33);
  std::uniform_int_distribution<int> kind(1, 3);
  double p = -3.0;
  double v = 0.0;
  for (int i = 0; i < n; ++i) {
    p += gap(rng);
    double left;
    double right;
    if (monotonic) {
      v += gap(rng);
      left = right = v;
    } else {
      left = value(rng);
      right = kind(rng) == 1 ? value(rng) : left;
    }
    FS k = cubic_only ? QvBaseFCurve::FSBezierCubic : static_cast<FS>(kind(rng));
    if (monotonic && k == QvBaseFCurve::FSConstant) k = QvBaseFCurve::FSLinear;
    append_key(curve, p, left, right, k);
  }
  QvStdFCurveImpl& body = *curve.GetImpl();
  for (QvULong i = 0; i + 1 < body.m_numKeys; ++i) {
    QvStdFCurveKey& a = body.Key(i);
    QvStdFCurveKey& b = body.Key(i + 1);
    const double span = b.parameter - a.parameter;
    const double rise = b.leftValue - a.rightValue;
    if (monotonic) {
      a.rightHandle = QvPoint2<double>(a.parameter + span * reach(rng), a.rightValue + rise * reach(rng));
      b.leftHandle = QvPoint2<double>(b.parameter - span * reach(rng), b.leftValue - rise * reach(rng));
    } else {
      a.rightHandle = QvPoint2<double>(a.parameter + span * reach(rng), a.rightValue + value(rng));
      b.leftHandle = QvPoint2<double>(b.parameter - span * reach(rng), b.leftValue + value(rng));
    }
  }
}

}  // namespace qv::test

#endif
