// The platform's engine functions.
#include "calls.h"
#include "mmz.h"
#include "task_queue.h"

using namespace tavrine::devkit;

namespace {

std::optional<EngineOperation> find_conversion(const IVE_IMAGE_S &source,
                                               const IVE_IMAGE_S &destination,
                                               IVE_CSC_MODE_E mode) {
  if (mode == IVE_CSC_MODE_PIC_BT601_YUV2RGB && source.enType == IVE_IMAGE_TYPE_YUV420SP &&
      destination.enType == IVE_IMAGE_TYPE_U8C3_PACKAGE) {
    return EngineOperation::kYuvToRgb;
  }
  if (mode == IVE_CSC_MODE_PIC_BT601_RGB2YUV && source.enType == IVE_IMAGE_TYPE_U8C3_PACKAGE &&
      destination.enType == IVE_IMAGE_TYPE_YUV420SP) {
    return EngineOperation::kRgbToYuv;
  }
  return std::nullopt;
}

// Records the arguments that both operations have. Null images stay zero.
tavrine_devkit_mpp_call_t submission(const IVE_IMAGE_S *source, const IVE_IMAGE_S *destination,
                                     HI_BOOL is_instant) {
  tavrine_devkit_mpp_call_t call = {};
  call.is_instant = is_instant;
  if (source != nullptr && destination != nullptr) {
    call.source = *source;
    call.destination = *destination;
  }
  return call;
}

// Queues a task; nothing means an unsupported operation.
HI_S32 submit(std::optional<EngineOperation> operation, tavrine_devkit_mpp_call_t &call,
              IVE_HANDLE *handle) {
  if (!operation) {
    return TAVRINE_DEVKIT_IVE_NOT_SUPPORTED;
  }
  const HI_S32 code = submit_task({*operation, call.source, call.destination}, handle);
  if (code == HI_SUCCESS) {
    call.handle = *handle;
  }
  return code;
}

}  // namespace

HI_S32 HI_MPI_IVE_CSC(IVE_HANDLE *handle, const IVE_IMAGE_S *source, const IVE_IMAGE_S *destination,
                      const IVE_CSC_CTRL_S *control, HI_BOOL is_instant) {
  tavrine_devkit_mpp_call_t call = submission(source, destination, is_instant);
  call.mode = control != nullptr ? control->enMode : 0;
  return serve(MppFunction::HI_MPI_IVE_CSC, call, [&] {
    if (handle == nullptr || source == nullptr || destination == nullptr || control == nullptr) {
      return TAVRINE_DEVKIT_IVE_NULL_POINTER;
    }
    if (source->u32Width != destination->u32Width || source->u32Height != destination->u32Height) {
      return TAVRINE_DEVKIT_IVE_ILLEGAL_PARAM;
    }
    return submit(find_conversion(*source, *destination, control->enMode), call, handle);
  });
}

HI_S32 HI_MPI_IVE_Resize(IVE_HANDLE *handle, const IVE_IMAGE_S sources[],
                         const IVE_IMAGE_S destinations[], const IVE_RESIZE_CTRL_S *control,
                         HI_BOOL is_instant) {
  tavrine_devkit_mpp_call_t call = submission(sources, destinations, is_instant);
  if (control != nullptr) {
    call.mode = control->enMode;
    call.scratch = control->stMem;
    call.image_count = control->u16Num;
  }
  return serve(MppFunction::HI_MPI_IVE_Resize, call, [&] {
    if (handle == nullptr || sources == nullptr || destinations == nullptr || control == nullptr) {
      return TAVRINE_DEVKIT_IVE_NULL_POINTER;
    }
    const bool is_known = control->enMode == IVE_RESIZE_MODE_LINEAR && control->u16Num == 1 &&
                          sources->enType == IVE_IMAGE_TYPE_U8C1 &&
                          destinations->enType == IVE_IMAGE_TYPE_U8C1;
    if (is_known && (control->stMem.u32Size == 0 ||
                     !find_engine_range(control->stMem.u64PhyAddr, control->stMem.u32Size))) {
      return TAVRINE_DEVKIT_IVE_BAD_ADDRESS;
    }
    return submit(
        is_known ? std::optional<EngineOperation>(EngineOperation::kResize) : std::nullopt, call,
        handle);
  });
}

HI_S32 HI_MPI_IVE_Query(IVE_HANDLE handle, HI_BOOL *is_finished, HI_BOOL is_blocking) {
  tavrine_devkit_mpp_call_t call = {};
  call.handle = handle;
  call.is_blocking = is_blocking;
  return serve(MppFunction::HI_MPI_IVE_Query, call, [&] {
    const HI_S32 code = query_task(handle, is_finished, is_blocking);
    call.is_finished = code == HI_SUCCESS ? *is_finished : HI_FALSE;
    return code;
  });
}
