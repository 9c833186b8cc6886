/* What the devkit's core offers beyond the SDK's: tensors for applications, and the
 * switches and counters that tests need. Every function may be called from any thread;
 * the counters and switches are shared by the whole process.
 *
 * About this core. Fresh memory is filled with the byte 0xA5. No single block is larger
 * than 2^31 - 1 bytes, as on the camera. Host frames are tightly packed. Rows of device
 * frames are padded to 16 pixels: chroma rows of NV12 and NV21 are as far apart as the
 * luma rows, those of YU12 half as far, also when the caller chooses the luma stride of
 * a frame in either memory. Planes follow one another without a gap. Chroma of odd 4:2:0
 * sizes is half the size, rounded down. Device memory is cached memory of the media
 * platform: a transfer, a reset and a fill leave it as the image engine can read it, and
 * whoever writes through the address of a device frame flushes that himself.
 */
#ifndef TAVRINE_DEVKIT_H
#define TAVRINE_DEVKIT_H

#include "tavrine_core.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Tensors --------------------------------------------------------------- */

/* A tightly packed tensor of its own memory. Null for an unknown memory or element type,
 * an empty shape or exhausted memory. */
tavrine_tensor_t *tavrine_tensor_alloc(int32_t mem_type, int32_t element_type,
                                       const int32_t shape[4]);

/* Wraps elements without copying. Strides count elements: the last is 1, each of the
 * others at least holds what is inside its dimension, and 0 stands for just that. Null
 * `strides` are all 0, `release` may be null and is not called when wrapping fails. Null
 * for null or unaligned data, bad strides, and what tavrine_tensor_alloc refuses. */
tavrine_tensor_t *tavrine_tensor_make(int32_t mem_type, int32_t element_type, void *data,
                                      const int32_t shape[4], const int32_t strides[4],
                                      tavrine_release_fn release, void *arg);

/* ---- Log ------------------------------------------------------------------- */

/* Receives a record: the tag with an ending NUL, the text as it was formatted, with the
 * line end that it may have, cut after 4095 bytes. */
typedef void (*tavrine_log_sink_fn)(void *arg, int32_t level, const char *tag, int32_t line,
                                    const char *text);

/* Sends records to `sink`, or with null to standard error again. The sink is called by
 * one thread at a time, and never again once this function has replaced it. */
void tavrine_log_set_sink(tavrine_log_sink_fn sink, void *arg);

/* ---- Live objects ---------------------------------------------------------- */

typedef struct tavrine_devkit_objects {
  int32_t frames;
  int32_t buffers;
  int32_t tensors;
  int32_t storage_blocks; /* memory of frames and tensors, allocated or wrapped */
} tavrine_devkit_objects_t;

tavrine_devkit_objects_t tavrine_devkit_live_objects(void);

/* ---- Calls and failures ---------------------------------------------------- */

/* The code of an operation that was made to fail; a handle operation answers null. */
enum { TAVRINE_DEVKIT_INJECTED_FAILURE = -77 };

/* Makes the n-th call from now (1: the next) of the operation `name`, for example
 * "tavrine_frame_alloc", fail once without doing anything. "*" counts the calls of all
 * operations that can be made to fail; each name and "*" hold one order, the latest.
 * These can: tavrine_frame_alloc, _make, _ref, _copy, _duplicate, _download, _upload, _roi
 * and _reset; tavrine_buffer_make, _alloc, _set and _resize; tavrine_tensor_alloc, _make
 * and _roi. The others only release or answer what is always known.
 * Returns 0; -1 for n below 1 or an unknown name; -1000 for one that cannot fail. */
int32_t tavrine_devkit_fail_call(const char *name, int32_t n);

/* Withdraws all orders. Returns how many had not been carried out. */
int32_t tavrine_devkit_clear_failures(void);

/* How often an operation of libtavrine_core was called from outside it, failures
 * included; "*" sums those that can be made to fail. -1 for an unknown name. */
int32_t tavrine_devkit_call_count(const char *name);
void tavrine_devkit_reset_call_counts(void);

/* ---- Device memory --------------------------------------------------------- */

/* While on, device memory of frames, buffers and tensors can be reached only inside this
 * core's own operations: code that takes it for host memory faults at once. */
void tavrine_devkit_guard_device_memory(int32_t on);

#ifdef __cplusplus
}
#endif

#endif
