// Runs a harness on the kept inputs, without a fuzzer:
//   fuzz_replay HARNESS FOLDER
// reads FOLDER/corpus/HARNESS, which must not be empty, and FOLDER/findings/HARNESS.
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <string>
#include <vector>

#include "fuzz/harness.h"

namespace {

namespace fs = std::filesystem;

std::vector<fs::path> files_in(const fs::path &folder) {
  std::vector<fs::path> files;
  if (fs::is_directory(folder)) {
    for (const auto &entry : fs::directory_iterator(folder)) {
      files.push_back(entry.path());
    }
  }
  std::sort(files.begin(), files.end());
  return files;
}

void run(tavrine::fuzz::Harness *harness, const fs::path &path) {
  // Printed before the run, which may not return.
  std::fprintf(stderr, "%s\n", path.filename().c_str());
  std::ifstream file(path, std::ios::binary);
  const std::vector<char> bytes{std::istreambuf_iterator<char>(file),
                                std::istreambuf_iterator<char>()};
  harness(reinterpret_cast<const uint8_t *>(bytes.data()), bytes.size());
}

}  // namespace

int main(int argc, char **argv) {
  if (argc != 3) {
    std::fprintf(stderr, "usage: fuzz_replay HARNESS FOLDER\n");
    return 2;
  }
  const std::map<std::string, tavrine::fuzz::Harness *> harnesses = {
      {"picture", tavrine::fuzz::picture},
      {"tool_arguments", tavrine::fuzz::tool_arguments},
      {"batch", tavrine::fuzz::batch},
      {"sequence", tavrine::fuzz::sequence}};
  const std::string name = argv[1];
  const auto harness = harnesses.find(name);
  if (harness == harnesses.end()) {
    std::fprintf(stderr, "there is no harness %s\n", name.c_str());
    return 2;
  }
  const fs::path folder = argv[2];
  const std::vector<fs::path> corpus = files_in(folder / "corpus" / name);
  const std::vector<fs::path> findings = files_in(folder / "findings" / name);
  if (corpus.empty()) {
    std::fprintf(stderr, "%s has no inputs\n", (folder / "corpus" / name).c_str());
    return 1;
  }
  for (const auto &files : {corpus, findings}) {
    for (const fs::path &file : files) {
      run(harness->second, file);
    }
  }
  std::fprintf(stderr, "%zu inputs\n", corpus.size() + findings.size());
  return 0;
}
