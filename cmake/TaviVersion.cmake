# The version text of the metadata blocks, "major.minor.patch-<8 hexadecimal digits>[-dirty]", renewed at every build
# so that a library never tells an older revision than it was built from.

set(TAVI_GENERATED_DIR "${CMAKE_BINARY_DIR}/generated")
set(build_info_arguments
  -DOUTPUT=${TAVI_GENERATED_DIR}/qorc/build_info.h
  -DSOURCE_DIR=${PROJECT_SOURCE_DIR}
  -DVERSION=${PROJECT_VERSION}
  -DCONFIGURATION=${CMAKE_BUILD_TYPE}
  -DPLATFORM=${CMAKE_SYSTEM_NAME}
  -DARCHITECTURE=${CMAKE_SYSTEM_PROCESSOR}
  -DCOMPILER=${CMAKE_CXX_COMPILER_ID}
  -DCOMPILER_VERSION=${CMAKE_CXX_COMPILER_VERSION}
  -P ${PROJECT_SOURCE_DIR}/cmake/write_build_info.cmake)
execute_process(COMMAND ${CMAKE_COMMAND} ${build_info_arguments} COMMAND_ERROR_IS_FATAL ANY)
add_custom_target(tavi_build_info_header
  COMMAND ${CMAKE_COMMAND} ${build_info_arguments}
  BYPRODUCTS "${TAVI_GENERATED_DIR}/qorc/build_info.h"
  COMMENT "Checking the revision" VERBATIM)

add_library(tavi_build_info INTERFACE)
target_include_directories(tavi_build_info INTERFACE "${TAVI_GENERATED_DIR}")
add_dependencies(tavi_build_info tavi_build_info_header)
install(FILES "${TAVI_GENERATED_DIR}/qorc/build_info.h" DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/qorc")
