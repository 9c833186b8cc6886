/* A camera frame to a detector's tensor, and its boxes back */
#include "check.h"

int main(void) {
  struct detector detector = {NULL, NULL};
  tavrine_frame_t *camera = check_frame(TAVRINE_FORMAT_NV12, 1920, 1080, 128);
  tavrine_tensor_t *tensor = check_tensor(TAVRINE_ELEMENT_FLOAT32, 1, SIDE, SIDE);
  check_paint(camera, 960, 270, 320, 450, 255);
  for (int call = 0; call < 2; ++call) {
    tavrine_devkit_reset_call_counts();
    CHECK(fill_input(&detector, camera, tensor) == TAVRINE_OK);
  }
  CHECK(tavrine_devkit_call_count("tavrine_frame_alloc") == 0);

  /* The bright box, as a detector would find it. */
  struct box found = {SIDE, SIDE, 0, 0};
  for (int32_t row = 0; row < SIDE; ++row) {
    for (int32_t column = 0; column < SIDE; ++column) {
      if (check_element(tensor, 2, row, column) > (190 - 104) / 57.0F) {
        found.left = fminf(found.left, (float)column);
        found.top = fminf(found.top, (float)row);
        found.right = fmaxf(found.right, (float)column + 1);
        found.bottom = fmaxf(found.bottom, (float)row + 1);
      }
    }
  }
  found = box_in_frame(&detector, camera, found);
  CHECK(check_near(found.left, 960, 4) && check_near(found.top, 270, 4));
  CHECK(check_near(found.right, 1280, 4) && check_near(found.bottom, 720, 4));
  CHECK(check_element(tensor, 0, 167, 0) == (128 - 124) * (1 / 58.0F));
  CHECK(check_element(tensor, 0, 168, 0) == 0 && check_element(tensor, 2, SIDE - 1, 0) == 0);

  tavrine_frame_free(&detector.small);
  tavrine_frame_free(&detector.rgb);
  tavrine_frame_free(&camera);
  tavrine_tensor_free(&tensor);
  check_nothing_lives();
  return 0;
}
