// The tool's operations that rotate and warp pictures.
#include <array>

#include "tests/tool_support.h"

namespace tavrine::test {
namespace {

// Three bytes of a raw RGB24 picture.
std::string pixel_of(const std::string &pixels, int width, int x, int y) {
  return pixels.substr(static_cast<size_t>((y * width + x) * 3), 3);
}

TEST_F(Tool, RotatesAndWarpsByTheGivenNumbers) {
  // The position in the ramp of the result's pixel (x, y): the factors of x and y, and an offset.
  struct Case {
    const char *operation;
    int width, height;
    int column[3], row[3];
  };
  const Case cases[] = {
      {"--rotate 90", kHeight, kWidth, {0, 1, 0}, {-1, 0, kHeight - 1}},
      {"--rotate 180", kWidth, kHeight, {-1, 0, kWidth - 1}, {0, -1, kHeight - 1}},
      {"--rotate 270", kHeight, kWidth, {0, -1, kWidth - 1}, {1, 0, 0}},
      {"--rotate 90 --crop 0,0,4,2", 4, 2, {0, 1, 0}, {-1, 0, kHeight - 1}},
      {"--crop 0,0,4,2 --rotate 90", 2, 4, {0, 1, 0}, {-1, 0, 1}},
      {"--warp-affine -1,0,31,0,1,0", kWidth, kHeight, {-1, 0, kWidth - 1}, {0, 1, 0}},
      {"--warp-affine 0,1,3,1,0,2@16x20", 16, 20, {0, 1, 3}, {1, 0, 2}},
      {"--warp-perspective 2,0,4,0,2,6,0,0,2@20x16", 20, 16, {1, 0, 2}, {0, 1, 3}},
  };
  const std::string ramp = read("ramp.rgb");
  for (const Case &test : cases) {
    SCOPED_TRACE(test.operation);
    succeed(std::string("convert ramp.png out.rgb ") + test.operation);
    std::string expected;
    for (int y = 0; y < test.height; ++y) {
      for (int x = 0; x < test.width; ++x) {
        expected += pixel_of(ramp, kWidth, test.column[0] * x + test.column[1] * y + test.column[2],
                             test.row[0] * x + test.row[1] * y + test.row[2]);
      }
    }
    EXPECT_TRUE(read("out.rgb") == expected);
  }
}

TEST_F(Tool, AlignMovesThePointsToTheirPlaces) {
  // The template rotated by 90 degrees and scaled by 2, so that the three spots fit exactly.
  constexpr size_t kSide = 240;
  constexpr std::array<size_t, 2> kSpots[3] = {{{96, 86}}, {{96, 158}}, {{16, 122}}};
  const std::string colors[3] = {"Rr1", "Gg2", "Bb3"};
  std::string picture(kSide * kSide * 3, '.');
  for (size_t spot = 0; spot < 3; ++spot) {
    for (size_t y = kSpots[spot][1] - 4; y <= kSpots[spot][1] + 4; ++y) {
      for (size_t x = kSpots[spot][0] - 4; x <= kSpots[spot][0] + 4; ++x) {
        picture.replace((y * kSide + x) * 3, 3, colors[spot]);
      }
    }
  }
  write("face.rgb", picture);
  struct Case {
    const char *size;
    int width;
    std::array<int, 2> places[3];
  };
  const Case cases[] = {{"", 112, {{{38, 52}}, {{74, 52}}, {{56, 92}}}},
                        {"--size 224x224", 224, {{{76, 104}}, {{148, 104}}, {{112, 184}}}},
                        {"--size 112x212", 112, {{{38, 102}}, {{74, 102}}, {{56, 142}}}},
                        {"--size 256x56", 256, {{{119, 26}}, {{137, 26}}, {{128, 46}}}}};
  for (const Case &test : cases) {
    SCOPED_TRACE(test.size);
    succeed("align --in RGB24:240x240 face.rgb out.rgb --points 96,86,96,158,16,122 " +
            std::string(test.size));
    for (size_t spot = 0; spot < 3; ++spot) {
      EXPECT_EQ(pixel_of(read("out.rgb"), test.width, test.places[spot][0], test.places[spot][1]),
                colors[spot]);
    }
  }
  expect_failure("align ramp.png out.png --points 1e38,1e38,-1e38,1e38,0,-1e38",
                 "ramp.png: align: these points do not define a transform\n");
}

}  // namespace
}  // namespace tavrine::test
