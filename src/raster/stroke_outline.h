// The outline of a stroke: a polygon around a flattened polyline, offset by half
// the line width on both sides, with joins at the corners and caps at the ends
// of open subpaths. It is filled afterwards under the winding rule.
#ifndef QV_RASTER_STROKE_OUTLINE_H
#define QV_RASTER_STROKE_OUTLINE_H

#include <qv/QvArray.h>
#include <qv/QvPoint.h>
#include <qv/QvTypes.h>

#include <vector>

namespace qv::internal {

// Receives the outline. Coordinates are computed in double; a sink that stores
// floats narrows them itself.
class OutlineSink {
 public:
  virtual ~OutlineSink() = default;
  virtual void Moveto(double x, double y) = 0;
  virtual void Lineto(double x, double y) = 0;
  virtual void Quadto(double cx, double cy, double x, double y) = 0;
  virtual void Cubicto(double c1x, double c1y, double c2x, double c2y, double x, double y) = 0;
  virtual void Closeto() = 0;
};

struct Polyline {
  std::vector<QvPoint2<double>> points;
  std::vector<QvPointTag> tags;
};

// Drops inner points that repeat their predecessor (within 1e-9 on both axes)
// and folds a repeated end point into the point before it, so that no segment
// of the result has length zero except the one of a dot.
Polyline clean_polyline(const QvPoint2<double>* points, const QvPointTag* tags, QvULong count);

// One factor a point: 1 for constant width; for a tapered one u*4*(1-u), u
// being the point's share of its subpath's chord length.
std::vector<double> stroke_width_factors(const Polyline& polyline, QvLong width_type);

struct StrokeStyle {
  double line_width = 1.0;
  double miter_limit = 1.0;
  double flattening_tolerance = 1.0;  // raw, without the rasterisers' floor
  QvLong join = 1;                    // the context's value, range not checked
  QvLong end_cap = 2;
};

// Builds the outline of every subpath into `sink`. Join and cap values outside
// 0..2 keep the selection of the previous outline built on this thread.
void build_stroke_outline(const Polyline& polyline, const std::vector<double>& width_factors,
                          const StrokeStyle& style, OutlineSink& sink);

}  // namespace qv::internal

#endif  // QV_RASTER_STROKE_OUTLINE_H
