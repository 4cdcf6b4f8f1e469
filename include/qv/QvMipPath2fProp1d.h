#ifndef QV_QVMIPPATH2FPROP1D_H
#define QV_QVMIPPATH2FPROP1D_H

#include <qv/QvArray.h>
#include <qv/QvCriticalSection.h>
#include <qv/QvTypes.h>

class QvPath2fProp1d;
class QvTransfo4;
class QvMipPath2fProp1dImpl;
class QvMipP2fP1dAgentImpl;

// A shape keyed over a parameter: a list of paths with property, each at its
// own parameter, sorted by strictly rising parameter. Between keys the shape
// is the morph of its two neighbours. Each key's path is a deep copy owned by
// the list.
//
// The list itself only reads and persists; every change and evaluation goes
// through a QvMipP2fP1dAgent bound to it.
class QV_API QvMipPath2fProp1d {
 public:
  QvMipPath2fProp1d();
  // One key: a copy of path at parameter.
  QvMipPath2fProp1d(const QvPath2fProp1d& path, double parameter);
  QvMipPath2fProp1d(const QvMipPath2fProp1d& other);
  // A copy of source cut to from..to. Keys outside the range are dropped; an
  // end of the range that lies inside the source's keys and has no key of its
  // own gets one, evaluated from the source.
  QvMipPath2fProp1d(const QvMipPath2fProp1d& source, double from, double to);
  ~QvMipPath2fProp1d();

  QvMipPath2fProp1d& operator=(const QvMipPath2fProp1d& other);

  QvULong GetNumKeys() const;
  // Appends every key's parameter; returns the number appended.
  QvULong GetAllKeyParameters(QvDoubleArray& parameters) const;
  // 0 on an empty list, leaving t as it was.
  QvLong GetSmallestKeyParameter(double& t) const;
  QvLong GetLargestKeyParameter(double& t) const;

  // Buffer: 4-byte length, version, key count, then for each key its
  // parameter and the full buffer of its path.
  QvULong GetBufferSize() const;
  QvULong WriteToBuffer(void* buffer) const;
  // Given the body (just after the length word); returns the bytes consumed,
  // 0 on a malformed body, which leaves the list as it was.
  QvULong ReadFromBufferBody(const void* body);

  QvMipPath2fProp1dImpl* GetImpl() const;

 private:
  friend class QvMipP2fP1dAgent;
  void Lock() const;
  void Unlock() const;

  QvMipPath2fProp1dImpl* m_impl;
  mutable QvCriticalSection m_section;
};

// Edits and evaluates one keyed shape list. The agent does not own the list,
// which must outlive it; several agents may share one list. Evaluations land
// in the agent's own result path, which stays valid until the next
// evaluation on the same agent.
class QV_API QvMipP2fP1dAgent {
 public:
  explicit QvMipP2fP1dAgent(QvMipPath2fProp1d& list);
  ~QvMipP2fP1dAgent();
  QvMipP2fP1dAgent(const QvMipP2fP1dAgent&) = delete;
  QvMipP2fP1dAgent& operator=(const QvMipP2fP1dAgent&) = delete;

  // The shape at t: a copy of the end key outside the keys, a copy of the key
  // on a hit, and otherwise the linear morph of the two neighbouring keys,
  // flattened and fitted to smallestFeature with property curves kept to
  // propertyTolerance. An empty list gives an empty path.
  const QvPath2fProp1d& Eval(double t, double smallestFeature, double propertyTolerance);
  // As Eval, seeing only the keys inside from..to; a bound whose exclude flag
  // is set leaves out a key lying on it.
  const QvPath2fProp1d& EvalInInterval(double t, double smallestFeature,
                                       double propertyTolerance, QvLong excludeFrom,
                                       QvLong excludeTo, double from, double to);

  // Inserts a copy of path at t, or replaces the path of the key within
  // 1e-15 of t. Returns 1.
  QvLong CreateKey(double t, const QvPath2fProp1d& path);
  // Keys the latest evaluation at t; 0 when it has no points.
  QvLong CreateKeyFromEvaluation(double t);
  // Replaces the keys in from..to by one key at t. A key exactly at from
  // stays when keepFrom is set, and one at to when keepTo is set.
  QvLong MergeAndCreateKey(double from, double to, double t, const QvPath2fProp1d& path,
                           QvLong keepFrom, QvLong keepTo);
  // Removes the key nearest to t within tolerance, the earlier on a tie.
  // 1 on an empty list, 0 when no key is near.
  QvLong RemoveKey(double t, double tolerance);
  // Removes the keys in from..to, with the flags as for MergeAndCreateKey;
  // at a single parameter with differing flags the key there goes.
  QvLong RemoveKeys(double from, double to, QvLong keepFrom, QvLong keepTo);
  QvLong ShiftKeyParameters(double d);
  QvLong ScaleKeyParameterAxis(double s);
  // Transforms the path of every key.
  QvLong Transform(const QvTransfo4& m);

 private:
  QvMipP2fP1dAgentImpl* m_impl;
  mutable QvCriticalSection m_section;
};

#endif  // QV_QVMIPPATH2FPROP1D_H
