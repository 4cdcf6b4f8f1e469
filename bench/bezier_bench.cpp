// Flattening of 10,000 random cubics, the work under every fill and stroke: the hand-folded cubic
// against the general engine at degree 3. Reports ns per curve and points per curve.
//
// Arrays shrink as well as grow, so an output chopped back to nothing would be reallocated on the
// next append. Each curve is appended after a fixed prefix instead, in a block whose capacity the
// prefix already more than half fills: the timed loops allocate nothing.
#include <benchmark/benchmark.h>
#include <qv/QvBezierTool.h>

#include <random>
#include <vector>

namespace {

constexpr int kCurves = 10000;
constexpr QvULong kPrefix = 40000;  // capacity 80000 after the first append

const std::vector<QvPoint2<double>>& curves() {
  static const std::vector<QvPoint2<double>> points = [] {
    std::mt19937 rng(42);
    std::uniform_real_distribution<double> coord(0.0, 500.0);
    std::vector<QvPoint2<double>> p(4 * kCurves);
    for (QvPoint2<double>& q : p) q = QvPoint2<double>(coord(rng), coord(rng));
    return p;
  }();
  return points;
}

QvPoint2dArray prefixed_output() {
  const std::vector<QvPoint2<double>> prefix(kPrefix);
  return QvPoint2dArray(prefix.data(), kPrefix);
}

double tolerance_of(const benchmark::State& state) { return state.range(0) == 0 ? 0.25 : 1.0; }

void report(benchmark::State& state, QvULong points) {
  state.SetItemsProcessed(state.iterations() * kCurves);
  state.counters["ns_per_curve"] =
      benchmark::Counter(static_cast<double>(state.iterations()) * kCurves,
                         benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
  state.counters["points_per_curve"] = static_cast<double>(points) / kCurves;
  state.SetLabel(state.range(0) == 0 ? "tolerance 0.25" : "tolerance 1.0");
}

void BM_FlattenCubic2d(benchmark::State& state) {
  const std::vector<QvPoint2<double>>& p = curves();
  const double tolerance = tolerance_of(state);
  QvPoint2dArray out = prefixed_output();
  QvULong points = 0;
  for (auto _ : state) {
    points = 0;
    for (int i = 0; i < kCurves; ++i) {
      out.Chop(kPrefix);
      points += QvBezierTool_FlattenCubic2d(&p[4 * static_cast<size_t>(i)], tolerance, &out, 0);
    }
    benchmark::DoNotOptimize(out.data);
  }
  report(state, points);
}
BENCHMARK(BM_FlattenCubic2d)->Arg(0)->Arg(1);

void BM_FlattenGeneralDegree3(benchmark::State& state) {
  const std::vector<QvPoint2<double>>& p = curves();
  const double tolerance = tolerance_of(state);
  QvPoint2dArray out = prefixed_output();
  QvBezierTool tool;
  QvULong points = 0;
  for (auto _ : state) {
    points = 0;
    for (int i = 0; i < kCurves; ++i) {
      out.Chop(kPrefix);
      points += tool.Flatten(p.data(), 4 * static_cast<QvULong>(i), 3, tolerance, &out, 0);
    }
    benchmark::DoNotOptimize(out.data);
  }
  report(state, points);
}
BENCHMARK(BM_FlattenGeneralDegree3)->Arg(0)->Arg(1);

}  // namespace
