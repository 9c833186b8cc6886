/* What the devkit's core offers beyond the SDK's: tensors for applications, and fault injection
 * and counters for tests. Every function may be called from any thread; faults and counters
 * are shared by the whole process.
 *
 * About this core. New memory is filled with the byte 0xA5. No single block is larger than
 * 2^31 - 1 bytes, as on the camera. Host frames are tightly packed. Rows of device frames are
 * padded to 16 pixels. Chroma rows of NV12 and NV21 have the stride of luma rows, those of YU12
 * half of it, also when the caller chooses the luma stride, in either memory. Planes follow one
 * another without a gap. The chroma size of odd 4:2:0 frames is rounded down. Device memory is
 * cached memory of the media platform: a transfer, a reset and a fill flush what they wrote, so
 * that the image engine can read it. Code that writes through a device frame's address must
 * flush it.
 */
#ifndef TAVRINE_DEVKIT_H
#define TAVRINE_DEVKIT_H

#include "tavrine_core.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Tensors --------------------------------------------------------------- */

/* Allocates a tightly packed tensor. Returns null for an unknown memory or element type, an empty
 * shape or exhausted memory. */
tavrine_tensor_t *tavrine_tensor_alloc(int32_t mem_type, int32_t element_type,
                                       const int32_t shape[4]);

/* Wraps elements without copying. Strides count elements: the last is 1, the others must be large
 * enough that elements do not overlap, and 0 means tightly packed. Null `strides` means that all
 * are 0. `release` may be null; it is not called when wrapping fails. Returns null for null or
 * unaligned data, bad strides, and what tavrine_tensor_alloc refuses. */
tavrine_tensor_t *tavrine_tensor_make(int32_t mem_type, int32_t element_type, void *data,
                                      const int32_t shape[4], const int32_t strides[4],
                                      tavrine_release_fn release, void *arg);

/* ---- Log ------------------------------------------------------------------- */

/* Receives a log record: the NUL-terminated tag, and the formatted text, including its newline if
 * it has one, truncated to 4095 bytes. */
typedef void (*tavrine_log_sink_fn)(void *arg, int32_t level, const char *tag, int32_t line,
                                    const char *text);

/* Sends log records to `sink`; null restores standard error. The sink is called by one thread at a
 * time, and not any more after this function has replaced it. */
void tavrine_log_set_sink(tavrine_log_sink_fn sink, void *arg);

/* ---- Live objects ---------------------------------------------------------- */

typedef struct tavrine_devkit_objects {
  int32_t frames;
  int32_t buffers;
  int32_t tensors;
  int32_t storage_blocks; /* memory of frames and tensors, allocated or wrapped */
} tavrine_devkit_objects_t;

tavrine_devkit_objects_t tavrine_devkit_live_objects(void);

/* ---- Calls and fault injection --------------------------------------------- */

/* What an operation returns when a fault is injected; operations that return a handle return
 * null. */
enum { TAVRINE_DEVKIT_INJECTED_FAILURE = -77 };

/* Makes the n-th call from now (1: the next) of the operation `name`, for example
 * "tavrine_frame_alloc", fail once without doing anything. "*" counts the calls of all
 * operations that can fail. Each name, and "*", has one fault at a time; a new one replaces it.
 * These can fail: tavrine_frame_alloc, _make, _ref, _copy, _duplicate, _download, _upload, _roi
 * and _reset; tavrine_buffer_make, _alloc, _set and _resize; tavrine_tensor_alloc, _make and
 * _roi.
 * Returns 0; -1 for n below 1 or an unknown name; -1000 for an operation that cannot fail. */
int32_t tavrine_devkit_inject_fault(const char *name, int32_t n);

/* Removes all faults. Returns how many were still pending. */
int32_t tavrine_devkit_clear_faults(void);

/* The number of calls of an operation of libtavrine_core from outside it, including failed ones;
 * "*" adds up the operations that can fail. -1 for an unknown name. */
int32_t tavrine_devkit_call_count(const char *name);
void tavrine_devkit_reset_call_counts(void);

/* ---- Device memory --------------------------------------------------------- */

/* While on, only this core's own operations can access the device memory of frames, buffers and
 * tensors: code that mistakes it for host memory crashes at once. */
void tavrine_devkit_guard_device_memory(int32_t on);

#ifdef __cplusplus
}
#endif

#endif
