// The rasterisers of a path: hard scan fill, anti-aliased fill, soft fill and
// stroke, and the shared preparation of the vertex table.
//
// Drawing reads and flattens the geometry under the path's lock, then scans a
// private polygon without it, so that other threads may edit the path while
// the pixels are written.
#include <qv/QvFill.h>
#include <qv/QvGC.h>
#include <qv/QvPath2f.h>
#include <qv/QvRaster.h>
#include <qv/QvTransfo4.h>

#include "raster/fill_internal.h"
#include "raster/soft_fill_profile.h"
#include "raster/stroke_outline.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace {

using qv::internal::FillBox;
using qv::internal::PixelRows;

template <class T>
PixelRows<T> rows_of(QvRaster<T>& raster) {
  return PixelRows<T>{raster.pixels, raster.width, raster.height, raster.bottomUp != 0};
}

template <class T>
QvExtent2<float> raster_extent(const QvRaster<T>& raster) {
  QvExtent2<float> extent;
  extent.min = QvPoint2<float>(static_cast<float>(std::min(0, raster.width)),
                               static_cast<float>(std::min(0, raster.height)));
  extent.max = QvPoint2<float>(static_cast<float>(std::max(0, raster.width)),
                               static_cast<float>(std::max(0, raster.height)));
  extent.state = QvExtentStates::ExtentBounded;
  return extent;
}

// The enumeration getters of QvGC are not const; the drawing calls only read.
QvGC& readable(const QvGC& gc) { return const_cast<QvGC&>(gc); }

bool winding_rule(const QvGC& gc) { return readable(gc).GetFillRule() != QvGC::EvenOddRule; }

// Writes FillOpacity of a context that the caller gave as const, and puts the
// old value back however the nested call is left.
class OpacityOverride {
 public:
  OpacityOverride(const QvGC& gc, double opacity) : m_gc(readable(gc)), m_saved(gc.GetFillOpacity()) {
    m_gc.SetFillOpacity(opacity);
  }
  ~OpacityOverride() { m_gc.SetFillOpacity(m_saved); }
  OpacityOverride(const OpacityOverride&) = delete;
  OpacityOverride& operator=(const OpacityOverride&) = delete;

 private:
  QvGC& m_gc;
  double m_saved;
};

// A call of the path's CalculateFillParameters for one raster and clip box, at
// the scale the caller asks for.
struct Preparer {
  using Member = QvLong (QvPath2f::*)(const QvGC&, QvLong, QvLong, double, CFillContext&, QvLong&,
                                      QvLong&, QvLong&, QvLong&, QvLong&, const tqRnBbox2l*) const;
  const QvPath2f& path;
  Member member;
  const QvGC& gc;
  QvLong width;
  QvLong height;
  const tqRnBbox2l* clip;

  bool operator()(double scale, CFillContext& context, FillBox& box, QvLong& count) const {
    return (path.*member)(gc, width, height, scale, context, box.xMin, box.yMin, box.xMax,
                          box.yMax, count, clip) != 0;
  }
};

template <class T, class Prepare>
void scan_fill_path(const QvGC& gc, QvRaster<T>& raster, QvLong (*poll)(void), Prepare&& prepare) {
  CFillContext context;
  FillBox box;
  QvLong count = 0;
  if (!prepare(1.0, context, box, count)) return;
  qv::internal::scan_fill<T>(context, count, box, winding_rule(gc), rows_of(raster), poll);
}

template <class T, class Prepare>
void aa_fill_path(const QvGC& gc, QvRaster<T>& raster, QvLong (*poll)(void), Prepare&& prepare) {
  qv::internal::AAFillParams params;
  params.super_sampling = gc.GetAASuperSampling() == 4 ? 4 : 8;
  params.radius = std::clamp<QvLong>(gc.GetAAFilterRadius(), 0, params.super_sampling);
  params.opacity = gc.GetFillOpacity();
  params.winding = winding_rule(gc);
  CFillContext context;
  FillBox box;
  QvLong count = 0;
  if (!prepare(static_cast<double>(params.super_sampling), context, box, count)) return;
  qv::internal::aa_fill<T>(context, count, box, params, rows_of(raster), poll);
}

