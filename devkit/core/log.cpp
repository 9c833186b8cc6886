#include <pthread.h>

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <new>

#include "core_api.h"

namespace {

constexpr size_t kTagBytes = 16;
constexpr size_t kTextBytes = 4096;

struct Sink {
  tavrine_log_sink_fn function;
  void *arg;
};

// Recursive, because a sink may call functions that log.
std::recursive_mutex sink_mutex;
Sink sink = {};

// A process that is forked while another thread logs can log too. The mutex is made anew in it: the
// copy is locked, and by a thread that has another number there.
[[maybe_unused]] const int fork_handlers =
    pthread_atfork([] { sink_mutex.lock(); }, [] { sink_mutex.unlock(); },
                   [] { new (&sink_mutex) std::recursive_mutex; });

// One fprintf per record, so that records of several threads do not share a line.
void write_to_standard_error(int32_t level, const char *tag, int32_t line, char *text) {
  size_t length = std::strlen(text);
  while (length > 0 && text[length - 1] == '\n') {
    text[--length] = '\0';
  }
  std::fprintf(stderr, "[%s:%d] L%d %s\n", tag, static_cast<int>(line), static_cast<int>(level),
               text);
}

}  // namespace

void tavrine_log(int32_t level, const char tag[16], int32_t line, const char *format, ...) {
  char name[kTagBytes + 1] = {};
  std::memcpy(name, tag, strnlen(tag, kTagBytes));
  char text[kTextBytes];
  va_list arguments;
  va_start(arguments, format);
  // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): va_start is above
  if (std::vsnprintf(text, sizeof(text), format, arguments) < 0) {
    text[0] = '\0';
  }
  va_end(arguments);

  const std::lock_guard<std::recursive_mutex> lock(sink_mutex);
  if (sink.function != nullptr) {
    sink.function(sink.arg, level, name, line, text);
  } else {
    write_to_standard_error(level, name, line, text);
  }
}

void tavrine_log_set_sink(tavrine_log_sink_fn function, void *arg) {
  const std::lock_guard<std::recursive_mutex> lock(sink_mutex);
  sink = {function, arg};
}
