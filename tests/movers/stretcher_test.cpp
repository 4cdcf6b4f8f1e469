#include <gtest/gtest.h>

#include <qv/QvStdFCurve.h>

#include "movers/mover_test_support.h"

using namespace qv::test;

namespace {

using Handle = QvBaseFCurve::RegionHandle;

// Keys at 0..4 with values p * p, joined by lines.
QvStdFCurve squares() {
  QvStdFCurve c(0.0, QvBaseFCurve::FSLinear);
  for (int i = 0; i < 5; ++i) c.CreateKey(i, i * i);
  return c;
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
    double top = 1e300;  // the host's box, if any, reaches up to here
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
      {"min value folds over", QvBaseFCurve::RegionHandleMinValue, {0, 9}, {0, 16}, 16, -1, 0,
       {1, 2, 3}, {17, 14, 9}},
      {"max value to the host's box", QvBaseFCurve::RegionHandleMaxValue, {0, 1}, {0, 10}, 3,
       1.375, 1, {1, 2, 3}, {1, 5.125, 12}, 12},
  };
  for (const Case& k : cases) {
    SCOPED_TRACE(k.name);
    QvStdFCurve c = squares();
    Box extent, limits = unbounded();
    if (k.top < 1e300) {
      limits.state = QvExtentStates::ExtentBounded;
      limits.min = Point(-100, -100);
      limits.max = Point(100, k.top);
    }
    QvFCurveStretcher s(c, extent, array_of({3.0, 1.0}), limits, k.anchor, k.handle, 0, 0.0);
    EXPECT_EQ(9.0, extent.max.y);  // the box of the keys found
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
    EXPECT_EQ(4.0, changed.max.x);  // the segments to the neighbours changed too
    EXPECT_EQ(1, s.Finalize());
  }
}

// A refused stretch reports the identity and moves nothing; so does one after Finalize.
TEST(Stretcher, Refusals) {
  QvStdFCurve c = squares();
  const std::vector<unsigned char> original = bytes_of(c);
  Box extent, changed, selection;
  QvDoubleArray busy = array_of({1.0}), empty;
  QvLong cut = 0;
  Point offset(0.5, 0), translation(5, 5);
  double scale = 0.0;
  // The anchor lies beyond the moving edge: nothing to scale.
  QvFCurveStretcher refused(c, extent, array_of({1.0, 3.0}), unbounded(), Point(5, 0),
                            QvBaseFCurve::RegionHandleMaxParameter, 0, 0.0);
  EXPECT_EQ(0, refused.ComputeScalingFactorAndTranslationVector(translation, scale));
  EXPECT_EQ(1.0, scale);
  EXPECT_EQ(0.0, translation.x);
  EXPECT_EQ(0, refused.Update(offset, -100.0, 100.0, empty, empty, changed, selection, cut));
  QvFCurveStretcher s(c, extent, array_of({1.0, 3.0}), unbounded(), Point(1, 0),
                      QvBaseFCurve::RegionHandleMaxParameter, 0, 0.0);
  EXPECT_EQ(0, s.Update(offset, -100.0, 100.0, busy, empty, changed, selection, cut));
  EXPECT_EQ(0, s.Update(offset, 1.0, -1.0, empty, empty, changed, selection, cut));
  EXPECT_EQ(original, bytes_of(c));
  EXPECT_EQ(1, s.Finalize());
  EXPECT_EQ(0, s.ComputeScalingFactorAndTranslationVector(translation, scale));
}
