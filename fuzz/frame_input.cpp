#include "fuzz/frame_input.h"

#include <climits>
#include <memory>
#include <vector>

#include "fuzz/definitions.h"

namespace tavrine::fuzz {

bool is_bounded(double width, double height) {
  const double pixels = width * height;
  return !(pixels > 1 << 16 && pixels <= INT_MAX);
}

Size size_from(Input &input) {
  constexpr int32_t kExtremes[] = {INT_MAX, INT_MIN, -1, 0, 1, 1 << 16, 1 << 24, INT_MAX - 1};
  const uint8_t kind = input.byte();
  if (kind >= 0xF8) {
    const Size size = {input.one_of(kExtremes), input.one_of(kExtremes)};
    return is_bounded(size.width, size.height) ? size : Size{1, 1};
  }
  if (kind >= 0xE0) {
    const int32_t length = 1 + (input.integer() & 0x3FFF);
    const int32_t breadth = input.between(1, 4);
    return kind % 2 == 0 ? Size{length, breadth} : Size{breadth, length};
  }
  return {input.between(1, 140), input.between(1, 100)};
}

OwnedFrame wrap(uint32_t format, const Size &size, int32_t padding, uint8_t first) {
  tavrine_frame_t record = {};
  record.pixel_format = format;
  record.width = size.width;
  record.height = size.height;
  size_t bytes = tavrine_frame_inferred_size(format, size.width, size.height);
  if (bytes == 0 || bytes > 1 << 20) {
    return {};
  }
  bytes = 0;
  std::vector<PlaneRows> planes = planes_of(&record);
  for (size_t index = 0; index < planes.size(); ++index) {
    record.strides[index] = static_cast<int32_t>(planes[index].row_bytes) + padding;
    bytes += static_cast<size_t>(record.strides[index]) * static_cast<size_t>(planes[index].rows);
  }
  auto memory = std::make_unique<uint8_t[]>(bytes);
  for (size_t i = 0; i < bytes; ++i) {
    memory[i] = static_cast<uint8_t>(i * 37 + i / 251 + first);
  }
  OwnedFrame result(tavrine_frame_make(
      TAVRINE_MEMORY_HOST, format, memory.get(), size.width, size.height, record.strides, 0,
      [](void *data) { delete[] static_cast<uint8_t *>(data); }, memory.get()));
  if (result) {
    memory.release();
  }
  return result;
}

}  // namespace tavrine::fuzz
