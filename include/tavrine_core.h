/* The operations of the SDK core that this library and its applications use.
 *
 * Unless said otherwise, an int32_t result is TAVRINE_OK or a negative code, a handle result is
 * null on failure, and handles must not be null. A `**` argument is a slot: an operation fills an
 * empty one (one that holds null) with a new object and uses the object in a filled one. After a
 * failure an empty slot is still empty, and a frame in a filled one has undefined pixels.
 *
 * Threads. Every function may be called from any thread. An object must not be used by two calls
 * at once when one of them writes, resizes or releases it; several calls may read it. References
 * and sub-frames are objects of their own, but share pixels.
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

/* Called once with its argument, when the last reference to wrapped memory is released. */
typedef void (*tavrine_release_fn)(void *arg);

/* ---- Frames ---------------------------------------------------------------- */

/* Makes a frame with memory of its own. Its pixels are undefined.
 *
 *   strides  of each plane; 0 lets the core choose, another value must hold a row
 *   extra    stored in the record
 *
 * Returns null for an unknown format or memory type, an empty size, a stride that does not hold a
 * row, and when out of memory. */
tavrine_frame_t *tavrine_frame_alloc(int32_t mem_type, uint32_t format, int32_t width,
                                     int32_t height, const int32_t strides[4], uint64_t extra);

/* Makes a frame over existing pixels, without copying them. The planes begin at `data` and follow
 * each other. `release` may be null. When wrapping fails, `release` is not called and the memory
 * stays the caller's. */
tavrine_frame_t *tavrine_frame_make(int32_t mem_type, uint32_t format, void *data, int32_t width,
                                    int32_t height, const int32_t strides[4], uint64_t extra,
                                    tavrine_release_fn release, void *arg);

/* A second record for the same pixels, released on its own. The pixels live until the last
 * reference to them is released. */
tavrine_frame_t *tavrine_frame_ref(const tavrine_frame_t *frame);

/* Releases the record, and the pixels when no other record refers to them; the slot then holds
 * null. A null slot or an empty one is harmless. */
void tavrine_frame_free(tavrine_frame_t **frame);

/* Copies pixels between frames of one memory type and one format. The destination must be at least
 * as large; a larger one receives the pixels in its top left part. Returns a negative code and
 * changes nothing for a null source or slot. */
int32_t tavrine_frame_copy(const tavrine_frame_t *source, tavrine_frame_t **destination);

/* A copy whose planes follow each other without row padding. */
tavrine_frame_t *tavrine_frame_duplicate(const tavrine_frame_t *frame);

/* Copy between the two memories. Sizes and formats must match as for tavrine_frame_copy, and the
 * source must be in the memory that the name says. */
int32_t tavrine_frame_download(const tavrine_frame_t *device, tavrine_frame_t **host);
int32_t tavrine_frame_upload(const tavrine_frame_t *host, tavrine_frame_t **device);

/* The memory type of the frame's pixels. */
int32_t tavrine_frame_mem_type(const tavrine_frame_t *frame);

/* Non-zero when the planes follow each other without row padding. */
int32_t tavrine_frame_is_contiguous(const tavrine_frame_t *frame);

/* A frame over a part of another's pixels. It keeps the pixels alive: the parent may be released
 * first. Null when the area is empty or not wholly inside the parent, and for an odd offset in a
 * 4:2:0 format. */
tavrine_frame_t *tavrine_frame_roi(const tavrine_frame_t *frame, int32_t x, int32_t y,
                                   int32_t width, int32_t height);

/* Sets every byte of the pixels, but not of row padding, to the low byte of `value`. */
int32_t tavrine_frame_reset(tavrine_frame_t *frame, int32_t value);

/* Bytes per pixel of plane 0; 0 for an unknown format. */
size_t tavrine_frame_pixel_size(uint32_t format);

/* Bytes of all planes of a frame without row padding; 0 for an unknown format, an empty size, or
 * more than the address space holds. */
size_t tavrine_frame_inferred_size(uint32_t format, int32_t width, int32_t height);

/* A printable name, also of unknown formats; never null. */
const char *tavrine_frame_pixfmt_to_string(uint32_t format);

/* ---- Buffers --------------------------------------------------------------- */

/* Makes a buffer over existing memory. The memory stays the caller's, and must outlive the buffer,
 * unless `release` is given to release it. Such a buffer can shrink but not grow. */
tavrine_buffer_t *tavrine_buffer_make(void *data, size_t size, int32_t mem_type,
                                      tavrine_release_fn release, void *arg);

/* Makes a buffer with memory of its own, whose bytes are undefined. */
tavrine_buffer_t *tavrine_buffer_alloc(size_t size, int32_t mem_type);

/* Sets every byte to the low byte of `value`. */
int32_t tavrine_buffer_set(tavrine_buffer_t *buffer, int32_t value);

/* Releases the buffer; the slot then holds null. A null slot or an empty one is harmless. */
void tavrine_buffer_free(tavrine_buffer_t **buffer);

/* In bytes. */
size_t tavrine_buffer_size(const tavrine_buffer_t *buffer);

/* Changes the size. Bytes up to the smaller size are kept, and may move. After a failure the buffer
 * is as it was. */
int32_t tavrine_buffer_resize(tavrine_buffer_t *buffer, size_t size);

/* The address of the bytes, valid until the buffer is resized or released. */
void *tavrine_buffer_raw_pointer(const tavrine_buffer_t *buffer);

int32_t tavrine_buffer_mem_type(const tavrine_buffer_t *buffer);

/* ---- Tensors --------------------------------------------------------------- */

int32_t tavrine_tensor_mem_type(const tavrine_tensor_t *tensor);

/* The address of element (0, 0, 0, 0). */
void *tavrine_tensor_raw_pointer(const tavrine_tensor_t *tensor);

/* The address of one element; null when an index is out of range. */
void *tavrine_tensor_data_at(const tavrine_tensor_t *tensor, int32_t n, int32_t c, int32_t h,
                             int32_t w);

/* A view of the elements from `begin` to `end`, the end excluded, with the strides of its parent.
 * It keeps the elements alive. Null when the range is empty or not inside the tensor. */
tavrine_tensor_t *tavrine_tensor_roi(const tavrine_tensor_t *tensor, const int32_t begin[4],
                                     const int32_t end[4]);

/* Releases the record, and the elements when no other record refers to them; the slot then holds
 * null. A null slot or an empty one is harmless. */
void tavrine_tensor_free(tavrine_tensor_t **tensor);

/* ---- Device and log -------------------------------------------------------- */

/* The name of the current device; never null. */
const char *tavrine_device_get_name(void);

/* Writes one log record. Levels are 0 for a notice, 3 for a warning, 4 for an error. The tag is
 * padded with NUL to 16 bytes. */
void tavrine_log(int32_t level, const char tag[16], int32_t line, const char *format, ...)
    TAVRINE_PRINTF_FORMAT(4, 5);

#ifdef __cplusplus
}
#endif

#endif
