// The benchmark's operations over one build of the library, as a module that a program can load
// more than once. It has a C interface because each copy runs beside a C++ library of its own.
#pragma once

#include <cstddef>
#include <cstdint>

extern "C" {

// Memory for a picture. The same name gives the same block, so that all copies of the module work
// on the same pictures. `is_new` is set to 1 for a block that nobody has filled yet.
using TavrineBenchMemory = void *(*)(void *arg, const char *name, size_t size, int *is_new);

struct TavrineBenchModule {
  const char *(*version)();
  // Makes the library use one instruction set. Returns 0, or -1 if this machine does not have it.
  int (*use_instruction_set)(const char *name);
  int (*row_count)();
  const char *(*row_name)(int row);
  // Returns the row's operation, ready to run, or null.
  void *(*prepare)(int row, TavrineBenchMemory memory, void *arg);
  // Returns 0, or -1 if one of the runs failed.
  int (*run)(void *call, int64_t times);
  void (*release)(void *call);
};

// What a module exports, as "tavrine_bench_module".
using TavrineBenchEntry = const TavrineBenchModule *(*)();

}  // extern "C"
