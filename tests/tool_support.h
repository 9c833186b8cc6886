// Programs of this project, run as their users run them.
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

// A folder of its own for each test, with ramp.rgb and ramp.png, the same picture in which every
// pixel differs from its neighbours, and with files that are no pictures.
class Tool : public ::testing::Test {
 protected:
  Tool();
  ~Tool() override;

  // The command line tool. `preparation` is shell code before it.
  Outcome run(const std::string &arguments, const std::string &preparation = "") const;
  Outcome run_program(const std::string &name, const std::string &arguments,
                      const std::string &preparation = "") const;

  // Runs the tool, which must end well and without a word of error; else the test ends here.
  void succeed(const std::string &arguments) const;
  // Runs the tool, which must end with 1, one line of error that begins so, and no file changed.
  void expect_failure(const std::string &arguments, const std::string &line,
                      const std::string &preparation = "") const;

  std::string path_of(const std::string &name) const { return folder_ + "/" + name; }
  std::string read(const std::string &name) const;
  void write(const std::string &name, const std::string &content) const;
  // Their names and contents.
  std::map<std::string, std::string> files() const;

  static constexpr size_t kWidth = 32;
  static constexpr size_t kHeight = 24;

 private:
  std::string folder_;
};

}  // namespace tavrine::test
