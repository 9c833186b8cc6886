#include <cstdio>

#include "commands.h"
#include "tavrine_aux.h"

namespace tavrine::tool {

int run(Environment & /*environment*/, const VersionRequest &request) {
  std::printf("tavrine-aux %s\nrevision %s\n", tavrine_aux_version(), tavrine_aux_revision());
  if (request.with_banner) {
    std::printf("\n%s", tavrine_aux_meta());
  }
  return 0;
}

}  // namespace tavrine::tool
