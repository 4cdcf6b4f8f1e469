#ifndef QV_SRC_RASTER_GC_READ_H
#define QV_SRC_RASTER_GC_READ_H

#include <qv/QvGC.h>

namespace qv::internal {

// The enumeration getters of QvGC are not const, while every drawing call
// holds its context as `QvGC const &`. These read the same fields without
// changing anything.
inline QvGC::FillRule gc_fill_rule(const QvGC& gc) { return const_cast<QvGC&>(gc).GetFillRule(); }
inline QvGC::EndCap gc_end_cap(const QvGC& gc) { return const_cast<QvGC&>(gc).GetEndCap(); }
inline QvGC::Join gc_join(const QvGC& gc) { return const_cast<QvGC&>(gc).GetJoin(); }
inline QvGC::WidthType gc_width_type(const QvGC& gc) { return const_cast<QvGC&>(gc).GetWidthType(); }
inline QvGC::GradientMapMode gc_gradient_map_mode(const QvGC& gc) {
  return const_cast<QvGC&>(gc).GetGradientMapMode();
}

}  // namespace qv::internal

#endif  // QV_SRC_RASTER_GC_READ_H
