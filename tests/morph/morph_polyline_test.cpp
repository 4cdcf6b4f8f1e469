#include "morph/morph_polyline.h"

#include <qv/QvPoint.h>

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

namespace {

namespace qi = qv::internal;
using P = QvPoint2<float>;
constexpr double kPi = 3.14159265358979323846;

QvPoint2fArray resampled(const std::vector<P>& points, QvULong n) {
  QvPoint2fArray line, out;
  for (const P& p : points) line.Add(p);
  std::vector<double> cum;
  qi::morph_measure(line, cum);
  qi::morph_resample(line, cum, n, out);
  return out;
}

TEST(MorphResample, ExactFiguresAndLinesOfNoLength) {
  const QvPoint2fArray line = resampled({P(0, 0), P(4, 0), P(4, 6)}, 4);
  const P expected[] = {P(0, 0), P(2.5f, 0), P(4, 1), P(4, 3.5f), P(4, 6)};
  ASSERT_EQ(5u, line.size);
  for (QvULong k = 0; k < 5; ++k) {
    EXPECT_EQ(expected[k].x, line[k].x) << k;
    EXPECT_EQ(expected[k].y, line[k].y) << k;
  }
  // Steps below the guarded length count as no length: the first point again.
  const QvPoint2fArray still = resampled({P(3, 3), P(3, 3.00001f)}, 3);
  ASSERT_EQ(4u, still.size);
  EXPECT_EQ(3.0f, still[3].y);
}

// Against the point at arc length k T / n found afresh by a scan from the
// start for each k.
TEST(MorphResample, MatchesArcLengthReferenceOnRandomPolylines) {
  std::mt19937 rng(7);
  std::uniform_real_distribution<float> coord(-50.0f, 50.0f);
  for (int trial = 0; trial < 40; ++trial) {
    std::vector<P> pts;
    const int count = 2 + trial % 9;
    for (int i = 0; i < count; ++i) pts.push_back(P(coord(rng), coord(rng)));
    const QvULong n = 1 + static_cast<QvULong>(trial * 7 % 60);
    const QvPoint2fArray out = resampled(pts, n);
    ASSERT_EQ(n + 1, out.size);
    EXPECT_EQ(pts.back().y, out[n].y);
    std::vector<double> len{0.0};
    for (int i = 1; i < count; ++i)
      len.push_back(len.back() + std::hypot(pts[i].x - pts[i - 1].x, pts[i].y - pts[i - 1].y));
    for (QvULong k = 1; k < n; ++k) {
      const double s = len.back() * static_cast<double>(k) / static_cast<double>(n);
      int i = 1;
      while (i + 1 < count && len[i] < s) ++i;
      const double f = (s - len[i - 1]) / (len[i] - len[i - 1]);
      EXPECT_NEAR(pts[i - 1].x + (pts[i].x - pts[i - 1].x) * f, out[k].x, 1e-3) << trial;
      EXPECT_NEAR(pts[i - 1].y + (pts[i].y - pts[i - 1].y) * f, out[k].y, 1e-3) << trial;
    }
  }
}

TEST(MorphLerp, SnapRangesDifferInWidth) {
  QvPoint2fArray a, b, out;
  a.Add(P(1, 2));
  b.Add(P(1.1f, 2.3f));
  const float mid = static_cast<float>(1.0f * 1e-12) + static_cast<float>(1.1f * (1.0 - 1e-12));
  const struct {
    double t;
    float x;
  } rows[] = {{1e-10, 1.0f}, {-1e-9, 1.0f}, {1.0, 1.1f}, {1.0 - 1e-16, 1.1f}, {1.0 - 1e-12, mid},
              {0.5, static_cast<float>(0.5) + static_cast<float>(1.1f * 0.5)}};
  for (const auto& row : rows) {
    qi::morph_lerp(a, 0, b, 0, 1, row.t, out);
    EXPECT_EQ(row.x, out[0].x) << row.t;
  }
}

TEST(MorphHeading, QuadrantsAndRandomDirections) {
  EXPECT_EQ(0.0, qi::morph_heading(1.0, -1e-300));  // within 1e-15 of a full turn
  EXPECT_NEAR(1.5 * kPi, qi::morph_heading(0.0, -2.0), 1e-15);
  std::mt19937 rng(11);
  std::uniform_real_distribution<double> coord(-10.0, 10.0);
  for (int i = 0; i < 300; ++i) {
    const double x = coord(rng), y = coord(rng);
    const double expected = std::atan2(y, x) + (y < 0 ? 2 * kPi : 0.0);
    EXPECT_NEAR(expected, qi::morph_heading(x, y), 1e-14) << x << ", " << y;
  }
}

// Headings are blended as plain numbers: 350 and 10 degrees meet at 180.
TEST(MorphTurtle, HeadingsBlendWithoutShortestWay) {
  const double d = 10.0 * kPi / 180.0;
  const float c = static_cast<float>(std::cos(d)), s = static_cast<float>(std::sin(d));
  QvPoint2fArray a, b, out;
  a.Add(P(0, 0));
  a.Add(P(c, -s));
  b.Add(P(0, 0));
  b.Add(P(c, s));
  qi::morph_turtle_walk(a, b, 0.5, out);
  EXPECT_NEAR(-1.0, out[1].x, 1e-6);
  EXPECT_NEAR(0.0, out[1].y, 1e-6);
}

}  // namespace
