#include <qv/QvStdFCurve.h>

#include "fcurve_edit/edit_support.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <random>

namespace {

using P = QvPoint2<double>;
using C = QvBaseFCurve;
using qv::test::state_of;

const QvStdFCurveKey& key(const QvStdFCurve& c, QvULong i) { return c.GetImpl()->Key(i); }

// Four cubic keys at 1, 2, 3 and 4 with handles inside their spans; the last segment linear so
// that the curve is not of one kind.
QvStdFCurve four_keys() {
  QvStdFCurve c(0.0, C::FSBezierCubic);
  const double values[] = {0.0, 2.0, -1.0, 1.0};
  for (int i = 0; i < 4; ++i) qv::test::append_key(c, 1.0 + i, values[i], C::FSBezierCubic);
  QvStdFCurveImpl& b = *c.GetImpl();
  for (QvULong i = 0; i + 1 < 4; ++i) {
    b.Key(i).rightHandle = P(b.Key(i).parameter + 0.3, b.Key(i).rightValue + 0.5);
    b.Key(i + 1).leftHandle = P(b.Key(i + 1).parameter - 0.3, b.Key(i + 1).leftValue + 0.2);
  }
  b.Key(2).segmentKind = C::FSLinear;
  return c;
}

using Edit = std::function<QvLong(QvStdFCurve&)>;

struct NamedEdit {
  const char* name;
  Edit edit;
  QvLong lockedBy = 0;  // the locks of key 1 that make the edit refuse
};

// Every mutator, aimed at key 1 (parameter 2) where it addresses a key. Each succeeds on a
// writable curve.
std::vector<NamedEdit> all_edits() {
  using S = QvStdFCurve;
  const QvLong value = C::KCValueLocked;
  const QvLong both = C::KCValueLocked | C::KCParameterLocked;
  const QvLong tangent = C::KCTangentDirectionLocked | C::KCTangentLengthLocked;
  return {
      {"CreateKey between", [](S& c) { return c.CreateKey(1.5, 3.0); }},
      {"CreateKey on key", [](S& c) { return c.CreateKey(2.0, 3.0); }, value},
      {"MergeAndCreateKey", [](S& c) { return c.MergeAndCreateKey(1.5, 2.5, 2, 3, 0, 0, 1); },
       both},
      {"CreateNonModifyingKey", [](S& c) { return c.CreateNonModifyingKey(1.5, 1); }},
      {"MergeAndCreateNonModifyingKey",
       [](S& c) { return c.MergeAndCreateNonModifyingKey(1.5, 2.5, 2.2, 0, 0, 0, 1); }, both},
      {"RemoveKey", [](S& c) { return c.RemoveKey(2.0, 0.0); }, both},
      {"RemoveKeys", [](S& c) { return c.RemoveKeys(1.5, 2.5, 0, 0); }, both},
      {"SetValueWhenNoKeys", [](S& c) { return c.SetValueWhenNoKeys(7.0); }},
      {"SetKeyValue right", [](S& c) { return c.SetKeyValue(2, C::KeySideRight, 5, 0); }, value},
      {"SetKeyValue left, by tolerance",
       [](S& c) { return c.SetKeyValue(2.1, C::KeySideLeft, 5, 0.2); }, value},
      {"AppendConstantSegment", [](S& c) { return c.AppendConstantSegment(P(5, 1)); }},
      {"AppendLinearSegment", [](S& c) { return c.AppendLinearSegment(P(5, 1)); }},
      {"AppendOrExtendLinear", [](S& c) { return c.AppendOrExtendLinearSegment(P(5, 1), 0.1); }},
      {"AppendBezierCubic",
       [](S& c) { return c.AppendBezierCubicSegment(P(4.3, 1), P(4.7, 1), P(5, 1)); }},
      {"SetKeyTgtHandle",
       [](S& c) { return c.SetKeyTgtHandle(2, C::KeySideRight, P(0.2, 1), 0); }, tangent},
      {"SetKeyTgtHandles",
       [](S& c) { return c.SetKeyTgtHandles(2, P(-0.2, 1), P(0.2, 1), 0); }, tangent},
      {"LockContinuity", [](S& c) { double p = 2; return c.LockTangentContinuity(p, 0); }},
      {"UnlockContinuity", [](S& c) { double p = 2; return c.UnlockTangentContinuity(p, 0); }},
      {"UnifyContinuity",
       [](S& c) { double p = 2; return c.UnifyAndLockTangentContinuity(p, C::KeySideLeft, 0); },
       tangent},
      {"LockLength", [](S& c) { double p = 1; return c.LockTangentLengthContinuity(p, 0, 1); }},
      {"UnlockLength", [](S& c) { double p = 1; return c.UnlockTangentLengthContinuity(p, 0, 1); }},
      {"UnifyLength",
       [](S& c) {
         double p = 2;
         return c.UnifyAndLockTangentLengthContinuity(p, C::KeySideLeft, 0, 1);
       },
       tangent},
      {"SetConstraint", [](S& c) { double p = 2; return c.SetConstraint(p, C::KCTangentFlat, 1, 0); }},
      {"SetConstraintAtIndex", [](S& c) { return c.SetConstraintAtIndex(1, C::KCTangentFlat, 1); }},
      {"FreezeAllTangents", [](S& c) { return c.FreezeAllTangents(C::KCTangentFlat); }},
      {"FreezeTangentsInInterval",
       [](S& c) { return c.FreezeTangentsInInterval(1.0, 3.0, 0, 0, C::KCTangentFlat); }},
      {"SetSegmentKind", [](S& c) { return c.SetSegmentKind(2, C::KeySideRight, C::FSConstant, 0); }},
      {"SetSegmentKindAtIndex",
       [](S& c) { return c.SetSegmentKindAtIndex(1, C::KeySideLeft, C::FSLinear); }},
      {"SetSegmentKindAtParameter",
       [](S& c) { return c.SetSegmentKindAtParameter(2.5, C::FSConstant); }},
      {"SetFirstSegmentKind", [](S& c) { return c.SetFirstSegmentKind(C::FSLinear); }},
      {"ConvertToUniform", [](S& c) { return c.ConvertToUniformSegmentKind(C::FSConstant); }},
      {"SetClampingValues", [](S& c) { return c.SetClampingValues(-1, 1); }},
      {"SetExtrapolation", [](S& c) { return c.SetExtrapolationMethod(C::ExtrapolationLinear); }},
      {"SetAsTimeFCurve", [](S& c) { return c.SetAsTimeFCurve(0); }},
  };
}

TEST(EditRefusal, ReadOnlyCurveRefusesEveryMutatorAndStaysAsItWas) {
  for (const NamedEdit& e : all_edits()) {
    SCOPED_TRACE(e.name);
    QvStdFCurve c = four_keys();
    QvStdFCurve writable = four_keys();
    EXPECT_EQ(1, e.edit(writable));
    ASSERT_EQ(1, c.SetReadOnlyConstraint(1));
    const qv::test::CurveState before = state_of(c);
    EXPECT_EQ(0, e.edit(c));
    EXPECT_TRUE(before == state_of(c));
  }
}

TEST(EditRefusal, LockedKeyRefusesWhatTheLockGuards) {
  for (const NamedEdit& e : all_edits()) {
    for (C::KeyConstraint lock : {C::KCParameterLocked, C::KCValueLocked,
                                  C::KCTangentDirectionLocked, C::KCTangentLengthLocked}) {
      if (!(e.lockedBy & lock)) continue;
      SCOPED_TRACE(::testing::Message() << e.name << ", lock " << lock);
      QvStdFCurve c = four_keys();
      ASSERT_EQ(1, c.SetConstraintAtIndex(1, lock, 1));
      const qv::test::CurveState before = state_of(c);
      EXPECT_EQ(0, e.edit(c));
      EXPECT_TRUE(before == state_of(c));
    }
  }
  // Removal and handle edits test their locks at the parameter as given, not at the key that the
  // tolerance then finds.
  QvStdFCurve c = four_keys();
  ASSERT_EQ(1, c.SetConstraintAtIndex(1, C::KCKeyLocked, 1));
  EXPECT_EQ(1, c.SetKeyTgtHandle(2.1, C::KeySideRight, P(0.2, 1), 0.2));
  EXPECT_EQ(1, c.RemoveKey(1.9, 0.2));
}

// A NaN compares false both ways, which a search can mistake for a hit in the middle of the keys.
TEST(EditRefusal, NotANumberAddressesNoKey) {
  const double nan = std::nan("");
  const _pmbUID id{1, 1, 1, {0, 0, 0, 0, 0, 0, 0, 0}};
  const NamedEdit cases[] = {
      {"RemoveKey", [nan](QvStdFCurve& c) { return c.RemoveKey(nan, 1.0); }},
      {"MergeAndCreateKey", [nan](QvStdFCurve& c) { return c.MergeAndCreateKey(nan, 3, 2, 1, 0, 0, 0); }},
      {"SetKeyTgtHandles, infinite request",
       [](QvStdFCurve& c) { return c.SetKeyTgtHandles(2.0, P(-1, 0), P(HUGE_VAL, 0), 0); }},
      {"SetKeyUserData",
       [nan, id](QvStdFCurve& c) { double p = nan; return c.SetKeyUserData(p, id, nullptr, 0, 1.0); }},
  };
  for (const NamedEdit& t : cases) {
    SCOPED_TRACE(t.name);
    QvStdFCurve c = four_keys();
    const qv::test::CurveState before = state_of(c);
    EXPECT_EQ(0, t.edit(c));
    EXPECT_TRUE(before == state_of(c));
    EXPECT_EQ(0, c.HasUserData());
  }
}

// Whatever a host does, no segment may end up with a cubic that cannot be inverted.
TEST(EditSequence, RandomEditsKeepEverySegmentInvertible) {
  std::mt19937 rng(6);
  std::uniform_real_distribution<double> where(-2.0, 12.0);
  std::uniform_real_distribution<double> value(-10.0, 10.0);
  std::uniform_real_distribution<double> reach(-8.0, 8.0);
  std::uniform_int_distribution<int> pick(0, 19);
  std::uniform_int_distribution<int> kind(1, 3);
  std::uniform_int_distribution<int> bit(0, 13);
  for (int round = 0; round < 20; ++round) {
    QvStdFCurve c(0.0, C::FSBezierCubic);
    qv::test::fill_random(c, rng, 5);
    for (int step = 0; step < 150; ++step) {
      const int op = pick(rng);
      const double x = where(rng);
      const QvULong n = c.GetNumKeys();
      double p = x;
      switch (op) {
        case 0: c.CreateKey(x, value(rng)); break;
        case 1: c.CreateNonModifyingKey(x, 1); break;
        case 2: c.RemoveKey(x, 1.0); break;
        case 3: c.SetKeyTgtHandles(x, P(reach(rng), value(rng)), P(reach(rng), value(rng)), 1.0); break;
        case 4: c.SetKeyTgtHandle(x, C::KeySideRight, P(reach(rng), value(rng)), 1.0); break;
        case 5: c.SetKeyValue(x, C::KeySideLeft, value(rng), 1.0); break;
        case 6: if (n) c.SetSegmentKindAtIndex(static_cast<QvULong>(step) % n, C::KeySideRight, static_cast<C::FSKind>(kind(rng))); break;
        case 7: c.SetConstraint(p, static_cast<C::KeyConstraint>(1 << bit(rng)), step % 3 != 0, 1.0); break;
        case 8: c.FreezeAllTangents(static_cast<C::KeyConstraint>(0xBC0)); break;
        case 9: c.MergeAndCreateKey(x, x + 1.5, x + 0.5, value(rng), 0, 0, 1); break;
        case 10: c.RemoveKeys(x, x + 2.0, 0, 1); break;
        case 11: c.AppendBezierCubicSegment(P(12.5, 1), P(12.8, 2), P(13, value(rng))); break;
        case 12: c.AppendOrExtendLinearSegment(P(13 + step, value(rng)), 0.5); break;
        case 13: c.UnifyAndLockTangentContinuity(p, C::KeySideLeft, 1.0); break;
        case 14: c.UnifyAndLockTangentLengthContinuity(p, C::KeySideRight, 1.0, 0.5); break;
        case 15: c.SetDefaultBezierTangentConstraint(step % 2); break;
        case 16: c.ConvertToUniformSegmentKind(static_cast<C::FSKind>(kind(rng))); break;
        case 17: c.MergeAndCreateNonModifyingKey(x, x + 1.0, x + 0.3, 1, 0, 0, 0); break;
        case 18: c.SetKeyTgtHandle(x, C::KeySideLeft, P(reach(rng), value(rng)), 1.0); break;
        default: c.AppendConstantSegment(P(14 + step, value(rng))); break;
      }
      ASSERT_TRUE(qv::test::every_segment_valid(c)) << "round " << round << " step " << step
                                                    << " op " << op;
    }
  }
}

TEST(TangentHandles, SetKeyTgtHandlesShortensAlongTheRequest) {
  QvStdFCurve c(0.0, C::FSBezierCubic);
  ASSERT_EQ(1, c.CreateKey(0.0, 0.0));
  ASSERT_EQ(1, c.CreateKey(3.0, 0.0));  // left handle of key 3 at (2, 0)
  ASSERT_EQ(0, c.SetKeyTgtHandle(0.0, C::KeySideRight, P(30, 30), 0.0));  // one test, no rescue
  ASSERT_EQ(1, c.SetKeyTgtHandles(0.0, P(-1, 0), P(30, 30), 0.0));
  // The first candidate inside the span is 0.99^230 of the request.
  double f = 1.0;
  for (int i = 0; i < 230; ++i) f *= 0.99;
  P right;
  P left;
  ASSERT_EQ(1, c.GetActualKeyTgtHandles(0.0, left, right, 0.0));
  EXPECT_DOUBLE_EQ(30 * f, right.x);
  EXPECT_DOUBLE_EQ(30 * f, right.y);

  const qv::test::CurveState before = state_of(c);
  EXPECT_EQ(0, c.SetKeyTgtHandles(0.0, P(-1, 0), P(1e10, 0), 0.0));  // beyond 1022 steps
  EXPECT_TRUE(before == state_of(c));
  EXPECT_EQ(1, c.SetKeyTgtHandle(3.0, C::KeySideRight, P(30, 30), 0.0));  // nothing to its right

  QvStdFCurve empty;
  EXPECT_EQ(1, empty.SetKeyTgtHandle(0.0, C::KeySideLeft, P(1, 1), 0.0));
  EXPECT_EQ(1, empty.SetKeyTgtHandles(0.0, P(1, 1), P(1, 1), 0.0));
}

// The tangent rides with the value, on the side that moved only; on the left it moves by the
// change of the value that arrives, which after a constant segment is the previous key's.
TEST(KeyValues, OnlyTheHandleOfTheMovedSideRides) {
  QvStdFCurve c = four_keys();
  const QvStdFCurveKey k = key(c, 1);
  ASSERT_EQ(1, c.SetKeyValue(2.0, C::KeySideRight, 5.0, 0.0));
  EXPECT_EQ(k.rightHandle.y + 3.0, key(c, 1).rightHandle.y);
  EXPECT_EQ(k.leftHandle.y, key(c, 1).leftHandle.y);
  ASSERT_EQ(1, c.SetSegmentKindAtIndex(0, C::KeySideRight, C::FSConstant));
  ASSERT_EQ(1, c.SetKeyValue(2.0, C::KeySideLeft, 4.0, 0.0));
  EXPECT_EQ(k.leftHandle.y + 4.0 - key(c, 0).rightValue, key(c, 1).leftHandle.y);
}

TEST(RemoveKey, EachPositionLeavesAWholeCurve) {
  {
    SCOPED_TRACE("the only key");
    QvStdFCurve c(3.0, C::FSBezierCubic);
    ASSERT_EQ(1, c.CreateKey(1.0, 9.0));
    ASSERT_EQ(1, c.SetValueWhenNoKeys(4.0));
    const _pmbUID id{1, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11}};
    ASSERT_EQ(1, c.SetFCurveUserData(id, nullptr, 0));
    ASSERT_EQ(1, c.RemoveKey(1.0, C::FSLinear, 0.0));
    EXPECT_EQ(0, c.HasUserData());  // the curve's own blobs go with the last key
    EXPECT_EQ(0u, c.GetNumKeys());
    EXPECT_EQ(4.0, c.Eval(1.0, 0));
    EXPECT_EQ(C::FSLinear, c.GetFirstSegmentKind());
    EXPECT_EQ(0, c.RemoveKey(1.0, 0.0));
  }
  {
    SCOPED_TRACE("the first: the next key loses its jump");
    QvStdFCurve c = four_keys();
    c.GetImpl()->Key(1).rightValue = 3.0;
    const double handle = key(c, 1).leftHandle.y;
    ASSERT_EQ(1, c.RemoveKey(1.0, C::FSConstant, 0.0));
    EXPECT_EQ(3.0, key(c, 0).leftValue);
    EXPECT_EQ(handle + 1.0, key(c, 0).leftHandle.y);
    EXPECT_EQ(3.0, c.GetImpl()->m_valueWhenNoKeys);
    EXPECT_EQ(C::FSConstant, c.GetFirstSegmentKind());
  }
  {
    SCOPED_TRACE("the last: the previous key takes the kind");
    QvStdFCurve c = four_keys();
    ASSERT_EQ(1, c.RemoveKey(4.0, C::FSConstant, 0.0));
    EXPECT_EQ(3u, c.GetNumKeys());
    EXPECT_EQ(C::FSConstant, key(c, 2).segmentKind);
  }
  {
    SCOPED_TRACE("interior: the facing handles stretch over the new span");
    QvStdFCurve c = four_keys();
    ASSERT_EQ(1, c.RemoveKey(2.0, 0.0));
    // Right handle of key 1 was 0.3 long over a span of 1; the span is now 2.
    EXPECT_DOUBLE_EQ(1.6, key(c, 0).rightHandle.x);
    EXPECT_DOUBLE_EQ(1.0, key(c, 0).rightHandle.y);
    EXPECT_DOUBLE_EQ(2.4, key(c, 1).leftHandle.x);
    EXPECT_DOUBLE_EQ(-0.6, key(c, 1).leftHandle.y);
    EXPECT_TRUE(qv::test::every_segment_valid(c));
  }
}

