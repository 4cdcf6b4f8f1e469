list(APPEND QV_SOURCES
  src/transform/angle_math.cpp
  src/transform/QvTransfo4.cpp
  src/transform/QvTransfo4_map.cpp
  src/transform/QvTransfo4_decompose.cpp
  src/transform/QvQuat.cpp
  src/transform/QvIsoView.cpp
)
