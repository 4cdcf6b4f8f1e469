#include <qv/QvQuat.h>
#include <qv/QvQuatFCurve.h>

#include "fcurve/rotation_math.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

namespace {

using qv::internal::Quat;
constexpr double kDeg = 0.017453292519943295;

QvPoint3<double> deg(double x, double y, double z) {
  return QvPoint3<double>(x * kDeg, y * kDeg, z * kDeg);
}

// A curve of keys about one axis, equally spaced in time: every rotation vector between
// neighbours is the same, the phantom ends continue it, and the cumulative cubic then reduces to a
// uniform turn, so each component is linear in time.
QvQuatCurve ramp(const std::vector<QvPoint3<double>>& values) {
  QvQuatCurve c;
  for (std::size_t i = 0; i < values.size(); ++i)
    c.SetKey(QvQuatKey(static_cast<double>(i), values[i], 0, 0, 0, 0), 0.0);
  return c;
}

double rotation_gap(const Quat& a, const Quat& b) {
  return std::fabs(std::fabs(qv::internal::quat_dot(a, b)) - 1.0);
}

}  // namespace

TEST(RotationMath, LogAndExpAreInverse) {
  std::mt19937 rng(7);
  std::uniform_real_distribution<double> a(-3.0, 3.0);
  for (int i = 0; i < 200; ++i) {
    const Quat q = qv::internal::quat_from_euler(QvPoint3<double>(a(rng), a(rng) / 2, a(rng)));
    const Quat back = qv::internal::quat_exp(qv::internal::quat_log(q));
    EXPECT_LT(std::fabs(q.w - back.w) + std::fabs(q.x - back.x) + std::fabs(q.y - back.y) +
                  std::fabs(q.z - back.z), 4e-12);
  }
  // The identity has the zero rotation vector, and the zero vector gives the identity exactly.
  const Quat zero = qv::internal::quat_exp(Quat{0, 0, 0, 0});
  EXPECT_EQ(1.0, zero.w);
  EXPECT_EQ(0.0, zero.x);
}

TEST(QvQuatCurve, NoKeyAndOneKeyUnderEveryMethod) {
  for (QvLong method = 1; method <= 4; ++method) {
    SCOPED_TRACE(method);
    QvQuatCurve c;
    c.SetExtrapolationMethod(method);
    c.SetValueWhenNoKeys(deg(1, 2, 3));
    EXPECT_NEAR(2.0, c.Eval(5.0, 1), 1e-12);
    c.SetKey(QvQuatKey(1.0, deg(10, 20, 30), 0.5f, 0, 0, 0), 0.0);
    for (double t : {-100.0, 1.0, 1.5, 1e9}) {
      const QvPoint3<double> v = c.Eval(t);
      EXPECT_EQ(10 * kDeg, v.x);
      EXPECT_EQ(20 * kDeg, v.y);
      EXPECT_EQ(30 * kDeg, v.z);
    }
  }
}

TEST(QvQuatCurve, UniformTurnIsLinearInTime) {
  struct Case {
    const char* name;
    std::vector<QvPoint3<double>> keys;
    int axis;
    double step;
  };
  const Case cases[] = {
      {"two keys about z", {deg(0, 0, 0), deg(0, 0, 90)}, 2, 90},
      {"three keys about x", {deg(0, 0, 0), deg(30, 0, 0), deg(60, 0, 0)}, 0, 30},
      // Beyond a full turn the answer stays on the keys' own turn.
      {"past a turn about z", {deg(0, 0, 0), deg(0, 0, 120), deg(0, 0, 240), deg(0, 0, 360),
                               deg(0, 0, 480)}, 2, 120},
  };
  for (const Case& k : cases) {
    SCOPED_TRACE(k.name);
    const QvQuatCurve c = ramp(k.keys);
    const double end = static_cast<double>(k.keys.size() - 1);
    for (double t = 0.0; t <= end; t += 0.0625)
      EXPECT_NEAR(k.step * t, c.Eval(t, static_cast<QvULong>(k.axis)), 1e-9) << "t " << t;
  }
}

