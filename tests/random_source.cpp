#include <cmath>

#include "tavrine_mpp_devkit.h"
#include "tests/random_calls.h"

namespace tavrine::test {

void Digest::add(const void *data, size_t size) {
  const auto *bytes = static_cast<const uint8_t *>(data);
  for (size_t i = 0; i < size; ++i) {
    value_ = (value_ ^ bytes[i]) * 0x100000001b3;
  }
}

void Digest::add(float value) {
  const float number = std::isnan(value) ? 0.5F : value;
  add(&number, sizeof(number));
  add(static_cast<int32_t>(std::isnan(value)));
}

void Digest::add(const tavrine_frame_t *frame) {
  if (frame != nullptr) {
    add(frame->width);
    add(frame->height);
    const std::vector<uint8_t> pixels = pixels_of(frame);
    add(pixels.data(), pixels.size());
  }
}

void RandomSource::begin_call() {
  const auto any_memory = [this] {
    return chance(variety_.device) ? TAVRINE_MEMORY_DEVICE : TAVRINE_MEMORY_HOST;
  };
  memory_ = any_memory();
  tensor_memory_ = any_memory();
  is_for_engine_ = memory_ == TAVRINE_MEMORY_DEVICE && chance(variety_.engine);
}

float RandomSource::odd_number() {
  const float numbers[] = {0.0F, 1.0F, 1e-30F, 1e30F, -1e9F, INFINITY, NAN, 2147483648.0F};
  return between(0, 9) == 0 ? one_of(numbers) : real(2);
}

OwnedFrame RandomSource::frame(uint32_t format) {
  // Separate statements: the evaluation order of arguments differs by compiler.
  int width = 2 * between(1, 40);
  int height = 2 * between(1, 30);
  if (is_for_engine_) {
    width = 16 * between(4, 8);
    height = 2 * between(32, 40);
  } else if (chance(variety_.any_size)) {
    width -= between(0, 1);
    height -= between(0, 1);
  }
  OwnedFrame frame = chance(variety_.padded)
                         ? make_padded_frame(format, width, height, random_).frame
                         : make_frame(format, width, height);
  fill_random(frame.get(), random_);
  if (memory_ == TAVRINE_MEMORY_HOST) {
    return frame;
  }
  if (!chance(variety_.padded)) {
    return on_device(frame.get());
  }
  const OwnedFrame parent = make_frame(format, width + 32, height + 6, TAVRINE_MEMORY_DEVICE);
  OwnedFrame inside(tavrine_frame_roi(parent.get(), 16, 2, width, height));
  EXPECT_EQ(tavrine_frame_upload(frame.get(), inside.slot()), 0);
  return inside;
}

SharedFrame RandomSource::input(uint32_t format) {
  if (chance(variety_.shared)) {
    return variety_.frames.at({memory_, format});
  }
  return {frame(format).release(), [](tavrine_frame_t *owned) { tavrine_frame_free(&owned); }};
}

void RandomSource::inject_failure() {
  // Not the release of media memory, nor an engine resize: memory that was not released leaks, and
  // so does memory that the engine may still be writing.
  const char *const platform_calls[] = {"HI_MPI_SYS_GetVirMemInfo", "HI_MPI_SYS_MmzAlloc_Cached",
                                        "HI_MPI_SYS_MmzFlushCache", "HI_MPI_SYS_MflushCache",
                                        "HI_MPI_IVE_CSC",           "HI_MPI_IVE_Query"};
  const int first = between(1, 4);
  if (chance(70)) {
    EXPECT_EQ(tavrine_devkit_inject_fault("*", first), 0);
  } else {
    const HI_S32 code = chance(50) ? HI_ERR_IVE_QUERY_TIMEOUT : TAVRINE_DEVKIT_IVE_ILLEGAL_PARAM;
    EXPECT_EQ(tavrine_devkit_mpp_inject_fault(one_of(platform_calls), first, 1, code,
                                              TAVRINE_DEVKIT_MPP_NOTHING),
              0);
  }
}

void RandomSource::clear_failures() {
  tavrine_devkit_clear_faults();
  tavrine_devkit_mpp_clear_faults();
}

}  // namespace tavrine::test
