#ifndef QV_QVTRANSFO4_H
#define QV_QVTRANSFO4_H

#include <iosfwd>

#include <qv/QvPoint.h>
#include <qv/QvTypes.h>

// A 4x4 matrix of doubles, stored column by column: the element in row r and column c lies at
// index r + 4c. Points are column vectors mapped as M p. Every build operation post-multiplies,
// so in a chain of calls the one made last acts first on a point. Angles of the build
// operations are in degrees. The bottom row is carried through products but never divides:
// mapping a 2D or 3D point ignores it.
class QV_API QvTransfo4 {
 public:
  QvTransfo4();
  QvTransfo4(const QvTransfo4& other);
  QvTransfo4(double const* matrix);  // 16 doubles in storage order
  QvTransfo4& operator=(const QvTransfo4& other);

  // Identity and access.
  void SetToIdentity();
  QvTransfo4& ResetToIdentity();
  void GetMatrix(double* matrix) const;
  void SetMatrix(double const* matrix);
  double* GetMatrixPtr();
  double const* GetMatrixPtr() const;
  double GetMatrixElement(QvULong row, QvULong col) const;  // unchecked
  void SwapRows(QvULong r1, QvULong r2);
  // `out` must be another object: it is written element by element while this one is read.
  void Transpose(QvTransfo4& out) const;

  // Composition; both are safe when `b` is this object.
  QvTransfo4& PostMultiply(const QvTransfo4& b);  // M = M B
  QvTransfo4& PreMultiply(const QvTransfo4& b);   // M = B M

  // Build operations: each one post-multiplies M by an elementary matrix.
  QvTransfo4& Translate(double x, double y, double z);
  QvTransfo4& Translate(QvPoint3<double> const& t);
  QvTransfo4& Translate(QvPoint3<float> const& t);
  QvTransfo4& Translate(QvPoint2<double> const& t, double z);
  QvTransfo4& Translate(QvPoint2<float> const& t, double z);
  QvTransfo4& Translate(QvPoint2<float> const& t, float z);

  QvTransfo4& Scale(double sx, double sy, double sz);
  QvTransfo4& Scale(double s);
  QvTransfo4& Scale(double sx, double sy, double sz, QvPoint3<double> const& centre);
  QvTransfo4& Scale(double sx, double sy, double sz, QvPoint3<float> const& centre);
  QvTransfo4& ScaleXY(double sx, double sy, QvPoint2<double> const& centre);

  QvTransfo4& Rotate(double angle, double x, double y, double z);
  QvTransfo4& Rotate(double angle, QvPoint3<double> const& p1, QvPoint3<double> const& p2);
  QvTransfo4& Rotate(double angle, QvPoint3<float> const& p1, QvPoint3<float> const& p2);
  QvTransfo4& RotateXY(double angle, QvPoint2<double> const& centre);
  // Turns about `centre` by the angle from (from - centre) to (to - centre), told in 0 to 360.
  // M is left unchanged when either vector is degenerate.
  QvTransfo4& RotateXY(QvPoint2<double> const& centre, QvPoint2<double> const& from,
                       QvPoint2<double> const& to);
  // Turns a point about X first, then Y, then Z.
  QvTransfo4& RotateXYZ(QvPoint3<double> const& angles);

  QvTransfo4& ShearXZ(double a, double b);  // x' = x + a y, z' = z + b y
  QvTransfo4& ShearYZ(double a, double b);  // y' = y + a x, z' = z + b x
  QvTransfo4& ShearXY(double a, double b);  // x' = x + a z, y' = y + b z
  QvTransfo4& ShearXZ(double a, double b, QvPoint3<double> const& centre);
  QvTransfo4& ShearYZ(double a, double b, QvPoint3<double> const& centre);
  QvTransfo4& ShearXY(double a, double b, QvPoint3<double> const& centre);

  // Frames from points. These overwrite M.
  QvTransfo4& SetTo4PointTransform(QvPoint3<double> const& p0, QvPoint3<double> const& p1,
                                   QvPoint3<double> const& p2, QvPoint3<double> const& p3);
  QvTransfo4& SetTo3PointTransformXY(QvPoint3<double> const& p0, QvPoint3<double> const& p1,
                                     QvPoint3<double> const& p2);
  // The 2D affine map taking src[i] to dst[i], three points each. Returns 0 and leaves M
  // untouched when the source triangle is degenerate.
  QvLong SetTo3PointTransformXY(QvPoint2<double> const* src, QvPoint2<double> const* dst);

