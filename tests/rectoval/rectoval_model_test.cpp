#include <gtest/gtest.h>

#include <qv/QvGC.h>
#include <qv/QvOval2f.h>
#include <qv/QvPath2f.h>
#include <qv/QvRect2f.h>
#include <qv/QvTransfo4.h>

#include "rectoval_support.h"
#include "shape/rectoval_geometry.h"

#include <cmath>
#include <cstring>
#include <memory>
#include <random>

using rectoval_test::P;
using rectoval_test::bytes_of;

namespace {

template <class Shape>
void expect_handles_of_box(Shape& s) {
  const float want[9][2] = {{5, 2}, {10, 2}, {10, 4}, {5, 4}, {0, 4},
                            {0, 2}, {0, 0},  {5, 0},  {10, 0}};
  ASSERT_EQ(9u, s.NumPoints());
  for (QvULong i = 0; i < 9; ++i) {
    SCOPED_TRACE(i);
    QvPoint2<float> p(-1, -1);
    EXPECT_EQ(1, s.GetPoint(i, p));
    EXPECT_EQ(want[i][0], p.x);
    EXPECT_EQ(want[i][1], p.y);
  }
  QvPoint2<float> untouched(-7, -7);
  EXPECT_EQ(0, s.GetPoint(9, untouched));
  EXPECT_EQ(-7.0f, untouched.x);
  QvPoint2<double> run[3];
  s.GetPoints(1, 3, run);
  EXPECT_EQ(10.0, run[0].x);
  EXPECT_EQ(4.0, run[1].y);
  EXPECT_EQ(5.0, run[2].x);
}

}  // namespace

TEST(RectOvalHandles, NinePointsOfABox) {
  QvRect2f rect(P(0, 0), P(10, 4));
  QvOval2f oval(P(0, 0), 10.0f, 4.0f);
  {
    SCOPED_TRACE("rectangle");
    expect_handles_of_box(rect);
  }
  {
    SCOPED_TRACE("oval");
    expect_handles_of_box(oval);
  }
  // Opposite handles stand symmetric about the centre of a skewed shape.
  QvRect2f skew(P(1, 2), P(7, 3), P(-1, 6));
  const QvPoint2<float> centre = skew.GetCenter();
  for (QvULong h = 1; h <= 8; ++h) {
    SCOPED_TRACE(h);
    const QvPoint2<float> p = skew.GetPoint(h);
    const QvPoint2<float> q = skew.GetPoint(qv::internal::opposite_handle(h));
    EXPECT_FLOAT_EQ(2 * centre.x, p.x + q.x);
    EXPECT_FLOAT_EQ(2 * centre.y, p.y + q.y);
  }
}

TEST(RectOvalExtent, RotatedOvalIsBoundedByItsParallelogram) {
  QvOval2f oval(P(0, 0), P(10, 10));
  oval.Rotate(45.0, P(5, 5));
  QvExtent2<double> d;
  QvExtent2<float> f;
  QvExtent2<double> tight;
  oval.GetExtent(d);
  oval.GetExtent(f);
  oval.GetTightExtent(tight);
  const double half = 5.0 * std::sqrt(2.0);  // the circle itself reaches 5
  EXPECT_NEAR(5.0 - half, d.min.x, 1e-5);
  EXPECT_NEAR(5.0 + half, d.max.y, 1e-5);
  EXPECT_NEAR(5.0 - half, f.min.y, 1e-5);
  EXPECT_EQ(d.max.x, tight.max.x);
  EXPECT_EQ(d.min.y, tight.min.y);
}

TEST(RectOvalBuffer, SkewedShapesRoundTripByteForByte) {
  std::unique_ptr<QvShape2f> shapes[2] = {
      std::make_unique<QvRect2f>(P(1.25, -3.5), P(7.125, 2), P(-0.1, 4.7)),
      std::make_unique<QvOval2f>(P(-8, 1e-3), P(1e7, 3), P(2, 2.5))};
  const QvLong kinds[2] = {2, 3};
  for (int i = 0; i < 2; ++i) {
    SCOPED_TRACE(kinds[i]);
    const std::vector<unsigned char> bytes = bytes_of(*shapes[i]);
    ASSERT_EQ(32u, bytes.size());
    EXPECT_EQ(28, bytes[0]);
    EXPECT_EQ(0, bytes[1] | bytes[2] | bytes[3]);
    EXPECT_EQ(kinds[i], bytes[4]);
    float ax;
    std::memcpy(&ax, &bytes[8], 4);
    EXPECT_EQ(shapes[i]->GetPoint(6).x, ax);
    QvULong read = 0;
    std::unique_ptr<QvShape2f> back(QvShape2f_CreateFromBufferBody(bytes.data() + 4, read));
    ASSERT_TRUE(back);
    EXPECT_EQ(28u, read);
    EXPECT_EQ(back.get(), back->QueryShapeKind(static_cast<QvShape2f::Kind>(kinds[i])));
    EXPECT_EQ(bytes, bytes_of(*back));
  }
}

