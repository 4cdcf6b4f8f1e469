#ifndef QV_QVBOOLEANFCURVE_H
#define QV_QVBOOLEANFCURVE_H

#include <qv/QvArray.h>
#include <qv/QvBaseFCurve.h>
#include <qv/QvPoint.h>
#include <qv/QvTypes.h>

class QvSteppedFCurveImpl;
template <class Curve>
class QvSteppedFCurveOps;

// The stepped curve of on/off states: each key holds 0 or 1 from its parameter up to the next key,
// with no interpolation. Before the first key the curve shows a value of its own, which is also the
// left value of the first key. Keys may lock their value (KCValueLocked), their parameter
// (KCParameterLocked) or both (KCKeyLocked). Values are read back as exactly 0.0 or 1.0; a double
// counts as true only within 1e-15 of 1. Every operation takes the curve's lock.
class QV_API QvBooleanFCurve : public QvBaseFCurve {
 public:
  // An empty curve that evaluates to 1 when `valueWhenNoKeys` lies within 1e-15 of 1, else to 0.
  QvBooleanFCurve(double valueWhenNoKeys = 0.0);
  QvBooleanFCurve(const QvBooleanFCurve& other);
  ~QvBooleanFCurve() override;

  // Full assignment: keys, flags, settings and user data.
  QvBooleanFCurve& operator=(const QvBooleanFCurve& other);
  using QvBaseFCurve::operator=;

  QvSteppedFCurveImpl* GetImpl() const { return m_impl; }

  // The slots of the frame.
  QvBaseFCurve* QueryFCurveKind(Kind kind) const override;
  Kind GetKind() const override;
  QvBaseFCurve* Clone() const override;
  QvBaseFCurve* SnapShot(double from, double to, ExtrapolationMethod method) const override;
  QvLong CreateKey(double parameter, double value) override;
  QvLong MergeAndCreateKey(double from, double to, double parameter, double value, QvLong openFrom,
                           QvLong openTo, QvLong keepUserData) override;
  QvLong CreateNonModifyingKey(double parameter, QvLong noFold) override;
  QvLong MergeAndCreateNonModifyingKey(double from, double to, double parameter, QvLong openFrom,
                                       QvLong openTo, QvLong keepUserData, QvLong noFold) override;
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
  QvULong GetKeys(QvDoubleArray& parameters, QvDoubleArray& leftValues, QvDoubleArray& rightValues,
                  QvLong clamp) const override;
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
  // Accepts 1, 3 and 4. An accepted method leaves the curve's lock held one level deeper than the
  // call found it, which hosts that count lock levels rely on.
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
  template <class Curve>
  friend class QvSteppedFCurveOps;

  QvSteppedFCurveImpl* m_impl;
};

#endif
