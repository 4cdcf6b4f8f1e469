#include <qv/QvIsoView.h>

#include <cmath>

QvIsoView::QvIsoView(double width, double unitX, double height, double unitY, double unitZ)
    : viewWidth(width), viewHeight(height) {
  const double dx = -0.5 * unitX * width;
  const double dy = -0.5 * unitY * height;
  viewToWorld.SetTo4PointTransform(
      QvPoint3<double>(dx, dy, 0.0), QvPoint3<double>(dx + unitX, dy, 0.0),
      QvPoint3<double>(dx, dy + unitY, 0.0), QvPoint3<double>(dx, dy, unitZ));
  // A singular unit is kept as given; IsValid reports it.
  viewToWorld.Inverse(worldToView);
}

QvIsoView::QvIsoView(const QvIsoView& other) = default;

QvIsoView& QvIsoView::operator=(const QvIsoView& other) = default;

QvTransfo4& QvIsoView::GetWorldToView() {
  return worldToView;
}

QvTransfo4 const& QvIsoView::GetWorldToView() const {
  return worldToView;
}

QvTransfo4& QvIsoView::GetViewToWorld() {
  return viewToWorld;
}

QvTransfo4 const& QvIsoView::GetViewToWorld() const {
  return viewToWorld;
}

double QvIsoView::GetViewWidth() const {
  return viewWidth;
}

double QvIsoView::GetViewHeight() const {
  return viewHeight;
}

void QvIsoView::SetViewWidth(double width) {
  viewWidth = width;
}

void QvIsoView::SetViewHeight(double height) {
  viewHeight = height;
}

QvLong QvIsoView::IsValid() const {
  return viewWidth >= 0.0 && viewHeight >= 0.0 && !worldToView.IsSingular() &&
                 !viewToWorld.IsSingular()
             ? 1
             : 0;
}

void QvIsoView::CommitOrRestore(const QvIsoView& saved) {
  if (!viewToWorld.Inverse(worldToView))
    *this = saved;
}

void QvIsoView::Pan(QvPoint2<double> const& delta) {
  const QvIsoView saved(*this);
  viewToWorld.Translate(delta, 0.0);
  CommitOrRestore(saved);
}

void QvIsoView::Zoom(double sx, double sy, double sz, QvPoint2<double> const& centre) {
  const QvIsoView saved(*this);
  viewToWorld.Scale(sx, sy, sz, QvPoint3<double>(centre.x, centre.y, 0.0));
  CommitOrRestore(saved);
}

// Composes on the transform as it stands rather than starting from the identity, so fitting
// twice is not the same as fitting once.
void QvIsoView::SetFromExtent(QvExtent2<double> const& extent) {
  if (std::fabs(viewWidth) <= 1e-9 || std::fabs(viewHeight) <= 1e-9)
    return;
  const double rx = viewWidth / (extent.max.x - extent.min.x);
  const double ry = viewHeight / (extent.max.y - extent.min.y);
  const double s = ry < rx ? ry : rx;
  const QvIsoView saved(*this);
  viewToWorld.Translate(extent.min, 0.0);
  viewToWorld.Scale(1.0 / s);
  CommitOrRestore(saved);
}

void QvIsoView::GetViewExtentInViewCS(QvExtent2<double>& out) const {
  const double w = viewWidth, h = viewHeight;
  out.min.x = w < 0.0 ? w : 0.0;
  out.max.x = w < 0.0 ? 0.0 : w;
  out.min.y = h < 0.0 ? h : 0.0;
  out.max.y = h < 0.0 ? 0.0 : h;
  out.state = QvExtent2<double>::ExtentBounded;
}

void QvIsoView::GetViewExtentInWorldCS(QvExtent2<double>& out) const {
  GetViewExtentInViewCS(out);
  viewToWorld.MapInPlace(out);
}

namespace {

double unit_vector_length(const QvTransfo4& t) {
  const QvPoint2<double> one = t.Map(QvPoint2<double>(1.0, 1.0));
  const QvPoint2<double> zero = t.Map(QvPoint2<double>(0.0, 0.0));
  const double dx = one.x - zero.x, dy = one.y - zero.y;
  const double sq = dx * dx + dy * dy;
  return sq <= 1e-9 ? 0.0 : std::sqrt(sq);
}

}  // namespace

double QvIsoView::GetViewUnitVectorLengthInWorld() const {
  return unit_vector_length(viewToWorld);
}

double QvIsoView::GetWorldUnitVectorLengthInView() const {
  return unit_vector_length(worldToView);
}
