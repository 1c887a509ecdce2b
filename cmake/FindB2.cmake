# libb2, the BLAKE2 hash functions: the target B2::b2.
include(FindPackageHandleStandardArgs)

find_path(B2_INCLUDE_DIR blake2.h)
find_library(B2_LIBRARY b2)
mark_as_advanced(B2_INCLUDE_DIR B2_LIBRARY)
find_package_handle_standard_args(B2 REQUIRED_VARS B2_LIBRARY B2_INCLUDE_DIR
  REASON_FAILURE_MESSAGE "libb2 is missing: install libb2-dev (Debian), or run scripts/setup")

if(B2_FOUND AND NOT TARGET B2::b2)
  add_library(B2::b2 UNKNOWN IMPORTED)
  set_target_properties(B2::b2 PROPERTIES
    IMPORTED_LOCATION "${B2_LIBRARY}" INTERFACE_INCLUDE_DIRECTORIES "${B2_INCLUDE_DIR}")
endif()
