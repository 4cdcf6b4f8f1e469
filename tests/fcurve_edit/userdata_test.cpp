#include <qv/QvStdFCurve.h>

#include "fcurve/userdata_set.h"
#include "fcurve_edit/edit_support.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

// Opens the protected user data operations that kinds and movers use.
class Probe : public QvStdFCurve {
 public:
  using QvStdFCurve::QvStdFCurve;
  using QvBaseFCurve::GetUserDataBufferSize;
  using QvBaseFCurve::GetUserDataSet;
  using QvBaseFCurve::MoveKeyUserDataTail;
  using QvBaseFCurve::ReadUserDataFromBufferBody;
  using QvBaseFCurve::RemoveKeyUserData;
  using QvBaseFCurve::ScaleAllKeyUserData;
  using QvBaseFCurve::TranslateAllKeyUserData;
  using QvBaseFCurve::WriteUserDataToBuffer;

  bool HasStore() const { return m_userData != nullptr; }

  std::vector<unsigned char> Block() const {
    std::vector<unsigned char> bytes(GetUserDataBufferSize());
    EXPECT_EQ(bytes.size(), WriteUserDataToBuffer(bytes.data()));
    return bytes;
  }

  // Reads a block as a body reader would: the size word stands just before the data.
  QvULong Read(const std::vector<unsigned char>& block) {
    return ReadUserDataFromBufferBody(block.data() + 4);
  }
};

_pmbUID uid(std::uint32_t a, std::uint8_t last = 0) {
  _pmbUID id{a, 0x1234, 0x5678, {1, 2, 3, 4, 5, 6, 7, last}};
  return id;
}

const unsigned char kBytes[] = {0xAB, 0xCD, 0xEF};

Probe keyed_curve() {
  Probe c;
  qv::test::append_key(c, 1.0, 0.0, QvBaseFCurve::FSLinear);
  qv::test::append_key(c, 2.0, 1.0, QvBaseFCurve::FSLinear);
  qv::test::append_key(c, 3.0, 0.0, QvBaseFCurve::FSLinear);
  return c;
}

TEST(CurveUserData, StoreIsMadeOnFirstWriteAndCopiedDeeply) {
  Probe c;
  const unsigned char* data = nullptr;
  QvULong size = 7;
  EXPECT_EQ(0, c.GetFCurveUserData(uid(1), data, size));
  EXPECT_EQ(0, c.RemoveFCurveUserData(uid(1)));
  EXPECT_FALSE(c.HasStore());
  const std::vector<unsigned char> empty = {5, 0, 0, 0, 0, 1, 0, 0, 0};
  EXPECT_EQ(empty, c.Block());

  ASSERT_EQ(1, c.SetFCurveUserData(uid(1), nullptr, 0));  // an empty blob is a blob
  EXPECT_EQ(1, c.GetFCurveUserData(uid(1), data, size));
  EXPECT_EQ(0u, size);
  EXPECT_NE(nullptr, data);
  EXPECT_EQ(1, c.HasUserData());
  EXPECT_EQ(1, c.RemoveFCurveUserData(uid(1)));
  EXPECT_EQ(0, c.HasUserData());
  EXPECT_EQ(11u, c.GetUserDataBufferSize());  // a store that holds nothing

  ASSERT_EQ(1, c.SetFCurveUserData(uid(1), kBytes, 3));
  ASSERT_EQ(1, c.SetFCurveUserData(uid(1), kBytes + 1, 2));  // replaces
  std::unique_ptr<QvBaseFCurve> copy(c.Clone());
  ASSERT_TRUE(copy);
  EXPECT_EQ(1, c.RemoveFCurveUserData(uid(1)));
  ASSERT_EQ(1, copy->GetFCurveUserData(uid(1), data, size));
  EXPECT_EQ(2u, size);
  EXPECT_EQ(0xCD, data[0]);
}

