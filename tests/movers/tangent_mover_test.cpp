#include <gtest/gtest.h>

#include <qv/QvStdFCurve.h>

#include "fcurve/mover_common.h"
#include "movers/mover_test_support.h"

#include <cmath>
#include <random>

using namespace qv::test;

namespace {

// Keys at 0, 1, 2 with values 0, 1, 0 and cubic segments.
QvStdFCurve hill() {
  QvStdFCurve c(0.0, QvBaseFCurve::FSBezierCubic);
  for (int i = 0; i < 3; ++i) c.CreateKey(i, i == 1 ? 1.0 : 0.0);
  return c;
}

}  // namespace

// The closed-form limit of a left handle against a bisection of the validity test itself.
TEST(TangentMover, HandleLimitAgainstBisection) {
  std::mt19937 rng(20261123);
  std::uniform_real_distribution<double> u(-0.5, 0.5);
  std::uniform_real_distribution<double> frac(0.0, 1.0);
  int solved = 0;
  for (int n = 0; n < 200; ++n) {
    const double x0 = u(rng);
    const double x3 = x0 + 0.01 + 3.0 * frac(rng);
    const double x1 = x0 + (x3 - x0) * frac(rng);
    double limit = 0.0;
    // A negative q means no limit in this frame; the caller then shortens step by step.
    if (!qv::internal::left_handle_x_limit(x0, x1, x3, limit)) continue;
    ++solved;
    auto valid = [&](double x2) {
      return QvStdFCurve_IsCubicSegmentValid(Point(x0, 0), Point(x1, 0), Point(x2, 0),
                                             Point(x3, 0)) != 0;
    };
    double lo = limit - 1.0, hi = x1;
    ASSERT_FALSE(valid(lo));
    ASSERT_TRUE(valid(hi));
    for (int k = 0; k < 80; ++k) {
      const double mid = 0.5 * (lo + hi);
      (valid(mid) ? hi : lo) = mid;
    }
    EXPECT_NEAR(hi, limit, 1e-6) << x0 << " " << x1 << " " << x3;
  }
  EXPECT_GT(solved, 100);
}

TEST(TangentMover, Refusals) {
  Box affected;
  QvStdFCurve one(0.0, QvBaseFCurve::FSBezierCubic);
  one.CreateKey(1.0, 1.0);
  QvStdTgtMover lonely(one, 1.0, QvBaseFCurve::KeySideRight, 0.0);
  EXPECT_EQ(0, lonely.Update(Point(1, 1), 0, 0, 1.0, affected));
  QvStdFCurve c = hill();
  QvStdTgtMover direction(c, 1.0, QvBaseFCurve::KeySideRight, 0.0);
  double p = 1.0;
  c.SetConstraint(p, QvBaseFCurve::KCTangentDirectionLocked, 1, 0.0);
  EXPECT_EQ(0, direction.Update(Point(0.2, 0.3), 0, 0, 1.0, affected));
  // Read-only: nothing moves, yet the drag goes on as if it had.
  c.SetReadOnlyConstraint(1);
  const std::vector<unsigned char> before = bytes_of(c);
  EXPECT_EQ(1, direction.Update(Point(-0.2, 0.5), 1, 1, 1.0, affected));
  EXPECT_EQ(before, bytes_of(c));
}

// The constructor stores the automatic handles, so a first Update that asks for the handle where
// it already is changes nothing of the shape, while the key is no longer automatic.
TEST(TangentMover, FirstUpdateDoesNotJump) {
  QvStdFCurve c = hill();
  c.CreateKey(3.0, 2.0);
  double p = 1.0;
  ASSERT_EQ(1, c.SetConstraint(p, QvBaseFCurve::KCTangentAutomatic, 1, 0.0));
  const QvStdFCurve before(c);
  Point right;
  ASSERT_EQ(1, c.GetEvaluatedKeyTgtHandle(1.0, QvBaseFCurve::KeySideRight, right, 0.0));
  QvStdTgtMover mover(c, 1.0, QvBaseFCurve::KeySideRight, 0.0);
  Box affected;
  ASSERT_EQ(1, mover.Update(right, 1, 0, 1.0, affected));
  for (double x = -0.5; x <= 3.5; x += 0.0625) EXPECT_NEAR(before.Eval(x, 0), c.Eval(x, 0), 1e-12);
  QvLong on = 1;
  p = 1.0;
  ASSERT_EQ(1, c.GetConstraint(p, QvBaseFCurve::KCTangentAutomatic, on, 0.0));
  EXPECT_EQ(0, on);
  EXPECT_EQ(2.0, affected.max.x);  // the key and its two neighbours
}

