#include "results.h"

#include <algorithm>
#include <cstdio>

namespace tavrine::bench {
namespace {

constexpr int kNameWidth = 54;

double median_of(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  const size_t half = values.size() / 2;
  return values.size() % 2 != 0 ? values[half] : (values[half - 1] + values[half]) / 2;
}

const std::vector<double> *find(const Row &row, const std::string &who) {
  const auto found = std::find_if(row.times.begin(), row.times.end(),
                                  [&](const Times &times) { return times.who == who; });
  return found != row.times.end() ? &found->seconds : nullptr;
}

bool compares_builds(const std::vector<std::string> &contenders) {
  return std::find(contenders.begin(), contenders.end(), "there") != contenders.end();
}

std::string quoted(const std::string &text) { return "\"" + text + "\""; }

template <typename Items, typename Write>
void write_list(std::ostream &out, const Items &items, Write write) {
  const char *separator = "";
  for (const auto &item : items) {
    out << separator;
    write(item);
    separator = ", ";
  }
}

}  // namespace

// No name here holds a character that JSON escapes.
void write_json(std::ostream &out, const Context &context, const std::vector<Row> &rows) {
  out << "{\"context\": {";
  write_list(out, context, [&](const auto &entry) {
    out << quoted(entry.first) << ": " << quoted(entry.second);
  });
  out << "},\n\"rows\": [\n";
  const char *separator = "";
  for (const Row &row : rows) {
    out << separator << "{\"group\": " << quoted(name_of(row.operation.group))
        << ", \"name\": " << quoted(row.operation.name)
        << ", \"pixels\": " << output_pixels(row.operation) << ", \"heap\": " << row.heap_bytes
        << ", \"seconds\": {";
    write_list(out, row.times, [&](const Times &times) {
      out << quoted(times.who) << ": [";
      write_list(out, times.seconds, [&](double seconds) { out << seconds; });
      out << "]";
    });
    out << "}}";
    separator = ",\n";
  }
  out << "\n]}\n";
}

void print_header(const std::vector<std::string> &contenders) {
  std::printf("%-*s", kNameWidth, "microseconds, median of the allocations");
  for (const std::string &who : contenders) {
    std::printf(" %9s", who.c_str());
  }
  if (compares_builds(contenders)) {
    std::printf(" %6s %7s %7s", "gain", "lowest", "highest");
  }
  std::printf("\n");
}

void print_row(const Row &row, const std::vector<std::string> &contenders) {
  std::printf("%-*s", kNameWidth, row.operation.name.c_str());
  for (const std::string &who : contenders) {
    if (const std::vector<double> *seconds = find(row, who)) {
      std::printf(" %9.1f", 1e6 * median_of(*seconds));
    } else {
      std::printf(" %9s", "-");
    }
  }
  if (compares_builds(contenders)) {
    std::vector<double> gains = *find(row, "there");
    const std::vector<double> &here = *find(row, "library");
    std::transform(gains.begin(), gains.end(), here.begin(), gains.begin(), std::divides<>());
    const auto [lowest, highest] = std::minmax_element(gains.begin(), gains.end());
    std::printf(" %6.2f %7.2f %7.2f", median_of(gains), *lowest, *highest);
  }
  std::printf("\n");
  std::fflush(stdout);
}

}  // namespace tavrine::bench
