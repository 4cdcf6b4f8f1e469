#include <qv/QvTransfo4.h>

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <random>
#include <sstream>

#include "transform_test_support.h"

namespace {

using qvtest::Mat;
using qvtest::mat_of;
using qvtest::mul;
using qvtest::random_transform;

TEST(Transfo4Storage, ColumnOrderAndStreamRows) {
  QvTransfo4 t;
  t.Translate(1, 2, 3);
  EXPECT_EQ(1.0, t.GetMatrixElement(0, 3));
  EXPECT_EQ(1.0, t.GetMatrixPtr()[12]);
  EXPECT_EQ(3.0, t.GetMatrixPtr()[14]);
  t.GetMatrixPtr()[3] = 0.5;  // bottom row, column 0
  std::ostringstream os;
  os << t;
  EXPECT_EQ("{1 0 0 1}\n{0 1 0 2}\n{0 0 1 3}\n{0.5 0 0 1}\n", os.str());

  QvTransfo4 swapped(t);
  swapped.SwapRows(0, 3);
  EXPECT_EQ(0.5, swapped.GetMatrixElement(0, 0));
  EXPECT_EQ(1.0, swapped.GetMatrixElement(3, 0));
  EXPECT_EQ(3.0, swapped.GetMatrixElement(2, 3));

  QvTransfo4 tr;
  t.Transpose(tr);
  for (QvULong r = 0; r < 4; ++r)
    for (QvULong c = 0; c < 4; ++c)
      EXPECT_EQ(t.GetMatrixElement(r, c), tr.GetMatrixElement(c, r));
}

TEST(Transfo4Compose, LastCallActsFirstAndSelfProducts) {
  QvTransfo4 t;
  t.Translate(1, 2, 3).Scale(2);
  const QvPoint3<double> p = t.Map(QvPoint3<double>(1, 1, 1));
  EXPECT_EQ(3.0, p.x);
  EXPECT_EQ(4.0, p.y);
  EXPECT_EQ(5.0, p.z);

  std::mt19937 rng(7);
  const QvTransfo4 a = random_transform(rng), b = random_transform(rng);
  const Mat ab = mul(mat_of(a), mat_of(b)), aa = mul(mat_of(a), mat_of(a));
  QvTransfo4 post(a), pre(b), self_post(a), self_pre(a);
  post.PostMultiply(b);
  pre.PreMultiply(a);
  self_post.PostMultiply(self_post);
  self_pre.PreMultiply(self_pre);
  EXPECT_EQ(ab, mat_of(post));
  EXPECT_EQ(ab, mat_of(pre));
  EXPECT_EQ(aa, mat_of(self_post));
  EXPECT_EQ(aa, mat_of(self_pre));
}

// Every build operation is M X: checked on random M against the elementary matrix written
// out independently, and on a point against the operation's plain geometric meaning.
TEST(Transfo4Build, PostMultipliesTheElementaryMatrix) {
  const QvPoint3<double> c(0.5, -2, 3);
  auto elementary = [](std::initializer_list<double> cols) {
    Mat x{};
    std::copy(cols.begin(), cols.end(), x.begin());
    return x;
  };
  auto about = [&](const Mat& x) {
    return mul(mul(qvtest::translation(c.x, c.y, c.z), x), qvtest::translation(-c.x, -c.y, -c.z));
  };
  const Mat shear_xz = elementary({1, 0, 0, 0, 2, 1, 3, 0, 0, 0, 1, 0, 0, 0, 0, 1});
  const Mat shear_yz = elementary({1, 2, 3, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1});
  const Mat shear_xy = elementary({1, 0, 0, 0, 0, 1, 0, 0, 2, 3, 1, 0, 0, 0, 0, 1});
  const Mat scale = elementary({2, 0, 0, 0, 0, -3, 0, 0, 0, 0, 4, 0, 0, 0, 0, 1});
  struct Case {
    const char* name;
    void (*op)(QvTransfo4&);
    Mat x;
  };
  const Case cases[] = {
      {"Translate", [](QvTransfo4& t) { t.Translate(QvPoint3<double>(1, -2, 3)); },
       qvtest::translation(1, -2, 3)},
      {"Scale3", [](QvTransfo4& t) { t.Scale(2, -3, 4); }, scale},
      {"ScaleAbout",
       [](QvTransfo4& t) { t.Scale(2, -3, 4, QvPoint3<double>(0.5, -2, 3)); }, about(scale)},
      {"ShearXZ", [](QvTransfo4& t) { t.ShearXZ(2, 3); }, shear_xz},
      {"ShearYZ", [](QvTransfo4& t) { t.ShearYZ(2, 3); }, shear_yz},
      {"ShearXY", [](QvTransfo4& t) { t.ShearXY(2, 3); }, shear_xy},
      {"ShearXZAbout", [](QvTransfo4& t) { t.ShearXZ(2, 3, QvPoint3<double>(0.5, -2, 3)); },
       about(shear_xz)},
      {"ShearXYAbout", [](QvTransfo4& t) { t.ShearXY(2, 3, QvPoint3<double>(0.5, -2, 3)); },
       about(shear_xy)},
      {"RotateZ90", [](QvTransfo4& t) { t.Rotate(90, 0, 0, 5); },
       elementary({0, 1, 0, 0, -1, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1})},
      {"RotateX90", [](QvTransfo4& t) { t.Rotate(90, 2, 0, 0); },
       elementary({1, 0, 0, 0, 0, 0, 1, 0, 0, -1, 0, 0, 0, 0, 0, 1})},
      {"RotateXYZ", [](QvTransfo4& t) { t.RotateXYZ(QvPoint3<double>(90, 0, 90)); },
       // Rz(90) Rx(90): x -> y, y -> z, z -> x
       elementary({0, 1, 0, 0, 0, 0, 1, 0, 1, 0, 0, 0, 0, 0, 0, 1})},
  };
  std::mt19937 rng(11);
  for (const Case& k : cases) {
    SCOPED_TRACE(k.name);
    const QvTransfo4 m = random_transform(rng);
    QvTransfo4 t(m);
    k.op(t);
    qvtest::expect_mat_near(mul(mat_of(m), k.x), mat_of(t), 1e-12);
  }
}

TEST(Transfo4Build, RotationsSnapAndKeepTheirAxis) {
  QvTransfo4 z;
  z.Rotate(90, 0, 0, 1);
  const QvPoint3<double> p = z.Map(QvPoint3<double>(1, 0, 0));
  EXPECT_EQ(0.0, p.x);  // exact thanks to snapping
  EXPECT_EQ(1.0, p.y);
  EXPECT_EQ(0.0, p.z);

  // About an axis through two points: both points stay put.
  const QvPoint3<double> p1(1, 2, 3), p2(-2, 0.5, 4);
  QvTransfo4 r;
  r.Rotate(37, p1, p2);
  for (const QvPoint3<double>& q : {p1, p2}) {
    const QvPoint3<double> m = r.Map(q);
    EXPECT_NEAR(q.x, m.x, 1e-12);
    EXPECT_NEAR(q.y, m.y, 1e-12);
    EXPECT_NEAR(q.z, m.z, 1e-12);
  }

  // RotateXYZ turns about X first, then Y, then Z.
  QvTransfo4 xyz, chain;
  xyz.RotateXYZ(QvPoint3<double>(20, -35, 110));
  chain.Rotate(110, 0, 0, 1).Rotate(-35, 0, 1, 0).Rotate(20, 1, 0, 0);
  qvtest::expect_mat_near(mat_of(chain), mat_of(xyz), 1e-15);

  QvTransfo4 about_c;
  about_c.RotateXY(90, QvPoint2<double>(1, 1));
  const QvPoint2<double> q = about_c.Map(QvPoint2<double>(2, 1));
  EXPECT_EQ(1.0, q.x);
  EXPECT_EQ(2.0, q.y);
}

TEST(Transfo4Build, RotateXYTurnsFromOneVectorToTheOther) {
  const QvPoint2<double> c(1, -1);
  auto at = [&](double deg) {
    const double r = deg * 0.017453292519943295;
    return QvPoint2<double>(c.x + 2 * std::cos(r), c.y + 2 * std::sin(r));
  };
  struct Case {
    double from, to, turn;
  };
  const Case cases[] = {
      {30, 120, 90},
      {120, 110, 350},  // a turn of -10 degrees is told the long way round
      {300, 20, 80},
      {45, 45, 0},
  };
  for (const Case& k : cases) {
    SCOPED_TRACE(testing::Message() << k.from << " -> " << k.to);
    QvTransfo4 t, want;
    t.RotateXY(c, at(k.from), at(k.to));
    want.RotateXY(k.turn, c);
    qvtest::expect_mat_near(mat_of(want), mat_of(t), 1e-9);
  }
  QvTransfo4 t;
  t.Scale(3);
  const Mat before = mat_of(t);
  t.RotateXY(c, c, at(10));
  EXPECT_EQ(before, mat_of(t));
  t.RotateXY(c, at(10), QvPoint2<double>(c.x + 5e-8, c.y - 5e-8));
  EXPECT_EQ(before, mat_of(t));
}

TEST(Transfo4Frames, PointFramesMapUnitPoints) {
  const QvPoint3<double> p[4] = {{1, 2, 3}, {4, -1, 0}, {2, 2, 7}, {-3, 5, 1}};
  QvTransfo4 t;
  t.Scale(9);  // overwritten, not composed
  t.SetTo4PointTransform(p[0], p[1], p[2], p[3]);
  const QvPoint3<double> unit[4] = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
  for (int i = 0; i < 4; ++i) {
    const QvPoint3<double> m = t.Map(unit[i]);
    EXPECT_EQ(p[i].x, m.x);
    EXPECT_EQ(p[i].y, m.y);
    EXPECT_EQ(p[i].z, m.z);
  }
  t.SetTo3PointTransformXY(p[0], p[1], p[2]);
  EXPECT_EQ(1.0 - p[0].z, t.GetMatrixElement(2, 2));
  EXPECT_EQ(0.0, t.GetMatrixElement(0, 2));

  const QvPoint2<double> src[3] = {{0, 0}, {2, 0}, {0, 4}};
  const QvPoint2<double> dst[3] = {{1, 1}, {1, 3}, {-3, 1}};
  QvTransfo4 a;
  ASSERT_EQ(1, a.SetTo3PointTransformXY(src, dst));
  for (int i = 0; i < 3; ++i) {
    const QvPoint2<double> m = a.Map(src[i]);
    EXPECT_EQ(dst[i].x, m.x);
    EXPECT_EQ(dst[i].y, m.y);
  }
  EXPECT_EQ(1.0, a.GetMatrixElement(2, 2));
  const QvPoint2<double> flat[3] = {{0, 0}, {1, 1}, {2, 2}};
  QvTransfo4 kept;
  kept.Translate(5, 5, 5);
  EXPECT_EQ(0, kept.SetTo3PointTransformXY(flat, dst));
  EXPECT_TRUE(kept.IsTranslation());
  EXPECT_EQ(5.0, kept.GetMatrixElement(0, 3));
}

}  // namespace
