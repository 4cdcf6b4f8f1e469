#include "curve_builder.h"

#include <gtest/gtest.h>

#include <random>

using qv::test::append_key;
using qv::test::fill_random;
using Base = QvBaseFCurve;

TEST(StdFCurveInverse, RoundTripsOnBijectiveCurves) {
  std::mt19937 rng(13);
  std::uniform_real_distribution<double> unit(0.0, 1.0);
  for (int trial = 0; trial < 10; ++trial) {
    for (bool falling : {false, true}) {
      SCOPED_TRACE(testing::Message() << trial << (falling ? " falling" : " rising"));
      QvStdFCurve curve;
      fill_random(curve, rng, 8, true);
      QvStdFCurveImpl& body = *curve.GetImpl();
      if (falling) {
        for (QvULong i = 0; i < body.m_numKeys; ++i) {
          QvStdFCurveKey& key = body.Key(i);
          key.leftValue = key.rightValue = -key.rightValue;
          key.leftHandle.y = -key.leftHandle.y;
          key.rightHandle.y = -key.rightHandle.y;
        }
      }
      ASSERT_EQ(1, curve.IsBijective());
      const double first = body.Key(0).parameter;
      const double last = body.Key(7).parameter;
      for (int i = 0; i < 50; ++i) {
        const double x = first + (last - first) * unit(rng);
        const double v = curve.Eval(x, 0);
        double p = 1e300;
        ASSERT_EQ(1, curve.EvalInverse(v, p, 0));
        EXPECT_NEAR(v, curve.Eval(p, 0), 1e-7);
      }
      double p = 0.0;
      ASSERT_EQ(1, curve.EvalInverse(falling ? 1e9 : -1e9, p, 0));
      EXPECT_EQ(first, p);
      ASSERT_EQ(1, curve.EvalInverse(falling ? -1e9 : 1e9, p, 0));
      EXPECT_EQ(last, p);
      // Just past a key's value, within 1e-7, gives the key itself.
      ASSERT_EQ(1, curve.EvalInverse(body.Key(3).rightValue + (falling ? -5e-8 : 5e-8), p, 0));
      EXPECT_EQ(body.Key(3).parameter, p);
    }
  }
}

TEST(StdFCurveInverse, NotBijective) {
  struct Case {
    const char* name;
    double v1;
    double jump;
    Base::FSKind kind;
    double handle_y;  // of the first key's right handle
  };
  const Case cases[] = {
      {"constant segment", 2.0, 0.0, Base::FSConstant, 1.0},
      {"flat", 1.0, 0.0, Base::FSLinear, 1.0},
      {"jump at a key", 2.0, 0.5, Base::FSLinear, 1.0},
      {"cubic overshooting its start", 2.0, 0.0, Base::FSBezierCubic, 0.5},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    QvStdFCurve curve;
    QvStdFCurveKey& a = append_key(curve, 0.0, 1.0, c.kind);
    a.rightHandle = QvPoint2<double>(0.3, c.handle_y);
    append_key(curve, 1.0, c.v1, c.v1 + c.jump, Base::FSLinear);
    append_key(curve, 2.0, 9.0, Base::FSLinear);
    EXPECT_EQ(0, curve.IsBijective());
    double p = 42.0;
    EXPECT_EQ(0, curve.EvalInverse(1.5, p, 0));
    EXPECT_EQ(42.0, p);
  }
  QvStdFCurve one;
  append_key(one, 0.0, 1.0, Base::FSLinear);
  EXPECT_EQ(0, one.IsBijective());
}
