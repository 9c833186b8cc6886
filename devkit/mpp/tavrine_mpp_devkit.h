/* The media platform in software: fault injection and observation for tests. Every function may
 * be called from any thread; faults, observer and counts are shared by the whole process.
 *
 * Media memory (MMZ). Blocks are whole pages. Physical addresses start at 0x80000000, differ
 * from the virtual ones, and are reused, lowest first.
 *
 * Every block exists twice: as the CPU sees it through its cache, and as the engine sees it.
 * Bytes that the CPU writes reach the engine only when their cache lines of 64 bytes are flushed:
 * after a missing flush the engine reads stale pixels. Both see what the engine writes, except
 * where the CPU has written to the same cache line since its last flush: there the CPU keeps its
 * bytes, and flushing the line destroys the engine's, as on the camera. Lines that the CPU has
 * only read are not kept.
 *
 * The SDK core flushes what a transfer, a reset or a fill wrote to device memory before the call
 * returns, and flushes a source before it reads. Code that writes through a device frame's
 * address must flush it.
 *
 * The engine (IVE) takes images of 64x64 to 1920x1080. Physical addresses and strides are
 * multiples of 16, a stride is at least as long as a row, and each image lies in one block.
 *
 * Conversion is between IVE_IMAGE_TYPE_YUV420SP, U before V, of even size, and
 * IVE_IMAGE_TYPE_U8C3_PACKAGE, bytes R, G, B, in the two limited-range modes of BT.601:
 *
 *   R = (1192 (Y - 16)                  + 1634 (V - 128)) / 1024
 *   G = (1192 (Y - 16) -  401 (U - 128) -  832 (V - 128)) / 1024
 *   B = (1192 (Y - 16) + 2066 (U - 128)                 ) / 1024
 *
 *   Y = ( 263 R + 516 G + 100 B) / 1024 +  16
 *   U = (-152 R - 298 G + 450 B) / 1024 + 128
 *   V = ( 450 R - 377 G -  73 B) / 1024 + 128
 *
 * Each quotient is rounded to the nearest integer, halves up, and results are limited to 0
 * to 255. U and V are computed from the sums of two by two pixels, divided by 4096; in the other
 * direction each pair serves two by two pixels.
 *
 * Resize takes one pair of IVE_IMAGE_TYPE_U8C1 in the linear mode. The centre of destination
 * pixel i of d lies at (i + 1/2) s / d - 1/2 among s source pixels, clamped to these. On each
 * axis the weights of its two neighbours add up to 256, the second's rounded down; the sum over
 * both axes is divided by 65536 and rounded to the nearest, halves up.
 *
 * Tasks wait in a queue and run in its order, not when they are submitted. A blocking query runs
 * all tasks up to its own, a non-blocking one only the oldest. When the queue is full a new task
 * is refused, and the oldest runs. Tasks whose memory was freed meanwhile do nothing.
 */
#ifndef TAVRINE_MPP_DEVKIT_H
#define TAVRINE_MPP_DEVKIT_H

#include "hisvp/mpp.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Limits and codes ------------------------------------------------------ */

enum { TAVRINE_DEVKIT_IVE_QUEUE_DEPTH = 8 };

/* Codes that the functions return in addition to those of mpp.h. */
#define TAVRINE_DEVKIT_SYS_ILLEGAL_PARAM ((HI_S32)0xA0028003U) /* no such block or range */
#define TAVRINE_DEVKIT_SYS_NULL_POINTER ((HI_S32)0xA0028006U)
#define TAVRINE_DEVKIT_SYS_NO_MEMORY ((HI_S32)0xA002800CU)
#define TAVRINE_DEVKIT_IVE_ILLEGAL_PARAM ((HI_S32)0xA01D8003U) /* size, stride, unknown handle */
#define TAVRINE_DEVKIT_IVE_NULL_POINTER ((HI_S32)0xA01D8006U)
#define TAVRINE_DEVKIT_IVE_NOT_SUPPORTED ((HI_S32)0xA01D8008U) /* image type or mode */
#define TAVRINE_DEVKIT_IVE_BAD_ADDRESS ((HI_S32)0xA01D8014U)   /* not in MMZ */

/* ---- Fault injection ------------------------------------------------------- */

/* What a faulty call does before it returns its code. */
enum {
  TAVRINE_DEVKIT_MPP_NOTHING = 0, /* touches none of its arguments */
  TAVRINE_DEVKIT_MPP_ITS_WORK = 1
};

/* Makes `count` calls of the function `name`, for example "HI_MPI_IVE_CSC", return `code`,
 * starting with the `first`-th call from now (1: the next). A name has one fault at a time; a
 * new one replaces it. A query that does nothing leaves bFinish unchanged, so code 0 makes it
 * report an unfinished task. Returns 0; -1 for an unknown name, or if `first` or `count` is
 * below 1. */
int32_t tavrine_devkit_mpp_inject_fault(const char *name, int32_t first, int32_t count, HI_S32 code,
                                        int32_t does);

/* Removes all faults. Returns how many were still pending. */
int32_t tavrine_devkit_mpp_clear_faults(void);

/* ---- Observation ----------------------------------------------------------- */

/* A call. Fields that its function does not have are 0. */
typedef struct tavrine_devkit_mpp_call {
  const char *name;
  HI_S32 code; /* what it returns */

  /* Memory; also the results of a look-up or an allocation. */
  uint64_t physical_address;
  const void *address;
  uint32_t length;
  const char *block_name;
  const char *zone_name;

  /* Engine. */
  IVE_HANDLE handle; /* also the result of a submission */
  IVE_IMAGE_S source;
  IVE_IMAGE_S destination;
  int32_t mode;
  IVE_MEM_INFO_S scratch;
  int32_t image_count;
  HI_BOOL is_instant;
  HI_BOOL is_blocking;
  HI_BOOL is_finished; /* bFinish after a query */
} tavrine_devkit_mpp_call_t;

/* Called for every call just before it returns, by one thread at a time. What the record points
 * to is valid until the observer returns. */
typedef void (*tavrine_devkit_mpp_observer_fn)(void *arg, const tavrine_devkit_mpp_call_t *call);

/* Null removes the observer. */
void tavrine_devkit_mpp_set_observer(tavrine_devkit_mpp_observer_fn observer, void *arg);

typedef struct tavrine_devkit_mmz_usage {
  int32_t blocks;
  uint64_t bytes; /* as requested */
} tavrine_devkit_mmz_usage_t;

/* What is allocated at present. */
tavrine_devkit_mmz_usage_t tavrine_devkit_live_mmz(void);

#ifdef __cplusplus
}
#endif

#endif
