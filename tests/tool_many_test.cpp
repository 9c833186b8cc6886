// Many pictures in one run of the tool: on several threads, some of which fail.
#include <filesystem>
#include <sstream>

#include "tests/tool_support.h"

namespace tavrine::test {
namespace {

namespace fs = std::filesystem;

bool is_temporary(const std::string &name) { return name.find(".tavrine-") != std::string::npos; }

// Twelve pictures of different sizes; four fail, each in its own way.
TEST_F(Tool, ThreadsGiveTheSameFilesAndReportEveryFailureInOrder) {
  std::string pictures;
  for (int number = 0; number < 12; ++number) {
    const std::string name = "p" + std::to_string(number) + ".png";
    pictures += name + " ";
    if (number == 2) {
      write(name, "this is not a picture");
    } else if (number != 5) {
      // The eighth is the only one that is narrower than the crop's offset.
      succeed("convert ramp.png --resize " + std::to_string(number == 8 ? 10 : 16 + 2 * number) +
              "x" + std::to_string(40 - number) + " " + name);
    }
  }
  write("regions.txt", "12,2,8,8\n0,0,400,30\n");
  for (const char *taken : {"png1/p11.png", "png4/p11.png", "npy1/p11.npy", "npy4/p11.npy"}) {
    fs::create_directories(path_of(taken));
    fs::permissions(path_of(std::string(taken, 4)), fs::perms::all);
  }
  for (const bool is_tensor : {false, true}) {
    const std::string kind = is_tensor ? "npy" : "png";
    const std::string arguments = is_tensor
                                      ? "tensor --size 20x20 --regions regions.txt " + pictures
                                      : "convert --crop 12,2,8,8 --rotate 90 " + pictures;
    const Outcome one = run(arguments + kind + "1");
    const Outcome four = run(arguments + kind + "4 --jobs 4");
    EXPECT_EQ(one.status, 1);
    EXPECT_EQ(four.status, 1);
    std::istringstream lines(four.errors);
    for (const std::string expected :
         {"p2.png: load: not a picture", "p5.png: load: No such file",
          is_tensor ? "p8.png: regions.txt: line 1: the area lies outside the picture of 10x32"
                    : "p8.png: crop 12,2,8,8: the area lies outside the picture of 10x32",
          is_tensor ? "npy4/p11.npy: save: exists and is" : "png4/p11.png: save: exists and is"}) {
      std::string line;
      std::getline(lines, line);
      EXPECT_EQ(line.find("tavrine-aux: " + expected), 0U) << four.errors;
    }
    EXPECT_EQ(lines.peek(), EOF);
    int compared = 0;
    for (const auto &[name, content] : files()) {
      EXPECT_FALSE(is_temporary(name)) << name;
      if (name.rfind(kind + "1/", 0) == 0 && !content.empty()) {
        EXPECT_TRUE(read(kind + "4" + name.substr(4)) == content) << name;
        ++compared;
      }
    }
    EXPECT_EQ(compared, 8);
  }
  // A set gives the files that single runs give.
  succeed("tensor p3.png single.npy --size 20x20 --regions regions.txt");
  EXPECT_EQ(read("npy4/p3.npy"), read("single.npy"));
}

TEST_F(Tool, ProgressIsShownOnATerminalAlone) {
  const std::string arguments = "convert ramp.png text.png empty.png new/";
  EXPECT_EQ(run(arguments).errors.find('['), std::string::npos);
  const std::string shown =
      run(arguments, "on_terminal() { script --quiet --command \"$*\" /dev/null; }; on_terminal ")
          .output;
  for (const char *text :
       {"[1/3] ramp.png", "\r\033[K[3/3] empty.png\r\033[Ktavrine-aux: text.png"}) {
    EXPECT_NE(shown.find(text), std::string::npos) << text << "\n" << shown;
  }
}

// Ends the program while four threads write files.
TEST_F(Tool, SignalsLeaveOnlyWholeFiles) {
  if (is_emulated()) {
    GTEST_SKIP() << "too slow to be interrupted at a useful moment";
  }
  succeed("convert ramp.png --resize 700x500 p0.png");
  std::string pictures = "p0.png ";
  for (int number = 1; number < 24; ++number) {
    const std::string name = "p" + std::to_string(number) + ".png";
    fs::create_hard_link(path_of("p0.png"), path_of(name));
    pictures += name + " ";
  }
  succeed("tensor p0.png whole.npy --size 600x600");
  const std::string whole = read("whole.npy");
  size_t complete = 0;
  for (const char *seconds : {"0.02", "0.05", "0.1", "0.15", "0.2"}) {
    run("tensor " + pictures + "out/ --size 600x600 --jobs 4",
        std::string("timeout --signal TERM ") + seconds + " ");
    for (const auto &entry : fs::recursive_directory_iterator(path_of("."))) {
      const std::string name = fs::relative(entry.path(), path_of("."));
      EXPECT_FALSE(is_temporary(name)) << name << " after " << seconds << " s";
      if (name.rfind("out/", 0) == 0) {
        EXPECT_TRUE(read(name) == whole) << name << " after " << seconds << " s";
        ++complete;
      }
    }
    fs::remove_all(path_of("out"));
  }
  EXPECT_GT(complete, 0U);
}

}  // namespace
}  // namespace tavrine::test
