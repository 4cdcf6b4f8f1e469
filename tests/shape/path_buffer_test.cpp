#include <qv/QvPath2f.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <random>
#include <vector>

#include "shape/shape_test_support.h"

using qv_test::P;
using qv_test::PathProbe;

namespace {

using Bytes = std::vector<unsigned char>;

TEST(PathBuffer, ExactBytesOfASmallPath) {
  QvPath2f path;
  path.Moveto(P(1, -2));
  path.Lineto(P(0.5, 0));
  const Bytes want = {
      30, 0, 0, 0,              // body length 9n + 12
      1, 0, 0, 0,               // kind
      2, 0, 0, 0,               // n
      0x00, 0x00, 0x80, 0x3F,   // 1.0f
      0x00, 0x00, 0x00, 0xC0,   // -2.0f
      0x00, 0x00, 0x00, 0x3F,   // 0.5f
      0x00, 0x00, 0x00, 0x00,   // 0.0f
      1, 3,                     // types
      1, 0, 0, 0,               // active
  };
  EXPECT_EQ(34u, path.GetBufferSize());
  Bytes got(path.GetBufferSize(), 0xEE);
  EXPECT_EQ(34u, path.WriteToBuffer(got.data()));
  EXPECT_EQ(want, got);
}

TEST(PathBuffer, RoundTripDropsG1LocksAndKeepsActive) {
  PathProbe path;
  path.Moveto(P(0, 0));
  path.Curveto(P(5, 0), P(10, 5), P(10, 10));
  path.Curveto(P(10, 15), P(-5, 0), P(0, 0));
  path.Closeto();
  path.Moveto(P(3, 3));
  ASSERT_EQ(1, path.LockG1(0));
  const Bytes bytes = qv_test::stored(path);
  PathProbe back;
  ASSERT_EQ(bytes.size() - 4, back.ReadFromBufferBody(bytes.data() + 4));
  EXPECT_EQ(0, back.IsG1LockOn(0));
  EXPECT_EQ(0, back.IsG1LockOn(6));
  EXPECT_EQ(1, back.IsActive());
  EXPECT_EQ(bytes, qv_test::stored(back));
  EXPECT_EQ(1, back.IsSiblingOf(path));

  // An empty path stores 16 bytes and reads back empty.
  QvPath2f empty;
  const Bytes empty_bytes = qv_test::stored(empty);
  EXPECT_EQ(16u, empty_bytes.size());
  ASSERT_EQ(12u, back.ReadFromBufferBody(empty_bytes.data() + 4));
  EXPECT_EQ(0u, back.NumPoints());
  back.Moveto(P(1, 1));  // still usable after reading an empty body
  EXPECT_EQ(1u, back.NumPoints());
}

TEST(PathBuffer, EveryTruncationIsRefusedAndChangesNothing) {
  QvPath2f source;
  qv_test::build_mixed(source);
  const Bytes bytes = qv_test::stored(source);
  QvPath2f target;
  target.Moveto(P(7, 7));
  target.Lineto(P(8, 8));
  const Bytes target_before = qv_test::stored(target);
  for (std::size_t size = 4; size < bytes.size(); ++size) {
    SCOPED_TRACE(size);
    const Bytes cut = qv_test::truncated(bytes, size);
    EXPECT_EQ(0u, target.ReadFromBufferBody(cut.data() + 4));
    EXPECT_EQ(target_before, qv_test::stored(target));
    QvULong read = 99;
    EXPECT_EQ(nullptr, QvShape2f_CreateFromBufferBody(cut.data() + 4, read));
    EXPECT_EQ(0u, read);
  }
}

TEST(PathBuffer, InconsistentBodiesAreRefused) {
  QvPath2f source;
  source.Moveto(P(0, 0));
  source.Curveto(P(1, 0), P(2, 1), P(2, 2));
  source.Lineto(P(0, 0));
  const Bytes good = qv_test::stored(source);  // n = 5, types at 12 + 40
  ASSERT_EQ(4u + 12 + 45, good.size());
  struct Case {
    const char* name;
    std::size_t offset;
    unsigned char value;
  };
  const Case cases[] = {
      {"kind 2", 4, 2},
      {"kind 0", 4, 0},
      {"count one too many", 8, 6},
      {"count one too few", 8, 4},
      {"first point not a Moveto", 52, 3},
      {"handle run broken", 54, 8},
      {"handle run of another degree", 54, 13},
      {"end of another degree", 55, 6},
      {"reserved type", 56, 2},
      {"no type", 56, 0},
      {"type past the table", 56, 47},
      {"handle at the very end", 56, 5},
      {"active 2", 57, 2},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    Bytes bad = good;
    bad[c.offset] = c.value;
    QvPath2f target;
    target.Moveto(P(9, 9));
    const Bytes before = qv_test::stored(target);
    EXPECT_EQ(0u, target.ReadFromBufferBody(bad.data() + 4));
    EXPECT_EQ(before, qv_test::stored(target));
  }
  // The high half of the kind word is not looked at.
  Bytes high = good;
  high[6] = 0x34;
  QvPath2f target;
  EXPECT_EQ(good.size() - 4, target.ReadFromBufferBody(high.data() + 4));
  EXPECT_EQ(good, qv_test::stored(target));
}

TEST(PathBuffer, RandomBodiesNeverHarmTheReader) {
  std::mt19937 rng(20261123);
  QvPath2f target;
  target.Moveto(P(1, 2));
  const Bytes before = qv_test::stored(target);
  QvULong accepted = 0;
  for (int round = 0; round < 4000; ++round) {
    const std::uint32_t n = static_cast<std::uint32_t>(rng() % 6);
    // Mostly well-sized bodies with random contents, so that the structure
    // checks are what refuses them; now and then a random length.
    std::uint32_t body = 9 * n + 12;
    if (round % 4 == 0) body = static_cast<std::uint32_t>(rng() % 64);
    Bytes bytes(4 + body);
    for (std::size_t k = 4; k < bytes.size(); ++k) bytes[k] = static_cast<unsigned char>(rng());
    for (int k = 0; k < 4; ++k) bytes[static_cast<std::size_t>(k)] = static_cast<unsigned char>(body >> (8 * k));
    if (body >= 12 && round % 2 == 0) {
      // A plausible header, so that the types and the active word are reached.
      bytes[4] = 1;
      bytes[5] = 0;
      for (int k = 0; k < 4; ++k) bytes[static_cast<std::size_t>(8 + k)] = static_cast<unsigned char>(((body - 12) / 9) >> (8 * k));
      for (std::size_t t = 0; t < (body - 12) / 9; ++t)
        bytes[12 + 8 * ((body - 12) / 9) + t] = static_cast<unsigned char>(rng() % 4 == 0 ? 1u : static_cast<unsigned>(rng() % 12));
      bytes[bytes.size() - 4] = static_cast<unsigned char>(rng() % 2);
      for (std::size_t k = bytes.size() - 3; k < bytes.size(); ++k) bytes[k] = 0;
    }
    QvPath2f path;
    path.Moveto(P(1, 2));
    const QvULong read = path.ReadFromBufferBody(bytes.data() + 4);
    if (read == 0) {
      EXPECT_EQ(before, qv_test::stored(path));
      continue;
    }
    ++accepted;
    EXPECT_EQ(body, read);
    // Whatever was accepted can be walked and stored again as it came.
    QvPoint2fArray flat;
    QvPointTagArray tags;
    path.AltFlatten(1.0, flat, tags);
    EXPECT_EQ(flat.GetSize(), tags.GetSize());
    Bytes again = qv_test::stored(path);
    EXPECT_EQ(bytes.size(), again.size());
  }
  EXPECT_GT(accepted, 10u);
}

TEST(PathBuffer, ShapesReadInSequence) {
  QvPath2f first;
  qv_test::build_mixed(first);
  QvPath2f second;
  second.Moveto(P(4, 4));
  Bytes stream = qv_test::stored(first);
  const Bytes tail = qv_test::stored(second);
  stream.insert(stream.end(), tail.begin(), tail.end());
  std::size_t at = 0;
  std::vector<std::unique_ptr<QvShape2f>> shapes;
  while (at < stream.size()) {
    QvULong read = 0;
    shapes.emplace_back(QvShape2f_CreateFromBufferBody(stream.data() + at + 4, read));
    ASSERT_NE(nullptr, shapes.back());
    at += QvShape2f_GetBufferBodyLengthSize() + read;
  }
  ASSERT_EQ(2u, shapes.size());
  EXPECT_EQ(9u, shapes[0]->NumPoints());
  EXPECT_EQ(1u, shapes[1]->NumPoints());
}

}  // namespace
