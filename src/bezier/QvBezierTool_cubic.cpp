#include <qv/QvBezierTool.h>

#include "bezier/bezier_core.h"

namespace {

using qv::internal::CubicLeaf;
using qv::internal::kLog2StepBudget;

// The hand-folded cubic form of the flattening engine: the same depth and step rules as the
// general degree, with the conversion constants written out. Depth is at most 10, so the control
// polygons of the recursion all live on the stack.
template <class P, class Sink>
class CubicFlattener {
 public:
  CubicFlattener(double q, QvULong max_log2, Sink sink)
      : m_q(q), m_maxLog2(max_log2), m_sink(sink) {}

  void Run(const P* p, QvULong depth) {
    if (depth == 0) {
      Leaf(p);
      return;
    }
    P left[4];
    P right[4];
    qv::internal::split_cubic_half(p, left, right);
    Run(left, depth - 1);
    m_sink(left[3]);
    Run(right, depth - 1);
  }

 private:
  // Three additions per axis per point; the end point of the leaf is left to the caller.
  void Leaf(const P* p) {
    CubicLeaf<P> leaf = qv::internal::make_cubic_leaf(p, m_q, m_maxLog2);
    if (leaf.log2_steps == 0) return;
    const QvULong inner = (QvULong{1} << leaf.log2_steps) - 1;
    P position = p[0];
    for (QvULong s = 0; s < inner; ++s) {
      leaf.second = qv::internal::add(leaf.second, leaf.third);
      position = qv::internal::add(position, leaf.first);
      m_sink(position);
      leaf.first = qv::internal::add(leaf.first, leaf.second);
    }
  }

  double m_q;
  QvULong m_maxLog2;
  Sink m_sink;
};

template <class P, class Sink>
void flatten_cubic(const P* p, double tolerance, QvULong leaf_cap, Sink sink) {
  const QvULong depth = qv::internal::cubic_depth(p, tolerance);
  const double q = (1.0 / tolerance) * 0.75;
  QvULong max_log2 = kLog2StepBudget - depth;
  if (max_log2 > leaf_cap) max_log2 = leaf_cap;
  CubicFlattener<P, Sink>(q, max_log2, sink).Run(p, depth);
}

// The double form caps a leaf at 2^10 steps; the float and 3D forms do not, and stored drawings
// depend on that difference.
constexpr QvULong kCubic2dLeafCap = 10;
constexpr QvULong kNoLeafCap = kLog2StepBudget;

}  // namespace

QvULong QvBezierTool_FlattenCubic2d(const QvPoint2<double>* points, double tolerance,
                                    QvPoint2dArray* out, QvLong skipFirst) {
  if (points == nullptr || out == nullptr) return 0;
  // A copy: out may grow, and the points may live in it.
  const QvPoint2<double> p[4] = {points[0], points[1], points[2], points[3]};
  const QvULong before = out->GetSize();
  if (!skipFirst) out->Add(p[0]);
  flatten_cubic(p, tolerance, kCubic2dLeafCap, [out](const QvPoint2<double>& q) { out->Add(q); });
  out->Add(p[3]);
  return out->GetSize() - before;
}

QvULong QvBezierTool_FlattenCubic2f(const QvPoint2<float>* points, double tolerance,
                                    QvPoint2fArray* out, QvLong skipFirst) {
  if (points == nullptr || out == nullptr) return 0;
  const QvULong before = out->GetSize();
  const QvPoint2<float> first_point = points[0];
  const QvPoint2<float> last_point = points[3];
  const QvPoint2<double> wide[4] = {points[0].ToDouble(), points[1].ToDouble(),
                                    points[2].ToDouble(), points[3].ToDouble()};
  if (!skipFirst) out->Add(first_point);
  // The running state stays in double; only what is written is rounded.
  flatten_cubic(wide, tolerance, kNoLeafCap, [out](const QvPoint2<double>& p) {
    out->Add(QvPoint2<float>(static_cast<float>(p.x), static_cast<float>(p.y)));
  });
  out->Add(last_point);
  return out->GetSize() - before;
}

