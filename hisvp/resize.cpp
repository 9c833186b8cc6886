// Bilinear resize of grey frames.
#include "common/log.h"
#include "hisvp/addresses.h"
#include "hisvp/operations.h"
#include "hisvp/scratch_block.h"
#include "hisvp/task.h"

namespace tavrine {
namespace {

constexpr int32_t kNoScratchMemory = -3;
constexpr TaskTraits kTask = {"SVP resize ", "HI_MPI_IVE_Resize", 100};

// The source or the destination, in the unsigned numbers that the engine takes.
struct Side {
  uint64_t physical;
  void *pixels;
  uint32_t stride;
  uint32_t width;
  uint32_t height;

  uint32_t bytes() const { return stride * height; }
};

bool is_grey_pair(const tavrine_frame_t *in, const tavrine_frame_t *out) {
  return in->pixel_format == TAVRINE_FORMAT_GREY && out->pixel_format == in->pixel_format;
}

bool is_in_range(const Side &side) {
  return side.width >= 64 && side.width <= 1920 && side.height >= 64 && side.height <= 1080;
}

IVE_IMAGE_S describe(const Side &side) {
  IVE_IMAGE_S image = {};
  image.enType = IVE_IMAGE_TYPE_U8C1;
  image.u32Width = side.width;
  image.u32Height = side.height;
  image.au64PhyAddr[0] = side.physical;
  image.au64VirAddr[0] = widen_address(side.pixels);
  image.au32Stride[0] = side.stride;
  return image;
}

// The part of an address that a log record shows.
int32_t low_word(uint64_t address) { return static_cast<int32_t>(static_cast<uint32_t>(address)); }

// Tries both ways. Failure is only logged: the engine may then read stale pixels.
template <typename Report>
void flush(const Side &side, Report report) {
  if (HI_MPI_SYS_MmzFlushCache(side.physical, side.pixels, side.bytes()) == HI_SUCCESS) {
    return;
  }
  report();
  if (HI_MPI_SYS_MflushCache(side.physical, side.pixels, side.bytes()) != HI_SUCCESS) {
    report();
  }
}

int32_t run(const Side &in, const Side &out) {
  ScratchBlock scratch;
  if (scratch.code() != HI_SUCCESS) {
    TAVRINE_LOG(kError, kTagHisvp, "SVP resize HI_MPI_SYS_MmzAlloc_Cached failed 0x%x.\n",
                static_cast<unsigned>(scratch.code()));
    return kNoScratchMemory;
  }
  const IVE_IMAGE_S source = describe(in);
  const IVE_IMAGE_S destination = describe(out);
  IVE_RESIZE_CTRL_S control = {};
  control.enMode = IVE_RESIZE_MODE_LINEAR;
  control.stMem = {scratch.physical(), widen_address(scratch.address()), ScratchBlock::kBytes};
  control.u16Num = 1;

  flush(in, [] { TAVRINE_LOG(kWarning, kTagHisvp, "flush src failed.\n"); });
  flush(out, [] { TAVRINE_LOG(kWarning, kTagHisvp, "flush dst failed.\n"); });

  const TaskOutcome outcome = run_task(kTask, [&](IVE_HANDLE *handle) {
    return HI_MPI_IVE_Resize(handle, &source, &destination, &control, HI_TRUE);
  });
  if (outcome == TaskOutcome::kNotSubmitted) {
    // The engine may still own it, so it is leaked.
    scratch.abandon();
  }
  return outcome == TaskOutcome::kDone ? TAVRINE_OK : TAVRINE_FAILURE;
}

}  // namespace

int32_t hisvp_resize(const tavrine_frame_t *in, tavrine_frame_t *out, int32_t width,
                     int32_t height) {
  if (in == nullptr || out == nullptr) {
    TAVRINE_LOG(kNotice, kTagHisvp, "SVP resize in or output null.\n");
    return TAVRINE_INVALID_ARGUMENT;
  }
  if (!is_grey_pair(in, out)) {
    TAVRINE_LOG(kNotice, kTagHisvp, "SVP resize support gray only.\n");
    return TAVRINE_INVALID_ARGUMENT;
  }
  Side source = {0, in->planes[0], static_cast<uint32_t>(in->strides[0]),
                 static_cast<uint32_t>(in->width), static_cast<uint32_t>(in->height)};
  Side destination = {0, out->planes[0], static_cast<uint32_t>(out->strides[0]),
                      static_cast<uint32_t>(width), static_cast<uint32_t>(height)};
  if (((source.width | destination.width | source.stride | destination.stride) & 15) != 0) {
    TAVRINE_LOG(kNotice, kTagHisvp, "SVP resize width stride must be divisible by 16.\n");
    return TAVRINE_INVALID_ARGUMENT;
  }
  if (((source.height | destination.height) & 1) != 0) {
    TAVRINE_LOG(kNotice, kTagHisvp, "SVP resize height must be divisible by 2.\n");
    return TAVRINE_INVALID_ARGUMENT;
  }
  if (!is_in_range(source) || !is_in_range(destination)) {
    TAVRINE_LOG(kNotice, kTagHisvp, "SVP resize image range : 64x64 --- 1920x1080.\n");
    return TAVRINE_INVALID_ARGUMENT;
  }
  const MmzAddress found_in = find_in_mmz(in->planes[0]);
  const MmzAddress found_out = find_in_mmz(out->planes[0]);
  source.physical = found_in.physical;
  destination.physical = found_out.physical;
  if (source.physical == 0 || destination.physical == 0) {
    TAVRINE_LOG(kError, kTagHisvp, "SVP resize phy addr error %d %d %d.\n",
                low_word(source.physical), low_word(destination.physical),
                static_cast<int>(found_out.is_found));
    return TAVRINE_INVALID_ARGUMENT;
  }
  return run(source, destination);
}

}  // namespace tavrine
