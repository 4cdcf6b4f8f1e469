#include <qv/QvBezierTool.h>

#include <algorithm>
#include <cmath>

#include "bezier/bezier_core.h"
#include "bezier/clip_segment.h"

namespace qv::internal {

namespace {

constexpr double kSegmentInsideSlack = 1e-9;

bool inside_with_slack(const QvPoint2<double>& p, const QvExtent2<double>& e) {
  return e.min.x - kSegmentInsideSlack <= p.x && p.x <= e.max.x + kSegmentInsideSlack &&
         e.min.y - kSegmentInsideSlack <= p.y && p.y <= e.max.y + kSegmentInsideSlack;
}

// One boundary of the parametric clip: p is the rate at which the segment leaves the inside of the
// boundary, q the room it has at t = 0.
bool clip_boundary(double p, double q, double& t0, double& t1) {
  if (p == 0.0) return q >= 0.0;
  const double r = q / p;
  if (p < 0.0) {
    if (r > t1) return false;
    if (r > t0) t0 = r;
  } else {
    if (r < t0) return false;
    if (r < t1) t1 = r;
  }
  return true;
}

}  // namespace

bool clip_segment_to_extent(QvPoint2<double>& a, QvPoint2<double>& b, const QvExtent2<double>& e) {
  if (inside_with_slack(a, e) && inside_with_slack(b, e)) return true;
  const double dx = b.x - a.x;
  const double dy = b.y - a.y;
  double t0 = 0.0;
  double t1 = 1.0;
  if (!clip_boundary(-dx, a.x - e.min.x, t0, t1) || !clip_boundary(dx, e.max.x - a.x, t0, t1) ||
      !clip_boundary(-dy, a.y - e.min.y, t0, t1) || !clip_boundary(dy, e.max.y - a.y, t0, t1))
    return false;
  const QvPoint2<double> start = a;
  if (t1 < 1.0) b = QvPoint2<double>(start.x + t1 * dx, start.y + t1 * dy);
  if (t0 > 0.0) a = QvPoint2<double>(start.x + t0 * dx, start.y + t0 * dy);
  return true;
}

void TaggedOutput::AppendClippedSegment(QvPoint2<double> a, QvPoint2<double> b,
                                        const QvExtent2<double>& extent) {
  if (!clip_segment_to_extent(a, b, extent)) return;
  // A run broken by clipping ends on a drawn point: its flag stays 1.
  StartRunAt(a, 1);
  Append(b, TagInner);
}

void TaggedOutput::StartRunAt(const QvPoint2<double>& start, QvLong break_flag) {
  const QvULong size = points->GetSize();
  if (size != 0 && (*points)[size - 1] == start) return;
  if (size != 0) {
    (*tags)[size - 1] = TagLast;
    (*flags)[size - 1] = break_flag;
  }
  Append(start, TagFirst);
}

void TaggedOutput::Append(const QvPoint2<double>& p, QvPointTag tag) {
  points->Add(p);
  tags->Add(tag);
  flags->Add(1);
}

void TaggedOutput::TagAppendedSince(QvULong before) {
  for (QvULong i = before; i < points->GetSize(); ++i) {
    tags->Add(TagInner);
    flags->Add(1);
  }
}

}  // namespace qv::internal

namespace {

using qv::internal::TaggedOutput;

bool make_output(QvPoint2dArray* points, QvPointTagArray* tags, QvBoolArray* flags,
                 TaggedOutput& out) {
  if (points == nullptr || tags == nullptr || flags == nullptr) return false;
  const QvULong size = points->GetSize();
  if (tags->GetSize() != size || flags->GetSize() != size) return false;
  out = TaggedOutput{points, tags, flags};
  return true;
}

bool control_box_inside(const QvPoint2<double>* p, const QvExtent2<double>& e) {
  double min_x = p[0].x, max_x = p[0].x, min_y = p[0].y, max_y = p[0].y;
  for (int i = 1; i < 4; ++i) {
    min_x = std::min(min_x, p[i].x);
    max_x = std::max(max_x, p[i].x);
    min_y = std::min(min_y, p[i].y);
    max_y = std::max(max_y, p[i].y);
  }
  return e.min.x <= min_x && max_x <= e.max.x && e.min.y <= min_y && max_y <= e.max.y;
}

}  // namespace

void QvBezierTool_ClipAndFlattenCubic2d(const QvPoint2<double>* points, double tolerance,
                                        const QvExtent2<double>& extent, QvPoint2dArray* outPoints,
                                        QvPointTagArray* outTags, QvBoolArray* outFlags) {
  TaggedOutput out;
  if (points == nullptr || !make_output(outPoints, outTags, outFlags, out)) return;
  if (extent.state == QvExtentStates::ExtentEmpty) return;
  const QvPoint2<double> p[4] = {points[0], points[1], points[2], points[3]};
  if (extent.state != QvExtentStates::ExtentUniverse && !control_box_inside(p, extent)) {
    QvPoint2dArray flat(32);
    QvBezierTool_FlattenCubic2d(p, tolerance, &flat, 0);
    for (QvULong i = 0; i + 1 < flat.GetSize(); ++i)
      out.AppendClippedSegment(flat[i], flat[i + 1], extent);
    return;
  }
  // A run broken by a new curve ends with flag 0: the join is not part of the drawing.
  out.StartRunAt(p[0], 0);
  const QvULong before = outPoints->GetSize();
  QvBezierTool_FlattenCubic2d(p, tolerance, outPoints, 1);
  out.TagAppendedSince(before);
}

void QvBezierTool_ClipAndFlattenGamma(const QvPoint2<double>* points, double tolerance,
                                      const QvExtent2<double>& extent, QvPoint2dArray* outPoints,
                                      QvPointTagArray* outTags, QvBoolArray* outFlags) {
  TaggedOutput out;
  if (points == nullptr || !make_output(outPoints, outTags, outFlags, out)) return;
  if (extent.state == QvExtentStates::ExtentEmpty) return;
  const QvPoint2<double> p[4] = {points[0], points[1], points[2], points[3]};
  if (extent.state != QvExtentStates::ExtentUniverse) {
    // Only a well-formed arc, falling from P[0] through P[1] and P[2] to P[3] with every span at
    // least the tolerance, is drawn curved; anything else is drawn as its chord, clipped.
    const bool well_formed = p[1].y <= p[0].y && p[2].y <= p[0].y && p[3].y <= p[1].y &&
                             p[3].y <= p[2].y && p[0].y - p[3].y >= tolerance &&
                             p[3].x - p[0].x >= tolerance && p[3].x - p[1].x >= tolerance &&
                             p[1].y - p[2].y >= tolerance && p[2].x - p[1].x >= tolerance;
    if (!well_formed) {
      out.AppendClippedSegment(p[1], p[2], extent);
      return;
    }
  }
  out.StartRunAt(p[1], 0);
  const QvULong before = outPoints->GetSize();
  QvBezierTool_FlattenGamma(p, tolerance, outPoints, 1);
  out.TagAppendedSince(before);
}
