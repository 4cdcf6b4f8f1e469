#ifndef QV_QVPATH2FPROP1D_H
#define QV_QVPATH2FPROP1D_H

#include <qv/QvArray.h>
#include <qv/QvPath2f.h>
#include <qv/QvPoint.h>
#include <qv/QvRawFCurve.h>
#include <qv/QvTypes.h>

class QvGC;
struct QvPath2fProp1dEntries;

// A path whose subpaths may each carry one scalar curve (a width, an opacity,
// a pressure) over the arc length from the subpath's start. A subpath is
// known to its curve by the index of its first point, so every edit that
// moves points renumbers the curves behind it. A subpath without a curve has
// no stored property; samplers then use the context's default value.
//
// Any index inside a subpath denotes that subpath.
class QV_API QvPath2fProp1d : public QvPath2f {
 public:
  // Room for one point. Not explicit, so that `= {}` and `return {};` work.
  QvPath2fProp1d();
  explicit QvPath2fProp1d(QvULong capacity);
  // The path's data, with no curves.
  QvPath2fProp1d(const QvPath2f& path);
  QvPath2fProp1d(const QvPath2fProp1d& other);
  ~QvPath2fProp1d() override;

  // Deep copies of path and curves.
  QvPath2fProp1d& operator=(const QvPath2fProp1d& other);
  // A path with a property is copied whole; a plain path gives its data and
  // drops every curve; any other kind leaves this as it is.
  QvShape2f& operator=(const QvShape2f& other) override;

  // --- Slots ------------------------------------------------------------------
  QvShape2f* QueryShapeKind(Kind kind) const override;
  QvShape2f* Clone() const override;
  QvULong WriteToBuffer(void* buffer) const override;
  QvULong GetBufferSize() const override;
  QvULong ReadFromBufferBody(const void* body) override;
  using QvPath2f::ReplaceSubpathSection;
  QvLong ReplaceSubpathSection(QvULong first, QvULong last, const QvPath2f& other,
                               QvULong otherFirst, QvULong otherLast) override;
  QvLong RemoveSubpath(QvULong index) override;
  QvLong RemoveSubpathSection(QvULong first, QvULong last) override;

  // --- Curves -----------------------------------------------------------------
  QvLong HasPropCurve(QvULong index) const;
  // The subpath must have a curve: test HasPropCurve first.
  const QvRawFCurve& GetPropCurve(QvULong index) const;
  // Each form copies the curve in, replacing any that the subpath had; an
  // index outside the path sets nothing.
  void SetPropCurve(QvULong index, const QvRawFCurve& curve);
  // Builds a raw curve from (arc length, value) points, kept to `tolerance`.
  void SetPropCurve(QvULong index, const QvPoint2dArray& points, double tolerance);
  // Copies the curve of subpath j of other, if it has one.
  void SetPropCurve(QvULong index, const QvPath2fProp1d& other, QvULong j);
  // Copies the curve of subpath j of this path, if it has one.
  void SetPropCurve(QvULong index, QvULong j);
  double EvalPropCurve(QvULong index, double parameter) const;
  // Appends one value to out for each parameter of in; returns the count
  // appended, 0 when the subpath has no curve.
  QvULong EvalPropCurve(QvULong index, const QvDoubleArray& in, QvDoubleArray& out) const;
  // The curve's parameter at a position along the subpath, given as a
  // fraction of it from 0 at its start to 1 at its end: the curve is
  // stretched over the whole subpath. 0 when the subpath has no curve.
  QvLong GetPropCurveParameter(QvULong index, double position, double& parameter) const;
  // The curve's largest key; 0 when the subpath has no curve.
  double GetLargestArcLength(QvULong index) const;
  // The raw curve's operations of these names on the subpath's curve, which
  // must exist.
  void AppendLinearSegment(QvULong index, double x, double y);
  void AppendOrExtendLinearSegment(QvULong index, double x, double y, double tolerance);

  // --- Polylines and samples with a value at each point -------------------------
  // All append to the arrays, one value and one tag for each point, and
  // return the number of points added.
  using QvPath2f::Flatten;
  using QvPath2f::IntersectSamplePointsExtent;
  using QvPath2f::Sample;
  QvULong Flatten(const QvGC& gc, QvPoint2fArray& points, QvPointTagArray& tags,
                  QvDoubleArray& values) const;
  QvULong Sample(const QvGC& gc, QvPoint2fArray& points, QvPointTagArray& tags,
                 QvDoubleArray& values) const;
  // Samples whose spacing follows the property: they crowd where it is small.
  QvULong PropertySample(const QvGC& gc, QvPoint2fArray& points, QvPointTagArray& tags,
                         QvDoubleArray& values) const;
  QvULong IntersectSamplePointsExtent(const QvGC& gc, const QvExtent2<float>& extent,
                                      QvPoint2fArray& points, QvPointTagArray& tags,
                                      QvDoubleArray& values, QvLong skipQuickTest) const;
  QvULong IntersectPropertySamplePointsExtent(const QvGC& gc, const QvExtent2<float>& extent,
                                              QvPoint2fArray& points, QvPointTagArray& tags,
                                              QvDoubleArray& values,
                                              QvLong skipQuickTest) const;

  // --- Building ---------------------------------------------------------------
  using QvPath2f::AddFittedSamplesFromPath;
  // Fits each subpath of other onto this path, and gives each new subpath the
  // curve of the subpath it came from.
  QvULong AddFittedSamplesFromPath(const QvGC& gc, const QvPath2fProp1d& other);
  // The blend of two sibling paths (unchecked) at t, curves included: where
  // both subpaths have a curve, the blend is resampled every
  // `flatnessAndStep` of arc length and kept to `curveTolerance`.
  void SetToLerpAB(const QvPath2fProp1d& a, const QvPath2fProp1d& b, double t,
                   double flatnessAndStep, double curveTolerance);

 private:
  // All assume the lock; a key is the index of a subpath's first point.
  QvRawFCurve* GetPropCurveInsideCriticalSection(QvULong key) const;
  void SetPropCurveInsideCriticalSection(QvULong key, const QvRawFCurve& curve);
  // Drops the curve of the subpath first..last and moves later keys down by
  // its point count.
  void RemovePropCurveInsideCriticalSection(QvULong first, QvULong last);
  // The curve of the subpath that holds index, or null.
  QvRawFCurve* FindCurveInsideCriticalSection(QvULong index) const;
  // The subpath first..last as a polyline, first point included, mapped
  // through transform when one is given.
  void FlattenSubpathPolyline(QvULong first, QvULong last, const QvTransfo4* transform,
                              double tolerance, bool cubicsApart, QvPoint2fArray& out) const;
  QvULong SampleInsideCriticalSection(const QvGC& gc, bool byProperty, QvPoint2fArray& points,
                                      QvPointTagArray& tags, QvDoubleArray& values) const;
  QvULong IntersectInsideCriticalSection(const QvGC& gc, const QvExtent2<float>& extent,
                                         bool byProperty, QvPoint2fArray& points,
                                         QvPointTagArray& tags, QvDoubleArray& values,
                                         QvLong skipQuickTest) const;

  QvPath2fProp1dEntries* m_entries;
};

#endif  // QV_QVPATH2FPROP1D_H
