list(APPEND QV_SOURCES
  src/shape/QvRect2f.cpp
  src/shape/QvRect2f_handles.cpp
  src/shape/QvOval2f.cpp
  src/shape/rectoval_geometry.cpp
  src/shape/rectoval_raster.cpp)
