#include <qv/QvRawFCurve.h>
#include <qv/QvStdFCurve.h>
#include <qv/QvTransfo4.h>

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <utility>
#include <vector>

namespace {

using Keys = std::vector<std::pair<double, double>>;

Keys keys_of(const QvRawFCurve& c) {
  QvDoubleArray t;
  QvDoubleArray left;
  QvDoubleArray right;
  c.GetKeys(t, left, right, 0);
  Keys out;
  for (QvULong i = 0; i < t.size; ++i) out.emplace_back(t[i], left[i]);
  return out;
}

QvRawFCurve curve_of(const Keys& keys) {
  QvRawFCurve c(0.0);
  for (const auto& k : keys) c.CreateKey(k.first, k.second);
  return c;
}

const _pmbUID kTag = {0x1234u, 1, 2, {1, 2, 3, 4, 5, 6, 7, 8}};

void tag_key(QvRawFCurve& c, double t, unsigned char byte) {
  ASSERT_EQ(1, c.SetKeyUserData(t, kTag, &byte, 1, 0.0));
}

// The byte hung on the key at exactly t, or -1.
int tag_at(const QvRawFCurve& c, double t) {
  const unsigned char* data = nullptr;
  QvULong size = 0;
  if (c.GetKeyUserData(t, kTag, data, size, 0.0) == 0 || size != 1) return -1;
  return data[0];
}

}  // namespace

TEST(RawCurveEdit, AppendingSamples) {
  QvRawFCurve empty(3.0);
  EXPECT_EQ(0, empty.AppendLinearSegment({1.0, 1.0}));
  EXPECT_EQ(0, empty.AppendOrExtendLinearSegment({1.0, 1.0}, 1.0));
  EXPECT_EQ(0u, empty.GetNumKeys());

  QvRawFCurve c(0.0, 0.0);
  EXPECT_EQ(1, c.AppendOrExtendLinearSegment({1.0, 5.0}, 100.0));  // one key: always appended
  EXPECT_EQ(0, c.AppendLinearSegment({1.0, 2.0}));                 // not beyond the last key
  EXPECT_EQ(1, c.AppendOrExtendLinearSegment({2.0, 10.3}, 0.5));
  // Within reach of the line the key slides along it and takes the line's value.
  EXPECT_EQ((Keys{{0, 0}, {2, 10}}), keys_of(c));
  EXPECT_EQ(1, c.AppendOrExtendLinearSegment({3.0, 20.0}, 0.5));
  EXPECT_EQ((Keys{{0, 0}, {2, 10}, {3, 20}}), keys_of(c));
  c.SetReadOnlyConstraint(1);
  EXPECT_EQ(0, c.AppendLinearSegment({4.0, 0.0}));
  EXPECT_EQ(3u, c.GetNumKeys());
}