TEST(RemoveKeys, IntervalsAndMergesCarryUserData) {
  const _pmbUID id{1, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11}};
  const unsigned char blob = 42;
  auto tagged = [&] {
    QvStdFCurve c = four_keys();
    for (double p : {1.0, 2.0, 3.0, 4.0}) EXPECT_EQ(1, c.SetKeyUserData(p, id, &blob, 1, 0.0));
    EXPECT_EQ(1, c.SetFCurveUserData(id, &blob, 1));
    return c;
  };
  QvStdFCurve c = tagged();
  ASSERT_EQ(1, c.RemoveKeys(2.0, 3.0, 0, 1));  // 3 lies on the open end
  EXPECT_EQ(3u, c.GetNumKeys());
  EXPECT_EQ(0, c.HasUserData(2.0));
  EXPECT_EQ(1, c.HasUserData(3.0));
  ASSERT_EQ(1, c.RemoveKeys(0.0, 9.0, C::FSLinear, 0, 0));
  EXPECT_EQ(0u, c.GetNumKeys());
  EXPECT_EQ(0, c.HasUserData());
  EXPECT_EQ(C::FSLinear, c.GetFirstSegmentKind());

  QvStdFCurve keep = tagged();
  ASSERT_EQ(1, keep.MergeAndCreateKey(1.5, 3.5, 2.0, 9.0, 0, 0, 1));
  EXPECT_EQ(3u, keep.GetNumKeys());
  EXPECT_EQ(9.0, key(keep, 1).rightValue);
  EXPECT_EQ(1, keep.HasUserData(2.0));
  EXPECT_EQ(0, keep.HasUserData(3.0));

  QvStdFCurve all = tagged();
  ASSERT_EQ(1, all.MergeAndCreateKey(0.0, 9.0, 5.0, 1.0, C::FSConstant, C::FSLinear, 0, 0, 1));
  EXPECT_EQ(1u, all.GetNumKeys());
  EXPECT_EQ(C::FSConstant, all.GetFirstSegmentKind());
  EXPECT_EQ(C::FSLinear, key(all, 0).segmentKind);
  EXPECT_EQ(0, all.HasUserData());
}

