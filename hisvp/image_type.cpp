#include "hisvp/image_type.h"

#include <cstdio>

#include "tavrine_types.h"

namespace tavrine {

IVE_IMAGE_TYPE_E hisvp_image_type(uint32_t format) {
  switch (format) {
    case TAVRINE_FORMAT_GREY:
      return IVE_IMAGE_TYPE_U8C1;
    case TAVRINE_FORMAT_NV12:
      return IVE_IMAGE_TYPE_YUV420SP;
    case TAVRINE_FORMAT_YU12:
      return IVE_IMAGE_TYPE_YUV420P;
    case TAVRINE_FORMAT_RGB24:
      return IVE_IMAGE_TYPE_U8C3_PACKAGE;
    default:
      std::puts("Do not support this pixel format!");
      return IVE_IMAGE_TYPE_BUTT;
  }
}

}  // namespace tavrine
