#include <gtest/gtest.h>

#include <qv/QvFCurveMovers.h>
#include <qv/QvRawFCurve.h>
#include <qv/QvStdFCurve.h>

#include <vector>

namespace {

using Point = QvPoint2<double>;
using Box = QvExtent2<double>;

// Keys at 0, 1, 2, 3 with values 0, 2, 1, 3 and cubic segments with handles a third of the way.
QvStdFCurve four_keys() {
  QvStdFCurve c(0.0, QvBaseFCurve::FSBezierCubic);
  const double v[] = {0.0, 2.0, 1.0, 3.0};
  for (int i = 0; i < 4; ++i) c.CreateKey(i, v[i]);
  return c;
}

QvDoubleArray array_of(std::initializer_list<double> values) {
  QvDoubleArray a;
  for (double v : values) a.Add(v);
  return a;
}

std::vector<unsigned char> bytes_of(const QvBaseFCurve& c) {
  std::vector<unsigned char> out(c.GetBufferSize());
  c.WriteToBuffer(out.data());
  return out;
}

Box unbounded() {
  Box b;
  b.state = QvExtentStates::ExtentUniverse;
  return b;
}

const _pmbUID kId = {7, 1, 2, {1, 2, 3, 4, 5, 6, 7, 8}};

}  // namespace

// The selected pair moves as a block: its inner segment keeps its shape exactly translated, the
// offset is always taken from the start of the drag, and the cut keeps the margin of 0.001 to the
// unselected key on the moving side.
TEST(KeyMover, StandardCurveDragsAsABlock) {
  QvStdFCurve c = four_keys();
  const unsigned char blob[] = {42};
  double at = 1.0;
  ASSERT_EQ(1, c.SetKeyUserData(at, kId, blob, 1, 0.0));
  const QvStdFCurve before(c);
  QvFCurveKeyMover mover(c, array_of({2.0, 1.0}), Box(), unbounded());

  struct Case { Point wanted, taken; };
  const Case cases[] = {
      {{0.7, 0.5}, {0.7, 0.5}},
      {{0.25, -1.0}, {0.25, -1.0}},          // not 0.95: offsets are from the start
      {{5.0, 0.0}, {3.0 - 0.001 - 2.0, 0.0}},  // stops short of the key at 3
      {{-5.0, 0.0}, {0.0 + 0.001 - 1.0, 0.0}},
  };
  for (const Case& k : cases) {
    SCOPED_TRACE(testing::Message() << k.wanted.x << ", " << k.wanted.y);
    Point offset = k.wanted;
    QvDoubleArray moved;
    Box changed, selection;
    ASSERT_EQ(1, mover.Update(offset, moved, changed, selection, -100.0, 100.0));
    EXPECT_EQ(k.taken.x, offset.x);
    EXPECT_EQ(k.taken.y, offset.y);
    ASSERT_EQ(2u, moved.GetSize());
    EXPECT_EQ(2.0 + offset.x, moved[0]);  // the caller's order
    EXPECT_EQ(1.0 + offset.x, moved[1]);
    EXPECT_EQ(1.0 + offset.x, selection.min.x);
    EXPECT_EQ(1.0 + offset.y, selection.min.y);
    EXPECT_EQ(2.0 + offset.y, selection.max.y);
    EXPECT_EQ(0.0, changed.min.x);  // from the unselected neighbours
    EXPECT_EQ(3.0, changed.max.x);
    EXPECT_EQ(4u, c.GetNumKeys());
    for (double t = 0.0; t <= 1.0; t += 0.125)
      EXPECT_NEAR(before.Eval(1.0 + t, 0) + offset.y, c.Eval(1.0 + offset.x + t, 0), 1e-9);
    EXPECT_EQ(0.0, c.Eval(0.0, 0));
    EXPECT_EQ(3.0, c.Eval(3.0, 0));
    double p = 1.0 + offset.x;
    const unsigned char* data = nullptr;
    QvULong size = 0;
    EXPECT_EQ(1, c.GetKeyUserData(p, kId, data, size, 0.0));  // user data rides with its key
    EXPECT_EQ(1.0 + offset.x, p);
  }
  Point back(0.0, 0.0);
  QvDoubleArray moved;
  Box changed, selection;
  ASSERT_EQ(1, mover.Update(back, moved, changed, selection, -100.0, 100.0));
  EXPECT_EQ(1, mover.Finalize());
  EXPECT_EQ(bytes_of(before), bytes_of(c));
}

