// Areas of a picture, one X,Y,WIDTH,HEIGHT on a line; '#' begins a comment.
#pragma once

#include <istream>
#include <string>
#include <vector>

#include "tavrine_types.h"

namespace tavrine::tool {

struct Region {
  tavrine_area2d_t area;
  int line;  // in its file, from 1 on
};

// At least one. Throws Failure.
std::vector<Region> read_regions(const std::string &path);
// `path` is what a failure names.
std::vector<Region> read_regions(std::istream &file, const std::string &path);

// How a failure names a region's place: "line 3".
std::string line_text(int line);

}  // namespace tavrine::tool
