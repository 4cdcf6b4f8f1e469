list(APPEND QV_SOURCES
  src/morph/QvMipPath2fProp1d.cpp
  src/morph/QvMipP2fP1dAgent.cpp
  src/morph/keyframed_body.cpp)
