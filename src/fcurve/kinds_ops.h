#ifndef QV_SRC_FCURVE_KINDS_OPS_H
#define QV_SRC_FCURVE_KINDS_OPS_H

#include <qv/QvBooleanFCurve.h>
#include <qv/QvIntegerFCurve.h>

#include <type_traits>

#include "fcurve/kinds_body.h"

// The operations of the two stepped kinds. The boolean and the integer curve share one body and
// one code path; where they differ (value conversion, the value slots that the boolean kind does
// not have, the buffer layout), the code asks which kind it serves. Each function takes the curve
// first and does the locking itself, as the curve's own member would.
template <class Curve>
class QvSteppedFCurveOps {
 public:
  using Base = QvBaseFCurve;
  static constexpr bool kBoolean = std::is_same_v<Curve, QvBooleanFCurve>;

  // Accepts a key value: 0 or 1 within 1e-15 for the boolean, a whole number in the 32-bit range
  // within 1e-15 for the integer.
  static bool AcceptValue(double v, QvLong& out);
  // The conversion of value setters: the boolean counts 1 within 1e-15 as true, the integer
  // truncates.
  static QvLong Convert(double v);

  static void Construct(Curve& self, double valueWhenNoKeys);
  static void CopyConstruct(Curve& self, const Curve& other);
  static void Assign(Curve& self, const Curve& other);

