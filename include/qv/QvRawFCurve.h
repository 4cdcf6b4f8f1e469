#ifndef QV_QVRAWFCURVE_H
#define QV_QVRAWFCURVE_H

#include <qv/QvArray.h>
#include <qv/QvBaseFCurve.h>
#include <qv/QvPoint.h>
#include <qv/QvTypes.h>

class QvRawFCurveImpl;

// The sampled curve: (parameter, value) keys at strictly rising parameters, joined by straight
// lines. A key has one value, no tangents and no locks, which makes this the cheap, dense kind
// that is built by appending samples one at a time (the property curve of a path's subpath).
// Every operation takes the curve's lock; the state lives in one owned body.
class QV_API QvRawFCurve : public QvBaseFCurve {
 public:
  QvRawFCurve(double valueWhenNoKeys = 0.0);
  // One key; an emptied curve then evaluates to `value`.
  QvRawFCurve(double parameter, double value);
  // Two keys, taken as given; an emptied curve evaluates to y0.
  QvRawFCurve(double p0, double y0, double p1, double y1);
  // Keeps only the points that a line test at `tolerance` needs (see ReduceNumKeys); the first
  // and the last point always stay, and with fewer than three points all of them do.
  QvRawFCurve(const QvPoint2dArray& points, double tolerance);
  QvRawFCurve(const QvRawFCurve& other);
  // A copy cut down to [from, to]: keys are made at the ends where they fall inside the keys.
  QvRawFCurve(const QvRawFCurve& other, double from, double to);
  ~QvRawFCurve() override;

  // Full assignment: keys, settings and user data.
  QvRawFCurve& operator=(const QvRawFCurve& other);
  using QvBaseFCurve::operator=;

  QvRawFCurveImpl* GetImpl() const { return m_impl; }

  // Appends a key after the last one. Fails on a read-only or empty curve, or when the point's
  // parameter is not strictly beyond the last key's.
  QvLong AppendLinearSegment(const QvPoint2<double>& point);
  // As AppendLinearSegment, but when the point lies within `tolerance` (in value) of the line
  // through the last two keys, the last key slides along that line to the point's parameter
  // instead, so that a straight run of samples costs two keys.
  QvLong AppendOrExtendLinearSegment(const QvPoint2<double>& point, double tolerance);
  // Drops every key that the line through its kept neighbours explains within `tolerance`;
  // returns the number of keys removed, 0 on a read-only curve.
  QvULong ReduceNumKeys(double tolerance);

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
                  QvPointTagArray& tags, QvLong clamp) const override;
  QvULong FlattenFromTo(const QvExtent2<double>& extent, const QvTransfo4& transform,
                        double tolerance, QvPoint2dArray& points, QvPointTagArray& tags,
                        QvBoolArray& flags, QvLong clamp) const override;
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

 private:
  // Editing steps shared by several operations; all assume the lock.
  QvULong EnsureKeyInsideCriticalSection(double parameter);
  void RemoveKeyRangeInsideCriticalSection(QvULong first, QvULong count);
  void RemoveHeadInsideCriticalSection(double parameter);
  void RemoveTailInsideCriticalSection(double parameter);
  QvULong ReduceInsideCriticalSection(QvULong first, QvULong last, double tolerance);
  void ReduceRangeInsideCriticalSection(double from, double to, double tolerance);
  void ResampleRangeInsideCriticalSection(double from, double to, double step, bool keepKeys);
  void SmoothRangeInsideCriticalSection(double from, double to, const double* kernel,
                                        QvULong count);
  QvLong MergeAndCreateKeyInsideCriticalSection(double from, double to, double parameter,
                                                double value, QvLong openFrom, QvLong openTo,
                                                QvLong keepUserData);
  QvLong AppendInsideCriticalSection(const QvRawFCurve& other);
  void RepairOrderInsideCriticalSection() const;

  QvRawFCurveImpl* m_impl;
};

#endif
