// The tool on device frames: who did what, and the same files where the CPU did it.
#include "tests/tool_support.h"

namespace tavrine::test {
namespace {

TEST_F(Tool, DeviceFramesTellWhoDidWhat) {
  const std::string operations = " --resize 128x96 --format GREY --resize 64x64 --rotate 90 ";
  ASSERT_EQ(run("convert ramp.png" + operations + "host.png").status, 0);
  const Outcome device = run("convert -v --device ramp.png" + operations + "device.png");
  ASSERT_EQ(device.status, 0) << device.errors;
  for (const char *line :
       {"resize to 128x96: done by the CPU", "convert to GREY: done by the CPU",
        "resize to 64x64: done by the engine", "rotate by 90: done by the CPU"}) {
    EXPECT_NE(device.errors.find(line), std::string::npos) << line << "\n" << device.errors;
  }
  EXPECT_EQ(run("convert --device ramp.png --rotate 180 quiet.png").errors, "");
  ASSERT_EQ(run("convert ramp.png --rotate 180 host180.png").status, 0);
  EXPECT_EQ(read("quiet.png"), read("host180.png"));

  const std::string copy = run("convert -v --device ramp.png --crop 2,2,8,8 crop.png").errors;
  EXPECT_NE(copy.find("done by a copy"), std::string::npos) << copy;
  const std::string tensor = " --size 40x40 --mean 100 --scale 50 ";
  ASSERT_EQ(run("tensor ramp.png host.npy" + tensor).status, 0);
  const Outcome filled = run("tensor -v --device ramp.png device.npy" + tensor);
  EXPECT_NE(filled.errors.find("filled by the CPU"), std::string::npos) << filled.errors;
  EXPECT_EQ(read("device.npy"), read("host.npy"));
}

}  // namespace
}  // namespace tavrine::test
