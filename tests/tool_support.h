// Runs this project's programs as their users do.
#pragma once

#include <gtest/gtest.h>

#include <map>
#include <string>

namespace tavrine::test {

struct Outcome {
  int status;
  std::string output;
  std::string errors;
};

// Each test has a folder of its own with ramp.rgb and ramp.png, the same picture in which every
// pixel differs from its neighbours, and with files that are not pictures. Programs run as an
// ordinary user where possible, since root may write to anything.
class Tool : public ::testing::Test {
 protected:
  Tool();
  ~Tool() override;

  // Runs the command line tool. `preparation` is shell code before it.
  Outcome run(const std::string &arguments, const std::string &preparation = "") const;
  Outcome run_program(const std::string &name, const std::string &arguments,
                      const std::string &preparation = "") const;

  // Runs the tool, which must succeed without a message; otherwise the test ends here.
  void succeed(const std::string &arguments) const;
  // Runs the tool, which must end with status 1 and one line of error that begins with `line`,
  // and must not change any file.
  void expect_failure(const std::string &arguments, const std::string &line,
                      const std::string &preparation = "") const;

  // Whether programs run as another user than root.
  bool is_ordinary_user() const { return !as_user_.empty(); }

  static bool is_emulated();

  std::string path_of(const std::string &name) const { return folder_ + "/" + name; }
  std::string read(const std::string &name) const;
  void write(const std::string &name, const std::string &content) const;
  // Names and contents of all files.
  std::map<std::string, std::string> files() const;

  static constexpr size_t kWidth = 32;
  static constexpr size_t kHeight = 24;

 private:
  std::string folder_;
  std::string as_user_;  // the command that changes to an ordinary user
};

}  // namespace tavrine::test
