#include <qv/QvQuat.h>

#include <cmath>

#include "transform/angle_math.h"

using qv::internal::angle_distance;
using qv::internal::kPi;
using qv::internal::nearest_turn;
using qv::internal::signed_hint;

QvQuat::QvQuat() : m_w(1.0), m_x(0.0), m_y(0.0), m_z(0.0) {}

QvQuat::QvQuat(double w, double x, double y, double z) : m_w(w), m_x(x), m_y(y), m_z(z) {}

QvQuat::QvQuat(QvPoint3<double> const& euler) {
  const double hx = euler.x * 0.5, hy = euler.y * 0.5, hz = euler.z * 0.5;
  const double sx = std::sin(hx), cx = std::cos(hx);
  const double sy = std::sin(hy), cy = std::cos(hy);
  const double sz = std::sin(hz), cz = std::cos(hz);
  m_w = cx * cy * cz + sx * sy * sz;
  m_x = sx * cy * cz - cx * sy * sz;
  m_y = cx * sy * cz + sx * cy * sz;
  m_z = cx * cy * sz - sx * sy * cz;
  Normalize();
}

QvQuat::QvQuat(const QvQuat& other) = default;

QvQuat& QvQuat::operator=(const QvQuat& other) = default;

double QvQuat::GetW() const { return m_w; }
double QvQuat::GetX() const { return m_x; }
double QvQuat::GetY() const { return m_y; }
double QvQuat::GetZ() const { return m_z; }
double QvQuat::W() const { return m_w; }
double QvQuat::X() const { return m_x; }
double QvQuat::Y() const { return m_y; }
double QvQuat::Z() const { return m_z; }

void QvQuat::Get(double& w, double& x, double& y, double& z) const {
  w = m_w;
  x = m_x;
  y = m_y;
  z = m_z;
}

void QvQuat::Get(QvPoint3<double>& euler) const {
  Get(euler, QvPoint3<double>(0.0, 0.0, 0.0));
}

void QvQuat::SetIdentity() {
  m_w = 1.0;
  m_x = m_y = m_z = 0.0;
}

QvLong QvQuat::IsIdentity() const {
  auto near0 = [](double v) { return v >= -1e-9 && v <= 1e-9; };
  return near0(m_w - 1.0) && near0(m_x) && near0(m_y) && near0(m_z) ? 1 : 0;
}

QvQuat& QvQuat::Invert() {
  m_x = -m_x;
  m_y = -m_y;
  m_z = -m_z;
  return *this;
}

QvQuat& QvQuat::Negate() {
  m_w = -m_w;
  m_x = -m_x;
  m_y = -m_y;
  m_z = -m_z;
  return *this;
}

// A norm within 1e-12 of 1 is left alone so that repeated normalising does not drift; w is
// clamped in every case so that it is always a valid cosine of the half angle.
QvQuat& QvQuat::Normalize() {
  const double n = m_w * m_w + m_x * m_x + m_y * m_y + m_z * m_z;
  if (std::fabs(n - 1.0) >= 1e-12) {
    if (n < 1e-12) {
      SetIdentity();
    } else {
      const double f = 1.0 / std::sqrt(n);
      m_w *= f;
      m_x *= f;
      m_y *= f;
      m_z *= f;
    }
  }
  m_w = qv::internal::clamp_unit(m_w);
  return *this;
}

namespace {

// The quaternion's own threshold for choosing the arcsine. It differs from that of the
// matrix extraction in the eighth digit and is kept so that stored rotation keys read back
// the same angles.
constexpr double kAngleOfThreshold = 0.70710679;

double angle_of_q(double s, double c) {
  return qv::internal::angle_of(s, c, kAngleOfThreshold);
}

}  // namespace

// The rotation matrix is read straight from the quaternion and split as Rz Ry Rx. The
// choice between the two triples of the regular case looks at x and z only; in gimbal lock
// the known sum or difference of x and z is shared out from the hints.
void QvQuat::Get(QvPoint3<double>& euler, QvPoint3<double> const& hint) const {
  const double w = m_w, x = m_x, y = m_y, z = m_z;
  const double m0 = 1.0 - 2.0 * y * y - 2.0 * z * z;
  const double m1 = 2.0 * x * y + 2.0 * w * z;
  const double m2 = 2.0 * x * z - 2.0 * w * y;
  const double m4 = 2.0 * x * y - 2.0 * w * z;
  const double m5 = 1.0 - 2.0 * x * x - 2.0 * z * z;
  const double m6 = 2.0 * y * z + 2.0 * w * x;
  const double m10 = 1.0 - 2.0 * x * x - 2.0 * y * y;

  const double hint_x = hint.x, hint_y = hint.y, hint_z = hint.z;
  const double hx = signed_hint(hint_x), hy = signed_hint(hint_y), hz = signed_hint(hint_z);

  const double s = qv::internal::clamp_unit(-m2);
  double ry1;
  if (std::fabs(std::fabs(s) - 1.0) < 1e-12)
    ry1 = s < 0.0 ? -qv::internal::kHalfPi : qv::internal::kHalfPi;
  else
    ry1 = std::asin(s);
  const double ry2 = (ry1 > 0.0 ? kPi : -kPi) - ry1;

  double rx, ry, rz;
  if (std::fabs(std::cos(ry1)) > 1e-6) {
    double cand_x[2], cand_z[2], score[2];
    const double cand_y[2] = {ry1, ry2};
    for (int i = 0; i < 2; ++i) {
      const double inv_c = 1.0 / std::cos(cand_y[i]);
      cand_x[i] = angle_of_q(m6 * inv_c, m10 * inv_c);
      cand_z[i] = angle_of_q(m1 * inv_c, m0 * inv_c);
      score[i] = angle_distance(cand_x[i], hx) + angle_distance(cand_z[i], hz);
    }
    const int pick = score[1] > score[0] ? 0 : 1;
    rx = cand_x[pick];
    ry = cand_y[pick];
    rz = cand_z[pick];
  } else {
    if (std::sin(ry1) > 0.0) {
      double a = angle_of_q(m4, m5);
      if (std::fabs(a) < 1e-6) {
        rx = rz = (hx + hz) / 2.0;
      } else {
        const double d = hx - hz;
        if (std::fabs(d) >= 1e-12)
          a = a - d;
        const double h = a / 2.0;
        rx = hx + h;
        rz = hz - h;
      }
    } else {
      double b = angle_of_q(-m4, m5);
      const double e = hx + hz;
      if (std::fabs(b) < 1e-6) {
        rx = rz = -e / 2.0;
      } else {
        if (std::fabs(e) >= 1e-12)
          b = b - e;
        const double h = b / 2.0;
        rx = hx + h;
        rz = hz + h;
      }
    }
    qv::internal::settle_gimbal_lock(rx, ry, rz, ry1, ry2, hx, hy, hz);
  }

  euler.x = nearest_turn(rx, hint_x);
  euler.y = nearest_turn(ry, hint_y);
  euler.z = nearest_turn(rz, hint_z);
}
