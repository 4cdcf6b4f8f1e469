#include <gtest/gtest.h>

#include <qv/QvFCurveMovers.h>
#include <qv/QvRawFCurve.h>
#include <qv/QvStdFCurve.h>

#include <vector>

namespace {

using Point = QvPoint2<double>;
using Box = QvExtent2<double>;
using Handle = QvBaseFCurve::RegionHandle;

// Keys at 0..4 with values p * p, joined by lines.
QvStdFCurve squares() {
  QvStdFCurve c(0.0, QvBaseFCurve::FSLinear);
  for (int i = 0; i < 5; ++i) c.CreateKey(i, i * i);
  return c;
}

QvDoubleArray array_of(std::initializer_list<double> values) {
  QvDoubleArray a;
  for (double v : values) a.Add(v);
  return a;
}

Box unbounded() {
  Box b;
  b.state = QvExtentStates::ExtentUniverse;
  return b;
}

}  // namespace

// The selection {1, 3} takes in the key at 2. Each row drags one edge from the start of the
// drag: the scale is (w + d) / w on max edges and (w - d) / w on min edges, cut by the margin of
// 0.001 to the next unselected key, to the anchor and between neighbouring keys.
TEST(Stretcher, EdgesScalesAndCuts) {
  struct Case {
    const char* name;
    Handle handle;
    Point anchor, wanted;
    double taken, scale;
    QvLong cut;
    double p[3], v[3];
  };
  const Case cases[] = {
      {"max parameter", QvBaseFCurve::RegionHandleMaxParameter, {1, 0}, {0.5, 7}, 0.5, 1.25, 0,
       {1, 2.25, 3.5}, {1, 4, 9}},
      {"max parameter to the key at 4", QvBaseFCurve::RegionHandleMaxParameter, {1, 0}, {5, 0},
       0.999, 1.4995, 1, {1, 2.4995, 3.999}, {1, 4, 9}},
      {"max parameter past the anchor", QvBaseFCurve::RegionHandleMaxParameter, {1, 0}, {-3, 0},
       -1.998, 0.001, 1, {1, 1.001, 1.002}, {1, 4, 9}},
      {"min parameter", QvBaseFCurve::RegionHandleMinParameter, {3, 0}, {-0.5, 0}, -0.5, 1.25,
       0, {0.5, 1.75, 3}, {1, 4, 9}},
      {"min parameter to the key at 0", QvBaseFCurve::RegionHandleMinParameter, {3, 0}, {-2, 0},
       -0.999, 1.4995, 1, {0.001, 1.5005, 3}, {1, 4, 9}},
      {"max value", QvBaseFCurve::RegionHandleMaxValue, {0, 1}, {3, 4}, 4, 1.5, 0, {1, 2, 3},
       {1, 5.5, 13}},
      {"min value folds over", QvBaseFCurve::RegionHandleMinValue, {0, 9}, {0, 16}, 16, -1, 0,
       {1, 2, 3}, {17, 14, 9}},
  };
  for (const Case& k : cases) {
    SCOPED_TRACE(k.name);
    QvStdFCurve c = squares();
    Box extent;
    QvFCurveStretcher s(c, extent, array_of({3.0, 1.0}), unbounded(), k.anchor, k.handle, 0, 0.0);
    EXPECT_EQ(1.0, extent.min.x);
    EXPECT_EQ(9.0, extent.max.y);
    Point offset = k.wanted;
    QvDoubleArray parameters, values;
    Box changed, selection;
    QvLong cut = -1;
    ASSERT_EQ(1, s.Update(offset, -100.0, 100.0, parameters, values, changed, selection, cut));
    EXPECT_EQ(k.cut, cut);
    const bool along_x = k.handle == 2 || k.handle == 4;
    EXPECT_NEAR(k.taken, along_x ? offset.x : offset.y, 1e-12);
    EXPECT_EQ(0.0, along_x ? offset.y : offset.x);
    Point translation(9, 9);
    double scale = 0.0;
    ASSERT_EQ(1, s.ComputeScalingFactorAndTranslationVector(translation, scale));
    EXPECT_NEAR(k.scale, scale, 1e-12);
    EXPECT_EQ(along_x ? offset.x : 0.0, translation.x);
    EXPECT_EQ(along_x ? 0.0 : offset.y, translation.y);
    ASSERT_EQ(3u, parameters.GetSize());
    for (int i = 0; i < 3; ++i) {
      EXPECT_NEAR(k.p[i], parameters[i], 1e-12);
      EXPECT_NEAR(k.v[i], values[i], 1e-12);
      EXPECT_NEAR(k.v[i], c.Eval(parameters[i], 0), 1e-12);
    }
    EXPECT_EQ(0.0, changed.min.x);  // the segments to the neighbours changed too
    EXPECT_EQ(4.0, changed.max.x);
    EXPECT_EQ(0.0, c.Eval(0.0, 0));
    EXPECT_EQ(16.0, c.Eval(4.0, 0));
    EXPECT_EQ(1, s.Finalize());
  }
}

