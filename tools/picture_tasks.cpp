#include "picture_tasks.h"

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <map>
#include <new>
#include <system_error>
#include <thread>

#include "ending_signals.h"
#include "failure.h"
#include "input_file.h"
#include "output_file.h"

namespace tavrine::tool {

namespace {

namespace fs = std::filesystem;

// The file that a picture becomes in the folder.
std::string output_in_folder(const std::string &folder, const std::string &extension,
                             const std::string &input) {
  if (input == kStandardStream) {
    throw UsageError("-: standard input has no name for a file in " + folder);
  }
  fs::path name = fs::path(input).stem();
  name += "." + extension;
  return (fs::path(folder) / name).string();
}

// A picture may replace itself or another one only if that was asked for.
void check_replacement(const PictureSet &set, const std::string &output) {
  if (set.may_replace_inputs) {
    return;
  }
  std::error_code error;
  if (!fs::exists(output, error)) {
    return;
  }
  for (const std::string &input : set.pictures) {
    if (fs::equivalent(input, output, error) && !error) {
      throw UsageError(output +
                       ": save: this would replace a picture that is read; add --replace "
                       "to allow that");
    }
  }
}

void create_folder(const std::string &path) {
  std::error_code error;
  fs::create_directories(path, error);
  if (error) {
    throw Failure(path, "create folder", error.message());
  }
}

// Empty when it succeeded.
std::string failure_of(const PictureTask &task,
                       const std::function<void(const PictureTask &)> &work) {
  try {
    work(task);
    return "";
  } catch (const std::bad_alloc &) {
    return input_name(task.input) + ": out of memory";
  } catch (const std::exception &error) {
    return error.what();
  }
}

// Calls `work` on up to `count` threads and waits for all of them. They leave signals to this one.
void run_on_threads(size_t count, const std::function<void()> &work) {
  std::vector<std::thread> threads;
  {
    const BlockedSignals blocked;
    try {
      while (threads.size() < count) {
        threads.emplace_back(work);
      }
    } catch (const std::system_error &) {
      // Fewer threads do the same work.
    }
  }
  if (threads.empty()) {
    work();
  }
  for (std::thread &thread : threads) {
    thread.join();
  }
}

}  // namespace

bool is_folder(const std::string &path) {
  std::error_code error;
  return (!path.empty() && path.back() == '/') || fs::is_directory(path, error);
}

std::vector<PictureTask> plan_tasks(const PictureSet &set, const std::string &extension) {
  check_inputs(set.pictures);
  if (!is_folder(set.output)) {
    if (set.pictures.size() > 1) {
      throw UsageError(set.output +
                       ": several pictures need a folder; end a new folder's name with /");
    }
    return {{set.pictures.front(), set.output}};
  }
  std::map<std::string, std::string> input_of;
  std::vector<PictureTask> tasks;
  for (const std::string &input : set.pictures) {
    const std::string output = output_in_folder(set.output, extension, input);
    const auto [other, is_new] = input_of.emplace(output, input);
    if (!is_new) {
      throw UsageError(output + ": save: both " + other->second + " and " + input +
                       " would become this file");
    }
    check_replacement(set, output);
    tasks.push_back({input, output});
  }
  return tasks;
}

int run_tasks(Environment &environment, const PictureSet &set,
              const std::vector<PictureTask> &tasks,
              const std::function<void(const PictureTask &task)> &work) {
  if (is_folder(set.output)) {
    create_folder(set.output);
  }
  std::vector<std::string> failures(tasks.size());
  std::atomic<size_t> next{0};
  const auto work_on_next = [&] {
    for (size_t index = next++; index < tasks.size(); index = next++) {
      if (tasks.size() > 1) {
        environment.console.progress(index + 1, tasks.size(), tasks[index].input);
      }
      failures[index] = failure_of(tasks[index], work);
    }
  };
  const size_t jobs = std::min(static_cast<size_t>(set.jobs), tasks.size());
  if (jobs > 1) {
    run_on_threads(jobs, work_on_next);
  } else {
    work_on_next();
  }
  int status = 0;
  for (const std::string &failure : failures) {
    if (!failure.empty()) {
      environment.console.line(failure);
      status = 1;
    }
  }
  return status;
}

}  // namespace tavrine::tool
