#include <qv/QvTransfo4.h>

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

#include "transform_test_support.h"

namespace {

using qvtest::mat_of;

TEST(Transfo4Map, BottomRowAndZColumnTakeNoPart) {
  const double m[16] = {2, 3, 5, 7, -1, 4, 6, 8, 9, 10, 11, 12, 13, 14, 15, 16};
  const QvTransfo4 t(m);
  const QvPoint3<double> p3 = t.Map(QvPoint3<double>(1, 2, 3));
  EXPECT_EQ(2 - 2 + 27 + 13.0, p3.x);
  EXPECT_EQ(3 + 8 + 30 + 14.0, p3.y);
  EXPECT_EQ(5 + 12 + 33 + 15.0, p3.z);
  const QvPoint2<double> p2 = t.Map(QvPoint2<double>(1, 2));
  EXPECT_EQ(2 - 2 + 13.0, p2.x);
  EXPECT_EQ(3 + 8 + 14.0, p2.y);
  const double in[4] = {1, 2, 3, 4};
  double out[4];
  t.Map(in, out);
  EXPECT_EQ(2 - 2 + 27 + 52.0, out[0]);
  EXPECT_EQ(7 + 16 + 36 + 64.0, out[3]);  // all four rows, no divide
}

// 3 * float(1/3) - 1 is 2^-25 in double; in single precision the product rounds to 1 and the
// result to 0.
TEST(Transfo4Map, FloatPointsAreMappedInDouble) {
  QvTransfo4 t;
  t.Translate(-1, -1, -1).Scale(3);
  const float third = 1.0f / 3.0f;
  const float want = std::ldexp(1.0f, -25);
  const QvPoint2<float> p2 = t.Map(QvPoint2<float>(third, third));
  EXPECT_EQ(want, p2.x);
  EXPECT_EQ(want, p2.y);
  QvPoint3<float> p3(third, third, third);
  t.MapInPlace(p3);
  EXPECT_EQ(want, p3.z);
}

TEST(Transfo4Map, ExtentsAreBoxesOfMappedCorners) {
  QvTransfo4 t;
  t.Translate(10, 0, 0).Rotate(90, 0, 0, 1);
  QvExtent2<double> e;
  e.min = QvPoint2<double>(1, 2);
  e.max = QvPoint2<double>(3, 5);
  e.state = QvExtent2<double>::ExtentBounded;
  const QvExtent2<double> r = t.Map(e);
  EXPECT_EQ(QvExtent2<double>::ExtentBounded, r.state);
  EXPECT_EQ(5.0, r.min.x);  // x' = 10 - y
  EXPECT_EQ(8.0, r.max.x);
  EXPECT_EQ(1.0, r.min.y);
  EXPECT_EQ(3.0, r.max.y);

  QvExtent2<float> empty;
  empty.min = QvPoint2<float>(1, 2);
  empty.state = QvExtent2<float>::ExtentEmpty;
  t.MapInPlace(empty);
  EXPECT_EQ(QvExtent2<float>::ExtentEmpty, empty.state);
  EXPECT_EQ(1.0f, empty.min.x);
  QvExtent2<double> all;
  all.state = QvExtent2<double>::ExtentUniverse;
  t.MapInPlace(all);
  EXPECT_EQ(QvExtent2<double>::ExtentUniverse, all.state);
}

// The array forms are the hot path; they must agree bit for bit with the single-point forms,
// in place or not.
TEST(Transfo4Map, ArrayFormsMatchSinglePoints) {
  std::mt19937 rng(3);
  const QvTransfo4 t = qvtest::random_transform(rng);
  std::uniform_real_distribution<double> u(-100, 100);
  const QvULong n = 37;
  std::vector<QvPoint2<double>> p2d(n), o2d(n);
  std::vector<QvPoint2<float>> p2f(n), o2f(n);
  std::vector<QvPoint3<double>> p3d(n), o3d(n);
  std::vector<QvPoint3<float>> p3f(n), o3f(n);
  for (QvULong i = 0; i < n; ++i) {
    p2d[i] = QvPoint2<double>(u(rng), u(rng));
    p2f[i] = QvPoint2<float>(static_cast<float>(u(rng)), static_cast<float>(u(rng)));
    p3d[i] = QvPoint3<double>(u(rng), u(rng), u(rng));
    p3f[i] = QvPoint3<float>(static_cast<float>(u(rng)), static_cast<float>(u(rng)),
                             static_cast<float>(u(rng)));
  }
  t.Map(p2d.data(), n, o2d.data());
  t.Map(p2f.data(), n, o2f.data());
  t.Map(p3d.data(), n, o3d.data());
  t.Map(p3f.data(), n, o3f.data());
  for (QvULong i = 0; i < n; ++i) {
    SCOPED_TRACE(i);
    const QvPoint2<double> a = t.Map(p2d[i]);
    const QvPoint2<float> b = t.Map(p2f[i]);
    const QvPoint3<double> c = t.Map(p3d[i]);
    const QvPoint3<float> d = t.Map(p3f[i]);
    EXPECT_TRUE(a.x == o2d[i].x && a.y == o2d[i].y);
    EXPECT_TRUE(b.x == o2f[i].x && b.y == o2f[i].y);
    EXPECT_TRUE(c.x == o3d[i].x && c.y == o3d[i].y && c.z == o3d[i].z);
    EXPECT_TRUE(d.x == o3f[i].x && d.y == o3f[i].y && d.z == o3f[i].z);
  }
  t.MapInPlace(p2d.data(), n);
  t.MapInPlace(p3f.data(), n);
  for (QvULong i = 0; i < n; ++i) {
    EXPECT_TRUE(p2d[i].x == o2d[i].x && p2d[i].y == o2d[i].y);
    EXPECT_TRUE(p3f[i].x == o3f[i].x && p3f[i].y == o3f[i].y && p3f[i].z == o3f[i].z);
  }
}

TEST(Transfo4Measures, IdentityTolerancesAndUnitLengths) {
  QvTransfo4 t;
  EXPECT_EQ(2.0, t.GetXYZUnitVectorSquaredLength());  // the z row takes no part
  EXPECT_EQ(2.0, t.GetXYUnitVectorSquaredLength());
  t.Translate(5e-8, 0, 0);
  EXPECT_EQ(1, t.IsIdentity());
  t.Translate(1e-7, 0, 0);
  EXPECT_EQ(0, t.IsIdentity());
  t.Translate(1e6, -3, 2);
  EXPECT_EQ(1, t.IsTranslation());
  t.Scale(2, 3, 4);
  EXPECT_EQ(0, t.IsTranslation());
  EXPECT_EQ(1, t.IsScalingAndTranslation());
  t.ShearXY(1e-14, 0);
  EXPECT_EQ(0, t.IsScalingAndTranslation());
  QvTransfo4 u;
  u.Scale(1, 2, 3);
  EXPECT_EQ(5.0, u.GetXYUnitVectorSquaredLength());
  u.GetMatrixPtr()[8] = 1;  // column 2 adds to x; the z row (3 on the diagonal) is never squared
  EXPECT_EQ(8.0, u.GetXYZUnitVectorSquaredLength());
}

TEST(Transfo4Inverse, SingularMatricesFailWithPartialOutput) {
  QvTransfo4 t;
  t.Scale(2, 0, 1);
  QvTransfo4 out;
  out.Translate(7, 7, 7);
  EXPECT_EQ(0, t.Inverse(out));
  EXPECT_EQ(1, t.IsSingular());
  EXPECT_EQ(0, t.TestInverse());
  // Column 0 was eliminated before column 1 had no pivot.
  const qvtest::Mat partial = {0.5, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
  EXPECT_EQ(partial, mat_of(out));

  const double tiny[16] = {1e-15, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
  EXPECT_EQ(1, QvTransfo4(tiny).IsSingular());  // a pivot of 1e-15 is too small
}

TEST(Transfo4Inverse, RandomMatricesAndInPlace) {
  std::mt19937 rng(5);
  for (int i = 0; i < 50; ++i) {
    SCOPED_TRACE(i);
    const QvTransfo4 t = qvtest::random_transform(rng);
    QvTransfo4 inv;
    ASSERT_EQ(1, t.Inverse(inv));
    EXPECT_EQ(0, t.IsSingular());
    EXPECT_EQ(1, t.TestInverse());
    QvTransfo4 self(t);
    ASSERT_EQ(1, self.Inverse(self));
    EXPECT_EQ(mat_of(inv), mat_of(self));
  }
  // Row swaps: a permutation has zeros on the diagonal.
  const double perm[16] = {0, 0, 1, 0, 3, 0, 0, 0, 0, 2, 0, 0, 0, 0, 0, 1};
  QvTransfo4 p(perm), inv;
  ASSERT_EQ(1, p.Inverse(inv));
  const QvPoint3<double> q = inv.Map(p.Map(QvPoint3<double>(1, 2, 3)));
  EXPECT_EQ(1.0, q.x);
  EXPECT_EQ(2.0, q.y);
  EXPECT_EQ(3.0, q.z);
}

}  // namespace
