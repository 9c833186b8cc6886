// Areas of a picture, one X,Y,WIDTH,HEIGHT on each line; '#' starts a comment.
#pragma once

#include <istream>
#include <string>
#include <vector>

#include "tavrine_types.h"

namespace tavrine::tool {

struct Region {
  tavrine_area2d_t area;
  int line;  // in its file, counted from 1
};

// At least one. Throws Failure.
std::vector<Region> read_regions(const std::string &path);
// `path` is the name in failures.
std::vector<Region> read_regions(std::istream &file, const std::string &path);

// A region's place in failures: "line 3".
std::string line_text(int line);

}  // namespace tavrine::tool
