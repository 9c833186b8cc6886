#include "tests/operation_table.h"

#include <algorithm>
#include <cstring>

namespace tavrine::test {
namespace {

constexpr uint32_t kYuv[] = {TAVRINE_FORMAT_NV12, TAVRINE_FORMAT_NV21, TAVRINE_FORMAT_YU12};
constexpr uint32_t kPacked[] = {TAVRINE_FORMAT_GREY, TAVRINE_FORMAT_RGB24, TAVRINE_FORMAT_BGR24,
                                TAVRINE_FORMAT_BGRA, TAVRINE_FORMAT_ARGB};

bool is_yuv(uint32_t format) {
  return std::find(std::begin(kYuv), std::end(kYuv), format) != std::end(kYuv);
}

int up_to_even(int size, uint32_t format) { return is_yuv(format) ? (size + 1) / 2 * 2 : size; }

using FrameOperation = std::function<int32_t(const tavrine_frame_t *in, tavrine_frame_t **out)>;

class Table {
 public:
  Table(int width, int height) : width_(width), height_(height) {}

  void add(const std::string &name, uint32_t in_format, uint32_t out_format, int out_width,
           int out_height, const FrameOperation &operation) {
    calls_.push_back({title(name, in_format) + " to " + size_of(out_width, out_height), in_format,
                      width_, height_, out_format, out_width, out_height,
                      [operation](const tavrine_frame_t *in, tavrine_frame_t *out) -> CallResult {
                        const int32_t code = operation(in, &out);
                        return {code, pixels_of(out)};
                      }});
  }

  // fill() writes the tensor of 3 channels that it is given.
  void add_tensor(const std::string &name, uint32_t format, int32_t element_type,
                  const std::function<int32_t(const tavrine_frame_t *in, tavrine_tensor_t *tensor)>
                      &fill_tensor) {
    const int32_t shape[4] = {1, 3, height_ + 2, width_ + 3};
    const bool is_float = element_type == TAVRINE_ELEMENT_FLOAT32;
    const auto bytes = static_cast<size_t>(shape[1] * shape[2] * shape[3] * (is_float ? 4 : 1));
    calls_.push_back(
        {title(name, format) + (is_float ? " as floats" : " as bytes"), format, width_, height_, 0,
         0, 0, [=](const tavrine_frame_t *in, tavrine_frame_t *) -> CallResult {
           OwnedTensor tensor(tavrine_tensor_alloc(TAVRINE_MEMORY_HOST, element_type, shape));
           auto *data = static_cast<uint8_t *>(tavrine_tensor_raw_pointer(tensor.get()));
           const int32_t code = fill_tensor(in, tensor.get());
           return {code, {data, data + bytes}};
         }});
  }

  std::vector<TableCall> take() { return std::move(calls_); }

 private:
  static std::string size_of(int width, int height) {
    return std::to_string(width) + "x" + std::to_string(height);
  }
  std::string title(const std::string &name, uint32_t format) const {
    return name + " " + tavrine_frame_pixfmt_to_string(format) + " " + size_of(width_, height_);
  }