TEST(RectOvalBuffer, ShortForeignAndWideKindBodies) {
  QvRect2f rect(P(1, 2), P(3, 5), P(0, 9));
  QvOval2f oval(P(-1, -1), P(4, 4));
  const std::vector<unsigned char> rect_bytes = bytes_of(rect);
  const std::vector<unsigned char> oval_bytes = bytes_of(oval);
  // A rectangle body is not an oval's, and the other way round.
  EXPECT_EQ(0u, oval.ReadFromBufferBody(rect_bytes.data() + 4));
  EXPECT_EQ(0u, rect.ReadFromBufferBody(oval_bytes.data() + 4));
  EXPECT_EQ(oval_bytes, bytes_of(oval));
  EXPECT_EQ(rect_bytes, bytes_of(rect));
  // Every length word short of the 28 bytes is refused.
  QvRect2f other(P(50, 50), P(60, 70));
  const std::vector<unsigned char> before = bytes_of(other);
  for (unsigned length = 0; length < 28; ++length) {
    SCOPED_TRACE(length);
    std::vector<unsigned char> bytes = rect_bytes;
    bytes[0] = static_cast<unsigned char>(length);
    EXPECT_EQ(0u, other.ReadFromBufferBody(bytes.data() + 4));
    EXPECT_EQ(before, bytes_of(other));
    QvULong read = 99;
    EXPECT_EQ(nullptr, QvShape2f_CreateFromBufferBody(bytes.data() + 4, read));
    EXPECT_EQ(0u, read);
  }
  // Only the low 16 bits of the kind word count.
  std::vector<unsigned char> wide = oval_bytes;
  wide[6] = 1;
  QvOval2f target;
  EXPECT_EQ(28u, target.ReadFromBufferBody(wide.data() + 4));
  EXPECT_EQ(oval_bytes, bytes_of(target));
}

TEST(RectOvalSize, WidthAndHeightFollowTheSides) {
  struct Case {
    const char* name;
    QvPoint2<float> a, b, c;
    double width;
    QvPoint2<float> want_b;
  };
  const Case cases[] = {
      {"skewed side keeps its direction", P(1, 1), P(4, 5), P(0, 3), 10.0, P(7, 9)},
      {"collapsed side is laid along +x", P(2, 2), P(2, 2), P(2, 5), 3.0, P(5, 2)},
      {"negative width turns the side over", P(0, 0), P(2, 0), P(0, 1), -4.0, P(-4, 0)},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    QvRect2f rect(c.a, c.b, c.c);
    rect.SetWidth(c.width);
    EXPECT_FLOAT_EQ(c.want_b.x, rect.GetPoint(8).x);
    EXPECT_FLOAT_EQ(c.want_b.y, rect.GetPoint(8).y);
    EXPECT_EQ(c.c.x, rect.GetPoint(4).x);
  }
  QvOval2f oval(P(1, 1), P(4, 5), P(-3, 4));
  EXPECT_FLOAT_EQ(5.0f, oval.GetWidth());
  EXPECT_DOUBLE_EQ(5.0, oval.GetHeightd());
  oval.SetHeight(2.5f);
  EXPECT_FLOAT_EQ(-1.0f, oval.GetPoint(4).x);
  EXPECT_FLOAT_EQ(2.5f, oval.GetHeightf());
  EXPECT_FLOAT_EQ(1.5f, oval.GetCenter().x);
}

