#ifndef QV_TESTS_SHAPE_SHAPE_TEST_SUPPORT_H
#define QV_TESTS_SHAPE_SHAPE_TEST_SUPPORT_H

#include <qv/QvPath2f.h>

#include <cstring>
#include <vector>

namespace qv_test {

// Opens the protected side of a path to the tests.
class PathProbe : public QvPath2f {
 public:
  using QvPath2f::QvPath2f;
  using QvPath2f::Degree;
  using QvPath2f::EndOfSegment;
  using QvPath2f::GetLockCount;
  using QvPath2f::GetType;
  using QvPath2f::IsEndingTangentHandle;
  using QvPath2f::IsG1Continuous;
  using QvPath2f::IsRasterExtentIntersecting;
  using QvPath2f::IsStartingTangentHandle;
  using QvPath2f::IsTangentHandle;
  using QvPath2f::LastIndex;
  using QvPath2f::Lock;
  using QvPath2f::StartOfSegment;
  using QvPath2f::Unlock;
};

inline QvPoint2<float> P(double x, double y) {
  return QvPoint2<float>(static_cast<float>(x), static_cast<float>(y));
}

// The whole stored form of a shape: length word and body.
inline std::vector<unsigned char> stored(const QvShape2f& shape) {
  std::vector<unsigned char> bytes(shape.GetBufferSize());
  shape.WriteToBuffer(bytes.data());
  return bytes;
}

// A copy of the first `size` bytes in a block of exactly that size, with the
// length word saying so: a reader that runs past it is caught by the
// sanitizers.
inline std::vector<unsigned char> truncated(const std::vector<unsigned char>& bytes,
                                            std::size_t size) {
  std::vector<unsigned char> out(bytes.begin(), bytes.begin() + static_cast<long>(size));
  const std::uint32_t body = static_cast<std::uint32_t>(size - 4);
  for (int k = 0; k < 4; ++k) out[static_cast<std::size_t>(k)] = static_cast<unsigned char>(body >> (8 * k));
  return out;
}

// Moveto (0,0), line to (10,0), cubic to (10,10), quadratic back to (0,0),
// closed; then an open subpath of one line.
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