TEST(RawCurveEdit, ReadOnlyRefusesEveryEdit) {
  const Keys start = {{0, 0}, {1, 1}, {2, 4}, {3, 9}};
  const QvRawFCurve other = curve_of({{0, 1}, {1, 2}});
  const double kernel[3] = {0.25, 0.5, 0.25};
  using Edit = std::function<QvLong(QvRawFCurve&)>;
  const std::pair<const char*, Edit> edits[] = {
      {"CreateKey", [](QvRawFCurve& c) { return c.CreateKey(0.5, 7.0); }},
      {"CreateNonModifyingKey", [](QvRawFCurve& c) { return c.CreateNonModifyingKey(0.5, 0); }},
      {"MergeAndCreateKey", [](QvRawFCurve& c) { return c.MergeAndCreateKey(0, 2, 1, 5, 0, 0, 0); }},
      {"RemoveKey", [](QvRawFCurve& c) { return c.RemoveKey(1.0, 0.0); }},
      {"RemoveKeys", [](QvRawFCurve& c) { return c.RemoveKeys(0.0, 2.0, 0, 0); }},
      {"RemoveHead", [](QvRawFCurve& c) { return c.RemoveHead(1.5); }},
      {"RemoveTail", [](QvRawFCurve& c) { return c.RemoveTail(1.5); }},
      {"ShiftParameters", [](QvRawFCurve& c) { return c.ShiftParameters(1.0); }},
      {"ScaleParameterAxis", [](QvRawFCurve& c) { return c.ScaleParameterAxis(2.0); }},
      {"ShiftValues", [](QvRawFCurve& c) { return c.ShiftValues(1.0); }},
      {"ScaleAndShiftValues", [](QvRawFCurve& c) { return c.ScaleAndShiftValues(2.0, 1.0); }},
      {"MirrorValues", [](QvRawFCurve& c) { return c.MirrorValues(); }},
      {"MirrorParameters", [](QvRawFCurve& c) { return c.MirrorParameters(); }},
      {"Append", [&](QvRawFCurve& c) { return c.Append(other); }},
      {"Paste", [&](QvRawFCurve& c) { return c.Paste(other, 1.0, 2.0); }},
      {"ReduceNumKeys", [](QvRawFCurve& c) { return static_cast<QvLong>(c.ReduceNumKeys(9.0)); }},
      {"ReduceNumKeys range", [](QvRawFCurve& c) { return c.ReduceNumKeys(0.0, 3.0, 9.0); }},
      {"ResampleSequence", [](QvRawFCurve& c) { return c.ResampleSequence(0, 3, 0.5, 0, 0); }},
      {"SmoothSequence", [&](QvRawFCurve& c) { return c.SmoothSequence(0, 3, kernel, 3); }},
      {"AppendLinearSegment", [](QvRawFCurve& c) { return c.AppendLinearSegment({5, 5}); }},
      {"SetExtrapolationMethod",
       [](QvRawFCurve& c) { return c.SetExtrapolationMethod(QvBaseFCurve::ExtrapolationLinear); }},
  };
  for (const auto& edit : edits) {
    SCOPED_TRACE(edit.first);
    QvRawFCurve c = curve_of(start);
    c.SetReadOnlyConstraint(1);
    EXPECT_EQ(0, edit.second(c));
    EXPECT_EQ(start, keys_of(c));
    EXPECT_EQ(QvBaseFCurve::ExtrapolationConstant, c.GetExtrapolationMethod());
  }
  QvRawFCurve c = curve_of(start);
  c.SetReadOnlyConstraint(1);
  EXPECT_EQ(0, c.SetValueWhenNoKeys(3.0));
  // Key values stay editable; only the key list is frozen.
  EXPECT_EQ(1, c.SetKeyValue(1.0, QvBaseFCurve::KeySideLeft, 6.0, 0.0));
  EXPECT_EQ(6.0, c.Eval(1.0, 0));
  EXPECT_EQ(1, c.SetReadOnlyConstraint(0));
  EXPECT_EQ(1, c.CreateKey(0.5, 7.0));
}

