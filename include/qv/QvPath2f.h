#ifndef QV_QVPATH2F_H
#define QV_QVPATH2F_H

#include <iosfwd>

#include <qv/QvArray.h>
#include <qv/QvPoint.h>
#include <qv/QvShape2f.h>
#include <qv/QvTypes.h>

class QvBezierTool;
class QvGC;
class QvTransfo4;
class QvRect2f;
class QvOval2f;
class QvPath2f;
class QvPath2fIter;
struct CFillContext;
template <class T>
class QvRaster;

// One item a line, each line flushed: the counts, then every point with the
// bounds of its segment.
QV_API std::ostream& operator<<(std::ostream& stream, const QvPath2f& path);

// Any number of subpaths of Bezier segments of degree 1 to 8, mixed freely,
// held as one flat array of points and a parallel array of type bytes. What a
// point is (node, handle, end of a segment, closing node) comes from its type
// byte alone. A closed subpath repeats its first point at its end.
class QV_API QvPath2f : public QvShape2f {
 public:
  // Low six bits of a type byte. Bit 7 is the G1 lock of a node; bit 6 is
  // carried along untouched whenever a type changes.
  enum PointType : QvLong {
    PointNone = 0,
    PointMoveto = 1,
    PointReserved = 2,
    PointLine = 3,
    PointLineClose = 4,
    PointQuad1 = 5,
    PointQuadEnd = 6,
    PointQuadClose = 7,
    PointCubic1 = 8,
    PointCubic2 = 9,
    PointCubicEnd = 10,
    PointCubicClose = 11,
    PointDeg4Handle1 = 12,
    PointDeg4Handle2 = 13,
    PointDeg4Handle3 = 14,
    PointDeg4End = 15,
    PointDeg4Close = 16,
    PointDeg5Handle1 = 17,
    PointDeg5Handle2 = 18,
    PointDeg5Handle3 = 19,
    PointDeg5Handle4 = 20,
    PointDeg5End = 21,
    PointDeg5Close = 22,
    PointDeg6Handle1 = 23,
    PointDeg6Handle2 = 24,
    PointDeg6Handle3 = 25,
    PointDeg6Handle4 = 26,
    PointDeg6Handle5 = 27,
    PointDeg6End = 28,
    PointDeg6Close = 29,
    PointDeg7Handle1 = 30,
    PointDeg7Handle2 = 31,
    PointDeg7Handle3 = 32,
    PointDeg7Handle4 = 33,
    PointDeg7Handle5 = 34,
    PointDeg7Handle6 = 35,
    PointDeg7End = 36,
    PointDeg7Close = 37,
    PointDeg8Handle1 = 38,
    PointDeg8Handle2 = 39,
    PointDeg8Handle3 = 40,
    PointDeg8Handle4 = 41,
    PointDeg8Handle5 = 42,
    PointDeg8Handle6 = 43,
    PointDeg8Handle7 = 44,
    PointDeg8End = 45,
    PointDeg8Close = 46
  };

  QvPath2f();  // a capacity of 1
  explicit QvPath2f(QvULong capacity);
  QvPath2f(const QvPath2f& other);
  QvPath2f(const QvPath2f& source, QvULong first, QvULong last);
  QvPath2f(const QvRect2f& rect);
  QvPath2f(const QvOval2f& oval);
  ~QvPath2f() override;

  QvPath2f& operator=(const QvPath2f& other);
  // Deep copy when the source is a path; any other kind leaves this as it is.
  QvShape2f& operator=(const QvShape2f& other) override;

