#include "shape/rectoval_geometry.h"

#include <qv/QvPath2f.h>
#include <qv/QvShape2f.h>
#include <qv/QvTransfo4.h>

#include "shape/shape_buffer.h"

#include <cmath>

namespace qv::internal {

namespace {

struct Vec {
  double x;
  double y;
};

Vec diff(const QvPoint2<float>& p, const QvPoint2<float>& q) {
  return Vec{static_cast<double>(p.x) - static_cast<double>(q.x),
             static_cast<double>(p.y) - static_cast<double>(q.y)};
}

QvPoint2<float> narrow(double x, double y) {
  return QvPoint2<float>(static_cast<float>(x), static_cast<float>(y));
}

// A side or a distance shorter than this has collapsed.
constexpr double kCollapsed = 1e-7;

}  // namespace

QvPoint2<float> far_corner(const Corners& k) {
  return QvPoint2<float>(k.b.x + k.c.x - k.a.x, k.b.y + k.c.y - k.a.y);
}

QvPoint2<float> handle_point(const Corners& k, QvULong i) {
  const QvPoint2<float>& a = k.a;
  const QvPoint2<float>& b = k.b;
  const QvPoint2<float>& c = k.c;
  switch (i) {
    case 0:
      return QvPoint2<float>((b.x + c.x) / 2.0f, (b.y + c.y) / 2.0f);
    case 1:
      return QvPoint2<float>(b.x + (c.x - a.x) / 2.0f, b.y + (c.y - a.y) / 2.0f);
    case 2:
      return far_corner(k);
    case 3:
      return QvPoint2<float>(c.x + (b.x - a.x) / 2.0f, c.y + (b.y - a.y) / 2.0f);
    case 4:
      return c;
    case 5:
      return QvPoint2<float>(a.x + (c.x - a.x) / 2.0f, a.y + (c.y - a.y) / 2.0f);
    case 6:
      return a;
    case 7:
      return QvPoint2<float>(a.x + (b.x - a.x) / 2.0f, a.y + (b.y - a.y) / 2.0f);
    default:
      return b;
  }
}

double side_length(const QvPoint2<float>& a, const QvPoint2<float>& b) {
  const Vec d = diff(b, a);
  return std::sqrt(d.x * d.x + d.y * d.y);
}

QvPoint2<float> side_with_length(const QvPoint2<float>& a, const QvPoint2<float>& end,
                                 double length) {
  if (axis_matches(a.x, end.x) && axis_matches(a.y, end.y))
    return QvPoint2<float>(static_cast<float>(static_cast<double>(a.x) + length), end.y);
  const Vec d = diff(end, a);
  const double f = length / std::sqrt(d.x * d.x + d.y * d.y);
  return narrow(static_cast<double>(a.x) + d.x * f, static_cast<double>(a.y) + d.y * f);
}

void map_corners(const QvTransfo4& transform, Corners& k) {
  transform.MapInPlace(k.a);
  transform.MapInPlace(k.b);
  transform.MapInPlace(k.c);
}

void append_rect_outline(const Corners& k, QvPath2f& path) {
  path.Moveto(k.a);
  path.Lineto(k.b);
  path.Lineto(far_corner(k));
  path.Lineto(k.c);
  path.Lineto(k.a);
  path.Closeto();
}

// Each quarter runs from an odd handle over the corner after it to the next
// odd handle; the last one ends exactly on the first point, so the subpath
// closes without a gap.
void append_oval_outline(const Corners& k, QvPath2f& path) {
  QvPoint2<float> h[kHandleCount];
  for (QvULong i = 0; i < kHandleCount; ++i) h[i] = handle_point(k, i);
  path.Moveto(h[1]);
  for (QvULong q = 0; q < 4; ++q) {
    const QvPoint2<float>& a = h[1 + 2 * q];
    const QvPoint2<float>& b = h[2 + 2 * q];
    const QvPoint2<float>& c = h[q == 3 ? 1 : 3 + 2 * q];
    const Vec ab = diff(b, a);
    const Vec cb = diff(b, c);
    const QvPoint2<float> c1 = narrow(a.x + ab.x * kQuarterArcKappa, a.y + ab.y * kQuarterArcKappa);
    const QvPoint2<float> c2 = narrow(c.x + cb.x * kQuarterArcKappa, c.y + cb.y * kQuarterArcKappa);
    path.Curveto(c1, c2, c);
  }
  path.Closeto();
}

void write_corners(const Corners& k, QvLong kind, unsigned char* out) {
  store_u32(out, kRectOvalBodyLength);
  store_u32(out + 4, static_cast<std::uint32_t>(kind));
  store_f32(out + 8, k.a.x);
  store_f32(out + 12, k.a.y);
  store_f32(out + 16, k.b.x);
  store_f32(out + 20, k.b.y);
  store_f32(out + 24, k.c.x);
  store_f32(out + 28, k.c.y);
}

QvULong read_corners(const void* body, QvLong kind, Corners& k) {
  if (!body || body_length(body) < kRectOvalBodyLength) return 0;
  const unsigned char* in = static_cast<const unsigned char*>(body);
  if (load_u16(in) != static_cast<std::uint16_t>(kind)) return 0;
  Corners read;
  read.a = QvPoint2<float>(load_f32(in + 4), load_f32(in + 8));
  read.b = QvPoint2<float>(load_f32(in + 12), load_f32(in + 16));
  read.c = QvPoint2<float>(load_f32(in + 20), load_f32(in + 24));
  k = read;
  return kRectOvalBodyLength;
}

// The drag is measured in the coordinates of the two sides, u = B - A and
// v = C - A: then the anchor stays, the sides keep their directions, and a
// dragged corner lands on the target even on a skewed parallelogram. When the
// sides are parallel or one has collapsed those coordinates do not exist, and
// each remaining side measures by projection on its own direction; a
// collapsed side keeps its length.
bool scale_corners(const Corners& k, QvULong handle, const QvPoint2<float>& target,
                   const QvPoint2<float>& anchor, Corners& out) {
  const QvPoint2<float> h = handle_point(k, handle);
  if (axis_matches(h.x, anchor.x) && axis_matches(h.y, anchor.y)) return false;
  const Vec u = diff(k.b, k.a);
  const Vec v = diff(k.c, k.a);
  const double lu = std::sqrt(u.x * u.x + u.y * u.y);
  const double lv = std::sqrt(v.x * v.x + v.y * v.y);
  const bool u_live = lu >= kCollapsed;
  const bool v_live = lv >= kCollapsed;
  const double det = u.x * v.y - u.y * v.x;
  const bool dual = u_live && v_live && std::fabs(det) > 1e-12 * lu * lv;
  auto coords = [&](const Vec& w, double& cu, double& cv) {
    if (dual) {
      cu = (w.x * v.y - w.y * v.x) / det;
      cv = (u.x * w.y - u.y * w.x) / det;
      return;
    }
    cu = u_live ? (w.x * u.x + w.y * u.y) / (lu * lu) : 0.0;
    cv = v_live ? (w.x * v.x + w.y * v.y) / (lv * lv) : 0.0;
  };
  double hu, hv, tu, tv;
  coords(diff(h, anchor), hu, hv);
  coords(diff(target, anchor), tu, tv);
  // Handles 1 and 5 sit on the sides parallel to v and so drag the width;
  // 3 and 7 drag the height; the centre and the corners drag both.
  const bool along_u = handle != 3 && handle != 7;
  const bool along_v = handle != 1 && handle != 5;
  double su = 1.0;
  double sv = 1.0;
  if (along_u && u_live && std::fabs(hu) * lu >= kCollapsed) su = tu / hu;
  if (along_v && v_live && std::fabs(hv) * lv >= kCollapsed) sv = tv / hv;
  auto move = [&](const QvPoint2<float>& p) {
    double cu, cv;
    coords(diff(p, anchor), cu, cv);
    const double du = (su - 1.0) * cu;
    const double dv = (sv - 1.0) * cv;
    return narrow(static_cast<double>(p.x) + du * u.x + dv * v.x,
                  static_cast<double>(p.y) + du * u.y + dv * v.y);
  };
  out.a = move(k.a);
  out.b = move(k.b);
  out.c = move(k.c);
  return true;
}

void skew_corners(Corners& k, QvULong handle, const QvPoint2<float>& target) {
  if (handle < 1 || handle > 8) return;
  const QvPoint2<float> h = handle_point(k, handle);
  const QvPoint2<float> d(target.x - h.x, target.y - h.y);
  switch (handle) {
    case 1:
    case 2:
      k.b += d;
      break;
    case 3:
    case 4:
      k.c += d;
      break;
    case 5:
    case 6:
      k.a += d;
      k.c += d;
      break;
    default:
      k.a += d;
      k.b += d;
      break;
  }
}

QvExtent2<double> corners_extent_d(const Corners& k) {
  const QvPoint2<double> a(k.a.x, k.a.y);
  const QvPoint2<double> b(k.b.x, k.b.y);
  const QvPoint2<double> c(k.c.x, k.c.y);
  QvExtent2<double> extent;
  extent.Augment(a);
  extent.Augment(b);
  extent.Augment(c);
  extent.Augment(QvPoint2<double>(b.x + c.x - a.x, b.y + c.y - a.y));
  return extent;
}

QvExtent2<float> corners_extent_f(const Corners& k) {
  QvExtent2<float> extent;
  extent.Augment(k.a);
  extent.Augment(k.b);
  extent.Augment(k.c);
  extent.Augment(far_corner(k));
  return extent;
}

template <class P> void copy_handles(const Corners& k, QvULong first, QvULong last, P* out) {
  for (QvULong i = first; i <= last && i < kHandleCount; ++i) {
    const QvPoint2<float> p = handle_point(k, i);
    out[i - first] = P(p.x, p.y);
  }
}
template void copy_handles(const Corners&, QvULong, QvULong, QvPoint2<float>*);
template void copy_handles(const Corners&, QvULong, QvULong, QvPoint2<double>*);

QvLong find_close_handle(const Corners& k, const QvPoint2<float>& point, double size, QvULong* index) {
  const float half = static_cast<float>(size * 0.5);
  for (QvULong i = 0; i < kHandleCount; ++i) {
    const QvPoint2<float> p = handle_point(k, i);
    if (point.x - half <= p.x && p.x <= point.x + half && point.y - half <= p.y &&
        p.y <= point.y + half) {
      if (index) *index = i;
      return 1;
    }
  }
  return 0;
}

QvULong handles_in_extent(const Corners& k, const QvExtent2<float>& extent, QvULongArray* indices) {
  QvULong added = 0;
  for (QvULong i = 0; i < kHandleCount; ++i) {
    if (!extent.IsInside(handle_point(k, i))) continue;
    indices->Add(i);
    ++added;
  }
  return added;
}

}  // namespace qv::internal
