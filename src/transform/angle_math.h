#ifndef QV_TRANSFORM_ANGLE_MATH_H
#define QV_TRANSFORM_ANGLE_MATH_H

// Angle helpers shared by the transform, the quaternion and the rotation extractions. The
// constants are written out so that every build rounds them the same way.
namespace qv::internal {

constexpr double kPi = 3.141592653589793;
constexpr double kHalfPi = 1.5707963267948966;
constexpr double kTwoPi = 6.283185307179586;
constexpr double kInvTwoPi = 0.15915494309189535;
constexpr double kDegToRad = 0.017453292519943295;
constexpr double kRadToDeg = 57.29577951308232;

// Cosines and sines of the build operations are snapped so that quarter turns give exact
// zeros and ones: |v| < 1e-7 gives 0, then within 1e-7 of 1 or -1 gives 1 or -1.
double snap_unit(double v);

double clamp_unit(double v);

// a - floor(a / 2pi) 2pi, in [0, 2pi) up to rounding.
double wrap_to_turn(double a);

// h - floor((h + pi) / 2pi) 2pi, in [-pi, pi).
double signed_hint(double h);

// The angle whose sine and cosine are s and c, both clamped first. The arcsine is used when
// |c| exceeds `threshold`, where it is the better conditioned of the two; the result lies in
// [-pi, pi].
double angle_of(double s, double c, double threshold);

// Distance between two angles on the circle, in [0, pi].
double angle_distance(double a, double b);

// Moves `angle` by whole turns to within half a turn of `hint`.
double nearest_turn(double angle, double hint);

// The gimbal-lock tail of the Euler extractions. Only rx - rz or rx + rz is fixed there, and
// turning both by half a turn keeps the rotation: of (rx, rz) and (rx + pi, rz + pi), each wrapped
// into a turn, the pair nearer to the hints (hx, hz) is kept, the turned one on a tie. Of the two
// y angles the one nearer to hy becomes ry, ry2 on a tie.
void settle_gimbal_lock(double& rx, double& ry, double& rz, double ry1, double ry2, double hx,
                        double hy, double hz);

// Direction of a unit vector (c, s), in [0, 2pi): the arcsine when |c| exceeds 1/sqrt(2),
// the arccosine otherwise.
double heading_of(double c, double s);

}  // namespace qv::internal

#endif