// With continuity the other handle turns by the same angle from where it started, keeping its
// length, or taking this one's length measured with y scaled. Without it, only one handle moves
// and the continuity flag goes.
TEST(TangentMover, ContinuityAndLength) {
  struct Case { const char* name; QvLong keep_continuity, keep_length; double scale; };
  const Case cases[] = {
      {"turn only", 1, 0, 1.0},
      {"turn and match length", 1, 1, 2.0},
      {"this side only", 0, 0, 1.0},
  };
  for (const Case& k : cases) {
    SCOPED_TRACE(k.name);
    QvStdFCurve c = hill();
    Point left0, right0;
    ASSERT_EQ(1, c.GetActualKeyTgtHandles(1.0, left0, right0, 0.0));
    QvStdTgtMover mover(c, 1.0, QvBaseFCurve::KeySideRight, 0.0);
    Box affected;
    // Each drag starts again from the handles at mouse-down.
    for (const Point& target : {Point(0.3, 0.2), Point(0.25, -0.1)}) {
      ASSERT_EQ(1, mover.Update(target, k.keep_continuity, k.keep_length, k.scale, affected));
      Point left, right;
      ASSERT_EQ(1, c.GetActualKeyTgtHandles(1.0, left, right, 0.0));
      EXPECT_NEAR(target.x, right.x, 1e-12);
      EXPECT_NEAR(target.y, right.y, 1e-12);
      double p = 1.0;
      QvLong continuous = 0;
      c.GetConstraint(p, QvBaseFCurve::KCTangentContinuity, continuous, 0.0);
      EXPECT_EQ(k.keep_continuity, continuous);
      if (k.keep_continuity == 0) {
        EXPECT_EQ(left0.y, left.y);
        continue;
      }
      EXPECT_NEAR(0.0, left.x * right.y - left.y * right.x, 1e-12);
      EXPECT_LT(left.x * right.x + left.y * right.y, 0.0);
      const double want = k.keep_length ? std::hypot(right.x, right.y * k.scale)
                                        : std::hypot(left0.x, left0.y);
      EXPECT_NEAR(want, std::hypot(left.x, left.y * (k.keep_length ? k.scale : 1.0)), 1e-12);
    }
  }
}

// A handle asked to reach too far is brought back along the line from the key to where it was
// asked. Where the validity polynomial has a limit the handle lands on it, held to the segment's
// span; where it has none the handle is shortened by factors of 0.99 until the segment is valid.
TEST(TangentMover, HandleStaysInsideItsSegment) {
  QvStdFCurve c = hill();
  Box affected;
  QvStdTgtMover left_of_peak(c, 1.0, QvBaseFCurve::KeySideLeft, 0.0);
  ASSERT_EQ(1, left_of_peak.Update(Point(-10.0, 5.0), 0, 0, 1.0, affected));
  Point left;
  ASSERT_EQ(1, c.GetActualKeyTgtHandle(1.0, QvBaseFCurve::KeySideLeft, left, 0.0));
  EXPECT_NEAR(-1.0, left.x, 1e-12);  // the limit lies before the previous key: held at 0
  EXPECT_NEAR(0.5, left.y, 1e-12);

  QvStdFCurve d = hill();
  QvStdTgtMover first(d, 0.0, QvBaseFCurve::KeySideRight, 0.0);
  ASSERT_EQ(1, first.Update(Point(10.0, 5.0), 0, 0, 1.0, affected));
  double f = 0.99;
  while (10.0 * f > 1.0) f *= 0.99;
  Point right;
  ASSERT_EQ(1, d.GetActualKeyTgtHandle(0.0, QvBaseFCurve::KeySideRight, right, 0.0));
  EXPECT_NEAR(10.0 * f, right.x, 1e-12);
  EXPECT_NEAR(5.0 * f, right.y, 1e-12);
}
