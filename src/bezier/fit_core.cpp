#include "bezier/fit_core.h"

#include <cmath>

namespace qv::internal {

namespace {

constexpr QvULong kBinomial[kMaxFitDegree + 1][kMaxFitDegree + 1] = {
    {1},
    {1, 1},
    {1, 2, 1},
    {1, 3, 3, 1},
    {1, 4, 6, 4, 1},
    {1, 5, 10, 10, 5, 1},
    {1, 6, 15, 20, 15, 6, 1},
    {1, 7, 21, 35, 35, 21, 7, 1},
    {1, 8, 28, 56, 70, 56, 28, 8, 1},
};

// One unknown of the system: a handle length along a tangent, or one coordinate of a free control
// point. Its column of the basis is `basis`, and it moves its control point along `direction`.
struct Unknown {
  QvULong basis;
  QvPoint2<double> direction;
};

inline double dot(const QvPoint2<double>& a, const QvPoint2<double>& b) {
  return a.x * b.x + a.y * b.y;
}

template <class Array>
FitSolution solve(const Array& points, const QvDoubleArray& lengths, QvULong first, QvULong last,
                  const FitProblem& problem) {
  const QvULong n = problem.degree;
  const QvULong m = last - first;

  // Normal matrix of the Bernstein basis at the chord-length parameters, and the moments of the
  // samples. Powers come from running products, not pow.
  double a[kMaxFitDegree + 1][kMaxFitDegree + 1] = {};
  QvPoint2<double> x[kMaxFitDegree + 1];
  const double l0 = lengths[first];
  const double span = lengths[last] - l0;
  for (QvULong i = 0; i <= m; ++i) {
    const double u = (lengths[first + i] - l0) / span;
    const double v = 1.0 - u;
    double up[kMaxFitDegree + 1];
    double vp[kMaxFitDegree + 1];
    up[0] = 1.0;
    vp[0] = 1.0;
    for (QvULong j = 1; j <= n; ++j) {
      up[j] = up[j - 1] * u;
      vp[j] = vp[j - 1] * v;
    }
    double b[kMaxFitDegree + 1];
    for (QvULong j = 0; j <= n; ++j)
      b[j] = static_cast<double>(kBinomial[n][j]) * up[j] * vp[n - j];
    const double px = points[first + i].x;
    const double py = points[first + i].y;
    for (QvULong r = 0; r <= n; ++r) {
      for (QvULong c = 0; c <= n; ++c) a[r][c] += b[r] * b[c];
      x[r].x += b[r] * px;
      x[r].y += b[r] * py;
    }
  }

  // The unknowns, in the order of the system.
  const bool g1_start = problem.start == EndCondition::G1;
  const bool g1_end = problem.end == EndCondition::G1;
  const QvULong free_first = g1_start ? 2 : 1;
  const QvULong free_last = g1_end ? n - 2 : n - 1;
  Unknown unknowns[kMaxFitUnknowns];
  int count = 0;
  if (g1_start) unknowns[count++] = {1, problem.start_tangent};
  if (g1_start && g1_end) unknowns[count++] = {n - 1, problem.end_tangent};
  for (QvULong j = free_first; j <= free_last; ++j) unknowns[count++] = {j, {1.0, 0.0}};
  for (QvULong j = free_first; j <= free_last; ++j) unknowns[count++] = {j, {0.0, 1.0}};
  if (g1_end && !g1_start) unknowns[count++] = {n - 1, problem.end_tangent};

  // The end points are known: their part of each row moves to the right-hand side, with the
  // handle that hangs on them when the end is G1.
  const QvPoint2<double> q0(points[first].x, points[first].y);
  const QvPoint2<double> qn(points[last].x, points[last].y);
  double matrix[kMaxFitUnknowns][kMaxFitUnknowns] = {};
  double rhs[kMaxFitUnknowns] = {};
  for (int r = 0; r < count; ++r) {
    const Unknown& ur = unknowns[r];
    for (int c = 0; c < count; ++c)
      matrix[r][c] = a[ur.basis][unknowns[c].basis] * dot(ur.direction, unknowns[c].direction);
    const QvULong j = ur.basis;
    const double f0 = g1_start ? a[j][0] + a[j][1] : a[j][0];
    const double fn = g1_end ? a[j][n - 1] + a[j][n] : a[j][n];
    const QvPoint2<double> moved(x[j].x - f0 * q0.x - fn * qn.x, x[j].y - f0 * q0.y - fn * qn.y);
    rhs[r] = dot(ur.direction, moved);
  }
  gauss_jordan(matrix, rhs, count);

  FitSolution s;
  int k = 0;
  if (g1_start) s.a1 = rhs[k++];
  if (g1_start && g1_end) s.a2 = rhs[k++];
  const int free_count = static_cast<int>(free_last + 1 - free_first);
  for (int f = 0; f < free_count; ++f) {
    s.inner[free_first + static_cast<QvULong>(f)].x = rhs[k + f];
    s.inner[free_first + static_cast<QvULong>(f)].y = rhs[k + free_count + f];
  }
  k += 2 * free_count;
  if (g1_end && !g1_start) s.a2 = rhs[k];
  return s;
}

template <class Array>
void lengths_of(const Array& points, QvDoubleArray& lengths) {
  lengths.Chop(0);
  double total = 0.0;
  const QvULong size = points.GetSize();
  for (QvULong i = 0; i < size; ++i) {
    if (i > 0) {
      auto step = points[i];
      step.x -= points[i - 1].x;
      step.y -= points[i - 1].y;
      total += step.Length();
    }
    lengths.Add(total);
  }
}

// The point at a fraction w of the way from a to b, worked in the precision of the polyline.
inline QvPoint2<double> along(const QvPoint2<float>& a, const QvPoint2<float>& b, double w) {
  const float wf = static_cast<float>(w);
  return QvPoint2<double>(a.x + (b.x - a.x) * wf, a.y + (b.y - a.y) * wf);
}
inline QvPoint2<double> along(const QvPoint2<double>& a, const QvPoint2<double>& b, double w) {
  return QvPoint2<double>(a.x + (b.x - a.x) * w, a.y + (b.y - a.y) * w);
}

template <class Array>
bool check(const Array& flat, const QvDoubleArray& g, const Array& points, const QvDoubleArray& l,
           QvULong first, QvULong last, double tolerance, QvULong& fail_index) {
  if (flat.GetSize() == 0) return true;
  const double limit = tolerance * tolerance;
  const QvULong f = flat.GetSize() - 1;
  const auto too_far = [&](const QvPoint2<double>& c, QvULong i) {
    const double dx = c.x - static_cast<double>(points[i].x);
    const double dy = c.y - static_cast<double>(points[i].y);
    return dx * dx + dy * dy > limit;
  };
  QvULong j = 1;
  for (QvULong i = first + 1; i < last; ++i) {
    const double d = l[i] - l[first];
    while (j <= f && !(d <= g[j] - g[0])) ++j;
    if (j > f) {
      // The samples outrun the candidate: the rest are compared with its end.
      const QvPoint2<double> end(flat[f].x, flat[f].y);
      for (; i < last; ++i) {
        if (too_far(end, i)) {
          fail_index = i;
          return false;
        }
      }
      return true;
    }
    const double w = (d - g[j - 1] + g[0]) / (g[j] - g[j - 1]);
    if (too_far(along(flat[j - 1], flat[j], w), i)) {
      fail_index = i;
      return false;
    }
  }
  return true;
}

}  // namespace

bool gauss_jordan(double (*a)[kMaxFitUnknowns], double* b, int n) {
  bool used[kMaxFitUnknowns] = {};
  for (int step = 0; step < n; ++step) {
    // The largest remaining element; on ties the last one found.
    double big = 0.0;
    int row = -1;
    int col = -1;
    for (int j = 0; j < n; ++j) {
      if (used[j]) continue;
      for (int k = 0; k < n; ++k) {
        if (used[k]) continue;
        if (std::fabs(a[j][k]) >= big) {
          big = std::fabs(a[j][k]);
          row = j;
          col = k;
        }
      }
    }
    if (row < 0 || !(std::fabs(a[row][col]) > 1e-9)) return false;
    used[col] = true;
    if (row != col) {
      for (int l = 0; l < n; ++l) {
        const double t = a[row][l];
        a[row][l] = a[col][l];
        a[col][l] = t;
      }
      const double t = b[row];
      b[row] = b[col];
      b[col] = t;
    }
    const double inverse = 1.0 / a[col][col];
    a[col][col] = 1.0;
    for (int l = 0; l < n; ++l) a[col][l] *= inverse;
    b[col] *= inverse;
    for (int r = 0; r < n; ++r) {
      if (r == col) continue;
      const double factor = a[r][col];
      a[r][col] = 0.0;
      for (int l = 0; l < n; ++l) a[r][l] -= a[col][l] * factor;
      b[r] -= b[col] * factor;
    }
  }
  return true;
}

FitSolution solve_fit(const QvPoint2fArray& points, const QvDoubleArray& lengths, QvULong first,
                      QvULong last, const FitProblem& problem) {
  return solve(points, lengths, first, last, problem);
}

FitSolution solve_fit(const QvPoint2dArray& points, const QvDoubleArray& lengths, QvULong first,
                      QvULong last, const FitProblem& problem) {
  return solve(points, lengths, first, last, problem);
}

// A handle is its length times the tangent, rounded, then added
// to the end point it hangs on.
void build_float_polygon(const QvPoint2fArray& points, QvULong first, QvULong last,
                         const FitProblem& problem, const FitSolution& s, QvPoint2<float>* out) {
  const QvULong n = problem.degree;
  for (QvULong j = 1; j < n; ++j)
    out[j] = QvPoint2<float>(static_cast<float>(s.inner[j].x), static_cast<float>(s.inner[j].y));
  out[0] = points[first];
  out[n] = points[last];
  if (problem.start == EndCondition::G1) {
    out[1].x = static_cast<float>(s.a1 * problem.start_tangent.x) + points[first].x;
    out[1].y = static_cast<float>(s.a1 * problem.start_tangent.y) + points[first].y;
  }
  if (problem.end == EndCondition::G1) {
    out[n - 1].x = static_cast<float>(s.a2 * problem.end_tangent.x) + points[last].x;
    out[n - 1].y = static_cast<float>(s.a2 * problem.end_tangent.y) + points[last].y;
  }
}

bool handles_point_inward(const FitProblem& problem, const FitSolution& s) {
  if (problem.start == EndCondition::G1 && !(s.a1 > 0.0)) return false;
  if (problem.end == EndCondition::G1 && !(s.a2 < 0.0)) return false;
  return true;
}

void cumulative_lengths(const QvPoint2fArray& points, QvDoubleArray& lengths) {
  lengths_of(points, lengths);
}

void cumulative_lengths(const QvPoint2dArray& points, QvDoubleArray& lengths) {
  lengths_of(points, lengths);
}

bool arc_length_check(const QvPoint2fArray& flat, const QvDoubleArray& flat_lengths,
                      const QvPoint2fArray& points, const QvDoubleArray& lengths, QvULong first,
                      QvULong last, double tolerance, QvULong& fail_index) {
  return check(flat, flat_lengths, points, lengths, first, last, tolerance, fail_index);
}

bool arc_length_check(const QvPoint2dArray& flat, const QvDoubleArray& flat_lengths,
                      const QvPoint2dArray& points, const QvDoubleArray& lengths, QvULong first,
                      QvULong last, double tolerance, QvULong& fail_index) {
  return check(flat, flat_lengths, points, lengths, first, last, tolerance, fail_index);
}

}  // namespace qv::internal
