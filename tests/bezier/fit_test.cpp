#include <gtest/gtest.h>
#include <qv/QvBezierTool.h>
#include <qv/QvPath2f.h>

#include <cmath>
#include <vector>

#include "bezier/fit_core.h"
#include "bezier_reference.h"

using bezier_test::P2;

namespace {

// Samples with their cumulative lengths, as the fitter's callers pass them.
struct Samples {
  QvPoint2fArray points;
  QvDoubleArray lengths;
  explicit Samples(const std::vector<P2>& v) {
    for (const P2& p : v) points.Add(p.x, p.y);
    qv::internal::cumulative_lengths(points, lengths);
  }
};

std::vector<P2> line_samples(int count, double dx, double dy) {
  std::vector<P2> v;
  for (int i = 0; i < count; ++i) v.push_back({i * dx, i * dy});
  return v;
}

// A path of cubics only, evaluated densely.
std::vector<P2> dense_cubics(const QvPath2f& path) {
  std::vector<P2> out;
  QvPoint2<float> p;
  for (QvULong j = 0; j + 3 < path.NumPoints(); j += 3) {
    std::vector<P2> ctrl;
    for (QvULong k = j; k <= j + 3; ++k) path.GetPoint(k, p), ctrl.push_back({p.x, p.y});
    for (int i = 0; i <= 64; ++i) out.push_back(bezier_test::eval(ctrl, i / 64.0));
  }
  return out;
}

}  // namespace

TEST(BezierFitSolve, GaussJordanStopsAtSmallPivot) {
  double a[qv::internal::kMaxFitUnknowns][qv::internal::kMaxFitUnknowns] = {{2, 1}, {1, 3}};
  double b[qv::internal::kMaxFitUnknowns] = {3, 5};
  ASSERT_TRUE(qv::internal::gauss_jordan(a, b, 2));
  EXPECT_DOUBLE_EQ(0.8, b[0]);
  EXPECT_DOUBLE_EQ(1.4, b[1]);
  double s[qv::internal::kMaxFitUnknowns][qv::internal::kMaxFitUnknowns] = {{1, 2}, {2, 4}};
  double r[qv::internal::kMaxFitUnknowns] = {1, 2};
  EXPECT_FALSE(qv::internal::gauss_jordan(s, r, 2));  // singular: the right side stands as it got
}

// Evenly spaced samples of a line are reproduced exactly, whatever the degree and end conditions:
// the Bernstein basis has linear precision.
TEST(BezierFit, LineIsReproduced) {
  const Samples s(line_samples(10, 1.0, 2.0));
  const QvPoint2<double> along(1 / std::sqrt(5.0), 2 / std::sqrt(5.0));
  QvBezierTool tool;
  struct Case {
    const char* name;
    QvULong degree;
    int form;
  };
  const Case cases[] = {{"C0C0", 3, 0}, {"C0C0", 5, 0}, {"G1C0", 3, 1},
                        {"C0G1", 4, 2}, {"G1G1", 3, 3}, {"G1G1", 8, 3}};
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << c.name << " degree " << c.degree);
    QvPoint2<float> out[9];
    QvULong fail = 77;
    QvLong ok = 0;
    switch (c.form) {
      case 0:
        ok = tool.SingleCurveFitC0C0(s.points, s.lengths, 0, 9, 0.01, c.degree, out, fail);
        break;
      case 1:
        ok = tool.SingleCurveFitG1C0(s.points, s.lengths, 0, 9, along, 0.01, c.degree, out, fail);
        break;
      case 2:
        ok = tool.SingleCurveFitC0G1(s.points, s.lengths, 0, 9, along, 0.01, c.degree, out, fail);
        break;
      default:
        ok = tool.SingleCurveFitG1G1(s.points, s.lengths, 0, 9, along, along, 0.01, c.degree, out,
                                     fail);
    }
    ASSERT_EQ(1, ok);
    EXPECT_EQ(77u, fail);
    for (QvULong j = 0; j <= c.degree; ++j) {
      EXPECT_NEAR(9.0 * j / c.degree, out[j].x, 1e-4) << j;
      EXPECT_NEAR(18.0 * j / c.degree, out[j].y, 1e-4) << j;
    }
  }
  QvPoint2dArray pd;
  for (QvULong i = 0; i < 10; ++i) pd.Add(s.points[i].x, s.points[i].y);
  QvPoint2<double> cubic[4];
  QvULong fail = 0;
  ASSERT_EQ(1, tool.SingleCubicFitG1C0(pd, s.lengths, 0, 9, along, 0.01, cubic, fail));
  EXPECT_NEAR(3.0, cubic[1].x, 1e-9);
  EXPECT_NEAR(12.0, cubic[2].y, 1e-9);
}

