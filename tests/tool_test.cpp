// The command line tool, run as its users run it.
#include <algorithm>
#include <filesystem>

#include "tests/tool_support.h"

namespace tavrine::test {
namespace {

TEST_F(Tool, AppliesOperationsInTheOrderGiven) {
  const char *const crop_first = "convert ramp.png --crop 0,0,16,12 --scale 2 crop_first.rgb";
  const char *const scale_first = "convert ramp.png --scale 2 --crop 0,0,16,12 scale_first.rgb";
  ASSERT_EQ(run(crop_first).status, 0);
  ASSERT_EQ(run(scale_first).status, 0);
  EXPECT_EQ(read("crop_first.rgb").size(), 32U * 24U * 3U);
  EXPECT_EQ(read("scale_first.rgb").size(), 16U * 12U * 3U);

  // The same operation twice, with another between: neither value is taken for the other.
  ASSERT_EQ(run("convert ramp.png --crop 4,4,20,12 --format grey --crop 2,-1,8,2 twice.png").status,
            0);
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
    const std::string out = std::string("out.") + test.extension;
    EXPECT_EQ(run(std::string("convert --in ") + test.layout + " in.raw " + out).errors, "");
    EXPECT_EQ(read(out), frame);
    EXPECT_NE(run(std::string("info --in ") + test.layout + " in.raw").output.find(" bytes"),
              std::string::npos);
    // One byte too many, one too few.
    for (const size_t bytes : {test.bytes + 1, test.bytes - 1}) {
      write("in.raw", read("ramp.rgb").substr(0, bytes));
      const Outcome outcome = run(std::string("info --in ") + test.layout + " in.raw");
      EXPECT_EQ(outcome.status, 1);
      EXPECT_NE(outcome.errors.find("the file has " + std::to_string(bytes)), std::string::npos)
          << outcome.errors;
    }
  }
  // A picture becomes NV12 on its way to a .yuv file.
  ASSERT_EQ(run("convert ramp.png a.yuv").status, 0);
  ASSERT_EQ(run("convert ramp.png --format NV12 b.nv12").status, 0);
  EXPECT_EQ(read("a.yuv"), read("b.nv12"));
}

TEST_F(Tool, FailuresAreOneLineThatNamesFileOperationAndReason) {
  write("kept.png", "what was there before");
  write("eight.argb", "12345678");
  const std::vector<std::string> before = files();
  struct Case {
    const char *arguments;
    const char *line;
  };
  const Case cases[] = {
      {"missing.png kept.png", "missing.png: load: No such file or directory"},
      {"empty.png kept.png", "empty.png: load: the file is empty"},
      {"text.png kept.png", "text.png: load: not a picture"},
      {"truncated.png kept.png",
       "truncated.png: load: not a picture of a known kind, or truncated"},
      {"ramp.rgb kept.png", "ramp.rgb: load: not a picture; for a raw frame add --in"},
      {"--in NV12:32x26 ramp.rgb kept.png", "ramp.rgb: read NV12:32x26: a frame has 1248 bytes"},
      {"ramp.png --resize 0x10 kept.png", "ramp.png: resize to 0x10: sizes must be positive"},
      {"ramp.png --scale 0.01 kept.png",
       "ramp.png: scale by 0.01: gives 0x0, sizes must be positive"},
      {"ramp.png --format nv12 --resize 5x4 kept.png", "ramp.png: resize to 5x4: NV12 needs even"},
      {"ramp.png --format nv12 --crop 0,0,5,4 kept.png", "ramp.png: crop 0,0,5,4: NV12 needs even"},
      {"ramp.png --crop 99,0,5,4 kept.png", "ramp.png: crop 99,0,5,4: the area lies outside"},
      {"ramp.png --format BGRA kept.png", "ramp.png: convert to BGRA: RGB24 cannot be converted"},
      {"--in BGRA:6x1 text.png kept.png", "text.png: read BGRA:6x1: a frame has 24 bytes"},
      {"--in Y16:11x1 text.png kept.png", "kept.png: save: a picture cannot be made of Y16"},
      {"--in Y16:11x1 text.png --rotate 90 kept.png",
       "text.png: rotate by 90: Y16 cannot be turned"},
      {"ramp.png --warp-affine 1,0,0,0,1,0@0x9 kept.png",
       "ramp.png: warp by 1,0,0,0,1,0@0x9: sizes must be positive"},
      {"ramp.png --format nv12 --warp-perspective 1,0,0,0,1,0,0,0,1@5x4 kept.png",
       "ramp.png: warp by 1,0,0,0,1,0,0,0,1@5x4: NV12 needs even"},
      {"--in ARGB:2x1 eight.argb --warp-perspective 1,0,0,0,1,0,0,0,1 kept.png",
       "eight.argb: warp by 1,0,0,0,1,0,0,0,1: ARGB cannot be warped in perspective"},
      {"ramp.png --crop 0,0,5,5 new.nv12", "new.nv12: save: NV12 needs even sizes"},
      {"ramp.png missing/new.png", "missing/new.png: save: No such file or directory"},
  };
  for (const Case &test : cases) {
    SCOPED_TRACE(test.arguments);
    const Outcome outcome = run(std::string("convert ") + test.arguments);
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.errors.find(std::string("tavrine-aux: ") + test.line), 0U) << outcome.errors;
    EXPECT_EQ(std::count(outcome.errors.begin(), outcome.errors.end(), '\n'), 1) << outcome.errors;
    EXPECT_EQ(files(), before);
    EXPECT_EQ(read("kept.png"), "what was there before");
  }
}

