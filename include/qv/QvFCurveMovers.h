#ifndef QV_QVFCURVEMOVERS_H
#define QV_QVFCURVEMOVERS_H

#include <qv/QvArray.h>
#include <qv/QvBaseFCurve.h>
#include <qv/QvPoint.h>
#include <qv/QvStdFCurve.h>
#include <qv/QvTypes.h>

class QvStdTgtMoverImpl;

// Drag objects for a curve editor. A drag is: construct at mouse-down, Update at each mouse move
// with the offset from where the drag began (never from the last event), Finalize at mouse-up.
// Each Update may cut the offset down and writes the offset it took back to the caller. A mover
// is a short-lived object of the host and must not outlive its curve; it holds the curve's lock
// only inside each call, so other threads may read the curve in mid-drag.

// Moves a set of keys by one offset in parameter and value.
class QV_API QvFCurveKeyMover {
 public:
  // `keys` are the parameters of the selected keys; `keysExtent` is their box and `limits` the box
  // that the host lets the selection move in (an unbounded box sets no limit).
  QvFCurveKeyMover(QvBaseFCurve& curve, const QvDoubleArray& keys,
                   const QvExtent2<double>& keysExtent, const QvExtent2<double>& limits);
  ~QvFCurveKeyMover();
  QvFCurveKeyMover(const QvFCurveKeyMover&) = delete;
  QvFCurveKeyMover& operator=(const QvFCurveKeyMover&) = delete;

  // Moves the selection to its place at `offset` from the start of the drag. `moved` must be empty
  // and receives the new parameters of the keys in the order of the constructor's array;
  // `changed` receives the region of the curve that changed and `selection` the selection's new
  // box. New parameters stay within [from, to].
  QvLong Update(QvPoint2<double>& offset, QvDoubleArray& moved, QvExtent2<double>& changed,
                QvExtent2<double>& selection, double from, double to);
  QvLong Finalize();

 private:
  class Impl;
  Impl* m_impl;
};

// Scales a set of keys by dragging one edge of their box about an anchor.
class QV_API QvFCurveStretcher {
 public:
  // `extent` is the selection's box; it receives the box of the keys actually found. `anchor` is
  // the fixed point of the scale. With `boundFarSide` non-zero the keys on the anchor's far side
  // are held inside `limits` as well as the moving edge. `tolerance` matches the parameters of
  // `keys` to keys of the curve.
  QvFCurveStretcher(QvBaseFCurve& curve, QvExtent2<double>& extent, const QvDoubleArray& keys,
                    const QvExtent2<double>& limits, const QvPoint2<double>& anchor,
                    QvBaseFCurve::RegionHandle handle, QvLong boundFarSide, double tolerance);
  ~QvFCurveStretcher();
  QvFCurveStretcher(const QvFCurveStretcher&) = delete;
  QvFCurveStretcher& operator=(const QvFCurveStretcher&) = delete;

  // Stretches the selection for `offset` of the moving edge from the start of the drag. Both
  // arrays must be empty: `parameters` receives the keys' new parameters and `values` their new
  // right values, in rising order. `changed` receives the region that changed, `selection` the
  // new box, and `cut` whether the offset had to be cut down.
  QvLong Update(QvPoint2<double>& offset, double from, double to, QvDoubleArray& parameters,
                QvDoubleArray& values, QvExtent2<double>& changed, QvExtent2<double>& selection,
                QvLong& cut);
  // What the current offset would mean, without applying it.
  QvLong ComputeScalingFactorAndTranslationVector(QvPoint2<double>& translation, double& scale);
  QvLong Finalize();

 private:
  class Impl;
  Impl* m_impl;
};

// Moves one tangent handle of a key of a standard curve.
class QV_API QvStdTgtMover {
 public:
  QvStdTgtMover(QvStdFCurve& curve, double parameter, QvBaseFCurve::KeySide side,
                double tolerance);
  ~QvStdTgtMover();
  QvStdTgtMover(const QvStdTgtMover&) = delete;
  QvStdTgtMover& operator=(const QvStdTgtMover&) = delete;

  // `target` is the wanted handle relative to the key. With `keepContinuity` the other handle
  // turns with this one; with `keepLength` it takes this one's length, lengths being measured
  // with y multiplied by `scale`. `affected` receives the box of the key and its neighbours.
  QvLong Update(const QvPoint2<double>& target, QvLong keepContinuity, QvLong keepLength,
                double scale, QvExtent2<double>& affected);

  QvStdTgtMoverImpl* GetImpl() const { return m_impl; }

 private:
  QvStdTgtMoverImpl* m_impl;
};

#endif
