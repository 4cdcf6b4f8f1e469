list(APPEND QV_SOURCES
  src/raster/QvPath2f_fill.cpp
  src/raster/edge_table.cpp
  src/raster/scan_fill.cpp
  src/raster/aa_tables.cpp
  src/raster/aa_fill.cpp
  src/raster/soft_fill.cpp
  src/raster/soft_fill_profile.cpp
  src/raster/stroke_outline.cpp)
