#ifndef QV_QVRECT2F_H
#define QV_QVRECT2F_H

#include <qv/QvArray.h>
#include <qv/QvPoint.h>
#include <qv/QvShape2f.h>
#include <qv/QvTypes.h>

class QvGC;
class QvPath2f;
class QvTransfo4;
template <class T>
class QvRaster;

// A parallelogram held as three corners, so that every affine map keeps it
// exact. The fourth corner is cornerB + cornerC - cornerA. Its nine handles let
// a client move, turn, scale and skew it.
class QV_API QvRect2f : public QvShape2f {
 public:
  // The anchor of a handle operation; any other value anchors at (0, 0).
  enum CenterStyle : QvLong {
    CenterStyleCentre = 0,
    CenterStyleOpposite = 1
  };

  QvRect2f();
  QvRect2f(const QvRect2f& other);
  // Opposite corners of an axis-aligned box: cornerA is the first.
  QvRect2f(const QvPoint2<float>& cornerA, const QvPoint2<float>& opposite);
  QvRect2f(const QvPoint2<float>& cornerA, const QvPoint2<float>& cornerB,
           const QvPoint2<float>& cornerC);
  // A corner with the lengths of the sides along +x and +y.
  QvRect2f(const QvPoint2<float>& corner, float width, float height);
  ~QvRect2f() override;

  QvRect2f& operator=(const QvRect2f& other);
  // Copies the points of another QvRect2f; any other kind leaves this as it is.
  QvShape2f& operator=(const QvShape2f& other) override;

  // --- Slots of QvShape2f ---------------------------------------------------
  QvShape2f* QueryShapeKind(Kind kind) const override;
  QvShape2f* Clone() const override;
  // Always 9: the centre, then the corners and side middles in turn.
  QvULong NumPoints() const override;
  // The box of the four corners; for an oval an outer bound.
  QvExtent2<double>& GetExtent(QvExtent2<double>& extent) const override;
  QvExtent2<float>& GetExtent(QvExtent2<float>& extent) const override;
  QvExtent2<double>& GetTightExtent(QvExtent2<double>& extent) const override;
  QvExtent2<float>& GetTightExtent(QvExtent2<float>& extent) const override;
  // Handle index of 9 or more gives (0, 0).
  QvPoint2<float> GetPoint(QvULong index) override;
  // Handle index of 9 or more returns 0 and leaves point as it was.
  QvLong GetPoint(QvULong index, QvPoint2<float>& point) const override;
  // Copies handles first to last inclusive into out, which must hold
  // last - first + 1 points; handles from 9 on are not written.
  QvPoint2<double>* GetPoints(QvULong first, QvULong last, QvPoint2<double>* out) const override;
  QvPoint2<float>* GetPoints(QvULong first, QvULong last, QvPoint2<float>* out) const override;
  QvLong GetClosePointIndex(const QvPoint2<float>& point, double size,
                            QvULong* index) const override;
  QvULong GetPointsInExtentIndices(const QvExtent2<float>& extent,
                                   QvULongArray* indices) const override;
  QvLong IsIntersectingExtent(const QvGC& gc, const QvExtent2<float>& extent,
                              QvLong skipQuickTest) const override;
  QvLong IsInteriorIntersectingExtent(const QvGC& gc, const QvExtent2<float>& extent,
                                      QvLong skipQuickTest) const override;
  QvULong IntersectSamplePointsExtent(const QvGC& gc, const QvExtent2<float>& extent,
                                      QvPoint2fArray& points, QvPointTagArray& tags,
                                      QvLong skipQuickTest) const override;
  QvShape2f& Translate(const QvPoint2<float>& offset) override;
  QvShape2f& Rotate(double angle, const QvPoint2<float>& center) override;
  QvShape2f& Scale(double sx, double sy, const QvPoint2<float>& center) override;
  QvShape2f& ShearX(double factor, double origin) override;
  QvShape2f& ShearY(double factor, double origin) override;
  QvShape2f& Transform(const QvTransfo4& transform) override;
  QvULong Flatten(const QvGC& gc, QvPoint2fArray& points, QvPointTagArray& tags) const override;
  QvULong Sample(const QvGC& gc, QvPoint2fArray& points, QvPointTagArray& tags) const override;
  // Paints every pixel whose centre lies in the mapped shape at the type's
  // full value. The poll and the clip box are not consulted.
  void Fill(const QvGC& gc, QvRaster<short>& raster, QvLong (*poll)(void),
            const tqRnBbox2l* clip) const override;
  void Fill(const QvGC& gc, QvRaster<float>& raster, QvLong (*poll)(void),
            const tqRnBbox2l* clip) const override;
  void Fill(const QvGC& gc, QvRaster<unsigned char>& raster, QvLong (*poll)(void),
            const tqRnBbox2l* clip) const override;
  void AAFill(const QvGC& gc, QvRaster<short>& raster, QvLong (*poll)(void),
              const tqRnBbox2l* clip) const override;
  void AAFill(const QvGC& gc, QvRaster<float>& raster, QvLong (*poll)(void),
              const tqRnBbox2l* clip) const override;
  void AAFill(const QvGC& gc, QvRaster<unsigned char>& raster, QvLong (*poll)(void),
              const tqRnBbox2l* clip) const override;
  void SoftFill(const QvGC& gc, QvRaster<short>& raster, QvLong (*poll)(void)) const override;
  void SoftFill(const QvGC& gc, QvRaster<float>& raster, QvLong (*poll)(void)) const override;
  void SoftFill(const QvGC& gc, QvRaster<unsigned char>& raster,
                QvLong (*poll)(void)) const override;
  void Stroke(const QvGC& gc, QvRaster<unsigned char>& raster) const override;
  // 32 bytes: the length word 28, the kind, then cornerA, cornerB, cornerC.
  QvULong WriteToBuffer(void* buffer) const override;
  QvULong GetBufferSize() const override;
  // Returns 28, or 0 with nothing changed for a body of another kind or a
  // length word under 28.
  QvULong ReadFromBufferBody(const void* body) override;

