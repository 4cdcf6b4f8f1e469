#include <qv/QvGC.h>
#include <qv/QvStdFCurve.h>
#include <qv/QvTransfo4.h>

#include <gtest/gtest.h>

#include <vector>

TEST(GraphicsContext, Defaults) {
  QvGC gc;
  const double doubles[] = {gc.GetFlatteningTolerance(), gc.GetSamplingDistance(),
                            gc.GetPropertyTolerance(),   gc.GetDefaultPropertyValue(),
                            gc.GetSmallestFeatureSize(), gc.GetAngleThreshold(),
                            gc.GetMiterLimit(),          gc.GetLineWidth(),
                            gc.GetInteriorOffset(),      gc.GetExteriorOffset(),
                            gc.GetFillOpacity()};
  const double want[] = {1.0, 1.0, 0.1, 1.0, 0.5, 0.82139380484, 1.0, 1.0, 0.0, 0.0, 1.0};
  for (int i = 0; i < 11; ++i)
    EXPECT_EQ(want[i], doubles[i]) << "field " << i;
  EXPECT_EQ((std::vector<QvLong>{0, 4, 1, 2, 1, 0, 1}),
            (std::vector<QvLong>{gc.GetAAFilterRadius(), gc.GetAASuperSampling(), gc.GetFillRule(),
                                 gc.GetEndCap(), gc.GetJoin(), gc.GetWidthType(), gc.GetGradientMapMode()}));
  const double* m = gc.GetTransform().GetMatrixPtr();
  for (int i = 0; i < 16; ++i)
    EXPECT_EQ(i % 5 == 0 ? 1.0 : 0.0, m[i]) << i;
  // The gradient falls from 1 at the shape to 0 at the end of its reach.
  const QvStdFCurve& gradient = gc.GetGradientFCurve();
  EXPECT_EQ(2u, gradient.GetNumKeys());
  EXPECT_EQ(QvBaseFCurve::FSBezierCubic, gradient.GetFirstSegmentKind());
  EXPECT_EQ(1.0, gradient.Eval(0.0, 1));
  EXPECT_EQ(0.0, gradient.Eval(1.0, 1));
  EXPECT_NEAR(0.5, gradient.Eval(0.5, 1), 1e-12);  // a straight line between the keys
}

TEST(GraphicsContext, SettersStoreAsGivenButSuperSampling) {
  struct Case { QvLong set, want; };
  const Case cases[] = {{5, 4}, {6, 8}, {16, 8}, {8, 8}, {4, 4}, {0, 4}, {-7, 4}};
  QvGC gc;
  for (const Case& c : cases) {
    SCOPED_TRACE(c.set);
    gc.SetAASuperSampling(c.set);
    EXPECT_EQ(c.want, gc.GetAASuperSampling());
  }
  gc.SetAAFilterRadius(100);  // the fill clamps it, not the context
  EXPECT_EQ(100, gc.GetAAFilterRadius());
}

TEST(GraphicsContext, CopiesOwnTransformAndCurve) {
  QvGC source;
  source.SetJoin(QvGC::BevelJoin);
  QvTransfo4 scale;
  scale.Scale(2.0);
  source.SetTransform(scale);
  QvGC copy(source);
  EXPECT_EQ(QvGC::BevelJoin, copy.GetJoin());
  EXPECT_EQ(2.0, copy.GetTransform().GetMatrixElement(0, 0));
  copy.SetGradientFCurve(QvStdFCurve(0.25, QvBaseFCurve::FSConstant));
  copy.SetTransform(QvTransfo4());
  EXPECT_EQ(2u, source.GetGradientFCurve().GetNumKeys());
  EXPECT_EQ(2.0, source.GetTransform().GetMatrixElement(0, 0));
  EXPECT_EQ(0.25, copy.GetGradientFCurve().Eval(0.5, 1));
}
