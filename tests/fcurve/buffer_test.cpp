#include "curve_builder.h"
#include "support/byte_buffer.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>
#include <random>
#include <vector>

using qv::test::append_key;
using qv::test::fill_random;
using Base = QvBaseFCurve;

namespace {

using qv::test::bytes_of;
using qv::test::put_u32;
using qv::test::u32_at;

void busy_curve(QvStdFCurve& curve, std::mt19937& rng) {
  fill_random(curve, rng, 5);
  QvStdFCurveImpl& body = *curve.GetImpl();
  for (QvULong i = 0; i < body.m_numKeys; ++i) {
    body.Key(i).flags = static_cast<std::uint16_t>(0x0F00 | i);
    body.Key(i).spare[0] = static_cast<unsigned char>(i + 1);
    body.Key(i).spare[1] = 0xA5;
  }
  body.m_clampMin = -4.0;
  body.m_clampMax = 4.5;
  body.m_extrapolation = Base::ExtrapolationCycleOffset;
  body.m_readOnly = 1;
  body.m_defaultBezierTangent = 1;
  body.m_timeCurve = 0;
  body.m_valueWhenNoKeys = 0.25;
}

}  // namespace

TEST(StdFCurveBuffer, LayoutAndRoundTrip) {
  std::mt19937 rng(41);
  QvStdFCurve curve;
  busy_curve(curve, rng);
  const std::vector<unsigned char> bytes = bytes_of(curve);
  ASSERT_EQ(64u + 64u * 5u + 9u, bytes.size());
  EXPECT_EQ(bytes.size() - 4, u32_at(bytes, 0));
  EXPECT_EQ(264u, u32_at(bytes, 4));
  EXPECT_EQ(20u, u32_at(bytes, 8));
  EXPECT_EQ(5u, u32_at(bytes, 4 + 36));
  EXPECT_EQ(257u, u32_at(bytes, 4 + 40 + 60 * 5));
  EXPECT_EQ(259u, u32_at(bytes, 4 + 44 + 62 * 5));
  EXPECT_EQ(264u, u32_at(bytes, bytes.size() - 5));

  QvBaseFCurve* copy = nullptr;
  ASSERT_EQ(1, QvBaseFCurve_CreateFromBufferBody(bytes.data() + 4, &copy));
  ASSERT_NE(nullptr, copy);
  const QvStdFCurve& read = static_cast<const QvStdFCurve&>(*copy);
  EXPECT_EQ(bytes, bytes_of(read));
  const QvStdFCurveImpl& body = *read.GetImpl();
  EXPECT_EQ(0x0F03, body.Key(3).flags);
  EXPECT_EQ(4, body.Key(3).spare[0]);
  EXPECT_EQ(1, read.IsReadOnly());
  EXPECT_EQ(0, read.IsTimeFCurve());
  EXPECT_EQ(Base::ExtrapolationCycleOffset, read.GetExtrapolationMethod());
  for (double x = -10.0; x < 10.0; x += 0.37) EXPECT_EQ(curve.Eval(x, 1), read.Eval(x, 1));
  delete copy;
}

TEST(StdFCurveBuffer, NonFiniteValuesAreStoredAsZero) {
  QvStdFCurve curve(std::numeric_limits<double>::infinity(), Base::FSLinear);
  append_key(curve, 0.0, std::numeric_limits<double>::quiet_NaN(), Base::FSLinear);
  append_key(curve, 1.0, 2.0, Base::FSLinear);
  QvStdFCurve read;
  const std::vector<unsigned char> bytes = bytes_of(curve);
  ASSERT_EQ(bytes.size() - 4, read.ReadFromBufferBody(bytes.data() + 4));
  EXPECT_EQ(0.0, read.GetMinusInfinityVal());
  EXPECT_EQ(1.0, read.Eval(0.5, 0));
  Base::FCurveInfo info{};
  info.mask = 4;
  read.GetFCurveInfo(&info);
  EXPECT_EQ(0.0, info.valueWhenNoKeys);
}

// Keys that do not rise are dropped before the size is given, so that size and bytes agree.
TEST(StdFCurveBuffer, SizeRepairsTheBody) {
  QvStdFCurve curve;
  append_key(curve, 0.0, 1.0, Base::FSLinear);
  append_key(curve, 2.0, 2.0, Base::FSLinear);
  append_key(curve, 1.0, 3.0, Base::FSLinear);
  append_key(curve, 3.0, 4.0, Base::FSLinear);
  EXPECT_EQ(64u + 64u * 3u + 9u, curve.GetBufferSize());
  EXPECT_EQ(3u, curve.GetNumKeys());
  EXPECT_EQ(4.0, curve.Eval(3.0, 0));
}

