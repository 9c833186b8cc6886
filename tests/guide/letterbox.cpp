// A centred letterbox
#include "check.h"

int main() {
  const tavrine::Frame picture(check_frame(TAVRINE_FORMAT_RGB24, 192, 108, 255));
  tavrine::Tensor tensor(check_tensor(TAVRINE_ELEMENT_FLOAT32, 1, 96, 96));
  tavrine::Batch batch;
  CHECK(fill_letterbox(picture, tensor, batch) && fill_letterbox(picture, tensor, batch));
  for (int32_t row = 0; row < 96; ++row) {
    CHECK((tensor.rows(0, 0)[row][50] != 0) == (row >= 21 && row < 75));
  }
  const tavrine::Box corner = batch.letterboxes()[0].to_frame(tavrine::Box{0, 21, 0, 0});
  CHECK(check_near(corner.x, 0, 0.01F) && check_near(corner.y, 0, 0.01F));
}
