#ifndef QV_QVSTDFCURVE_H
#define QV_QVSTDFCURVE_H

#include <qv/QvArray.h>
#include <qv/QvBaseFCurve.h>
#include <qv/QvPoint.h>
#include <qv/QvTypes.h>

class QvStdFCurveImpl;

// The keyframed curve: sorted keys joined by constant, linear or Bezier cubic segments, each key
// with a left and a right value and tangent handles that may be stored or computed from the
// neighbours, four extrapolation methods and a value clamp. The state lives in one owned body.
class QV_API QvStdFCurve : public QvBaseFCurve {
 public:
  // How the point-array constructor joins its points.
  enum DPMethod : QvLong {
    DPCatmullRom = 1,
    DPNaturalSpline = 2,
    DPLinearReduced = 3,
    DPSplineFit = 4
  };

  // Constructors. Where two kinds are given, the first names the region before the first key and
  // the second the kind of new keys.
  QvStdFCurve(double valueWhenNoKeys = 0.0, FSKind firstSegmentKind = FSBezierCubic);
  QvStdFCurve(double parameter, double leftValue, double rightValue, FSKind firstSegmentKind,
              FSKind segmentKind);
  QvStdFCurve(double x0, double y0, double x1, double y1, FSKind firstSegmentKind,
              FSKind segmentKind);
  QvStdFCurve(const QvPoint2<double>& key0, const QvPoint2<double>& rightHandle0,
              const QvPoint2<double>& leftHandle1, const QvPoint2<double>& key1,
              FSKind firstSegmentKind, FSKind segmentKind);
  QvStdFCurve(const QvPoint2dArray& points, DPMethod method, double tolerance,
              FSKind firstSegmentKind, FSKind segmentKind);
  QvStdFCurve(const QvStdFCurve& other);
  QvStdFCurve(const QvStdFCurve& other, double from, double to);
  ~QvStdFCurve() override;

  // Full assignment: keys, settings and user data. Assignment from a curve seen only through
  // the frame copies the user data alone, as for every kind.
  QvStdFCurve& operator=(const QvStdFCurve& other);
  using QvBaseFCurve::operator=;

  QvStdFCurveImpl* GetImpl() const { return m_impl; }

