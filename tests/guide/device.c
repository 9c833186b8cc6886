/* Device frames */
#include "check.h"

int main(void) {
  const struct { int value, engine, cpu; } cases[] = {{0, 16, 0}, {255, 235, 255}};
  for (int i = 0; i < 2; ++i) {
    tavrine_frame_t *rgb = check_frame(TAVRINE_FORMAT_RGB24, 64, 64, cases[i].value);
    tavrine_frame_t *by_engine = NULL;
    tavrine_frame_t *by_cpu = NULL;
    CHECK(nv12_by_engine(rgb, &by_engine) == TAVRINE_OK);
    CHECK(tavrine_frame_cvt_color(rgb, &by_cpu, TAVRINE_FORMAT_NV12) == TAVRINE_OK);
    CHECK(*(const uint8_t *)by_engine->planes[0] == cases[i].engine);
    CHECK(*(const uint8_t *)by_cpu->planes[0] == cases[i].cpu);
    tavrine_frame_free(&by_cpu);
    tavrine_frame_free(&by_engine);
    tavrine_frame_free(&rgb);
  }
  check_nothing_lives();
  return 0;
}
