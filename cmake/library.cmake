# The kernels know nothing of the rest, so that tests can hold each of them against its scalar
# definition on every instruction set.
add_library(tavrine_kernels OBJECT
  host/kernels/contrast_stretch.cpp
  host/kernels/planes.cpp
  host/kernels/resize.cpp
  host/kernels/resize_bilinear.cpp
  host/kernels/resize_reduce.cpp
  host/kernels/rgb.cpp
  host/kernels/rotate.cpp
  host/kernels/tensor.cpp
  host/kernels/warp_affine.cpp
  host/kernels/warp_affine_semi_planar.cpp
  host/kernels/warp_perspective.cpp
  host/kernels/yuv.cpp
)
target_include_directories(tavrine_kernels PUBLIC ${PROJECT_SOURCE_DIR})
target_link_libraries(tavrine_kernels PUBLIC tavrine_flags highway)
# Nothing at hand runs the newer sets, and what is not run is not tested.
target_compile_definitions(tavrine_kernels PUBLIC
  "HWY_DISABLED_TARGETS=(HWY_AVX3|HWY_AVX3_DL)"
  $<$<NOT:$<BOOL:${TAVRINE_SIMD}>>:HWY_COMPILE_ONLY_SCALAR>)
if(NOT TAVRINE_SIMD)
  # Nor does the compiler vectorise on its own, so that the two builds can be compared.
  target_compile_options(tavrine_kernels PRIVATE -fno-tree-vectorize -fno-tree-slp-vectorize)
endif()

# The picture codecs and what guards them, for the library and for tests that starve them.
add_library(tavrine_codecs OBJECT
  io/codec_memory.cpp
  io/decoder.cpp
  io/encoder.cpp
  io/picture_source.cpp
  io/stb.cpp
)
target_include_directories(tavrine_codecs
  PUBLIC ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/include ${PROJECT_SOURCE_DIR}/core)
target_include_directories(tavrine_codecs SYSTEM BEFORE PRIVATE ${stb_repaired_dir})
target_link_libraries(tavrine_codecs PUBLIC tavrine_flags PRIVATE stb)
# Broken pictures make the decoder's sums wrap, and both codecs shift negative numbers to the left,
# which every compiler here defines.
set_source_files_properties(io/stb.cpp PROPERTIES
  COMPILE_OPTIONS "-fwrapv;-fno-sanitize=shift")

add_library(tavrine_aux SHARED
  api/checks.cpp
  api/crop.cpp
  api/cvt_color.cpp
  api/geometric.cpp
  api/identity.cpp
  api/program_entry.cpp
  api/tensor.cpp
  api/tensor_batch.cpp
  api/tensor_checks.cpp
  geometry/find_transforms.cpp
  geometry/inverse.cpp
  hisvp/addresses.cpp
  hisvp/cvt_color.cpp
  hisvp/device_ops.cpp
  hisvp/image_type.cpp
  hisvp/resize.cpp
  host/batch.cpp
  host/cvt_color.cpp
  host/host_ops.cpp
  host/plane_view.cpp
  host/resize.cpp
  host/rotate.cpp
  host/tensor_fill.cpp
  host/warp_affine.cpp
  host/warp_perspective.cpp
  io/load.cpp
  io/save.cpp
)
set_target_properties(tavrine_aux PROPERTIES
  VERSION 1.2.0 SOVERSION 1
  LINK_DEPENDS ${PROJECT_SOURCE_DIR}/cmake/exports.map)
target_include_directories(tavrine_aux
  PUBLIC $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>
         $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/core>
  PRIVATE ${PROJECT_SOURCE_DIR} ${CMAKE_BINARY_DIR}/generated)
target_link_libraries(tavrine_aux PRIVATE tavrine_flags tavrine_codecs tavrine_kernels tavrine_mpp eigen
                                  PUBLIC tavrine tavrine_core)
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

install(TARGETS tavrine_aux LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(FILES include/tavrine_types.h include/tavrine_aux.h core/tavrine_core.h
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/tavrine)

# Scalar arithmetic gives every target the same bits; vectors would sum in another order.
set_source_files_properties(geometry/find_transforms.cpp PROPERTIES
  COMPILE_DEFINITIONS "EIGEN_DONT_VECTORIZE;EIGEN_MAX_ALIGN_BYTES=16")
