#include <qv/QvArray.h>
#include <qv/QvGC.h>
#include <qv/QvPath2f.h>
#include <qv/QvRaster.h>
#include <qv/QvVectorizer.h>

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace {

using Outline = std::vector<std::pair<float, float>>;

QvRaster<unsigned char> raster_of(const std::vector<std::string>& rows) {
  QvRaster<unsigned char> r(static_cast<QvLong>(rows[0].size()), static_cast<QvLong>(rows.size()),
                            0);
  for (std::size_t y = 0; y < rows.size(); ++y)
    for (std::size_t x = 0; x < rows[y].size(); ++x)
      r.pixels[y * rows[0].size() + x] = rows[y][x] == '#' ? 1 : 0;
  return r;
}

std::vector<Outline> subpaths_of(const QvPath2f& path, std::vector<QvLong>* closed = nullptr) {
  std::vector<Outline> out;
  QvPath2fIter iter(path);
  QvULong first = 0, last = 0;
  while (iter.GetNextSubPathIndices(first, last)) {
    Outline o;
    for (QvULong i = first; i <= last; ++i) {
      QvPoint2<float> p;
      path.GetPoint(i, p);
      o.emplace_back(p.x, p.y);
    }
    out.push_back(o);
    if (closed) closed->push_back(path.IsSubpathClosed(first));
  }
  return out;
}

const QvExtent2<float> kAnyExtent;

}  // namespace

TEST(Vectorize, HandFigures) {
  struct Case {
    const char* name;
    std::vector<std::string> rows;
    std::vector<Outline> want;
  };
  const Case cases[] = {
      {"one pixel at (3, 5)",
       {"......", "......", "......", "......", "......", "...#..", "......"},
       {{{3, 5}, {3, 6}, {4, 6}, {4, 5}, {3, 5}}}},
      {"all foreground", {"####", "####", "####"}, {{{0, 0}, {0, 3}, {4, 3}, {4, 0}, {0, 0}}}},
      {"diagonal contact does not connect",
       {"#.", ".#"},
       {{{0, 0}, {0, 1}, {1, 1}, {1, 0}, {0, 0}}, {{1, 1}, {1, 2}, {2, 2}, {2, 1}, {1, 1}}}},
      {"ring: outer, then the hole the other way",
       {"###", "#.#", "###"},
       {{{0, 0}, {0, 3}, {3, 3}, {3, 0}, {0, 0}}, {{1, 2}, {1, 1}, {2, 1}, {2, 2}, {1, 2}}}},
      {"U joined at the bottom is one region",
       {"#.#", "#.#", "###"},
       {{{0, 0}, {0, 3}, {3, 3}, {3, 0}, {2, 0}, {2, 2}, {1, 2}, {1, 0}, {0, 0}}}},
      {"a gap open at the bottom is no hole",
       {"###", "#.#"},
       {{{0, 0}, {0, 2}, {1, 2}, {1, 1}, {2, 1}, {2, 2}, {3, 2}, {3, 0}, {0, 0}}}},
      {"regions come out by the row where they end",
       {"..#", "#.#", "..#"},
       {{{0, 1}, {0, 2}, {1, 2}, {1, 1}, {0, 1}}, {{2, 0}, {2, 3}, {3, 3}, {3, 0}, {2, 0}}}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    QvRaster<unsigned char> raster = raster_of(c.rows);
    QvPath2f path;
    QvVectorizer vectorizer;
    const QvULong added = vectorizer.Vectorize(raster, 1, kAnyExtent, path);
    EXPECT_EQ(path.NumPoints(), added);
    std::vector<QvLong> closed;
    const std::vector<Outline> got = subpaths_of(path, &closed);
    EXPECT_EQ(c.want, got);
    EXPECT_EQ(std::vector<QvLong>(got.size(), 1), closed);
    // The rows are read in memory order whatever the flag says.
    raster.bottomUp = 1;
    QvPath2f flipped;
    vectorizer.Vectorize(raster, 1, kAnyExtent, flipped);
    EXPECT_EQ(got, subpaths_of(flipped));
  }
}

// The tests see the coarse node polygon: a ring of 3x3 has an outer node
// polygon of perimeter 10 and area 6, and a hole of perimeter 6 and area 2.
TEST(Vectorize, Thresholds) {
  struct Case {
    const char* name;
    double perimeter, area;
    QvULong subpaths;
  };
  const Case cases[] = {
      {"off", 0.0, 0.0, 2},
      {"perimeter drops the hole alone", 8.0, 0.0, 1},
      {"a negative threshold acts as its size", -8.0, 0.0, 1},
      {"perimeter reached exactly is kept", 10.0, 0.0, 1},
      {"perimeter drops the region with its hole", 10.5, 0.0, 0},
      {"area drops the hole alone", 0.0, 6.0, 1},
      {"area drops the region with its hole", 0.0, -6.5, 0},
  };
  QvRaster<unsigned char> ring = raster_of({"###", "#.#", "###"});
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    QvVectorizer by_arguments(c.perimeter, c.area), by_setters;
    by_setters.SetPerimeterThreshold(c.perimeter);
    by_setters.SetAreaThreshold(c.area);
    for (QvVectorizer* vectorizer : {&by_arguments, &by_setters}) {
      QvPath2f path;
      vectorizer->Vectorize(ring, 1, kAnyExtent, path);
      EXPECT_EQ(c.subpaths, path.NumSubpaths());
    }
  }
  // A lone pixel has a node polygon of no area.
  QvRaster<unsigned char> dot = raster_of({".#."});
  QvPath2f path;
  EXPECT_EQ(0u, QvVectorizer(0.0, 2.0).Vectorize(dot, 1, kAnyExtent, path));
}

