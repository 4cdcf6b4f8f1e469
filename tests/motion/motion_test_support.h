#ifndef QV_TESTS_MOTION_SUPPORT_H
#define QV_TESTS_MOTION_SUPPORT_H

#include <qv/QvMotionPath3d.h>

#include <gtest/gtest.h>

#include "support/byte_buffer.h"

#include <vector>

using P3 = QvPoint3<double>;

inline void expect_point_near(const P3& want, const P3& got, double bound) {
  EXPECT_NEAR(want.x, got.x, bound);
  EXPECT_NEAR(want.y, got.y, bound);
  EXPECT_NEAR(want.z, got.z, bound);
}

inline std::vector<P3> all_points(const QvMotionPath3d& path) {
  std::vector<P3> out(path.NumPoints());
  if (!out.empty()) path.GetControlPoints(0, path.NumPoints() - 1, out.data(), nullptr);
  return out;
}

using qv::test::bytes_of;

#endif
