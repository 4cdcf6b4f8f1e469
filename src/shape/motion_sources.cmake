list(APPEND QV_SOURCES
  src/shape/QvMotionPath3d.cpp
  src/shape/QvMotionPath3d_edit.cpp
  src/shape/QvMotionPath3d_eval.cpp
  src/shape/motion_law.cpp)
