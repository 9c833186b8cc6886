// Prints one hash for each public operation, over some hundred random calls of it. Every build
// must print the same lines: a frame gives the same bytes on every machine.
#include <cinttypes>
#include <cstdio>

#include "tests/random_calls.h"

int main() {
  using namespace tavrine::test;
  tavrine_log_set_sink([](void *, int32_t, const char *, int32_t, const char *) {}, nullptr);
  const Variety none;
  for (const RandomOperation &operation : random_operations()) {
    RandomSource source(1, none);
    Digest digest;
    for (int i = 0; i < operation.calls; ++i) {
      operation.call(source, digest);
    }
    std::printf("%016" PRIx64 " %d calls of %s\n", digest.value(), operation.calls, operation.name);
  }
}
