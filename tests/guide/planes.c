/* Planes that lie apart */
#include "check.h"

enum { WIDTH = 96, HEIGHT = 64, STRIDE = 112 };

/* Operations that an application uses on such a frame. */
static int32_t operate(int operation, const tavrine_frame_t *in, tavrine_frame_t **out) {
  const tavrine_area2d_t inside = {10, 20, 40, 30};
  const tavrine_area2d_t outside = {-10, 40, 60, 60};
  switch (operation) {
    case 0:
      return tavrine_frame_resize(in, out, 50, 34);
    case 1:
      return tavrine_frame_cvt_color(in, out, TAVRINE_FORMAT_RGB24);
    case 2:
      return tavrine_frame_crop(in, out, inside);
    case 3:
      return tavrine_frame_crop(in, out, outside);
    default:
      return tavrine_frame_rotate(in, out, TAVRINE_ROTATE_90);
  }
}

int main(void) {
  /* Exactly as many bytes as the planes have, the last row without padding. */
  const size_t luma_bytes = STRIDE * (HEIGHT - 1) + WIDTH;
  const size_t chroma_bytes = STRIDE * (HEIGHT / 2 - 1) + WIDTH;
  uint8_t *chroma = malloc(chroma_bytes);
  uint8_t *luma = malloc(luma_bytes);
  CHECK(luma != NULL && chroma != NULL);
  for (size_t i = 0; i < luma_bytes; ++i) {
    luma[i] = (uint8_t)(i * 37);
    chroma[i % chroma_bytes] = (uint8_t)(i * 59);
  }
  tavrine_frame_t *apart = wrap_nv12(luma, chroma, WIDTH, HEIGHT, STRIDE, free, luma);
  tavrine_frame_t *together = check_frame(TAVRINE_FORMAT_NV12, WIDTH, HEIGHT, 0);
  CHECK(apart != NULL);
  for (int32_t row = 0; row < HEIGHT; ++row) {
    memcpy((uint8_t *)together->planes[0] + row * WIDTH, luma + row * STRIDE, WIDTH);
    memcpy((uint8_t *)together->planes[1] + row / 2 * WIDTH, chroma + row / 2 * STRIDE, WIDTH);
  }
  for (int operation = 0; operation < 5; ++operation) {
    tavrine_frame_t *result = NULL;
    tavrine_frame_t *expected = NULL;
    CHECK(operate(operation, apart, &result) == TAVRINE_OK);
    CHECK(operate(operation, together, &expected) == TAVRINE_OK);
    CHECK(memcmp(result->planes[0], expected->planes[0],
                 tavrine_frame_inferred_size(result->pixel_format, result->width,
                                             result->height)) == 0);
    tavrine_frame_free(&result);
    tavrine_frame_free(&expected);
  }
  tavrine_frame_free(&together);
  tavrine_frame_free(&apart); /* and luma */
  free(chroma);
  check_nothing_lives();
  return 0;
}
