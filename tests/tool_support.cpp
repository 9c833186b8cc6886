#include "tests/tool_support.h"

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace tavrine::test {

namespace fs = std::filesystem;

namespace {

constexpr uid_t kNobody = 65534;

}  // namespace

Tool::Tool() {
  std::string name = ::testing::TempDir() + "tavrine-tool-XXXXXX";
  folder_ = mkdtemp(name.data());
  const std::string as_nobody = "setpriv --reuid 65534 --regid 65534 --clear-groups ";
  if (geteuid() == 0 && chown(folder_.c_str(), kNobody, kNobody) == 0 &&
      std::system((as_nobody + "test -x '" TAVRINE_PROGRAMS_FOLDER "/tavrine-aux'").c_str()) == 0) {
    as_user_ = as_nobody;
  }
  std::string ramp(kWidth * kHeight * 3, '\0');
  for (size_t index = 0; index < ramp.size(); ++index) {
    ramp[index] = static_cast<char>(index * 7 % 251);
  }
  write("ramp.rgb", ramp);
  succeed("convert --in RGB24:32x24 ramp.rgb ramp.png");
  write("truncated.png", read("ramp.png").substr(0, 200));
  write("empty.png", "");
  write("text.png", "this is not a picture\n");
}

Tool::~Tool() { fs::remove_all(folder_); }

Outcome Tool::run(const std::string &arguments, const std::string &preparation) const {
  return run_program("tavrine-aux", arguments, preparation);
}

Outcome Tool::run_program(const std::string &name, const std::string &arguments,
                          const std::string &preparation) const {
  // The arguments come last, so that they can redirect again.
  const std::string command = "cd '" + folder_ + "' && " + preparation + as_user_ +
                              TAVRINE_PROGRAMS_EMULATOR " '" TAVRINE_PROGRAMS_FOLDER "/" + name +
                              "' >output.txt 2>errors.txt " + arguments;
  const int result = std::system(command.c_str());
  Outcome outcome{WIFEXITED(result) ? WEXITSTATUS(result) : -1, read("output.txt"),
                  read("errors.txt")};
  fs::remove(path_of("output.txt"));
  fs::remove(path_of("errors.txt"));
  return outcome;
}

void Tool::succeed(const std::string &arguments) const {
  const Outcome outcome = run(arguments);
  if (outcome.status != 0 || !outcome.errors.empty()) {
    throw std::runtime_error(arguments + " failed: " + outcome.errors);
  }
}

void Tool::expect_failure(const std::string &arguments, const std::string &line,
                          const std::string &preparation) const {
  SCOPED_TRACE(arguments);
  const auto before = files();
  const Outcome outcome = run(arguments, preparation);
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.errors.find("tavrine-aux: " + line), 0U) << outcome.errors;
  EXPECT_EQ(std::count(outcome.errors.begin(), outcome.errors.end(), '\n'), 1) << outcome.errors;
  EXPECT_TRUE(files() == before) << "files changed";
}

bool Tool::is_emulated() { return TAVRINE_PROGRAMS_EMULATOR[0] != '\0'; }

std::string Tool::read(const std::string &name) const {
  std::ifstream file(path_of(name), std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

void Tool::write(const std::string &name, const std::string &content) const {
  std::ofstream(path_of(name), std::ios::binary) << content;
  if (is_ordinary_user()) {
    EXPECT_EQ(chown(path_of(name).c_str(), kNobody, kNobody), 0);
  }
}

std::map<std::string, std::string> Tool::files() const {
  std::map<std::string, std::string> contents;
  for (const auto &entry : fs::recursive_directory_iterator(folder_)) {
    const std::string name = fs::relative(entry.path(), folder_);
    contents[name] = entry.is_symlink()        ? fs::read_symlink(entry.path()).string()
                     : entry.is_regular_file() ? read(name)
                                               : "";
  }
  return contents;
}

}  // namespace tavrine::test
