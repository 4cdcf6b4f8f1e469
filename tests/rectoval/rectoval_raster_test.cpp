#include <gtest/gtest.h>

#include <qv/QvGC.h>
#include <qv/QvOval2f.h>
#include <qv/QvPath2f.h>
#include <qv/QvRaster.h>
#include <qv/QvRect2f.h>
#include <qv/QvStdFCurve.h>
#include <qv/QvTransfo4.h>

#include "rectoval_support.h"
#include "shape/rectoval_raster.h"

#include <cmath>
#include <limits>
#include <random>
#include <vector>

using rectoval_test::P;

namespace {

constexpr QvLong kW = 48;
constexpr QvLong kH = 40;

// Where a pixel centre stands in the unit coordinates of the parallelogram
// (u and v in 0 .. 1 inside) and of its ellipse (norm at most 1 inside).
struct Frame {
  double ax, ay, ux, uy, vx, vy, det;
  explicit Frame(const qv::internal::Corners& k)
      : ax(k.a.x), ay(k.a.y), ux(static_cast<double>(k.b.x) - k.a.x),
        uy(static_cast<double>(k.b.y) - k.a.y), vx(static_cast<double>(k.c.x) - k.a.x),
        vy(static_cast<double>(k.c.y) - k.a.y), det(ux * vy - uy * vx) {}
  void coords(double px, double py, double& u, double& v) const {
    const double wx = px - ax, wy = py - ay;
    u = (wx * vy - wy * vx) / det;
    v = (ux * wy - uy * wx) / det;
  }
};

enum class Inside { No, Yes, Unsure };

Inside in_parallelogram(const Frame& f, double px, double py) {
  double u, v;
  f.coords(px, py, u, v);
  const double m = std::min(std::min(u, 1.0 - u), std::min(v, 1.0 - v));
  if (std::fabs(m) < 1e-6) return Inside::Unsure;
  return m > 0 ? Inside::Yes : Inside::No;
}

Inside in_ellipse(const Frame& f, double px, double py) {
  double u, v;
  f.coords(px, py, u, v);
  const double s = 2 * u - 1, t = 2 * v - 1;
  const double r = s * s + t * t - 1.0;
  if (std::fabs(r) < 1e-6) return Inside::Unsure;
  return r < 0 ? Inside::Yes : Inside::No;
}

// Every pixel against the brute-force classification: inside at full value,
// outside keeps the background; centres within rounding of the boundary may
// go either way.
template <class T, class Classify>
void expect_pixel_centres(const QvRaster<T>& raster, const qv::internal::Corners& k,
                          Classify classify, T background) {
  const Frame f(k);
  const T full = qv::internal::full_value<T>();
  int mismatches = 0;
  for (QvLong y = 0; y < raster.height; ++y) {
    const QvLong row = raster.bottomUp ? raster.height - 1 - y : y;
    for (QvLong x = 0; x < raster.width; ++x) {
      const Inside in = classify(f, x + 0.5, y + 0.5);
      if (in == Inside::Unsure) continue;
      const T want = in == Inside::Yes ? full : background;
      if (raster.pixels[row * raster.width + x] != want && ++mismatches < 5)
        ADD_FAILURE() << "pixel " << x << ", " << y;
    }
  }
  EXPECT_EQ(0, mismatches);
}

qv::internal::Corners random_corners(std::mt19937& rng, double spread) {
  std::uniform_real_distribution<double> pos(-8.0, kW + 8.0);
  std::uniform_real_distribution<double> side(-spread, spread);
  const QvPoint2<float> a = P(pos(rng), pos(rng) * kH / kW);
  return {a, P(a.x + side(rng), a.y + side(rng)), P(a.x + side(rng), a.y + side(rng))};
}

QvTransfo4 random_transform(std::mt19937& rng) {
  std::uniform_real_distribution<double> u(-1.0, 1.0);
  QvTransfo4 m;
  m.Translate(kW / 2 + 4 * u(rng), kH / 2 + 4 * u(rng), 0.0);
  m.RotateXY(180.0 * u(rng), QvPoint2<double>(0, 0));
  m.Scale(1.0 + 0.5 * u(rng), 1.0 + 0.5 * u(rng), 1.0);
  m.Translate(-kW / 2, -kH / 2, 0.0);
  return m;
}

}  // namespace

