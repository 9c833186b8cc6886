# What every target of this project is compiled with.
add_library(tavrine_flags INTERFACE)
# Fused multiply-adds would change bits between machines.
target_compile_options(tavrine_flags INTERFACE -ffp-contract=off -Wall -Wextra -Wpedantic -Wshadow
                                               -Wcast-align -Wformat=2)
if(TAVRINE_WERROR)
  target_compile_options(tavrine_flags INTERFACE -Werror)
endif()
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_SYSTEM_PROCESSOR MATCHES "^arm")
  # The note that GCC 7 changed an ABI detail says nothing to anybody here.
  target_compile_options(tavrine_flags INTERFACE -Wno-psabi)
endif()
