qv_add_bench(array_bench ${CMAKE_CURRENT_SOURCE_DIR}/array_bench.cpp)
