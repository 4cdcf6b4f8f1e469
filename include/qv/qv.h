#ifndef QV_QV_H
#define QV_QV_H

// Everything the library offers a host.
#include <qv/QvTypes.h>
#include <qv/QvPoint.h>
#include <qv/QvArray.h>
#include <qv/QvCriticalSection.h>
#include <qv/QvTrace.h>
#include <qv/QvTransfo4.h>
#include <qv/QvQuat.h>
#include <qv/QvIsoView.h>
#include <qv/QvBezierTool.h>
#include <qv/QvSpline.h>
#include <qv/QvBaseFCurve.h>
#include <qv/QvStdFCurve.h>
#include <qv/QvRawFCurve.h>
#include <qv/QvQuatFCurve.h>
#include <qv/QvBooleanFCurve.h>
#include <qv/QvIntegerFCurve.h>
#include <qv/QvFCurveMovers.h>
#include <qv/QvRaster.h>
#include <qv/QvGC.h>
#include <qv/QvShape2f.h>
#include <qv/QvPath2f.h>
#include <qv/QvPath2fProp1d.h>
#include <qv/QvPathBuilder.h>
#include <qv/QvFill.h>
#include <qv/QvMotionPath3d.h>
#include <qv/QvRect2f.h>
#include <qv/QvOval2f.h>
#include <qv/QvShapeSetOps.h>
#include <qv/QvVectorizer.h>
#include <qv/QvMorpher.h>
#include <qv/QvMipPath2fProp1d.h>

#endif