// A handle that points out of the curve fails at the middle sample; a distance failure names a
// sample that really is out of reach; ranges outside the arrays are refused untouched.
TEST(BezierFit, FailureIndices) {
  const Samples line(line_samples(9, 1.0, 0.0));
  QvBezierTool tool;
  QvPoint2<float> out[9];
  QvULong fail = 0;
  EXPECT_EQ(0, tool.SingleCurveFitG1G1(line.points, line.lengths, 2, 7, {-1, 0}, {1, 0}, 0.1, 3,
                                       out, fail));
  EXPECT_EQ(4u, fail);

  std::vector<P2> zigzag;
  for (int i = 0; i < 13; ++i)
    zigzag.push_back({double(i), (i % 4 == 1) ? 1.0 : (i % 4 == 3 ? -1.0 : 0.0)});
  const Samples z(zigzag);
  ASSERT_EQ(0, tool.SingleCurveFitC0C0(z.points, z.lengths, 0, 12, 0.2, 3, out, fail));
  ASSERT_GT(fail, 0u);
  ASSERT_LT(fail, 12u);
  std::vector<P2> ctrl;
  for (int j = 0; j < 4; ++j) ctrl.push_back({out[j].x, out[j].y});
  EXPECT_GT(bezier_test::dist_to_curve(zigzag[fail], ctrl), 0.2);
  EXPECT_EQ(1, tool.SingleCurveFitC0C0(z.points, z.lengths, 0, 12, 5.0, 3, out, fail));

  fail = 99;
  EXPECT_EQ(0, tool.SingleCurveFitC0C0(z.points, z.lengths, 0, 13, 5.0, 3, out, fail));
  EXPECT_EQ(0,
            tool.SingleCurveFitG1G1(z.points, z.lengths, 0, 12, {1, 0}, {1, 0}, 5.0, 2, out, fail));
  EXPECT_EQ(99u, fail);
}

TEST(BezierFit, OpenAndClosedSmallCases) {
  struct Case {
    std::vector<P2> samples;
    bool closed;
    QvULong result;
    QvULong points;
  };
  const Case cases[] = {
      {{{1, 1}, {1, 1}}, false, 1, 1},          // a repeat is dropped: one Moveto
      {{{0, 0}, {4, 0}}, false, 1, 2},          // Moveto, Lineto
      {{{0, 0}, {4, 0}}, true, 2, 3},           // Moveto, Lineto, Lineto back, Closeto
      {{{0, 0}, {2, 2}, {4, 0}}, false, 1, 4},  // a cubic with both handles at the middle sample
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << c.samples.size() << (c.closed ? " closed" : " open"));
    QvPoint2fArray pts;
    for (const P2& p : c.samples) pts.Add(p.x, p.y);
    QvPath2f path;
    QvBezierTool tool;
    const QvULong n = c.closed ? tool.ClosedFit(pts, 0.25, 3, 0.1, 0, &path)
                               : tool.OpenFit(pts, 0.25, 3, 0.1, 0, &path, 0);
    EXPECT_EQ(c.result, n);
    EXPECT_EQ(c.points, path.NumPoints());
  }
  QvPoint2fArray three;
  three.Add(0.0, 0.0), three.Add(2.0, 2.0), three.Add(4.0, 0.0);
  QvPath2f path;
  QvBezierTool().OpenFit(three, 0.25, 3, 0.1, 1, &path, 0);
  QvPoint2<float> h1, h2;
  path.GetPoint(1, h1), path.GetPoint(2, h2);
  EXPECT_EQ(QvPoint2<float>(2, 2), h1);
  EXPECT_EQ(QvPoint2<float>(2, 2), h2);
}

// A hairpin is a corner: the outline keeps it as a node. Smooth samples are followed within the
// tolerance all along.
TEST(BezierFit, CornersAndSmoothOutlines) {
  std::vector<P2> v;
  for (int i = 0; i <= 10; ++i) v.push_back({double(i), 0});
  for (int i = 1; i <= 10; ++i) v.push_back({10.0 - i, double(i)});
  QvPoint2fArray pts;
  for (const P2& p : v) pts.Add(p.x, p.y);
  QvPath2f open;
  EXPECT_EQ(2u, QvBezierTool().OpenFit(pts, 0.25, 3, 0.05, 0, &open, 0));
  ASSERT_EQ(7u, open.NumPoints());
  QvPoint2<float> corner;
  open.GetPoint(3, corner);
  EXPECT_EQ(QvPoint2<float>(10, 0), corner);

  const double pi = std::acos(-1.0);
  std::vector<P2> circle;
  for (int i = 0; i <= 72; ++i)
    circle.push_back({50 * std::cos(i * pi / 36), 30 * std::sin(i * pi / 36)});
  circle.back() = circle.front();
  QvPoint2fArray ring;
  for (const P2& p : circle) ring.Add(p.x, p.y);
  QvPath2f closed;
  const QvULong segments = QvBezierTool().ClosedFit(ring, 0.25, 3, 0.2, 0, &closed);
  EXPECT_GE(segments, 2u);
  EXPECT_LT(segments, 20u);
  ASSERT_EQ(1 + 3 * segments, closed.NumPoints());
  const std::vector<P2> outline = dense_cubics(closed);
  for (const P2& p : circle) EXPECT_LT(bezier_test::dist_to_polyline(p, outline), 2 * 0.2);
}
