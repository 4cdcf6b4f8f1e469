#include "shape/rectoval_raster.h"

#include <qv/QvGC.h>
#include <qv/QvStdFCurve.h>
#include <qv/QvTransfo4.h>

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace qv::internal {

namespace {

struct Vec {
  double x;
  double y;
};

Vec wide(const QvPoint2<float>& p) { return Vec{p.x, p.y}; }

// Pixels whose centres lie in [lo, hi], cut to 0 .. limit-1. Works in double
// before converting, so that huge or non-finite bounds cannot overflow.
bool pixel_range(double lo, double hi, QvLong limit, QvLong& first, QvLong& last) {
  if (!(lo <= hi) || limit <= 0) return false;
  double f = std::ceil(lo - 0.5);
  double l = std::floor(hi - 0.5);
  if (f < 0.0) f = 0.0;
  const double top = static_cast<double>(limit - 1);
  if (l > top) l = top;
  if (!(f <= l)) return false;
  first = static_cast<QvLong>(f);
  last = static_cast<QvLong>(l);
  return true;
}

template <class T>
T* row_pointer(QvRaster<T>& raster, QvLong y) {
  const QvLong row = raster.bottomUp ? raster.height - 1 - y : y;
  return raster.pixels + static_cast<std::ptrdiff_t>(row) * raster.width;
}

// Calls span(y, lo, hi) with the real x-interval that the shape covers on the
// centre line of each raster row y. Rows are taken with centres in
// [ylo, yhi): a centre at the largest y of the shape is left out, as the
// path fill leaves it out, so that a shape and its outline paint alike. Across
// a row both ends count.
template <class Span, class Interval>
void walk_rows(QvLong height, double ylo, double yhi, Interval interval, Span span) {
  if (!(ylo <= yhi) || height <= 0) return;
  double f = std::ceil(ylo - 0.5);
  double l = std::ceil(yhi - 0.5) - 1.0;
  if (f < 0.0) f = 0.0;
  if (l > static_cast<double>(height - 1)) l = static_cast<double>(height - 1);
  if (!(f <= l)) return;
  const QvLong y0 = static_cast<QvLong>(f);
  const QvLong y1 = static_cast<QvLong>(l);
  for (QvLong y = y0; y <= y1; ++y) {
    double lo, hi;
    if (interval(static_cast<double>(y) + 0.5, lo, hi)) span(y, lo, hi);
  }
}

template <class T>
void paint_span(QvRaster<T>& raster, QvLong y, double lo, double hi, T full) {
  QvLong x0, x1;
  if (!pixel_range(lo, hi, raster.width, x0, x1)) return;
  std::fill(row_pointer(raster, y) + x0, row_pointer(raster, y) + x1 + 1, full);
}

struct Quad {
  Vec p[4];
  double ylo;
  double yhi;
};

Quad quad_of(const Corners& k) {
  Quad q;
  q.p[0] = wide(k.a);
  q.p[1] = wide(k.b);
  q.p[2] = wide(far_corner(k));  // the same float corner as the outline path
  q.p[3] = wide(k.c);
  q.ylo = std::min(std::min(q.p[0].y, q.p[1].y), std::min(q.p[2].y, q.p[3].y));
  q.yhi = std::max(std::max(q.p[0].y, q.p[1].y), std::max(q.p[2].y, q.p[3].y));
  return q;
}

// The x-interval of a convex quadrilateral on the line y = cy: the smallest
// and largest crossing of its edges, a horizontal edge on the line giving
// both its ends.
bool quad_interval(const Quad& q, double cy, double& lo, double& hi) {
  bool any = false;
  for (int i = 0; i < 4; ++i) {
    const Vec& p = q.p[i];
    const Vec& r = q.p[(i + 1) & 3];
    double xs[2];
    int n = 0;
    if (p.y == r.y) {
      if (p.y != cy) continue;
      xs[n++] = p.x;
      xs[n++] = r.x;
    } else {
      if (cy < std::min(p.y, r.y) || cy > std::max(p.y, r.y)) continue;
      xs[n++] = p.x + (cy - p.y) * (r.x - p.x) / (r.y - p.y);
    }
    for (int j = 0; j < n; ++j) {
      if (!any) {
        lo = hi = xs[j];
        any = true;
      } else {
        lo = std::min(lo, xs[j]);
        hi = std::max(hi, xs[j]);
      }
    }
  }
  return any;
}

// Centre and conjugate half-axes of the inscribed ellipse: its points are
// o + cos(t) e1 + sin(t) e2.
struct Ellipse {
  Vec o;
  Vec e1;
  Vec e2;
  double det;
};

Ellipse ellipse_of(const Corners& k) {
  Ellipse e;
  e.o = Vec{(static_cast<double>(k.b.x) + k.c.x) * 0.5, (static_cast<double>(k.b.y) + k.c.y) * 0.5};
  e.e1 = Vec{(static_cast<double>(k.b.x) - k.a.x) * 0.5, (static_cast<double>(k.b.y) - k.a.y) * 0.5};
  e.e2 = Vec{(static_cast<double>(k.c.x) - k.a.x) * 0.5, (static_cast<double>(k.c.y) - k.a.y) * 0.5};
  e.det = e.e1.x * e.e2.y - e.e1.y * e.e2.x;
  return e;
}

double estimate(double dx, double dy) {
  return dx > dy ? dx + 0.3334 * dy : dy + 0.3334 * dx;
}

}  // namespace

template <> unsigned char full_value<unsigned char>() { return 255; }
template <> short full_value<short>() { return 16384; }
template <> float full_value<float>() { return 1.0f; }

template <class T>
void fill_parallelogram(QvRaster<T>& raster, const Corners& k) {
  const Quad q = quad_of(k);
  const T full = full_value<T>();
  walk_rows(
      raster.height, q.ylo, q.yhi,
      [&](double cy, double& lo, double& hi) { return quad_interval(q, cy, lo, hi); },
      [&](QvLong y, double lo, double hi) { paint_span(raster, y, lo, hi, full); });
}

void fill_parallelogram_parameter(QvRaster<float>& params, const Corners& k, double radius) {
  const Quad q = quad_of(k);
  const Vec a = q.p[0];
  const Vec u{q.p[1].x - a.x, q.p[1].y - a.y};
  const Vec v{q.p[3].x - a.x, q.p[3].y - a.y};
  const double det = u.x * v.y - u.y * v.x;
  if (det == 0.0 || !std::isfinite(det)) return;
  walk_rows(
      params.height, q.ylo, q.yhi,
      [&](double cy, double& lo, double& hi) { return quad_interval(q, cy, lo, hi); },
      [&](QvLong y, double lo, double hi) {
        QvLong x0, x1;
        if (!pixel_range(lo, hi, params.width, x0, x1)) return;
        float* row = row_pointer(params, y);
        const double wy = static_cast<double>(y) + 0.5 - a.y;
        for (QvLong x = x0; x <= x1; ++x) {
          const double wx = static_cast<double>(x) + 0.5 - a.x;
          const double su = (wx * v.y - wy * v.x) / det;
          const double sv = (u.x * wy - u.y * wx) / det;
          double t = std::max(std::fabs(2.0 * su - 1.0), std::fabs(2.0 * sv - 1.0));
          if (t > 1.0) t = 1.0;  // a centre on the boundary may round just outside
          row[x] = static_cast<float>(t * radius);
        }
      });
}

template <class T>
void fill_ellipse_direct(QvRaster<T>& raster, const Corners& k) {
  const Quad q = quad_of(k);
  double xlo = q.p[0].x, xhi = q.p[0].x;
  for (const Vec& p : q.p) {
    xlo = std::min(xlo, p.x);
    xhi = std::max(xhi, p.x);
  }
  const double cx = (xlo + xhi) * 0.5;
  const double cy0 = (q.ylo + q.yhi) * 0.5;
  const double rx = (xhi - xlo) * 0.5;
  const double ry = (q.yhi - q.ylo) * 0.5;
  if (!(ry > 0.0) || !(rx > 0.0)) return;
  const T full = full_value<T>();
  walk_rows(
      raster.height, q.ylo, q.yhi,
      [&](double cy, double& lo, double& hi) {
        const double f = (cy - cy0) / ry;
        const double s = 1.0 - f * f;
        if (s < 0.0) return false;
        const double half = rx * std::sqrt(s);
        lo = cx - half;
        hi = cx + half;
        return true;
      },
      [&](QvLong y, double lo, double hi) { paint_span(raster, y, lo, hi, full); });
}

// With q = p - o and the row fixed, p lies inside when the coordinates of q in
// the basis (e1, e2) have a squared norm of at most 1; multiplied out by the
// basis determinant that is a quadratic in q.x.
template <class T>
void fill_ellipse_affine(QvRaster<T>& raster, const Corners& k) {
  const Ellipse e = ellipse_of(k);
  if (e.det == 0.0 || !std::isfinite(e.det)) return;
  const double qa = e.e2.y * e.e2.y + e.e1.y * e.e1.y;
  const double reach = std::sqrt(qa);
  const double bx = e.e2.y * e.e2.x + e.e1.x * e.e1.y;
  const double cx2 = e.e2.x * e.e2.x + e.e1.x * e.e1.x;
  const double det2 = e.det * e.det;
  const T full = full_value<T>();
  walk_rows(
      raster.height, e.o.y - reach, e.o.y + reach,
      [&](double cy, double& lo, double& hi) {
        const double ky = cy - e.o.y;
        const double qb = -2.0 * ky * bx;
        const double qc = ky * ky * cx2 - det2;
        const double disc = qb * qb - 4.0 * qa * qc;
        if (disc < 0.0) return false;
        const double root = std::sqrt(disc);
        lo = e.o.x + (-qb - root) / (2.0 * qa);
        hi = e.o.x + (-qb + root) / (2.0 * qa);
        return true;
      },
      [&](QvLong y, double lo, double hi) { paint_span(raster, y, lo, hi, full); });
}

// A thin ellipse lying along x crosses few rows, and its spans there are
// short and unstable; scanned in columns it is well sampled. Pixel-centre
// sampling is the same set either way, so the transposed picture copies back
// pixel for pixel.
template <class T>
void fill_ellipse_transposed(QvRaster<T>& raster, const Corners& k) {
  if (raster.width <= 0 || raster.height <= 0) return;
  Corners t;
  t.a = QvPoint2<float>(k.a.y, k.a.x);
  t.b = QvPoint2<float>(k.b.y, k.b.x);
  t.c = QvPoint2<float>(k.c.y, k.c.x);
  QvRaster<unsigned char> side(raster.height, raster.width, 0);
  fill_ellipse_affine(side, t);
  const T full = full_value<T>();
  for (QvLong ty = 0; ty < side.height; ++ty) {
    const unsigned char* in = side.pixels + static_cast<std::ptrdiff_t>(ty) * side.width;
    for (QvLong tx = 0; tx < side.width; ++tx)
      if (in[tx] == 255) row_pointer(raster, tx)[ty] = full;
  }
}

template <class T>
void fill_oval(QvRaster<T>& raster, const Corners& k) {
  const double dxa = std::fabs(static_cast<double>(k.c.x) - k.a.x);
  const double dya = std::fabs(static_cast<double>(k.c.y) - k.a.y);
  const double dxb = std::fabs(static_cast<double>(k.b.x) - k.a.x);
  const double dyb = std::fabs(static_cast<double>(k.b.y) - k.a.y);
  if (dya < 0.0001 && dxb < 0.0001) {
    fill_ellipse_direct(raster, k);
  } else if (dxa < 0.0001 && dyb < 0.0001 && estimate(dxa, dya) > 20.0 &&
             estimate(dxb, dyb) > 20.0) {
    fill_ellipse_direct(raster, k);
  } else if (estimate(dxb, dyb) <= 1.5 && std::max(dya, dyb) < std::max(dxa, dxb)) {
    fill_ellipse_transposed(raster, k);
  } else {
    fill_ellipse_affine(raster, k);
  }
}

GradientTable::GradientTable(const QvGC& gc) : m_points(16) {
  QvPointTagArray tags(16);
  const QvTransfo4 identity;
  gc.GetGradientFCurve().Flatten(identity, 0.001, m_points, tags, 0);
}

// Exact at the two ends; a parameter outside the curve reads the nearer end.
double GradientTable::Lookup(double parameter) const {
  const QvULong n = m_points.size;
  if (n == 0) return 0.0;
  const QvPoint2<double>* p = m_points.data;
  if (std::fabs(parameter - p[0].x) <= 1e-15 || parameter < p[0].x) return p[0].y;
  if (std::fabs(parameter - p[n - 1].x) <= 1e-15 || parameter > p[n - 1].x) return p[n - 1].y;
  if (!(parameter == parameter)) return 0.0;
  // Largest lo with p[lo].x <= parameter; p[hi].x > parameter.
  QvULong lo = 0;
  QvULong hi = n - 1;
  while (hi - lo > 1) {
    const QvULong mid = lo + (hi - lo) / 2;
    if (p[mid].x <= parameter)
      lo = mid;
    else
      hi = mid;
  }
  const double span = p[hi].x - p[lo].x;
  if (span <= 0.0) return p[hi].y;
  return p[lo].y + (p[hi].y - p[lo].y) * ((parameter - p[lo].x) / span);
}

template <> unsigned char radial_value<unsigned char>(double value) {
  const double v = value < 0.0 ? 0.0 : (value > 1.0 ? 1.0 : value);
  return static_cast<unsigned char>(static_cast<int>(v * 255.0 + 0.5));
}
template <> short radial_value<short>(double value) {
  const double v = value < 0.0 ? 0.0 : (value > 1.0 ? 1.0 : value);
  return static_cast<short>(static_cast<int>(v * 16384.0 + 0.5));
}
template <> float radial_value<float>(double value) {
  const double v = value < 0.0 ? 0.0 : (value > 1.0 ? 1.0 : value);
  return static_cast<float>(v);
}

// The oval is mapped onto the circle of radius R, the curve's last key, so
// that the distance from the centre reads directly as the curve's parameter.
template <class T>
void radial_fill_oval(const QvGC& gc, QvRaster<T>& raster, const Corners& mapped) {
  if (raster.width <= 0 || raster.height <= 0) return;
  const GradientTable table(gc);
  double radius = 0.0;
  if (table.Empty() || !gc.GetGradientFCurve().GetLargestKeyParameter(radius)) return;
  const QvPoint2<double> src[3] = {QvPoint2<double>(mapped.a.x, mapped.a.y),
                                   QvPoint2<double>(mapped.b.x, mapped.b.y),
                                   QvPoint2<double>(mapped.c.x, mapped.c.y)};
  const QvPoint2<double> dst[3] = {QvPoint2<double>(-radius, -radius),
                                   QvPoint2<double>(radius, -radius),
                                   QvPoint2<double>(-radius, radius)};
  QvTransfo4 to_circle;
  if (!to_circle.SetTo3PointTransformXY(src, dst)) return;
  const double step_x = to_circle.GetMatrixElement(0, 0);
  const double step_y = to_circle.GetMatrixElement(1, 0);
  const double r2 = radius * radius;
  for (QvLong row = 0; row < raster.height; ++row) {
    const QvLong y = raster.bottomUp ? raster.height - 1 - row : row;
    const QvPoint2<double> start =
        to_circle.Map(QvPoint2<double>(0.5, static_cast<double>(y) + 0.5));
    double px = start.x;
    double py = start.y;
    T* out = raster.pixels + static_cast<std::ptrdiff_t>(row) * raster.width;
    for (QvLong x = 0; x < raster.width; ++x) {
      const double d2 = px * px + py * py;
      out[x] = d2 > r2 ? T(0) : radial_value<T>(table.Lookup(std::sqrt(d2)));
      px += step_x;
      py += step_y;
    }
  }
}

template <class T>
void radial_fill_rect(const QvGC& gc, QvRaster<T>& raster, const Corners& mapped) {
  if (raster.width <= 0 || raster.height <= 0) return;
  const GradientTable table(gc);
  double radius = 0.0;
  if (table.Empty() || !gc.GetGradientFCurve().GetLargestKeyParameter(radius)) return;
  constexpr float kOutside = 3.4028235e+38f;
  QvRaster<float> params(raster.width, raster.height, kOutside);
  params.bottomUp = raster.bottomUp;
  fill_parallelogram_parameter(params, mapped, radius);
  const std::ptrdiff_t count = static_cast<std::ptrdiff_t>(raster.width) * raster.height;
  for (std::ptrdiff_t i = 0; i < count; ++i) {
    if (params.pixels[i] < kOutside)
      raster.pixels[i] = radial_value<T>(table.Lookup(params.pixels[i]));
  }
}

template void fill_parallelogram<unsigned char>(QvRaster<unsigned char>&, const Corners&);
template void fill_oval<unsigned char>(QvRaster<unsigned char>&, const Corners&);
template void fill_ellipse_direct<unsigned char>(QvRaster<unsigned char>&, const Corners&);
template void fill_ellipse_affine<unsigned char>(QvRaster<unsigned char>&, const Corners&);
template void fill_ellipse_transposed<unsigned char>(QvRaster<unsigned char>&, const Corners&);
template void radial_fill_oval<unsigned char>(const QvGC&, QvRaster<unsigned char>&, const Corners&);
template void radial_fill_rect<unsigned char>(const QvGC&, QvRaster<unsigned char>&, const Corners&);
template void fill_parallelogram<short>(QvRaster<short>&, const Corners&);
template void fill_oval<short>(QvRaster<short>&, const Corners&);
template void fill_ellipse_direct<short>(QvRaster<short>&, const Corners&);
template void fill_ellipse_affine<short>(QvRaster<short>&, const Corners&);
template void fill_ellipse_transposed<short>(QvRaster<short>&, const Corners&);
template void radial_fill_oval<short>(const QvGC&, QvRaster<short>&, const Corners&);
template void radial_fill_rect<short>(const QvGC&, QvRaster<short>&, const Corners&);
template void fill_parallelogram<float>(QvRaster<float>&, const Corners&);
template void fill_oval<float>(QvRaster<float>&, const Corners&);
template void fill_ellipse_direct<float>(QvRaster<float>&, const Corners&);
template void fill_ellipse_affine<float>(QvRaster<float>&, const Corners&);
template void fill_ellipse_transposed<float>(QvRaster<float>&, const Corners&);
template void radial_fill_oval<float>(const QvGC&, QvRaster<float>&, const Corners&);
template void radial_fill_rect<float>(const QvGC&, QvRaster<float>&, const Corners&);

}  // namespace qv::internal
