// Loads pictures as frames. One- and three-channel pictures are not copied after decoding: the
// frame owns the decoder's array.
#include <cstdio>
#include <cstring>
#include <memory>

#include "common/log.h"
#include "common/owned.h"
#include "common/pixel_format.h"
#include "io/decoder.h"
#include "tavrine_aux.h"

namespace tavrine {
namespace {

void free_pixels(void *pixels) { FreePixels()(static_cast<uint8_t *>(pixels)); }

tavrine_frame_t *wrap(Picture &picture, uint32_t format) {
  const int32_t strides[TAVRINE_MAX_PLANES] = {picture.width * picture.channels, 0, 0, 0};
  tavrine_frame_t *frame =
      tavrine_frame_make(TAVRINE_MEMORY_HOST, format, picture.pixels.get(), picture.width,
                         picture.height, strides, 0, free_pixels, picture.pixels.get());
  if (frame != nullptr) {
    static_cast<void>(picture.pixels.release());  // the frame's now
  }
  return frame;
}

// Copies a row; returns the end of the pixels. All but the last are copied with their alpha, over
// which the next one is written: one store for each pixel.
template <int kKept>
const uint8_t *drop_alpha(const uint8_t *in, uint8_t *out, int width) {
  for (; width > 1; --width, in += kKept + 1, out += kKept) {
    std::memcpy(out, in, kKept + 1);
  }
  std::memcpy(out, in, kKept);
  return in + kKept + 1;
}

// The last channel of two or four is alpha.
tavrine_frame_t *copy_without_alpha(const Picture &picture, uint32_t format) {
  OwnedFrame frame(tavrine_frame_alloc(TAVRINE_MEMORY_HOST, format, picture.width, picture.height,
                                       kTightStrides, 0));
  if (!frame || frame->planes[0] == nullptr) {
    return nullptr;
  }
  const int kept = picture.channels - 1;
  const uint8_t *in = picture.pixels.get();
  const ptrdiff_t row_bytes = static_cast<ptrdiff_t>(picture.width) * kept;
  const ptrdiff_t stride = frame->strides[0] != 0 ? frame->strides[0] : row_bytes;
  for (ptrdiff_t y = 0; y < picture.height; ++y) {
    uint8_t *out = static_cast<uint8_t *>(frame->planes[0]) + y * stride;
    in = kept == 1 ? drop_alpha<1>(in, out, picture.width) : drop_alpha<3>(in, out, picture.width);
  }
  return frame.release();
}

// Calls `refuse` for a channel count that no frame format has.
template <typename Refuse>
tavrine_frame_t *to_frame(Picture picture, Refuse refuse) {
  if (!picture.pixels) {
    return nullptr;
  }
  switch (picture.channels) {
    case 1:
      return wrap(picture, TAVRINE_FORMAT_GREY);
    case 2:
      return copy_without_alpha(picture, TAVRINE_FORMAT_GREY);
    case 3:
      return wrap(picture, TAVRINE_FORMAT_RGB24);
    case 4:
      return copy_without_alpha(picture, TAVRINE_FORMAT_RGB24);
    default:
      refuse(picture.channels);
      return nullptr;
  }
}

struct CloseFile {
  void operator()(FILE *file) const { fclose(file); }
};

}  // namespace
}  // namespace tavrine

tavrine_frame_t *tavrine_frame_load(const char *path) {
  using namespace tavrine;
  if (path == nullptr) {
    TAVRINE_LOG_AT(257, kError, kTagAux, "Load frame but no file name specified!\n");
    return nullptr;
  }
  const std::unique_ptr<FILE, CloseFile> file(fopen(path, "rb"));
  if (!file) {
    return nullptr;
  }
  return to_frame(decode_file(file.get()), [path](int channels) {
    TAVRINE_LOG_AT(315, kError, kTagAux, "Can not load image [%s] of which channel is [%d]!\n",
                   path, channels);
  });
}

tavrine_frame_t *tavrine_frame_load_from_memory(const void *data, int32_t length) {
  using namespace tavrine;
  if (data == nullptr || length <= 0) {
    return nullptr;
  }
  const auto *bytes = static_cast<const uint8_t *>(data);
  return to_frame(decode_memory(bytes, static_cast<size_t>(length)), [](int channels) {
    TAVRINE_LOG_AT(378, kError, kTagAux, "Can not load image of which channel is [%d]!\n",
                   channels);
  });
}
