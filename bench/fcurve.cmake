qv_add_bench(fcurve_bench ${CMAKE_CURRENT_SOURCE_DIR}/fcurve_bench.cpp)