// The host's box bounds a growing value edge, and with the far-side flag the other edge as well.
TEST(Stretcher, HostLimitsOnValues) {
  Box limits;
  limits.state = QvExtentStates::ExtentBounded;
  limits.min = Point(-100, -2);
  limits.max = Point(100, 12);
  for (QvLong far_side : {0, 1}) {
    SCOPED_TRACE(far_side);
    QvStdFCurve c = squares();
    Box extent;
    // Anchor in the middle of the values, so the low keys move down as the top moves up.
    QvFCurveStretcher s(c, extent, array_of({1.0, 3.0}), limits, Point(0, 5),
                        QvBaseFCurve::RegionHandleMaxValue, far_side, 0.0);
    Point offset(0, 10);
    QvDoubleArray parameters, values;
    Box changed, selection;
    QvLong cut = 0;
    ASSERT_EQ(1, s.Update(offset, -100.0, 100.0, parameters, values, changed, selection, cut));
    EXPECT_EQ(1, cut);
    // The top may reach 12 (scale 7 / 4); the bottom, at 5 - 4 s, may not go below -2 (scale 7 / 4
    // too), so both rows meet the same bound here.
    EXPECT_NEAR(3.0, offset.y, 1e-12);
    EXPECT_NEAR(12.0, values[2], 1e-12);
    EXPECT_NEAR(-2.0, values[0], 1e-12);
  }
}

// A refused stretch reports the identity and moves nothing; so does one after Finalize.
TEST(Stretcher, Refusals) {
  QvStdFCurve c = squares();
  const QvStdFCurve original(c);
  struct Case { const char* name; Point anchor; Handle handle; double key; };
  const Case cases[] = {
      {"anchor beyond the moving edge", {5, 0}, QvBaseFCurve::RegionHandleMaxParameter, 1.0},
      {"no such key", {0, 0}, QvBaseFCurve::RegionHandleMaxParameter, 1.5},
      {"no such edge", {0, 0}, static_cast<Handle>(3), 1.0},
  };
  for (const Case& k : cases) {
    SCOPED_TRACE(k.name);
    Box extent;
    QvFCurveStretcher s(c, extent, array_of({k.key, 3.0}), unbounded(), k.anchor, k.handle, 0, 0.0);
    Point translation(5, 5);
    double scale = 0.0;
    EXPECT_EQ(0, s.ComputeScalingFactorAndTranslationVector(translation, scale));
    EXPECT_EQ(1.0, scale);
    EXPECT_EQ(0.0, translation.x);
    EXPECT_EQ(0.0, translation.y);
    Point offset(1, 1);
    QvDoubleArray parameters, values;
    Box changed, selection;
    QvLong cut = 0;
    EXPECT_EQ(0, s.Update(offset, -100.0, 100.0, parameters, values, changed, selection, cut));
    EXPECT_EQ(0, s.Finalize());
  }
  Box extent;
  QvFCurveStretcher s(c, extent, array_of({1.0, 3.0}), unbounded(), Point(1, 0),
                      QvBaseFCurve::RegionHandleMaxParameter, 0, 0.0);
  Point offset(0.5, 0);
  QvDoubleArray busy = array_of({1.0}), empty;
  Box changed, selection;
  QvLong cut = 0;
  EXPECT_EQ(0, s.Update(offset, -100.0, 100.0, busy, empty, changed, selection, cut));
  EXPECT_EQ(0, s.Update(offset, -100.0, 100.0, empty, busy, changed, selection, cut));
  EXPECT_EQ(0, s.Update(offset, 1.0, -1.0, empty, empty, changed, selection, cut));
  for (double x = -1.0; x <= 5.0; x += 0.25) EXPECT_EQ(original.Eval(x, 0), c.Eval(x, 0));
  EXPECT_EQ(1, s.Finalize());
  Point translation;
  double scale = 0.0;
  EXPECT_EQ(0, s.ComputeScalingFactorAndTranslationVector(translation, scale));
  EXPECT_EQ(1.0, scale);
}

// The raw curve stretches through the same slot.
TEST(Stretcher, RawCurve) {
  QvRawFCurve c;
  for (int i = 0; i < 5; ++i) c.CreateKey(i, i * i);
  Box extent;
  QvFCurveStretcher s(c, extent, array_of({1.0, 3.0}), unbounded(), Point(1, 0),
                      QvBaseFCurve::RegionHandleMaxParameter, 0, 0.0);
  Point offset(0.5, 0);
  QvDoubleArray parameters, values;
  Box changed, selection;
  QvLong cut = 0;
  ASSERT_EQ(1, s.Update(offset, -100.0, 100.0, parameters, values, changed, selection, cut));
  EXPECT_EQ(0, cut);
  QvDoubleArray all;
  c.GetAllKeyParameters(all);
  ASSERT_EQ(5u, all.GetSize());
  EXPECT_EQ(2.25, all[2]);
  EXPECT_EQ(4.0, c.Eval(2.25, 0));
  EXPECT_EQ(9.0, c.Eval(3.5, 0));
}
