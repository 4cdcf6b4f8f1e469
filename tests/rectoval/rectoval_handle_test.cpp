#include <gtest/gtest.h>

#include <qv/QvRect2f.h>

#include "rectoval_support.h"
#include "shape/rectoval_geometry.h"

#include <cmath>
#include <random>

using rectoval_test::corners;
using rectoval_test::P;
using rectoval_test::Three;

namespace {

double cross(const QvPoint2<float>& p, const QvPoint2<float>& q) {
  return static_cast<double>(p.x) * q.y - static_cast<double>(p.y) * q.x;
}

QvPoint2<float> sub(const QvPoint2<float>& p, const QvPoint2<float>& q) {
  return QvPoint2<float>(p.x - q.x, p.y - q.y);
}

void expect_near(const QvPoint2<float>& want, const QvPoint2<float>& got, double tol) {
  EXPECT_NEAR(want.x, got.x, tol);
  EXPECT_NEAR(want.y, got.y, tol);
}

}  // namespace

TEST(RectHandles, TranslateMovesTheHandleOntoTheTarget) {
  QvRect2f rect(P(1, 2), P(7, 3), P(-1, 6));
  const Three before = corners(rect);
  for (QvULong h = 0; h < 9; ++h) {
    SCOPED_TRACE(h);
    EXPECT_EQ(1, rect.HandleTranslate(h, rect.GetPoint(h)));
    EXPECT_EQ(before.a.x, rect.GetPoint(6).x);
    EXPECT_EQ(before.c.y, rect.GetPoint(4).y);
  }
  EXPECT_EQ(1, rect.HandleTranslate(2, P(100, 50)));
  expect_near(P(100, 50), rect.GetPoint(2), 1e-5);
  expect_near(P(before.a.x + 95, before.a.y + 43), rect.GetPoint(6), 1e-5);
  EXPECT_EQ(0, rect.HandleTranslate(9, P(0, 0)));
  expect_near(P(100, 50), rect.GetPoint(2), 1e-5);
}

TEST(RectHandles, RotateTurnsTheHandleTowardsTheTarget) {
  struct Case {
    const char* name;
    QvULong handle;
    QvRect2f::CenterStyle style;
    QvPoint2<float> anchor;  // expected anchor of the box (0,0)-(10,4)
  };
  const Case cases[] = {
      {"centre", 8, QvRect2f::CenterStyleCentre, P(5, 2)},
      {"opposite", 8, QvRect2f::CenterStyleOpposite, P(0, 4)},
      {"origin", 3, static_cast<QvRect2f::CenterStyle>(7), P(0, 0)},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    QvRect2f rect(P(0, 0), P(10, 4));
    const QvPoint2<float> target = P(c.anchor.x - 3, c.anchor.y + 9);
    const QvPoint2<float> h = rect.GetPoint(c.handle);
    const double radius = std::hypot(h.x - c.anchor.x, h.y - c.anchor.y);
    ASSERT_EQ(1, rect.HandleRotate(c.handle, target, c.style));
    const QvPoint2<float> moved = rect.GetPoint(c.handle);
    const QvPoint2<float> to_moved = sub(moved, c.anchor);
    const QvPoint2<float> to_target = sub(target, c.anchor);
    EXPECT_NEAR(0.0, cross(to_moved, to_target), 1e-3);
    EXPECT_GT(to_moved.x * to_target.x + to_moved.y * to_target.y, 0.0f);
    EXPECT_NEAR(radius, std::hypot(to_moved.x, to_moved.y), 1e-4);
    EXPECT_NEAR(10.0, rect.GetWidthd(), 1e-5);
  }
  QvRect2f rect(P(0, 0), P(10, 4));
  EXPECT_EQ(0, rect.HandleRotate(2, P(5, 2), QvRect2f::CenterStyleCentre));
  EXPECT_EQ(0, rect.HandleRotate(0, P(9, 9), QvRect2f::CenterStyleCentre));
  EXPECT_EQ(10.0f, rect.GetPoint(2).x);
}

