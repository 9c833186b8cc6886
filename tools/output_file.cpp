#include "output_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

#include "ending_signals.h"
#include "failure.h"

namespace tavrine::tool {

namespace {

namespace fs = std::filesystem;

constexpr char kOperation[] = "save";
constexpr mode_t kNewFileMode = 0666;  // less the umask
constexpr mode_t kPrivateMode = 0600;
constexpr mode_t kPermissionBits = 0777;

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
  FileRegistry registry;
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
  registry.add(temporary_path_);
  if (replaces) {
    copy_attributes(existing, descriptor);
  }
  file_.reset(fdopen(descriptor, "wb"));
  if (!file_) {
    const int error = errno;
    close(descriptor);
    unlink(temporary_path_.c_str());
    registry.drop(temporary_path_);
    fail(error);
  }
}

OutputFile::~OutputFile() {
  if (!temporary_path_.empty()) {
    FileRegistry registry;
    unlink(temporary_path_.c_str());
    registry.drop(temporary_path_);
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
  FileRegistry registry;
  if (std::rename(temporary_path_.c_str(), target_path_.c_str()) != 0) {
    fail(errno);
  }
  registry.drop(temporary_path_);
  temporary_path_.clear();
}

void OutputFile::fail(int error) const {
  const std::string name = path_ == kStandardStream ? "standard output" : path_;
  throw Failure(name, kOperation, std::strerror(error));
}

}  // namespace tavrine::tool
