#include <qv/QvRawFCurve.h>

#include <gtest/gtest.h>

TEST(RawCurveEval, Placeholder) {
  QvRawFCurve c(0.0, 0.0, 1.0, 1.0);
  EXPECT_EQ(0.5, c.Eval(0.5, 0));
}
