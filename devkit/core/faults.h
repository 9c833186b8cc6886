// Fault injection: every public operation reports its calls here. Tests read the counts, and make
// a call fail by its operation's name.
#pragma once

// Operations that a test can make fail, and those that have no way to fail.
#define TAVRINE_OPERATIONS(FALLIBLE, INFALLIBLE) \
  FALLIBLE(tavrine_frame_alloc)                  \
  FALLIBLE(tavrine_frame_make)                   \
  FALLIBLE(tavrine_frame_ref)                    \
  FALLIBLE(tavrine_frame_copy)                   \
  FALLIBLE(tavrine_frame_duplicate)              \
  FALLIBLE(tavrine_frame_download)               \
  FALLIBLE(tavrine_frame_upload)                 \
  FALLIBLE(tavrine_frame_roi)                    \
  FALLIBLE(tavrine_frame_reset)                  \
  FALLIBLE(tavrine_buffer_make)                  \
  FALLIBLE(tavrine_buffer_alloc)                 \
  FALLIBLE(tavrine_buffer_set)                   \
  FALLIBLE(tavrine_buffer_resize)                \
  FALLIBLE(tavrine_tensor_alloc)                 \
  FALLIBLE(tavrine_tensor_make)                  \
  FALLIBLE(tavrine_tensor_roi)                   \
  INFALLIBLE(tavrine_frame_free)                 \
  INFALLIBLE(tavrine_frame_mem_type)             \
  INFALLIBLE(tavrine_frame_is_contiguous)        \
  INFALLIBLE(tavrine_frame_pixel_size)           \
  INFALLIBLE(tavrine_frame_inferred_size)        \
  INFALLIBLE(tavrine_frame_pixfmt_to_string)     \
  INFALLIBLE(tavrine_buffer_free)                \
  INFALLIBLE(tavrine_buffer_size)                \
  INFALLIBLE(tavrine_buffer_raw_pointer)         \
  INFALLIBLE(tavrine_buffer_mem_type)            \
  INFALLIBLE(tavrine_tensor_mem_type)            \
  INFALLIBLE(tavrine_tensor_raw_pointer)         \
  INFALLIBLE(tavrine_tensor_data_at)             \
  INFALLIBLE(tavrine_tensor_free)

namespace tavrine::devkit {

#define TAVRINE_ENUMERATOR(name) name,
enum class Operation { TAVRINE_OPERATIONS(TAVRINE_ENUMERATOR, TAVRINE_ENUMERATOR) };
#undef TAVRINE_ENUMERATOR

// Counts a call. True if a test wants this one to fail.
bool should_inject_fault(Operation operation);

void count_call(Operation operation);

}  // namespace tavrine::devkit
