# Run as a script: writes OUTPUT when its content would change, so that an unchanged revision rebuilds nothing.

set(revision "00000000")
set(dirty "")
find_program(GIT git)
if(GIT AND EXISTS "${SOURCE_DIR}/.git")
  execute_process(COMMAND ${GIT} describe --always --abbrev=40 --exclude=* --dirty
    WORKING_DIRECTORY "${SOURCE_DIR}" OUTPUT_VARIABLE described OUTPUT_STRIP_TRAILING_WHITESPACE
    RESULT_VARIABLE failed ERROR_QUIET)
  if(NOT failed AND described MATCHES "^([0-9a-f]+)(-dirty)?$")
    string(SUBSTRING "${CMAKE_MATCH_1}" 0 8 revision)
    set(dirty "${CMAKE_MATCH_2}")
  endif()
endif()

string(TOLOWER "${CONFIGURATION}" configuration)
if(NOT configuration)
  set(configuration "release")
endif()
if(PLATFORM STREQUAL "Windows")
  set(PLATFORM "Win32")
endif()
if(ARCHITECTURE MATCHES "^(x86_64|AMD64|amd64)$")
  set(ARCHITECTURE "x64")
endif()
# The full version as one decimal number: 12.2.0 is 120200.
string(REGEX MATCHALL "[0-9]+" parts "${COMPILER_VERSION}.0.0")
list(GET parts 0 major)
list(GET parts 1 minor)
list(GET parts 2 patch)
math(EXPR compiler_number "${major} * 10000 + ${minor} * 100 + ${patch}")

set(content "/* Made by the build; the values of the metadata block, see qorc/metadata.h. */
#ifndef QORC_BUILD_INFO_H
#define QORC_BUILD_INFO_H

#define QOR_BUILD_VERSION \"${VERSION}-${revision}${dirty}\"
#define QOR_BUILD_CONFIGURATION \"${configuration}\"
#define QOR_BUILD_PLATFORM \"${PLATFORM}\"
#define QOR_BUILD_ARCHITECTURE \"${ARCHITECTURE}\"
#define QOR_BUILD_COMPILER \"${COMPILER}\"
#define QOR_BUILD_COMPILER_VERSION \"${compiler_number}\"

#endif
")
set(previous "")
if(EXISTS "${OUTPUT}")
  file(READ "${OUTPUT}" previous)
endif()
if(NOT previous STREQUAL content)
  file(WRITE "${OUTPUT}" "${content}")
endif()
