#include <qv/QvShapeSetOps.h>

#include <qv/QvGC.h>
#include <qv/QvRaster.h>
#include <qv/QvShape2f.h>

#include <cstddef>

namespace {

// Both shapes are drawn into cleared top-down rasters of out's size, and the
// three rasters are then walked by the same linear index: for a bottom-up out
// memory rows pair with memory rows, whatever the flag says.
template <class Keep>
void combine(const QvGC& gc, const QvShape2f* a, const QvShape2f* b,
             QvRaster<unsigned char>& out, Keep keep) {
  if (out.width <= 0 || out.height <= 0 || !out.pixels) return;
  QvRaster<unsigned char> first(out.width, out.height, 0);
  QvRaster<unsigned char> second(out.width, out.height, 0);
  if (a) a->Fill(gc, first, nullptr, nullptr);
  if (b) b->Fill(gc, second, nullptr, nullptr);
  const std::ptrdiff_t count = static_cast<std::ptrdiff_t>(out.width) * out.height;
  const unsigned char* p = first.pixels;
  const unsigned char* q = second.pixels;
  unsigned char* o = out.pixels;
  for (std::ptrdiff_t i = 0; i < count; ++i)
    if (keep(p[i], q[i])) o[i] = 255;
}

}  // namespace

void QvShape2f_UnionAB(const QvGC& gc, const QvShape2f* a, const QvShape2f* b,
                       QvRaster<unsigned char>& out) {
  combine(gc, a, b, out,
          [](unsigned char p, unsigned char q) { return p == 255 || q == 255; });
}

void QvShape2f_IntersectionAB(const QvGC& gc, const QvShape2f* a, const QvShape2f* b,
                              QvRaster<unsigned char>& out) {
  combine(gc, a, b, out,
          [](unsigned char p, unsigned char q) { return p == 255 && q == 255; });
}

void QvShape2f_DifferenceAB(const QvGC& gc, const QvShape2f* a, const QvShape2f* b,
                            QvRaster<unsigned char>& out) {
  combine(gc, a, b, out, [](unsigned char p, unsigned char q) { return p == 255 && q == 0; });
}
