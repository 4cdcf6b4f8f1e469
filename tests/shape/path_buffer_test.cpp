#include <qv/QvPath2f.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <random>
#include <vector>

#include "shape/shape_test_support.h"

using qv_test::P;

namespace {

using Bytes = std::vector<unsigned char>;

void set_length_word(Bytes& bytes) {
  const std::uint32_t body = static_cast<std::uint32_t>(bytes.size() - 4);
  for (std::uint32_t k = 0; k < 4; ++k) bytes[k] = static_cast<unsigned char>(body >> (8 * k));
}

TEST(PathBuffer, ExactBytesAndRoundTrip) {
  // One cubic looping back to its start, smooth at the joint.
  QvPath2f path;
  path.Moveto(P(0, 0));
  path.Curveto(P(1, 0), P(-1, 0), P(0, 0));
  path.Closeto();
  ASSERT_EQ(1, path.LockG1(0));
  const Bytes want = {
      48, 0, 0, 0,  // body length 9n + 12
      1, 0, 0, 0,   // kind
      4, 0, 0, 0,   // n
      0, 0, 0, 0, 0, 0, 0, 0,           // (0, 0)
      0, 0, 0x80, 0x3F, 0, 0, 0, 0,     // (1, 0)
      0, 0, 0x80, 0xBF, 0, 0, 0, 0,     // (-1, 0)
      0, 0, 0, 0, 0, 0, 0, 0,           // (0, 0)
      1, 8, 9, 11,  // types, without the G1 lock bits
      0, 0, 0, 0,   // active
  };
  EXPECT_EQ(want.size(), path.GetBufferSize());
  Bytes got(want.size(), 0xEE);
  EXPECT_EQ(want.size(), path.WriteToBuffer(got.data()));
  EXPECT_EQ(want, got);

  QvULong read = 0;
  std::unique_ptr<QvShape2f> shape(QvShape2f_CreateFromBufferBody(got.data() + 4, read));
  ASSERT_NE(nullptr, shape);
  EXPECT_EQ(want.size() - QvShape2f_GetBufferBodyLengthSize(), read);
  QvPath2f& back = *static_cast<QvPath2f*>(shape->QueryShapeKind(QvShape2f::KindPath));
  EXPECT_EQ(nullptr, shape->QueryShapeKind(QvShape2f::KindPathProp));
  EXPECT_EQ(0, back.IsG1LockOn(0));
  EXPECT_EQ(0, back.IsActive());
  EXPECT_EQ(want, qv_test::stored(back));

  // An empty path stores 16 bytes, reads back empty, and can be built on.
  const Bytes empty = qv_test::stored(QvPath2f());
  EXPECT_EQ(16u, empty.size());
  ASSERT_EQ(12u, back.ReadFromBufferBody(empty.data() + 4));
  EXPECT_EQ(0u, back.NumPoints());
  back.Moveto(P(1, 1));
  EXPECT_EQ(1, back.IsActive());
}

TEST(PathBuffer, TruncatedAndInconsistentBodiesChangeNothing) {
  QvPath2f source;
  source.Moveto(P(0, 0));
  source.Curveto(P(1, 0), P(2, 1), P(2, 2));
  source.Lineto(P(0, 0));
  const Bytes good = qv_test::stored(source);  // n = 5: types at 52, active at 57
  QvPath2f target;
  target.Moveto(P(7, 7));
  target.Lineto(P(8, 8));
  const Bytes before = qv_test::stored(target);
  auto refused = [&](const Bytes& bad) {
    QvULong read = 99;
    return target.ReadFromBufferBody(bad.data() + 4) == 0 && qv_test::stored(target) == before &&
           QvShape2f_CreateFromBufferBody(bad.data() + 4, read) == nullptr && read == 0;
  };
  // Every shorter body, in a block of exactly its size, with a length word to match.
  for (std::size_t size = 4; size < good.size(); ++size) {
    Bytes cut(good.begin(), good.begin() + static_cast<std::ptrdiff_t>(size));
    set_length_word(cut);
    EXPECT_TRUE(refused(cut)) << size;
  }
  struct Case {
    const char* name;
    std::size_t offset;
    unsigned char value;
  };
  const Case cases[] = {
      {"kind 5", 4, 5},
      {"count one too many", 8, 6},
      {"first point not a Moveto", 52, 3},
      {"handle run broken", 54, 8},
      {"handle of another degree", 54, 13},
      {"end of another degree", 55, 6},
      {"reserved type", 56, 2},
      {"no type", 56, 0},
      {"type past the table", 56, 47},
      {"handle at the very end", 56, 5},
      {"active 2", 57, 2},
  };
  for (const Case& c : cases) {
    Bytes bad = good;
    bad[c.offset] = c.value;
    EXPECT_TRUE(refused(bad)) << c.name;
  }
  Bytes high = good;
  high[6] = 0x34;  // the high half of the kind word is not looked at
  EXPECT_EQ(good.size() - 4, target.ReadFromBufferBody(high.data() + 4));
}

TEST(PathBuffer, RandomBodiesAreRefusedOrReadWhole) {
  std::mt19937 rng(20261123);
  QvULong accepted = 0;
  for (int round = 0; round < 4000; ++round) {
    // Mostly well-sized bodies with a plausible header, so that the checks
    // of the types and the active word are what refuses them.
    const std::uint32_t n = static_cast<std::uint32_t>(rng() % 6);
    Bytes bytes(4 + (round % 4 == 0 ? static_cast<std::uint32_t>(rng() % 64) : 9 * n + 12));
    for (std::size_t k = 4; k < bytes.size(); ++k) bytes[k] = static_cast<unsigned char>(rng());
    set_length_word(bytes);
    if (round % 4 != 0) {
      bytes[4] = 1;
      bytes[5] = bytes[6] = bytes[7] = 0;
      for (std::uint32_t k = 0; k < 4; ++k) bytes[8 + k] = static_cast<unsigned char>(n >> (8 * k));
      for (std::size_t t = 0; t < n; ++t)
        bytes[12 + 8 * n + t] = static_cast<unsigned char>(rng() % 3 == 0 ? 1u : rng() % 12);
      bytes[bytes.size() - 4] = static_cast<unsigned char>(rng() % 2);
      bytes[bytes.size() - 3] = bytes[bytes.size() - 2] = bytes[bytes.size() - 1] = 0;
    }
    QvPath2f path;
    path.Moveto(P(1, 2));
    const QvULong read = path.ReadFromBufferBody(bytes.data() + 4);
    if (read == 0) {
      ASSERT_EQ(1u, path.NumPoints());
      continue;
    }
    ++accepted;
    // What was accepted can be walked and is stored again as it came.
    QvPoint2fArray flat;
    QvPointTagArray tags;
    path.AltFlatten(1.0, flat, tags);
    ASSERT_EQ(flat.GetSize(), tags.GetSize());
    ASSERT_EQ(bytes, qv_test::stored(path));
  }
  EXPECT_GT(accepted, 100u);
}

}  // namespace
