# Dependencies from the distribution's packages. All are headers, so one set of packages serves every
# target. They are system headers: no warnings from them.
function(tavrine_header_library name header)
  find_path(${name}_INCLUDE_DIR ${header} ${ARGN} REQUIRED NO_CMAKE_FIND_ROOT_PATH)
  add_library(${name} INTERFACE IMPORTED)
  if(NOT ${name}_INCLUDE_DIR STREQUAL "/usr/include")
    target_include_directories(${name} SYSTEM INTERFACE ${${name}_INCLUDE_DIR})
  else()
    # /usr/include itself must not precede a cross compiler's own headers.
    set(link_dir ${PROJECT_BINARY_DIR}/dependencies/${name})
    get_filename_component(folder ${header} DIRECTORY)
    file(MAKE_DIRECTORY ${link_dir})
    file(CREATE_LINK /usr/include/${folder} ${link_dir}/${folder} SYMBOLIC)
    target_include_directories(${name} SYSTEM INTERFACE ${link_dir})
  endif()
endfunction()

tavrine_header_library(eigen Eigen/Dense PATH_SUFFIXES eigen3)
tavrine_header_library(highway hwy/highway.h)
tavrine_header_library(stb stb_image.h PATH_SUFFIXES stb)
if(TAVRINE_BUILD_TOOLS)
  tavrine_header_library(cli11 CLI/CLI.hpp)
endif()
