// The bytes are a program: each step makes, changes or stores one of a few frames, which are alive
// together and often share pixels. After a step nothing but the rows of its destination may have
// changed, and results have the pixels of the definition.
#include <algorithm>
#include <cstring>
#include <utility>
#include <vector>

#include <unistd.h>

#include "fuzz/definitions.h"
#include "fuzz/frame_input.h"
#include "fuzz/harness.h"
#include "fuzz/side_effects.h"
#include "fuzz/snapshot.h"
#include "fuzz/watch.h"
#include "tavrine_aux.h"
#include "tavrine_devkit.h"
#include "tavrine_mpp_devkit.h"

namespace tavrine::fuzz {
namespace {

constexpr int32_t kEncodings[] = {TAVRINE_ENCODE_PNG, TAVRINE_ENCODE_BMP, TAVRINE_ENCODE_JPEG, 0};
constexpr int32_t kElementTypes[] = {TAVRINE_ELEMENT_FLOAT32, TAVRINE_ELEMENT_UINT8,
                                     TAVRINE_ELEMENT_INT8};

// A successful call. `source` is a copy of `in` in host memory.
struct Call {
  const tavrine_frame_t *in;
  const tavrine_frame_t *source;
  const tavrine_frame_t *out;
  bool is_new;
};

struct Expectation {
  OwnedFrame pixels;
  tavrine_area2d_t written;
  tavrine_area2d_t compared;
};

Expectation whole(OwnedFrame pixels, const tavrine_frame_t *out) {
  const tavrine_area2d_t all = {0, 0, out->width, out->height};
  return {std::move(pixels), all, all};
}

// The engine converts in another range and resizes with other weights.
bool is_engine_conversion(const tavrine_frame_t *in, uint32_t format) {
  return is_on_device(in) && is_packed_rgb(in->pixel_format) != is_packed_rgb(format) &&
         (is_yuv420(in->pixel_format) || is_yuv420(format));
}

class Program {
 public:
  explicit Program(Input &input) : input_(input) {}

  void run() {
    for (int32_t steps = input_.between(1, 24); steps > 0; --steps) {
      const uint8_t choice = input_.byte();
      is_failing_ = choice >= 0xF0;
      if (is_failing_) {
        Watch::order_failures(input_);
      }
      constexpr void (Program::*kSteps[])() = {
          &Program::make,    &Program::make_part, &Program::transfer, &Program::resize,
          &Program::crop,    &Program::rotate,    &Program::convert,  &Program::warp,
          &Program::store,   &Program::fill,      &Program::batch,    &Program::scale,
          &Program::release,
      };
      (this->*kSteps[choice % (sizeof kSteps / sizeof *kSteps)])();
      clear_failures();
    }
  }

 private:
  OwnedFrame &pick() { return frames_[input_.byte() % (sizeof frames_ / sizeof *frames_)]; }

  static void clear_failures() {
    tavrine_devkit_clear_faults();
    tavrine_devkit_mpp_clear_faults();
  }

  // Calls `function` with a source and a slot: an empty one, or what is in use. `expect` returns
  // what a successful call has written.
  template <typename Function, typename Expect>
  void call(Function function, Expect expect, bool stays_after_failure = false) {
    const OwnedFrame &in = pick();
    OwnedFrame &slot = pick();
    OwnedFrame made;
    OwnedFrame &out = input_.flag() ? made : slot;
    const tavrine_frame_t *before = out.get();
    const Snapshot snapshot(frames_);
    const int32_t code = function(in.get(), out.slot());
    clear_failures();
    require(before == nullptr || out.get() == before, "a caller's frame was replaced");
    require(code != TAVRINE_OK || (in && out), "success without frames");
    if (code == TAVRINE_OK && in && out) {
      const OwnedFrame source = host_copy(in.get());
      const Expectation expectation =
          expect(Call{in.get(), source.get(), out.get(), before == nullptr});
      snapshot.check(before, expectation.written);
      if (!is_failing_ && (before == nullptr || !share_pixels(in.get(), before))) {
        require_same(out.get(), expectation.pixels, "pixels differ from the definition",
                     expectation.compared);
      }
    } else {
      require(
          before != nullptr || !out || stays_after_failure || (in && is_yuv420(in->pixel_format)),
          "a frame remains after a failure");
      snapshot.check(before);
    }
    if (made) {
      slot = std::move(made);
    }
  }

