#include <qv/QvPoint.h>

#include <gtest/gtest.h>

#include <cmath>

using P2d = QvPoint2<double>;
using P2f = QvPoint2<float>;
using P3d = QvPoint3<double>;

TEST(Point, EqualityIsClosedAtTheTypeTolerance) {
  struct Case { P2d a, b; QvLong want; };
  const Case cases[] = {
      {{0, 0}, {1e-9, -1e-9}, 1},          // inclusive bound
      {{0, 0}, {1.5e-9, 0}, 0},
      {{0, 0}, {0, 1.5e-9}, 0},            // y is tested too
      {{0, 0}, {NAN, 0}, 0},               // NaN never matches
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << c.b.x << ", " << c.b.y);
    EXPECT_EQ(c.want, c.a == c.b);
    EXPECT_EQ(1 - c.want, c.a != c.b);
  }
  EXPECT_EQ(1, P2f(0, 0) == P2f(1e-7f, 0));
  EXPECT_EQ(0, P2f(0, 0) == P2f(2e-7f, 0));
  EXPECT_EQ(0, QvPoint2<int>(0, 0) == QvPoint2<int>(0, 1));
  EXPECT_EQ(1, P3d(0, 0, 0) == P3d(1e-9, 1e-9, -1e-9));
  EXPECT_EQ(0, P3d(0, 0, 0) == P3d(0, 0, 2e-9));
}

TEST(Point, OrderingTiesWithinTolerance) {
  EXPECT_EQ(1, P2d(0, 0) < P2d(1, -5));
  EXPECT_EQ(0, P2d(1, 0) < P2d(0, 5));
  EXPECT_EQ(1, P2d(0, 0) < P2d(1e-10, 1));   // x tie, y decides
  EXPECT_EQ(0, P2d(0, 0) < P2d(1e-10, 1e-10));  // tie on both: not less
  EXPECT_EQ(1, P2d(0, 0) >= P2d(1e-10, 1e-10));
  EXPECT_EQ(0, P2d(0, 0) >= P2d(0, 1));
}

TEST(Point, LengthHasAFloorOnTheSquaredLength) {
  EXPECT_EQ(0.0, P2d(3e-5, 0).Length());
  EXPECT_DOUBLE_EQ(9e-10, P2d(3e-5, 0).SquaredLength());
  EXPECT_EQ(5.0, P2d(3, 4).Length());
  EXPECT_EQ(0.0, P2f(3e-4f, 0).Length());
}

TEST(Point, NormalizeQuirks) {
  P2d tiny(2e-5, 0);  // escapes the near-zero test, then has length 0
  tiny.Normalize();
  EXPECT_TRUE(std::isinf(tiny.x));
  EXPECT_TRUE(std::isnan(tiny.y));

  P2d near_zero(1e-10, 0);
  near_zero.Normalize();
  EXPECT_EQ(1e-10, near_zero.x);
  const P2d clone = P2d(1e-10, 0).NormalizedClone();
  EXPECT_EQ(0.0, clone.x);
  EXPECT_EQ(0.0, clone.y);

  P3d w(1e-10, 0, 1e-10);
  w.Normalize();
  EXPECT_EQ(1e-10, w.x);
  P3d small(2e-5, 0, 0);  // the 3D form has no squared-length test
  small.Normalize();
  EXPECT_DOUBLE_EQ(1.0, small.x);
}

TEST(Point, ComponentAccessAndArithmetic) {
  P3d p(1, 2, 3);
  EXPECT_EQ(3.0, p.GetAt(7));
  p.SetAt(7, 9);
  EXPECT_EQ(1, p == P3d(1, 2, 3));
  p.SetAt(2, 9);
  EXPECT_EQ(9.0, p.z);

  P2f f(1.0f, 3.0f);
  f *= 0.1;  // the factor is narrowed to float before the product
  EXPECT_EQ(1.0f * 0.1f, f.x);
  f /= 3.0;
  EXPECT_EQ(3.0f * 0.1f / 3.0f, f.y);

  P2d h(1, 2);
  h.HalfWay(P2d(3, -2)).Translate(1, 1);
  EXPECT_EQ(1, h == P2d(3, 1));
}

TEST(Extent, AugmentIntersectInside) {
  QvExtent2<double> e;
  EXPECT_EQ(QvExtent2<double>::ExtentEmpty, e.state);
  EXPECT_EQ(0.0, e.min.x);
  e.Augment(P2d(1, 1));
  EXPECT_EQ(QvExtent2<double>::ExtentBounded, e.state);
  e.Augment(P2d(3, -1));
  EXPECT_EQ(1, e.min == P2d(1, -1));
  EXPECT_EQ(1, e.max == P2d(3, 1));
  EXPECT_TRUE(e.IsInside(P2d(3, 1)));  // closed
  EXPECT_FALSE(e.IsInside(P2d(3.0001, 0)));

  QvExtent2<double> touching;
  touching.Augment(P2d(3, 1));
  touching.Augment(P2d(5, 5));
  EXPECT_TRUE(e.IsIntersecting(touching));
  QvExtent2<double> empty;
  QvExtent2<double> all;
  all.state = QvExtent2<double>::ExtentUniverse;
  EXPECT_FALSE(e.IsIntersecting(empty));
  EXPECT_FALSE(all.IsIntersecting(empty));
  EXPECT_TRUE(all.IsIntersecting(e));
  all.Augment(P2d(100, 100));
  EXPECT_EQ(QvExtent2<double>::ExtentUniverse, all.state);

  // A plain aggregate in field order; both element types share one state enumeration.
  const QvExtent2<float> braced = {{0, 0}, {2, 2}, QvExtent2<float>::ExtentBounded};
  QvExtent2<double> widened;
  widened.state = braced.state;
  EXPECT_EQ(ExtentBounded, widened.state);  // the plain names are the same states
  EXPECT_TRUE(braced.IsInside(QvPoint2<float>(2, 0)));
  const QvExtent3<double> box = {};
  EXPECT_EQ(QvExtent3<double>::ExtentEmpty, box.state);
}