// Three points carry an affine map exactly, so moving the shape and then
// taking its outline agrees with moving the outline.
TEST(RectOvalTransform, MovesAgreeWithThePathForm) {
  std::mt19937 rng(5150);
  std::uniform_real_distribution<double> u(-20.0, 20.0);
  for (int trial = 0; trial < 40; ++trial) {
    SCOPED_TRACE(trial);
    const QvPoint2<float> a = P(u(rng), u(rng)), b = P(u(rng), u(rng)), c = P(u(rng), u(rng));
    const QvPoint2<float> centre = P(u(rng), u(rng));
    const double p = u(rng) * 0.1, q = u(rng) * 0.1;
    auto check = [&](QvShape2f& shape) {
      QvPath2f path = trial % 2 ? QvPath2f(static_cast<QvOval2f&>(shape))
                                : QvPath2f(static_cast<QvRect2f&>(shape));
      switch (trial % 5) {
        case 0: shape.Rotate(p * 90.0, centre); path.Rotate(p * 90.0, centre); break;
        case 1: shape.Scale(p, q, centre); path.Scale(p, q, centre); break;
        case 2: shape.ShearX(p, q); path.ShearX(p, q); break;
        case 3: shape.ShearY(p, q); path.ShearY(p, q); break;
        default: shape.Translate(centre); path.Translate(centre); break;
      }
      const QvPath2f moved = trial % 2 ? QvPath2f(static_cast<QvOval2f&>(shape))
                                       : QvPath2f(static_cast<QvRect2f&>(shape));
      ASSERT_EQ(path.NumPoints(), moved.NumPoints());
      for (QvULong i = 0; i < path.NumPoints(); ++i) {
        QvPoint2<float> x, y;
        path.GetPoint(i, x);
        moved.GetPoint(i, y);
        EXPECT_NEAR(x.x, y.x, 1e-3);
        EXPECT_NEAR(x.y, y.y, 1e-3);
      }
    };
    if (trial % 2) {
      QvOval2f oval(a, b, c);
      check(oval);
    } else {
      QvRect2f rect(a, b, c);
      check(rect);
    }
  }
}

TEST(RectOvalPathForm, OutlinesOfRectangleAndCircle) {
  QvRect2f rect(P(0, 0), P(10, 4));
  QvPath2f r(rect);
  ASSERT_EQ(5u, r.NumPoints());
  EXPECT_EQ(1u, r.NumSubpaths());
  EXPECT_EQ(1, r.IsSubpathClosed(0));
  const float want[5][2] = {{0, 0}, {10, 0}, {10, 4}, {0, 4}, {0, 0}};
  for (QvULong i = 0; i < 5; ++i) {
    QvPoint2<float> p;
    r.GetPoint(i, p);
    EXPECT_EQ(want[i][0], p.x);
    EXPECT_EQ(want[i][1], p.y);
  }
  // Four quarter arcs through the side middles; a cubic quarter circle
  // strays from the radius by under 0.03 percent.
  QvOval2f circle(P(-5, -5), P(5, 5));
  QvPath2f o(circle);
  ASSERT_EQ(13u, o.NumPoints());
  EXPECT_EQ(1, o.IsSubpathClosed(0));
  QvGC gc;
  gc.SetFlatteningTolerance(0.001);
  QvPoint2fArray pts(8);
  QvPointTagArray tags(8);
  o.Flatten(gc, pts, tags);
  ASSERT_GT(pts.size, 16u);
  for (QvULong i = 0; i < pts.size; ++i)
    EXPECT_NEAR(5.0, std::hypot(pts[i].x, pts[i].y), 5.0 * 3e-4);
}

TEST(RectOvalShape, KindCloneAndAssignment) {
  QvRect2f rect(P(1, 2), P(3, 5), P(0, 9));
  QvOval2f oval(P(4, 4), P(8, 9));
  EXPECT_EQ(&rect, rect.QueryShapeKind(QvShape2f::KindRect));
  EXPECT_EQ(nullptr, rect.QueryShapeKind(QvShape2f::KindOval));
  EXPECT_EQ(&oval, oval.QueryShapeKind(QvShape2f::KindOval));
  EXPECT_EQ(nullptr, oval.QueryShapeKind(QvShape2f::KindPath));
  std::unique_ptr<QvShape2f> copy(rect.Clone());
  EXPECT_EQ(bytes_of(rect), bytes_of(*copy));
  // Assignment through the base copies a shape of the same kind only.
  QvRect2f target;
  QvShape2f& as_shape = target;
  as_shape = oval;
  EXPECT_EQ(bytes_of(QvRect2f()), bytes_of(target));
  as_shape = *copy;
  EXPECT_EQ(bytes_of(rect), bytes_of(target));
}
