#include <qv/QvOval2f.h>

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

QvOval2f::QvOval2f() : cornerA(), cornerB(), cornerC() {}

QvOval2f::QvOval2f(const QvOval2f& other) : QvShape2f(other) {
  other.SetupPointRep(cornerA, cornerB, cornerC);
}

QvOval2f::QvOval2f(const QvPoint2<float>& a, const QvPoint2<float>& opposite)
    : cornerA(a), cornerB(opposite.x, a.y), cornerC(a.x, opposite.y) {}

QvOval2f::QvOval2f(const QvPoint2<float>& a, const QvPoint2<float>& b, const QvPoint2<float>& c)
    : cornerA(a), cornerB(b), cornerC(c) {}

QvOval2f::QvOval2f(const QvPoint2<float>& corner, float width, float height)
    : cornerA(corner), cornerB(qi::corner_plus(corner, width, 0.0f)),
      cornerC(qi::corner_plus(corner, 0.0f, height)) {}

QvOval2f::~QvOval2f() = default;

using CornerShape = QvOval2f;

namespace {

// The oval: four quarter-arc cubics for its outline, and the ellipse rasterisers.
struct CornerKind {
  static constexpr QvShape2f::Kind kKind = QvShape2f::KindOval;
  static void Outline(const qi::Corners& k, QvPath2f& path) { qi::append_oval_outline(k, path); }
  template <class T>
  static void Fill(QvRaster<T>& raster, const qi::Corners& mapped) {
    qi::fill_oval(raster, mapped);
  }
  template <class T>
  static void RadialFill(const QvGC& gc, QvRaster<T>& raster, const qi::Corners& mapped) {
    qi::radial_fill_oval(gc, raster, mapped);
  }
};

}  // namespace

#include "shape/corner_shape_members.inc"
