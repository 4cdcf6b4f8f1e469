list(APPEND QV_SOURCES
  src/raster/setops_shapes.cpp
  src/raster/convex_hull.cpp
  src/raster/convex_tools.cpp)
