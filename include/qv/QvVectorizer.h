#ifndef QV_QVVECTORIZER_H
#define QV_QVVECTORIZER_H

#include <qv/QvPoint.h>
#include <qv/QvTypes.h>

class QvGC;
class QvPath2f;
template <class T>
class QvRaster;

// Turns the pixels of one value in a byte raster into the closed outlines of
// its 4-connected regions and their holes.
//
// Vectorize gives rectilinear polygons along pixel edges: pixel (x, y) of the
// memory layout is the square from (x, y) to (x + 1, y + 1). An outer contour
// starts at the top-left corner of its region and runs down its left edge;
// holes run the other way. Subpaths come in the order in which regions end,
// row by row, each region's outer contour first, then its holes.
// VectorizeAndFit goes on to fit cubic Bezier curves to those outlines.
//
// A region or hole whose boundary is smaller than the thresholds is left out
// (a region with its holes; a hole alone). The thresholds are stored as
// absolute values; 0 disables a test. The sweep works on run lengths, one row
// at a time: its memory follows the number of boundary chains, not the
// raster's size. Rasters of 32766 or more rows or columns give nothing.
class QV_API QvVectorizer {
 public:
  QvVectorizer(double perimeterThreshold = 0.0, double areaThreshold = 0.0);
  QvVectorizer(const QvVectorizer& other);
  QvVectorizer& operator=(const QvVectorizer& other);
  ~QvVectorizer();

  void SetPerimeterThreshold(double value);
  void SetAreaThreshold(double value);

  // Appends one closed subpath per contour to path and returns the number of
  // points added. A pixel is foreground when it equals value exactly. extent
  // is not used. bottomUp plays no part: rows are read in memory order.
  QvULong Vectorize(QvRaster<unsigned char> const& raster, unsigned char value,
                    QvExtent2<float> const& extent, QvPath2f& path);
  // As Vectorize, then each outline is replaced by cubic and line segments
  // within gc's flattening tolerance. Returns the number of points by which
  // path grew.
  QvULong VectorizeAndFit(QvRaster<unsigned char> const& raster, unsigned char value,
                          QvExtent2<float> const& extent, QvGC const& gc, QvPath2f& path);

 private:
  // Two doubles: the perimeter threshold, then the area threshold.
  double* m_thresholds;
};

#endif  // QV_QVVECTORIZER_H
