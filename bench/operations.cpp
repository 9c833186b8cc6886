#include "operations.h"

#include <cmath>

#include "tavrine_core.h"

namespace tavrine::bench {
namespace {

struct Size {
  int32_t width;
  int32_t height;
};

constexpr Size kFullHd = {1920, 1080};
constexpr Size kVga = {640, 480};
constexpr Size kFace = {112, 112};
constexpr double kRadiansPerDegree = 3.14159265358979323846 / 180.0;

std::string text_of(const Size &size) {
  return std::to_string(size.width) + "x" + std::to_string(size.height);
}

Picture picture(uint32_t format, const Size &size, Content content = Content::kNoise) {
  return {format, size.width, size.height, content};
}

Operation resize(uint32_t format, const Size &from, const Size &to) {
  const bool is_downscale = (from.width == 2 * to.width && from.height == 2 * to.height) ||
                            (from.width == 4 * to.width && from.height == 4 * to.height);
  return {std::string("resize ") + tavrine_frame_pixfmt_to_string(format) + " " + text_of(from) +
              " to " + text_of(to),
          is_downscale ? Group::kDownscale : Group::kResize, Kind::kResize, picture(format, from),
          picture(format, to)};
}

Operation rotate(uint32_t format, int32_t code) {
  const bool is_half = code == 1;
  const Size rotated = is_half ? kFullHd : Size{kFullHd.height, kFullHd.width};
  Operation operation = {std::string("rotate ") + tavrine_frame_pixfmt_to_string(format) + " by " +
                             std::to_string(90 * (code + 1)),
                         is_half ? Group::kMove : Group::kQuarterRotation, Kind::kRotate,
                         picture(format, kFullHd), picture(format, rotated)};
  operation.rotation = code;
  return operation;
}

Operation convert(uint32_t from, uint32_t to, Group group) {
  return {std::string(tavrine_frame_pixfmt_to_string(from)) + " to " +
              tavrine_frame_pixfmt_to_string(to),
          group, Kind::kConvert, picture(from, kFullHd), picture(to, kFullHd)};
}

Operation warp(const std::string &name, Kind kind, uint32_t format, const Size &to,
               const Matrix &matrix) {
  Operation operation = {name + " " + tavrine_frame_pixfmt_to_string(format) + " to " + text_of(to),
                         Group::kWarp, kind, picture(format, kFullHd), picture(format, to)};
  operation.matrix = matrix;
  return operation;
}

Operation tensor(const Size &size) {
  return {"RGB24 " + text_of(size) + " to float tensor", Group::kTensor, Kind::kTensor,
          picture(TAVRINE_FORMAT_RGB24, size), picture(TAVRINE_FORMAT_RGB24, size)};
}

// Rotates and scales about the centre of the destination, and moves it to (center_x, center_y).
Matrix rotation_about(double degrees, double scale, const Size &to, double center_x,
                      double center_y) {
  const double a = std::cos(degrees * kRadiansPerDegree) * scale;
  const double b = std::sin(degrees * kRadiansPerDegree) * scale;
  const double x = (to.width - 1) / 2.0;
  const double y = (to.height - 1) / 2.0;
  return {static_cast<float>(a),
          static_cast<float>(-b),
          static_cast<float>(center_x - a * x + b * y),
          static_cast<float>(b),
          static_cast<float>(a),
          static_cast<float>(center_y - b * x - a * y),
          0.0F,
          0.0F,
          1.0F};
}

// The same map, seen a little from the side.
Matrix tilted(Matrix matrix, const Size &to) {
  matrix[6] = 0.1F / static_cast<float>(to.width);
  matrix[7] = 0.05F / static_cast<float>(to.height);
  return matrix;
}

Operation to_grey(const std::string &name, Content content) {
  return {"RGB24 to GREY, " + name, Group::kColor, Kind::kConvert,
          picture(TAVRINE_FORMAT_RGB24, kFullHd, content), picture(TAVRINE_FORMAT_GREY, kFullHd)};
}

// What an application does with a frame before a network sees it.
void append_pipelines(std::vector<Operation> &operations) {
  const Picture camera = picture(TAVRINE_FORMAT_NV12, kFullHd);
  const Picture detector = picture(TAVRINE_FORMAT_RGB24, {300, 300});
  operations.push_back({"NV12 1920x1080 to 3x300x300 floats, converted first", Group::kPipeline,
                        Kind::kConvertThenResize, camera, detector});
  operations.push_back({"NV12 1920x1080 to 3x300x300 floats, resized first", Group::kPipeline,
                        Kind::kResizeThenConvert, camera, detector});
  operations.push_back({"face of RGB24 1920x1080 aligned to 3x112x112 floats", Group::kPipeline,
                        Kind::kAlignFace, picture(TAVRINE_FORMAT_RGB24, kFullHd),
                        picture(TAVRINE_FORMAT_RGB24, kFace)});
  operations.push_back({"JPEG 1920x1080 to 3x300x300 floats", Group::kPipeline, Kind::kJpegToTensor,
                        picture(TAVRINE_FORMAT_RGB24, kFullHd, Content::kPhotograph), detector});
}

void append_warps(std::vector<Operation> &operations) {
  const Matrix whole =
      rotation_about(10.0, 1.0, kFullHd, (kFullHd.width - 1) / 2.0, (kFullHd.height - 1) / 2.0);
  const Matrix face = rotation_about(12.0, 2.0, kFace, 900.0, 400.0);
  const uint32_t formats[] = {TAVRINE_FORMAT_GREY, TAVRINE_FORMAT_RGB24};
  for (const uint32_t format : formats) {
    operations.push_back(
        warp("affine warp by 10 degrees", Kind::kAffineWarp, format, kFullHd, whole));
  }
  for (const uint32_t format : formats) {
    operations.push_back(warp("affine face crop", Kind::kAffineWarp, format, kFace, face));
  }
  for (const uint32_t format : formats) {
    operations.push_back(
        warp("perspective warp", Kind::kPerspectiveWarp, format, kFullHd, tilted(whole, kFullHd)));
  }
  for (const uint32_t format : formats) {
    operations.push_back(
        warp("perspective face crop", Kind::kPerspectiveWarp, format, kFace, tilted(face, kFace)));
  }
}

}  // namespace

const std::array<tavrine_area2d_t, kRegionCount> kRegions = {{
    {40, 60, 420, 420},
    {500, 100, 300, 300},
    {860, 40, 512, 384},
    {1400, 80, 480, 640},
    {100, 560, 240, 320},
    {420, 520, 600, 500},
    {1060, 500, 330, 550},
    {1500, 760, 360, 300},
}};

const std::array<tavrine_point2f_t, kPointCount> kFacePoints = {
    {{850.0F, 380.0F}, {931.0F, 397.0F}, {874.0F, 476.0F}}};
const std::array<tavrine_point2f_t, kPointCount> kFaceTemplate = {
    {{38.0F, 52.0F}, {74.0F, 52.0F}, {56.0F, 92.0F}}};

const char *name_of(Group group) {
  switch (group) {
    case Group::kResize:
      return "resize";
    case Group::kDownscale:
      return "2:1 and 4:1";
    case Group::kQuarterRotation:
      return "quarter rotation";
    case Group::kMove:
      return "bytes moved";
    case Group::kColor:
      return "color";
    case Group::kWarp:
      return "warp";
    case Group::kTensor:
      return "tensor";
    case Group::kBatch:
      return "batch";
    case Group::kPipeline:
      return "pipeline";
  }
  return "";
}

std::vector<Operation> all_operations() {
  std::vector<Operation> operations;
  for (const uint32_t format : {TAVRINE_FORMAT_GREY, TAVRINE_FORMAT_RGB24}) {
    for (const Size &size :
         {Size{640, 360}, Size{1280, 720}, Size{960, 540}, Size{480, 270}, Size{300, 300}}) {
      operations.push_back(resize(format, kFullHd, size));
    }
    operations.push_back(resize(format, kVga, kFullHd));
  }
  operations.push_back(resize(TAVRINE_FORMAT_NV12, kFullHd, {1280, 720}));
  for (const uint32_t format :
       {TAVRINE_FORMAT_GREY, TAVRINE_FORMAT_RGB24, TAVRINE_FORMAT_BGRA, TAVRINE_FORMAT_NV12}) {
    for (const int32_t code : {0, 1, 2}) {
      operations.push_back(rotate(format, code));
    }
  }
  operations.push_back(convert(TAVRINE_FORMAT_RGB24, TAVRINE_FORMAT_GREY, Group::kColor));
  operations.push_back(to_grey("10 % grey pixels", Content::kTenthGrey));
  operations.push_back(to_grey("a grey picture", Content::kGrey));
  operations.push_back(convert(TAVRINE_FORMAT_GREY, TAVRINE_FORMAT_RGB24, Group::kMove));
  operations.push_back(convert(TAVRINE_FORMAT_RGB24, TAVRINE_FORMAT_BGR24, Group::kColor));
  operations.push_back(convert(TAVRINE_FORMAT_RGB24, TAVRINE_FORMAT_NV12, Group::kColor));
  operations.push_back(convert(TAVRINE_FORMAT_NV12, TAVRINE_FORMAT_RGB24, Group::kColor));
  operations.push_back(convert(TAVRINE_FORMAT_NV12, TAVRINE_FORMAT_NV21, Group::kMove));
  operations.push_back(convert(TAVRINE_FORMAT_NV12, TAVRINE_FORMAT_YU12, Group::kMove));
  operations.push_back(convert(TAVRINE_FORMAT_YU12, TAVRINE_FORMAT_NV12, Group::kMove));
  append_warps(operations);
  operations.push_back(tensor({300, 300}));
  operations.push_back(tensor({640, 640}));
  operations.push_back({"batch of 8 regions to 3x300x300 floats", Group::kBatch, Kind::kBatch,
                        picture(TAVRINE_FORMAT_RGB24, kFullHd),
                        picture(TAVRINE_FORMAT_RGB24, {300, 300})});
  append_pipelines(operations);
  return operations;
}

int64_t output_pixels(const Operation &operation) {
  const int64_t images = operation.kind == Kind::kBatch ? kRegionCount : 1;
  return images * operation.destination.width * operation.destination.height;
}

}  // namespace tavrine::bench
