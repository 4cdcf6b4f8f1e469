#ifndef QV_BEZIER_CLIP_SEGMENT_H
#define QV_BEZIER_CLIP_SEGMENT_H

#include <qv/QvArray.h>
#include <qv/QvPoint.h>
#include <qv/QvTypes.h>

namespace qv::internal {

// Parametric (Liang-Barsky) clip of the segment a-b to a bounded extent. A segment whose end points
// all lie inside within 1e-9 is accepted untouched. Returns false, leaving a and b as they were,
// when the segment misses the extent.
bool clip_segment_to_extent(QvPoint2<double>& a, QvPoint2<double>& b, const QvExtent2<double>& e);

// The three parallel outputs of clipped flattening: points, tags and drawn flags, kept equal in
// size.
struct TaggedOutput {
  QvPoint2dArray* points = nullptr;
  QvPointTagArray* tags = nullptr;
  QvBoolArray* flags = nullptr;

  // Clips a-b and appends what is left, opening a new run unless it continues the last one.
  void AppendClippedSegment(QvPoint2<double> a, QvPoint2<double> b,
                            const QvExtent2<double>& extent);
  // Unless the output already ends at start (within 1e-9 on each axis), ends the run in progress
  // with break_flag and starts a new run at start.
  void StartRunAt(const QvPoint2<double>& start, QvLong break_flag);
  void Append(const QvPoint2<double>& p, QvPointTag tag);
  // Tags the points added to points since it held before of them as drawn inner points.
  void TagAppendedSince(QvULong before);
};

}  // namespace qv::internal

#endif
