// The instruction sets of the kernels. Each is compiled for several, of which the library takes the
// best that the CPU has, or the one that the environment variable names. The results are the same.
#pragma once

#include <vector>

namespace tavrine {

// Read once, before the first kernel runs. A name that is not compiled, or that this CPU does not
// have, changes nothing.
constexpr char kInstructionSetVariable[] = "TAVRINE_INSTRUCTION_SET";

struct InstructionSet {
  const char *name;     // "AVX2", "SSE4", "SSSE3", "NEON" or "SCALAR"
  bool is_on_this_cpu;  // it can be taken
  bool is_taken;        // the kernels run on it
};

// Those that the kernels are compiled for, the best first.
std::vector<InstructionSet> instruction_sets();

#if defined(__arm__)
// VFPv4, which every Cortex-A7 with NEON has and a Cortex-A9 has not.
bool has_fused_multiply_add();
#endif

}  // namespace tavrine
