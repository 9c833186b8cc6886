#include <algorithm>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#include <utility>
#include <vector>

#include "calls.h"
#include "decode_jpeg.h"
#include "planes.h"

namespace tavrine::bench {
namespace {

cv::Mat mat_of(const Plane &plane) {
  return {plane.height, plane.width, CV_8UC(plane.channels), plane.data,
          static_cast<size_t>(plane.stride)};
}

cv::Mat mat_of(const tavrine_frame_t *frame, int index) { return mat_of(plane_of(frame, index)); }

std::vector<cv::Mat> mats_of(const tavrine_frame_t *frame) {
  std::vector<cv::Mat> mats;
  for (const Plane &plane : planes_of(frame)) {
    mats.push_back(mat_of(plane));
  }
  return mats;
}

// OpenCV allocates a destination of another size or type anew, which would be timed, too.
bool still_holds(const cv::Mat &mat, const uint8_t *data) { return mat.data == data; }

template <typename Step>
Call for_each_plane(const tavrine_frame_t *in, const tavrine_frame_t *out, Step step) {
  return [step, from = mats_of(in), to = mats_of(out)]() mutable {
    bool is_done = true;
    for (size_t i = 0; i < from.size(); ++i) {
      const uint8_t *const data = to[i].data;
      step(from[i], to[i]);
      is_done = is_done && still_holds(to[i], data);
    }
    return is_done;
  };
}

Call color_call(const tavrine_frame_t *in, const tavrine_frame_t *out, int code) {
  return for_each_plane(in, out,
                        [code](const cv::Mat &from, cv::Mat &to) { cv::cvtColor(from, to, code); });
}

// OpenCV writes 4:2:0 as three planes below each other in one matrix.
cv::Mat stacked_yu12(const tavrine_frame_t *frame) {
  return {frame->height * 3 / 2, frame->width, CV_8UC1, frame->planes[0]};
}

Call rgb_to_yuv_call(const Operation &operation, Pictures &pictures) {
  // OpenCV writes no NV12; the planar form is as much work.
  const Picture planar = {TAVRINE_FORMAT_YU12, operation.destination.width,
                          operation.destination.height};
  return [from = mat_of(pictures.source(operation.source), 0),
          to = stacked_yu12(pictures.destination(planar))]() mutable {
    const uint8_t *const data = to.data;
    cv::cvtColor(from, to, cv::COLOR_RGB2YUV_I420);
    return still_holds(to, data);
  };
}

Call yuv_to_rgb_call(const tavrine_frame_t *in, const tavrine_frame_t *out) {
  return [luma = mat_of(in, 0), chroma = mat_of(in, 1), to = mat_of(out, 0)]() mutable {
    const uint8_t *const data = to.data;
    cv::cvtColorTwoPlane(luma, chroma, to, cv::COLOR_YUV2RGB_NV12);
    return still_holds(to, data);
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

Call affine_call(const Operation &operation, Pictures &pictures) {
  cv::Matx23d matrix;
  std::copy_n(operation.matrix.begin(), 6, matrix.val);
  return for_each_plane(
      pictures.source(operation.source), pictures.destination(operation.destination),
      [matrix](const cv::Mat &from, cv::Mat &to) {
        cv::warpAffine(from, to, matrix, to.size(), cv::INTER_LINEAR | cv::WARP_INVERSE_MAP,
                       cv::BORDER_CONSTANT);
      });
}

Call perspective_call(const Operation &operation, Pictures &pictures) {
  cv::Matx33d matrix;
  std::copy_n(operation.matrix.begin(), 9, matrix.val);
  return for_each_plane(
      pictures.source(operation.source), pictures.destination(operation.destination),
      [matrix](const cv::Mat &from, cv::Mat &to) {
        cv::warpPerspective(from, to, matrix, to.size(), cv::INTER_LINEAR | cv::WARP_INVERSE_MAP,
                            cv::BORDER_REPLICATE);
      });
}

// The three channels of one image of a tensor.
std::vector<cv::Mat> channels_of(const tavrine_tensor_t *tensor, int32_t image) {
  const int rows = tensor->shape[2];
  const int columns = tensor->shape[3];
  std::vector<cv::Mat> channels;
  channels.reserve(3);
  for (int32_t channel = 0; channel < 3; ++channel) {
    channels.emplace_back(rows, columns, CV_32FC1,
                          tavrine_tensor_data_at(tensor, image, channel, 0, 0));
  }
  return channels;
}

std::vector<cv::Mat> channels_for(const Operation &operation, Pictures &pictures) {
  return channels_of(pictures.tensor(1, operation.destination.height, operation.destination.width),
                     0);
}

// Faster than blobFromImage, which converts the picture to floats before it splits it.
class TensorFill {
 public:
  void operator()(const cv::Mat &from, std::vector<cv::Mat> &to) {
    cv::split(from, bytes_);
    for (size_t channel = 0; channel < to.size(); ++channel) {
      bytes_[channel].convertTo(to[channel], CV_32F, 1.0 / kTensorScale,
                                -kTensorMean / kTensorScale);
    }
  }

 private:
  std::vector<cv::Mat> bytes_;
};

Call tensor_call(const Operation &operation, Pictures &pictures) {
  return [from = mat_of(pictures.source(operation.source), 0),
          to = channels_for(operation, pictures), fill_tensor = TensorFill()]() mutable {
    fill_tensor(from, to);
    return true;
  };
}

Call batch_call(const Operation &operation, Pictures &pictures) {
  const cv::Size size(operation.destination.width, operation.destination.height);
  const tavrine_tensor_t *tensor = pictures.tensor(kRegionCount, size.height, size.width);
  std::vector<std::vector<cv::Mat>> images;
  images.reserve(kRegionCount);
  for (int32_t image = 0; image < kRegionCount; ++image) {
    images.push_back(channels_of(tensor, image));
  }
  return [from = mat_of(pictures.source(operation.source), 0), size, images, scaled = cv::Mat(),
          fill_tensor = TensorFill()]() mutable {
    for (size_t i = 0; i < images.size(); ++i) {
      const tavrine_area2d_t &area = kRegions[i];
      cv::resize(from(cv::Rect(area.x, area.y, area.width, area.height)), scaled, size);
      fill_tensor(scaled, images[i]);
    }
    return true;
  };
}

Call convert_then_resize_call(const Operation &operation, Pictures &pictures) {
  const tavrine_frame_t *in = pictures.source(operation.source);
  const cv::Size size(operation.destination.width, operation.destination.height);
  return [luma = mat_of(in, 0), chroma = mat_of(in, 1), to = channels_for(operation, pictures),
          size, rgb = cv::Mat(), scaled = cv::Mat(), fill_tensor = TensorFill()]() mutable {
    cv::cvtColorTwoPlane(luma, chroma, rgb, cv::COLOR_YUV2RGB_NV12);
    cv::resize(rgb, scaled, size);
    fill_tensor(scaled, to);
    return true;
  };
}

Call resize_then_convert_call(const Operation &operation, Pictures &pictures) {
  const tavrine_frame_t *in = pictures.source(operation.source);
  const cv::Size size(operation.destination.width, operation.destination.height);
  return [luma = mat_of(in, 0), chroma = mat_of(in, 1), to = channels_for(operation, pictures),
          size, small_luma = cv::Mat(), small_chroma = cv::Mat(), rgb = cv::Mat(),
          fill_tensor = TensorFill()]() mutable {
    cv::resize(luma, small_luma, size);
    cv::resize(chroma, small_chroma, size / 2);
    cv::cvtColorTwoPlane(small_luma, small_chroma, rgb, cv::COLOR_YUV2RGB_NV12);
    fill_tensor(rgb, to);
    return true;
  };
}

// OpenCV's solver of an affine map by three points is less work than a similarity by least
// squares.
Call align_face_call(const Operation &operation, Pictures &pictures) {
  const cv::Size size(operation.destination.width, operation.destination.height);
  return
      [from = mat_of(pictures.source(operation.source), 0), to = channels_for(operation, pictures),
       size, face = cv::Mat(), fill_tensor = TensorFill()]() mutable {
        cv::Point2f in_frame[kPointCount];
        cv::Point2f in_template[kPointCount];
        for (size_t i = 0; i < kPointCount; ++i) {
          in_frame[i] = {kFacePoints[i].x, kFacePoints[i].y};
          in_template[i] = {kFaceTemplate[i].x, kFaceTemplate[i].y};
        }
        const cv::Mat to_frame = cv::getAffineTransform(in_template, in_frame);
        cv::warpAffine(from, face, to_frame, size, cv::INTER_LINEAR | cv::WARP_INVERSE_MAP,
                       cv::BORDER_CONSTANT);
        fill_tensor(face, to);
        return true;
      };
}

// OpenCV decodes JPEG with libjpeg-turbo. Called directly, it spares a module that needs 49 more
// packages.
Call jpeg_call(const Operation &operation, Pictures &pictures) {
  const cv::Size size(operation.destination.width, operation.destination.height);
  return [file = pictures.jpeg_file(operation.source), to = channels_for(operation, pictures),
          decoded = cv::Mat(operation.source.height, operation.source.width, CV_8UC3), size,
          scaled = cv::Mat(), fill_tensor = TensorFill()]() mutable {
    if (!decode_jpeg(file, decoded.data, decoded.cols, decoded.rows)) {
      return false;
    }
    cv::resize(decoded, scaled, size);
    fill_tensor(scaled, to);
    return true;
  };
}

// The fastest call that gives the same picture, or as much work. At odd whole ratios the centres
// of the pixels coincide, so that bilinear interpolation picks the nearest pixel.
int interpolation_of(const Operation &operation) {
  const int ratio = operation.source.width / operation.destination.width;
  const bool is_odd_ratio = ratio % 2 == 1 && ratio > 1 &&
                            operation.source.width == ratio * operation.destination.width &&
                            operation.source.height == ratio * operation.destination.height;
  return is_odd_ratio ? cv::INTER_NEAREST_EXACT : cv::INTER_LINEAR;
}

int rotation_code(int32_t rotation) {
  const int codes[] = {cv::ROTATE_90_CLOCKWISE, cv::ROTATE_180, cv::ROTATE_90_COUNTERCLOCKWISE};
  return codes[rotation];
}

Call resize_call(const Operation &operation, Pictures &pictures) {
  return for_each_plane(
      pictures.source(operation.source), pictures.destination(operation.destination),
      [interpolation = interpolation_of(operation)](const cv::Mat &from, cv::Mat &to) {
        cv::resize(from, to, to.size(), 0, 0, interpolation);
      });
}

Call rotate_call(const Operation &operation, Pictures &pictures) {
  return for_each_plane(pictures.source(operation.source),
                        pictures.destination(operation.destination),
                        [code = rotation_code(operation.rotation)](
                            const cv::Mat &from, cv::Mat &to) { cv::rotate(from, to, code); });
}

}  // namespace

Call opencv_call(const Operation &operation, Pictures &pictures) {
  return call_of_kind(
      {resize_call, rotate_call, convert_call, affine_call, perspective_call, tensor_call,
       batch_call, convert_then_resize_call, resize_then_convert_call, align_face_call, jpeg_call},
      operation, pictures);
}

}  // namespace tavrine::bench
