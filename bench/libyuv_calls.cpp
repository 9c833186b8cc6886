// libyuv's names: RAW has bytes R, G, B; RGB24 has bytes B, G, R.
#include <libyuv.h>
#include <libyuv/scale_rgb.h>

#include <memory>
#include <vector>

#include "calls.h"
#include "planes.h"

namespace tavrine::bench {
namespace {

bool succeeded(int result) { return result == 0; }

Call resize_call(const Operation &operation, Pictures &pictures) {
  const tavrine_frame_t *in = pictures.source(operation.source);
  const tavrine_frame_t *out = pictures.destination(operation.destination);
  const Plane from = plane_of(in, 0);
  const Plane to = plane_of(out, 0);
  constexpr auto kFilter = libyuv::kFilterBilinear;
  switch (in->pixel_format) {
    case TAVRINE_FORMAT_GREY:
      return [from, to] {
        libyuv::ScalePlane(from.data, from.stride, from.width, from.height, to.data, to.stride,
                           to.width, to.height, kFilter);
        return true;
      };
    case TAVRINE_FORMAT_RGB24:
      return [from, to] {
        return succeeded(libyuv::RGBScale(from.data, from.stride, from.width, from.height, to.data,
                                          to.stride, to.width, to.height, kFilter));
      };
    case TAVRINE_FORMAT_NV12:
      return [from, to, from_uv = plane_of(in, 1), to_uv = plane_of(out, 1)] {
        return succeeded(libyuv::NV12Scale(from.data, from.stride, from_uv.data, from_uv.stride,
                                           from.width, from.height, to.data, to.stride, to_uv.data,
                                           to_uv.stride, to.width, to.height, kFilter));
      };
    default:
      return {};
  }
}

// An intermediate picture of four bytes a pixel.
struct FourBytePicture {
  explicit FourBytePicture(const Plane &plane)
      : stride(4 * plane.width),
        memory(static_cast<size_t>(stride) * static_cast<size_t>(plane.height)) {}

  uint8_t *data() { return memory.data(); }

