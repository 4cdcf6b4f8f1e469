qv_add_bench(bezier_bench ${CMAKE_CURRENT_SOURCE_DIR}/bezier_bench.cpp)
