// Fortified headers define some of these functions themselves.
#undef _FORTIFY_SOURCE

#include "tests/file_failure.h"

#include <dlfcn.h>

#include <cerrno>
#include <cstdio>
#include <utility>

namespace tavrine::test {
namespace {

thread_local int32_t operations_left = 0;

bool should_fail() {
  if (operations_left == 0 || --operations_left > 0) {
    return false;
  }
  errno = EIO;
  return true;
}

// The function that this one replaces.
template <typename Function>
Function *next(Function * /*replaced*/, const char *name) {
  return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}

}  // namespace

void fail_file_operation(int32_t nth) { operations_left = nth; }

bool clear_failed_file_operation() { return std::exchange(operations_left, 0) == 0; }

}  // namespace tavrine::test

using tavrine::test::next;
using tavrine::test::should_fail;

// The libraries use these instead of the system's functions.
#pragma GCC visibility push(default)

extern "C" {

FILE *fopen(const char *path, const char *mode) {
  static auto *const real = next(&fopen, "fopen");
  return should_fail() ? nullptr : real(path, mode);
}

size_t fread(void *data, size_t size, size_t count, FILE *file) {
  static auto *const real = next(&fread, "fread");
  return should_fail() ? 0 : real(data, size, count, file);
}

size_t fwrite(const void *data, size_t size, size_t count, FILE *file) {
  static auto *const real = next(&fwrite, "fwrite");
  return should_fail() ? real(data, size, count / 2, file) : real(data, size, count, file);
}

int fseek(FILE *file, long offset, int origin) {
  static auto *const real = next(&fseek, "fseek");
  return should_fail() ? -1 : real(file, offset, origin);
}

long ftell(FILE *file) {
  static auto *const real = next(&ftell, "ftell");
  return should_fail() ? -1 : real(file);
}

int fgetc(FILE *file) {
  static auto *const real = next(&fgetc, "fgetc");
  return should_fail() ? EOF : real(file);
}

int fclose(FILE *file) {
  static auto *const real = next(&fclose, "fclose");
  const int closed = real(file);
  return should_fail() ? EOF : closed;
}
}

#pragma GCC visibility pop
