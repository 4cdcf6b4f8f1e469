#include <qv/QvGC.h>

#include <memory>

#include <qv/QvStdFCurve.h>
#include <qv/QvTransfo4.h>

namespace {

// Falloff of soft and radial fills: full at the shape (parameter 0), nothing
// at the end of the reach (parameter 1), falling in a straight line between.
// Cubic is the kind of the region before the first key and of new keys, so
// that keys a host adds to the curve are smooth.
QvStdFCurve* make_default_gradient() {
  return new QvStdFCurve(0.0, 1.0, 1.0, 0.0, QvBaseFCurve::FSBezierCubic, QvBaseFCurve::FSBezierCubic);
}

}  // namespace

QvGC::QvGC(void)
    : m_flatteningTolerance(1.0),
      m_samplingDistance(1.0),
      m_propertyTolerance(0.1),
      m_defaultPropertyValue(1.0),
      m_smallestFeatureSize(0.5),
      m_angleThreshold(0.82139380484),
      m_miterLimit(1.0),
      m_lineWidth(1.0),
      m_interiorOffset(0.0),
      m_exteriorOffset(0.0),
      m_aaFilterRadius(0),
      m_aaSuperSampling(4),
      m_fillOpacity(1.0),
      m_fillRule(WindingRule),
      m_endCap(ButtCap),
      m_join(MiterJoin),
      m_widthType(ConstantWidth),
      m_gradientMapMode(GradientMaskedByShape),
      m_transform(nullptr),
      m_gradientFCurve(nullptr) {
  std::unique_ptr<QvTransfo4> transform(new QvTransfo4());
  m_gradientFCurve = make_default_gradient();
  m_transform = transform.release();
}

QvGC::QvGC(QvGC const& other)
    : m_flatteningTolerance(other.m_flatteningTolerance),
      m_samplingDistance(other.m_samplingDistance),
      m_propertyTolerance(other.m_propertyTolerance),
      m_defaultPropertyValue(other.m_defaultPropertyValue),
      m_smallestFeatureSize(other.m_smallestFeatureSize),
      m_angleThreshold(other.m_angleThreshold),
      m_miterLimit(other.m_miterLimit),
      m_lineWidth(other.m_lineWidth),
      m_interiorOffset(other.m_interiorOffset),
      m_exteriorOffset(other.m_exteriorOffset),
      m_aaFilterRadius(other.m_aaFilterRadius),
      m_aaSuperSampling(other.m_aaSuperSampling),
      m_fillOpacity(other.m_fillOpacity),
      m_fillRule(other.m_fillRule),
      m_endCap(other.m_endCap),
      m_join(other.m_join),
      m_widthType(other.m_widthType),
      m_gradientMapMode(other.m_gradientMapMode),
      m_transform(nullptr),
      m_gradientFCurve(nullptr) {
  std::unique_ptr<QvTransfo4> transform(new QvTransfo4(*other.m_transform));
  m_gradientFCurve = new QvStdFCurve(*other.m_gradientFCurve);
  m_transform = transform.release();
}

QvGC::~QvGC() {
  delete m_gradientFCurve;
  delete m_transform;
}

QvGC& QvGC::operator=(QvGC const& other) {
  if (this == &other)
    return *this;
  // The curve's assignment is the only step that can fail; do it first so a
  // failure leaves this context whole.
  *m_gradientFCurve = *other.m_gradientFCurve;
  *m_transform = *other.m_transform;
  m_flatteningTolerance = other.m_flatteningTolerance;
  m_samplingDistance = other.m_samplingDistance;
  m_propertyTolerance = other.m_propertyTolerance;
  m_defaultPropertyValue = other.m_defaultPropertyValue;
  m_smallestFeatureSize = other.m_smallestFeatureSize;
  m_angleThreshold = other.m_angleThreshold;
  m_miterLimit = other.m_miterLimit;
  m_lineWidth = other.m_lineWidth;
  m_interiorOffset = other.m_interiorOffset;
  m_exteriorOffset = other.m_exteriorOffset;
  m_aaFilterRadius = other.m_aaFilterRadius;
  m_aaSuperSampling = other.m_aaSuperSampling;
  m_fillOpacity = other.m_fillOpacity;
  m_fillRule = other.m_fillRule;
  m_endCap = other.m_endCap;
  m_join = other.m_join;
  m_widthType = other.m_widthType;
  m_gradientMapMode = other.m_gradientMapMode;
  return *this;
}

