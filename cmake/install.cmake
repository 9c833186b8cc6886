# What is installed, in the components runtime, development, tools and devkit.
#
# The devkit's libraries have the file names of the SDK's. They have a folder of their own, so that
# they neither replace the SDK's nor are found instead of them.
if(NOT TAVRINE_INSTALL)
  return()
endif()
include(CMakePackageConfigHelpers)
set(libdir ${CMAKE_INSTALL_LIBDIR})
set(includedir ${CMAKE_INSTALL_INCLUDEDIR})
set(package_dir ${libdir}/cmake/tavrine_aux)

set(runtime_targets tavrine_aux)
if(TAVRINE_MPP STREQUAL "devkit")
  # The library needs it, and no SDK has a library of this name.
  list(APPEND runtime_targets tavrine_mpp)
  set_target_properties(tavrine_aux PROPERTIES INSTALL_RPATH "$ORIGIN")
endif()
install(TARGETS ${runtime_targets} EXPORT tavrine_aux-targets
  LIBRARY DESTINATION ${libdir} COMPONENT runtime NAMELINK_COMPONENT development)
install(FILES include/tavrine_types.h include/tavrine_aux.h include/tavrine_aux.hpp
  include/tavrine_core.h include/tavrine_core.hpp
  DESTINATION ${includedir}/tavrine COMPONENT development)
install(EXPORT tavrine_aux-targets NAMESPACE tavrine:: DESTINATION ${package_dir}
  COMPONENT development)

configure_package_config_file(cmake/tavrine_aux-config.cmake.in tavrine_aux-config.cmake
  INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(tavrine_aux-config-version.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/tavrine_aux-config.cmake
  ${PROJECT_BINARY_DIR}/tavrine_aux-config-version.cmake
  DESTINATION ${package_dir} COMPONENT development)

# The licences of what is compiled in, as the distribution's packages carry them.
function(tavrine_install_notice component name package)
  set(notice /usr/share/doc/${package}/copyright)
  if(EXISTS ${notice})
    install(FILES ${notice} DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/tavrine_aux/notices
      RENAME ${name}.txt COMPONENT ${component})
  else()
    message(WARNING "Not installed, because there is no ${notice}: the licence of ${name}")
  endif()
endfunction()
tavrine_install_notice(runtime eigen libeigen3-dev)
tavrine_install_notice(runtime highway libhwy-dev)
tavrine_install_notice(runtime stb libstb-dev)

# Relative, so that an installed folder can be moved.
file(RELATIVE_PATH pkgconfig_to_prefix /prefix/${libdir}/pkgconfig /prefix)
configure_file(cmake/tavrine_aux.pc.in tavrine_aux.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/tavrine_aux.pc
  DESTINATION ${libdir}/pkgconfig COMPONENT development)

if(TAVRINE_BUILD_TOOLS)
  set_target_properties(tavrine_aux_tool PROPERTIES
    INSTALL_RPATH "$ORIGIN/../${libdir};$ORIGIN/../${libdir}/tavrine-devkit")
  install(TARGETS tavrine_aux_tool RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tools)
  tavrine_install_notice(tools cli11 libcli11-dev)
  if(TARGET tavrine_reference)
    install(DIRECTORY ${TAVRINE_REFERENCE_DIR}/man1 DESTINATION ${CMAKE_INSTALL_MANDIR}
      COMPONENT tools)
    install(DIRECTORY ${TAVRINE_REFERENCE_DIR}/completions
      DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion COMPONENT tools)
  endif()
endif()

if(NOT TAVRINE_SDK_DIR)
  # The media platform is in the folder above, or beside them in a Python wheel.
  set_target_properties(tavrine tavrine_core PROPERTIES INSTALL_RPATH "$ORIGIN/..;$ORIGIN")
  install(TARGETS tavrine tavrine_core tavrine_sdk tavrine_devkit EXPORT tavrine_devkit-targets
    LIBRARY DESTINATION ${libdir}/tavrine-devkit COMPONENT devkit)
  install(EXPORT tavrine_devkit-targets NAMESPACE tavrine:: DESTINATION ${package_dir}
    COMPONENT devkit)
  install(FILES devkit/core/tavrine_devkit.h
    DESTINATION ${includedir}/tavrine-devkit COMPONENT devkit)
  configure_file(cmake/tavrine_devkit.pc.in tavrine_devkit.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/tavrine_devkit.pc
    DESTINATION ${libdir}/pkgconfig COMPONENT devkit)
  if(TAVRINE_MPP STREQUAL "devkit")
    install(FILES devkit/mpp/tavrine_mpp_devkit.h
      DESTINATION ${includedir}/tavrine-devkit COMPONENT devkit)
    install(FILES hisvp/mpp.h DESTINATION ${includedir}/tavrine-devkit/hisvp COMPONENT devkit)
  endif()
endif()
