// A file that appears under its name only when it is complete.
#pragma once

#include <string>

#include "owned_file.h"

namespace tavrine::tool {

// The name that stands for standard input or standard output.
constexpr char kStandardStream[] = "-";

// Content goes to stream(), a temporary file beside the final one. commit() gives it its name.
// Without that, also when a signal ends the program, it is removed and what had the name before
// is unchanged. A replaced file keeps its permissions and, where allowed, its owner; a symbolic
// link is followed, also to a file that does not exist yet. With the name kStandardStream,
// stream() is standard output and nothing is temporary.
class OutputFile {
 public:
  explicit OutputFile(const std::string &path);  // throws Failure
  ~OutputFile();
  OutputFile(const OutputFile &) = delete;
  OutputFile &operator=(const OutputFile &) = delete;

  // Throws Failure.
  void write(const void *bytes, size_t count);
  void commit();

 private:
  void open_temporary(const std::string &target);
  [[noreturn]] void fail(int error) const;

  std::string path_;         // as the user wrote it
  std::string target_path_;  // with symbolic links resolved
  std::string temporary_path_;
  OwnedFile file_;
};

}  // namespace tavrine::tool
