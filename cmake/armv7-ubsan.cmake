# The camera as in armv7.cmake, with the address and undefined-behaviour sanitizers. Under qemu the
# leak check cannot run, and programs that keep more than some 100 MB get addresses above 3 GiB, which
# the address sanitizer does not expect. So the preset's ASAN_OPTIONS switch off the leak check, and
# few freed blocks are kept.
include(${CMAKE_CURRENT_LIST_DIR}/armv7.cmake)
string(APPEND TAVRINE_ARM_FLAGS
  " -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer")
set(CMAKE_C_FLAGS_INIT "${TAVRINE_ARM_FLAGS}")
set(CMAKE_CXX_FLAGS_INIT "${TAVRINE_ARM_FLAGS}")
