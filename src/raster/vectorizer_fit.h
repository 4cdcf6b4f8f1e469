#ifndef QV_SRC_RASTER_VECTORIZER_FIT_H
#define QV_SRC_RASTER_VECTORIZER_FIT_H

#include <qv/QvArray.h>
#include <qv/QvPoint.h>
#include <qv/QvTypes.h>

namespace qv::internal {

// Unit tangent at index k of a closed run of unit steps: points holds n
// points whose last repeats the first. Differences over two to four steps on
// either side, wrapping round the seam near the ends; a single step on either
// side when those cancel. A vector of no length comes back as it is.
QvPoint2<double> outline_tangent(const QvPoint2fArray& points, QvULong k);

}  // namespace qv::internal

#endif  // QV_SRC_RASTER_VECTORIZER_FIT_H
