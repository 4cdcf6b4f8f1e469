#include <qv/QvGC.h>
#include <qv/QvMipPath2fProp1d.h>
#include <qv/QvPath2fProp1d.h>
#include <qv/QvTransfo4.h>

#include <gtest/gtest.h>

#include "support/byte_buffer.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <random>
#include <utility>
#include <vector>

namespace {

using P = QvPoint2<float>;
using Bytes = std::vector<unsigned char>;

// A closed square of side s at (x, y): every key built by this is a sibling
// of every other.
QvPath2fProp1d square(float x, float y, float s) {
  QvPath2fProp1d path;
  path.Moveto(P(x, y));
  path.Lineto(P(x + s, y));
  path.Lineto(P(x + s, y + s));
  path.Lineto(P(x, y + s));
  path.Closeto();
  return path;
}

using qv::test::bytes_of;
using qv::test::u32_at;

std::vector<double> parameters(const QvMipPath2fProp1d& list) {
  QvDoubleArray all;
  list.GetAllKeyParameters(all);
  return std::vector<double>(all.data, all.data + all.size);
}

// Keys at 0, 1, 2, ...: the square of key i stands at (10 i, 0) with side 1 + i.
QvMipPath2fProp1d ladder(int n) {
  QvMipPath2fProp1d list;
  QvMipP2fP1dAgent agent(list);
  for (int i = 0; i < n; ++i) {
    const float f = static_cast<float>(i);
    agent.CreateKey(i, square(10 * f, 0, 1 + f));
  }
  return list;
}

TEST(Keyframed, KeysStaySortedAndReplaceWithinTolerance) {
  QvMipPath2fProp1d list;
  QvMipP2fP1dAgent agent(list);
  double lo = 7, hi = 7;
  EXPECT_FALSE(list.GetSmallestKeyParameter(lo) || list.GetLargestKeyParameter(hi) || lo != 7);
  EXPECT_EQ(agent.Eval(1, 0.1, 1e-3).NumPoints(), 0u);
  EXPECT_EQ(agent.CreateKeyFromEvaluation(0), 0);
  EXPECT_EQ(agent.RemoveKey(0, 1), 1);
  for (double t : {2.0, -1.0, 0.5, 3.0, 0.0}) agent.CreateKey(t, square(0, 0, 1));
  EXPECT_EQ(agent.CreateKey(0.5 + 4e-16, square(5, 5, 2)), 1);
  EXPECT_EQ(parameters(list), (std::vector<double>{-1.0, 0.0, 0.5, 2.0, 3.0}));
  EXPECT_EQ(bytes_of(agent.Eval(0.5, 0.1, 1e-3)), bytes_of(square(5, 5, 2)));
  EXPECT_TRUE(list.GetSmallestKeyParameter(lo) && list.GetLargestKeyParameter(hi));
  EXPECT_EQ(std::make_pair(lo, hi), std::make_pair(-1.0, 3.0));
}

TEST(Keyframed, EvalAtAndOutsideKeysCopiesTheKey) {
  QvMipPath2fProp1d list = ladder(3);
  QvMipP2fP1dAgent agent(list);
  const struct {
    double t;
    int key;
  } cases[] = {{-5, 0}, {0, 0}, {1e-16, 0}, {1, 1}, {2, 2}, {2 - 1e-16, 2}, {9, 2}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.t);
    const float i = static_cast<float>(c.key);
    EXPECT_EQ(bytes_of(agent.Eval(c.t, 0.1, 1e-3)), bytes_of(square(10 * i, 0, 1 + i)));
  }
  EXPECT_EQ(agent.CreateKeyFromEvaluation(5), 1);
  EXPECT_EQ(parameters(list), (std::vector<double>{0, 1, 2, 5}));
}

// Sibling keys blend point by point: check against the corners lerped here.
TEST(Keyframed, EvalBetweenSiblingKeysBlendsPoints) {
  QvMipPath2fProp1d list;
  QvMipP2fP1dAgent agent(list);
  agent.CreateKey(1, square(0, 0, 1));
  agent.CreateKey(3, square(8, 4, 5));
  std::mt19937 rng(7);
  std::uniform_real_distribution<double> pick(1.0, 3.0);
  for (int n = 0; n < 20; ++n) {
    const double t = pick(rng);
    const double u = (t - 1) / 2;
    SCOPED_TRACE(t);
    const QvPath2fProp1d& r = agent.Eval(t, 0.1, 1e-3);
    ASSERT_EQ(r.NumPoints(), square(0, 0, 1).NumPoints());
    const double x = 8 * u, y = 4 * u, s = 1 + 4 * u;
    const double want[5][2] = {{x, y}, {x + s, y}, {x + s, y + s}, {x, y + s}, {x, y}};
    for (QvULong k = 0; k < r.NumPoints(); ++k) {
      P p;
      ASSERT_EQ(r.GetPoint(k, p), 1);
      EXPECT_NEAR(p.x, want[k][0], 1e-5);
      EXPECT_NEAR(p.y, want[k][1], 1e-5);
    }
  }
}

