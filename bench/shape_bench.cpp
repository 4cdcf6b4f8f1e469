// Flattening and even sampling of a path of 1,000 random cubics, reported per
// segment: the two walks that every fill, stroke and builder starts with.
#include <qv/QvGC.h>
#include <qv/QvPath2f.h>

#include <benchmark/benchmark.h>

#include <random>

namespace {

constexpr int kSegments = 1000;

QvPath2f random_cubics() {
  std::mt19937 rng(1000);
  std::uniform_real_distribution<float> coord(0.0f, 500.0f);
  QvPath2f path(4 * kSegments);
  path.Moveto(QvPoint2<float>(coord(rng), coord(rng)));
  for (int i = 0; i < kSegments; ++i) {
    const QvPoint2<float> c1(coord(rng), coord(rng));
    const QvPoint2<float> c2(coord(rng), coord(rng));
    path.Curveto(c1, c2, QvPoint2<float>(coord(rng), coord(rng)));
  }
  return path;
}

void BM_FlattenCubics(benchmark::State& state) {
  const QvPath2f path = random_cubics();
  QvGC gc;
  gc.SetFlatteningTolerance(0.25);
  QvPoint2fArray points(1 << 16);
  QvPointTagArray tags(1 << 16);
  for (auto _ : state) {
    points.Chop(0);
    tags.Chop(0);
    benchmark::DoNotOptimize(path.Flatten(gc, points, tags));
  }
  state.SetItemsProcessed(state.iterations() * kSegments);
  state.counters["points"] = static_cast<double>(points.GetSize());
}
BENCHMARK(BM_FlattenCubics);

void BM_SampleCubics(benchmark::State& state) {
  const QvPath2f path = random_cubics();
  QvGC gc;
  gc.SetFlatteningTolerance(0.25);
  gc.SetSamplingDistance(static_cast<double>(state.range(0)));
  QvPoint2fArray points(1 << 16);
  QvPointTagArray tags(1 << 16);
  for (auto _ : state) {
    points.Chop(0);
    tags.Chop(0);
    benchmark::DoNotOptimize(path.Sample(gc, points, tags));
  }
  state.SetItemsProcessed(state.iterations() * kSegments);
  state.counters["samples"] = static_cast<double>(points.GetSize());
}
BENCHMARK(BM_SampleCubics)->Arg(1)->Arg(8);

}  // namespace
