#include "raw_frame.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>

#include "failure.h"
#include "frame_rows.h"
#include "input_file.h"
#include "numbers.h"
#include "pixel_format.h"
#include "refusal.h"

namespace tavrine::tool {

namespace {

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
    throw UsageError("--in: '" + text.substr(0, colon) + "' is not a pixel format, there are " +
                     pixel_format_names());
  }
  const std::string problem = explain_size(*format, *size);
  if (!problem.empty()) {
    throw UsageError("--in " + text + ": " + problem);
  }
  const size_t bytes = tavrine_frame_inferred_size(*format, size->width, size->height);
  return {*format, size->width, size->height, bytes};
}

OwnedFrame read_raw_frame(const std::string &path, const RawLayout &layout) {
  const std::string name = input_name(path);
  const std::string operation = "read " + layout_text(layout);
  const OwnedFile file = open_input(path);
  if (!file) {
    throw Failure(name, operation, std::strerror(errno));
  }
  // A regular file's size is checked before memory is allocated.
  std::error_code no_size;
  const auto file_size = std::filesystem::file_size(path, no_size);
  if (!no_size && file_size != layout.bytes) {
    throw Failure(name, operation, wrong_size(layout, std::to_string(file_size)));
  }
  const int32_t core_chooses_strides[TAVRINE_MAX_PLANES] = {};
  OwnedFrame frame(tavrine_frame_alloc(TAVRINE_MEMORY_HOST, layout.format, layout.width,
                                       layout.height, core_chooses_strides, 0));
  if (!frame) {
    throw Failure(name, operation, "out of memory");
  }
  size_t total = 0;
  const bool is_complete = for_each_row(*frame.get(), [&](uint8_t *row, size_t bytes) {
    const size_t count = std::fread(row, 1, bytes, file.get());
    total += count;
    return count == bytes;
  });
  if (std::ferror(file.get()) != 0) {
    throw Failure(name, operation, std::strerror(errno));
  }
  if (!is_complete) {
    throw Failure(name, operation, wrong_size(layout, std::to_string(total)));
  }
  if (std::fgetc(file.get()) != EOF) {
    throw Failure(name, operation, wrong_size(layout, "more"));
  }
  return frame;
}

void write_raw_frame(const tavrine_frame_t &frame, OutputFile &output) {
  for_each_row(frame, [&](const uint8_t *row, size_t bytes) {
    output.write(row, bytes);
    return true;
  });
}

}  // namespace tavrine::tool
