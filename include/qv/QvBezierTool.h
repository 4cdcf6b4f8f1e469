#ifndef QV_QVBEZIERTOOL_H
#define QV_QVBEZIERTOOL_H

#include <qv/QvArray.h>
#include <qv/QvPoint.h>
#include <qv/QvTypes.h>

class QvPath2f;

// Flattens Bezier curves of degree 0 to 8 into polylines, and fits curves to samples.
//
// Flattening mixes midpoint subdivision, to a depth set by the third differences, with forward
// differencing in the leaves, whose step count comes from the second differences measured across
// the chord. Tolerances are absolute distances in the units of the control points: transform
// before flattening, never after.
//
// An instance is the scratch of one call at a time; it may be reused for any number of calls.
// Nothing here locks.
class QV_API QvBezierTool {
 public:
  QvBezierTool();
  ~QvBezierTool();

  // Flattens the curve whose control points are points[first] to points[first + degree] and
  // appends the polyline to out: the first control point (unless skipFirst), the inner points and
  // the last control point, whose end points are copied exactly as given. Returns the number of
  // points appended. A degree of 0 or 1 appends the end points only (degree 0 appends its one point
  // twice). A degree above MaxDegreeForThisImplementation, or a null pointer, appends nothing and
  // returns 0. The control points may lie in out itself. However fine the tolerance, one call
  // walks at most 2^22 steps in all: finer polylines than that resolve nothing a drawing can use,
  // and a zero, negative or NaN tolerance draws the end points only.
  QvULong Flatten(const QvPoint2<float>* points, QvULong first, QvULong degree, double tolerance,
                  QvPoint2fArray* out, QvLong skipFirst);
  QvULong Flatten(const QvPoint2<double>* points, QvULong first, QvULong degree, double tolerance,
                  QvPoint2dArray* out, QvLong skipFirst);
  // As the first form; a range that does not lie inside points appends nothing and returns 0.
  QvULong Flatten(const QvPoint2fArray& points, QvULong first, QvULong degree, double tolerance,
                  QvPoint2fArray* out, QvLong skipFirst);

  // degree + 1 below degree 2; otherwise the sample count of the whole curve flattened as a single
  // forward-differenced leaf, up to 2^31 + 1. 0 for an unsupported degree or a null pointer.
  QvULong FlatPolylineSizeUpperBound(const QvPoint2<float>* points, QvULong first, QvULong degree,
                                     double tolerance);

  static QvULong MaxDegreeForThisImplementation();

  // Fits Bezier segments of the given degree (3 to 8) to a run of samples and appends them to path,
  // cutting the run at corners: turns past a right angle whose squared cosine, between the reversed
  // incoming and the outgoing direction, exceeds cornerCosSquared. Unless pointsAreClean, exact
  // repeats are dropped first. Returns the number of segments added; a lone sample gives a Moveto
  // and 1. continuePath nonzero means that path already ends at the first sample. ClosedFit expects
  // the last sample to repeat the first, and closes the outline.
  QvULong OpenFit(const QvPoint2fArray& points, double cornerCosSquared, QvULong degree,
                  double tolerance, QvLong pointsAreClean, QvPath2f* path, QvLong continuePath);
  QvULong ClosedFit(const QvPoint2fArray& points, double cornerCosSquared, QvULong degree,
                    double tolerance, QvLong pointsAreClean, QvPath2f* path);

  // One least-squares fit of the given degree over points[first..last], with lengths the
  // cumulative arc length indexed like points. out receives degree + 1 control points. On 0,
  // failIndex names the sample where the fit failed.
  QvLong SingleCurveFitC0C0(const QvPoint2fArray& points, const QvDoubleArray& lengths,
                            QvULong first, QvULong last, double tolerance, QvULong degree,
                            QvPoint2<float>* out, QvULong& failIndex);
  QvLong SingleCurveFitG1C0(const QvPoint2fArray& points, const QvDoubleArray& lengths,
                            QvULong first, QvULong last, const QvPoint2<double>& startTangent,
                            double tolerance, QvULong degree, QvPoint2<float>* out,
                            QvULong& failIndex);
  QvLong SingleCurveFitC0G1(const QvPoint2fArray& points, const QvDoubleArray& lengths,
                            QvULong first, QvULong last, const QvPoint2<double>& endTangent,
                            double tolerance, QvULong degree, QvPoint2<float>* out,
                            QvULong& failIndex);
  QvLong SingleCurveFitG1G1(const QvPoint2fArray& points, const QvDoubleArray& lengths,
                            QvULong first, QvULong last, const QvPoint2<double>& startTangent,
                            const QvPoint2<double>& endTangent, double tolerance, QvULong degree,
                            QvPoint2<float>* out, QvULong& failIndex);
  QvLong SingleCubicFitG1C0(const QvPoint2dArray& points, const QvDoubleArray& lengths,
                            QvULong first, QvULong last, const QvPoint2<double>& startTangent,
                            double tolerance, QvPoint2<double>* out, QvULong& failIndex);

 private:
  // Flattening, in calling order.
  QvULong FlattenWidened(const QvPoint2<double>* block, QvULong degree, double tolerance,
                         QvLong skipFirst);
  void ContextInitOne(const QvPoint2<double>* points);
  QvULong DepthPMSOFD();
  void PMSOFD(const QvPoint2<double>* points, QvULong depth);
  void ContextInitTwo();
  void OFDInnerLoop();
  void Emit(const QvPoint2<double>& p);

