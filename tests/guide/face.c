/* Face alignment */
#include "check.h"

int main(void) {
  static const tavrine_point2f_t eyes_and_mouth[3] = {{200, 100}, {270, 150}, {180, 180}};
  struct face face = {NULL, NULL};
  tavrine_frame_t *camera = check_frame(TAVRINE_FORMAT_NV12, 480, 320, 128);
  tavrine_tensor_t *tensor = check_tensor(TAVRINE_ELEMENT_FLOAT32, 1, FACE, FACE);
  for (int i = 0; i < 3; ++i) { /* dark eyes, bright mouth */
    check_paint(camera, (int32_t)eyes_and_mouth[i].x - 12, (int32_t)eyes_and_mouth[i].y - 12, 24,
                24, i < 2 ? 0 : 255);
  }
  for (int call = 0; call < 2; ++call) {
    tavrine_devkit_reset_call_counts();
    CHECK(align_face(&face, camera, eyes_and_mouth, tensor) == TAVRINE_OK);
  }
  CHECK(tavrine_devkit_call_count("tavrine_frame_alloc") == 0);
  CHECK(check_element(tensor, 0, 52, 38) == -1 && check_element(tensor, 1, 52, 74) == -1);
  CHECK(check_element(tensor, 2, 92, 56) == 1);
  CHECK(check_near(check_element(tensor, 0, 60, 56), 0, 0.01F));
  tavrine_frame_free(&face.nv12);
  tavrine_frame_free(&face.rgb);
  tavrine_frame_free(&camera);
  tavrine_tensor_free(&tensor);
  check_nothing_lives();
  return 0;
}