// The host's range and box bound the move; a parameter-locked key pins the parameter axis.
TEST(KeyMover, LimitsRangeAndLocks) {
  QvStdFCurve c = four_keys();
  Box limits;
  limits.state = QvExtentStates::ExtentBounded;
  limits.min = Point(-10.0, -0.5);
  limits.max = Point(10.0, 2.5);
  QvFCurveKeyMover mover(c, array_of({0.0}), Box(), limits);
  Point offset(-3.0, 4.0);
  QvDoubleArray moved;
  Box changed, selection;
  ASSERT_EQ(1, mover.Update(offset, moved, changed, selection, -1.0, 5.0));
  EXPECT_EQ(-1.0, offset.x);  // `from`
  EXPECT_EQ(2.5, offset.y);   // the box's top
  EXPECT_EQ(-1.0, moved[0]);

  QvStdFCurve d = four_keys();
  double p = 2.0;
  ASSERT_EQ(1, d.SetConstraint(p, QvBaseFCurve::KCParameterLocked, 1, 0.0));
  QvFCurveKeyMover locked(d, array_of({2.0}), Box(), unbounded());
  Point o(0.3, 0.25);
  QvDoubleArray m;
  ASSERT_EQ(1, locked.Update(o, m, changed, selection, -100.0, 100.0));
  EXPECT_EQ(0.0, o.x);
  EXPECT_EQ(0.25, o.y);
  EXPECT_EQ(1.25, d.Eval(2.0, 0));
}

// Refusals: a busy output array, a reversed range, a read-only curve, a key that is not there,
// and anything after Finalize. None of them changes the curve.
TEST(KeyMover, Refusals) {
  QvStdFCurve c = four_keys();
  const std::vector<unsigned char> original = bytes_of(c);
  Box changed, selection;
  {
    QvFCurveKeyMover mover(c, array_of({1.0}), Box(), unbounded());
    Point offset(0.5, 0.0);
    QvDoubleArray busy = array_of({9.0});
    EXPECT_EQ(0, mover.Update(offset, busy, changed, selection, -100.0, 100.0));
    QvDoubleArray moved;
    EXPECT_EQ(0, mover.Update(offset, moved, changed, selection, 1.0, 0.0));
    EXPECT_EQ(original, bytes_of(c));
    EXPECT_EQ(1, mover.Finalize());
    EXPECT_EQ(0, mover.Update(offset, moved, changed, selection, -100.0, 100.0));
    EXPECT_EQ(0, mover.Finalize());
  }
  {
    QvFCurveKeyMover missing(c, array_of({1.5}), Box(), unbounded());
    Point offset(0.5, 0.0);
    QvDoubleArray moved;
    EXPECT_EQ(0, missing.Update(offset, moved, changed, selection, -100.0, 100.0));
  }
  c.SetReadOnlyConstraint(1);
  QvFCurveKeyMover read_only(c, array_of({1.0}), Box(), unbounded());
  Point offset(0.5, 0.0);
  QvDoubleArray moved;
  EXPECT_EQ(0, read_only.Update(offset, moved, changed, selection, -100.0, 100.0));
  EXPECT_EQ(0, read_only.Finalize());
  c.SetReadOnlyConstraint(0);
  EXPECT_EQ(original, bytes_of(c));
}

// A raw curve moves its plain keys, with their user data, and gives them back where they were.
TEST(KeyMover, RawCurveKeysAndUserData) {
  QvRawFCurve c;
  for (int i = 0; i < 5; ++i) c.CreateKey(i, i * i);
  const std::vector<unsigned char> original = bytes_of(c);
  double at = 3.0;
  const unsigned char blob[] = {1, 2};
  ASSERT_EQ(1, c.SetKeyUserData(at, kId, blob, 2, 0.0));
  const std::vector<unsigned char> with_data = bytes_of(c);
  QvFCurveKeyMover mover(c, array_of({3.0, 2.0}), Box(), unbounded());
  Point offset(0.5, 1.0);
  QvDoubleArray moved;
  Box changed, selection;
  ASSERT_EQ(1, mover.Update(offset, moved, changed, selection, -100.0, 100.0));
  QvDoubleArray params;
  c.GetAllKeyParameters(params);
  ASSERT_EQ(5u, params.GetSize());
  EXPECT_EQ(2.5, params[2]);
  EXPECT_EQ(3.5, params[3]);
  EXPECT_EQ(10.0, c.Eval(3.5, 0));
  EXPECT_EQ(1, c.HasUserData(3.5));
  EXPECT_EQ(0, c.HasUserData(3.0));
  Point back(0.0, 0.0);
  QvDoubleArray again;
  ASSERT_EQ(1, mover.Update(back, again, changed, selection, -100.0, 100.0));
  EXPECT_EQ(with_data, bytes_of(c));
  EXPECT_EQ(1, mover.Finalize());
}
