list(APPEND QV_SOURCES
  src/fcurve/QvQuatKey.cpp
  src/fcurve/QvQuatCurve.cpp
  src/fcurve/QvQuatFCurve.cpp
  src/fcurve/QvQuatFCurve_whole.cpp
  src/fcurve/QvQuatFCurve_buffer.cpp
  src/fcurve/rotation_math.cpp
)
