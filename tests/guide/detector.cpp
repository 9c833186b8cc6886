// A camera frame to a detector's tensor, and its boxes back
#include "check.h"

int main() {
  tavrine::Frame camera(check_frame(TAVRINE_FORMAT_NV12, 1920, 1080, 128));
  tavrine::Tensor tensor(check_tensor(TAVRINE_ELEMENT_FLOAT32, 1, kSide, kSide));
  DetectorInput input;
  for (int call = 0; call < 2; ++call) {
    tavrine_devkit_reset_call_counts();
    CHECK(input.fill(camera, tensor));
  }
  CHECK(tavrine_devkit_call_count("tavrine_frame_alloc") == 0);
  CHECK(tensor.rows(0, 0)[167][0] == (128 - 124) * (1 / 58.0F));
  CHECK(tensor.rows(0, 0)[168][0] == 0);
  const tavrine::Box box = input.letterbox().to_frame(tavrine::Box{150, 42, 50, 84});
  CHECK(check_near(box.x, 960, 0.01F) && check_near(box.y, 270, 0.01F));
  CHECK(check_near(box.width, 320, 0.01F) && check_near(box.height, 540, 0.01F));
  CHECK(input.fill(tavrine::FrameView(camera), tensor).status() == tavrine::Status::kOk);
}
