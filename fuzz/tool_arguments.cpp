// The first byte selects what the text is: a command line with one argument on each line, a
// regions file, or the layout of raw frames.
#include <sstream>
#include <string>
#include <vector>

#include "command_line.h"
#include "failure.h"
#include "fuzz/harness.h"
#include "fuzz/watch.h"
#include "regions_file.h"

namespace tavrine::fuzz {
namespace {

// Runs nothing, but asks every operation why it would fail.
void explain(const tool::ConvertRequest &request) {
  tavrine_frame_t frame{};
  frame.pixel_format = TAVRINE_FORMAT_NV12;
  frame.width = 64;
  frame.height = 48;
  for (const tool::Operation &operation : request.operations) {
    require(!operation.description.empty(), "an operation without description");
    operation.explain(frame, TAVRINE_FAILURE);
    operation.explain(frame, TAVRINE_INVALID_ARGUMENT);
  }
}

void read_lines_as_arguments(const std::string &text) {
  std::vector<std::string> arguments = {"tavrine-aux"};
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    arguments.push_back(line);
  }
  std::vector<const char *> pointers;
  pointers.reserve(arguments.size() + 1);
  for (const std::string &argument : arguments) {
    pointers.push_back(argument.c_str());
  }
  pointers.push_back(nullptr);
  const auto command = tool::read_command_line(static_cast<int>(arguments.size()), pointers.data());
  if (command && std::holds_alternative<tool::ConvertRequest>(command->request)) {
    explain(std::get<tool::ConvertRequest>(command->request));
  }
}

}  // namespace

void tool_arguments(const uint8_t *data, size_t size) {
  const Watch watch;
  if (size == 0) {
    return;
  }
  const std::string text(reinterpret_cast<const char *>(data) + 1, size - 1);
  // These two are reported to the user; any other exception is a fault.
  try {
    switch (data[0]) {
      case 'r': {
        std::istringstream file(text);
        require(!tool::read_regions(file, "regions.txt").empty(), "no regions, and no failure");
        break;
      }
      case 'l':
        require(tool::parse_raw_layout(text).bytes > 0, "a raw frame without bytes");
        break;
      default:
        read_lines_as_arguments(text);
        break;
    }
  } catch (const tool::Failure &) {
  } catch (const tool::UsageError &) {
  }
}

}  // namespace tavrine::fuzz
