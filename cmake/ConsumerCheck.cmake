# Installs the built library into a fresh prefix and builds examples/consumer against it twice: as a
# CMake package and through pkg-config. Each consumer must run and exit with 0.
function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
  if(NOT rc EQUAL 0)
    message(FATAL_ERROR "command failed (${rc}): ${ARGN}\n${out}\n${err}")
  endif()
endfunction()

set(prefix ${QV_WORK_DIR}/prefix)
file(REMOVE_RECURSE ${QV_WORK_DIR})
run(${CMAKE_COMMAND} --install ${QV_BUILD_DIR} --prefix ${prefix})

run(${CMAKE_COMMAND} -S ${QV_SOURCE_DIR}/examples/consumer -B ${QV_WORK_DIR}/cmake-build
    -G ${QV_GENERATOR} -DCMAKE_CXX_COMPILER=${QV_CXX} -DCMAKE_PREFIX_PATH=${prefix})
run(${CMAKE_COMMAND} --build ${QV_WORK_DIR}/cmake-build)
run(${QV_WORK_DIR}/cmake-build/qvgeom_consumer)

find_program(PKG_CONFIG pkg-config)
if(PKG_CONFIG)
  file(GLOB_RECURSE pc_file ${prefix}/qvgeom.pc)
  get_filename_component(pc_dir "${pc_file}" DIRECTORY)
  set(ENV{PKG_CONFIG_PATH} ${pc_dir})
  execute_process(COMMAND ${PKG_CONFIG} --cflags --libs qvgeom
    OUTPUT_VARIABLE flags OUTPUT_STRIP_TRAILING_WHITESPACE RESULT_VARIABLE rc)
  if(NOT rc EQUAL 0)
    message(FATAL_ERROR "pkg-config does not know qvgeom")
  endif()
  separate_arguments(flags UNIX_COMMAND "${flags}")
  execute_process(COMMAND ${PKG_CONFIG} --variable=libdir qvgeom
    OUTPUT_VARIABLE libdir OUTPUT_STRIP_TRAILING_WHITESPACE)
  run(${QV_CXX} ${QV_SOURCE_DIR}/examples/consumer/main.cpp ${flags} -Wl,-rpath,${libdir}
      -o ${QV_WORK_DIR}/pc_consumer)
  run(${QV_WORK_DIR}/pc_consumer)
endif()
