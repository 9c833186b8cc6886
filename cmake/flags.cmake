# What every target of this project is compiled with.
add_library(tavrine_flags INTERFACE)
target_compile_options(tavrine_flags INTERFACE
  # A fused multiply-add rounds once instead of twice, so results would differ between machines.
  -ffp-contract=off
  -Wall -Wextra -Wpedantic -Wshadow -Wcast-align -Wformat=2 -Wconversion -Wsign-conversion)
if(TAVRINE_WERROR)
  target_compile_options(tavrine_flags INTERFACE -Werror)
endif()
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_SYSTEM_PROCESSOR MATCHES "^(arm|aarch64)")
  # GCC notes an ABI change of version 7; no older compiler can build this project. It also warns
  # of arrays whose bound is an int template parameter; the preset armv7-clang checks the same code
  # without that fault.
  target_compile_options(tavrine_flags INTERFACE -Wno-psabi -Wno-sign-conversion)
endif()
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_FLAGS MATCHES "-fsanitize")
  # With sanitizers GCC 12 says this of the standard library's regular expressions.
  target_compile_options(tavrine_flags INTERFACE -Wno-maybe-uninitialized)
endif()

# What nothing refers to is left out.
target_compile_options(tavrine_flags INTERFACE -ffunction-sections -fdata-sections)
target_link_options(tavrine_flags INTERFACE LINKER:--gc-sections)

# Hardening: the library decodes untrusted files. Sanitizers have checks of their own.
if(NOT CMAKE_CXX_FLAGS MATCHES "-fsanitize")
  include(CheckCXXCompilerFlag)
  set(is_protected $<NOT:$<BOOL:$<TARGET_PROPERTY:TAVRINE_NO_STACK_PROTECTION>>>)
  target_compile_options(tavrine_flags INTERFACE $<${is_protected}:-fstack-protector-strong>
    # Needs optimisation.
    $<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=2>)
  # Clang lacks it for 32-bit ARM.
  set(CMAKE_REQUIRED_FLAGS -Werror)
  check_cxx_compiler_flag(-fstack-clash-protection TAVRINE_HAS_STACK_CLASH_PROTECTION)
  unset(CMAKE_REQUIRED_FLAGS)
  if(TAVRINE_HAS_STACK_CLASH_PROTECTION)
    target_compile_options(tavrine_flags INTERFACE $<${is_protected}:-fstack-clash-protection>)
  endif()
  target_link_options(tavrine_flags INTERFACE LINKER:-z,relro,-z,now,-z,noexecstack)
endif()
