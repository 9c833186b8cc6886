#include <algorithm>
#include <memory>
#include <stdexcept>

#include "calls.h"
#include "tavrine_aux.h"
#include "tavrine_devkit.h"

namespace tavrine::bench {
namespace {

bool succeeded(int32_t status) { return status == TAVRINE_OK; }

Call resize_call(const Operation &operation, Pictures &pictures) {
  return [in = pictures.source(operation.source), out = pictures.destination(operation.destination),
          to = operation.destination]() mutable {
    return succeeded(tavrine_frame_resize(in, &out, to.width, to.height));
  };
}

Call rotate_call(const Operation &operation, Pictures &pictures) {
  return [in = pictures.source(operation.source), out = pictures.destination(operation.destination),
          rotation = operation.rotation]() mutable {
    return succeeded(tavrine_frame_rotate(in, &out, rotation));
  };
}

Call convert_call(const Operation &operation, Pictures &pictures) {
  return [in = pictures.source(operation.source), out = pictures.destination(operation.destination),
          format = operation.destination.format]() mutable {
    return succeeded(tavrine_frame_cvt_color(in, &out, format));
  };
}

Call affine_call(const Operation &operation, Pictures &pictures) {
  return [in = pictures.source(operation.source), out = pictures.destination(operation.destination),
          matrix = operation.matrix] {
    return succeeded(tavrine_frame_warpaffine(in, out, matrix.data()));
  };
}

Call perspective_call(const Operation &operation, Pictures &pictures) {
  return [in = pictures.source(operation.source), out = pictures.destination(operation.destination),
          matrix = operation.matrix] {
    return succeeded(tavrine_frame_warpperspective(in, out, matrix.data()));
  };
}

bool fill_tensor(tavrine_tensor_t *out, const tavrine_frame_t *in) {
  return succeeded(tavrine_frame_to_tensor(out, 0, TAVRINE_TENSOR_RGB, in, kTensorMean, kTensorMean,
                                           kTensorMean, kTensorScale, kTensorScale, kTensorScale,
                                           0.0F, 0.0F, 0.0F));
}

tavrine_tensor_t *tensor_for(const Operation &operation, Pictures &pictures) {
  return pictures.tensor(1, operation.destination.height, operation.destination.width);
}

Call tensor_call(const Operation &operation, Pictures &pictures) {
  return [in = pictures.source(operation.source), out = tensor_for(operation, pictures)] {
    return fill_tensor(out, in);
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
    tavrine_buffer_t *scratch = workspace->release();
    const int32_t status = tavrine_frame_transform_to_tensor_batch(
        out, TAVRINE_TENSOR_RGB, kRegionCount, frames, kRegions.data(), TAVRINE_RESIZE_STRETCH,
        kTensorMean, kTensorMean, kTensorMean, kTensorScale, kTensorScale, kTensorScale, nullptr,
        &scratch, nullptr, nullptr);
    workspace->reset(scratch);
    return succeeded(status);
  };
}

// Applications keep the frames between the steps, so they are not allocated anew each time.
Call convert_then_resize_call(const Operation &operation, Pictures &pictures) {
  const Picture &from = operation.source;
  const Picture &to = operation.destination;
  return [in = pictures.source(from),
          rgb = pictures.destination({TAVRINE_FORMAT_RGB24, from.width, from.height}),
          scaled = pictures.destination(to), out = tensor_for(operation, pictures), to]() mutable {
    return succeeded(tavrine_frame_cvt_color(in, &rgb, TAVRINE_FORMAT_RGB24)) &&
           succeeded(tavrine_frame_resize(rgb, &scaled, to.width, to.height)) &&
           fill_tensor(out, scaled);
  };
}

Call resize_then_convert_call(const Operation &operation, Pictures &pictures) {
  const Picture &to = operation.destination;
  return [in = pictures.source(operation.source),
          scaled = pictures.destination({operation.source.format, to.width, to.height}),
          rgb = pictures.destination(to), out = tensor_for(operation, pictures), to]() mutable {
    return succeeded(tavrine_frame_resize(in, &scaled, to.width, to.height)) &&
           succeeded(tavrine_frame_cvt_color(scaled, &rgb, TAVRINE_FORMAT_RGB24)) &&
           fill_tensor(out, rgb);
  };
}

Call align_face_call(const Operation &operation, Pictures &pictures) {
  return
      [in = pictures.source(operation.source), face = pictures.destination(operation.destination),
       out = tensor_for(operation, pictures)] {
        tavrine_matrix3x3f_t to_face;
        tavrine_matrix3x3f_t to_frame;
        tavrine_find_similarity_transform(kFacePoints.data(), kFaceTemplate.data(), &to_face,
                                          &to_frame);
        return succeeded(tavrine_frame_warpaffine(in, face, to_frame.m)) && fill_tensor(out, face);
      };
}

Bytes jpeg_of(const Picture &picture, Pictures &pictures) {
  if (pictures.jpeg_file(picture).size == 0) {
    // Encoding writes a notice to the log.
    tavrine_log_set_sink([](void *, int32_t, const char *, int32_t, const char *) {}, nullptr);
    const OwnedBuffer buffer(tavrine_buffer_alloc(1, TAVRINE_MEMORY_HOST));
    if (!buffer || !succeeded(tavrine_frame_encode(pictures.source(picture), TAVRINE_ENCODE_JPEG,
                                                   buffer.get()))) {
      throw std::runtime_error("the JPEG file could not be encoded");
    }
    pictures.set_jpeg_file(picture,
                           {static_cast<const uint8_t *>(tavrine_buffer_raw_pointer(buffer.get())),
                            tavrine_buffer_size(buffer.get())});
  }
  return pictures.jpeg_file(picture);
}

Call jpeg_call(const Operation &operation, Pictures &pictures) {
  const Picture &to = operation.destination;
  return [file = jpeg_of(operation.source, pictures), scaled = pictures.destination(to),
          out = tensor_for(operation, pictures), to]() mutable {
    const OwnedFrame decoded(
        tavrine_frame_load_from_memory(file.data, static_cast<int32_t>(file.size)));
    return decoded &&
           succeeded(tavrine_frame_resize(decoded.get(), &scaled, to.width, to.height)) &&
           fill_tensor(out, scaled);
  };
}

}  // namespace

Call library_call(const Operation &operation, Pictures &pictures) {
  return call_of_kind(
      {resize_call, rotate_call, convert_call, affine_call, perspective_call, tensor_call,
       batch_call, convert_then_resize_call, resize_then_convert_call, align_face_call, jpeg_call},
      operation, pictures);
}

}  // namespace tavrine::bench
