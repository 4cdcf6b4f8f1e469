#include <qv/QvQuatFCurve.h>

#include <gtest/gtest.h>

#include "support/byte_buffer.h"

#include <cmath>
#include <cstring>
#include <vector>

namespace {

using qv::test::bytes_of;
using qv::test::f64_at;
using qv::test::u32_at;

const _pmbUID kTag = {0xCAFEF00Du, 1, 2, {9, 8, 7, 6, 5, 4, 3, 2}};

// A curve with every field away from its default: shape numbers, flags, both locks, user data on
// the curve and on a key, read-only, and a not-a-number that travels as 0.
void fill(QvQuatFCurve& view) {
  QvQuatCurve& c = *view.GetQuatCurve();
  c.SetKey(QvQuatKey(0.5, QvPoint3<double>(0.1, -0.2, 0.3), 0.25f, -0.5f, 0.75f, 0x2A5B), 0.0);
  c.SetKey(QvQuatKey(-1.0, QvPoint3<double>(std::nan(""), 1.0, 2.0), 0, 0, 0, 0x0101), 0.0);
  c.SetKey(QvQuatKey(2.0, QvPoint3<double>(0.0, 0.5, -1.5), 0.1f, 0.2f, 0.3f, 0), 0.0);
  c.SetConstraintData(1, 6);
  c.SetConstraintData(2, 4);
  c.SetValueWhenNoKeys(QvPoint3<double>(1.0, 2.0, 3.0));
  c.SetExtrapolationMethod(4);
  const unsigned char blob[] = {1, 2, 3};
  view.SetFCurveUserData(kTag, blob, 3);
  double t = 2.0;
  view.SetKeyUserData(t, kTag, blob, 2, 0.0);
  c.SetReadOnlyConstraint(1);
}

}  // namespace

TEST(QuatBuffer, LayoutFigures) {
  QvQuatFCurve view(2);
  fill(view);
  const std::vector<unsigned char> b = bytes_of(view);
  ASSERT_EQ(52u + 48u * 3u + 0u + (b.size() - 52 - 144), b.size());
  EXPECT_EQ(b.size() - 4, u32_at(b, 0));
  EXPECT_EQ(0x30313031u, u32_at(b, 4));  // "1010"
  EXPECT_EQ(40u, u32_at(b, 8));
  EXPECT_EQ(2u, u32_at(b, 12));
  EXPECT_EQ(3u, u32_at(b, 16));
  // Keys in time order; the not-a-number angle is stored as 0.
  EXPECT_EQ(-1.0, f64_at(b, 20));
  EXPECT_EQ(0.0, f64_at(b, 28));
  const std::size_t k1 = 20 + 48;
  EXPECT_EQ(0.5, f64_at(b, k1));
  float tension;
  std::memcpy(&tension, &b[k1 + 32], 4);
  EXPECT_EQ(0.25f, tension);
  EXPECT_EQ(0x5B, b[k1 + 44]);  // the low 8 bits of the flags
  EXPECT_EQ(0x2A, b[k1 + 45]);  // and the high 6
  EXPECT_EQ(6, b[k1 + 46]);     // both locks
  EXPECT_EQ(4, b[20 + 2 * 48 + 46]);
  const std::size_t tail = 20 + 3 * 48;
  EXPECT_EQ(1.0, f64_at(b, tail));
  EXPECT_EQ(3.0, f64_at(b, tail + 16));
  EXPECT_EQ(1u, u32_at(b, tail + 24));
  EXPECT_EQ(4u, u32_at(b, tail + 28));
  // Without user data the body ends with an empty block of 9 bytes.
  QvQuatFCurve bare(0);
  EXPECT_EQ(52u + 9u, bare.GetBufferSize());
}

TEST(QuatBuffer, RoundTripIsExact) {
  QvQuatFCurve view(1);
  fill(view);
  const std::vector<unsigned char> first = bytes_of(view);
  QvBaseFCurve* loaded = nullptr;
  ASSERT_EQ(1, QvBaseFCurve_CreateFromBufferBody(first.data() + 4, &loaded));
  ASSERT_NE(nullptr, loaded);
  EXPECT_EQ(QvBaseFCurve::KindQuat, loaded->GetKind());
  EXPECT_EQ(first, bytes_of(*loaded));  // flags, locks, component and user data included
  EXPECT_TRUE(std::isfinite(loaded->Eval(7.25, 0)));  // the stored 0 replaced the NaN
  delete loaded;
}

TEST(QuatBuffer, EveryShortBodyIsRefused) {
  QvQuatFCurve source(0);
  fill(source);
  const std::vector<unsigned char> full = bytes_of(source);
  QvQuatFCurve target(2);
  target.CreateKey(3.0, 33.0);
  const std::vector<unsigned char> before = bytes_of(target);
  for (std::size_t length = 0; length + 4 < full.size(); ++length) {
    SCOPED_TRACE(length);
    const qv::test::Bytes cut = qv::test::truncated(full, length);
    EXPECT_EQ(0u, target.ReadFromBufferBody(cut.data() + 4));
  }
  EXPECT_EQ(before, bytes_of(target));
  EXPECT_EQ(full.size() - 4, target.ReadFromBufferBody(full.data() + 4));
}

TEST(QuatBuffer, VersionsAndKinds) {
  QvQuatFCurve source(2);
  source.CreateKey(1.0, 45.0);
  source.CreateKey(2.0, 90.0);
  const std::vector<unsigned char> current = bytes_of(source);
  // The older body has no component word: everything after it moves 4 bytes up.
  std::vector<unsigned char> old(current);
  old.erase(old.begin() + 12, old.begin() + 16);
  old[4] = '0';
  qv::test::put_u32(old, 0, static_cast<std::uint32_t>(old.size() - 4));
  QvQuatFCurve y_view(1);
  ASSERT_EQ(12u + 2u * 48u + 36u + 5u, y_view.ReadFromBufferBody(old.data() + 4));
  EXPECT_EQ(1u, y_view.GetComponent());  // this view's channel stays
  EXPECT_NEAR(90.0, y_view.GetQuatCurve()->Eval(2.0, 2), 1e-9);

  struct Case {
    const char* name;
    std::size_t offset;
    QvULong word;
  };
  const Case bad[] = {
      {"unknown version", 4, 0x30313032u},
      {"another kind", 8, 30u},
      {"component beyond z", 12, 3u},
  };
  for (const Case& c : bad) {
    SCOPED_TRACE(c.name);
    std::vector<unsigned char> b(current);
    qv::test::put_u32(b, c.offset, c.word);
    QvQuatFCurve target(0);
    EXPECT_EQ(0u, target.ReadFromBufferBody(b.data() + 4));
    EXPECT_EQ(0u, target.GetNumKeys());
    EXPECT_EQ(0u, target.GetComponent());
  }
  EXPECT_EQ(QvBaseFCurve::KindQuat, QvBaseFCurve_GetKindFromBufferBody(current.data() + 4));
}

TEST(QuatBuffer, EqualTimesMergeOnRead) {
  QvQuatFCurve source(0);
  source.CreateKey(1.0, 10.0);
  source.CreateKey(2.0, 20.0);
  std::vector<unsigned char> b = bytes_of(source);
  // The second record takes the first one's time: it replaces that key.
  std::memcpy(&b[20 + 48], &b[20], 8);
  QvQuatFCurve target(0);
  ASSERT_NE(0u, target.ReadFromBufferBody(b.data() + 4));
  EXPECT_EQ(1u, target.GetNumKeys());
  EXPECT_NEAR(20.0, target.Eval(1.0, 0), 1e-9);
}
