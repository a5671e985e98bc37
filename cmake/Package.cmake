# Other projects find the library as a CMake package and with pkg-config. Both use paths
# relative to their own files, so the installed tree can be moved.
include(CMakePackageConfigHelpers)

set(ostrl_package_dir "${CMAKE_INSTALL_LIBDIR}/cmake/ostrl")
configure_package_config_file("${CMAKE_CURRENT_LIST_DIR}/ostrl-config.cmake.in"
  "${PROJECT_BINARY_DIR}/ostrl-config.cmake" INSTALL_DESTINATION "${ostrl_package_dir}")
write_basic_package_version_file("${PROJECT_BINARY_DIR}/ostrl-config-version.cmake"
  COMPATIBILITY SameMajorVersion)
install(EXPORT ostrl-targets NAMESPACE ostrl::
  DESTINATION "${ostrl_package_dir}" COMPONENT dev)
install(FILES
  "${PROJECT_BINARY_DIR}/ostrl-config.cmake"
  "${PROJECT_BINARY_DIR}/ostrl-config-version.cmake"
  DESTINATION "${ostrl_package_dir}" COMPONENT dev)
if(OSTREL_BUILD_STATIC)
  install(FILES "${CMAKE_CURRENT_LIST_DIR}/FindCxxtools.cmake"
    DESTINATION "${ostrl_package_dir}" COMPONENT dev)
endif()

file(RELATIVE_PATH ostrl_pc_prefix
  "${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig" "${CMAKE_INSTALL_PREFIX}")
configure_file("${CMAKE_CURRENT_LIST_DIR}/ostrl.pc.in" "${PROJECT_BINARY_DIR}/ostrl.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/ostrl.pc"
  DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig" COMPONENT dev)
