#include <qv/QvGC.h>
#include <qv/QvStdFCurve.h>
#include <qv/QvTransfo4.h>

#include <gtest/gtest.h>

#include "raster/gc_read.h"

namespace {

bool is_identity(const QvTransfo4& t) {
  for (QvULong r = 0; r < 4; ++r)
    for (QvULong c = 0; c < 4; ++c)
      if (t.GetMatrixElement(r, c) != (r == c ? 1.0 : 0.0))
        return false;
  return true;
}

}  // namespace

TEST(GraphicsContext, Defaults) {
  QvGC gc;
  EXPECT_EQ(1.0, gc.GetFlatteningTolerance());
  EXPECT_EQ(1.0, gc.GetSamplingDistance());
  EXPECT_EQ(0.1, gc.GetPropertyTolerance());
  EXPECT_EQ(1.0, gc.GetDefaultPropertyValue());
  EXPECT_EQ(0.5, gc.GetSmallestFeatureSize());
  EXPECT_EQ(0.82139380484, gc.GetAngleThreshold());
  EXPECT_EQ(1.0, gc.GetMiterLimit());
  EXPECT_EQ(1.0, gc.GetLineWidth());
  EXPECT_EQ(0.0, gc.GetInteriorOffset());
  EXPECT_EQ(0.0, gc.GetExteriorOffset());
  EXPECT_EQ(0, gc.GetAAFilterRadius());
  EXPECT_EQ(4, gc.GetAASuperSampling());
  EXPECT_EQ(1.0, gc.GetFillOpacity());
  EXPECT_EQ(QvGC::WindingRule, gc.GetFillRule());
  EXPECT_EQ(QvGC::ButtCap, gc.GetEndCap());
  EXPECT_EQ(QvGC::MiterJoin, gc.GetJoin());
  EXPECT_EQ(QvGC::ConstantWidth, gc.GetWidthType());
  EXPECT_EQ(QvGC::GradientMaskedByShape, gc.GetGradientMapMode());
  EXPECT_TRUE(is_identity(gc.GetTransform()));

  // The gradient falls from 1 at the shape to 0 at the end of its reach.
  const QvStdFCurve& gradient = gc.GetGradientFCurve();
  EXPECT_EQ(2u, gradient.GetNumKeys());
  EXPECT_EQ(QvBaseFCurve::FSBezierCubic, gradient.GetFirstSegmentKind());
  EXPECT_EQ(1.0, gradient.Eval(0.0, 1));
  EXPECT_EQ(0.0, gradient.Eval(1.0, 1));
  EXPECT_NEAR(0.5, gradient.Eval(0.5, 1), 1e-12);
}

TEST(GraphicsContext, SuperSamplingIsFourOrEight) {
  struct Case { QvLong set, want; };
  const Case cases[] = {{5, 4}, {6, 8}, {16, 8}, {8, 8}, {4, 4}, {0, 4}, {-7, 4}, {1 << 30, 8}};
  QvGC gc;
  for (const Case& c : cases) {
    SCOPED_TRACE(c.set);
    gc.SetAASuperSampling(c.set);
    EXPECT_EQ(c.want, gc.GetAASuperSampling());
  }
}

TEST(GraphicsContext, SettersStoreWithoutChecks) {
  QvGC gc;
  gc.SetAAFilterRadius(100);  // the fill clamps it, not the context
  EXPECT_EQ(100, gc.GetAAFilterRadius());
  gc.SetLineWidth(-2.5);
  EXPECT_EQ(-2.5, gc.GetLineWidth());
  gc.SetFlatteningTolerance(0.0);
  EXPECT_EQ(0.0, gc.GetFlatteningTolerance());
  gc.SetMiterLimit(0.25);  // acts as 1.0 where it is used
  EXPECT_EQ(0.25, gc.GetMiterLimit());
  gc.SetFillRule(static_cast<QvGC::FillRule>(7));
  EXPECT_EQ(7, gc.GetFillRule());
  gc.SetWidthType(static_cast<QvGC::WidthType>(-1));
  EXPECT_EQ(-1, gc.GetWidthType());
  gc.SetJoin(QvGC::RoundJoin);
  gc.SetEndCap(QvGC::RoundCap);
  gc.SetGradientMapMode(QvGC::GradientUnmasked);

  // Drawing code reads the enumerations through a const context.
  const QvGC& held = gc;
  EXPECT_EQ(7, qv::internal::gc_fill_rule(held));
  EXPECT_EQ(QvGC::RoundJoin, qv::internal::gc_join(held));
  EXPECT_EQ(QvGC::RoundCap, qv::internal::gc_end_cap(held));
  EXPECT_EQ(-1, qv::internal::gc_width_type(held));
  EXPECT_EQ(QvGC::GradientUnmasked, qv::internal::gc_gradient_map_mode(held));
}

TEST(GraphicsContext, CopiesOwnTransformAndCurve) {
  QvGC source;
  source.SetLineWidth(3.0);
  source.SetJoin(QvGC::BevelJoin);
  QvTransfo4 scale;
  scale.Scale(2.0);
  source.SetTransform(scale);

  QvGC copy(source);
  EXPECT_EQ(3.0, copy.GetLineWidth());
  EXPECT_EQ(QvGC::BevelJoin, copy.GetJoin());
  EXPECT_EQ(2.0, copy.GetTransform().GetMatrixElement(0, 0));
  EXPECT_NE(&source.GetTransform(), &copy.GetTransform());
  EXPECT_NE(&source.GetGradientFCurve(), &copy.GetGradientFCurve());

  copy.SetGradientFCurve(QvStdFCurve(0.25, QvBaseFCurve::FSConstant));
  copy.SetTransform(QvTransfo4());
  EXPECT_EQ(0u, copy.GetGradientFCurve().GetNumKeys());
  EXPECT_EQ(2u, source.GetGradientFCurve().GetNumKeys());
  EXPECT_EQ(2.0, source.GetTransform().GetMatrixElement(0, 0));

  // Assignment copies deeply as well.
  QvGC assigned;
  assigned = copy;
  EXPECT_EQ(0u, assigned.GetGradientFCurve().GetNumKeys());
  EXPECT_TRUE(is_identity(assigned.GetTransform()));
  assigned.SetGradientFCurve(source.GetGradientFCurve());
  EXPECT_EQ(0u, copy.GetGradientFCurve().GetNumKeys());
  EXPECT_EQ(0.25, copy.GetGradientFCurve().Eval(0.5, 1));
}
