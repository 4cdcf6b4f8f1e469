#include <qv/QvBezierTool.h>
#include <qv/QvGC.h>
#include <qv/QvPath2f.h>
#include <qv/QvRaster.h>
#include <qv/QvVectorizer.h>

#include <cmath>

#include "raster/vectorizer_fit.h"

namespace qv::internal {

QvPoint2<double> outline_tangent(const QvPoint2fArray& points, QvULong k) {
  if (points.size < 3) return QvPoint2<double>();
  const QvULong m = points.size - 1;  // distinct points; the last repeats the first
  const bool wrap = k < 4 || k + 4 > m;
  auto at = [&](QvULong base, QvULong d, bool forward) -> const QvPoint2<float>& {
    if (!wrap) return points[forward ? base + d : base - d];
    const QvULong step = d % m;
    const QvULong i = forward ? (base + step) % m : (base + m - step) % m;
    return points[i];
  };
  float sx = 0.0f, sy = 0.0f;
  for (QvULong d = 2; d <= 4; ++d) {
    const QvPoint2<float>& ahead = at(k, d, true);
    const QvPoint2<float>& behind = at(k, d, false);
    sx += ahead.x - behind.x;
    sy += ahead.y - behind.y;
  }
  if (std::fabs(sx) <= 1e-07f && std::fabs(sy) <= 1e-07f) {
    const bool end = k == 0 || k >= m;
    const QvPoint2<float>& ahead = end ? points[1] : points[k + 1];
    const QvPoint2<float>& behind = end ? points[m - 1] : points[k - 1];
    sx = ahead.x - behind.x;
    sy = ahead.y - behind.y;
  }
  QvPoint2<double> t(sx, sy);
  t.Normalize();
  return t;
}

}  // namespace qv::internal

namespace {

// Fits points[i..j] between the given unit tangents, splitting where a single
// cubic fails; the pieces share the tangent at the split.
void fit_range(QvBezierTool& tool, const QvPoint2fArray& points, const QvDoubleArray& lengths,
               QvULong i, QvULong j, const QvPoint2<double>& ti, const QvPoint2<double>& tj,
               double tolerance, QvPath2f& path) {
  if (j == i + 1) {
    path.Lineto(points[j]);
    return;
  }
  if (j == i + 2) {
    path.Curveto(points[i + 1], points[i + 1], points[j]);
    return;
  }
  QvPoint2<float> control[4];
  QvULong fail = 0;
  if (tool.SingleCurveFitG1G1(points, lengths, i, j, ti, tj, tolerance, 3, control, fail)) {
    path.AltCurveto(control + 1, 3);
    return;
  }
  if (fail <= i || fail >= j) fail = (i + j) / 2;  // keep the recursion shrinking
  const QvPoint2<double> tk = qv::internal::outline_tangent(points, fail);
  fit_range(tool, points, lengths, i, fail, ti, tk, tolerance, path);
  fit_range(tool, points, lengths, fail, j, tk, tj, tolerance, path);
}

}  // namespace

QvULong QvVectorizer::VectorizeAndFit(QvRaster<unsigned char> const& raster, unsigned char value,
                                      QvExtent2<float> const& extent, QvGC const& gc,
                                      QvPath2f& path) {
  QvPath2f outline(1);
  if (Vectorize(raster, value, extent, outline) == 0) return 0;

  const QvULong before = path.NumPoints();
  const double tolerance = gc.GetFlatteningTolerance();
  QvBezierTool tool;
  QvPath2fIter iter(outline);
  QvULong first = 0, last = 0;
  while (iter.GetNextSubPathIndices(first, last)) {
    QvPoint2fArray steps;
    QvDoubleArray lengths;
    // Every unit step along the outline, so that samples are evenly spaced
    // and the parameter of each is its index.
    QvPoint2<float> at = outline.GetPoint(first);
    steps.Add(at);
    lengths.Add(0.0);
    for (QvULong v = first + 1; v <= last; ++v) {
      const QvPoint2<float> to = outline.GetPoint(v);
      while (at.x != to.x || at.y != to.y) {
        if (at.x < to.x)
          at.x += 1.0f;
        else if (at.x > to.x)
          at.x -= 1.0f;
        else if (at.y < to.y)
          at.y += 1.0f;
        else
          at.y -= 1.0f;
        steps.Add(at);
        lengths.Add(static_cast<double>(lengths.size));
      }
    }
    if (steps.size < 3) continue;  // an outline always has at least four steps
    path.Moveto(steps[0]);
    const QvPoint2<double> t0 = qv::internal::outline_tangent(steps, 0);
    fit_range(tool, steps, lengths, 0, steps.size - 1, t0, t0, tolerance, path);
    path.Closeto();
  }
  return path.NumPoints() - before;
}
