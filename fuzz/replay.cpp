// Runs a harness on the kept inputs, without a fuzzer:
//   fuzz_replay HARNESS FOLDER
// reads FOLDER/corpus/HARNESS, which must not be empty, and FOLDER/findings/HARNESS.
#include <glob.h>

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "fuzz/harness.h"

namespace {

struct Named {
  const char *name;
  tavrine::fuzz::Harness *run;
};

constexpr Named kHarnesses[] = {{"picture", tavrine::fuzz::picture},
                                {"tool_arguments", tavrine::fuzz::tool_arguments},
                                {"batch", tavrine::fuzz::batch},
                                {"sequence", tavrine::fuzz::sequence}};

void run(const Named &harness, const char *path) {
  // Printed before the run, which may not return.
  std::fprintf(stderr, "%s\n", path);
  FILE *file = std::fopen(path, "rb");
  if (file == nullptr) {
    std::abort();
  }
  std::vector<uint8_t> bytes;
  for (int byte = std::fgetc(file); byte != EOF; byte = std::fgetc(file)) {
    bytes.push_back(static_cast<uint8_t>(byte));
  }
  std::fclose(file);
  harness.run(bytes.data(), bytes.size());
}

// In the order of their names. Returns how many there are.
size_t run_all(const Named &harness, const char *folder, const char *kind) {
  char pattern[PATH_MAX];
  std::snprintf(pattern, sizeof pattern, "%s/%s/%s/*", folder, kind, harness.name);
  glob_t files{};
  const size_t count = glob(pattern, 0, nullptr, &files) == 0 ? files.gl_pathc : 0;
  for (size_t i = 0; i < count; ++i) {
    run(harness, files.gl_pathv[i]);
  }
  globfree(&files);
  return count;
}

}  // namespace

// Uses no C++ library that is compiled elsewhere: the memory sanitizer would not see what it
// writes.
int main(int argc, char **argv) {
  if (argc != 3) {
    std::fprintf(stderr, "usage: fuzz_replay HARNESS FOLDER\n");
    return 2;
  }
  for (const Named &harness : kHarnesses) {
    if (std::strcmp(harness.name, argv[1]) == 0) {
      const size_t count = run_all(harness, argv[2], "corpus");
      if (count == 0) {
        std::fprintf(stderr, "%s has no inputs\n", harness.name);
        return 1;
      }
      std::fprintf(stderr, "%zu inputs\n", count + run_all(harness, argv[2], "findings"));
      return 0;
    }
  }
  std::fprintf(stderr, "there is no harness %s\n", argv[1]);
  return 2;
}
