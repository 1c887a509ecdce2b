# What makes a fault in optimised builds end the program instead of being of use to whoever provoked it: target
# tavi_hardening. docs/performance.md has what it costs. Debug builds and sanitizers, which find more, go without.
#
#   full RELRO with BIND_NOW     the loader's tables cannot be overwritten
#   stack protector              a buffer that is written past its end is noticed when its function returns
#   _FORTIFY_SOURCE              C functions check the size of their buffers where the compiler knows it
#   _GLIBCXX_ASSERTIONS          containers check indices, optional and pointers their emptiness
#   control-flow protection      indirect jumps reach functions only, on processors that have it
include(CheckCXXCompilerFlag)
include(CheckCXXSourceCompiles)
include(CheckPIESupported)

option(TAVI_HARDENING "Harden optimised builds" ON)

define_property(TARGET PROPERTY TAVI_UNOPTIMISED INITIALIZE_FROM_VARIABLE DEFAULT_TAVI_UNOPTIMISED
  BRIEF_DOCS "Whether a target is compiled with -O0 in all configurations")
add_library(tavi_hardening INTERFACE)
check_pie_supported()
set(optimised "$<NOT:$<CONFIG:Debug>>")
if(TAVI_HARDENING AND NOT MSVC AND NOT TAVI_SANITIZE)
  check_cxx_compiler_flag(-fstack-protector-strong TAVI_HAS_STACK_PROTECTOR)
  check_cxx_compiler_flag(-fcf-protection=full TAVI_HAS_CONTROL_FLOW_PROTECTION)
  foreach(flag IN ITEMS TAVI_HAS_STACK_PROTECTOR:-fstack-protector-strong
      TAVI_HAS_CONTROL_FLOW_PROTECTION:-fcf-protection=full)
    string(REPLACE ":" ";" flag "${flag}")
    list(POP_FRONT flag known)
    if(${known})
      target_compile_options(tavi_hardening INTERFACE $<${optimised}:${flag}>)
    endif()
  endforeach()

  # Level 3 covers sizes that are known at run time only; older systems warn of it.
  set(CMAKE_REQUIRED_FLAGS "-O2 -Werror -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=3")
  check_cxx_source_compiles("#include <cstdio>\nint main() { return std::puts(\"\") < 0; }" TAVI_HAS_FORTIFY_3)
  unset(CMAKE_REQUIRED_FLAGS)
  set(fortify 2)
  if(TAVI_HAS_FORTIFY_3)
    set(fortify 3)
  endif()
  # The headers refuse it without optimisation.
  set(fortified "$<AND:${optimised},$<NOT:$<BOOL:$<TARGET_PROPERTY:TAVI_UNOPTIMISED>>>>")
  target_compile_options(tavi_hardening INTERFACE
    $<${fortified}:-U_FORTIFY_SOURCE> $<${fortified}:-D_FORTIFY_SOURCE=${fortify}>)
  target_compile_definitions(tavi_hardening INTERFACE $<${optimised}:_GLIBCXX_ASSERTIONS>)
  if(NOT WIN32 AND NOT APPLE)
    target_link_options(tavi_hardening INTERFACE $<${optimised}:LINKER:-z,relro> $<${optimised}:LINKER:-z,now>)
  endif()
endif()
