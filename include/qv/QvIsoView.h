#ifndef QV_QVISOVIEW_H
#define QV_QVISOVIEW_H

#include <qv/QvPoint.h>
#include <qv/QvTransfo4.h>
#include <qv/QvTypes.h>

// A two-way mapping between world coordinates and a view rectangle running from (0, 0) to
// (viewWidth, viewHeight). The two transforms are kept inverse to each other: pan, zoom and
// fit compose on viewToWorld, and a change that would make it singular is dropped, leaving
// the view as it was.
class QV_API QvIsoView {
 public:
  // One view unit is unitX by unitY world units, and the centre of the view rectangle lies at
  // the world origin. Every argument left out is 1.
  QvIsoView(double viewWidth = 1.0, double unitX = 1.0, double viewHeight = 1.0,
            double unitY = 1.0, double unitZ = 1.0);
  QvIsoView(const QvIsoView& other);
  QvIsoView& operator=(const QvIsoView& other);

  // References to the two transforms themselves. A caller who changes one through them
  // keeps the other its inverse.
  QvTransfo4& GetWorldToView();
  QvTransfo4 const& GetWorldToView() const;
  QvTransfo4& GetViewToWorld();
  QvTransfo4 const& GetViewToWorld() const;
  double GetViewWidth() const;
  double GetViewHeight() const;
  // Sizes are set alone: the transforms stay as they are.
  void SetViewWidth(double viewWidth);
  void SetViewHeight(double viewHeight);

  // Sizes of at least 0 and two transforms that can be inverted.
  QvLong IsValid() const;

  // `delta` is in view units.
  void Pan(QvPoint2<double> const& delta);
  // `centre` is in view units and stays put on the screen.
  void Zoom(double sx, double sy, double sz, QvPoint2<double> const& centre);
  // Fits `extent` into the view, composing on the present transform.
  void SetFromExtent(QvExtent2<double> const& extent);

  void GetViewExtentInViewCS(QvExtent2<double>& out) const;
  void GetViewExtentInWorldCS(QvExtent2<double>& out) const;
  // Length of the image of (1, 1) - (0, 0); 0 when its square is at most 1e-9.
  double GetViewUnitVectorLengthInWorld() const;
  double GetWorldUnitVectorLengthInView() const;

  // The state is an open record, in this order, like the library's other plain values.
  QvTransfo4 worldToView;  // always the inverse of viewToWorld
  QvTransfo4 viewToWorld;  // the one that pan, zoom and fit compose on
  double viewWidth;        // in view units; a negative size is storable but not valid
  double viewHeight;

 private:
  // Inverts viewToWorld into worldToView; when that fails, restores `saved`.
  void CommitOrRestore(const QvIsoView& saved);
};

#endif
