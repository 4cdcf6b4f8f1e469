qv_add_bench(transform_bench ${CMAKE_CURRENT_SOURCE_DIR}/transform_bench.cpp)
