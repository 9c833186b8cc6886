#include "output_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <filesystem>

#include "failure.h"

namespace tavrine::tool {

namespace {

constexpr char kOperation[] = "save";
constexpr mode_t kDefaultMode = 0666;
constexpr mode_t kPermissionBits = 0777;

// For the signal handler: the file to remove, or an empty text.
char pending_path[PATH_MAX];

extern "C" void remove_pending_file(int signal_number) {
  if (pending_path[0] != '\0') {
    unlink(pending_path);
  }
  // The default action was restored on entry and ends the program after this return.
  raise(signal_number);
}

constexpr int kEndingSignals[] = {SIGHUP, SIGINT, SIGTERM};

void install_handlers() {
  for (const int signal_number : kEndingSignals) {
    struct sigaction previous {};
    sigaction(signal_number, nullptr, &previous);
    if (previous.sa_handler == SIG_DFL) {
      struct sigaction action {};
      action.sa_handler = remove_pending_file;
      action.sa_flags = static_cast<int>(SA_RESETHAND);
      sigemptyset(&action.sa_mask);
      sigaction(signal_number, &action, nullptr);
    }
  }
}

// Between a file's appearance and its registration a signal has to wait.
class BlockedSignals {
 public:
  BlockedSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal_number : kEndingSignals) {
      sigaddset(&signals, signal_number);
    }
    sigprocmask(SIG_BLOCK, &signals, &previous_);
  }
  ~BlockedSignals() { sigprocmask(SIG_SETMASK, &previous_, nullptr); }
  BlockedSignals(const BlockedSignals &) = delete;
  BlockedSignals &operator=(const BlockedSignals &) = delete;

 private:
  sigset_t previous_;
};

std::string behind_links(const std::string &path) {
  std::error_code error;
  if (!std::filesystem::is_symlink(path, error)) {
    return path;
  }
  const auto target = std::filesystem::canonical(path, error);
  return error ? path : target.string();
}

std::string temporary_name(const std::filesystem::path &target, int attempt) {
  const std::string name = ".tavrine-" + std::to_string(getpid()) + "-" + std::to_string(attempt) +
                           target.extension().string();
  return (target.parent_path() / name).string();
}

}  // namespace

OutputFile::OutputFile(const std::string &path) : path_(path), target_path_(behind_links(path)) {
  install_handlers();
  struct stat existing {};
  const bool replaces = stat(target_path_.c_str(), &existing) == 0;
  if (replaces && !S_ISREG(existing.st_mode)) {
    throw Failure(path, kOperation, "exists and is not a file");
  }
  // A file that must not be written would not survive being replaced.
  if (replaces && access(target_path_.c_str(), W_OK) != 0) {
    throw Failure(path, kOperation, std::strerror(errno));
  }
  const BlockedSignals blocked;
  int descriptor = -1;
  for (int attempt = 0; descriptor < 0; ++attempt) {
    temporary_path_ = temporary_name(target_path_, attempt);
    descriptor =
        open(temporary_path_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, kDefaultMode);
    if (descriptor < 0 && errno != EEXIST) {
      throw Failure(path, kOperation, std::strerror(errno));
    }
  }
  if (replaces) {
    kept_mode_ = existing.st_mode & kPermissionBits;
  }
  close(descriptor);
  std::strncpy(pending_path, temporary_path_.c_str(), sizeof(pending_path) - 1);
}

OutputFile::~OutputFile() {
  if (!temporary_path_.empty()) {
    const BlockedSignals blocked;
    unlink(temporary_path_.c_str());
    pending_path[0] = '\0';
  }
}

void OutputFile::commit() {
  if (kept_mode_) {
    // Best effort: the picture counts more than its permissions.
    chmod(temporary_path_.c_str(), *kept_mode_);
  }
  const BlockedSignals blocked;
  if (std::rename(temporary_path_.c_str(), target_path_.c_str()) != 0) {
    throw Failure(path_, kOperation, std::strerror(errno));
  }
  pending_path[0] = '\0';
  temporary_path_.clear();
}

}  // namespace tavrine::tool
