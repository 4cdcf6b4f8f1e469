#include <qv/QvTransfo4.h>

#include <cmath>
#include <cstring>
#include <ostream>

#include "transform/angle_math.h"

namespace {

using qv::internal::kDegToRad;
using qv::internal::snap_unit;

const double kIdentity[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};

// r = a b on all sixteen elements; r must not be a or b.
void multiply(const double* a, const double* b, double* r) {
  for (int c = 0; c < 4; ++c)
    for (int row = 0; row < 4; ++row)
      r[row + 4 * c] = a[row] * b[4 * c] + a[row + 4] * b[4 * c + 1] +
                       a[row + 8] * b[4 * c + 2] + a[row + 12] * b[4 * c + 3];
}

QvTransfo4 translation(double x, double y, double z) {
  QvTransfo4 t;
  double* m = t.GetMatrixPtr();
  m[12] = x;
  m[13] = y;
  m[14] = z;
  return t;
}

// T(c) X T(-c): the elementary matrix X acting about the point c instead of the origin.
QvTransfo4 about(const QvTransfo4& x, double cx, double cy, double cz) {
  QvTransfo4 r = translation(cx, cy, cz);
  r.PostMultiply(x);
  r.PostMultiply(translation(-cx, -cy, -cz));
  return r;
}

// Right-handed rotation of `angle` degrees about the axis (x, y, z) through the origin. The
// axis is not checked: a zero axis gives non-finite elements.
QvTransfo4 rotation(double angle, double x, double y, double z) {
  const double len = std::sqrt(x * x + y * y + z * z);
  x = x / len;
  y = y / len;
  z = z / len;
  const double rad = angle * kDegToRad;
  const double c = snap_unit(std::cos(rad));
  const double s = snap_unit(std::sin(rad));
  const double t = 1.0 - c;
  QvTransfo4 r;
  double* m = r.GetMatrixPtr();
  m[0] = c + x * x * t;
  m[4] = x * y * t - z * s;
  m[8] = x * z * t + y * s;
  m[1] = x * y * t + z * s;
  m[5] = c + y * y * t;
  m[9] = y * z * t - x * s;
  m[2] = x * z * t - y * s;
  m[6] = y * z * t + x * s;
  m[10] = c + z * z * t;
  return r;
}

}  // namespace

QvTransfo4::QvTransfo4() {
  std::memcpy(m_matrix, kIdentity, sizeof m_matrix);
}

QvTransfo4::QvTransfo4(const QvTransfo4& other) : QvTransfo4(other.m_matrix) {}

QvTransfo4::QvTransfo4(double const* matrix) {
  std::memcpy(m_matrix, matrix, sizeof m_matrix);
}

QvTransfo4& QvTransfo4::operator=(const QvTransfo4& other) {
  std::memmove(m_matrix, other.m_matrix, sizeof m_matrix);
  return *this;
}

void QvTransfo4::SetToIdentity() {
  std::memcpy(m_matrix, kIdentity, sizeof m_matrix);
}

QvTransfo4& QvTransfo4::ResetToIdentity() {
  SetToIdentity();
  return *this;
}

void QvTransfo4::GetMatrix(double* matrix) const {
  std::memmove(matrix, m_matrix, sizeof m_matrix);
}

void QvTransfo4::SetMatrix(double const* matrix) {
  std::memmove(m_matrix, matrix, sizeof m_matrix);
}

double* QvTransfo4::GetMatrixPtr() {
  return m_matrix;
}

double const* QvTransfo4::GetMatrixPtr() const {
  return m_matrix;
}

double QvTransfo4::GetMatrixElement(QvULong row, QvULong col) const {
  return m_matrix[row + 4 * col];
}

void QvTransfo4::SwapRows(QvULong r1, QvULong r2) {
  for (QvULong c = 0; c < 4; ++c) {
    const double t = m_matrix[r1 + 4 * c];
    m_matrix[r1 + 4 * c] = m_matrix[r2 + 4 * c];
    m_matrix[r2 + 4 * c] = t;
  }
}

