#include <gtest/gtest.h>
#include <qv/QvBooleanFCurve.h>
#include <qv/QvIntegerFCurve.h>

#include "support/byte_buffer.h"

#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <random>
#include <vector>

namespace {

using qv::test::Bytes;
using qv::test::Writer;
using qv::test::bytes_of;

// The identifier of the stepped kinds after its first word.
constexpr unsigned char kIdTail[12] = {0xCA, 0x97, 0xD1, 0x11, 0x93, 0x6A,
                                       0x00, 0xA0, 0x24, 0x3E, 0x35, 0xF0};
using C = QvBaseFCurve;

QvBooleanFCurve sample_boolean() {
  QvBooleanFCurve c(1.0);
  c.CreateKey(0.5, 1.0);
  c.CreateKey(2.0, 0.0);
  c.SetKeyValue(0.5, C::KeySideLeft, 0.0, 0.0);
  double t = 2.0;
  c.SetConstraint(t, C::KCKeyLocked, 1, 0.0);
  c.SetValueWhenNoKeys(1.0);
  return c;
}

QvIntegerFCurve sample_integer() {
  QvIntegerFCurve c(0.0);
  c.CreateKey(-1.0, -70000.0);
  c.CreateKey(3.0, 12.0);
  c.SetKeyValue(-1.0, C::KeySideLeft, 5.0, 0.0);
  double t = 3.0;
  c.SetConstraint(t, C::KCValueLocked, 1, 0.0);
  c.SetReadOnlyConstraint(1);
  return c;
}

}  // namespace

TEST(SteppedCurveBuffer, ExactBytes) {
  Writer b;
  b.u32(258).u32(10).u32(0x84F21462).bytes(kIdTail, 12).u8(1).u8(0).u8(1).u8(0).u32(2);
  b.f64(0.5).u8(1).u16(0).f64(2.0).u8(0).u16(6).no_user_data();
  EXPECT_EQ(b.buffer(), bytes_of(sample_boolean()));
  EXPECT_EQ(36u + 2 * 11 + 9, sample_boolean().GetBufferSize());

  Writer i;
  i.u32(258)
      .u32(15)
      .u32(0x84F21461).bytes(kIdTail, 12)
      .u32(static_cast<std::uint32_t>(-70000))
      .u32(5)
      .u8(1)
      .u8(1)
      .u32(2);
  i.f64(-1.0).u32(static_cast<std::uint32_t>(-70000)).u16(0).f64(3.0).u32(12).u16(2).no_user_data();
  EXPECT_EQ(i.buffer(), bytes_of(sample_integer()));
  EXPECT_EQ(42u + 2 * 14 + 9, sample_integer().GetBufferSize());
}

TEST(SteppedCurveBuffer, RoundTripsThroughTheFactory) {
  QvBooleanFCurve b = sample_boolean();
  const _pmbUID id = {1, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11}};
  const unsigned char blob[3] = {7, 8, 9};
  b.SetFCurveUserData(id, blob, 3);
  double t = 0.5;
  b.SetKeyUserData(t, id, blob, 2, 0.0);
  const QvBaseFCurve* sources[2] = {&b, nullptr};
  QvIntegerFCurve i = sample_integer();
  sources[1] = &i;
  for (const QvBaseFCurve* source : sources) {
    SCOPED_TRACE(source->GetKind());
    const Bytes bytes = bytes_of(*source);
    QvBaseFCurve* out = nullptr;
    ASSERT_EQ(1, QvBaseFCurve_CreateFromBufferBody(bytes.data() + 4, &out));
    std::unique_ptr<QvBaseFCurve> owner(out);
    EXPECT_EQ(source->GetKind(), out->GetKind());
    EXPECT_EQ(bytes, bytes_of(*out));
    for (double x = -2.0; x < 4.0; x += 0.25) EXPECT_EQ(source->Eval(x, 0), out->Eval(x, 0));
  }
}