// The anti-aliased fill of the same pixel type, reached through the virtual
// slot as a derived class would have it.
template <class T, class Prepare, class AAFillCall>
void soft_fill_path(const QvGC& gc, QvRaster<T>& raster, QvLong (*poll)(void), Prepare&& prepare,
                    AAFillCall&& aa_fill_call) {
  if (raster.width < 0 || raster.height < 0) return;  // no buffer can be sized for it
  CFillContext context;
  FillBox box;
  QvLong count = 0;
  if (!prepare(1.0, context, box, count)) return;
  const double offset = gc.GetInteriorOffset() + gc.GetExteriorOffset();
  if (offset < 1.0) {
    context.Release();
    aa_fill_call(raster, nullptr);
    return;
  }
  const QvLong n = qv::internal::soft_fill_half_width(offset);
  qv::internal::allocate_soft_buffers(context, n, box, raster.height);
  qv::internal::build_soft_kernel(context, n,
                                  [&gc](double t) { return qv::internal::gradient_profile(gc, t); });
  if (!qv::internal::soft_fill<T>(context, count, box, winding_rule(gc), n, gc.GetFillOpacity(),
                                  rows_of(raster), poll))
    return;
  context.Release();
  if (readable(gc).GetGradientMapMode() != QvGC::GradientMaskedByShape) return;

  // The soft image is kept inside the shape by its opaque anti-aliased coverage.
  QvRaster<T> coverage(raster.width, raster.height, T(0));
  coverage.bottomUp = raster.bottomUp;
  {
    OpacityOverride opaque(gc, 1.0);
    aa_fill_call(coverage, poll);
  }
  if (poll != nullptr && poll() != 0) return;
  const std::size_t pixels =
      static_cast<std::size_t>(std::max(0, raster.width)) * static_cast<std::size_t>(std::max(0, raster.height));
  qv::internal::mask_by_coverage<T>(raster.pixels, coverage.pixels, pixels);
}

// Narrows the outline into a path, as every path point is a float.
class PathOutline : public qv::internal::OutlineSink {
 public:
  explicit PathOutline(QvPath2f& path) : m_path(path) {}
  void Moveto(double x, double y) override { m_path.Moveto(point(x, y)); }
  void Lineto(double x, double y) override { m_path.Lineto(point(x, y)); }
  void Quadto(double cx, double cy, double x, double y) override {
    m_path.Curveto(point(cx, cy), point(x, y));
  }
  void Cubicto(double c1x, double c1y, double c2x, double c2y, double x, double y) override {
    m_path.Curveto(point(c1x, c1y), point(c2x, c2y), point(x, y));
  }
  void Closeto() override { m_path.Closeto(); }

 private:
  static QvPoint2<float> point(double x, double y) {
    return QvPoint2<float>(static_cast<float>(x), static_cast<float>(y));
  }
  QvPath2f& m_path;
};

}  // namespace