double QvGC::GetFlatteningTolerance(void) const { return m_flatteningTolerance; }
void QvGC::SetFlatteningTolerance(double value) { m_flatteningTolerance = value; }
double QvGC::GetSamplingDistance(void) const { return m_samplingDistance; }
void QvGC::SetSamplingDistance(double value) { m_samplingDistance = value; }
double QvGC::GetPropertyTolerance(void) const { return m_propertyTolerance; }
void QvGC::SetPropertyTolerance(double value) { m_propertyTolerance = value; }
double QvGC::GetDefaultPropertyValue(void) const { return m_defaultPropertyValue; }
void QvGC::SetDefaultPropertyValue(double value) { m_defaultPropertyValue = value; }
double QvGC::GetSmallestFeatureSize(void) const { return m_smallestFeatureSize; }
void QvGC::SetSmallestFeatureSize(double value) { m_smallestFeatureSize = value; }
double QvGC::GetAngleThreshold(void) const { return m_angleThreshold; }
void QvGC::SetAngleThreshold(double value) { m_angleThreshold = value; }
double QvGC::GetMiterLimit(void) const { return m_miterLimit; }
void QvGC::SetMiterLimit(double value) { m_miterLimit = value; }
double QvGC::GetLineWidth(void) const { return m_lineWidth; }
void QvGC::SetLineWidth(double value) { m_lineWidth = value; }
double QvGC::GetInteriorOffset(void) const { return m_interiorOffset; }
void QvGC::SetInteriorOffset(double value) { m_interiorOffset = value; }
double QvGC::GetExteriorOffset(void) const { return m_exteriorOffset; }
void QvGC::SetExteriorOffset(double value) { m_exteriorOffset = value; }
QvLong QvGC::GetAAFilterRadius(void) const { return m_aaFilterRadius; }
void QvGC::SetAAFilterRadius(QvLong value) { m_aaFilterRadius = value; }
QvLong QvGC::GetAASuperSampling(void) const { return m_aaSuperSampling; }
// The anti-aliased fill has mask words and tables for 4 and 8 sub-samples only.
void QvGC::SetAASuperSampling(QvLong value) { m_aaSuperSampling = value > 5 ? 8 : 4; }
double QvGC::GetFillOpacity(void) const { return m_fillOpacity; }
void QvGC::SetFillOpacity(double value) { m_fillOpacity = value; }

QvGC::FillRule QvGC::GetFillRule(void) { return m_fillRule; }
void QvGC::SetFillRule(FillRule value) { m_fillRule = value; }
QvGC::EndCap QvGC::GetEndCap(void) { return m_endCap; }
void QvGC::SetEndCap(EndCap value) { m_endCap = value; }
QvGC::Join QvGC::GetJoin(void) { return m_join; }
void QvGC::SetJoin(Join value) { m_join = value; }
QvGC::WidthType QvGC::GetWidthType(void) { return m_widthType; }
void QvGC::SetWidthType(WidthType value) { m_widthType = value; }
QvGC::GradientMapMode QvGC::GetGradientMapMode(void) { return m_gradientMapMode; }
void QvGC::SetGradientMapMode(GradientMapMode value) { m_gradientMapMode = value; }

QvTransfo4 const& QvGC::GetTransform(void) const { return *m_transform; }
void QvGC::SetTransform(QvTransfo4 const& transform) { *m_transform = transform; }
QvStdFCurve const& QvGC::GetGradientFCurve(void) const { return *m_gradientFCurve; }
void QvGC::SetGradientFCurve(QvStdFCurve const& curve) { *m_gradientFCurve = curve; }
