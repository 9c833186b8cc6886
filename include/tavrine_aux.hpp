/* The library's operations for C++17, over tavrine_aux.h, which says what each of them computes.
 *
 *   tavrine::Frame photo = tavrine::load("photo.jpg").value();
 *   tavrine::Frame small = tavrine::resize(photo, {640, 480}).value();
 *   tavrine::save(small, "small.png").value();
 *
 * An operation returns a new frame, or writes into a frame that is passed after the source:
 * `resize(photo, small, {320, 240})`. tavrine_core.hpp has the types. */
#ifndef TAVRINE_AUX_HPP
#define TAVRINE_AUX_HPP

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "tavrine_aux.h"
#include "tavrine_core.hpp"

namespace tavrine {
inline namespace v1 {

/* ---- Pictures in and out --------------------------------------------------- */

inline Result<Frame> load(const char *path) {
  return Result<Frame>::adopt(tavrine_frame_load(path));
}
inline Result<Frame> load(const std::string &path) { return load(path.c_str()); }

inline Result<Frame> decode(Span<const uint8_t> file) {
  if (file.size() > static_cast<size_t>(std::numeric_limits<int32_t>::max())) {
    return Status::kInvalidArgument;
  }
  return Result<Frame>::adopt(
      tavrine_frame_load_from_memory(file.data(), static_cast<int32_t>(file.size())));
}

inline Result<void> save(FrameView frame, const char *path) {
  return Result<void>(tavrine_frame_save(frame.get(), path));
}
inline Result<void> save(FrameView frame, const std::string &path) {
  return save(frame, path.c_str());
}

enum class PictureFormat : int32_t {
  kJpeg = TAVRINE_ENCODE_JPEG,
  kBmp = TAVRINE_ENCODE_BMP,
  kPng = TAVRINE_ENCODE_PNG
};

inline Result<void> encode(FrameView frame, PictureFormat format, Buffer &file) {
  return Result<void>(tavrine_frame_encode(frame.get(), static_cast<int32_t>(format), file.get()));
}
inline Result<Buffer> encode(FrameView frame, PictureFormat format) {
  Result<Buffer> file = Buffer::allocate(0);
  if (file) {
    const Result<void> encoded = encode(frame, format, *file);
    if (!encoded) {
      return encoded.status();
    }
  }
  return file;
}

/* ---- Transforms between points --------------------------------------------- */

using Matrix = tavrine_matrix3x3f_t;

/* Moves points: x' = m[0] x + m[1] y + m[2] and so on, divided by the third row's value. */
class Transform {
 public:
  constexpr Transform() noexcept : matrix_{{1, 0, 0, 0, 1, 0, 0, 0, 1}} {}
  constexpr explicit Transform(const Matrix &matrix) noexcept : matrix_(matrix) {}

  /* Row-major; the first six are an affine transform's. */
  constexpr const float *matrix() const noexcept { return matrix_.m; }

  Point apply(Point point) const noexcept {
    const float *m = matrix_.m;
    const float w = m[6] * point.x + m[7] * point.y + m[8];
    return {(m[0] * point.x + m[1] * point.y + m[2]) / w,
            (m[3] * point.x + m[4] * point.y + m[5]) / w};
  }

  /* Contains infinities or NaNs when there is none. */
  Transform inverse() const noexcept {
    const float *m = matrix_.m;
    const auto minor = [m](int a, int b, int c, int d) {
      return double{m[a]} * m[d] - double{m[b]} * m[c];
    };
    const double cofactors[9] = {minor(4, 5, 7, 8), minor(2, 1, 8, 7), minor(1, 2, 4, 5),
                                 minor(5, 3, 8, 6), minor(0, 2, 6, 8), minor(2, 0, 5, 3),
                                 minor(3, 4, 6, 7), minor(1, 0, 7, 6), minor(0, 1, 3, 4)};
    const double determinant = m[0] * cofactors[0] + m[1] * cofactors[3] + m[2] * cofactors[6];
    Matrix result;
    for (int i = 0; i < 9; ++i) {
      result.m[i] = static_cast<float>(cofactors[i] / determinant);
    }
    return Transform(result);
  }

 private:
  Matrix matrix_;
};

/* The first applied after the second. */
inline Transform operator*(const Transform &after, const Transform &first) noexcept {
  Matrix result;
  for (int i = 0; i < 9; ++i) {
    const float *row = after.matrix() + i / 3 * 3;
    const float *column = first.matrix() + i % 3;
    result.m[i] = row[0] * column[0] + row[1] * column[3] + row[2] * column[6];
  }
  return Transform(result);
}

/* A transform and the way back. */
struct TransformPair {
  Transform forward, inverse;
};

using PointTriple = std::array<Point, 3>;

inline TransformPair find_affine(const PointTriple &source, const PointTriple &destination) {
  Matrix forward;
  Matrix inverse;
  tavrine_find_affine_transform(source.data(), destination.data(), &forward, &inverse);
  return {Transform(forward), Transform(inverse)};
}

/* Throws std::bad_alloc when out of memory. */
inline TransformPair find_similarity(const PointTriple &source, const PointTriple &destination) {
  Matrix forward;
  Matrix inverse;
  tavrine_find_similarity_transform(source.data(), destination.data(), &forward, &inverse);
  return {Transform(forward), Transform(inverse)};
}

/* ---- Geometry and colour of frames ------------------------------------------ */

enum class Rotation : int32_t {
  k90 = TAVRINE_ROTATE_90,
  k180 = TAVRINE_ROTATE_180,
  k270 = TAVRINE_ROTATE_270
};

inline Result<void> resize(FrameView in, Frame &out, Size size) {
  return Result<void>(tavrine_frame_resize(in.get(), out.slot(), size.width, size.height));
}
inline Result<Frame> resize(FrameView in, Size size) {
  return Result<Frame>::filled_by([&](tavrine_frame_t **slot) {
    return tavrine_frame_resize(in.get(), slot, size.width, size.height);
  });
}

inline Result<void> scale(FrameView in, Frame &out, float ratio) {
  return Result<void>(tavrine_frame_scale(in.get(), out.slot(), ratio));
}
inline Result<Frame> scale(FrameView in, float ratio) {
  return Result<Frame>::filled_by(
      [&](tavrine_frame_t **slot) { return tavrine_frame_scale(in.get(), slot, ratio); });
}

inline Result<void> crop(FrameView in, Frame &out, Area area) {
  return Result<void>(tavrine_frame_crop(in.get(), out.slot(), area));
}
inline Result<Frame> crop(FrameView in, Area area) {
  return Result<Frame>::filled_by(
      [&](tavrine_frame_t **slot) { return tavrine_frame_crop(in.get(), slot, area); });
}

inline Result<void> rotate(FrameView in, Frame &out, Rotation rotation) {
  return Result<void>(tavrine_frame_rotate(in.get(), out.slot(), static_cast<int32_t>(rotation)));
}
inline Result<Frame> rotate(FrameView in, Rotation rotation) {
  return Result<Frame>::filled_by([&](tavrine_frame_t **slot) {
    return tavrine_frame_rotate(in.get(), slot, static_cast<int32_t>(rotation));
  });
}

inline Result<void> cvt_color(FrameView in, Frame &out, PixelFormat format) {
  return Result<void>(tavrine_frame_cvt_color(in.get(), out.slot(), static_cast<uint32_t>(format)));
}
inline Result<Frame> cvt_color(FrameView in, PixelFormat format) {
  return Result<Frame>::filled_by([&](tavrine_frame_t **slot) {
    return tavrine_frame_cvt_color(in.get(), slot, static_cast<uint32_t>(format));
  });
}

/* Warps take the transform from destination to source. */
inline Result<void> warp_affine(FrameView in, Frame &out, const Transform &to_source) {
  return Result<void>(tavrine_frame_warpaffine(in.get(), out.get(), to_source.matrix()));
}
inline Result<void> warp_perspective(FrameView in, Frame &out, const Transform &to_source) {
  return Result<void>(tavrine_frame_warpperspective(in.get(), out.get(), to_source.matrix()));
}

namespace detail {

using Warp = int32_t(const tavrine_frame_t *, tavrine_frame_t *, const float *);

inline Result<Frame> warp(Warp *warp_into, FrameView in, Size size, const Transform &to_source) {
  if (in.get() == nullptr) {
    return Status::kInvalidArgument;
  }
  FrameOptions options;
  options.memory = in.memory();
  options.extra = in->extra;
  Result<Frame> out = Frame::allocate(in.format(), size, options);
  if (out) {
    const auto status = static_cast<Status>(warp_into(in.get(), out->get(), to_source.matrix()));
    if (status != Status::kOk) {
      return status;
    }
  }
  return out;
}

}  // namespace detail

inline Result<Frame> warp_affine(FrameView in, Size size, const Transform &to_source) {
  return detail::warp(tavrine_frame_warpaffine, in, size, to_source);
}
inline Result<Frame> warp_perspective(FrameView in, Size size, const Transform &to_source) {
  return detail::warp(tavrine_frame_warpperspective, in, size, to_source);
}

/* ---- Tensors --------------------------------------------------------------- */

enum class TensorColor : int32_t {
  kBgr = TAVRINE_TENSOR_BGR,
  kRgb = TAVRINE_TENSOR_RGB,
  kGray = TAVRINE_TENSOR_GRAY
};

enum class ResizeMode : int32_t { kFit = TAVRINE_RESIZE_FIT, kStretch = TAVRINE_RESIZE_STRETCH };

/* A number for each colour, or one for all; in this order for every TensorColor. */
struct Rgb {
  constexpr Rgb(float all) noexcept : red(all), green(all), blue(all) {}
  constexpr Rgb(float r, float g, float b) noexcept : red(r), green(g), blue(b) {}

  float red, green, blue;
};

/* Elements are (byte - mean) / scale; those that no pixel covers are `padding`. */
struct Normalization {
  Rgb mean = 0;
  Rgb scale = 1;
  Rgb padding = 0;
};

/* Writes the top left of a frame into one image of the tensor. */
inline Result<void> to_tensor(FrameView in, Tensor &tensor, TensorColor color,
                              const Normalization &by = {}, int32_t image = 0) {
  if (!tensor || image < 0 || image >= tensor->shape[0]) {
    return Status::kInvalidArgument;
  }
  const auto offset = static_cast<uint32_t>(image) * static_cast<uint32_t>(tensor->strides[0]);
  return Result<void>(tavrine_frame_to_tensor(tensor.get(), offset, static_cast<int32_t>(color),
                                              in.get(), by.mean.red, by.mean.green, by.mean.blue,
                                              by.scale.red, by.scale.green, by.scale.blue,
                                              by.padding.red, by.padding.green, by.padding.blue));
}

/* Edges, in pixels of a frame or in elements of a tensor. */
struct Box {
  float x, y, width, height;
};

/* How an area of a frame lies in an image of a tensor, and the way back. Points have pixel centres
 * at whole numbers, as in warps; boxes count from the edges of pixels. */
struct Letterbox {
  Area area;
  float horizontal, vertical; /* frame pixels per element */

  /* As a batch places it. */
  static Letterbox of(Area area, Size image, ResizeMode mode = ResizeMode::kFit) noexcept {
    const float across = static_cast<float>(area.width) / static_cast<float>(image.width);
    const float down = static_cast<float>(area.height) / static_cast<float>(image.height);
    const float larger = std::max(across, down);
    return mode == ResizeMode::kFit ? Letterbox{area, larger, larger}
                                    : Letterbox{area, across, down};
  }
  /* The whole frame, padded on the right or below. */
  static Letterbox fit(Size frame, Size image) noexcept {
    return of({0, 0, frame.width, frame.height}, image);
  }
  /* The whole frame in the middle: the smallest area of the image's shape that holds it. */
  static Letterbox centred(Size frame, Size image) noexcept {
    const int32_t width = std::max(frame.width, spanned(frame.height, image.width, image.height));
    const int32_t height = std::max(frame.height, spanned(frame.width, image.height, image.width));
    return of({(frame.width - width) / 2, (frame.height - height) / 2, width, height}, image);
  }

  Point to_frame(Point p) const noexcept {
    return {static_cast<float>(area.x) + (p.x + 0.5F) * horizontal - 0.5F,
            static_cast<float>(area.y) + (p.y + 0.5F) * vertical - 0.5F};
  }
  Point to_image(Point p) const noexcept {
    return {(p.x + 0.5F - static_cast<float>(area.x)) / horizontal - 0.5F,
            (p.y + 0.5F - static_cast<float>(area.y)) / vertical - 0.5F};
  }
  Box to_frame(Box box) const noexcept {
    return {static_cast<float>(area.x) + box.x * horizontal,
            static_cast<float>(area.y) + box.y * vertical, box.width * horizontal,
            box.height * vertical};
  }
  Box to_image(Box box) const noexcept {
    return {(box.x - static_cast<float>(area.x)) / horizontal,
            (box.y - static_cast<float>(area.y)) / vertical, box.width / horizontal,
            box.height / vertical};
  }

 private:
  /* Frame pixels that `image` elements span, when the frame's other side fills the image's. */
  static int32_t spanned(int64_t other, int64_t image, int64_t image_other) noexcept {
    constexpr int64_t kLargest = std::numeric_limits<int32_t>::max();
    return static_cast<int32_t>(image_other > 0 ? std::min(other * image / image_other, kLargest)
                                                : 0);
  }
};

struct BatchOptions {
  TensorColor color = TensorColor::kRgb;
  ResizeMode mode = ResizeMode::kFit;
  Normalization normalization;
};

/* Areas of frames that become the images of a tensor. It keeps its memory, so a program has one for
 * each thread and uses it again: clear(), add() for each image, fill(). Frames must live until
 * fill(). add() and fill() throw std::bad_alloc when out of memory. */
class Batch {
 public:
  void clear() noexcept {
    frames_.clear();
    areas_.clear();
    letterboxes_.clear();
  }
  void add(FrameView frame, Area area) {
    /* C has no pointer to pointers to constant frames; they are only read. */
    frames_.push_back(const_cast<tavrine_frame_t *>(frame.get()));
    areas_.push_back(area);
  }
  void add(FrameView frame) { add(frame, {0, 0, frame->width, frame->height}); }
  int32_t size() const noexcept { return static_cast<int32_t>(frames_.size()); }

  Result<void> fill(Tensor &tensor, const BatchOptions &options = {}) {
    const size_t count = frames_.size();
    const Rgb &mean = options.normalization.mean;
    const Rgb &scale = options.normalization.scale;
    const Rgb &padding = options.normalization.padding;
    paddings_.assign(count, {padding.red, padding.green, padding.blue});
    ratios_.assign(2 * count, 0);
    letterboxes_.clear();
    static_assert(sizeof(paddings_[0]) == sizeof(float[3]));
    const Result<void> result(tavrine_frame_transform_to_tensor_batch(
        tensor.get(), static_cast<int32_t>(options.color), size(), frames_.data(), areas_.data(),
        static_cast<int32_t>(options.mode), mean.red, mean.green, mean.blue, scale.red, scale.green,
        scale.blue, reinterpret_cast<const float(*)[3]>(paddings_.data()), workspace_.slot(),
        ratios_.data(), ratios_.data() + count));
    for (size_t i = 0; result && i < count; ++i) {
      letterboxes_.push_back({areas_[i], ratios_[count + i], ratios_[i]});
    }
    return result;
  }

  /* After fill() has succeeded: how each area lies in its image. */
  Span<const Letterbox> letterboxes() const noexcept { return letterboxes_; }

 private:
  std::vector<tavrine_frame_t *> frames_;
  std::vector<Area> areas_;
  std::vector<std::array<float, 3>> paddings_;
  std::vector<float> ratios_; /* vertical ones, then horizontal ones */
  std::vector<Letterbox> letterboxes_;
  Buffer workspace_;
};

}  // namespace v1
}  // namespace tavrine

#endif