  // Mapping. Float points are widened, mapped in double and narrowed. The two-operand forms
  // write the output while still reading the input, so the two must not overlap; use the
  // MapInPlace forms for that. An extent that is not bounded passes through unchanged.
  void Map(double const* in, double* out) const;  // all four rows on a 4-vector

  QvPoint2<float> Map(QvPoint2<float> const& p) const;
  void Map(QvPoint2<float> const& in, QvPoint2<float>& out) const;
  void MapInPlace(QvPoint2<float>& p) const;
  QvPoint2<double> Map(QvPoint2<double> const& p) const;
  void Map(QvPoint2<double> const& in, QvPoint2<double>& out) const;
  void MapInPlace(QvPoint2<double>& p) const;
  QvPoint3<float> Map(QvPoint3<float> const& p) const;
  void Map(QvPoint3<float> const& in, QvPoint3<float>& out) const;
  void MapInPlace(QvPoint3<float>& p) const;
  QvPoint3<double> Map(QvPoint3<double> const& p) const;
  void Map(QvPoint3<double> const& in, QvPoint3<double>& out) const;
  void MapInPlace(QvPoint3<double>& p) const;
  QvExtent2<float> Map(QvExtent2<float> const& e) const;
  void Map(QvExtent2<float> const& in, QvExtent2<float>& out) const;
  void MapInPlace(QvExtent2<float>& e) const;
  QvExtent2<double> Map(QvExtent2<double> const& e) const;
  void Map(QvExtent2<double> const& in, QvExtent2<double>& out) const;
  void MapInPlace(QvExtent2<double>& e) const;

  // Array forms: `out` holds at least n points and must not overlap `in`.
  void Map(QvPoint2<float> const* in, QvULong n, QvPoint2<float>* out) const;
  void MapInPlace(QvPoint2<float>* p, QvULong n) const;
  void Map(QvPoint2<double> const* in, QvULong n, QvPoint2<double>* out) const;
  void MapInPlace(QvPoint2<double>* p, QvULong n) const;
  void Map(QvPoint3<float> const* in, QvULong n, QvPoint3<float>* out) const;
  void MapInPlace(QvPoint3<float>* p, QvULong n) const;
  void Map(QvPoint3<double> const* in, QvULong n, QvPoint3<double>* out) const;
  void MapInPlace(QvPoint3<double>* p, QvULong n) const;

  // Tests and measures.
  QvLong IsIdentity() const;
  QvLong IsTranslation() const;
  QvLong IsScalingAndTranslation() const;
  QvLong IsSingular() const;
  QvLong TestInverse() const;
  double GetXYUnitVectorSquaredLength() const;
  // Sums the three columns but squares only the x and y rows: the z row takes no part.
  double GetXYZUnitVectorSquaredLength() const;

  // Gauss-Jordan inversion; `out` may be this object. On failure returns 0 and `out` holds
  // the elimination as far as it got.
  QvLong Inverse(QvTransfo4& out) const;

  // Reads the upper 3x3 as Rz Ry Rx, in radians. `angles` carries hint angles on entry and
  // receives, of all triples that give the rotation, the one nearest to the hints.
  void ExtractXYZRotationAngles(QvPoint3<double>& angles) const;
  // `rotation` is the hint on entry, read in radians; it comes back in degrees.
  void ExtractTransforms(QvPoint3<double>& scale, QvPoint3<double>& rotation,
                         QvPoint3<double>& translation) const;

  // Splits the upper-left 2x2 into scale, shear and rotation (degrees) about `centre`.
  // Returns 0, outputs untouched, when the 2x2 is singular.
  QvLong DecomposeXY(QvPoint2<double> const& centre, double& sx, double& sy, double& shear,
                     double& angle, QvPoint2<double>& translation) const;
  // The inverse of DecomposeXY; overwrites M.
  QvTransfo4& RecomposeXY(QvPoint2<double> const& centre, double sx, double sy, double shear,
                          double angle, QvPoint2<double> const& translation);

 private:
  double m_matrix[16];
};

// Four lines, one per matrix row: "{a b c d}".
QV_API std::ostream& operator<<(std::ostream& os, QvTransfo4 const& t);

#endif
