#include <qv/QvRect2f.h>

#include <qv/QvGC.h>
#include <qv/QvPath2f.h>
#include <qv/QvRaster.h>
#include <qv/QvTransfo4.h>

#include "shape/rectoval_geometry.h"
#include "shape/rectoval_raster.h"

#include <new>

namespace qi = qv::internal;

// ---------------------------------------------------------------------------
// Construction

QvRect2f::QvRect2f() : cornerA(), cornerB(), cornerC() {}

QvRect2f::QvRect2f(const QvRect2f& other) : QvShape2f(other) {
  other.SetupPointRep(cornerA, cornerB, cornerC);
}

QvRect2f::QvRect2f(const QvPoint2<float>& a, const QvPoint2<float>& opposite)
    : cornerA(a), cornerB(opposite.x, a.y), cornerC(a.x, opposite.y) {}

QvRect2f::QvRect2f(const QvPoint2<float>& a, const QvPoint2<float>& b, const QvPoint2<float>& c)
    : cornerA(a), cornerB(b), cornerC(c) {}

QvRect2f::QvRect2f(const QvPoint2<float>& corner, float width, float height)
    : cornerA(corner), cornerB(qi::corner_plus(corner, width, 0.0f)),
      cornerC(qi::corner_plus(corner, 0.0f, height)) {}

QvRect2f::~QvRect2f() = default;

using CornerShape = QvRect2f;

namespace {

// The rectangle: four lines for its outline, and the parallelogram rasteriser.
struct CornerKind {
  static constexpr QvShape2f::Kind kKind = QvShape2f::KindRect;
  static void Outline(const qi::Corners& k, QvPath2f& path) { qi::append_rect_outline(k, path); }
  template <class T>
  static void Fill(QvRaster<T>& raster, const qi::Corners& mapped) {
    qi::fill_parallelogram(raster, mapped);
  }
  template <class T>
  static void RadialFill(const QvGC& gc, QvRaster<T>& raster, const qi::Corners& mapped) {
    qi::radial_fill_rect(gc, raster, mapped);
  }
};

}  // namespace

#include "shape/corner_shape_members.inc"