TEST(RawCurveEdit, CreateMergeAndRemoveKeys) {
  QvRawFCurve c(1.0);
  ASSERT_EQ(1, c.CreateKey(2.0, 5.0));
  EXPECT_EQ(5.0, c.Eval(-10.0, 0));
  EXPECT_EQ(1, c.CreateKey(2.0, 6.0));  // replaces
  EXPECT_EQ(1, c.CreateKey(0.0, 0.0));  // inserts before
  EXPECT_EQ((Keys{{0, 0}, {2, 6}}), keys_of(c));
  // A key that keeps the shape; under a cycle the parameter is folded into the keys first.
  EXPECT_EQ(1, c.CreateNonModifyingKey(1.0, 0));
  c.SetExtrapolationMethod(QvBaseFCurve::ExtrapolationCycle);
  EXPECT_EQ(1, c.CreateNonModifyingKey(3.5, 0));
  EXPECT_EQ((Keys{{0, 0}, {1, 3}, {1.5, 4.5}, {2, 6}}), keys_of(c));

  struct Merge {
    const char* name;
    double from, to, t, v;
    QvLong keepFrom, keepTo;
    Keys want;
  };
  const Keys five = {{0, 0}, {1, 1}, {2, 2}, {3, 3}, {4, 4}};
  const Merge merges[] = {
      {"both ends go", 1, 3, 2.5, 9, 0, 0, {{0, 0}, {2.5, 9}, {4, 4}}},
      {"from stays", 1, 3, 2.5, 9, 1, 0, {{0, 0}, {1, 1}, {2.5, 9}, {4, 4}}},
      {"to stays", 1, 3, 2.5, 9, 0, 1, {{0, 0}, {2.5, 9}, {3, 3}, {4, 4}}},
      {"one key at t is a plain set", 1.5, 2.5, 2, 9, 0, 0, {{0, 0}, {1, 1}, {2, 9}, {3, 3}, {4, 4}}},
      {"empty range inserts", 1.2, 1.8, 1.5, 9, 0, 0,
       {{0, 0}, {1, 1}, {1.5, 9}, {2, 2}, {3, 3}, {4, 4}}},
  };
  for (const Merge& m : merges) {
    SCOPED_TRACE(m.name);
    QvRawFCurve k = curve_of(five);
    EXPECT_EQ(1, k.MergeAndCreateKey(m.from, m.to, m.t, m.v, m.keepFrom, m.keepTo, 0));
    EXPECT_EQ(m.want, keys_of(k));
  }
  QvRawFCurve all = curve_of(five);
  ASSERT_EQ(1, all.MergeAndCreateKey(-1, 5, 2, 8, 0, 0, 0));
  EXPECT_EQ((Keys{{2, 8}}), keys_of(all));
  // Keeping user data takes the set of the removed key nearest to the new one.
  QvRawFCurve kept = curve_of(five);
  tag_key(kept, 2.0, 42);
  tag_key(kept, 3.0, 43);
  ASSERT_EQ(1, kept.MergeAndCreateKey(1.5, 3.5, 2.4, 0.0, 0, 0, 1));
  EXPECT_EQ(42, tag_at(kept, 2.4));
  EXPECT_EQ(0, kept.HasUserData(3.0));

  QvRawFCurve r = curve_of(five);
  EXPECT_EQ(0, r.RemoveKey(2.5, 0.1));
  EXPECT_EQ(1, r.RemoveKey(2.05, 0.1));
  EXPECT_EQ(1, r.RemoveKeys(0.0, 3.0, 1, 0));  // key 0 stays
  EXPECT_EQ((Keys{{0, 0}, {4, 4}}), keys_of(r));
  QvRawFCurve same = curve_of(five);
  EXPECT_EQ(1, same.RemoveKeys(2.0, 2.0, 1, 0));  // the flags differ on one point: the key goes
  EXPECT_EQ(4u, same.GetNumKeys());
  QvRawFCurve none(0.0);
  EXPECT_EQ(1, none.RemoveKey(3.0, 0.0));
  QvRawFCurve only(1.0, 2.0);
  tag_key(only, 1.0, 7);
  EXPECT_EQ(1, only.RemoveKey(1.0, 0.0));
  EXPECT_EQ(0u, only.GetNumKeys());
  EXPECT_EQ(0, only.HasUserData());
}

TEST(RawCurveEdit, HeadTailAndRangeCopies) {
  const QvRawFCurve c = curve_of({{0, 0}, {1, 10}, {2, 20}, {3, 30}});
  QvRawFCurve head(c);
  EXPECT_EQ(1, head.RemoveHead(1.5));
  EXPECT_EQ((Keys{{1.5, 15}, {2, 20}, {3, 30}}), keys_of(head));
  QvRawFCurve tail(c);
  EXPECT_EQ(1, tail.RemoveTail(0.5));
  EXPECT_EQ((Keys{{0, 0}, {0.5, 5}}), keys_of(tail));
  // A key already at the cut counts as the cut made.
  QvRawFCurve at_key(c);
  EXPECT_EQ(1, at_key.RemoveHead(2.0));
  EXPECT_EQ(4u, at_key.GetNumKeys());

  EXPECT_EQ((Keys{{1, 10}, {2, 20}}), keys_of(QvRawFCurve(c, 1.0, 2.0)));
  EXPECT_EQ((Keys{{0.5, 5}, {1, 10}, {2, 20}, {2.5, 25}}), keys_of(QvRawFCurve(c, 0.5, 2.5)));
  EXPECT_EQ(keys_of(c), keys_of(QvRawFCurve(c, -5.0, 9.0)));
}

