/* Needs the devkit, for tavrine_tensor_alloc: on a camera, an application's tensors come from the
 * SDK.
 *
 * Turns a camera's NV12 frame into the input of a detector, and maps a position in the tensor back
 * to the frame. The frame is resized to fit, converted to RGB24, normalised and padded.
 *
 *   detector_input                          with a frame that it paints
 *   detector_input FRAME.nv12 WIDTH HEIGHT */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "tavrine_aux.h"
#include "tavrine_core.h"
#include "tavrine_devkit.h"

enum { SIDE = 320 };

/* A dark frame with a bright square in the middle of the left half. */
static void paint(uint8_t *luma, int32_t width, int32_t height) {
  const int32_t half = height / 8;
  memset(luma, 40, (size_t)width * (size_t)height);
  memset(luma + (size_t)width * (size_t)height, 128, (size_t)width * (size_t)height / 2);
  for (int32_t y = height / 2 - half; y < height / 2 + half; ++y) {
    memset(luma + (ptrdiff_t)y * width + width / 4 - half, 220, (size_t)half * 2);
  }
}

static int read_file(const char *path, uint8_t *bytes, size_t count) {
  FILE *file = fopen(path, "rb");
  const int is_read = file != NULL && fread(bytes, 1, count, file) == count;
  if (file != NULL) {
    fclose(file);
  }
  return is_read;
}

/* Stands in for a network: the centre of the brightest elements in the red channel. */
static void detect(const tavrine_tensor_t *tensor, float *x, float *y) {
  double sum = 0, sum_x = 0, sum_y = 0;
  for (int32_t row = 0; row < SIDE; ++row) {
    const float *elements = tavrine_tensor_data_at(tensor, 0, 0, row, 0);
    for (int32_t column = 0; column < SIDE; ++column) {
      const double weight = elements[column] > 0.7F;
      sum += weight;
      sum_x += weight * column;
      sum_y += weight * row;
    }
  }
  *x = (float)(sum_x / (sum > 0 ? sum : 1));
  *y = (float)(sum_y / (sum > 0 ? sum : 1));
}

/* Returns what went wrong, or null. The picture is in the top left `width` x `height` elements. */
static const char *fill(const tavrine_frame_t *camera, tavrine_tensor_t *tensor, int32_t *width,
                        int32_t *height) {
  const int32_t longer = camera->width > camera->height ? camera->width : camera->height;
  tavrine_frame_t *small = NULL;
  tavrine_frame_t *rgb = NULL;
  const char *problem = NULL;
  /* NV12 needs even sizes. */
  *width = SIDE * camera->width / longer / 2 * 2;
  *height = SIDE * camera->height / longer / 2 * 2;
  if (tavrine_frame_resize(camera, &small, *width, *height) != TAVRINE_OK) {
    problem = "cannot resize the frame";
  } else if (tavrine_frame_cvt_color(small, &rgb, TAVRINE_FORMAT_RGB24) != TAVRINE_OK) {
    problem = "cannot convert the frame";
  } else if (tavrine_frame_to_tensor(tensor, 0, TAVRINE_TENSOR_RGB, rgb, 0, 0, 0, 255, 255, 255,
                                     0.5F, 0.5F, 0.5F) != TAVRINE_OK) {
    problem = "cannot fill the tensor";
  }
  tavrine_frame_free(&rgb);
  tavrine_frame_free(&small);
  return problem;
}

int main(int argc, char **argv) {
  if (argc != 1 && argc != 4) {
    fprintf(stderr, "usage: %s [FRAME.nv12 WIDTH HEIGHT]\n", argv[0]);
    return 2;
  }
  const int32_t width = argc == 4 ? atoi(argv[2]) : 1280;
  const int32_t height = argc == 4 ? atoi(argv[3]) : 720;
  const int32_t shape[4] = {1, 3, SIDE, SIDE};
  const int32_t tight[4] = {0, 0, 0, 0};
  /* The frame wraps the camera's memory; nothing is copied. */
  const size_t count = tavrine_frame_inferred_size(TAVRINE_FORMAT_NV12, width, height);
  uint8_t *memory = count > 0 ? malloc(count) : NULL;
  tavrine_frame_t *camera = NULL;
  if (memory != NULL && (argc == 1 || read_file(argv[1], memory, count))) {
    camera = tavrine_frame_make(TAVRINE_MEMORY_HOST, TAVRINE_FORMAT_NV12, memory, width, height,
                                tight, 0, NULL, NULL);
  }
  tavrine_tensor_t *tensor =
      tavrine_tensor_alloc(TAVRINE_MEMORY_HOST, TAVRINE_ELEMENT_FLOAT32, shape);
  const char *problem = NULL;
  if (camera == NULL || tensor == NULL) {
    problem = "cannot make a frame of that size";
  } else {
    int32_t used_width, used_height;
    float x, y;
    if (argc == 1) {
      paint(memory, width, height);
    }
    problem = fill(camera, tensor, &used_width, &used_height);
    if (problem == NULL) {
      const float horizontal = (float)width / (float)used_width;
      const float vertical = (float)height / (float)used_height;
      detect(tensor, &x, &y);
      printf("NV12 %dx%d in a tensor of 3x%dx%d, %.2f x %.2f frame pixels per element\n", width,
             height, SIDE, SIDE, horizontal, vertical);
      /* Pixel centres are half a pixel from the pixel's edge. */
      printf("found at (%.1f, %.1f), in the frame (%.1f, %.1f)\n", x, y,
             (x + 0.5F) * horizontal - 0.5F, (y + 0.5F) * vertical - 0.5F);
    }
  }
  tavrine_tensor_free(&tensor);
  tavrine_frame_free(&camera);
  free(memory);
  if (problem != NULL) {
    fprintf(stderr, "detector_input: %s\n", problem);
  }
  return problem != NULL;
}
