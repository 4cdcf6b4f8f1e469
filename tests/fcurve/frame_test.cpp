#include <qv/QvRawFCurve.h>
#include <qv/QvStdFCurve.h>

#include "fcurve/QvStdFCurveImpl.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <vector>

namespace {

// A buffer whose body is the given words, with the length word in front.
struct Body {
  unsigned char bytes[64] = {};
  explicit Body(std::initializer_list<QvULong> words, QvULong length = 0) {
    QvULong n = 0;
    for (QvULong w : words) {
      for (int b = 0; b < 4; ++b) bytes[4 + 4 * n + b] = static_cast<unsigned char>(w >> (8 * b));
      ++n;
    }
    const QvULong declared = length != 0 ? length : 4 * n;
    for (int b = 0; b < 4; ++b) bytes[b] = static_cast<unsigned char>(declared >> (8 * b));
  }
  const void* body() const { return bytes + 4; }
};

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
    Body body;
    QvBaseFCurve::Kind want;
  };
  const Case cases[] = {
      {"the oldest standard form, whatever follows", Body({1, 99}), QvBaseFCurve::KindStandard},
      {"standard", Body({264, 20}), QvBaseFCurve::KindStandard},
      {"boolean", Body({258, 10}), QvBaseFCurve::KindBoolean},
      {"rotation", Body({0x30313031, 40}), QvBaseFCurve::KindQuat},
      {"unknown kind", Body({264, 21}), static_cast<QvBaseFCurve::Kind>(0)},
      {"too short to hold a kind", Body({264, 20}, 6), static_cast<QvBaseFCurve::Kind>(0)},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(c.want, QvBaseFCurve_GetKindFromBufferBody(c.body.body()));
  }
  EXPECT_EQ(4u, QvBaseFCurve_GetBufferBodyLengthSize());
}

TEST(FCurveFrame, FactoryRefusals) {
  QvStdFCurve placeholder;
  QvBaseFCurve* const sentinel = &placeholder;
  const Body unknown({264, 21});
  EXPECT_EQ(0, QvBaseFCurve_CreateFromBufferBody(unknown.body(), nullptr));
  QvBaseFCurve* out = sentinel;
  EXPECT_EQ(0, QvBaseFCurve_CreateFromBufferBody(nullptr, &out));
  EXPECT_EQ(sentinel, out);
  EXPECT_EQ(0, QvBaseFCurve_CreateFromBufferBody(unknown.body(), &out));
  EXPECT_EQ(nullptr, out);
  out = sentinel;
  const Body truncated({264, 20});  // a standard body that ends after its kind
  EXPECT_EQ(0, QvBaseFCurve_CreateFromBufferBody(truncated.body(), &out));
  EXPECT_EQ(nullptr, out);
}

// The factory builds each kind that the library has from that kind's own buffer.
TEST(FCurveFrame, FactoryBuildsEachKind) {
  QvStdFCurve standard;
  standard.CreateKey(1.0, 2.0);
  QvRawFCurve raw;
  raw.CreateKey(1.0, 2.0);
  for (const QvBaseFCurve* curve : {static_cast<const QvBaseFCurve*>(&standard),
                                    static_cast<const QvBaseFCurve*>(&raw)}) {
    SCOPED_TRACE(curve->GetKind());
    std::vector<unsigned char> bytes(curve->GetBufferSize());
    ASSERT_EQ(bytes.size(), curve->WriteToBuffer(bytes.data()));
    QvBaseFCurve* out = nullptr;
    ASSERT_EQ(1, QvBaseFCurve_CreateFromBufferBody(bytes.data() + 4, &out));
    std::unique_ptr<QvBaseFCurve> owned(out);
    EXPECT_EQ(curve->GetKind(), out->GetKind());
    EXPECT_EQ(2.0, out->Eval(1.0, 0));
  }
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