TEST(SteppedCurveBuffer, TruncatedOrForeignBodiesAreRefused) {
  QvIntegerFCurve source = sample_integer();
  const _pmbUID id = {1, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11}};
  const unsigned char blob[2] = {0xAA, 0xBB};
  source.SetFCurveUserData(id, blob, 2);
  const Bytes whole = bytes_of(source);
  QvIntegerFCurve target(4.0);
  target.CreateKey(1.0, 2.0);
  const Bytes before = bytes_of(target);
  for (std::size_t length = 0; length + 4 < whole.size(); ++length) {
    SCOPED_TRACE(length);
    const Bytes cut = qv::test::truncated(whole, length);
    ASSERT_EQ(0u, target.ReadFromBufferBody(cut.data() + 4));
    ASSERT_EQ(before, bytes_of(target));
  }
  // A wrong kind, identifier or version is refused as well.
  for (std::size_t at : {8u, 12u, 16u, 23u, 27u}) {
    SCOPED_TRACE(at);
    Bytes bad = whole;
    bad[at] ^= 0x40;
    EXPECT_EQ(0u, target.ReadFromBufferBody(bad.data() + 4));
  }
  Bytes old = whole;
  old[4] = 0;  // version 256
  old[5] = 1;
  EXPECT_EQ(0u, target.ReadFromBufferBody(old.data() + 4));
  QvBooleanFCurve other(0.0);
  EXPECT_EQ(0u, other.ReadFromBufferBody(whole.data() + 4));
  EXPECT_EQ(before, bytes_of(target));
}

TEST(SteppedCurveBuffer, LegacyRecordsAndLaterVersions) {
  // Version 257 keeps one flag byte per key; it is written back in the current form.
  Writer legacy;
  legacy.u32(257).u32(10).u32(0x84F21462).bytes(kIdTail, 12).u8(0).u8(1).u8(3).u8(0).u32(2);
  legacy.f64(1.0).u8(0).u8(2).f64(std::numeric_limits<double>::quiet_NaN()).u8(2).u8(4);
  legacy.no_user_data();
  Bytes bytes = legacy.buffer();
  QvBooleanFCurve c(0.0);
  ASSERT_EQ(bytes.size() - 4, c.ReadFromBufferBody(bytes.data() + 4));
  // A NaN parameter reads as 0.0, out of order and kept as read; only byte 1 counts as true in a
  // record. Measuring repairs the order, dropping the key that does not rise.
  EXPECT_EQ(2u, c.GetNumKeys());
  EXPECT_EQ(1.0, c.GetMinusInfinityVal());
  EXPECT_EQ(C::ExtrapolationCycle, c.GetExtrapolationMethod());
  Writer current;
  current.u32(258).u32(10).u32(0x84F21462).bytes(kIdTail, 12).u8(0).u8(1).u8(3).u8(0).u32(1);
  current.f64(1.0).u8(0).u16(2).no_user_data();
  EXPECT_EQ(current.buffer(), bytes_of(c));

  // A later version reads as the current form.
  Writer later;
  later.u32(0xFFFFFFFE).u32(15).u32(0x84F21461).bytes(kIdTail, 12).u32(3).u32(4).u8(1).u8(0).u32(1);
  later.f64(2.0).u32(9).u16(0).no_user_data();
  bytes = later.buffer();
  QvIntegerFCurve i(0.0);
  ASSERT_EQ(bytes.size() - 4, i.ReadFromBufferBody(bytes.data() + 4));
  EXPECT_EQ(4.0, i.Eval(0.0, 0));
  EXPECT_EQ(9.0, i.Eval(2.0, 0));
  bytes[4] = bytes[5] = bytes[6] = bytes[7] = 0xFF;
  EXPECT_EQ(0u, i.ReadFromBufferBody(bytes.data() + 4));
}

// Damaged bodies either read whole or leave the curve exactly as it was; none may read past the
// declared length (the sanitizer build watches for that).
TEST(SteppedCurveBuffer, DamagedBodiesNeverHalfRead) {
  QvIntegerFCurve source = sample_integer();
  const _pmbUID id = {1, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11}};
  const unsigned char blob[4] = {1, 2, 3, 4};
  source.SetFCurveUserData(id, blob, 4);
  const Bytes whole = bytes_of(source);
  std::mt19937 rng(99);
  std::uniform_int_distribution<std::size_t> at(4, whole.size() - 1);
  std::uniform_int_distribution<int> byte(0, 255);
  for (int round = 0; round < 2000; ++round) {
    SCOPED_TRACE(round);
    Bytes bad = whole;
    for (int k = 0; k < 1 + round % 3; ++k) bad[at(rng)] = static_cast<unsigned char>(byte(rng));
    QvIntegerFCurve target(6.0);
    const Bytes before = bytes_of(target);
    const QvULong read = target.ReadFromBufferBody(bad.data() + 4);
    if (read == 0) {
      ASSERT_EQ(before, bytes_of(target));
    } else {
      ASSERT_LE(read, bad.size() - 4);
    }
  }
}