TEST(QvQuatCurve, EqualRotationsStayPut) {
  QvQuatCurve c;
  c.SetKey(QvQuatKey(0.0, deg(10, -20, 30), 0.3f, -0.2f, 0.5f, 0), 0.0);
  c.SetKey(QvQuatKey(2.0, deg(10, -20, 30), -0.4f, 0.1f, 0.0f, 0), 0.0);
  for (double t : {0.25, 1.0, 1.75}) {
    EXPECT_NEAR(10.0, c.Eval(t, 0), 1e-9);
    EXPECT_NEAR(-20.0, c.Eval(t, 1), 1e-9);
    EXPECT_NEAR(30.0, c.Eval(t, 2), 1e-9);
  }
}

// Random keys with random shape numbers: the curve passes through every key's rotation and moves
// continuously between them.
TEST(QvQuatCurve, RandomCurvesInterpolateAndStayContinuous) {
  std::mt19937 rng(42);
  std::uniform_real_distribution<double> angle(-1.2, 1.2);
  std::uniform_real_distribution<float> shape(-0.5f, 0.5f);
  for (int trial = 0; trial < 20; ++trial) {
    SCOPED_TRACE(trial);
    QvQuatCurve c;
    double t = 0.0;
    for (int i = 0; i < 6; ++i) {
      t += 0.5 + std::fabs(angle(rng));
      c.SetKey(QvQuatKey(t, QvPoint3<double>(angle(rng), angle(rng), angle(rng)), shape(rng),
                         shape(rng), shape(rng), 0), 0.0);
    }
    for (QvULong i = 0; i < c.GetNumKeys(); ++i) {
      const Quat want = qv::internal::quat_from_euler(c.GetKeyValue(i));
      const Quat got = qv::internal::quat_from_euler(c.Eval(c.GetKeyTime(i)));
      EXPECT_LT(rotation_gap(want, got), 1e-12) << "key " << i;
    }
    Quat previous = qv::internal::quat_from_euler(c.Eval(c.GetKeyTime(0)));
    for (double s = c.GetKeyTime(0); s <= t; s += 0.001) {
      const Quat q = qv::internal::quat_from_euler(c.Eval(s));
      EXPECT_LT(rotation_gap(previous, q), 1e-4) << "t " << s;
      previous = q;
    }
  }
}

TEST(QvQuatCurve, ExtrapolationOfAQuarterTurn) {
  struct Case {
    QvLong method;
    double t;
    double want;
  };
  const Case cases[] = {
      {1, -1.0, 0.0},   {1, 2.0, 90.0},     {2, 1.5, 135.0},  {2, -0.5, -45.0},
      {3, 1.25, 22.5},  {3, -0.25, 67.5},   {3, 3.0, 0.0},    {4, 1.25, 112.5},
      {4, -0.25, -22.5}, {4, 2.5, 225.0},   {4, -1.5, -135.0},
  };
  for (const Case& k : cases) {
    SCOPED_TRACE(testing::Message() << "method " << k.method << " at " << k.t);
    QvQuatCurve c = ramp({deg(0, 0, 0), deg(0, 0, 90)});
    c.SetExtrapolationMethod(k.method);
    // The slerp line is taken from a probe 1e-4 of a span from the end, so the probe's rounding
    // grows with the distance.
    EXPECT_NEAR(k.want, c.Eval(k.t, 2), 1e-5);
    EXPECT_NEAR(0.0, c.Eval(k.t, 0), 1e-9);
  }
}

TEST(QvQuatCurve, MemoAndCacheFollowChanges) {
  QvQuatCurve c = ramp({deg(0, 0, 0), deg(0, 0, 90)});
  EXPECT_NEAR(90.0, c.Eval(3.0, 2), 1e-9);
  // Within 1e-9 of the last parameter the memo answers.
  EXPECT_EQ(c.Eval(3.0, 2), c.Eval(3.0 + 5e-10, 2));
  // A new method changes the answer at the memo's own parameter.
  c.SetExtrapolationMethod(3);
  EXPECT_NEAR(0.0, c.Eval(3.0, 2), 1e-9);
  // A changed key drops the cache.
  c.SetKeyValue(1, 2, 45.0);
  EXPECT_NEAR(22.5, c.Eval(0.5, 2), 1e-9);
  EXPECT_EQ(0, c.SetExtrapolationMethod(5));
  EXPECT_EQ(3, c.GetExtrapolationMethod());
}