void QvTransfo4::Transpose(QvTransfo4& out) const {
  for (int r = 0; r < 4; ++r)
    for (int c = 0; c < 4; ++c)
      out.m_matrix[r + 4 * c] = m_matrix[c + 4 * r];
}

QvTransfo4& QvTransfo4::PostMultiply(const QvTransfo4& b) {
  double r[16];
  multiply(m_matrix, b.m_matrix, r);
  std::memcpy(m_matrix, r, sizeof m_matrix);
  return *this;
}

QvTransfo4& QvTransfo4::PreMultiply(const QvTransfo4& b) {
  double r[16];
  multiply(b.m_matrix, m_matrix, r);
  std::memcpy(m_matrix, r, sizeof m_matrix);
  return *this;
}

// ---- translation and scale: applied to the columns directly, as M X would come out -----

QvTransfo4& QvTransfo4::Translate(double x, double y, double z) {
  for (int r = 0; r < 4; ++r)
    m_matrix[12 + r] += x * m_matrix[r] + y * m_matrix[4 + r] + z * m_matrix[8 + r];
  return *this;
}

QvTransfo4& QvTransfo4::Translate(QvPoint3<double> const& t) {
  return Translate(t.x, t.y, t.z);
}

QvTransfo4& QvTransfo4::Translate(QvPoint3<float> const& t) {
  return Translate(t.x, t.y, t.z);
}

QvTransfo4& QvTransfo4::Translate(QvPoint2<double> const& t, double z) {
  return Translate(t.x, t.y, z);
}

QvTransfo4& QvTransfo4::Translate(QvPoint2<float> const& t, double z) {
  return Translate(t.x, t.y, z);
}

QvTransfo4& QvTransfo4::Translate(QvPoint2<float> const& t, float z) {
  return Translate(t.x, t.y, static_cast<double>(z));
}

QvTransfo4& QvTransfo4::Scale(double sx, double sy, double sz) {
  for (int r = 0; r < 4; ++r) {
    m_matrix[r] *= sx;
    m_matrix[4 + r] *= sy;
    m_matrix[8 + r] *= sz;
  }
  return *this;
}

QvTransfo4& QvTransfo4::Scale(double s) {
  return Scale(s, s, s);
}

QvTransfo4& QvTransfo4::Scale(double sx, double sy, double sz, QvPoint3<double> const& centre) {
  QvTransfo4 s;
  s.m_matrix[0] = sx;
  s.m_matrix[5] = sy;
  s.m_matrix[10] = sz;
  return PostMultiply(about(s, centre.x, centre.y, centre.z));
}

QvTransfo4& QvTransfo4::Scale(double sx, double sy, double sz, QvPoint3<float> const& centre) {
  return Scale(sx, sy, sz, QvPoint3<double>(centre.x, centre.y, centre.z));
}

QvTransfo4& QvTransfo4::ScaleXY(double sx, double sy, QvPoint2<double> const& centre) {
  return Scale(sx, sy, 1.0, QvPoint3<double>(centre.x, centre.y, 0.0));
}

// ---- rotations -------------------------------------------------------------------------

QvTransfo4& QvTransfo4::Rotate(double angle, double x, double y, double z) {
  return PostMultiply(rotation(angle, x, y, z));
}

QvTransfo4& QvTransfo4::Rotate(double angle, QvPoint3<double> const& p1,
                               QvPoint3<double> const& p2) {
  const QvTransfo4 r = rotation(angle, p2.x - p1.x, p2.y - p1.y, p2.z - p1.z);
  return PostMultiply(about(r, p1.x, p1.y, p1.z));
}

QvTransfo4& QvTransfo4::Rotate(double angle, QvPoint3<float> const& p1,
                               QvPoint3<float> const& p2) {
  return Rotate(angle, QvPoint3<double>(p1.x, p1.y, p1.z), QvPoint3<double>(p2.x, p2.y, p2.z));
}

