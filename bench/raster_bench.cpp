// Conversions between the drawing types and the two distance maps on a 2048 x 2048 raster. Each
// result carries `x_copy`: its time per call as a multiple of a plain memcpy of the same bytes
// (the larger of the two rasters involved), measured in the same run, so that figures from
// different machines compare.
#include <qv/QvRaster.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <random>
#include <vector>

namespace {

constexpr QvLong kSide = 2048;

using Clock = std::chrono::steady_clock;

// Best of several runs: the copy is the floor the pixel loops are held against.
double copy_seconds(std::size_t bytes) {
  std::vector<unsigned char> from(bytes, 1), to(bytes, 0);
  double best = 1e30;
  for (int run = 0; run < 7; ++run) {
    const auto t0 = Clock::now();
    std::memcpy(to.data(), from.data(), bytes);
    benchmark::ClobberMemory();
    const auto t1 = Clock::now();
    best = std::min(best, std::chrono::duration<double>(t1 - t0).count());
  }
  benchmark::DoNotOptimize(to.data());
  return best;
}

template <class T>
void fill_random(QvRaster<T>& r, double full) {
  std::mt19937 rng(5);
  std::uniform_real_distribution<double> u(0.0, full);
  for (QvLong i = 0; i < r.width * r.height; ++i)
    r.pixels[i] = static_cast<T>(u(rng));
}

void report(benchmark::State& state, double seconds, std::size_t bytes) {
  const double per_call = seconds / static_cast<double>(state.iterations());
  state.counters["x_copy"] = per_call / copy_seconds(bytes);
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) *
                          static_cast<std::int64_t>(bytes));
}

template <class D, class S>
void BM_Convert(benchmark::State& state, double full) {
  QvRaster<S> src(kSide, kSide, S(0));
  fill_random(src, full);
  src.bottomUp = static_cast<QvLong>(state.range(0));
  QvRaster<D> dst(kSide, kSide, D(0));
  double seconds = 0.0;
  for (auto _ : state) {
    const auto t0 = Clock::now();
    QvRasterConvert(dst, src);
    benchmark::DoNotOptimize(dst.pixels);
    seconds += std::chrono::duration<double>(Clock::now() - t0).count();
  }
  report(state, seconds, std::size_t(kSide) * kSide * std::max(sizeof(D), sizeof(S)));
}

template <class T, bool Euclidean>
void BM_Distance(benchmark::State& state) {
  QvRaster<unsigned char> mask(kSide, kSide, 0);
  std::mt19937 rng(9);
  std::uniform_int_distribution<QvLong> at(0, kSide * kSide - 1);
  for (int i = 0; i < 64; ++i)
    mask.pixels[at(rng)] = 1;
  QvRaster<T> r(kSide, kSide, T(0));
  double seconds = 0.0;
  for (auto _ : state) {
    const auto t0 = Clock::now();
    if (Euclidean)
      r.SetToSquaredEuclideanDistanceMap(mask);
    else
      r.SetToLInfinityDistanceMap(mask);
    benchmark::DoNotOptimize(r.pixels);
    seconds += std::chrono::duration<double>(Clock::now() - t0).count();
  }
  report(state, seconds, std::size_t(kSide) * kSide * sizeof(T));
}

}  // namespace

// Argument 1 gives the source the opposite orientation, so rows are turned over.
static void BM_ByteFromByte(benchmark::State& state) { BM_Convert<unsigned char, unsigned char>(state, 255.0); }
BENCHMARK(BM_ByteFromByte)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
static void BM_FloatFromByte(benchmark::State& state) { BM_Convert<float, unsigned char>(state, 255.0); }
BENCHMARK(BM_FloatFromByte)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
static void BM_ShortFromByte(benchmark::State& state) { BM_Convert<short, unsigned char>(state, 255.0); }
BENCHMARK(BM_ShortFromByte)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
static void BM_ByteFromFloat(benchmark::State& state) { BM_Convert<unsigned char, float>(state, 1.0); }
BENCHMARK(BM_ByteFromFloat)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
static void BM_ShortFromFloat(benchmark::State& state) { BM_Convert<short, float>(state, 1.0); }
BENCHMARK(BM_ShortFromFloat)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
static void BM_ByteFromShort(benchmark::State& state) { BM_Convert<unsigned char, short>(state, 16384.0); }
BENCHMARK(BM_ByteFromShort)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
static void BM_FloatFromShort(benchmark::State& state) { BM_Convert<float, short>(state, 16384.0); }
BENCHMARK(BM_FloatFromShort)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
static void BM_SquaredEuclideanFloat(benchmark::State& state) { BM_Distance<float, true>(state); }
BENCHMARK(BM_SquaredEuclideanFloat)->Unit(benchmark::kMillisecond);
static void BM_LInfinityFloat(benchmark::State& state) { BM_Distance<float, false>(state); }
BENCHMARK(BM_LInfinityFloat)->Unit(benchmark::kMillisecond);
static void BM_SquaredEuclideanByte(benchmark::State& state) { BM_Distance<unsigned char, true>(state); }
BENCHMARK(BM_SquaredEuclideanByte)->Unit(benchmark::kMillisecond);
