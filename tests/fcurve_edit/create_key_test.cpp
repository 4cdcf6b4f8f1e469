#include <qv/QvStdFCurve.h>

#include "fcurve/edit_ops.h"
#include "fcurve_edit/edit_support.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

namespace {

using P = QvPoint2<double>;
using FS = QvBaseFCurve::FSKind;

void expect_point(const P& want, const P& got) {
  EXPECT_DOUBLE_EQ(want.x, got.x);
  EXPECT_DOUBLE_EQ(want.y, got.y);
}

const QvStdFCurveKey& key(const QvStdFCurve& c, QvULong i) { return c.GetImpl()->Key(i); }

// Keys at 0 and 3 with value 0 and 3: each handle one third of the gap away, level, and the lone
// first key's collapsed left handle mirrored out of the way.
TEST(CreateKey, AppendAndPrependPlaceHandlesAtThirds) {
  QvStdFCurve c(4.0, QvBaseFCurve::FSConstant);
  EXPECT_EQ(0, c.CreateKey(std::nan(""), 1.0));
  EXPECT_EQ(0, c.CreateKey(3.0, 1.0, static_cast<FS>(4), static_cast<FS>(0)));
  // The first key takes both kinds and becomes the value of the empty curve.
  ASSERT_EQ(1, c.CreateKey(0.0, 0.0, QvBaseFCurve::FSLinear, QvBaseFCurve::FSBezierCubic));
  EXPECT_EQ(QvBaseFCurve::FSLinear, c.GetFirstSegmentKind());
  EXPECT_EQ(0.0, c.GetImpl()->m_valueWhenNoKeys);
  ASSERT_EQ(1, c.CreateKey(3.0, 3.0));
  expect_point(P(-1, 0), key(c, 0).leftHandle);
  expect_point(P(1, 0), key(c, 0).rightHandle);
  expect_point(P(2, 3), key(c, 1).leftHandle);
  expect_point(P(4, 3), key(c, 1).rightHandle);

  // A key with continuity carries its left tangent on into the new segment.
  P tangent(-1, -1);
  ASSERT_EQ(1, c.SetKeyTgtHandle(3.0, QvBaseFCurve::KeySideLeft, tangent, 0.0));
  ASSERT_EQ(1, c.CreateKey(6.0, 0.0));
  expect_point(P(4, 4), key(c, 1).rightHandle);
  expect_point(P(5, 0), key(c, 2).leftHandle);
  expect_point(P(7, 0), key(c, 2).rightHandle);

  // Before the first key the mirror case: the first key's left handle continues its right one.
  ASSERT_EQ(1, c.SetKeyTgtHandle(0.0, QvBaseFCurve::KeySideRight, P(1, 2), 0.0));
  ASSERT_EQ(1, c.CreateKey(-3.0, 1.0, QvBaseFCurve::FSConstant, static_cast<FS>(0)));
  expect_point(P(-1, -2), key(c, 1).leftHandle);
  expect_point(P(-2, 1), key(c, 0).rightHandle);
  expect_point(P(-4, 1), key(c, 0).leftHandle);
  EXPECT_EQ(QvBaseFCurve::FSConstant, c.GetFirstSegmentKind());
  EXPECT_EQ(QvBaseFCurve::FSLinear, key(c, 0).segmentKind);  // the old first segment kind
  EXPECT_EQ(1.0, c.GetImpl()->m_valueWhenNoKeys);
  EXPECT_TRUE(qv::test::every_segment_valid(c));
}

TEST(CreateKey, OnAnExistingKeyMovesValuesAndHandles) {
  QvStdFCurve c(0.0, QvBaseFCurve::FSBezierCubic);
  ASSERT_EQ(1, c.CreateKey(0.0, 0.0));
  ASSERT_EQ(1, c.CreateKey(3.0, 3.0));
  ASSERT_EQ(1, c.CreateKey(3.0, 7.0));
  EXPECT_EQ(2u, c.GetNumKeys());
  expect_point(P(2, 7), key(c, 1).leftHandle);
  expect_point(P(4, 7), key(c, 1).rightHandle);
}

TEST(CreateKey, DefaultTangentConstraintKeepsOnlyTheSlope) {
  struct Case {
    const char* name;
    QvBaseFCurve::KeySide side;
    P tangent;
    P stored;
  };
  // Keys at -3 and 0, both at value 0: stored handles sit at x = -2 and x = -1.
  const Case cases[] = {
      {"right, 1e-9 long: floor of 0.001", QvBaseFCurve::KeySideRight, P(1e-9, 1e-6), P(-2, 1e-3)},
      {"right, backwards within the floor", QvBaseFCurve::KeySideRight, P(-5e-4, 1e-6),
       P(-2, 1e-3)},
      {"right, backwards beyond the floor", QvBaseFCurve::KeySideRight, P(-0.25, 0.5),
       P(-2, -2)},
      {"right, steep: slope clamped", QvBaseFCurve::KeySideRight, P(1e-3, 1e3), P(-2, 1e5)},
      {"left, 1e-9 long: 0.001 instead", QvBaseFCurve::KeySideLeft, P(-1e-9, 1e-6), P(-1, 1e-3)},
      {"left, 2e-9 long: its own length", QvBaseFCurve::KeySideLeft, P(-2e-9, 1e-6), P(-1, 500)},
      {"left, steep: slope clamped", QvBaseFCurve::KeySideLeft, P(-1e-3, -1e3), P(-1, -1e5)},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    QvStdFCurve curve(0.0, QvBaseFCurve::FSBezierCubic);
    ASSERT_EQ(1, curve.CreateKey(-3.0, 0.0));
    ASSERT_EQ(1, curve.CreateKey(0.0, 0.0));
    ASSERT_EQ(1, curve.SetDefaultBezierTangentConstraint(1));
    const double at = c.side == QvBaseFCurve::KeySideRight ? -3.0 : 0.0;
    ASSERT_EQ(1, curve.SetKeyTgtHandle(at, c.side, c.tangent, 0.0));
    const QvStdFCurveKey& k = key(curve, c.side == QvBaseFCurve::KeySideRight ? 0 : 1);
    expect_point(c.stored, c.side == QvBaseFCurve::KeySideRight ? k.rightHandle : k.leftHandle);
  }
}

TEST(RepairCubic, ClampsThenShortensThenLaysHandlesAlong) {
  struct Case {
    const char* name;
    P p1, p2, want1, want2;
  };
  const double f7 = 0.9 * 0.9 * 0.9 * 0.9 * 0.9 * 0.9 * 0.9;
  const Case cases[] = {
      {"handles outside the span are clamped", P(-1, 1), P(5, 1), P(0, 1), P(3, 1)},
      {"valid handles stay", P(1, 4), P(2, -4), P(1, 4), P(2, -4)},
      {"overshoot shrinks by 0.9 until x turns back", P(6, 0), P(3, 0), P(6 * f7, 0), P(3, 0)},
      {"no factor helps: a third of the span", P(0, 0), P(-1000, 0), P(0, 0), P(2, 0)},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    P p1 = c.p1;
    P p2 = c.p2;
    qv::internal::repair_cubic(P(0, 0), p1, p2, P(3, 0));
    expect_point(c.want1, p1);
    expect_point(c.want2, p2);
    EXPECT_EQ(1, QvStdFCurve_IsCubicSegmentValid(P(0, 0), p1, p2, P(3, 0)));
  }
}

// Random curves of every segment kind, with jumps and some automatic keys: a key inserted by
// CreateNonModifyingKey must not move the curve anywhere.
TEST(CreateKey, NonModifyingKeyKeepsTheShape) {
  std::mt19937 rng(20261123);
  std::uniform_real_distribution<double> unit(0.0, 1.0);
  for (int round = 0; round < 60; ++round) {
    SCOPED_TRACE(round);
    QvStdFCurve c(0.0, QvBaseFCurve::FSBezierCubic);
    qv::test::fill_random(c, rng, 6);
    QvStdFCurveImpl& body = *c.GetImpl();
    for (QvULong i = 0; i < body.m_numKeys; ++i)
      if (unit(rng) < 0.3) body.Key(i).flags |= qv::internal::kFlagTangentAutomatic;
    const double first = body.Key(0).parameter;
    const double last = body.Key(body.m_numKeys - 1).parameter;
    std::vector<double> xs;
    for (int s = 0; s <= 400; ++s) xs.push_back(first - 0.5 + (last - first + 1.0) * s / 400.0);
    std::vector<double> before;
    for (double x : xs) before.push_back(c.Eval(x, 0));

    for (int insert = 0; insert < 3; ++insert) {
      const double x = first + (last - first) * unit(rng);
      ASSERT_EQ(1, c.CreateNonModifyingKey(x, 1));
      ASSERT_TRUE(qv::test::every_segment_valid(c));
    }
    for (std::size_t s = 0; s < xs.size(); ++s) {
      const double got = c.Eval(xs[s], 0);
      ASSERT_NEAR(before[s], got, 1e-6 * (1.0 + std::fabs(before[s]))) << "at " << xs[s];
    }
  }
}

// With handles at the thirds the parameter runs linearly along the cubic, so removing a key that
// split it stretches the halves' handles back exactly.
TEST(CreateKey, InsertThenRemoveRestoresAThirdsCubic) {
  QvStdFCurve c(P(0, 0), P(1, 2), P(2, -1), P(3, 0.5), QvBaseFCurve::FSBezierCubic,
                QvBaseFCurve::FSBezierCubic);
  ASSERT_EQ(2u, c.GetNumKeys());
  const double y = c.Eval(1.2, 0);
  ASSERT_EQ(1, c.CreateNonModifyingKey(1.2, 1));
  ASSERT_EQ(3u, c.GetNumKeys());
  EXPECT_DOUBLE_EQ(y, key(c, 1).leftValue);
  ASSERT_EQ(1, c.RemoveKey(1.2, 0.0));
  ASSERT_EQ(2u, c.GetNumKeys());
  EXPECT_NEAR(1.0, key(c, 0).rightHandle.x, 1e-9);
  EXPECT_NEAR(2.0, key(c, 0).rightHandle.y, 1e-9);
  EXPECT_NEAR(2.0, key(c, 1).leftHandle.x, 1e-9);
  EXPECT_NEAR(-1.0, key(c, 1).leftHandle.y, 1e-9);
}

TEST(CreateKey, NonModifyingKeyFoldsIntoTheCycleAndTakesTheValueOnAKey) {
  QvStdFCurve c(0.0, QvBaseFCurve::FSLinear);
  qv::test::append_key(c, 0.0, 0.0, QvBaseFCurve::FSLinear);
  qv::test::append_key(c, 1.0, 1.0, 3.0, QvBaseFCurve::FSLinear);
  qv::test::append_key(c, 2.0, 0.0, QvBaseFCurve::FSLinear);
  ASSERT_EQ(1, c.SetExtrapolationMethod(QvBaseFCurve::ExtrapolationCycle));
  ASSERT_EQ(1, c.CreateNonModifyingKey(4.5, 0));  // folds onto 0.5
  double p;
  ASSERT_EQ(1, c.GetKeyParameter(1, p));
  EXPECT_DOUBLE_EQ(0.5, p);
  // On a key the value that the curve has there, the right one, goes to both sides.
  ASSERT_EQ(1, c.CreateNonModifyingKey(1.0, 1));
  EXPECT_EQ(4u, c.GetNumKeys());
  EXPECT_EQ(3.0, key(c, 2).leftValue);
  EXPECT_EQ(3.0, key(c, 2).rightValue);
  EXPECT_EQ(0, QvStdFCurve().CreateNonModifyingKey(0.0, 1));
}

}  // namespace
