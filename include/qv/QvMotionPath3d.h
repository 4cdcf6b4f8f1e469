#ifndef QV_QVMOTIONPATH3D_H
#define QV_QVMOTIONPATH3D_H

#include <qv/QvArray.h>
#include <qv/QvCriticalSection.h>
#include <qv/QvPoint.h>
#include <qv/QvTypes.h>

class QvPath2f;
class QvTransfo4;
class QvMotionPath3dImpl;

// A timed path in 3D: a chain of cubic and straight segments whose nodes each carry a time.
//
// Control points are addressed by point index: index 3k is node k, and 3k + 1, 3k + 2 are the
// controls of segment k, the one that starts at node k. Per-node operations take the point index
// of the node; per-segment operations take any point index of the segment (its node or one of its
// controls), i.e. segment i / 3.
//
// Time runs along the curve by arc length, never by the Bezier parameter: a segment is flattened,
// its polyline measured, and a cubic speed law fitted to the neighbouring segments' mean speeds
// turns time into a distance along it. That is why evaluation takes a flattening tolerance.
//
// Every public operation takes the object's recursive lock for its whole length. Failures return
// 0 and leave the object and the output arguments as they were.
class QV_API QvMotionPath3d {
 public:
  // How the speed behaves at one end of a segment. Each node holds a (left, right) pair.
  enum TangentInfo : std::int32_t {
    TangentDefault = 0,   // as TangentSmooth
    TangentHold = 1,      // right of a node: stay at the node until the next node's time
    TangentConstant = 2,  // the segment's mean speed; on both ends, uniform motion
    TangentSmooth = 3,    // mean speed of the two segments meeting there; 0 at the path's ends
    TangentEase = 4       // speed 0
  };

  enum PointKind : std::int32_t {
    PointLineStart = 0,      // node at the start of a straight segment
    PointLineControl1 = 1,   // first control of a straight segment
    PointLineControl2 = 2,   // second control of a straight segment
    PointLineEnd = 3,        // last node, after a straight segment
    PointCubicStart = 4,     // node at the start of a cubic segment
    PointCubicControl1 = 5,  // first control of a cubic
    PointCubicControl2 = 6,  // second control of a cubic
    PointCubicEnd = 7,       // last node, after a cubic
    PointOnly = 8            // the only point of a one-node path
  };

  enum Projection : std::int32_t {
    ProjectionXY = 0,  // (x, y)
    ProjectionZY = 1,  // (-z, y)
    ProjectionXZ = 2   // (x, -z)
  };

  // Node flag bits.
  enum NodeFlag : std::int32_t {
    NodeStraightSegment = 1,  // the segment that starts at this node is straight
    NodeG1Locked = 2          // the two controls at this node stay collinear with it
  };

  // Empty.
  QvMotionPath3d();
  // One straight segment; both controls repeat p0.
  QvMotionPath3d(const QvPoint3<double>& p0, const QvPoint3<double>& p1, double t0, double t1);
  // One cubic.
  QvMotionPath3d(const QvPoint3<double>& p0, const QvPoint3<double>& c0,
                 const QvPoint3<double>& c1, const QvPoint3<double>& p1, double t0, double t1);
  QvMotionPath3d(const QvMotionPath3d& other);
  QvMotionPath3d& operator=(const QvMotionPath3d& other);
  virtual ~QvMotionPath3d();

  // Building at the ends. Moveto works only on an empty path. The others need a non-empty path
  // and a time strictly beyond the end's time, on the outer side. Lineto and PreLineto store
  // three copies of point: the new node and both controls.
  QvLong Moveto(const QvPoint3<double>& point, double time);
  QvLong Lineto(const QvPoint3<double>& point, double time);
  QvLong Curveto(const QvPoint3<double>& c0, const QvPoint3<double>& c1,
                 const QvPoint3<double>& point, double time);
  QvLong PreLineto(const QvPoint3<double>& point, double time);
  QvLong PreCurveto(const QvPoint3<double>& c0, const QvPoint3<double>& c1,
                    const QvPoint3<double>& point, double time);

  // Sizes and times.
  QvULong NumPoints() const;
  QvULong NumNodes() const;
  QvLong GetTimeInterval(double& first, double& last) const;
  double GetFirstTime(QvLong unused = 0) const;  // 0.0 on an empty path
  double GetLastTime(QvLong unused = 0) const;

  // Node and point access. i is a point index throughout.
  QvLong GetNode(QvULong i, QvPoint3<double>& point, double& time) const;
  QvLong IsNode(QvULong i) const;
  QvLong GetControlPoint(QvULong i, QvPoint3<double>& point) const;
  // Copies points[first..last] to points (last - first + 1 entries) and, when times is not null,
  // the times of the nodes in that range, one per node in order. 0 for an empty or bad range.
  QvLong GetControlPoints(QvULong first, QvULong last, QvPoint3<double>* points,
                          double* times) const;
  QvLong GetControlPointKind(QvULong i, PointKind& kind) const;
  QvLong GetControlPointKind(QvULong i, QvLong& kind) const;
  QvLong GetControlPointKind(QvULong i, QvULong& kind) const;
  QvLong GetClosestControlPointIndex(const QvPoint3<double>& point, double tolerance,
                                     QvULong& index) const;
  void* GetClientData(QvULong i) const;
  QvLong SetClientData(QvULong i, void* pointer);

