// Appends, inserts and removals of the typed arrays: the single-element append is the hot path of
// flattening and sampling, and must cost no more than a store once the block is large enough.
#include <qv/QvArray.h>

#include <benchmark/benchmark.h>

static void BM_AppendDouble(benchmark::State& state) {
  const QvULong count = static_cast<QvULong>(state.range(0));
  for (auto _ : state) {
    QvDoubleArray values;
    for (QvULong i = 0; i < count; ++i) values.Add(static_cast<double>(i));
    benchmark::DoNotOptimize(values.data);
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_AppendDouble)->Arg(64)->Arg(4096)->Arg(1 << 20);

static void BM_AppendPoint2f(benchmark::State& state) {
  const QvULong count = static_cast<QvULong>(state.range(0));
  for (auto _ : state) {
    QvPoint2fArray points;
    for (QvULong i = 0; i < count; ++i) points.Add(i * 0.5, i * 0.25);
    benchmark::DoNotOptimize(points.data);
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_AppendPoint2f)->Arg(64)->Arg(4096)->Arg(1 << 20);

// Inserting at the front moves the whole tail each time: quadratic by nature, measured to see the
// block-move cost per element.
static void BM_InsertFront(benchmark::State& state) {
  const QvULong count = static_cast<QvULong>(state.range(0));
  for (auto _ : state) {
    QvDoubleArray values;
    for (QvULong i = 0; i < count; ++i) values.InsertBefore(0, static_cast<double>(i));
    benchmark::DoNotOptimize(values.data);
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_InsertFront)->Arg(64)->Arg(1024)->Arg(8192);

static void BM_RemoveBack(benchmark::State& state) {
  const QvULong count = static_cast<QvULong>(state.range(0));
  for (auto _ : state) {
    state.PauseTiming();
    QvDoubleArray values(count);
    for (QvULong i = 0; i < count; ++i) values.Add(static_cast<double>(i));
    state.ResumeTiming();
    while (values.GetSize() > 0) values.Remove(values.GetSize() - 1);
    benchmark::DoNotOptimize(values.data);
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_RemoveBack)->Arg(64)->Arg(4096)->Arg(1 << 16);

static void BM_RemoveFront(benchmark::State& state) {
  const QvULong count = static_cast<QvULong>(state.range(0));
  for (auto _ : state) {
    state.PauseTiming();
    QvDoubleArray values(count);
    for (QvULong i = 0; i < count; ++i) values.Add(static_cast<double>(i));
    state.ResumeTiming();
    while (values.GetSize() > 0) values.Remove(0);
    benchmark::DoNotOptimize(values.data);
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_RemoveFront)->Arg(64)->Arg(1024)->Arg(8192);
