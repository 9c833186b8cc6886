#include "raw_frame.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>

#include "common/pixel_format.h"
#include "failure.h"
#include "numbers.h"
#include "owned_file.h"
#include "pixel_format.h"
#include "refusal.h"

namespace tavrine::tool {

namespace {

struct RowRun {
  uint8_t *first;
  size_t stride;
  size_t bytes;
  int32_t count;
};

RowRun rows_of(const tavrine_frame_t &frame, int32_t plane) {
  const auto width = static_cast<size_t>(frame.width);
  RowRun rows{static_cast<uint8_t *>(frame.planes[plane]),
              static_cast<size_t>(frame.strides[plane]),
              width * tavrine_frame_pixel_size(frame.pixel_format), frame.height};
  if (plane > 0) {
    rows.bytes = is_semi_planar(frame.pixel_format) ? width / 2 * 2 : width / 2;
    rows.count = frame.height / 2;
  }
  if (rows.stride == 0) {
    rows.stride = rows.bytes;
  }
  return rows;
}

// Stops at the first row that `use` answers with false.
template <typename Use>
bool for_each_row(const tavrine_frame_t &frame, Use use) {
  for (int32_t plane = 0; plane < frame.plane_count; ++plane) {
    const RowRun rows = rows_of(frame, plane);
    uint8_t *row = rows.first;
    for (int32_t y = 0; y < rows.count; ++y, row += rows.stride) {
      if (!use(row, rows.bytes)) {
        return false;
      }
    }
  }
  return true;
}

std::string layout_text(const RawLayout &layout) {
  return std::string(pixel_format_name(layout.format)) + ":" +
         size_text(layout.width, layout.height);
}

std::string wrong_size(const RawLayout &layout, const std::string &given) {
  return "a frame has " + std::to_string(layout.bytes) + " bytes, the file has " + given;
}

}  // namespace

RawLayout parse_raw_layout(const std::string &text) {
  const size_t colon = text.find(':');
  const auto format = pixel_format_by_name(text.substr(0, colon));
  const auto size = colon == std::string::npos ? std::nullopt : parse_size(text.substr(colon + 1));
  if (!size) {
    throw UsageError("--in: '" + text + "' is not FORMAT:WIDTHxHEIGHT, like NV12:1920x1080");
  }
  if (!format) {
    throw UsageError("--in: '" + text.substr(0, colon) + "' is no pixel format, there are " +
                     pixel_format_names());
  }
  const std::string problem = explain_size(*format, size->width, size->height);
  if (!problem.empty()) {
    throw UsageError("--in " + text + ": " + problem);
  }
  const size_t bytes = tavrine_frame_inferred_size(*format, size->width, size->height);
  return {*format, size->width, size->height, bytes};
}

OwnedFrame read_raw_frame(const std::string &path, const RawLayout &layout) {
  const std::string operation = "read " + layout_text(layout);
  const OwnedFile file(std::fopen(path.c_str(), "rb"));
  if (!file) {
    throw Failure(path, operation, std::strerror(errno));
  }
  // Known before memory is asked for, where the file is a regular one.
  std::error_code no_size;
  const auto file_size = std::filesystem::file_size(path, no_size);
  if (!no_size && file_size != layout.bytes) {
    throw Failure(path, operation, wrong_size(layout, std::to_string(file_size)));
  }
  OwnedFrame frame(tavrine_frame_alloc(TAVRINE_MEMORY_HOST, layout.format, layout.width,
                                       layout.height, kTightStrides, 0));
  if (!frame) {
    throw Failure(path, operation, "out of memory");
  }
  size_t total = 0;
  const bool is_complete = for_each_row(*frame.get(), [&](uint8_t *row, size_t bytes) {
    const size_t count = std::fread(row, 1, bytes, file.get());
    total += count;
    return count == bytes;
  });
  if (std::ferror(file.get()) != 0) {
    throw Failure(path, operation, std::strerror(errno));
  }
  if (!is_complete) {
    throw Failure(path, operation, wrong_size(layout, std::to_string(total)));
  }
  if (std::fgetc(file.get()) != EOF) {
    throw Failure(path, operation, wrong_size(layout, "more"));
  }
  return frame;
}

int write_raw_frame(const tavrine_frame_t &frame, const std::string &path) {
  OwnedFile file(std::fopen(path.c_str(), "wb"));
  if (!file) {
    return errno;
  }
  const bool is_written = for_each_row(frame, [&](const uint8_t *row, size_t bytes) {
    return std::fwrite(row, 1, bytes, file.get()) == bytes;
  });
  if (!is_written) {
    return errno;
  }
  return std::fclose(file.release()) == 0 ? 0 : errno;
}

}  // namespace tavrine::tool