TEST(StdFCurveBuffer, DamagedBodiesLeaveTheCurveAlone) {
  std::mt19937 rng(43);
  QvStdFCurve source;
  busy_curve(source, rng);
  const std::vector<unsigned char> good = bytes_of(source);
  QvStdFCurve target;
  fill_random(target, rng, 3);
  const std::vector<unsigned char> before = bytes_of(target);

  // Every shorter length is refused: the reader never looks past the length word's end.
  for (QvULong length = 0; length + 4 < good.size(); ++length) {
    const qv::test::Bytes cut = qv::test::truncated(good, length);
    ASSERT_EQ(0u, target.ReadFromBufferBody(cut.data() + 4)) << length;
  }
  struct Case {
    const char* name;
    size_t at;
    QvULong word;
  };
  const Case cases[] = {
      {"version 0", 4, 0},
      {"version 2", 4, 2},
      {"another kind", 8, 30},
      {"more keys than bytes", 4 + 36, 0xFFFFFFFF},
      {"flags marker", 4 + 40 + 60 * 5, 258},
      {"settings marker", 4 + 44 + 62 * 5, 260},
      {"user data version", 4 + 50 + 64 * 5 + 4, 255},
      {"last marker", good.size() - 5, 263},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    std::vector<unsigned char> bad = good;
    put_u32(bad, c.at, c.word);
    EXPECT_EQ(0u, target.ReadFromBufferBody(bad.data() + 4));
  }
  std::vector<unsigned char> falling = good;
  std::memcpy(falling.data() + 4 + 40 + 60, falling.data() + 4 + 40, 8);  // key 1 at key 0
  EXPECT_EQ(0u, target.ReadFromBufferBody(falling.data() + 4));
  EXPECT_EQ(before, bytes_of(target));
}

TEST(StdFCurveBuffer, OldestForm) {
  // Version 1: value when empty, first kind, two 64-byte keys with a zero word at offset 60.
  std::vector<unsigned char> b(4 + 20 + 128, 0);
  put_u32(b, 0, 20 + 128);
  put_u32(b, 4, 1);
  put_u32(b, 16, 2);  // FSLinear before the first key
  put_u32(b, 20, 2);
  const double key0[7] = {0.0, 1.0, 1.0, 0.0, 1.0, 1.0, 1.0};
  const double key1[7] = {3.0, 4.0, 4.0, 2.0, 4.0, 3.0, 4.0};
  std::memcpy(b.data() + 24, key0, 56);
  b[24 + 56] = 3;
  std::memcpy(b.data() + 24 + 64, key1, 56);
  b[24 + 64 + 56] = 2;
  QvStdFCurve curve;
  ASSERT_EQ(20u + 128u, curve.ReadFromBufferBody(b.data() + 4));
  EXPECT_EQ(2u, curve.GetNumKeys());
  EXPECT_NEAR(2.5, curve.Eval(1.5, 0), 1e-9);  // the middle of a symmetric S
  EXPECT_EQ(1, curve.GetConstraintAtIndex(1, Base::KCTangentContinuity));
  QvPoint2<double> left, right;
  ASSERT_EQ(1, curve.GetActualKeyTgtHandles(3.0, left, right, 0.0));
  EXPECT_EQ(1.0, right.x);  // the last right handle mirrors the left one
  put_u32(b, 24 + 64 + 60, 7);
  QvStdFCurve untouched;
  EXPECT_EQ(0u, untouched.ReadFromBufferBody(b.data() + 4));
  EXPECT_EQ(0u, untouched.GetNumKeys());
}

TEST(StdFCurveBuffer, UserDataTravelsWithTheBody) {
  QvStdFCurve curve;
  append_key(curve, 0.0, 1.0, Base::FSLinear);
  append_key(curve, 2.0, 3.0, Base::FSLinear);
  const _pmbUID id = {0x12345678u, 0x9ABC, 0xDEF0, {1, 2, 3, 4, 5, 6, 7, 8}};
  const unsigned char blob[] = {9, 8, 7};
  ASSERT_EQ(1, curve.SetFCurveUserData(id, blob, 3));
  double at = 2.0;
  ASSERT_EQ(1, curve.SetKeyUserData(at, id, blob, 2, 0.0));
  const std::vector<unsigned char> bytes = bytes_of(curve);
  QvStdFCurve copy;
  ASSERT_EQ(bytes.size() - 4, copy.ReadFromBufferBody(bytes.data() + 4));
  EXPECT_EQ(1, copy.HasUserData(2.0));
  EXPECT_EQ(bytes, bytes_of(copy));
}
