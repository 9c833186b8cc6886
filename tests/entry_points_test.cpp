// The exported frame operations: checks and their messages, shortcuts, crop, and device frames.
#include <algorithm>
#include <cmath>
#include <limits>

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

TEST_F(EntryPoints, UnknownRotations) {
  const OwnedFrame frame = make_frame(TAVRINE_FORMAT_GREY, 4, 4);
  OwnedFrame none;
  EXPECT_EQ(tavrine_frame_rotate(frame.get(), none.slot(), 3), -1);
  EXPECT_EQ(tavrine_frame_rotate(frame.get(), none.slot(), -1), -1);
  EXPECT_FALSE(none);
  EXPECT_TRUE(take_log().empty());
}

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
    const std::vector<uint8_t> source = pixels_of(in.frame.get());
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
      std::vector<uint8_t> cleared =
          is_cleared ? std::vector<uint8_t>(kept.size()) : pixels_of(fresh.get());
      size_t to = 0;
      size_t plane_begin = 0;
      const std::vector<Plane> planes = planes_of(format, 20, 16);
      const std::vector<Plane> cut = planes_of(format, area.width, area.height);
      for (size_t i = 0; i < planes.size(); ++i) {
        const auto &[channels, columns, rows] = planes[i];
        for (int pixel = 0; pixel < cut[i].rows * cut[i].columns; ++pixel) {
          const int x = area.x * columns / 20 + pixel % cut[i].columns;
          const int y = area.y * rows / 16 + pixel / cut[i].columns;
          for (int c = 0; c < channels; ++c, ++to) {
            if (x >= 0 && x < columns && y >= 0 && y < rows) {
              const int from = (y * columns + x) * channels + c;
              cleared[to] = kept[to] = source[plane_begin + static_cast<size_t>(from)];
            }
          }
        }
        plane_begin += static_cast<size_t>(columns * rows * channels);
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
  tavrine_devkit_guard_device_memory(1);
  OwnedFrame host = make_frame(TAVRINE_FORMAT_NV12, 40, 30);
  fill_random(host.get(), random_);
  const OwnedFrame device = on_device(host.get());
  const auto notice = [](int line, const std::string &name) {
    return Log{{0, "aux", line, "Device api not support, fallback to CPU - [" + name + "]!\n"}};
  };
  // Without the engine's reasons, which come first.
  const auto take_notices = [&] {
    Log log = take_log();
    log.erase(std::remove_if(log.begin(), log.end(),
                             [](const LogRecord &record) { return record.tag == "aux.hisvp"; }),
              log.end());
    return log;
  };

  OwnedFrame expected;
  OwnedFrame out;
  ASSERT_EQ(tavrine_frame_resize(host.get(), expected.slot(), 26, 14), 0);
  ASSERT_EQ(tavrine_frame_resize(device.get(), out.slot(), 26, 14), 0);
  EXPECT_EQ(tavrine_frame_mem_type(out.get()), TAVRINE_MEMORY_DEVICE);
  EXPECT_EQ(pixels_of(out.get()), pixels_of(expected.get()));
  EXPECT_EQ(take_notices(), notice(691, "tavrine_frame_resize"));

  OwnedFrame given = make_frame(TAVRINE_FORMAT_YU12, 40, 30, TAVRINE_MEMORY_DEVICE);
  const tavrine_frame_t *given_before = given.get();
  expected.reset();
  ASSERT_EQ(tavrine_frame_cvt_color(host.get(), expected.slot(), TAVRINE_FORMAT_YU12), 0);
  ASSERT_EQ(tavrine_frame_cvt_color(device.get(), given.slot(), TAVRINE_FORMAT_YU12), 0);
  EXPECT_EQ(given.get(), given_before);
  EXPECT_EQ(pixels_of(given.get()), pixels_of(expected.get()));
  EXPECT_EQ(take_notices(), notice(837, "tavrine_frame_cvt_color"));

  expected.reset();
  out.reset();
  ASSERT_EQ(tavrine_frame_crop(host.get(), expected.slot(), {-6, 10, 20, 40}), 0);
  ASSERT_EQ(tavrine_frame_crop(device.get(), out.slot(), {-6, 10, 20, 40}), 0);
  EXPECT_EQ(pixels_of(out.get()), pixels_of(expected.get()));

  // An unsupported conversion frees the frame that was allocated for it.
  out.reset();
  EXPECT_EQ(tavrine_frame_cvt_color(device.get(), out.slot(), TAVRINE_FORMAT_ARGB), -1000);
  EXPECT_FALSE(out);
  tavrine_devkit_guard_device_memory(0);
}

}  // namespace
}  // namespace tavrine::test
