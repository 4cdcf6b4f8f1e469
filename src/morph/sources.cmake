list(APPEND QV_SOURCES
  src/morph/QvMorpher.cpp
  src/morph/morph_polyline.cpp)
