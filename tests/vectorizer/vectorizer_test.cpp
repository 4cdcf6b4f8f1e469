#include <qv/QvGC.h>
#include <qv/QvPath2f.h>
#include <qv/QvRaster.h>
#include <qv/QvVectorizer.h>

#include <gtest/gtest.h>
#include <iostream>

TEST(Scratch, Print) {
  QvRaster<unsigned char> r(8, 8, 0);
  r.pixels[5 * 8 + 3] = 1;
  QvPath2f path;
  QvVectorizer v;
  QvExtent2<float> e;
  std::cout << v.Vectorize(r, 1, e, path) << "\n" << path;
  QvPath2f fit;
  QvGC gc;
  std::cout << v.VectorizeAndFit(r, 1, e, gc, fit) << "\n" << fit;
}
