// The command line of `tensor`.
#pragma once

#include "commands.h"
#include "common_options.h"

namespace tavrine::tool {

struct TensorTexts {
  std::string size;
  std::string color = "rgb";
  std::string type = "f32";
  std::string mean = "0";
  std::string scale = "1";
  std::string padding = "0";
  std::string regions;
  std::string mode = "fit";
};

CLI::App *add_tensor_command(CLI::App &app, Texts &texts, TensorTexts &tensor);
TensorRequest tensor_request(const Texts &texts, const TensorTexts &tensor);  // throws UsageError

}  // namespace tavrine::tool
