// The path rasterisers on a 1024 x 1024 byte raster: a 200-point star, a closed
// path of 50 random cubics, a circle of 4 cubics and 500 small circles, each
// through Fill and AAFill (4x4 and 8x8, no filter); soft fill of a disc at
// three offsets and a stroke of random cubics, each beside AAFill of the same
// shape. Where the peers are installed (bench/install_fill_peers.sh), each of
// our figures carries the ratio to theirs on the same geometry as a counter:
// ratio_cairo_fast, ratio_cairo_default, ratio_cairo_none, ratio_agg, and
// ratio_bytes against writing the raster's bytes once.
//
// With QV_FILL_ONCE set in the environment the benchmark instead runs every
// rasteriser, ours and the peers', exactly once a shape ("Once/..."), with
// only that call collected under callgrind (valgrind --tool=callgrind
// --collect-atstart=no): instruction counts are steady on a busy machine where
// wall times are not.
#include <qv/QvGC.h>
#include <qv/QvPath2f.h>
#include <qv/QvRaster.h>

#include <benchmark/benchmark.h>

#if __has_include(<valgrind/callgrind.h>)
#include <valgrind/callgrind.h>
#define QV_COLLECT_TOGGLE() CALLGRIND_TOGGLE_COLLECT
#else
#define QV_COLLECT_TOGGLE() ((void)0)
#endif

#include <algorithm>
#include <cstdlib>
#include <chrono>
#include <cmath>
#include <cstring>
#include <random>
#include <vector>

#if defined(QV_BENCH_CAIRO)
#include <cairo.h>
#endif
#if defined(QV_BENCH_AGG)
#include <agg_conv_curve.h>
#include <agg_path_storage.h>
#include <agg_pixfmt_gray.h>
#include <agg_rasterizer_scanline_aa.h>
#include <agg_renderer_base.h>
#include <agg_renderer_scanline.h>
#include <agg_rendering_buffer.h>
#include <agg_scanline_p.h>
#endif

namespace {

constexpr int kSize = 1024;

// Geometry kept as plain commands so that every rasteriser gets the same.
struct Shape {
  struct Op {
    char kind;  // 'M', 'L', 'C', 'Z'
    float p[6];
  };
  std::vector<Op> ops;
  void M(float x, float y) { ops.push_back({'M', {x, y}}); }
  void L(float x, float y) { ops.push_back({'L', {x, y}}); }
  void C(float a, float b, float c, float d, float x, float y) { ops.push_back({'C', {a, b, c, d, x, y}}); }
  void Z() { ops.push_back({'Z', {}}); }

