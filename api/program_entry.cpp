// The library file can be started as a program: it prints its banner and exits.
#include <unistd.h>

#include <cstdio>

#include "api/identity.h"

#if defined(__x86_64__)
#define TAVRINE_LOADER "/lib64/ld-linux-x86-64.so.2"
// The loader jumps here without a call, so the stack is eight bytes off the alignment that a
// compiled function expects.
#define TAVRINE_ENTRY_ATTRIBUTES __attribute__((force_align_arg_pointer, noreturn, used))
#elif defined(__arm__)
#define TAVRINE_LOADER "/lib/ld-linux-armhf.so.3"
#define TAVRINE_ENTRY_ATTRIBUTES __attribute__((noreturn, used))
#elif defined(__aarch64__)
#define TAVRINE_LOADER "/lib/ld-linux-aarch64.so.1"
#define TAVRINE_ENTRY_ATTRIBUTES __attribute__((noreturn, used))
#else
#error "name the program interpreter of this machine"
#endif

namespace {

__attribute__((section(".interp"), used)) const char kLoader[] = TAVRINE_LOADER;

}  // namespace

extern "C" TAVRINE_ENTRY_ATTRIBUTES void tavrine_aux_program_entry() {
  // Without a reference, the linker would leave it out.
  asm volatile("" : : "r"(kLoader));
  fputs(tavrine::kBanner, stderr);
  _exit(0);
}