TEST(AppendFamily, SegmentsOfEachKind) {
  QvStdFCurve empty;
  EXPECT_EQ(0, empty.AppendConstantSegment(P(1, 1)));
  EXPECT_EQ(0, empty.AppendLinearSegment(P(1, 1)));

  QvStdFCurve c(0.0, C::FSBezierCubic);
  ASSERT_EQ(1, c.CreateKey(0.0, 1.0));
  EXPECT_EQ(0, c.AppendLinearSegment(P(0, 2)));  // not after the last key
  ASSERT_EQ(1, c.AppendConstantSegment(P(1, 5)));
  EXPECT_EQ(C::FSConstant, key(c, 0).segmentKind);
  EXPECT_EQ(1.0, key(c, 1).leftValue);
  EXPECT_EQ(5.0, key(c, 1).rightValue);
  EXPECT_EQ(1.0, c.EvalLeft(1.0, 0));

  ASSERT_EQ(1, c.AppendLinearSegment(P(2, 7)));
  EXPECT_EQ(C::FSLinear, key(c, 1).segmentKind);
  // On the line through the last two keys: the last key moves, with its user data.
  const _pmbUID id{9, 9, 9, {0, 0, 0, 0, 0, 0, 0, 0}};
  double p = 2.0;
  ASSERT_EQ(1, c.SetKeyUserData(p, id, nullptr, 0, 0.0));
  ASSERT_EQ(1, c.AppendOrExtendLinearSegment(P(3, 9.05), 0.1));
  EXPECT_EQ(3u, c.GetNumKeys());
  EXPECT_EQ(3.0, key(c, 2).parameter);
  EXPECT_EQ(9.0, key(c, 2).rightValue);
  EXPECT_EQ(1, c.HasUserData(3.0));
  ASSERT_EQ(1, c.AppendOrExtendLinearSegment(P(4, 20), 0.1));  // off the line: a new key
  EXPECT_EQ(4u, c.GetNumKeys());

  EXPECT_EQ(0, c.AppendBezierCubicSegment(P(6, 20), P(4.5, 20), P(5, 20)));  // x overshoots
  ASSERT_EQ(1, c.AppendBezierCubicSegment(P(4.2, 21), P(4.8, 19), P(5, 20)));
  EXPECT_EQ(C::FSBezierCubic, key(c, 3).segmentKind);
  EXPECT_EQ(1, key(c, 3).flags & 1);  // a collapsed left handle meets any right handle smoothly
  // Tangents that disagree lock nothing, and unlock nothing either.
  ASSERT_EQ(1, c.AppendBezierCubicSegment(P(5.2, 25), P(5.8, 20), P(6, 20)));
  EXPECT_EQ(1, key(c, 4).flags & 1);
  EXPECT_TRUE(qv::test::every_segment_valid(c));
}

