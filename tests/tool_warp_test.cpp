// The tool's operations that turn and warp pictures.
#include <array>

#include "tests/tool_support.h"

namespace tavrine::test {
namespace {

// Three bytes of a raw RGB24 picture.
std::string pixel_of(const std::string &pixels, size_t width, size_t x, size_t y) {
  return pixels.substr((y * width + x) * 3, 3);
}

TEST_F(Tool, TurnsAndWarpsAsTold) {
  // Where in the ramp pixel (x, y) of the result comes from.
  struct Case {
    const char *operation;
    size_t width, height;
    std::array<size_t, 2> (*source)(size_t x, size_t y);
  };
  using Position = std::array<size_t, 2>;
  const Case cases[] = {
      {"--rotate 90", kHeight, kWidth,
       [](size_t x, size_t y) {
         return Position{y, kHeight - 1 - x};
       }},
      {"--rotate 180", kWidth, kHeight,
       [](size_t x, size_t y) {
         return Position{kWidth - 1 - x, kHeight - 1 - y};
       }},
      {"--rotate 270", kHeight, kWidth,
       [](size_t x, size_t y) {
         return Position{kWidth - 1 - y, x};
       }},
      {"--rotate 90 --crop 0,0,4,2", 4, 2,
       [](size_t x, size_t y) {
         return Position{y, kHeight - 1 - x};
       }},
      {"--crop 0,0,4,2 --rotate 90", 2, 4,
       [](size_t x, size_t y) {
         return Position{y, 1 - x};
       }},
      {"--warp-affine -1,0,31,0,1,0", kWidth, kHeight,
       [](size_t x, size_t y) {
         return Position{kWidth - 1 - x, y};
       }},
      {"--warp-affine 0,1,3,1,0,2@16x20", 16, 20,
       [](size_t x, size_t y) {
         return Position{y + 3, x + 2};
       }},
      {"--warp-perspective 2,0,4,0,2,6,0,0,2@20x16", 20, 16,
       [](size_t x, size_t y) {
         return Position{x + 2, y + 3};
       }},
  };
  const std::string ramp = read("ramp.rgb");
  for (const Case &test : cases) {
    SCOPED_TRACE(test.operation);
    ASSERT_EQ(run(std::string("convert ramp.png out.rgb ") + test.operation).errors, "");
    std::string expected;
    for (size_t y = 0; y < test.height; ++y) {
      for (size_t x = 0; x < test.width; ++x) {
        const Position at = test.source(x, y);
        expected += pixel_of(ramp, kWidth, at[0], at[1]);
      }
    }
    EXPECT_TRUE(read("out.rgb") == expected);
  }
}

TEST_F(Tool, PerspectiveOf420GoesThroughRgb) {
  const std::string warp = " --warp-perspective 1,0.2,0,0,1,0,0,0.01,1 ";
  for (const std::string format : {"NV12", "YU12"}) {
    ASSERT_EQ(run("convert ramp.png --format " + format + warp + "direct.yuv").errors, "");
    ASSERT_EQ(run("convert ramp.png --format " + format + " --format RGB24" + warp + "--format " +
                  format + " explicit.yuv")
                  .errors,
              "");
    EXPECT_NE(read("direct.yuv"), "");
    EXPECT_TRUE(read("direct.yuv") == read("explicit.yuv")) << format;
  }
}

TEST_F(Tool, AlignPutsThePointsInTheirPlaces) {
  // The template turned by a quarter and twice as large: three spots that it fits exactly.
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
    size_t width;
    std::array<size_t, 2> places[3];
  };
  const Case cases[] = {{"", 112, {{{38, 52}}, {{74, 52}}, {{56, 92}}}},
                        {"--size 224x224", 224, {{{76, 104}}, {{148, 104}}, {{112, 184}}}},
                        {"--size 112x212", 112, {{{38, 102}}, {{74, 102}}, {{56, 142}}}},
                        {"--size 256x56", 256, {{{119, 26}}, {{137, 26}}, {{128, 46}}}}};
  for (const Case &test : cases) {
    SCOPED_TRACE(test.size);
    ASSERT_EQ(run(std::string("align --in RGB24:240x240 face.rgb out.rgb --points "
                              "96,86,96,158,16,122 ") +
                  test.size)
                  .errors,
              "");
    for (size_t spot = 0; spot < 3; ++spot) {
      EXPECT_EQ(pixel_of(read("out.rgb"), test.width, test.places[spot][0], test.places[spot][1]),
                colors[spot]);
    }
  }
  const Outcome outcome = run("align ramp.png out.png --points 1e38,1e38,-1e38,1e38,0,-1e38");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.errors, "tavrine-aux: ramp.png: align: the points determine no transform\n");
}

}  // namespace
}  // namespace tavrine::test
