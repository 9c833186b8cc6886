#include "regions_file.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>

#include "failure.h"
#include "numbers.h"

namespace tavrine::tool {

namespace {

constexpr char kOperation[] = "read regions";

}  // namespace

std::string line_text(int line) { return "line " + std::to_string(line); }

std::vector<Region> read_regions(const std::string &path) {
  errno = 0;
  std::ifstream file(path);
  return read_regions(file, path);
}

std::vector<Region> read_regions(std::istream &file, const std::string &path) {
  std::vector<Region> regions;
  std::string text;
  for (int line = 1; std::getline(file, text); ++line) {
    text.erase(std::min(text.find('#'), text.size()));
    if (text.find_first_not_of(" \t\r") == std::string::npos) {
      continue;
    }
    const auto area = parse_area(text);
    if (!area) {
      throw Failure(path, line_text(line),
                    "'" + text + "' is not X,Y,WIDTH,HEIGHT, like 100,50,640,480");
    }
    regions.push_back({*area, line});
  }
  if (!file.eof()) {
    throw Failure(path, kOperation, std::strerror(errno));
  }
  if (regions.empty()) {
    throw Failure(path, kOperation, "there are none");
  }
  return regions;
}

}  // namespace tavrine::tool
