// The example programs, which check their own results where possible, and the demo's programs.
#include "tests/tool_support.h"

namespace tavrine::test {
namespace {

TEST_F(Tool, ExamplesSucceedAndReportFailures) {
  struct Case {
    const char *program;
    const char *arguments;
    int status;
    const char *text;  // of the output, or of the errors
    bool is_in_both_languages = true;
  };
  const Case cases[] = {
      {"align_face", "", 0, "mouth     is red 200, green 40, blue 50\n"},
      {"align_face", "ramp.png face.png 10 8 20 8 15 20", 0, "mouth     (15.0, 20.0) -> (56.0, 92"},
      {"align_face", "none.png face.png 10 8 20 8 15 20", 1,
       "align_face: cannot load the picture\n"},
      {"align_face", "ramp.png face.gif 10 8 20 8 15 20", 1, "align_face: cannot save the face\n"},
      {"detector_input", "", 0, "found at (79.5, 89.5), in the frame (319.5, 359.5)\n"},
      {"detector_input", "frame.nv12 32 24", 0,
       "NV12 32x24 in a tensor of 3x320x320, 0.10 x 0.10 frame"},
      {"detector_input", "ramp.rgb 99 99", 1, "detector_input: cannot make a frame of that size\n"},
      {"batch_regions", "", 0, "region 1 of 128x96: 2.000 pixels per element, red mean +0.003"},
      {"batch_regions", "ramp.png", 0, "(16, 4) is (8.0, 2.0)\n"},
      {"batch_regions", "none.png", 1, "batch_regions: cannot load the picture\n"},
      {"contact_sheet", "sheet.png title none.png nothing", 1, "cannot load or place none.png\n",
       false},
      {"show_tensor", "ramp.png out.png", 1,
       "ramp.png is not a tensor file with one or three channels\n", false},
  };
  succeed("convert ramp.png frame.nv12");
  for (const Case &test : cases) {
    SCOPED_TRACE(std::string(test.program) + " " + test.arguments);
    const Outcome outcome = run_program(test.program, test.arguments);
    if (test.is_in_both_languages) {
      const std::string face = read("face.png");
      const Outcome in_cpp = run_program(test.program + std::string("_cpp"), test.arguments);
      EXPECT_EQ(in_cpp.status, outcome.status);
      EXPECT_EQ(in_cpp.output, outcome.output);
      EXPECT_EQ(in_cpp.errors, outcome.errors);
      EXPECT_EQ(read("face.png"), face);
    }
    const std::string &text = test.status == 0 ? outcome.output : outcome.errors;
    EXPECT_EQ(outcome.status, test.status) << outcome.errors;
    EXPECT_NE(text.find(test.text), std::string::npos) << text;
  }
  EXPECT_EQ(run("info face.png").output.find("face.png: RGB24 112x112"), 0U);
}

// What scripts/demo does, with small pictures.
TEST_F(Tool, DemoDrawsChartTensorAndContactSheet) {
  ASSERT_EQ(run_program("draw_chart", "drawn.png 48 36").errors, "");
  for (const std::string type : {"f32", "u8"}) {
    succeed("tensor ramp.png t.npy --size 32x24 --color bgr --type " + type);
    ASSERT_EQ(run_program("show_tensor", "t.npy tensor.png bgr").errors, "");
    succeed("convert tensor.png tensor.rgb");
    const std::string shown = read("tensor.rgb");
    const std::string ramp = read("ramp.rgb");
    ASSERT_EQ(shown.size(), ramp.size());
    for (size_t index = 0; index < ramp.size(); ++index) {
      // The ramp's bytes are 0 to 250, which are shown as 0 to 255.
      ASSERT_NEAR(static_cast<uint8_t>(shown[index]), static_cast<uint8_t>(ramp[index]) * 1.02, 1);
    }
  }
  ASSERT_EQ(run_program("contact_sheet",
                        "sheet.png 'A sheet' drawn.png 'A caption of several lines, more than fit "
                        "below a picture, so that the last of them ends in two dots: never seen' "
                        "ramp.png '' tensor.png one")
                .errors,
            "");
  EXPECT_EQ(run("info sheet.png").output.find("sheet.png: RGB24 1056x"), 0U);
}

}  // namespace
}  // namespace tavrine::test
