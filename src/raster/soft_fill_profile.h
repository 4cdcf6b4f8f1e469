// The falloff of a soft edge: the context's gradient curve on 0 .. 1.
#ifndef QV_RASTER_SOFT_FILL_PROFILE_H
#define QV_RASTER_SOFT_FILL_PROFILE_H

class QvGC;

namespace qv::internal {

// The gradient curve's value at t, unclamped.
double gradient_profile(const QvGC& gc, double t);

}  // namespace qv::internal

#endif  // QV_RASTER_SOFT_FILL_PROFILE_H
