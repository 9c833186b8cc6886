// What was measured, as a table for the console and as JSON for the report.
#pragma once

#include <cstdint>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "operations.h"

namespace tavrine::bench {

struct Times {
  std::string who;
  std::vector<double> seconds;  // one for each allocation
};

struct Row {
  Operation operation;
  int64_t heap_bytes = 0;  // that one call takes at its peak
  std::vector<Times> times;
};

using Context = std::vector<std::pair<std::string, std::string>>;

void write_json(std::ostream &out, const Context &context, const std::vector<Row> &rows);

// One line: the medians of all contenders in microseconds and, if there is a "there", how many
// times as long as "library" it takes.
void print_header(const std::vector<std::string> &contenders);
void print_row(const Row &row, const std::vector<std::string> &contenders);

}  // namespace tavrine::bench
