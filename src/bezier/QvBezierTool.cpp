#include <qv/QvBezierTool.h>

#include <cmath>

#include "bezier/bezier_core.h"

namespace {

using qv::internal::kMaxBezierDegree;

// Levels 0 to n of the difference table lie one after the other: n + 1, n, ... 1 entries.
inline QvULong level_offset(QvULong n, QvULong level) {
  return level * (n + 1) - level * (level - 1) / 2;
}

}  // namespace

QvBezierTool::QvBezierTool()
    : m_degree(0),
      m_tolerance(0.0),
      m_numLeafSamples(0),
      m_numEmitted(0),
      m_log2Steps(0),
      m_outFloat(nullptr),
      m_outDouble(nullptr),
      m_outIsDouble(0),
      m_differenceTable(),
      m_forwardDifferences(),
      m_maxLog2Steps(qv::internal::kLog2StepBudget),
      m_fitTolerance(0.0),
      m_fitToleranceSquared(0.0),
      m_fitPoints(nullptr),
      m_fitLengths(nullptr),
      m_fitPath(nullptr),
      m_fitCount(0) {}

QvBezierTool::~QvBezierTool() = default;

QvULong QvBezierTool::MaxDegreeForThisImplementation() { return kMaxBezierDegree; }

// The control points are copied before anything is written: they may lie in out itself.
QvULong QvBezierTool::Flatten(const QvPoint2<float>* points, QvULong first, QvULong degree,
                              double tolerance, QvPoint2fArray* out, QvLong skipFirst) {
  if (points == nullptr || out == nullptr || degree > kMaxBezierDegree) return 0;
  QvPoint2<double> block[kMaxBezierDegree + 1];
  for (QvULong i = 0; i <= degree; ++i) block[i] = points[first + i].ToDouble();
  m_outFloat = out;
  m_outDouble = nullptr;
  m_outIsDouble = 0;
  return FlattenWidened(block, degree, tolerance, skipFirst);
}

QvULong QvBezierTool::Flatten(const QvPoint2<double>* points, QvULong first, QvULong degree,
                              double tolerance, QvPoint2dArray* out, QvLong skipFirst) {
  if (points == nullptr || out == nullptr || degree > kMaxBezierDegree) return 0;
  QvPoint2<double> block[kMaxBezierDegree + 1];
  for (QvULong i = 0; i <= degree; ++i) block[i] = points[first + i];
  m_outFloat = nullptr;
  m_outDouble = out;
  m_outIsDouble = 1;
  return FlattenWidened(block, degree, tolerance, skipFirst);
}

// Both precisions meet here, in double. The end points go out through the same rounding as the
// points the engine computes, which gives single-precision ends back exactly as they were given.
QvULong QvBezierTool::FlattenWidened(const QvPoint2<double>* block, QvULong degree,
                                     double tolerance, QvLong skipFirst) {
  m_numEmitted = 0;
  if (degree < 2) {  // nothing to measure: the table is left alone
    if (!skipFirst) Emit(block[0]);
    Emit(block[degree]);
    return m_numEmitted;
  }
  m_degree = degree;
  m_tolerance = tolerance;
  m_maxLog2Steps = qv::internal::kLog2StepBudget;
  ContextInitOne(block);
  if (!skipFirst) Emit(block[0]);
  const QvULong depth = DepthPMSOFD();
  m_maxLog2Steps = qv::internal::kLog2StepBudget - depth;
  PMSOFD(block, depth);
  Emit(block[degree]);
  return m_numEmitted;
}

QvULong QvBezierTool::Flatten(const QvPoint2fArray& points, QvULong first, QvULong degree,
                              double tolerance, QvPoint2fArray* out, QvLong skipFirst) {
  const QvULong size = points.GetSize();
  if (degree > kMaxBezierDegree || first >= size || degree >= size - first) return 0;
  QvPoint2<float> block[kMaxBezierDegree + 1];
  for (QvULong i = 0; i <= degree; ++i) block[i] = points[first + i];
  return Flatten(block, 0, degree, tolerance, out, skipFirst);
}

QvULong QvBezierTool::FlatPolylineSizeUpperBound(const QvPoint2<float>* points, QvULong first,
                                                 QvULong degree, double tolerance) {
  if (points == nullptr || degree > kMaxBezierDegree) return 0;
  if (degree < 2) return degree + 1;
  m_degree = degree;
  m_tolerance = tolerance;
  m_maxLog2Steps = qv::internal::kMaxCountableLog2Steps;
  QvPoint2<double> block[kMaxBezierDegree + 1];
  for (QvULong i = 0; i <= degree; ++i) block[i] = points[first + i].ToDouble();
  ContextInitOne(block);
  return m_numLeafSamples;
}

