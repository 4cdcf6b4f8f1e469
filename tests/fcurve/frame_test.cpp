#include <qv/QvStdFCurve.h>

#include "fcurve/QvStdFCurveImpl.h"
#include "support/byte_buffer.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <vector>

namespace {

// A buffer made of the given words behind a length word; `length` overrides the length word.
qv::test::Bytes words(std::initializer_list<std::uint32_t> ws, std::uint32_t length = 0) {
  qv::test::Writer w;
  for (std::uint32_t v : ws) w.u32(v);
  qv::test::Bytes b = w.buffer();
  if (length != 0) qv::test::put_u32(b, 0, length);
  return b;
}

class LockProbe : public QvStdFCurve {
 public:
  using QvStdFCurve::GetLockCount;
  using QvStdFCurve::Lock;
  using QvStdFCurve::Unlock;
};

}  // namespace

TEST(FCurveFrame, KindFromBody) {
  struct Case {
    const char* name;
    qv::test::Bytes body;
    QvBaseFCurve::Kind want;
  };
  const Case cases[] = {
      {"the oldest standard form, whatever follows", words({1, 99}), QvBaseFCurve::KindStandard},
      {"standard", words({264, 20}), QvBaseFCurve::KindStandard},
      {"boolean", words({258, 10}), QvBaseFCurve::KindBoolean},
      {"rotation", words({0x30313031, 40}), QvBaseFCurve::KindQuat},
      {"unknown kind", words({264, 21}), static_cast<QvBaseFCurve::Kind>(0)},
      {"too short to hold a kind", words({264, 20}, 6), static_cast<QvBaseFCurve::Kind>(0)},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(c.want, QvBaseFCurve_GetKindFromBufferBody(c.body.data() + 4));
  }
  EXPECT_EQ(4u, QvBaseFCurve_GetBufferBodyLengthSize());
}

TEST(FCurveFrame, FactoryRefusals) {
  QvStdFCurve placeholder;
  QvBaseFCurve* const sentinel = &placeholder;
  const qv::test::Bytes unknown = words({264, 21});
  EXPECT_EQ(0, QvBaseFCurve_CreateFromBufferBody(unknown.data() + 4, nullptr));
  QvBaseFCurve* out = sentinel;
  EXPECT_EQ(0, QvBaseFCurve_CreateFromBufferBody(nullptr, &out));
  EXPECT_EQ(sentinel, out);
  EXPECT_EQ(0, QvBaseFCurve_CreateFromBufferBody(unknown.data() + 4, &out));
  EXPECT_EQ(nullptr, out);
  out = sentinel;
  const qv::test::Bytes truncated = words({264, 20});  // a standard body that ends after its kind
  EXPECT_EQ(0, QvBaseFCurve_CreateFromBufferBody(truncated.data() + 4, &out));
  EXPECT_EQ(nullptr, out);
}

TEST(FCurveFrame, LockCount) {
  LockProbe curve;
  curve.Lock();
  curve.Lock();
  EXPECT_EQ(2, curve.GetLockCount());
  EXPECT_EQ(0.0, curve.Eval(1.0, 0));  // a call made under the lock nests
  EXPECT_EQ(2, curve.GetLockCount());
  const LockProbe copy(curve);  // a copy starts unlocked
  EXPECT_EQ(0, copy.GetLockCount());
  curve.Unlock();
  curve.Unlock();
  EXPECT_EQ(0, curve.GetLockCount());
}

TEST(FCurveFrame, CopiesAreDeep) {
  QvStdFCurve curve(QvPoint2<double>(0, 0), QvPoint2<double>(1, 2), QvPoint2<double>(2, 2),
                    QvPoint2<double>(3, 0), QvBaseFCurve::FSConstant, QvBaseFCurve::FSLinear);
  std::unique_ptr<QvBaseFCurve> clone(curve.Clone());
  ASSERT_NE(nullptr, clone);
  EXPECT_EQ(clone.get(), clone->QueryFCurveKind(QvBaseFCurve::KindStandard));
  EXPECT_EQ(nullptr, clone->QueryFCurveKind(QvBaseFCurve::KindRaw));
  QvStdFCurve assigned;
  ASSERT_EQ(1, assigned.Set(*clone));
  const double before = curve.Eval(1.5, 0);
  curve.GetImpl()->Key(1).leftValue = 9.0;
  EXPECT_NE(before, curve.Eval(1.5, 0));
  EXPECT_EQ(before, clone->Eval(1.5, 0));
  EXPECT_EQ(before, assigned.Eval(1.5, 0));
}
