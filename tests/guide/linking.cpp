// Linking on the camera
#include "check.h"

int main() {
  const tavrine::Frame bgr(check_frame(TAVRINE_FORMAT_BGR24, 8, 8, 77));
  const tavrine::Tensor input(check_tensor(TAVRINE_ELEMENT_UINT8, 2, 8, 8));
  const tavrine::Tensor floats(check_tensor(TAVRINE_ELEMENT_FLOAT32, 1, 8, 8));
  CHECK(fill_network_input(input.get(), bgr));
  CHECK(input.rows<uint8_t>(1, 2)[7][7] == 77);
  CHECK(fill_network_input(floats.get(), bgr).status() == tavrine::Status::kNotSupported);
}