// Fills the difference table of one leaf and chooses its step count k from the flatness bound: a
// Bezier of degree n cut into s equal steps stays within n(n-1)M / (8 s^2) of its polyline, M the
// largest second difference measured across the chord.
void QvBezierTool::ContextInitOne(const QvPoint2<double>* points) {
  const QvULong n = m_degree;
  QvPoint2<double>* table = m_differenceTable;
  for (QvULong i = 0; i <= n; ++i) table[i] = points[i];
  for (QvULong level = 0; level < n; ++level) {
    const QvPoint2<double>* from = table + level_offset(n, level);
    QvPoint2<double>* to = table + level_offset(n, level + 1);
    for (QvULong j = 0; j < n - level; ++j) to[j] = qv::internal::sub(from[j + 1], from[j]);
  }
  const QvPoint2<double> chord = qv::internal::sub(points[n], points[0]);
  const double chord_length = chord.Length();
  m_log2Steps = 0;
  if (n < 2) {
    m_numLeafSamples = 2;
    return;
  }
  double m = 0.0;
  if (qv::internal::is_null_chord(chord_length)) {
    // A closed loop has no chord to measure across: take its reach from the start instead.
    for (QvULong i = 1; i < n; ++i) {
      const double d = qv::internal::sub(points[i], points[0]).Length();
      if (d > m) m = d;
    }
  } else {
    const QvPoint2<double>* second = table + level_offset(n, 2);
    for (QvULong j = 0; j + 1 < n; ++j) {
      const double d = qv::internal::chord_deviation(second[j], chord, chord_length);
      if (d > m) m = d;
    }
  }
  if (m > 0.0) {
    const double v = m * static_cast<double>(qv::internal::kPairs[n]) * 0.25 / m_tolerance;
    m_log2Steps = qv::internal::leaf_log2_steps(v, m_maxLog2Steps);
  }
  m_numLeafSamples = (QvULong{1} << m_log2Steps) + 1;
}

// Midpoint subdivision divides the third differences by 8 at each level, so the depth is the
// base-8 logarithm of the largest of them in tolerances.
QvULong QvBezierTool::DepthPMSOFD() {
  const QvULong n = m_degree;
  if (n < 3) return 0;
  const QvPoint2<double>* third = m_differenceTable + level_offset(n, 3);
  double m = 0.0;
  for (QvULong j = 0; j + 2 < n; ++j) {
    const double d = third[j].Length();
    if (d > m) m = d;
  }
  return qv::internal::subdivision_depth(m / m_tolerance);
}

// The recursion yields the shared midpoints in order; the leaves fill in what lies between.
void QvBezierTool::PMSOFD(const QvPoint2<double>* points, QvULong depth) {
  if (depth == 0) {
    ContextInitOne(points);
    ContextInitTwo();
    OFDInnerLoop();
    return;
  }
  const QvULong n = m_degree;
  QvPoint2<double> work[kMaxBezierDegree + 1];
  QvPoint2<double> left[kMaxBezierDegree + 1];
  QvPoint2<double> right[kMaxBezierDegree + 1];
  for (QvULong i = 0; i <= n; ++i) work[i] = points[i];
  left[0] = work[0];
  right[n] = work[n];
  for (QvULong r = 1; r <= n; ++r) {
    for (QvULong i = 0; i + r <= n; ++i) work[i] = qv::internal::midpoint(work[i], work[i + 1]);
    left[r] = work[0];
    right[n - r] = work[n - r];
  }
  PMSOFD(left, depth - 1);
  Emit(left[n]);
  PMSOFD(right, depth - 1);
}

// Forward differences of step 2^-k at the start of the leaf, from its Bezier differences. The
// powers of two are applied exactly, per axis.
void QvBezierTool::ContextInitTwo() {
  const QvULong n = m_degree;
  const int k = static_cast<int>(m_log2Steps);
  if (n == 0) {
    m_forwardDifferences[0] = QvPoint2<double>();
    return;
  }
  for (QvULong i = 1; i <= n; ++i) {
    double x = 0.0;
    double y = 0.0;
    for (QvULong j = i; j <= n; ++j) {
      const QvPoint2<double>& d = m_differenceTable[level_offset(n, j)];
      const double c = static_cast<double>(qv::internal::conversion_table(n, j, i));
      const int e = -static_cast<int>(j) * k;
      x += qv::internal::times_power_of_two(c * d.x, e);
      y += qv::internal::times_power_of_two(c * d.y, e);
    }
    m_forwardDifferences[i - 1] = QvPoint2<double>(x, y);
  }
}

namespace {

// Additions only: the position and the n running differences, the top one constant.
template <class Sink>
void walk_forward_differences(QvPoint2<double> position, QvPoint2<double>* fd, QvULong n,
                              QvULong count, Sink sink) {
  for (QvULong s = 0; s < count; ++s) {
    position.x += fd[0].x;
    position.y += fd[0].y;
    for (QvULong i = 1; i < n; ++i) {
      fd[i - 1].x += fd[i].x;
      fd[i - 1].y += fd[i].y;
    }
    sink(position);
  }
}

}  // namespace

// The leaf's end point is never emitted here: a midpoint or the curve's last point follows.
void QvBezierTool::OFDInnerLoop() {
  if (m_numLeafSamples - 1 < 2) return;
  const QvULong count = m_numLeafSamples - 2;
  const QvPoint2<double> start = m_differenceTable[0];
  if (m_outIsDouble) {
    QvPoint2dArray* out = m_outDouble;
    walk_forward_differences(start, m_forwardDifferences, m_degree, count,
                             [out](const QvPoint2<double>& p) { out->Add(p); });
  } else {
    QvPoint2fArray* out = m_outFloat;
    walk_forward_differences(
        start, m_forwardDifferences, m_degree, count, [out](const QvPoint2<double>& p) {
          out->Add(QvPoint2<float>(static_cast<float>(p.x), static_cast<float>(p.y)));
        });
  }
  m_numEmitted += count;
}

void QvBezierTool::Emit(const QvPoint2<double>& p) {
  if (m_outIsDouble)
    m_outDouble->Add(p);
  else
    m_outFloat->Add(QvPoint2<float>(static_cast<float>(p.x), static_cast<float>(p.y)));
  ++m_numEmitted;
}
