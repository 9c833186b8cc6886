// The command line tool: operations, messages and exit status.
#include <algorithm>
#include <filesystem>
#include <regex>

#include "tavrine_aux.h"
#include "tests/tool_support.h"

namespace tavrine::test {
namespace {

// The sets of `version -v` in a state: "taken" or "on this CPU".
std::vector<std::string> sets_in_state(const std::string &text, const std::string &state) {
  std::vector<std::string> names;
  const std::regex line("  ([A-Z0-9]+): " + state + "\n");
  for (std::sregex_iterator match(text.begin(), text.end(), line), end; match != end; ++match) {
    names.push_back((*match)[1]);
  }
  return names;
}

TEST_F(Tool, RunsOnTheInstructionSetThatIsAskedFor) {
  const std::string text = run("version -v").output;
  ASSERT_EQ(sets_in_state(text, "taken").size(), 1U) << text;
  succeed("convert ramp.png --scale 1.7 expected.rgb");
  for (const std::string &set : sets_in_state(text, "(?:taken|on this CPU)")) {
    SCOPED_TRACE(set);
    const std::vector<std::string> only = {set};
    EXPECT_EQ(sets_in_state(run("version -v --instruction-set " + set).output, "taken"), only);
    EXPECT_EQ(
        sets_in_state(run("version -v", "export TAVRINE_INSTRUCTION_SET=" + set + "; ").output,
                      "taken"),
        only);
    succeed("convert ramp.png --scale 1.7 --instruction-set " + set + " out.rgb");
    EXPECT_EQ(read("out.rgb"), read("expected.rgb"));
  }
}

TEST_F(Tool, AppliesOperationsInTheOrderGiven) {
  succeed("convert ramp.png --crop 0,0,16,12 --scale 2 crop_first.rgb");
  succeed("convert ramp.png --scale 2 --crop 0,0,16,12 scale_first.rgb");
  EXPECT_EQ(read("crop_first.rgb").size(), 32U * 24U * 3U);
  EXPECT_EQ(read("scale_first.rgb").size(), 16U * 12U * 3U);

  // The same operation twice with another between them: each uses its own value.
  succeed("convert ramp.png --crop 4,4,20,12 --format grey --crop 2,-1,8,2 twice.png");
  EXPECT_EQ(run("info twice.png").output.find("twice.png: GREY 8x2, 16 bytes of pixels"), 0U);
}

TEST_F(Tool, RawFramesComeBackByteForByte) {
  struct Case {
    const char *layout;
    const char *extension;
    size_t bytes;
  };
  const Case cases[] = {{"GREY:5x3", "grey", 15}, {"NV12:6x4", "nv12", 36},
                        {"NV21:6x4", "yuv", 36},  {"YU12:6x4", "yu12", 36},
                        {"yu12:6x4", "yuv", 36},  {"RGB24:5x3", "rgb", 45},
                        {"BGR24:5x3", "bgr", 45}, {"BGRA:5x3", "bgra", 60},
                        {"ARGB:5x3", "argb", 60}, {"Y16:5x3", "y16", 30}};
  for (const Case &test : cases) {
    SCOPED_TRACE(test.layout);
    const std::string frame = read("ramp.rgb").substr(0, test.bytes);
    write("in.raw", frame);
    const std::string in = "--in " + std::string(test.layout) + " in.raw ";
    const std::string out = std::string("out.") + test.extension;
    succeed("convert " + in + out);
    EXPECT_EQ(read(out), frame);
    EXPECT_NE(run("info " + in).output.find(" bytes"), std::string::npos);
    // One byte too many, one too few.
    for (const size_t bytes : {test.bytes + 1, test.bytes - 1}) {
      write("in.raw", read("ramp.rgb").substr(0, bytes));
      const std::string errors = run("info " + in).errors;
      EXPECT_NE(errors.find("the file has " + std::to_string(bytes)), std::string::npos) << errors;
    }
  }
  // A picture becomes NV12 on its way to a .yuv file.
  succeed("convert ramp.png a.yuv");
  succeed("convert ramp.png --format NV12 b.nv12");
  EXPECT_EQ(read("a.yuv"), read("b.nv12"));
}

TEST_F(Tool, FailuresAreOneLineThatNamesFileOperationAndReason) {
  write("kept.png", "what was there before");
  write("eight.argb", "12345678");
  const std::pair<const char *, const char *> cases[] = {
      {"missing.png kept.png", "missing.png: load: No such file or directory"},
      {"empty.png kept.png", "empty.png: load: the file is empty"},
      {"text.png kept.png", "text.png: load: not a picture"},
      {"truncated.png kept.png",
       "truncated.png: load: not a picture of a known kind, truncated, or too large\n"},
      {"ramp.rgb kept.png", "ramp.rgb: load: not a picture; for a raw frame add --in"},
      {"--in NV12:32x26 ramp.rgb kept.png", "ramp.rgb: read NV12:32x26: a frame has 1248 bytes"},
      {"ramp.png --scale 0.01 kept.png",
       "ramp.png: scale by 0.01: gives 0x0, sizes must be positive"},
      {"ramp.png --format nv12 --resize 5x4 kept.png", "ramp.png: resize to 5x4: NV12 needs even"},
      {"ramp.png --format nv12 --crop 0,0,5,4 kept.png", "ramp.png: crop 0,0,5,4: NV12 needs even"},
      {"ramp.png --crop 99,0,5,4 kept.png",
       "ramp.png: crop 99,0,5,4: the area lies outside the picture of 32x24 (Illegal RoI."},
      {"ramp.png --format BGRA kept.png", "ramp.png: convert to BGRA: RGB24 cannot be converted"},
      {"--in BGRA:6x1 text.png kept.png", "text.png: read BGRA:6x1: a frame has 24 bytes"},
      {"--in Y16:11x1 text.png kept.png",
       "kept.png: save: Y16 cannot be saved as a picture, convert it with --format GREY first\n"},
      {"--in Y16:11x1 text.png --rotate 90 kept.png",
       "text.png: rotate by 90: Y16 cannot be rotated"},
      {"ramp.png --format nv12 --warp-perspective 1,0,0,0,1,0,0,0,1@5x4 kept.png",
       "ramp.png: warp by 1,0,0,0,1,0,0,0,1@5x4: NV12 needs even"},
      {"--in ARGB:2x1 eight.argb --warp-perspective 1,0,0,0,1,0,0,0,1 kept.png",
       "eight.argb: warp by 1,0,0,0,1,0,0,0,1: ARGB cannot be warped in perspective"},
      {"ramp.png --crop 0,0,5,5 new.nv12", "new.nv12: save: NV12 needs even sizes"},
      {"ramp.png missing/new.png", "missing/new.png: save: No such file or directory"},
  };
  for (const auto &[arguments, line] : cases) {
    expect_failure(std::string("convert ") + arguments, line);
  }
}

TEST_F(Tool, AFullDiskLeavesTheOldFile) {
  write("kept.bmp", "what was there before");
  for (const std::string name : {"kept.bmp", "new.png", "new.jpg", "new.rgb"}) {
    // Files of at most 4 KiB, and the error instead of the signal.
    expect_failure("convert ramp.png --scale 40 " + name, name + ": save: File too large",
                   "ulimit -f 8; trap '' XFSZ; ");
  }
  // So little that only closing the file writes it.
  expect_failure("convert ramp.png new.rgb", "new.rgb: save: File too large",
                 "ulimit -f 1; trap '' XFSZ; ");
}

TEST_F(Tool, WrongUsageIsReportedBeforeAnyFileIsTouched) {
  const auto before = files();
  const char *const cases[] = {
      "",
      "paint ramp.png",
      "info",
      "convert ramp.png",
      "convert ramp.png out.png --blur 3",
      "convert ramp.png out.png --instruction-set MMX",
      "convert ramp.png --resize 10 out.png",
      "convert ramp.png --resize 0x10 out.png",
      "convert ramp.png --crop 0,0,5,0 out.png",
      "convert ramp.png --warp-affine 1,0,0,0,1,0@0x9 out.png",
      "convert ramp.png --scale 0 out.png",
      "convert ramp.png --scale 1e999 out.png",
      "convert ramp.png --resize 10x10x10 out.png",
      "convert ramp.png --resize 99999999999x1 out.png",
      "convert ramp.png --crop 1,2,3 out.png",
      "convert ramp.png --crop 1,2,3,4,5 out.png",
      "convert ramp.png --scale half out.png",
      "convert ramp.png --scale nan out.png",
      "convert ramp.png --format RGB out.png",
      "convert ramp.png --rotate 45 out.png",
      "convert ramp.png --warp-affine 1,0,0,0,1 out.png",
      "convert ramp.png --warp-affine 1,0,0,0,1,0@32 out.png",
      "convert ramp.png --warp-perspective 1,0,0,0,1,0,0,0,inf out.png",
      "align ramp.png out.png",
      "align ramp.png out.png --points 1,2,3,4,5",
      "align ramp.png out.png --points 1,2,3,4,1,2",
      "align ramp.png out.npy --points 1,2,3,4,5,6",
      "align ramp.png out.png --points 1,2,3,4,5,6 --size 0x0",
      "tensor ramp.png out.npy",
      "tensor ramp.png out.png --size 8x8",
      "tensor ramp.png out.npy --size 8",
      "tensor ramp.png out.npy --size 8x8 --color grey",
      "tensor ramp.png out.npy --size 8x8 --type i8",
      "tensor ramp.png out.npy --size 8x8 --mode fill",
      "tensor ramp.png out.npy --size 8x8 --mean 1,2",
      "tensor ramp.png out.npy --size 8x8 --scale 1,0,1",
      "tensor ramp.png out.npy --size 8x8 --type u8 --pad 256",
      "convert --in NV12 ramp.rgb out.png",
      "convert --in NV12:31x24 ramp.rgb out.png",
      "convert ramp.png out.gif",
      "convert ramp.png ramp.png out.png",
      "convert ramp.png --ext gif out/",
      "convert ramp.png ./ramp.png out/",
      "convert ramp.png out.png --jobs 0",
      "tensor ramp.png out.npy --size 8x8 --jobs 1.5",
      "tensor ramp.png ramp.png out.npy --size 8x8",
  };
  for (const char *arguments : cases) {
    SCOPED_TRACE(arguments);
    const Outcome outcome = run(arguments);
    EXPECT_EQ(outcome.status, 2);
    EXPECT_NE(outcome.errors.find("--help"), std::string::npos);
    EXPECT_EQ(std::count(outcome.errors.begin(), outcome.errors.end(), '\n'), 2) << outcome.errors;
    EXPECT_TRUE(files() == before);
  }
  // Unknown words are named.
  EXPECT_NE(run("paint ramp.png").errors.find("'paint' is not a command"), std::string::npos);
  EXPECT_NE(run("info --blur").errors.find("--blur"), std::string::npos);
}

TEST_F(Tool, HelpIsPrintedWhereverItIsAskedFor) {
  for (const char *arguments :
       {"convert photo.jpg --help", "convert --crop -h", "convert --help"}) {
    const Outcome help = run(arguments);
    EXPECT_EQ(help.status, 0);
    EXPECT_EQ(help.errors, "");
    EXPECT_NE(help.output.find("Usage: tavrine-aux convert"), std::string::npos);
  }
  for (const char *command : {"info", "align", "tensor", "compare", "version"}) {
    EXPECT_EQ(run(std::string(command) + " --help").status, 0);
    EXPECT_NE(run("--help").output.find(command), std::string::npos);
  }
  const Outcome help = run("convert --help");
  EXPECT_NE(help.output.find("--crop X,Y,WIDTH,HEIGHT"), std::string::npos);
}

TEST_F(Tool, BatchContinuesAfterABadPicture) {
  write("second.png", read("ramp.png"));
  const Outcome outcome =
      run("convert ramp.png text.png second.png --scale 0.5 --ext bmp new/sub/");
  EXPECT_EQ(outcome.status, 1);
  // Progress is shown only on a terminal.
  EXPECT_EQ(outcome.output, "");
  EXPECT_EQ(outcome.errors.find("tavrine-aux: text.png: load: not a picture"), 0U);
  EXPECT_EQ(std::count(outcome.errors.begin(), outcome.errors.end(), '\n'), 1) << outcome.errors;
  EXPECT_EQ(read("new/sub/ramp.bmp"), read("new/sub/second.bmp"));
  EXPECT_NE(read("new/sub/ramp.bmp"), "");
  EXPECT_FALSE(std::filesystem::exists(path_of("new/sub/text.bmp")));

  // Pictures replace themselves only when that was asked for.
  const auto before = files();
  const Outcome refused = run("convert ramp.png second.png --scale 2 .");
  EXPECT_EQ(refused.status, 2);
  EXPECT_NE(refused.errors.find("ramp.png: save: this would replace a picture"), std::string::npos)
      << refused.errors;
  EXPECT_TRUE(files() == before);
  succeed("convert ramp.png second.png --scale 2 --replace .");
  EXPECT_NE(run("info second.png").output.find("RGB24 64x48"), std::string::npos);
}

TEST_F(Tool, NoticesAreShownOnRequest) {
  succeed("convert ramp.png --resize 32x24 out.bmp");
  const std::string notices = run("convert -v ramp.png --resize 32x24 out.bmp").errors;
  EXPECT_NE(notices.find("notice: Scale ratio is 1"), std::string::npos) << notices;
  EXPECT_EQ(run("version").output.find(std::string("tavrine-aux ") + tavrine_aux_version() + "\n"),
            0U);
  EXPECT_NE(run("version --verbose").output.find("\nBuild Config : "), std::string::npos);
}

// With --device the tool reports what the engine and the CPU did, and the files are the same.
TEST_F(Tool, DeviceFramesReportEngineAndCpu) {
  const std::string operations = " --resize 128x96 --format GREY --resize 64x64 --rotate 90 ";
  succeed("convert ramp.png" + operations + "host.png");
  const Outcome device = run("convert -v --device ramp.png" + operations + "device.png");
  ASSERT_EQ(device.status, 0) << device.errors;
  for (const char *line :
       {"resize to 128x96: done by the CPU", "convert to GREY: done by the CPU",
        "resize to 64x64: done by the engine", "rotate by 90: done by the CPU"}) {
    EXPECT_NE(device.errors.find(line), std::string::npos) << line << "\n" << device.errors;
  }
  succeed("convert --device ramp.png --rotate 180 quiet.png");
  succeed("convert ramp.png --rotate 180 host180.png");
  EXPECT_EQ(read("quiet.png"), read("host180.png"));

  const std::string copy = run("convert -v --device ramp.png --crop 2,2,8,8 crop.png").errors;
  EXPECT_NE(copy.find("done by a copy"), std::string::npos) << copy;
  const std::string tensor = " --size 40x40 --mean 100 --scale 50 ";
  succeed("tensor ramp.png host.npy" + tensor);
  const Outcome filled = run("tensor -v --device ramp.png device.npy" + tensor);
  EXPECT_NE(filled.errors.find("filled by the CPU"), std::string::npos) << filled.errors;
  EXPECT_EQ(read("device.npy"), read("host.npy"));
}

}  // namespace
}  // namespace tavrine::test
