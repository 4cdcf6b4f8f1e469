list(APPEND QV_SOURCES
  src/shape/QvPathBuilder.cpp
  src/shape/QvPathBuilder_cubic.cpp
  src/shape/QvPathBuilder_fit.cpp
  src/shape/QvPathPropBuilder.cpp
  src/shape/QvPathPropBuilder_fit.cpp
  src/shape/builder_fit.cpp
  src/shape/builder_geometry.cpp)
