// The rasterisers of a path: hard scan fill, anti-aliased fill, soft fill and
// stroke, and the shared preparation of the vertex table. Until the scan
// converters are in, every drawing call leaves the raster as it is and the
// preparation reports that there is nothing to fill.
#include <qv/QvPath2f.h>

void QvPath2f::Fill(const QvGC&, QvRaster<short>&, QvLong (*)(void), const tqRnBbox2l*) const {}
void QvPath2f::Fill(const QvGC&, QvRaster<float>&, QvLong (*)(void), const tqRnBbox2l*) const {}
void QvPath2f::Fill(const QvGC&, QvRaster<unsigned char>&, QvLong (*)(void),
                    const tqRnBbox2l*) const {}

void QvPath2f::AAFill(const QvGC&, QvRaster<short>&, QvLong (*)(void), const tqRnBbox2l*) const {}
void QvPath2f::AAFill(const QvGC&, QvRaster<float>&, QvLong (*)(void), const tqRnBbox2l*) const {}
void QvPath2f::AAFill(const QvGC&, QvRaster<unsigned char>&, QvLong (*)(void),
                      const tqRnBbox2l*) const {}

void QvPath2f::SoftFill(const QvGC&, QvRaster<short>&, QvLong (*)(void)) const {}
void QvPath2f::SoftFill(const QvGC&, QvRaster<float>&, QvLong (*)(void)) const {}
void QvPath2f::SoftFill(const QvGC&, QvRaster<unsigned char>&, QvLong (*)(void)) const {}

void QvPath2f::Stroke(const QvGC&, QvRaster<unsigned char>&) const {}
void QvPath2f::Stroke(const QvGC&, QvRaster<float>&) const {}
void QvPath2f::Stroke(const QvGC&, QvRaster<short>&) const {}

QvLong QvPath2f::CalculateFillParameters(const QvGC&, QvLong, QvLong, double, CFillContext&,
                                         QvLong&, QvLong&, QvLong&, QvLong&, QvLong&,
                                         const tqRnBbox2l*) const {
  return 0;
}
