#include <qv/QvGC.h>
#include <qv/QvPath2fProp1d.h>
#include <qv/QvRawFCurve.h>
#include <qv/QvStdFCurve.h>

#include <gtest/gtest.h>

#include "support/shapes.h"

#include "support/byte_buffer.h"

#include <cstdint>
#include <cstring>
#include <vector>

namespace {

using P = QvPoint2<float>;
using Bytes = std::vector<unsigned char>;

using qv::test::bytes_of;
using qv::test::polylines;
using qv::test::put_u32;
using qv::test::u32_at;

QvRawFCurve ramp(double length, double v0, double v1) { return QvRawFCurve(0.0, v0, length, v1); }

// Two subpaths: keys 0 and 2, each with a curve told apart by its length.
QvPath2fProp1d two_with_curves() {
  QvPath2fProp1d path = polylines({{P(0, 0), P(10, 0)}, {P(0, 5), P(4, 5), P(8, 5)}});
  path.SetPropCurve(1, ramp(10, 1, 2));
  path.SetPropCurve(3, ramp(8, 3, 4));
  return path;
}

TEST(PathPropBuffer, LayoutAndRoundTrip) {
  const QvPath2fProp1d path = two_with_curves();
  const Bytes bytes = bytes_of(path);
  const QvULong path_size = static_cast<const QvPath2f&>(path).QvPath2f::GetBufferSize();
  ASSERT_EQ(path_size + 12 + ramp(10, 1, 2).GetBufferSize() + 4 + ramp(8, 3, 4).GetBufferSize() + 4,
            bytes.size());
  EXPECT_EQ(bytes.size() - 4, u32_at(bytes, 0));
  EXPECT_EQ(0x01000004u, u32_at(bytes, 4));
  EXPECT_EQ(path_size - 4, u32_at(bytes, 8));
  EXPECT_EQ(1u, u32_at(bytes, 12));  // the path keeps its own kind
  EXPECT_EQ(2u, u32_at(bytes, 8 + path_size));
  EXPECT_EQ(0u, u32_at(bytes, 12 + path_size));  // first key

  QvULong read = 0;
  QvShape2f* shape = QvShape2f_CreateFromBufferBody(bytes.data() + 4, read);
  ASSERT_NE(nullptr, shape);
  EXPECT_EQ(bytes.size() - 4, read);
  const auto* back = static_cast<QvPath2fProp1d*>(shape->QueryShapeKind(QvShape2f::KindPathProp));
  ASSERT_NE(nullptr, back);
  EXPECT_EQ(nullptr, shape->QueryShapeKind(QvShape2f::KindPath));
  EXPECT_EQ(bytes, bytes_of(*back));
  EXPECT_DOUBLE_EQ(8.0, back->GetLargestArcLength(4));
  delete shape;

  // No curves: a count of 0, and none after reading.
  QvPath2fProp1d plain(polylines({{P(0, 0), P(1, 1)}}));
  const Bytes empty = bytes_of(plain);
  EXPECT_EQ(0u, u32_at(empty, empty.size() - 4));
  QvPath2fProp1d again = two_with_curves();
  ASSERT_EQ(empty.size() - 4, again.ReadFromBufferBody(empty.data() + 4));
  EXPECT_EQ(0, again.HasPropCurve(0));
  EXPECT_EQ(2u, again.NumPoints());
}

// Each body is read from a block of exactly its declared length, so that a read past the end
// shows under the sanitizers.
QvULong read_exact(QvPath2fProp1d& into, const Bytes& bytes, std::size_t body_length) {
  return into.ReadFromBufferBody(qv::test::truncated(bytes, body_length).data() + 4);
}

TEST(PathPropBuffer, RefusesTruncatedAndMalformedBodies) {
  const Bytes bytes = bytes_of(two_with_curves());
  QvPath2fProp1d target = polylines({{P(1, 2), P(3, 4)}});
  target.SetPropCurve(0, ramp(2, 5, 6));
  const Bytes before = bytes_of(target);
  for (std::size_t length = 0; length + 4 < bytes.size(); ++length) {
    SCOPED_TRACE(length);
    EXPECT_EQ(0u, read_exact(target, bytes, length));
    EXPECT_EQ(before, bytes_of(target));
  }
  struct Case { const char* name; std::size_t offset; std::uint32_t value; QvULong ok; };
  const std::size_t path_size = u32_at(bytes, 8) + 4;
  const Case cases[] = {
      {"version 5", 4, 0x00050004u, 0},
      {"version 0xFF", 4, 0x00FF0004u, 0},
      {"later version reads as newest", 4, 0x02000004u, 1},
      {"kind 1", 4, 0x01000001u, 0},
      {"key not a subpath start", 12 + path_size, 1, 0},
      {"entry count too large", 8 + path_size, 3, 0},
      {"path length too large", 8, 0x7FFFFFFFu, 0},
      {"path length 0", 8, 0, 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    Bytes bad = bytes;
    put_u32(bad, c.offset, c.value);
    QvPath2fProp1d into = target;
    const QvULong read = read_exact(into, bad, bad.size() - 4);
    EXPECT_EQ(c.ok ? bad.size() - 4 : 0u, read);
    EXPECT_EQ(c.ok ? bytes : before, bytes_of(into));
  }
}

// The oldest form stored standard curves; they come back as raw curves over
// the same keys, and one that does not start at 0 is dropped.
TEST(PathPropBuffer, OldestVersionConverts) {
  const QvPath2fProp1d shape = polylines({{P(0, 0), P(10, 0)}, {P(0, 5), P(4, 5)}});
  const Bytes path = bytes_of(static_cast<const QvPath2f&>(QvPath2f(shape)));
  const QvStdFCurve kept(0, 1, 10, 3, QvBaseFCurve::FSLinear, QvBaseFCurve::FSLinear);
  const QvStdFCurve dropped(1, 1, 10, 3, QvBaseFCurve::FSLinear, QvBaseFCurve::FSLinear);
  qv::test::Writer w;
  w.u32(0x00000004u).bytes(path.data(), path.size()).u32(2);
  const std::pair<std::uint32_t, const QvStdFCurve*> entries[] = {{0, &kept}, {2, &dropped}};
  for (const auto& e : entries) {
    const Bytes curve = bytes_of(*e.second);
    w.u32(e.first).bytes(curve.data(), curve.size());
  }
  const Bytes body = w.buffer();
  QvPath2fProp1d into;
  ASSERT_EQ(body.size() - 4, read_exact(into, body, body.size() - 4));
  ASSERT_EQ(1, into.HasPropCurve(0));
  EXPECT_EQ(0, into.HasPropCurve(2));
  EXPECT_EQ(2u, into.GetPropCurve(0).GetNumKeys());
  EXPECT_DOUBLE_EQ(2.0, into.EvalPropCurve(1, 5.0));
}

TEST(PathProp, KeysFollowEdits) {
  // Removing the first subpath moves the second curve down by two points.
  QvPath2fProp1d path = two_with_curves();
  ASSERT_EQ(1, path.RemoveSubpath(1));
  EXPECT_DOUBLE_EQ(8.0, path.GetLargestArcLength(0));
  EXPECT_EQ(3u, path.NumPoints());

  // A section inside a subpath splits it: both parts keep the curve, and the
  // next subpath's key falls by the one point removed.
  QvPath2fProp1d split = polylines({{P(0, 0), P(1, 0), P(2, 0), P(3, 0), P(4, 0)}, {P(0, 9), P(1, 9)}});
  split.SetPropCurve(0, ramp(4, 0, 1));
  split.SetPropCurve(5, ramp(7, 0, 1));
  ASSERT_EQ(1, split.RemoveSubpathSection(1, 3));
  ASSERT_EQ(3u, split.NumSubpaths());
  EXPECT_DOUBLE_EQ(4.0, split.GetLargestArcLength(0));
  EXPECT_DOUBLE_EQ(4.0, split.GetLargestArcLength(2));
  EXPECT_DOUBLE_EQ(7.0, split.GetLargestArcLength(4));
  EXPECT_EQ(0, split.RemoveSubpathSection(3, 4));  // across subpaths: refused, keys stay
  EXPECT_DOUBLE_EQ(7.0, split.GetLargestArcLength(4));

  // Replacing a line by a two-step polyline adds one point ahead of the next key.
  QvPath2fProp1d grow = two_with_curves();
  const QvPath2f other = polylines({{P(0, 0), P(5, 3), P(10, 0)}});
  ASSERT_EQ(1, grow.ReplaceSubpathSection(0, 1, other, 0, 2));
  EXPECT_DOUBLE_EQ(10.0, grow.GetLargestArcLength(0));
  EXPECT_DOUBLE_EQ(8.0, grow.GetLargestArcLength(3));
}

QvGC sampling_gc(double distance, double smallest) {
  QvGC gc;
  gc.SetSamplingDistance(distance);
  gc.SetSmallestFeatureSize(smallest);
  gc.SetDefaultPropertyValue(0.7);
  return gc;
}

TEST(PathProp, PropertySampleStepFollowsValue) {
  struct Case { double value, smallest, step; };
  const Case cases[] = {{1.0, 0.5, 4.0}, {0.1, 0.25, 0.4}, {0.1, 0.5, 0.5}, {3.0, 0.5, 4.0}};
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << c.value << " " << c.smallest);
    QvPath2fProp1d path = polylines({{P(0, 0), P(20, 0)}});
    path.SetPropCurve(0, QvRawFCurve(0, c.value, 20, c.value));
    QvPoint2fArray points;
    QvPointTagArray tags;
    QvDoubleArray values;
    const QvULong n = path.PropertySample(sampling_gc(4.0, c.smallest), points, tags, values);
    ASSERT_EQ(n, values.size);
    ASSERT_GT(n, 2u);
    double s = 0.0;
    for (QvULong k = 0; k < n; ++k, s += c.step) {
      EXPECT_FLOAT_EQ(static_cast<float>(s), points[k].x);
      EXPECT_EQ(k == 0 ? TagFirst : k + 1 == n ? TagLast : TagInner, tags[k]);
      EXPECT_DOUBLE_EQ(c.value, values[k]);
    }
    EXPECT_LT(s - c.step, 20.0);  // stops before the end
    EXPECT_GE(s, 20.0 - 1e-9);
  }
}

