#ifndef QV_QVSPLINE_H
#define QV_QVSPLINE_H

#include <qv/QvArray.h>
#include <qv/QvPoint.h>
#include <qv/QvTypes.h>

// Splines fitted through sampled data within a tolerance, keeping as few of the samples as will
// do. QvSpline1d, QvSpline2d and QvSpline3d share every operation and differ only in the value
// type: double, QvPoint2<double> or QvPoint3<double>.
//
// A spline holds no lock: keep each one to a single thread. Copies are deep.

// Scope of the spline kinds.
class QV_API QvSpline {
 public:
  enum Kind : QvLong {
    // Keys only; each interval takes its tangents from the neighbouring keys when evaluated.
    KindCardinal = 10,
    // Keys with stored left and right derivatives.
    KindHermite = 20,
    // An empty spline; the fits refuse it as a target kind.
    KindNone = 255
  };
};

class QvSpline1dImpl;
class QvSpline2dImpl;
class QvSpline3dImpl;

// Fits and evaluates a spline of double values over a rising parameter.
//
// The fits need parameters that strictly rise and as many values as parameters; a sample passes
// when its squared distance from the curve at its own parameter is at most tolerance squared.
// Every failure returns 0 and leaves the spline as it was; an allocation failure propagates with
// the old spline in place.
class QV_API QvSpline1d {
 public:
  QvSpline1d();
  QvSpline1d(const QvSpline1d& other);
  QvSpline1d& operator=(const QvSpline1d& other);
  ~QvSpline1d();

  QvULong GetNumKeys() const;
  QvLong IsClosed() const;
  // 1 when there are no keys.
  QvLong IsEmpty() const;
  QvSpline::Kind GetKind() const;

  // Parameters and values of the kept keys. The derivative arrays are filled by KindHermite only:
  // the right derivative is the slope at a key and the left derivative its negation.
  const QvDoubleArray& GetKeyParameters() const;
  const QvDoubleArray& GetKeyValues() const;
  const QvDoubleArray& GetLeftDerivatives() const;
  const QvDoubleArray& GetRightDerivatives() const;

  // The spread of the parameters and of the values, with which a caller scales a relative
  // tolerance. 0, with the outputs untouched, when either array is empty.
  static QvLong GetInputExtent(const QvDoubleArray& params, const QvDoubleArray& values,
                               double& paramRange, double& valueRange);

  // Fits through at least 2 samples; the ends are always kept.
  QvLong OpenFit(const QvDoubleArray& params, const QvDoubleArray& values, double tolerance,
                 QvSpline::Kind kind);
  // Fits a periodic spline through at least 3 samples whose last value repeats the first exactly.
  QvLong ClosedFit(const QvDoubleArray& params, const QvDoubleArray& values, double tolerance,
                   QvSpline::Kind kind);

  // Value at t. A closed spline folds t into its key range; an open one holds its end values
  // outside it. 0, with out untouched, below two keys.
  QvLong Eval(double& out, double t) const;

  // Copies into target, optionally converting KindCardinal to KindHermite. 0 below two keys, for
  // a closed spline of two keys, and for any other conversion. target may be this spline.
  QvLong CopyAndConvert(QvSpline1d& target, QvSpline::Kind kind);

 private:
  QvSpline1dImpl* m_body;
};

// QvSpline1d with QvPoint2<double> values; distances are Euclidean and the end test of ClosedFit
// is the tolerant point equality.
class QV_API QvSpline2d {
 public:
  QvSpline2d();
  QvSpline2d(const QvSpline2d& other);
  QvSpline2d& operator=(const QvSpline2d& other);
  ~QvSpline2d();

  QvULong GetNumKeys() const;
  QvLong IsClosed() const;
  QvLong IsEmpty() const;
  QvSpline::Kind GetKind() const;

  const QvDoubleArray& GetKeyParameters() const;
  const QvPoint2dArray& GetKeyValues() const;
  const QvPoint2dArray& GetLeftDerivatives() const;
  const QvPoint2dArray& GetRightDerivatives() const;

  // valueRange receives the bounding box of the values.
  static QvLong GetInputExtent(const QvDoubleArray& params, const QvPoint2dArray& values,
                               double& paramRange, QvExtent2<double>& valueRange);

  QvLong OpenFit(const QvDoubleArray& params, const QvPoint2dArray& values, double tolerance,
                 QvSpline::Kind kind);
  QvLong ClosedFit(const QvDoubleArray& params, const QvPoint2dArray& values, double tolerance,
                   QvSpline::Kind kind);

  QvLong Eval(QvPoint2<double>& out, double t) const;

  QvLong CopyAndConvert(QvSpline2d& target, QvSpline::Kind kind);

 private:
  QvSpline2dImpl* m_body;
};

// QvSpline1d with QvPoint3<double> values; distances are Euclidean and the end test of ClosedFit
// is the tolerant point equality.
class QV_API QvSpline3d {
 public:
  QvSpline3d();
  QvSpline3d(const QvSpline3d& other);
  QvSpline3d& operator=(const QvSpline3d& other);
  ~QvSpline3d();

  QvULong GetNumKeys() const;
  QvLong IsClosed() const;
  QvLong IsEmpty() const;
  QvSpline::Kind GetKind() const;

  const QvDoubleArray& GetKeyParameters() const;
  const QvPoint3dArray& GetKeyValues() const;
  const QvPoint3dArray& GetLeftDerivatives() const;
  const QvPoint3dArray& GetRightDerivatives() const;

  // valueRange receives the bounding box of the values.
  static QvLong GetInputExtent(const QvDoubleArray& params, const QvPoint3dArray& values,
                               double& paramRange, QvExtent3<double>& valueRange);

  QvLong OpenFit(const QvDoubleArray& params, const QvPoint3dArray& values, double tolerance,
                 QvSpline::Kind kind);
  QvLong ClosedFit(const QvDoubleArray& params, const QvPoint3dArray& values, double tolerance,
                   QvSpline::Kind kind);

  QvLong Eval(QvPoint3<double>& out, double t) const;

  QvLong CopyAndConvert(QvSpline3d& target, QvSpline::Kind kind);

 private:
  QvSpline3dImpl* m_body;
};

#endif
