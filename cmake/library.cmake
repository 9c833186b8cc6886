# The library itself. Each floor's CMakeLists.txt adds its files.
add_library(tavrine_aux SHARED)
set_target_properties(tavrine_aux PROPERTIES
  VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR}
  LINK_DEPENDS ${PROJECT_SOURCE_DIR}/cmake/exports.map)
target_include_directories(tavrine_aux
  PUBLIC $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>
  PRIVATE ${PROJECT_SOURCE_DIR} ${PROJECT_BINARY_DIR}/generated)
target_link_libraries(tavrine_aux PRIVATE tavrine_flags PUBLIC tavrine tavrine_core)
target_link_options(tavrine_aux PRIVATE
  -Wl,--version-script=${PROJECT_SOURCE_DIR}/cmake/exports.map
  # Both SDK libraries are named as needed, whichever of them today's code calls.
  -Wl,--no-as-needed
  # A fuzzer's runtime is in the program.
  $<$<NOT:$<BOOL:${TAVRINE_BUILD_FUZZERS}>>:-Wl,--no-undefined>
  -Wl,-e,tavrine_aux_program_entry)

# The banner tells what the library was really built with.
if(CMAKE_SYSTEM_PROCESSOR MATCHES "^arm")
  set(TAVRINE_ARCHITECTURE armv7)
else()
  set(TAVRINE_ARCHITECTURE ${CMAKE_SYSTEM_PROCESSOR})
endif()
set(TAVRINE_BUILD_CONFIG ${CMAKE_BUILD_TYPE})
configure_file(cmake/build_description.h.in generated/build_description.h)

add_subdirectory(kernels)
add_subdirectory(api)
add_subdirectory(host)
add_subdirectory(hisvp)
add_subdirectory(io)
add_subdirectory(geometry)

install(TARGETS tavrine_aux LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(FILES include/tavrine_types.h include/tavrine_aux.h include/tavrine_core.h
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/tavrine)
