#include "curve_builder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <random>
#include <vector>

using qv::test::append_key;
using qv::test::fill_random;
using qv::test::set_extrapolation;
using Base = QvBaseFCurve;

namespace {

void expect_same_shape(const QvStdFCurve& want, const QvStdFCurve& got, double from, double to) {
  for (double x = from; x <= to; x += (to - from) / 97.0)
    ASSERT_NEAR(want.Eval(x, 0), got.Eval(x, 0), 1e-9) << x;
}

}  // namespace

// Splitting keeps the shape, so cutting a head or a tail leaves the rest as it was.
TEST(StdFCurveStretch, HeadsAndTails) {
  std::mt19937 rng(71);
  for (int trial = 0; trial < 8; ++trial) {
    SCOPED_TRACE(trial);
    QvStdFCurve curve;
    fill_random(curve, rng, 6);
    const QvStdFCurveImpl& body = *curve.GetImpl();
    const double f = body.Key(0).parameter;
    const double l = body.Key(5).parameter;
    const double a = f + (l - f) * 0.3;
    const double b = f + (l - f) * 0.8;
    QvStdFCurve head(curve), tail(curve);
    ASSERT_EQ(1, head.RemoveHead(a));
    ASSERT_EQ(1, tail.RemoveTail(b));
    double p = 0.0;
    ASSERT_EQ(1, head.GetSmallestKeyParameter(p));
    EXPECT_EQ(a, p);
    ASSERT_EQ(1, tail.GetLargestKeyParameter(p));
    EXPECT_EQ(b, p);
    expect_same_shape(curve, head, a + 1e-9, l);
    expect_same_shape(curve, tail, f, b - 1e-9);
    const QvStdFCurve stretch(curve, b, a);
    EXPECT_EQ(2u + static_cast<QvULong>(std::count_if(
                       body.m_keys, body.m_keys + 6,
                       [&](const QvStdFCurveKey& k) { return k.parameter > a && k.parameter < b; })),
              stretch.GetNumKeys());
    expect_same_shape(curve, stretch, a + 1e-9, b - 1e-9);
  }
  QvStdFCurve curve;
  append_key(curve, 0.0, 1.0, Base::FSLinear);
  append_key(curve, 1.0, 2.0, Base::FSLinear, qv::internal::kFlagValueLocked);
  append_key(curve, 2.0, 3.0, Base::FSLinear);
  EXPECT_EQ(1, curve.RemoveHead(-4.0));  // at or before the first key: nothing to do
  EXPECT_EQ(0, curve.RemoveHead(1.5));   // a locked key stands in the way
  EXPECT_EQ(0, curve.RemoveTail(0.5));
  EXPECT_EQ(3u, curve.GetNumKeys());
}

TEST(StdFCurveStretch, SnapShotKeepsTheAppearance) {
  std::mt19937 rng(73);
  for (int method = 1; method <= 4; ++method) {
    SCOPED_TRACE(method);
    QvStdFCurve curve;
    fill_random(curve, rng, 5, false, true);
    QvStdFCurveImpl& body = *curve.GetImpl();
    for (QvULong i = 0; i < 5; ++i) body.Key(i).rightValue = body.Key(i).leftValue;
    set_extrapolation(curve, static_cast<Base::ExtrapolationMethod>(method));
    const double f = body.Key(0).parameter;
    const double l = body.Key(4).parameter;
    const double from = f - 1.3 * (l - f);
    const double to = l + 2.2 * (l - f);
    std::unique_ptr<QvBaseFCurve> shot(curve.SnapShot(from, to, Base::ExtrapolationConstant));
    ASSERT_NE(nullptr, shot);
    double p = 0.0;
    ASSERT_EQ(1, shot->GetSmallestKeyParameter(p));
    EXPECT_NEAR(from, p, 1e-12);
    ASSERT_EQ(1, shot->GetLargestKeyParameter(p));
    EXPECT_NEAR(to, p, 1e-12);
    EXPECT_EQ(Base::ExtrapolationConstant, shot->GetExtrapolationMethod());
    for (double x = from; x <= to; x += (to - from) / 211.0) {
      const double want = curve.Eval(x, 0);
      ASSERT_NEAR(want, shot->Eval(x, 0), 1e-9 * (1.0 + std::fabs(want))) << x;
    }
  }
}

