#include <qv/QvTransfo4.h>

#include <cmath>

#include "transform/angle_math.h"

// Splitting a transform back into the parameters that build it: Euler angles nearest to a
// hint, scale-rotation-translation, and the 2D scale-shear-rotation about a centre.

using qv::internal::angle_distance;
using qv::internal::angle_of;
using qv::internal::clamp_unit;
using qv::internal::kPi;
using qv::internal::kRadToDeg;
using qv::internal::nearest_turn;
using qv::internal::signed_hint;

namespace {

// Near a quarter turn of y the arcsine is well conditioned while the arccosine is not; this
// shorter constant is the one the extraction has always used.
constexpr double kAngleOfThreshold = 0.707106781;

double angle_of_m(double s, double c) {
  return angle_of(s, c, kAngleOfThreshold);
}

}  // namespace

// The upper 3x3 is Rz Ry Rx. Two triples (rx, ry, rz) and (rx + pi, pi - ry, rz + pi) give
// each rotation away from gimbal lock, and at ry = +-pi/2 only rx - rz or rx + rz is fixed.
// Of these the one nearest to the hints is returned, then each angle is moved by whole turns
// to within half a turn of its hint, so that a run of keys extracted in order stays
// continuous.
void QvTransfo4::ExtractXYZRotationAngles(QvPoint3<double>& angles) const {
  const double* m = m_matrix;
  const double hint_x = angles.x, hint_y = angles.y, hint_z = angles.z;
  const double hx = signed_hint(hint_x), hy = signed_hint(hint_y), hz = signed_hint(hint_z);

  const double s = clamp_unit(-m[2]);
  const double ry1 = std::asin(s);
  const double ry2 = (ry1 > 0.0 ? kPi : -kPi) - ry1;

  double rx, ry, rz;
  if (std::fabs(std::cos(ry1)) > 1e-5) {
    double cand_x[2], cand_z[2], score[2];
    const double cand_y[2] = {ry1, ry2};
    for (int i = 0; i < 2; ++i) {
      const double c = std::cos(cand_y[i]);
      cand_x[i] = angle_of_m(m[6] / c, m[10] / c);
      cand_z[i] = angle_of_m(m[1] / c, m[0] / c);
      score[i] = angle_distance(cand_x[i], hx) + angle_distance(cand_y[i], hy) +
                 angle_distance(cand_z[i], hz);
    }
    const int pick = score[1] > score[0] ? 0 : 1;
    rx = cand_x[pick];
    ry = cand_y[pick];
    rz = cand_z[pick];
  } else {
    if (ry1 > 0.0) {
      // m[4] = sin(rx - rz), m[5] = cos(rx - rz): share the difference out from the hints.
      double a = angle_of_m(m[4], m[5]);
      const double d = hx - hz;
      if (std::fabs(d) >= 1e-5)
        a = a - d;
      const double h = a / 2.0;
      rz = hz - h;
      rx = hx + h;
    } else {
      // -m[4] = sin(rx + rz), m[5] = cos(rx + rz): share the sum out likewise.
      const double b = angle_of_m(-m[4], m[5]);
      const double d = hx + hz;
      double a = std::fabs(b) < 1e-5 ? d / 2.0 : b;
      if (std::fabs(d) >= 1e-5)
        a = a - d;
      const double h = a / 2.0;
      rz = hz + h;
      rx = hx + h;
    }
    qv::internal::settle_gimbal_lock(rx, ry, rz, ry1, ry2, hx, hy, hz);
  }

  angles.x = nearest_turn(rx, hint_x);
  angles.y = nearest_turn(ry, hint_y);
  angles.z = nearest_turn(rz, hint_z);
}

void QvTransfo4::ExtractTransforms(QvPoint3<double>& scale, QvPoint3<double>& rotation,
                                   QvPoint3<double>& translation) const {
  const double* m = m_matrix;
  const double lx = std::sqrt(m[0] * m[0] + m[1] * m[1] + m[2] * m[2]);
  const double ly = std::sqrt(m[4] * m[4] + m[5] * m[5] + m[6] * m[6]);
  const double lz = std::sqrt(m[8] * m[8] + m[9] * m[9] + m[10] * m[10]);
  QvTransfo4 unit(*this);
  double* u = unit.m_matrix;
  for (int r = 0; r < 3; ++r) {
    u[r] /= lx;
    u[4 + r] /= ly;
    u[8 + r] /= lz;
  }
  QvPoint3<double> angles = rotation;
  unit.ExtractXYZRotationAngles(angles);
  scale.x = lx;
  scale.y = ly;
  scale.z = lz;
  rotation.x = angles.x * kRadToDeg;
  rotation.y = angles.y * kRadToDeg;
  rotation.z = angles.z * kRadToDeg;
  translation.x = m[12];
  translation.y = m[13];
  translation.z = m[14];
}

// The 2x2 [a c; b d] is read as R(angle) [sx, shear sy; 0, sy]: the first column fixes the
// rotation and sx, the determinant fixes sy, and what is left of the second column is shear.
QvLong QvTransfo4::DecomposeXY(QvPoint2<double> const& centre, double& sx, double& sy,
                               double& shear, double& angle,
                               QvPoint2<double>& translation) const {
  const double a = m_matrix[0], b = m_matrix[1], c = m_matrix[4], d = m_matrix[5];
  double out_sx, out_sy, out_shear, out_angle;
  if (std::fabs(b) <= 1e-15 && std::fabs(c) <= 1e-15) {
    out_sx = a;
    out_sy = d;
    out_shear = 0.0;
    out_angle = 0.0;
  } else if (std::fabs(a) <= 1e-15 && std::fabs(d) <= 1e-15) {
    out_sx = b;
    out_sy = -c;
    out_shear = 0.0;
    out_angle = 90.0;
  } else {
    out_sx = std::sqrt(a * a + b * b);
    if (!(out_sx >= 1e-15))
      return 0;
    const double det = a * d - b * c;
    if (!(std::fabs(det) >= 1e-15))
      return 0;
    out_sy = det / out_sx;
    out_shear = (b * d + a * c) / det;
    out_angle = qv::internal::heading_of(a / out_sx, b / out_sx) * kRadToDeg;
    if (out_angle < 0.0)
      out_angle = 0.0;
    if (out_angle >= 360.0)
      out_angle = 0.0;
  }
  const QvPoint2<double> moved = Map(centre);
  sx = out_sx;
  sy = out_sy;
  shear = out_shear;
  angle = out_angle;
  translation.x = moved.x - centre.x;
  translation.y = moved.y - centre.y;
  return 1;
}

QvTransfo4& QvTransfo4::RecomposeXY(QvPoint2<double> const& centre, double sx, double sy,
                                    double shear, double angle,
                                    QvPoint2<double> const& translation) {
  const double rad = angle * qv::internal::kDegToRad;
  const double c = qv::internal::snap_unit(std::cos(rad));
  const double s = qv::internal::snap_unit(std::sin(rad));
  const double cx = centre.x, cy = centre.y;
  const double tx = translation.x, ty = translation.y;
  SetToIdentity();
  double* m = m_matrix;
  m[0] = sx * c;
  m[1] = sx * s;
  m[4] = c * shear * sy - s * sy;
  m[5] = c * sy + s * shear * sy;
  // The centre goes to centre + translation.
  m[12] = cx + tx - (m[0] * cx + m[4] * cy);
  m[13] = cy + ty - (m[1] * cx + m[5] * cy);
  return *this;
}
