# liblz4, compressed streams: the target Lz4::lz4.
include(FindPackageHandleStandardArgs)

find_path(LZ4_INCLUDE_DIR lz4frame.h)
find_library(LZ4_LIBRARY lz4)
mark_as_advanced(LZ4_INCLUDE_DIR LZ4_LIBRARY)
find_package_handle_standard_args(Lz4 REQUIRED_VARS LZ4_LIBRARY LZ4_INCLUDE_DIR
  REASON_FAILURE_MESSAGE "liblz4 is missing: install liblz4-dev (Debian), or run scripts/setup")

if(Lz4_FOUND AND NOT TARGET Lz4::lz4)
  add_library(Lz4::lz4 UNKNOWN IMPORTED)
  set_target_properties(Lz4::lz4 PROPERTIES
    IMPORTED_LOCATION "${LZ4_LIBRARY}" INTERFACE_INCLUDE_DIRECTORIES "${LZ4_INCLUDE_DIR}")
endif()
