#include <cstdio>
#include <filesystem>

#include "commands.h"
#include "failure.h"
#include "input_file.h"
#include "picture_file.h"
#include "pixel_format.h"

namespace tavrine::tool {

namespace {

void print_info(const std::string &path, const tavrine_frame_t &frame) {
  const size_t pixel_bytes =
      tavrine_frame_inferred_size(frame.pixel_format, frame.width, frame.height);
  std::error_code error;
  const auto file_bytes = std::filesystem::file_size(path, error);
  const std::string on_disk = error ? "" : ", " + std::to_string(file_bytes) + " on disk";
  std::printf("%s: %s %s, %zu bytes of pixels%s\n", input_name(path).c_str(),
              pixel_format_name(frame.pixel_format), size_text(frame.width, frame.height).c_str(),
              pixel_bytes, on_disk.c_str());
}

}  // namespace

int run(Environment &environment, const InfoRequest &request) {
  int status = 0;
  for (const std::string &path : request.pictures) {
    try {
      print_info(path, *load_picture(environment, path, request.layout).get());
    } catch (const Failure &failure) {
      environment.console.line(failure.what());
      status = 1;
    }
  }
  return status;
}

}  // namespace tavrine::tool