  // --- Slots of QvShape2f ---------------------------------------------------
  QvShape2f* QueryShapeKind(Kind kind) const override;
  QvShape2f* Clone() const override;
  QvULong NumPoints() const override;
  QvExtent2<double>& GetExtent(QvExtent2<double>& extent) const override;
  QvExtent2<float>& GetExtent(QvExtent2<float>& extent) const override;
  QvExtent2<double>& GetTightExtent(QvExtent2<double>& extent) const override;
  QvExtent2<float>& GetTightExtent(QvExtent2<float>& extent) const override;
  QvPoint2<float> GetPoint(QvULong index) override;
  QvLong GetPoint(QvULong index, QvPoint2<float>& point) const override;
  // Copies first to last inclusive into out, which must hold last - first + 1
  // points; a first above last copies nothing.
  QvPoint2<double>* GetPoints(QvULong first, QvULong last, QvPoint2<double>* out) const override;
  QvPoint2<float>* GetPoints(QvULong first, QvULong last, QvPoint2<float>* out) const override;
  QvLong GetClosePointIndex(const QvPoint2<float>& point, double size,
                            QvULong* index) const override;
  QvULong GetPointsInExtentIndices(const QvExtent2<float>& extent,
                                   QvULongArray* indices) const override;
  QvLong IsIntersectingExtent(const QvGC& gc, const QvExtent2<float>& extent,
                              QvLong skipQuickTest) const override;
  QvLong IsInteriorIntersectingExtent(const QvGC& gc, const QvExtent2<float>& extent,
                                      QvLong skipQuickTest) const override;
  QvULong IntersectSamplePointsExtent(const QvGC& gc, const QvExtent2<float>& extent,
                                      QvPoint2fArray& points, QvPointTagArray& tags,
                                      QvLong skipQuickTest) const override;
  QvShape2f& Translate(const QvPoint2<float>& offset) override;
  QvShape2f& Rotate(double angle, const QvPoint2<float>& center) override;
  QvShape2f& Scale(double sx, double sy, const QvPoint2<float>& center) override;
  QvShape2f& ShearX(double factor, double origin) override;
  QvShape2f& ShearY(double factor, double origin) override;
  QvShape2f& Transform(const QvTransfo4& transform) override;
  QvULong Flatten(const QvGC& gc, QvPoint2fArray& points, QvPointTagArray& tags) const override;
  QvULong Sample(const QvGC& gc, QvPoint2fArray& points, QvPointTagArray& tags) const override;
  void Fill(const QvGC& gc, QvRaster<short>& raster, QvLong (*poll)(void),
            const tqRnBbox2l* clip) const override;
  void Fill(const QvGC& gc, QvRaster<float>& raster, QvLong (*poll)(void),
            const tqRnBbox2l* clip) const override;
  void Fill(const QvGC& gc, QvRaster<unsigned char>& raster, QvLong (*poll)(void),
            const tqRnBbox2l* clip) const override;
  void AAFill(const QvGC& gc, QvRaster<short>& raster, QvLong (*poll)(void),
              const tqRnBbox2l* clip) const override;
  void AAFill(const QvGC& gc, QvRaster<float>& raster, QvLong (*poll)(void),
              const tqRnBbox2l* clip) const override;
  void AAFill(const QvGC& gc, QvRaster<unsigned char>& raster, QvLong (*poll)(void),
              const tqRnBbox2l* clip) const override;
  void SoftFill(const QvGC& gc, QvRaster<short>& raster, QvLong (*poll)(void)) const override;
  void SoftFill(const QvGC& gc, QvRaster<float>& raster, QvLong (*poll)(void)) const override;
  void SoftFill(const QvGC& gc, QvRaster<unsigned char>& raster,
                QvLong (*poll)(void)) const override;
  void Stroke(const QvGC& gc, QvRaster<unsigned char>& raster) const override;
  QvULong WriteToBuffer(void* buffer) const override;
  QvULong GetBufferSize() const override;
  QvULong ReadFromBufferBody(const void* body) override;

  // --- Slots that paths add (editing) ----------------------------------------
  virtual QvLong ReplaceSegment(QvULong index, const QvPoint2<float>* points, QvULong degree);
  virtual QvLong ReplaceSubpathSection(QvULong first, QvULong last, const QvPath2f& other,
                                       QvULong otherFirst, QvULong otherLast);
  virtual QvLong ReplaceSubpathSection(QvULong first, QvULong last, const QvPoint2<float>& c1,
                                       const QvPoint2<float>& c2);
  virtual QvLong ReplaceSubpathSection(QvULong first, QvULong last);
  virtual QvLong RemoveSubpath(QvULong index);
  virtual QvLong RemoveSubpathSection(QvULong first, QvULong last);

