#include <qv/QvBezierTool.h>

#include <algorithm>
#include <cmath>

namespace {

// An arc of meaningful shape spans at most one box width, which takes at most 150 steps; the
// ceiling only stops a degenerate box (a width near zero) from walking without end.
constexpr QvULong kMaxGammaInnerPoints = 1024;

}  // namespace

// The arc is (P[0].x + w u, P[0].y - h u^g) over the box from P[0] to P[3]. Its exponent g is not
// stored: it is recovered from whichever end of the stretch lies strictly inside the box.
QvULong QvBezierTool_FlattenGamma(const QvPoint2<double>* points, double /*tolerance*/,
                                  QvPoint2dArray* out, QvLong skipFirst) {
  if (points == nullptr || out == nullptr) return 0;
  const QvPoint2<double> p[4] = {points[0], points[1], points[2], points[3]};
  const QvULong before = out->GetSize();
  // The box corner, not the start of the stretch: the callers that draw whole curves rely on it.
  if (!skipFirst) out->Add(p[0]);
  const double w = p[3].x - p[0].x;
  const double h = p[0].y - p[3].y;
  const double u1 = (p[1].x - p[0].x) / w;
  const double u2 = (p[2].x - p[0].x) / w;
  double g = 1.0;
  if (u1 > 0.0)
    g = std::log10((p[0].y - p[1].y) / h) / std::log10(u1);
  else if (u2 > 0.0)
    g = std::log10((p[0].y - p[2].y) / h) / std::log10(u2);
  if (!(std::fabs(g - 1.0) <= 0.001)) {
    const double steps = std::min(150.0, g < 1.0 ? 30.0 / g : 30.0 * g);
    const double dt = 1.0 / steps;
    QvULong emitted = 0;
    // u > u1 also ends the walk once dt no longer moves u.
    for (double u = u1 + dt; u > u1 && u < u2 && emitted < kMaxGammaInnerPoints; u += dt) {
      const double y = p[0].y - std::pow(u, g) * h;
      const double x = w * u + p[0].x;
      out->Add(static_cast<double>(static_cast<float>(x)),
               static_cast<double>(static_cast<float>(y)));
      ++emitted;
    }
  }
  out->Add(p[2]);
  return out->GetSize() - before;
}
