// Names the way that a kernel takes through its code, so that a test notices a fast path that is
// no longer taken. Builds without TAVRINE_TRACE_PATHS contain nothing of it.
#pragma once

namespace tavrine {

#ifdef TAVRINE_TRACE_PATHS

// What receives the names, for the calling thread; null: nothing does. Returns what did before.
using PathSink = void (*)(const char *name);
PathSink set_path_sink(PathSink sink);

// Called once for a plane, not for each row. The name has the kernel and the way: "resize.halve".
void trace_path(const char *name);

#else

inline void trace_path(const char *) {}

#endif

}  // namespace tavrine
