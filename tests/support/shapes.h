#ifndef QV_TESTS_SUPPORT_SHAPES_H
#define QV_TESTS_SUPPORT_SHAPES_H

// Small shape builders shared by the path, rectangle, set operation and morph suites.

#include <qv/QvPath2fProp1d.h>

#include <cstddef>
#include <vector>

namespace qv::test {

// A float point written with double figures.
inline QvPoint2<float> P(double x, double y) {
  return QvPoint2<float>(static_cast<float>(x), static_cast<float>(y));
}

// Polylines given as runs of points, each run one subpath.
inline QvPath2fProp1d polylines(const std::vector<std::vector<QvPoint2<float>>>& runs) {
  QvPath2fProp1d path;
  for (const auto& run : runs) {
    path.Moveto(run[0]);
    for (std::size_t k = 1; k < run.size(); ++k) path.Lineto(run[k]);
  }
  return path;
}

}  // namespace qv::test

#endif
