# The camera's own libraries, as imported targets: the SDK core (tavrine, tavrine_core) and the
# media platform (tavrine_mpp). What is not named here comes from devkit/.
set(TAVRINE_SDK_DIR "" CACHE PATH
    "Folder with the SDK's libtavrine.so.1 and libtavrine_core.so.1; empty: use the devkit's")
set(TAVRINE_MPP devkit CACHE STRING "Media platform: devkit (in software) or vendor (the camera's)")
set_property(CACHE TAVRINE_MPP PROPERTY STRINGS devkit vendor)
set(TAVRINE_MPP_DIR "" CACHE PATH "Folder with the vendor's libraries")
set(TAVRINE_MPP_LIBRARIES "ive;mpi" CACHE STRING
    "Names of the vendor's libraries, in link order")

function(tavrine_import_sdk_library name)
  set(library ${TAVRINE_SDK_DIR}/lib${name}.so.1)
  if(NOT EXISTS ${library})
    message(FATAL_ERROR "TAVRINE_SDK_DIR: there is no ${library}")
  endif()
  add_library(${name} SHARED IMPORTED GLOBAL)
  set_target_properties(${name} PROPERTIES IMPORTED_LOCATION ${library})
  target_include_directories(${name} INTERFACE ${PROJECT_SOURCE_DIR}/include)
endfunction()

function(tavrine_import_mpp_library name)
  # Only in this folder: elsewhere on a workstation, mpi is the Message Passing Interface.
  find_library(library ${name} PATHS ${TAVRINE_MPP_DIR} REQUIRED NO_CACHE
               NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH)
  if(library MATCHES "\\.a$")
    add_library(mpp_${name} STATIC IMPORTED GLOBAL)
  else()
    add_library(mpp_${name} SHARED IMPORTED GLOBAL)
    # Without a soname, the linker would record the path on this machine.
    set_target_properties(mpp_${name} PROPERTIES IMPORTED_NO_SONAME ON)
  endif()
  set_target_properties(mpp_${name} PROPERTIES IMPORTED_LOCATION ${library})
  target_link_libraries(tavrine_mpp INTERFACE mpp_${name})
endfunction()

if(TAVRINE_SDK_DIR)
  tavrine_import_sdk_library(tavrine)
  tavrine_import_sdk_library(tavrine_core)
  # They need what the devkit's core adds for applications and tests.
  set(TAVRINE_BUILD_TOOLS OFF)
  set(TAVRINE_BUILD_TESTS OFF)
  set(TAVRINE_BUILD_BENCH OFF)
endif()

if(TAVRINE_MPP STREQUAL "vendor")
  if(NOT IS_DIRECTORY "${TAVRINE_MPP_DIR}")
    message(FATAL_ERROR "TAVRINE_MPP=vendor needs TAVRINE_MPP_DIR, the folder with the vendor's libraries")
  endif()
  add_library(tavrine_mpp INTERFACE)
  target_include_directories(tavrine_mpp INTERFACE ${PROJECT_SOURCE_DIR})
  foreach(name IN LISTS TAVRINE_MPP_LIBRARIES)
    tavrine_import_mpp_library(${name})
  endforeach()
  # They inject faults into the devkit's platform.
  set(TAVRINE_BUILD_TESTS OFF)
elseif(NOT TAVRINE_MPP STREQUAL "devkit")
  message(FATAL_ERROR "TAVRINE_MPP is devkit or vendor, not ${TAVRINE_MPP}")
endif()
