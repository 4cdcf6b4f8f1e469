#include <qv/QvBezierTool.h>

QvULong QvBezierTool::OpenFit(const QvPoint2fArray&, double, QvULong, double, QvLong, QvPath2f*,
                              QvLong) {
  return 0;
}

QvULong QvBezierTool::ClosedFit(const QvPoint2fArray&, double, QvULong, double, QvLong, QvPath2f*) {
  return 0;
}

void QvBezierTool::OpenFit2DPrivate(QvULong, const QvPoint2<double>&, QvULong,
                                    const QvPoint2<double>&, QvULong) {}
