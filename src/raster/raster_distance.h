#ifndef QV_SRC_RASTER_RASTER_DISTANCE_H
#define QV_SRC_RASTER_RASTER_DISTANCE_H

#include <qv/QvRaster.h>

namespace qv::internal {

// The distance maps computed with double offsets throughout, the form that
// rasters too large for exact integer offsets take. The public members choose
// integer offsets where the two agree; tests hold them against this one.
void distance_map_in_doubles(QvRaster<double>& raster, QvRaster<unsigned char> const& mask,
                             bool squared_euclidean);

}  // namespace qv::internal

#endif  // QV_SRC_RASTER_RASTER_DISTANCE_H
