#include <qv/QvIsoView.h>

#include <gtest/gtest.h>

#include <cmath>

#include "transform_test_support.h"

namespace {

using qvtest::mat_of;

void expect_same_view(const QvIsoView& want, const QvIsoView& got) {
  EXPECT_EQ(mat_of(want.GetViewToWorld()), mat_of(got.GetViewToWorld()));
  EXPECT_EQ(mat_of(want.GetWorldToView()), mat_of(got.GetWorldToView()));
  EXPECT_EQ(want.GetViewWidth(), got.GetViewWidth());
  EXPECT_EQ(want.GetViewHeight(), got.GetViewHeight());
}

TEST(QvIsoView, ConstructionCentresTheViewOnTheOrigin) {
  EXPECT_EQ(1, QvIsoView().GetViewToWorld().Map(QvPoint2<double>(0.5, 0.5)) == QvPoint2<double>());
  const QvIsoView v(200, 0.5, 100, 2, 3);
  EXPECT_EQ(1, v.GetViewToWorld().Map(QvPoint2<double>(0, 0)) == QvPoint2<double>(-50, -100));
  EXPECT_EQ(3.0, v.GetViewToWorld().Map(QvPoint3<double>(0, 0, 1)).z);
  EXPECT_EQ(1, v.GetWorldToView().Map(QvPoint2<double>(0, 0)) == QvPoint2<double>(100, 50));
  EXPECT_EQ(1, v.IsValid());
  expect_same_view(QvIsoView(200, 0.5, 100, 1, 1), QvIsoView(200, 0.5, 100));  // defaults of 1

  EXPECT_EQ(0, QvIsoView(-1, 1, 10, 1, 1).IsValid());
  EXPECT_EQ(0, QvIsoView(10, 1, std::nan(""), 1, 1).IsValid());
  EXPECT_EQ(0, QvIsoView(10, 1, 10, 1, 0).IsValid());  // a flat unit cannot be inverted
}

TEST(QvIsoView, PanZoomAndFitComposeOrAreDropped) {
  QvIsoView v(200, 0.5, 100, 2, 1);
  EXPECT_TRUE(&v.GetViewToWorld() == &v.viewToWorld && &v.GetWorldToView() == &v.worldToView &&
              v.viewWidth == 200 && v.viewHeight == 100);
  const QvTransfo4 start = v.GetViewToWorld();
  v.Pan(QvPoint2<double>(10, -4));  // in view units
  EXPECT_EQ(1, v.GetViewToWorld().Map(QvPoint2<double>(1, 1)) == start.Map(QvPoint2<double>(11, -3)));

  const QvPoint2<double> centre(30, 40);
  const QvPoint2<double> fixed = v.GetViewToWorld().Map(centre);
  v.Zoom(2, 4, 1, centre);
  EXPECT_EQ(1, v.GetViewToWorld().Map(centre) == fixed);  // the centre stays put on screen
  EXPECT_DOUBLE_EQ(std::sqrt(65.0), v.GetViewUnitVectorLengthInWorld());  // 1 by 8 world units
  EXPECT_EQ(1, v.GetViewToWorld().TestInverse());

  // Changes that would make the view singular are dropped whole.
  const QvIsoView kept(v);
  v.Zoom(0, 1, 1, centre);
  expect_same_view(kept, v);
  v.SetFromExtent(QvExtent2<double>());  // empty: infinities, inversion fails
  expect_same_view(kept, v);

  // rx = 200 / 40 and ry = 100 / 10: the smaller scale fits the whole extent. The fit
  // composes on the view as it stands, so a second fit moves it again.
  QvExtent2<double> e;
  e.min = QvPoint2<double>(10, 20);
  e.max = QvPoint2<double>(50, 30);
  e.state = QvExtent2<double>::ExtentBounded;
  v.SetFromExtent(e);
  const QvPoint2<double> corner = v.GetViewToWorld().Map(QvPoint2<double>(200, 100));
  const QvPoint2<double> want = kept.GetViewToWorld().Map(QvPoint2<double>(50, 40));
  EXPECT_NEAR(want.x, corner.x, 1e-12);
  EXPECT_NEAR(want.y, corner.y, 1e-12);
  const QvIsoView once(v);
  v.SetFromExtent(e);
  EXPECT_NE(mat_of(once.GetViewToWorld()), mat_of(v.GetViewToWorld()));
  v.SetViewWidth(1e-9);
  const QvIsoView narrow(v);
  v.SetFromExtent(e);
  expect_same_view(narrow, v);
}

TEST(QvIsoView, ExtentsAndUnitLengths) {
  QvIsoView v(-20, 2, 10, 2, 1);
  QvExtent2<double> e;
  v.GetViewExtentInViewCS(e);
  EXPECT_TRUE(e.state == QvExtent2<double>::ExtentBounded && e.min.x == -20 && e.max.x == 0 &&
              e.min.y == 0 && e.max.y == 10);
  v.GetViewExtentInWorldCS(e);  // x' = 2 x + 20, y' = 2 y - 10
  EXPECT_TRUE(e.min.x == -20 && e.max.x == 20 && e.min.y == -10 && e.max.y == 10);

  EXPECT_DOUBLE_EQ(std::sqrt(8.0), v.GetViewUnitVectorLengthInWorld());
  EXPECT_DOUBLE_EQ(std::sqrt(0.5), v.GetWorldUnitVectorLengthInView());
  const QvIsoView tiny(10, 1e-5, 10, 1e-5, 1);
  EXPECT_EQ(0.0, tiny.GetViewUnitVectorLengthInWorld());  // squared length under 1e-9
}

}  // namespace
