list(APPEND QV_SOURCES
  src/fcurve/edit_ops.cpp
)
