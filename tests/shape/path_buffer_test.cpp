#include <qv/QvGC.h>
#include <qv/QvPath2f.h>
#include <qv/QvTransfo4.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <memory>
#include <random>
#include <sstream>
#include <vector>

#include "shape/shape_test_support.h"

using qv_test::P;

namespace {

using Bytes = std::vector<unsigned char>;

void set_length_word(Bytes& bytes) {
  qv::test::put_u32(bytes, 0, static_cast<std::uint32_t>(bytes.size() - 4));
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
  EXPECT_EQ(want, qv_test::bytes_of(back));

  // An empty path stores 16 bytes, reads back empty, and can be built on.
  const Bytes empty = qv_test::bytes_of(QvPath2f());
  EXPECT_EQ(16u, empty.size());
  ASSERT_EQ(12u, back.ReadFromBufferBody(empty.data() + 4));
  EXPECT_EQ(0u, back.NumPoints());
  back.Moveto(P(1, 1));
  EXPECT_EQ(1, back.IsActive());

  // A range copy cut through a cubic stores types that no verb would build;
  // they are read back as they stand, with the copy's active word.
  QvPath2f mixed;
  qv_test::build_mixed(mixed);
  const Bytes cut = qv_test::bytes_of(QvPath2f(mixed, 2, 5));
  EXPECT_EQ((Bytes{1, 9, 10, 5, 1, 0, 0, 0}), Bytes(cut.end() - 8, cut.end()));
  ASSERT_EQ(cut.size() - 4, back.ReadFromBufferBody(cut.data() + 4));
  EXPECT_EQ(cut, qv_test::bytes_of(back));
}

TEST(PathBuffer, TruncatedAndInconsistentBodiesChangeNothing) {
  QvPath2f source;
  source.Moveto(P(0, 0));
  source.Curveto(P(1, 0), P(2, 1), P(2, 2));
  source.Lineto(P(0, 0));
  const Bytes good = qv_test::bytes_of(source);  // n = 5
  QvPath2f target;
  target.Moveto(P(7, 7));
  target.Lineto(P(8, 8));
  const Bytes before = qv_test::bytes_of(target);
  auto refused = [&](const Bytes& bad) {
    QvULong read = 99;
    return target.ReadFromBufferBody(bad.data() + 4) == 0 && qv_test::bytes_of(target) == before &&
           QvShape2f_CreateFromBufferBody(bad.data() + 4, read) == nullptr && read == 0;
  };
  // Every shorter body, in a block of exactly its size, with a length word to match.
  for (std::size_t size = 0; size + 4 < good.size(); ++size)
    EXPECT_TRUE(refused(qv::test::truncated(good, size))) << size;
  struct Case { const char* name; std::size_t offset; unsigned char value; };
  const Case cases[] = {
      {"kind 5", 4, 5}, {"kind 0", 4, 0}, {"count one too many", 8, 6},
      {"count one too few", 8, 4}, {"count past 2^24", 11, 1},
  };
  for (const Case& c : cases) {
    Bytes bad = good;
    bad[c.offset] = c.value;
    EXPECT_TRUE(refused(bad)) << c.name;
  }
  Bytes longer = good;
  longer.push_back(0);
  set_length_word(longer);
  EXPECT_TRUE(refused(longer)) << "a byte past the points";
  Bytes high = good;
  high[6] = 0x34;  // the high half of the kind word is not looked at
  EXPECT_EQ(good.size() - 4, target.ReadFromBufferBody(high.data() + 4));
}

// Whatever a path holds, every query walks it without leaving its arrays:
// paths built with misused verbs, range copies cut through segments, and
// random bodies, which are read whenever their kind and count fit.
void exercise(const QvPath2f& source) {
  QvPath2f path(source);
  const QvULong n = path.NumPoints();
  QvPoint2fArray pts;
  QvPointTagArray tags;
  path.AltFlatten(0.5, pts, tags);
  ASSERT_EQ(pts.GetSize(), tags.GetSize());
  QvGC gc;
  gc.SetSamplingDistance(0.7);
  path.Sample(gc, pts, tags);
  QvFloatArray half;
  half.Add(0.5f);
  QvPointTagArray fraction_tags;
  path.Sample(gc, half, pts, fraction_tags);
  QvPoint2dArray dpts;
  QvExtent2<double> clip;
  clip.state = QvExtentStates::ExtentBounded;
  path.TransformFlattenAndClipClosedSubPaths(QvTransfo4(), 0.5, clip, dpts, tags);
  path.GetTightExtent(clip);
  path.IsIntersectingExtent(gc, qv_test::box(-1, -1, 1, 1), 1);
  std::ostringstream text;
  text << path << path.NumSegments() << path.LargestDegree();
  for (QvULong i = 0; i < n + 2; ++i) {
    QvULong first = 12345, last = 12345;
    path.GetSegmentIndices(i, first, last);
    EXPECT_TRUE(i < n ? first <= i && i <= last && last < n : first == 12345u) << i;
    path.GetNodeNormalizedArcLength(i, 0.5);
    QvExtent2<float> e;
    path.GetSegmentExtent(i, e);
    QvPath2f(path, i, n - 1).AltFlatten(0.5, pts, tags);
  }
  const QvPoint2<float> cubic[4] = {P(0, 0), P(1, 1), P(2, 1), P(3, 0)};
  for (QvULong i = 0; i < n + 2; ++i) {  // these may add and remove points as they go
    path.LockG1(i);
    path.ReplacePoint(i, P(0.5, 0.5), 1);
    path.ReplaceTangentVectorDirections(i, P(1, 0));
    path.UnlockG1(i);
    path.OpenSubpath(i);
    path.CloseSubpath(i);
    path.ReplaceSegment(i, cubic, 3);
    path.ReplaceSubpathSection(i, i + 2, P(1, 1), P(2, 2));
    path.ReplaceSubpathSection(i, i + 3, source, 0, 2);
    path.RemoveSubpathSection(i, i + 1);
  }
  QvPath2f in, out;
  path.GetInwardOutwardPaths(0.5f, 0.5f, in, out);
  path.AltFlatten(0.5, pts, tags);
  path.RemoveSubpath(0);
}

TEST(PathBuffer, AnyTypesAreReadAndWalkedSafely) {
  QvPath2f misused;
  misused.Lineto(P(1, 1));  // no Moveto at all
  qv_test::build_mixed(misused);
  misused.Lineto(P(40, 40));  // after the subpath ended, without a Moveto
  exercise(misused);
  exercise(QvPath2f(misused, 3, 6));  // through a cubic's handles

  std::mt19937 rng(20261123);
  QvULong accepted = 0;
  for (int round = 0; round < 3000; ++round) {
    // Mostly bodies of kind 1 whose count fits, with types drawn from the
    // whole byte and small coordinates, so that flattening stays cheap;
    // every fourth body is random throughout.
    const std::uint32_t n = static_cast<std::uint32_t>(rng() % 7);
    const bool plausible = round % 4 != 0;
    Bytes bytes(4 + (plausible ? 9 * n + 12 : static_cast<std::uint32_t>(rng() % 64)));
    for (std::size_t k = 4; k < bytes.size(); ++k) bytes[k] = static_cast<unsigned char>(rng());
    set_length_word(bytes);
    if (plausible) {
      bytes[4] = 1;
      bytes[5] = 0;
      for (std::uint32_t k = 0; k < 4; ++k) bytes[8 + k] = static_cast<unsigned char>(n >> (8 * k));
      for (std::size_t c = 0; c < 2 * n; ++c) {
        const float v = static_cast<float>(static_cast<int>(rng() % 17) - 8) * 0.5f;
        std::memcpy(&bytes[12 + 4 * c], &v, 4);  // the test host is little-endian
      }
      for (std::size_t t = 0; t < n; ++t)
        if (rng() % 3 == 0) bytes[12 + 8 * n + t] = 1;  // enough Moveto to make subpaths
    }
    const std::uint64_t length = bytes.size() - 4;
    std::uint32_t count = 0;
    if (length >= 12) std::memcpy(&count, &bytes[8], 4);
    const bool fits = length >= 12 && bytes[4] == 1 && bytes[5] == 0 && 9ull * count + 12 == length;
    QvPath2f path;
    path.Moveto(P(1, 2));
    const QvULong read = path.ReadFromBufferBody(bytes.data() + 4);
    ASSERT_EQ(fits ? length : 0u, read) << round;
    if (!read) {
      ASSERT_EQ(1u, path.NumPoints());
      continue;
    }
    ++accepted;
    // Stored again as read, but for the high half of the kind word and the
    // bits above the types.
    bytes[6] = bytes[7] = 0;
    for (std::size_t t = 0; t < count; ++t) bytes[12 + 8 * count + t] &= 0x3F;
    ASSERT_EQ(bytes, qv_test::bytes_of(path)) << round;
    ASSERT_NO_FATAL_FAILURE(exercise(path)) << round;
  }
  EXPECT_GT(accepted, 1000u);
}

}  // namespace