TEST(StdFCurveStretch, Resample) {
  QvStdFCurve curve(QvPoint2<double>(0, 0), QvPoint2<double>(1, 3), QvPoint2<double>(2, -1),
                    QvPoint2<double>(3, 1), Base::FSBezierCubic, Base::FSBezierCubic);
  QvStdFCurve kept(curve);
  ASSERT_EQ(1, kept.ResampleSequence(0.0, 3.0, 0.25, 1, 0));
  EXPECT_EQ(13u, kept.GetNumKeys());
  expect_same_shape(curve, kept, 0.0, 3.0);
  ASSERT_EQ(1, kept.ResampleSequence(0.0, 3.0, 10.0, 0, 0));
  EXPECT_EQ(2u, kept.GetNumKeys());  // a step beyond the span leaves the two ends
  QvStdFCurve inner(curve);
  ASSERT_EQ(1, inner.ResampleSequence(0.5, 2.5, 1.0, 0, 0));
  QvDoubleArray keys;
  ASSERT_EQ(5u, inner.GetAllKeyParameters(keys));
  EXPECT_EQ(1.5, keys[2]);
  EXPECT_EQ(0, inner.ResampleSequence(0.0, 3.0, 0.0, 0, 0));
}

TEST(StdFCurveStretch, Paste) {
  QvStdFCurve piece;
  append_key(piece, 10.0, 5.0, Base::FSLinear);
  append_key(piece, 11.0, 7.0, Base::FSLinear);
  append_key(piece, 12.0, 5.0, Base::FSLinear);
  struct Case {
    const char* name;
    double from, to;
    std::vector<double> xs, left, right;
  };
  const Case cases[] = {
      {"same length", 1.0, 3.0, {0, 1, 2, 3, 4}, {0, 1, 7, 5, 4}, {0, 5, 7, 3, 4}},
      {"longer piece", 1.0, 2.0, {0, 1, 2, 3, 4, 5}, {0, 1, 7, 5, 3, 4}, {0, 5, 7, 2, 3, 4}},
      {"at one place", 1.0, 1.0, {1, 2, 3, 4, 6}, {1, 7, 5, 2, 4}, {5, 7, 1, 2, 4}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    QvStdFCurve curve;
    for (int i = 0; i < 5; ++i) append_key(curve, i, i, Base::FSLinear);
    ASSERT_EQ(1, curve.Paste(piece, c.from, c.to));
    for (size_t i = 0; i < c.xs.size(); ++i) {
      EXPECT_EQ(c.left[i], curve.EvalLeft(c.xs[i], 0)) << c.xs[i];
      EXPECT_EQ(c.right[i], curve.Eval(c.xs[i], 0)) << c.xs[i];
    }
  }
  // Key user data comes with the pasted keys and moves with the tail.
  const _pmbUID id = {1, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11}};
  const unsigned char blob[] = {42};
  QvStdFCurve target;
  for (int i = 0; i < 5; ++i) append_key(target, i, i, Base::FSLinear);
  double at = 4.0;
  ASSERT_EQ(1, target.SetKeyUserData(at, id, blob, 1, 0.0));
  at = 11.0;
  ASSERT_EQ(1, piece.SetKeyUserData(at, id, blob, 1, 0.0));
  ASSERT_EQ(1, target.Paste(piece, 1.0, 2.0));
  EXPECT_EQ(0, target.HasUserData(4.0));
  EXPECT_EQ(1, target.HasUserData(5.0));
  EXPECT_EQ(1, target.HasUserData(2.0));

  QvStdFCurve locked;
  append_key(locked, 0.0, 0.0, Base::FSLinear);
  append_key(locked, 1.0, 1.0, Base::FSLinear);
  locked.GetImpl()->m_readOnly = 1;
  EXPECT_EQ(0, locked.Paste(piece, 0.0, 1.0));
  QvStdFCurve single;
  append_key(single, 3.0, 1.0, Base::FSLinear);
  locked.GetImpl()->m_readOnly = 0;
  EXPECT_EQ(0, locked.Paste(single, 0.0, 1.0));  // a piece of no length cannot fill a gap
  EXPECT_EQ(2u, locked.GetNumKeys());
}

