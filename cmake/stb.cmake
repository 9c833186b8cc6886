# Makes a repaired copy of the distribution's stb_image.h in the build folder. Malformed pictures
# make the original read or write out of bounds; the patch gives the reason for each change.
find_program(PATCH_EXECUTABLE patch REQUIRED)
mark_as_advanced(PATCH_EXECUTABLE)

set(stb_original ${stb_INCLUDE_DIR}/stb_image.h)
set(TAVRINE_DECODER_PATCH ${PROJECT_SOURCE_DIR}/third_party/stb_image-2.27.patch CACHE FILEPATH
  "Repairs of the picture decoder; scripts/check-repairs builds without some of them")
mark_as_advanced(TAVRINE_DECODER_PATCH)
set(stb_patch ${TAVRINE_DECODER_PATCH})
set(stb_repaired_dir ${PROJECT_BINARY_DIR}/dependencies/repaired)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${stb_original} ${stb_patch})

set(stb_work_dir ${PROJECT_BINARY_DIR}/dependencies/patching)
file(REMOVE_RECURSE ${stb_work_dir})
file(COPY ${stb_original} DESTINATION ${stb_work_dir})
execute_process(
  COMMAND ${PATCH_EXECUTABLE} --forward --batch --strip=1 --no-backup-if-mismatch --input=${stb_patch}
  WORKING_DIRECTORY ${stb_work_dir}
  RESULT_VARIABLE stb_patch_status OUTPUT_VARIABLE stb_patch_output ERROR_VARIABLE stb_patch_output)
if(NOT stb_patch_status EQUAL 0)
  # Another version may contain these repairs, or may still have the faults at other places. The
  # inputs that tests/ and fuzz/ replay show which.
  message(WARNING "${stb_patch} does not apply completely to ${stb_original}. The decoder may be "
    "unsafe with malformed pictures.\n${stb_patch_output}")
endif()
# Written only when it differs, so that configuring again does not rebuild the codecs.
file(MAKE_DIRECTORY ${stb_repaired_dir})
file(COPY_FILE ${stb_work_dir}/stb_image.h ${stb_repaired_dir}/stb_image.h ONLY_IF_DIFFERENT)