QvTransfo4& QvTransfo4::RotateXY(double angle, QvPoint2<double> const& centre) {
  return PostMultiply(about(rotation(angle, 0.0, 0.0, 1.0), centre.x, centre.y, 0.0));
}

namespace {

// Heading of (x, y) in degrees, in [0, 360).
double heading_degrees(double x, double y) {
  const double len = std::sqrt(x * x + y * y);
  double deg = qv::internal::heading_of(x / len, y / len) * qv::internal::kRadToDeg;
  if (deg < 0.0)
    deg = 0.0;
  if (deg > 360.0)
    deg = 360.0;
  if (std::fabs(deg - 360.0) <= 1e-15)
    deg = 0.0;
  return deg;
}

bool degenerate(double x, double y) {
  return std::fabs(x) <= 1e-7 && std::fabs(y) <= 1e-7;
}

}  // namespace

QvTransfo4& QvTransfo4::RotateXY(QvPoint2<double> const& centre, QvPoint2<double> const& from,
                                 QvPoint2<double> const& to) {
  const double ax = from.x - centre.x, ay = from.y - centre.y;
  const double bx = to.x - centre.x, by = to.y - centre.y;
  if (degenerate(ax, ay) || degenerate(bx, by))
    return *this;
  const double ha = heading_degrees(ax, ay);
  const double hb = heading_degrees(bx, by);
  // The turn is always counted counter-clockwise: a turn of -10 degrees is 350.
  double turn = hb < ha ? hb + 360.0 - ha : hb - ha;
  if (turn < 0.0)
    turn = 0.0;
  if (turn > 360.0)
    turn = 360.0;
  if (std::fabs(turn - 360.0) <= 1e-9)
    turn = 0.0;
  return RotateXY(turn, centre);
}

QvTransfo4& QvTransfo4::RotateXYZ(QvPoint3<double> const& angles) {
  const double ax = angles.x * kDegToRad, ay = angles.y * kDegToRad, az = angles.z * kDegToRad;
  const double cx = snap_unit(std::cos(ax)), sx = snap_unit(std::sin(ax));
  const double cy = snap_unit(std::cos(ay)), sy = snap_unit(std::sin(ay));
  const double cz = snap_unit(std::cos(az)), sz = snap_unit(std::sin(az));
  QvTransfo4 r;
  double* m = r.m_matrix;
  m[0] = cy * cz;
  m[4] = sx * sy * cz - cx * sz;
  m[8] = sx * sz + cx * sy * cz;
  m[1] = cy * sz;
  m[5] = cx * cz + sx * sy * sz;
  m[9] = cx * sy * sz - sx * cz;
  m[2] = -sy;
  m[6] = sx * cy;
  m[10] = cx * cy;
  return PostMultiply(r);
}

// ---- shears ------------------------------------------------------------------------------

QvTransfo4& QvTransfo4::ShearXZ(double a, double b) {
  for (int r = 0; r < 4; ++r)
    m_matrix[4 + r] += a * m_matrix[r] + b * m_matrix[8 + r];
  return *this;
}

QvTransfo4& QvTransfo4::ShearYZ(double a, double b) {
  for (int r = 0; r < 4; ++r)
    m_matrix[r] += a * m_matrix[4 + r] + b * m_matrix[8 + r];
  return *this;
}

QvTransfo4& QvTransfo4::ShearXY(double a, double b) {
  for (int r = 0; r < 4; ++r)
    m_matrix[8 + r] += a * m_matrix[r] + b * m_matrix[4 + r];
  return *this;
}

QvTransfo4& QvTransfo4::ShearXZ(double a, double b, QvPoint3<double> const& centre) {
  QvTransfo4 h;
  h.ShearXZ(a, b);
  return PostMultiply(about(h, centre.x, centre.y, centre.z));
}

