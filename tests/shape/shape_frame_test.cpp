#include <qv/QvGC.h>
#include <qv/QvPath2f.h>
#include <qv/QvTransfo4.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "shape/shape_test_support.h"

using qv_test::P;
using qv_test::PathProbe;

namespace {

TEST(ShapeFrame, KindWordAndFactory) {
  struct Case {
    std::uint32_t word;
    std::uint32_t body_length;
    QvShape2f::Kind want;
  };
  const Case cases[] = {
      {0, 16, QvShape2f::KindNone},       {1, 16, QvShape2f::KindPath},
      {4, 16, QvShape2f::KindPathProp},   {5, 16, QvShape2f::KindNone},
      {7, 16, QvShape2f::KindNone},       {0x00010004u, 16, QvShape2f::KindPathProp},
      {0x00040000u, 16, QvShape2f::KindNone},
      {1, 2, QvShape2f::KindNone},  // too short to hold a kind word
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << std::hex << c.word << " in " << c.body_length);
    std::vector<unsigned char> bytes(4 + c.body_length, 0);
    for (std::uint32_t k = 0; k < 4; ++k) {
      bytes[k] = static_cast<unsigned char>(c.body_length >> (8 * k));
      if (k < c.body_length) bytes[4 + k] = static_cast<unsigned char>(c.word >> (8 * k));
    }
    EXPECT_EQ(c.want, QvShape2f_GetKindFromBufferBody(bytes.data() + 4));
    // None of these bodies makes a shape: the path body is malformed, and
    // other kinds are not made here.
    QvULong read = 99;
    EXPECT_EQ(nullptr, QvShape2f_CreateFromBufferBody(bytes.data() + 4, read));
    EXPECT_EQ(0u, read);
  }
  EXPECT_EQ(QvShape2f::KindNone, QvShape2f_GetKindFromBufferBody(nullptr));
}

TEST(ShapeFrame, LockCountCountsHoldsAndIsNotCopied) {
  PathProbe path;
  EXPECT_EQ(0, path.GetLockCount());
  path.Lock();
  path.Lock();
  EXPECT_EQ(2, path.GetLockCount());
  PathProbe copy(path);
  EXPECT_EQ(0, copy.GetLockCount());
  path.Unlock();
  path.Unlock();
  EXPECT_EQ(0, path.GetLockCount());
}

TEST(ShapeFrame, RasterExtentTestCountsTouching) {
  PathProbe path;
  path.Moveto(P(0, 0));
  path.Lineto(P(10, 5));
  QvTransfo4 shift;
  shift.Translate(100.0, 0.0, 0.0);
  QvExtent2<float> universe;
  universe.state = QvExtentStates::ExtentUniverse;
  struct Case {
    const char* name;
    bool shifted;
    QvExtent2<float> extent;
    QvLong want;
  };
  const Case cases[] = {
      {"overlap", false, qv_test::box(5, 2, 20, 20), 1},
      {"touching corner", false, qv_test::box(10, 5, 20, 20), 1},
      {"apart", false, qv_test::box(10.5f, 0, 20, 20), 0},
      {"moved away", true, qv_test::box(0, 0, 10, 5), 0},
      {"universe", false, universe, 1},
      {"empty", false, QvExtent2<float>(), 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    QvGC gc;
    if (c.shifted) gc.SetTransform(shift);
    EXPECT_EQ(c.want, path.IsRasterExtentIntersecting(gc, c.extent));
  }
  EXPECT_EQ(0, PathProbe().IsRasterExtentIntersecting(QvGC(), universe));  // nothing to map
}

}  // namespace