TEST(RawCurveEdit, ReductionDropsKeysOnTheLine) {
  QvRawFCurve straight(0.0, 1.0);
  for (int i = 1; i < 100; ++i) straight.AppendLinearSegment({i * 0.5, 1.0 + i * 0.25});
  EXPECT_EQ(98u, straight.ReduceNumKeys(1e-9));
  EXPECT_EQ((Keys{{0, 1}, {49.5, 25.75}}), keys_of(straight));

  // The line stays that of the first pair: a slow bend is caught once it strays from it.
  const Keys bend = {{0, 0}, {1, 1}, {2, 2.05}, {3, 3.15}, {4, 4.3}};
  QvRawFCurve b = curve_of(bend);
  EXPECT_EQ(2u, b.ReduceNumKeys(0.1));
  EXPECT_EQ((Keys{{0, 0}, {2, 2.05}, {4, 4.3}}), keys_of(b));

  QvPoint2dArray points;
  for (const auto& k : bend) points.Add(k.first, k.second);
  EXPECT_EQ(keys_of(b), keys_of(QvRawFCurve(points, 0.1)));
  EXPECT_EQ(bend, keys_of(QvRawFCurve(points, 0.0)));

  QvRawFCurve zigzag = curve_of({{0, 0}, {1, 1}, {2, 0}, {3, 1}});
  EXPECT_EQ(0u, zigzag.ReduceNumKeys(0.5));
  // The range form works between keys made at its ends and leaves the rest alone.
  QvRawFCurve part = curve_of({{0, 0}, {1, 1}, {2, 2}, {3, 3}, {4, 9}, {5, 0}});
  EXPECT_EQ(1, part.ReduceNumKeys(0.5, 3.5, 1e-9));
  EXPECT_EQ((Keys{{0, 0}, {0.5, 0.5}, {3, 3}, {3.5, 6}, {4, 9}, {5, 0}}), keys_of(part));
}

TEST(RawCurveEdit, ResampleAndSmooth) {
  QvRawFCurve c = curve_of({{0, 0}, {0.25, 5}, {1, 8}});
  QvRawFCurve keep(c);
  ASSERT_EQ(1, c.ResampleSequence(0.0, 1.0, 0.5, 0, 0));
  EXPECT_EQ((Keys{{0, 0}, {0.5, 6}, {1, 8}}), keys_of(c));
  ASSERT_EQ(1, keep.ResampleSequence(0.0, 1.0, 0.5, 1, 0));
  EXPECT_EQ((Keys{{0, 0}, {0.25, 5}, {0.5, 6}, {1, 8}}), keys_of(keep));
  // A grid point within 1e-7 of a key takes that key as its sample.
  QvRawFCurve near = curve_of({{0, 0}, {0.50000001, 3}, {1, 8}});
  ASSERT_EQ(1, near.ResampleSequence(0.0, 1.0, 0.5, 0, 0));
  EXPECT_EQ((Keys{{0, 0}, {0.50000001, 3}, {1, 8}}), keys_of(near));
  EXPECT_EQ(0, keep.ResampleSequence(0.0, 1.0, 0.0, 1, 0));

  const double kernel[3] = {0.25, 0.5, 0.25};
  QvRawFCurve spike = curve_of({{0, 0}, {1, 0}, {2, 4}, {3, 0}, {4, 0}});
  ASSERT_EQ(1, spike.SmoothSequence(0.0, 4.0, kernel, 3));
  EXPECT_EQ((Keys{{0, 0}, {1, 1}, {2, 2}, {3, 1}, {4, 0}}), keys_of(spike));
  // At the ends of the range the filter is cut short and not renormalised.
  QvRawFCurve flat = curve_of({{0, 4}, {1, 4}, {2, 4}, {3, 4}});
  ASSERT_EQ(1, flat.SmoothSequence(1.0, 3.0, kernel, 3));
  EXPECT_EQ((Keys{{0, 4}, {1, 3}, {2, 4}, {3, 3}}), keys_of(flat));
  QvRawFCurve short_range = curve_of({{0, 4}, {1, 0}});
  ASSERT_EQ(1, short_range.SmoothSequence(0.0, 1.0, kernel, 3));
  EXPECT_EQ((Keys{{0, 4}, {1, 0}}), keys_of(short_range));
}

