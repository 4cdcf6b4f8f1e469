// The stroke outline: cleaning, width factors, joins and caps, and the filled
// outline against a brute-force test of the region a butt-capped, bevel-joined
// stroke covers.
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
using qvtest::Polygon;

// Records the outline; contours are kept as polygons of their end points.
struct Recorder : qv::internal::OutlineSink {
  std::string ops;
  std::vector<Polygon> contours;
  std::vector<qvtest::Pt> points;  // every point, controls included
  void Add(double x, double y) {
    // Narrowed as a path stores it.
    contours.back().push_back({static_cast<float>(x), static_cast<float>(y)});
  }
  void Moveto(double x, double y) override {
    ops += 'M';
    contours.emplace_back();
    Add(x, y);
    points.push_back({x, y});
  }
  void Lineto(double x, double y) override {
    ops += 'L';
    Add(x, y);
    points.push_back({x, y});
  }
  void Quadto(double cx, double cy, double x, double y) override {
    ops += 'Q';
    Add(x, y);
    points.push_back({cx, cy});
    points.push_back({x, y});
  }
  void Cubicto(double, double, double, double, double x, double y) override {
    ops += 'C';
    Add(x, y);
    points.push_back({x, y});
  }
  void Closeto() override { ops += 'Z'; }
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
  // Closed: two contours, each closed; the ring is outer + inner.
  EXPECT_EQ(2u, cut.contours.size());
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

// Inside a butt-capped, bevel-joined stroke: within a segment's band, or in
// the bevel triangle on the outer side of a corner.
bool in_stroke(const std::vector<qvtest::Pt>& p, double h, double x, double y) {
  for (std::size_t i = 0; i + 1 < p.size(); ++i) {
    const double dx = p[i + 1].x - p[i].x, dy = p[i + 1].y - p[i].y;
    const double len = std::sqrt(dx * dx + dy * dy);
    const double along = ((x - p[i].x) * dx + (y - p[i].y) * dy) / len;
    const double across = ((x - p[i].x) * -dy + (y - p[i].y) * dx) / len;
    if (along >= 0 && along <= len && std::fabs(across) <= h) return true;
  }
  for (std::size_t i = 1; i + 1 < p.size(); ++i) {
    auto normal = [&](std::size_t a, std::size_t b) {
      const double dx = p[b].x - p[a].x, dy = p[b].y - p[a].y;
      const double len = std::sqrt(dx * dx + dy * dy);
      return qvtest::Pt{-dy / len * h, dx / len * h};
    };
    qvtest::Pt a = normal(i - 1, i), b = normal(i, i + 1);
    const double turn = (p[i + 1].y - p[i - 1].y) * (p[i].x - p[i - 1].x) -
                        (p[i + 1].x - p[i - 1].x) * (p[i].y - p[i - 1].y);
    if (turn > 0) {
      a = {-a.x, -a.y};
      b = {-b.x, -b.y};
    }
    const qvtest::Pt v = p[i];
    const qvtest::Pt tri[3] = {v, {v.x + a.x, v.y + a.y}, {v.x + b.x, v.y + b.y}};
    double signs[3];
    for (int k = 0; k < 3; ++k) {
      const qvtest::Pt& s = tri[k];
      const qvtest::Pt& t = tri[(k + 1) % 3];
      signs[k] = (t.x - s.x) * (y - s.y) - (t.y - s.y) * (x - s.x);
    }
    if ((signs[0] >= 0 && signs[1] >= 0 && signs[2] >= 0) ||
        (signs[0] <= 0 && signs[1] <= 0 && signs[2] <= 0))
      return true;
  }
  return false;
}

TEST(StrokeOutline, FilledOutlineMatchesBruteForce) {
  std::mt19937 rng(99);
  std::uniform_real_distribution<double> coord(4.0, 36.0);
  std::uniform_real_distribution<double> width(1.0, 7.0);
  for (int trial = 0; trial < 40; ++trial) {
    SCOPED_TRACE(trial);
    std::vector<qvtest::Pt> line;
    const int n = 2 + trial % 5;
    for (int i = 0; i < n; ++i) line.push_back({coord(rng), coord(rng)});
    const double w = width(rng);
    const Recorder r = outline(polyline({line}), style(w, 0, 2));
    CFillContext context;
    const QvLong count = qvtest::load(r.contours, 1.0, context);
    std::vector<unsigned char> pixels(40 * 40, 0);
    qv::internal::scan_fill<unsigned char>(context, count, {0, 0, 40, 40}, true,
                                           {pixels.data(), 40, 40, false}, nullptr);
    for (QvLong y = 0; y < 40; ++y)
      for (QvLong x = 0; x < 40; ++x) {
        const double cx = x + 0.5, cy = y + 0.5;
        const bool in = in_stroke(line, w / 2, cx, cy);
        const double e = 1e-3;
        if (in != in_stroke(line, w / 2, cx + e, cy) || in != in_stroke(line, w / 2, cx - e, cy) ||
            in != in_stroke(line, w / 2, cx, cy + e) || in != in_stroke(line, w / 2, cx, cy - e))
          continue;  // on the boundary, where float narrowing decides
        ASSERT_EQ(in ? 255 : 0, pixels[static_cast<std::size_t>(y * 40 + x)]) << x << "," << y;
      }
  }
}

}  // namespace
