# The library itself. The CMakeLists.txt of each floor adds its sources.
add_library(tavrine_aux SHARED)
add_library(tavrine::aux ALIAS tavrine_aux)
set(tavrine_exports ${PROJECT_SOURCE_DIR}/cmake/exports.map)
set_target_properties(tavrine_aux PROPERTIES
  EXPORT_NAME aux VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR}
  LINK_DEPENDS ${tavrine_exports})
target_include_directories(tavrine_aux
  PUBLIC $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>
         $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/tavrine>
  PRIVATE ${PROJECT_SOURCE_DIR})
target_link_libraries(tavrine_aux PRIVATE tavrine_flags
  PUBLIC $<BUILD_INTERFACE:tavrine_sdk>)
if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang" AND CMAKE_CXX_FLAGS MATCHES "-fsanitize")
  set(runtime_in_program ON)
endif()
target_link_options(tavrine_aux PRIVATE
  LINKER:--version-script=${tavrine_exports}
  # Clang puts a sanitizer's runtime into the program.
  $<$<NOT:$<BOOL:${runtime_in_program}>>:LINKER:--no-undefined>
  LINKER:-e,tavrine_aux_program_entry)
if(TAVRINE_STATIC_RUNTIME)
  # The version script hides it: an application's own runtime stays apart.
  target_sources(tavrine_aux PRIVATE ${PROJECT_SOURCE_DIR}/common/single_threaded.cpp)
  target_link_options(tavrine_aux PRIVATE -static-libstdc++ -static-libgcc)
endif()
