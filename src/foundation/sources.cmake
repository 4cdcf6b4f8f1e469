list(APPEND QV_SOURCES
  src/foundation/QvCriticalSection.cpp
  src/foundation/QvTrace.cpp
)
