// Runs a task on the image engine: submits it and waits until it is done.
#pragma once

#include <unistd.h>

#include "common/log.h"
#include "hisvp/mpp.h"

namespace tavrine {

enum class TaskOutcome { kDone, kNotSubmitted, kFailed };

// What log records say about a task, and how long to wait between two queries.
struct TaskTraits {
  const char *prefix;
  const char *call;
  useconds_t pause_microseconds;
};

inline void log_failed_call(const TaskTraits &traits, const char *call, HI_S32 code) {
  TAVRINE_LOG(kError, kTagHisvp, "%s%s failed 0x%x.\n", traits.prefix, call,
              static_cast<unsigned>(code));
}

// `submit` puts the task into the queue and stores its handle.
template <typename Submit>
TaskOutcome run_task(const TaskTraits &traits, Submit submit) {
  IVE_HANDLE handle = 0;
  HI_S32 submitted = submit(&handle);
  // Retries while the queue is full: other tasks leave it within microseconds.
  while (submitted == HI_ERR_IVE_BUF_FULL) {
    submitted = submit(&handle);
  }
  if (submitted != HI_SUCCESS) {
    log_failed_call(traits, traits.call, submitted);
    return TaskOutcome::kNotSubmitted;
  }
  HI_BOOL is_finished = HI_FALSE;
  HI_S32 finished = HI_MPI_IVE_Query(handle, &is_finished, HI_TRUE);
  // A query that fails without having set is_finished is repeated: the engine may still write.
  while (is_finished == HI_FALSE || finished == HI_ERR_IVE_QUERY_TIMEOUT) {
    usleep(traits.pause_microseconds);
    finished = HI_MPI_IVE_Query(handle, &is_finished, HI_TRUE);
  }
  if (finished != HI_SUCCESS) {
    log_failed_call(traits, "HI_MPI_IVE_Query", finished);
    return TaskOutcome::kFailed;
  }
  return TaskOutcome::kDone;
}

}  // namespace tavrine
