#ifndef QV_TESTS_BUILDERS_BUILDER_SUPPORT_H
#define QV_TESTS_BUILDERS_BUILDER_SUPPORT_H

#include <qv/QvArray.h>
#include <qv/QvGC.h>

#include <vector>

namespace builder_test {

using P = QvPoint2<float>;

inline QvGC make_gc(double spacing, double smallest = 0.01, double tolerance = 0.1) {
  QvGC gc;
  gc.SetSamplingDistance(spacing);
  gc.SetSmallestFeatureSize(smallest);
  gc.SetFlatteningTolerance(tolerance);
  return gc;
}

inline std::vector<P> points_of(const QvPoint2fArray& a) {
  return std::vector<P>(a.data, a.data + a.size);
}

inline std::vector<double> values_of(const QvDoubleArray& a) {
  return std::vector<double>(a.data, a.data + a.size);
}

}  // namespace builder_test

#endif
