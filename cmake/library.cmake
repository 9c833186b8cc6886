# The library itself. The CMakeLists.txt of each floor adds its sources.
add_library(tavrine_aux SHARED)
add_library(tavrine::aux ALIAS tavrine_aux)
set(tavrine_exports ${PROJECT_SOURCE_DIR}/cmake/exports.map)
set_target_properties(tavrine_aux PROPERTIES
  VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR}
  LINK_DEPENDS ${tavrine_exports})
target_include_directories(tavrine_aux
  PUBLIC $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>
  PRIVATE ${PROJECT_SOURCE_DIR})
target_link_libraries(tavrine_aux PRIVATE tavrine_flags PUBLIC tavrine tavrine_core)
target_link_options(tavrine_aux PRIVATE
  LINKER:--version-script=${tavrine_exports}
  # Both SDK libraries stay listed as needed, whichever of them the code calls.
  LINKER:--no-as-needed
  # In a fuzzer's build the sanitizer's runtime is in the program.
  $<$<NOT:$<BOOL:${TAVRINE_BUILD_FUZZERS}>>:LINKER:--no-undefined>
  LINKER:-e,tavrine_aux_program_entry)

install(TARGETS tavrine_aux LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(FILES include/tavrine_types.h include/tavrine_aux.h include/tavrine_core.h
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/tavrine)