  // Fitting.
  QvULong FitStretches(const QvPoint2fArray& samples, double cornerCosSquared, QvULong degree,
                       double tolerance, QvPath2f* path);
  void OpenFit2DPrivate(QvULong first, const QvPoint2<double>& startTangent, QvULong last,
                        const QvPoint2<double>& endTangent, QvULong degree);
  QvPoint2<double> UnitTangentVectorFirst(QvULong i) const;
  QvPoint2<double> UnitTangentVectorLast(QvULong i) const;
  QvPoint2<double> UnitTangentVectorCenter(QvULong i) const;

  // Scratch of one flattening call.
  QvULong m_degree;
  double m_tolerance;
  QvULong m_numLeafSamples;
  QvULong m_numEmitted;
  QvULong m_log2Steps;
  QvPoint2fArray* m_outFloat;
  QvPoint2dArray* m_outDouble;
  QvLong m_outIsDouble;
  QvPoint2<double> m_differenceTable[45];  // levels 0 to n, n + 1, n, ... 1 entries
  QvPoint2<double> m_forwardDifferences[9];
  QvULong m_maxLog2Steps;  // leaf step ceiling of the call, so bad tolerances cannot run away

  // Scratch of one fit.
  double m_fitTolerance;
  double m_fitToleranceSquared;
  const QvPoint2fArray* m_fitPoints;
  const QvDoubleArray* m_fitLengths;
  QvPath2f* m_fitPath;
  QvULong m_fitCount;
};

// Free cubic tools. A pointer to points stands for a block of exactly four control points (P[0] to
// P[3]); skipFirst, when nonzero, leaves out P[0], which the caller has already emitted. The
// Flatten functions append to out and return the number of points appended; the input may lie in
// out.

// Caps a leaf at 2^10 steps, so that one leaf never gives more than 1023 inner points.
QV_API QvULong QvBezierTool_FlattenCubic2d(const QvPoint2<double>* points, double tolerance,
                                           QvPoint2dArray* out, QvLong skipFirst);
// Works in double and rounds only the points it writes. Neither this form nor the 3D one caps its
// leaves; only the step budget of a call, as for QvBezierTool::Flatten, bounds them.
QV_API QvULong QvBezierTool_FlattenCubic2f(const QvPoint2<float>* points, double tolerance,
                                           QvPoint2fArray* out, QvLong skipFirst);
QV_API QvULong QvBezierTool_FlattenCubic3d(const QvPoint3<double>* points, double tolerance,
                                           QvPoint3dArray* out, QvLong skipFirst);

// A gamma segment is a power-law arc: points[0] and points[3] are the corners of its box, points[1]
// and points[2] the ends of the stretch to draw. The double argument is not used.
QV_API QvULong QvBezierTool_FlattenGamma(const QvPoint2<double>* points, double tolerance,
                                         QvPoint2dArray* out, QvLong skipFirst);

// Flatten and clip to extent, appending to three parallel arrays: the points, a tag each (TagFirst
// starts a run, TagLast ends one) and a flag each (1 for a drawn point; a run's last point gets 0
// when a new curve broke the run and 1 when clipping did). The three arrays must have equal sizes
// on entry; otherwise, or with a null pointer, nothing is written.
QV_API void QvBezierTool_ClipAndFlattenCubic2d(const QvPoint2<double>* points, double tolerance,
                                               const QvExtent2<double>& extent,
                                               QvPoint2dArray* outPoints, QvPointTagArray* outTags,
                                               QvBoolArray* outFlags);
QV_API void QvBezierTool_ClipAndFlattenGamma(const QvPoint2<double>* points, double tolerance,
                                             const QvExtent2<double>& extent,
                                             QvPoint2dArray* outPoints, QvPointTagArray* outTags,
                                             QvBoolArray* outFlags);

// Finds the parameter of the cubic nearest to point. On 1, best holds the squared distance and
// parameter the parameter in [0, 1]; on 0 both hold what they held on entry. reach serves both as a
// distance (the search boxes) and as a squared distance (the acceptance bound).
QV_API QvLong QvBezierTool_LocatePoint2d(const QvPoint2<double>* points, double flatness,
                                         const QvPoint2<double>& point, double reach, double& best,
                                         double& parameter);
QV_API QvLong QvBezierTool_LocatePoint2f(const QvPoint2<float>* points, double flatness,
                                         const QvPoint2<float>& point, double reach, double& best,
                                         double& parameter);
QV_API QvLong QvBezierTool_LocatePoint3d(const QvPoint3<double>* points, double flatness,
                                         const QvPoint3<double>& point, double reach, double& best,
                                         double& parameter);

// Splits the cubic p at t into out[0..4]: the halves are p[0], out[0], out[1], out[2] and out[2],
// out[3], out[4], p[3]. out must hold five points; it may overlap p.
QV_API void QvBezierTool_SplitCubic3d(const QvPoint3<double>* p, QvPoint3<double>* out, double t);

// Grow extent by the control points of the cubic cut into four at midpoints: a bound by the convex
// hull property, tighter than the control polygon, never solved for the extrema.
QV_API void QvBezierTool_AugmentExtentWithCubic2fTightExtent(QvExtent2<float>& extent,
                                                             const QvPoint2<float>* points,
                                                             QvLong skipFirst);
QV_API void QvBezierTool_AugmentExtentWithCubic2dTightExtent(QvExtent2<double>& extent,
                                                             const QvPoint2<double>* points,
                                                             QvLong skipFirst);

#endif
