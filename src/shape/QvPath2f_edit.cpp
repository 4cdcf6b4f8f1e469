// The editing slots of a path. Until editing is in, each of them refuses
// with 0 and leaves the path as it is.
#include <qv/QvPath2f.h>

QvLong QvPath2f::ReplaceSegment(QvULong, const QvPoint2<float>*, QvULong) { return 0; }

QvLong QvPath2f::ReplaceSubpathSection(QvULong, QvULong, const QvPath2f&, QvULong, QvULong) {
  return 0;
}

QvLong QvPath2f::ReplaceSubpathSection(QvULong, QvULong, const QvPoint2<float>&,
                                       const QvPoint2<float>&) {
  return 0;
}

QvLong QvPath2f::ReplaceSubpathSection(QvULong, QvULong) { return 0; }

QvLong QvPath2f::RemoveSubpath(QvULong) { return 0; }

QvLong QvPath2f::RemoveSubpathSection(QvULong, QvULong) { return 0; }
