// The library's log: errors are kept for the line that reports the failed call, notices and
// warnings are shown only when the user asks for them. Each thread has its own errors and path.
#pragma once

#include <cstdint>
#include <string>

#include "console.h"

namespace tavrine::tool {

class LogRecords {
 public:
  LogRecords(Console &console, bool verbose);
  ~LogRecords();
  LogRecords(const LogRecords &) = delete;
  LogRecords &operator=(const LogRecords &) = delete;

  // The error texts since the last call, on one line.
  std::string take_errors();

  // How the operations on device frames since the last call were done: by the backend that was
  // asked first, without any work, or by the CPU instead of the engine.
  enum class Path { kDirect, kShortcut, kFallback };
  Path take_path();

  // A line that is shown with notices.
  void note(const std::string &text);

 private:
  static void receive(void *self, int32_t level, const char *tag, int32_t line, const char *text);

  Console &console_;
  bool verbose_;
};

}  // namespace tavrine::tool
