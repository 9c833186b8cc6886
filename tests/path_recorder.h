// The ways that kernels take, as kernels/path.h names them.
#pragma once

#include <string>

namespace tavrine::test {

// Records the names of this thread while it lives.
class PathRecorder {
 public:
  PathRecorder();
  PathRecorder(const PathRecorder &) = delete;
  PathRecorder &operator=(const PathRecorder &) = delete;
  ~PathRecorder();

  // In order and separated by spaces; a name that repeats at once counts as one.
  std::string names() const { return names_; }

  void add(const char *name);

 private:
  std::string names_;
  std::string last_;
};

}  // namespace tavrine::test
