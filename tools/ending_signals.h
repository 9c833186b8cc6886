// Signals that end the program, and files that must not survive it.
#pragma once

#include <csignal>
#include <cstddef>
#include <string>

namespace tavrine::tool {

// Files beyond these would survive; no command has so many open.
constexpr size_t kMostRegisteredFiles = 256;

// Holds signals back on this thread, and on threads that it starts meanwhile.
class BlockedSignals {
 public:
  BlockedSignals();
  ~BlockedSignals();
  BlockedSignals(const BlockedSignals &) = delete;
  BlockedSignals &operator=(const BlockedSignals &) = delete;

 private:
  sigset_t previous_;
};

// While one lives, this thread alone changes which files are removed, and no signal ends the
// program: for the moment between a file's creation or renaming and its registration.
class FileRegistry {
 public:
  FileRegistry();
  ~FileRegistry();
  FileRegistry(const FileRegistry &) = delete;
  FileRegistry &operator=(const FileRegistry &) = delete;

  // A file that a signal removes before it ends the program. The path must live and stay as it is
  // until it is dropped.
  static void add(const std::string &path);
  static void drop(const std::string &path);

 private:
  BlockedSignals blocked_;
};

}  // namespace tavrine::tool
