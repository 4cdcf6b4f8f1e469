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

QvPoint2fArray polyline(const std::vector<P>& points) {
  QvPoint2fArray out;
  for (const P& p : points) out.Add(p);
  return out;
}

QvPoint2fArray resampled(const QvPoint2fArray& line, QvULong n) {
  std::vector<double> cum;
  qi::morph_measure(line, cum);
  QvPoint2fArray out;
  qi::morph_resample(line, cum, n, out);
  return out;
}

TEST(MorphResample, ExactFiguresAndDegenerateLines) {
  const QvPoint2fArray line = resampled(polyline({P(0, 0), P(4, 0), P(4, 6)}), 4);
  ASSERT_EQ(5u, line.size);
  const P expected[] = {P(0, 0), P(2.5f, 0), P(4, 1), P(4, 3.5f), P(4, 6)};
  for (QvULong k = 0; k < 5; ++k) {
    SCOPED_TRACE(k);
    EXPECT_EQ(expected[k].x, line[k].x);
    EXPECT_EQ(expected[k].y, line[k].y);
  }
  // No length: the first point repeated, whatever the others are.
  const QvPoint2fArray still = resampled(polyline({P(3, 3), P(3, 3.00001f)}), 3);
  ASSERT_EQ(4u, still.size);
  for (QvULong k = 0; k < 4; ++k) EXPECT_EQ(3.0f, still[k].y);
  // One step: just the two ends.
  const QvPoint2fArray ends = resampled(polyline({P(0, 0), P(1, 1), P(2, 0)}), 1);
  ASSERT_EQ(2u, ends.size);
  EXPECT_EQ(2.0f, ends[1].x);
}

// Against a plain reference: the point at arc length k T / n found afresh by
// a scan from the start for each k.
TEST(MorphResample, MatchesArcLengthReferenceOnRandomPolylines) {
  std::mt19937 rng(7);
  std::uniform_real_distribution<float> coord(-50.0f, 50.0f);
  for (int trial = 0; trial < 40; ++trial) {
    SCOPED_TRACE(trial);
    std::vector<P> points;
    const int count = 2 + trial % 9;
    for (int i = 0; i < count; ++i) points.push_back(P(coord(rng), coord(rng)));
    const QvPoint2fArray line = polyline(points);
    const QvULong n = 1 + static_cast<QvULong>(trial * 7 % 60);
    const QvPoint2fArray out = resampled(line, n);
    ASSERT_EQ(n + 1, out.size);
    EXPECT_EQ(points.front().x, out[0].x);
    EXPECT_EQ(points.back().y, out[n].y);
    std::vector<double> len{0.0};
    for (int i = 1; i < count; ++i)
      len.push_back(len.back() + std::hypot(points[i].x - points[i - 1].x,
                                            points[i].y - points[i - 1].y));
    for (QvULong k = 1; k < n; ++k) {
      const double s = len.back() * static_cast<double>(k) / static_cast<double>(n);
      int i = 1;
      while (i + 1 < count && len[i] < s) ++i;
      const double f = (s - len[i - 1]) / (len[i] - len[i - 1]);
      EXPECT_NEAR(points[i - 1].x + (points[i].x - points[i - 1].x) * f, out[k].x, 1e-3);
      EXPECT_NEAR(points[i - 1].y + (points[i].y - points[i - 1].y) * f, out[k].y, 1e-3);
    }
  }
}

TEST(MorphLerp, SnapRangesDifferInWidth) {
  const QvPoint2fArray a = polyline({P(1, 2), P(3, 4)});
  const QvPoint2fArray b = polyline({P(1.1f, 2.3f), P(7, 9)});
  struct Row {
    const char* name;
    double t;
    P first;
  } rows[] = {
      {"just above 0 copies a", 1e-10, P(1, 2)},
      {"just below 0 copies a", -1e-9, P(1, 2)},
      {"1 copies b", 1.0, P(1.1f, 2.3f)},
      {"within 1e-15 of 1 copies b", 1.0 - 1e-16, P(1.1f, 2.3f)},
      {"1e-12 below 1 still blends",
       1.0 - 1e-12,
       P(static_cast<float>(1.0f * 1e-12) + static_cast<float>(1.1f * (1.0 - 1e-12)),
         static_cast<float>(2.0f * 1e-12) + static_cast<float>(2.3f * (1.0 - 1e-12)))},
      {"half way", 0.5, P(static_cast<float>(0.5) + static_cast<float>(1.1f * 0.5),
                          static_cast<float>(1.0) + static_cast<float>(2.3f * 0.5))},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    QvPoint2fArray out;
    qi::morph_lerp(a, 0, b, 0, 2, row.t, out);
    ASSERT_EQ(2u, out.size);
    EXPECT_EQ(row.first.x, out[0].x);
    EXPECT_EQ(row.first.y, out[0].y);
  }
}

TEST(MorphHeading, QuadrantsSeamAndRandomDirections) {
  struct Row {
    double x, y, heading;
  } rows[] = {{1, 0, 0}, {0, 1, kPi / 2}, {-1, 0, kPi}, {0, -1, 1.5 * kPi},
              {1, 1, kPi / 4}, {-1, -1, 1.25 * kPi}, {1, -1e-300, 0.0}};
  for (const Row& row : rows) {
    SCOPED_TRACE(testing::Message() << row.x << ", " << row.y);
    EXPECT_NEAR(row.heading, qi::morph_heading(row.x, row.y), 1e-15);
  }
  EXPECT_TRUE(std::isnan(qi::morph_heading(0.0, 0.0)));
  std::mt19937 rng(11);
  std::uniform_real_distribution<double> coord(-10.0, 10.0);
  for (int i = 0; i < 1000; ++i) {
    const double x = coord(rng), y = coord(rng);
    double expected = std::atan2(y, x);
    if (expected < 0.0) expected += 2 * kPi;
    EXPECT_NEAR(expected, qi::morph_heading(x, y), 1e-14) << x << ", " << y;
  }
}

TEST(MorphTurtle, BlendsHeadingsAndStepLength) {
  // A line of 10 and one of 20 turned a right angle: half way is a line at
  // 45 degrees of length 15.
  const QvPoint2fArray a = resampled(polyline({P(0, 0), P(10, 0)}), 20);
  const QvPoint2fArray b = resampled(polyline({P(0, 0), P(0, 20)}), 20);
  QvPoint2fArray out;
  qi::morph_turtle_walk(a, b, 0.5, out);
  ASSERT_EQ(21u, out.size);
  const double r = 15.0 / std::sqrt(2.0);
  EXPECT_NEAR(r, out[20].x, 1e-4);
  EXPECT_NEAR(r, out[20].y, 1e-4);
  EXPECT_NEAR(r / 2, out[10].x, 1e-4);

  // Headings 350 and 10 degrees blend through 180, not 0.
  const double d = 10.0 * kPi / 180.0;
  const QvPoint2fArray c = polyline({P(0, 0), P(static_cast<float>(std::cos(d)),
                                                 static_cast<float>(-std::sin(d)))});
  const QvPoint2fArray e = polyline({P(0, 0), P(static_cast<float>(std::cos(d)),
                                                 static_cast<float>(std::sin(d)))});
  qi::morph_turtle_walk(c, e, 0.5, out);
  EXPECT_NEAR(-1.0, out[1].x, 1e-6);
  EXPECT_NEAR(0.0, out[1].y, 1e-6);

  qi::morph_turtle_walk(c, e, 1.0, out);
  EXPECT_EQ(e[1].y, out[1].y);
}

}  // namespace
