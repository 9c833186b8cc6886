#include "task_queue.h"

#include "engine_operations.h"

namespace tavrine::devkit {
namespace {

// Handles are consecutive numbers, so that a handle gives its task's place.
Task queue[TAVRINE_DEVKIT_IVE_QUEUE_DEPTH];
IVE_HANDLE oldest = 0;
IVE_HANDLE next = 0;

Task &place_of(IVE_HANDLE handle) { return queue[handle % TAVRINE_DEVKIT_IVE_QUEUE_DEPTH]; }

HI_S32 find_images(const Task &task, EngineImage *source, EngineImage *destination) {
  const HI_S32 found_source = find_image(task.source, source);
  return found_source != HI_SUCCESS ? found_source : find_image(task.destination, destination);
}

void run_oldest() {
  const Task &task = place_of(oldest++);
  EngineImage source = {};
  EngineImage destination = {};
  if (find_images(task, &source, &destination) != HI_SUCCESS) {
    return;  // their memory was freed meanwhile
  }
  switch (task.operation) {
    case EngineOperation::kYuvToRgb:
      return convert_yuv_to_rgb(source, destination);
    case EngineOperation::kRgbToYuv:
      return convert_rgb_to_yuv(source, destination);
    case EngineOperation::kResize:
      return resize_grey(source, destination);
  }
}

}  // namespace

HI_S32 submit_task(const Task &task, IVE_HANDLE *handle) {
  EngineImage source = {};
  EngineImage destination = {};
  const HI_S32 found = find_images(task, &source, &destination);
  if (found != HI_SUCCESS) {
    return found;
  }
  if (next - oldest == TAVRINE_DEVKIT_IVE_QUEUE_DEPTH) {
    run_oldest();
    return HI_ERR_IVE_BUF_FULL;
  }
  place_of(next) = task;
  *handle = next++;
  return HI_SUCCESS;
}

HI_S32 query_task(IVE_HANDLE handle, HI_BOOL *is_finished, HI_BOOL is_blocking) {
  if (is_finished == nullptr) {
    return TAVRINE_DEVKIT_IVE_NULL_POINTER;
  }
  if (handle < 0 || handle >= next) {
    return TAVRINE_DEVKIT_IVE_ILLEGAL_PARAM;
  }
  if (is_blocking == HI_FALSE && oldest <= handle) {
    run_oldest();
  }
  while (is_blocking != HI_FALSE && oldest <= handle) {
    run_oldest();
  }
  *is_finished = oldest > handle ? HI_TRUE : HI_FALSE;
  return HI_SUCCESS;
}

}  // namespace tavrine::devkit
