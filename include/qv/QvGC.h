#ifndef QV_QVGC_H
#define QV_QVGC_H

#include <qv/QvTypes.h>

class QvTransfo4;
class QvStdFCurve;

// The settings every drawing and sampling call reads: flattening and sampling
// tolerances, stroke and fill style, anti-aliasing quality, soft-edge offsets,
// the shape-to-raster transform and the gradient curve.
//
// A plain value: no lock, and no validation except that the super-sampling
// factor can only be 4 or 8. Drawing calls take it as `QvGC const &` and keep
// nothing. A copy owns its own transform and gradient curve.
class QV_API QvGC {
 public:
  enum FillRule : QvLong {
    EvenOddRule = 0,  // spans are taken in pairs of crossings
    WindingRule = 1   // a span runs while the sum of edge directions is not zero
  };
  enum EndCap : QvLong {
    RoundCap = 0,   // half circle made of two cubic arcs
    SquareCap = 1,  // extends the end by half the width
    ButtCap = 2     // ends at the last point
  };
  enum Join : QvLong {
    BevelJoin = 0,  // straight chord between the two offset points
    MiterJoin = 1,  // sharp corner, cut at the miter limit
    RoundJoin = 2   // one arc; a turn of more than 120 degrees falls back to the chord
  };
  enum WidthType : QvLong {
    ConstantWidth = 0,  // LineWidth all along
    TaperedWidth = 1    // zero at both ends of a subpath, LineWidth at half its length
  };
  enum GradientMapMode : QvLong {
    GradientUnmasked = 0,      // a soft fill may spread beyond the shape's edge
    GradientMaskedByShape = 1  // a soft fill is multiplied by the shape's coverage
  };

  // Defaults: tolerances 1.0 (property 0.1), smallest feature 0.5, angle
  // threshold 0.82139380484, miter limit and line width 1.0, no soft-edge
  // offsets, filter radius 0, super-sampling 4, opacity 1.0, winding rule,
  // butt caps, miter joins, constant width, gradient masked by the shape,
  // identity transform, and a gradient curve falling from 1 at 0 to 0 at 1.
  QvGC(void);
  QvGC(QvGC const& other);
  ~QvGC();
  // Copies every field, the transform and the curve by their own assignment.
  QvGC& operator=(QvGC const& other);

  double GetFlatteningTolerance(void) const;
  void SetFlatteningTolerance(double value);
  double GetSamplingDistance(void) const;
  void SetSamplingDistance(double value);
  double GetPropertyTolerance(void) const;
  void SetPropertyTolerance(double value);
  double GetDefaultPropertyValue(void) const;
  void SetDefaultPropertyValue(double value);
  double GetSmallestFeatureSize(void) const;
  void SetSmallestFeatureSize(double value);
  double GetAngleThreshold(void) const;
  void SetAngleThreshold(double value);
  double GetMiterLimit(void) const;
  void SetMiterLimit(double value);
  double GetLineWidth(void) const;
  void SetLineWidth(double value);
  double GetInteriorOffset(void) const;
  void SetInteriorOffset(double value);
  double GetExteriorOffset(void) const;
  void SetExteriorOffset(double value);
  // Stored as given; the anti-aliased fill clamps it to 0 .. AASuperSampling.
  QvLong GetAAFilterRadius(void) const;
  void SetAAFilterRadius(QvLong value);
  // Stores 8 for a value greater than 5, and 4 for anything else.
  QvLong GetAASuperSampling(void) const;
  void SetAASuperSampling(QvLong value);
  double GetFillOpacity(void) const;
  void SetFillOpacity(double value);

  // The enumeration getters are not const; this is part of the interface.
  FillRule GetFillRule(void);
  void SetFillRule(FillRule value);
  EndCap GetEndCap(void);
  void SetEndCap(EndCap value);
  Join GetJoin(void);
  void SetJoin(Join value);
  WidthType GetWidthType(void);
  void SetWidthType(WidthType value);
  GradientMapMode GetGradientMapMode(void);
  void SetGradientMapMode(GradientMapMode value);

  QvTransfo4 const& GetTransform(void) const;
  void SetTransform(QvTransfo4 const& transform);
  QvStdFCurve const& GetGradientFCurve(void) const;
  void SetGradientFCurve(QvStdFCurve const& curve);

 private:
  double m_flatteningTolerance;
  double m_samplingDistance;
  double m_propertyTolerance;
  double m_defaultPropertyValue;
  double m_smallestFeatureSize;
  double m_angleThreshold;
  double m_miterLimit;
  double m_lineWidth;
  double m_interiorOffset;
  double m_exteriorOffset;
  QvLong m_aaFilterRadius;
  QvLong m_aaSuperSampling;
  double m_fillOpacity;
  FillRule m_fillRule;
  EndCap m_endCap;
  Join m_join;
  WidthType m_widthType;
  GradientMapMode m_gradientMapMode;
  // Held by pointer so that this header stands alone; each context owns both.
  QvTransfo4* m_transform;
  QvStdFCurve* m_gradientFCurve;
};

#endif  // QV_QVGC_H
