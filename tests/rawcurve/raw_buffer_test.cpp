#include <qv/QvRawFCurve.h>

#include <gtest/gtest.h>

#include "support/byte_buffer.h"

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <vector>

namespace {

using qv::test::Bytes;
using qv::test::Writer;
using qv::test::bytes_of;

// Header and keys of a body of the given version; the caller adds what follows the keys.
Writer body_start(std::uint32_t version, const std::vector<double>& params) {
  Writer w;
  w.u32(version).u32(30).f64(1.5).f64(-10.0).f64(10.0).u32(static_cast<std::uint32_t>(params.size()));
  for (double p : params) w.f64(p).f64(p * 2.0);
  return w;
}

}  // namespace

TEST(RawCurveBuffer, ExactBytes) {
  QvRawFCurve c(1.0, 2.0, 3.0, -0.5);
  c.SetClampingValues(-1.0, 4.0);
  c.SetExtrapolationMethod(QvBaseFCurve::ExtrapolationCycle);
  Writer want;
  want.u32(264).u32(30).f64(2.0).f64(-1.0).f64(4.0).u32(2);
  want.f64(1.0).f64(2.0).f64(3.0).f64(-0.5);
  want.u32(0).u32(258).u8(3).u8(0).no_user_data().u32(264).u8(1);
  EXPECT_EQ(96u, c.GetBufferSize());
  EXPECT_EQ(want.buffer(), bytes_of(c));

  // Not-a-number and infinities are stored as zero.
  QvRawFCurve odd(std::numeric_limits<double>::infinity());
  odd.CreateKey(1.0, std::nan(""));
  odd.SetValueWhenNoKeys(-std::numeric_limits<double>::infinity());
  const Bytes bytes = bytes_of(odd);
  Writer zeros;
  zeros.f64(1.0).f64(0.0);
  EXPECT_EQ(0, std::memcmp(bytes.data() + 40, zeros.b.data(), 16));
  EXPECT_EQ(0, std::memcmp(bytes.data() + 12, Writer().f64(0.0).b.data(), 8));
}

TEST(RawCurveBuffer, RoundTripKeepsEveryByte) {
  QvRawFCurve c(0.0, 1.0);
  for (int i = 1; i < 20; ++i) c.AppendLinearSegment({i * 0.37, std::sin(i * 1.0)});
  const _pmbUID id = {7, 8, 9, {9, 8, 7, 6, 5, 4, 3, 2}};
  const unsigned char blob[3] = {1, 2, 3};
  ASSERT_EQ(1, c.SetFCurveUserData(id, blob, 3));
  double t = 0.74;
  ASSERT_EQ(1, c.SetKeyUserData(t, id, blob, 2, 1e-9));
  c.SetExtrapolationMethod(QvBaseFCurve::ExtrapolationCycleOffset);
  c.SetAsTimeFCurve(0);
  c.SetReadOnlyConstraint(1);
  const Bytes first = bytes_of(c);

  QvBaseFCurve* raw = nullptr;
  ASSERT_EQ(QvBaseFCurve::KindRaw, QvBaseFCurve_GetKindFromBufferBody(first.data() + 4));
  ASSERT_EQ(1, QvBaseFCurve_CreateFromBufferBody(first.data() + 4, &raw));
  std::unique_ptr<QvBaseFCurve> loaded(raw);
  ASSERT_EQ(QvBaseFCurve::KindRaw, loaded->GetKind());
  EXPECT_EQ(first, bytes_of(*loaded));  // flags and user data included
  EXPECT_EQ(c.Eval(3.3, 0), loaded->Eval(3.3, 0));

  QvRawFCurve again(5.0);
  EXPECT_EQ(first.size() - 4, again.ReadFromBufferBody(first.data() + 4));
  EXPECT_EQ(first, bytes_of(again));
}

// Every body cut short is refused and leaves the target exactly as it was.
TEST(RawCurveBuffer, TruncatedBodiesAreRefused) {
  QvRawFCurve source(0.0, 1.0, 2.0, 3.0);
  const _pmbUID id = {1, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11}};
  const unsigned char blob[2] = {0xAA, 0xBB};
  source.SetFCurveUserData(id, blob, 2);
  const Bytes whole = bytes_of(source);

  QvRawFCurve target(9.0, 9.0);
  const Bytes before = bytes_of(target);
  for (std::size_t length = 0; length + 4 < whole.size(); ++length) {
    SCOPED_TRACE(length);
    const Bytes cut = qv::test::truncated(whole, length);
    ASSERT_EQ(0u, target.ReadFromBufferBody(cut.data() + 4));
    ASSERT_EQ(before, bytes_of(target));
    QvBaseFCurve* out = &target;
    EXPECT_EQ(0, QvBaseFCurve_CreateFromBufferBody(cut.data() + 4, &out));
    EXPECT_EQ(nullptr, out);
  }
}

