// What the command line asks for, and the commands that do it. Each returns the exit status.
#pragma once

#include <array>
#include <optional>
#include <string>
#include <vector>

#include "environment.h"
#include "numbers.h"
#include "operations.h"
#include "raw_frame.h"

namespace tavrine::tool {

struct InfoRequest {
  std::vector<std::string> pictures;
  std::optional<RawLayout> layout;
};

struct ConvertRequest {
  std::vector<std::string> pictures;
  std::string output;
  std::string folder_extension;  // of pictures in a folder; empty: not asked for
  std::optional<RawLayout> layout;
  std::vector<Operation> operations;
  bool on_device = false;
};

struct AlignRequest {
  std::string picture;
  std::string output;
  std::optional<RawLayout> layout;
  std::array<tavrine_point2f_t, 3> points;  // left eye, right eye, mouth
  Size size;
};

struct TensorRequest {
  std::string picture;
  std::string output;
  std::optional<RawLayout> layout;
  std::string regions_file;  // empty: the whole picture
  Size size{};
  int32_t color_type = 0;
  int32_t element_type = 0;
  int32_t resize_mode = 0;
  bool on_device = false;
  std::array<float, 3> mean{}, scale{}, padding{};  // red, green, blue
};

struct VersionRequest {
  bool with_banner;
};

int run_info(Environment &environment, const InfoRequest &request);
int run_convert(Environment &environment, const ConvertRequest &request);
int run_align(Environment &environment, const AlignRequest &request);
int run_tensor(Environment &environment, const TensorRequest &request);
int run_version(const VersionRequest &request);

}  // namespace tavrine::tool
