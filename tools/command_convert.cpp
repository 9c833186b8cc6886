#include <filesystem>
#include <map>

#include "commands.h"
#include "device_frames.h"
#include "failure.h"
#include "input_file.h"
#include "picture_file.h"

namespace tavrine::tool {

namespace {

namespace fs = std::filesystem;

constexpr char kDefaultExtension[] = "png";

struct Task {
  std::string input;
  Destination output;
};

bool is_folder(const std::string &path) {
  std::error_code error;
  return (!path.empty() && path.back() == '/') || fs::is_directory(path, error);
}

// The file that a picture becomes in the folder.
std::string output_in_folder(const ConvertRequest &request, const std::string &input) {
  if (input == kStandardStream) {
    throw UsageError("-: standard input has no name for a file in " + request.output);
  }
  fs::path name = fs::path(input).stem();
  name += "." + (request.extension.empty() ? std::string(kDefaultExtension) : request.extension);
  return (fs::path(request.output) / name).string();
}

// No two pictures may become the same file, and a picture may replace itself or another one only
// if that was asked for.
void check_replacement(const ConvertRequest &request, const std::string &output) {
  if (request.may_replace_inputs) {
    return;
  }
  for (const std::string &input : request.pictures) {
    std::error_code error;
    if (fs::equivalent(input, output, error) && !error) {
      throw UsageError(output +
                       ": save: this would replace a picture that is read; add --replace "
                       "to allow that");
    }
  }
}

std::vector<Task> tasks_into_folder(const ConvertRequest &request) {
  std::map<std::string, std::string> input_of;
  std::vector<Task> tasks;
  for (const std::string &input : request.pictures) {
    const std::string output = output_in_folder(request, input);
    const auto [other, is_new] = input_of.emplace(output, input);
    if (!is_new) {
      throw UsageError(output + ": save: both " + other->second + " and " + input +
                       " would become this file");
    }
    check_replacement(request, output);
    tasks.push_back({input, Destination::at(output)});
  }
  return tasks;
}

std::vector<Task> plan(const ConvertRequest &request) {
  check_inputs(request.pictures);
  if (is_folder(request.output)) {
    return tasks_into_folder(request);
  }
  if (request.pictures.size() > 1) {
    throw UsageError(request.output +
                     ": several pictures need a folder; end a new folder's name with /");
  }
  if (!request.extension.empty() && request.output != kStandardStream) {
    throw UsageError(request.output + ": --ext is for files in a folder and for standard output");
  }
  return {{request.pictures.front(), Destination::at(request.output, request.extension)}};
}

void create_folder(const std::string &path) {
  std::error_code error;
  fs::create_directories(path, error);
  if (error) {
    throw Failure(path, "create folder", error.message());
  }
}

void convert(Environment &environment, const ConvertRequest &request, const Task &task) {
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
  save_picture(environment, frame, task.output);
}

}  // namespace

int run(Environment &environment, const ConvertRequest &request) {
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
