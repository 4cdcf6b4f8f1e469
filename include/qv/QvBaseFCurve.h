#ifndef QV_QVBASEFCURVE_H
#define QV_QVBASEFCURVE_H

#include <qv/QvArray.h>
#include <qv/QvCriticalSection.h>
#include <qv/QvPoint.h>
#include <qv/QvTypes.h>

class QvTransfo4;
class CFCUserDataSet;
class QvFCurveUserDataStore;

// The abstract function curve: a map from a double parameter (usually time) to a value, defined
// by keys. Every kind shares this interface of 80 virtual slots, one recursive lock, one user data
// store and one buffer discipline. The order of the virtual members below is the order of the
// slots and must not change: hosts are built against it.
//
// Every public operation of a kind runs the same way: lock; refuse a mutation of a read-only
// curve; find the key with the tolerance given; act; write the key's actual parameter back into a
// `double &` argument; unlock. A failure returns 0 and leaves the curve and the outputs as they were.
class QV_API QvBaseFCurve {
 public:
  enum Kind : QvLong {
    KindBoolean = 10,
    KindInteger = 15,
    KindStandard = 20,
    KindRaw = 30,
    KindQuat = 40
  };

  // Kind of the segment that leaves a key.
  enum FSKind : QvLong {
    FSConstant = 1,
    FSLinear = 2,
    FSBezierCubic = 3
  };

  // A key has two sides because a curve may jump at a key.
  enum KeySide : QvLong {
    KeySideLeft = 1,
    KeySideRight = 2
  };

  enum ExtrapolationMethod : QvLong {
    ExtrapolationConstant = 1,
    ExtrapolationLinear = 2,
    ExtrapolationCycle = 3,
    ExtrapolationCycleOffset = 4
  };

  // One bit, or on SetConstraint an OR of several.
  enum KeyConstraint : QvLong {
    KCParameterLocked = 1,
    KCValueLocked = 2,
    KCTangentContinuity = 4,
    KCTangentDirectionLocked = 8,
    KCTangentLengthLocked = 16,
    KCKeyLocked = 32,  // 1, 2, 8 and 16 together; reads true only when all four are set
    KCTangentFlat = 64,
    KCTangentFlatAtExtremum = 128,
    KCTangentAutomatic = 256,
    KCTangentZeroLength = 512,
    KCTangentLengthContinuity = 1024,
    KCTangentLinear = 2048,
    KCTangentMirrorContinuity = 4096,
    KCTangentLinearAlternate = 8192  // the same state as KCTangentLinear
  };

  // The edge of a selection box that a stretch drags.
  enum RegionHandle : QvLong {
    RegionHandleMinValue = 1,
    RegionHandleMinParameter = 2,
    RegionHandleMaxParameter = 4,
    RegionHandleMaxValue = 8
  };

  // Filled by GetFCurveInfo: the caller sets `mask`, and only the fields whose bits are set are
  // written (kind 1, numKeys 2, valueWhenNoKeys 4, firstSegmentKind 8, clampMin 16, clampMax 32,
  // extrapolation 64).
  struct FCurveInfo {
    QvULong mask;
    Kind kind;
    double valueWhenNoKeys;
    QvULong numKeys;
    FSKind firstSegmentKind;
    double clampMin;
    double clampMax;
    ExtrapolationMethod extrapolation;
  };

  // Filled by GetKeyInfoFromIndex and GetKeyInfoFromParameter with the same mask rule (index 1,
  // parameter 2, leftValue 4, rightValue 8, leftTangentX 16, leftTangentY 32, rightTangentX 64,
  // rightTangentY 128, segmentKind 256). Tangents are the evaluated handles relative to the key.
  struct KeyInfo {
    QvULong mask;
    QvULong index;
    double parameter;
    double leftValue;
    double rightValue;
    double leftTangentX;
    double leftTangentY;
    double rightTangentX;
    double rightTangentY;
    FSKind segmentKind;
  };

  QvBaseFCurve();
  QvBaseFCurve(const QvBaseFCurve& other);

  // Slot 0: copies the user data only; each kind has its own full assignment.
  virtual QvBaseFCurve& operator=(const QvBaseFCurve& other);
  // Slot 1.
  virtual ~QvBaseFCurve();

