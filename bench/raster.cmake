qv_add_bench(raster_bench ${CMAKE_CURRENT_SOURCE_DIR}/raster_bench.cpp)
