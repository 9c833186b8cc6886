#include "loaded_module.h"

#include <dlfcn.h>

#include <stdexcept>

namespace tavrine::bench {

const TavrineBenchModule &load_apart(const std::string &library, const std::string &module) {
  // When the module is loaded, its library is there already under the name that it asks for.
  void *const loaded = dlmopen(LM_ID_NEWLM, library.c_str(), RTLD_NOW);
  Lmid_t space = 0;
  if (loaded == nullptr || dlinfo(loaded, RTLD_DI_LMID, &space) != 0) {
    throw std::runtime_error(dlerror());
  }
  void *const handle = dlmopen(space, module.c_str(), RTLD_NOW);
  void *const entry = handle != nullptr ? dlsym(handle, "tavrine_bench_module") : nullptr;
  if (entry == nullptr) {
    throw std::runtime_error(dlerror());
  }
  return *reinterpret_cast<TavrineBenchEntry>(entry)();
}

}  // namespace tavrine::bench
