list(APPEND QV_SOURCES
  src/raster/QvRaster.cpp
  src/raster/QvRaster_distance.cpp
  src/raster/QvRasterConvert.cpp
  src/raster/QvGC.cpp)
