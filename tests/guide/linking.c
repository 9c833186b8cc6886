/* Linking on the camera */
#include "check.h"

int main(void) {
  tavrine_frame_t *bgr = check_frame(TAVRINE_FORMAT_BGR24, 8, 8, 77);
  tavrine_tensor_t *input = check_tensor(TAVRINE_ELEMENT_UINT8, 2, 8, 8);
  tavrine_tensor_t *floats = check_tensor(TAVRINE_ELEMENT_FLOAT32, 1, 8, 8);
  CHECK(fill_network_input(input, bgr) == TAVRINE_OK);
  for (int32_t i = 0; i < 2; ++i) {
    CHECK(*(const uint8_t *)tavrine_tensor_data_at(input, i, 2, 7, 7) == 77);
  }
  CHECK(fill_network_input(floats, bgr) == TAVRINE_NOT_SUPPORTED);
  tavrine_tensor_free(&floats);
  tavrine_tensor_free(&input);
  tavrine_frame_free(&bgr);
  check_nothing_lives();
  return 0;
}