  void make() {
    const uint32_t format = input_.one_of(kFormats);
    const Size size = size_from(input_);
    const int32_t padding = input_.between(0, 24);
    const uint8_t first = input_.byte();
    OwnedFrame frame = wrap(format, size, padding, first);
    OwnedFrame &slot = pick();
    const uint8_t memory = input_.byte() % 4;
    if (memory == 3 && frame) {
      OwnedFrame device;
      tavrine_frame_upload(frame.get(), device.slot());
      frame = std::move(device);
    } else if (memory == 2) {
      frame = OwnedFrame(tavrine_frame_alloc(TAVRINE_MEMORY_HOST, format, size.width, size.height,
                                             kTightStrides, first));
    }
    slot = std::move(frame);
  }

  void make_part() {
    const OwnedFrame &in = pick();
    OwnedFrame &slot = pick();
    if (!in) {
      return;
    }
    const int32_t x = input_.byte() % in->width;
    const int32_t y = input_.byte() % in->height;
    const int32_t width = in->width - x - input_.byte() % (in->width - x);
    const int32_t height = in->height - y - input_.byte() % (in->height - y);
    OwnedFrame part(tavrine_frame_roi(in.get(), x, y, width, height));
    slot = std::move(part);
  }

  void transfer() {
    constexpr decltype(&tavrine_frame_copy) kTransfers[] = {
        tavrine_frame_copy, tavrine_frame_upload, tavrine_frame_download};
    call(
        input_.one_of(kTransfers),
        [](const Call &done) { return whole(host_copy(done.source), done.source); }, true);
  }

  void resize() {
    const Size size = size_from(input_);
    call(
        [&](const tavrine_frame_t *in, tavrine_frame_t **out) {
          return tavrine_frame_resize(in, out, size.width, size.height);
        },
        [&](const Call &done) {
          const tavrine_area2d_t all = {0, 0, size.width, size.height};
          return Expectation{is_on_device(done.in)
                                 ? OwnedFrame()
                                 : defined_resize(done.source, size.width, size.height),
                             all, all};
        });
  }

  // Any number, but no ratio that takes much time and memory.
  void scale() {
    const float number = input_.flag() ? input_.number() : static_cast<float>(input_.byte()) / 32;
    call(
        [&](const tavrine_frame_t *in, tavrine_frame_t **out) {
          const bool is_small =
              in == nullptr || is_bounded(double{number} * in->width, double{number} * in->height);
          return tavrine_frame_scale(in, out, is_small ? number : 1);
        },
        [](const Call &done) {
          const bool is_defined = done.is_new && !is_on_device(done.in);
          return whole(is_defined ? defined_resize(done.source, done.out->width, done.out->height)
                                  : OwnedFrame(),
                       done.out);
        });
  }

  void crop() {
    const int32_t x = input_.coordinate();
    const int32_t y = input_.coordinate();
    const Size size = size_from(input_);
    const tavrine_area2d_t area = {x, y, size.width, size.height};
    call([&](const tavrine_frame_t *in,
             tavrine_frame_t **out) { return tavrine_frame_crop(in, out, area); },
         [&](const Call &done) {
           const int64_t left = std::max(x, 0);
           const int64_t top = std::max(y, 0);
           const tavrine_area2d_t inside = {
               static_cast<int32_t>(left - x), static_cast<int32_t>(top - y),
               static_cast<int32_t>(std::min(int64_t{x} + area.width, int64_t{done.in->width}) -
                                    left),
               static_cast<int32_t>(std::min(int64_t{y} + area.height, int64_t{done.in->height}) -
                                    top)};
           const bool is_cleared = layout_of(done.in->pixel_format).planes[0].channels % 2 != 0;
           const tavrine_area2d_t all = {0, 0, done.out->width, done.out->height};
           return Expectation{defined_crop(done.source, area), inside,
                              done.is_new && is_cleared ? all : inside};
         });
  }