TEST(RawCurveBuffer, OlderAndLaterVersions) {
  struct Case {
    const char* name;
    Bytes buffer;
    QvULong consumed;  // 0: refused
    QvULong keys;
    QvBaseFCurve::ExtrapolationMethod method;
  };
  const std::vector<double> two = {0.0, 1.0};
  const Case cases[] = {
      {"257 ends after the keys", body_start(257, two).u32(0).buffer(), 72, 2,
       QvBaseFCurve::ExtrapolationConstant},
      {"257 skips one attribute byte per key", body_start(257, two).u32(0xFFFFFFFFu).u8(1).u8(2).buffer(),
       74, 2, QvBaseFCurve::ExtrapolationConstant},
      {"259 skips two attribute bytes per key",
       body_start(259, two).u32(0xFFFFFFFFu).u32(0).u32(258).u8(2).u8(0).u32(0).buffer(), 86, 2,
       QvBaseFCurve::ExtrapolationLinear},
      {"258 with an empty user data block", body_start(258, two).u32(0).u32(258).u8(4).u8(0).u32(0).buffer(),
       82, 2, QvBaseFCurve::ExtrapolationCycleOffset},
      {"258 with a wrong tag", body_start(258, two).u32(0).u32(259).u8(2).u8(0).u32(0).buffer(), 0, 0,
       QvBaseFCurve::ExtrapolationConstant},
      {"264 with a wrong time tag",
       body_start(264, two).u32(0).u32(258).u8(2).u8(0).no_user_data().u32(263).u8(1).buffer(), 0, 0,
       QvBaseFCurve::ExtrapolationConstant},
      {"a later version reads as the newest",
       body_start(300, two).u32(0).u32(258).u8(3).u8(0).no_user_data().u32(264).u8(1).buffer(), 92,
       2, QvBaseFCurve::ExtrapolationCycle},
      {"255 is not a raw body", body_start(255, two).u32(0).buffer(), 0, 0,
       QvBaseFCurve::ExtrapolationConstant},
      {"another kind", [] {
         Writer w = body_start(264, {});
         w.b[4] = 20;
         return w.u32(0).u32(258).u8(1).u8(0).no_user_data().u32(264).u8(1).buffer();
       }(), 0, 0, QvBaseFCurve::ExtrapolationConstant},
      {"a key count beyond the body", [] {
         Writer w = body_start(264, {});
         w.b[32] = 0xFF;
         return w.u32(0).u32(258).u8(1).u8(0).no_user_data().u32(264).u8(1).buffer();
       }(), 0, 0, QvBaseFCurve::ExtrapolationConstant},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    QvRawFCurve curve(0.0);
    EXPECT_EQ(c.consumed, curve.ReadFromBufferBody(c.buffer.data() + 4));
    EXPECT_EQ(c.keys, curve.GetNumKeys());
    EXPECT_EQ(c.method, curve.GetExtrapolationMethod());
    if (c.consumed != 0) {
      EXPECT_EQ(1.0, curve.Eval(0.5, 0));
    }
  }
}

// A body whose parameters do not rise is repaired when it is next measured. The repair walks on
// after each removal, so the key that moved into the freed place is passed over once.
TEST(RawCurveBuffer, SizeRepairsKeysThatDoNotRise) {
  const Bytes buffer = body_start(257, {0.0, 2.0, 1.0, 1.5, 3.0}).u32(0).buffer();
  QvRawFCurve c(0.0);
  ASSERT_NE(0u, c.ReadFromBufferBody(buffer.data() + 4));
  ASSERT_EQ(5u, c.GetNumKeys());
  EXPECT_EQ(55u + 16u * 4u + 9u, c.GetBufferSize());
  QvDoubleArray params;
  c.GetAllKeyParameters(params);
  ASSERT_EQ(4u, params.size);
  EXPECT_EQ(1.5, params[2]);
  EXPECT_EQ(3.0, params[3]);
}