  QvPath2f ToPath() const {
    QvPath2f path(static_cast<QvULong>(ops.size() * 3 + 1));
    QvPoint2<float> start;
    QvPoint2<float> last;
    for (const Op& op : ops) {
      switch (op.kind) {
        case 'M':
          start = last = QvPoint2<float>(op.p[0], op.p[1]);
          path.Moveto(last);
          break;
        case 'L':
          last = QvPoint2<float>(op.p[0], op.p[1]);
          path.Lineto(last);
          break;
        case 'C':
          last = QvPoint2<float>(op.p[4], op.p[5]);
          path.Curveto(QvPoint2<float>(op.p[0], op.p[1]), QvPoint2<float>(op.p[2], op.p[3]), last);
          break;
        default:
          if (last.x != start.x || last.y != start.y) path.Lineto(start);
          path.Closeto();
          break;
      }
    }
    return path;
  }
};

void add_circle(Shape& s, float cx, float cy, float r) {
  const float k = 0.5522847498307935f * r;
  s.M(cx + r, cy);
  s.C(cx + r, cy + k, cx + k, cy + r, cx, cy + r);
  s.C(cx - k, cy + r, cx - r, cy + k, cx - r, cy);
  s.C(cx - r, cy - k, cx - k, cy - r, cx, cy - r);
  s.C(cx + k, cy - r, cx + r, cy - k, cx + r, cy);
  s.Z();
}

Shape star() {
  Shape s;
  for (int i = 0; i < 200; ++i) {
    const double a = i * 2.0 * 3.14159265358979323846 / 200.0;
    const double r = i % 2 == 0 ? 500.0 : 200.0;
    const float x = static_cast<float>(512.0 + r * std::cos(a));
    const float y = static_cast<float>(512.0 + r * std::sin(a));
    if (i == 0)
      s.M(x, y);
    else
      s.L(x, y);
  }
  s.Z();
  return s;
}

Shape random_cubics(std::uint32_t seed) {
  std::mt19937 rng(seed);
  std::uniform_real_distribution<float> c(8.0f, kSize - 8.0f);
  Shape s;
  const float x0 = c(rng), y0 = c(rng);
  s.M(x0, y0);
  for (int i = 0; i < 50; ++i) {
    const bool last = i == 49;
    s.C(c(rng), c(rng), c(rng), c(rng), last ? x0 : c(rng), last ? y0 : c(rng));
  }
  s.Z();
  return s;
}

Shape big_circle() {
  Shape s;
  add_circle(s, 512, 512, 480);
  return s;
}

Shape small_circles() {
  std::mt19937 rng(7);
  std::uniform_real_distribution<float> c(12.0f, kSize - 12.0f);
  Shape s;
  for (int i = 0; i < 500; ++i) add_circle(s, c(rng), c(rng), 10.0f);
  return s;
}

Shape disc() {
  Shape s;
  add_circle(s, 512, 512, 150);
  return s;
}

const Shape& geometry(int which) {
  static const Shape shapes[] = {star(), random_cubics(11), big_circle(), small_circles(),
                                 disc()};
  return shapes[which];
}

const char* const kNames[] = {"star", "cubics", "circle", "small_circles", "disc"};

// The fastest of many short batches: the machine running the benchmark is
// often shared, and the least disturbed batch is the fairest figure for both
// sides of a ratio.
template <class Fn>
double seconds_per_call(Fn&& fn) {
  using Clock = std::chrono::steady_clock;
  fn();  // warm the caches and any lazy set-up
  double best = 1e30;
  const auto start = Clock::now();
  do {
    const auto t0 = Clock::now();
    int reps = 0;
    double elapsed = 0.0;
    do {
      fn();
      ++reps;
      elapsed = std::chrono::duration<double>(Clock::now() - t0).count();
    } while (elapsed < 0.002);
    best = std::min(best, elapsed / reps);
  } while (std::chrono::duration<double>(Clock::now() - start).count() < 0.3);
  return best;
}

double bytes_seconds() {
  static std::vector<unsigned char> pixels(kSize * kSize);
  return seconds_per_call([] {
    std::memset(pixels.data(), 0x5A, pixels.size());
    benchmark::DoNotOptimize(pixels.data());
  });
}

#if defined(QV_BENCH_CAIRO)
// Calls `timer` with a function that draws the shape once.
template <class Timer>
auto with_cairo(const Shape& shape, cairo_antialias_t antialias, Timer&& timer) {
  cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_A8, kSize, kSize);
  cairo_t* cr = cairo_create(surface);
  cairo_set_antialias(cr, antialias);
  cairo_set_fill_rule(cr, CAIRO_FILL_RULE_WINDING);
  const auto result = timer([&] {
    for (const Shape::Op& op : shape.ops) {
      switch (op.kind) {
        case 'M': cairo_move_to(cr, op.p[0], op.p[1]); break;
        case 'L': cairo_line_to(cr, op.p[0], op.p[1]); break;
        case 'C': cairo_curve_to(cr, op.p[0], op.p[1], op.p[2], op.p[3], op.p[4], op.p[5]); break;
        default: cairo_close_path(cr); break;
      }
    }
    cairo_fill(cr);
    cairo_surface_flush(surface);
  });
  cairo_destroy(cr);
  cairo_surface_destroy(surface);
  return result;
}

double cairo_seconds(const Shape& shape, cairo_antialias_t antialias) {
  return with_cairo(shape, antialias, [](auto&& draw) { return seconds_per_call(draw); });
}
#endif

