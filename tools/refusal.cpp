#include "refusal.h"

#include "pixel_format.h"
#include "tavrine_core.h"

namespace tavrine::tool {

namespace {

constexpr char kEmptySize[] = "sizes must be positive";

std::string status_text(int32_t status) {
  switch (status) {
    case TAVRINE_INVALID_ARGUMENT:
      return "an argument does not fit the picture";
    case TAVRINE_FAILURE:
      return "out of memory, or not possible with this picture";
    case TAVRINE_NOT_SUPPORTED:
      return "not supported";
    default:
      return "failed with status " + std::to_string(status);
  }
}

}  // namespace

std::string refusal_reason(Environment &environment, int32_t status,
                           const std::string &explanation) {
  const std::string logged = environment.log.take_errors();
  if (explanation.empty()) {
    return logged.empty() ? status_text(status) : logged;
  }
  return logged.empty() ? explanation : explanation + " (" + logged + ")";
}

std::string explain_size(uint32_t format, const Size &size) {
  if (is_empty(size)) {
    return kEmptySize;
  }
  if (is_yuv420(format) && (size.width % 2 != 0 || size.height % 2 != 0)) {
    return std::string(pixel_format_name(format)) + " needs even sizes";
  }
  if (tavrine_frame_inferred_size(format, size.width, size.height) == 0) {
    return "too large for a frame";
  }
  return "";
}

std::string explain_area(const tavrine_frame_t &in, const tavrine_area2d_t &area) {
  if (is_empty({area.width, area.height})) {
    return kEmptySize;
  }
  const bool is_outside = area.x >= in.width || area.y >= in.height ||
                          int64_t{area.x} + area.width <= 0 || int64_t{area.y} + area.height <= 0;
  return is_outside ? "the area lies outside the picture of " + size_text(in.width, in.height) : "";
}

std::string explain_new_size(const tavrine_frame_t &in, const Size &size, int32_t status,
                             const char *operation) {
  if (in.pixel_format == TAVRINE_FORMAT_Y16) {
    return std::string("Y16 cannot be ") + operation + ", convert it with --format GREY first";
  }
  std::string problem = explain_size(in.pixel_format, size);
  if (!problem.empty() || status != TAVRINE_FAILURE) {
    return problem;
  }
  return "no memory for " + size_text(size.width, size.height) + " pixels";
}

std::string explain_conversion(const tavrine_frame_t &frame, uint32_t format, int32_t status) {
  if (status == TAVRINE_NOT_SUPPORTED) {
    return std::string(pixel_format_name(frame.pixel_format)) + " cannot be converted to " +
           pixel_format_name(format);
  }
  const std::string size_problem = explain_size(format, {frame.width, frame.height});
  return size_problem.empty()
             ? ""
             : size_problem + ", the picture is " + size_text(frame.width, frame.height);
}

}  // namespace tavrine::tool
