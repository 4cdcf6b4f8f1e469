#ifndef QV_TESTS_TRANSFORM_SUPPORT_H
#define QV_TESTS_TRANSFORM_SUPPORT_H

#include <qv/QvTransfo4.h>

#include <gtest/gtest.h>

#include <array>
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
  for (int row = 0; row < 4; ++row)
    for (int col = 0; col < 4; ++col) {
      double s = 0;
      for (int k = 0; k < 4; ++k)
        s += a[row + 4 * k] * b[k + 4 * col];
      r[row + 4 * col] = s;
    }
  return r;
}

inline Mat translation(double x, double y, double z) {
  return Mat{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, x, y, z, 1};
}

inline QvTransfo4 random_transform(std::mt19937& rng) {
  std::uniform_real_distribution<double> u(-2.0, 2.0);
  double m[16];
  for (double& v : m)
    v = u(rng);
  return QvTransfo4(m);
}

inline void expect_mat_near(const Mat& want, const Mat& got, double tol) {
  for (int i = 0; i < 16; ++i)
    EXPECT_NEAR(want[i], got[i], tol) << "element " << i;
}

}  // namespace qvtest

#endif
