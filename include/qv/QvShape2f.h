#ifndef QV_QVSHAPE2F_H
#define QV_QVSHAPE2F_H

#include <qv/QvArray.h>
#include <qv/QvCriticalSection.h>
#include <qv/QvPoint.h>
#include <qv/QvTypes.h>

class QvGC;
class QvTransfo4;
template <class T>
class QvRaster;

// The abstract 2D shape. Paths, paths with a property, rectangles and ovals
// derive from it; rasterisers, set operations and persistence reach every
// kind through these virtual slots, whose order is part of the interface.
class QV_API QvShape2f {
 public:
  enum Kind : QvLong {
    KindNone = 0,
    KindPath = 1,
    KindRect = 2,
    KindOval = 3,
    KindPathProp = 4
  };

  QvShape2f();
  QvShape2f(const QvShape2f& other);

  virtual QvShape2f& operator=(const QvShape2f& other);
  virtual ~QvShape2f();

  // Checked downcast, exact by kind: a shape answers only to its own kind.
  virtual QvShape2f* QueryShapeKind(Kind kind) const = 0;
  virtual QvShape2f* Clone() const = 0;
  virtual QvULong NumPoints() const = 0;
  virtual QvExtent2<double>& GetExtent(QvExtent2<double>& extent) const = 0;
  virtual QvExtent2<float>& GetExtent(QvExtent2<float>& extent) const = 0;
  virtual QvExtent2<double>& GetTightExtent(QvExtent2<double>& extent) const = 0;
  virtual QvExtent2<float>& GetTightExtent(QvExtent2<float>& extent) const = 0;
  virtual QvPoint2<float> GetPoint(QvULong index) = 0;
  virtual QvLong GetPoint(QvULong index, QvPoint2<float>& point) const = 0;
  virtual QvPoint2<double>* GetPoints(QvULong first, QvULong last, QvPoint2<double>* out) const = 0;
  virtual QvPoint2<float>* GetPoints(QvULong first, QvULong last, QvPoint2<float>* out) const = 0;
  virtual QvLong GetClosePointIndex(const QvPoint2<float>& point, double size,
                                    QvULong* index) const = 0;
  virtual QvULong GetPointsInExtentIndices(const QvExtent2<float>& extent,
                                           QvULongArray* indices) const = 0;
  virtual QvLong IsIntersectingExtent(const QvGC& gc, const QvExtent2<float>& extent,
                                      QvLong skipQuickTest) const = 0;
  virtual QvLong IsInteriorIntersectingExtent(const QvGC& gc, const QvExtent2<float>& extent,
                                              QvLong skipQuickTest) const = 0;
  virtual QvULong IntersectSamplePointsExtent(const QvGC& gc, const QvExtent2<float>& extent,
                                              QvPoint2fArray& points, QvPointTagArray& tags,
                                              QvLong skipQuickTest) const = 0;
  virtual QvShape2f& Translate(const QvPoint2<float>& offset) = 0;
  virtual QvShape2f& Rotate(double angle, const QvPoint2<float>& center) = 0;
  virtual QvShape2f& Scale(double sx, double sy, const QvPoint2<float>& center) = 0;
  virtual QvShape2f& ShearX(double factor, double origin) = 0;
  virtual QvShape2f& ShearY(double factor, double origin) = 0;
  virtual QvShape2f& Transform(const QvTransfo4& transform) = 0;
  virtual QvULong Flatten(const QvGC& gc, QvPoint2fArray& points, QvPointTagArray& tags) const = 0;
  virtual QvULong Sample(const QvGC& gc, QvPoint2fArray& points, QvPointTagArray& tags) const = 0;
  virtual void Fill(const QvGC& gc, QvRaster<short>& raster, QvLong (*poll)(void),
                    const tqRnBbox2l* clip) const = 0;
  virtual void Fill(const QvGC& gc, QvRaster<float>& raster, QvLong (*poll)(void),
                    const tqRnBbox2l* clip) const = 0;
  virtual void Fill(const QvGC& gc, QvRaster<unsigned char>& raster, QvLong (*poll)(void),
                    const tqRnBbox2l* clip) const = 0;
  virtual void AAFill(const QvGC& gc, QvRaster<short>& raster, QvLong (*poll)(void),
                      const tqRnBbox2l* clip) const = 0;
  virtual void AAFill(const QvGC& gc, QvRaster<float>& raster, QvLong (*poll)(void),
                      const tqRnBbox2l* clip) const = 0;
  virtual void AAFill(const QvGC& gc, QvRaster<unsigned char>& raster, QvLong (*poll)(void),
                      const tqRnBbox2l* clip) const = 0;
  virtual void SoftFill(const QvGC& gc, QvRaster<short>& raster, QvLong (*poll)(void)) const = 0;
  virtual void SoftFill(const QvGC& gc, QvRaster<float>& raster, QvLong (*poll)(void)) const = 0;
  virtual void SoftFill(const QvGC& gc, QvRaster<unsigned char>& raster,
                        QvLong (*poll)(void)) const = 0;
  virtual void Stroke(const QvGC& gc, QvRaster<unsigned char>& raster) const = 0;
  virtual QvULong WriteToBuffer(void* buffer) const = 0;
  virtual QvULong GetBufferSize() const = 0;
  virtual QvULong ReadFromBufferBody(const void* body) = 0;

 protected:
  // Both are const so that readers can lock; the lock is recursive.
  void Lock() const;
  void Unlock() const;
  // Counts the holds already present, not the one taken to read it.
  QvLong GetLockCount() const;
  // Whether this shape's extent, mapped into raster space by the context's
  // transform, touches the given raster extent.
  QvLong IsRasterExtentIntersecting(const QvGC& gc, const QvExtent2<float>& extent) const;

  // Holds this shape's lock for a scope and releases it on every way out.
  class LockGuard {
   public:
    explicit LockGuard(const QvShape2f& shape) : m_shape(shape) { m_shape.Lock(); }
    ~LockGuard() { m_shape.Unlock(); }
    LockGuard(const LockGuard&) = delete;
    LockGuard& operator=(const LockGuard&) = delete;

   private:
    const QvShape2f& m_shape;
  };

 private:
  mutable QvCriticalSection m_section;
  // Written only under the lock, so it needs no atomic access.
  mutable QvLong m_lockCount;
};

QV_API QvULong QvShape2f_GetBufferBodyLengthSize();
QV_API QvShape2f::Kind QvShape2f_GetKindFromBufferBody(const void* body);
QV_API QvShape2f* QvShape2f_CreateFromBufferBody(const void* body, QvULong& bytesRead);

#endif  // QV_QVSHAPE2F_H
