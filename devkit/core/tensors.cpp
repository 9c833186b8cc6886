#include <new>
#include <optional>

#include "core_api.h"
#include "faults.h"
#include "storage.h"

namespace tavrine::devkit {
namespace {

constexpr int32_t kDimensions = 4;

struct TensorRecord : tavrine_tensor_t {
  explicit TensorRecord(const tavrine_tensor_t &fields) : tavrine_tensor_t(fields) {}

  const LiveCount live{ObjectKind::kTensor};
};

// A record of the elements that start at `data`, which the second core word holds.
tavrine_tensor_t *new_record(const tavrine_tensor_t &fields, StorageRef storage, void *data) {
  if (!storage) {
    return nullptr;
  }
  auto *record = new (std::nothrow) TensorRecord(fields);
  if (record != nullptr) {
    record->core_words[0] = storage.into_word();
    record->core_words[1] = reinterpret_cast<uintptr_t>(data);
  }
  return record;
}

uint8_t *data_of(const tavrine_tensor_t &tensor) {
  return reinterpret_cast<uint8_t *>(tensor.core_words[1]);
}

// 0 for an unknown type.
int32_t element_bytes(int32_t element_type) {
  switch (element_type) {
    case TAVRINE_ELEMENT_FLOAT32:
      return 4;
    case TAVRINE_ELEMENT_UINT8:
    case TAVRINE_ELEMENT_INT8:
      return 1;
    default:
      return 0;
  }
}

struct TensorLayout {
  tavrine_tensor_t fields;
  uint64_t bytes;
};

// Returns nothing for an unknown type, an empty shape, strides that make elements overlap, or more
// bytes than can be addressed. Null `strides` means that all are 0.
std::optional<TensorLayout> make_layout(int32_t mem_type, int32_t element_type,
                                        const int32_t *shape, const int32_t *strides) {
  if (!is_memory_type(mem_type) || element_bytes(element_type) == 0 || shape == nullptr) {
    return std::nullopt;
  }
  tavrine_tensor_t fields = {};
  fields.core_word = static_cast<uint32_t>(mem_type);
  fields.element_type = element_type;
  int64_t elements = 1;  // between the first and the last, over the dimensions so far
  for (int32_t dimension = kDimensions - 1; dimension >= 0; --dimension) {
    const int64_t given = strides != nullptr ? strides[dimension] : 0;
    const int64_t stride = given != 0 ? given : elements;
    const bool is_column = dimension == kDimensions - 1;
    if (shape[dimension] < 1 || stride < elements || stride > INT32_MAX ||
        (is_column && stride != 1)) {
      return std::nullopt;
    }
    fields.shape[dimension] = shape[dimension];
    fields.strides[dimension] = static_cast<int32_t>(stride);
    elements += stride * (shape[dimension] - 1);
    if (elements > PTRDIFF_MAX / element_bytes(element_type)) {
      return std::nullopt;
    }
  }
  return TensorLayout{fields, static_cast<uint64_t>(elements * element_bytes(element_type))};
}

bool is_inside(const tavrine_tensor_t &tensor, const int32_t begin[4]) {
  for (int32_t dimension = 0; dimension < kDimensions; ++dimension) {
    if (begin[dimension] < 0 || begin[dimension] >= tensor.shape[dimension]) {
      return false;
    }
  }
  return true;
}

uint8_t *element_at(const tavrine_tensor_t &tensor, const int32_t position[4]) {
  int64_t elements = 0;
  for (int32_t dimension = 0; dimension < kDimensions; ++dimension) {
    elements += int64_t{position[dimension]} * tensor.strides[dimension];
  }
  return data_of(tensor) + static_cast<ptrdiff_t>(elements * element_bytes(tensor.element_type));
}

}  // namespace
}  // namespace tavrine::devkit

using namespace tavrine::devkit;

tavrine_tensor_t *tavrine_tensor_alloc(int32_t mem_type, int32_t element_type,
                                       const int32_t shape[4]) {
  if (should_inject_fault(Operation::tavrine_tensor_alloc)) {
    return nullptr;
  }
  const std::optional<TensorLayout> layout = make_layout(mem_type, element_type, shape, nullptr);
  StorageRef storage = layout ? Storage::allocate(mem_type, layout->bytes) : StorageRef();
  if (!storage) {
    return nullptr;
  }
  void *data = storage->data();
  return new_record(layout->fields, std::move(storage), data);
}

tavrine_tensor_t *tavrine_tensor_make(int32_t mem_type, int32_t element_type, void *data,
                                      const int32_t shape[4], const int32_t strides[4],
                                      tavrine_release_fn release, void *arg) {
  if (should_inject_fault(Operation::tavrine_tensor_make)) {
    return nullptr;
  }
  const std::optional<TensorLayout> layout = make_layout(mem_type, element_type, shape, strides);
  const auto address = reinterpret_cast<uintptr_t>(data);
  if (!layout || data == nullptr ||
      // NOLINTNEXTLINE(clang-analyzer-core.DivideZero): a valid layout has a known element type
      address % static_cast<uintptr_t>(element_bytes(element_type)) != 0) {
    return nullptr;
  }
  StorageRef storage = Storage::wrap(data);
  Storage *wrapped = storage.get();
  tavrine_tensor_t *tensor = new_record(layout->fields, std::move(storage), data);
  // Set last: after a failure the memory stays the caller's.
  if (tensor != nullptr) {
    wrapped->set_release(release, arg);
  }
  return tensor;
}

int32_t tavrine_tensor_mem_type(const tavrine_tensor_t *tensor) {
  count_call(Operation::tavrine_tensor_mem_type);
  return tensor != nullptr ? static_cast<int32_t>(tensor->core_word)
                           : static_cast<int32_t>(TAVRINE_INVALID_ARGUMENT);
}

void *tavrine_tensor_raw_pointer(const tavrine_tensor_t *tensor) {
  count_call(Operation::tavrine_tensor_raw_pointer);
  return tensor != nullptr ? data_of(*tensor) : nullptr;
}

void *tavrine_tensor_data_at(const tavrine_tensor_t *tensor, int32_t n, int32_t c, int32_t h,
                             int32_t w) {
  count_call(Operation::tavrine_tensor_data_at);
  const int32_t position[4] = {n, c, h, w};
  if (tensor == nullptr || !is_inside(*tensor, position)) {
    return nullptr;
  }
  return element_at(*tensor, position);
}

tavrine_tensor_t *tavrine_tensor_roi(const tavrine_tensor_t *tensor, const int32_t begin[4],
                                     const int32_t end[4]) {
  if (should_inject_fault(Operation::tavrine_tensor_roi) || tensor == nullptr || begin == nullptr ||
      end == nullptr || !is_inside(*tensor, begin)) {
    return nullptr;
  }
  tavrine_tensor_t view = *tensor;
  for (int32_t dimension = 0; dimension < kDimensions; ++dimension) {
    if (end[dimension] <= begin[dimension] || end[dimension] > tensor->shape[dimension]) {
      return nullptr;
    }
    view.shape[dimension] = end[dimension] - begin[dimension];
  }
  return new_record(view, StorageRef::share_word(tensor->core_words[0]),
                    element_at(*tensor, begin));
}

void tavrine_tensor_free(tavrine_tensor_t **tensor) {
  count_call(Operation::tavrine_tensor_free);
  if (tensor == nullptr || *tensor == nullptr) {
    return;
  }
  const StorageRef last = StorageRef::adopt_word((*tensor)->core_words[0]);
  delete static_cast<TensorRecord *>(*tensor);
  *tensor = nullptr;
}
