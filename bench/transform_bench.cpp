// Mapping point arrays: the inner loop of flattening and scan conversion. A million points per
// iteration, in the four point types, out of place and in place.
#include <qv/QvTransfo4.h>

#include <benchmark/benchmark.h>

#include <vector>

namespace {

constexpr QvULong kPoints = 1000000;

QvTransfo4 sample_transform() {
  QvTransfo4 t;
  t.Translate(12.5, -3.25, 1).RotateXYZ(QvPoint3<double>(10, 20, 30)).Scale(1.5, 0.75, 2);
  return t;
}

template <class P>
std::vector<P> sample_points() {
  std::vector<P> points(kPoints);
  for (QvULong i = 0; i < kPoints; ++i) {
    points[i].x = static_cast<decltype(P::x)>(i % 1024) * 0.5f;
    points[i].y = static_cast<decltype(P::y)>(i / 1024) * 0.25f;
  }
  return points;
}

template <class P>
void BM_Map(benchmark::State& state) {
  const QvTransfo4 t = sample_transform();
  const std::vector<P> in = sample_points<P>();
  std::vector<P> out(kPoints);
  for (auto _ : state) {
    t.Map(in.data(), kPoints, out.data());
    benchmark::DoNotOptimize(out.data());
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * kPoints);
}

template <class P>
void BM_MapInPlace(benchmark::State& state) {
  const QvTransfo4 t = sample_transform();
  std::vector<P> points = sample_points<P>();
  for (auto _ : state) {
    t.MapInPlace(points.data(), kPoints);
    benchmark::DoNotOptimize(points.data());
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * kPoints);
}

}  // namespace

BENCHMARK_TEMPLATE(BM_Map, QvPoint2<float>)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(BM_Map, QvPoint2<double>)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(BM_Map, QvPoint3<float>)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(BM_Map, QvPoint3<double>)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(BM_MapInPlace, QvPoint2<double>)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(BM_MapInPlace, QvPoint3<float>)->Unit(benchmark::kMillisecond);
