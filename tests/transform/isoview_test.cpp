#include <qv/QvIsoView.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

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
  const QvIsoView unit;
  const QvPoint2<double> o = unit.GetViewToWorld().Map(QvPoint2<double>(0.5, 0.5));
  EXPECT_EQ(0.0, o.x);
  EXPECT_EQ(0.0, o.y);

  const QvIsoView v(200, 0.5, 100, 2, 3);
  const QvPoint2<double> corner = v.GetViewToWorld().Map(QvPoint2<double>(0, 0));
  EXPECT_EQ(-50.0, corner.x);
  EXPECT_EQ(-100.0, corner.y);
  const QvPoint3<double> up = v.GetViewToWorld().Map(QvPoint3<double>(0, 0, 1));
  EXPECT_EQ(3.0, up.z);
  EXPECT_EQ(1, v.GetViewToWorld().TestInverse());
  const QvPoint2<double> back = v.GetWorldToView().Map(QvPoint2<double>(0, 0));
  EXPECT_NEAR(100.0, back.x, 1e-12);
  EXPECT_NEAR(50.0, back.y, 1e-12);
  EXPECT_EQ(1, v.IsValid());
}

TEST(QvIsoView, Validity) {
  QvIsoView v(10, 1, 10, 1, 1);
  v.SetViewWidth(-1);
  EXPECT_EQ(0, v.IsValid());
  v.SetViewWidth(std::numeric_limits<double>::quiet_NaN());
  EXPECT_EQ(0, v.IsValid());
  v.SetViewWidth(0);
  EXPECT_EQ(1, v.IsValid());
  EXPECT_EQ(0, QvIsoView(10, 1, 10, 1, 0).IsValid());  // a flat unit cannot be inverted
}

TEST(QvIsoView, PanAndZoomComposeInViewUnits) {
  QvIsoView v(200, 0.5, 100, 2, 1);
  const QvTransfo4 before = v.GetViewToWorld();
  v.Pan(QvPoint2<double>(10, -4));
  const QvPoint2<double> p = v.GetViewToWorld().Map(QvPoint2<double>(1, 1));
  const QvPoint2<double> q = before.Map(QvPoint2<double>(11, -3));
  EXPECT_EQ(q.x, p.x);
  EXPECT_EQ(q.y, p.y);
  EXPECT_EQ(1, v.GetViewToWorld().TestInverse());

  const QvPoint2<double> centre(30, 40);
  const QvPoint2<double> fixed = v.GetViewToWorld().Map(centre);
  v.Zoom(2, 4, 1, centre);
  const QvPoint2<double> still = v.GetViewToWorld().Map(centre);
  EXPECT_NEAR(fixed.x, still.x, 1e-12);
  EXPECT_NEAR(fixed.y, still.y, 1e-12);
  // One view unit was 0.5 by 2 world units; now it is 1 by 8.
  EXPECT_DOUBLE_EQ(std::sqrt(65.0), v.GetViewUnitVectorLengthInWorld());

  // A zoom that would make the view singular is dropped whole.
  const QvIsoView kept(v);
  v.Zoom(0, 1, 1, centre);
  expect_same_view(kept, v);
  v.Zoom(1, 1, 0, centre);
  expect_same_view(kept, v);
}

TEST(QvIsoView, SetFromExtentComposesOnTheViewAsItStands) {
  QvIsoView v(200, 1, 100, 1, 1);
  const QvTransfo4 before = v.GetViewToWorld();
  QvExtent2<double> e;
  e.min = QvPoint2<double>(10, 20);
  e.max = QvPoint2<double>(50, 30);
  e.state = QvExtent2<double>::ExtentBounded;
  v.SetFromExtent(e);
  // rx = 200 / 40 = 5 and ry = 100 / 10 = 10: the smaller scale fits the whole extent.
  const QvPoint2<double> corner = v.GetViewToWorld().Map(QvPoint2<double>(200, 100));
  const QvPoint2<double> want = before.Map(QvPoint2<double>(10 + 200 / 5.0, 20 + 100 / 5.0));
  EXPECT_NEAR(want.x, corner.x, 1e-12);
  EXPECT_NEAR(want.y, corner.y, 1e-12);
  EXPECT_EQ(1, v.GetViewToWorld().TestInverse());

  const QvIsoView once(v);
  v.SetFromExtent(e);  // not idempotent: it composes again
  EXPECT_NE(mat_of(once.GetViewToWorld()), mat_of(v.GetViewToWorld()));

  QvIsoView flat(v);
  flat.SetViewWidth(1e-9);
  const QvIsoView flat_before(flat);
  flat.SetFromExtent(e);
  expect_same_view(flat_before, flat);

  const QvIsoView kept(v);
  v.SetFromExtent(QvExtent2<double>());  // empty: infinities, inversion fails, view restored
  expect_same_view(kept, v);
}

TEST(QvIsoView, ExtentsAndUnitLengths) {
  QvIsoView v(-20, 2, 10, 2, 1);
  QvExtent2<double> e;
  v.GetViewExtentInViewCS(e);
  EXPECT_EQ(QvExtent2<double>::ExtentBounded, e.state);
  EXPECT_EQ(-20.0, e.min.x);
  EXPECT_EQ(0.0, e.max.x);
  EXPECT_EQ(0.0, e.min.y);
  EXPECT_EQ(10.0, e.max.y);
  v.GetViewExtentInWorldCS(e);
  EXPECT_EQ(-20.0, e.min.x);  // x' = 2 x + 20: the view's centre, x = -10, is at the origin
  EXPECT_EQ(20.0, e.max.x);
  EXPECT_EQ(-10.0, e.min.y);
  EXPECT_EQ(10.0, e.max.y);

  EXPECT_DOUBLE_EQ(std::sqrt(8.0), v.GetViewUnitVectorLengthInWorld());
  EXPECT_DOUBLE_EQ(std::sqrt(0.5), v.GetWorldUnitVectorLengthInView());
  const QvIsoView tiny(10, 1e-5, 10, 1e-5, 1);
  EXPECT_EQ(0.0, tiny.GetViewUnitVectorLengthInWorld());  // squared length under 1e-9
  EXPECT_NEAR(std::sqrt(2.0) * 1e5, tiny.GetWorldUnitVectorLengthInView(), 1e-6);
}

}  // namespace
