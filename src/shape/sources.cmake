list(APPEND QV_SOURCES
  src/shape/QvShape2f.cpp)
