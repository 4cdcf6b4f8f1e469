#include <gtest/gtest.h>

#include "support/shapes.h"

#include <qv/QvGC.h>
#include <qv/QvOval2f.h>
#include <qv/QvPath2f.h>
#include <qv/QvRaster.h>
#include <qv/QvRect2f.h>
#include <qv/QvShapeSetOps.h>

#include <memory>
#include <random>

namespace {

constexpr QvLong kW = 40;
constexpr QvLong kH = 32;

using qv::test::P;

QvRaster<unsigned char> filled(const QvShape2f& shape, const QvGC& gc) {
  QvRaster<unsigned char> r(kW, kH, 0);
  shape.Fill(gc, r, nullptr, nullptr);
  return r;
}

using SetOp = void (*)(const QvGC&, const QvShape2f*, const QvShape2f*, QvRaster<unsigned char>&);

}  // namespace

// The operations only add 255: what out holds elsewhere stays, also in a
// bottom-up raster, which is paired with the shapes' rows by memory order.
TEST(ShapeSetOps, OutIsOnlyAddedTo) {
  QvGC gc;
  QvOval2f a(P(3, 3), P(30, 25));
  const SetOp ops[] = {QvShape2f_UnionAB, QvShape2f_IntersectionAB, QvShape2f_DifferenceAB};
  for (int k = 0; k < 3; ++k) {
    SCOPED_TRACE(k);
    QvRaster<unsigned char> out(kW, kH, 0);
    out.bottomUp = 1;
    out.pixels[0] = 255;
    out.pixels[kW * kH - 1] = 17;
    ops[k](gc, &a, &a, out);
    EXPECT_EQ(255, out.pixels[0]);
    EXPECT_EQ(17, out.pixels[kW * kH - 1]);
    const QvRaster<unsigned char> fa = filled(a, gc);  // top-down
    for (QvLong i = 1; i < kW * kH - 1; ++i)
      ASSERT_EQ(k == 2 ? 0 : fa.pixels[i], out.pixels[i]) << i;
  }
}

// On seeded random pairs of rectangles, ovals and paths, each operation
// against the per-pixel rule applied to the two shapes' own fills.
TEST(ShapeSetOps, RandomPairsFollowThePixelRule) {
  std::mt19937 rng(99);
  std::uniform_real_distribution<double> u(-5.0, 45.0);
  auto make = [&](int kind) -> std::unique_ptr<QvShape2f> {
    const QvPoint2<float> a = P(u(rng), u(rng)), b = P(u(rng), u(rng)), c = P(u(rng), u(rng));
    if (kind == 0) return std::make_unique<QvRect2f>(a, b, c);
    if (kind == 1) return std::make_unique<QvOval2f>(a, b, c);
    auto path = std::make_unique<QvPath2f>(8);
    path->Moveto(a);
    path->Lineto(b);
    path->Curveto(c, P(u(rng), u(rng)));
    path->Lineto(a);
    path->Closeto();
    return path;
  };
  QvGC gc;
  for (int trial = 0; trial < 30; ++trial) {
    SCOPED_TRACE(trial);
    const std::unique_ptr<QvShape2f> a = make(trial % 3), b = make((trial / 3) % 3);
    const QvRaster<unsigned char> fa = filled(*a, gc), fb = filled(*b, gc);
    QvRaster<unsigned char> uni(kW, kH, 0), meet(kW, kH, 0), diff(kW, kH, 0);
    QvShape2f_UnionAB(gc, a.get(), b.get(), uni);
    QvShape2f_IntersectionAB(gc, a.get(), b.get(), meet);
    QvShape2f_DifferenceAB(gc, a.get(), b.get(), diff);
    for (QvLong i = 0; i < kW * kH; ++i) {
      const bool p = fa.pixels[i] == 255, q = fb.pixels[i] == 255;
      ASSERT_EQ(p || q ? 255 : 0, uni.pixels[i]);
      ASSERT_EQ(p && q ? 255 : 0, meet.pixels[i]);
      ASSERT_EQ(p && !q ? 255 : 0, diff.pixels[i]);
    }
  }
}