  void rotate() {
    const int32_t code = input_.between(-1, 6) % 3;
    call([&](const tavrine_frame_t *in,
             tavrine_frame_t **out) { return tavrine_frame_rotate(in, out, code); },
         [&](const Call &done) { return whole(defined_rotation(done.source, code), done.out); });
  }

  void convert() {
    const uint32_t format = input_.one_of(kFormats);
    call([&](const tavrine_frame_t *in,
             tavrine_frame_t **out) { return tavrine_frame_cvt_color(in, out, format); },
         [&](const Call &done) {
           return whole(is_engine_conversion(done.in, format)
                            ? OwnedFrame()
                            : defined_conversion(done.source, format),
                        done.out);
         });
  }

  void warp() {
    const bool is_shift = input_.flag();
    const Size size = size_from(input_);
    float matrix[9] = {1, 0, 0, 0, 1, 0, 0, 0, 1};
    for (size_t i = 0; i < 9; ++i) {
      if (!is_shift) {
        matrix[i] = input_.flag() ? input_.number() : static_cast<float>(input_.coordinate()) / 16;
      } else if (i == 2 || i == 5) {
        matrix[i] = static_cast<float>(static_cast<int8_t>(input_.byte()));
      }
    }
    const auto warp = input_.flag() ? tavrine_frame_warpperspective : tavrine_frame_warpaffine;
    call(
        [&](const tavrine_frame_t *in, tavrine_frame_t **out) {
          if (in != nullptr && *out == nullptr) {
            *out = tavrine_frame_alloc(tavrine_frame_mem_type(in), in->pixel_format, size.width,
                                       size.height, kTightStrides, 0);
          }
          return *out != nullptr ? warp(in, *out, matrix) : TAVRINE_FAILURE;
        },
        [&](const Call &done) {
          if (!is_shift || warp != tavrine_frame_warpaffine || is_yuv420(done.in->pixel_format)) {
            return whole({}, done.out);
          }
          const tavrine_area2d_t area = {static_cast<int32_t>(matrix[2]),
                                         static_cast<int32_t>(matrix[5]), done.out->width,
                                         done.out->height};
          return whole(defined_crop(done.source, area), done.out);
        },
        true);
  }

  void store();
  void fill();
  void batch();
  void make_tensor();

  void release() { pick().reset(); }