  // --- Construction ---------------------------------------------------------
  // The verbs append; none checks that a subpath has begun. If an append
  // throws, both arrays are cut back to where they stood and the exception
  // goes on to the caller.
  QvPath2f* Clear();
  void Moveto(const QvPoint2<float>& point);
  void Lineto(const QvPoint2<float>& point);
  void Curveto(const QvPoint2<float>& control, const QvPoint2<float>& point);
  void Curveto(const QvPoint2<float>& control1, const QvPoint2<float>& control2,
               const QvPoint2<float>& point);
  // points holds degree points: the handles, then the end node.
  void AltCurveto(const QvPoint2<float>* points, QvULong degree);
  void AltAltCurveto(const QvPoint2fArray& array, QvULong first, QvULong degree);
  QvLong Closeto();
  QvLong CloseSubpath(QvULong index);
  QvLong OpenSubpath(QvULong index);

  QvLong LockG1(QvULong index);
  QvLong UnlockG1(QvULong index);
  QvLong IsG1LockOn(QvULong index) const;

  // --- Points and structure -------------------------------------------------
  QvPoint2<float> GetCurrentPoint() const;
  QvULong NumSegments() const;
  QvULong NumSubpaths() const;
  QvULong NumNodes() const;
  QvULong NumNodesExceptLastNodeOfClosedSubpaths() const;
  QvULong LargestDegree() const;
  QvULong GetDegree(QvULong index) const;
  QvLong IsPolyline() const;
  // Compares the very first and very last points only; takes no lock and must
  // not be called on an empty path.
  QvLong IsPathClosed() const;
  QvLong IsNode(QvULong index) const;
  QvLong IsNodeAndNotLastNodeOfClosedSubpath(QvULong index) const;
  QvLong IsInnerPoint(QvULong index) const;
  QvLong IsStartOfSubpath(QvULong index) const;
  QvLong IsEndOfSubpath(QvULong index, QvLong& closed) const;
  QvLong IsSubpathClosed(QvULong index) const;
  void GetSubpathIndices(QvULong index, QvULong& first, QvULong& last) const;
  void GetSegmentIndices(QvULong index, QvULong& first, QvULong& last) const;
  QvLong IsSiblingOf(const QvPath2f& other) const;
  QvLong IsActive() const;
  QvULong MaxDegreeForThisImplementation() const;
  void Print() const;

  // --- Editing --------------------------------------------------------------
  void ReplacePoint(QvULong index, const QvPoint2<float>& point, QvLong keepRatio);
  void ReplacePointIgnoringLock(QvULong index, const QvPoint2<float>& point);
  QvLong ReplaceTangentVectorDirections(QvULong index, const QvPoint2<float>& direction);
  QvULong AddFittedSamplesFromPath(const QvGC& gc, const QvPath2f& other);
  void GetInwardOutwardPaths(float inward, float outward, QvPath2f& in, QvPath2f& out);
  void GetSimilarPath(float distance, QvLong closed, QvPath2f& result);

  // --- Queries and sampling -------------------------------------------------
  // The output arrays are appended to, never cleared; counts are of points
  // added unless said otherwise.
  QvULong AltFlatten(double tolerance, QvPoint2fArray& points, QvPointTagArray& tags) const;
  QvULong FlattenSubpath(QvULong index, double tolerance, QvPoint2fArray& points) const;
  // These three return the number of subpaths emitted, not of points.
  QvULong TransformAndFlattenPath(const QvTransfo4& transform, double tolerance,
                                  QvPoint2dArray& points, QvPointTagArray& tags) const;
  QvULong TransformAndFlattenClosedSubPaths(const QvTransfo4& transform, double tolerance,
                                            QvPoint2dArray& points, QvPointTagArray& tags) const;
  QvULong TransformFlattenAndClipClosedSubPaths(const QvTransfo4& transform, double tolerance,
                                                const QvExtent2<double>& clip,
                                                QvPoint2dArray& points,
                                                QvPointTagArray& tags) const;
  // The tags are written from index 0 of the tag array, which is expected to
  // come in empty; fractions ascend within [0, 1].
  QvULong Sample(const QvGC& gc, const QvFloatArray& fractions, QvPoint2fArray& points,
                 QvPointTagArray& tags) const;
  QvExtent2<float>& GetSegmentExtent(QvULong index, QvExtent2<float>& extent) const;
  QvLong GetClosePointIndex(const QvPoint2<float>& point, QvULong* index) const;
  double GetNodeNormalizedArcLength(QvULong node, double tolerance) const;

