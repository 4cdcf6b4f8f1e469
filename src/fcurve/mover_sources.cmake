list(APPEND QV_SOURCES
  src/fcurve/mover_common.cpp
  src/fcurve/QvFCurveKeyMover.cpp
  src/fcurve/QvFCurveStretcher.cpp
  src/fcurve/QvStdTgtMover.cpp
)
