/* Cuts an upright face out of a picture: estimates the transform from three points to the places
 * where a recognition network expects them, and warps the picture.
 *
 *   align_face                                  with a tilted face that it paints
 *   align_face PICTURE OUT.png X Y X Y X Y      left eye, right eye, mouth */
#include <math.h>
#include <stdio.h>
#include <stdlib.h>

#include "tavrine_aux.h"
#include "tavrine_core.h"

enum { SIDE = 112 };
static const int32_t core_chooses_strides[4] = {0, 0, 0, 0};
static const char *const names[3] = {"left eye", "right eye", "mouth"};
static const tavrine_point2f_t upright[3] = {{38, 52}, {74, 52}, {56, 92}};

/* Skin with a spot at each point: dark eyes and a red mouth. */
static tavrine_frame_t *paint_face(const tavrine_point2f_t points[3]) {
  static const uint8_t colours[4][3] = {{50, 30, 20}, {50, 30, 20}, {200, 40, 50}, {230, 190, 160}};
  tavrine_frame_t *frame = tavrine_frame_alloc(TAVRINE_MEMORY_HOST, TAVRINE_FORMAT_RGB24, 200, 160,
                                               core_chooses_strides, 0);
  if (frame == NULL) {
    return NULL;
  }
  const int32_t stride = frame->strides[0] != 0 ? frame->strides[0] : frame->width * 3;
  for (int32_t y = 0; y < frame->height; ++y) {
    for (int32_t x = 0; x < frame->width; ++x) {
      int spot = 0;
      while (spot < 3 && hypotf((float)x - points[spot].x, (float)y - points[spot].y) > 5) {
        ++spot;
      }
      uint8_t *pixel = (uint8_t *)frame->planes[0] + (ptrdiff_t)y * stride + 3 * x;
      for (int color = 0; color < 3; ++color) {
        pixel[color] = colours[spot][color];
      }
    }
  }
  return frame;
}

static const uint8_t *pixel_at(const tavrine_frame_t *frame, const tavrine_point2f_t *point) {
  const int32_t stride = frame->strides[0] != 0 ? frame->strides[0] : frame->width * 3;
  return (const uint8_t *)frame->planes[0] + lroundf(point->y) * stride + 3 * lroundf(point->x);
}

/* Returns what went wrong, or null. */
static const char *align(const tavrine_frame_t *picture, const tavrine_point2f_t points[3],
                         tavrine_frame_t **face) {
  tavrine_matrix3x3f_t to_face;
  tavrine_matrix3x3f_t to_picture;
  tavrine_find_similarity_transform(points, upright, &to_face, &to_picture);
  for (int i = 0; i < 3; ++i) {
    const float *m = to_face.m;
    printf("%-9s (%.1f, %.1f) -> (%.1f, %.1f)\n", names[i], points[i].x, points[i].y,
           m[0] * points[i].x + m[1] * points[i].y + m[2],
           m[3] * points[i].x + m[4] * points[i].y + m[5]);
  }
  *face = tavrine_frame_alloc(TAVRINE_MEMORY_HOST, picture->pixel_format, SIDE, SIDE,
                              core_chooses_strides, 0);
  if (*face == NULL) {
    return "out of memory";
  }
  /* The warp's matrix maps each pixel of the face to its position in the picture. */
  return tavrine_frame_warpaffine(picture, *face, to_picture.m) == TAVRINE_OK
             ? NULL
             : "cannot warp the picture";
}

int main(int argc, char **argv) {
  tavrine_point2f_t points[3] = {{75, 58}, {118, 82}, {70, 108}};
  if (argc != 1 && argc != 9) {
    fprintf(stderr, "usage: %s [PICTURE OUT.png X Y X Y X Y]\n", argv[0]);
    return 2;
  }
  for (int i = 0; argc == 9 && i < 3; ++i) {
    points[i].x = strtof(argv[3 + 2 * i], NULL);
    points[i].y = strtof(argv[4 + 2 * i], NULL);
  }
  /* Freeing a null frame is harmless, so one exit serves every failure. */
  tavrine_frame_t *picture = argc == 9 ? tavrine_frame_load(argv[1]) : paint_face(points);
  tavrine_frame_t *face = NULL;
  const char *problem = picture == NULL ? "cannot load the picture" : align(picture, points, &face);
  if (problem == NULL && argc == 9 && tavrine_frame_save(face, argv[2]) != TAVRINE_OK) {
    problem = "cannot save the face";
  }
  for (int i = 0; problem == NULL && argc == 1 && i < 3; ++i) {
    const uint8_t *pixel = pixel_at(face, &upright[i]);
    printf("%-9s is red %d, green %d, blue %d\n", names[i], pixel[0], pixel[1], pixel[2]);
    problem = pixel[0] >= 50 && pixel[1] < 100 ? NULL : "skin where an eye or the mouth should be";
  }
  tavrine_frame_free(&face);
  tavrine_frame_free(&picture);
  if (problem != NULL) {
    fprintf(stderr, "align_face: %s\n", problem);
  }
  return problem != NULL;
}
