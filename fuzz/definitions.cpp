#include "fuzz/definitions.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "kernels/resize/resize_scalar.h"
#include "kernels/tensor/tensor_scalar.h"
#include "tavrine_aux.h"

namespace tavrine::fuzz {
namespace {

FormatLayout layout_with_y16(uint32_t format) {
  return format == TAVRINE_FORMAT_Y16 ? FormatLayout{format, 1, {{2, 1}, {0, 1}, {0, 1}}}
                                      : layout_of(format);
}

OwnedFrame make(uint32_t format, int32_t width, int32_t height) {
  return OwnedFrame(
      tavrine_frame_alloc(TAVRINE_MEMORY_HOST, format, width, height, kTightStrides, 0));
}

uint8_t *row(const PlaneRows &plane, int64_t y) { return plane.data + y * plane.stride; }

void rotate_plane(const PlaneRows &in, int32_t channels, int32_t code, const PlaneRows &out) {
  for (int32_t y = 0; y < out.rows; ++y) {
    // NOLINTNEXTLINE(clang-analyzer-core.DivideZero): every plane has channels
    for (int32_t x = 0; x < out.row_bytes / channels; ++x) {
      const bool is_half = code == TAVRINE_ROTATE_180;
      const int32_t line = is_half ? y : x;
      const int64_t byte = int64_t{is_half ? x : y} * channels;
      const uint8_t *pixel = row(in, code == TAVRINE_ROTATE_270 ? line : in.rows - 1 - line) +
                             (code == TAVRINE_ROTATE_90 ? byte : in.row_bytes - channels - byte);
      std::memcpy(row(out, y) + int64_t{x} * channels, pixel, static_cast<size_t>(channels));
    }
  }
}

void resize_plane(const PlaneRows &in, int32_t channels, const PlaneRows &out) {
  // NOLINTNEXTLINE(clang-analyzer-core.DivideZero): every plane has channels
  const auto in_columns = static_cast<int32_t>(in.row_bytes / channels);
  const auto columns = static_cast<int32_t>(out.row_bytes / channels);
  const float x_scale = scalar::reciprocal_scale(in_columns, columns);
  const float y_scale = scalar::reciprocal_scale(in.rows, out.rows);
  const auto pass = [&](int32_t y) {
    const uint8_t *samples = row(in, std::clamp(y, 0, in.rows - 1));
    std::vector<int16_t> result;
    for (int32_t x = 0; x < columns; ++x) {
      const scalar::Tap tap = scalar::column_tap(x, x_scale, in_columns);
      for (int32_t channel = 0; channel < channels; ++channel) {
        const uint8_t *first = samples + int64_t{tap.index} * channels + channel;
        const uint8_t *second = tap.index == in_columns - 1 ? first : first + channels;
        result.push_back(scalar::resample(*first, *second, tap));
      }
    }
    return result;
  };
  for (int32_t y = 0; y < out.rows; ++y) {
    const scalar::Tap tap = scalar::row_tap(y, y_scale);
    const std::vector<int16_t> upper = pass(tap.index);
    const std::vector<int16_t> lower = pass(tap.index + 1);
    scalar::blend_rows(upper.data(), lower.data(), tap, columns * channels, row(out, y));
  }
}

int32_t red_byte(uint32_t format) { return format == TAVRINE_FORMAT_RGB24 ? 0 : 2; }

// The exact quotient, rounded half up, by real arithmetic: every value here is exact in double.
uint8_t rounded(double sum, double divisor, double offset = 0) {
  return static_cast<uint8_t>(std::clamp(std::floor(sum / divisor + 0.5) + offset, 0.0, 255.0));
}

Triple convert_pixel(const Triple &in, uint32_t from, uint32_t to) {
  if (from == TAVRINE_FORMAT_GREY) {
    return is_packed_rgb(to) ? Triple{in[0], in[0], in[0]} : Triple{in[0], 128, 128};
  }
  if (is_packed_rgb(from) && to == TAVRINE_FORMAT_GREY) {
    return {static_cast<uint8_t>(in[1] * 0.587 + in[0] * 0.299 + in[2] * 0.114)};
  }
  if (is_packed_rgb(from) == is_packed_rgb(to)) {
    return in;
  }
  return is_packed_rgb(from) ? yuv_of(in[0], in[1], in[2]) : rgb_of(in[0], in[1], in[2]);
}

// Where a frame keeps a channel of a pixel; null for chroma that it does not have.
uint8_t *place_of(const std::vector<PlaneRows> &planes, uint32_t format, size_t channel, int32_t x,
                  int32_t y) {
  if (is_packed_rgb(format)) {
    return row(planes[0], y) + int64_t{3} * x + (red_byte(format) == 0 ? channel : 2 - channel);
  }
  if (channel == 0) {
    return row(planes[0], y) + x;
  }
  const bool is_planar = format == TAVRINE_FORMAT_YU12;
  if (format == TAVRINE_FORMAT_GREY || y / 2 >= planes[1].rows ||
      x / 2 >= planes[1].row_bytes / (is_planar ? 1 : 2)) {
    return nullptr;
  }
  return is_planar ? row(planes[channel], y / 2) + x / 2
                   : row(planes[1], y / 2) + x / 2 * 2 +
                         (format == TAVRINE_FORMAT_NV12 ? channel - 1 : 2 - channel);
}

template <typename Element>
void fill_image(const tavrine_tensor_t &tensor, int32_t color, const tavrine_frame_t *in,
                const ChannelNormalization (&channels)[3], Element *image) {
  const PlaneRows pixels = planes_of(in)[0];
  const bool is_packed = is_packed_rgb(in->pixel_format);
  for (int32_t channel = 0; channel < (color == TAVRINE_TENSOR_GRAY ? 1 : 3); ++channel) {
    const int32_t component = color == TAVRINE_TENSOR_BGR ? 2 - channel : channel;
    const ChannelNormalization &numbers = channels[component];
    for (int32_t y = 0; y < tensor.shape[2]; ++y) {
      for (int32_t x = 0; x < tensor.shape[3]; ++x) {
        Element &element = image[channel * tensor.strides[1] + y * tensor.strides[2] + x];
        if (y >= in->height || x >= in->width) {
          element = scalar::to_element<Element>(numbers.padding);
          continue;
        }
        const uint8_t *pixel = row(pixels, y) + int64_t{x} * (is_packed ? 3 : 1);
        const int32_t red = red_byte(in->pixel_format);
        if (!is_packed) {
          element = scalar::grey_element<Element>(*pixel, numbers);
        } else if (color == TAVRINE_TENSOR_GRAY) {
          element =
              scalar::weighted_element<Element>(pixel[red], pixel[1], pixel[2 - red], numbers);
        } else {
          const int32_t byte = red == 0 ? component : 2 - component;
          element = scalar::color_element<Element>(pixel[byte], numbers);
        }
      }
    }
  }
}

}  // namespace

Triple yuv_of(double r, double g, double b) {
  return {rounded(38 * r + 74 * g + 16 * b, 128), rounded(65 * b - 22 * r - 43 * g, 128, 128),
          rounded(67 * r - 55 * g - 12 * b, 128, 128)};
}

Triple rgb_of(double y, double u, double v) {
  return {rounded(64 * y + 86 * (v - 128), 64),
          rounded(64 * y - 44 * (v - 128) - 24 * (u - 128), 64),
          rounded(64 * y + 110 * (u - 128), 64)};
}

std::vector<PlaneRows> planes_of(const tavrine_frame_t *frame, const tavrine_area2d_t &area) {
  const FormatLayout layout = layout_with_y16(frame->pixel_format);
  std::vector<PlaneRows> result;
  for (int index = 0; index < layout.plane_count; ++index) {
    const PlaneLayout &plane = layout.planes[index];
    const PlaneRows whole = plane_rows(frame, index, plane, frame->width, frame->height);
    PlaneRows part = plane_rows(frame, index, plane, area.width, area.height);
    part.stride = whole.stride;
    part.data += area.y / plane.subsampling * whole.stride +
                 int64_t{area.x / plane.subsampling} * plane.channels;
    result.push_back(part);
  }
  return result;
}

std::vector<PlaneRows> planes_of(const tavrine_frame_t *frame) {
  return planes_of(frame, {0, 0, frame->width, frame->height});
}

OwnedFrame host_copy(const tavrine_frame_t *frame) {
  if (tavrine_frame_mem_type(frame) == TAVRINE_MEMORY_HOST) {
    return OwnedFrame(tavrine_frame_duplicate(frame));
  }
  OwnedFrame result;
  tavrine_frame_download(frame, result.slot());
  return result;
}

OwnedFrame defined_crop(const tavrine_frame_t *in, const tavrine_area2d_t &area) {
  OwnedFrame result = make(in->pixel_format, area.width, area.height);
  if (!result || tavrine_frame_reset(result.get(), 0) != TAVRINE_OK) {
    return {};
  }
  const FormatLayout layout = layout_with_y16(in->pixel_format);
  const std::vector<PlaneRows> from = planes_of(in);
  const std::vector<PlaneRows> to = planes_of(result.get());
  for (size_t index = 0; index < to.size(); ++index) {
    const PlaneLayout &plane = layout.planes[index];
    const int64_t left = int64_t{area.x / plane.subsampling} * plane.channels;
    const int64_t begin = std::max<int64_t>(left, 0);
    const int64_t end = std::min(left + to[index].row_bytes, from[index].row_bytes);
    for (int64_t y = 0; y < to[index].rows && begin < end; ++y) {
      const int64_t source = y + area.y / plane.subsampling;
      if (source >= 0 && source < from[index].rows) {
        std::memcpy(row(to[index], y) + (begin - left), row(from[index], source) + begin,
                    static_cast<size_t>(end - begin));
      }
    }
  }
  return result;
}

// run(in, channels, out) fills each plane of the result.
template <typename Run>
static OwnedFrame by_planes(const tavrine_frame_t *in, int32_t width, int32_t height, Run run) {
  OwnedFrame result = make(in->pixel_format, width, height);
  if (result) {
    const std::vector<PlaneRows> from = planes_of(in);
    const std::vector<PlaneRows> to = planes_of(result.get());
    for (size_t index = 0; index < to.size(); ++index) {
      // NOLINTNEXTLINE(clang-analyzer-core.CallAndMessage): frames have their format's planes
      run(from[index], layout_with_y16(in->pixel_format).planes[index].channels, to[index]);
    }
  }
  return result;
}

OwnedFrame defined_rotation(const tavrine_frame_t *in, int32_t code) {
  const bool is_half = code == TAVRINE_ROTATE_180;
  return by_planes(in, is_half ? in->width : in->height, is_half ? in->height : in->width,
                   [=](const PlaneRows &from, int32_t channels, const PlaneRows &to) {
                     rotate_plane(from, channels, code, to);
                   });
}

OwnedFrame defined_resize(const tavrine_frame_t *in, int32_t width, int32_t height) {
  return in->width == width && in->height == height ? host_copy(in)
                                                    : by_planes(in, width, height, resize_plane);
}

OwnedFrame defined_conversion(const tavrine_frame_t *in, uint32_t format) {
  const uint32_t from = in->pixel_format;
  if (from == format) {
    return host_copy(in);
  }
  if (layout_of(from).planes[0].channels % 2 == 0 ||
      layout_of(format).planes[0].channels % 2 == 0) {
    return {};  // Y16, BGRA, ARGB
  }
  OwnedFrame result = make(format, in->width, in->height);
  const std::vector<PlaneRows> source = planes_of(in);
  const std::vector<PlaneRows> destination = result ? planes_of(result.get()) : source;
  for (int32_t i = 0; result && i < in->width * in->height; ++i) {
    const int32_t x = i % in->width;
    const int32_t y = i / in->width;
    Triple samples{};
    for (size_t channel = 0; channel < 3; ++channel) {
      const uint8_t *place = place_of(source, from, channel, x, y);
      samples[channel] = place != nullptr ? *place : uint8_t{0};
    }
    const Triple converted = convert_pixel(samples, from, format);
    for (size_t channel = 0; channel < 3; ++channel) {
      uint8_t *place = place_of(destination, format, channel, x, y);
      // Chroma is that of the upper left pixel.
      if (place != nullptr &&
          (channel == 0 || is_packed_rgb(format) || (x % 2 == 0 && y % 2 == 0))) {
        *place = converted[channel];
      }
    }
  }
  return result;
}

void define_image(const tavrine_tensor_t &tensor, uint32_t offset, int32_t color,
                  const tavrine_frame_t *in, const ChannelNormalization (&channels)[3],
                  uint8_t *elements) {
  if (tensor.element_type == TAVRINE_ELEMENT_FLOAT32) {
    fill_image(tensor, color, in, channels,
               static_cast<float *>(static_cast<void *>(elements)) + offset);
  } else {
    fill_image(tensor, color, in, channels, elements + offset);
  }
}

bool are_same_elements(int32_t element_type, const uint8_t *elements,
                       const std::vector<uint8_t> &expected) {
  if (element_type != TAVRINE_ELEMENT_FLOAT32) {
    return std::memcmp(elements, expected.data(), expected.size()) == 0;
  }
  for (size_t i = 0; i < expected.size(); i += sizeof(float)) {
    float is = 0;
    float should = 0;
    std::memcpy(&is, elements + i, sizeof is);
    std::memcpy(&should, &expected[i], sizeof should);
    const bool are_nan = std::isnan(is) && std::isnan(should);
    if (!are_nan && std::memcmp(elements + i, &expected[i], sizeof is) != 0) {
      return false;
    }
  }
  return true;
}

}  // namespace tavrine::fuzz
