#ifndef QV_TESTS_RECTOVAL_SUPPORT_H
#define QV_TESTS_RECTOVAL_SUPPORT_H

#include <qv/QvOval2f.h>
#include <qv/QvRect2f.h>

#include <vector>

#include "support/byte_buffer.h"
#include "support/shapes.h"

namespace rectoval_test {

using qv::test::P;

struct Three {
  QvPoint2<float> a, b, c;
};

// cornerA, cornerB, cornerC read back through the handles 6, 8 and 4.
template <class Shape>
Three corners(Shape& s) {
  return Three{s.GetPoint(6), s.GetPoint(8), s.GetPoint(4)};
}

// The whole stored form of a shape: length word and body.
using qv::test::bytes_of;

}  // namespace rectoval_test

#endif
