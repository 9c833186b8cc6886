/* What the SDK core offers to this library and to its applications.
 *
 * Unless said otherwise an int32_t result is 0 on success and a negative code on
 * failure, a handle result is null on failure, and a `**` argument is a slot: it is
 * filled when it holds null and used when it does not. Handles must not be null
 * where a contract does not mention it.
 */
#ifndef TAVRINE_CORE_H
#define TAVRINE_CORE_H

#include "tavrine_types.h"

#ifdef __cplusplus
extern "C" {
#endif

#if defined(__GNUC__)
#define TAVRINE_PRINTF_FORMAT(text_index, first_index) \
  __attribute__((format(printf, text_index, first_index)))
#else
#define TAVRINE_PRINTF_FORMAT(text_index, first_index)
#endif

/* Called once, when the last reference to wrapped memory goes. */
typedef void (*tavrine_release_fn)(void *arg);

/* ---- Frames ---------------------------------------------------------------- */

/* A frame of its own memory. Strides of 0 let the core choose; a stride that is not 0
 * must hold a row. Null for an unknown format, an empty size or exhausted memory. */
tavrine_frame_t *tavrine_frame_alloc(int32_t mem_type, uint32_t format, int32_t width,
                                     int32_t height, const int32_t strides[4], uint64_t extra);

/* Wraps pixels that lie plane after plane from `data` on, without copying. `release` may
 * be null; it is not called when wrapping fails, so the memory stays the caller's then. */
tavrine_frame_t *tavrine_frame_make(int32_t mem_type, uint32_t format, void *data, int32_t width,
                                    int32_t height, const int32_t strides[4], uint64_t extra,
                                    tavrine_release_fn release, void *arg);

/* A second record over the same pixels, to be released on its own. */
tavrine_frame_t *tavrine_frame_ref(const tavrine_frame_t *frame);

/* Releases the frame and clears the slot; a null slot or content is harmless. */
void tavrine_frame_free(tavrine_frame_t **frame);

/* Copies pixels between frames of one memory type and format, allocating an empty slot.
 * The destination must be at least as large; a larger one receives its top left part.
 * A null source or slot answers a negative code and touches nothing. */
int32_t tavrine_frame_copy(const tavrine_frame_t *source, tavrine_frame_t **destination);

/* A copy whose planes lie back to back without row padding. */
tavrine_frame_t *tavrine_frame_duplicate(const tavrine_frame_t *frame);

/* Copy between the memories, allocating an empty slot; sizes and formats as for a copy. */
int32_t tavrine_frame_download(const tavrine_frame_t *device, tavrine_frame_t **host);
int32_t tavrine_frame_upload(const tavrine_frame_t *host, tavrine_frame_t **device);

int32_t tavrine_frame_mem_type(const tavrine_frame_t *frame);

/* Non-zero when the planes lie back to back without row padding. */
int32_t tavrine_frame_is_contiguous(const tavrine_frame_t *frame);

/* A frame over a part of the parent's pixels. Null when the area is empty or does not
 * fit, or when its offset is odd in a 4:2:0 format. */
tavrine_frame_t *tavrine_frame_roi(const tavrine_frame_t *frame, int32_t x, int32_t y,
                                   int32_t width, int32_t height);

/* Sets every byte of the pixels, and none of the padding, to the low byte of `value`. */
int32_t tavrine_frame_reset(tavrine_frame_t *frame, int32_t value);

/* Bytes per pixel of plane 0; 0 for an unknown format. */
size_t tavrine_frame_pixel_size(uint32_t format);

/* Bytes of a tightly packed frame with all its planes; 0 when there is no such frame. */
size_t tavrine_frame_inferred_size(uint32_t format, int32_t width, int32_t height);

/* Printable name; never null. */
const char *tavrine_frame_pixfmt_to_string(uint32_t format);

/* ---- Buffers --------------------------------------------------------------- */

/* Wraps memory without taking ownership, unless `release` says how to give it back. */
tavrine_buffer_t *tavrine_buffer_make(void *data, size_t size, int32_t mem_type,
                                      tavrine_release_fn release, void *arg);
tavrine_buffer_t *tavrine_buffer_alloc(size_t size, int32_t mem_type);
int32_t tavrine_buffer_set(tavrine_buffer_t *buffer, int32_t value);
void tavrine_buffer_free(tavrine_buffer_t **buffer);
size_t tavrine_buffer_size(const tavrine_buffer_t *buffer);

/* Keeps the bytes up to the smaller size; may move them. A wrapping buffer cannot grow. */
int32_t tavrine_buffer_resize(tavrine_buffer_t *buffer, size_t size);

/* Valid until the next resize. */
void *tavrine_buffer_raw_pointer(const tavrine_buffer_t *buffer);
int32_t tavrine_buffer_mem_type(const tavrine_buffer_t *buffer);

/* ---- Tensors --------------------------------------------------------------- */

int32_t tavrine_tensor_mem_type(const tavrine_tensor_t *tensor);
void *tavrine_tensor_raw_pointer(const tavrine_tensor_t *tensor);
void *tavrine_tensor_data_at(const tavrine_tensor_t *tensor, int32_t n, int32_t c, int32_t h,
                             int32_t w);

/* A view of the elements from `begin` up to but without `end`; null when they do not fit. */
tavrine_tensor_t *tavrine_tensor_roi(const tavrine_tensor_t *tensor, const int32_t begin[4],
                                     const int32_t end[4]);
void tavrine_tensor_free(tavrine_tensor_t **tensor);

/* ---- Device and log -------------------------------------------------------- */

/* Name of the current device; never null. */
const char *tavrine_device_get_name(void);

/* Writes one record. Levels: 0 notice, 3 warning, 4 error. The tag is padded with NUL. */
void tavrine_log(int32_t level, const char tag[16], int32_t line, const char *format, ...)
    TAVRINE_PRINTF_FORMAT(4, 5);

#ifdef __cplusplus
}
#endif

#endif