// A cut takes the stretch out whole and closes the gap: left of the cut nothing changes, right of
// it the curve reads what stood the stretch's length further on.
TEST(StdFCurveStretch, CutClosesTheGap) {
  std::mt19937 rng(79);
  for (int trial = 0; trial < 8; ++trial) {
    SCOPED_TRACE(trial);
    QvStdFCurve curve;
    fill_random(curve, rng, 7);
    const QvStdFCurveImpl& body = *curve.GetImpl();
    const double f = body.Key(0).parameter;
    const double l = body.Key(6).parameter;
    const double a = f + (l - f) * 0.25;
    const double b = f + (l - f) * 0.6;
    QvStdFCurve cut(curve);
    QvStdFCurve out;
    ASSERT_EQ(1, cut.Cut(b, a, out));
    expect_same_shape(curve, out, a + 1e-9, b - 1e-9);
    double p = 0.0;
    ASSERT_EQ(1, out.GetSmallestKeyParameter(p));
    EXPECT_EQ(a, p);
    ASSERT_EQ(1, cut.GetLargestKeyParameter(p));
    EXPECT_NEAR(l - (b - a), p, 1e-12);
    for (double x = f; x < a; x += (a - f) / 13.0) ASSERT_NEAR(curve.Eval(x, 0), cut.Eval(x, 0), 1e-9);
    for (double x = a + 1e-6; x <= l - (b - a); x += (l - b) / 17.0)
      ASSERT_NEAR(curve.Eval(x + (b - a), 0), cut.Eval(x, 0), 1e-9) << x;
  }
  // Key user data of the tail moves with its key; the stretch's goes with the piece.
  const _pmbUID id = {1, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11}};
  const unsigned char blob[] = {42};
  QvStdFCurve curve;
  for (int i = 0; i < 6; ++i) append_key(curve, i, i * i, Base::FSLinear);
  for (double at : {2.0, 5.0}) ASSERT_EQ(1, curve.SetKeyUserData(at, id, blob, 1, 0.0));
  QvStdFCurve out;
  ASSERT_EQ(1, curve.Cut(1.0, 3.0, out));
  EXPECT_EQ(4u, curve.GetNumKeys());
  EXPECT_EQ(1.0, curve.EvalLeft(1.0, 0));
  EXPECT_EQ(9.0, curve.Eval(1.0, 0));
  EXPECT_EQ(1, curve.HasUserData(3.0));
  EXPECT_EQ(0, curve.HasUserData(5.0));
  EXPECT_EQ(1, out.HasUserData(2.0));
  // Refusals leave both curves alone.
  curve.GetImpl()->Key(2).flags |= qv::internal::kFlagParameterLocked;
  EXPECT_EQ(0, curve.Cut(0.5, 1.5, out));   // a parameter lock stands in the tail
  EXPECT_EQ(0, curve.Cut(1.0, 1.0, out));   // nothing to cut
  curve.GetImpl()->m_readOnly = 1;
  EXPECT_EQ(0, curve.Cut(3.5, 4.0, out));
  EXPECT_EQ(4u, curve.GetNumKeys());
  EXPECT_EQ(3u, out.GetNumKeys());
}

TEST(StdFCurveStretch, ReduceKeepsKeysOffTheLine) {
  QvStdFCurve curve;
  for (int i = 0; i <= 6; ++i) append_key(curve, i, 2.0 * std::min(i, 4), Base::FSLinear);
  QvStdFCurve loose(curve);
  EXPECT_EQ(3u, curve.ReduceNumKeys(0.1));  // the ends and the corner
  QvDoubleArray keys;
  curve.GetAllKeyParameters(keys);
  EXPECT_EQ(4.0, keys[1]);
  expect_same_shape(loose, curve, 0.0, 6.0);
  EXPECT_EQ(2u, loose.ReduceNumKeys(3.0));
  // Within a stretch only; a constant run of one level folds into its first key.
  QvStdFCurve steps;
  for (int i = 0; i <= 5; ++i) append_key(steps, i, i < 3 ? 1.0 : 4.0, Base::FSConstant);
  ASSERT_EQ(1, steps.ReduceNumKeys(0.0, 2.0, 0.0));
  EXPECT_EQ(5u, steps.GetNumKeys());
  EXPECT_EQ(1.0, steps.Eval(2.5, 0));
  EXPECT_EQ(4.0, steps.Eval(3.0, 0));
  steps.GetImpl()->m_readOnly = 1;
  EXPECT_EQ(0, steps.ReduceNumKeys(0.0, 5.0, 1.0));
}

