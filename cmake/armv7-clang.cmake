# The camera as in armv7.cmake, compiled by clang against the cross compiler's libraries.
include(${CMAKE_CURRENT_LIST_DIR}/armv7.cmake)
set(CMAKE_C_COMPILER clang)
set(CMAKE_CXX_COMPILER clang++)
set(CMAKE_C_COMPILER_TARGET arm-linux-gnueabihf)
set(CMAKE_CXX_COMPILER_TARGET arm-linux-gnueabihf)
