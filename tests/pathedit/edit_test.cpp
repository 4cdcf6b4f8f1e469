// Editing a path in place, and paths derived from others.
#include <qv/QvGC.h>
#include <qv/QvPath2f.h>

#include <gtest/gtest.h>

#include "support/byte_buffer.h"
#include "support/shapes.h"

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

namespace {

using Segment = std::vector<QvPoint2<float>>;  // handles, then the end node

using qv::test::P;

class Probe : public QvPath2f {  // the protected side, for the tests
 public:
  using QvPath2f::IsG1Continuous;
  std::vector<unsigned> Types() const {
    std::vector<unsigned> t;
    for (QvULong i = 0; i < NumPoints(); ++i) t.push_back(static_cast<unsigned>(GetType(i)));
    return t;
  }
  std::vector<float> Xs() {
    std::vector<float> x;
    for (QvULong i = 0; i < NumPoints(); ++i) x.push_back(GetPoint(i).x);
    return x;
  }
};

QvULong pick(std::mt19937& rng, QvULong n) { return static_cast<QvULong>(rng() % n); }

Segment random_segment(std::mt19937& rng, QvULong degree, QvPoint2<float> end) {
  Segment s;
  for (QvULong k = 1; k < degree; ++k) s.push_back(P(pick(rng, 99), pick(rng, 99)));
  s.push_back(end);
  return s;
}

void build(QvPath2f& path, const std::vector<Segment>& segments, bool closed,
           QvPoint2<float> start = QvPoint2<float>()) {
  path.Moveto(start);
  for (const Segment& s : segments) path.AltCurveto(s.data(), static_cast<QvULong>(s.size()));
  if (closed) path.Closeto();
}

// Arch: two cubics, smooth at node 3 = (4,4) between handles (2,4) and (6,4).
// Lens: closed, smooth at its joint (0,0) between the seam handles 5 = (0,2)
// and 1 = (0,-2).
void build_shape(QvPath2f& path, bool lens) {
  if (lens) {
    build(path, {{P(0, -2), P(10, -2), P(10, 0)}, {P(10, 2), P(0, 2), P(0, 0)}}, true);
  } else {
    build(path, {{P(0, 2), P(2, 4), P(4, 4)}, {P(6, 4), P(8, 2), P(8, 0)}}, false);
  }
}

// Closed: 0 M, 1 line, 2-4 cubic, 5 line, 6 closing line; then a line 7-8.
void build_mixed(QvPath2f& path) {
  build(path, {{P(1, 0)}, {P(2, 1), P(3, 1), P(4, 0)}, {P(5, 0)}, {P(0, 0)}}, true);
  path.Moveto(P(20, 0));
  path.Lineto(P(30, 0));
}

}  // namespace