  Input &input_;
  bool is_failing_ = false;
  OwnedFrame frames_[6];
  OwnedTensor tensor_;
  OwnedBuffer workspace_;
  OwnedBuffer encoded_;
};

// A picture in memory, in a file, and loaded again into a slot.
void Program::store() {
  const int32_t encoding = input_.one_of(kEncodings);
  const bool is_saved = input_.byte() % 8 == 0;
  const OwnedFrame &in = pick();
  OwnedFrame &slot = pick();
  if (!encoded_) {
    encoded_ = OwnedBuffer(tavrine_buffer_alloc(16, TAVRINE_MEMORY_HOST));
  }
  const Snapshot snapshot(frames_);
  const int32_t code =
      encoded_ ? tavrine_frame_encode(in.get(), encoding, encoded_.get()) : TAVRINE_FAILURE;
  clear_failures();
  snapshot.check(nullptr);
  if (code != TAVRINE_OK || !in) {
    return;
  }
  const auto *bytes = static_cast<const uint8_t *>(tavrine_buffer_raw_pointer(encoded_.get()));
  const size_t size = tavrine_buffer_size(encoded_.get());
  OwnedFrame loaded(tavrine_frame_load_from_memory(bytes, static_cast<int32_t>(size)));
  require(static_cast<bool>(loaded), "an encoded picture cannot be loaded");
  require(loaded->width == in->width && loaded->height == in->height,
          "an encoded picture has another size");
  if (encoding != TAVRINE_ENCODE_JPEG && !is_engine_conversion(in.get(), TAVRINE_FORMAT_RGB24)) {
    require_same(loaded.get(), defined_conversion(host_copy(in.get()).get(), loaded->pixel_format),
                 "a stored picture has other pixels", {0, 0, in->width, in->height});
  }
  if (is_saved) {
    const std::vector<char> saved = save(in.get(), encoding);
    require(saved.size() == size && std::memcmp(saved.data(), bytes, size) == 0,
            "a saved picture and an encoded one differ");
  }
  slot = std::move(loaded);
}

void Program::make_tensor() {
  const int32_t shape[4] = {input_.between(1, 3), input_.between(1, 4), input_.between(1, 60),
                            input_.between(1, 90)};
  const int32_t memory = input_.byte() % 4 == 3 ? TAVRINE_MEMORY_DEVICE : TAVRINE_MEMORY_HOST;
  tensor_ = OwnedTensor(tavrine_tensor_alloc(memory, input_.one_of(kElementTypes), shape));
}

// One image of the tensor, which is kept from step to step.
void Program::fill() {
  if (!tensor_ || input_.flag()) {
    make_tensor();
  }
  if (!tensor_) {  // a failure was ordered
    return;
  }
  const OwnedFrame &in = pick();
  const int32_t color = input_.between(-1, 30) & 3;
  const auto offset =
      static_cast<uint32_t>(input_.byte() % tensor_->shape[0] * tensor_->strides[0]);
  const bool is_host_tensor = tavrine_tensor_mem_type(tensor_.get()) == TAVRINE_MEMORY_HOST;
  ChannelNormalization channels[3] = {{0, 1, 0}, {0, 1, 0}, {0, 1, 0}};
  if (input_.flag()) {
    for (ChannelNormalization &channel : channels) {
      channel = {input_.number(), input_.number(), input_.number()};
    }
  }
  const auto &[red, green, blue] = channels;
  auto *data = static_cast<uint8_t *>(tavrine_tensor_raw_pointer(tensor_.get()));
  const size_t size = static_cast<size_t>(tensor_->shape[0]) *
                      static_cast<size_t>(tensor_->strides[0]) *
                      (tensor_->element_type == TAVRINE_ELEMENT_FLOAT32 ? sizeof(float) : 1);
  std::vector<uint8_t> expected(is_host_tensor ? data : nullptr,
                                is_host_tensor ? data + size : nullptr);
  const Snapshot snapshot(frames_);
  const int32_t code = tavrine_frame_to_tensor(
      tensor_.get(), offset, color, in.get(), red.mean, green.mean, blue.mean, red.scale,
      green.scale, blue.scale, red.padding, green.padding, blue.padding);
  clear_failures();
  snapshot.check(nullptr);
  if (!is_host_tensor) {
    return;
  }
  if (code == TAVRINE_OK) {
    define_image(*tensor_.get(), offset, color, host_copy(in.get()).get(), channels,
                 expected.data());
  }
  require(are_same_elements(tensor_->element_type, data, expected), "elements differ");
}

// All images of the tensor from any frames. The workspace is kept from step to step.
void Program::batch() {
  if (!tensor_) {
    make_tensor();
  }
  if (!tensor_) {
    return;
  }
  const int32_t color = input_.between(-1, 30) & 3;
  const int32_t mode = input_.byte() & 1;
  tavrine_frame_t *frames[3] = {};
  tavrine_area2d_t areas[3] = {};
  for (int32_t i = 0; i < tensor_->shape[0]; ++i) {
    frames[i] = pick().get();
    areas[i] = {input_.coordinate(), input_.coordinate(), input_.coordinate(), input_.coordinate()};
  }
  const Snapshot snapshot(frames_);
  tavrine_frame_transform_to_tensor_batch(tensor_.get(), color, tensor_->shape[0], frames, areas,
                                          mode, 120, 115, 100, 57, 58, 59, nullptr,
                                          workspace_.slot(), nullptr, nullptr);
  clear_failures();
  snapshot.check(nullptr);
}

}  // namespace

void sequence(const uint8_t *data, size_t size) {
  const Watch watch;
  const RefusedResizes refused;
  Input input(data, size);
  Program(input).run();
}

}  // namespace tavrine::fuzz
