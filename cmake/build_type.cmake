# Without a build type CMake compiles without optimisation, which makes the kernels up to 150
# times slower. A project that includes this one chooses for itself.
if(CMAKE_SOURCE_DIR STREQUAL CMAKE_CURRENT_SOURCE_DIR)
  set(CMAKE_BUILD_TYPE Release CACHE STRING "Release, RelWithDebInfo, Debug or MinSizeRel")
endif()
