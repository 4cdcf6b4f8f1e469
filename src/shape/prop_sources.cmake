list(APPEND QV_SOURCES
  src/shape/QvPath2fProp1d.cpp
  src/shape/QvPath2fProp1d_sample.cpp)
