include(CMakePackageConfigHelpers)

install(TARGETS qvgeom EXPORT qvgeomTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/qv DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
  FILES_MATCHING PATTERN "*.h")

set(QV_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/qvgeom)
install(EXPORT qvgeomTargets NAMESPACE qvgeom:: DESTINATION ${QV_CMAKE_DIR})
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/qvgeomConfig.cmake.in
  ${PROJECT_BINARY_DIR}/qvgeomConfig.cmake INSTALL_DESTINATION ${QV_CMAKE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/qvgeomConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/qvgeomConfig.cmake ${PROJECT_BINARY_DIR}/qvgeomConfigVersion.cmake
  DESTINATION ${QV_CMAKE_DIR})

# The prefix is found relative to the .pc file, so that `cmake --install --prefix` anywhere works.
file(RELATIVE_PATH QV_PC_PREFIX_FROM_PCDIR "/root/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/root")
configure_file(${PROJECT_SOURCE_DIR}/cmake/qvgeom.pc.in ${PROJECT_BINARY_DIR}/qvgeom.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/qvgeom.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