QvULong QvBezierTool_FlattenCubic3d(const QvPoint3<double>* points, double tolerance,
                                    QvPoint3dArray* out, QvLong skipFirst) {
  if (points == nullptr || out == nullptr) return 0;
  const QvPoint3<double> p[4] = {points[0], points[1], points[2], points[3]};
  const QvULong before = out->GetSize();
  if (!skipFirst) out->Add(p[0]);
  flatten_cubic(p, tolerance, kNoLeafCap, [out](const QvPoint3<double>& q) { out->Add(q); });
  out->Add(p[3]);
  return out->GetSize() - before;
}

void QvBezierTool_SplitCubic3d(const QvPoint3<double>* points, QvPoint3<double>* out, double t) {
  if (points == nullptr || out == nullptr) return;
  const QvPoint3<double> p[4] = {points[0], points[1], points[2], points[3]};
  const auto lerp = [t](const QvPoint3<double>& a, const QvPoint3<double>& b) {
    return QvPoint3<double>(a.x + (b.x - a.x) * t, a.y + (b.y - a.y) * t, a.z + (b.z - a.z) * t);
  };
  const QvPoint3<double> m = lerp(p[1], p[2]);
  out[0] = lerp(p[0], p[1]);
  out[4] = lerp(p[2], p[3]);
  out[1] = lerp(out[0], m);
  out[3] = lerp(m, out[4]);
  out[2] = lerp(out[1], out[3]);
}

namespace {

template <class T>
QvPoint2<T> half_way(const QvPoint2<T>& a, const QvPoint2<T>& b) {
  return QvPoint2<T>(static_cast<T>((a.x + b.x) * T(0.5)), static_cast<T>((a.y + b.y) * T(0.5)));
}

template <class T>
void split_half(const QvPoint2<T>* p, QvPoint2<T>* left, QvPoint2<T>* right) {
  const QvPoint2<T> p01 = half_way(p[0], p[1]);
  const QvPoint2<T> p12 = half_way(p[1], p[2]);
  const QvPoint2<T> p23 = half_way(p[2], p[3]);
  const QvPoint2<T> p012 = half_way(p01, p12);
  const QvPoint2<T> p123 = half_way(p12, p23);
  const QvPoint2<T> mid = half_way(p012, p123);
  left[0] = p[0];
  left[1] = p01;
  left[2] = p012;
  left[3] = mid;
  right[0] = mid;
  right[1] = p123;
  right[2] = p23;
  right[3] = p[3];
}

// The control points of the cubic cut twice at midpoints bound it far more tightly than its own
// control polygon, without solving for extrema; the thirteen distinct ones go in order.
template <class T>
void augment_with_tight_extent(QvExtent2<T>& extent, const QvPoint2<T>* p, QvLong skip_first) {
  QvPoint2<T> left[4];
  QvPoint2<T> right[4];
  QvPoint2<T> quarters[4][4];
  split_half(p, left, right);
  split_half(left, quarters[0], quarters[1]);
  split_half(right, quarters[2], quarters[3]);
  if (!skip_first) extent.Augment(p[0]);
  for (const auto& piece : quarters)
    for (int i = 1; i < 4; ++i) extent.Augment(piece[i]);
}

}  // namespace

void QvBezierTool_AugmentExtentWithCubic2fTightExtent(QvExtent2<float>& extent,
                                                      const QvPoint2<float>* points,
                                                      QvLong skipFirst) {
  if (points == nullptr) return;
  augment_with_tight_extent(extent, points, skipFirst);
}

void QvBezierTool_AugmentExtentWithCubic2dTightExtent(QvExtent2<double>& extent,
                                                      const QvPoint2<double>* points,
                                                      QvLong skipFirst) {
  if (points == nullptr) return;
  augment_with_tight_extent(extent, points, skipFirst);
}