TEST(Continuity, LocksOnlyWhatIsSmoothAndUnifiesTheRest) {
  QvStdFCurve c = four_keys();  // key 2 sits between cubics with a kink
  for (QvULong i = 0; i < 4; ++i) c.GetImpl()->Key(i).flags = 0;
  double p = 2.0;
  EXPECT_EQ(0, c.LockTangentContinuity(p, 0.0));
  p = 3.9;
  EXPECT_EQ(1, c.LockTangentContinuity(p, 0.2));  // an end key locks at once
  EXPECT_EQ(4.0, p);

  p = 2.05;
  ASSERT_EQ(1, c.UnifyAndLockTangentContinuity(p, C::KeySideLeft, 0.1));
  EXPECT_EQ(2.0, p);
  P left;
  P right;
  ASSERT_EQ(1, c.GetActualKeyTgtHandles(2.0, left, right, 0.0));
  EXPECT_NEAR(0.0, left.x * right.y - left.y * right.x, 1e-12);
  EXPECT_NEAR(std::hypot(0.3, 0.5), std::hypot(right.x, right.y), 1e-12);  // keeps its length
  EXPECT_EQ(1, c.IsTangentContinuityLocked(p, 0.0));

  p = 2.0;
  EXPECT_EQ(0, c.LockTangentLengthContinuity(p, 0.0, 1.0));
  ASSERT_EQ(1, c.UnifyAndLockTangentLengthContinuity(p, C::KeySideLeft, 0.0, 2.0));
  ASSERT_EQ(1, c.GetActualKeyTgtHandles(2.0, left, right, 0.0));
  EXPECT_NEAR(std::hypot(left.x, 2 * left.y), std::hypot(right.x, 2 * right.y), 1e-12);
  EXPECT_EQ(1, c.IsTangentLengthContinuityLocked(p, 0.0));
  EXPECT_EQ(1, c.UnlockTangentLengthContinuity(p, 0.0, 2.0));
  EXPECT_EQ(0, c.IsTangentLengthContinuityLocked(p, 0.0));
}