QvTransfo4& QvTransfo4::ShearYZ(double a, double b, QvPoint3<double> const& centre) {
  QvTransfo4 h;
  h.ShearYZ(a, b);
  return PostMultiply(about(h, centre.x, centre.y, centre.z));
}

QvTransfo4& QvTransfo4::ShearXY(double a, double b, QvPoint3<double> const& centre) {
  QvTransfo4 h;
  h.ShearXY(a, b);
  return PostMultiply(about(h, centre.x, centre.y, centre.z));
}

// ---- frames from points ------------------------------------------------------------------

QvTransfo4& QvTransfo4::SetTo4PointTransform(QvPoint3<double> const& p0,
                                             QvPoint3<double> const& p1,
                                             QvPoint3<double> const& p2,
                                             QvPoint3<double> const& p3) {
  double* m = m_matrix;
  m[0] = p1.x - p0.x;
  m[1] = p1.y - p0.y;
  m[2] = p1.z - p0.z;
  m[3] = 0.0;
  m[4] = p2.x - p0.x;
  m[5] = p2.y - p0.y;
  m[6] = p2.z - p0.z;
  m[7] = 0.0;
  m[8] = p3.x - p0.x;
  m[9] = p3.y - p0.y;
  m[10] = p3.z - p0.z;
  m[11] = 0.0;
  m[12] = p0.x;
  m[13] = p0.y;
  m[14] = p0.z;
  m[15] = 1.0;
  return *this;
}

QvTransfo4& QvTransfo4::SetTo3PointTransformXY(QvPoint3<double> const& p0,
                                               QvPoint3<double> const& p1,
                                               QvPoint3<double> const& p2) {
  // The unit z point lands on z = 1 whatever the height of p0.
  return SetTo4PointTransform(p0, p1, p2, QvPoint3<double>(p0.x, p0.y, 1.0));
}

QvLong QvTransfo4::SetTo3PointTransformXY(QvPoint2<double> const* src,
                                          QvPoint2<double> const* dst) {
  const double ux = src[1].x - src[0].x, uy = src[1].y - src[0].y;
  const double vx = src[2].x - src[0].x, vy = src[2].y - src[0].y;
  const double det = ux * vy - uy * vx;
  if (std::fabs(det) < 1e-15)
    return 0;
  const double d1x = dst[1].x - dst[0].x, d2x = dst[2].x - dst[0].x;
  const double d1y = dst[1].y - dst[0].y, d2y = dst[2].y - dst[0].y;
  const double xx = (vy * d1x - uy * d2x) / det;
  const double yx = (ux * d2x - vx * d1x) / det;
  const double xy = (vy * d1y - uy * d2y) / det;
  const double yy = (ux * d2y - vx * d1y) / det;
  SetToIdentity();
  m_matrix[0] = xx;
  m_matrix[4] = yx;
  m_matrix[12] = dst[0].x - xx * src[0].x - yx * src[0].y;
  m_matrix[1] = xy;
  m_matrix[5] = yy;
  m_matrix[13] = dst[0].y - xy * src[0].x - yy * src[0].y;
  return 1;
}

// ---- tests and measures --------------------------------------------------------------------

namespace {

bool diagonal_is_one(const double* m) {
  return std::fabs(m[0] - 1.0) < 1e-10 && std::fabs(m[5] - 1.0) < 1e-10 &&
         std::fabs(m[10] - 1.0) < 1e-10 && std::fabs(m[15] - 1.0) < 1e-10;
}

// The off-diagonal elements of the linear part and the bottom row, translation excluded.
bool linear_off_diagonal_below(const double* m, double tol) {
  static const int kIndex[] = {1, 2, 3, 4, 6, 7, 8, 9, 11};
  for (int i : kIndex)
    if (!(std::fabs(m[i]) < tol))
      return false;
  return true;
}

}  // namespace

