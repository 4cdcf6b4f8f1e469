list(APPEND QV_SOURCES
  src/shape/QvShape2f.cpp
  src/shape/QvPath2f.cpp
  src/shape/QvPath2f_query.cpp
  src/shape/QvPath2f_edit.cpp)
