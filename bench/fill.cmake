qv_add_bench(fill_bench ${CMAKE_CURRENT_SOURCE_DIR}/fill_bench.cpp)

# The peers are optional: with them installed (install_fill_peers.sh) the
# benchmark reports its times as ratios to theirs on the same geometry.
find_package(PkgConfig QUIET)
if(PkgConfig_FOUND)
  pkg_check_modules(QV_CAIRO QUIET IMPORTED_TARGET cairo)
  pkg_check_modules(QV_AGG QUIET IMPORTED_TARGET libagg)
endif()
if(QV_CAIRO_FOUND)
  target_compile_definitions(fill_bench PRIVATE QV_BENCH_CAIRO)
  target_link_libraries(fill_bench PRIVATE PkgConfig::QV_CAIRO)
endif()
if(QV_AGG_FOUND)
  target_compile_definitions(fill_bench PRIVATE QV_BENCH_AGG)
  target_link_libraries(fill_bench PRIVATE PkgConfig::QV_AGG)
endif()
