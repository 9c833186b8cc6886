#include "tests/support.h"

#include <cstring>

namespace tavrine::test {
namespace {

uint8_t *row_of(const tavrine_frame_t *frame, size_t plane, const Plane &shape, int y) {
  const ptrdiff_t tight = static_cast<ptrdiff_t>(shape.columns) * shape.channels;
  const ptrdiff_t stride = frame->strides[plane] != 0 ? frame->strides[plane] : tight;
  return static_cast<uint8_t *>(frame->planes[plane]) + stride * y;
}

// Calls visit(row, bytes) for every row of every plane.
template <typename Visit>
void for_each_row(const tavrine_frame_t *frame, Visit visit) {
  const std::vector<Plane> planes = planes_of(frame->pixel_format, frame->width, frame->height);
  for (size_t i = 0; i < planes.size(); ++i) {
    for (int y = 0; y < planes[i].rows; ++y) {
      visit(row_of(frame, i, planes[i], y),
            static_cast<size_t>(planes[i].columns * planes[i].channels));
    }
  }
}

void add_record(void *arg, int32_t level, const char *tag, int32_t line, const char *text) {
  static_cast<std::vector<LogRecord> *>(arg)->push_back({level, tag, line, text});
}

}  // namespace

std::vector<Plane> planes_of(uint32_t format, int width, int height) {
  switch (format) {
    case TAVRINE_FORMAT_GREY:
      return {{1, width, height}};
    case TAVRINE_FORMAT_Y16:
      return {{2, width, height}};
    case TAVRINE_FORMAT_RGB24:
    case TAVRINE_FORMAT_BGR24:
      return {{3, width, height}};
    case TAVRINE_FORMAT_BGRA:
    case TAVRINE_FORMAT_ARGB:
      return {{4, width, height}};
    case TAVRINE_FORMAT_NV12:
    case TAVRINE_FORMAT_NV21:
      return {{1, width, height}, {2, width / 2, height / 2}};
    default:
      return {{1, width, height}, {1, width / 2, height / 2}, {1, width / 2, height / 2}};
  }
}

OwnedFrame make_frame(uint32_t format, int width, int height, int32_t memory) {
  const int32_t strides[4] = {};
  OwnedFrame frame(tavrine_frame_alloc(memory, format, width, height, strides, 7));
  EXPECT_TRUE(frame);
  return frame;
}

PaddedFrame make_padded_frame(uint32_t format, int width, int height, Random &random) {
  PaddedFrame result;
  result.parent = make_frame(format, width + 10, height + 8);
  fill_random(result.parent.get(), random);
  result.frame = OwnedFrame(tavrine_frame_roi(result.parent.get(), 4, 2, width, height));
  EXPECT_TRUE(result.frame);
  result.surroundings_before = result.surroundings();
  return result;
}

std::vector<uint8_t> PaddedFrame::surroundings() const {
  const OwnedFrame copy(tavrine_frame_duplicate(parent.get()));
  const OwnedFrame inside(tavrine_frame_roi(copy.get(), 4, 2, frame->width, frame->height));
  fill(inside.get(), 0);
  return pixels_of(copy.get());
}

void fill_random(tavrine_frame_t *frame, Random &random) {
  for_each_row(frame, [&](uint8_t *row, size_t bytes) {
    for (size_t i = 0; i < bytes; ++i) {
      row[i] = static_cast<uint8_t>(random());
    }
  });
}

void fill(tavrine_frame_t *frame, uint8_t value) {
  for_each_row(frame, [&](uint8_t *row, size_t bytes) { std::memset(row, value, bytes); });
}

std::vector<uint8_t> pixels_of(const tavrine_frame_t *frame) {
  OwnedFrame host;
  if (tavrine_frame_mem_type(frame) == TAVRINE_MEMORY_DEVICE) {
    EXPECT_EQ(tavrine_frame_download(frame, host.slot()), 0);
    frame = host.get();
  }
  std::vector<uint8_t> pixels;
  for_each_row(frame, [&](const uint8_t *row, size_t bytes) {
    pixels.insert(pixels.end(), row, row + bytes);
  });
  return pixels;
}

void set_pixels(tavrine_frame_t *frame, const std::vector<uint8_t> &pixels) {
  const uint8_t *next = pixels.data();
  for_each_row(frame, [&](uint8_t *row, size_t bytes) {
    std::memcpy(row, next, bytes);
    next += bytes;
  });
  ASSERT_EQ(next, pixels.data() + pixels.size());
}

std::vector<uint8_t> with_changed_planes(
    const tavrine_frame_t *frame,
    const std::function<std::vector<uint8_t>(const std::vector<uint8_t> &pixels, size_t plane)>
        &change) {
  const std::vector<uint8_t> pixels = pixels_of(frame);
  const std::vector<Plane> planes = planes_of(frame->pixel_format, frame->width, frame->height);
  std::vector<uint8_t> result;
  auto begin = pixels.begin();
  for (size_t i = 0; i < planes.size(); ++i) {
    const auto end = begin + planes[i].channels * planes[i].columns * planes[i].rows;
    const std::vector<uint8_t> changed = change({begin, end}, i);
    result.insert(result.end(), changed.begin(), changed.end());
    begin = end;
  }
  return result;
}

OwnedFrame on_device(const tavrine_frame_t *frame) {
  OwnedFrame device;
  EXPECT_EQ(tavrine_frame_upload(frame, device.slot()), 0);
  return device;
}

bool operator==(const LogRecord &a, const LogRecord &b) {
  return a.level == b.level && a.tag == b.tag && a.line == b.line && a.text == b.text;
}

std::ostream &operator<<(std::ostream &stream, const LogRecord &record) {
  return stream << "{" << record.level << ", " << record.tag << ":" << record.line << ", \""
                << record.text << "\"}";
}

void LibraryTest::SetUp() {
  before_ = tavrine_devkit_live_objects();
  tavrine_log_set_sink(add_record, &log_);
}

void LibraryTest::TearDown() {
  tavrine_log_set_sink(nullptr, nullptr);
  tavrine_devkit_clear_faults();
  const tavrine_devkit_objects_t after = tavrine_devkit_live_objects();
  EXPECT_EQ(after.frames, before_.frames);
  EXPECT_EQ(after.buffers, before_.buffers);
  EXPECT_EQ(after.tensors, before_.tensors);
  EXPECT_EQ(after.storage_blocks, before_.storage_blocks);
}

std::vector<LogRecord> LibraryTest::take_log() { return std::exchange(log_, {}); }

void LibraryTest::expect_log(int32_t level, const std::string &tag, const std::string &text) {
  const std::vector<LogRecord> log = take_log();
  ASSERT_EQ(log.size(), 1U) << text;
  EXPECT_EQ(log[0], (LogRecord{level, tag, log[0].line, text}));
}

}  // namespace tavrine::test
