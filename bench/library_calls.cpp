#include <algorithm>
#include <memory>

#include "bench/calls.h"
#include "tavrine_aux.h"

namespace tavrine::bench {
namespace {

Call tensor_call(const Operation &operation, Pictures &pictures) {
  const tavrine_frame_t *in = pictures.source(operation.source);
  tavrine_tensor_t *out =
      pictures.tensor(1, operation.destination.height, operation.destination.width);
  return [in, out] {
    return tavrine_frame_to_tensor(out, 0, TAVRINE_TENSOR_RGB, in, kTensorMean, kTensorMean,
                                   kTensorMean, kTensorScale, kTensorScale, kTensorScale, 0.0F,
                                   0.0F, 0.0F) == TAVRINE_OK;
  };
}

Call batch_call(const Operation &operation, Pictures &pictures) {
  tavrine_frame_t *in = pictures.source(operation.source);
  tavrine_tensor_t *out =
      pictures.tensor(kRegionCount, operation.destination.height, operation.destination.width);
  const auto workspace = std::make_shared<OwnedBuffer>();
  return [in, out, workspace] {
    tavrine_frame_t *frames[kRegionCount];
    std::fill_n(frames, kRegionCount, in);
    return tavrine_frame_transform_to_tensor_batch(
               out, TAVRINE_TENSOR_RGB, kRegionCount, frames, kRegions.data(),
               TAVRINE_RESIZE_STRETCH, kTensorMean, kTensorMean, kTensorMean, kTensorScale,
               kTensorScale, kTensorScale, nullptr, workspace->slot(), nullptr,
               nullptr) == TAVRINE_OK;
  };
}

}  // namespace

Call library_call(const Operation &operation, Pictures &pictures) {
  if (operation.work == Work::kTensor) {
    return tensor_call(operation, pictures);
  }
  if (operation.work == Work::kBatch) {
    return batch_call(operation, pictures);
  }
  const tavrine_frame_t *in = pictures.source(operation.source);
  tavrine_frame_t *out = pictures.destination(operation.destination);
  const Picture to = operation.destination;
  switch (operation.work) {
    case Work::kResize:
      return [in, out, to]() mutable {
        return tavrine_frame_resize(in, &out, to.width, to.height) == TAVRINE_OK;
      };
    case Work::kTurn:
      return [in, out, turn = operation.turn]() mutable {
        return tavrine_frame_rotate(in, &out, turn) == TAVRINE_OK;
      };
    case Work::kConvert:
      return [in, out, to]() mutable {
        return tavrine_frame_cvt_color(in, &out, to.format) == TAVRINE_OK;
      };
    case Work::kAffineWarp:
      return [in, out, matrix = operation.matrix] {
        return tavrine_frame_warpaffine(in, out, matrix.data()) == TAVRINE_OK;
      };
    case Work::kPerspectiveWarp:
      return [in, out, matrix = operation.matrix] {
        return tavrine_frame_warpperspective(in, out, matrix.data()) == TAVRINE_OK;
      };
    case Work::kTensor:
    case Work::kBatch:
      break;
  }
  return {};
}

}  // namespace tavrine::bench
