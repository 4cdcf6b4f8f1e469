list(APPEND QV_SOURCES
  src/fcurve/QvBaseFCurve.cpp
  src/fcurve/QvStdFCurve.cpp
  src/fcurve/QvStdFCurveImpl.cpp
  src/fcurve/QvStdFCurve_whole.cpp
  src/fcurve/QvStdFCurve_flatten.cpp
  src/fcurve/QvStdFCurve_buffer.cpp
  src/fcurve/QvStdFCurve_edit.cpp
  src/fcurve/QvStdFCurve_userdata.cpp
)
