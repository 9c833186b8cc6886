// Operations from pictures to network tensors.
#include <algorithm>
#include <cstring>
#include <vector>

#include "frame_operation.h"
#include "operations.h"
#include "tavrine_aux.h"
#include "tensor_view.h"

namespace tavrine::python {
namespace {

// Both tensor operations, in host or device memory: operation(tensor, frames).
template <typename Operation>
void run_tensor(const std::vector<tavrine_frame_t *> &frames, TensorView &view, bool on_device,
                Operation operation) {
  int32_t status = TAVRINE_OK;
  if (!on_device) {
    const py::gil_scoped_release released;
    status = operation(view.tensor(), frames);
  } else {
    const Tensor device = view.copy_to_device();
    {
      const py::gil_scoped_release released;
      std::vector<Frame> owned(frames.size());
      std::vector<tavrine_frame_t *> uploaded;
      for (size_t i = 0; i < frames.size() && status == TAVRINE_OK; ++i) {
        status = fill(owned[i], [&](auto slot) { return tavrine_frame_upload(frames[i], slot); });
        uploaded.push_back(owned[i].get());
      }
      status = status == TAVRINE_OK ? operation(device.get(), uploaded) : status;
    }
    view.copy_from_device(device);
  }
  check(status);
}

void check_is_separate(const py::array &tensor, py::handle image, const char *name) {
  if (share_memory(tensor, array_of(image, name))) {
    throw Refusal("out", "it shares memory with the source");
  }
}

// A padding value as the library stores it in a byte.
uint8_t to_byte(float value) {
  constexpr float kRange = 0x1p32F;
  if (!(value > 0)) {
    return 0;
  }
  return value < kRange ? static_cast<uint8_t>(static_cast<uint32_t>(value)) : uint8_t{255};
}

// The library fills the bands around a region in the first channel of a uint8 tensor only; here
// every channel gets its padding.
void fill_with_padding(const TensorView &view, const TensorStyle &style,
                       const std::vector<Color> &paddings) {
  const tavrine_tensor_t &tensor = *view;
  for (int32_t n = 0; n < tensor.shape[0]; ++n) {
    for (int32_t c = 0; c < style.channels() && c < tensor.shape[1]; ++c) {
      const int32_t of_color = style.color_type == TAVRINE_TENSOR_RGB   ? c
                               : style.color_type == TAVRINE_TENSOR_BGR ? 2 - c
                                                                        : 1;
      const uint8_t byte = to_byte(paddings[static_cast<size_t>(n)][static_cast<size_t>(of_color)]);
      for (int32_t y = 0; y < tensor.shape[2]; ++y) {
        std::memset(tavrine_tensor_data_at(&tensor, n, c, y, 0), byte,
                    static_cast<size_t>(tensor.shape[3]));
      }
    }
  }
}

bool is_list(py::handle object) {
  return PyList_Check(object.ptr()) != 0 || PyTuple_Check(object.ptr()) != 0;
}

// The regions of a batch: areas of several pictures or of one.
struct Regions {
  std::vector<Picture> pictures;
  std::vector<tavrine_frame_t *> frames;
  std::vector<tavrine_area2d_t> areas;
};

Regions regions_of(const Arguments &arguments, size_t images, size_t areas, size_t format) {
  const PixelFormat *named = arguments[format]
                                 ? &pixel_format_by_name(arguments[format], arguments.name(format))
                                 : nullptr;
  Regions regions;
  const bool has_list = is_list(arguments[images]);
  if (has_list) {
    for (py::handle image : py::reinterpret_borrow<py::sequence>(arguments[images])) {
      regions.pictures.emplace_back(image, arguments.name(images), named);
    }
  } else {
    regions.pictures.emplace_back(arguments[images], arguments.name(images), named);
  }
  if (arguments[areas]) {
    for (py::handle area : py::reinterpret_borrow<py::object>(arguments[areas])) {
      regions.areas.push_back(area_value(area, arguments.name(areas)));
    }
  } else {
    for (const Picture &picture : regions.pictures) {
      regions.areas.push_back({0, 0, picture.size().width, picture.size().height});
    }
  }
  if (regions.areas.empty() || (has_list && regions.areas.size() != regions.pictures.size())) {
    throw Refusal(arguments.name(areas), std::to_string(regions.areas.size()) + " areas for " +
                                             std::to_string(regions.pictures.size()) + " images");
  }
  for (size_t i = 0; i < regions.areas.size(); ++i) {
    regions.frames.push_back(regions.pictures[has_list ? i : 0].frame());
  }
  return regions;
}

// One colour for all images of a batch, or a row for each.
std::vector<Color> paddings_of(const Arguments &arguments, size_t index, size_t count) {
  const py::handle given = arguments[index];
  const char *name = arguments.name(index);
  const std::vector<float> values = given ? float_values(given, name) : std::vector<float>{0};
  if (values.size() != 1 && values.size() != 3 && values.size() != 3 * count) {
    throw Refusal(name,
                  "must be one number, three for red, green and blue, or three for each "
                  "image");
  }
  std::vector<Color> paddings(count);
  size_t next = 0;
  for (Color &padding : paddings) {
    for (float &channel : padding) {
      channel = values[next++ % values.size()];
    }
  }
  return paddings;
}

int32_t resize_mode(const Arguments &arguments, size_t index) {
  const std::string name = text_value(arguments, index, "fit");
  if (name != "fit" && name != "stretch") {
    throw Refusal(arguments.name(index), "must be 'fit' or 'stretch'");
  }
  return name == "fit" ? TAVRINE_RESIZE_FIT : TAVRINE_RESIZE_STRETCH;
}

// Scratch memory of this thread's batches.
thread_local Buffer workspace;

}  // namespace

py::object to_tensor(const Arguments &arguments) {
  enum { kImage, kSize, kColor, kMean, kScale, kPadding, kDtype, kOut, kIndex, kFormat, kDevice };
  Picture in = source_picture(arguments, kImage, kFormat);
  const TensorStyle style = tensor_style(arguments, kColor, kMean, kScale);
  const Color padding = color_value(arguments, kPadding, 0);
  const Size own_size = in.size();
  TensorView view =
      destination_tensor(arguments, {kSize, kDtype, kOut}, 1, style.channels(), &own_size);
  const int32_t index = int_value(arguments, kIndex, 0);
  if (index < 0 || index >= (*view).shape[0]) {
    throw Refusal(arguments.name(kIndex), "there is no image " + std::to_string(index) +
                                              " in a tensor of " +
                                              std::to_string((*view).shape[0]));
  }
  if (arguments[kOut]) {
    check_is_separate(view.array(), in.object(), arguments.name(kImage));
  }
  run_tensor({in.frame()}, view, bool_value(arguments, kDevice),
             [&](tavrine_tensor_t *tensor, const std::vector<tavrine_frame_t *> &frames) {
               const auto offset = static_cast<uint32_t>(index * tensor->strides[0]);
               const auto &[mean_r, mean_g, mean_b] = style.mean;
               const auto &[scale_r, scale_g, scale_b] = style.scale;
               const auto &[pad_r, pad_g, pad_b] = padding;
               return tavrine_frame_to_tensor(tensor, offset, style.color_type, frames[0], mean_r,
                                              mean_g, mean_b, scale_r, scale_g, scale_b, pad_r,
                                              pad_g, pad_b);
             });
  return view.object();
}

py::object transform_batch(const Arguments &arguments) {
  enum {
    kImages,
    kSize,
    kAreas,
    kMode,
    kColor,
    kMean,
    kScale,
    kPadding,
    kDtype,
    kOut,
    kFormat,
    kDevice
  };
  const Regions regions = regions_of(arguments, kImages, kAreas, kFormat);
  const size_t count = regions.areas.size();
  const TensorStyle style = tensor_style(arguments, kColor, kMean, kScale);
  const std::vector<Color> paddings = paddings_of(arguments, kPadding, count);
  const int32_t mode = resize_mode(arguments, kMode);
  TensorView view = destination_tensor(arguments, {kSize, kDtype, kOut},
                                       static_cast<int32_t>(count), style.channels(), nullptr);
  if (arguments[kOut]) {
    for (const Picture &picture : regions.pictures) {
      check_is_separate(view.array(), picture.object(), arguments.name(kImages));
    }
  }
  if ((*view).element_type == TAVRINE_ELEMENT_UINT8) {
    fill_with_padding(view, style, paddings);
  }
  std::vector<float> vertical(count);
  std::vector<float> horizontal(count);
  run_tensor(regions.frames, view, bool_value(arguments, kDevice),
             [&](tavrine_tensor_t *tensor, const std::vector<tavrine_frame_t *> &frames) {
               tavrine_buffer_t *slot = workspace.release();
               const auto &[mean_r, mean_g, mean_b] = style.mean;
               const auto &[scale_r, scale_g, scale_b] = style.scale;
               const int32_t status = tavrine_frame_transform_to_tensor_batch(
                   tensor, style.color_type, static_cast<int32_t>(count), frames.data(),
                   regions.areas.data(), mode, mean_r, mean_g, mean_b, scale_r, scale_g, scale_b,
                   reinterpret_cast<const float(*)[3]>(paddings.data()), &slot, vertical.data(),
                   horizontal.data());
               workspace.reset(slot);
               return status;
             });
  py::array_t<float> ratios({count, size_t{2}});
  for (size_t i = 0; i < count; ++i) {
    ratios.mutable_at(i, 0) = horizontal[i];
    ratios.mutable_at(i, 1) = vertical[i];
  }
  return py::make_tuple(view.object(), ratios);
}

}  // namespace tavrine::python