TEST_F(Tool, AFullDiskLeavesWhatWasThere) {
  write("kept.bmp", "what was there before");
  const std::vector<std::string> before = files();
  for (const char *arguments : {"kept.bmp", "new.png", "new.jpg", "new.rgb"}) {
    SCOPED_TRACE(arguments);
    // Files of at most 4 KiB, and the error instead of the signal.
    const Outcome outcome =
        run(std::string("convert ramp.png --scale 40 ") + arguments, "ulimit -f 8; trap '' XFSZ; ");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_NE(outcome.errors.find(": save: File too large"), std::string::npos) << outcome.errors;
    EXPECT_EQ(files(), before);
    EXPECT_EQ(read("kept.bmp"), "what was there before");
  }
}

TEST_F(Tool, WrongUsageIsToldBeforeAnythingIsDone) {
  const std::vector<std::string> before = files();
  const char *const cases[] = {
      "",
      "paint ramp.png",
      "info",
      "convert ramp.png",
      "convert ramp.png out.png --blur 3",
      "convert ramp.png --resize 10 out.png",
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
  };
  for (const char *arguments : cases) {
    SCOPED_TRACE(arguments);
    const Outcome outcome = run(arguments);
    EXPECT_EQ(outcome.status, 2);
    EXPECT_NE(outcome.errors.find("--help"), std::string::npos);
    EXPECT_EQ(std::count(outcome.errors.begin(), outcome.errors.end(), '\n'), 2) << outcome.errors;
    EXPECT_EQ(files(), before);
  }
  const Outcome help = run("convert --help");
  EXPECT_EQ(help.status, 0);
  EXPECT_NE(help.output.find("--crop X,Y,WIDTH,HEIGHT"), std::string::npos);
}

TEST_F(Tool, BatchGoesOnAfterABadPicture) {
  write("second.png", read("ramp.png"));
  const Outcome outcome =
      run("convert ramp.png text.png second.png --scale 0.5 --ext bmp new/sub/");
  EXPECT_EQ(outcome.status, 1);
  // Nothing but the error: no progress where nobody watches.
  EXPECT_EQ(outcome.output, "");
  EXPECT_EQ(outcome.errors.find("tavrine-aux: text.png: load: not a picture"), 0U);
  EXPECT_EQ(std::count(outcome.errors.begin(), outcome.errors.end(), '\n'), 1) << outcome.errors;
  EXPECT_EQ(read("new/sub/ramp.bmp"), read("new/sub/second.bmp"));
  EXPECT_NE(read("new/sub/ramp.bmp"), "");
  EXPECT_FALSE(std::filesystem::exists(path_of("new/sub/text.bmp")));

  // Pictures may be replaced in place.
  ASSERT_EQ(run("convert ramp.png second.png --scale 2 .").status, 0);
  EXPECT_NE(run("info second.png").output.find("RGB24 64x48"), std::string::npos);
}

TEST_F(Tool, NoticesAreForThoseWhoAsk) {
  EXPECT_EQ(run("convert ramp.png --resize 32x24 out.bmp").errors, "");
  const std::string notices = run("convert -v ramp.png --resize 32x24 out.bmp").errors;
  EXPECT_NE(notices.find("notice: Scale ratio is 1"), std::string::npos) << notices;
  EXPECT_EQ(run("version").output.find("tavrine-aux 1.2.0\nrevision "), 0U);
  EXPECT_NE(run("version --verbose").output.find("\nBuild Config : "), std::string::npos);
}

}  // namespace
}  // namespace tavrine::test