TEST(RawCurveEdit, WholeCurveMoves) {
  QvRawFCurve c = curve_of({{0, 1}, {1, 2}, {3, 5}});
  tag_key(c, 1.0, 9);
  ASSERT_EQ(1, c.ShiftParameters(2.0));
  EXPECT_EQ(9, tag_at(c, 3.0));
  ASSERT_EQ(1, c.ScaleParameterAxis(0.5));
  EXPECT_EQ(9, tag_at(c, 1.5));
  EXPECT_EQ((Keys{{1, 1}, {1.5, 2}, {2.5, 5}}), keys_of(c));
  EXPECT_EQ(0, c.ScaleParameterAxis(-1.0));
  EXPECT_EQ((Keys{{1, 1}, {1.5, 2}, {2.5, 5}}), keys_of(c));

  QvRawFCurve m = curve_of({{0, 1}, {1, 2}, {3, 5}});
  ASSERT_EQ(1, m.MirrorParameters());
  EXPECT_EQ((Keys{{0, 5}, {2, 2}, {3, 1}}), keys_of(m));
  QvBaseFCurve::FCurveInfo info{};
  info.mask = 4;
  m.GetFCurveInfo(&info);
  EXPECT_EQ(5.0, info.valueWhenNoKeys);  // the old last value
  ASSERT_EQ(1, m.MirrorValues());
  EXPECT_EQ((Keys{{0, 1}, {2, 4}, {3, 5}}), keys_of(m));

  // Scaling values scales the clamps, except a low clamp at or below zero, which stays a floor.
  QvRawFCurve s = curve_of({{0, 1}, {1, 2}});
  s.SetClampingValues(0.0, 10.0);
  EXPECT_EQ(0, s.ScaleAndShiftValues(1e-8, 0.0));
  ASSERT_EQ(1, s.ScaleAndShiftValues(-2.0, 1.0));
  double low = 0.0;
  double high = 0.0;
  s.GetClampingValues(low, high);
  EXPECT_EQ(-19.0, low);  // 10 became -19 and the clamps were swapped
  EXPECT_EQ(0.0, high);
  EXPECT_EQ((Keys{{0, -1}, {1, -3}}), keys_of(s));
  s.SetClampingValues(1.0, 2.0);
  ASSERT_EQ(1, s.ScaleAndShiftValues(3.0, 0.0));
  s.GetClampingValues(low, high);
  EXPECT_EQ(3.0, low);
  EXPECT_EQ(6.0, high);
}

