#include "log_record.h"

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <cstring>

#include "tavrine_devkit.h"

namespace tavrine::python {
namespace {

// Without a constructor, so that a thread's first call costs no more than the others.
struct Record {
  int32_t level;
  int32_t line;
  char tag[17];
  char text[512];
};

constexpr int32_t kNone = -1;
constexpr int32_t kWarning = 3;  // notices explain no failure

thread_local Record latest = {kNone, 0, {}, {}};

template <size_t kSize>
void copy_text(char (&destination)[kSize], const char *source) {
  const size_t length = strnlen(source, kSize - 1);
  std::memcpy(destination, source, length);
  destination[length] = '\0';
}

// Called on the thread that logs.
void keep(void * /*arg*/, int32_t level, const char *tag, int32_t line, const char *text) {
  if (level >= kWarning && level >= latest.level) {
    latest.level = level;
    latest.line = line;
    copy_text(latest.tag, tag);
    copy_text(latest.text, text);
  }
}

// One line, with single spaces.
std::string in_one_line(const char *text) {
  std::string line;
  for (; *text != '\0'; ++text) {
    const bool is_space = std::isspace(static_cast<unsigned char>(*text)) != 0;
    if (!is_space) {
      line += *text;
    } else if (!line.empty() && line.back() != ' ') {
      line += ' ';
    }
  }
  line.erase(std::find_if(line.rbegin(), line.rend(), [](char c) { return c != ' '; }).base(),
             line.end());
  return line;
}

}  // namespace

void collect_log_records() { tavrine_log_set_sink(keep, nullptr); }

void forget_log_record() { latest.level = kNone; }

std::string log_record_text() {
  if (latest.level == kNone) {
    return {};
  }
  return in_one_line(latest.text) + " (" + latest.tag + ":" + std::to_string(latest.line) + ")";
}

}  // namespace tavrine::python
