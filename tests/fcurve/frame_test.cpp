#include <qv/QvStdFCurve.h>

#include <gtest/gtest.h>

TEST(FCurveFrame, EmptyStandardCurve) {
  QvStdFCurve curve(2.5, QvBaseFCurve::FSBezierCubic);
  EXPECT_EQ(QvBaseFCurve::KindStandard, curve.GetKind());
  EXPECT_EQ(0u, curve.GetNumKeys());
  EXPECT_EQ(2.5, curve.Eval(7.0, 0));
}
