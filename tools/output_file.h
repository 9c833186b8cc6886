// A file that appears under its name only when it is complete.
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>

namespace tavrine::tool {

// Content goes to temporary_path(), beside the final file and with its extension. commit()
// gives it its name; without that, also when a signal ends the program, it is removed and
// what had the name before is untouched.
class OutputFile {
 public:
  explicit OutputFile(const std::string &path);  // throws Failure
  ~OutputFile();
  OutputFile(const OutputFile &) = delete;
  OutputFile &operator=(const OutputFile &) = delete;

  const std::string &temporary_path() const { return temporary_path_; }
  void commit();  // throws Failure

 private:
  std::string path_;         // as the user wrote it
  std::string target_path_;  // behind symbolic links
  std::string temporary_path_;
  std::optional<mode_t> kept_mode_;  // of the file that is replaced
};

}  // namespace tavrine::tool
