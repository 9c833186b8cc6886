#include "fuzz/definitions.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "kernels/color/planes_scalar.h"
#include "kernels/color/rgb_scalar.h"
#include "kernels/color/yuv_scalar.h"
#include "kernels/resize/resize_scalar.h"
#include "kernels/rotate/rotate_scalar.h"
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
  constexpr auto kGather = [](int32_t bytes) {
    return bytes == 1   ? scalar::gather_pixels<1>
           : bytes == 2 ? scalar::gather_pixels<2>
           : bytes == 3 ? scalar::gather_pixels<3>
                        : scalar::gather_pixels<4>;
  };
  // NOLINTNEXTLINE(clang-analyzer-core.DivideZero): every plane has channels
  const auto columns = static_cast<int32_t>(out.row_bytes / channels);
  for (int32_t y = 0; y < out.rows && columns > 0; ++y) {
    const uint8_t *first = row(in, in.rows - 1) + int64_t{y} * channels;
    ptrdiff_t step = -static_cast<ptrdiff_t>(in.stride);
    if (code == TAVRINE_ROTATE_180) {
      first = row(in, in.rows - 1 - y) + in.row_bytes - channels;
      step = -channels;
    } else if (code == TAVRINE_ROTATE_270) {
      first = row(in, 0) + in.row_bytes - int64_t{y + 1} * channels;
      step = static_cast<ptrdiff_t>(in.stride);
    }
    kGather(channels)(first, step, row(out, y), columns);
  }
}

void resize_plane(const PlaneRows &in, int32_t channels, const PlaneRows &out) {
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

void copy_rows(const PlaneRows &in, const PlaneRows &out) {
  for (int32_t y = 0; y < out.rows; ++y) {
    std::memcpy(row(out, y), row(in, y), static_cast<size_t>(out.row_bytes));
  }
}

int32_t red_byte(uint32_t format) { return format == TAVRINE_FORMAT_RGB24 ? 0 : 2; }
int32_t u_byte(uint32_t format) { return format == TAVRINE_FORMAT_NV12 ? 0 : 1; }

// The chroma of YU12 as planes in the order of a pair's bytes.
void chroma_between(const std::vector<PlaneRows> &semi, uint32_t format,
                    const std::vector<PlaneRows> &planar, bool to_planar) {
  const PlaneRows &first = planar[u_byte(format) == 0 ? 1 : 2];
  const PlaneRows &second = planar[u_byte(format) == 0 ? 2 : 1];
  for (int32_t y = 0; y < semi[1].rows; ++y) {
    const auto columns = static_cast<int32_t>(first.row_bytes);
    if (to_planar) {
      scalar::deinterleave_row(row(semi[1], y), columns, row(first, y), row(second, y));
    } else {
      scalar::interleave_row(row(first, y), row(second, y), columns, row(semi[1], y));
    }
  }
}

void convert_packed(const std::vector<PlaneRows> &in, uint32_t from, uint32_t to, int32_t columns,
                    const std::vector<PlaneRows> &out) {
  for (int32_t y = 0; y < in[0].rows; ++y) {
    if (to == TAVRINE_FORMAT_GREY) {
      scalar::truncated_luma_row(row(in[0], y), red_byte(from), columns, row(out[0], y));
    } else if (is_packed_rgb(to)) {
      scalar::swap_red_blue_row(row(in[0], y), columns, row(out[0], y));
    } else {
      scalar::luma_row(row(in[0], y), red_byte(from), columns, row(out[0], y));
      if (y % 2 == 0) {
        scalar::chroma_row(row(in[0], y), red_byte(from), columns / 2, row(out[1], y / 2),
                           u_byte(to));
      }
    }
  }
}

void convert_grey(const std::vector<PlaneRows> &in, uint32_t to, int32_t columns,
                  const std::vector<PlaneRows> &out) {
  if (is_packed_rgb(to)) {
    for (int32_t y = 0; y < in[0].rows; ++y) {
      scalar::replicate_grey_row(row(in[0], y), columns, row(out[0], y));
    }
    return;
  }
  copy_rows(in[0], out[0]);
  for (int32_t y = 0; y < out[1].rows; ++y) {
    std::memset(row(out[1], y), 128, static_cast<size_t>(out[1].row_bytes));
  }
}

void convert_yuv(const std::vector<PlaneRows> &in, uint32_t from, uint32_t to, int32_t columns,
                 const std::vector<PlaneRows> &out) {
  if (is_packed_rgb(to)) {
    for (int32_t y = 0; y < in[0].rows; ++y) {
      scalar::packed_row(row(in[0], y), row(in[1], y / 2), u_byte(from), columns, row(out[0], y),
                         red_byte(to));
    }
    return;
  }
  copy_rows(in[0], out[0]);
  if (from == TAVRINE_FORMAT_YU12 && is_semi_planar(to)) {
    chroma_between(out, to, in, false);
  } else if (is_semi_planar(from) && to == TAVRINE_FORMAT_YU12) {
    chroma_between(in, from, out, true);
  } else if (is_semi_planar(from) && is_semi_planar(to)) {
    for (int32_t y = 0; y < in[1].rows; ++y) {
      scalar::swap_pairs_row(row(in[1], y), columns / 2, row(out[1], y));
    }
  }
}

// These take the way over NV12.
bool is_indirect(uint32_t from, uint32_t to) {
  return (to == TAVRINE_FORMAT_YU12 && from != TAVRINE_FORMAT_NV12) ||
         (from == TAVRINE_FORMAT_YU12 && is_packed_rgb(to));
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

OwnedFrame defined_rotation(const tavrine_frame_t *in, int32_t code) {
  const bool is_upright = code == TAVRINE_ROTATE_180;
  OwnedFrame result = make(in->pixel_format, is_upright ? in->width : in->height,
                           is_upright ? in->height : in->width);
  if (result) {
    const std::vector<PlaneRows> from = planes_of(in);
    const std::vector<PlaneRows> to = planes_of(result.get());
    for (size_t index = 0; index < to.size(); ++index) {
      // NOLINTNEXTLINE(clang-analyzer-core.CallAndMessage): frames have their format's planes
      rotate_plane(from[index], layout_with_y16(in->pixel_format).planes[index].channels, code,
                   to[index]);
    }
  }
  return result;
}

OwnedFrame defined_resize(const tavrine_frame_t *in, int32_t width, int32_t height) {
  if (in->width == width && in->height == height) {
    return host_copy(in);
  }
  OwnedFrame result = make(in->pixel_format, width, height);
  if (result) {
    const std::vector<PlaneRows> from = planes_of(in);
    const std::vector<PlaneRows> to = planes_of(result.get());
    for (size_t index = 0; index < to.size(); ++index) {
      resize_plane(from[index], layout_of(in->pixel_format).planes[index].channels, to[index]);
    }
  }
  return result;
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
  if (is_indirect(from, format)) {
    const OwnedFrame between = defined_conversion(in, TAVRINE_FORMAT_NV12);
    return between ? defined_conversion(between.get(), format) : OwnedFrame();
  }
  OwnedFrame result = make(format, in->width, in->height);
  if (result) {
    const std::vector<PlaneRows> rows = planes_of(in);
    const std::vector<PlaneRows> out = planes_of(result.get());
    const auto convert = is_packed_rgb(from) ? convert_packed : convert_yuv;
    if (from == TAVRINE_FORMAT_GREY) {
      convert_grey(rows, format, in->width, out);
    } else {
      convert(rows, from, format, in->width, out);
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
