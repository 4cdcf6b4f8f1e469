// Soft fill and stroke through QvPath2f: the fall-back to the anti-aliased
// fill, the masking by coverage, the context's opacity round trip, a direct
// convolution reference, and strokes against a brute-force coverage test.
#include "fill_reference.h"

#include <qv/QvGC.h>
#include <qv/QvPath2f.h>
#include <qv/QvRaster.h>
#include <qv/QvStdFCurve.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <random>
#include <vector>

namespace {

using qvtest::P;
using qvtest::pixel;
using qvtest::polyline_path;
using qvtest::rect_path;

QvGC soft_context(double interior, double exterior, QvGC::GradientMapMode mode) {
  QvGC gc;
  gc.SetInteriorOffset(interior);
  gc.SetExteriorOffset(exterior);
  gc.SetGradientMapMode(mode);
  return gc;
}

int g_polls;
QvLong count_poll(void) {
  ++g_polls;
  return 0;
}
QvLong stop(void) { return 1; }

TEST(PathSoftFill, Behaviours) {
  const QvPath2f path = rect_path(10, 10, 40, 40);
  // Under a total offset of 1.0 it is the anti-aliased fill, which leaves the
  // pixels outside alone; at 1.0 the two passes rewrite every pixel.
  QvRaster<unsigned char> soft(50, 50, 77), aa(50, 50, 77);
  const QvPath2f odd = rect_path(4.3f, 5.6f, 17.2f, 14.9f);
  odd.SoftFill(soft_context(0.4, 0.5, QvGC::GradientUnmasked), soft, nullptr);
  odd.AAFill(QvGC(), aa, nullptr, nullptr);
  EXPECT_EQ(0, std::memcmp(soft.pixels, aa.pixels, 50 * 50));
  EXPECT_EQ(77, pixel(soft, 0, 0));
  odd.SoftFill(soft_context(0.5, 0.5, QvGC::GradientUnmasked), soft, nullptr);
  EXPECT_EQ(0, pixel(soft, 0, 0));
  EXPECT_EQ(0, pixel(soft, 49, 49));

  QvRaster<float> unmasked(50, 50, 0.5f);
  path.SoftFill(soft_context(2.0, 2.0, QvGC::GradientUnmasked), unmasked, nullptr);  // n = 4
  EXPECT_EQ(1.0f, pixel(unmasked, 25, 25));  // the kernel lies wholly inside
  EXPECT_GT(pixel(unmasked, 6, 25), 0.0f);   // reaches n pixels past the edge
  EXPECT_EQ(0.0f, pixel(unmasked, 5, 25));
  EXPECT_LT(pixel(unmasked, 10, 25), 1.0f);

  QvGC masked = soft_context(2.0, 2.0, QvGC::GradientMaskedByShape);
  masked.SetFillOpacity(0.5);
  QvRaster<float> inside(50, 50, 0.5f);
  path.SoftFill(masked, inside, nullptr);
  EXPECT_EQ(0.5, masked.GetFillOpacity());  // restored after the nested fill
  EXPECT_EQ(0.0f, pixel(inside, 8, 25));    // zero outside the shape
  EXPECT_EQ(0.5f, pixel(inside, 25, 25));   // halved, mask drawn at full opacity
  EXPECT_FLOAT_EQ(pixel(unmasked, 12, 25) * 0.5f, pixel(inside, 12, 25));

  QvRaster<short> untouched(20, 20, 123);  // a stop in the first pass
  rect_path(5, 5, 15, 15).SoftFill(soft_context(3.0, 0.0, QvGC::GradientMaskedByShape), untouched,
                                   stop);
  EXPECT_TRUE(untouched.AllPixelValuesAre(123));
}

// Rows of the first pass, columns of the second, the sub-rows of the masking
// fill and one call after it; a raster without columns still sees the rows.
TEST(PathSoftFill, PollPoints) {
  struct Case {
    const char* name;
    QvLong width;
    float x0;
    int polls;
  };
  const Case cases[] = {{"10 rows, 20 columns, 40 sub-rows, 1", 20, 5, 71},
                        {"no columns", 0, -5, 51}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    g_polls = 0;
    QvRaster<unsigned char> r(c.width, 20, 0);
    rect_path(c.x0, 5, 15, 15).SoftFill(soft_context(3.0, 0.0, QvGC::GradientMaskedByShape), r,
                                        count_poll);
    EXPECT_EQ(c.polls, g_polls);
  }
}

// sum over the box of hard(x+i, y+j) k[i] k[j], with the kernel sampled from
// the context's curve.
TEST(PathSoftFill, MatchesDirectConvolution) {
  for (double total : {1.0, 2.6, 4.0}) {
    SCOPED_TRACE(total);
    const QvPath2f path = rect_path(5.2f, 4.7f, 16.4f, 13.1f);
    QvGC gc = soft_context(total, 0.0, QvGC::GradientUnmasked);
    QvRaster<float> r(22, 18, 0.0f), polled(22, 18, 0.5f);
    path.SoftFill(gc, r, nullptr);
    path.SoftFill(gc, polled, count_poll);  // the column-by-column order gives the same
    EXPECT_EQ(0, std::memcmp(r.pixels, polled.pixels, 22 * 18 * sizeof(float)));
    QvRaster<unsigned char> hard(22, 18, 0);
    path.Fill(gc, hard, nullptr, nullptr);
    const QvLong n = static_cast<QvLong>(std::ceil(total - 0.5));
    std::vector<double> k(static_cast<std::size_t>(2 * n + 1));
    double sum = 0.0;
    for (QvLong i = -n; i <= n; ++i) {
      k[static_cast<std::size_t>(i + n)] =
          gc.GetGradientFCurve().Eval(std::abs(i) * (1.0 / (n + 0.5)), 0);
      sum += k[static_cast<std::size_t>(i + n)];
    }
    for (double& v : k) v /= sum;
    for (QvLong y = 0; y < 18; ++y)
      for (QvLong x = 0; x < 22; ++x) {
        double want = 0.0;
        for (QvLong j = -n; j <= n; ++j)
          for (QvLong i = -n; i <= n; ++i) {
            const QvLong u = x + i, v = y + j;
            if (u < 0 || v < 0 || u >= 22 || v >= 18 || pixel(hard, u, v) == 0) continue;
            want += k[static_cast<std::size_t>(i + n)] * k[static_cast<std::size_t>(j + n)];
          }
        ASSERT_NEAR(want, pixel(r, x, y), 1e-6) << x << "," << y;
      }
  }
}

QvGC stroke_context(double width, QvGC::Join join, QvGC::EndCap cap, double limit = 1.0) {
  QvGC gc;
  gc.SetLineWidth(width);
  gc.SetJoin(join);
  gc.SetEndCap(cap);
  gc.SetMiterLimit(limit);
  gc.SetFlatteningTolerance(1e-6);
  return gc;
}

TEST(PathStroke, MiterLimitAndRoundChord) {
  const QvPath2f square = rect_path(10, 10, 30, 30);
  QvRaster<unsigned char> cut(40, 40, 0), sharp(40, 40, 0);
  square.Stroke(stroke_context(6, QvGC::MiterJoin, QvGC::ButtCap, 1.0), cut);
  square.Stroke(stroke_context(6, QvGC::MiterJoin, QvGC::ButtCap, 2.0), sharp);
  EXPECT_EQ(0, pixel(cut, 7, 7));      // every corner cut at limit 1
  EXPECT_EQ(255, pixel(sharp, 7, 7));  // 1.414 r is within 2 r
  EXPECT_EQ(255, pixel(cut, 20, 7));   // the sides are there
  EXPECT_EQ(0, pixel(cut, 20, 20));    // and the ring's hole
  EXPECT_EQ(255, pixel(sharp, 32, 32));
}

TEST(PathStroke, TaperedDotsAndPreviousJoin) {
  QvGC tapered = stroke_context(8, QvGC::BevelJoin, QvGC::ButtCap);
  tapered.SetWidthType(QvGC::TaperedWidth);
  QvRaster<float> line(50, 40, 0.0f);
  // The width runs linearly between polyline points: zero at both ends, full
  // at the point halfway.
  polyline_path({P(5, 20), P(15, 20), P(25, 20), P(35, 20), P(45, 20)}).Stroke(tapered, line);
  for (QvLong y = 16; y < 24; ++y) EXPECT_EQ(1.0f, pixel(line, 25, y)) << y;  // full width halfway
  EXPECT_EQ(0.0f, pixel(line, 25, 15));
  EXPECT_EQ(0.0f, pixel(line, 5, 19));  // nothing at the ends
  EXPECT_EQ(0.0f, pixel(line, 44, 20));

  for (QvGC::EndCap cap : {QvGC::RoundCap, QvGC::SquareCap, QvGC::ButtCap}) {
    SCOPED_TRACE(cap);
    QvRaster<unsigned char> r(20, 20, 0);
    QvPath2f dot(2);
    dot.Moveto(P(10, 10));
    dot.Stroke(stroke_context(6, QvGC::RoundJoin, cap), r);
    polyline_path({P(10, 10), P(10, 10)}).Stroke(stroke_context(6, QvGC::RoundJoin, cap), r);
    EXPECT_TRUE(r.AllPixelValuesAre(0));
  }

  // A round join turns into the bevel's chord past 120 degrees.
  const QvPath2f hairpin = polyline_path({P(5, 20), P(35, 20), P(5, 26)});
  QvRaster<unsigned char> chord(40, 40, 0), bevelled(40, 40, 0);
  hairpin.Stroke(stroke_context(8, QvGC::RoundJoin, QvGC::ButtCap), chord);
  hairpin.Stroke(stroke_context(8, QvGC::BevelJoin, QvGC::ButtCap), bevelled);
  EXPECT_EQ(0, std::memcmp(chord.pixels, bevelled.pixels, 40 * 40));
  // A square cap reaches half the width past the end; a butt cap stops there.
  QvRaster<unsigned char> square(40, 40, 0);
  polyline_path({P(5, 20), P(30, 20)})
      .Stroke(stroke_context(8, QvGC::BevelJoin, QvGC::SquareCap), square);
  EXPECT_EQ(255, pixel(square, 33, 20));
  EXPECT_EQ(0, pixel(square, 34, 20));
  EXPECT_EQ(255, pixel(square, 1, 17));

  const QvPath2f zigzag = polyline_path({P(5, 30), P(20, 8), P(35, 30)});
  QvRaster<short> round(40, 40, 0), kept(40, 40, 0), bevel(40, 40, 0);
  zigzag.Stroke(stroke_context(8, QvGC::RoundJoin, QvGC::ButtCap), round);
  zigzag.Stroke(stroke_context(8, static_cast<QvGC::Join>(3), QvGC::ButtCap), kept);
  zigzag.Stroke(stroke_context(8, QvGC::BevelJoin, QvGC::ButtCap), bevel);
  EXPECT_EQ(0, std::memcmp(round.pixels, kept.pixels, 40 * 40 * sizeof(short)));
  EXPECT_NE(0, std::memcmp(round.pixels, bevel.pixels, 40 * 40 * sizeof(short)));
}

// Inside a butt-capped, bevel-joined stroke: in a segment's band or in the
// bevel triangle on the outer side of a corner.
bool in_stroke(const std::vector<P>& p, double h, double x, double y) {
  auto pt = [&](std::size_t i) { return qvtest::Pt{p[i].x, p[i].y}; };
  for (std::size_t i = 0; i + 1 < p.size(); ++i) {
    const qvtest::Pt a = pt(i), b = pt(i + 1);
    const double dx = b.x - a.x, dy = b.y - a.y, len = std::sqrt(dx * dx + dy * dy);
    const double along = ((x - a.x) * dx + (y - a.y) * dy) / len;
    const double across = ((x - a.x) * -dy + (y - a.y) * dx) / len;
    if (along >= 0 && along <= len && std::fabs(across) <= h) return true;
  }
  for (std::size_t i = 1; i + 1 < p.size(); ++i) {
    const qvtest::Pt a = pt(i - 1), v = pt(i), b = pt(i + 1);
    const double turn = (b.y - a.y) * (v.x - a.x) - (b.x - a.x) * (v.y - a.y);
    const double side = turn > 0 ? -1.0 : 1.0;
    auto normal = [&](qvtest::Pt s, qvtest::Pt e) {
      const double dx = e.x - s.x, dy = e.y - s.y, len = std::sqrt(dx * dx + dy * dy);
      return qvtest::Pt{-dy / len * h * side, dx / len * h * side};
    };
    const qvtest::Pt na = normal(a, v), nb = normal(v, b);
    const qvtest::Pt tri[3] = {v, {v.x + na.x, v.y + na.y}, {v.x + nb.x, v.y + nb.y}};
    int positive = 0, negative = 0;
    for (int k = 0; k < 3; ++k) {
      const qvtest::Pt& s = tri[k];
      const qvtest::Pt& t = tri[(k + 1) % 3];
      const double c = (t.x - s.x) * (y - s.y) - (t.y - s.y) * (x - s.x);
      positive += c >= 0;
      negative += c <= 0;
    }
    if (positive == 3 || negative == 3) return true;
  }
  return false;
}

TEST(PathStroke, MatchesBruteForceCoverage) {
  std::mt19937 rng(31);
  std::uniform_real_distribution<float> coord(4.0f, 36.0f);
  std::uniform_real_distribution<double> width(1.0, 7.0);
  for (int trial = 0; trial < 30; ++trial) {
    SCOPED_TRACE(trial);
    std::vector<P> points;
    for (int i = 0; i < 2 + trial % 5; ++i) points.emplace_back(coord(rng), coord(rng));
    const double w = width(rng);
    QvRaster<unsigned char> r(40, 40, 0);
    polyline_path(points).Stroke(stroke_context(w, QvGC::BevelJoin, QvGC::ButtCap), r);
    for (QvLong y = 0; y < 40; ++y)
      for (QvLong x = 0; x < 40; ++x) {
        const double cx = x + 0.5, cy = y + 0.5, e = 1e-3, h = w / 2;
        const bool in = in_stroke(points, h, cx, cy);
        if (in != in_stroke(points, h, cx + e, cy) || in != in_stroke(points, h, cx - e, cy) ||
            in != in_stroke(points, h, cx, cy + e) || in != in_stroke(points, h, cx, cy - e))
          continue;  // on the boundary, where float narrowing decides
        ASSERT_EQ(in ? 255 : 0, pixel(r, x, y)) << x << "," << y;
      }
  }
}

}  // namespace
