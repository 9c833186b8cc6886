#include <cstdio>

#include "commands.h"
#include "instruction_set.h"
#include "tavrine_aux.h"

namespace tavrine::tool {

int run(Environment & /*environment*/, const VersionRequest &request) {
  std::printf("tavrine-aux %s\nrevision %s\n", tavrine_aux_version(), tavrine_aux_revision());
  if (request.with_banner) {
    std::printf("\n%s", tavrine_aux_meta());
    std::printf("Instruction sets of the kernels:\n%s", describe_instruction_sets().c_str());
  }
  return 0;
}

}  // namespace tavrine::tool