TEST(QvQuatCurve, NegatedTimeFactorReversesTheTangent) {
  QvQuatCurve plain = ramp({deg(0, 0, 0), deg(0, 0, 90), deg(0, 0, 180)});
  QvQuatCurve flipped(plain);
  QvQuatKey k = flipped.GetKey(0);
  k.flags = QvQuatKey::kFlagNegateTimeFactor;
  EXPECT_EQ(1, flipped.SetKey(0, k));
  EXPECT_NEAR(0.9, plain.Eval(0.01, 2), 1e-9);
  // The outgoing tangent now points backwards: the turn starts the wrong way round.
  EXPECT_LT(flipped.Eval(0.01, 2), 0.0);
  EXPECT_NEAR(90.0, flipped.Eval(1.0, 2), 1e-9);
}

TEST(QvQuatCurve, KeyEditing) {
  QvQuatCurve c = ramp({deg(0, 0, 0), deg(0, 0, 10), deg(0, 0, 20)});
  EXPECT_EQ(1u, c.FindKey(1.4, 0.5));
  EXPECT_EQ(0u, c.FindKey(0.5, 0.5));  // a tie goes to the earlier key
  EXPECT_EQ(0xFFFFFFFFu, c.FindKey(0.5, 0.4));
  EXPECT_EQ(2u, c.GetNextKey(1.0, 0.1));
  EXPECT_EQ(0u, c.GetPrevKey(1.0, 0.1));
  EXPECT_EQ(0xFFFFFFFFu, c.GetNextKey(2.0, 0.0));

  // A replaced key must stay strictly between its neighbours.
  EXPECT_EQ(0, c.SetKey(1, QvQuatKey(2.0, deg(0, 0, 0), 0, 0, 0, 0)));
  EXPECT_EQ(0, c.SetKey(3, QvQuatKey(2.5, deg(0, 0, 0), 0, 0, 0, 0)));
  EXPECT_EQ(1, c.SetKey(1, QvQuatKey(1.5, deg(0, 0, 5), 0, 0, 0, 0)));

  // A value-locked key keeps its value and still reports its index.
  EXPECT_EQ(1, c.SetValueLock(1, 1));
  EXPECT_EQ(1u, c.SetKey(1.5, deg(9, 9, 9), 0.1));
  EXPECT_NEAR(5.0, c.GetKeyValue(1, 2), 1e-12);
  EXPECT_EQ(1, c.SetKeyValue(1, 2, 40.0));
  EXPECT_NEAR(5.0, c.GetKeyValue(1, 2), 1e-12);
  EXPECT_EQ(2, c.GetConstraintData(1));

  // Inserting keeps the order; a time that is not finite is refused.
  EXPECT_EQ(1u, c.SetKey(0.5, 2, 2.5, 0.0));
  EXPECT_EQ(4u, c.GetNumKeys());
  EXPECT_EQ(0xFFFFFFFFu, c.SetKey(std::nan(""), 2, 2.5, 0.0));
  EXPECT_EQ(1, c.IsValid());

  // Scale and Shift leave parameter-locked keys alone, which may break the order.
  EXPECT_EQ(0, c.Scale(1e-13));
  EXPECT_EQ(1, c.SetConstraintData(0, 4));
  EXPECT_EQ(1, c.IsParamLocked(0));
  EXPECT_EQ(0, c.IsValueLocked(0));
  EXPECT_EQ(1, c.Shift(-1.0));
  EXPECT_EQ(0.0, c.GetKeyTime(0));
  EXPECT_EQ(-0.5, c.GetKeyTime(1));
  EXPECT_EQ(0, c.IsValid());
  EXPECT_EQ(1, c.RemoveKeyRange(1, 2));
  EXPECT_EQ(2u, c.GetNumKeys());
  EXPECT_EQ(0, c.RemoveKeyAt(2));
}

