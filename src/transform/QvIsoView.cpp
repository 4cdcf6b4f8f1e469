#include <qv/QvIsoView.h>

#include <cmath>

QvIsoView::QvIsoView(double viewWidth, double unitX, double viewHeight, double unitY,
                     double unitZ)
    : m_viewWidth(viewWidth), m_viewHeight(viewHeight) {
  const double dx = -0.5 * unitX * viewWidth;
  const double dy = -0.5 * unitY * viewHeight;
  m_viewToWorld.SetTo4PointTransform(
      QvPoint3<double>(dx, dy, 0.0), QvPoint3<double>(dx + unitX, dy, 0.0),
      QvPoint3<double>(dx, dy + unitY, 0.0), QvPoint3<double>(dx, dy, unitZ));
  // A singular unit is kept as given; IsValid reports it.
  m_viewToWorld.Inverse(m_worldToView);
}

QvIsoView::QvIsoView() : QvIsoView(1.0, 1.0, 1.0, 1.0, 1.0) {}

QvIsoView::QvIsoView(const QvIsoView& other) = default;

QvIsoView& QvIsoView::operator=(const QvIsoView& other) = default;

QvTransfo4 const& QvIsoView::GetWorldToView() const {
  return m_worldToView;
}

QvTransfo4 const& QvIsoView::GetViewToWorld() const {
  return m_viewToWorld;
}

double QvIsoView::GetViewWidth() const {
  return m_viewWidth;
}

double QvIsoView::GetViewHeight() const {
  return m_viewHeight;
}

void QvIsoView::SetViewWidth(double viewWidth) {
  m_viewWidth = viewWidth;
}

void QvIsoView::SetViewHeight(double viewHeight) {
  m_viewHeight = viewHeight;
}

QvLong QvIsoView::IsValid() const {
  return m_viewWidth >= 0.0 && m_viewHeight >= 0.0 && !m_worldToView.IsSingular() &&
                 !m_viewToWorld.IsSingular()
             ? 1
             : 0;
}

void QvIsoView::CommitOrRestore(const QvIsoView& saved) {
  if (!m_viewToWorld.Inverse(m_worldToView))
    *this = saved;
}

void QvIsoView::Pan(QvPoint2<double> const& delta) {
  const QvIsoView saved(*this);
  m_viewToWorld.Translate(delta, 0.0);
  CommitOrRestore(saved);
}

void QvIsoView::Zoom(double sx, double sy, double sz, QvPoint2<double> const& centre) {
  const QvIsoView saved(*this);
  m_viewToWorld.Scale(sx, sy, sz, QvPoint3<double>(centre.x, centre.y, 0.0));
  CommitOrRestore(saved);
}

// Composes on the transform as it stands rather than starting from the identity, so fitting
// twice is not the same as fitting once.
void QvIsoView::SetFromExtent(QvExtent2<double> const& extent) {
  if (std::fabs(m_viewWidth) <= 1e-9 || std::fabs(m_viewHeight) <= 1e-9)
    return;
  const double rx = m_viewWidth / (extent.max.x - extent.min.x);
  const double ry = m_viewHeight / (extent.max.y - extent.min.y);
  const double s = ry < rx ? ry : rx;
  const QvIsoView saved(*this);
  m_viewToWorld.Translate(extent.min, 0.0);
  m_viewToWorld.Scale(1.0 / s);
  CommitOrRestore(saved);
}

void QvIsoView::GetViewExtentInViewCS(QvExtent2<double>& out) const {
  const double w = m_viewWidth, h = m_viewHeight;
  out.min.x = w < 0.0 ? w : 0.0;
  out.max.x = w < 0.0 ? 0.0 : w;
  out.min.y = h < 0.0 ? h : 0.0;
  out.max.y = h < 0.0 ? 0.0 : h;
  out.state = QvExtent2<double>::ExtentBounded;
}

void QvIsoView::GetViewExtentInWorldCS(QvExtent2<double>& out) const {
  GetViewExtentInViewCS(out);
  m_viewToWorld.MapInPlace(out);
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
  return unit_vector_length(m_viewToWorld);
}

double QvIsoView::GetWorldUnitVectorLengthInView() const {
  return unit_vector_length(m_worldToView);
}
