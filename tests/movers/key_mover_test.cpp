#include <gtest/gtest.h>

#include <qv/QvBooleanFCurve.h>
#include <qv/QvIntegerFCurve.h>
#include <qv/QvQuatFCurve.h>
#include <qv/QvStdFCurve.h>

#include "movers/mover_test_support.h"

using namespace qv::test;

namespace {

const _pmbUID kId = {7, 1, 2, {1, 2, 3, 4, 5, 6, 7, 8}};

QvStdFCurve four_keys() {
  QvStdFCurve c(0.0, QvBaseFCurve::FSBezierCubic);
  const double v[] = {0.0, 2.0, 1.0, 3.0};
  for (int i = 0; i < 4; ++i) c.CreateKey(i, v[i]);
  return c;
}

}  // namespace

// The selected pair moves as a block: its inner segment is translated exactly, offsets count
// from the start of the drag, cuts keep 0.001 from the unselected keys, user data rides along,
// and a drag back to the start restores the curve byte for byte.
TEST(KeyMover, StandardCurveDragsAsABlock) {
  QvStdFCurve c = four_keys();
  const unsigned char blob[] = {42};
  double at = 1.0;
  ASSERT_EQ(1, c.SetKeyUserData(at, kId, blob, 1, 0.0));
  const QvStdFCurve before(c);
  QvFCurveKeyMover mover(c, array_of({2.0, 1.0}), Box(), unbounded());
  struct Case { Point wanted, taken; double from; };
  const Case cases[] = {
      {{0.7, 0.5}, {0.7, 0.5}, -100},
      {{0.25, -1.0}, {0.25, -1.0}, -100},            // not 0.95: offsets are from the start
      {{5.0, 0.0}, {3.0 - 0.001 - 2.0, 0.0}, -100},  // stops short of the key at 3
      {{-5.0, 0.0}, {0.0 + 0.001 - 1.0, 0.0}, -100},
      {{-5.0, 0.0}, {-0.25, 0.0}, 0.75},             // the host's range
      {{0.0, 0.0}, {0.0, 0.0}, -100},
  };
  for (const Case& k : cases) {
    SCOPED_TRACE(testing::Message() << k.wanted.x << ", " << k.wanted.y);
    Point offset = k.wanted;
    QvDoubleArray moved;
    Box changed, selection;
    ASSERT_EQ(1, mover.Update(offset, moved, changed, selection, k.from, 100.0));
    EXPECT_EQ(k.taken.x, offset.x);
    EXPECT_EQ(k.taken.y, offset.y);
    ASSERT_EQ(2u, moved.GetSize());
    EXPECT_EQ(2.0 + offset.x, moved[0]);  // in the caller's order
    EXPECT_EQ(1.0 + offset.x, moved[1]);
    EXPECT_EQ(2.0 + offset.y, selection.max.y);
    EXPECT_EQ(3.0, changed.max.x);  // out to the unselected neighbour
    for (double t = 0.0; t <= 1.0; t += 0.125)
      EXPECT_NEAR(before.Eval(1.0 + t, 0) + offset.y, c.Eval(1.0 + offset.x + t, 0), 1e-9);
    EXPECT_EQ(1, c.HasUserData(1.0 + offset.x));
  }
  EXPECT_EQ(bytes_of(before), bytes_of(c));
  EXPECT_EQ(1, mover.Finalize());
}

// A busy output array, a reversed range, a read-only curve and a finished drag
// are all refused, and none of them touches the curve.
TEST(KeyMover, Refusals) {
  QvStdFCurve c = four_keys();
  const std::vector<unsigned char> original = bytes_of(c);
  Point offset(0.5, 0.0);
  QvDoubleArray moved, busy = array_of({9.0});
  Box changed, selection;
  QvFCurveKeyMover mover(c, array_of({1.0}), Box(), unbounded());
  EXPECT_EQ(0, mover.Update(offset, busy, changed, selection, -100.0, 100.0));
  EXPECT_EQ(0, mover.Update(offset, moved, changed, selection, 1.0, 0.0));
  EXPECT_EQ(1, mover.Finalize());
  EXPECT_EQ(0, mover.Update(offset, moved, changed, selection, -100.0, 100.0));
  c.SetReadOnlyConstraint(1);
  QvFCurveKeyMover read_only(c, array_of({1.0}), Box(), unbounded());
  EXPECT_EQ(0, read_only.Update(offset, moved, changed, selection, -100.0, 100.0));
  EXPECT_EQ(0, read_only.Finalize());
  c.SetReadOnlyConstraint(0);
  EXPECT_EQ(original, bytes_of(c));
}

// Boolean keys move only along the parameter axis; an integer offset is clamped to 32 bits
// and rounded to a whole number.
TEST(KeyMover, SteppedKinds) {
  QvBooleanFCurve b;
  QvIntegerFCurve n;
  for (int i = 0; i < 3; ++i) {
    b.CreateKey(i, i == 1 ? 1.0 : 0.0);
    n.CreateKey(i, i == 2 ? 5.0 : 0.0);
  }
  struct Case { QvBaseFCurve* curve; Point wanted, taken; double value; };
  const Case cases[] = {
      {&b, {0.5, 5.0}, {0.5, 0.0}, 1.0},
      {&n, {0.25, 1e10}, {0.25, 2147483647.0}, 2147483647.0},
      {&n, {0.0, -2.6}, {0.0, -3.0}, -3.0},
  };
  for (const Case& k : cases) {
    SCOPED_TRACE(k.wanted.y);
    QvFCurveKeyMover mover(*k.curve, array_of({1.0}), Box(), unbounded());
    Point offset = k.wanted;
    QvDoubleArray moved;
    Box changed, selection;
    ASSERT_EQ(1, mover.Update(offset, moved, changed, selection, -100.0, 100.0));
    EXPECT_EQ(k.taken.x, offset.x);
    EXPECT_EQ(k.taken.y, offset.y);
    EXPECT_EQ(k.value, k.curve->Eval(1.0 + offset.x, 0));
    EXPECT_EQ(0.0, k.curve->Eval(0.9, 0));
    Point back;  // the next row starts from the keys where they were
    QvDoubleArray again;
    ASSERT_EQ(1, mover.Update(back, again, changed, selection, -100.0, 100.0));
  }
}

// A key dragged in one channel of a rotation is the whole key: the other channels go with it.
TEST(KeyMover, RotationKeyMovesWhole) {
  QvQuatFCurve y(1);
  QvQuatCurve& rotation = *y.GetQuatCurve();
  for (int i = 0; i < 3; ++i)
    rotation.SetKey(QvQuatKey(i, QvPoint3<double>(0.1 * i, 0.2, 0.3 * i), 0, 0, 0, 0), 0.0);
  QvFCurveKeyMover mover(y, array_of({1.0}), Box(), unbounded());
  Point offset(0.5, 10.0);
  QvDoubleArray moved;
  Box changed, selection;
  ASSERT_EQ(1, mover.Update(offset, moved, changed, selection, -100.0, 100.0));
  ASSERT_EQ(3u, rotation.GetNumKeys());
  EXPECT_EQ(1.5, rotation.GetKeyTime(1));
  EXPECT_NEAR(0.1, rotation.GetKeyValue(1).x, 1e-15);
  EXPECT_NEAR(0.3, rotation.GetKeyValue(1).z, 1e-15);
  EXPECT_NEAR(0.2 * 57.29577951308232 + 10.0, rotation.GetKeyValue(1, 1), 1e-9);
}
