#include <algorithm>
#include <cstring>
#include <memory>

#include "commands.h"
#include "device_frames.h"
#include "failure.h"
#include "input_file.h"
#include "numpy_file.h"
#include "output_file.h"
#include "picture_file.h"
#include "pixel_format.h"
#include "refusal.h"
#include "regions_file.h"
#include "tavrine_aux.h"
#include "tavrine_devkit.h"

namespace tavrine::tool {

namespace {

constexpr char kOperation[] = "tensor";

// Tensors are made of packed colours, gray ones also of GREY.
OwnedFrame load_for(Environment &environment, const TensorRequest &request,
                    const std::string &picture) {
  OwnedFrame frame = load_picture(environment, picture, request.layout);
  if (request.on_device) {
    frame = to_device(frame, picture);
  }
  const bool is_gray = request.color_type == TAVRINE_TENSOR_GRAY;
  if (is_packed_rgb(frame->pixel_format) ||
      (is_gray && frame->pixel_format == TAVRINE_FORMAT_GREY)) {
    return frame;
  }
  return apply_operation(environment,
                         conversion_to(is_gray ? TAVRINE_FORMAT_GREY : TAVRINE_FORMAT_RGB24), frame,
                         picture);
}

// Without regions, the whole picture.
std::vector<tavrine_area2d_t> areas_of(const TensorRequest &request,
                                       const std::vector<Region> &regions,
                                       const std::string &picture, const tavrine_frame_t &frame) {
  std::vector<tavrine_area2d_t> areas;
  for (const Region &region : regions) {
    const std::string problem = explain_area(frame, region.area);
    if (!problem.empty()) {
      const bool is_one_of_many = request.set.pictures.size() > 1;
      throw Failure((is_one_of_many ? picture + ": " : "") + request.regions_file,
                    line_text(region.line), problem);
    }
    areas.push_back(region.area);
  }
  if (areas.empty()) {
    areas.push_back({0, 0, frame.width, frame.height});
  }
  return areas;
}

OwnedTensor allocate_tensor(const TensorRequest &request, const std::string &picture,
                            int32_t count) {
  const int32_t channels = request.color_type == TAVRINE_TENSOR_GRAY ? 1 : 3;
  const int32_t shape[4] = {count, channels, request.size.height, request.size.width};
  const int32_t memory = request.on_device ? TAVRINE_MEMORY_DEVICE : TAVRINE_MEMORY_HOST;
  OwnedTensor tensor(tavrine_tensor_alloc(memory, request.element_type, shape));
  if (!tensor) {
    throw Failure(picture, kOperation,
                  "no memory for " + std::to_string(count) + " images of " +
                      size_text(request.size.width, request.size.height));
  }
  return tensor;
}

// The library fills the padding of byte images in their first channel only.
void fill_with_padding(const TensorRequest &request, const tavrine_tensor_t &tensor) {
  const auto &padding = request.padding;
  const std::array<float, 3> channels = request.color_type == TAVRINE_TENSOR_RGB ? padding
                                        : request.color_type == TAVRINE_TENSOR_BGR
                                            ? std::array{padding[2], padding[1], padding[0]}
                                            : std::array{padding[1], 0.0F, 0.0F};
  const size_t pixels = static_cast<size_t>(tensor.shape[2]) * static_cast<size_t>(tensor.shape[3]);
  for (int32_t n = 0; n < tensor.shape[0]; ++n) {
    for (int32_t c = 0; c < tensor.shape[1]; ++c) {
      std::memset(tavrine_tensor_data_at(&tensor, n, c, 0, 0),
                  static_cast<uint8_t>(channels[static_cast<size_t>(c)]), pixels);
    }
  }
}

void fill_tensor(Environment &environment, const TensorRequest &request, const std::string &picture,
                 const OwnedFrame &frame, const std::vector<tavrine_area2d_t> &areas,
                 const OwnedTensor &tensor) {
  const std::vector<tavrine_frame_t *> frames(areas.size(), frame.get());
  const auto &mean = request.mean;
  const auto &scale = request.scale;
  const auto paddings = std::make_unique<float[][3]>(areas.size());
  for (size_t index = 0; index < areas.size(); ++index) {
    std::copy(request.padding.begin(), request.padding.end(), paddings[index]);
  }
  OwnedBuffer workspace;
  const int32_t status = tavrine_frame_transform_to_tensor_batch(
      tensor.get(), request.color_type, tensor->shape[0], frames.data(), areas.data(),
      request.resize_mode, mean[0], mean[1], mean[2], scale[0], scale[1], scale[2], paddings.get(),
      workspace.slot(), nullptr, nullptr);
  if (status != TAVRINE_OK) {
    throw Failure(picture, kOperation, refusal_reason(environment, status, ""));
  }
  if (request.on_device) {
    const bool fell_back = environment.log.take_path() == LogRecords::Path::kFallback;
    environment.log.note(picture + ": tensor: filled by the CPU" +
                         (fell_back ? ", regions resized by the CPU too" : ""));
  }
}

void write_tensor(Environment &environment, const TensorRequest &request,
                  const std::vector<Region> &regions, const PictureTask &task) {
  const std::string picture = input_name(task.input);
  const OwnedFrame frame = load_for(environment, request, task.input);
  const std::vector<tavrine_area2d_t> areas = areas_of(request, regions, picture, *frame.get());
  const OwnedTensor tensor = allocate_tensor(request, picture, static_cast<int32_t>(areas.size()));
  if (request.element_type == TAVRINE_ELEMENT_UINT8) {
    fill_with_padding(request, *tensor.get());
  }
  fill_tensor(environment, request, picture, frame, areas, tensor);
  OutputFile output(task.output);
  write_numpy_file(*tensor.get(), output);
  output.commit();
}

}  // namespace

int run(Environment &environment, const TensorRequest &request) {
  const PictureSet &set = request.set;
  const std::vector<PictureTask> tasks = plan_tasks(set, "npy");
  if (!is_folder(set.output) && !is_numpy_name(set.output)) {
    throw UsageError(set.output + ": save: the name must end in .npy");
  }
  const std::vector<Region> regions =
      request.regions_file.empty() ? std::vector<Region>{} : read_regions(request.regions_file);
  return run_tasks(environment, set, tasks, [&](const PictureTask &task) {
    write_tensor(environment, request, regions, task);
  });
}

}  // namespace tavrine::tool
