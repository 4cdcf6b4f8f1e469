#ifndef QV_SRC_FCURVE_QVSTDFCURVEIMPL_H
#define QV_SRC_FCURVE_QVSTDFCURVEIMPL_H

#include <qv/QvStdFCurve.h>

#include <cstdint>

// One key of a standard curve: a 64-byte record. It is moved with block copies and zero-filled
// when the block grows, so it must stay trivially copyable.
struct QvStdFCurveKey {
  QvPoint2<double> leftHandle;   // stored left tangent handle, in curve coordinates
  QvPoint2<double> rightHandle;  // stored right tangent handle
  double parameter;
  double leftValue;              // value arriving from the left
  double rightValue;             // value leaving to the right; the curve jumps when they differ
  unsigned char segmentKind;     // FSKind of the segment from this key to the next
  unsigned char reserved0;
  std::uint16_t flags;           // constraint state, the kFlag... bits below
  unsigned char spare[2];        // carried through copies and buffers, no other meaning
  unsigned char reserved1[2];
};
static_assert(sizeof(QvStdFCurveKey) == 64, "the key record is 64 bytes");

namespace qv::internal {

// Bits of QvStdFCurveKey::flags. They are not the KeyConstraint values: the record keeps its
// own, denser numbering.
constexpr std::uint16_t kFlagTangentContinuity = 0x0001;
constexpr std::uint16_t kFlagValueLocked = 0x0002;
constexpr std::uint16_t kFlagParameterLocked = 0x0004;
constexpr std::uint16_t kFlagTangentDirectionLocked = 0x0008;
constexpr std::uint16_t kFlagTangentLengthLocked = 0x0010;
constexpr std::uint16_t kFlagTangentFlat = 0x0020;
constexpr std::uint16_t kFlagTangentFlatAtExtremum = 0x0040;
constexpr std::uint16_t kFlagTangentAutomatic = 0x0080;
constexpr std::uint16_t kFlagTangentZeroLength = 0x0100;
constexpr std::uint16_t kFlagTangentLengthContinuity = 0x0200;
constexpr std::uint16_t kFlagTangentLinear = 0x0400;
constexpr std::uint16_t kFlagTangentMirrorContinuity = 0x0800;
constexpr std::uint16_t kFlagKeyLocked = 0x001E;  // value, parameter, direction and length locks

// Flag bits of one KeyConstraint value or of an OR of several; unknown bits contribute nothing.
std::uint16_t constraint_flag_bits(QvLong constraint);

// Parameter equality in key search and interval ends.
constexpr double kKeyTolerance = 1e-15;
// A parameter this close to a key is moved onto it before evaluation.
constexpr double kSnapTolerance = 1e-12;
// A handle closer than this (squared) to its key is degenerate.
constexpr double kDegenerateHandle = 1e-7;

// Parameter t in [0, 1] of the cubic x(t) with controls x0..x3 at which x(t) = x, assuming a
// rising x(t). Newton steps inside a shrinking bracket, bisection when Newton would leave it.
double solve_bezier(double x, double x0, double x1, double x2, double x3);

// Coefficients of ((a t + b) t + c) t + d for the cubic Bezier with controls v0..v3.
struct CubicPolynomial {
  double a, b, c, d;
  double At(double t) const { return ((a * t + b) * t + c) * t + d; }
};
CubicPolynomial bezier_polynomial(double v0, double v1, double v2, double v3);

// Control points of one segment as evaluation sees them.
struct SegmentControls {
  double x[4];
  double y[4];
};

}  // namespace qv::internal

// The body of QvStdFCurve. Everything here assumes that the caller holds the curve's lock.
class QvStdFCurveImpl {
 public:
  using FSKind = QvBaseFCurve::FSKind;

  // Result of FindKey: `position` counts the keys at or before x (0 before the first key,
  // numKeys at or after the last); with `exact`, key position - 1 lies at x.
  struct KeyPosition {
    QvULong position;
    bool exact;
  };

  QvStdFCurveImpl(double valueWhenNoKeys, FSKind firstSegmentKind);
  QvStdFCurveImpl(const QvStdFCurveImpl& other);
  QvStdFCurveImpl& operator=(const QvStdFCurveImpl& other);
  ~QvStdFCurveImpl();
  void Swap(QvStdFCurveImpl& other) noexcept;

  // Storage. The block follows the capacity rule of the typed arrays and is zero-filled beyond
  // the live keys. These may throw std::bad_alloc and then leave the body as it was.
  void Resize(QvULong n);                           // sets numKeys, full capacity rule
  void InsertKeys(QvULong at, QvULong count);       // opens a zeroed gap of `count` keys at `at`
  void EraseKeys(QvULong first, QvULong count);     // closes the gap, shrinks only below half
  QvStdFCurveKey& Key(QvULong i) { return m_keys[i]; }
  const QvStdFCurveKey& Key(QvULong i) const { return m_keys[i]; }

  // Search. FindKey needs at least one key; it moves the search hint.
  KeyPosition FindKey(double x) const;
  // The key nearest to x within [x - tolerance, x + tolerance]; a tie goes to the lower index.
  bool FindKeyNear(double x, double tolerance, QvULong& index) const;
  // x moved onto a key within the snap tolerance, or x itself.
  double SnapToKey(double x) const;
  // Keys [first, end) of an interval with the open-end rules of the interval operations.
  void SelectInterval(double from, double to, QvLong openFrom, QvLong openTo, QvULong& first,
                      QvULong& end) const;
  // Whether a key of the interval has all of `bits` set.
  bool AnyKeyHasFlags(double from, double to, QvLong openFrom, QvLong openTo,
                      std::uint16_t bits) const;

  // Handles and values. `Arrival` is the value that reaches key i from the left.
  double Arrival(QvULong i) const;
  double LeftHandleValue(QvULong i) const;
  double RightHandleValue(QvULong i) const;
  QvPoint2<double> EvaluatedLeftHandle(QvULong i) const;
  QvPoint2<double> EvaluatedRightHandle(QvULong i) const;
  qv::internal::SegmentControls CubicControls(QvULong i) const;
  double SegmentValue(double x, QvULong i) const;

  // Evaluation without the snap, the lock or the clamp.
  double EvalCore(double x) const;
  double EvalLeftCore(double x) const;
  double LeftExtrapolation(double x) const;
  double RightExtrapolation(double x) const;
  double Fold(double x) const;
  double Clamp(double v) const;
  double Integral(double from, double to) const;
  bool IsBijective() const;
  bool IsValid() const;
  // Whether the two evaluated tangents of key i line up; a tangent of no length goes with anything.
  bool TangentsContinuous(QvULong i) const;

  QvULong m_numKeys;
  QvULong m_capacity;
  QvStdFCurveKey* m_keys;
  FSKind m_firstSegmentKind;
  double m_valueWhenNoKeys;
  double m_clampMin;
  double m_clampMax;
  mutable QvULong m_searchHint;  // a pure speed hint, written by readers
  unsigned char m_extrapolation;
  QvLong m_defaultBezierTangent;
  QvLong m_readOnly;
  QvLong m_timeCurve;

 private:
  void Reallocate(QvULong capacity, QvULong keep);
  double SegmentIntegral(QvULong i, double from, double to) const;
  double CycleOffsetValue(double x, bool fromLeft) const;
};

#endif
