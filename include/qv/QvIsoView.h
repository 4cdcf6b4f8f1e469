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
  // the world origin.
  QvIsoView(double viewWidth, double unitX, double viewHeight, double unitY, double unitZ);
  QvIsoView();
  QvIsoView(const QvIsoView& other);
  QvIsoView& operator=(const QvIsoView& other);

  QvTransfo4 const& GetWorldToView() const;
  QvTransfo4 const& GetViewToWorld() const;
  double GetViewWidth() const;
  double GetViewHeight() const;
  // Sizes are set alone: the transforms stay as they are.
  void SetViewWidth(double viewWidth);
  void SetViewHeight(double viewHeight);

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

 private:
  // Inverts viewToWorld into worldToView; when that fails, restores `saved`.
  void CommitOrRestore(const QvIsoView& saved);

  QvTransfo4 m_worldToView;
  QvTransfo4 m_viewToWorld;
  double m_viewWidth;
  double m_viewHeight;
};

#endif
