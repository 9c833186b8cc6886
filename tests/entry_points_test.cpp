// The exported frame operations: checks and their messages, shortcuts, crop, and device frames.
#include <algorithm>
#include <cmath>
#include <limits>

#include "fuzz/definitions.h"
#include "tests/support.h"

namespace tavrine::test {
namespace {

using Log = std::vector<LogRecord>;

LogRecord parity_message(const std::string &caller, int width, int height) {
  return {4, "aux", 73,
          "[" + caller +
              "] Width and height should be even numbers for NV21/12 or YU12, current "
              "frame:\n\twidth: " +
              std::to_string(width) + "\n\theight: " + std::to_string(height) + "\n"};
}

class EntryPoints : public LibraryTest {};

TEST_F(EntryPoints, PreparedDestinationsMustMatch) {
  const OwnedFrame in = make_frame(TAVRINE_FORMAT_BGR24, 8, 6);
  const struct {
    uint32_t format;
    int width, height;
    int32_t memory;
    bool accepted;
  } cases[] = {{TAVRINE_FORMAT_BGR24, 4, 3, 0, true},  {TAVRINE_FORMAT_BGR24, 5, 4, 0, true},
               {TAVRINE_FORMAT_BGR24, 3, 3, 0, false}, {TAVRINE_FORMAT_BGR24, 4, 2, 0, false},
               {TAVRINE_FORMAT_RGB24, 4, 3, 0, false}, {TAVRINE_FORMAT_BGR24, 4, 3, 1, false}};
  for (const auto &test : cases) {
    OwnedFrame out = make_frame(test.format, test.width, test.height, test.memory);
    EXPECT_EQ(tavrine_frame_resize(in.get(), out.slot(), 4, 3), test.accepted ? 0 : -1);
    EXPECT_TRUE(out);
    const std::string text =
        "[tavrine_frame_resize] Required_frame and given_frame not match:\n"
        "\treq:\tgiven:\nmem:\t0\t" +
        std::to_string(test.memory) + "\nfmt:\tBGR24\t" +
        tavrine_frame_pixfmt_to_string(test.format) + "\nwidth:\t4\t" + std::to_string(test.width) +
        "\nheight:\t3\t" + std::to_string(test.height) + "\n";
    EXPECT_EQ(take_log(), test.accepted ? Log{} : (Log{{4, "aux", 100, text}}));
  }
}

TEST_F(EntryPoints, OddSizesOfYuvFormats) {
  OwnedFrame odd = make_frame(TAVRINE_FORMAT_NV12, 3, 4);
  OwnedFrame none;
  EXPECT_EQ(tavrine_frame_resize(odd.get(), none.slot(), 2, 2), -1);
  EXPECT_FALSE(none);
  EXPECT_EQ(take_log(), (Log{parity_message("tavrine_frame_resize", 3, 4)}));

  // A new destination of odd size is refused but stays in the slot.
  const OwnedFrame even = make_frame(TAVRINE_FORMAT_NV21, 8, 8);
  OwnedFrame out;
  EXPECT_EQ(tavrine_frame_resize(even.get(), out.slot(), 5, 4), -1);
  ASSERT_TRUE(out);
  EXPECT_EQ(out->width, 5);
  EXPECT_EQ(take_log(), (Log{parity_message("tavrine_frame_resize", 5, 4)}));

  // Warps compare existing frames, return -4 and name the check.
  const float matrix[9] = {1, 0, 0, 0, 1, 0, 0, 0, 1};
  const OwnedFrame a = make_frame(TAVRINE_FORMAT_YU12, 4, 4);
  OwnedFrame b = make_frame(TAVRINE_FORMAT_YU12, 5, 4);
  EXPECT_EQ(tavrine_frame_warpaffine(a.get(), b.get(), matrix), -4);
  EXPECT_EQ(take_log(), (Log{parity_message("is_same_frame_fmt_and_memtype", 5, 4)}));
  OwnedFrame device = make_frame(TAVRINE_FORMAT_YU12, 4, 4, TAVRINE_MEMORY_DEVICE);
  EXPECT_EQ(tavrine_frame_warpperspective(a.get(), device.get(), matrix), -4);
  EXPECT_EQ(take_log(), (Log{{4, "aux", 90,
                              "[tavrine_frame_warpperspective] Required_frame and given_frame not "
                              "match:\n\treq:\tgiven:\nmem:\t0\t1\nfmt:\tYU12\tYU12\n"}}));
}

TEST_F(EntryPoints, CropInsideAndAcrossEveryEdge) {
  const tavrine_area2d_t areas[] = {{0, 0, 20, 16},
                                    {4, 2, 16, 14},
                                    {-10, -6, 20, 16},
                                    {12, 10, 20, 8},
                                    {-4, 4, 40, 6},
                                    {18, 14, 2, 2},
                                    {-2, -2, 24, 20},
                                    {-2, 4, 8, 6},
                                    // one pixel across each edge
                                    {-1, 0, 20, 16},
                                    {0, -1, 20, 16},
                                    {1, 0, 20, 16},
                                    {0, 1, 20, 16}};
  for (const uint32_t format : kEightBitFormats) {
    const PaddedFrame in = make_padded_frame(format, 20, 16, random_);
    const OwnedFrame ones = make_frame(format, 20, 16);
    fill(ones.get(), 1);
    for (const tavrine_area2d_t &area : areas) {
      if ((area.x % 2 != 0 || area.y % 2 != 0) && planes_of(format, 20, 16).size() > 1) {
        continue;
      }
      OwnedFrame fresh;
      ASSERT_EQ(tavrine_frame_crop(in.frame.get(), fresh.slot(), area), 0);
      PaddedFrame given = make_padded_frame(format, area.width, area.height, random_);
      std::vector<uint8_t> kept = pixels_of(given.frame.get());
      ASSERT_EQ(tavrine_frame_crop(in.frame.get(), given.frame.slot(), area), 0);
      ASSERT_TRUE(given.surroundings_unharmed());

      const bool is_cleared = format != TAVRINE_FORMAT_BGRA && format != TAVRINE_FORMAT_ARGB;
      const std::vector<uint8_t> defined =
          pixels_of(fuzz::defined_crop(in.frame.get(), area).get());
      const std::vector<uint8_t> is_inside = pixels_of(fuzz::defined_crop(ones.get(), area).get());
      std::vector<uint8_t> cleared = is_cleared ? defined : pixels_of(fresh.get());
      for (size_t i = 0; i < kept.size(); ++i) {
        if (is_inside[i] != 0) {
          cleared[i] = kept[i] = defined[i];
        }
      }
      ASSERT_EQ(pixels_of(fresh.get()), cleared) << area.x << "," << area.y;
      ASSERT_EQ(pixels_of(given.frame.get()), kept) << area.x << "," << area.y;
    }
  }
  EXPECT_TRUE(take_log().empty());
}

TEST_F(EntryPoints, CropOfAreasOutside) {
  const OwnedFrame in = make_frame(TAVRINE_FORMAT_BGR24, 100, 100);
  OwnedFrame none;
  EXPECT_LT(tavrine_frame_crop(in.get(), none.slot(), {200, 200, 10, 10}), 0);
  EXPECT_FALSE(none);
  EXPECT_EQ(take_log(), (Log{{4, "aux", 636,
                              "[tavrine_frame_crop] Illegal RoI. Cannot get sub frame of "
                              "Area2D{200, 200, 10, 10} from frame of Size2D{ 100, 100 }!\n"}}));
  constexpr int32_t kMin = std::numeric_limits<int32_t>::min();
  constexpr int32_t kMax = std::numeric_limits<int32_t>::max();
  for (const tavrine_area2d_t &area : {tavrine_area2d_t{5, 5, 0, 5},
                                       {5, 5, -3, 5},
                                       {-5, 5, -3, 2},
                                       {kMax, 0, kMax, 1},
                                       {kMin, kMin, kMax, kMax},
                                       {kMin, 0, kMin, 1},
                                       {-8, -8, 8, 8}}) {
    EXPECT_LT(tavrine_frame_crop(in.get(), none.slot(), area), 0) << area.x << " " << area.width;
    EXPECT_FALSE(none);
  }
  OwnedFrame small = make_frame(TAVRINE_FORMAT_BGR24, 8, 8);
  EXPECT_EQ(tavrine_frame_crop(in.get(), small.slot(), {-1, 0, 10, 10}), -1);
  // Odd offsets are refused in 4:2:0 formats; a new frame is freed, a caller's frame unchanged.
  const OwnedFrame nv12 = make_frame(TAVRINE_FORMAT_NV12, 8, 8);
  OwnedFrame given = make_frame(TAVRINE_FORMAT_NV12, 8, 8);
  fill(given.get(), 3);
  EXPECT_LT(tavrine_frame_crop(nv12.get(), given.slot(), {-1, 0, 8, 8}), 0);
  EXPECT_EQ(pixels_of(given.get()), std::vector<uint8_t>(96, 3));
  EXPECT_LT(tavrine_frame_crop(nv12.get(), none.slot(), {-1, 0, 8, 8}), 0);
  EXPECT_FALSE(none);
}

TEST_F(EntryPoints, CropOfOddSizes) {
  const OwnedFrame in = make_frame(TAVRINE_FORMAT_NV12, 64, 64);
  OwnedFrame inside;
  ASSERT_EQ(tavrine_frame_crop(in.get(), inside.slot(), {0, 0, 33, 33}), 0);
  EXPECT_EQ((std::pair{inside->width, inside->height}), (std::pair{33, 33}));
  OwnedFrame none;
  EXPECT_EQ(tavrine_frame_rotate(inside.get(), none.slot(), TAVRINE_ROTATE_180), -1);
  EXPECT_FALSE(none);
  // A frame that was allocated for an odd size stays in the slot.
  OwnedFrame across;
  EXPECT_EQ(tavrine_frame_crop(in.get(), across.slot(), {-2, 0, 33, 32}), -1);
  EXPECT_TRUE(across);
  EXPECT_EQ(take_log(), (Log{parity_message("tavrine_frame_rotate", 33, 33),
                             parity_message("tavrine_frame_crop", 33, 32)}));
}

// What the core put into a new frame stays there for these formats.
TEST_F(EntryPoints, CropClearsSomeFormatsOnly) {
  for (const uint32_t format : {TAVRINE_FORMAT_BGRA, TAVRINE_FORMAT_ARGB, TAVRINE_FORMAT_Y16}) {
    const OwnedFrame in = make_frame(format, 8, 8);
    OwnedFrame out;
    ASSERT_EQ(tavrine_frame_crop(in.get(), out.slot(), {-2, 0, 4, 4}), 0);
    EXPECT_EQ(pixels_of(out.get())[0], 0xA5);
  }
}

TEST_F(EntryPoints, SizesWithoutPixels) {
  const OwnedFrame in = make_frame(TAVRINE_FORMAT_RGB24, 8, 8);
  for (const auto &[width, height] : {std::pair{0, 4}, {4, 0}, {-4, 4}, {4, -4}}) {
    OwnedFrame none;
    EXPECT_EQ(tavrine_frame_resize(in.get(), none.slot(), width, height), -4);
    EXPECT_FALSE(none);
    OwnedFrame given = make_frame(TAVRINE_FORMAT_RGB24, 8, 8);
    EXPECT_EQ(tavrine_frame_resize(in.get(), given.slot(), width, height), -4);
  }
  for (const float ratio : {0.0F, -1.0F, NAN, INFINITY, 0.1F, 1e9F}) {
    OwnedFrame none;
    EXPECT_EQ(tavrine_frame_scale(in.get(), none.slot(), ratio), -4) << ratio;
    EXPECT_FALSE(none);
  }
}

TEST_F(EntryPoints, ConversionShortcuts) {
  OwnedFrame nv21 = make_frame(TAVRINE_FORMAT_NV21, 6, 4);
  fill_random(nv21.get(), random_);
  OwnedFrame luma;
  ASSERT_EQ(tavrine_frame_cvt_color(nv21.get(), luma.slot(), TAVRINE_FORMAT_GREY), 0);
  EXPECT_EQ(luma->planes[0], nv21->planes[0]);
  EXPECT_EQ(luma->pixel_format, TAVRINE_FORMAT_GREY);
  EXPECT_EQ(luma->plane_count, 1);
  EXPECT_EQ(nv21->pixel_format, TAVRINE_FORMAT_NV21);
  EXPECT_TRUE(take_log().empty());

  OwnedFrame same;
  ASSERT_EQ(tavrine_frame_cvt_color(nv21.get(), same.slot(), TAVRINE_FORMAT_NV21), 0);
  EXPECT_EQ(same->planes[1], nv21->planes[1]);
  OwnedFrame copy = make_frame(TAVRINE_FORMAT_NV21, 6, 4);
  ASSERT_EQ(tavrine_frame_cvt_color(nv21.get(), copy.slot(), TAVRINE_FORMAT_NV21), 0);
  EXPECT_EQ(pixels_of(copy.get()), pixels_of(nv21.get()));
  OwnedFrame larger = make_frame(TAVRINE_FORMAT_NV21, 8, 4);
  EXPECT_EQ(tavrine_frame_cvt_color(nv21.get(), larger.slot(), TAVRINE_FORMAT_NV21), -1);
  const std::string head = "[tavrine_frame_cvt_color] ";
  EXPECT_EQ(take_log(),
            (Log{{0, "aux", 813,
                  head + "Converting a frame to the same color space, degrade to "
                         "tavrine_frame_ref to speed up!\n"},
                 {3, "aux", 794,
                  head + "Converting a frame to the same color space, degrade to "
                         "tavrine_frame_copy to speed up!\n"},
                 {4, "aux", 777,
                  head + "Required_frame and given_frame not match:\n\treq:\tgiven:\n"
                         "mem:\t0\t0\nfmt:\tNV21\tNV21\nwidth:\t6\t8\nheight:\t4\t4\n"}}));
  OwnedFrame none;
  EXPECT_EQ(tavrine_frame_cvt_color(nv21.get(), none.slot(), 0x12345678), -4);
  EXPECT_EQ(tavrine_frame_cvt_color(nv21.get(), none.slot(), TAVRINE_FORMAT_BGRA), -1000);
  EXPECT_FALSE(none);
}

TEST_F(EntryPoints, DeviceFramesFallBackToTheCpu) {
  static constexpr float kMatrix[9] = {0.9F, 0.2F, -4, -0.15F, 0.8F, 7, 0.01F, -0.02F, 1};
  const struct {
    std::string name;
    int32_t line;  // of the notice; a crop gives none
    uint32_t format, out_format;
    int width, height;
    int32_t (*run)(const tavrine_frame_t *in, tavrine_frame_t **out);
  } cases[] = {
      {"resize", 691, TAVRINE_FORMAT_NV12, TAVRINE_FORMAT_NV12, 26, 14,
       [](auto *in, auto **out) { return tavrine_frame_resize(in, out, 26, 14); }},
      {"cvt_color", 837, TAVRINE_FORMAT_NV12, TAVRINE_FORMAT_YU12, 40, 30,
       [](auto *in, auto **out) { return tavrine_frame_cvt_color(in, out, TAVRINE_FORMAT_YU12); }},
      {"rotate", 758, TAVRINE_FORMAT_YU12, TAVRINE_FORMAT_YU12, 30, 40,
       [](auto *in, auto **out) { return tavrine_frame_rotate(in, out, TAVRINE_ROTATE_90); }},
      {"crop", 0, TAVRINE_FORMAT_NV12, TAVRINE_FORMAT_NV12, 20, 40,
       [](auto *in, auto **out) {
         return tavrine_frame_crop(in, out, {-6, 10, 20, 40});
       }},
      {"warpaffine", 861, TAVRINE_FORMAT_NV12, TAVRINE_FORMAT_NV12, 20, 30,
       [](auto *in, auto **out) { return tavrine_frame_warpaffine(in, *out, kMatrix); }},
      {"warpperspective", 886, TAVRINE_FORMAT_BGR24, TAVRINE_FORMAT_BGR24, 20, 30,
       [](auto *in, auto **out) { return tavrine_frame_warpperspective(in, *out, kMatrix); }},
  };
  tavrine_devkit_guard_device_memory(1);
  for (const auto &test : cases) {
    SCOPED_TRACE(test.name);
    OwnedFrame host = make_frame(test.format, 40, 30);
    fill_random(host.get(), random_);
    const OwnedFrame device = on_device(host.get());
    OwnedFrame expected = make_frame(test.out_format, test.width, test.height);
    fill(expected.get(), 0);
    OwnedFrame given = on_device(expected.get());
    const tavrine_frame_t *given_before = given.get();
    ASSERT_EQ(test.run(host.get(), expected.slot()), 0);
    ASSERT_EQ(test.run(device.get(), given.slot()), 0);
    EXPECT_EQ(given.get(), given_before);
    EXPECT_EQ(pixels_of(given.get()), pixels_of(expected.get()));
    // The engine's reasons come first.
    Log log = take_log();
    log.erase(std::remove_if(log.begin(), log.end(),
                             [](const LogRecord &record) { return record.tag == "aux.hisvp"; }),
              log.end());
    const LogRecord notice = {
        0, "aux", test.line,
        "Device api not support, fallback to CPU - [tavrine_frame_" + test.name + "]!\n"};
    EXPECT_EQ(log, test.line != 0 ? Log{notice} : Log{});
    if (test.name.find("warp") != 0) {
      OwnedFrame created;
      ASSERT_EQ(test.run(device.get(), created.slot()), 0);
      EXPECT_EQ(tavrine_frame_mem_type(created.get()), TAVRINE_MEMORY_DEVICE);
      EXPECT_EQ(pixels_of(created.get()), pixels_of(expected.get()));
      take_log();
    }
  }
  // An unsupported conversion frees the frame that was allocated for it.
  const OwnedFrame device = make_frame(TAVRINE_FORMAT_NV12, 40, 30, TAVRINE_MEMORY_DEVICE);
  OwnedFrame none;
  EXPECT_EQ(tavrine_frame_cvt_color(device.get(), none.slot(), TAVRINE_FORMAT_ARGB), -1000);
  EXPECT_FALSE(none);
  tavrine_devkit_guard_device_memory(0);
}

}  // namespace
}  // namespace tavrine::test
