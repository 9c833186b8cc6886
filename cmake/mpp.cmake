# The media platform behind the image engine's backend, as the target tavrine_mpp.
set(TAVRINE_MPP devkit CACHE STRING "Media platform: devkit (in software) or vendor (the camera's)")
set_property(CACHE TAVRINE_MPP PROPERTY STRINGS devkit vendor)
set(TAVRINE_MPP_DIR "" CACHE PATH "Folder with the vendor's libraries")
set(TAVRINE_MPP_LIBRARIES "ive;mpi" CACHE STRING
    "Names of the vendor's libraries, in the order in which the linker needs them")

function(tavrine_link_vendor_library name)
  # In this folder alone: elsewhere on a machine, mpi is something else.
  find_library(library ${name} PATHS ${TAVRINE_MPP_DIR} REQUIRED NO_CACHE
               NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH)
  if(library MATCHES "\\.a$")
    add_library(mpp_${name} STATIC IMPORTED GLOBAL)
  else()
    add_library(mpp_${name} SHARED IMPORTED GLOBAL)
    # A library that does not say its name would be looked for at its path on this machine.
    set_target_properties(mpp_${name} PROPERTIES IMPORTED_NO_SONAME ON)
  endif()
  set_target_properties(mpp_${name} PROPERTIES IMPORTED_LOCATION ${library})
  target_link_libraries(tavrine_mpp INTERFACE mpp_${name})
endfunction()

if(TAVRINE_MPP STREQUAL "devkit")
  add_subdirectory(${PROJECT_SOURCE_DIR}/devkit/mpp)
elseif(TAVRINE_MPP STREQUAL "vendor")
  if(NOT IS_DIRECTORY "${TAVRINE_MPP_DIR}")
    message(FATAL_ERROR "TAVRINE_MPP=vendor needs TAVRINE_MPP_DIR, the folder with the vendor's libraries")
  endif()
  add_library(tavrine_mpp INTERFACE)
  target_include_directories(tavrine_mpp INTERFACE ${PROJECT_SOURCE_DIR})
  foreach(name IN LISTS TAVRINE_MPP_LIBRARIES)
    tavrine_link_vendor_library(${name})
  endforeach()
  # The tests need the switches of the devkit's.
  set(TAVRINE_BUILD_TESTS OFF)
else()
  message(FATAL_ERROR "TAVRINE_MPP is devkit or vendor, not ${TAVRINE_MPP}")
endif()
