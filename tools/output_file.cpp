#include "output_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <csignal>
#include <cstring>
#include <filesystem>

#include "failure.h"

namespace tavrine::tool {

namespace {

namespace fs = std::filesystem;

constexpr char kOperation[] = "save";
constexpr mode_t kNewFileMode = 0666;  // less the umask
constexpr mode_t kPrivateMode = 0600;
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

// What a user, a shell, a pipe or a resource limit ends a program with.
constexpr int kEndingSignals[] = {SIGHUP,  SIGINT,  SIGQUIT, SIGPIPE, SIGALRM,
                                  SIGTERM, SIGUSR1, SIGUSR2, SIGXCPU, SIGXFSZ};

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

// Holds signals back between a file's creation or removal and its registration.
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

// The file that a chain of symbolic links ends at, which need not exist. A chain that is too
// long ends at a link, and stat reports that.
std::string resolve_links(const std::string &path) {
  constexpr int kMaxLinks = 40;
  fs::path target = path;
  std::error_code error;
  for (int count = 0; count < kMaxLinks && fs::is_symlink(target, error); ++count) {
    const fs::path next = fs::read_symlink(target, error);
    if (error) {
      break;
    }
    target = target.parent_path() / next;  // an absolute path replaces what stands before it
  }
  return target.string();
}

std::string temporary_name(const fs::path &target, int attempt) {
  const std::string name =
      ".tavrine-" + std::to_string(getpid()) + "-" + std::to_string(attempt) + ".tmp";
  return (target.parent_path() / name).string();
}

// Owner and permissions of the file that will be replaced. The permissions come last, since
// changing the owner may change them. A group that cannot be kept gets no more than all others.
void copy_attributes(const struct stat &from, int descriptor) {
  mode_t mode = from.st_mode & kPermissionBits;
  if (fchown(descriptor, from.st_uid, from.st_gid) != 0 &&
      fchown(descriptor, static_cast<uid_t>(-1), from.st_gid) != 0) {
    mode = (mode & ~mode_t{S_IRWXG}) | ((mode & S_IRWXO) << 3);
  }
  fchmod(descriptor, mode);
}

}  // namespace

OutputFile::OutputFile(const std::string &path) : path_(path), target_path_(resolve_links(path)) {
  if (path == kStandardStream) {
    return;
  }
  install_handlers();
  open_temporary(target_path_);
}

void OutputFile::open_temporary(const std::string &target) {
  struct stat existing {};
  const bool replaces = stat(target.c_str(), &existing) == 0;
  if (!replaces && errno != ENOENT) {
    fail(errno);
  }
  if (replaces && !S_ISREG(existing.st_mode)) {
    throw Failure(path_, kOperation, "exists and is not a file");
  }
  // Renaming would replace a read-only file without asking for its permission.
  if (replaces && access(target.c_str(), W_OK) != 0) {
    fail(errno);
  }
  const BlockedSignals blocked;
  int descriptor = -1;
  for (int attempt = 0; descriptor < 0; ++attempt) {
    temporary_path_ = temporary_name(target, attempt);
    // Nobody else may read a private file's new content, not even while it is being written.
    descriptor = open(temporary_path_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC,
                      replaces ? kPrivateMode : kNewFileMode);
    if (descriptor < 0 && errno != EEXIST) {
      const int error = errno;
      temporary_path_.clear();
      fail(error);
    }
  }
  std::strncpy(pending_path, temporary_path_.c_str(), sizeof(pending_path) - 1);
  if (replaces) {
    copy_attributes(existing, descriptor);
  }
  file_.reset(fdopen(descriptor, "wb"));
  if (!file_) {
    const int error = errno;
    close(descriptor);
    unlink(temporary_path_.c_str());
    pending_path[0] = '\0';
    fail(error);
  }
}

OutputFile::~OutputFile() {
  if (!temporary_path_.empty()) {
    const BlockedSignals blocked;
    unlink(temporary_path_.c_str());
    pending_path[0] = '\0';
  }
}

void OutputFile::write(const void *bytes, size_t count) {
  if (std::fwrite(bytes, 1, count, file_ ? file_.get() : stdout) != count) {
    fail(errno);
  }
}

void OutputFile::commit() {
  if (!file_) {
    if (std::fflush(stdout) != 0) {
      fail(errno);
    }
    return;
  }
  if (std::fclose(file_.release()) != 0) {
    fail(errno);
  }
  const BlockedSignals blocked;
  if (std::rename(temporary_path_.c_str(), target_path_.c_str()) != 0) {
    fail(errno);
  }
  pending_path[0] = '\0';
  temporary_path_.clear();
}

void OutputFile::fail(int error) const {
  const std::string name = path_ == kStandardStream ? "standard output" : path_;
  throw Failure(name, kOperation, std::strerror(error));
}

}  // namespace tavrine::tool
