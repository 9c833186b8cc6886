// Face alignment
#include "check.h"

int main() {
  const tavrine::PointTriple points = {{{200, 100}, {270, 150}, {180, 180}}};
  tavrine::Frame camera(check_frame(TAVRINE_FORMAT_NV12, 480, 320, 128));
  tavrine::Tensor tensor(check_tensor(TAVRINE_ELEMENT_FLOAT32, 1, kFace.height, kFace.width));
  check_paint(camera.get(), 188, 88, 24, 24, 0);
  check_paint(camera.get(), 168, 168, 24, 24, 255);
  FaceInput input;
  for (int call = 0; call < 2; ++call) {
    tavrine_devkit_reset_call_counts();
    CHECK(input.fill(camera, points, tensor));
  }
  CHECK(tavrine_devkit_call_count("tavrine_frame_alloc") == 0);
  CHECK(tensor.rows(0, 0)[52][38] == -1 && tensor.rows(0, 2)[92][56] == 1);
}