TEST(Keyframed, EvalInIntervalSeesOnlyItsKeys) {
  QvMipPath2fProp1d list = ladder(4);
  QvMipP2fP1dAgent agent(list);
  EXPECT_EQ(bytes_of(agent.EvalInInterval(0.5, 0.1, 1e-3, 0, 0, 1, 2)), bytes_of(square(10, 0, 2)));
  EXPECT_EQ(bytes_of(agent.EvalInInterval(0.5, 0.1, 1e-3, 1, 0, 1, 2)), bytes_of(square(20, 0, 3)));
  EXPECT_EQ(agent.EvalInInterval(1.5, 0.1, 1e-3, 1, 1, 1, 2).NumPoints(), 0u);
  EXPECT_EQ(agent.EvalInInterval(1.5, 0.1, 1e-3, 0, 0, 1.2, 1.8).NumPoints(), 0u);
  // Between two keys of the interval it is the ordinary blend.
  EXPECT_EQ(bytes_of(agent.EvalInInterval(1.5, 0.1, 1e-3, 0, 0, 1, 2)),
            bytes_of(agent.Eval(1.5, 0.1, 1e-3)));
}

TEST(Keyframed, RemoveKey) {
  QvMipPath2fProp1d list = ladder(4);
  QvMipP2fP1dAgent agent(list);
  EXPECT_EQ(agent.RemoveKey(1.4, 0.3), 0);
  EXPECT_EQ(list.GetNumKeys(), 4u);
  EXPECT_EQ(agent.RemoveKey(1.5, 0.5), 1);  // a tie: the earlier key goes
  EXPECT_EQ(parameters(list), (std::vector<double>{0, 2, 3}));
  EXPECT_EQ(agent.RemoveKey(2.9, 1.5), 1);  // the nearest of several
  EXPECT_EQ(parameters(list), (std::vector<double>{0, 2}));
}

TEST(Keyframed, RemoveKeysAndMergeHonourKeptEnds) {
  const struct {
    double from, to;
    QvLong keepFrom, keepTo;
    std::vector<double> left;
    // Merging keeps a flagged end even where the range is a single point.
    bool mergeKeeps2 = false;
  } cases[] = {
      {1, 3, 0, 0, {0, 4}},       {1, 3, 1, 0, {0, 1, 4}},    {1, 3, 0, 1, {0, 3, 4}},
      {1, 3, 1, 1, {0, 1, 3, 4}}, {3, 1, 1, 0, {0, 3, 4}},    {2, 2, 1, 0, {0, 1, 3, 4}, true},
      {2, 2, 1, 1, {0, 1, 2, 3, 4}}, {0.5, 0.7, 0, 0, {0, 1, 2, 3, 4}},
      {-9, 9, 0, 0, {}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.from << ".." << c.to << " " << c.keepFrom
                                    << c.keepTo);
    QvMipPath2fProp1d list = ladder(5);
    QvMipP2fP1dAgent agent(list);
    EXPECT_EQ(agent.RemoveKeys(c.from, c.to, c.keepFrom, c.keepTo), 1);
    EXPECT_EQ(parameters(list), c.left);

    QvMipPath2fProp1d merged = ladder(5);
    QvMipP2fP1dAgent merger(merged);
    EXPECT_EQ(merger.MergeAndCreateKey(c.from, c.to, 2.5, square(0, 0, 9), c.keepFrom, c.keepTo), 1);
    std::vector<double> want = c.left;
    if (c.mergeKeeps2) want.insert(std::upper_bound(want.begin(), want.end(), 2.0), 2.0);
    want.insert(std::upper_bound(want.begin(), want.end(), 2.5), 2.5);
    EXPECT_EQ(parameters(merged), want);
    EXPECT_EQ(bytes_of(merger.Eval(2.5, 0.1, 1e-3)), bytes_of(square(0, 0, 9)));
  }
}

