#ifndef QV_QVSHAPESETOPS_H
#define QV_QVSHAPESETOPS_H

#include <qv/QvArray.h>
#include <qv/QvPoint.h>
#include <qv/QvTypes.h>

class QvGC;
class QvShape2f;
template <class T>
class QvRaster;

// Set operations of two shapes on pixels. Each shape is hard-filled through
// its byte Fill into a cleared raster of out's size; out then gets 255 where
// the condition holds and keeps its value elsewhere: these only add pixels.
// A null shape counts as an empty one.
QV_API void QvShape2f_UnionAB(const QvGC& gc, const QvShape2f* a, const QvShape2f* b,
                              QvRaster<unsigned char>& out);
QV_API void QvShape2f_IntersectionAB(const QvGC& gc, const QvShape2f* a, const QvShape2f* b,
                                     QvRaster<unsigned char>& out);
QV_API void QvShape2f_DifferenceAB(const QvGC& gc, const QvShape2f* a, const QvShape2f* b,
                                   QvRaster<unsigned char>& out);

// Appends the convex hull of count points to hull (not cleared first) and
// returns 1, or returns 0 and appends nothing: for no point, a null array or
// a non-finite coordinate. At most count points are appended.
QV_API QvLong QvGetConvexHull2D(QvLong count, QvPoint2<float>* points, QvPoint2fArray* hull);

// Appends to out the convex polygon grown by distance (clamped at 0), its
// corners rounded by chords every angleStep degrees; a single point becomes a
// circle. polygon must be convex and keep one orientation; either orientation
// grows outward. polygon is not changed and may be out itself. A step that is
// not positive, or finer than 1e-4 degree, appends nothing.
QV_API void QvExpandConvexPolygon2D(QvPoint2fArray& polygon, double distance, double angleStep,
                                    QvPoint2fArray* out);

#endif  // QV_QVSHAPESETOPS_H
