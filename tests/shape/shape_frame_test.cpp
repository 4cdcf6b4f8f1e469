#include <qv/QvGC.h>
#include <qv/QvPath2f.h>
#include <qv/QvShape2f.h>
#include <qv/QvTransfo4.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <vector>

#include "shape/shape_test_support.h"

using qv_test::P;
using qv_test::PathProbe;

namespace {

// A body of the given kind word, behind its length word.
std::vector<unsigned char> body_of_kind(std::uint32_t kind, std::uint32_t body_length = 4) {
  std::vector<unsigned char> bytes(4 + body_length, 0);
  for (int k = 0; k < 4; ++k) {
    bytes[static_cast<std::size_t>(k)] = static_cast<unsigned char>(body_length >> (8 * k));
    bytes[static_cast<std::size_t>(4 + k)] = static_cast<unsigned char>(kind >> (8 * k));
  }
  return bytes;
}

TEST(ShapeFrame, KindFromBodyLooksAtTheLowSixteenBitsOnly) {
  struct Case {
    std::uint32_t word;
    QvShape2f::Kind want;
  };
  const Case cases[] = {
      {0, QvShape2f::KindNone},        {1, QvShape2f::KindPath},
      {2, QvShape2f::KindRect},        {3, QvShape2f::KindOval},
      {4, QvShape2f::KindPathProp},    {5, QvShape2f::KindNone},
      {0x00010004u, QvShape2f::KindPathProp},  // the high half is another field
      {0x00040000u, QvShape2f::KindNone},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << std::hex << c.word);
    const std::vector<unsigned char> bytes = body_of_kind(c.word);
    EXPECT_EQ(c.want, QvShape2f_GetKindFromBufferBody(bytes.data() + 4));
  }
  // A body too short to hold its kind word has no kind.
  const std::vector<unsigned char> short_body = body_of_kind(1, 2);
  EXPECT_EQ(QvShape2f::KindNone, QvShape2f_GetKindFromBufferBody(short_body.data() + 4));
  EXPECT_EQ(QvShape2f::KindNone, QvShape2f_GetKindFromBufferBody(nullptr));
  EXPECT_EQ(4u, QvShape2f_GetBufferBodyLengthSize());
}

TEST(ShapeFrame, FactoryRefusesUnknownKinds) {
  for (std::uint32_t kind : {0u, 5u, 7u, 0xFFFFu}) {
    SCOPED_TRACE(kind);
    const std::vector<unsigned char> bytes = body_of_kind(kind, 16);
    QvULong read = 99;
    EXPECT_EQ(nullptr, QvShape2f_CreateFromBufferBody(bytes.data() + 4, read));
    EXPECT_EQ(0u, read);
  }
}

TEST(ShapeFrame, FactoryMakesAPathFromItsBody) {
  QvPath2f path;
  qv_test::build_mixed(path);
  const std::vector<unsigned char> bytes = qv_test::stored(path);
  QvULong read = 0;
  std::unique_ptr<QvShape2f> shape(QvShape2f_CreateFromBufferBody(bytes.data() + 4, read));
  ASSERT_NE(nullptr, shape);
  EXPECT_EQ(bytes.size() - 4, read);
  ASSERT_NE(nullptr, shape->QueryShapeKind(QvShape2f::KindPath));
  EXPECT_EQ(bytes, qv_test::stored(*shape));
}

TEST(ShapeFrame, QueryShapeKindIsExactByKind) {
  QvPath2f path;
  const QvShape2f& shape = path;
  EXPECT_EQ(&path, shape.QueryShapeKind(QvShape2f::KindPath));
  for (QvShape2f::Kind kind : {QvShape2f::KindNone, QvShape2f::KindRect, QvShape2f::KindOval,
                               QvShape2f::KindPathProp}) {
    SCOPED_TRACE(kind);
    EXPECT_EQ(nullptr, shape.QueryShapeKind(kind));
  }
}

TEST(ShapeFrame, LockCountCountsHoldsAndIsNotCopied) {
  PathProbe path;
  EXPECT_EQ(0, path.GetLockCount());
  path.Lock();
  path.Lock();
  EXPECT_EQ(2, path.GetLockCount());
  PathProbe copy(path);
  EXPECT_EQ(0, copy.GetLockCount());
  copy = path;
  EXPECT_EQ(0, copy.GetLockCount());
  path.Unlock();
  path.Unlock();
  EXPECT_EQ(0, path.GetLockCount());
}

TEST(ShapeFrame, RasterExtentTestTouchingCounts) {
  PathProbe path;
  path.Moveto(P(0, 0));
  path.Lineto(P(10, 5));
  QvGC gc;
  QvTransfo4 shift;
  shift.Translate(100.0, 0.0, 0.0);
  struct Case {
    const char* name;
    bool shifted;
    QvExtent2<float>::ExtentState state;
    float x0, y0, x1, y1;
    QvLong want;
  };
  const Case cases[] = {
      {"overlap", false, QvExtentStates::ExtentBounded, 5, 2, 20, 20, 1},
      {"touching corner", false, QvExtentStates::ExtentBounded, 10, 5, 20, 20, 1},
      {"apart", false, QvExtentStates::ExtentBounded, 10.5f, 0, 20, 20, 0},
      {"moved into it", true, QvExtentStates::ExtentBounded, 100, 0, 101, 1, 1},
      {"moved away", true, QvExtentStates::ExtentBounded, 0, 0, 10, 5, 0},
      {"universe", false, QvExtentStates::ExtentUniverse, 0, 0, 0, 0, 1},
      {"empty", false, QvExtentStates::ExtentEmpty, 0, 0, 100, 100, 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    QvGC context;
    if (c.shifted) context.SetTransform(shift);
    QvExtent2<float> box;
    box.min = QvPoint2<float>(c.x0, c.y0);
    box.max = QvPoint2<float>(c.x1, c.y1);
    box.state = c.state;
    EXPECT_EQ(c.want, path.IsRasterExtentIntersecting(context, box));
  }
  // An empty path reaches nothing, not even the universe.
  PathProbe empty;
  QvExtent2<float> universe;
  universe.state = QvExtentStates::ExtentUniverse;
  EXPECT_EQ(0, empty.IsRasterExtentIntersecting(gc, universe));
}

}  // namespace
