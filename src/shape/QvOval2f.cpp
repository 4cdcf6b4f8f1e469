#include <qv/QvOval2f.h>

#include <qv/QvGC.h>
#include <qv/QvPath2f.h>
#include <qv/QvRaster.h>
#include <qv/QvTransfo4.h>

#include "shape/rectoval_geometry.h"
#include "shape/rectoval_raster.h"

#include <new>

namespace qi = qv::internal;

namespace {

QvPoint2<float> corner_plus(const QvPoint2<float>& p, float dx, float dy) {
  return QvPoint2<float>(p.x + dx, p.y + dy);
}

}  // namespace

// ---------------------------------------------------------------------------
// Construction

QvOval2f::QvOval2f() : cornerA(), cornerB(), cornerC() {}

QvOval2f::QvOval2f(const QvOval2f& other) : QvShape2f(other) {
  other.SetupPointRep(cornerA, cornerB, cornerC);
}

QvOval2f::QvOval2f(const QvPoint2<float>& a, const QvPoint2<float>& opposite)
    : cornerA(a), cornerB(opposite.x, a.y), cornerC(a.x, opposite.y) {}

QvOval2f::QvOval2f(const QvPoint2<float>& a, const QvPoint2<float>& b, const QvPoint2<float>& c)
    : cornerA(a), cornerB(b), cornerC(c) {}

QvOval2f::QvOval2f(const QvPoint2<float>& corner, float width, float height)
    : cornerA(corner), cornerB(corner_plus(corner, width, 0.0f)),
      cornerC(corner_plus(corner, 0.0f, height)) {}

QvOval2f::~QvOval2f() = default;

// The source is read under its own lock first, so that the two locks are
// never held together.
QvOval2f& QvOval2f::operator=(const QvOval2f& other) {
  if (&other == this) return *this;
  QvPoint2<float> a, b, c;
  other.SetupPointRep(a, b, c);
  LockGuard guard(*this);
  cornerA = a;
  cornerB = b;
  cornerC = c;
  return *this;
}

QvShape2f& QvOval2f::operator=(const QvShape2f& other) {
  if (const QvOval2f* same = dynamic_cast<const QvOval2f*>(&other)) return *this = *same;
  return QvShape2f::operator=(other);
}

void QvOval2f::SetupPointRep(QvPoint2<float>& a, QvPoint2<float>& b, QvPoint2<float>& c) const {
  LockGuard guard(*this);
  a = cornerA;
  b = cornerB;
  c = cornerC;
}

void QvOval2f::SetupPathRep(QvPath2f& path) const {
  qi::Corners k;
  SetupPointRep(k.a, k.b, k.c);
  qi::append_oval_outline(k, path);
}

QvShape2f* QvOval2f::QueryShapeKind(Kind kind) const {
  LockGuard guard(*this);
  return kind == KindOval ? const_cast<QvOval2f*>(this) : nullptr;
}