  virtual QvBaseFCurve* QueryFCurveKind(Kind kind) const = 0;                                   // 2
  virtual Kind GetKind() const = 0;                                                             // 3
  virtual QvBaseFCurve* Clone() const = 0;                                                      // 4
  virtual QvBaseFCurve* SnapShot(double from, double to, ExtrapolationMethod method) const = 0;  // 5
  virtual QvLong CreateKey(double parameter, double value) = 0;                                 // 6
  virtual QvLong MergeAndCreateKey(double from, double to, double parameter, double value,
                                   QvLong openFrom, QvLong openTo, QvLong keepUserData) = 0;     // 7
  virtual QvLong CreateNonModifyingKey(double parameter, QvLong noFold) = 0;                    // 8
  virtual QvLong MergeAndCreateNonModifyingKey(double from, double to, double parameter,
                                               QvLong openFrom, QvLong openTo,
                                               QvLong keepUserData, QvLong noFold) = 0;         // 9
  virtual QvLong RemoveKey(double parameter, double tolerance) = 0;                             // 10
  virtual QvLong RemoveKeys(double from, double to, QvLong openFrom, QvLong openTo) = 0;        // 11
  virtual QvLong SetValueWhenNoKeys(double value) = 0;                                          // 12
  virtual QvLong GetKeyValue(double parameter, KeySide side, double& value,
                             double tolerance) const = 0;                                       // 13
  virtual QvLong GetKeyValues(double parameter, double& left, double& right,
                              double tolerance) const = 0;                                      // 14
  virtual QvLong SetKeyValue(double parameter, KeySide side, double value,
                             double tolerance) = 0;                                             // 15
  virtual QvLong Cut(double from, double to, QvBaseFCurve& out) = 0;                            // 16
  virtual QvLong RemoveTail(double parameter) = 0;                                              // 17
  virtual QvLong RemoveHead(double parameter) = 0;                                              // 18
  virtual QvLong Append(const QvBaseFCurve& other) = 0;                                         // 19
  virtual QvLong Paste(const QvBaseFCurve& source, double from, double to) = 0;                 // 20
  virtual QvLong ShiftParameters(double offset) = 0;                                            // 21
  virtual QvLong ScaleParameterAxis(double scale) = 0;                                          // 22
  virtual QvLong ShiftValues(double offset) = 0;                                                // 23
  virtual QvLong ReduceNumKeys(double from, double to, double tolerance) = 0;                   // 24
  virtual QvLong GetFCurveInfo(FCurveInfo* info) const = 0;                                     // 25
  virtual QvLong GetKeyInfoFromIndex(QvULong index, KeyInfo* info) const = 0;                   // 26
  virtual QvLong GetKeyInfoFromParameter(double parameter, KeyInfo* info) const = 0;            // 27
  virtual QvLong GetKeyParameter(QvULong index, double& parameter) const = 0;                   // 28
  virtual QvLong GetKeyIndex(double parameter, QvULong& index) const = 0;                       // 29
  virtual QvULong GetNumKeys() const = 0;                                                       // 30
  virtual QvULong GetKeyParameters(double from, double to, QvDoubleArray& parameters,
                                   QvLong openFrom, QvLong openTo) const = 0;                   // 31
  virtual QvLong IsKeyParameter(double parameter, double tolerance) const = 0;                  // 32
  virtual QvULong GetAllKeyParameters(QvDoubleArray& parameters) const = 0;                     // 33
  virtual QvLong GetNextKeyParameter(double parameter, double& next, QvLong include) const = 0;  // 34
  virtual QvLong GetPrevKeyParameter(double parameter, double& prev, QvLong include) const = 0;  // 35
  virtual QvLong GetNearestKeyParameter(double parameter, double& nearest) const = 0;          // 36
  virtual QvLong GetNearestKeyParameterInCenteredInterval(double& parameter,
                                                          double halfWidth) const = 0;          // 37
  virtual QvLong SetClampingValues(double min, double max) = 0;                                 // 38
  virtual QvLong GetClampingValues(double& min, double& max) const = 0;                         // 39
  virtual QvLong GetSmallestKeyParameter(double& parameter) const = 0;                          // 40
  virtual QvLong IsSmallestKeyParameter(double parameter) const = 0;                            // 41
  virtual double GetMinusInfinityVal() const = 0;                                               // 42
  virtual QvLong GetLargestKeyParameter(double& parameter) const = 0;                           // 43
  virtual QvLong IsLargestKeyParameter(double parameter) const = 0;                             // 44
  virtual double GetPlusInfinityVal() const = 0;                                                // 45
  virtual double GetValueUpperBound(QvLong clamp) const = 0;                                    // 46
  virtual double GetValueLowerBound(QvLong clamp) const = 0;                                    // 47
  virtual double Eval(double parameter, QvLong clamp) const = 0;                                // 48
  virtual QvULong EvalSequence(double from, double to, double step, double tolerance,
                               QvDoubleArray& parameters, QvDoubleArray& values,
                               QvLong clamp) const = 0;                                         // 49
  virtual QvULong Flatten(const QvTransfo4& transform, double tolerance, QvPoint2dArray& points,
                          QvPointTagArray& tags, QvLong filter) const = 0;                      // 50
  virtual QvULong FlattenFromTo(const QvExtent2<double>& extent, const QvTransfo4& transform,
                                double tolerance, QvPoint2dArray& points, QvPointTagArray& tags,
                                QvBoolArray& flags, QvLong filter) const = 0;                   // 51
  virtual QvULong GetKeys(QvDoubleArray& parameters, QvDoubleArray& leftValues,
                          QvDoubleArray& rightValues, QvLong clamp) const = 0;                  // 52
  virtual QvLong ResampleSequence(double from, double to, double step, QvLong keepKeys,
                                  QvLong reserved) = 0;                                         // 53
  virtual QvLong SmoothSequence(double from, double to, const double* kernel,
                                QvULong count) = 0;                                             // 54
  virtual QvLong MirrorValues() = 0;                                                            // 55
  virtual QvLong MirrorParameters() = 0;                                                        // 56
  virtual QvLong ScaleAndOffsetParameters(double from, double to, double anchor, double scale,
                                          double offset, QvLong openFrom, QvLong openTo,
                                          RegionHandle handle) = 0;                             // 57
  virtual QvLong SetReadOnlyConstraint(QvLong on) = 0;                                          // 58
  virtual QvLong IsReadOnly() const = 0;                                                        // 59
  virtual QvLong SetConstraint(double& parameter, KeyConstraint constraint, QvLong on,
                               double tolerance) = 0;                                           // 60
  virtual QvLong GetConstraint(double& parameter, KeyConstraint constraint, QvLong& on,
                               double tolerance) const = 0;                                     // 61
  virtual QvLong IsConstraintSupported(KeyConstraint constraint) const = 0;                     // 62
  virtual QvLong AreAnyValuesLockedInInterval(double from, double to, QvLong openFrom,
                                              QvLong openTo) const = 0;                         // 63
  virtual QvLong AreAnyParametersLockedInInterval(double from, double to, QvLong openFrom,
                                                  QvLong openTo) const = 0;                     // 64
  virtual QvLong AreAnyKeysLockedInInterval(double from, double to, QvLong openFrom,
                                            QvLong openTo) const = 0;                           // 65
  virtual QvLong SetExtrapolationMethod(ExtrapolationMethod method) = 0;                        // 66
  virtual ExtrapolationMethod GetExtrapolationMethod() const = 0;                               // 67
  virtual double FoldParameter(double parameter) const = 0;                                     // 68
  virtual QvULong GetBufferSize() const = 0;                                                    // 69
  virtual QvULong WriteToBuffer(void* buffer) const = 0;                                        // 70
  virtual QvULong ReadFromBufferBody(const void* body) = 0;                                     // 71
  virtual QvLong ScaleAndShiftValues(double scale, double shift) = 0;                           // 72
  virtual QvLong EvalInverse(double value, double& parameter, QvLong reserved) const = 0;       // 73
  virtual QvLong IsBijective() const = 0;                                                       // 74
  virtual QvLong SetDefaultBezierTangentConstraint(QvLong on) = 0;                              // 75
  virtual QvLong IsDefautlBezierTangentConstraintOn() const = 0;                                // 76
  virtual QvLong SetAsTimeFCurve(QvLong on) = 0;                                                // 77
  virtual QvLong IsTimeFCurve() const = 0;                                                      // 78
  virtual QvLong Set(const QvBaseFCurve& other) = 0;                                            // 79

