#include <qv/QvTransfo4.h>

// Mapping of points and extents. The array forms are the inner loops of flattening and scan
// conversion: the coefficients are read into locals once per call, so that stores through
// `out` cannot force them to be reloaded, and nothing is allocated.

namespace {

struct Affine2 {
  double a, b, c, d, tx, ty;  // x' = a x + c y + tx, y' = b x + d y + ty
  explicit Affine2(const double* m)
      : a(m[0]), b(m[1]), c(m[4]), d(m[5]), tx(m[12]), ty(m[13]) {}
};

struct Affine3 {
  double m0, m1, m2, m4, m5, m6, m8, m9, m10, m12, m13, m14;
  explicit Affine3(const double* m)
      : m0(m[0]), m1(m[1]), m2(m[2]), m4(m[4]), m5(m[5]), m6(m[6]), m8(m[8]), m9(m[9]),
        m10(m[10]), m12(m[12]), m13(m[13]), m14(m[14]) {}
};

// The point is read whole before anything is written, so `in` and `out` may be one point.
template <class T>
inline void map2(const Affine2& f, const QvPoint2<T>& in, QvPoint2<T>& out) {
  const double x = in.x, y = in.y;
  out.x = static_cast<T>(f.a * x + f.c * y + f.tx);
  out.y = static_cast<T>(f.b * x + f.d * y + f.ty);
}

template <class T>
inline void map3(const Affine3& f, const QvPoint3<T>& in, QvPoint3<T>& out) {
  const double x = in.x, y = in.y, z = in.z;
  out.x = static_cast<T>(f.m0 * x + f.m4 * y + f.m8 * z + f.m12);
  out.y = static_cast<T>(f.m1 * x + f.m5 * y + f.m9 * z + f.m13);
  out.z = static_cast<T>(f.m2 * x + f.m6 * y + f.m10 * z + f.m14);
}

// The two-operand forms store each coordinate as soon as it is formed and read the input
// again for the next one: given one point as both input and output, y comes from the new x
// (and z from the new x and y). MapInPlace is the form for that case. Float coordinates are
// widened by the arithmetic itself.
template <class T>
inline void map2_into(const Affine2& f, const QvPoint2<T>& in, QvPoint2<T>& out) {
  out.x = static_cast<T>(f.a * in.x + f.c * in.y + f.tx);
  out.y = static_cast<T>(f.b * in.x + f.d * in.y + f.ty);
}

template <class T>
inline void map3_into(const Affine3& f, const QvPoint3<T>& in, QvPoint3<T>& out) {
  out.x = static_cast<T>(f.m0 * in.x + f.m4 * in.y + f.m8 * in.z + f.m12);
  out.y = static_cast<T>(f.m1 * in.x + f.m5 * in.y + f.m9 * in.z + f.m13);
  out.z = static_cast<T>(f.m2 * in.x + f.m6 * in.y + f.m10 * in.z + f.m14);
}

// Bounding box of the four mapped corners. Each corner is narrowed to T before it is compared,
// so that the box is exactly that of the points a caller would get from mapping them.
template <class T>
void map_extent(const double* m, const QvExtent2<T>& in, QvExtent2<T>& out) {
  if (in.state != QvExtent2<T>::ExtentBounded) {
    out = in;
    return;
  }
  const Affine2 f(m);
  const QvPoint2<T> corners[4] = {QvPoint2<T>(in.min.x, in.min.y), QvPoint2<T>(in.max.x, in.min.y),
                                  QvPoint2<T>(in.max.x, in.max.y), QvPoint2<T>(in.min.x, in.max.y)};
  QvPoint2<T> lo, hi;
  map2(f, corners[0], lo);
  hi = lo;
  for (int i = 1; i < 4; ++i) {
    QvPoint2<T> p;
    map2(f, corners[i], p);
    if (p.x < lo.x)
      lo.x = p.x;
    if (p.x > hi.x)
      hi.x = p.x;
    if (p.y < lo.y)
      lo.y = p.y;
    if (p.y > hi.y)
      hi.y = p.y;
  }
  out.min = lo;
  out.max = hi;
  out.state = QvExtent2<T>::ExtentBounded;
}

template <class T>
void map2_array(const double* m, const QvPoint2<T>* in, QvULong n, QvPoint2<T>* out) {
  const Affine2 f(m);
  for (QvULong i = 0; i < n; ++i)
    map2(f, in[i], out[i]);
}

template <class T>
void map3_array(const double* m, const QvPoint3<T>* in, QvULong n, QvPoint3<T>* out) {
  const Affine3 f(m);
  for (QvULong i = 0; i < n; ++i)
    map3(f, in[i], out[i]);
}

}  // namespace

