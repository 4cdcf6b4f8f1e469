list(APPEND QV_SOURCES
  src/raster/QvPath2f_fill.cpp)
