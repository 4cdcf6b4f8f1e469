#include <qv/QvTransfo4.h>

#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "transform_test_support.h"

namespace {

constexpr double kPi = 3.141592653589793;
constexpr double kDeg = 57.29577951308232;

QvTransfo4 xyz_degrees(double x, double y, double z) {
  QvTransfo4 t;
  t.RotateXYZ(QvPoint3<double>(x, y, z));
  return t;
}

double circle_distance(double a, double b) {
  return std::fabs(std::remainder(a - b, 2 * kPi));
}

// Angles from random rotations and hints: the triple rebuilds the matrix, each angle lies
// within half a turn of its hint, and no other triple of the same rotation is nearer.
TEST(Transfo4Extract, RandomRotationsAndHints) {
  std::mt19937 rng(17);
  std::uniform_real_distribution<double> deg(-180, 180), ydeg(-89, 89), hint(-12, 12);
  for (int i = 0; i < 200; ++i) {
    const QvTransfo4 m = xyz_degrees(deg(rng), ydeg(rng), deg(rng));
    const QvPoint3<double> h(hint(rng), hint(rng), hint(rng));
    QvPoint3<double> e = h;
    m.ExtractXYZRotationAngles(e);
    SCOPED_TRACE(testing::Message() << "case " << i << ": " << e.x << " " << e.y << " " << e.z);
    qvtest::expect_mat_near(qvtest::mat_of(m),
                            qvtest::mat_of(xyz_degrees(e.x * kDeg, e.y * kDeg, e.z * kDeg)),
                            1e-9);
    EXPECT_LE(std::fabs(e.x - h.x), kPi + 1e-12);
    EXPECT_LE(std::fabs(e.y - h.y), kPi + 1e-12);
    EXPECT_LE(std::fabs(e.z - h.z), kPi + 1e-12);
    const double own = circle_distance(e.x, h.x) + circle_distance(e.y, h.y) +
                       circle_distance(e.z, h.z);
    const double other = circle_distance(e.x + kPi, h.x) + circle_distance(kPi - e.y, h.y) +
                         circle_distance(e.z + kPi, h.z);
    EXPECT_LE(own, other + 1e-12);
  }
}

TEST(Transfo4Extract, HintOnTheAnswerKeepsIt) {
  std::mt19937 rng(19);
  std::uniform_real_distribution<double> deg(-170, 170), ydeg(-80, 80);
  for (int i = 0; i < 50; ++i) {
    const double x = deg(rng), y = ydeg(rng), z = deg(rng);
    QvPoint3<double> e(x / kDeg, y / kDeg, z / kDeg);
    xyz_degrees(x, y, z).ExtractXYZRotationAngles(e);
    EXPECT_NEAR(x / kDeg, e.x, 1e-12);
    EXPECT_NEAR(y / kDeg, e.y, 1e-12);
    EXPECT_NEAR(z / kDeg, e.z, 1e-12);
  }
  // Whole turns in the hint survive, exactly.
  QvPoint3<double> turns(4 * kPi, 0, 0);
  QvTransfo4().ExtractXYZRotationAngles(turns);
  EXPECT_EQ(4 * kPi, turns.x);
  EXPECT_EQ(0.0, turns.y);
  EXPECT_EQ(0.0, turns.z);
}

// At y = +-90 degrees only rx - rz (or rx + rz) is fixed, up to whole turns; the extraction
// shares it out evenly from the hints.
TEST(Transfo4Extract, GimbalLockSplitsFromTheHints) {
  struct Case {
    double y_deg, hx, hz;
  };
  const Case cases[] = {{90, 0.3, 0.1}, {90, -1.0, 2.0}, {-90, 0.3, 0.1}, {-90, 0.5, -0.2}};
  for (const Case& k : cases) {
    SCOPED_TRACE(testing::Message() << k.y_deg << " " << k.hx << " " << k.hz);
    const double x = 50, z = 20;
    const QvTransfo4 m = xyz_degrees(x, k.y_deg, z);
    QvPoint3<double> e(k.hx, 0, k.hz);
    m.ExtractXYZRotationAngles(e);
    EXPECT_NEAR(k.y_deg / kDeg, e.y, 1e-12);
    if (k.y_deg > 0) {
      EXPECT_NEAR(0.0, std::remainder(e.x - e.z - (x - z) / kDeg, 2 * kPi), 1e-12);
      EXPECT_NEAR(e.x - k.hx, -(e.z - k.hz), 1e-12);
    } else {
      EXPECT_NEAR(0.0, std::remainder(e.x + e.z - (x + z) / kDeg, 2 * kPi), 1e-12);
      EXPECT_NEAR(e.x - k.hx, e.z - k.hz, 1e-12);
    }
    qvtest::expect_mat_near(qvtest::mat_of(m),
                            qvtest::mat_of(xyz_degrees(e.x * kDeg, e.y * kDeg, e.z * kDeg)),
                            1e-12);
  }
}

TEST(Transfo4Extract, TransformsRoundTrip) {
  QvTransfo4 m;
  m.Translate(3, -4, 5).RotateXYZ(QvPoint3<double>(10, -20, 130)).Scale(2, 0.5, 3);
  QvPoint3<double> scale, rotation(0.1, -0.3, 2.2), translation;
  m.ExtractTransforms(scale, rotation, translation);
  EXPECT_NEAR(2.0, scale.x, 1e-14);
  EXPECT_NEAR(0.5, scale.y, 1e-14);
  EXPECT_NEAR(3.0, scale.z, 1e-14);
  EXPECT_NEAR(10.0, rotation.x, 1e-10);
  EXPECT_NEAR(-20.0, rotation.y, 1e-10);
  EXPECT_NEAR(130.0, rotation.z, 1e-10);
  EXPECT_EQ(3.0, translation.x);
  EXPECT_EQ(-4.0, translation.y);
  EXPECT_EQ(5.0, translation.z);
}

TEST(Transfo4DecomposeXY, RoundTripsThroughRecompose) {
  std::mt19937 rng(23);
  std::uniform_real_distribution<double> u(-5, 5), pos(0.2, 4), angle(1, 359);
  const QvPoint2<double> centre(u(rng), u(rng));
  for (int i = 0; i < 100; ++i) {
    SCOPED_TRACE(i);
    const double sx = pos(rng), sy = u(rng) + (i % 2 ? 6 : -6), shear = u(rng), a = angle(rng);
    const QvPoint2<double> move(u(rng), u(rng));
    QvTransfo4 t;
    t.RecomposeXY(centre, sx, sy, shear, a, move);
    const QvPoint2<double> c = t.Map(centre);
    EXPECT_NEAR(centre.x + move.x, c.x, 1e-12);
    EXPECT_NEAR(centre.y + move.y, c.y, 1e-12);
    double gsx, gsy, gshear, ga;
    QvPoint2<double> gmove;
    ASSERT_EQ(1, t.DecomposeXY(centre, gsx, gsy, gshear, ga, gmove));
    EXPECT_NEAR(sx, gsx, 1e-12);
    EXPECT_NEAR(sy, gsy, 1e-11);
    EXPECT_NEAR(shear, gshear, 1e-11);
    EXPECT_NEAR(a, ga, 1e-9);
    EXPECT_NEAR(move.x, gmove.x, 1e-12);
    EXPECT_NEAR(move.y, gmove.y, 1e-12);
  }
}

TEST(Transfo4DecomposeXY, AxisCasesAndSingular) {
  const QvPoint2<double> centre(1, 2);
  struct Case {
    const char* name;
    double a, b, c, d;
    double sx, sy, angle;
  };
  const Case cases[] = {
      {"scale only", 2, 0, 0, -3, 2, -3, 0},
      {"quarter turn", 0, 2, -3, 0, 2, 3, 90},
      {"half turn", -2, 0, 0, -2, -2, -2, 0},  // told as a negative scale, not as 180
  };
  for (const Case& k : cases) {
    SCOPED_TRACE(k.name);
    QvTransfo4 t;
    double* m = t.GetMatrixPtr();
    m[0] = k.a;
    m[1] = k.b;
    m[4] = k.c;
    m[5] = k.d;
    m[12] = 7;
    double sx, sy, shear = 9, angle;
    QvPoint2<double> move;
    ASSERT_EQ(1, t.DecomposeXY(centre, sx, sy, shear, angle, move));
    EXPECT_EQ(k.sx, sx);
    EXPECT_EQ(k.sy, sy);
    EXPECT_EQ(0.0, shear);
    EXPECT_EQ(k.angle, angle);
    const QvPoint2<double> moved = t.Map(centre);
    EXPECT_EQ(moved.x - centre.x, move.x);
    EXPECT_EQ(moved.y - centre.y, move.y);
  }
  // Column 1 is twice column 0: no split exists, and nothing is written.
  const double flat[16] = {1, 1, 0, 0, 2, 2, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
  double sx = -1, sy = -1, shear = -1, angle = -1;
  QvPoint2<double> move(-1, -1);
  EXPECT_EQ(0, QvTransfo4(flat).DecomposeXY(centre, sx, sy, shear, angle, move));
  for (double v : {sx, sy, shear, angle, move.x, move.y})
    EXPECT_EQ(-1.0, v);
}

}  // namespace
