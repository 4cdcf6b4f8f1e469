#ifndef QV_TESTS_MOVERS_MOVER_TEST_SUPPORT_H
#define QV_TESTS_MOVERS_MOVER_TEST_SUPPORT_H

#include <qv/QvFCurveMovers.h>

#include <initializer_list>

#include "support/byte_buffer.h"

namespace qv::test {

using Point = QvPoint2<double>;
using Box = QvExtent2<double>;

inline QvDoubleArray array_of(std::initializer_list<double> values) {
  QvDoubleArray a;
  for (double v : values) a.Add(v);
  return a;
}

// The whole stored form of a curve, to compare a curve with itself before and after.
using qv::test::bytes_of;

inline Box unbounded() {
  Box b;
  b.state = QvExtentStates::ExtentUniverse;
  return b;
}

}  // namespace qv::test

#endif
