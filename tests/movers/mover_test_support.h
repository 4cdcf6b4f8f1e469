#ifndef QV_TESTS_MOVERS_MOVER_TEST_SUPPORT_H
#define QV_TESTS_MOVERS_MOVER_TEST_SUPPORT_H

#include <qv/QvFCurveMovers.h>

#include <initializer_list>
#include <vector>

namespace qv::test {

using Point = QvPoint2<double>;
using Box = QvExtent2<double>;

inline QvDoubleArray array_of(std::initializer_list<double> values) {
  QvDoubleArray a;
  for (double v : values) a.Add(v);
  return a;
}

inline std::vector<unsigned char> bytes_of(const QvBaseFCurve& c) {
  std::vector<unsigned char> out(c.GetBufferSize());
  c.WriteToBuffer(out.data());
  return out;
}

inline Box unbounded() {
  Box b;
  b.state = QvExtentStates::ExtentUniverse;
  return b;
}

}  // namespace qv::test

#endif
