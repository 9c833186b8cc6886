// Standard error: lines that stay, and on a terminal a progress line that is overwritten. Several
// threads may use it.
#pragma once

#include <cstddef>
#include <mutex>
#include <string>

namespace tavrine::tool {

class Console {
 public:
  Console();
  ~Console() { clear_progress(); }
  Console(const Console &) = delete;
  Console &operator=(const Console &) = delete;

  // Always one line: control characters, also those of file names, are shown as '?'.
  void line(const std::string &text);

  // Shown only if standard error is a terminal.
  void progress(size_t number, size_t total, const std::string &name);

 private:
  void clear_progress();

  std::mutex mutex_;
  bool is_terminal_ = false;
  bool progress_shown_ = false;
};

}  // namespace tavrine::tool
