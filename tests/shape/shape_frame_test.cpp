#include <qv/QvGC.h>
#include <qv/QvPath2f.h>
#include <qv/QvTransfo4.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "shape/shape_test_support.h"

using qv_test::box;
using qv_test::P;
using qv_test::PathProbe;

namespace {

TEST(ShapeFrame, KindWordAndFactory) {
  // Only the low 16 bits name the kind, and a kind word may stand on its own.
  struct Case { std::uint32_t word; QvShape2f::Kind want; };
  const Case cases[] = {
      {0, QvShape2f::KindNone},           {1, QvShape2f::KindPath},
      {4, QvShape2f::KindPathProp},       {5, QvShape2f::KindNone},
      {0x00010004u, QvShape2f::KindPathProp}, {0x00040000u, QvShape2f::KindNone},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << std::hex << c.word);
    const unsigned char word[4] = {static_cast<unsigned char>(c.word), static_cast<unsigned char>(c.word >> 8),
                                   static_cast<unsigned char>(c.word >> 16),
                                   static_cast<unsigned char>(c.word >> 24)};
    EXPECT_EQ(c.want, QvShape2f_GetKindFromBufferBody(word));
  }
  // The factory refuses, with nothing read, a kind it does not know and a
  // body too short to hold a kind word.
  struct Body { std::uint32_t length; unsigned char kind; };
  for (const Body b : {Body{16, 7}, Body{16, 0}, Body{2, 1}, Body{0, 1}}) {
    SCOPED_TRACE(testing::Message() << b.length << " bytes of kind " << int(b.kind));
    std::vector<unsigned char> bytes(4 + b.length, 0);
    bytes[0] = static_cast<unsigned char>(b.length);
    if (b.length > 0) bytes[4] = b.kind;
    QvULong read = 99;
    EXPECT_EQ(nullptr, QvShape2f_CreateFromBufferBody(bytes.data() + 4, read));
    EXPECT_EQ(0u, read);
  }
}

TEST(ShapeFrame, RasterExtentTestCountsTouching) {
  PathProbe path;
  path.Moveto(P(0, 0));
  path.Lineto(P(10, 5));
  QvTransfo4 shift;
  shift.Translate(100.0, 0.0, 0.0);
  const QvExtent2<float> universe = qv_test::universe();
  struct Case { const char* name; bool shifted; QvExtent2<float> extent; QvLong want; };
  const Case cases[] = {
      {"overlap", false, box(5, 2, 20, 20), 1},
      {"touching corner", false, box(10, 5, 20, 20), 1},
      {"apart", false, box(10.5f, 0, 20, 20), 0},
      {"moved away", true, box(0, 0, 10, 5), 0},
      {"universe", true, universe, 1},
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