  static Base* QueryFCurveKind(const Curve& self, Base::Kind kind);
  static Base* Clone(const Curve& self);
  static Base* SnapShot(const Curve& self, double from, double to, Base::ExtrapolationMethod m);
  static QvLong CreateKey(Curve& self, double parameter, double value);
  static QvLong MergeAndCreateKey(Curve& self, double from, double to, double parameter,
                                  double value, QvLong openFrom, QvLong openTo,
                                  QvLong keepUserData);
  static QvLong CreateNonModifyingKey(Curve& self, double parameter, QvLong noFold);
  static QvLong MergeAndCreateNonModifyingKey(Curve& self, double from, double to, double parameter,
                                              QvLong openFrom, QvLong openTo, QvLong keepUserData,
                                              QvLong noFold);
  static QvLong RemoveKey(Curve& self, double parameter, double tolerance);
  static QvLong RemoveKeys(Curve& self, double from, double to, QvLong openFrom, QvLong openTo);
  static QvLong SetValueWhenNoKeys(Curve& self, double value);
  static QvLong GetKeyValue(const Curve& self, double parameter, Base::KeySide side, double& value,
                            double tolerance);
  static QvLong GetKeyValues(const Curve& self, double parameter, double& left, double& right,
                             double tolerance);
  static QvLong SetKeyValue(Curve& self, double parameter, Base::KeySide side, double value,
                            double tolerance);
  static QvLong Cut(Curve& self, double from, double to, Base& out);
  static QvLong RemoveTail(Curve& self, double parameter);
  static QvLong RemoveHead(Curve& self, double parameter);
  static QvLong Append(Curve& self, const Base& other);
  static QvLong Paste(Curve& self, const Base& source, double from, double to);
  static QvLong ShiftParameters(Curve& self, double offset);
  static QvLong ScaleParameterAxis(Curve& self, double scale);
  static QvLong ShiftValues(Curve& self, double offset);
  static QvLong ReduceNumKeys(Curve& self, double from, double to, double tolerance);
  static QvLong GetFCurveInfo(const Curve& self, Base::FCurveInfo* info);
  static QvLong GetKeyInfoFromIndex(const Curve& self, QvULong index, Base::KeyInfo* info);
  static QvLong GetKeyInfoFromParameter(const Curve& self, double parameter, Base::KeyInfo* info);
  static QvLong GetKeyParameter(const Curve& self, QvULong index, double& parameter);
  static QvLong GetKeyIndex(const Curve& self, double parameter, QvULong& index);
  static QvULong GetNumKeys(const Curve& self);
  static QvULong GetKeyParameters(const Curve& self, double from, double to,
                                  QvDoubleArray& parameters, QvLong openFrom, QvLong openTo);
  static QvLong IsKeyParameter(const Curve& self, double parameter, double tolerance);
  static QvULong GetAllKeyParameters(const Curve& self, QvDoubleArray& parameters);
  static QvLong GetNextKeyParameter(const Curve& self, double parameter, double& next,
                                    QvLong include);
  static QvLong GetPrevKeyParameter(const Curve& self, double parameter, double& prev,
                                    QvLong include);
  static QvLong GetNearestKeyParameter(const Curve& self, double parameter, double& nearest);
  static QvLong GetNearestKeyParameterInCenteredInterval(const Curve& self, double& parameter,
                                                         double halfWidth);
  static QvLong SetClampingValues(Curve& self, double min, double max);
  static QvLong GetClampingValues(const Curve& self, double& min, double& max);
  static QvLong GetSmallestKeyParameter(const Curve& self, double& parameter);
  static QvLong IsSmallestKeyParameter(const Curve& self, double parameter);
  static double GetMinusInfinityVal(const Curve& self);
  static QvLong GetLargestKeyParameter(const Curve& self, double& parameter);
  static QvLong IsLargestKeyParameter(const Curve& self, double parameter);
  static double GetPlusInfinityVal(const Curve& self);
  static double GetValueUpperBound(const Curve& self, QvLong clamp);
  static double GetValueLowerBound(const Curve& self, QvLong clamp);
  static double Eval(const Curve& self, double parameter, QvLong clamp);
  static QvULong EvalSequence(const Curve& self, double from, double to, double step,
                              double tolerance, QvDoubleArray& parameters, QvDoubleArray& values,
                              QvLong clamp);
  static QvULong Flatten(const Curve& self, const QvTransfo4& transform, double tolerance,
                         QvPoint2dArray& points, QvPointTagArray& tags, QvLong clamp);
  static QvULong FlattenFromTo(const Curve& self, const QvExtent2<double>& extent,
                               const QvTransfo4& transform, double tolerance,
                               QvPoint2dArray& points, QvPointTagArray& tags, QvBoolArray& flags,
                               QvLong clamp);
  static QvULong GetKeys(const Curve& self, QvDoubleArray& parameters, QvDoubleArray& leftValues,
                         QvDoubleArray& rightValues, QvLong clamp);
  static QvLong ResampleSequence(Curve& self, double from, double to, double step, QvLong keepKeys,
                                 QvLong reserved);
  static QvLong SmoothSequence(Curve& self, double from, double to, const double* kernel,
                               QvULong count);
  static QvLong MirrorValues(Curve& self);
  static QvLong MirrorParameters(Curve& self);
  static QvLong ScaleAndOffsetParameters(Curve& self, double from, double to, double anchor,
                                         double scale, double offset, QvLong openFrom,
                                         QvLong openTo, Base::RegionHandle handle);
  static QvLong SetReadOnlyConstraint(Curve& self, QvLong on);
  static QvLong IsReadOnly(const Curve& self);
  static QvLong SetConstraint(Curve& self, double& parameter, Base::KeyConstraint constraint,
                              QvLong on, double tolerance);
  static QvLong GetConstraint(const Curve& self, double& parameter, Base::KeyConstraint constraint,
                              QvLong& on, double tolerance);
  static QvLong IsConstraintSupported(const Curve& self, Base::KeyConstraint constraint);
  static QvLong AreAnyValuesLockedInInterval(const Curve& self, double from, double to,
                                             QvLong openFrom, QvLong openTo);
  static QvLong AreAnyParametersLockedInInterval(const Curve& self, double from, double to,
                                                 QvLong openFrom, QvLong openTo);
  static QvLong AreAnyKeysLockedInInterval(const Curve& self, double from, double to,
                                           QvLong openFrom, QvLong openTo);
  static QvLong SetExtrapolationMethod(Curve& self, Base::ExtrapolationMethod method);
  static Base::ExtrapolationMethod GetExtrapolationMethod(const Curve& self);
  static double FoldParameter(const Curve& self, double parameter);
  static QvULong GetBufferSize(const Curve& self);
  static QvULong WriteToBuffer(const Curve& self, void* buffer);
  static QvULong ReadFromBufferBody(Curve& self, const void* body);
  static QvLong ScaleAndShiftValues(Curve& self, double scale, double shift);
  static QvLong EvalInverse(const Curve& self, double value, double& parameter, QvLong reserved);
  static QvLong IsBijective(const Curve& self);
  static QvLong SetDefaultBezierTangentConstraint(Curve& self, QvLong on);
  static QvLong IsDefautlBezierTangentConstraintOn(const Curve& self);
  static QvLong SetAsTimeFCurve(Curve& self, QvLong on);
  static QvLong IsTimeFCurve(const Curve& self);
  static QvLong Set(Curve& self, const Base& other);

 private:
  static void EraseWithUserData(Curve& self, QvULong first, QvULong count);
  static QvLong MergeInsideCriticalSection(Curve& self, double from, double to, double parameter,
                                           QvLong value, QvLong openFrom, QvLong openTo,
                                           QvLong keepUserData);
  static QvULong EnsureKey(Curve& self, double parameter);
  static void RemoveHeadInside(Curve& self, double parameter);
  static void RemoveTailInside(Curve& self, double parameter);
  static QvLong AppendInside(Curve& self, const Curve& other);
  template <class Fn>
  static void ForRanges(const QvSteppedFCurveImpl& body, double from, double to,
                        bool offsetCycleToo, Fn&& fn);
  static void ReduceCore(Curve& self, QvULong first, QvULong last);
};

extern template class QvSteppedFCurveOps<QvBooleanFCurve>;
extern template class QvSteppedFCurveOps<QvIntegerFCurve>;

#endif
