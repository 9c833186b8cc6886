// Names the way that a kernel takes through its code, so that a test notices a fast path that is
// no longer taken. Builds without TAVRINE_TRACE_PATHS contain nothing of it.
#pragma once

#ifdef TAVRINE_TRACE_PATHS

// Receives the names, also those from inside the shared library. A program may define it.
extern "C" __attribute__((weak, visibility("default"))) void tavrine_path_taken(const char *name);

namespace tavrine {

// Called once for a plane, not for each row. The name has the kernel and the way: "resize.halve".
inline void trace_path(const char *name) {
  if (tavrine_path_taken != nullptr) {
    tavrine_path_taken(name);
  }
}

}  // namespace tavrine

#else

namespace tavrine {

inline void trace_path(const char *) {}

}  // namespace tavrine

#endif
