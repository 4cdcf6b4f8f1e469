#include <qv/QvTransfo4.h>

#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "transform_test_support.h"

namespace {

using qvtest::mat_of;
using qvtest::xyz_degrees;

constexpr double kPi = 3.141592653589793;
constexpr double kDeg = 57.29577951308232;

double circle_distance(double a, double b) {
  return std::fabs(std::remainder(a - b, 2 * kPi));
}

void expect_rebuilds(const QvTransfo4& m, const QvPoint3<double>& e, double tol) {
  qvtest::expect_mat_near(mat_of(m), mat_of(xyz_degrees(e.x * kDeg, e.y * kDeg, e.z * kDeg)),
                          tol);
}

// Angles from random rotations and hints: the triple rebuilds the matrix, each angle lies
// within half a turn of its hint, and the other triple of the same rotation is no nearer.
TEST(Transfo4Extract, RandomRotationsAndHints) {
  std::mt19937 rng(17);
  std::uniform_real_distribution<double> deg(-180, 180), ydeg(-89, 89), hint(-12, 12);
  for (int i = 0; i < 200; ++i) {
    const QvTransfo4 m = xyz_degrees(deg(rng), ydeg(rng), deg(rng));
    const QvPoint3<double> h(hint(rng), hint(rng), hint(rng));
    QvPoint3<double> e = h;
    m.ExtractXYZRotationAngles(e);
    SCOPED_TRACE(i);
    expect_rebuilds(m, e, 1e-9);
    EXPECT_LE(std::fmax(std::fabs(e.x - h.x), std::fmax(std::fabs(e.y - h.y), std::fabs(e.z - h.z))),
              kPi + 1e-12);
    const double own = circle_distance(e.x, h.x) + circle_distance(e.y, h.y) +
                       circle_distance(e.z, h.z);
    const double other = circle_distance(e.x + kPi, h.x) + circle_distance(kPi - e.y, h.y) +
                         circle_distance(e.z + kPi, h.z);
    EXPECT_LE(own, other + 1e-12);
  }
  // A hint on the answer keeps it; whole turns in the hint survive exactly.
  QvPoint3<double> e(0.3, -1.2, 2.9);
  xyz_degrees(0.3 * kDeg, -1.2 * kDeg, 2.9 * kDeg).ExtractXYZRotationAngles(e);
  EXPECT_EQ(1, e == QvPoint3<double>(0.3, -1.2, 2.9));
  QvPoint3<double> turns(4 * kPi, 0, 0);
  QvTransfo4().ExtractXYZRotationAngles(turns);
  EXPECT_TRUE(turns.x == 4 * kPi && turns.y == 0 && turns.z == 0);
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
    const QvTransfo4 m = xyz_degrees(50, k.y_deg, 20);
    QvPoint3<double> e(k.hx, 0, k.hz);
    m.ExtractXYZRotationAngles(e);
    EXPECT_NEAR(k.y_deg / kDeg, e.y, 1e-12);
    const double sign = k.y_deg > 0 ? -1 : 1;  // difference above, sum below
    EXPECT_NEAR(0.0, std::remainder(e.x + sign * e.z - (50 + sign * 20) / kDeg, 2 * kPi), 1e-12);
    EXPECT_NEAR(e.x - k.hx, sign * (e.z - k.hz), 1e-12);
    expect_rebuilds(m, e, 1e-12);
  }
  // Below, a sum under 1e-5 is not read from the matrix: half the hints' sum stands in for it,
  // and the angles that come back no longer add up to the built 0.
  QvPoint3<double> e(0.4, 0, 0.2);
  xyz_degrees(0, -90, 0).ExtractXYZRotationAngles(e);
  EXPECT_NEAR(0.25, e.x, 1e-15);
  EXPECT_NEAR(0.05, e.z, 1e-15);
}

TEST(Transfo4Extract, TransformsRoundTrip) {
  QvTransfo4 m;
  m.Translate(3, -4, 5).RotateXYZ(QvPoint3<double>(10, -20, 130)).Scale(2, 0.5, 3);
  QvPoint3<double> scale, rotation(0.1, -0.3, 2.2), translation;  // hint in radians
  m.ExtractTransforms(scale, rotation, translation);
  EXPECT_EQ(1, scale == QvPoint3<double>(2, 0.5, 3));
  EXPECT_EQ(1, rotation == QvPoint3<double>(10, -20, 130));  // degrees
  EXPECT_TRUE(translation.x == 3 && translation.y == -4 && translation.z == 5);
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
    double gsx, gsy, gshear, ga;
    QvPoint2<double> gmove;
    ASSERT_EQ(1, t.DecomposeXY(centre, gsx, gsy, gshear, ga, gmove));
    EXPECT_TRUE(std::fabs(sx - gsx) < 1e-12 && std::fabs(sy - gsy) < 1e-11 &&
                std::fabs(shear - gshear) < 1e-11 && std::fabs(a - ga) < 1e-9)
        << gsx << " " << gsy << " " << gshear << " " << ga;
    EXPECT_EQ(1, gmove == move);  // the centre lands on centre + move
  }
}

TEST(Transfo4DecomposeXY, AxisCasesAndSingular) {
  const QvPoint2<double> centre(1, 2);
  struct Case {
    const char* name;
    double a, b, c, d, sx, sy, angle;
  };
  const Case cases[] = {
      {"scale only", 2, 0, 0, -3, 2, -3, 0},
      {"quarter turn", 0, 2, -3, 0, 2, 3, 90},
      {"half turn", -2, 0, 0, -2, -2, -2, 0},  // told as a negative scale, not as 180
  };
  for (const Case& k : cases) {
    SCOPED_TRACE(k.name);
    const double m[16] = {k.a, k.b, 0, 0, k.c, k.d, 0, 0, 0, 0, 1, 0, 7, 0, 0, 1};
    double sx, sy, shear = 9, angle;
    QvPoint2<double> move;
    ASSERT_EQ(1, QvTransfo4(m).DecomposeXY(centre, sx, sy, shear, angle, move));
    EXPECT_TRUE(sx == k.sx && sy == k.sy && shear == 0 && angle == k.angle);
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