TEST(RawCurveEdit, CutAppendPaste) {
  QvRawFCurve c = curve_of({{0, 0}, {1, 1}, {2, 4}, {3, 9}, {4, 16}});
  QvRawFCurve piece(0.0);
  ASSERT_EQ(1, c.Cut(1.0, 3.0, piece));
  EXPECT_EQ((Keys{{0, 0}, {1, 9}, {2, 16}}), keys_of(c));
  EXPECT_EQ((Keys{{1, 1}, {2, 4}, {3, 9}}), keys_of(piece));

  QvRawFCurve a = curve_of({{0, 0}, {1, 1}});
  QvRawFCurve b = curve_of({{5, 7}, {6, 8}, {8, 10}});
  tag_key(b, 6.0, 5);
  ASSERT_EQ(1, a.Append(b));
  EXPECT_EQ((Keys{{0, 0}, {1, 7}, {2, 8}, {4, 10}}), keys_of(a));
  EXPECT_EQ(5, tag_at(a, 2.0));
  ASSERT_EQ(1, a.Append(a));  // a curve may be appended to itself
  EXPECT_EQ(7u, a.GetNumKeys());

  QvStdFCurve standard(0.0, QvBaseFCurve::FSLinear);
  standard.CreateKey(0.0, 0.0);
  EXPECT_EQ(0, a.Append(standard));
  EXPECT_EQ(0, a.Set(standard));
  EXPECT_EQ(0, a.Cut(0.0, 1.0, standard));
  EXPECT_EQ(0, QvRawFCurve(0.0).Append(b));

  QvRawFCurve p = curve_of({{0, 0}, {1, 1}, {2, 2}, {3, 3}, {4, 4}});
  ASSERT_EQ(1, p.Paste(curve_of({{0, 10}, {0.5, 20}}), 1.0, 3.0));
  EXPECT_EQ((Keys{{0, 0}, {1, 10}, {1.5, 3}, {2.5, 4}}), keys_of(p));
  EXPECT_EQ(0, p.Paste(QvRawFCurve(1.0, 1.0), 1.0, 3.0));
}

// A raw curve has no segment kinds or tangents: those bits of a request are cleared, the fields
// get fixed answers, and the call reports that it could not serve all of them.
TEST(RawCurveEdit, InformationRecords) {
  QvRawFCurve c = curve_of({{1, 2}, {3, 4}});
  c.SetExtrapolationMethod(QvBaseFCurve::ExtrapolationCycle);
  QvBaseFCurve::FCurveInfo info{};
  info.mask = 0x7F;
  info.firstSegmentKind = QvBaseFCurve::FSLinear;
  EXPECT_EQ(0, c.GetFCurveInfo(&info));
  EXPECT_EQ(0x77u, info.mask);
  EXPECT_EQ(0, static_cast<int>(info.firstSegmentKind));
  EXPECT_EQ(QvBaseFCurve::ExtrapolationCycle, info.extrapolation);
  EXPECT_EQ(1, c.GetFCurveInfo(&info));
  EXPECT_EQ(0, c.GetFCurveInfo(nullptr));

  QvBaseFCurve::KeyInfo key{};
  key.mask = 0x1FF;
  key.leftTangentX = 5.0;
  EXPECT_EQ(0, c.GetKeyInfoFromIndex(1, &key));
  EXPECT_EQ(0xFu, key.mask);
  EXPECT_EQ(4.0, key.rightValue);
  EXPECT_EQ(0.0, key.leftTangentX);
  EXPECT_EQ(QvBaseFCurve::FSConstant, key.segmentKind);
  key.mask = 0xF;
  EXPECT_EQ(1, c.GetKeyInfoFromParameter(1.0, &key));
  EXPECT_EQ(0u, key.index);
  EXPECT_EQ(0, c.GetKeyInfoFromIndex(2, &key));
  EXPECT_EQ(0u, key.mask);

  for (int bit = 1; bit <= 8192; bit *= 2) {
    SCOPED_TRACE(bit);
    const auto k = static_cast<QvBaseFCurve::KeyConstraint>(bit);
    const QvLong supported = bit == 1 || bit == 2 || bit == 32 ? 1 : 0;
    EXPECT_EQ(supported, c.IsConstraintSupported(k));
    double t = 2.9;
    QvLong on = 7;
    EXPECT_EQ(supported, c.GetConstraint(t, k, on, 0.2));
    EXPECT_EQ(supported ? 0 : 7, on);
    EXPECT_EQ(supported ? 3.0 : 2.9, t);
  }
  EXPECT_EQ(1, c.SetAsTimeFCurve(0));
  EXPECT_EQ(0, c.SetAsTimeFCurve(0));
}

