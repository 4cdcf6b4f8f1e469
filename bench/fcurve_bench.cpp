// Evaluation of standard curves against a baseline measured in the same run: one uncontended
// lock and unlock of a curve's lock plus one Bezier root solve, the least that an evaluation
// inside a cubic segment must do.
#include <qv/QvStdFCurve.h>

#include "fcurve/QvStdFCurveImpl.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <random>
#include <vector>

namespace {

class LockAccess : public QvStdFCurve {
 public:
  using QvStdFCurve::Lock;
  using QvStdFCurve::Unlock;
};

// n Bezier keys one unit apart with random values and handles inside each span.
void build(QvStdFCurve& curve, int n) {
  std::mt19937 rng(static_cast<unsigned>(n));
  std::uniform_real_distribution<double> value(-1.0, 1.0);
  QvStdFCurveImpl& body = *curve.GetImpl();
  body.Resize(static_cast<QvULong>(n));
  for (int i = 0; i < n; ++i) {
    QvStdFCurveKey& key = body.Key(static_cast<QvULong>(i));
    key.parameter = i;
    key.leftValue = key.rightValue = value(rng);
    key.leftHandle = QvPoint2<double>(i - 0.3, key.leftValue + value(rng));
    key.rightHandle = QvPoint2<double>(i + 0.3, key.rightValue + value(rng));
    key.segmentKind = QvBaseFCurve::FSBezierCubic;
    key.flags = 1;
  }
}

// Four samples or more to a span, as when a host plays an animation frame by frame.
std::vector<double> parameters(int n, bool rising) {
  const int samples = std::max(4096, 4 * n);
  std::vector<double> xs(static_cast<size_t>(samples));
  const double span = n - 1;
  for (int i = 0; i < samples; ++i) xs[static_cast<size_t>(i)] = span * (i + 0.5) / samples;
  if (!rising) std::shuffle(xs.begin(), xs.end(), std::mt19937(17));
  return xs;
}

void BM_Baseline(benchmark::State& state) {
  LockAccess curve;
  const std::vector<double> xs = parameters(2, false);
  size_t i = 0;
  for (auto _ : state) {
    curve.Lock();
    const double x = xs[i];
    benchmark::DoNotOptimize(qv::internal::solve_bezier(x, 0.0, 0.3, 0.7, 1.0));
    curve.Unlock();
    i = (i + 1) % xs.size();
  }
}
BENCHMARK(BM_Baseline);

void BM_Eval(benchmark::State& state) {
  const int n = static_cast<int>(state.range(0));
  const bool rising = state.range(1) != 0;
  QvStdFCurve curve;
  build(curve, n);
  const std::vector<double> xs = parameters(n, rising);
  size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(curve.Eval(xs[i], 0));
    i = (i + 1) % xs.size();
  }
  state.SetLabel(rising ? "rising" : "random");
}
BENCHMARK(BM_Eval)->ArgsProduct({{4, 12, 100, 10000}, {1, 0}});

void BM_EvalIntegral(benchmark::State& state) {
  const int n = static_cast<int>(state.range(0));
  QvStdFCurve curve;
  build(curve, n);
  const std::vector<double> xs = parameters(n, false);
  size_t i = 0;
  for (auto _ : state) {
    const double a = xs[i];
    const double b = std::min(a + 1.5, n - 1.0);
    benchmark::DoNotOptimize(curve.EvalIntegral(a, b));
    i = (i + 1) % xs.size();
  }
}
BENCHMARK(BM_EvalIntegral)->Arg(4)->Arg(100)->Arg(10000);

}  // namespace
