#include "io/encoder.h"

#include <limits>

#include "io/codec_memory.h"
#include "io/stb.h"
#include "tavrine_aux.h"

// The encoder defines this function for other programs but does not declare it.
extern "C" unsigned char *stbi_write_png_to_mem(const unsigned char *pixels, int stride_bytes,
                                                int x, int y, int n, int *out_len);

namespace tavrine {
namespace {

constexpr int kJpegQuality = 100;

// The encoders count bytes in int and grow their buffers by doubling.
constexpr int64_t kMaxPixelBytes = int64_t{1} << 29;
constexpr int32_t kMaxJpegSide = 65535;

bool can_be_encoded(const tavrine_frame_t *frame, int channels, PictureFormat format) {
  if (frame->planes[0] == nullptr || frame->width <= 0 || frame->height <= 0) {
    return false;
  }
  if (format == PictureFormat::kJpeg &&
      (frame->width > kMaxJpegSide || frame->height > kMaxJpegSide)) {
    return false;
  }
  return (static_cast<int64_t>(frame->width) * channels + 1) <= kMaxPixelBytes / frame->height;
}

bool make_tight(OwnedFrame &frame) {
  if (frame && tavrine_frame_is_contiguous(frame.get()) == 0) {
    frame = OwnedFrame(tavrine_frame_duplicate(frame.get()));
  }
  return static_cast<bool>(frame);
}

// The encoder ignores failures of its callback, so they are kept here.
struct Stream {
  ByteSink &sink;
  bool failed;
};

void write_chunk(void *context, void *data, int size) {
  auto *stream = static_cast<Stream *>(context);
  if (data != nullptr && size > 0 && !stream->failed) {
    stream->failed = !stream->sink.append(data, static_cast<size_t>(size));
  }
}

bool encode_png(const tavrine_frame_t *frame, int channels, ByteSink &sink) {
  int length = 0;
  const unsigned char *bytes =
      stbi_write_png_to_mem(static_cast<const unsigned char *>(frame->planes[0]), frame->strides[0],
                            frame->width, frame->height, channels, &length);
  return bytes != nullptr && (length <= 0 || sink.append(bytes, static_cast<size_t>(length)));
}

bool run_encoder(const tavrine_frame_t *frame, int channels, PictureFormat format, ByteSink &sink) {
  Stream stream = {sink, false};
  int written = 0;
  switch (format) {
    case PictureFormat::kPng:
      return encode_png(frame, channels, sink);
    case PictureFormat::kBmp:
      written = stbi_write_bmp_to_func(write_chunk, &stream, frame->width, frame->height, channels,
                                       frame->planes[0]);
      break;
    case PictureFormat::kJpeg:
      written = stbi_write_jpg_to_func(write_chunk, &stream, frame->width, frame->height, channels,
                                       frame->planes[0], kJpegQuality);
      break;
  }
  return written != 0 && !stream.failed;
}

}  // namespace

int32_t take_host_copy(const tavrine_frame_t *frame, OwnedFrame &copy) {
  if (tavrine_frame_mem_type(frame) == TAVRINE_MEMORY_HOST) {
    copy = OwnedFrame(tavrine_frame_ref(frame));
  } else {
    const int32_t downloaded = tavrine_frame_download(frame, copy.slot());
    if (downloaded != TAVRINE_OK) {
      return downloaded;
    }
  }
  return make_tight(copy) ? TAVRINE_OK : TAVRINE_FAILURE;
}

bool keeps_grey(const tavrine_frame_t *frame, PictureFormat format) {
  return format == PictureFormat::kPng && frame->pixel_format == TAVRINE_FORMAT_GREY;
}

bool convert_for(PictureFormat format, OwnedFrame &copy) {
  if (keeps_grey(copy.get(), format)) {
    return true;
  }
  OwnedFrame rgb;
  if (tavrine_frame_cvt_color(copy.get(), rgb.slot(), TAVRINE_FORMAT_RGB24) != TAVRINE_OK) {
    return false;
  }
  copy = std::move(rgb);
  return make_tight(copy);
}

bool encode(const tavrine_frame_t *frame, PictureFormat format, ByteSink &sink) {
  const int channels = keeps_grey(frame, format) ? 1 : 3;
  if (!can_be_encoded(frame, channels, format)) {
    return false;
  }
  // No budget: the encoder's memory depends only on the size, which is limited above.
  const CodecMemory memory(std::numeric_limits<size_t>::max());
  try {
    return run_encoder(frame, channels, format, sink);
  } catch (const CodecStopped &) {
    return false;
  }
}

}  // namespace tavrine
