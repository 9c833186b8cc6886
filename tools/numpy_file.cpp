#include "numpy_file.h"

#include <filesystem>

#include "pixel_format.h"
#include "tavrine_core.h"

namespace tavrine::tool {

namespace {

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__,
              "elements are written in the machine's byte order");

// The magic text, version 1.0, the length of the description in two bytes, the description.
// The header's size is a multiple of 64 bytes, so that the elements can be mapped into memory.
std::string header_of(const tavrine_tensor_t &tensor) {
  constexpr size_t kAlignment = 64;
  constexpr size_t kLengthBytes = 2;
  std::string header("\x93NUMPY\x01\x00", 8);
  std::string description = "{'descr': '";
  description += tensor.element_type == TAVRINE_ELEMENT_FLOAT32 ? "<f4" : "|u1";
  description += "', 'fortran_order': False, 'shape': (";
  for (const int32_t count : tensor.shape) {
    description += std::to_string(count) + ", ";
  }
  description += "), }";
  const size_t used = header.size() + kLengthBytes + description.size() + 1;
  description.append((kAlignment - used % kAlignment) % kAlignment, ' ');
  description += '\n';
  header += static_cast<char>(description.size() & 0xff);
  header += static_cast<char>(description.size() >> 8);
  return header + description;
}

}  // namespace

bool is_numpy_name(const std::string &path) {
  return path == kStandardStream ||
         lower_case(std::filesystem::path(path).extension().string()) == ".npy";
}

void write_numpy_file(const tavrine_tensor_t &tensor, OutputFile &output) {
  const std::string header = header_of(tensor);
  size_t bytes = tensor.element_type == TAVRINE_ELEMENT_FLOAT32 ? sizeof(float) : 1;
  for (const int32_t count : tensor.shape) {
    bytes *= static_cast<size_t>(count);
  }
  output.write(header.data(), header.size());
  output.write(tavrine_tensor_raw_pointer(&tensor), bytes);
}

}  // namespace tavrine::tool