TEST(RawCurveEdit, CopiesSnapshotsAndDrawing) {
  QvRawFCurve c = curve_of({{0, 0}, {2, 2}, {4, 0}});
  tag_key(c, 2.0, 3);
  std::unique_ptr<QvBaseFCurve> clone(c.Clone());
  ASSERT_NE(nullptr, clone);
  EXPECT_EQ(clone.get(), clone->QueryFCurveKind(QvBaseFCurve::KindRaw));
  EXPECT_EQ(nullptr, clone->QueryFCurveKind(QvBaseFCurve::KindStandard));
  c.RemoveKey(2.0, 0.0);
  EXPECT_EQ(3u, clone->GetNumKeys());
  EXPECT_EQ(1, clone->HasUserData(2.0));

  std::unique_ptr<QvBaseFCurve> snap(
      clone->SnapShot(3.0, 1.0, QvBaseFCurve::ExtrapolationLinear));
  ASSERT_NE(nullptr, snap);
  EXPECT_EQ((Keys{{1, 1}, {2, 2}, {3, 1}}),
            keys_of(static_cast<const QvRawFCurve&>(*snap)));
  EXPECT_EQ(1.0, snap->Eval(10.0, 0));  // the copy holds its ends
  EXPECT_EQ(1, snap->HasUserData(2.0));

  QvRawFCurve ramp = curve_of({{0, 0}, {1, 1}});
  ramp.SetExtrapolationMethod(QvBaseFCurve::ExtrapolationCycleOffset);
  std::unique_ptr<QvBaseFCurve> unrolled(
      ramp.SnapShot(0.5, 2.5, QvBaseFCurve::ExtrapolationConstant));
  EXPECT_EQ((Keys{{0.5, 0.5}, {1, 1}, {2, 2}, {2.5, 2.5}}),
            keys_of(static_cast<const QvRawFCurve&>(*unrolled)));

  const QvTransfo4 identity;
  QvPoint2dArray points;
  QvPointTagArray tags;
  QvRawFCurve drawn = curve_of({{0, 0}, {2, 4}, {3, 4}});
  EXPECT_EQ(3u, drawn.Flatten(identity, 0.1, points, tags, 0));
  EXPECT_EQ(TagFirst, tags[0]);
  EXPECT_EQ(TagLast, tags[2]);
  EXPECT_EQ(2.0, points[1].x);
  // With the clamp on, the limit is drawn where the curve crosses it.
  drawn.SetClampingValues(0.0, 2.0);
  EXPECT_EQ(4u, drawn.Flatten(identity, 0.1, points, tags, 1));
  EXPECT_EQ(1.0, points[4].x);
  EXPECT_EQ(2.0, points[4].y);
  EXPECT_EQ(2.0, points[5].y);
  EXPECT_EQ(2u, QvRawFCurve(1.0, 3.0).Flatten(identity, 0.1, points, tags, 0));
  EXPECT_EQ(0u, QvRawFCurve(1.0).Flatten(identity, 0.1, points, tags, 0));
  EXPECT_EQ(9u, points.size);

  // Over an extent the cycle is drawn out, and each seam of the plain cycle is a jump whose far
  // point is flagged.
  QvRawFCurve saw = curve_of({{0, 0}, {1, 1}});
  saw.SetExtrapolationMethod(QvBaseFCurve::ExtrapolationCycle);
  QvExtent2<double> extent;
  extent.min = {0.5, 0.0};
  extent.max = {2.5, 0.0};
  extent.state = QvExtent2<double>::ExtentBounded;
  QvPoint2dArray drawn_points;
  QvPointTagArray drawn_tags;
  QvBoolArray flags;
  ASSERT_EQ(6u, saw.FlattenFromTo(extent, identity, 0.1, drawn_points, drawn_tags, flags, 0));
  const double want[6][2] = {{0.5, 0.5}, {1, 1}, {1, 0}, {2, 1}, {2, 0}, {2.5, 0.5}};
  const QvLong want_flags[6] = {0, 0, 2, 0, 2, 0};
  for (int i = 0; i < 6; ++i) {
    SCOPED_TRACE(i);
    EXPECT_EQ(want[i][0], drawn_points[static_cast<QvULong>(i)].x);
    EXPECT_EQ(want[i][1], drawn_points[static_cast<QvULong>(i)].y);
    EXPECT_EQ(want_flags[i], flags[static_cast<QvULong>(i)]);
  }
}