// On seeded skewed parallelograms: the anchor stays, the sides keep their
// directions, a dragged corner lands on the target, and a dragged side
// middle lands on the line through the target along the other side.
TEST(RectHandles, ScaleKeepsAnchorAndSideDirections) {
  std::mt19937 rng(77);
  std::uniform_real_distribution<double> u(-30.0, 30.0);
  for (int trial = 0; trial < 200; ++trial) {
    SCOPED_TRACE(trial);
    const QvULong handle = static_cast<QvULong>(1 + trial % 8);
    const bool centred = (trial / 8) % 2 == 0;
    QvRect2f rect(P(u(rng), u(rng)), P(u(rng), u(rng)), P(u(rng), u(rng)));
    const Three k = corners(rect);
    const QvPoint2<float> side_u = sub(k.b, k.a), side_v = sub(k.c, k.a);
    if (std::fabs(cross(side_u, side_v)) < 50.0) continue;  // nearly flat: badly posed
    const QvULong anchor_handle = centred ? 0 : qv::internal::opposite_handle(handle);
    const QvPoint2<float> anchor = rect.GetPoint(anchor_handle);
    const QvPoint2<float> target = P(u(rng), u(rng));
    ASSERT_EQ(1, rect.HandleScale(handle, target,
                                  centred ? QvRect2f::CenterStyleCentre
                                          : QvRect2f::CenterStyleOpposite));
    const Three n = corners(rect);
    const double tol = 2e-3 * (1.0 + std::fabs(target.x) + std::fabs(target.y));
    expect_near(anchor, rect.GetPoint(anchor_handle), tol);
    EXPECT_NEAR(0.0, cross(sub(n.b, n.a), side_u) / (1.0 + rect.GetWidthd()), tol);
    EXPECT_NEAR(0.0, cross(sub(n.c, n.a), side_v) / (1.0 + rect.GetHeightd()), tol);
    const QvPoint2<float> moved = rect.GetPoint(handle);
    if (handle % 2 == 0) {
      expect_near(target, moved, tol);
    } else {
      const QvPoint2<float> other = handle == 1 || handle == 5 ? side_v : side_u;
      const double len = std::hypot(other.x, other.y);
      EXPECT_NEAR(0.0, cross(sub(moved, target), other) / len, tol);
    }
  }
}

TEST(RectHandles, ScaleWithTheHandleOnItsAnchorSkews) {
  QvRect2f scaled(P(0, 0), P(10, 4));
  QvRect2f skewed(P(0, 0), P(10, 4));
  EXPECT_EQ(1, scaled.HandleScale(2, P(13, 6), P(10, 4)));
  EXPECT_EQ(1, skewed.HandleSkew(2, P(13, 6)));
  EXPECT_EQ(rectoval_test::bytes_of(skewed), rectoval_test::bytes_of(scaled));
  EXPECT_EQ(13.0f, scaled.GetPoint(8).x);  // cornerB took the whole move
  // The centre dragged about itself has nothing to scale and nothing to skew.
  QvRect2f still(P(0, 0), P(10, 4));
  EXPECT_EQ(1, still.HandleScale(0, P(40, 40), QvRect2f::CenterStyleCentre));
  EXPECT_EQ(rectoval_test::bytes_of(QvRect2f(P(0, 0), P(10, 4))), rectoval_test::bytes_of(still));
}

// A style given as a number must act as that style, not slip into the
// anchor-point form through the point's converting constructor.
TEST(RectHandles, NumericStyleActsAsTheStyle) {
  const struct {
    const char* name;
    QvLong number;
    QvRect2f::CenterStyle style;
  } cases[] = {
      {"centre", 0, QvRect2f::CenterStyleCentre},
      {"opposite", 1, QvRect2f::CenterStyleOpposite},
      {"origin", 5, static_cast<QvRect2f::CenterStyle>(5)},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    QvRect2f by_number(P(1, 1), P(11, 2), P(0, 5));
    QvRect2f by_enum(by_number);
    EXPECT_EQ(by_enum.HandleScale(2, P(20, 9), c.style), by_number.HandleScale(2, P(20, 9), c.number));
    EXPECT_EQ(rectoval_test::bytes_of(by_enum), rectoval_test::bytes_of(by_number));
    EXPECT_EQ(by_enum.HandleRotate(8, P(-3, 7), c.style), by_number.HandleRotate(8, P(-3, 7), c.number));
    EXPECT_EQ(rectoval_test::bytes_of(by_enum), rectoval_test::bytes_of(by_number));
  }
}

TEST(RectHandles, SkewMovesTheCornersOfTheHandle) {
  struct Case {
    QvULong handle;
    bool a, b, c;  // which of cornerA, cornerB, cornerC move by the drag
  };
  const Case cases[] = {{0, false, false, false}, {1, false, true, false}, {2, false, true, false},
                        {3, false, false, true},  {4, false, false, true}, {5, true, false, true},
                        {6, true, false, true},   {7, true, true, false},  {8, true, true, false},
                        {9, false, false, false}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.handle);
    QvRect2f rect(P(0, 0), P(10, 4));
    const QvPoint2<float> from = c.handle < 9 ? rect.GetPoint(c.handle) : P(0, 0);
    EXPECT_EQ(1, rect.HandleSkew(c.handle, P(from.x + 2, from.y - 1), P(99, 99)));
    const Three k = corners(rect);
    EXPECT_EQ(c.a ? 2.0f : 0.0f, k.a.x);
    EXPECT_EQ(c.b ? 12.0f : 10.0f, k.b.x);
    EXPECT_EQ(c.c ? 3.0f : 4.0f, k.c.y);
  }
}
