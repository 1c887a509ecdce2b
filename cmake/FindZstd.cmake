# libzstd, compressed streams: the target Zstd::zstd.
include(FindPackageHandleStandardArgs)

find_path(ZSTD_INCLUDE_DIR zstd.h)
find_library(ZSTD_LIBRARY zstd)
mark_as_advanced(ZSTD_INCLUDE_DIR ZSTD_LIBRARY)
find_package_handle_standard_args(Zstd REQUIRED_VARS ZSTD_LIBRARY ZSTD_INCLUDE_DIR
  REASON_FAILURE_MESSAGE "libzstd is missing: install libzstd-dev (Debian), or run scripts/setup")

if(Zstd_FOUND AND NOT TARGET Zstd::zstd)
  add_library(Zstd::zstd UNKNOWN IMPORTED)
  set_target_properties(Zstd::zstd PROPERTIES
    IMPORTED_LOCATION "${ZSTD_LIBRARY}" INTERFACE_INCLUDE_DIRECTORIES "${ZSTD_INCLUDE_DIR}")
endif()