// Sampled values follow the sample's index over the curve's whole length,
// whatever the subpath's length; a subpath without a curve gets the default.
TEST(PathProp, SampleValuesFollowIndex) {
  QvPath2fProp1d path = polylines({{P(0, 0), P(10, 0)}, {P(0, 5), P(10, 5)}});
  path.SetPropCurve(0, ramp(4, 0, 1));
  const QvGC gc = sampling_gc(3.0, 0.5);
  QvPoint2fArray points, plain;
  QvPointTagArray tags, plain_tags;
  QvDoubleArray values;
  ASSERT_EQ(6u, path.Sample(gc, points, tags, values));
  path.QvPath2f::Sample(gc, plain, plain_tags);
  const double want[] = {0.0, 0.5, 1.0, 0.7, 0.7, 0.7};
  for (QvULong k = 0; k < 6; ++k) {
    EXPECT_EQ(plain[k], points[k]);
    EXPECT_EQ(plain_tags[k], tags[k]);
    EXPECT_DOUBLE_EQ(want[k], values[k]);
  }
}

// The curve is stretched over the polyline: its breakpoints become points
// unless they fall within the smallest feature size of the last point out.
TEST(PathProp, FlattenWithValues) {
  struct Case {
    const char* name;
    std::vector<QvPoint2<double>> curve;
    std::vector<float> xs;
    std::vector<double> values;
  };
  const Case cases[] = {
      {"breakpoint at half", {{0, 0}, {5, 1}, {10, 0}}, {0, 5, 10}, {0, 1, 0}},
      {"curve twice as long", {{0, 0}, {10, 1}, {20, 0}}, {0, 5, 10}, {0, 1, 0}},
      {"breakpoint too near", {{0, 0}, {0.2, 1}, {10, 0}}, {0, 10}, {0, 0}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    QvPath2fProp1d path = polylines({{P(0, 0), P(10, 0)}, {P(0, 5), P(3, 5)}});
    QvPoint2dArray keys;
    for (const auto& k : c.curve) keys.Add(k);
    path.SetPropCurve(0, keys, 0.0);
    QvGC gc = sampling_gc(1.0, 0.5);
    QvPoint2fArray points;
    QvPointTagArray tags;
    QvDoubleArray values;
    const QvULong n = path.Flatten(gc, points, tags, values);
    ASSERT_EQ(c.xs.size() + 2, n);
    for (QvULong k = 0; k < c.xs.size(); ++k) {
      EXPECT_EQ(c.xs[k], points[k].x);
      EXPECT_DOUBLE_EQ(c.values[k], values[k]);
      EXPECT_EQ(k == 0 ? TagFirst : k + 1 == c.xs.size() ? TagLast : TagInner, tags[k]);
    }
    // Without a curve the value is 0, not the default property value.
    EXPECT_EQ(0.0, values[n - 1]);
    EXPECT_EQ(0.0, values[n - 2]);
  }
}

TEST(PathProp, LerpBlendsPointsAndCurves) {
  QvPath2fProp1d a = polylines({{P(0, 0), P(10, 0)}, {P(1, 1), P(1, 1)}, {P(0, 2), P(1, 2)}});
  QvPath2fProp1d b = polylines({{P(0, 10), P(20, 10)}, {P(3, 3), P(6, 3)}, {P(0, 4), P(1, 4)}});
  a.SetPropCurve(0, ramp(10, 1, 1));
  b.SetPropCurve(0, ramp(20, 3, 3));
  a.SetPropCurve(2, ramp(1, 1, 1));  // a point of zero length
  b.SetPropCurve(2, ramp(6, 2, 2));
  b.SetPropCurve(4, ramp(9, 5, 5));  // only b has one
  struct Case { double t; float x1; double value; };
  const Case cases[] = {{0.0, 10.0f, 1.0}, {0.5, 15.0f, 2.0}, {1.0, 20.0f, 3.0}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.t);
    QvPath2fProp1d blend;
    blend.SetToLerpAB(a, b, c.t, 1.0, 1e-9);
    EXPECT_EQ(c.x1, blend.GetPoint(1).x);
    // Both curves are resampled along the longer one's arc positions.
    EXPECT_DOUBLE_EQ(20.0, blend.GetLargestArcLength(0));
    EXPECT_NEAR(c.value, blend.EvalPropCurve(0, 7.0), 1e-12);
    EXPECT_DOUBLE_EQ(6.0, blend.GetLargestArcLength(2));
    EXPECT_DOUBLE_EQ(9.0, blend.GetLargestArcLength(4));
  }
  a.SetToLerpAB(a, b, 0.25, 1.0, 1e-9);  // into one of its own inputs
  EXPECT_EQ(12.5f, a.GetPoint(1).x);
}

