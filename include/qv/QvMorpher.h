#ifndef QV_QVMORPHER_H
#define QV_QVMORPHER_H

#include <qv/QvTypes.h>

class QvGC;
class QvPath2f;
class QvPath2fProp1d;
struct QvMorpherRecord;

// The in-between of two paths with property at a parameter t: 0 gives the
// source, 1 the target. Unless the two are siblings, both are flattened,
// resampled to the same number of equally spaced points, blended as
// polylines and fitted with new cubic curves; property curves are blended
// alongside. The context's smallest feature size is at once the flattening
// tolerance, the resampling step and the fitting tolerance.
//
// A short-lived object: the shapes, the context and the motion paths are not
// copied and must outlive the morpher. It has no lock of its own and serves
// one thread at a time. Every morph appends its subpaths to `result`, except
// the sibling case of LinearMorph, which overwrites it.
class QV_API QvMorpher {
 public:
  QvMorpher(const QvPath2fProp1d* source, const QvPath2fProp1d* target, const QvGC& gc);
  ~QvMorpher();
  QvMorpher(const QvMorpher&) = delete;
  QvMorpher& operator=(const QvMorpher&) = delete;

  // Blends positions: siblings point by point, equal subpath counts pair by
  // pair, and otherwise both shapes as one long polyline cut wherever either
  // has a subpath end. Returns 1.
  QvLong LinearMorph(double t, QvPath2fProp1d& result);
  // Blends step headings and step length and walks the blended steps, so that
  // a shape and its rotated copy turn into each other rather than collapse.
  // The result is one open subpath. Returns 1.
  QvLong TurtleMorph(double t, QvPath2fProp1d& result);
  // Appends a motion entry: the point sourceIndex of the source travels to
  // the point targetIndex of the target along path, or along a straight line
  // when path is null. Only the first two entries are used. Returns 1.
  QvLong SetMotionPath(QvULong sourceIndex, QvULong targetIndex, const QvPath2f* path);
  // Moves the two marked points of each shape along their motion paths,
  // carries each shape's stretch between them along rigidly and blends the
  // two stretches. Needs two motion entries; with fewer it adds nothing.
  // Returns 1.
  QvLong LinearMotionPathMorph(double t, QvPath2fProp1d& result);

 private:
  QvMorpherRecord* m_record;
};

#endif  // QV_QVMORPHER_H
