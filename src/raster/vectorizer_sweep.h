#ifndef QV_SRC_RASTER_VECTORIZER_SWEEP_H
#define QV_SRC_RASTER_VECTORIZER_SWEEP_H

#include <qv/QvTypes.h>

class QvPath2f;
template <class T>
class QvRaster;

namespace qv::internal {

// Sides and sizes of the sweep, shared with the tests.
constexpr QvLong kVectorizerMaxSide = 32766;  // exclusive bound on width and height
constexpr double kThresholdOff = 1e-09;       // a threshold at or below this is off

// The whole sweep of QvVectorizer::Vectorize: appends one closed subpath per
// kept contour to path and returns the number of points added. Thresholds are
// taken as given (the caller stores absolute values). A raster with no pixels,
// a null block or a side of kVectorizerMaxSide or more adds nothing.
QvULong vectorize_sweep(const QvRaster<unsigned char>& raster, unsigned char value,
                        double perimeter_threshold, double area_threshold, QvPath2f& path);

}  // namespace qv::internal

#endif  // QV_SRC_RASTER_VECTORIZER_SWEEP_H