// Fitting carries each subpath's curve onto the subpath fitted from it, and
// the geometry is that of the plain path's fit.
TEST(PathProp, FittedSamplesCarryCurves) {
  QvPath2fProp1d other = polylines({{P(0, 0), P(10, 0), P(20, 5)}, {P(0, 30), P(40, 30)}});
  other.SetPropCurve(0, ramp(10, 0, 1));
  other.SetPropCurve(3, ramp(40, 0, 1));
  const QvGC gc = sampling_gc(2.0, 0.5);
  QvPath2fProp1d fitted;
  QvPath2f plain;
  const QvULong added = fitted.AddFittedSamplesFromPath(gc, other);
  ASSERT_EQ(plain.AddFittedSamplesFromPath(gc, QvPath2f(other)), added);
  ASSERT_EQ(2u, fitted.NumSubpaths());
  for (QvULong k = 0; k < added; ++k) EXPECT_EQ(plain.GetPoint(k), fitted.GetPoint(k));
  EXPECT_DOUBLE_EQ(10.0, fitted.GetLargestArcLength(0));
  EXPECT_DOUBLE_EQ(40.0, fitted.GetLargestArcLength(added - 1));
}

TEST(PathProp, CopiesAreDeep) {
  QvPath2fProp1d path = two_with_curves();
  QvShape2f* clone = path.Clone();
  QvPath2fProp1d copy(path);
  path.AppendLinearSegment(0, 12.0, 0.0);
  EXPECT_DOUBLE_EQ(12.0, path.GetLargestArcLength(1));
  EXPECT_DOUBLE_EQ(10.0, copy.GetLargestArcLength(1));
  EXPECT_DOUBLE_EQ(10.0, static_cast<QvPath2fProp1d*>(clone)->GetLargestArcLength(1));
  delete clone;
  copy.SetPropCurve(4, 1);  // the second subpath takes the first one's curve
  EXPECT_DOUBLE_EQ(10.0, copy.GetLargestArcLength(2));
  QvShape2f& as_shape = copy;
  as_shape = static_cast<const QvShape2f&>(QvPath2f(path));  // a plain path brings no curves
  EXPECT_EQ(0, copy.HasPropCurve(0));
  EXPECT_EQ(5u, copy.NumPoints());
}

}  // namespace
