# Run as a script: every #include of the rooms below SOURCE_DIR against the table of who may include whom. A file's rule
# is the first whose folder it lies in. What is not listed is refused; standard and foreign headers are nobody's business,
# but those of a platform belong behind qor::platform.
set(c "qorc/(extensibility/)?[a-z_]+\\.h|qorc/(exception_status|single_service|text)\\.hpp")
set(cpp "${c}|qorcpp/(platform/)?[a-z0-9_]+\\.hpp|qorcpp/metadata\\.h")
set(types "introspection/(xtypes|xtypes/signal|generator)/[a-z_]+\\.hpp")
set(extractor "qor_tavi_extractor/[a-z_]+\\.h")
set(public "${cpp}|${types}|${extractor}")
set(interface "tavi/[a-z_]+\\.hpp") # of hosts
set(sdk "qor_plugin_sdk/[a-z_]+\\.hpp")
set(own "[a-z0-9_]+\\.hpp") # beside the file
set(rules
  "qorc/                       => ${own}|${c}"
  "qorcpp/                     => ${own}|qorcpp/src/.*|${cpp}"
  "introspection/              => ${types}|${cpp}"
  "qor_tavi_extractor/include/ => ${extractor}|${c}"
  "runtime/tavi/               => runtime/.*|${cpp}"
  "runtime/                    => runtime/[a-z_]+\\.hpp|${cpp}"
  "qor_tavi_extractor/src/url/ => qor_tavi_extractor/src/url/.*|runtime/holders\\.hpp|${cpp}"
  "qor_tavi_extractor/src/     => qor_tavi_extractor/src/.*|runtime/.*|${public}"
  "plugins/([a-z0-9_]+)/        => plugins/@1/.*|${sdk}|introspection/xtypes/(type_kind|signal/scalar_kinds)\\.hpp|${cpp}"
  "host/include/               => ${interface}|${public}"
  "host/                       => host/src/.*|${interface}|${public}"
  "tools/                      => tools/.*|${interface}|${public}"
  "examples/                   => examples/.*|${interface}|${sdk}|${public}")
set(rooms "^(qorc|qorcpp|introspection|runtime|qor_tavi_extractor|qor_plugin_sdk|plugins|host|tavi|tools|examples|bench|fuzz|tests)/")
set(platform "^((unistd|dlfcn|fcntl|poll|pthread|signal|termios|link|windows|io)\\.h|sys/.*)$")

file(GLOB_RECURSE files RELATIVE "${SOURCE_DIR}" "${SOURCE_DIR}/*.h" "${SOURCE_DIR}/*.c" "${SOURCE_DIR}/*.[ch]pp")
list(FILTER files INCLUDE REGEX "^(qorc|qorcpp|introspection|runtime|qor_tavi_extractor|plugins|host|tools|examples)/")
set(refused 0)
foreach(file IN LISTS files)
  foreach(rule IN LISTS rules)
    string(REGEX MATCH "^([^ ]+) +=> (.*)$" whole "${rule}")
    set(allowed "${CMAKE_MATCH_2}")
    if(file MATCHES "^${CMAKE_MATCH_1}")
      string(REPLACE "@1" "${CMAKE_MATCH_1}" allowed "${allowed}")
      break()
    endif()
  endforeach()
  file(STRINGS "${SOURCE_DIR}/${file}" lines REGEX "^[ \t]*#[ \t]*include")
  foreach(line IN LISTS lines)
    string(REGEX MATCH "include[ \t]*([\"<])([^\">]+)" whole "${line}")
    set(form "${CMAKE_MATCH_1}")
    set(header "${CMAKE_MATCH_2}")
    if((form STREQUAL "\"" OR header MATCHES "${rooms}") AND NOT header MATCHES "^(${allowed})$"
       OR header MATCHES "${platform}" AND NOT file MATCHES "^qorcpp/src/(posix|windows)/")
      message(NOTICE "${file} may not include ${header}")
      math(EXPR refused "${refused} + 1")
    endif()
  endforeach()
endforeach()
if(refused OR NOT files)
  message(FATAL_ERROR "${refused} includes against the table")
endif()
