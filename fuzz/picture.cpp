// All bytes are the picture, so that any file is an input. The operations are read from the end
// backwards: the decoder ignores bytes after a picture.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>
#include <vector>

#include <sys/mman.h>
#include <unistd.h>

#if defined(__has_feature)
#if __has_feature(memory_sanitizer)
#include <sanitizer/msan_interface.h>
#endif
#endif

#include "common/owned.h"
#include "fuzz/frame_input.h"
#include "fuzz/harness.h"
#include "fuzz/watch.h"
#include "tavrine_aux.h"
#include "tavrine_devkit.h"

namespace tavrine::fuzz {
namespace {

constexpr int32_t kEncodings[] = {TAVRINE_ENCODE_JPEG, TAVRINE_ENCODE_BMP, TAVRINE_ENCODE_PNG};

// A file in memory.
class MemoryFile {
 public:
  MemoryFile(const uint8_t *data, size_t size) : descriptor_(memfd_create("picture", 0)) {
    require(descriptor_ >= 0, "cannot make a file");
    require(write(descriptor_, data, size) == static_cast<ssize_t>(size), "cannot write the file");
    std::snprintf(path_, sizeof path_, "/proc/self/fd/%d", descriptor_);
  }
  MemoryFile(const MemoryFile &) = delete;
  MemoryFile &operator=(const MemoryFile &) = delete;
  ~MemoryFile() { close(descriptor_); }

  const char *path() const { return path_; }

