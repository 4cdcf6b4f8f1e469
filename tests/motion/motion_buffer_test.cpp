#include "motion/motion_test_support.h"

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>

namespace {

using qv::test::f64_at;
using qv::test::put_u32;
using qv::test::u32_at;

QvMotionPath3d sample_path() {
  QvMotionPath3d path(P3(1, 2, 3), P3(4, 5, 6), 0.5, 1.5);
  path.Curveto(P3(7, 8, 9), P3(10, 11, 12), P3(13, 14, 15), 2.5);
  path.SetLeftTangentInfo(3, QvMotionPath3d::TangentEase);
  path.SetRightTangentInfo(3, QvMotionPath3d::TangentHold);
  path.LockG1Continuity(6);
  return path;
}

// Every body below lies in a block of its own, exactly as long as its length word says, so that
// a read past the end is caught by the address checker.
const void* body_of(const std::vector<unsigned char>& block) { return block.data() + 4; }

TEST(MotionBuffer, LayoutFigures) {
  const QvMotionPath3d path = sample_path();
  const std::vector<unsigned char> b = bytes_of(path);
  // 20 + 24 n + 11 (n / 3 + 1) with n = 7.
  ASSERT_EQ(20u + 24u * 7u + 11u * 3u, b.size());
  EXPECT_EQ(b.size() - 4, u32_at(b, 0));
  EXPECT_EQ(259u, u32_at(b, 4));
  EXPECT_EQ(0u, u32_at(b, 8));
  EXPECT_EQ(7u, u32_at(b, 12));
  EXPECT_EQ(1.0, f64_at(b, 16));
  EXPECT_EQ(3.0, f64_at(b, 32));
  const std::size_t times = 16 + 24 * 7;
  EXPECT_EQ(0.5, f64_at(b, times));
  EXPECT_EQ(2.5, f64_at(b, times + 16));
  const std::size_t tangents = times + 24;
  const unsigned char want_tangents[6] = {3, 3, 4, 1, 3, 3};
  EXPECT_EQ(0, std::memcmp(want_tangents, b.data() + tangents, 6));
  const unsigned char want_flags[3] = {1, 0, 2};
  EXPECT_EQ(0, std::memcmp(want_flags, b.data() + tangents + 6, 3));
  EXPECT_EQ(0u, u32_at(b, b.size() - 4));

  const std::vector<unsigned char> empty = bytes_of(QvMotionPath3d());
  ASSERT_EQ(20u, empty.size());
  EXPECT_EQ(16u, u32_at(empty, 0));

  const std::vector<unsigned char> odd = bytes_of(QvMotionPath3d(
      P3(std::nan(""), 1, 2), P3(std::numeric_limits<double>::infinity(), 0, 0), 0.0, 1.0));
  EXPECT_EQ(0.0, f64_at(odd, 16));  // non-finite numbers are stored as 0
  EXPECT_EQ(0.0, f64_at(odd, 16 + 72));
}

TEST(MotionBuffer, RoundTripGivesTheSameBytes) {
  for (const QvMotionPath3d& original : {sample_path(), QvMotionPath3d()}) {
    const std::vector<unsigned char> b = bytes_of(original);
    QvMotionPath3d read(P3(), P3(1, 1, 1), 0.0, 1.0);
    int tag = 0;
    read.SetClientData(0, &tag);
    ASSERT_EQ(b.size() - 4, read.ReadFromBufferBody(body_of(b)));
    EXPECT_EQ(b, bytes_of(read));
    EXPECT_EQ(nullptr, read.GetClientData(0));

    using Factory = QvMotionPath3d* (*)(const void*, QvULong&);
    for (Factory create : {&QvMotionPath3d_CreateFromBufferBody, &CreateFromBufferBody,
                           &QvMotionPath3d::CreateFromBufferBody}) {
      QvULong consumed = 0;
      QvMotionPath3d* created = create(body_of(b), consumed);
      ASSERT_NE(nullptr, created);
      EXPECT_EQ(b.size() - 4, consumed);
      EXPECT_EQ(b, bytes_of(*created));
      delete created;
    }
  }
}

TEST(MotionBuffer, EveryShortBodyIsRefusedAndLeavesTheObject) {
  const std::vector<unsigned char> full = bytes_of(sample_path());
  const QvMotionPath3d keep(P3(9, 9, 9), P3(8, 8, 8), 3.0, 4.0);
  const std::vector<unsigned char> kept = bytes_of(keep);
  // The reader needs everything up to the closing zero word.
  for (std::size_t length = 0; length < full.size() - 4; ++length) {
    SCOPED_TRACE(length);
    const std::vector<unsigned char> cut = qv::test::truncated(full, length);
    QvMotionPath3d target = keep;
    EXPECT_EQ(0u, target.ReadFromBufferBody(body_of(cut)));
    EXPECT_EQ(kept, bytes_of(target));
    QvULong consumed = 77;
    EXPECT_EQ(nullptr, QvMotionPath3d_CreateFromBufferBody(body_of(cut), consumed));
    EXPECT_EQ(77u, consumed);
  }
}

TEST(MotionBuffer, MalformedBodiesAreRefused) {
  const std::vector<unsigned char> good = bytes_of(sample_path());
  const std::size_t tangents = 16 + 24 * 7 + 24;
  struct Case {
    const char* name;
    std::size_t at;
    std::uint32_t value;
    bool byte;
  };
  const Case cases[] = {
      {"version below 257", 4, 256, false},
      {"a point count that is not 3k + 1", 12, 6, false},
      {"a point count that runs past the end", 12, 10, false},
      {"a huge point count", 12, 0xFFFFFFFDu, false},
      {"a tangent value of 5", tangents + 1, 5, true},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    std::vector<unsigned char> b = good;
    if (c.byte) b[c.at] = static_cast<unsigned char>(c.value);
    else put_u32(b, c.at, c.value);
    QvMotionPath3d target(P3(), P3(1, 0, 0), 0.0, 1.0);
    const std::vector<unsigned char> before = bytes_of(target);
    EXPECT_EQ(0u, target.ReadFromBufferBody(body_of(b)));
    EXPECT_EQ(before, bytes_of(target));
  }
  {
    SCOPED_TRACE("times that do not rise");
    std::vector<unsigned char> b = good;
    std::memcpy(b.data() + 16 + 24 * 7 + 8, b.data() + 16 + 24 * 7, 8);
    QvMotionPath3d target;
    EXPECT_EQ(0u, target.ReadFromBufferBody(body_of(b)));
    EXPECT_EQ(0u, target.NumPoints());
  }
  {
    SCOPED_TRACE("a later version reads as the newest form, trailing bytes ignored");
    std::vector<unsigned char> b = good;
    put_u32(b, 4, 300);
    for (int i = 0; i < 8; ++i) b.push_back(0xAB);
    put_u32(b, 0, static_cast<std::uint32_t>(b.size() - 4));
    QvMotionPath3d target;
    EXPECT_EQ(good.size() - 4, target.ReadFromBufferBody(body_of(b)));
    EXPECT_EQ(good, bytes_of(target));
  }
}

TEST(MotionBuffer, OlderVersionsReadWithConstantTangents) {
  const std::vector<unsigned char> good = bytes_of(sample_path());
  const std::size_t tangents = 16 + 24 * 7 + 24;
  struct Case {
    std::uint32_t version;
    std::size_t tangent_bytes;  // per node
  };
  for (const Case& c : {Case{257, 0}, Case{258, 1}}) {
    SCOPED_TRACE(c.version);
    std::vector<unsigned char> b(good.begin(), good.begin() + static_cast<long>(tangents));
    for (std::size_t i = 0; i < 3 * c.tangent_bytes; ++i) b.push_back(9);  // skipped
    b.insert(b.end(), good.begin() + static_cast<long>(tangents) + 6, good.end());
    put_u32(b, 0, static_cast<std::uint32_t>(b.size() - 4));
    put_u32(b, 4, c.version);
    QvMotionPath3d read;
    ASSERT_EQ(16u + 24u * 7u + (9u + c.tangent_bytes) * 3u, read.ReadFromBufferBody(body_of(b)));
    for (QvULong i = 0; i < 9; i += 3) {
      QvLong left = 0;
      QvULong right = 0;
      read.GetLeftTangentInfo(i, left);
      read.GetRightTangentInfo(i, right);
      EXPECT_EQ(QvMotionPath3d::TangentConstant, left);
      EXPECT_EQ(2u, right);
    }
    EXPECT_EQ(1, read.IsG1ContinuityLocked(6));
    P3 p;
    read.GetControlPoint(6, p);
    EXPECT_EQ(1, p == P3(13, 14, 15));
  }
}

}  // namespace
