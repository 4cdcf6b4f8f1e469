#ifndef QV_QVPATHBUILDER_H
#define QV_QVPATHBUILDER_H

#include <qv/QvArray.h>
#include <qv/QvBezierTool.h>
#include <qv/QvPoint.h>
#include <qv/QvTypes.h>

class QvGC;
class QvPath2f;
class QvPath2fProp1d;

// Streaming path builders: a stroke's samples go in one at a time, and whenever the caller wants
// to draw it asks for the trailing samples, points spaced GetSamplingDistance apart along the part
// of the path settled since the last asking. A stroke's tail is never final, so each builder holds
// back what it cannot commit yet, and an arc-length carry keeps the spacing even across calls.
//
// Every input point goes through the graphics context's transform on arrival; the path written
// is in those target units. The context's flattening tolerance, sampling distance and smallest
// feature size are read at each use. A builder is a short-lived, single-thread object: it takes
// no lock of its own, and the path's verbs lock per call. It writes into the path only in
// GetTrailingSamples and EndSubpath.
//
// A stroke runs StartSubpath, any number of AddInputPoint with GetTrailingSamples in between,
// then EndSubpath, which returns the final samples and leaves the builder ready only for a new
// StartSubpath (or Reset).
class QV_API QvBasePathBuilder {
 public:
  QvBasePathBuilder(const QvGC& gc, QvPath2f* path);
  virtual ~QvBasePathBuilder();

  // Reset through the virtual slot, then (first form) replace the target, then map and keep p.
  virtual void StartSubpath(const QvPoint2<float>& p, QvPath2f* path);
  virtual void StartSubpath(const QvPoint2<float>& p);
  virtual void AddInputPoint(const QvPoint2<float>& p, QvLong force) = 0;
  // The returned array belongs to the builder and is overwritten by the next call.
  virtual const QvPoint2fArray& GetTrailingSamples() = 0;
  virtual const QvPoint2fArray& EndSubpath(const QvPoint2<float>& p, QvLong close) = 0;
  virtual void Reset();

  const QvGC& GetGraphicsContext() const;
  QvPath2f* GetCurrentPath() const;

  QvBasePathBuilder(const QvBasePathBuilder&) = delete;
  QvBasePathBuilder& operator=(const QvBasePathBuilder&) = delete;

 protected:
  QvPoint2<float> MapInput(const QvPoint2<float>& p) const;
  // Smooths inputs from consumed + 1 to the second last; the ends of the run stay put.
  void SmoothTrailingInputs();
  // Spreads samples along the path segments from path index n on (see ComputeTrailingSamplePoints
  // of the curve builders), into trailing.
  void SampleNewPathPart(QvULong n, QvLong flush, QvPoint2fArray& scratch);

  const QvGC& m_gc;
  QvPath2f* m_path;
  QvPoint2fArray m_inputs;
  QvULong m_consumed;
  QvULong m_firstPathIndex;
  QvLong m_wantFirstSample;
  QvLong m_wantMoveto;
  double m_carry;
  QvPoint2fArray m_trailing;
};

// Keeps a polyline, thinning runs of points that go in a straight line down to their ends.
class QV_API QvLinearPathBuilder : public QvBasePathBuilder {
 public:
  QvLinearPathBuilder(const QvGC& gc, QvPath2f* path);
  ~QvLinearPathBuilder() override;

  void AddInputPoint(const QvPoint2<float>& p, QvLong force) override;
  const QvPoint2fArray& GetTrailingSamples() override;
  const QvPoint2fArray& EndSubpath(const QvPoint2<float>& p, QvLong close) override;
  void Reset() override;

 protected:
  void AddTrailingInputPoints(QvLong close);
  void ComputeTrailingSamplePoints(QvLong flush);
  void CommitPending();

  QvPoint2<float> m_direction;
  QvPoint2<float> m_pending;
  QvLong m_hasPending;
};

// Makes every kept sample a node, joined to the next by a cubic whose handles follow tangents
// estimated from the neighbours. The cubic into the newest sample waits for the sample after it.
class QV_API QvCubicPathBuilder : public QvBasePathBuilder {
 public:
  QvCubicPathBuilder(const QvGC& gc, QvPath2f* path);
  ~QvCubicPathBuilder() override;

