/* Needs the devkit, for tavrine_tensor_alloc: on a camera, an application's tensors come from the
 * SDK.
 *
 * Turns several regions of a picture into one batch for a network, and maps positions in its images
 * back to the picture.
 *
 *   batch_regions [PICTURE]     without one it paints a horizontal ramp */
#include <stdio.h>

#include "tavrine_aux.h"
#include "tavrine_core.h"
#include "tavrine_devkit.h"

enum { REGIONS = 4, SIDE = 64 };

static tavrine_frame_t *paint_ramp(void) {
  const int32_t core_chooses_strides[4] = {0, 0, 0, 0};
  tavrine_frame_t *frame = tavrine_frame_alloc(TAVRINE_MEMORY_HOST, TAVRINE_FORMAT_GREY, 256, 192,
                                               core_chooses_strides, 0);
  if (frame == NULL) {
    return NULL;
  }
  const int32_t stride = frame->strides[0] != 0 ? frame->strides[0] : frame->width;
  for (int32_t y = 0; y < frame->height; ++y) {
    for (int32_t x = 0; x < frame->width; ++x) {
      ((uint8_t *)frame->planes[0])[(ptrdiff_t)y * stride + x] = (uint8_t)x;
    }
  }
  return frame;
}

static double mean_of(const tavrine_tensor_t *tensor, int32_t image) {
  double sum = 0;
  for (int32_t row = 0; row < SIDE; ++row) {
    const float *elements = tavrine_tensor_data_at(tensor, image, 0, row, 0);
    for (int32_t column = 0; column < SIDE; ++column) {
      sum += elements[column];
    }
  }
  return sum / (SIDE * SIDE);
}

/* Returns what went wrong, or null. */
static const char *fill(tavrine_frame_t *rgb, tavrine_tensor_t *tensor) {
  const int32_t w = rgb->width;
  const int32_t h = rgb->height;
  const tavrine_area2d_t areas[REGIONS] = {
      {0, 0, w, h},                        /* all of it */
      {w / 4, h / 4, w / 2, h / 2},        /* the middle */
      {0, h / 3, w, h / 6 + 1},            /* a strip, padded below */
      {w / 2, h / 2, 2 * w / 3, 2 * h / 3} /* reaches outside, padded there */
  };
  tavrine_frame_t *const frames[REGIONS] = {rgb, rgb, rgb, rgb};
  float vertical[REGIONS];
  float horizontal[REGIONS];
  /* Scratch memory; a program would keep it between calls. */
  tavrine_buffer_t *workspace = NULL;
  const int32_t status = tavrine_frame_transform_to_tensor_batch(
      tensor, TAVRINE_TENSOR_RGB, REGIONS, frames, areas, TAVRINE_RESIZE_FIT, 127.5F, 127.5F,
      127.5F, 127.5F, 127.5F, 127.5F, NULL, &workspace, vertical, horizontal);
  tavrine_buffer_free(&workspace);
  if (status != TAVRINE_OK) {
    return "cannot fill the tensor";
  }
  for (int i = 0; i < REGIONS; ++i) {
    /* A position in the tensor, as a network would report it. */
    const float x = (float)areas[i].x + 16 * horizontal[i];
    const float y = (float)areas[i].y + 4 * vertical[i];
    printf("region %d of %dx%d: %.3f pixels per element, red mean %+.3f, (16, 4) is (%.1f, %.1f)\n",
           i, areas[i].width, areas[i].height, horizontal[i], mean_of(tensor, i), x, y);
  }
  return NULL;
}

int main(int argc, char **argv) {
  if (argc > 2) {
    fprintf(stderr, "usage: %s [PICTURE]\n", argv[0]);
    return 2;
  }
  const int32_t shape[4] = {REGIONS, 3, SIDE, SIDE};
  tavrine_tensor_t *tensor =
      tavrine_tensor_alloc(TAVRINE_MEMORY_HOST, TAVRINE_ELEMENT_FLOAT32, shape);
  tavrine_frame_t *picture = argc == 2 ? tavrine_frame_load(argv[1]) : paint_ramp();
  tavrine_frame_t *rgb = NULL; /* the network needs three channels, also for grey pictures */
  const char *problem = NULL;
  if (tensor == NULL) {
    problem = "out of memory";
  } else if (picture == NULL) {
    problem = "cannot load the picture";
  } else if (tavrine_frame_cvt_color(picture, &rgb, TAVRINE_FORMAT_RGB24) != TAVRINE_OK) {
    problem = "cannot convert the picture";
  } else {
    problem = fill(rgb, tensor);
  }
  tavrine_frame_free(&rgb);
  tavrine_frame_free(&picture);
  tavrine_tensor_free(&tensor);
  if (problem != NULL) {
    fprintf(stderr, "batch_regions: %s\n", problem);
  }
  return problem != NULL;
}
