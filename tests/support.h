// Shared by the tests: frames, their pixels, and checks for leaks.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "common/owned.h"
#include "tavrine_aux.h"
#include "tavrine_devkit.h"

namespace tavrine::test {

using Random = std::mt19937;

inline constexpr uint32_t kEightBitFormats[] = {
    TAVRINE_FORMAT_GREY, TAVRINE_FORMAT_RGB24, TAVRINE_FORMAT_BGR24, TAVRINE_FORMAT_BGRA,
    TAVRINE_FORMAT_ARGB, TAVRINE_FORMAT_NV12,  TAVRINE_FORMAT_NV21,  TAVRINE_FORMAT_YU12};

inline constexpr uint32_t kAllFormats[] = {
    TAVRINE_FORMAT_GREY, TAVRINE_FORMAT_RGB24, TAVRINE_FORMAT_BGR24,
    TAVRINE_FORMAT_NV12, TAVRINE_FORMAT_NV21,  TAVRINE_FORMAT_YU12,
    TAVRINE_FORMAT_BGRA, TAVRINE_FORMAT_ARGB,  TAVRINE_FORMAT_Y16};

// A plane of a format, independent of the library's own table.
struct Plane {
  int channels;
  int columns;
  int rows;
};
std::vector<Plane> planes_of(uint32_t format, int width, int height);

OwnedFrame make_frame(uint32_t format, int width, int height, int32_t memory = TAVRINE_MEMORY_HOST);

// A frame inside a larger one: rows are padded, planes do not follow each other, and the bytes
// around the pixels can be checked for changes.
struct PaddedFrame {
  OwnedFrame parent;
  OwnedFrame frame;
  std::vector<uint8_t> surroundings_before;

  // The parent's bytes without those of the frame.
  std::vector<uint8_t> surroundings() const;
  bool surroundings_unharmed() const { return surroundings() == surroundings_before; }
};
PaddedFrame make_padded_frame(uint32_t format, int width, int height, Random &random);

void fill_random(tavrine_frame_t *frame, Random &random);
void fill(tavrine_frame_t *frame, uint8_t value);

// The bytes of all planes, row by row, without padding; device frames are downloaded.
std::vector<uint8_t> pixels_of(const tavrine_frame_t *frame);
void set_pixels(tavrine_frame_t *frame, const std::vector<uint8_t> &pixels);

// The result of change() for the bytes of each plane, in the layout of pixels_of.
std::vector<uint8_t> with_changed_planes(
    const tavrine_frame_t *frame,
    const std::function<std::vector<uint8_t>(const std::vector<uint8_t> &pixels, size_t plane)>
        &change);

// A copy in device memory.
OwnedFrame on_device(const tavrine_frame_t *frame);

struct LogRecord {
  int32_t level;
  std::string tag;
  int32_t line;
  std::string text;
};

bool operator==(const LogRecord &a, const LogRecord &b);
std::ostream &operator<<(std::ostream &stream, const LogRecord &record);

// Collects the log, and fails the test if it leaks objects of the core.
class LibraryTest : public ::testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;

  std::vector<LogRecord> take_log();
  // Expects one record since the last call. Its line is not checked.
  void expect_log(int32_t level, const std::string &tag, const std::string &text);

  Random random_{20210917};

 private:
  std::vector<LogRecord> log_;
  tavrine_devkit_objects_t before_{};
};

}  // namespace tavrine::test
