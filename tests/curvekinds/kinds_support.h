#ifndef QV_TESTS_CURVEKINDS_KINDS_SUPPORT_H
#define QV_TESTS_CURVEKINDS_KINDS_SUPPORT_H

#include <qv/QvIntegerFCurve.h>

#include <initializer_list>
#include <vector>

namespace qv::test {

// Keys at 0, 1, 2, ... with the given values, and `before` shown ahead of the first key.
inline QvIntegerFCurve integers(std::initializer_list<double> values, double before) {
  QvIntegerFCurve c(0.0);
  double t = 0.0;
  for (double v : values) c.CreateKey(t++, v);
  c.SetKeyValue(0.0, QvBaseFCurve::KeySideLeft, before, 0.0);
  return c;
}

inline std::vector<double> values_of(const QvBaseFCurve& c) {
  QvDoubleArray p, l, r;
  c.GetKeys(p, l, r, 0);
  return std::vector<double>(r.data, r.data + r.size);
}

inline std::vector<double> parameters_of(const QvBaseFCurve& c) {
  QvDoubleArray p;
  c.GetAllKeyParameters(p);
  return std::vector<double>(p.data, p.data + p.size);
}

}  // namespace qv::test

#endif
