// Commands that turn each picture into a file: which file, and all of them on several threads.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "environment.h"

namespace tavrine::tool {

constexpr int32_t kMostJobs = 256;

// A command line of several pictures and one output.
struct PictureSet {
  std::vector<std::string> pictures;
  std::string output;               // a file, a folder or kStandardStream
  bool may_replace_inputs = false;  // in a folder
  int32_t jobs = 1;                 // pictures at a time
};

struct PictureTask {
  std::string input;
  std::string output;
};

// A new folder's name ends in '/'.
bool is_folder(const std::string &path);

// `extension` is that of files in a folder, without the dot. Throws UsageError when pictures and
// output do not fit each other, when two pictures would become the same file, and when a file in a
// folder would replace a picture that is read.
std::vector<PictureTask> plan_tasks(const PictureSet &set, const std::string &extension);

// Creates the folder if there is one, and calls `work` for each task. A picture that fails does not
// stop the others: when all are done, each failure is reported, in the order of the tasks. Shows
// progress for more than one task. Returns the exit status. `work` may throw Failure.
int run_tasks(Environment &environment, const PictureSet &set,
              const std::vector<PictureTask> &tasks,
              const std::function<void(const PictureTask &task)> &work);

}  // namespace tavrine::tool
