list(APPEND QV_SOURCES
  src/bezier/bezier_core.cpp
  src/bezier/QvBezierTool.cpp
  src/bezier/QvBezierTool_cubic.cpp
  src/bezier/QvBezierTool_gamma.cpp
  src/bezier/QvBezierTool_clip.cpp
  src/bezier/QvBezierTool_locate.cpp
  src/bezier/QvBezierTool_fit.cpp
  src/bezier/QvBezierTool_fit_path.cpp
  src/bezier/fit_core.cpp
)