// The rectangle's own rasteriser samples the same pixel centres as the path
// fill of its outline, and as the parallelogram's own inequality.
TEST(RectFill, MatchesThePathFormOnRandomParallelograms) {
  std::mt19937 rng(2024);
  for (int trial = 0; trial < 120; ++trial) {
    SCOPED_TRACE(trial);
    qv::internal::Corners k = random_corners(rng, 30.0);
    QvRect2f rect(k.a, k.b, k.c);
    QvGC gc;
    if (trial % 3) gc.SetTransform(random_transform(rng));
    QvRaster<unsigned char> own(kW, kH, 3);
    QvRaster<unsigned char> path(kW, kH, 3);
    own.bottomUp = path.bottomUp = trial % 4 == 1;
    rect.Fill(gc, own, nullptr, nullptr);
    QvPath2f(rect).Fill(gc, path, nullptr, nullptr);
    int differ = 0;
    for (QvLong i = 0; i < kW * kH; ++i) differ += own.pixels[i] != path.pixels[i];
    EXPECT_EQ(0, differ);
    qv::internal::map_corners(gc.GetTransform(), k);
    expect_pixel_centres(own, k, in_parallelogram, static_cast<unsigned char>(3));
    // The same pixels in the other two types, at their full values.
    QvRaster<short> s(kW, kH, 0);
    QvRaster<float> f(kW, kH, 0.5f);
    s.bottomUp = f.bottomUp = own.bottomUp;
    rect.Fill(gc, s, nullptr, nullptr);
    rect.Fill(gc, f, nullptr, nullptr);
    for (QvLong i = 0; i < kW * kH; ++i) {
      ASSERT_EQ(own.pixels[i] == 255 ? 16384 : 0, s.pixels[i]);
      ASSERT_EQ(own.pixels[i] == 255 ? 1.0f : 0.5f, f.pixels[i]);
    }
  }
}

// Each way of scanning an oval, and the choice among them, against the
// ellipse's own inequality.
TEST(OvalFill, EveryScanPathSamplesPixelCentres) {
  using qv::internal::Corners;
  struct Case {
    const char* name;
    Corners k;
  };
  const Case cases[] = {
      {"axis-aligned, sides swapped", {P(4.3, 3.1), P(4.3, 36.7), P(44.2, 3.1)}},
      {"axis-aligned, large", {P(2.6, 5.2), P(41.3, 5.2), P(2.6, 33.9)}},
      {"axis-aligned, small", {P(20.2, 20.1), P(25.9, 20.1), P(20.2, 23.4)}},
      {"thin along x", {P(3.3, 19.7), P(3.6, 20.8), P(45.1, 22.4)}},
      {"rotated", {P(24, 2.5), P(45.5, 21), P(3.1, 20.2)}},
      {"reaching out of the raster", {P(-20, -7), P(30, -13), P(-12, 52)}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    QvRaster<unsigned char> chosen(kW, kH, 0);
    qv::internal::fill_oval(chosen, c.k);
    expect_pixel_centres(chosen, c.k, in_ellipse, static_cast<unsigned char>(0));
    QvRaster<float> affine(kW, kH, 0.0f);
    qv::internal::fill_ellipse_affine(affine, c.k);
    expect_pixel_centres(affine, c.k, in_ellipse, 0.0f);
    QvRaster<short> transposed(kW, kH, 0);
    transposed.bottomUp = 1;
    qv::internal::fill_ellipse_transposed(transposed, c.k);
    expect_pixel_centres(transposed, c.k, in_ellipse, static_cast<short>(0));
  }
}

TEST(OvalFill, RandomOvalsUnderTransforms) {
  std::mt19937 rng(8);
  for (int trial = 0; trial < 60; ++trial) {
    SCOPED_TRACE(trial);
    qv::internal::Corners k = random_corners(rng, 30.0);
    if (trial % 4 == 0) k.c = P(k.a.x, k.c.y), k.b = P(k.b.x, k.a.y);  // axis-aligned
    QvOval2f oval(k.a, k.b, k.c);
    QvGC gc;
    if (trial % 3) gc.SetTransform(random_transform(rng));
    qv::internal::map_corners(gc.GetTransform(), k);
    QvRaster<unsigned char> raster(kW, kH, 0);
    oval.Fill(gc, raster, nullptr, nullptr);
    expect_pixel_centres(raster, k, in_ellipse, static_cast<unsigned char>(0));
  }
}

TEST(RectOvalFill, ShapesOutsideTheRasterWriteNothing) {
  QvRect2f rect(P(-30, -30), P(-2, -1));
  QvOval2f oval(P(kW + 1, 0), P(kW + 40, kH));
  QvRaster<unsigned char> raster(kW, kH, 7);
  rect.Fill(QvGC(), raster, nullptr, nullptr);
  oval.Fill(QvGC(), raster, nullptr, nullptr);
  rect.RadialFill(QvGC(), raster);
  EXPECT_EQ(1, raster.AllPixelValuesAre(7));
}

// The radial fill reads the gradient curve at the pixel's distance from the
// centre, in units where the oval is the circle through the curve's last key.
TEST(OvalRadialFill, ValuesFollowTheGradientCurve) {
  QvGC gc;
  QvTransfo4 m;
  m.Translate(2.0, 1.0, 0.0);
  gc.SetTransform(m);
  QvOval2f oval(P(3, 4), P(33, 4), P(3, 34));  // centre (20, 20) in raster space
  QvRaster<unsigned char> bytes(kW, kH, 77);
  QvRaster<float> floats(kW, kH, 0.25f);
  QvRaster<short> shorts(kW, kH, 5);
  shorts.bottomUp = 1;
  oval.RadialFill(gc, bytes);
  oval.RadialFill(gc, floats);
  oval.RadialFill(gc, shorts);
  const QvStdFCurve& curve = gc.GetGradientFCurve();
  for (QvLong y = 0; y < kH; ++y) {
    for (QvLong x = 0; x < kW; ++x) {
      SCOPED_TRACE(testing::Message() << x << ", " << y);
      const double r = std::hypot(x + 0.5 - 20.0, y + 0.5 - 20.0) / 15.0;
      if (std::fabs(r - 1.0) < 1e-9) continue;
      const double want = r > 1.0 ? 0.0 : std::min(1.0, std::max(0.0, curve.Eval(r, 0)));
      EXPECT_NEAR(want, floats.pixels[y * kW + x], 2e-3);
      EXPECT_NEAR(want * 255.0, bytes.pixels[y * kW + x], 1.0);
      EXPECT_NEAR(want * 16384.0, shorts.pixels[(kH - 1 - y) * kW + x], 40.0);
    }
  }
}

TEST(RectRadialFill, PaintsTheRectangleFromItsCentreOut) {
  QvGC gc;
  QvRect2f rect(P(6.2, 5.3), P(40.9, 9.1), P(2.4, 33.5));
  QvRaster<unsigned char> fill(kW, kH, 0);
  rect.Fill(gc, fill, nullptr, nullptr);
  QvRaster<unsigned char> radial(kW, kH, 9);
  rect.RadialFill(gc, radial);
  const QvPoint2<float> centre = rect.GetCenter();
  const QvLong middle = static_cast<QvLong>(centre.y) * kW + static_cast<QvLong>(centre.x);
  EXPECT_GE(radial.pixels[middle], 250);
  for (QvLong i = 0; i < kW * kH; ++i) {
    if (fill.pixels[i] == 0)
      ASSERT_EQ(9, radial.pixels[i]) << i;
    else
      ASSERT_LE(radial.pixels[i], 255);
  }
  // Along the row through the centre the value falls towards both sides.
  const QvLong cy = static_cast<QvLong>(centre.y);
  const QvLong cx = static_cast<QvLong>(centre.x);
  for (QvLong x = cx + 1; x < kW && fill.pixels[cy * kW + x]; ++x)
    EXPECT_LE(radial.pixels[cy * kW + x], radial.pixels[cy * kW + x - 1]);
  for (QvLong x = cx - 1; x >= 0 && fill.pixels[cy * kW + x]; --x)
    EXPECT_LE(radial.pixels[cy * kW + x], radial.pixels[cy * kW + x + 1]);
}

// Centres on the boundary are inside but at the largest y, as in the path
// fill.
TEST(RectFill, BoundaryThroughPixelCentres) {
  struct Case {
    QvPoint2<float> from, to;
    QvLong first, last_x, last_y;  // painted columns and rows
  };
  const Case cases[] = {{P(10, 10), P(20, 20), 10, 19, 19},
                        {P(10.5, 10.5), P(20.5, 20.5), 10, 20, 19}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.from.x);
    QvRect2f rect(c.from, c.to);
    QvRaster<unsigned char> own(kW, kH, 0), path(kW, kH, 0);
    rect.Fill(QvGC(), own, nullptr, nullptr);
    QvPath2f(rect).Fill(QvGC(), path, nullptr, nullptr);
    for (QvLong y = 0; y < kH; ++y)
      for (QvLong x = 0; x < kW; ++x) {
        const bool in = c.first <= x && x <= c.last_x && c.first <= y && y <= c.last_y;
        ASSERT_EQ(in ? 255 : 0, own.pixels[y * kW + x]) << x << ", " << y;
        ASSERT_EQ(path.pixels[y * kW + x], own.pixels[y * kW + x]) << x << ", " << y;
      }
  }
}