void QvTransfo4::Map(double const* in, double* out) const {
  const double* m = m_matrix;
  for (int r = 0; r < 4; ++r)
    out[r] = m[r] * in[0] + m[r + 4] * in[1] + m[r + 8] * in[2] + m[r + 12] * in[3];
}

// ---- single points ------------------------------------------------------------------------

QvPoint2<float> QvTransfo4::Map(QvPoint2<float> const& p) const {
  QvPoint2<float> r;
  map2(Affine2(m_matrix), p, r);
  return r;
}
void QvTransfo4::Map(QvPoint2<float> const& in, QvPoint2<float>& out) const {
  map2_into(Affine2(m_matrix), in, out);
}
void QvTransfo4::MapInPlace(QvPoint2<float>& p) const {
  map2(Affine2(m_matrix), p, p);
}

QvPoint2<double> QvTransfo4::Map(QvPoint2<double> const& p) const {
  QvPoint2<double> r;
  map2(Affine2(m_matrix), p, r);
  return r;
}
void QvTransfo4::Map(QvPoint2<double> const& in, QvPoint2<double>& out) const {
  map2_into(Affine2(m_matrix), in, out);
}
void QvTransfo4::MapInPlace(QvPoint2<double>& p) const {
  map2(Affine2(m_matrix), p, p);
}

QvPoint3<float> QvTransfo4::Map(QvPoint3<float> const& p) const {
  QvPoint3<float> r;
  map3(Affine3(m_matrix), p, r);
  return r;
}
void QvTransfo4::Map(QvPoint3<float> const& in, QvPoint3<float>& out) const {
  map3_into(Affine3(m_matrix), in, out);
}
void QvTransfo4::MapInPlace(QvPoint3<float>& p) const {
  map3(Affine3(m_matrix), p, p);
}

QvPoint3<double> QvTransfo4::Map(QvPoint3<double> const& p) const {
  QvPoint3<double> r;
  map3(Affine3(m_matrix), p, r);
  return r;
}
void QvTransfo4::Map(QvPoint3<double> const& in, QvPoint3<double>& out) const {
  map3_into(Affine3(m_matrix), in, out);
}
void QvTransfo4::MapInPlace(QvPoint3<double>& p) const {
  map3(Affine3(m_matrix), p, p);
}

// ---- extents ------------------------------------------------------------------------------

QvExtent2<float> QvTransfo4::Map(QvExtent2<float> const& e) const {
  QvExtent2<float> r;
  map_extent(m_matrix, e, r);
  return r;
}
void QvTransfo4::Map(QvExtent2<float> const& in, QvExtent2<float>& out) const {
  map_extent(m_matrix, in, out);
}
void QvTransfo4::MapInPlace(QvExtent2<float>& e) const {
  map_extent(m_matrix, e, e);
}

QvExtent2<double> QvTransfo4::Map(QvExtent2<double> const& e) const {
  QvExtent2<double> r;
  map_extent(m_matrix, e, r);
  return r;
}
void QvTransfo4::Map(QvExtent2<double> const& in, QvExtent2<double>& out) const {
  map_extent(m_matrix, in, out);
}
void QvTransfo4::MapInPlace(QvExtent2<double>& e) const {
  map_extent(m_matrix, e, e);
}

// ---- arrays -------------------------------------------------------------------------------

void QvTransfo4::Map(QvPoint2<float> const* in, QvULong n, QvPoint2<float>* out) const {
  map2_array(m_matrix, in, n, out);
}
void QvTransfo4::MapInPlace(QvPoint2<float>* p, QvULong n) const {
  map2_array(m_matrix, p, n, p);
}
void QvTransfo4::Map(QvPoint2<double> const* in, QvULong n, QvPoint2<double>* out) const {
  map2_array(m_matrix, in, n, out);
}
void QvTransfo4::MapInPlace(QvPoint2<double>* p, QvULong n) const {
  map2_array(m_matrix, p, n, p);
}
void QvTransfo4::Map(QvPoint3<float> const* in, QvULong n, QvPoint3<float>* out) const {
  map3_array(m_matrix, in, n, out);
}
void QvTransfo4::MapInPlace(QvPoint3<float>* p, QvULong n) const {
  map3_array(m_matrix, p, n, p);
}
void QvTransfo4::Map(QvPoint3<double> const* in, QvULong n, QvPoint3<double>* out) const {
  map3_array(m_matrix, in, n, out);
}
void QvTransfo4::MapInPlace(QvPoint3<double>* p, QvULong n) const {
  map3_array(m_matrix, p, n, p);
}
