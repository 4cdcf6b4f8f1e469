list(APPEND QV_SOURCES
  src/fcurve/QvBooleanFCurve.cpp
  src/fcurve/QvIntegerFCurve.cpp
  src/fcurve/kinds_body.cpp
  src/fcurve/kinds_ops.cpp
)
