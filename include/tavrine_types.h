/* Records and constants shared by the SDK core and its auxiliary library.
 *
 * Sizes are in pixels. Strides are in bytes for frames and in elements for tensors. Statuses are
 * int32_t: TAVRINE_OK or a negative code.
 */
#ifndef TAVRINE_TYPES_H
#define TAVRINE_TYPES_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Status codes. Core operations may return other negative codes. */
enum {
  TAVRINE_OK = 0,
  TAVRINE_INVALID_ARGUMENT = -1, /* bad argument, or a destination that does not match */
  TAVRINE_FAILURE = -4,          /* no memory, or an allocation, encoder or kernel failed */
  TAVRINE_NOT_SUPPORTED = -1000  /* operation, format pair or file format not supported */
};

/* Memory types of frames, buffers and tensors. */
enum {
  TAVRINE_MEMORY_HOST = 0,  /* ordinary process memory */
  TAVRINE_MEMORY_DEVICE = 1 /* media memory, which the image engine reaches */
};

/* Pixel formats: four characters, the first in the lowest byte. All are plain integers that #if
 * can compare. Chroma of NV12, NV21 and YU12 has half the width and half the height of luma; these
 * three are called the 4:2:0 formats, and their sizes should be even. */
#define TAVRINE_FOURCC(a, b, c, d)                                         \
  (UINT32_C(0x1) * (a) | UINT32_C(0x100) * (b) | UINT32_C(0x10000) * (c) | \
   UINT32_C(0x1000000) * (d))

#define TAVRINE_FORMAT_GREY UINT32_C(0x59455247)  /* "GREY": 1 byte per pixel */
#define TAVRINE_FORMAT_NV12 UINT32_C(0x3231564E)  /* "NV12": plane of Y, plane of U,V pairs */
#define TAVRINE_FORMAT_NV21 UINT32_C(0x3132564E)  /* "NV21": plane of Y, plane of V,U pairs */
#define TAVRINE_FORMAT_YU12 UINT32_C(0x32315559)  /* "YU12": planes of Y, U and V */
#define TAVRINE_FORMAT_RGB24 UINT32_C(0x18424752) /* "RGB", 24: bytes R, G, B */
#define TAVRINE_FORMAT_BGR24 UINT32_C(0x18524742) /* "BGR", 24: bytes B, G, R */
#define TAVRINE_FORMAT_BGRA UINT32_C(0x41524742)  /* "BGRA": bytes B, G, R, A */
#define TAVRINE_FORMAT_ARGB UINT32_C(0x42475241)  /* "ARGB": bytes A, R, G, B */
#define TAVRINE_FORMAT_Y16 UINT32_C(0x10003159)   /* "Y1", 0, 16: 16-bit grey, low byte first */

#define TAVRINE_MAX_PLANES 4

/* A picture, made and released by the core. Row y of plane p begins strides[p] * y bytes after
 * planes[p]. A stride of 0 means that rows follow each other without padding. */
typedef struct tavrine_frame {
  uint32_t core_word; /* the core's own */
  uint32_t pixel_format;
  int32_t width;
  int32_t height;
  int32_t strides[TAVRINE_MAX_PLANES];
  uintptr_t core_words[2]; /* the core's own */
  int32_t plane_count;
  void *planes[TAVRINE_MAX_PLANES]; /* null first plane: a frame without pixels */
  uint64_t extra;                   /* opaque; copied to every frame made from this one */
} tavrine_frame_t;

/* Element types of tensors. */
enum { TAVRINE_ELEMENT_INT8 = 11, TAVRINE_ELEMENT_UINT8 = 51, TAVRINE_ELEMENT_FLOAT32 = 101 };

/* A network tensor of four dimensions, made and released by the core. */
typedef struct tavrine_tensor {
  uint32_t core_word; /* the core's own */
  int32_t element_type;
  int32_t shape[4];        /* N, C, H, W */
  int32_t strides[4];      /* in elements; the column stride is 1 */
  uintptr_t core_words[2]; /* the core's own */
} tavrine_tensor_t;

/* A block of memory, owned by the core and used through its operations. */
typedef struct tavrine_buffer tavrine_buffer_t;

/* An area of a frame, in pixels. It may reach outside the frame. */
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
