#include <qv/QvTransfo4.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <random>
#include <vector>

#include "transform_test_support.h"

namespace {

using qvtest::mat_of;

// 2D and 3D points ignore the bottom row (and 2D the z column); the 4-vector takes all rows.
// Float points are mapped in double: 3 * float(1/3) - 1 is 2^-25 there, 0 in single precision.
TEST(Transfo4Map, PointArithmetic) {
  const double m[16] = {2, 3, 5, 7, -1, 4, 6, 8, 9, 10, 11, 12, 13, 14, 15, 16};
  const QvTransfo4 t(m);
  const QvPoint3<double> p3 = t.Map(QvPoint3<double>(1, 2, 3));
  EXPECT_TRUE(p3.x == 40 && p3.y == 55 && p3.z == 65) << p3.x << " " << p3.y << " " << p3.z;
  const QvPoint2<double> p2 = t.Map(QvPoint2<double>(1, 2));
  EXPECT_TRUE(p2.x == 13 && p2.y == 25) << p2.x << " " << p2.y;
  const double in[4] = {1, 2, 3, 4};
  double out[4];
  t.Map(in, out);
  EXPECT_TRUE(out[0] == 79 && out[3] == 123);
  // The two-operand forms write x before they read the input again: one point given as both
  // input and output gets y (and z) from the new x. MapInPlace is the form for that.
  QvPoint2<double> same2(1, 2);
  QvPoint3<double> same3(1, 2, 3);
  t.Map(same2, same2);
  t.Map(same3, same3);
  EXPECT_TRUE(same2.x == 13 && same2.y == 61);
  EXPECT_TRUE(same3.x == 40 && same3.y == 172 && same3.z == 1280);

  QvTransfo4 f;
  f.Translate(-1, -1, -1).Scale(3);
  const float third = 1.0f / 3.0f, want = std::ldexp(1.0f, -25);
  QvPoint3<float> pf(third, third, third);
  f.MapInPlace(pf);
  EXPECT_TRUE(f.Map(QvPoint2<float>(third, third)).x == want && pf.z == want);
}

TEST(Transfo4Map, ExtentsAreBoxesOfMappedCorners) {
  QvTransfo4 t;
  t.Translate(10, 0, 0).Rotate(90, 0, 0, 1);  // x' = 10 - y, y' = x
  QvExtent2<double> e;
  e.min = QvPoint2<double>(1, 2);
  e.max = QvPoint2<double>(3, 5);
  e.state = QvExtent2<double>::ExtentBounded;
  const QvExtent2<double> r = t.Map(e);
  EXPECT_EQ(QvExtent2<double>::ExtentBounded, r.state);
  EXPECT_TRUE(r.min.x == 5 && r.max.x == 8 && r.min.y == 1 && r.max.y == 3);
  QvExtent2<float> empty;
  empty.min = QvPoint2<float>(1, 2);
  t.MapInPlace(empty);
  EXPECT_TRUE(empty.state == QvExtent2<float>::ExtentEmpty && empty.min.x == 1.0f);
  e.state = QvExtent2<double>::ExtentUniverse;
  EXPECT_TRUE(t.Map(e).state == QvExtent2<double>::ExtentUniverse && t.Map(e).min.x == 1);
}

// The array forms are the hot path: bit for bit the single-point forms, in place or not.
TEST(Transfo4Map, ArrayFormsMatchSinglePoints) {
  std::mt19937 rng(3);
  const QvTransfo4 t = qvtest::random_transform(rng);
  std::uniform_real_distribution<float> u(-100, 100);
  const QvULong n = 37;
  std::vector<QvPoint2<double>> p2(n), o2(n), s2(n);
  std::vector<QvPoint3<float>> p3(n), o3(n), s3(n);
  for (QvULong i = 0; i < n; ++i) {
    p2[i] = QvPoint2<double>(u(rng), u(rng) / 3.0);
    p3[i] = QvPoint3<float>(u(rng), u(rng), u(rng));
    s2[i] = t.Map(p2[i]);
    t.Map(p3[i], s3[i]);
  }
  t.Map(p2.data(), n, o2.data());
  t.Map(p3.data(), n, o3.data());
  t.MapInPlace(p2.data(), n);
  t.MapInPlace(p3.data(), n);
  for (const auto* v : {&o2, &p2})
    EXPECT_EQ(0, std::memcmp(s2.data(), v->data(), n * sizeof s2[0]));
  for (const auto* v : {&o3, &p3})
    EXPECT_EQ(0, std::memcmp(s3.data(), v->data(), n * sizeof s3[0]));
}

TEST(Transfo4Measures, IdentityTolerancesAndUnitLengths) {
  QvTransfo4 t;
  EXPECT_EQ(2.0, t.GetXYZUnitVectorSquaredLength());  // the z row takes no part
  t.Translate(5e-8, 0, 0);
  EXPECT_EQ(1, t.IsIdentity());
  t.Translate(1e-7, 0, 0);
  EXPECT_EQ(0, t.IsIdentity());
  t.Translate(1e6, -3, 2);
  EXPECT_EQ(1, t.IsTranslation());
  t.Scale(2, 3, 4);
  EXPECT_TRUE(!t.IsTranslation() && t.IsScalingAndTranslation());
  t.ShearXY(1e-14, 0);
  EXPECT_EQ(0, t.IsScalingAndTranslation());
  QvTransfo4 u;
  u.Scale(1, 2, 3);
  EXPECT_EQ(5.0, u.GetXYUnitVectorSquaredLength());
  u.GetMatrixPtr()[8] = 1;  // column 2 adds to x; the z row (3 on the diagonal) is never squared
  EXPECT_EQ(8.0, u.GetXYZUnitVectorSquaredLength());
}

TEST(Transfo4Inverse, SingularMatricesFailWithPartialOutput) {
  QvTransfo4 t, out;
  t.Scale(2, 0, 1);
  out.Translate(7, 7, 7);
  EXPECT_EQ(0, t.Inverse(out));
  EXPECT_TRUE(t.IsSingular() && !t.TestInverse());
  // Column 0 was eliminated before column 1 had no pivot.
  EXPECT_EQ(mat_of(QvTransfo4().Scale(0.5, 1, 1)), mat_of(out));
  const double tiny[16] = {1e-15, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
  EXPECT_EQ(1, QvTransfo4(tiny).IsSingular());  // a pivot of 1e-15 is too small
}

TEST(Transfo4Inverse, RandomMatricesAndInPlace) {
  std::mt19937 rng(5);  // row swaps happen on most of these
  for (int i = 0; i < 50; ++i) {
    const QvTransfo4 t = qvtest::random_transform(rng);
    QvTransfo4 inv, self(t);
    ASSERT_EQ(1, t.Inverse(inv)) << i;
    EXPECT_EQ(1, t.TestInverse()) << i;
    ASSERT_EQ(1, self.Inverse(self)) << i;
    EXPECT_EQ(mat_of(inv), mat_of(self)) << i;
  }
}

}  // namespace
