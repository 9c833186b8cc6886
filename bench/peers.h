// The other implementations, where they are built.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "calls.h"

namespace tavrine::bench {

struct Peer {
  const char *name;
  std::string version;
  Call (*call)(const Operation &operation, Pictures &pictures);
};

std::vector<Peer> all_peers();

}  // namespace tavrine::bench
