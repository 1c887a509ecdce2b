# What find_package(tavi) finds in an installation.
include(CMakePackageConfigHelpers)

set(package_dir "${CMAKE_INSTALL_LIBDIR}/cmake/tavi")
configure_package_config_file("${CMAKE_CURRENT_LIST_DIR}/taviConfig.cmake.in" "${CMAKE_BINARY_DIR}/taviConfig.cmake"
  INSTALL_DESTINATION "${package_dir}"
  PATH_VARS TAVI_INSTALL_LIBRARY_DIR CMAKE_INSTALL_INCLUDEDIR CMAKE_INSTALL_LIBDIR)
write_basic_package_version_file("${CMAKE_BINARY_DIR}/taviConfigVersion.cmake" COMPATIBILITY SameMajorVersion)
install(FILES "${CMAKE_BINARY_DIR}/taviConfig.cmake" "${CMAKE_BINARY_DIR}/taviConfigVersion.cmake"
  DESTINATION "${package_dir}")
