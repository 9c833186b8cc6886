/* The public headers are C, and existing programs were compiled with their records and
 * numbers. This file does not compile as C11 when a record, a number or a parameter differs. */
#include "tavrine_aux.h"
#include "tavrine_core.h"
#include "tavrine_devkit.h"
#include "tavrine_mpp_devkit.h"

#define BY_POINTER(bytes32, bytes64) (sizeof(void *) == 4 ? (bytes32) : (bytes64))
#define SIZE(record, bytes) _Static_assert(sizeof(record) == (bytes), #record)
#define FIELD(record, field, offset, bytes)                                \
  _Static_assert(offsetof(record, field) == (offset), #record "." #field); \
  _Static_assert(sizeof(((record *)0)->field) == (bytes), #record "." #field)
#define NUMBER(name, value) _Static_assert((name) == (value), #name)

/* ---- Records --------------------------------------------------------------- */

SIZE(tavrine_frame_t, BY_POINTER(72, 96));
FIELD(tavrine_frame_t, core_word, 0, 4);
FIELD(tavrine_frame_t, pixel_format, 4, 4);
FIELD(tavrine_frame_t, width, 8, 4);
FIELD(tavrine_frame_t, height, 12, 4);
FIELD(tavrine_frame_t, strides, 16, 16);
FIELD(tavrine_frame_t, core_words, 32, BY_POINTER(8, 16));
FIELD(tavrine_frame_t, plane_count, BY_POINTER(40, 48), 4);
FIELD(tavrine_frame_t, planes, BY_POINTER(44, 56), BY_POINTER(16, 32));
FIELD(tavrine_frame_t, extra, BY_POINTER(64, 88), 8);

SIZE(tavrine_tensor_t, BY_POINTER(48, 56));
FIELD(tavrine_tensor_t, core_word, 0, 4);
FIELD(tavrine_tensor_t, element_type, 4, 4);
FIELD(tavrine_tensor_t, shape, 8, 16);
FIELD(tavrine_tensor_t, strides, 24, 16);
FIELD(tavrine_tensor_t, core_words, 40, BY_POINTER(8, 16));

SIZE(tavrine_area2d_t, 16);
FIELD(tavrine_area2d_t, x, 0, 4);
FIELD(tavrine_area2d_t, y, 4, 4);
FIELD(tavrine_area2d_t, width, 8, 4);
FIELD(tavrine_area2d_t, height, 12, 4);

SIZE(tavrine_point2f_t, 8);
FIELD(tavrine_point2f_t, x, 0, 4);
FIELD(tavrine_point2f_t, y, 4, 4);

SIZE(tavrine_matrix3x3f_t, 36);
FIELD(tavrine_matrix3x3f_t, m, 0, 36);

/* ---- Numbers --------------------------------------------------------------- */

NUMBER(TAVRINE_OK, 0);
NUMBER(TAVRINE_INVALID_ARGUMENT, -1);
NUMBER(TAVRINE_FAILURE, -4);
NUMBER(TAVRINE_NOT_SUPPORTED, -1000);
NUMBER(TAVRINE_MEMORY_HOST, 0);
NUMBER(TAVRINE_MEMORY_DEVICE, 1);
NUMBER(TAVRINE_MAX_PLANES, 4);
NUMBER(TAVRINE_FORMAT_GREY, 0x59455247);
NUMBER(TAVRINE_FORMAT_NV12, 0x3231564E);
NUMBER(TAVRINE_FORMAT_NV21, 0x3132564E);
NUMBER(TAVRINE_FORMAT_YU12, 0x32315559);
NUMBER(TAVRINE_FORMAT_RGB24, 0x18424752);
NUMBER(TAVRINE_FORMAT_BGR24, 0x18524742);
NUMBER(TAVRINE_FORMAT_BGRA, 0x41524742);
NUMBER(TAVRINE_FORMAT_ARGB, 0x42475241);
NUMBER(TAVRINE_FORMAT_Y16, 0x10003159);
NUMBER(TAVRINE_ELEMENT_INT8, 11);
NUMBER(TAVRINE_ELEMENT_UINT8, 51);
NUMBER(TAVRINE_ELEMENT_FLOAT32, 101);
NUMBER(TAVRINE_ENCODE_JPEG, 1);
NUMBER(TAVRINE_ENCODE_BMP, 2);
NUMBER(TAVRINE_ENCODE_PNG, 3);
NUMBER(TAVRINE_TENSOR_BGR, 0);
NUMBER(TAVRINE_TENSOR_RGB, 1);
NUMBER(TAVRINE_TENSOR_GRAY, 2);
NUMBER(TAVRINE_RESIZE_FIT, 0);
NUMBER(TAVRINE_RESIZE_STRETCH, 1);
NUMBER(TAVRINE_ROTATE_90, 0);
NUMBER(TAVRINE_ROTATE_180, 1);
NUMBER(TAVRINE_ROTATE_270, 2);

/* ---- Functions ------------------------------------------------------------- */

typedef const char *text(void);
typedef tavrine_frame_t *load(const char *);
typedef tavrine_frame_t *load_from_memory(const void *, int32_t);
typedef int32_t save(const tavrine_frame_t *, const char *);
typedef int32_t encode(const tavrine_frame_t *, int32_t, tavrine_buffer_t *);
typedef int32_t resize(const tavrine_frame_t *, tavrine_frame_t **, int32_t, int32_t);
typedef int32_t scale(const tavrine_frame_t *, tavrine_frame_t **, float);
typedef int32_t crop(const tavrine_frame_t *, tavrine_frame_t **, tavrine_area2d_t);
typedef int32_t rotate(const tavrine_frame_t *, tavrine_frame_t **, int32_t);
typedef int32_t cvt_color(const tavrine_frame_t *, tavrine_frame_t **, uint32_t);
typedef int32_t warp(const tavrine_frame_t *, tavrine_frame_t *, const float *);
typedef int32_t to_tensor(tavrine_tensor_t *, uint32_t, int32_t, const tavrine_frame_t *, float,
                          float, float, float, float, float, float, float, float);
typedef int32_t batch(tavrine_tensor_t *, int32_t, int32_t, tavrine_frame_t *const *,
                      const tavrine_area2d_t *, int32_t, float, float, float, float, float, float,
                      const float (*)[3], tavrine_buffer_t **, float *, float *);
typedef void find(const tavrine_point2f_t *, const tavrine_point2f_t *, tavrine_matrix3x3f_t *,
                  tavrine_matrix3x3f_t *);

#define FUNCTION(name, type) _Static_assert(_Generic(&(name), type * : 1, default : 0), #name)

FUNCTION(tavrine_aux_meta, text);
FUNCTION(tavrine_aux_version, text);
FUNCTION(tavrine_aux_revision, text);
FUNCTION(__plugin_name, text);
FUNCTION(tavrine_frame_load, load);
FUNCTION(tavrine_frame_load_from_memory, load_from_memory);
FUNCTION(tavrine_frame_save, save);
FUNCTION(tavrine_frame_encode, encode);
FUNCTION(tavrine_frame_resize, resize);
FUNCTION(tavrine_frame_scale, scale);
FUNCTION(tavrine_frame_crop, crop);
FUNCTION(tavrine_frame_rotate, rotate);
FUNCTION(tavrine_frame_cvt_color, cvt_color);
FUNCTION(tavrine_frame_warpaffine, warp);
FUNCTION(tavrine_frame_warpperspective, warp);
FUNCTION(tavrine_frame_to_tensor, to_tensor);
FUNCTION(tavrine_frame_transform_to_tensor_batch, batch);
FUNCTION(tavrine_find_affine_transform, find);
FUNCTION(tavrine_find_similarity_transform, find);

/* Called by the C++ side, so that the linker sees every declaration with C linkage. */
const char *version_seen_from_c(void);

const char *version_seen_from_c(void) { return tavrine_aux_version(); }