QvLong QvTransfo4::IsIdentity() const {
  return diagonal_is_one(m_matrix) && linear_off_diagonal_below(m_matrix, 1e-7) &&
                 std::fabs(m_matrix[12]) < 1e-7 && std::fabs(m_matrix[13]) < 1e-7 &&
                 std::fabs(m_matrix[14]) < 1e-7
             ? 1
             : 0;
}

QvLong QvTransfo4::IsTranslation() const {
  return diagonal_is_one(m_matrix) && linear_off_diagonal_below(m_matrix, 1e-15) ? 1 : 0;
}

QvLong QvTransfo4::IsScalingAndTranslation() const {
  return std::fabs(m_matrix[15] - 1.0) < 1e-10 && linear_off_diagonal_below(m_matrix, 1e-15)
             ? 1
             : 0;
}

QvLong QvTransfo4::IsSingular() const {
  QvTransfo4 scratch;
  return Inverse(scratch) ? 0 : 1;
}

QvLong QvTransfo4::TestInverse() const {
  QvTransfo4 inverse;
  if (!Inverse(inverse))
    return 0;
  QvTransfo4 post(*this);
  post.PostMultiply(inverse);
  QvTransfo4 pre(*this);
  pre.PreMultiply(inverse);
  return post.IsIdentity() && pre.IsIdentity() ? 1 : 0;
}

double QvTransfo4::GetXYUnitVectorSquaredLength() const {
  const double x = m_matrix[0] + m_matrix[4];
  const double y = m_matrix[1] + m_matrix[5];
  return x * x + y * y;
}

double QvTransfo4::GetXYZUnitVectorSquaredLength() const {
  const double x = m_matrix[0] + m_matrix[4] + m_matrix[8];
  const double y = m_matrix[1] + m_matrix[5] + m_matrix[9];
  return x * x + y * y;
}

// ---- inverse -------------------------------------------------------------------------------

// Gauss-Jordan with partial pivoting on a private copy, so that `out` may be this object.
// The first of equal pivot candidates wins, which keeps results stable for matrices with
// repeated magnitudes in a column.
QvLong QvTransfo4::Inverse(QvTransfo4& out) const {
  double a[16];
  std::memcpy(a, m_matrix, sizeof a);
  double* b = out.m_matrix;
  std::memcpy(b, kIdentity, sizeof kIdentity);
  for (int k = 0; k < 4; ++k) {
    int best = k;
    double best_mag = std::fabs(a[k + 4 * k]);
    for (int r = k + 1; r < 4; ++r) {
      const double mag = std::fabs(a[r + 4 * k]);
      if (mag > best_mag) {
        best = r;
        best_mag = mag;
      }
    }
    if (best != k) {
      for (int c = 0; c < 4; ++c) {
        double t = a[k + 4 * c];
        a[k + 4 * c] = a[best + 4 * c];
        a[best + 4 * c] = t;
        t = b[k + 4 * c];
        b[k + 4 * c] = b[best + 4 * c];
        b[best + 4 * c] = t;
      }
    }
    const double pivot = a[k + 4 * k];
    if (!(std::fabs(pivot) > 1e-15))
      return 0;
    const double inv = 1.0 / pivot;
    for (int c = 0; c < 4; ++c) {
      a[k + 4 * c] *= inv;
      b[k + 4 * c] *= inv;
    }
    for (int r = 0; r < 4; ++r) {
      if (r == k)
        continue;
      const double f = a[r + 4 * k];
      for (int c = 0; c < 4; ++c) {
        a[r + 4 * c] -= f * a[k + 4 * c];
        b[r + 4 * c] -= f * b[k + 4 * c];
      }
    }
  }
  return 1;
}

std::ostream& operator<<(std::ostream& os, QvTransfo4 const& t) {
  const double* m = t.GetMatrixPtr();
  for (int r = 0; r < 4; ++r)
    os << "{" << m[r] << " " << m[r + 4] << " " << m[r + 8] << " " << m[r + 12] << "}"
       << std::endl;
  return os;
}
