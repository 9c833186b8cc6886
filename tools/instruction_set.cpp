#include "instruction_set.h"

#include <algorithm>
#include <cstdlib>

#include "failure.h"
#include "kernels/instruction_set.h"

namespace tavrine::tool {

std::string instruction_set_names(const char *separator) {
  std::string names;
  for (const InstructionSet &set : instruction_sets()) {
    names += (names.empty() ? "" : separator) + std::string(set.name);
  }
  return names;
}

void take_instruction_set(const std::string &name) {
  const std::vector<InstructionSet> sets = instruction_sets();
  const auto set = std::find_if(sets.begin(), sets.end(),
                                [&](const InstructionSet &each) { return name == each.name; });
  if (set == sets.end()) {
    throw UsageError("--instruction-set: '" + name + "' is not one of " +
                     instruction_set_names(", "));
  }
  if (!set->is_on_this_cpu) {
    throw UsageError("--instruction-set: this CPU does not have " + name);
  }
  // Nothing else runs yet.
  setenv(kInstructionSetVariable, name.c_str(), 1);  // NOLINT(concurrency-mt-unsafe)
}

std::string describe_instruction_sets() {
  std::string text;
  for (const InstructionSet &set : instruction_sets()) {
    const char *state = set.is_taken         ? "taken"
                        : set.is_on_this_cpu ? "on this CPU"
                                             : "not on this CPU";
    text += "  " + std::string(set.name) + ": " + state + "\n";
  }
  return text;
}

}  // namespace tavrine::tool