TEST(Constraints, BitsOfTheKeyLockAndTheLinearAliases) {
  QvStdFCurve c = four_keys();
  double p = 2.0;
  ASSERT_EQ(1, c.SetConstraint(p, C::KCKeyLocked, 1, 0.0));
  QvLong on = 0;
  ASSERT_EQ(1, c.GetConstraint(p, C::KCValueLocked, on, 0.0));
  EXPECT_EQ(1, on);
  ASSERT_EQ(1, c.SetConstraintAtIndex(2, C::KCTangentLinearAlternate, 1));
  EXPECT_EQ(1, c.GetConstraintAtIndex(2, C::KCTangentLinear));
}

TEST(Freeze, StoredHandlesBecomeTheEvaluatedOnes) {
  QvStdFCurve c = four_keys();
  // Flat and automatic are not combined: a flat handle reports its stored x while evaluation
  // would take the third.
  for (QvULong i : {0u, 2u, 3u}) ASSERT_EQ(1, c.SetConstraintAtIndex(i, C::KCTangentAutomatic, 1));
  ASSERT_EQ(1, c.SetConstraintAtIndex(1, C::KCTangentFlat, 1));
  std::vector<double> before;
  for (int s = 0; s <= 60; ++s) before.push_back(c.Eval(0.5 + s * 0.07, 0));
  ASSERT_EQ(1, c.FreezeAllTangents(C::KCTangentFlat));  // automatic stays on, frozen
  for (double p : {1.0, 2.0, 3.0, 4.0}) {
    SCOPED_TRACE(p);
    P al, ar, el, er;
    ASSERT_EQ(1, c.GetActualKeyTgtHandles(p, al, ar, 0.0));
    ASSERT_EQ(1, c.GetEvaluatedKeyTgtHandles(p, el, er, 0.0));
    EXPECT_TRUE(al == el);
    EXPECT_TRUE(ar == er);
  }
  EXPECT_EQ(0, c.GetConstraintAtIndex(1, C::KCTangentFlat));
  for (int s = 0; s <= 60; ++s) EXPECT_NEAR(before[s], c.Eval(0.5 + s * 0.07, 0), 1e-9);
}

