qv_add_bench(shape_bench ${CMAKE_CURRENT_SOURCE_DIR}/shape_bench.cpp)