  // --- Drawing members that are not slots -----------------------------------
  void Stroke(const QvGC& gc, QvRaster<float>& raster) const;
  void Stroke(const QvGC& gc, QvRaster<short>& raster) const;

 protected:
  // Everything below assumes that the caller holds the lock.
  QvLong IsEmpty() const;
  QvLong IsNotEmpty() const;
  QvULong NumPointsInsideCriticalSection() const;
  // count - 1, wrapping on an empty path.
  QvULong LastIndex() const;
  QvLong IsLegalIndex(QvULong index) const;
  QvLong GetPointInsideCriticalSection(QvULong index, QvPoint2<float>& point) const;
  QvPoint2<float> GetPointInsideCriticalSection(QvULong index) const;
  const QvPoint2fArray& GetPointsInsideCriticalSection() const;
  PointType GetType(QvULong index) const;
  void SetType(QvULong index, PointType type);
  void AppendPoint(const QvPoint2<float>& point, PointType type);
  QvLong SubpathStarts(QvULong index) const;
  QvLong SubpathEnds(QvULong index) const;
  QvULong StartOfSubpath(QvULong index) const;
  QvULong EndOfSubpath(QvULong index) const;
  QvLong ClosedSubpathEnds(QvULong index) const;
  QvLong ClosedSubpathStarts(QvULong index) const;
  QvLong EndOfClosedSubpath(QvULong index, QvULong& end) const;
  QvLong IsStartingTangentHandle(QvULong index) const;
  QvLong IsEndingTangentHandle(QvULong index) const;
  QvLong IsTangentHandle(QvULong index) const;
  QvULong Degree(QvULong index) const;
  QvULong StartOfSegment(QvULong index) const;
  QvULong EndOfSegment(QvULong index) const;
  QvLong IsG1Continuous(QvULong index) const;

 private:
  friend class QvPath2fIter;
  friend std::ostream& operator<<(std::ostream& stream, const QvPath2f& path);

  // Last index of the segment whose points after its first node begin at
  // index, kept within the subpath that ends at last and to the largest degree.
  QvULong SegmentEndWithin(QvULong index, QvULong start, QvULong last) const;
  // Appends the subpath first..last, its first point included, mapped through
  // transform when one is given; returns the number of points appended. When
  // a segment ending at markNode is flattened, *mark gets the output index of
  // its end.
  QvULong FlattenSubpathInsideCriticalSection(QvULong first, QvULong last,
                                              const QvTransfo4* transform, double tolerance,
                                              QvBezierTool& tool, QvPoint2fArray& out,
                                              QvULong markNode = 0, QvULong* mark = nullptr) const;
  QvULong FlattenSubpathInsideCriticalSection(QvULong first, QvULong last,
                                              const QvTransfo4& transform, double tolerance,
                                              QvBezierTool& tool, QvPoint2dArray& out) const;
  // Flatten and its untransformed form share this walk over all subpaths.
  QvULong FlattenTagged(const QvTransfo4* transform, double tolerance, QvPoint2fArray& points,
                        QvPointTagArray& tags) const;
  QvULong TransformAndFlattenSubpaths(const QvTransfo4& transform, double tolerance,
                                      bool closedOnly, QvPoint2dArray& points,
                                      QvPointTagArray& tags) const;
  // The common first step of the extent hit tests: whether the path's mapped
  // extent can touch the given one at all.
  bool MayTouchExtent(const QvGC& gc, const QvExtent2<float>& extent) const;

  QvLong CalculateFillParameters(const QvGC& gc, QvLong width, QvLong height, double scale,
                                 CFillContext& context, QvLong& xMin, QvLong& yMin,
                                 QvLong& xMax, QvLong& yMax, QvLong& numPoints,
                                 const tqRnBbox2l* clip) const;

  QvPoint2fArray m_points;
  QvUByteArray m_types;
  // 1 while the last subpath is open to further construction.
  QvLong m_active;
};

// Walks the subpaths of one path. Each call locks the path for its own length
// only, so nothing guards against edits between calls.
class QV_API QvPath2fIter {
 public:
  explicit QvPath2fIter(const QvPath2f& path);
  QvLong GetNextSubPathIndices(QvULong& first, QvULong& last);
  void Reset();

 private:
  const QvPath2f& m_path;
  QvULong m_next;
};

#endif  // QV_QVPATH2F_H
