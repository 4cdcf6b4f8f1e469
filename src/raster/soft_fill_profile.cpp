#include "raster/soft_fill_profile.h"

#include <qv/QvGC.h>
#include <qv/QvStdFCurve.h>

namespace qv::internal {

double gradient_profile(const QvGC& gc, double t) { return gc.GetGradientFCurve().Eval(t, 0); }

}  // namespace qv::internal