  int stride;
  std::vector<uint8_t> memory;
};

// libyuv has no quarter rotation of three-byte pixels, so they go through four bytes. A half
// rotation is a mirror image with the rows in reverse order.
Call rotate_rgb_call(const Plane &from, const Plane &to, libyuv::RotationMode mode) {
  if (mode == libyuv::kRotate180) {
    return [from, to] {
      return succeeded(libyuv::RGB24Mirror(from.data, from.stride, to.data, to.stride, from.width,
                                           -from.height));
    };
  }
  const auto upright = std::make_shared<FourBytePicture>(from);
  const auto rotated = std::make_shared<FourBytePicture>(to);
  return [from, to, mode, upright, rotated] {
    return succeeded(libyuv::RGB24ToARGB(from.data, from.stride, upright->data(), upright->stride,
                                         from.width, from.height)) &&
           succeeded(libyuv::ARGBRotate(upright->data(), upright->stride, rotated->data(),
                                        rotated->stride, from.width, from.height, mode)) &&
           succeeded(libyuv::ARGBToRGB24(rotated->data(), rotated->stride, to.data, to.stride,
                                         to.width, to.height));
  };
}

Call rotate_call(const Operation &operation, Pictures &pictures) {
  const libyuv::RotationMode modes[] = {libyuv::kRotate90, libyuv::kRotate180, libyuv::kRotate270};
  const libyuv::RotationMode mode = modes[operation.rotation];
  const tavrine_frame_t *in = pictures.source(operation.source);
  const tavrine_frame_t *out = pictures.destination(operation.destination);
  const Plane from = plane_of(in, 0);
  const Plane to = plane_of(out, 0);
  switch (in->pixel_format) {
    case TAVRINE_FORMAT_GREY:
      return [from, to, mode] {
        return succeeded(libyuv::RotatePlane(from.data, from.stride, to.data, to.stride, from.width,
                                             from.height, mode));
      };
    case TAVRINE_FORMAT_RGB24:
      return rotate_rgb_call(from, to, mode);
    case TAVRINE_FORMAT_BGRA:
      return [from, to, mode] {
        return succeeded(libyuv::ARGBRotate(from.data, from.stride, to.data, to.stride, from.width,
                                            from.height, mode));
      };
    default:
      break;
  }
  // libyuv writes chroma as two planes instead of pairs, which is as much work.
  const tavrine_frame_t *planar = pictures.destination(
      {TAVRINE_FORMAT_YU12, operation.destination.width, operation.destination.height});
  return [from, from_uv = plane_of(in, 1), y = plane_of(planar, 0), u = plane_of(planar, 1),
          v = plane_of(planar, 2), mode] {
    return succeeded(libyuv::NV12ToI420Rotate(from.data, from.stride, from_uv.data, from_uv.stride,
                                              y.data, y.stride, u.data, u.stride, v.data, v.stride,
                                              from.width, from.height, mode));
  };
}

Call convert_rgb_call(const tavrine_frame_t *in, const tavrine_frame_t *out) {
  const Plane from = plane_of(in, 0);
  const Plane to = plane_of(out, 0);
  switch (out->pixel_format) {
    case TAVRINE_FORMAT_GREY:
      return [from, to] {
        return succeeded(
            libyuv::RAWToJ400(from.data, from.stride, to.data, to.stride, from.width, from.height));
      };
    case TAVRINE_FORMAT_BGR24:
      return [from, to] {
        return succeeded(libyuv::RAWToRGB24(from.data, from.stride, to.data, to.stride, from.width,
                                            from.height));
      };
    default:
      // Full range exists with V, U pairs alone, which is as much work.
      return [from, to, vu = plane_of(out, 1)] {
        return succeeded(libyuv::RAWToJNV21(from.data, from.stride, to.data, to.stride, vu.data,
                                            vu.stride, from.width, from.height));
      };
  }
}

Call convert_yuv_call(const tavrine_frame_t *in, const tavrine_frame_t *out) {
  const Plane from = plane_of(in, 0);
  const Plane from_uv = plane_of(in, 1);
  const Plane to = plane_of(out, 0);
  if (out->pixel_format == TAVRINE_FORMAT_RGB24) {
    return [from, from_uv, to] {
      return succeeded(libyuv::NV12ToRAWMatrix(from.data, from.stride, from_uv.data, from_uv.stride,
                                               to.data, to.stride, &libyuv::kYuvJPEGConstants,
                                               from.width, from.height));
    };
  }
  const Plane to_u = plane_of(out, 1);
  if (in->pixel_format == TAVRINE_FORMAT_YU12) {
    return [from, from_uv, from_v = plane_of(in, 2), to, to_u] {
      return succeeded(libyuv::I420ToNV12(from.data, from.stride, from_uv.data, from_uv.stride,
                                          from_v.data, from_v.stride, to.data, to.stride, to_u.data,
                                          to_u.stride, from.width, from.height));
    };
  }
  if (out->pixel_format == TAVRINE_FORMAT_NV21) {
    // The swap is the same in both directions.
    return [from, from_uv, to, to_u] {
      return succeeded(libyuv::NV21ToNV12(from.data, from.stride, from_uv.data, from_uv.stride,
                                          to.data, to.stride, to_u.data, to_u.stride, from.width,
                                          from.height));
    };
  }
  return [from, from_uv, to, to_u, to_v = plane_of(out, 2)] {
    return succeeded(libyuv::NV12ToI420(from.data, from.stride, from_uv.data, from_uv.stride,
                                        to.data, to.stride, to_u.data, to_u.stride, to_v.data,
                                        to_v.stride, from.width, from.height));
  };
}

Call convert_call(const Operation &operation, Pictures &pictures) {
  const tavrine_frame_t *in = pictures.source(operation.source);
  const tavrine_frame_t *out = pictures.destination(operation.destination);
  if (in->pixel_format == TAVRINE_FORMAT_GREY) {
    return [from = plane_of(in, 0), to = plane_of(out, 0)] {
      libyuv::MergeRGBPlane(from.data, from.stride, from.data, from.stride, from.data, from.stride,
                            to.data, to.stride, from.width, from.height);
      return true;
    };
  }
  if (in->pixel_format == TAVRINE_FORMAT_RGB24) {
    return convert_rgb_call(in, out);
  }
  return convert_yuv_call(in, out);
}

}  // namespace

Call libyuv_call(const Operation &operation, Pictures &pictures) {
  return call_of_kind({resize_call, rotate_call, convert_call}, operation, pictures);
}

}  // namespace tavrine::bench
