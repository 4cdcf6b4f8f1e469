#ifndef QV_SRC_FCURVE_ROTATION_VIEW_H
#define QV_SRC_FCURVE_ROTATION_VIEW_H

#include <qv/QvQuatFCurve.h>

// Constants shared by the files of the rotation view.
namespace qv::internal {

constexpr QvULong kNoRotationKey = 0xFFFFFFFFu;
constexpr double kRotationKeyTolerance = 1e-15;  // parameters of keys compare this close

}  // namespace qv::internal

#endif
