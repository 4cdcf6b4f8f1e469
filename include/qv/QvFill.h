// Per-call state shared by the path rasterisers: the private polygon, its vertex
// table sorted by y, the active edge list and the scratch rows of the
// anti-aliased and soft fills.
#ifndef QV_QVFILL_H
#define QV_QVFILL_H

#include <qv/QvPoint.h>
#include <qv/QvTypes.h>

#include <cstdint>

// One polygon vertex. `points` lets a context-free comparison reach the
// coordinates of `index`.
struct FillVertex {
  QvLong index;
  QvLong prev;
  QvLong next;
  QvPoint2<double>* points;
};

// An edge crossing the current scan line. `x` is the crossing less 0.5, so that
// ceiling and floor of it select the pixels whose centres lie between two
// crossings. `direction` is meaningful under the winding rule only.
struct FillEdge {
  double x;
  double dxdy;
  QvLong key;
  QvLong direction;
};

// Everything one fill allocates. A value-initialised context owns nothing;
// Release frees every buffer it holds and runs again from the destructor, so a
// fill that is left by an exception gives everything back.
struct QV_API CFillContext {
  QvPoint2<double>* points = nullptr;
  FillVertex* vertices = nullptr;
  FillEdge* activeEdges = nullptr;
  // Biased by maskRowFirst: indexed directly by pixel column.
  std::uint32_t* maskRows32[3] = {nullptr, nullptr, nullptr};
  std::uint64_t* maskRows64[3] = {nullptr, nullptr, nullptr};
  QvLong maskRowFirst = 0;
  QvLong maskRowEnd = 0;
  double* kernel = nullptr;
  double* kernelTail = nullptr;
  double* plane = nullptr;
  double* column = nullptr;

  CFillContext() = default;
  CFillContext(const CFillContext&) = delete;
  CFillContext& operator=(const CFillContext&) = delete;
  ~CFillContext();

  void Release();
};

#endif  // QV_QVFILL_H