TEST(SegmentKinds, CubicGetsStraightHandlesWhenItsOwnAreInvalid) {
  QvStdFCurve c(0.0, C::FSLinear);
  qv::test::append_key(c, 0.0, 0.0, C::FSLinear);
  qv::test::append_key(c, 3.0, 3.0, C::FSLinear);
  c.GetImpl()->Key(0).rightHandle = P(5, 0);  // overshoots: not a valid cubic
  ASSERT_EQ(1, c.SetSegmentKind(0.0, C::KeySideRight, C::FSBezierCubic, 0.0));
  EXPECT_TRUE(key(c, 0).rightHandle == P(1, 1));
  EXPECT_TRUE(key(c, 1).leftHandle == P(2, 2));
  EXPECT_NEAR(1.5, c.Eval(1.5, 0), 1e-9);

  EXPECT_EQ(0, c.SetSegmentKindAtParameter(-5.0, C::FSConstant));  // no key at or before
  EXPECT_EQ(0, QvStdFCurve().SetSegmentKindAtParameter(0.0, C::FSConstant));
  ASSERT_EQ(1, c.SetSegmentKindAtIndex(0, static_cast<C::KeySide>(3), C::FSConstant));
  EXPECT_EQ(C::FSConstant, key(c, 0).segmentKind);  // any side but the left is the right

  // A smooth key keeps its tangent: the new cubic's handle there turns to follow the left one,
  // at the length of the straight handle.
  c.GetImpl()->Key(0).leftHandle = P(-1, 0);
  c.GetImpl()->Key(0).rightHandle = P(5, 0);
  ASSERT_EQ(1, c.SetSegmentKindAtIndex(0, C::KeySideRight, C::FSBezierCubic));
  EXPECT_TRUE(key(c, 0).rightHandle == P(std::sqrt(2.0), 0));
  EXPECT_TRUE(key(c, 0).leftHandle == P(-1, 0));
  EXPECT_TRUE(key(c, 1).leftHandle == P(2, 2));  // a collapsed right handle goes with anything

  ASSERT_EQ(1, c.SetReadOnlyConstraint(1));
  EXPECT_EQ(0, c.ConvertToUniformSegmentKind(C::FSConstant));  // key 1 is still linear
}

}  // namespace