QvLong QvPath2f::CalculateFillParameters(const QvGC& gc, QvLong width, QvLong height,
                                         double scale, CFillContext& context, QvLong& xMin,
                                         QvLong& yMin, QvLong& xMax, QvLong& yMax,
                                         QvLong& numPoints, const tqRnBbox2l* clip) const {
  using qv::internal::saturate_to_long;
  QvPoint2dArray points(64);
  QvPointTagArray tags(64);
  {
    LockGuard guard(*this);
    QvExtent2<float> extent;
    GetExtent(extent);
    const QvExtent2<float> box = gc.GetTransform().Map(extent);
    xMin = saturate_to_long(std::floor(static_cast<double>(box.min.x)));
    yMin = saturate_to_long(std::floor(static_cast<double>(box.min.y)));
    xMax = saturate_to_long(std::ceil(static_cast<double>(box.max.x)));
    yMax = saturate_to_long(std::ceil(static_cast<double>(box.max.y)));
    bool cut = false;
    if (xMin < 0) {
      xMin = 0;
      cut = true;
    }
    if (yMin < 0) {
      yMin = 0;
      cut = true;
    }
    if (xMax > width) {
      xMax = width;
      cut = true;
    }
    if (yMax > height) {
      yMax = height;
      cut = true;
    }
    // The clip narrows the scan, not the geometry. Its far column and row stay
    // unpainted: xMax and yMax are exclusive and take the clip's last index.
    if (clip != nullptr) {
      if (clip->x > xMin) xMin = clip->x;
      const std::int64_t x_end = static_cast<std::int64_t>(clip->x) + clip->width;
      if (!(x_end > xMax)) xMax = saturate_to_long(static_cast<double>(x_end - 1));
      if (clip->y > yMin) yMin = clip->y;
      const std::int64_t y_end = static_cast<std::int64_t>(clip->y) + clip->height;
      if (!(y_end > yMax)) yMax = saturate_to_long(static_cast<double>(y_end - 1));
    }
    // Flatten after transforming: the tolerance is absolute, in pixels.
    const double tolerance = std::max(0.25, gc.GetFlatteningTolerance());
    if (cut) {
      QvExtent2<double> bounds;
      bounds.min = QvPoint2<double>(xMin, yMin);
      bounds.max = QvPoint2<double>(xMax, yMax);
      bounds.state = QvExtentStates::ExtentBounded;
      TransformFlattenAndClipClosedSubPaths(gc.GetTransform(), tolerance, bounds, points, tags);
    } else {
      TransformAndFlattenClosedSubPaths(gc.GetTransform(), tolerance, points, tags);
    }
  }
  if (points.size == 0) return 0;
  numPoints = qv::internal::build_vertex_table(points.data, tags.data, points.size, scale, context);
  return 1;
}

void QvPath2f::Fill(const QvGC& gc, QvRaster<short>& raster, QvLong (*poll)(void),
                    const tqRnBbox2l* clip) const {
  if (!IsRasterExtentIntersecting(gc, raster_extent(raster))) return;
  scan_fill_path(gc, raster, poll,
                 Preparer{*this, &QvPath2f::CalculateFillParameters, gc, raster.width,
                          raster.height, clip});
}

void QvPath2f::Fill(const QvGC& gc, QvRaster<float>& raster, QvLong (*poll)(void),
                    const tqRnBbox2l* clip) const {
  if (!IsRasterExtentIntersecting(gc, raster_extent(raster))) return;
  scan_fill_path(gc, raster, poll,
                 Preparer{*this, &QvPath2f::CalculateFillParameters, gc, raster.width,
                          raster.height, clip});
}

void QvPath2f::Fill(const QvGC& gc, QvRaster<unsigned char>& raster, QvLong (*poll)(void),
                    const tqRnBbox2l* clip) const {
  if (!IsRasterExtentIntersecting(gc, raster_extent(raster))) return;
  scan_fill_path(gc, raster, poll,
                 Preparer{*this, &QvPath2f::CalculateFillParameters, gc, raster.width,
                          raster.height, clip});
}

void QvPath2f::AAFill(const QvGC& gc, QvRaster<short>& raster, QvLong (*poll)(void),
                      const tqRnBbox2l* clip) const {
  if (!IsRasterExtentIntersecting(gc, raster_extent(raster))) return;
  aa_fill_path(gc, raster, poll,
               Preparer{*this, &QvPath2f::CalculateFillParameters, gc, raster.width,
                        raster.height, clip});
}

void QvPath2f::AAFill(const QvGC& gc, QvRaster<float>& raster, QvLong (*poll)(void),
                      const tqRnBbox2l* clip) const {
  if (!IsRasterExtentIntersecting(gc, raster_extent(raster))) return;
  aa_fill_path(gc, raster, poll,
               Preparer{*this, &QvPath2f::CalculateFillParameters, gc, raster.width,
                        raster.height, clip});
}

void QvPath2f::AAFill(const QvGC& gc, QvRaster<unsigned char>& raster, QvLong (*poll)(void),
                      const tqRnBbox2l* clip) const {
  if (!IsRasterExtentIntersecting(gc, raster_extent(raster))) return;
  aa_fill_path(gc, raster, poll,
               Preparer{*this, &QvPath2f::CalculateFillParameters, gc, raster.width,
                        raster.height, clip});
}

