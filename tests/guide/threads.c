/* Threads and memory */
#include "check.h"

enum { THREADS = 4 };

int main(void) {
  tavrine_frame_t *camera = check_frame(TAVRINE_FORMAT_NV12, 640, 480, 128);
  struct worker workers[THREADS];
  pthread_t threads[THREADS];
  for (int i = 0; i < THREADS; ++i) {
    const struct worker worker = {camera, {160 * i, 2 * i, 160, 240}, 100, 100, NULL, -1};
    workers[i] = worker;
    check_paint(camera, 160 * i, 0, 160, 480, 50 * i);
  }
  for (int round = 0; round < 3; ++round) {
    tavrine_devkit_reset_call_counts();
    for (int i = 0; i < THREADS; ++i) {
      CHECK(start(&workers[i], &threads[i]) == 0);
    }
    for (int i = 0; i < THREADS; ++i) {
      CHECK(pthread_join(threads[i], NULL) == 0 && workers[i].status == TAVRINE_OK);
      CHECK(((const uint8_t *)workers[i].result->planes[0])[0] == 50 * i);
    }
  }
  CHECK(tavrine_devkit_call_count("tavrine_frame_alloc") == 0);
  for (int i = 0; i < THREADS; ++i) {
    tavrine_frame_free(&workers[i].result);
  }
  tavrine_frame_free(&camera);
  check_nothing_lives();
  return 0;
}
