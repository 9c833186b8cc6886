/* Records and vocabulary shared by the SDK core and its auxiliary library.
 *
 * Sizes are in pixels, strides in bytes for frames and in elements for
 * tensors, statuses are int32_t: 0 or a negative code.
 */
#ifndef TAVRINE_TYPES_H
#define TAVRINE_TYPES_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Status codes. */
enum {
  TAVRINE_OK = 0,
  TAVRINE_INVALID_ARGUMENT = -1, /* bad argument, or a destination that does not match */
  TAVRINE_FAILURE = -4,          /* no memory, or an allocation, encoder or kernel failed */
  TAVRINE_NOT_SUPPORTED = -1000  /* operation, format pair or file format not supported */
};

/* Memory types of frames, buffers and tensors. */
enum {
  TAVRINE_MEMORY_HOST = 0,  /* ordinary process memory */
  TAVRINE_MEMORY_DEVICE = 1 /* media memory, reached by the image engine */
};

/* Pixel formats: four characters, the first in the lowest byte. */
#define TAVRINE_FOURCC(a, b, c, d) \
  ((uint32_t)(a) | ((uint32_t)(b) << 8) | ((uint32_t)(c) << 16) | ((uint32_t)(d) << 24))

#define TAVRINE_FORMAT_GREY TAVRINE_FOURCC('G', 'R', 'E', 'Y') /* 1 byte per pixel */
#define TAVRINE_FORMAT_NV12 \
  TAVRINE_FOURCC('N', 'V', '1', '2') /* Y, then U,V pairs 2x2 subsampled */
#define TAVRINE_FORMAT_NV21 \
  TAVRINE_FOURCC('N', 'V', '2', '1') /* Y, then V,U pairs 2x2 subsampled */
#define TAVRINE_FORMAT_YU12 \
  TAVRINE_FOURCC('Y', 'U', '1', '2') /* Y, U, V planes, chroma 2x2 subsampled */
#define TAVRINE_FORMAT_RGB24 TAVRINE_FOURCC('R', 'G', 'B', 24) /* bytes R, G, B */
#define TAVRINE_FORMAT_BGR24 TAVRINE_FOURCC('B', 'G', 'R', 24) /* bytes B, G, R */
#define TAVRINE_FORMAT_BGRA TAVRINE_FOURCC('B', 'G', 'R', 'A') /* 4 bytes per pixel */
#define TAVRINE_FORMAT_ARGB TAVRINE_FOURCC('A', 'R', 'G', 'B') /* 4 bytes per pixel */
#define TAVRINE_FORMAT_Y16 TAVRINE_FOURCC('Y', '1', 0, 16)     /* 16-bit little-endian grey */

#define TAVRINE_MAX_PLANES 4

/* A picture. Made and released by the core; the pixels of a plane are `height`
 * rows (half of it for 4:2:0 chroma) that start `strides[plane]` bytes apart. */
typedef struct tavrine_frame {
  uint32_t core_word; /* the core's own */
  uint32_t pixel_format;
  int32_t width;
  int32_t height;
  int32_t strides[TAVRINE_MAX_PLANES]; /* bytes per row; 0: rows are tightly packed */
  uintptr_t core_words[2];             /* the core's own */
  int32_t plane_count;
  void *planes[TAVRINE_MAX_PLANES];
  uint64_t extra; /* opaque; copied to every frame made from this one */
} tavrine_frame_t;

/* Element types of tensors. */
enum { TAVRINE_ELEMENT_INT8 = 11, TAVRINE_ELEMENT_UINT8 = 51, TAVRINE_ELEMENT_FLOAT32 = 101 };

/* A network tensor of four dimensions. */
typedef struct tavrine_tensor {
  uint32_t core_word; /* the core's own */
  int32_t element_type;
  int32_t shape[4];   /* N, C, H, W */
  int32_t strides[4]; /* in elements; the column stride is 1 */
  uintptr_t core_words[2];
} tavrine_tensor_t;

/* A block of memory, owned by the core and used through its operations. */
typedef struct tavrine_buffer tavrine_buffer_t;

/* An area of a frame, in pixels; it may reach outside. */
typedef struct tavrine_area2d {
  int32_t x, y, width, height;
} tavrine_area2d_t;

typedef struct tavrine_point2f {
  float x, y;
} tavrine_point2f_t;

/* Row-major. The first six floats are the 2x3 matrix of an affine warp. */
typedef struct tavrine_matrix3x3f {
  float m[9];
} tavrine_matrix3x3f_t;

#ifdef __cplusplus
}
#endif

#endif
