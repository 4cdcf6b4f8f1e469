// The edge table and scan loops over private polygons, against the brute-force
// twins of fill_reference.h.
#include "fill_reference.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

namespace {

using qv::internal::AAFillParams;
using qv::internal::FillBox;
using qv::internal::PixelRows;
using qvtest::Polygon;

template <class T>
struct Image {
  QvLong width, height;
  bool bottom_up;
  std::vector<T> pixels;
  Image(QvLong w, QvLong h, T value, bool flip = false)
      : width(w), height(h), bottom_up(flip), pixels(static_cast<std::size_t>(w * h), value) {}
  PixelRows<T> rows() { return PixelRows<T>{pixels.data(), width, height, bottom_up}; }
  T at(QvLong x, QvLong y) const {
    const QvLong m = bottom_up ? height - 1 - y : y;
    return pixels[static_cast<std::size_t>(m * width + x)];
  }
};

FillBox box_of(const std::vector<Polygon>& polygons, QvLong width, QvLong height) {
  double x0 = 1e300, y0 = 1e300, x1 = -1e300, y1 = -1e300;
  for (const Polygon& p : polygons)
    for (const qvtest::Pt& q : p) {
      x0 = std::min(x0, q.x);
      y0 = std::min(y0, q.y);
      x1 = std::max(x1, q.x);
      y1 = std::max(y1, q.y);
    }
  FillBox b;
  b.xMin = std::max(0, static_cast<QvLong>(std::floor(x0)));
  b.yMin = std::max(0, static_cast<QvLong>(std::floor(y0)));
  b.xMax = std::min(width, static_cast<QvLong>(std::ceil(x1)));
  b.yMax = std::min(height, static_cast<QvLong>(std::ceil(y1)));
  return b;
}

template <class T>
void scan(const std::vector<Polygon>& polygons, const FillBox& box, bool winding, Image<T>& image,
          qv::internal::PollFunction poll = nullptr) {
  CFillContext context;
  const QvLong n = qvtest::load(polygons, 1.0, context);
  qv::internal::scan_fill<T>(context, n, box, winding, image.rows(), poll);
}

TEST(VertexTable, LinksEachPolygonAndSortsByY) {
  const std::vector<Polygon> polygons = {{{0, 5}, {4, 1}, {8, 3}}, {{1, 2}, {2, 0}}};
  CFillContext context;
  const QvLong n = qvtest::load(polygons, 2.0, context);
  ASSERT_EQ(5, n);  // closing points dropped
  for (QvLong k = 0; k < n; ++k) {
    const FillVertex& v = context.vertices[k];
    if (k > 0) {
      EXPECT_LE(v.points[context.vertices[k - 1].index].y, v.points[v.index].y);
    }
    const QvLong expected_next[] = {1, 2, 0, 4, 3};
    const QvLong expected_prev[] = {2, 0, 1, 4, 3};
    EXPECT_EQ(expected_next[v.index], v.next);
    EXPECT_EQ(expected_prev[v.index], v.prev);
  }
  EXPECT_EQ(16.0, context.points[2].x);  // scaled
  EXPECT_EQ(6.0, context.points[2].y);
}

TEST(ScanFill, Figures) {
  struct Case {
    const char* name;
    std::vector<Polygon> polygons;
    FillBox box;
    bool winding;
    QvLong x0, x1, y0, y1;  // painted rectangle, inclusive
  };
  const Polygon square = {{10, 10}, {20, 10}, {20, 20}, {10, 20}};
  const Polygon half_open = {{10.5, 10}, {20.5, 10}, {20.5, 20}, {10.5, 20}};
  const Polygon cover = {{-5, -5}, {40, -5}, {40, 40}, {-5, 40}};
  const Case cases[] = {
      {"unit square", {square}, {10, 10, 20, 20}, true, 10, 19, 10, 19},
      {"even-odd square", {square}, {10, 10, 20, 20}, false, 10, 19, 10, 19},
      // Centres on both crossings are inside: columns 10 and 20 are painted.
      {"edge through centres", {half_open}, {10, 10, 21, 20}, true, 10, 20, 10, 19},
      // A clip of x 5, width 10 leaves xMax at 14, exclusive.
      {"clip box", {cover}, {5, 5, 14, 14}, false, 5, 13, 5, 13},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    for (bool flip : {false, true}) {
      Image<unsigned char> image(32, 32, 7, flip);
      scan(c.polygons, c.box, c.winding, image);
      for (QvLong y = 0; y < 32; ++y)
        for (QvLong x = 0; x < 32; ++x) {
          const bool in = x >= c.x0 && x <= c.x1 && y >= c.y0 && y <= c.y1;
          ASSERT_EQ(in ? 255 : 7, image.at(x, y)) << x << "," << y;
        }
    }
  }
}

TEST(ScanFill, OverlapUnderBothRules) {
  const Polygon a = {{2, 2}, {12, 2}, {12, 12}, {2, 12}};
  const Polygon same = {{6, 6}, {16, 6}, {16, 16}, {6, 16}};
  const Polygon reversed = {{6, 6}, {6, 16}, {16, 16}, {16, 6}};
  struct Case {
    const char* name;
    Polygon b;
    bool winding;
    bool hole;
  };
  const Case cases[] = {{"same, even-odd", same, false, true},
                        {"same, winding", same, true, false},
                        {"opposite, even-odd", reversed, false, true},
                        {"opposite, winding", reversed, true, true}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    Image<float> image(20, 20, 0.25f);
    scan<float>({a, c.b}, {0, 0, 20, 20}, c.winding, image);
    EXPECT_EQ(c.hole ? 0.25f : 1.0f, image.at(8, 8));
    EXPECT_EQ(1.0f, image.at(3, 3));
    EXPECT_EQ(1.0f, image.at(14, 14));
  }
}

TEST(ScanFill, PollStopsKeepingFinishedRows) {
  static int calls;
  calls = 0;
  struct Poll {
    static QvLong first(void) { return 1; }
    static QvLong third(void) { return ++calls == 3 ? 1 : 0; }
  };
  const Polygon square = {{0, 0}, {10, 0}, {10, 10}, {0, 10}};
  Image<short> none(10, 10, 0);
  scan<short>({square}, {0, 0, 10, 10}, true, none, &Poll::first);
  EXPECT_EQ(std::vector<short>(100, 0), none.pixels);
  Image<short> two(10, 10, 0);
  scan<short>({square}, {0, 0, 10, 10}, true, two, &Poll::third);
  for (QvLong y = 0; y < 10; ++y) EXPECT_EQ(y < 2 ? 16384 : 0, two.at(4, y)) << y;
}

TEST(ScanFill, DegenerateInputPaintsNothingAndIsSafe) {
  const double inf = std::numeric_limits<double>::infinity();
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const std::vector<std::vector<Polygon>> cases = {
      {{{3, 3}, {9, 3}}},                   // horizontal only
      {{{4, 4}}},                           // one point
      {{{nan, 1}, {5, nan}, {2, 8}}},       // NaN coordinates
      {{{-inf, 2}, {inf, 3}, {4, inf}}},    // infinite ones
      {{{1, 1}, {1e300, 2}, {1, 1e-300}}},  // huge slopes
  };
  for (std::size_t i = 0; i < cases.size(); ++i) {
    SCOPED_TRACE(i);
    Image<unsigned char> image(12, 12, 0);
    scan(cases[i], {0, 0, 12, 12}, i % 2 == 0, image);
    if (i < 2) {
      EXPECT_EQ(std::vector<unsigned char>(144, 0), image.pixels);
    }
  }
}

// Pixel for pixel against the centre test, on random self-crossing polygons,
// both rules, a clipped box and both row orders.
TEST(ScanFill, MatchesBruteForceOnRandomPolygons) {
  std::mt19937 rng(1234);
  for (int trial = 0; trial < 60; ++trial) {
    SCOPED_TRACE(trial);
    const auto polygons = qvtest::random_polygons(rng, 1 + trial % 3, -4.0, 44.0);
    const bool winding = trial % 2 == 1;
    FillBox box = box_of(polygons, 40, 36);
    if (trial % 5 == 0) box = {3, 4, 30, 25};
    Image<unsigned char> image(40, 36, 9, trial % 3 == 0);
    scan(polygons, box, winding, image);
    for (QvLong y = 0; y < 36; ++y)
      for (QvLong x = 0; x < 40; ++x) {
        const bool in_box = x >= box.xMin && x < box.xMax && y >= box.yMin && y < box.yMax;
        const bool in = in_box && qvtest::centre_inside(polygons, 1.0, x + 0.5, y + 0.5, winding);
        ASSERT_EQ(in ? 255 : 9, image.at(x, y)) << x << "," << y;
      }
  }
}

}  // namespace
