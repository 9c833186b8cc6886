#include "ending_signals.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <thread>

namespace tavrine::tool {

namespace {

// What a user, a shell, a pipe or a resource limit ends a program with.
constexpr int kEndingSignals[] = {SIGHUP,  SIGINT,  SIGQUIT, SIGPIPE, SIGALRM,
                                  SIGTERM, SIGUSR1, SIGUSR2, SIGXCPU, SIGXFSZ};

std::array<const char *, kMostRegisteredFiles> registered{};
std::atomic_flag registry_is_locked = ATOMIC_FLAG_INIT;

void lock_registry() {
  while (registry_is_locked.test_and_set(std::memory_order_acquire)) {
    std::this_thread::yield();
  }
}

sigset_t ending_signals() {
  sigset_t signals;
  sigemptyset(&signals);
  for (const int signal_number : kEndingSignals) {
    sigaddset(&signals, signal_number);
  }
  return signals;
}

// A thread that holds the lock has these signals blocked, so it is never the one that is waited for
// here. The lock is kept: no thread creates a file or installs a handler any more.
extern "C" void remove_registered_files(int signal_number) {
  lock_registry();
  for (const char *path : registered) {
    if (path != nullptr) {
      unlink(path);
    }
  }
  signal(signal_number, SIG_DFL);
  raise(signal_number);  // ends the program when this function returns
}

void install_handlers() {
  for (const int signal_number : kEndingSignals) {
    struct sigaction previous {};
    sigaction(signal_number, nullptr, &previous);
    if (previous.sa_handler == SIG_DFL) {
      struct sigaction action {};
      action.sa_handler = remove_registered_files;
      action.sa_mask = ending_signals();
      sigaction(signal_number, &action, nullptr);
    }
  }
}

}  // namespace

BlockedSignals::BlockedSignals() {
  const sigset_t signals = ending_signals();
  pthread_sigmask(SIG_BLOCK, &signals, &previous_);
}

BlockedSignals::~BlockedSignals() { pthread_sigmask(SIG_SETMASK, &previous_, nullptr); }

FileRegistry::FileRegistry() {
  lock_registry();
  install_handlers();
}

FileRegistry::~FileRegistry() { registry_is_locked.clear(std::memory_order_release); }

void FileRegistry::add(const std::string &path) {
  const auto slot = std::find(registered.begin(), registered.end(), nullptr);
  if (slot != registered.end()) {
    *slot = path.c_str();
  }
}

void FileRegistry::drop(const std::string &path) {
  std::replace(registered.begin(), registered.end(), path.c_str(),
               static_cast<const char *>(nullptr));
}

}  // namespace tavrine::tool
