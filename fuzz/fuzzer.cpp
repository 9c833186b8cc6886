// libFuzzer's entry point, for the harness that the build names.
#include "fuzz/harness.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  tavrine::fuzz::TAVRINE_HARNESS(data, size);
  return 0;
}
