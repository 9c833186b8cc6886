// What hwy/targets.h declares, as far as the kernels and tests use it. Highway's own library
// defines it too, but it also calibrates a timer whenever a program starts, which takes longer than
// all else. The definitions here are hidden, so an application's Highway stays apart.
#include "kernels/instruction_set.h"

#include <hwy/targets.h>

#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#if HWY_ARCH_X86
#include <cpuid.h>
#elif defined(__arm__)
#include <asm/hwcap.h>
#include <elf.h>
#include <fcntl.h>
#include <unistd.h>
#endif

namespace {

#if HWY_ARCH_X86

// Another one needs a line in targets_of_cpu().
static_assert((HWY_TARGETS & ~(HWY_AVX2 | HWY_SSE4 | HWY_SSSE3 | HWY_SCALAR | HWY_EMU128)) == 0,
              "an instruction set is compiled that is never taken");

bool has_all(unsigned features, unsigned needed) { return (features & needed) == needed; }

// True if the system keeps the upper halves of the vector registers when it switches threads.
bool keeps_wide_registers() {
  constexpr unsigned kSseAndAvx = 6;
  unsigned low = 0, high = 0;
  asm volatile("xgetbv" : "=a"(low), "=d"(high) : "c"(0));
  return has_all(low, kSseAndAvx);
}

// Each set includes the one before and all that hwy/ops/set_macros-inl.h allows the compiler to use
// with it.
int64_t targets_of_cpu() {
  unsigned a = 0, b = 0, c = 0, d = 0;
  if (__get_cpuid(1, &a, &b, &c, &d) == 0 || !has_all(c, bit_SSE3 | bit_SSSE3)) {
    return 0;
  }
  int64_t targets = HWY_SSSE3;
  if (!has_all(c, bit_SSE4_1 | bit_SSE4_2 | bit_PCLMUL | bit_AES)) {
    return targets;
  }
  targets |= HWY_SSE4;
  if (!has_all(c, bit_OSXSAVE | bit_AVX | bit_FMA | bit_F16C) || !keeps_wide_registers()) {
    return targets;
  }
  if (__get_cpuid_count(7, 0, &a, &b, &c, &d) != 0 && has_all(b, bit_AVX2 | bit_BMI | bit_BMI2) &&
      __get_cpuid(0x80000001, &a, &b, &c, &d) != 0 && has_all(c, bit_LZCNT)) {
    targets |= HWY_AVX2;
  }
  return targets;
}

#else

// What the compiler may use anywhere in this build.
int64_t targets_of_cpu() { return HWY_STATIC_TARGET; }

#endif

const char *name_of(int64_t target) {
  // Compilers differ in which of the two has no vector instructions.
  return target == HWY_EMU128 ? "SCALAR" : hwy::TargetName(target);
}

int64_t usable_targets() { return (targets_of_cpu() | HWY_STATIC_TARGET) & HWY_TARGETS; }

int64_t targets_to_choose_from() {
  const int64_t usable = usable_targets();
  const char *const name = std::getenv(tavrine::kInstructionSetVariable);
  for (int64_t bits = name != nullptr ? usable : 0; bits != 0; bits &= bits - 1) {
    const int64_t target = bits & -bits;
    if (std::strcmp(name_of(target), name) == 0) {
      return target;
    }
  }
  return usable;
}

std::atomic<int64_t> targets_for_test = 0;

}  // namespace

namespace hwy {

int64_t SupportedTargets() {
  static const int64_t targets = targets_to_choose_from();
  const int64_t for_test = targets_for_test;
  return for_test != 0 ? for_test : targets;
}

void SetSupportedTargetsForTest(int64_t targets) {
  targets_for_test = targets;
  GetChosenTarget().DeInit();
}

ChosenTarget &GetChosenTarget() {
  static ChosenTarget chosen;
  return chosen;
}

// Called where a debug build finds a fault in the use of Highway.
void Abort(const char *file, int line, const char *format, ...) {
  std::fprintf(stderr, "%s:%d: ", file, line);
  va_list arguments;
  va_start(arguments, format);
  // clang-tidy 14 loses sight of va_start when it reads several files in one run.
  // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized)
  std::vfprintf(stderr, format, arguments);
  va_end(arguments);
  std::abort();
}

}  // namespace hwy

namespace tavrine {

std::vector<InstructionSet> instruction_sets() {
  const int64_t usable = usable_targets();
  // Not what hwy::SupportedTargets() keeps: the tool sets the variable after it has asked for
  // names.
  const int64_t for_test = targets_for_test;
  const int64_t chosen = for_test != 0 ? for_test : targets_to_choose_from();
  const int64_t best = chosen & -chosen;
  std::vector<InstructionSet> sets;
  for (int64_t bits = HWY_TARGETS; bits != 0; bits &= bits - 1) {
    const int64_t target = bits & -bits;
    sets.push_back({name_of(target), (usable & target) != 0, target == best});
  }
  return sets;
}

#if defined(__arm__)

namespace {

// What getauxval(AT_HWCAP) returns, which C libraries before version 2.16 do not have.
unsigned long cpu_features() {
  unsigned long features = 0;
  const int file = open("/proc/self/auxv", O_RDONLY | O_CLOEXEC);
  for (Elf32_auxv_t entry; file >= 0 && read(file, &entry, sizeof entry) == sizeof entry;) {
    if (entry.a_type == AT_HWCAP) {
      features = entry.a_un.a_val;
    }
  }
  if (file >= 0) {
    close(file);
  }
  return features;
}

}  // namespace

bool has_fused_multiply_add() {
  static const bool has_it = (cpu_features() & HWCAP_VFPv4) != 0;
  return has_it;
}

#endif

}  // namespace tavrine