// A dense cubic run comes down to a few keys that stay within the tolerance of the dense curve,
// measured by evaluating both between the keys; a value-locked key splits the run and stays.
TEST(StdFCurveStretch, ReduceThinsCubicRuns) {
  const double tolerance = 1e-3;
  QvPoint2dArray points;
  for (int i = 0; i <= 240; ++i) points.Add(i * 0.025, std::cos(i * 0.025) * std::exp(i * 0.005));
  const QvStdFCurve dense(points, QvStdFCurve::DPCatmullRom, 0.0, Base::FSBezierCubic,
                          Base::FSBezierCubic);
  ASSERT_EQ(241u, dense.GetNumKeys());
  QvStdFCurve reduced(dense);
  const QvULong left = reduced.ReduceNumKeys(tolerance);
  EXPECT_LT(left, 30u);
  EXPECT_GE(left, 3u);
  EXPECT_TRUE(reduced.GetImpl()->IsValid());
  double worst = 0.0;
  for (double x = 0.0; x <= 6.0; x += 0.0031)
    worst = std::max(worst, std::fabs(dense.Eval(x, 0) - reduced.Eval(x, 0)));
  EXPECT_LE(worst, tolerance * 1.05);  // the fit holds at the keys, and barely less between them

  QvStdFCurve locked(dense);
  locked.GetImpl()->Key(120).flags |= 0x0002;
  EXPECT_GT(locked.ReduceNumKeys(tolerance), left);
  EXPECT_EQ(1, locked.IsKeyParameter(3.0, 0.0));
}

TEST(StdFCurveStretch, ScaleAndOffsetASelection) {
  auto make = [] {
    QvStdFCurve curve;
    for (int i = 0; i <= 3; ++i) append_key(curve, i, 10.0 * i, Base::FSLinear);
    return curve;
  };
  // Keys [1, 2], closed unless `openFrom`, about `anchor`.
  auto stretch = [](QvStdFCurve& c, double anchor, double scale, double offset, int edge,
                    QvLong openFrom = 0) {
    return c.ScaleAndOffsetParameters(1.0, 2.0, anchor, scale, offset, openFrom, 0,
                                      static_cast<Base::RegionHandle>(edge));
  };
  QvStdFCurve curve = make();
  ASSERT_EQ(1, stretch(curve, 1.0, 1.5, 0.25, 4));
  QvDoubleArray keys;
  curve.GetAllKeyParameters(keys);
  EXPECT_EQ(1.25, keys[1]);
  EXPECT_EQ(2.75, keys[2]);
  EXPECT_EQ(20.0, curve.Eval(2.75, 0));
  QvStdFCurve values = make();
  ASSERT_EQ(1, stretch(values, 10.0, 2.0, 1.0, 8, 1));
  EXPECT_EQ(10.0, values.Eval(1.0, 0));  // open at `from`: the key there stays
  EXPECT_EQ(31.0, values.Eval(2.0, 0));
  // A key may not pass its neighbour, nor the axis turn over; other edges do nothing; a lock
  // holds its axis only.
  QvStdFCurve refused = make();
  EXPECT_EQ(0, stretch(refused, 1.0, 3.0, 0.0, 4));
  EXPECT_EQ(0, stretch(refused, 1.0, -1.0, 0.0, 2));
  EXPECT_EQ(0, stretch(refused, 1.0, 1.0, 0.1, 3));
  refused.GetImpl()->Key(1).flags |= qv::internal::kFlagParameterLocked;
  EXPECT_EQ(0, stretch(refused, 1.0, 1.0, 0.1, 2));
  EXPECT_EQ(1, stretch(refused, 1.0, 2.0, 0.0, 1));
  EXPECT_EQ(1.0, refused.GetImpl()->Key(1).parameter);
}