TEST(CurveUserData, KeySetsAreFoundByToleranceAndFollowTheirKeys) {
  Probe empty;
  double p = 1.0;
  EXPECT_EQ(0, empty.SetKeyUserData(p, uid(1), kBytes, 3, 0.5));
  EXPECT_EQ(0, empty.HasUserData(1.0));

  Probe c = keyed_curve();
  p = 2.1;
  EXPECT_EQ(0, c.SetKeyUserData(p, uid(1), kBytes, 3, 0.05));
  EXPECT_EQ(2.1, p);
  ASSERT_EQ(1, c.SetKeyUserData(p, uid(1), kBytes, 3, 0.2));
  EXPECT_EQ(2.0, p);
  EXPECT_EQ(0, c.HasUserData(2.1));  // the key is found exactly here
  const unsigned char* data;
  QvULong size;
  p = 1.9;
  ASSERT_EQ(1, c.GetKeyUserData(p, uid(1), data, size, 0.2));
  EXPECT_EQ(3u, size);
  EXPECT_EQ(0, c.RemoveKeyUserData(p, uid(2), 0.0));
  EXPECT_EQ(1, c.RemoveKeyUserData(p, uid(1), 0.0));
  EXPECT_EQ(nullptr, c.GetUserDataSet(2.0));  // the last blob takes its set with it

  for (double q : {1.0, 2.0, 3.0}) {
    const unsigned char b = static_cast<unsigned char>(q);
    ASSERT_EQ(1, c.SetKeyUserData(q, uid(7), &b, 1, 0.0));
  }
  auto blob_at = [&c](double q) -> int {
    const CFCUserDataSet* set = c.GetUserDataSet(q);
    return set == nullptr ? -1 : set->Find(uid(7))->at(0);
  };
  c.TranslateAllKeyUserData(0.5);
  c.ScaleAllKeyUserData(2.0);
  EXPECT_EQ(-1, blob_at(1.0));
  EXPECT_EQ(1, blob_at(3.0));
  EXPECT_EQ(3, blob_at(7.0));
  // A swap of two sets: one pass must not overwrite a set that is still to move.
  QvDoubleArray from;
  QvDoubleArray to;
  from.Add(3.0), from.Add(5.0);
  to.Add(5.0), to.Add(3.0);
  ASSERT_EQ(1, c.MoveKeyUserDataTail(from, to));
  EXPECT_EQ(2, blob_at(3.0));
  EXPECT_EQ(1, blob_at(5.0));
  to.Add(9.0);
  EXPECT_EQ(0, c.MoveKeyUserDataTail(from, to));

  Probe other = keyed_curve();
  EXPECT_EQ(1, other.CopyKeyUserData(c, 7.0, 2.0));
  EXPECT_EQ(1, other.HasUserData(2.0));
  EXPECT_EQ(1, other.CopyKeyUserData(c, 4.0, 2.0));  // nothing there replaces with nothing
  EXPECT_EQ(0, other.HasUserData(2.0));
}

TEST(CurveUserData, BlockLayoutIsExact) {
  Probe c = keyed_curve();
  const unsigned char one = 0x5A;
  ASSERT_EQ(1, c.SetFCurveUserData(uid(0x01020304), &one, 1));
  double p = 2.0;
  ASSERT_EQ(1, c.SetKeyUserData(p, uid(9), nullptr, 0, 0.0));
  const std::vector<unsigned char> block = c.Block();
  const std::vector<unsigned char> want = {
      // size, version, has data, has curve data
      84, 0, 0, 0, 0, 1, 0, 0, 1, 1,
      // curve set: size 8 + 21, version, count, identifier, length, blob
      29, 0, 0, 0, 0, 1, 0, 0, 1, 0, 0, 0,
      4, 3, 2, 1, 0x34, 0x12, 0x78, 0x56, 1, 2, 3, 4, 5, 6, 7, 0, 1, 0, 0, 0, 0x5A,
      // has key data, key count, parameter 2.0, key set with one empty blob
      1, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x40,
      28, 0, 0, 0, 0, 1, 0, 0, 1, 0, 0, 0,
      9, 0, 0, 0, 0x34, 0x12, 0x78, 0x56, 1, 2, 3, 4, 5, 6, 7, 0, 0, 0, 0, 0};
  EXPECT_EQ(want, block);
}

TEST(CurveUserData, BlockRoundTripsAndRefusesEveryTruncation) {
  Probe c = keyed_curve();
  ASSERT_EQ(1, c.SetFCurveUserData(uid(3), kBytes, 3));
  ASSERT_EQ(1, c.SetFCurveUserData(uid(1), kBytes, 2));
  for (double p : {1.0, 3.0}) {
    double q = p;
    ASSERT_EQ(1, c.SetKeyUserData(q, uid(2, 9), kBytes, 3, 0.0));
  }
  const std::vector<unsigned char> block = c.Block();

  Probe fresh = keyed_curve();
  EXPECT_EQ(block.size() - 4, fresh.Read(block));
  EXPECT_EQ(block, fresh.Block());

  // Every shorter size word must fail without a byte read past it and without a store.
  for (QvULong size = 0; size + 4 < block.size(); ++size) {
    SCOPED_TRACE(size);
    std::vector<unsigned char> cut(block.begin(), block.begin() + 4 + size);
    cut[0] = static_cast<unsigned char>(size);
    Probe target;
    EXPECT_EQ(0u, target.Read(cut));
    EXPECT_FALSE(target.HasStore());
  }

  std::vector<unsigned char> old_version = block;
  old_version[5] = 0;  // version 0
  Probe target;
  EXPECT_EQ(0u, target.Read(old_version));
  std::vector<unsigned char> no_data = block;
  no_data[8] = 0;
  EXPECT_EQ(5u, target.Read(no_data));
  EXPECT_FALSE(target.HasStore());

  // A store that is there already keeps its own curve blobs; the set read still counts.
  ASSERT_EQ(1, target.SetFCurveUserData(uid(3), kBytes + 2, 1));
  EXPECT_EQ(block.size() - 4, target.Read(block));
  const unsigned char* data;
  QvULong size;
  ASSERT_EQ(1, target.GetFCurveUserData(uid(3), data, size));
  EXPECT_EQ(1u, size);
  EXPECT_EQ(0, target.GetFCurveUserData(uid(1), data, size));
  EXPECT_NE(nullptr, target.GetUserDataSet(3.0));
}

}  // namespace
