// The stroke outline: cleaning, width factors, joins and caps. The filled
// stroke is checked through QvPath2f against a brute-force coverage test.
#include "fill_reference.h"
#include "raster/stroke_outline.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

namespace {

using qv::internal::Polyline;
using qv::internal::StrokeStyle;

// Records the outline as a string of verbs and the points it passes.
struct Recorder : qv::internal::OutlineSink {
  std::string ops;
  std::vector<qvtest::Pt> points;
  void Moveto(double x, double y) override { Add('M', x, y); }
  void Lineto(double x, double y) override { Add('L', x, y); }
  void Quadto(double, double, double x, double y) override { Add('Q', x, y); }
  void Cubicto(double, double, double, double, double x, double y) override { Add('C', x, y); }
  void Closeto() override { ops += 'Z'; }
  void Add(char op, double x, double y) {
    ops += op;
    points.push_back({x, y});
  }
};

Polyline polyline(const std::vector<std::vector<qvtest::Pt>>& lines) {
  Polyline p;
  for (const auto& line : lines)
    for (std::size_t i = 0; i < line.size(); ++i) {
      p.points.emplace_back(line[i].x, line[i].y);
      p.tags.push_back(i == 0 ? TagFirst : i + 1 == line.size() ? TagLast : TagInner);
    }
  return p;
}

Recorder outline(const Polyline& p, const StrokeStyle& style) {
  Recorder r;
  qv::internal::build_stroke_outline(p, qv::internal::stroke_width_factors(p, 0), style, r);
  return r;
}

StrokeStyle style(double width, QvLong join, QvLong cap, double limit = 1.0, double tol = 1e-6) {
  StrokeStyle s;
  s.line_width = width;
  s.join = join;
  s.end_cap = cap;
  s.miter_limit = limit;
  s.flattening_tolerance = tol;
  return s;
}

bool has_point(const Recorder& r, double x, double y) {
  for (const qvtest::Pt& p : r.points)
    if (std::fabs(p.x - x) < 1e-9 && std::fabs(p.y - y) < 1e-9) return true;
  return false;
}

TEST(StrokeClean, DropsRepeatsAndFoldsEnds) {
  struct Case {
    const char* name;
    std::vector<std::pair<double, QvPointTag>> in;  // x of (x, 0)
    std::vector<std::pair<double, QvPointTag>> want;
  };
  const Case cases[] = {
      {"inner repeat", {{0, TagFirst}, {1, TagInner}, {1, TagInner}, {2, TagLast}},
       {{0, TagFirst}, {1, TagInner}, {2, TagLast}}},
      {"end folds into inner", {{0, TagFirst}, {1, TagInner}, {1, TagLast}},
       {{0, TagFirst}, {1, TagLast}}},
      {"dot keeps two points", {{3, TagFirst}, {3, TagLast}}, {{3, TagFirst}, {3, TagLast}}},
      {"within 1e-9", {{0, TagFirst}, {1e-9, TagInner}, {2, TagLast}},
       {{0, TagFirst}, {2, TagLast}}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    std::vector<QvPoint2<double>> pts;
    std::vector<QvPointTag> tags;
    for (const auto& p : c.in) {
      pts.emplace_back(p.first, 0.0);
      tags.push_back(p.second);
    }
    const Polyline out = qv::internal::clean_polyline(pts.data(), tags.data(),
                                                      static_cast<QvULong>(pts.size()));
    ASSERT_EQ(c.want.size(), out.points.size());
    for (std::size_t i = 0; i < c.want.size(); ++i) {
      EXPECT_EQ(c.want[i].first, out.points[i].x);
      EXPECT_EQ(c.want[i].second, out.tags[i]);
    }
  }
}

TEST(StrokeWidth, TaperedIsZeroAtEndsAndOneHalfway) {
  const Polyline p = polyline({{{0, 0}, {5, 0}, {10, 0}}, {{0, 5}, {1, 5}, {4, 5}}});
  const std::vector<double> w = qv::internal::stroke_width_factors(p, 1);
  const double want[] = {0.0, 1.0, 0.0, 0.0, 0.75, 0.0};
  for (int i = 0; i < 6; ++i) EXPECT_DOUBLE_EQ(want[i], w[static_cast<std::size_t>(i)]) << i;
  EXPECT_EQ(std::vector<double>(6, 1.0), qv::internal::stroke_width_factors(p, 0));
}

TEST(StrokeOutline, JoinsAndCaps) {
  const Polyline corner = polyline({{{0, 10}, {10, 10}, {10, 0}}});  // a right angle
  const Polyline square = polyline({{{0, 0}, {10, 0}, {10, 10}, {0, 10}, {0, 0}}});
  // Miter at limit 2 reaches the sharp corner (r*1.414 < 2r); at 1 it is cut.
  EXPECT_TRUE(has_point(outline(square, style(2, 1, 2, 2.0)), 11, -1));
  const Recorder cut = outline(square, style(2, 1, 2, 1.0));
  EXPECT_FALSE(has_point(cut, 11, -1));
  EXPECT_FALSE(has_point(cut, -1, -1));
  // Closed: two closed contours, the outer and the inner side of the ring.
  EXPECT_EQ(2, std::count(cut.ops.begin(), cut.ops.end(), 'M'));
  EXPECT_EQ(2, std::count(cut.ops.begin(), cut.ops.end(), 'Z'));

  // Bevel on the outer side, a notch through the vertex on the inner one.
  EXPECT_EQ("MLLLLLLLLLZ", outline(corner, style(2, 0, 2)).ops);
  const Recorder round = outline(corner, style(2, 2, 0));
  EXPECT_NE(std::string::npos, round.ops.find('Q'));  // 90 degrees: an arc
  EXPECT_EQ(2, std::count(round.ops.begin(), round.ops.end(), 'C') / 2);  // one cap at each end
  const Polyline hairpin = polyline({{{0, 0}, {10, 0}, {0, 1}}});  // a turn of about 174 degrees
  EXPECT_EQ(std::string::npos, outline(hairpin, style(2, 2, 2)).ops.find('Q'));
  // Square caps reach half the width past both ends.
  const Recorder squared = outline(polyline({{{0, 0}, {10, 0}}}), style(2, 0, 1));
  EXPECT_TRUE(has_point(squared, 11, 1) || has_point(squared, 11, -1));
  EXPECT_TRUE(has_point(squared, -1, 1) || has_point(squared, -1, -1));
}

TEST(StrokeOutline, DotsAndOutOfRangeStyles) {
  EXPECT_EQ("M", outline(polyline({{{4, 4}, {4, 4}}}), style(3, 1, 0)).ops);
  // Join 3 and cap 7 keep the previous stroke's round join and square cap.
  const Polyline corner = polyline({{{0, 10}, {10, 10}, {10, 0}}});
  const std::string round = outline(corner, style(2, 2, 1)).ops;
  EXPECT_EQ(round, outline(corner, style(2, 3, 7)).ops);
  EXPECT_NE(round, outline(corner, style(2, 0, 2)).ops);
  EXPECT_EQ(outline(corner, style(2, 0, 2)).ops, outline(corner, style(2, -1, 3)).ops);
}

}  // namespace