namespace {

// Plain references over the mask: 4-connected foreground components plus the
// 8-connected background components that do not reach the border.
QvULong count_contours(const QvRaster<unsigned char>& r) {
  const QvLong w = r.width, h = r.height;
  std::vector<char> seen(static_cast<std::size_t>(w * h), 0);
  QvULong count = 0;
  for (QvLong start = 0; start < w * h; ++start) {
    if (seen[static_cast<std::size_t>(start)]++) continue;
    const bool fg = r.pixels[start] == 1;
    bool border = false;
    for (std::vector<QvLong> stack{start}; !stack.empty();) {
      const QvLong p = stack.back(), x = p % w, y = p / w;
      stack.pop_back();
      border = border || x == 0 || y == 0 || x == w - 1 || y == h - 1;
      for (QvLong d = 0; d < 9; ++d) {  // d even: a corner or the pixel itself
        const QvLong nx = x + d % 3 - 1, ny = y + d / 3 - 1, q = ny * w + nx;
        if ((fg && d % 2 == 0) || nx < 0 || ny < 0 || nx >= w || ny >= h ||
            seen[static_cast<std::size_t>(q)] || (r.pixels[q] == 1) != fg)
          continue;
        seen[static_cast<std::size_t>(q)] = 1;
        stack.push_back(q);
      }
    }
    if (fg || !border) ++count;
  }
  return count;
}

}  // namespace

TEST(Vectorize, OutlinesRebuildRandomMasks) {
  std::mt19937 rng(20261123);
  for (int trial = 0; trial < 60; ++trial) {
    SCOPED_TRACE(trial);
    const QvLong w = 1 + static_cast<QvLong>(rng() % 14), h = 1 + static_cast<QvLong>(rng() % 11);
    QvRaster<unsigned char> raster(w, h, 0);
    const auto threshold = rng() % 100;
    for (QvLong i = 0; i < w * h; ++i) raster.pixels[i] = (rng() % 100 < threshold) ? 1 : 2;
    QvPath2f path;
    path.Moveto(QvPoint2<float>(-5, -5));  // output is appended
    const QvULong added = QvVectorizer().Vectorize(raster, 1, kAnyExtent, path);
    ASSERT_EQ(path.NumPoints(), added + 1);
    std::vector<Outline> outlines = subpaths_of(path);
    outlines.erase(outlines.begin());
    EXPECT_EQ(count_contours(raster), outlines.size());

    double signed_area = 0.0;
    std::vector<int> parity(static_cast<std::size_t>(w * h), 0);
    for (const Outline& o : outlines) {
      ASSERT_GE(o.size(), 5u);
      EXPECT_TRUE(o.front() == o.back());
      for (std::size_t i = 0; i + 1 < o.size(); ++i) {
        const auto& a = o[i];
        const auto& b = o[i + 1];
        ASSERT_TRUE((a.first == b.first) != (a.second == b.second)) << "edge " << i << " not axis-parallel";
        if (i + 2 < o.size()) {  // a hole starts part way up an edge: skip the seam
          const auto& c = o[i + 2];
          EXPECT_FALSE(a.first == b.first && b.first == c.first) << "collinear at " << i + 1;
          EXPECT_FALSE(a.second == b.second && b.second == c.second) << "collinear at " << i + 1;
        }
        signed_area += static_cast<double>(a.first) * b.second - static_cast<double>(b.first) * a.second;
        if (a.first != b.first) continue;  // crossings of vertical edges left of each centre
        const QvLong y0 = static_cast<QvLong>(std::fmin(a.second, b.second));
        const QvLong y1 = static_cast<QvLong>(std::fmax(a.second, b.second));
        for (QvLong y = y0; y < y1; ++y)
          for (QvLong x = static_cast<QvLong>(a.first); x < w; ++x)
            parity[static_cast<std::size_t>(y * w + x)] ^= 1;
      }
    }
    QvLong foreground = 0;
    for (QvLong i = 0; i < w * h; ++i) {
      foreground += raster.pixels[i] == 1;
      ASSERT_EQ(raster.pixels[i] == 1, parity[static_cast<std::size_t>(i)] == 1) << "pixel " << i;
    }
    // Outer contours turn one way and holes the other, so areas add up.
    EXPECT_EQ(-2.0 * static_cast<double>(foreground), signed_area);
  }
}

