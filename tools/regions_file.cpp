#include "regions_file.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>

#include "failure.h"
#include "numbers.h"

namespace tavrine::tool {

namespace {

constexpr char kOperation[] = "read regions";
constexpr char kByteOrderMark[] = "\xEF\xBB\xBF";  // some editors begin UTF-8 files with it

// Bytes that a terminal may not show are written as numbers.
std::string quoted(const std::string &text) {
  std::string result = "'";
  for (const char character : text) {
    if (character >= ' ' && character <= '~') {
      result += character;
    } else {
      char escaped[8];
      std::snprintf(escaped, sizeof(escaped), "\\x%02X", static_cast<unsigned char>(character));
      result += escaped;
    }
  }
  return result + "'";
}

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
    if (line == 1 && text.rfind(kByteOrderMark, 0) == 0) {
      text.erase(0, std::strlen(kByteOrderMark));
    }
    text.erase(std::min(text.find('#'), text.size()));
    if (text.find_first_not_of(" \t\r") == std::string::npos) {
      continue;
    }
    const auto area = parse_area(text);
    if (!area) {
      throw Failure(path, line_text(line),
                    quoted(text) + " is not X,Y,WIDTH,HEIGHT, like 100,50,640,480");
    }
    regions.push_back({*area, line});
  }
  if (!file.eof()) {
    throw Failure(path, kOperation, std::strerror(errno));
  }
  if (regions.empty()) {
    throw Failure(path, kOperation, "the file has no regions");
  }
  return regions;
}

}  // namespace tavrine::tool
