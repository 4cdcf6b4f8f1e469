#include <qv/QvQuat.h>

#include <gtest/gtest.h>

#include <cmath>
#include <random>

namespace {

constexpr double kPi = 3.141592653589793;

// Two unit quaternions give the same rotation when they are equal or opposite.
double rotation_gap(const QvQuat& a, const QvQuat& b) {
  return 1.0 - std::fabs(a.W() * b.W() + a.X() * b.X() + a.Y() * b.Y() + a.Z() * b.Z());
}

TEST(QvQuat, NormalizeFigures) {
  struct Case {
    const char* name;
    double in[4], want[4];
  };
  const Case cases[] = {
      {"zero becomes identity", {0, 0, 0, 0}, {1, 0, 0, 0}},
      {"norm 1 + 1e-13 kept, w clamped", {1 + 5e-14, 0, 0, 0}, {1, 0, 0, 0}},
      {"within 1e-12, not rescaled", {0, 0.6 + 2e-13, 0.8, 0}, {0, 0.6 + 2e-13, 0.8, 0}},
      {"rescaled", {0, 3, 0, -4}, {0, 0.6, 0, -0.8}},
  };
  for (const Case& k : cases) {
    SCOPED_TRACE(k.name);
    QvQuat q(k.in[0], k.in[1], k.in[2], k.in[3]);
    EXPECT_EQ(&q, &q.Normalize());
    double got[4];
    q.Get(got[0], got[1], got[2], got[3]);
    for (int i = 0; i < 4; ++i)
      EXPECT_DOUBLE_EQ(k.want[i], got[i]) << i;
  }
  QvQuat q(2, 1, -3, 4);
  q.Invert();  // the plain conjugate, even when not of unit length
  EXPECT_TRUE(q.GetW() == 2 && q.GetX() == -1 && q.GetY() == 3 && q.GetZ() == -4);
  q.Negate();
  EXPECT_TRUE(q.W() == -2 && q.X() == 1 && q.Y() == -3 && q.Z() == 4);
  EXPECT_EQ(1, QvQuat(1 + 5e-10, -1e-9, 0, 1e-9).IsIdentity());
  EXPECT_EQ(0, QvQuat(-1, 0, 0, 0).IsIdentity());  // same rotation, not the identity value
}

// Half angles, and the order Rz Ry Rx of RotateXYZ: a quarter turn about x then about z is
// (1, 1, 1, 1) / 2, where the other order would give a negative y.
TEST(QvQuat, FromEulerAngles) {
  const double h = std::sqrt(0.5);
  struct Case {
    double x, y, z, want[4];
  };
  const Case cases[] = {
      {kPi / 2, 0, 0, {h, h, 0, 0}},
      {0, kPi / 2, 0, {h, 0, h, 0}},
      {0, 0, -kPi / 2, {h, 0, 0, -h}},
      {kPi / 2, 0, kPi / 2, {0.5, 0.5, 0.5, 0.5}},
  };
  for (const Case& k : cases) {
    SCOPED_TRACE(testing::Message() << k.x << " " << k.y << " " << k.z);
    const QvQuat q(QvPoint3<double>(k.x, k.y, k.z));
    EXPECT_LT(1.0 - (k.want[0] * q.W() + k.want[1] * q.X() + k.want[2] * q.Y() + k.want[3] * q.Z()),
              1e-15);
  }
}

TEST(QvQuat, EulerRoundTripNearTheHint) {
  std::mt19937 rng(31);
  std::uniform_real_distribution<double> a(-kPi, kPi), hint(-15, 15);
  for (int i = 0; i < 200; ++i) {
    SCOPED_TRACE(i);
    // Every tenth case sits in gimbal lock, where only the sum or difference of x and z is
    // fixed and is shared out from the hints.
    const double y = i % 10 ? a(rng) / 2 : (i % 20 ? kPi / 2 : -kPi / 2);
    const QvQuat q(QvPoint3<double>(a(rng), y, a(rng)));
    const QvPoint3<double> h(hint(rng), hint(rng), hint(rng));
    QvPoint3<double> e;
    q.Get(e, h);
    EXPECT_LT(rotation_gap(q, QvQuat(e)), 1e-12);
    EXPECT_LE(std::fmax(std::fabs(e.x - h.x), std::fmax(std::fabs(e.y - h.y), std::fabs(e.z - h.z))),
              kPi + 1e-12);
  }
  const QvPoint3<double> e(0.4 + 2 * kPi, -0.3, 1.1 - 4 * kPi);
  QvPoint3<double> got;
  QvQuat(e).Get(got, e);  // a hint on the answer, turns included, gives it back
  EXPECT_EQ(1, got == e);
  QvQuat().Get(got, QvPoint3<double>(2 * kPi, 0, 0));
  EXPECT_TRUE(got.x == 2 * kPi && got.y == 0 && got.z == 0);
  // In gimbal lock with x - z (y up) or x + z (y down) under 1e-6, x and z both take the
  // hints' mean; with y down it is negated, and the angles no longer give the rotation.
  for (const double y : {kPi / 2, -kPi / 2}) {
    SCOPED_TRACE(y);
    QvQuat(QvPoint3<double>(0, y, 0)).Get(got, QvPoint3<double>(0.4, 0, 0.2));
    const double want = y > 0 ? 0.3 : -0.3;
    EXPECT_NEAR(want, got.x, 1e-15);
    EXPECT_NEAR(want, got.z, 1e-15);
    EXPECT_EQ(y, got.y);
  }
  // A half turn about z: only x and z are scored, (0, 0, pi) and (pi, pi, 0) tie, and a tie
  // goes to the second triple.
  QvQuat(0, 0, 0, 1).Get(got);
  EXPECT_TRUE(got.x == kPi && got.y == kPi && got.z == 0);
}

}  // namespace