TEST(VectorizeAndFit, OnePixelTakesTheShortCases) {
  QvRaster<unsigned char> raster(6, 7, 0);
  raster.pixels[5 * 6 + 3] = 9;
  QvPath2f path;
  path.Moveto(QvPoint2<float>(1, 1));
  QvGC gc;
  EXPECT_EQ(7u, QvVectorizer().VectorizeAndFit(raster, 9, kAnyExtent, gc, path));
  const std::vector<Outline> got = subpaths_of(path);
  ASSERT_EQ(2u, got.size());
  // Two steps to a side: each half is a cubic with both handles on the corner.
  EXPECT_EQ(Outline({{3, 5}, {3, 6}, {3, 6}, {4, 6}, {4, 5}, {4, 5}, {3, 5}}), got[1]);
  EXPECT_EQ(1, path.IsSubpathClosed(1));
  EXPECT_EQ(3u, path.GetDegree(2));

  // The value is matched exactly, not as a threshold: nothing here is 200.
  QvRaster<unsigned char> none(3, 1, 199);
  none.pixels[1] = 201;
  EXPECT_EQ(0u, QvVectorizer().VectorizeAndFit(none, 200, kAnyExtent, gc, path));
  EXPECT_EQ(0u, QvVectorizer().Vectorize(none, 200, kAnyExtent, path));
}

TEST(VectorizeAndFit, FitStaysNearTheOutline) {
  const QvLong size = 40;
  QvRaster<unsigned char> raster(size, size, 0);
  for (QvLong y = 0; y < size; ++y)
    for (QvLong x = 0; x < size; ++x) {
      const double dx = x - 19.5, dy = y - 17.0;
      const bool disk = dx * dx + dy * dy < 15.0 * 15.0;
      const bool notch = dx * dx + (dy - 4.0) * (dy - 4.0) < 5.0 * 5.0;
      raster.pixels[y * size + x] = disk && !notch ? 1 : 0;
    }
  QvVectorizer vectorizer;
  QvPath2f outline, fitted;
  QvGC gc;
  gc.SetFlatteningTolerance(0.75);
  vectorizer.Vectorize(raster, 1, kAnyExtent, outline);
  const QvULong grown = vectorizer.VectorizeAndFit(raster, 1, kAnyExtent, gc, fitted);
  EXPECT_EQ(fitted.NumPoints(), grown);
  ASSERT_EQ(2u, fitted.NumSubpaths());

  // Every corner of the outline lies within the tolerance (plus the
  // flattening slack of the check) of the fitted curve, densely flattened.
  QvPoint2fArray dense;
  QvPointTagArray tags;
  fitted.AltFlatten(0.01, dense, tags);
  for (QvULong i = 0; i < outline.NumPoints(); ++i) {
    const QvPoint2<float> p = outline.GetPoint(i);
    double best = 1e30;
    for (QvULong k = 0; k + 1 < dense.size; ++k) {
      if (tags[k] == TagLast) continue;
      const double ax = dense[k].x, ay = dense[k].y;
      const double bx = dense[k + 1].x - ax, by = dense[k + 1].y - ay;
      const double len2 = bx * bx + by * by;
      double t = len2 > 0 ? ((p.x - ax) * bx + (p.y - ay) * by) / len2 : 0.0;
      t = std::fmax(0.0, std::fmin(1.0, t));
      best = std::fmin(best, std::hypot(ax + t * bx - p.x, ay + t * by - p.y));
    }
    EXPECT_LE(best, 1.5 * 0.75) << "outline point " << i;
  }
}
