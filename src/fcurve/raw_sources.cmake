list(APPEND QV_SOURCES
  src/fcurve/QvRawFCurve.cpp
  src/fcurve/QvRawFCurve_whole.cpp
  src/fcurve/QvRawFCurve_draw.cpp
  src/fcurve/QvRawFCurve_buffer.cpp
  src/fcurve/raw_body.cpp
)