  void AddInputPoint(const QvPoint2<float>& p, QvLong force) override;
  const QvPoint2fArray& GetTrailingSamples() override;
  const QvPoint2fArray& EndSubpath(const QvPoint2<float>& p, QvLong close) override;

 protected:
  void AddTrailingInputPoints(QvLong close, QvLong isFinal);
  void ComputeTrailingSamplePoints(QvULong n, QvLong flush);
};

// Fits curves of the given degree to the stroke by least squares, cutting it at corners. Input
// gaps between minDistance and maxDistance are filled with evenly spaced points so that the fit
// sees even spacing; runs of steps at or above maxDistance are too sparse to fit and are joined
// by cubics from sample to sample instead. tolerance is the fit's distance bound.
class QV_API QvBezierFitPathBuilder : public QvBasePathBuilder {
 public:
  QvBezierFitPathBuilder(const QvGC& gc, QvPath2f* path, double maxDistance, double minDistance,
                         double tolerance, QvULong degree);
  ~QvBezierFitPathBuilder() override;

  void AddInputPoint(const QvPoint2<float>& p, QvLong force) override;
  const QvPoint2fArray& GetTrailingSamples() override;
  const QvPoint2fArray& EndSubpath(const QvPoint2<float>& p, QvLong close) override;
  void Reset() override;

  double GetMaxDistance() const;
  void SetMaxDistance(double value);
  double GetMinDistance() const;
  void SetMinDistance(double value);
  QvULong GetDegree() const;
  void SetDegree(QvULong value);
  double GetTolerance() const;
  void SetTolerance(double value);

 protected:
  void AddTrailingInputPoints(QvLong close);
  void ComputeTrailingSamplePoints(QvULong n, QvLong flush);

  double m_maxDistance;
  double m_minDistance;
  QvULong m_degree;
  double m_tolerance;
  QvDoubleArray m_lengths;
  QvBezierTool m_tool;
  QvBoolArray m_cornerFlags;
  QvPoint2fArray m_flat;
};

// The property builders do what the plain ones do for a QvPath2fProp1d, with a value beside every
// input point (a pen's pressure, say). The values follow their points through thinning, gap
// filling and smoothing; each trailing sample gets the value interpolated at its arc length; and
// the settled values go into the subpath's property curve, keyed by arc length along the inputs,
// a value in line with the last segment (within GetPropertyTolerance) extending it instead of
// adding a key. The curve starts at the Moveto with the stroke's first value at arc length 0.
class QV_API QvBasePathPropBuilder {
 public:
  QvBasePathPropBuilder(const QvGC& gc, QvPath2fProp1d* path);
  virtual ~QvBasePathPropBuilder();

  virtual void AddInputPoint(const QvPoint2<float>& p, double value, QvLong force) = 0;
  // EndSubpathAndGetTrailingSamples with the samples discarded.
  virtual void EndSubpath(const QvPoint2<float>& p, double value, QvLong close);
  // values is replaced by one value for each returned sample. The returned array belongs to the
  // builder and is overwritten by the next call.
  virtual const QvPoint2fArray& GetTrailingSamples(QvDoubleArray& values) = 0;
  virtual const QvPoint2fArray& EndSubpathAndGetTrailingSamples(const QvPoint2<float>& p,
                                                                double value,
                                                                QvDoubleArray& values,
                                                                QvLong close) = 0;
  virtual void Reset();

  // Reset through the virtual slot, then (with a path) replace the target, then map and keep p
  // with its value. The two forms with a path take it before or after the value.
  void StartSubpath(const QvPoint2<float>& p, double value);
  void StartSubpath(const QvPoint2<float>& p, double value, QvPath2fProp1d* path);
  void StartSubpath(const QvPoint2<float>& p, QvPath2fProp1d* path, double value);
  // The inputs kept so far in this stroke.
  QvULong NumPoints() const;
  const QvGC& GetGraphicsContext() const;
  QvPath2fProp1d* GetCurrentPath() const;

