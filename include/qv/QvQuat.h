#ifndef QV_QVQUAT_H
#define QV_QVQUAT_H

#include <qv/QvPoint.h>
#include <qv/QvTypes.h>

// A rotation as a quaternion (w, x, y, z). Euler angles are in radians with the convention of
// QvTransfo4::RotateXYZ: a point turns about X first, then Y, then Z.
class QV_API QvQuat {
 public:
  QvQuat();
  QvQuat(double w, double x, double y, double z);  // stored as given, not normalised
  QvQuat(QvPoint3<double> const& euler);           // normalised
  QvQuat(const QvQuat& other);
  QvQuat& operator=(const QvQuat& other);

  double GetW() const;
  double GetX() const;
  double GetY() const;
  double GetZ() const;
  double W() const;
  double X() const;
  double Y() const;
  double Z() const;
  void Get(double& w, double& x, double& y, double& z) const;
  // Euler angles nearest to a zero hint.
  void Get(QvPoint3<double>& euler) const;
  // Euler angles nearest to `hint`, each within half a turn of it: a run of keys converted in
  // order with the previous result as hint stays continuous. Reads a unit quaternion.
  void Get(QvPoint3<double>& euler, QvPoint3<double> const& hint) const;

  void SetIdentity();
  QvLong IsIdentity() const;
  // The conjugate, which is the inverse of a unit quaternion only.
  QvQuat& Invert();
  // All four negated: the same rotation.
  QvQuat& Negate();
  QvQuat& Normalize();

 private:
  double m_w;
  double m_x;
  double m_y;
  double m_z;
};

#endif