// Huge, infinite and NaN corners draw nothing out of bounds; a finite shape
// that covers the raster paints all of it.
TEST(RectOvalFill, HostileCoordinatesStayInBounds) {
  const float inf = std::numeric_limits<float>::infinity();
  const float nan = std::numeric_limits<float>::quiet_NaN();
  struct Case {
    const char* name;
    QvPoint2<float> a, b, c;
    bool covers;
  };
  const Case cases[] = {
      {"huge", P(-1e30, -1e30), P(1e30, -1e30), P(-1e30, 1e30), true},
      {"infinite", P(-inf, 0), P(inf, 0), P(0, inf), false},
      {"not a number", P(nan, 1), P(5, 5), P(1, nan), false},
      {"flat", P(3, 3), P(30, 30), P(3, 3), false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    QvRect2f rect(c.a, c.b, c.c);
    QvOval2f oval(c.a, c.b, c.c);
    QvRaster<unsigned char> r(kW, kH, 0), o(kW, kH, 0);
    QvRaster<float> radial(kW, kH, 0.0f);
    rect.Fill(QvGC(), r, nullptr, nullptr);
    oval.Fill(QvGC(), o, nullptr, nullptr);
    rect.RadialFill(QvGC(), radial);
    oval.RadialFill(QvGC(), radial);
    if (c.covers) {
      EXPECT_EQ(1, r.AllPixelValuesAre(255));
    }
    rect.HandleScale(2, P(4, 4), QvRect2f::CenterStyleOpposite);
    rect.HandleRotate(2, P(4, 4), QvRect2f::CenterStyleCentre);
    rect.SetWidth(3.0);
  }
}
