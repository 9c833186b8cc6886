// What the command line asks for, and the commands that do it. Each returns the exit status.
#pragma once

#include <array>
#include <optional>
#include <string>
#include <vector>

#include "environment.h"
#include "numbers.h"
#include "operations.h"
#include "picture_file.h"
#include "picture_tasks.h"
#include "raw_frame.h"

namespace tavrine::tool {

struct InfoRequest {
  std::vector<std::string> pictures;
  std::optional<RawLayout> layout;
};

struct ConvertRequest {
  PictureSet set;
  std::string extension;  // of files in a folder or of standard output; empty: not given
  std::optional<RawLayout> layout;
  std::vector<Operation> operations;
  bool on_device = false;
};

struct AlignRequest {
  std::string picture;
  Destination output;
  std::optional<RawLayout> layout;
  std::array<tavrine_point2f_t, 3> points;  // left eye, right eye, mouth
  Size size;
};

struct TensorRequest {
  PictureSet set;
  std::optional<RawLayout> layout;
  std::string regions_file;  // empty: the whole picture
  Size size{};
  int32_t color_type = 0;
  int32_t element_type = 0;
  int32_t resize_mode = 0;
  bool on_device = false;
  std::array<float, 3> mean{}, scale{}, padding{};  // red, green, blue
};

struct CompareRequest {
  std::string first, second;
  std::optional<RawLayout> layout;
  std::optional<int32_t> tolerance;   // none: any difference is accepted
  std::optional<Destination> output;  // a picture of the differences
};

struct VersionRequest {
  bool with_banner;
};

int run(Environment &environment, const InfoRequest &request);
int run(Environment &environment, const ConvertRequest &request);
int run(Environment &environment, const AlignRequest &request);
int run(Environment &environment, const TensorRequest &request);
int run(Environment &environment, const CompareRequest &request);
int run(Environment &environment, const VersionRequest &request);

}  // namespace tavrine::tool
