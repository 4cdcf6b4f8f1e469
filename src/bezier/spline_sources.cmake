list(APPEND QV_SOURCES
  src/bezier/QvSpline.cpp
)