TEST(ReplacePoint, LocksAndClosingDecideWhatMovesAlong) {
  struct Case {
    const char* name;
    bool lens;
    int lock;
    QvULong i;
    double x, y;
    QvLong keepRatio;
    std::vector<double> want;  // index, x, y of points that must follow
  };
  const double r = std::sqrt(2.0);
  const Case cases[] = {
      {"locked node", false, 3, 3, 5, 5.5, 1, {2, 3, 5.5, 4, 7, 5.5}},
      {"open first point", false, -1, 0, -1, -1, 0, {6, 8, 0}},
      {"free closed joint", true, -1, 6, 1, 1, 0, {0, 1, 1, 1, 0, -2, 5, 0, 2}},
      {"locked closed joint", true, 0, 0, 1, 1, 0, {6, 1, 1, 1, 1, -1, 5, 1, 3}},
      {"handle turned, length kept", false, 3, 2, 1, 0, 0, {4, 5.2, 5.6}},
      {"handle turned, ratio kept", false, 3, 2, 1, 0, 1, {4, 7, 8}},
      {"handle doubled, ratio kept", false, 3, 4, 8, 4, 1, {2, 0, 4}},
      {"free handle", false, -1, 4, 8, 4, 1, {2, 2, 4}},
      {"handle across the seam", true, 0, 1, 2, -2, 0, {5, -r, r}},
      {"the other way, ratio kept", true, 0, 5, -2, 2, 1, {1, 2, -2}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    Probe path;
    build_shape(path, c.lens);
    const QvULong lock = static_cast<QvULong>(c.lock);
    ASSERT_TRUE(c.lock < 0 || path.LockG1(lock));
    path.ReplacePoint(c.i, P(c.x, c.y), c.keepRatio);
    EXPECT_EQ(P(c.x, c.y), path.GetPoint(c.i));
    for (std::size_t k = 0; k < c.want.size(); k += 3) {
      const QvPoint2<float> got = path.GetPoint(static_cast<QvULong>(c.want[k]));
      EXPECT_NEAR(c.want[k + 1], got.x, 2e-6) << "point " << c.want[k];
      EXPECT_NEAR(c.want[k + 2], got.y, 2e-6) << "point " << c.want[k];
    }
    EXPECT_TRUE(c.lock < 0 || path.IsG1Continuous(lock)) << "the locked node bent";
  }
  Probe lens;
  build_shape(lens, true);
  EXPECT_EQ(0, lens.ReplaceTangentVectorDirections(1, P(1, 0)));  // a handle
  EXPECT_EQ(1, lens.ReplaceTangentVectorDirections(6, P(0, -3)));  // about the joint
  EXPECT_EQ(P(0, 3), lens.GetPoint(5));
}

// Every pair of degrees, inside an open subpath and as a closing segment.
TEST(ReplaceSegment, GivesThePathBuiltWithTheNewDegree) {
  std::mt19937 rng(20261123);
  for (bool closed : {false, true}) {
    for (QvULong old_degree = 1; old_degree <= 8; ++old_degree) {
      for (QvULong degree = 1; degree <= 8; ++degree) {
        SCOPED_TRACE(testing::Message() << closed << ", " << old_degree << " to " << degree);
        const QvULong target = closed ? 2 : 1;
        const QvPoint2<float> ends[] = {P(10, 0), P(10, 10), closed ? P(0, 0) : P(0, 10)};
        std::vector<Segment> segments;
        for (QvULong k = 0; k < 3; ++k) {
          const QvULong d = k == target ? old_degree : 2 + (k + 1) / 2;  // else 2, 3 or 3
          segments.push_back(random_segment(rng, d, ends[k]));
        }
        Probe path, want;
        build(path, segments, closed);
        const QvULong start = target == 2 ? 5 : 2;
        segments[target] = random_segment(rng, degree, ends[target]);
        Segment pts = {path.GetPoint(start)};
        pts.insert(pts.end(), segments[target].begin(), segments[target].end());
        ASSERT_EQ(1, path.ReplaceSegment(start + 1 + pick(rng, old_degree), pts.data(), degree));
        build(want, segments, closed);
        EXPECT_EQ(qv::test::bytes_of(want), qv::test::bytes_of(path));
      }
    }
  }
  // Closed and smooth at its locked joint, a line first and a cubic last.
  Probe path;
  build(path, {{P(10, 0)}, {P(10, 10), P(-5, 0), P(0, 0)}}, true);
  ASSERT_EQ(1, path.LockG1(0));
  const auto before = qv::test::bytes_of(path);
  const QvPoint2<float> quad[] = {P(0, 0), P(5, 3), P(10, 0)};
  const QvPoint2<float> off[] = {P(2e-7, 0), P(5, 3), P(10, 0)};
  EXPECT_EQ(0, path.ReplaceSegment(1, off, 2));   // start off by more than 1e-7
  EXPECT_EQ(0, path.ReplaceSegment(1, quad, 2));  // a quadratic can't keep a lock
  EXPECT_EQ(0, path.ReplaceSegment(1, quad, 9));
  EXPECT_EQ(before, qv::test::bytes_of(path));
  const QvPoint2<float> cubic[] = {P(1e-7, 0), P(3, 4), P(6, 4), P(10, 0)};
  EXPECT_EQ(1, path.ReplaceSegment(1, cubic, 3));  // over a line the lock is not consulted
  EXPECT_EQ(128, path.IsG1LockOn(0));
  EXPECT_EQ((std::vector<unsigned>{1, 8, 9, 10, 8, 9, 11}), path.Types());
  // Between curves, the new handle next to a locked node turns the node's
  // other handle: (6,4) becomes (5,6), so (2,4) goes to (3,2).
  Probe arch;
  build(arch, {{P(0, 2), P(2, 4), P(4, 4)}, {P(6, 4), P(7, 3), P(8, 2), P(8, 1), P(8, 0)}}, false);
  ASSERT_EQ(1, arch.LockG1(3));
  const QvPoint2<float> turned[] = {P(4, 4), P(5, 6), P(7, 2), P(8, 0)};
  EXPECT_EQ(1, arch.ReplaceSegment(5, turned, 3));
  EXPECT_EQ((std::vector<float>{0, 0, 3, 4, 5, 7, 8}), arch.Xs());
  EXPECT_NEAR(2.0, arch.GetPoint(2).y, 2e-6);
}

TEST(ReplaceSubpathSection, LineCubicOrSectionOfAnotherPath) {
  Probe path, arch;
  build_mixed(path);
  build_shape(arch, false);
  ASSERT_EQ(1, arch.LockG1(3));
  const auto before = qv::test::bytes_of(path);
  EXPECT_EQ(0, path.ReplaceSubpathSection(1, 2));  // 2 is a handle
  EXPECT_EQ(0, path.ReplaceSubpathSection(5, 8));  // across two subpaths
  EXPECT_EQ(1, path.ReplaceSubpathSection(4, 5));  // neighbours: nothing to do
  EXPECT_EQ(0, path.ReplaceSubpathSection(1, 6, arch, 1, 6));
  EXPECT_EQ(0, arch.ReplaceSubpathSection(0, 3));  // locked end
  EXPECT_EQ(before, qv::test::bytes_of(path));

  Probe line(path), cubic(path), spliced(path), self(path);
  EXPECT_EQ(1, line.ReplaceSubpathSection(1, 6));
  EXPECT_EQ((std::vector<unsigned>{1, 3, 4, 1, 3}), line.Types());
  EXPECT_EQ(1, cubic.ReplaceSubpathSection(1, 6, P(2, -1), P(1, -1)));
  EXPECT_EQ((std::vector<unsigned>{1, 3, 8, 9, 11, 1, 3}), cubic.Types());
  EXPECT_EQ((std::vector<float>{0, 1, 2, 1, 0, 20, 30}), cubic.Xs());
  // The arch runs from (0,0) to (8,0), the section from (1,0) to (0,0): the
  // ends stay, the handles next to them move with them, the closing stays.
  EXPECT_EQ(1, spliced.ReplaceSubpathSection(1, 6, arch, 0, 6));
  EXPECT_EQ((std::vector<unsigned>{1, 3, 8, 9, 10, 8, 9, 11, 1, 3}), spliced.Types());
  EXPECT_EQ((std::vector<float>{0, 1, 1, 2, 4, 6, 0, 0, 20, 30}), spliced.Xs());
  EXPECT_EQ(128, spliced.IsG1LockOn(4));
  // A path may take a section of itself: its cubic 1..4 over the line 7..8.
  EXPECT_EQ(1, self.ReplaceSubpathSection(7, 8, self, 1, 4));
  EXPECT_EQ((std::vector<float>{0, 1, 2, 3, 4, 5, 0, 20, 21, 29, 30}), self.Xs());
}

TEST(RemoveSubpathSection, ShortensSplitsOrEmptiesTheSubpath) {
  struct Case {
    const char* name;
    bool closed;
    QvULong first, last;
    std::vector<unsigned> types;  // empty: refused, nothing changes
    std::vector<float> xs;
  };
  const Case cases[] = {
      {"inner to end", false, 2, 4, {1, 3, 3, 1, 3}, {0, 1, 2, 10, 11}},
      {"first to inner", false, 0, 2, {1, 3, 3, 1, 3}, {2, 3, 4, 10, 11}},
      {"inner to inner", false, 1, 3, {1, 3, 1, 3, 1, 3}, {0, 1, 3, 4, 10, 11}},
      {"neighbours", false, 1, 2, {1, 3, 1, 3, 3, 1, 3}, {0, 1, 2, 3, 4, 10, 11}},
      {"whole subpath", false, 0, 4, {1, 1, 3}, {0, 10, 11}},
      {"closed, inner to inner", true, 1, 3, {1, 3, 1, 3, 1, 3}, {0, 1, 3, 0, 10, 11}},
      {"closed, inner to closing", true, 2, 4, {1, 3, 3, 1, 3}, {0, 1, 2, 10, 11}},
      {"across subpaths", false, 3, 6, {}, {}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    Probe path;
    build(path, {{P(1, 0)}, {P(2, 0)}, {P(3, 0)}, {P(c.closed ? 0 : 4, 0)}}, c.closed);
    path.Moveto(P(10, 0));
    path.Lineto(P(11, 0));
    const auto types = path.Types();
    const auto xs = path.Xs();
    EXPECT_EQ(c.types.empty() ? 0 : 1, path.RemoveSubpathSection(c.first, c.last));
    EXPECT_EQ(c.types.empty() ? types : c.types, path.Types());
    EXPECT_EQ(c.types.empty() ? xs : c.xs, path.Xs());
  }
  // A locked joint loses its lock before the closed subpath opens.
  Probe lens, mixed;
  build_shape(lens, true);
  ASSERT_EQ(1, lens.LockG1(0));
  EXPECT_EQ(1, lens.RemoveSubpathSection(0, 3));
  EXPECT_EQ((std::vector<unsigned>{1, 8, 9, 10}), lens.Types());
  EXPECT_EQ(0, lens.IsG1LockOn(0) + lens.IsG1LockOn(3));
  EXPECT_EQ(1, lens.IsActive());
  // Removing the subpath after a closed one leaves construction closed.
  build_mixed(mixed);
  EXPECT_EQ(1, mixed.RemoveSubpath(8));
  EXPECT_EQ(7u, mixed.NumPoints());
  EXPECT_EQ(0, mixed.IsActive());
}

// A counter-clockwise square, so that the normals (dy, -dx) point outwards:
// each corner moves along the diagonal, or along one side's normal at the
// ends of a path not taken round.
TEST(OffsetPaths, PointsMoveAlongTheirMeanNormals) {
  const double s = 2 * std::sqrt(0.5), i = std::sqrt(0.5);
  Probe square, similar, round, in, out;
  build(square, {{P(10, 0)}, {P(10, 10)}, {P(0, 10)}, {P(0, 0)}}, true);
  similar = round = in = out = square;
  square.GetSimilarPath(2, 1, round);
  square.GetSimilarPath(2, 0, similar);
  square.GetInwardOutwardPaths(1, 2, in, out);
  const std::vector<double> want[] = {{-s, -s, 10 + s, -s, 10 + s, 10 + s, -s, 10 + s, -s, -s},
                                      {0, -2, 10 + s, -s, 10 + s, 10 + s, 0, 12, 0, -2},
                                      {i, i, 10 - i, i, 10 - i, 10 - i, i, 10 - i, i, i}};
  Probe* got[] = {&round, &similar, &in, &out};
  for (QvULong k = 0; k < 20; ++k) {
    SCOPED_TRACE(testing::Message() << "case " << k / 5 << ", point " << k % 5);
    const QvPoint2<float> p = got[k / 5]->GetPoint(k % 5);
    EXPECT_NEAR(want[k / 5 % 3][2 * (k % 5)], p.x, 2e-6);
    EXPECT_NEAR(want[k / 5 % 3][2 * (k % 5) + 1], p.y, 2e-6);
  }
}

// A circle of radius 50 in four cubics, and its upper half, refitted from
// their samples: the fits stay near the circle.
TEST(AddFittedSamplesFromPath, FitsFollowTheSampledOutline) {
  const double k = 0.5522847498307935;
  const Segment arcs[] = {{P(50, 50 * k), P(50 * k, 50), P(0, 50)},
                          {P(-50 * k, 50), P(-50, 50 * k), P(-50, 0)},
                          {P(-50, -50 * k), P(-50 * k, -50), P(0, -50)},
                          {P(50 * k, -50), P(50, -50 * k), P(50, 0)}};
  auto worst_radial_error = [](const QvPath2f& path) {
    QvPoint2fArray points;
    QvPointTagArray tags;
    double worst = 0;
    for (QvULong i = 0, n = path.AltFlatten(0.01, points, tags); i < n; ++i)
      worst = std::max(worst, std::fabs(std::hypot(double{points[i].x}, double{points[i].y}) - 50));
    return worst;
  };
  QvGC gc;
  gc.SetFlatteningTolerance(0.05);
  gc.SetSamplingDistance(2);
  Probe circle, half, fitted, chain;
  build(circle, {arcs[0], arcs[1], arcs[2], arcs[3]}, true, P(50, 0));
  build(half, {arcs[0], arcs[1]}, false, P(50, 0));
  const QvULong added = fitted.AddFittedSamplesFromPath(gc, circle);
  EXPECT_EQ(fitted.NumPoints(), added);
  EXPECT_EQ(1, fitted.IsSubpathClosed(0));
  EXPECT_LT(worst_radial_error(fitted), 0.2);
  // An open run goes on from where the path stops, if it stops there; else
  // it starts a subpath of its own.
  chain.Moveto(P(50, 0));
  const QvULong grown = chain.AddFittedSamplesFromPath(gc, half);
  EXPECT_EQ(chain.NumPoints() - 1, grown);
  EXPECT_EQ(P(-50, 0), chain.GetCurrentPoint());
  EXPECT_LT(worst_radial_error(chain), 0.2);
  chain.AddFittedSamplesFromPath(gc, half);
  EXPECT_EQ(2u, chain.NumSubpaths());
}
