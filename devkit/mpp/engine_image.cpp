#include "engine_image.h"

namespace tavrine::devkit {
namespace {

constexpr uint32_t kAlignment = 16;

// A row of chroma pairs has as many bytes as a luma row, and the same stride.
struct TypeShape {
  IVE_IMAGE_TYPE_E type;
  uint32_t pixel_bytes;
  uint32_t size_unit;  // width and height must be multiples of this
  int plane_count;
  uint32_t row_divisor[2];  // of each plane
};

constexpr TypeShape kTypes[] = {
    {IVE_IMAGE_TYPE_U8C1, 1, 1, 1, {1}},
    {IVE_IMAGE_TYPE_YUV420SP, 1, 2, 2, {1, 2}},
    {IVE_IMAGE_TYPE_U8C3_PACKAGE, 3, 1, 1, {1}},
};

const TypeShape *find_type(IVE_IMAGE_TYPE_E type) {
  for (const TypeShape &shape : kTypes) {
    if (shape.type == type) {
      return &shape;
    }
  }
  return nullptr;
}

bool has_size(const IVE_IMAGE_S &image, uint32_t unit) {
  return image.u32Width >= 64 && image.u32Width <= 1920 && image.u32Height >= 64 &&
         image.u32Height <= 1080 && image.u32Width % unit == 0 && image.u32Height % unit == 0;
}

std::optional<EnginePlane> find_plane(const IVE_IMAGE_S &image, const TypeShape &shape, int plane) {
  const uint64_t pitch = uint64_t{image.au32Stride[plane]} * shape.pixel_bytes;
  const uint64_t row_bytes = uint64_t{image.u32Width} * shape.pixel_bytes;
  const uint64_t rows = image.u32Height / shape.row_divisor[plane];
  const std::optional<EngineRange> range =
      find_engine_range(image.au64PhyAddr[plane], pitch * (rows - 1) + row_bytes);
  if (!range) {
    return std::nullopt;
  }
  return EnginePlane{*range, static_cast<size_t>(pitch)};
}

}  // namespace

HI_S32 find_image(const IVE_IMAGE_S &image, EngineImage *found) {
  const TypeShape *shape = find_type(image.enType);
  if (shape == nullptr) {
    return TAVRINE_DEVKIT_IVE_NOT_SUPPORTED;
  }
  if (!has_size(image, shape->size_unit)) {
    return TAVRINE_DEVKIT_IVE_ILLEGAL_PARAM;
  }
  found->width = image.u32Width;
  found->height = image.u32Height;
  for (int plane = 0; plane < shape->plane_count; ++plane) {
    if (image.au32Stride[plane] % kAlignment != 0 || image.au32Stride[plane] < image.u32Width ||
        image.au64PhyAddr[plane] % kAlignment != 0) {
      return TAVRINE_DEVKIT_IVE_ILLEGAL_PARAM;
    }
    const std::optional<EnginePlane> in_memory = find_plane(image, *shape, plane);
    if (!in_memory) {
      return TAVRINE_DEVKIT_IVE_BAD_ADDRESS;
    }
    found->planes[plane] = *in_memory;
  }
  return HI_SUCCESS;
}

}  // namespace tavrine::devkit
