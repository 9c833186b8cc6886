#include "numbers.h"

#include <charconv>
#include <cmath>
#include <cstdlib>
#include <iterator>

#include "failure.h"

namespace tavrine::tool {

namespace {

std::vector<std::string> fields_of(const std::string &text) {
  constexpr char kBlanks[] = " \t\r";
  std::vector<std::string> fields;
  size_t begin = 0;
  while (begin != std::string::npos) {
    const size_t comma = text.find(',', begin);
    const std::string field =
        text.substr(begin, comma == std::string::npos ? comma : comma - begin);
    const size_t first = field.find_first_not_of(kBlanks);
    fields.push_back(first == std::string::npos
                         ? ""
                         : field.substr(first, field.find_last_not_of(kBlanks) - first + 1));
    begin = comma == std::string::npos ? comma : comma + 1;
  }
  return fields;
}

}  // namespace

std::optional<int32_t> parse_integer(const std::string &text) {
  int32_t value = 0;
  const char *end = text.data() + text.size();
  const auto result = std::from_chars(text.data(), end, value);
  if (result.ec != std::errc() || result.ptr != end) {
    return std::nullopt;
  }
  return value;
}

std::optional<float> parse_number(const std::string &text) {
  // strtof also accepts hexadecimal numbers, infinities and NaN.
  if (text.empty() || text.find_first_not_of("+-.0123456789eE") != std::string::npos) {
    return std::nullopt;
  }
  char *end = nullptr;
  const float number = std::strtof(text.c_str(), &end);
  if (*end != '\0' || !std::isfinite(number)) {
    return std::nullopt;
  }
  return number;
}

std::optional<std::vector<float>> parse_numbers(const std::string &text) {
  std::vector<float> numbers;
  for (const std::string &field : fields_of(text)) {
    const auto number = parse_number(field);
    if (!number) {
      return std::nullopt;
    }
    numbers.push_back(*number);
  }
  return numbers;
}

std::optional<tavrine_area2d_t> parse_area(const std::string &text) {
  const std::vector<std::string> fields = fields_of(text);
  int32_t numbers[4] = {};
  if (fields.size() != std::size(numbers)) {
    return std::nullopt;
  }
  for (size_t index = 0; index < fields.size(); ++index) {
    const auto number = parse_integer(fields[index]);
    if (!number) {
      return std::nullopt;
    }
    numbers[index] = *number;
  }
  return tavrine_area2d_t{numbers[0], numbers[1], numbers[2], numbers[3]};
}

std::optional<Size> parse_size(const std::string &text) {
  const size_t separator = text.find_first_of("xX");
  if (separator == std::string::npos) {
    return std::nullopt;
  }
  const auto width = parse_integer(text.substr(0, separator));
  const auto height = parse_integer(text.substr(separator + 1));
  if (!width || !height) {
    return std::nullopt;
  }
  return Size{*width, *height};
}

Size size_of_option(const std::string &option, const std::string &value) {
  const auto size = parse_size(value);
  if (!size || is_empty(*size)) {
    throw UsageError(option + ": '" + value + "' is not WIDTHxHEIGHT, like 640x480");
  }
  return *size;
}

std::string size_text(int32_t width, int32_t height) {
  return std::to_string(width) + "x" + std::to_string(height);
}

}  // namespace tavrine::tool