void QvPath2f::SoftFill(const QvGC& gc, QvRaster<short>& raster, QvLong (*poll)(void)) const {
  if (!IsRasterExtentIntersecting(gc, raster_extent(raster))) return;
  soft_fill_path(gc, raster, poll,
                 Preparer{*this, &QvPath2f::CalculateFillParameters, gc, raster.width,
                          raster.height, nullptr},
                 [this, &gc](QvRaster<short>& target, QvLong (*p)(void)) {
                   AAFill(gc, target, p, nullptr);
                 });
}

void QvPath2f::SoftFill(const QvGC& gc, QvRaster<float>& raster, QvLong (*poll)(void)) const {
  if (!IsRasterExtentIntersecting(gc, raster_extent(raster))) return;
  soft_fill_path(gc, raster, poll,
                 Preparer{*this, &QvPath2f::CalculateFillParameters, gc, raster.width,
                          raster.height, nullptr},
                 [this, &gc](QvRaster<float>& target, QvLong (*p)(void)) {
                   AAFill(gc, target, p, nullptr);
                 });
}

void QvPath2f::SoftFill(const QvGC& gc, QvRaster<unsigned char>& raster,
                        QvLong (*poll)(void)) const {
  if (!IsRasterExtentIntersecting(gc, raster_extent(raster))) return;
  soft_fill_path(gc, raster, poll,
                 Preparer{*this, &QvPath2f::CalculateFillParameters, gc, raster.width,
                          raster.height, nullptr},
                 [this, &gc](QvRaster<unsigned char>& target, QvLong (*p)(void)) {
                   AAFill(gc, target, p, nullptr);
                 });
}

namespace {

// Flattens under the lock, cleans the polyline and builds the outline path;
// the caller fills it. Returns false when the path flattens to nothing.
bool build_stroke(const QvPath2f& path, const QvGC& gc, QvPath2f& outline,
                  QvULong (QvPath2f::*flatten)(const QvTransfo4&, double, QvPoint2dArray&,
                                               QvPointTagArray&) const) {
  QvPoint2dArray points(64);
  QvPointTagArray tags(64);
  (path.*flatten)(gc.GetTransform(), std::max(0.25, gc.GetFlatteningTolerance()), points, tags);
  if (points.size == 0) return false;
  const qv::internal::Polyline polyline =
      qv::internal::clean_polyline(points.data, tags.data, points.size);
  qv::internal::StrokeStyle style;
  style.line_width = gc.GetLineWidth();
  style.miter_limit = gc.GetMiterLimit();
  style.flattening_tolerance = gc.GetFlatteningTolerance();
  style.join = readable(gc).GetJoin();
  style.end_cap = readable(gc).GetEndCap();
  const std::vector<double> factors =
      qv::internal::stroke_width_factors(polyline, readable(gc).GetWidthType());
  PathOutline sink(outline);
  qv::internal::build_stroke_outline(polyline, factors, style, sink);
  return true;
}

// The outline is already in raster space: identity transform, winding rule.
QvGC outline_context(const QvGC& gc) {
  QvGC copy(gc);
  copy.SetTransform(QvTransfo4());
  copy.SetFillRule(QvGC::WindingRule);
  return copy;
}

}  // namespace

void QvPath2f::Stroke(const QvGC& gc, QvRaster<unsigned char>& raster) const {
  QvPath2f outline(64);
  if (!build_stroke(*this, gc, outline, &QvPath2f::TransformAndFlattenPath)) return;
  outline.Fill(outline_context(gc), raster, nullptr, nullptr);
}

void QvPath2f::Stroke(const QvGC& gc, QvRaster<float>& raster) const {
  QvPath2f outline(64);
  if (!build_stroke(*this, gc, outline, &QvPath2f::TransformAndFlattenPath)) return;
  outline.Fill(outline_context(gc), raster, nullptr, nullptr);
}

void QvPath2f::Stroke(const QvGC& gc, QvRaster<short>& raster) const {
  QvPath2f outline(64);
  if (!build_stroke(*this, gc, outline, &QvPath2f::TransformAndFlattenPath)) return;
  outline.Fill(outline_context(gc), raster, nullptr, nullptr);
}