TEST(QvQuatCurve, KeyExtentCoversTheNeighbours) {
  QvQuatCurve c = ramp({deg(0, 0, 0), deg(0, 0, 50), deg(0, 0, -10), deg(0, 0, 30),
                        deg(0, 0, 5), deg(0, 0, 70)});
  const QvExtent2<double> e = c.GetKeyExtent(3, 2);
  EXPECT_EQ(QvExtent2<double>::ExtentBounded, e.state);
  EXPECT_EQ(1.0, e.min.x);
  EXPECT_EQ(5.0, e.max.x);
  EXPECT_NEAR(-10.0, e.min.y, 1e-12);
  EXPECT_NEAR(70.0, e.max.y, 1e-12);
  EXPECT_EQ(QvExtent2<double>::ExtentEmpty, c.GetKeyExtent(6, 2).state);
}

TEST(QvQuatCurve, CopiesAreIndependentAndCountedApart) {
  QvQuatCurve* shared = new QvQuatCurve;
  shared->SetKey(QvQuatKey(0.0, deg(0, 0, 0), 0, 0, 0, 0), 0.0);
  {
    QvQuatFCurve a(shared, 0);
    QvQuatFCurve b(shared, 1);
    QvQuatCurve copy(*shared);
    copy.SetKey(1.0, deg(0, 0, 45), 0.0);
    EXPECT_EQ(1u, shared->GetNumKeys());
    copy = *shared;
    EXPECT_EQ(1u, copy.GetNumKeys());
  }
  // The last view's UnRef deleted the shared curve; the sanitizer build checks that nothing leaks.
}

TEST(QvQuatKey, ComparisonTolerances) {
  const QvQuatKey a(1.0, deg(1, 2, 3), 0.5f, 0.25f, 0.0f, 0x7FFF);
  EXPECT_EQ(0x3FFF, a.flags);
  EXPECT_EQ(0, a.paramLock);
  QvQuatKey b(a);
  b.time += 1e-9 * 0.5;
  b.value.z += 1e-10;
  EXPECT_EQ(1, a == b);
  b.valueLock = 1;
  EXPECT_EQ(1, a != b);
  QvQuatKey c(a);
  c.time += 1e-8;
  EXPECT_EQ(0, a == c);
  EXPECT_EQ(1, a < c);
  EXPECT_EQ(0, c < a);
}

TEST(QvQuatCurve, ParametersFarOutsideAreSafe) {
  for (QvLong method = 1; method <= 4; ++method) {
    SCOPED_TRACE(method);
    QvQuatCurve c = ramp({deg(0, 0, 0), deg(0, 0, 90), deg(10, 0, 120)});
    c.SetExtrapolationMethod(method);
    for (double t : {1e300, -1e300, 1e12 + 0.5}) {
      const QvPoint3<double> v = c.Eval(t);
      EXPECT_TRUE(std::isfinite(v.x) && std::isfinite(v.y) && std::isfinite(v.z)) << t;
    }
    // Parameters that are not finite hold an end rotation.
    EXPECT_NEAR(0.0, c.Eval(-INFINITY, 2), 1e-9);
    EXPECT_NEAR(120.0, c.Eval(INFINITY, 2), 1e-9);
    EXPECT_NEAR(0.0, c.Eval(std::nan(""), 2), 1e-9);
  }
  // A whole number of cycles of the offset cycle is the last rotation turned on by whole cycles.
  QvQuatCurve c = ramp({deg(0, 0, 0), deg(0, 0, 30)});
  c.SetExtrapolationMethod(4);
  EXPECT_NEAR(30.0 * 7.0, c.Eval(7.0, 2), 1e-6);
  EXPECT_NEAR(0.0, std::remainder(c.Eval(120000.0, 2), 360.0), 1e-6);
}
