#include <qv/QvTransfo4.h>

#include <gtest/gtest.h>

#include <cmath>
#include <sstream>

#include "transform_test_support.h"

namespace {

using qvtest::Mat;
using qvtest::mat_of;
using qvtest::mul;

TEST(Transfo4Build, StorageOrderAndStreamRows) {
  QvTransfo4 t;
  t.Translate(1, 2, 3);
  EXPECT_EQ(1.0, t.GetMatrixElement(0, 3));
  EXPECT_EQ(3.0, t.GetMatrixPtr()[14]);
  t.GetMatrixPtr()[3] = 0.5;  // bottom row, column 0
  std::ostringstream os;
  os << t;
  EXPECT_EQ("{1 0 0 1}\n{0 1 0 2}\n{0 0 1 3}\n{0.5 0 0 1}\n", os.str());
}

// Every build operation is M X: checked on random M against the elementary matrix written
// out by hand. Scale after Translate shows the order: the call made last acts first.
TEST(Transfo4Build, PostMultipliesTheElementaryMatrix) {
  const Mat to_c = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0.5, -2, 3, 1};
  const Mat from_c = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, -0.5, 2, -3, 1};
  const Mat scale = {2, 0, 0, 0, 0, -3, 0, 0, 0, 0, 4, 0, 0, 0, 0, 1};
  struct Case {
    const char* name;
    void (*op)(QvTransfo4&);
    Mat x;
  };
  const Case cases[] = {
      {"Translate then Scale", [](QvTransfo4& t) { t.Translate(1, -2, 3).Scale(2); },
       {2, 0, 0, 0, 0, 2, 0, 0, 0, 0, 2, 0, 1, -2, 3, 1}},
      {"Scale", [](QvTransfo4& t) { t.Scale(2, -3, 4); }, scale},
      {"Scale about", [](QvTransfo4& t) { t.Scale(2, -3, 4, QvPoint3<double>(0.5, -2, 3)); },
       mul(mul(to_c, scale), from_c)},
      {"ShearXZ", [](QvTransfo4& t) { t.ShearXZ(2, 3); },
       {1, 0, 0, 0, 2, 1, 3, 0, 0, 0, 1, 0, 0, 0, 0, 1}},
      {"ShearYZ", [](QvTransfo4& t) { t.ShearYZ(2, 3); },
       {1, 2, 3, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1}},
      {"ShearXY", [](QvTransfo4& t) { t.ShearXY(2, 3); },
       {1, 0, 0, 0, 0, 1, 0, 0, 2, 3, 1, 0, 0, 0, 0, 1}},
      {"Rotate z", [](QvTransfo4& t) { t.Rotate(90, 0, 0, 5); },
       {0, 1, 0, 0, -1, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1}},
      {"RotateXYZ", [](QvTransfo4& t) { t.RotateXYZ(QvPoint3<double>(90, 0, 90)); },
       {0, 1, 0, 0, 0, 0, 1, 0, 1, 0, 0, 0, 0, 0, 0, 1}},  // x -> y, y -> z, z -> x
  };
  std::mt19937 rng(11);
  for (const Case& k : cases) {
    SCOPED_TRACE(k.name);
    const QvTransfo4 m = qvtest::random_transform(rng);
    QvTransfo4 t(m);
    k.op(t);
    qvtest::expect_mat_near(mul(mat_of(m), k.x), mat_of(t), 1e-12);
  }
  // Both products may take the object itself.
  const QvTransfo4 a = qvtest::random_transform(rng);
  QvTransfo4 post(a), pre(a);
  post.PostMultiply(post);
  pre.PreMultiply(pre);
  EXPECT_EQ(mul(mat_of(a), mat_of(a)), mat_of(post));
  EXPECT_EQ(mat_of(post), mat_of(pre));
}

TEST(Transfo4Build, RotationsSnapAndKeepTheirAxis) {
  QvTransfo4 z;
  z.Rotate(90, 0, 0, 1);
  const QvPoint3<double> p = z.Map(QvPoint3<double>(1, 0, 0));
  EXPECT_TRUE(p.x == 0.0 && p.y == 1.0 && p.z == 0.0);  // exact thanks to snapping

  const QvPoint3<double> p1(1, 2, 3), p2(-2, 0.5, 4);
  QvTransfo4 r;
  r.Rotate(37, p1, p2);
  EXPECT_EQ(1, r.Map(p1) == p1);
  EXPECT_EQ(1, r.Map(p2) == p2);

  // RotateXYZ turns about X first, then Y, then Z.
  QvTransfo4 chain;
  chain.Rotate(110, 0, 0, 1).Rotate(-35, 0, 1, 0).Rotate(20, 1, 0, 0);
  qvtest::expect_mat_near(mat_of(chain), mat_of(qvtest::xyz_degrees(20, -35, 110)), 1e-15);
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
  const Case cases[] = {{30, 120, 90}, {120, 110, 350}, {300, 20, 80}, {45, 45, 0}};
  for (const Case& k : cases) {
    SCOPED_TRACE(testing::Message() << k.from << " -> " << k.to);
    QvTransfo4 t, want;
    t.RotateXY(c, at(k.from), at(k.to));
    want.RotateXY(k.turn, c);
    qvtest::expect_mat_near(mat_of(want), mat_of(t), 1e-9);
    EXPECT_EQ(1, t.Map(c) == c);
  }
  QvTransfo4 t;  // degenerate vectors leave M alone
  t.RotateXY(c, c, at(10)).RotateXY(c, at(10), QvPoint2<double>(c.x + 5e-8, c.y - 5e-8));
  EXPECT_EQ(mat_of(QvTransfo4()), mat_of(t));
}

TEST(Transfo4Build, FramesFromPoints) {
  const QvPoint3<double> p[4] = {{1, 2, 3}, {4, -1, 0}, {2, 2, 7}, {-3, 5, 1}};
  const QvPoint3<double> unit[4] = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
  QvTransfo4 t;
  t.Scale(9).SetTo4PointTransform(p[0], p[1], p[2], p[3]);  // overwrites, does not compose
  for (int i = 0; i < 4; ++i)
    EXPECT_EQ(1, t.Map(unit[i]) == p[i]) << i;
  t.SetTo3PointTransformXY(p[0], p[1], p[2]);
  EXPECT_EQ(1.0 - p[0].z, t.GetMatrixElement(2, 2));

  const QvPoint2<double> src[3] = {{0, 0}, {2, 0}, {0, 4}};
  const QvPoint2<double> dst[3] = {{1, 1}, {1, 3}, {-3, 1}};
  ASSERT_EQ(1, t.SetTo3PointTransformXY(src, dst));
  for (int i = 0; i < 3; ++i)
    EXPECT_EQ(1, t.Map(src[i]) == dst[i]) << i;
  EXPECT_EQ(1.0, t.GetMatrixElement(2, 2));
  const QvPoint2<double> flat[3] = {{0, 0}, {1, 1}, {2, 2}};
  QvTransfo4 kept;
  kept.Translate(5, 5, 5);
  EXPECT_EQ(0, kept.SetTo3PointTransformXY(flat, dst));
  EXPECT_EQ(mat_of(QvTransfo4().Translate(5, 5, 5)), mat_of(kept));
}

}  // namespace