  // The getters come in the enumeration and in both integer widths, the unsigned one matching
  // what the setters take.
  QvLong GetLeftTangentInfo(QvULong i, TangentInfo& info) const;
  QvLong GetLeftTangentInfo(QvULong i, QvLong& info) const;
  QvLong GetLeftTangentInfo(QvULong i, QvULong& info) const;
  QvLong SetLeftTangentInfo(QvULong i, QvULong info);
  QvLong GetRightTangentInfo(QvULong i, TangentInfo& info) const;
  QvLong GetRightTangentInfo(QvULong i, QvLong& info) const;
  QvLong GetRightTangentInfo(QvULong i, QvULong& info) const;
  QvLong SetRightTangentInfo(QvULong i, QvULong info);

  // Index of the nearest node whose time lies within tolerance of t.
  QvLong GetNodeIndexFromInitialTime(double t, double tolerance, QvULong& index) const;
  // Point indices of the nodes around t; a node within tolerance of t is both. Before the first
  // node hasBefore is 0, past the last hasAfter is 0.
  QvLong GetBracketingIndices(double t, double tolerance, QvULong& before, QvLong& hasBefore,
                              QvULong& after, QvLong& hasAfter, QvLong unused = 0) const;

  // Editing.
  QvLong LockG1Continuity(QvULong i);
  QvLong UnlockG1Continuity(QvULong i);
  QvLong IsG1ContinuityLocked(QvULong i) const;
  QvLong LockG1ContinuityAtAllNodes();
  QvLong ReplaceControlPoint(QvULong i, const QvPoint3<double>& point, QvLong keepLength);
  QvLong TranslateControlPoint(QvULong i, const QvPoint3<double>& delta, QvLong keepLength);
  QvLong ReplaceControlPointIgnoringLock(QvULong i, const QvPoint3<double>& point);
  // direction is the direction of travel through node i.
  QvLong ReplaceTangentVectorDirections(QvULong i, const QvPoint3<double>& direction);
  QvLong ReplaceNode(QvULong i, const QvPoint3<double>& point, double time, double tolerance);
  // index receives the point index of the node at time.
  QvLong InsertNode(double time, double tolerance, double flatness, QvULong& index,
                    QvLong& inserted);
  // first and last are point indices of nodes.
  QvLong RemoveNodes(QvULong first, QvULong last);
  // Controls at 1/3 and 2/3 of the chord; a straight segment is left as it is.
  QvLong LinearizeSegment(QvULong i);
  QvLong IsCubicSegmentLinearlyParameterized(QvULong i) const;
  // Handles of a third of the chord that continue the neighbours' handles through the shared
  // nodes (the chord where there is no neighbour). A straight segment becomes a cubic.
  QvLong SmoothSegment(QvULong i);
  // Move the end node to point and rebuild the handles at the node before it so that the two
  // end cubics join smoothly there, each handle a third of its chord. Need two cubic segments at
  // that end.
  QvLong AdjustLastTwoCubics(const QvPoint3<double>& point);
  QvLong AdjustFirstTwoCubics(const QvPoint3<double>& point);
  // t scale + offset for every node time; refused if the times would not rise.
  QvLong ScaleAndOffsetInitialTimes(double scale, double offset);
  QvLong Transform(const QvTransfo4& transform);

  // Sampling. The output arrays are emptied first. Render gives the polyline of [from, to] with a
  // time per point, a flag per point (RenderNodePoint for a node, RenderInnerPoint otherwise) and, per node
  // inside the interval, the index of its polyline point; it writes at most maxPoints points.
  enum RenderFlag : std::int32_t { RenderInnerPoint = 0, RenderNodePoint = 1 };
  QvLong Render(double from, double to, QvULong maxPoints, QvPoint3dArray& points,
                QvUByteArray& flags, QvDoubleArray& times, QvULongArray& indices) const;
  QvLong Eval(double t, double tolerance, QvPoint3<double>& point, QvLong unused = 0) const;
  // Evaluates at from, from + step, ... through to; step must be positive.
  QvLong EvalSequence(double from, double to, double step, double tolerance,
                      QvPoint3dArray& points, QvLong unused = 0) const;
  // Appends the projected path to path: a Moveto at the first node, then one Lineto or Curveto
  // per segment.
  QvLong GetProjectedPath(QvLong projection, QvPath2f& path) const;

  // Persistence. The buffer holds a 4-byte length, then the body that ReadFromBufferBody reads.
  QvULong GetBufferSize() const;
  QvULong WriteToBuffer(void* buffer) const;
  QvULong ReadFromBufferBody(const void* body);
  static QvMotionPath3d* CreateFromBufferBody(const void* body, QvULong& bytesRead);

 private:
  QvMotionPath3dImpl* m_body;
  mutable QvCriticalSection m_lock;
};

// Builds a path from a body; null when the body does not read, with bytesRead left as it was.
// The caller owns the result. The three spellings are one operation.
QV_API QvMotionPath3d* QvMotionPath3d_CreateFromBufferBody(const void* body, QvULong& bytesRead);
QV_API QvMotionPath3d* CreateFromBufferBody(const void* body, QvULong& bytesRead);

#endif
