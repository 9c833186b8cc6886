/* The media platform in software: what tests can order and watch. Every function may be
 * called from any thread; orders, observer and counts are shared by the whole process.
 *
 * Media memory (MMZ). Blocks are whole pages. Physical addresses begin at 0x80000000, are
 * never equal to the virtual ones, and are given out again, the lowest first.
 *
 * Every block exists twice: as the CPU sees it through its cache, and as the engine sees it.
 * Bytes that the CPU writes reach the engine when their cache lines of 64 bytes are flushed,
 * and not before: a missing flush shows as stale pixels. What the engine writes is seen by
 * both, except where the CPU has written into the same cache line since its last flush: there
 * the CPU keeps its bytes, and flushing the line destroys the engine's, as on the camera.
 * Lines that the CPU has only read are not kept.
 *
 * The SDK core's part: it flushes what a transfer, a reset or a fill wrote in device memory
 * before the call returns, and flushes a source before it reads. Whoever writes through the
 * address of a device frame flushes it himself.
 *
 * The engine (IVE) takes images of 64x64 to 1920x1080 whose physical addresses and strides
 * are multiples of 16, whose strides hold their rows, and which lie in one block each.
 *
 * Conversion is between IVE_IMAGE_TYPE_YUV420SP, U before V, of even size, and
 * IVE_IMAGE_TYPE_U8C3_PACKAGE, bytes R, G, B, in the two picture-range modes of BT.601:
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
 * to 255. U and V are taken of the sums of two by two pixels, divided by 4096, and serve two
 * by two pixels on the way back.
 *
 * Resize takes one pair of IVE_IMAGE_TYPE_U8C1 in the linear mode. The centre of destination
 * pixel i of d lies at (i + 1/2) s / d - 1/2 among s source pixels, limited to these; its two
 * neighbours share 256 parts, the second's rounded down, on each axis, and the sum over both
 * axes is divided by 65536, rounded to the nearest, halves up.
 *
 * Tasks wait in a queue and are carried out in its order, not when they are submitted. A
 * blocking query carries out all up to its task, one that does not block only the oldest. A
 * task that finds the queue full is refused, and the oldest is carried out. Tasks whose memory
 * was freed meanwhile do nothing.
 */
#ifndef TAVRINE_MPP_DEVKIT_H
#define TAVRINE_MPP_DEVKIT_H

#include "hisvp/mpp.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Limits and codes ------------------------------------------------------ */

enum { TAVRINE_DEVKIT_IVE_QUEUE_DEPTH = 8 };

/* What the calls answer beside the codes of mpp.h. */
#define TAVRINE_DEVKIT_SYS_ILLEGAL_PARAM ((HI_S32)0xA0028003U) /* no such block or range */
#define TAVRINE_DEVKIT_SYS_NULL_POINTER ((HI_S32)0xA0028006U)
#define TAVRINE_DEVKIT_SYS_NO_MEMORY ((HI_S32)0xA002800CU)
#define TAVRINE_DEVKIT_IVE_ILLEGAL_PARAM ((HI_S32)0xA01D8003U) /* size, stride, unknown handle */
#define TAVRINE_DEVKIT_IVE_NULL_POINTER ((HI_S32)0xA01D8006U)
#define TAVRINE_DEVKIT_IVE_NOT_SUPPORTED ((HI_S32)0xA01D8008U) /* image type or mode */
#define TAVRINE_DEVKIT_IVE_BAD_ADDRESS ((HI_S32)0xA01D8014U)   /* not in MMZ */

/* ---- Orders ---------------------------------------------------------------- */

/* What an ordered call does beside answering its code. */
enum {
  TAVRINE_DEVKIT_MPP_NOTHING = 0, /* touches none of its arguments */
  TAVRINE_DEVKIT_MPP_ITS_WORK = 1
};

/* Makes `count` calls of the function `name`, for example "HI_MPI_IVE_CSC", answer `code`,
 * the first of them being the `first`-th from now on (1: the next). Each name holds one
 * order, the latest. A query that does nothing leaves bFinish as it is, so with code 0 it is
 * one that finds the task unfinished. Returns 0; -1 for an unknown name, or `first` or
 * `count` below 1. */
int32_t tavrine_devkit_mpp_order(const char *name, int32_t first, int32_t count, HI_S32 code,
                                 int32_t does);

/* Withdraws all orders. Returns how many had not been carried out to the end. */
int32_t tavrine_devkit_mpp_clear_orders(void);

/* ---- Observation ----------------------------------------------------------- */

/* A call with the arguments that its function has; the others are 0. */
typedef struct tavrine_devkit_mpp_call {
  const char *name;
  HI_S32 code; /* what it answers */

  /* Memory: also what a look-up or an allocation gave. */
  uint64_t physical_address;
  const void *address;
  uint32_t length;
  const char *block_name;
  const char *zone_name;

  /* Engine. */
  IVE_HANDLE handle; /* also what a submission gave */
  IVE_IMAGE_S source;
  IVE_IMAGE_S destination;
  int32_t mode;
  IVE_MEM_INFO_S scratch;
  int32_t image_count;
  HI_BOOL is_instant;
  HI_BOOL is_blocking;
  HI_BOOL is_finished; /* what a query left in bFinish */
} tavrine_devkit_mpp_call_t;

/* Is told of every call just before it returns, by one thread at a time; what the record
 * points to is valid until then. */
typedef void (*tavrine_devkit_mpp_observer_fn)(void *arg, const tavrine_devkit_mpp_call_t *call);

/* Null: nobody. */
void tavrine_devkit_mpp_set_observer(tavrine_devkit_mpp_observer_fn observer, void *arg);

typedef struct tavrine_devkit_mmz_usage {
  int32_t blocks;
  uint64_t bytes; /* as they were asked for */
} tavrine_devkit_mmz_usage_t;

/* What is allocated now. */
tavrine_devkit_mmz_usage_t tavrine_devkit_live_mmz(void);

#ifdef __cplusplus
}
#endif

#endif