  // --- Size ---------------------------------------------------------------
  float GetWidth() const;
  float GetHeight() const;
  float GetWidthf() const;
  float GetHeightf() const;
  double GetWidthd() const;
  double GetHeightd() const;
  // Moves cornerB (cornerC) along its side so that the side has the given
  // length; a collapsed side is laid along +x.
  void SetWidth(float width);
  void SetWidth(double width);
  void SetHeight(float height);
  void SetHeight(double height);
  QvPoint2<float> GetCenter() const;

  // Sets every pixel from the context's gradient curve by its position in
  // the shape; pixels outside keep (rectangle) or get 0 (oval).
  void RadialFill(const QvGC& gc, QvRaster<unsigned char>& raster) const;
  void RadialFill(const QvGC& gc, QvRaster<short>& raster) const;
  void RadialFill(const QvGC& gc, QvRaster<float>& raster) const;

  // --- Dragging by the handles ----------------------------------------------
  // Handles are those of GetPoint; the opposite of handle h (1 to 8) is
  // ((h + 3) & 7) + 1. A handle of 9 or more fails with 0 and changes nothing.
  QvLong HandleTranslate(QvULong handle, const QvPoint2<float>& target);
  // Returns 0 when the handle or the target stands on the anchor.
  QvLong HandleRotate(QvULong handle, const QvPoint2<float>& target, CenterStyle style);
  // Scales along the sides' own directions so that the handle follows the
  // target and the anchor stays; a handle on its anchor skews instead.
  QvLong HandleScale(QvULong handle, const QvPoint2<float>& target, CenterStyle style);
  QvLong HandleScale(QvULong handle, const QvPoint2<float>& target,
                     const QvPoint2<float>& anchor);
  // The style given as a plain number, 0 centre, 1 opposite, anything else
  // the origin. Without these, HandleScale(h, target, 1) would turn the 1
  // into the anchor point (1, 0).
  QvLong HandleRotate(QvULong handle, const QvPoint2<float>& target, QvLong style);
  QvLong HandleScale(QvULong handle, const QvPoint2<float>& target, QvLong style);
  // Moves the corners of the handle's side (or of the corner's two sides); a
  // handle outside 1 to 8 changes nothing and still returns 1.
  QvLong HandleSkew(QvULong handle, const QvPoint2<float>& target);
  // The anchor plays no part in a skew; the form exists for symmetry with
  // HandleScale.
  QvLong HandleSkew(QvULong handle, const QvPoint2<float>& target,
                    const QvPoint2<float>& anchor);

 protected:
  QvPoint2<float> cornerA;
  // Next to cornerA along the first side (the width).
  QvPoint2<float> cornerB;
  // Next to cornerA along the second side (the height).
  QvPoint2<float> cornerC;

 private:
  friend class QvPath2f;
  // Appends the outline as a closed subpath.
  void SetupPathRep(QvPath2f& path) const;
  // Copies the three corners under the lock.
  void SetupPointRep(QvPoint2<float>& a, QvPoint2<float>& b, QvPoint2<float>& c) const;
};

#endif  // QV_QVRECT2F_H
