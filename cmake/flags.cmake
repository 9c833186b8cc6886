# What every target of this project is compiled with.
add_library(tavrine_flags INTERFACE)
target_compile_options(tavrine_flags INTERFACE
  # A fused multiply-add rounds once instead of twice, so results would differ between machines.
  -ffp-contract=off
  -Wall -Wextra -Wpedantic -Wshadow -Wcast-align -Wformat=2 -Wconversion -Wsign-conversion)
if(TAVRINE_WERROR)
  target_compile_options(tavrine_flags INTERFACE -Werror)
endif()
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_SYSTEM_PROCESSOR MATCHES "^arm")
  # GCC notes an ABI change of version 7; no older compiler can build this project. On 32-bit
  # targets it warns of every array whose bound is an int template parameter; the preset
  # armv7-clang checks the same code without that fault.
  target_compile_options(tavrine_flags INTERFACE -Wno-psabi -Wno-sign-conversion)
endif()
