/* The part of the camera's media platform that this library calls: blocks of media memory
 * (MMZ) and the image engine (IVE). The layouts are the platform's, of the generation with
 * 64-bit addresses, and the same on 32-bit and 64-bit machines.
 *
 * A call returns HI_SUCCESS or an error code.
 */
#ifndef TAVRINE_HISVP_MPP_H
#define TAVRINE_HISVP_MPP_H

#include <assert.h>
#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef char HI_CHAR;
typedef uint16_t HI_U16;
typedef int32_t HI_S32;
typedef uint32_t HI_U32;
typedef uint64_t HI_U64;
typedef enum { HI_FALSE = 0, HI_TRUE = 1 } HI_BOOL;

#define HI_SUCCESS 0

/* ---- Media memory ---------------------------------------------------------- */

typedef struct {
  HI_U64 u64PhyAddr;
  HI_BOOL bCached;
} SYS_VIRMEM_INFO_S;

/* Describes the block that the address lies in; leaves the record alone when there is none. */
HI_S32 HI_MPI_SYS_GetVirMemInfo(const void *pVirAddr, SYS_VIRMEM_INFO_S *pstMemInfo);

/* A block of cached memory. Both names may be null. */
HI_S32 HI_MPI_SYS_MmzAlloc_Cached(HI_U64 *pu64PhyAddr, void **ppVirAddr, const HI_CHAR *strMmb,
                                  const HI_CHAR *strZone, HI_U32 u32Len);
HI_S32 HI_MPI_SYS_MmzFree(HI_U64 u64PhyAddr, void *pVirAddr);

/* Two ways to write back and invalidate the CPU's cache lines of a range. */
HI_S32 HI_MPI_SYS_MmzFlushCache(HI_U64 u64PhyAddr, void *pVirAddr, HI_U32 u32Size);
HI_S32 HI_MPI_SYS_MflushCache(HI_U64 u64PhyAddr, void *pVirAddr, HI_U32 u32Size);

/* ---- Image engine ---------------------------------------------------------- */

typedef HI_S32 IVE_HANDLE;

#define HI_ERR_IVE_BUF_FULL ((HI_S32)0xA01D800FU)      /* the task queue is full */
#define HI_ERR_IVE_QUERY_TIMEOUT ((HI_S32)0xA01D8041U) /* a blocking query timed out */

typedef enum {
  IVE_IMAGE_TYPE_U8C1 = 0,
  IVE_IMAGE_TYPE_YUV420SP = 2,
  IVE_IMAGE_TYPE_YUV420P = 4,
  IVE_IMAGE_TYPE_U8C3_PACKAGE = 10,
  IVE_IMAGE_TYPE_BUTT = 16
} IVE_IMAGE_TYPE_E;

/* Strides count pixels. */
typedef struct {
  HI_U64 au64PhyAddr[3];
  HI_U64 au64VirAddr[3];
  HI_U32 au32Stride[3];
  HI_U32 u32Width;
  HI_U32 u32Height;
  IVE_IMAGE_TYPE_E enType;
} IVE_IMAGE_S;

typedef struct {
  HI_U64 u64PhyAddr;
  HI_U64 u64VirAddr;
  HI_U32 u32Size;
} IVE_MEM_INFO_S;

/* Picture range: YUV of 16 to 235 and 240, RGB of 0 to 255. */
typedef enum {
  IVE_CSC_MODE_PIC_BT601_YUV2RGB = 2,
  IVE_CSC_MODE_PIC_BT601_RGB2YUV = 10
} IVE_CSC_MODE_E;

typedef struct {
  IVE_CSC_MODE_E enMode;
} IVE_CSC_CTRL_S;

typedef enum { IVE_RESIZE_MODE_LINEAR = 0 } IVE_RESIZE_MODE_E;

typedef struct {
  IVE_RESIZE_MODE_E enMode;
  IVE_MEM_INFO_S stMem;
  HI_U16 u16Num;
} IVE_RESIZE_CTRL_S;

/* Both put a task into the engine's queue and store its handle. */
HI_S32 HI_MPI_IVE_CSC(IVE_HANDLE *pIveHandle, const IVE_IMAGE_S *pstSrc, const IVE_IMAGE_S *pstDst,
                      const IVE_CSC_CTRL_S *pstCscCtrl, HI_BOOL bInstant);
HI_S32 HI_MPI_IVE_Resize(IVE_HANDLE *pIveHandle, const IVE_IMAGE_S astSrc[],
                         const IVE_IMAGE_S astDst[], const IVE_RESIZE_CTRL_S *pstResizeCtrl,
                         HI_BOOL bInstant);
HI_S32 HI_MPI_IVE_Query(IVE_HANDLE IveHandle, HI_BOOL *pbFinish, HI_BOOL bBlock);

/* ---- Layout ---------------------------------------------------------------- */

static_assert(sizeof(HI_BOOL) == 4, "layout");
static_assert(offsetof(SYS_VIRMEM_INFO_S, bCached) == 8, "layout");
static_assert(sizeof(SYS_VIRMEM_INFO_S) == 16, "layout");
static_assert(offsetof(IVE_IMAGE_S, au64PhyAddr) == 0, "layout");
static_assert(offsetof(IVE_IMAGE_S, au64VirAddr) == 24, "layout");
static_assert(offsetof(IVE_IMAGE_S, au32Stride) == 48, "layout");
static_assert(offsetof(IVE_IMAGE_S, u32Width) == 60, "layout");
static_assert(offsetof(IVE_IMAGE_S, u32Height) == 64, "layout");
static_assert(offsetof(IVE_IMAGE_S, enType) == 68, "layout");
static_assert(sizeof(IVE_IMAGE_S) == 72, "layout");
static_assert(offsetof(IVE_MEM_INFO_S, u64VirAddr) == 8, "layout");
static_assert(offsetof(IVE_MEM_INFO_S, u32Size) == 16, "layout");
static_assert(sizeof(IVE_MEM_INFO_S) == 24, "layout");
static_assert(sizeof(IVE_CSC_CTRL_S) == 4, "layout");
static_assert(offsetof(IVE_RESIZE_CTRL_S, stMem) == 8, "layout");
static_assert(offsetof(IVE_RESIZE_CTRL_S, u16Num) == 32, "layout");
static_assert(sizeof(IVE_RESIZE_CTRL_S) == 40, "layout");

#ifdef __cplusplus
}
#endif

#endif
