# How every target of the project is built: one language level, one set of warnings, one place for the libraries.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 11)
set(CMAKE_C_STANDARD_REQUIRED ON)
set(CMAKE_C_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_C_VISIBILITY_PRESET hidden)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)

# Libraries and plug-ins live side by side: the extractor looks for plug-ins in its own directory. A build has the layout
# of an installation, so that programs find the libraries by one relative path in both.
set(TAVI_INSTALL_LIBRARY_DIR "${CMAKE_INSTALL_LIBDIR}/tavi")
file(RELATIVE_PATH TAVI_LIBRARIES_FROM_PROGRAMS
  "${CMAKE_INSTALL_FULL_BINDIR}" "${CMAKE_INSTALL_FULL_LIBDIR}/tavi")
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/bin")
cmake_path(SET TAVI_LIBRARY_DIR NORMALIZE "${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/${TAVI_LIBRARIES_FROM_PROGRAMS}")
cmake_path(IS_PREFIX CMAKE_BINARY_DIR "${TAVI_LIBRARY_DIR}" libraries_in_build)
if(NOT libraries_in_build)
  message(FATAL_ERROR "CMAKE_INSTALL_LIBDIR '${CMAKE_INSTALL_LIBDIR}' and CMAKE_INSTALL_BINDIR "
    "'${CMAKE_INSTALL_BINDIR}' have to be below one prefix, beside each other")
endif()

# RPATHs that CMake rewrites at installation end in an empty entry, which is the current directory for the loader.
set(CMAKE_NO_BUILTIN_CHRPATH ON)

include(TaviHardening)

add_library(tavi_compile_options INTERFACE)
if(MSVC)
  target_compile_options(tavi_compile_options INTERFACE /W4 /WX /permissive- /fp:precise)
else()
  # Decoding promises two roundings for factor and offset, so the compiler may not fuse them into one.
  target_compile_options(tavi_compile_options INTERFACE -Wall -Wextra -Wpedantic -Werror -ffp-contract=off)
  target_link_libraries(tavi_compile_options INTERFACE tavi_hardening)
  if(TAVI_SANITIZE)
    target_compile_options(tavi_compile_options INTERFACE
      -fsanitize=${TAVI_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(tavi_compile_options INTERFACE -fsanitize=${TAVI_SANITIZE})
  endif()
  if(TAVI_BUILD_FUZZ)
    # A fuzzer learns from what it reached: so every library counts, not the target's own file alone. Tests are no part
    # of what is fuzzed.
    target_compile_options(tavi_compile_options INTERFACE
      $<$<NOT:$<BOOL:$<TARGET_PROPERTY:TAVI_UNOPTIMISED>>>:-fsanitize=fuzzer-no-link>)
    target_link_options(tavi_compile_options INTERFACE -fsanitize=fuzzer-no-link)
  endif()
endif()

# tavi_shared_library(TARGET): a library of the private directory, named lib<base>.so with that very name as SONAME.
function(tavi_shared_library target)
  target_link_libraries(${target} PRIVATE tavi_compile_options)
  target_link_libraries(${target} PRIVATE tavi_build_info)
  set_target_properties(${target} PROPERTIES
    LIBRARY_OUTPUT_DIRECTORY "${TAVI_LIBRARY_DIR}"
    RUNTIME_OUTPUT_DIRECTORY "${TAVI_LIBRARY_DIR}"
    BUILD_RPATH_USE_ORIGIN ON
    BUILD_RPATH "$ORIGIN"
    INSTALL_RPATH "$ORIGIN"
    BUILD_WITH_INSTALL_RPATH ON)
  if(NOT MSVC AND NOT APPLE)
    target_link_options(${target} PRIVATE -Wl,--enable-new-dtags)
    if(NOT TAVI_SANITIZE)
      target_link_options(${target} PRIVATE -Wl,-z,defs)
    endif()
  endif()
  install(TARGETS ${target}
    LIBRARY DESTINATION "${TAVI_INSTALL_LIBRARY_DIR}"
    RUNTIME DESTINATION "${TAVI_INSTALL_LIBRARY_DIR}")
endfunction()

# tavi_exports(TARGET PATTERN...): only these symbols leave the library, whatever its headers mark as visible.
function(tavi_exports target)
  set(script "${CMAKE_CURRENT_BINARY_DIR}/${target}.map")
  list(JOIN ARGN ";\n    " names)
  file(WRITE "${script}" "{\n  global:\n    ${names};\n  local:\n    *;\n};\n")
  if(NOT MSVC AND NOT APPLE)
    target_link_options(${target} PRIVATE "-Wl,--version-script=${script}")
    set_target_properties(${target} PROPERTIES LINK_DEPENDS "${script}")
  endif()
endfunction()

# tavi_add_plugin(NAME KIND SOURCES... [LIBRARIES ...]): lib<qor_NAME>.so with the entry symbols of its kind.
#   KIND is the stem of the entry symbols: signal_storage, data_description_parser, data_matcher, data_processor or
#   recording_reader.
function(tavi_add_plugin name kind)
  cmake_parse_arguments(PLUGIN "" "" "SOURCES;LIBRARIES" ${ARGN})
  set(target qor_${name})
  add_library(${target} SHARED ${PLUGIN_SOURCES})
  target_link_libraries(${target} PRIVATE tavi_plugin_sdk ${PLUGIN_LIBRARIES})
  tavi_shared_library(${target})
  tavi_exports(${target} "qor_${kind}_*" qor_runtime_query_metadata)
endfunction()

# tavi_add_test(NAME SOURCES... LIBRARIES ...): a GoogleTest program whose cases ctest sees one by one.
function(tavi_add_test name)
  cmake_parse_arguments(TEST "" "" "SOURCES;LIBRARIES;DEFINITIONS" ${ARGN})
  add_executable(${name} ${TEST_SOURCES})
  target_link_libraries(${name} PRIVATE
    tavi_compile_options tavi_test_paths GTest::gtest GTest::gmock GTest::gtest_main ${TEST_LIBRARIES})
  target_include_directories(${name} PRIVATE "${PROJECT_SOURCE_DIR}")
  target_compile_definitions(${name} PRIVATE ${TEST_DEFINITIONS})
  set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/tests")
  if(TAVI_TEST_HEADERS AND NOT TEST_SOURCES MATCHES "\\.c(;|$)") # which has headers of its own
    target_precompile_headers(${name} REUSE_FROM ${TAVI_TEST_HEADERS})
  endif()
  gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST PROPERTIES TIMEOUT 300)
endfunction()