#if defined(QV_BENCH_AGG)
template <class Timer>
auto with_agg(const Shape& shape, Timer&& timer) {
  std::vector<unsigned char> pixels(kSize * kSize);
  agg::rendering_buffer buffer(pixels.data(), kSize, kSize, kSize);
  agg::pixfmt_gray8 format(buffer);
  agg::renderer_base<agg::pixfmt_gray8> base(format);
  agg::rasterizer_scanline_aa<> rasterizer;
  agg::scanline_p8 scanline;
  rasterizer.filling_rule(agg::fill_non_zero);
  return timer([&] {
    agg::path_storage path;
    for (const Shape::Op& op : shape.ops) {
      switch (op.kind) {
        case 'M': path.move_to(op.p[0], op.p[1]); break;
        case 'L': path.line_to(op.p[0], op.p[1]); break;
        case 'C': path.curve4(op.p[0], op.p[1], op.p[2], op.p[3], op.p[4], op.p[5]); break;
        default: path.close_polygon(); break;
      }
    }
    agg::conv_curve<agg::path_storage> curves(path);
    rasterizer.reset();
    rasterizer.add_path(curves);
    agg::render_scanlines_aa_solid(rasterizer, scanline, base, agg::gray8(255));
  });
}

double agg_seconds(const Shape& shape) {
  return with_agg(shape, [](auto&& draw) { return seconds_per_call(draw); });
}
#endif

// Our own call, timed by the benchmark loop; the peers are timed once per
// benchmark beside it and reported as ratios of our time to theirs.
enum class Op { Fill, AA4, AA8, Soft2, Soft8, Soft32, Stroke5 };

void run(benchmark::State& state, int which, Op op) {
  const QvPath2f path = geometry(which).ToPath();
  QvRaster<unsigned char> raster(kSize, kSize, 0);
  QvGC gc;
  gc.SetFillRule(QvGC::WindingRule);
  gc.SetAASuperSampling(op == Op::AA8 ? 8 : 4);
  gc.SetAAFilterRadius(0);
  gc.SetGradientMapMode(QvGC::GradientUnmasked);
  const double offsets[] = {0, 0, 0, 2, 8, 32, 0};
  gc.SetInteriorOffset(offsets[static_cast<int>(op)] / 2);
  gc.SetExteriorOffset(offsets[static_cast<int>(op)] / 2);
  gc.SetLineWidth(5);
  auto call = [&] {
    switch (op) {
      case Op::Fill: path.Fill(gc, raster, nullptr, nullptr); break;
      case Op::AA4:
      case Op::AA8: path.AAFill(gc, raster, nullptr, nullptr); break;
      case Op::Stroke5: path.Stroke(gc, raster); break;
      default: path.SoftFill(gc, raster, nullptr); break;
    }
  };
  for (auto _ : state) {
    call();
    benchmark::DoNotOptimize(raster.pixels);
  }
  const double ours = seconds_per_call(call);
  state.counters["ratio_bytes"] = ours / bytes_seconds();
  if (op == Op::Soft2 || op == Op::Soft8 || op == Op::Soft32 || op == Op::Stroke5) {
    QvGC aa(gc);
    const double aa_time = seconds_per_call([&] { path.AAFill(aa, raster, nullptr, nullptr); });
    state.counters["ratio_aafill"] = ours / aa_time;
    return;
  }
#if defined(QV_BENCH_CAIRO)
  const Shape& shape = geometry(which);
  if (op == Op::Fill) {
    state.counters["ratio_cairo_none"] = ours / cairo_seconds(shape, CAIRO_ANTIALIAS_NONE);
  } else {
    state.counters["ratio_cairo_fast"] = ours / cairo_seconds(shape, CAIRO_ANTIALIAS_FAST);
    state.counters["ratio_cairo_default"] = ours / cairo_seconds(shape, CAIRO_ANTIALIAS_DEFAULT);
  }
#endif
#if defined(QV_BENCH_AGG)
  if (op != Op::Fill) state.counters["ratio_agg"] = ours / agg_seconds(geometry(which));
#endif
}