TEST(Keyframed, ParameterAxisAndTransform) {
  QvMipPath2fProp1d list = ladder(3);
  QvMipP2fP1dAgent agent(list);
  EXPECT_EQ(agent.ShiftKeyParameters(1.5), 1);
  EXPECT_EQ(agent.ScaleKeyParameterAxis(2), 1);
  EXPECT_EQ(parameters(list), (std::vector<double>{3, 5, 7}));
  QvTransfo4 m;
  m.Translate(100, -1, 0);
  EXPECT_EQ(agent.Transform(m), 1);
  EXPECT_EQ(bytes_of(agent.Eval(5, 0.1, 1e-3)), bytes_of(square(110, -1, 2)));
}

TEST(Keyframed, CopiesAreDeepAndCutCopiesKeyTheirEnds) {
  QvMipPath2fProp1d list = ladder(4);
  QvMipPath2fProp1d copy(list);
  QvMipPath2fProp1d assigned;
  assigned = list;
  QvMipP2fP1dAgent(list).RemoveKeys(0, 3, 0, 0);
  EXPECT_EQ(copy.GetNumKeys(), 4u);
  EXPECT_EQ(bytes_of(copy), bytes_of(assigned));

  QvMipP2fP1dAgent source(copy);
  const QvMipPath2fProp1d cut(copy, 2.0, 0.5);
  EXPECT_EQ(parameters(cut), (std::vector<double>{0.5, 1, 2}));
  QvMipPath2fProp1d cut_list(cut);
  QvMipP2fP1dAgent reader(cut_list);
  const QvGC gc;
  EXPECT_EQ(bytes_of(reader.Eval(0.5, 0.1, 1e-3)),
            bytes_of(source.Eval(0.5, gc.GetSmallestFeatureSize(), gc.GetPropertyTolerance())));
  // Ends beyond the source's keys add nothing.
  EXPECT_EQ(parameters(QvMipPath2fProp1d(copy, -4, 1.0)), (std::vector<double>{0, 1}));
}

TEST(Keyframed, BufferLayoutAndRoundTrip) {
  QvMipPath2fProp1d list = ladder(3);
  const Bytes buffer = bytes_of(list);
  QvULong expected = 12;
  for (int i = 0; i < 3; ++i) expected += 8 + square(0, 0, 1).GetBufferSize();
  ASSERT_EQ(buffer.size(), expected);
  EXPECT_EQ(u32_at(buffer, 0), expected - 4);
  EXPECT_EQ(u32_at(buffer, 4), 256u);
  EXPECT_EQ(u32_at(buffer, 8), 3u);
  EXPECT_EQ(u32_at(buffer, 20 + square(0, 0, 1).GetBufferSize() + 4), 0x3FF00000u);  // key 1 at 1.0

  QvMipPath2fProp1d back;
  EXPECT_EQ(back.ReadFromBufferBody(buffer.data() + 4), expected - 4);
  EXPECT_EQ(bytes_of(back), buffer);
  EXPECT_EQ(parameters(back), (std::vector<double>{0, 1, 2}));

  // Non-finite parameters are stored as 0.0.
  const QvMipPath2fProp1d odd(square(0, 0, 1), std::numeric_limits<double>::infinity());
  EXPECT_EQ(bytes_of(odd)[12 + 7], 0u);
}

TEST(Keyframed, MalformedBuffersAreRefused) {
  const Bytes good = bytes_of(ladder(2));
  const Bytes before = bytes_of(ladder(1));
  for (std::size_t len = 4; len < good.size() - 4; ++len) {
    SCOPED_TRACE(len);
    const Bytes cut = qv::test::truncated(good, len);
    QvMipPath2fProp1d target = ladder(1);
    EXPECT_EQ(target.ReadFromBufferBody(cut.data() + 4), 0u);
    EXPECT_EQ(bytes_of(target), before);
  }
  Bytes old_version = good;
  old_version[5] = 0;  // version 256 becomes 0
  QvMipPath2fProp1d target = ladder(1);
  EXPECT_EQ(target.ReadFromBufferBody(old_version.data() + 4), 0u);
  Bytes later = good;
  later[5] = 2;  // a later version reads as this one
  EXPECT_EQ(target.ReadFromBufferBody(later.data() + 4), good.size() - 4);
  EXPECT_EQ(bytes_of(target), good);
}

}  // namespace
