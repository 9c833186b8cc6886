/* What the drivers share. A driver follows the guide's code of the section that its first line
 * names, in one source file. */
#ifndef TAVRINE_TESTS_GUIDE_CHECK_H
#define TAVRINE_TESTS_GUIDE_CHECK_H

#include <math.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "tavrine_aux.h"
#include "tavrine_devkit.h"

#define CHECK(condition)                                              \
  do {                                                                \
    if (!(condition)) {                                               \
      fprintf(stderr, "%s:%d: %s\n", __FILE__, __LINE__, #condition); \
      exit(1);                                                        \
    }                                                                 \
  } while (0)

static const int32_t check_strides[4] = {0, 0, 0, 0};

static inline int check_near(float a, float b, float tolerance) {
  return fabsf(a - b) <= tolerance;
}

static inline tavrine_frame_t *check_frame(uint32_t format, int32_t width, int32_t height,
                                           int value) {
  tavrine_frame_t *frame =
      tavrine_frame_alloc(TAVRINE_MEMORY_HOST, format, width, height, check_strides, 0);
  CHECK(frame != NULL && tavrine_frame_reset(frame, value) == TAVRINE_OK);
  return frame;
}

/* Sets an area of plane 0 of a tight frame of one byte a pixel. */
static inline void check_paint(tavrine_frame_t *frame, int32_t x, int32_t y, int32_t width,
                               int32_t height, int value) {
  for (int32_t row = y; row < y + height; ++row) {
    memset((uint8_t *)frame->planes[0] + (ptrdiff_t)row * frame->width + x, value, (size_t)width);
  }
}

static inline tavrine_tensor_t *check_tensor(int32_t type, int32_t images, int32_t height,
                                             int32_t width) {
  const int32_t shape[4] = {images, 3, height, width};
  tavrine_tensor_t *tensor = tavrine_tensor_alloc(TAVRINE_MEMORY_HOST, type, shape);
  CHECK(tensor != NULL);
  return tensor;
}

static inline float check_element(const tavrine_tensor_t *tensor, int32_t channel, int32_t row,
                                  int32_t column) {
  return *(const float *)tavrine_tensor_data_at(tensor, 0, channel, row, column);
}

/* Nothing is left behind. */
static inline void check_nothing_lives(void) {
  const tavrine_devkit_objects_t objects = tavrine_devkit_live_objects();
  CHECK(objects.frames == 0 && objects.buffers == 0 && objects.tensors == 0 &&
        objects.storage_blocks == 0);
}

#endif