  // User data: opaque blobs hung on the curve and on single keys, each under a 16-byte
  // identifier. The pointer handed out by the two getters stays valid until that entry changes.
  QvLong SetFCurveUserData(const _pmbUID& id, const unsigned char* data, QvULong size);
  QvLong GetFCurveUserData(const _pmbUID& id, const unsigned char*& data, QvULong& size) const;
  QvLong RemoveFCurveUserData(const _pmbUID& id);
  QvLong HasUserData() const;
  QvLong HasUserData(double parameter) const;
  QvLong SetKeyUserData(double& parameter, const _pmbUID& id, const unsigned char* data,
                        QvULong size, double tolerance);
  QvLong GetKeyUserData(double& parameter, const _pmbUID& id, const unsigned char*& data,
                        QvULong& size, double tolerance) const;
  QvLong RemoveKeyUserData(double& parameter, const _pmbUID& id, double tolerance);
  // Drops the whole set of the key at exactly `parameter`; kinds call it as they delete a key.
  void RemoveKeyUserData(double parameter);
  QvLong CopyKeyUserData(const QvBaseFCurve& source, double from, double to);

 protected:
  // The lock is recursive, so an operation may call other public operations of the same curve.
  void Lock() const;
  void Unlock() const;
  // Does not count its own visit.
  QvLong GetLockCount() const;

