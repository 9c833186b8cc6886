// What the command line asks for, and the commands that do it. Each returns the exit status.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "environment.h"
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
};

struct VersionRequest {
  bool with_banner;
};

int run_info(Environment &environment, const InfoRequest &request);
int run_convert(Environment &environment, const ConvertRequest &request);
int run_version(const VersionRequest &request);

}  // namespace tavrine::tool
