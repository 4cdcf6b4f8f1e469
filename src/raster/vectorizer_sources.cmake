list(APPEND QV_SOURCES
  src/raster/QvVectorizer.cpp
  src/raster/QvVectorizer_fit.cpp
  src/raster/vectorizer_sweep.cpp)