  // Holds the curve's lock for a scope and releases it on every way out.
  class LockGuard {
   public:
    explicit LockGuard(const QvBaseFCurve& curve) : m_curve(curve) { m_curve.Lock(); }
    ~LockGuard() { m_curve.Unlock(); }
    LockGuard(const LockGuard&) = delete;
    LockGuard& operator=(const LockGuard&) = delete;

   private:
    const QvBaseFCurve& m_curve;
  };

  // User data kept with keys as kinds move, scale, merge and delete them.
  const CFCUserDataSet* GetUserDataSet(double parameter) const;
  void SetUserDataSet(const CFCUserDataSet& set, double parameter);
  void RemoveAllKeyUserData();
  void TranslateAllKeyUserData(double offset);
  void ScaleAllKeyUserData(double scale);
  QvLong MoveKeyUserDataTail(const QvDoubleArray& from, const QvDoubleArray& to);
  void ExchangeUserData(QvBaseFCurve& other);
  QvULong GetUserDataBufferSize() const;
  QvULong WriteUserDataToBuffer(void* buffer) const;
  QvULong ReadUserDataFromBufferBody(const void* body);

  mutable QvCriticalSection m_lock;
  QvFCurveUserDataStore* m_userData;  // owned; null until first used
  mutable QvLong m_lockCount;

  // The drag objects edit curves in place and keep user data with the keys they move.
  friend class QvFCurveKeyMover;
  friend class QvFCurveStretcher;
  friend class QvStdTgtMover;
  friend class QvStdTgtMoverImpl;
};

// Constraints combine with | into the one value that SetConstraint applies bit by bit; the
// result keeps the constraint type so that it can be passed as it is written.
constexpr QvBaseFCurve::KeyConstraint operator|(QvBaseFCurve::KeyConstraint a,
                                                QvBaseFCurve::KeyConstraint b) {
  return static_cast<QvBaseFCurve::KeyConstraint>(static_cast<QvLong>(a) | static_cast<QvLong>(b));
}

// Size of the length word that stands ahead of every curve body: 4.
QV_API QvULong QvBaseFCurve_GetBufferBodyLengthSize();

// The kind that a body holds, or 0 for a kind this library does not know.
QV_API QvBaseFCurve::Kind QvBaseFCurve_GetKindFromBufferBody(const void* body);

// Builds a curve of the body's kind and reads the body into it. On success `*out` takes the new
// curve, which the caller owns, and the result is 1. On failure `*out` is null and the result 0;
// with a null argument nothing is written.
QV_API QvLong QvBaseFCurve_CreateFromBufferBody(const void* body, QvBaseFCurve** out);

#endif