QvShape2f* QvOval2f::Clone() const {
  try {
    return new QvOval2f(*this);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

// ---------------------------------------------------------------------------
// Points and extents

QvULong QvOval2f::NumPoints() const { return qi::kHandleCount; }

QvExtent2<double>& QvOval2f::GetExtent(QvExtent2<double>& extent) const {
  qi::Corners k;
  SetupPointRep(k.a, k.b, k.c);
  extent = qi::corners_extent_d(k);
  return extent;
}

QvExtent2<float>& QvOval2f::GetExtent(QvExtent2<float>& extent) const {
  qi::Corners k;
  SetupPointRep(k.a, k.b, k.c);
  extent = qi::corners_extent_f(k);
  return extent;
}

QvExtent2<double>& QvOval2f::GetTightExtent(QvExtent2<double>& extent) const {
  return GetExtent(extent);
}

QvExtent2<float>& QvOval2f::GetTightExtent(QvExtent2<float>& extent) const {
  return GetExtent(extent);
}

QvPoint2<float> QvOval2f::GetPoint(QvULong index) {
  QvPoint2<float> point;
  GetPoint(index, point);
  return point;
}

QvLong QvOval2f::GetPoint(QvULong index, QvPoint2<float>& point) const {
  if (index >= qi::kHandleCount) return 0;
  qi::Corners k;
  SetupPointRep(k.a, k.b, k.c);
  point = qi::handle_point(k, index);
  return 1;
}

QvPoint2<double>* QvOval2f::GetPoints(QvULong first, QvULong last, QvPoint2<double>* out) const {
  if (!out) return out;
  qi::Corners k;
  SetupPointRep(k.a, k.b, k.c);
  qi::copy_handles(k, first, last, out);
  return out;
}

QvPoint2<float>* QvOval2f::GetPoints(QvULong first, QvULong last, QvPoint2<float>* out) const {
  if (!out) return out;
  qi::Corners k;
  SetupPointRep(k.a, k.b, k.c);
  qi::copy_handles(k, first, last, out);
  return out;
}

// The first handle in the square of side size centred on point.
QvLong QvOval2f::GetClosePointIndex(const QvPoint2<float>& point, double size,
                                  QvULong* index) const {
  qi::Corners k;
  SetupPointRep(k.a, k.b, k.c);
  return qi::find_close_handle(k, point, size, index);
}

QvULong QvOval2f::GetPointsInExtentIndices(const QvExtent2<float>& extent,
                                         QvULongArray* indices) const {
  if (!indices) return 0;
  qi::Corners k;
  SetupPointRep(k.a, k.b, k.c);
  return qi::handles_in_extent(k, extent, indices);
}

// ---------------------------------------------------------------------------
// Everything that follows the outline goes through the path form, which holds
// the one implementation of flattening, sampling and the soft rasterisers.

QvLong QvOval2f::IsIntersectingExtent(const QvGC& gc, const QvExtent2<float>& extent,
                                    QvLong skipQuickTest) const {
  return QvPath2f(*this).IsIntersectingExtent(gc, extent, skipQuickTest);
}

QvLong QvOval2f::IsInteriorIntersectingExtent(const QvGC& gc, const QvExtent2<float>& extent,
                                            QvLong skipQuickTest) const {
  return QvPath2f(*this).IsInteriorIntersectingExtent(gc, extent, skipQuickTest);
}

QvULong QvOval2f::IntersectSamplePointsExtent(const QvGC& gc, const QvExtent2<float>& extent,
                                            QvPoint2fArray& points, QvPointTagArray& tags,
                                            QvLong skipQuickTest) const {
  return QvPath2f(*this).IntersectSamplePointsExtent(gc, extent, points, tags, skipQuickTest);
}

QvULong QvOval2f::Flatten(const QvGC& gc, QvPoint2fArray& points, QvPointTagArray& tags) const {
  return QvPath2f(*this).Flatten(gc, points, tags);
}

QvULong QvOval2f::Sample(const QvGC& gc, QvPoint2fArray& points, QvPointTagArray& tags) const {
  return QvPath2f(*this).Sample(gc, points, tags);
}

void QvOval2f::AAFill(const QvGC& gc, QvRaster<short>& raster, QvLong (*poll)(void),
                   const tqRnBbox2l* clip) const {
  QvPath2f(*this).AAFill(gc, raster, poll, clip);
}

void QvOval2f::AAFill(const QvGC& gc, QvRaster<float>& raster, QvLong (*poll)(void),
                   const tqRnBbox2l* clip) const {
  QvPath2f(*this).AAFill(gc, raster, poll, clip);
}

void QvOval2f::AAFill(const QvGC& gc, QvRaster<unsigned char>& raster, QvLong (*poll)(void),
                   const tqRnBbox2l* clip) const {
  QvPath2f(*this).AAFill(gc, raster, poll, clip);
}

void QvOval2f::SoftFill(const QvGC& gc, QvRaster<short>& raster, QvLong (*poll)(void)) const {
  QvPath2f(*this).SoftFill(gc, raster, poll);
}

void QvOval2f::SoftFill(const QvGC& gc, QvRaster<float>& raster, QvLong (*poll)(void)) const {
  QvPath2f(*this).SoftFill(gc, raster, poll);
}

void QvOval2f::SoftFill(const QvGC& gc, QvRaster<unsigned char>& raster,
                     QvLong (*poll)(void)) const {
  QvPath2f(*this).SoftFill(gc, raster, poll);
}

void QvOval2f::Stroke(const QvGC& gc, QvRaster<unsigned char>& raster) const {
  QvPath2f(*this).Stroke(gc, raster);
}

// ---------------------------------------------------------------------------
// Moving the shape: three points carry every affine map exactly.

QvShape2f& QvOval2f::Translate(const QvPoint2<float>& offset) {
  LockGuard guard(*this);
  cornerA += offset;
  cornerB += offset;
  cornerC += offset;
  return *this;
}

QvShape2f& QvOval2f::Rotate(double angle, const QvPoint2<float>& center) {
  QvTransfo4 transform;
  transform.RotateXY(angle, QvPoint2<double>(center.x, center.y));
  return Transform(transform);
}

QvShape2f& QvOval2f::Scale(double sx, double sy, const QvPoint2<float>& center) {
  QvTransfo4 transform;
  transform.ScaleXY(sx, sy, QvPoint2<double>(center.x, center.y));
  return Transform(transform);
}

// x moves by factor times the height above the line y = origin.
QvShape2f& QvOval2f::ShearX(double factor, double origin) {
  LockGuard guard(*this);
  for (QvPoint2<float>* p : {&cornerA, &cornerB, &cornerC})
    p->x = static_cast<float>(static_cast<double>(p->x) +
                              factor * (static_cast<double>(p->y) - origin));
  return *this;
}

// y moves by factor times the distance right of the line x = origin.
QvShape2f& QvOval2f::ShearY(double factor, double origin) {
  LockGuard guard(*this);
  for (QvPoint2<float>* p : {&cornerA, &cornerB, &cornerC})
    p->y = static_cast<float>(static_cast<double>(p->y) +
                              factor * (static_cast<double>(p->x) - origin));
  return *this;
}

QvShape2f& QvOval2f::Transform(const QvTransfo4& transform) {
  LockGuard guard(*this);
  qi::Corners k{cornerA, cornerB, cornerC};
  qi::map_corners(transform, k);
  cornerA = k.a;
  cornerB = k.b;
  cornerC = k.c;
  return *this;
}

// ---------------------------------------------------------------------------
// Size

float QvOval2f::GetWidth() const { return GetWidthf(); }
float QvOval2f::GetHeight() const { return GetHeightf(); }
float QvOval2f::GetWidthf() const { return static_cast<float>(GetWidthd()); }
float QvOval2f::GetHeightf() const { return static_cast<float>(GetHeightd()); }

double QvOval2f::GetWidthd() const {
  LockGuard guard(*this);
  return qi::side_length(cornerA, cornerB);
}

double QvOval2f::GetHeightd() const {
  LockGuard guard(*this);
  return qi::side_length(cornerA, cornerC);
}

void QvOval2f::SetWidth(float width) {
  LockGuard guard(*this);
  cornerB = qi::side_with_length(cornerA, cornerB, width);
}

void QvOval2f::SetWidth(double width) { SetWidth(static_cast<float>(width)); }

void QvOval2f::SetHeight(float height) {
  LockGuard guard(*this);
  cornerC = qi::side_with_length(cornerA, cornerC, height);
}

void QvOval2f::SetHeight(double height) { SetHeight(static_cast<float>(height)); }

QvPoint2<float> QvOval2f::GetCenter() const {
  qi::Corners k;
  SetupPointRep(k.a, k.b, k.c);
  return qi::handle_point(k, 0);
}

// ---------------------------------------------------------------------------
// Buffers

QvULong QvOval2f::WriteToBuffer(void* buffer) const {
  if (!buffer) return 0;
  qi::Corners k;
  SetupPointRep(k.a, k.b, k.c);
  qi::write_corners(k, KindOval, static_cast<unsigned char*>(buffer));
  return qi::kRectOvalBufferSize;
}

QvULong QvOval2f::GetBufferSize() const { return qi::kRectOvalBufferSize; }

QvULong QvOval2f::ReadFromBufferBody(const void* body) {
  LockGuard guard(*this);
  qi::Corners k{cornerA, cornerB, cornerC};
  const QvULong read = qi::read_corners(body, KindOval, k);
  if (read == 0) return 0;
  cornerA = k.a;
  cornerB = k.b;
  cornerC = k.c;
  return read;
}

// ---------------------------------------------------------------------------
// Drawing of its own: the hard fill and the radial fill. The points are
// copied under the lock and mapped; the scan then runs without it.

namespace {

qi::Corners mapped_corners(const QvGC& gc, const qi::Corners& k) {
  qi::Corners m = k;
  qi::map_corners(gc.GetTransform(), m);
  return m;
}

}  // namespace

void QvOval2f::Fill(const QvGC& gc, QvRaster<short>& raster, QvLong (*)(void),
                 const tqRnBbox2l*) const {
  if (!IsRasterExtentIntersecting(gc, qi::raster_box(raster))) return;
  qi::Corners k;
  SetupPointRep(k.a, k.b, k.c);
  qi::fill_oval(raster, mapped_corners(gc, k));
}

void QvOval2f::Fill(const QvGC& gc, QvRaster<float>& raster, QvLong (*)(void),
                 const tqRnBbox2l*) const {
  if (!IsRasterExtentIntersecting(gc, qi::raster_box(raster))) return;
  qi::Corners k;
  SetupPointRep(k.a, k.b, k.c);
  qi::fill_oval(raster, mapped_corners(gc, k));
}

void QvOval2f::Fill(const QvGC& gc, QvRaster<unsigned char>& raster, QvLong (*)(void),
                 const tqRnBbox2l*) const {
  if (!IsRasterExtentIntersecting(gc, qi::raster_box(raster))) return;
  qi::Corners k;
  SetupPointRep(k.a, k.b, k.c);
  qi::fill_oval(raster, mapped_corners(gc, k));
}

void QvOval2f::RadialFill(const QvGC& gc, QvRaster<unsigned char>& raster) const {
  qi::Corners k;
  SetupPointRep(k.a, k.b, k.c);
  qi::radial_fill_oval(gc, raster, mapped_corners(gc, k));
}

void QvOval2f::RadialFill(const QvGC& gc, QvRaster<short>& raster) const {
  qi::Corners k;
  SetupPointRep(k.a, k.b, k.c);
  qi::radial_fill_oval(gc, raster, mapped_corners(gc, k));
}

void QvOval2f::RadialFill(const QvGC& gc, QvRaster<float>& raster) const {
  qi::Corners k;
  SetupPointRep(k.a, k.b, k.c);
  qi::radial_fill_oval(gc, raster, mapped_corners(gc, k));
}

// ---------------------------------------------------------------------------
// The path form of the shape.

QvPath2f::QvPath2f(const QvOval2f& shape) : QvPath2f(1) { shape.SetupPathRep(*this); }
