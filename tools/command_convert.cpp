#include "commands.h"
#include "device_frames.h"
#include "failure.h"
#include "input_file.h"
#include "picture_file.h"

namespace tavrine::tool {

namespace {

constexpr char kDefaultExtension[] = "png";

void convert(Environment &environment, const ConvertRequest &request, const PictureTask &task) {
  const std::string name = input_name(task.input);
  OwnedFrame frame = load_picture(environment, task.input, request.layout);
  if (request.on_device) {
    frame = to_device(frame, name);
  }
  for (const Operation &operation : request.operations) {
    frame = apply_operation(environment, operation, frame, name);
  }
  if (request.on_device) {
    frame = to_host(frame, name);
  }
  save_picture(environment, frame, Destination::at(task.output, request.extension));
}

}  // namespace

int run(Environment &environment, const ConvertRequest &request) {
  const PictureSet &set = request.set;
  const std::vector<PictureTask> tasks =
      plan_tasks(set, request.extension.empty() ? kDefaultExtension : request.extension);
  if (!is_folder(set.output)) {
    if (!request.extension.empty() && set.output != kStandardStream) {
      throw UsageError(set.output + ": --ext is for files in a folder and for standard output");
    }
    Destination::at(set.output, request.extension);
  }
  return run_tasks(environment, set, tasks,
                   [&](const PictureTask &task) { convert(environment, request, task); });
}

}  // namespace tavrine::tool
