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

// Evenly spaced samples of a line are reproduced exactly, whatever the degree and end conditions:
// the Bernstein basis has linear precision.
TEST(BezierFit, LineIsReproduced) {
  const Samples s(line_samples(10, 1.0, 2.0));
  const QvPoint2<double> t(1 / std::sqrt(5.0), 2 / std::sqrt(5.0));
  QvBezierTool tool;
  struct Case {
    int form;  // C0C0, G1C0, C0G1, G1G1
    QvULong degree;
  };
  const Case cases[] = {{0, 3}, {0, 5}, {1, 3}, {2, 4}, {3, 3}, {3, 8}};
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << "form " << c.form << " degree " << c.degree);
    QvPoint2<float> out[9];
    QvULong fail = 77;
    const QvPoint2fArray& p = s.points;
    const QvDoubleArray& l = s.lengths;
    const QvULong n = c.degree;
    const QvLong ok = c.form == 0   ? tool.SingleCurveFitC0C0(p, l, 0, 9, 0.01, n, out, fail)
                      : c.form == 1 ? tool.SingleCurveFitG1C0(p, l, 0, 9, t, 0.01, n, out, fail)
                      : c.form == 2 ? tool.SingleCurveFitC0G1(p, l, 0, 9, t, 0.01, n, out, fail)
                                    : tool.SingleCurveFitG1G1(p, l, 0, 9, t, t, 0.01, n, out, fail);
    ASSERT_EQ(1, ok);
    EXPECT_EQ(77u, fail);
    for (QvULong j = 0; j <= n; ++j) {
      EXPECT_NEAR(9.0 * j / n, out[j].x, 1e-4) << j;
      EXPECT_NEAR(18.0 * j / n, out[j].y, 1e-4) << j;
    }
  }
  QvPoint2dArray pd;
  for (QvULong i = 0; i < 10; ++i) pd.Add(s.points[i].x, s.points[i].y);
  QvPoint2<double> cubic[4];
  QvULong fail = 0;
  ASSERT_EQ(1, tool.SingleCubicFitG1C0(pd, s.lengths, 0, 9, t, 0.01, cubic, fail));
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

// Short runs and the corner rule, seen through the path that the fits build. A corner splits three
// samples into two lines; without one they give a cubic whose handles both sit on the middle
// sample. Only turns past a right angle can be corners, and cornerCosSquared = 0 makes every one
// of them a corner. The hairpin (1, 0) then (-1, 0.01) is a corner below about 0.9999.
TEST(BezierFit, ShortRunsAndCorners) {
  struct Case {
    const char* name;
    std::vector<P2> samples;
    double corner_cos_squared;
    bool closed;
    QvULong result, points;
  };
  const Case cases[] = {
      {"repeat dropped", {{1, 1}, {1, 1}}, 0.25, false, 1, 1},  // one Moveto
      {"two samples", {{0, 0}, {4, 0}}, 0.25, false, 1, 2},
      {"two closed", {{0, 0}, {4, 0}}, 0.25, true, 2, 3},  // back to the start, then Closeto
      {"smooth three", {{0, 0}, {2, 2}, {4, 0}}, 0.25, false, 1, 4},
      {"hairpin 0.9998", {{0, 0}, {1, 0}, {0, 0.01}}, 0.9998, false, 2, 3},
      {"hairpin 0.99995", {{0, 0}, {1, 0}, {0, 0.01}}, 0.99995, false, 1, 4},
      {"right angle", {{0, 0}, {1, 0}, {1, 1}}, 0.0, false, 1, 4},
      {"past right angle", {{0, 0}, {1, 0}, {0.99, 1}}, 0.0, false, 2, 3},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    QvPoint2fArray pts;
    for (const P2& p : c.samples) pts.Add(p.x, p.y);
    QvPath2f path;
    QvBezierTool tool;
    const QvULong n = c.closed ? tool.ClosedFit(pts, c.corner_cos_squared, 3, 0.1, 0, &path)
                               : tool.OpenFit(pts, c.corner_cos_squared, 3, 0.1, 0, &path, 0);
    EXPECT_EQ(c.result, n);
    ASSERT_EQ(c.points, path.NumPoints());
    if (c.points == 4) {
      QvPoint2<float> h1, h2;
      path.GetPoint(1, h1), path.GetPoint(2, h2);
      EXPECT_EQ(pts[1], h1);
      EXPECT_EQ(pts[1], h2);
    }
  }
}

// A stretch too short for its degree (fewer than degree + 3 samples) is still fitted, as a cubic;
// from degree + 3 samples on the degree holds. Samples along a line take one segment either way.
TEST(BezierFit, DegreeFallsBackOnShortStretches) {
  struct Case {
    int samples;
    QvULong degree, largest;
  };
  const Case cases[] = {{4, 3, 3}, {10, 8, 3}, {11, 8, 8}, {7, 4, 4}};
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << c.samples << " samples at degree " << c.degree);
    QvPoint2fArray pts;
    for (const P2& p : line_samples(c.samples, 1.0, 2.0)) pts.Add(p.x, p.y);
    QvPath2f path;
    EXPECT_EQ(1u, QvBezierTool().OpenFit(pts, 0.25, c.degree, 0.05, 1, &path, 0));
    EXPECT_EQ(c.largest, path.LargestDegree());
  }
}

// A smooth closed outline is followed within the tolerance all along.
TEST(BezierFit, SmoothClosedOutline) {
  const double step = std::acos(-1.0) / 36;
  std::vector<P2> ellipse;
  for (int i = 0; i <= 72; ++i)
    ellipse.push_back({50 * std::cos(i * step), 30 * std::sin(i * step)});
  ellipse.back() = ellipse.front();
  QvPoint2fArray ring;
  for (const P2& p : ellipse) ring.Add(p.x, p.y);
  QvPath2f closed;
  const QvULong segments = QvBezierTool().ClosedFit(ring, 0.25, 3, 0.2, 0, &closed);
  EXPECT_GE(segments, 2u);
  EXPECT_LT(segments, 20u);
  ASSERT_EQ(1 + 3 * segments, closed.NumPoints());
  const std::vector<P2> outline = dense_cubics(closed);
  for (const P2& p : ellipse) EXPECT_LT(bezier_test::dist_to_polyline(p, outline), 2 * 0.2);
}
