#include <qv/QvQuat.h>
#include <qv/QvTransfo4.h>

#include <gtest/gtest.h>

#include <cmath>
#include <random>

namespace {

constexpr double kPi = 3.141592653589793;
constexpr double kDeg = 57.29577951308232;

struct Q {
  double w, x, y, z;
};

Q product(const Q& a, const Q& b) {
  return {a.w * b.w - a.x * b.x - a.y * b.y - a.z * b.z,
          a.w * b.x + a.x * b.w + a.y * b.z - a.z * b.y,
          a.w * b.y - a.x * b.z + a.y * b.w + a.z * b.x,
          a.w * b.z + a.x * b.y - a.y * b.x + a.z * b.w};
}

Q q_of(const QvQuat& q) {
  return {q.GetW(), q.GetX(), q.GetY(), q.GetZ()};
}

// q v q* by plain quaternion products, independent of any matrix.
QvPoint3<double> rotate(const QvQuat& quat, const QvPoint3<double>& v) {
  const Q q = q_of(quat);
  const Q r = product(product(q, {0, v.x, v.y, v.z}), {q.w, -q.x, -q.y, -q.z});
  return {r.x, r.y, r.z};
}

// Two unit quaternions give the same rotation when they are equal or opposite.
double rotation_gap(const QvQuat& a, const QvQuat& b) {
  const double dot = a.GetW() * b.GetW() + a.GetX() * b.GetX() + a.GetY() * b.GetY() +
                     a.GetZ() * b.GetZ();
  return 1.0 - std::fabs(dot);
}

TEST(QvQuat, NormalizeFigures) {
  struct Case {
    const char* name;
    Q in, want;
  };
  const Case cases[] = {
      {"zero becomes identity", {0, 0, 0, 0}, {1, 0, 0, 0}},
      {"norm 1 + 1e-13 kept, w clamped", {1 + 5e-14, 0, 0, 0}, {1, 0, 0, 0}},
      {"within tolerance, not rescaled", {0, 0.6 * (1 + 4e-13), 0.8, 0}, {0, 0.6 * (1 + 4e-13), 0.8, 0}},
      {"rescaled", {0, 3, 0, -4}, {0, 0.6, 0, -0.8}},
      {"negative w", {-2, 0, 0, 0}, {-1, 0, 0, 0}},
  };
  for (const Case& k : cases) {
    SCOPED_TRACE(k.name);
    QvQuat q(k.in.w, k.in.x, k.in.y, k.in.z);
    EXPECT_EQ(&q, &q.Normalize());
    double w, x, y, z;
    q.Get(w, x, y, z);
    EXPECT_DOUBLE_EQ(k.want.w, w);
    EXPECT_DOUBLE_EQ(k.want.x, x);
    EXPECT_DOUBLE_EQ(k.want.y, y);
    EXPECT_DOUBLE_EQ(k.want.z, z);
  }
}

TEST(QvQuat, InvertNegateAndIdentity) {
  QvQuat q(2, 1, -3, 4);
  q.Invert();  // the plain conjugate, even when not of unit length
  EXPECT_EQ(2.0, q.W());
  EXPECT_EQ(-1.0, q.X());
  EXPECT_EQ(3.0, q.Y());
  EXPECT_EQ(-4.0, q.Z());
  q.Negate();
  EXPECT_EQ(-2.0, q.GetW());
  EXPECT_EQ(4.0, q.GetZ());
  EXPECT_EQ(1, QvQuat().IsIdentity());
  EXPECT_EQ(1, QvQuat(1 + 5e-10, -1e-9, 0, 1e-9).IsIdentity());
  EXPECT_EQ(0, QvQuat(1, 0, 2e-9, 0).IsIdentity());
  EXPECT_EQ(0, QvQuat(-1, 0, 0, 0).IsIdentity());  // same rotation, but not the identity value
  q.SetIdentity();
  EXPECT_EQ(1, q.IsIdentity());
}

// The quaternion of Euler angles turns vectors as RotateXYZ does with the same angles.
TEST(QvQuat, EulerMatchesRotateXYZ) {
  std::mt19937 rng(29);
  std::uniform_real_distribution<double> a(-7, 7);
  for (int i = 0; i < 50; ++i) {
    const QvPoint3<double> e(a(rng), a(rng), a(rng));
    const QvQuat q(e);
    QvTransfo4 m;
    m.RotateXYZ(QvPoint3<double>(e.x * kDeg, e.y * kDeg, e.z * kDeg));
    const QvPoint3<double> v(0.3, -1.2, 2.0);
    const QvPoint3<double> want = m.Map(v), got = rotate(q, v);
    EXPECT_NEAR(want.x, got.x, 1e-6);  // RotateXYZ snaps at 1e-7
    EXPECT_NEAR(want.y, got.y, 1e-6);
    EXPECT_NEAR(want.z, got.z, 1e-6);
  }
}

TEST(QvQuat, EulerRoundTripNearTheHint) {
  std::mt19937 rng(31);
  std::uniform_real_distribution<double> a(-kPi, kPi), hint(-15, 15);
  for (int i = 0; i < 200; ++i) {
    SCOPED_TRACE(i);
    const QvQuat q(QvPoint3<double>(a(rng), a(rng) / 2, a(rng)));
    const QvPoint3<double> h(hint(rng), hint(rng), hint(rng));
    QvPoint3<double> e;
    q.Get(e, h);
    EXPECT_LT(rotation_gap(q, QvQuat(e)), 1e-12);
    EXPECT_LE(std::fabs(e.x - h.x), kPi + 1e-12);
    EXPECT_LE(std::fabs(e.y - h.y), kPi + 1e-12);
    EXPECT_LE(std::fabs(e.z - h.z), kPi + 1e-12);
  }
  // A hint on the answer, turns included, gives it back.
  const QvPoint3<double> e(0.4 + 2 * kPi, -0.3, 1.1 - 4 * kPi);
  QvPoint3<double> got;
  QvQuat(e).Get(got, e);
  EXPECT_NEAR(e.x, got.x, 1e-12);
  EXPECT_NEAR(e.y, got.y, 1e-12);
  EXPECT_NEAR(e.z, got.z, 1e-12);

  QvPoint3<double> turn;
  QvQuat().Get(turn, QvPoint3<double>(2 * kPi, 0, 0));
  EXPECT_EQ(2 * kPi, turn.x);
  EXPECT_EQ(0.0, turn.y);
  EXPECT_EQ(0.0, turn.z);
  // A half turn about z: only x and z are scored, (0, 0, pi) and (pi, pi, 0) tie, and a tie
  // goes to the second triple.
  QvQuat(0, 0, 0, 1).Get(turn);
  EXPECT_EQ(kPi, turn.x);
  EXPECT_EQ(kPi, turn.y);
  EXPECT_EQ(0.0, turn.z);
}

TEST(QvQuat, GimbalLockKeepsTheRotation) {
  struct Case {
    double y, hx, hz;
  };
  const Case cases[] = {{kPi / 2, 0.3, 0.1}, {kPi / 2, -1, 2}, {-kPi / 2, 0.3, 0.1},
                        {-kPi / 2, 0.5, -0.2}};
  for (const Case& k : cases) {
    SCOPED_TRACE(testing::Message() << k.y << " " << k.hx << " " << k.hz);
    const QvQuat q(QvPoint3<double>(0.9, k.y, 0.2));
    QvPoint3<double> e;
    q.Get(e, QvPoint3<double>(k.hx, 0, k.hz));
    EXPECT_LT(rotation_gap(q, QvQuat(e)), 1e-12);
    EXPECT_NEAR(k.y, e.y, 1e-7);
  }
}

}  // namespace
