#ifndef QV_TESTS_SHAPE_SHAPE_TEST_SUPPORT_H
#define QV_TESTS_SHAPE_SHAPE_TEST_SUPPORT_H

#include <qv/QvPath2f.h>

#include <vector>

#include "support/byte_buffer.h"
#include "support/shapes.h"

namespace qv_test {

// Opens the protected side of a path to the tests.
class PathProbe : public QvPath2f {
 public:
  using QvPath2f::QvPath2f;
  using QvPath2f::Degree;
  using QvPath2f::EndOfSegment;
  using QvPath2f::GetType;
  using QvPath2f::IsRasterExtentIntersecting;
  using QvPath2f::IsTangentHandle;
  using QvPath2f::LastIndex;
  using QvPath2f::StartOfSegment;
};

using qv::test::P;

inline QvExtent2<float> box(float x0, float y0, float x1, float y1) {
  QvExtent2<float> e;
  e.min = QvPoint2<float>(x0, y0);
  e.max = QvPoint2<float>(x1, y1);
  e.state = QvExtentStates::ExtentBounded;
  return e;
}

inline QvExtent2<float> universe() {
  QvExtent2<float> e;
  e.state = QvExtentStates::ExtentUniverse;
  return e;
}

// The whole stored form of a shape: length word and body.
using qv::test::bytes_of;

// Moveto (0,0), line to (10,0), cubic to (10,10), quadratic back to (0,0),
// closed; then an open subpath of one line from (20,0) to (30,0).
inline void build_mixed(QvPath2f& path) {
  path.Moveto(P(0, 0));
  path.Lineto(P(10, 0));
  path.Curveto(P(14, 2), P(14, 8), P(10, 10));
  path.Curveto(P(-4, 10), P(0, 0));
  path.Closeto();
  path.Moveto(P(20, 0));
  path.Lineto(P(30, 0));
}

}  // namespace qv_test

#endif