  int width_;
  int height_;
  std::vector<TableCall> calls_;
};

void add_geometry(Table &table, uint32_t format, int width, int height) {
  const std::pair<int, int> sizes[] = {
      {2 * width, 2 * height}, {(width + 1) / 2, (height + 1) / 2}, {width + 2, height + 2},
      {3 * width, height},     {width, (height + 3) / 4},           {(width + 2) / 3, height}};
  for (const auto &size : sizes) {
    const int to_width = up_to_even(size.first, format);
    const int to_height = up_to_even(size.second, format);
    table.add("resize", format, format, to_width, to_height, [=](const auto *in, auto **out) {
      return tavrine_frame_resize(in, out, to_width, to_height);
    });
  }
  for (const int32_t code : {TAVRINE_ROTATE_90, TAVRINE_ROTATE_180, TAVRINE_ROTATE_270}) {
    const bool swaps = code != TAVRINE_ROTATE_180;
    table.add("rotate " + std::to_string(code), format, format, swaps ? height : width,
              swaps ? width : height,
              [=](const auto *in, auto **out) { return tavrine_frame_rotate(in, out, code); });
  }
  table.add("crop", format, format, width + 2, height + 4, [=](const auto *in, auto **out) {
    return tavrine_frame_crop(in, out, {-2, -2, width + 2, height + 4});
  });
  const int warp_width = up_to_even(width + 3, format);
  const int warp_height = up_to_even(height + 2, format);
  table.add("affine", format, format, warp_width, warp_height, [](const auto *in, auto **out) {
    constexpr float kMatrix[6] = {0.9F, 0.2F, -0.4F, -0.15F, 0.8F, 0.7F};
    return tavrine_frame_warpaffine(in, *out, kMatrix);
  });
  if (format != TAVRINE_FORMAT_BGRA && format != TAVRINE_FORMAT_ARGB) {
    table.add(
        "perspective", format, format, warp_width, warp_height, [](const auto *in, auto **out) {
          constexpr float kMatrix[9] = {0.9F, 0.2F, -0.4F, -0.15F, 0.8F, 0.7F, 0.01F, -0.02F, 1};
          return tavrine_frame_warpperspective(in, *out, kMatrix);
        });
  }
}

void add_conversion(Table &table, uint32_t from, uint32_t to, int width, int height) {
  table.add(std::string("convert to ") + tavrine_frame_pixfmt_to_string(to), from, to, width,
            height,
            [to](const auto *in, auto **out) { return tavrine_frame_cvt_color(in, out, to); });
}

void add_conversions(Table &table, int width, int height) {
  std::vector<uint32_t> formats = {TAVRINE_FORMAT_GREY, TAVRINE_FORMAT_RGB24, TAVRINE_FORMAT_BGR24};
  if (width % 2 == 0 && height % 2 == 0) {
    formats.insert(formats.end(), std::begin(kYuv), std::end(kYuv));
  }
  for (const uint32_t from : formats) {
    for (const uint32_t to : formats) {
      if (from != to) {
        add_conversion(table, from, to, width, height);
      }
    }
  }
  add_conversion(table, TAVRINE_FORMAT_Y16, TAVRINE_FORMAT_GREY, width, height);
}

void add_tensors(Table &table, uint32_t format, int32_t color_type, int width, int height) {
  const std::string type = std::to_string(color_type);
  for (const int32_t element : {TAVRINE_ELEMENT_FLOAT32, TAVRINE_ELEMENT_UINT8}) {
    table.add_tensor("tensor " + type, format, element, [=](const auto *in, auto *tensor) {
      return tavrine_frame_to_tensor(tensor, 0, color_type, in, 120, 115.5F, 100, 57, 0.5F, 1, 1, 2,
                                     3);
    });
    table.add_tensor("batch " + type, format, element, [=](const auto *in, auto *tensor) {
      OwnedFrame frame(tavrine_frame_ref(in));
      tavrine_frame_t *const frames[] = {frame.get()};
      const tavrine_area2d_t area = {-1, 0, width + 1, height + 1};
      OwnedBuffer workspace;
      return tavrine_frame_transform_to_tensor_batch(
          tensor, color_type, 1, frames, &area, TAVRINE_RESIZE_FIT, 120, 115.5F, 100, 57, 0.5F, 1,
          nullptr, workspace.slot(), nullptr, nullptr);
    });
  }
}

}  // namespace

std::vector<TableCall> all_calls(int width, int height) {
  Table table(width, height);
  for (const uint32_t format : kPacked) {
    add_geometry(table, format, width, height);
  }
  for (const uint32_t format : kYuv) {
    if (width % 2 == 0 && height % 2 == 0) {
      add_geometry(table, format, width, height);
    }
  }
  add_conversions(table, width, height);
  for (const uint32_t format : {TAVRINE_FORMAT_RGB24, TAVRINE_FORMAT_BGR24}) {
    for (const int32_t color_type : {TAVRINE_TENSOR_BGR, TAVRINE_TENSOR_RGB, TAVRINE_TENSOR_GRAY}) {
      add_tensors(table, format, color_type, width, height);
    }
  }
  add_tensors(table, TAVRINE_FORMAT_GREY, TAVRINE_TENSOR_GRAY, width, height);
  return table.take();
}

void set_source_pixels(tavrine_frame_t *frame) {
  Random random(frame->pixel_format + static_cast<uint32_t>(1000 * frame->width + frame->height));
  fill_random(frame, random);
}

CallResult run_on_ordinary_frames(const TableCall &call) {
  const OwnedFrame in = make_frame(call.in_format, call.in_width, call.in_height);
  set_source_pixels(in.get());
  if (call.out_format == 0) {
    return call.run(in.get(), nullptr);
  }
  const OwnedFrame out = make_frame(call.out_format, call.out_width, call.out_height);
  fill(out.get(), 0xA5);
  return call.run(in.get(), out.get());
}

}  // namespace tavrine::test