  // The slots of the frame.
  QvBaseFCurve* QueryFCurveKind(Kind kind) const override;
  Kind GetKind() const override;
  QvBaseFCurve* Clone() const override;
  QvBaseFCurve* SnapShot(double from, double to, ExtrapolationMethod method) const override;
  QvLong CreateKey(double parameter, double value) override;
  QvLong MergeAndCreateKey(double from, double to, double parameter, double value,
                           QvLong openFrom, QvLong openTo, QvLong keepUserData) override;
  QvLong CreateNonModifyingKey(double parameter, QvLong noFold) override;
  QvLong MergeAndCreateNonModifyingKey(double from, double to, double parameter, QvLong openFrom,
                                       QvLong openTo, QvLong keepUserData,
                                       QvLong noFold) override;
  QvLong RemoveKey(double parameter, double tolerance) override;
  QvLong RemoveKeys(double from, double to, QvLong openFrom, QvLong openTo) override;
  QvLong SetValueWhenNoKeys(double value) override;
  QvLong GetKeyValue(double parameter, KeySide side, double& value,
                     double tolerance) const override;
  QvLong GetKeyValues(double parameter, double& left, double& right,
                      double tolerance) const override;
  QvLong SetKeyValue(double parameter, KeySide side, double value, double tolerance) override;
  QvLong Cut(double from, double to, QvBaseFCurve& out) override;
  QvLong RemoveTail(double parameter) override;
  QvLong RemoveHead(double parameter) override;
  QvLong Append(const QvBaseFCurve& other) override;
  QvLong Paste(const QvBaseFCurve& source, double from, double to) override;
  QvLong ShiftParameters(double offset) override;
  QvLong ScaleParameterAxis(double scale) override;
  QvLong ShiftValues(double offset) override;
  QvLong ReduceNumKeys(double from, double to, double tolerance) override;
  QvLong GetFCurveInfo(FCurveInfo* info) const override;
  QvLong GetKeyInfoFromIndex(QvULong index, KeyInfo* info) const override;
  QvLong GetKeyInfoFromParameter(double parameter, KeyInfo* info) const override;
  QvLong GetKeyParameter(QvULong index, double& parameter) const override;
  QvLong GetKeyIndex(double parameter, QvULong& index) const override;
  QvULong GetNumKeys() const override;
  QvULong GetKeyParameters(double from, double to, QvDoubleArray& parameters, QvLong openFrom,
                           QvLong openTo) const override;
  QvLong IsKeyParameter(double parameter, double tolerance) const override;
  QvULong GetAllKeyParameters(QvDoubleArray& parameters) const override;
  QvLong GetNextKeyParameter(double parameter, double& next, QvLong include) const override;
  QvLong GetPrevKeyParameter(double parameter, double& prev, QvLong include) const override;
  QvLong GetNearestKeyParameter(double parameter, double& nearest) const override;
  QvLong GetNearestKeyParameterInCenteredInterval(double& parameter,
                                                  double halfWidth) const override;
  QvLong SetClampingValues(double min, double max) override;
  QvLong GetClampingValues(double& min, double& max) const override;
  QvLong GetSmallestKeyParameter(double& parameter) const override;
  QvLong IsSmallestKeyParameter(double parameter) const override;
  double GetMinusInfinityVal() const override;
  QvLong GetLargestKeyParameter(double& parameter) const override;
  QvLong IsLargestKeyParameter(double parameter) const override;
  double GetPlusInfinityVal() const override;
  double GetValueUpperBound(QvLong clamp) const override;
  double GetValueLowerBound(QvLong clamp) const override;
  double Eval(double parameter, QvLong clamp) const override;
  QvULong EvalSequence(double from, double to, double step, double tolerance,
                       QvDoubleArray& parameters, QvDoubleArray& values,
                       QvLong clamp) const override;
  QvULong Flatten(const QvTransfo4& transform, double tolerance, QvPoint2dArray& points,
                  QvPointTagArray& tags, QvLong filter) const override;
  QvULong FlattenFromTo(const QvExtent2<double>& extent, const QvTransfo4& transform,
                        double tolerance, QvPoint2dArray& points, QvPointTagArray& tags,
                        QvBoolArray& flags, QvLong filter) const override;
  QvULong GetKeys(QvDoubleArray& parameters, QvDoubleArray& leftValues,
                  QvDoubleArray& rightValues, QvLong clamp) const override;
  QvLong ResampleSequence(double from, double to, double step, QvLong keepKeys,
                          QvLong reserved) override;
  QvLong SmoothSequence(double from, double to, const double* kernel, QvULong count) override;
  QvLong MirrorValues() override;
  QvLong MirrorParameters() override;
  QvLong ScaleAndOffsetParameters(double from, double to, double anchor, double scale,
                                  double offset, QvLong openFrom, QvLong openTo,
                                  RegionHandle handle) override;
  QvLong SetReadOnlyConstraint(QvLong on) override;
  QvLong IsReadOnly() const override;
  QvLong SetConstraint(double& parameter, KeyConstraint constraint, QvLong on,
                       double tolerance) override;
  QvLong GetConstraint(double& parameter, KeyConstraint constraint, QvLong& on,
                       double tolerance) const override;
  QvLong IsConstraintSupported(KeyConstraint constraint) const override;
  QvLong AreAnyValuesLockedInInterval(double from, double to, QvLong openFrom,
                                      QvLong openTo) const override;
  QvLong AreAnyParametersLockedInInterval(double from, double to, QvLong openFrom,
                                          QvLong openTo) const override;
  QvLong AreAnyKeysLockedInInterval(double from, double to, QvLong openFrom,
                                    QvLong openTo) const override;
  QvLong SetExtrapolationMethod(ExtrapolationMethod method) override;
  ExtrapolationMethod GetExtrapolationMethod() const override;
  double FoldParameter(double parameter) const override;
  QvULong GetBufferSize() const override;
  QvULong WriteToBuffer(void* buffer) const override;
  QvULong ReadFromBufferBody(const void* body) override;
  QvLong ScaleAndShiftValues(double scale, double shift) override;
  QvLong EvalInverse(double value, double& parameter, QvLong reserved) const override;
  QvLong IsBijective() const override;
  QvLong SetDefaultBezierTangentConstraint(QvLong on) override;
  QvLong IsDefautlBezierTangentConstraintOn() const override;
  QvLong SetAsTimeFCurve(QvLong on) override;
  QvLong IsTimeFCurve() const override;
  QvLong Set(const QvBaseFCurve& other) override;

  // Evaluation and reading.
  double EvalLeft(double parameter, QvLong clamp) const;
  double EvalIntegral(double from, double to) const;
  QvLong GetValueRange(double parameter, KeySide side, double& low, double& high,
                       double tolerance, QvLong clamp) const;
  QvLong HasConstantValue() const;
  FSKind GetFirstSegmentKind() const;
  FSKind GetSegmentKindAtParameter(double parameter) const;
  QvLong GetSegmentKind(double parameter, KeySide side, FSKind& kind, double tolerance) const;
  QvLong GetSegmentKinds(double parameter, FSKind& left, FSKind& right, double tolerance) const;
  QvLong GetSegmentKindAtIndex(QvULong index, KeySide side, FSKind& kind) const;
  QvLong HasUniformSegmentKind(FSKind& kind) const;
  // Handles relative to the key: "actual" ones are the stored handles, "evaluated" ones are those
  // that evaluation uses after the tangent constraints have been applied.
  QvLong GetActualKeyTgtHandle(double parameter, KeySide side, QvPoint2<double>& handle,
                               double tolerance) const;
  QvLong GetActualKeyTgtHandles(double parameter, QvPoint2<double>& left,
                                QvPoint2<double>& right, double tolerance) const;
  QvLong GetEvaluatedKeyTgtHandle(double parameter, KeySide side, QvPoint2<double>& handle,
                                  double tolerance) const;
  QvLong GetEvaluatedKeyTgtHandles(double parameter, QvPoint2<double>& left,
                                   QvPoint2<double>& right, double tolerance) const;
  QvLong GetConstraintAtIndex(QvULong index, KeyConstraint constraint) const;
  QvLong AreAnyTgtLengthsLockedInInterval(double from, double to, QvLong openFrom,
                                          QvLong openTo) const;
  QvLong AreAnyTgtDirectionsLockedInInterval(double from, double to, QvLong openFrom,
                                             QvLong openTo) const;