void register_all() {
  const struct {
    const char* name;
    Op op;
  } fills[] = {{"Fill", Op::Fill}, {"AAFill4x4", Op::AA4}, {"AAFill8x8", Op::AA8}};
  for (int which = 0; which < 4; ++which)
    for (const auto& f : fills)
      benchmark::RegisterBenchmark((std::string(f.name) + "/" + kNames[which]).c_str(),
                                   [which, op = f.op](benchmark::State& s) { run(s, which, op); })
          ->Unit(benchmark::kMicrosecond);
  const struct {
    const char* name;
    int which;
    Op op;
  } others[] = {{"SoftFill/disc/offset2", 4, Op::Soft2},
                {"SoftFill/disc/offset8", 4, Op::Soft8},
                {"SoftFill/disc/offset32", 4, Op::Soft32},
                {"Stroke/cubics/width5", 1, Op::Stroke5}};
  for (const auto& o : others)
    benchmark::RegisterBenchmark(o.name, [which = o.which, op = o.op](benchmark::State& s) {
      run(s, which, op);
    })->Unit(benchmark::kMillisecond);
}

// One call of each rasteriser a shape, collected alone; warmed by a first
// uncollected call so that lazy set-up is not counted.
void once(benchmark::State& state, int which, Op op) {
  const QvPath2f path = geometry(which).ToPath();
  QvRaster<unsigned char> raster(kSize, kSize, 0);
  QvGC gc;
  gc.SetFillRule(QvGC::WindingRule);
  gc.SetAASuperSampling(op == Op::AA8 ? 8 : 4);
  gc.SetAAFilterRadius(0);
  for (auto _ : state) {
    for (int pass = 0; pass < 2; ++pass) {
      if (pass == 1) QV_COLLECT_TOGGLE();
      if (op == Op::Fill)
        path.Fill(gc, raster, nullptr, nullptr);
      else
        path.AAFill(gc, raster, nullptr, nullptr);
      if (pass == 1) QV_COLLECT_TOGGLE();
    }
  }
}

template <class Draw>
int collect_once(Draw&& draw) {
  draw();
  QV_COLLECT_TOGGLE();
  draw();
  QV_COLLECT_TOGGLE();
  return 0;
}

void register_once() {
  const struct {
    const char* name;
    Op op;
  } fills[] = {{"Fill", Op::Fill}, {"AAFill4x4", Op::AA4}, {"AAFill8x8", Op::AA8}};
  for (int which = 0; which < 4; ++which) {
    const std::string shape = kNames[which];
    for (const auto& f : fills)
      benchmark::RegisterBenchmark(("Once/" + std::string(f.name) + "/" + shape).c_str(),
                                   [which, op = f.op](benchmark::State& s) { once(s, which, op); })
          ->Iterations(1);
#if defined(QV_BENCH_CAIRO)
    const struct {
      const char* name;
      cairo_antialias_t mode;
    } modes[] = {{"cairo_fast", CAIRO_ANTIALIAS_FAST},
                 {"cairo_default", CAIRO_ANTIALIAS_DEFAULT},
                 {"cairo_none", CAIRO_ANTIALIAS_NONE}};
    for (const auto& m : modes)
      benchmark::RegisterBenchmark(("Once/" + std::string(m.name) + "/" + shape).c_str(),
                                   [which, mode = m.mode](benchmark::State& s) {
                                     for (auto _ : s)
                                       with_cairo(geometry(which), mode,
                                                  [](auto&& draw) { return collect_once(draw); });
                                   })
          ->Iterations(1);
#endif
#if defined(QV_BENCH_AGG)
    benchmark::RegisterBenchmark(("Once/agg/" + shape).c_str(), [which](benchmark::State& s) {
      for (auto _ : s) with_agg(geometry(which), [](auto&& draw) { return collect_once(draw); });
    })->Iterations(1);
#endif
  }
}

const int kRegistered =
    (std::getenv("QV_FILL_ONCE") != nullptr ? register_once() : register_all(), 0);

}  // namespace
