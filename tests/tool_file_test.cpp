// How the tool reads and writes files: what it replaces, what it leaves, and standard streams.
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <filesystem>

#include "failure.h"
#include "log_records.h"
#include "output_file.h"
#include "tavrine_core.h"
#include "tests/tool_support.h"

namespace tavrine::test {
namespace {

namespace fs = std::filesystem;

mode_t mode_before_change = 0;

mode_t mode_of(const std::string &path) {
  struct stat status {};
  EXPECT_EQ(stat(path.c_str(), &status), 0) << path;
  return status.st_mode & 0777;
}

// Ends the program with a signal while a file is being written.
TEST_F(Tool, SignalsLeaveNoTemporaryFile) {
  write("kept.png", "what was there before");
  const auto before = files();
  for (const int signal_number :
       {SIGHUP, SIGINT, SIGQUIT, SIGPIPE, SIGALRM, SIGTERM, SIGUSR1, SIGUSR2, SIGXCPU, SIGXFSZ}) {
    for (const char *name : {"kept.png", "new.png"}) {
      EXPECT_EXIT(
          {
            signal(signal_number, SIG_DFL);
            tool::OutputFile output(path_of(name));
            output.write("half", 4);
            raise(signal_number);
          },
          ::testing::KilledBySignal(signal_number), "");
      EXPECT_TRUE(files() == before) << signal_number << " " << name;
    }
  }
  // A signal that the parent ignores stays ignored.
  EXPECT_EXIT(
      {
        signal(SIGHUP, SIG_IGN);
        tool::OutputFile output(path_of("new.png"));
        raise(SIGHUP);
        exit(7);
      },
      ::testing::ExitedWithCode(7), "");
  fs::remove(path_of("new.png"));
  for (const auto &entry : fs::directory_iterator(path_of("."))) {
    if (entry.path().filename().string().rfind(".tavrine-", 0) == 0) {
      fs::remove(entry.path());  // exit() does not run the destructor above
    }
  }

  const Outcome outcome = run("convert ramp.png --scale 40 new.bmp", "ulimit -c 0; ulimit -f 8; ");
  EXPECT_NE(outcome.status, 0);
  EXPECT_TRUE(files() == before);
}

TEST_F(Tool, ReplacedFilesKeepTheirMode) {
  for (const mode_t mode : {mode_t{0600}, mode_t{0640}, mode_t{0666}, mode_t{0755}}) {
    write("kept.png", "what was there before");
    fs::permissions(path_of("kept.png"), static_cast<fs::perms>(mode));
    const Outcome outcome = run("convert ramp.png kept.png", "umask 0077; ");
    EXPECT_EQ(outcome.status, 0) << outcome.errors;
    EXPECT_EQ(mode_of(path_of("kept.png")), mode);
    EXPECT_EQ(read("kept.png"), read("ramp.png"));
  }
  EXPECT_EQ(run("convert ramp.png new.png", "umask 0027; ").status, 0);
  EXPECT_EQ(mode_of(path_of("new.png")), mode_t{0640});
  // A private file's new content is private from the beginning, before it gets the file's mode.
  const tool::OutputFile output(path_of("kept.png"));
  EXPECT_EQ(mode_before_change, mode_t{0600});
}

TEST_F(Tool, LinksAreFollowedAndOtherTargetsRefused) {
  fs::create_directory(path_of("sub"));
  fs::permissions(path_of("sub"), fs::perms::all);
  fs::create_symlink("sub/../second.png", path_of("link.png"));
  fs::create_symlink("link.png", path_of("chain.png"));
  // First the link dangles, then its file is replaced.
  for (const char *operation : {"", " --rotate 180"}) {
    succeed(std::string("convert ramp.png chain.png") + operation);
    EXPECT_TRUE(fs::is_symlink(path_of("chain.png")));
    EXPECT_TRUE(fs::is_symlink(path_of("link.png")));
    succeed(std::string("convert ramp.png expected.png") + operation);
    EXPECT_EQ(read("second.png"), read("expected.png"));
  }
  const Outcome loop = run("convert ramp.png loop.png", "ln -s loop.png loop.png && ");
  EXPECT_EQ(loop.errors, "tavrine-aux: loop.png: save: Too many levels of symbolic links\n");
  EXPECT_TRUE(fs::remove(path_of("loop.png")));
  fs::create_directory(path_of("folder.png"));
  expect_failure("align ramp.png folder.png --points 4,4,9,4,6,9",
                 "folder.png: save: exists and is not a file\n");
  ASSERT_EQ(mkfifo(path_of("pipe.png").c_str(), 0666), 0);
  expect_failure("convert ramp.png pipe.png", "pipe.png: save: exists and is not a file\n");
}

TEST_F(Tool, ReadOnlyTargetsAreKept) {
  if (geteuid() == 0 && !is_ordinary_user()) {
    GTEST_SKIP() << "root may write to anything";
  }
  write("kept.png", "what was there before");
  fs::permissions(path_of("kept.png"), static_cast<fs::perms>(0444));
  expect_failure("convert ramp.png kept.png", "kept.png: save: Permission denied\n");
  fs::create_directory(path_of("closed"));
  fs::permissions(path_of("closed"), static_cast<fs::perms>(0555));
  expect_failure("convert ramp.png closed/new.png", "closed/new.png: save: Permission denied\n");
}

TEST_F(Tool, StandardStreamsAreFiles) {
  const std::string ramp = read("ramp.rgb");
  // Pictures and raw frames, from pipes and from files.
  EXPECT_EQ(run("convert - - --ext rgb", "cat ramp.png | ").output, ramp);
  EXPECT_EQ(run("convert - - --ext rgb <ramp.png").output, ramp);
  EXPECT_EQ(run("convert --in RGB24:32x24 - -", "cat ramp.rgb | ").output, read("ramp.png"));
  succeed("convert --in RGB24:32x24 - out.png <ramp.rgb");
  EXPECT_EQ(read("out.png"), read("ramp.png"));
  succeed("tensor ramp.png out.npy --size 8x8");
  EXPECT_EQ(run("tensor - - --size 8x8 <ramp.png").output, read("out.npy"));
  EXPECT_EQ(run("info - <ramp.png").output, "standard input: RGB24 32x24, 2304 bytes of pixels\n");
  EXPECT_EQ(run("compare ramp.png - <ramp.png").status, 0);
  EXPECT_NE(run("align - - --points 4,4,9,4,6,9 <ramp.png").output, "");

  expect_failure("convert - out.png <text.png", "standard input: load: not a picture");
  expect_failure("convert - out.png <empty.png", "standard input: load: not a picture");
  expect_failure("convert - out.png <.", "standard input: read: Is a directory\n");
  expect_failure("convert - out.png <&-", "standard input: read: Bad file descriptor\n");
  // Pipes with too little and with too much.
  expect_failure("info --in RGB24:32x24 -",
                 "standard input: read RGB24:32x24: a frame has 2304 bytes, the file has 2303\n",
                 "head -c 2303 ramp.rgb | ");
  expect_failure("info --in RGB24:32x24 -",
                 "standard input: read RGB24:32x24: a frame has 2304 bytes, the file has more\n",
                 "cat ramp.rgb ramp.rgb | ");
  for (const char *arguments :
       {"convert - - out/", "convert - out/", "compare - -", "info - -",
        "convert ramp.png - --ext gif", "convert ramp.png out.png --ext png"}) {
    const Outcome outcome = run(arguments);
    EXPECT_EQ(outcome.status, 2) << arguments << outcome.errors;
  }
}

TEST_F(Tool, AFullStandardOutputIsAFailure) {
  if (!fs::exists("/dev/full")) {
    GTEST_SKIP();
  }
  const std::pair<const char *, const char *> cases[] = {
      {"info ramp.png", "standard output: write: No space left on device\n"},
      {"version -v", "standard output: write: No space left on device\n"},
      {"convert --help", "standard output: write: No space left on device\n"},
      {"convert ramp.png -", "standard output: save: No space left on device\n"},
      {"convert ramp.png --scale 9 - --ext rgb",
       "standard output: save: No space left on device\n"},
  };
  for (const auto &[arguments, line] : cases) {
    const Outcome outcome = run(std::string(arguments) + " >/dev/full");
    EXPECT_EQ(outcome.errors, std::string("tavrine-aux: ") + line) << arguments;
    EXPECT_EQ(outcome.status, 1) << arguments;
  }
}

TEST_F(Tool, LogLevelsDecideWhereRecordsGo) {
  for (const bool verbose : {false, true}) {
    tool::Console console;
    tool::LogRecords records(console, verbose);
    ::testing::internal::CaptureStderr();
    tavrine_log(0, "core", 12, "[name] all is\nwell\n");
    tavrine_log(3, "core", 34, "not so well\n");
    tavrine_log(4, "core", 56, "bad\n");
    tavrine_log(4, "core", 78, "[name] worse\n");
    EXPECT_EQ(::testing::internal::GetCapturedStderr(),
              verbose ? "tavrine-aux: notice: all is well (core:12)\n"
                        "tavrine-aux: warning: not so well (core:34)\n"
                      : "");
    EXPECT_EQ(records.take_errors(), "bad; worse");
    EXPECT_EQ(records.take_errors(), "");
  }
}

TEST_F(Tool, MessagesStayOnOneLine) {
  const std::string name = "a\nb\r\x1b[2J\x7f.png";
  write(name, "this is not a picture");
  const Outcome outcome = run("info 'a\nb\r\x1b[2J\x7f.png'");
  EXPECT_EQ(outcome.errors.find("tavrine-aux: a?b??[2J?.png: load: not a picture"), 0U)
      << outcome.errors;
  EXPECT_EQ(std::count(outcome.errors.begin(), outcome.errors.end(), '\n'), 1);
}

TEST_F(Tool, MemoryThatRunsOutIsNamed) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "a sanitizer reserves more address space than this allows";
#endif
  if (is_emulated()) {
    GTEST_SKIP() << "the emulator would run out of memory";
  }
  write("large.pgm", "P5 8000 8000 255\n" + std::string(size_t{8000} * 8000, 'x'));
  expect_failure("convert large.pgm out.png", "large.pgm: load: out of memory\n",
                 "ulimit -v 60000; ");
}

}  // namespace
}  // namespace tavrine::test

// Replaces the C library's function for the whole process: the mode that a file had is recorded.
extern "C" __attribute__((visibility("default"))) int fchmod(int descriptor, mode_t mode) {
  struct stat status {};
  fstat(descriptor, &status);
  tavrine::test::mode_before_change = status.st_mode & 0777;
  return static_cast<int>(syscall(SYS_fchmod, descriptor, mode));
}