  // Key and tangent editing. A kind of 0 means "inherit from the neighbouring key".
  QvLong CreateKey(double parameter, double value, FSKind left, FSKind right);
  QvLong MergeAndCreateKey(double from, double to, double parameter, double value, FSKind left,
                           FSKind right, QvLong openFrom, QvLong openTo, QvLong keepUserData);
  QvLong RemoveKey(double parameter, FSKind kind, double tolerance);
  QvLong RemoveKeys(double from, double to, FSKind kind, QvLong openFrom, QvLong openTo);
  // The same with the kinds as plain integers, so that 0 ("inherit") can be written as it is.
  QvLong CreateKey(double parameter, double value, QvLong left, QvLong right) {
    return CreateKey(parameter, value, static_cast<FSKind>(left), static_cast<FSKind>(right));
  }
  QvLong MergeAndCreateKey(double from, double to, double parameter, double value, QvLong left,
                           QvLong right, QvLong openFrom, QvLong openTo, QvLong keepUserData) {
    return MergeAndCreateKey(from, to, parameter, value, static_cast<FSKind>(left),
                             static_cast<FSKind>(right), openFrom, openTo, keepUserData);
  }
  QvLong RemoveKey(double parameter, QvLong kind, double tolerance) {
    return RemoveKey(parameter, static_cast<FSKind>(kind), tolerance);
  }
  QvLong RemoveKeys(double from, double to, QvLong kind, QvLong openFrom, QvLong openTo) {
    return RemoveKeys(from, to, static_cast<FSKind>(kind), openFrom, openTo);
  }
  QvLong AppendConstantSegment(const QvPoint2<double>& key);
  QvLong AppendLinearSegment(const QvPoint2<double>& key);
  QvLong AppendOrExtendLinearSegment(const QvPoint2<double>& key, double tolerance);
  QvLong AppendBezierCubicSegment(const QvPoint2<double>& rightHandle,
                                  const QvPoint2<double>& leftHandle,
                                  const QvPoint2<double>& key);
  QvLong SetKeyTgtHandle(double parameter, KeySide side, const QvPoint2<double>& tangent,
                         double tolerance);
  QvLong SetKeyTgtHandles(double parameter, const QvPoint2<double>& left,
                          const QvPoint2<double>& right, double tolerance);
  QvLong LockTangentContinuity(double& parameter, double tolerance);
  QvLong UnlockTangentContinuity(double& parameter, double tolerance);
  QvLong IsTangentContinuityLocked(double& parameter, double tolerance) const;
  QvLong UnifyAndLockTangentContinuity(double& parameter, KeySide side, double tolerance);
  QvLong LockTangentLengthContinuity(double& parameter, double tolerance, double scale);
  QvLong UnlockTangentLengthContinuity(double& parameter, double tolerance, double scale);
  QvLong IsTangentLengthContinuityLocked(double& parameter, double tolerance) const;
  QvLong UnifyAndLockTangentLengthContinuity(double& parameter, KeySide side, double tolerance,
                                             double scale);
  QvLong SetConstraintAtIndex(QvULong index, KeyConstraint constraint, QvLong on);
  QvLong FreezeAllTangents(KeyConstraint constraint);
  QvLong FreezeTangentsInInterval(double from, double to, QvLong left, QvLong right,
                                  KeyConstraint constraint);
  QvLong FreezeTangentsInInterval(QvULong first, QvULong last, QvLong left, QvLong right,
                                  KeyConstraint constraint);
  QvLong SetSegmentKind(double parameter, KeySide side, FSKind kind, double tolerance);
  QvLong SetSegmentKindAtIndex(QvULong index, KeySide side, FSKind kind);
  QvLong SetSegmentKindAtParameter(double parameter, FSKind kind);
  QvLong SetFirstSegmentKind(FSKind kind);
  QvLong ConvertToUniformSegmentKind(FSKind kind);
  QvLong AdjustAdjacentAutomaticKeysTangents(double parameter);

  // Whole-curve reduction; returns the number of keys that remain.
  QvULong ReduceNumKeys(double tolerance);

 private:
  QvStdFCurveImpl* m_impl;
};

// Whether the x of the cubic P0..P3 rises monotonically, so that a parameter can be solved for.
// Looks at x only.
QV_API QvLong QvStdFCurve_IsCubicSegmentValid(const QvPoint2<double>& p0,
                                              const QvPoint2<double>& p1,
                                              const QvPoint2<double>& p2,
                                              const QvPoint2<double>& p3);

#endif