  QvBasePathPropBuilder(const QvBasePathPropBuilder&) = delete;
  QvBasePathPropBuilder& operator=(const QvBasePathPropBuilder&) = delete;

 protected:
  QvPoint2<float> MapInput(const QvPoint2<float>& p) const;
  // The Moveto and the property curve's first key, once per stroke.
  void BeginPathIfWanted();
  // Keys for the inputs from consumed + 1 to the last, at their arc lengths.
  void AppendPropKeys();
  // Samples along points[first..last], the polyline of the path's new part that runs over the
  // inputs from consumed to the last, into trailing, with their values into values.
  void SampleWithValues(const QvPoint2<float>* points, QvULong first, QvULong last,
                        QvDoubleArray& values, QvLong flush);

  const QvGC& m_gc;
  QvPath2fProp1d* m_path;
  QvPoint2fArray m_inputs;
  QvDoubleArray m_values;   // beside m_inputs
  QvDoubleArray m_lengths;  // cumulative arc length of m_inputs, settled up to m_consumed
  QvULong m_consumed;
  QvULong m_firstPathIndex;
  QvLong m_wantFirstSample;
  QvLong m_wantMoveto;
  double m_carry;
  QvPoint2fArray m_trailing;
  QvDoubleArray m_positions;  // scratch: arc length of each sample
};

// QvLinearPathBuilder with a value at each point. A straight run is thinned to its ends only
// while its values also stay within the property tolerance of a line over its arc length, so
// that the property curve keeps what the thinned polyline no longer shows.
class QV_API QvLinearPathPropBuilder : public QvBasePathPropBuilder {
 public:
  QvLinearPathPropBuilder(const QvGC& gc, QvPath2fProp1d* path);
  ~QvLinearPathPropBuilder() override;

  void AddInputPoint(const QvPoint2<float>& p, double value, QvLong force) override;
  const QvPoint2fArray& GetTrailingSamples(QvDoubleArray& values) override;
  const QvPoint2fArray& EndSubpathAndGetTrailingSamples(const QvPoint2<float>& p, double value,
                                                        QvDoubleArray& values,
                                                        QvLong close) override;
  void Reset() override;

 protected:
  void AddTrailingInputPoints(QvLong close);
  void ComputeTrailingSamplePoints(QvDoubleArray& values, QvLong flush);
  void CommitPending();

  QvPoint2<float> m_direction;
  QvPoint2<float> m_pending;
  double m_pendingValue;
  double m_slope;  // value change per unit of arc length along the pending run
  QvLong m_hasPending;
};

// QvBezierFitPathBuilder with a value at each point; gap filling interpolates the values.
class QV_API QvBezierFitPathPropBuilder : public QvBasePathPropBuilder {
 public:
  QvBezierFitPathPropBuilder(const QvGC& gc, QvPath2fProp1d* path, double maxDistance,
                             double minDistance, double tolerance, QvULong degree);
  ~QvBezierFitPathPropBuilder() override;

  void AddInputPoint(const QvPoint2<float>& p, double value, QvLong force) override;
  const QvPoint2fArray& GetTrailingSamples(QvDoubleArray& values) override;
  const QvPoint2fArray& EndSubpathAndGetTrailingSamples(const QvPoint2<float>& p, double value,
                                                        QvDoubleArray& values,
                                                        QvLong close) override;
  void Reset() override;

  double GetMaxDistance() const;
  void SetMaxDistance(double value);
  double GetMinDistance() const;
  void SetMinDistance(double value);
  QvULong GetDegree() const;
  void SetDegree(QvULong value);
  double GetTolerance() const;
  void SetTolerance(double value);

  // Puts the values of the inputs settled since the last call into the property curve, then
  // samples the path from index n on (its point count before the settling) into the trailing
  // samples, with their values into values.
  void AddPropDataAndComputeTrailingSamplePoints(QvULong n, QvDoubleArray& values, QvLong flush);

 protected:
  void AddTrailingInputPoints(QvLong close);

  double m_maxDistance;
  double m_minDistance;
  QvULong m_degree;
  double m_tolerance;
  QvBezierTool m_tool;
  QvBoolArray m_cornerFlags;
  QvPoint2fArray m_flat;
};

#endif
