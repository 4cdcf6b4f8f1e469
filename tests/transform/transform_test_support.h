#ifndef QV_TESTS_TRANSFORM_SUPPORT_H
#define QV_TESTS_TRANSFORM_SUPPORT_H

#include <qv/QvTransfo4.h>

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <random>

// Plain column-major 4x4 arithmetic, written independently of QvTransfo4 to check it.
namespace qvtest {

using Mat = std::array<double, 16>;

inline Mat mat_of(const QvTransfo4& t) {
  Mat m;
  t.GetMatrix(m.data());
  return m;
}

inline Mat mul(const Mat& a, const Mat& b) {
  Mat r{};
  for (std::size_t i = 0; i < 16; ++i)
    for (std::size_t k = 0; k < 4; ++k)
      r[i] += a[i % 4 + 4 * k] * b[k + 4 * (i / 4)];
  return r;
}

inline QvTransfo4 random_transform(std::mt19937& rng) {
  std::uniform_real_distribution<double> u(-2.0, 2.0);
  double m[16];
  for (double& v : m)
    v = u(rng);
  return QvTransfo4(m);
}

inline void expect_mat_near(const Mat& want, const Mat& got, double tol) {
  for (std::size_t i = 0; i < 16; ++i)
    EXPECT_NEAR(want[i], got[i], tol) << "element " << i;
}

inline QvTransfo4 xyz_degrees(double x, double y, double z) {
  QvTransfo4 t;
  t.RotateXYZ(QvPoint3<double>(x, y, z));
  return t;
}

}  // namespace qvtest

#endif
