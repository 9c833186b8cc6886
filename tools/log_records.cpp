#include "log_records.h"

#include <sstream>
#include <utility>

#include "tavrine_devkit.h"

namespace tavrine::tool {

namespace {

// Levels of the core's log.
constexpr int32_t kWarning = 3;
constexpr int32_t kError = 4;

// The core calls the sink on the thread that logs.
thread_local std::string errors;
thread_local LogRecords::Path path = LogRecords::Path::kDirect;

// Log texts may have several lines, and begin with the function's name in brackets.
std::string on_one_line(const std::string &text) {
  std::istringstream words(text);
  std::string word;
  std::string line;
  while (words >> word) {
    const bool is_function_name = line.empty() && word.front() == '[' && word.back() == ']';
    if (!is_function_name) {
      line += (line.empty() ? "" : " ") + word;
    }
  }
  return line;
}

}  // namespace

LogRecords::LogRecords(Console &console, bool verbose) : console_(console), verbose_(verbose) {
  errors.clear();
  path = Path::kDirect;
  tavrine_log_set_sink(receive, this);
}

LogRecords::~LogRecords() { tavrine_log_set_sink(nullptr, nullptr); }

std::string LogRecords::take_errors() { return std::exchange(errors, {}); }

LogRecords::Path LogRecords::take_path() { return std::exchange(path, Path::kDirect); }

void LogRecords::note(const std::string &text) {
  if (verbose_) {
    console_.line(text);
  }
}

void LogRecords::receive(void *self, int32_t level, const char *tag, int32_t line,
                         const char *text) {
  const auto &records = *static_cast<LogRecords *>(self);
  const std::string message = on_one_line(text);
  if (message.find("fallback to CPU") != std::string::npos) {
    path = Path::kFallback;
  } else if (message.find("degrade to") != std::string::npos) {
    path = Path::kShortcut;
  }
  if (level >= kError) {
    errors += (errors.empty() ? "" : "; ") + message;
  } else if (records.verbose_) {
    const char *kind = level >= kWarning ? "warning" : "notice";
    records.console_.line(std::string(kind) + ": " + message + " (" + tag + ":" +
                          std::to_string(line) + ")");
  }
}

}  // namespace tavrine::tool
