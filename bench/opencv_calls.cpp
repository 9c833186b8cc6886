#include <algorithm>
#include <opencv2/core.hpp>
#include <opencv2/dnn.hpp>
#include <opencv2/imgproc.hpp>
#include <utility>
#include <vector>

#include "bench/calls.h"
#include "bench/plane.h"

namespace tavrine::bench {
namespace {

cv::Mat mat_of(const tavrine_frame_t *frame, int index) {
  const Plane plane = plane_of(frame, index);
  return {plane.height, plane.width, CV_8UC(plane.channels), plane.data,
          static_cast<size_t>(plane.stride)};
}

std::vector<cv::Mat> mats_of(const tavrine_frame_t *frame) {
  const int count = layout_of(frame->pixel_format).plane_count;
  std::vector<cv::Mat> mats;
  mats.reserve(static_cast<size_t>(count));
  for (int index = 0; index < count; ++index) {
    mats.push_back(mat_of(frame, index));
  }
  return mats;
}

// A destination of another size or type would be allocated anew, and timed with that.
bool holds_same(const cv::Mat &mat, const uint8_t *data) { return mat.data == data; }

// The same work for each plane.
template <typename Work>
Call plane_by_plane(const tavrine_frame_t *in, const tavrine_frame_t *out, Work work) {
  return [work, from = mats_of(in), to = mats_of(out)]() mutable {
    bool is_done = true;
    for (size_t i = 0; i < from.size(); ++i) {
      const uint8_t *const data = to[i].data;
      work(from[i], to[i]);
      is_done = is_done && holds_same(to[i], data);
    }
    return is_done;
  };
}

Call color_call(const tavrine_frame_t *in, const tavrine_frame_t *out, int code) {
  return plane_by_plane(in, out,
                        [code](const cv::Mat &from, cv::Mat &to) { cv::cvtColor(from, to, code); });
}

// Three planes below each other in one matrix, which is how OpenCV writes 4:2:0.
cv::Mat stacked_yu12(const tavrine_frame_t *frame) {
  return {frame->height * 3 / 2, frame->width, CV_8UC1, frame->planes[0]};
}

Call rgb_to_yuv_call(const Operation &operation, Pictures &pictures) {
  // It writes no NV12; the planar form is as much work.
  const Picture planar = {TAVRINE_FORMAT_YU12, operation.destination.width,
                          operation.destination.height};
  return [from = mat_of(pictures.source(operation.source), 0),
          to = stacked_yu12(pictures.destination(planar))]() mutable {
    const uint8_t *const data = to.data;
    cv::cvtColor(from, to, cv::COLOR_RGB2YUV_I420);
    return holds_same(to, data);
  };
}

Call yuv_to_rgb_call(const tavrine_frame_t *in, const tavrine_frame_t *out) {
  return [luma = mat_of(in, 0), chroma = mat_of(in, 1), to = mat_of(out, 0)]() mutable {
    const uint8_t *const data = to.data;
    cv::cvtColorTwoPlane(luma, chroma, to, cv::COLOR_YUV2RGB_NV12);
    return holds_same(to, data);
  };
}

// Faster than mixChannels.
Call swap_chroma_call(const tavrine_frame_t *in, const tavrine_frame_t *out) {
  return [from = mats_of(in), to = mats_of(out), channels = std::vector<cv::Mat>(2)]() mutable {
    from[0].copyTo(to[0]);
    cv::split(from[1], channels);
    std::swap(channels[0], channels[1]);
    cv::merge(channels, to[1]);
    return true;
  };
}

Call split_chroma_call(const tavrine_frame_t *in, const tavrine_frame_t *out) {
  return [from = mats_of(in), to = mats_of(out)]() mutable {
    from[0].copyTo(to[0]);
    cv::split(from[1], &to[1]);
    return true;
  };
}

Call merge_chroma_call(const tavrine_frame_t *in, const tavrine_frame_t *out) {
  return [from = mats_of(in), to = mats_of(out)]() mutable {
    from[0].copyTo(to[0]);
    cv::merge(&from[1], 2, to[1]);
    return true;
  };
}

Call convert_call(const Operation &operation, Pictures &pictures) {
  const tavrine_frame_t *in = pictures.source(operation.source);
  const tavrine_frame_t *out = pictures.destination(operation.destination);
  const uint32_t from = operation.source.format;
  const uint32_t to = operation.destination.format;
  if (from == TAVRINE_FORMAT_GREY) {
    return color_call(in, out, cv::COLOR_GRAY2RGB);
  }
  if (from == TAVRINE_FORMAT_RGB24) {
    if (to == TAVRINE_FORMAT_NV12) {
      return rgb_to_yuv_call(operation, pictures);
    }
    return color_call(in, out, to == TAVRINE_FORMAT_GREY ? cv::COLOR_RGB2GRAY : cv::COLOR_RGB2BGR);
  }
  if (from == TAVRINE_FORMAT_YU12) {
    return merge_chroma_call(in, out);
  }
  switch (to) {
    case TAVRINE_FORMAT_RGB24:
      return yuv_to_rgb_call(in, out);
    case TAVRINE_FORMAT_NV21:
      return swap_chroma_call(in, out);
    default:
      return split_chroma_call(in, out);
  }
}

Call affine_call(const Operation &operation, const tavrine_frame_t *in,
                 const tavrine_frame_t *out) {
  cv::Matx23d matrix;
  std::copy_n(operation.matrix.begin(), 6, matrix.val);
  return plane_by_plane(in, out, [matrix](const cv::Mat &from, cv::Mat &to) {
    cv::warpAffine(from, to, matrix, to.size(), cv::INTER_LINEAR | cv::WARP_INVERSE_MAP,
                   cv::BORDER_CONSTANT);
  });
}

Call perspective_call(const Operation &operation, const tavrine_frame_t *in,
                      const tavrine_frame_t *out) {
  cv::Matx33d matrix;
  std::copy_n(operation.matrix.begin(), 9, matrix.val);
  return plane_by_plane(in, out, [matrix](const cv::Mat &from, cv::Mat &to) {
    cv::warpPerspective(from, to, matrix, to.size(), cv::INTER_LINEAR | cv::WARP_INVERSE_MAP,
                        cv::BORDER_REPLICATE);
  });
}

// Faster than blobFromImage, which converts the picture to floats before it splits it.
Call tensor_call(const Operation &operation, Pictures &pictures) {
  const int rows = operation.destination.height;
  const int columns = operation.destination.width;
  auto *elements =
      static_cast<float *>(tavrine_tensor_raw_pointer(pictures.tensor(1, rows, columns)));
  std::vector<cv::Mat> channels;
  channels.reserve(3);
  for (int channel = 0; channel < 3; ++channel) {
    channels.emplace_back(rows, columns, CV_32FC1, elements + channel * rows * columns);
  }
  return [from = mat_of(pictures.source(operation.source), 0), bytes = std::vector<cv::Mat>(3),
          channels]() mutable {
    cv::split(from, bytes);
    for (size_t channel = 0; channel < 3; ++channel) {
      bytes[channel].convertTo(channels[channel], CV_32F, 1.0 / kTensorScale,
                               -kTensorMean / kTensorScale);
    }
    return true;
  };
}

Call batch_call(const Operation &operation, Pictures &pictures) {
  const cv::Size size(operation.destination.width, operation.destination.height);
  const int shape[] = {kRegionCount, 3, size.height, size.width};
  void *elements =
      tavrine_tensor_raw_pointer(pictures.tensor(kRegionCount, size.height, size.width));
  return [from = mat_of(pictures.source(operation.source), 0),
          scaled = std::vector<cv::Mat>(kRegionCount), size,
          blob = cv::Mat(4, shape, CV_32F, elements)]() mutable {
    const uint8_t *const data = blob.data;
    for (size_t i = 0; i < scaled.size(); ++i) {
      const tavrine_area2d_t &area = kRegions[i];
      cv::resize(from(cv::Rect(area.x, area.y, area.width, area.height)), scaled[i], size);
    }
    cv::dnn::blobFromImages(scaled, blob, 1.0 / kTensorScale, cv::Size(),
                            cv::Scalar::all(kTensorMean));
    return holds_same(blob, data);
  };
}

int rotation_code(int32_t turn) {
  const int codes[] = {cv::ROTATE_90_CLOCKWISE, cv::ROTATE_180, cv::ROTATE_90_COUNTERCLOCKWISE};
  return codes[turn];
}

}  // namespace

Call opencv_call(const Operation &operation, Pictures &pictures) {
  const tavrine_frame_t *in = pictures.source(operation.source);
  switch (operation.work) {
    case Work::kResize:
      return plane_by_plane(in, pictures.destination(operation.destination),
                            [](const cv::Mat &from, cv::Mat &to) {
                              cv::resize(from, to, to.size(), 0, 0, cv::INTER_LINEAR);
                            });
    case Work::kTurn:
      return plane_by_plane(in, pictures.destination(operation.destination),
                            [code = rotation_code(operation.turn)](
                                const cv::Mat &from, cv::Mat &to) { cv::rotate(from, to, code); });
    case Work::kConvert:
      return convert_call(operation, pictures);
    case Work::kAffineWarp:
      return affine_call(operation, in, pictures.destination(operation.destination));
    case Work::kPerspectiveWarp:
      return perspective_call(operation, in, pictures.destination(operation.destination));
    case Work::kTensor:
      return tensor_call(operation, pictures);
    case Work::kBatch:
      return batch_call(operation, pictures);
  }
  return {};
}

}  // namespace tavrine::bench
