#ifndef QV_QVQUATFCURVE_H
#define QV_QVQUATFCURVE_H

#include <qv/QvArray.h>
#include <qv/QvBaseFCurve.h>
#include <qv/QvPoint.h>
#include <qv/QvTypes.h>

#include <cstdint>
#include <vector>

namespace qv::internal {
struct QuatSegmentTable;
}

// One key of a rotation curve: a time, an Euler rotation in radians (the convention of QvQuat)
// and the three shape numbers of its tangents.
class QV_API QvQuatKey {
 public:
  // Everything zero, both locks clear.
  QvQuatKey();
  // `flags` keeps its low 14 bits; both locks start clear.
  QvQuatKey(double time, QvPoint3<double> const& value, float tension, float continuity,
            float bias, int flags);
  QvQuatKey(const QvQuatKey& other);
  QvQuatKey& operator=(const QvQuatKey& other);

  // The four doubles within 1e-9, the three floats within 1e-7, all sixteen flag and lock bits
  // equal.
  QvLong operator==(const QvQuatKey& other) const;
  QvLong operator!=(const QvQuatKey& other) const;
  // Orders by time alone.
  QvLong operator<(const QvQuatKey& other) const;

  // Reverses the time factor of the key's tangent; the other flag bits are carried only.
  static constexpr unsigned kFlagNegateTimeFactor = 0x2000;

  double time;
  QvPoint3<double> value;
  float tension;
  float continuity;
  float bias;
  std::uint16_t flags : 14;
  std::uint16_t paramLock : 1;
  std::uint16_t valueLock : 1;
};

// An ordered list of rotation keys, interpolated as a smooth cumulative cubic on the unit
// quaternion sphere with tension, continuity and bias tangents. The per-segment rotation vectors
// are built at the first evaluation after a change and kept until the next change.
//
// Reference counted: views hold the curve through Ref and UnRef, and the last UnRef deletes a
// curve made by `new`. A curve on the stack or inside another object is fine as long as nobody
// calls UnRef on it. The curve has no lock of its own; the views that share it must be kept to one
// thread at a time. Evaluation writes the memo and the segment cache.
//
// Component forms use 0 for x, 1 for y, 2 for z, and degrees; the others use radians.
class QV_API QvQuatCurve {
 public:
  QvQuatCurve();
  // Copies keys, settings and a live segment cache; the copy starts with a reference count of 0.
  QvQuatCurve(const QvQuatCurve& other);
  // Keeps this curve's own reference count.
  QvQuatCurve& operator=(const QvQuatCurve& other);
  ~QvQuatCurve();

  void Ref();
  // Deletes the curve when the count was at most 1 before the call.
  void UnRef();
  // Drops the segment cache; every change of keys does this.
  void ChangeNotify();

  QvULong GetNumKeys() const;
  // A default key for an index out of range.
  QvQuatKey GetKey(QvULong index) const;
  // 0.0 for an index out of range.
  double GetKeyTime(QvULong index) const;
  double GetParameter(QvULong index) const;
  // valueWhenNoKeys for an index out of range.
  QvPoint3<double> GetKeyValue(QvULong index) const;
  // Degrees; valueWhenNoKeys' component for an index out of range, 0.0 for a bad component.
  double GetKeyValue(QvULong index, QvULong component) const;

  // Among the keys within `tolerance` of t, the nearest, the earlier on a tie; 0xFFFFFFFF if none.
  QvULong FindKey(double t, double tolerance) const;
  // Replaces key `index`; 0 when the index is out of range or the new time does not lie strictly
  // between the neighbours' times.
  QvLong SetKey(QvULong index, QvQuatKey const& key);
  // Replaces the key found near the key's time, or inserts it in order. Returns its index,
  // 0xFFFFFFFF for a time that is not finite.
  QvULong SetKey(QvQuatKey const& key, double tolerance);
  // Sets the value of the key found near t (unless its value is locked), or inserts a key with
  // zero shape numbers and flags. Returns its index, 0xFFFFFFFF for a time that is not finite.
  QvULong SetKey(double t, QvPoint3<double> const& value, double tolerance);
  // One component, in degrees, of the rotation evaluated at t; the other two stay as evaluated.
  QvULong SetKey(double t, QvULong component, double degrees, double tolerance);
  // 0 for an index out of range; 1 with nothing changed on a value-locked key.
  QvLong SetKeyValue(QvULong index, QvPoint3<double> const& value);
  QvLong SetKeyValue(QvULong index, QvULong component, double degrees);

  QvLong RemoveKey(double t, double tolerance);
  QvLong RemoveKeyAt(QvULong index);
  // Keys first to last, both included.
  QvLong RemoveKeyRange(QvULong first, QvULong last);
  void RemoveAllKeys();
  // The first key beyond t + tolerance, the last before t - tolerance; 0xFFFFFFFF if none.
  QvULong GetNextKey(double t, double tolerance) const;
  QvULong GetPrevKey(double t, double tolerance) const;

