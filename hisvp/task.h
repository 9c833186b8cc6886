// How a task gets into the engine and out of it again.
#pragma once

#include <unistd.h>

#include "hisvp/mpp.h"

namespace tavrine {

// Insists while the queue is full: other tasks leave it within microseconds.
template <typename Submit>
HI_S32 submit_task(Submit submit) {
  HI_S32 code = submit();
  while (code == HI_ERR_IVE_BUF_FULL) {
    code = submit();
  }
  return code;
}

// The code of the query that found the task finished. A query that fails without saying so
// is repeated: the engine may still be writing.
inline HI_S32 wait_for_task(IVE_HANDLE handle, useconds_t pause) {
  HI_BOOL is_finished = HI_FALSE;
  HI_S32 code = HI_MPI_IVE_Query(handle, &is_finished, HI_TRUE);
  while (is_finished == HI_FALSE || code == HI_ERR_IVE_QUERY_TIMEOUT) {
    usleep(pause);
    code = HI_MPI_IVE_Query(handle, &is_finished, HI_TRUE);
  }
  return code;
}

}  // namespace tavrine
