#include <qv/QvBezierTool.h>

QvULong QvBezierTool::OpenFit(const QvPoint2fArray&, double, QvULong, double, QvLong, QvPath2f*,
                              QvLong) {
  return 0;
}

QvULong QvBezierTool::ClosedFit(const QvPoint2fArray&, double, QvULong, double, QvLong,
                                QvPath2f*) {
  return 0;
}

QvLong QvBezierTool::SingleCurveFitC0C0(const QvPoint2fArray&, const QvDoubleArray&, QvULong,
                                        QvULong, double, QvULong, QvPoint2<float>*, QvULong&) {
  return 0;
}

QvLong QvBezierTool::SingleCurveFitG1C0(const QvPoint2fArray&, const QvDoubleArray&, QvULong,
                                        QvULong, const QvPoint2<double>&, double, QvULong,
                                        QvPoint2<float>*, QvULong&) {
  return 0;
}

QvLong QvBezierTool::SingleCurveFitC0G1(const QvPoint2fArray&, const QvDoubleArray&, QvULong,
                                        QvULong, const QvPoint2<double>&, double, QvULong,
                                        QvPoint2<float>*, QvULong&) {
  return 0;
}

QvLong QvBezierTool::SingleCurveFitG1G1(const QvPoint2fArray&, const QvDoubleArray&, QvULong,
                                        QvULong, const QvPoint2<double>&,
                                        const QvPoint2<double>&, double, QvULong,
                                        QvPoint2<float>*, QvULong&) {
  return 0;
}

QvLong QvBezierTool::SingleCubicFitG1C0(const QvPoint2dArray&, const QvDoubleArray&, QvULong,
                                        QvULong, const QvPoint2<double>&, double,
                                        QvPoint2<double>*, QvULong&) {
  return 0;
}
