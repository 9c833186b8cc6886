// The tool's comparison of pictures.
#include "tests/tool_support.h"

namespace tavrine::test {
namespace {

TEST_F(Tool, ComparePrintsDifferencesOfEverySample) {
  struct Case {
    const char *layout;
    std::string a, b;
    const char *line;
    std::string picture;  // one byte for each pixel
  };
  const Case cases[] = {
      {"GREY:2x2", "\x10\x20\x30\x40", "\x10\x20\x30\x40",
       "largest difference 0, mean 0.00, 100.0 % of the samples equal\n", std::string(4, '\0')},
      {"GREY:2x2", "\x10\x20\x30\x40", "\x10\x22\x30\x38",
       "largest difference 8, mean 2.50, 50.0 % of the samples equal\n",
       std::string("\0\x40\0\xff", 4)},
      {"RGB24:2x1", "aaabbb", "ababbe",
       "largest difference 3, mean 0.67, 66.6 % of the samples equal\n", "\x55\xff"},
      // A chroma sample belongs to four pixels.
      {"NV12:4x2", "lumaLUMAuvUV", "lumaLUMBuvUT",
       "largest difference 2, mean 0.25, 83.3 % of the samples equal\n",
       std::string("\0\0\xff\xff\0\0\xff\xff", 8)},
      {"YU12:4x2", "lumaLUMAuUvV", "lumbLUMAuUxV",
       "largest difference 2, mean 0.25, 83.3 % of the samples equal\n",
       std::string("\xff\xff\0\x80\xff\xff\0\0", 8)},
      {"Y16:2x1", std::string("\x34\x12\0\0", 4), std::string("\x33\x10\0\0", 4),
       "largest difference 513, mean 256.50, 50.0 % of the samples equal\n",
       std::string("\xff\0", 2)},
  };
  for (const Case &test : cases) {
    SCOPED_TRACE(std::string(test.layout) + " " + test.line);
    write("a.raw", test.a);
    write("b.raw", test.b);
    const std::string files = std::string("compare --in ") + test.layout + " a.raw b.raw";
    const Outcome outcome = run(files + " --picture out.grey");
    EXPECT_EQ(outcome.status, 0) << outcome.errors;
    EXPECT_EQ(outcome.output, test.line);
    EXPECT_TRUE(read("out.grey") == test.picture);
    EXPECT_TRUE(run(files + " --picture - <b.raw").output.rfind("\x89PNG", 0) == 0);
  }
}

TEST_F(Tool, CompareStatusFollowsTheTolerance) {
  write("a.grey", "abcd");
  write("b.grey", "abgd");
  const std::pair<const char *, int> cases[] = {
      {"", 0}, {" --tolerance 0", 1}, {" --tolerance 3", 1}, {" --tolerance 4", 0}};
  for (const auto &[tolerance, status] : cases) {
    const Outcome outcome = run(std::string("compare --in GREY:2x2 a.grey b.grey") + tolerance);
    EXPECT_EQ(outcome.status, status) << tolerance;
    EXPECT_EQ(outcome.output, "largest difference 4, mean 1.00, 75.0 % of the samples equal\n");
    EXPECT_EQ(outcome.errors, "");
  }
  succeed("convert ramp.png --format GREY grey.png");
  succeed("convert ramp.png --scale 2 large.png");
  expect_failure("compare ramp.png grey.png",
                 "grey.png: compare: is GREY 32x24, ramp.png is RGB24 32x24\n");
  expect_failure("compare ramp.png large.png --tolerance 255",
                 "large.png: compare: is RGB24 64x48, ramp.png is RGB24 32x24\n");
  expect_failure("compare ramp.png none.png", "none.png: load: No such file or directory\n");
  for (const std::string tolerance : {"-1", "1.5", "x"}) {
    EXPECT_EQ(run("compare ramp.png ramp.png --tolerance " + tolerance).status, 2);
  }
  EXPECT_EQ(run("compare ramp.png ramp.png --picture out.txt").status, 2);
}

}  // namespace
}  // namespace tavrine::test
