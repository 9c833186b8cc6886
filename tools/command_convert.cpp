#include <filesystem>
#include <map>

#include "commands.h"
#include "device_frames.h"
#include "failure.h"
#include "picture_file.h"

namespace tavrine::tool {

namespace {

namespace fs = std::filesystem;

constexpr char kDefaultExtension[] = "png";

struct Task {
  std::string input;
  std::string output;
};

bool is_folder(const std::string &path) {
  std::error_code error;
  return (!path.empty() && path.back() == '/') || fs::is_directory(path, error);
}

// One of the two would be lost.
[[noreturn]] void refuse_collision(const std::string &output, const std::string &first,
                                   const std::string &second) {
  throw UsageError(output + ": save: both " + first + " and " + second + " would become this file");
}

std::vector<Task> tasks_into_folder(const ConvertRequest &request) {
  const std::string extension =
      "." + (request.folder_extension.empty() ? std::string(kDefaultExtension)
                                              : request.folder_extension);
  std::map<std::string, std::string> input_of;
  std::vector<Task> tasks;
  for (const std::string &input : request.pictures) {
    fs::path name = fs::path(input).stem();
    name += extension;
    const std::string output = (fs::path(request.output) / name).string();
    const auto [other, is_new] = input_of.emplace(output, input);
    if (!is_new) {
      refuse_collision(output, other->second, input);
    }
    tasks.push_back({input, output});
  }
  return tasks;
}

std::vector<Task> plan(const ConvertRequest &request) {
  if (is_folder(request.output)) {
    return tasks_into_folder(request);
  }
  if (request.pictures.size() > 1) {
    throw UsageError(request.output +
                     ": several pictures need a folder; end a new folder's name with /");
  }
  if (!request.folder_extension.empty()) {
    throw UsageError(request.output + ": --ext is for pictures in a folder, name the file instead");
  }
  check_output_name(request.output);
  return {{request.pictures.front(), request.output}};
}

void create_folder(const std::string &path) {
  std::error_code error;
  fs::create_directories(path, error);
  if (error) {
    throw Failure(path, "create folder", error.message());
  }
}

void convert(Environment &environment, const ConvertRequest &request, const Task &task) {
  OwnedFrame frame = load_picture(environment, task.input, request.layout);
  if (request.on_device) {
    frame = to_device(frame, task.input);
  }
  for (const Operation &operation : request.operations) {
    frame = apply_operation(environment, operation, frame, task.input);
  }
  if (request.on_device) {
    frame = to_host(frame, task.input);
  }
  save_picture(environment, frame, task.output);
}

}  // namespace

int run_convert(Environment &environment, const ConvertRequest &request) {
  const std::vector<Task> tasks = plan(request);
  if (is_folder(request.output)) {
    create_folder(request.output);
  }
  int status = 0;
  for (size_t index = 0; index < tasks.size(); ++index) {
    if (tasks.size() > 1) {
      environment.console.progress(index + 1, tasks.size(), tasks[index].input);
    }
    try {
      convert(environment, request, tasks[index]);
    } catch (const Failure &failure) {
      environment.console.line(failure.what());
      status = 1;
    }
  }
  return status;
}

}  // namespace tavrine::tool
