#include "console.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>

namespace tavrine::tool {

namespace {

constexpr size_t kDefaultColumns = 80;

size_t terminal_columns() {
  struct winsize size {};
  if (ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) {
    return size.ws_col;
  }
  return kDefaultColumns;
}

std::string printable(std::string text) {
  std::replace_if(
      text.begin(), text.end(),
      [](char character) {
        const auto byte = static_cast<unsigned char>(character);
        return byte < 0x20 || byte == 0x7f;
      },
      '?');
  return text;
}

}  // namespace

Console::Console() : is_terminal_(isatty(STDERR_FILENO) != 0) {}

void Console::line(const std::string &text) {
  const std::lock_guard<std::mutex> lock(mutex_);
  clear_progress();
  std::fprintf(stderr, "tavrine-aux: %s\n", printable(text).c_str());
}

void Console::progress(size_t number, size_t total, const std::string &name) {
  if (!is_terminal_) {
    return;
  }
  const std::lock_guard<std::mutex> lock(mutex_);
  clear_progress();
  std::string text =
      "[" + std::to_string(number) + "/" + std::to_string(total) + "] " + printable(name);
  // A line that wraps cannot be cleared.
  text.resize(std::min(text.size(), terminal_columns() - 1));
  std::fputs(text.c_str(), stderr);
  progress_shown_ = true;
}

void Console::clear_progress() {
  if (progress_shown_) {
    std::fputs("\r\033[K", stderr);
    progress_shown_ = false;
  }
}

}  // namespace tavrine::tool
