#include "tests/path_recorder.h"

#include "kernels/path.h"

namespace tavrine::test {
namespace {

thread_local PathRecorder *current = nullptr;

}  // namespace

PathRecorder::PathRecorder() { current = this; }

PathRecorder::~PathRecorder() { current = nullptr; }

void PathRecorder::add(const char *name) {
  if (last_ != name) {
    names_ += (names_.empty() ? "" : " ") + std::string(name);
    last_ = name;
  }
}

}  // namespace tavrine::test

#ifdef TAVRINE_TRACE_PATHS
void tavrine_path_taken(const char *name) {
  if (tavrine::test::current != nullptr) {
    tavrine::test::current->add(name);
  }
}
#endif