 private:
  int descriptor_;
  char path_[32];
};

OwnedFrame load(const uint8_t *data, size_t size) {
  // A copy of exactly this size, so that the sanitizer sees reads beyond its end.
  const std::unique_ptr<uint8_t[]> copy(new uint8_t[size]);
  std::memcpy(copy.get(), data, size);
  return OwnedFrame(tavrine_frame_load_from_memory(copy.get(), static_cast<int32_t>(size)));
}

void compare(const tavrine_frame_t *a, const tavrine_frame_t *b) {
  require((a == nullptr) == (b == nullptr), "only one of a file and the same bytes is a picture");
  if (a == nullptr) {
    return;
  }
  require(a->width == b->width && a->height == b->height && a->pixel_format == b->pixel_format,
          "a file and the same bytes differ in size or format");
  const size_t bytes = static_cast<size_t>(a->height) * static_cast<size_t>(a->strides[0]);
  require(std::memcmp(a->planes[0], b->planes[0], bytes) == 0,
          "a file and the same bytes differ in pixels");
}

// A loaded frame has a size and pixels, and all of them can be read.
void check(const tavrine_frame_t *frame) {
  require(frame->width > 0 && frame->height > 0, "a frame without size");
  require(frame->plane_count > 0 && frame->planes[0] != nullptr, "a frame without pixels");
  require(tavrine_frame_mem_type(frame) == TAVRINE_MEMORY_HOST, "a picture outside host memory");
  const auto *bytes = static_cast<const uint8_t *>(frame->planes[0]);
  const size_t count = static_cast<size_t>(frame->height) * static_cast<size_t>(frame->strides[0]);
  const std::vector<uint8_t> read(bytes, bytes + count);
  require(read.size() == count, "pixels cannot be read");
#if defined(__has_feature)
#if __has_feature(memory_sanitizer)
  __msan_check_mem_is_initialized(bytes, count);
#endif
#endif
}

tavrine_area2d_t area_from(Input &input) {
  const tavrine_area2d_t area = {input.coordinate(), input.coordinate(), input.coordinate(),
                                 input.coordinate()};
  // Large areas take time and memory without more coverage.
  const bool is_large = area.width > 1024 || area.height > 1024;
  return is_large ? tavrine_area2d_t{area.x, area.y, 64, 64} : area;
}

// Any number, but no large ratio that only takes time and memory.
float ratio_from(Input &input) {
  const float ratio = input.flag() ? input.number() : static_cast<float>(input.byte()) / 100;
  return ratio > 4 && ratio < 1e6F ? 4 : ratio;
}

void warp(Input &input, const OwnedFrame &in, OwnedFrame &out) {
  constexpr int32_t kTight[TAVRINE_MAX_PLANES] = {};
  const bool has_perspective = input.flag();
  OwnedFrame made(tavrine_frame_alloc(tavrine_frame_mem_type(in.get()), in->pixel_format,
                                      input.between(1, 80), input.between(1, 80), kTight, 0));
  float matrix[9];
  for (float &value : matrix) {
    value = input.flag() ? input.number() : static_cast<float>(input.coordinate()) / 16;
  }
  if (made && (has_perspective ? tavrine_frame_warpperspective : tavrine_frame_warpaffine)(
                  in.get(), made.get(), matrix) == TAVRINE_OK) {
    out = std::move(made);
  }
}

void operate(Input &input, OwnedFrame &frame) {
  OwnedFrame out;
  const auto *in = frame.get();
  switch (input.byte() % 7) {
    case 0:
      tavrine_frame_resize(in, out.slot(), input.between(-1, 200), input.between(-1, 200));
      break;
    case 1:
      tavrine_frame_rotate(in, out.slot(), input.between(-1, 4));
      break;
    case 2:
      tavrine_frame_cvt_color(in, out.slot(), input.one_of(kFormats));
      break;
    case 3:
      tavrine_frame_crop(in, out.slot(), area_from(input));
      break;
    case 4:
      warp(input, frame, out);
      break;
    case 5:
      tavrine_frame_scale(in, out.slot(), ratio_from(input));
      break;
    default:
      tavrine_frame_upload(in, out.slot());
      break;
  }
  if (out) {
    frame = std::move(out);
  }
}

// Encoding and warping are slow, and a small part gives the same coverage.
void shrink(OwnedFrame &frame) {
  constexpr int32_t kMaxSide = 160;
  const tavrine_area2d_t area = {0, 0, std::min(frame->width, kMaxSide),
                                 std::min(frame->height, kMaxSide)};
  if (area.width < frame->width || area.height < frame->height) {
    OwnedFrame part;
    tavrine_frame_crop(frame.get(), part.slot(), area);
    frame = std::move(part);
  }
}

void encode(Input &input, const OwnedFrame &frame) {
  const OwnedBuffer buffer(tavrine_buffer_alloc(16, TAVRINE_MEMORY_HOST));
  const int32_t encoding = input.one_of(kEncodings);
  if (!buffer || tavrine_frame_encode(frame.get(), encoding, buffer.get()) != TAVRINE_OK) {
    return;
  }
  tavrine_devkit_clear_faults();
  const OwnedFrame back =
      load(static_cast<const uint8_t *>(tavrine_buffer_raw_pointer(buffer.get())),
           tavrine_buffer_size(buffer.get()));
  require(static_cast<bool>(back), "an encoded picture cannot be loaded");
  require(back->width == frame->width && back->height == frame->height,
          "an encoded picture has another size");
}

}  // namespace

void picture(const uint8_t *data, size_t size) {
  const Watch watch;
  Input input(data, size, ReadFrom::kBack);
  const bool is_also_a_file = input.between(0, 3) == 0;
  Watch::order_failures(input);
  OwnedFrame frame = load(data, size);
  if (frame) {
    check(frame.get());
  }
  if (is_also_a_file) {
    tavrine_devkit_clear_faults();
    const OwnedFrame again = load(data, size);
    const MemoryFile file(data, size);
    compare(again.get(), OwnedFrame(tavrine_frame_load(file.path())).get());
  }
  if (!frame) {
    return;
  }
  for (int32_t count = input.between(1, 3); count > 0 && frame; --count) {
    shrink(frame);
    if (frame) {
      operate(input, frame);
    }
  }
  if (frame) {
    encode(input, frame);
  }
}

}  // namespace tavrine::fuzz
