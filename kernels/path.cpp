#include "kernels/path.h"

#ifdef TAVRINE_TRACE_PATHS

namespace tavrine {
namespace {

thread_local PathSink current_sink = nullptr;

}  // namespace

PathSink set_path_sink(PathSink sink) {
  const PathSink before = current_sink;
  current_sink = sink;
  return before;
}

void trace_path(const char *name) {
  if (current_sink != nullptr) {
    current_sink(name);
  }
}

}  // namespace tavrine

#endif