  // Scale and Shift leave parameter-locked keys where they are, so the order may break; IsValid
  // tells. Scale refuses factors below 1e-12.
  QvLong Scale(double factor);
  QvLong Shift(double offset);
  QvLong SetParameter(QvULong index, double t);

  QvLong IsParamLocked(QvULong index) const;
  QvLong SetParamLock(QvULong index, QvLong on);
  QvLong IsValueLocked(QvULong index) const;
  QvLong SetValueLock(QvULong index, QvLong on);
  // 4 for the parameter lock, 2 for the value lock.
  std::uint16_t GetConstraintData(QvULong index) const;
  QvLong SetConstraintData(QvULong index, std::uint16_t word);

  // 1 when the times strictly rise.
  QvLong IsValid() const;
  // Stored for the views, which refuse edits while it is set; the curve's own operations do not
  // look at it.
  QvLong IsReadOnly() const;
  QvLong SetReadOnlyConstraint(QvLong on);

  QvPoint3<double> GetValueWhenNoKeys() const;
  double GetValueWhenNoKeys(QvULong component) const;   // degrees
  void SetValueWhenNoKeys(QvPoint3<double> const& value);
  void SetValueWhenNoKeys(QvULong component, double degrees);

  QvLong GetExtrapolationMethod() const;
  // 0 unless the method is 1 to 4.
  QvLong SetExtrapolationMethod(QvLong method);

  // (time, degrees) of the keys that shape the curve around key `index`: two before it to two
  // after it. Empty for an index out of range.
  QvExtent2<double> GetKeyExtent(QvULong index, QvULong component) const;

  // Radians.
  QvPoint3<double> Eval(double t) const;
  // Degrees; 0.0 for a bad component.
  double Eval(double t, QvULong component) const;

 private:
  void BuildSegmentsIfMissing() const;

  QvPoint3<double> m_valueWhenNoKeys;
  mutable QvPoint3<double> m_cachedValue;
  mutable double m_cachedTime;
  std::vector<QvQuatKey> m_keys;
  mutable qv::internal::QuatSegmentTable* m_segments;
  QvLong m_refCount;
  QvLong m_extrapolation;
  QvLong m_readOnly;
};

// One Euler component of a shared QvQuatCurve, seen as an ordinary function curve in degrees:
// three views over one curve give an editor the x, y and z rotation channels. Edits through any
// view change the shared curve, so all views see them.
class QV_API QvQuatFCurve : public QvBaseFCurve {
 public:
  // A view on a new curve of its own.
  explicit QvQuatFCurve(QvULong component);
  // Shares `curve` (a new one for null).
  QvQuatFCurve(QvQuatCurve* curve, QvULong component);
  // A view on a new copy of the other's curve.
  QvQuatFCurve(const QvQuatFCurve& other);
  ~QvQuatFCurve() override;

  // Copies the user data and assigns the other's curve contents into this view's curve, so that
  // every view of this curve changes. The component stays.
  QvQuatFCurve& operator=(const QvQuatFCurve& other);
  using QvBaseFCurve::operator=;

  QvQuatCurve* GetQuatCurve() const { return m_curve; }
  QvULong GetComponent() const { return m_component; }

  // Appends a key after the last one; fails on a read-only or empty curve, or when the point's
  // parameter is not beyond the last key's.
  QvLong AppendLinearSegment(QvPoint2<double> const& point);
  // As above, but a point within `tolerance` of the line through the last two keys slides the last
  // key along that line instead.
  QvLong AppendOrExtendLinearSegment(QvPoint2<double> const& point, double tolerance);
  // The smallest and largest key values of the component in [from, to]; 0 without keys there.
  QvLong GetValueBoundsBetween(double from, double to, double& low, double& high) const;

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
  // Keys in [from, to], an end key left out when its flag is set; 0 when none lies there.
  QvLong GetKeyIndicesInInterval(double from, double to, QvULong& first, QvULong& last,
                                 QvLong excludeFrom, QvLong excludeTo) const;
  QvLong AnyLockInInterval(double from, double to, QvLong openFrom, QvLong openTo,
                           unsigned which) const;
  QvLong MergeInsideCriticalSection(double from, double to, double parameter,
                                    QvPoint3<double> const& value, QvLong openFrom,
                                    QvLong openTo, QvLong keepUserData);
  void RemoveKeysInsideCriticalSection(QvULong first, QvULong last);
  // Moves the user data of every key whose time changed from `before` to the key's time now.
  void FollowKeyTimesInsideCriticalSection(const std::vector<double>& before);

  QvQuatCurve* m_curve;
  QvULong m_component;
};

#endif
