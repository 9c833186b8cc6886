/* The SDK core's objects for C++17: frames, buffers and tensors that release themselves, and
 * results of calls.
 *
 * Everything is inline and adds nothing to the C functions. A Frame, Buffer or Tensor is one
 * pointer; it can be moved but not copied. `get()` gives the pointer to C functions, and
 * `frame->width` reads the C record. A Result holds a value, or the status of the call that failed:
 * either test it, or call value(), which throws.
 *
 *   auto small = tavrine::resize(frame, {640, 480});             // Result<Frame>
 *   if (!small) return small.status();                           // without exceptions
 *   tavrine::Frame frame = tavrine::load("photo.jpg").value();   // with exceptions
 *
 * With -fno-exceptions, value() of a failed result ends the program. */
#ifndef TAVRINE_CORE_HPP
#define TAVRINE_CORE_HPP

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iterator>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>

#include "tavrine_core.h"

namespace tavrine {
/* The version keeps these types apart from others of the same name, such as the library's own. */
inline namespace v1 {

/* ---- Results --------------------------------------------------------------- */

/* Core operations may return other negative codes. */
enum class Status : int32_t {
  kOk = TAVRINE_OK,
  kInvalidArgument = TAVRINE_INVALID_ARGUMENT,
  kFailure = TAVRINE_FAILURE,
  kNotSupported = TAVRINE_NOT_SUPPORTED
};

/* What a status means, in words. */
constexpr const char *status_text(Status status) noexcept {
  switch (status) {
    case Status::kOk:
      return "success";
    case Status::kInvalidArgument:
      return "invalid argument, or a destination that does not match";
    case Status::kFailure:
      return "out of memory, or the operation failed";
    case Status::kNotSupported:
      return "not supported";
  }
  return "the core refused the operation";
}

class Error : public std::runtime_error {
 public:
  explicit Error(Status status)
      : std::runtime_error(std::string(status_text(status)) + " (status " +
                           std::to_string(static_cast<int32_t>(status)) + ")"),
        status_(status) {}

  Status status() const noexcept { return status_; }

 private:
  Status status_;
};

namespace detail {

[[noreturn]] inline void fail(Status status) {
#if defined(__cpp_exceptions)
  throw Error(status);
#else
  (void)status;
  std::abort();
#endif
}

}  // namespace detail

/* A value, or why there is none. */
template <typename T>
class [[nodiscard]] Result {
 public:
  Result(T value) noexcept : value_(std::move(value)) {}
  Result(Status failure) noexcept : status_(failure) {}

  /* Of a C function that returns a handle, null on failure. */
  template <typename Handle>
  static Result adopt(Handle *handle) {
    return handle != nullptr ? Result(T(handle)) : Result(Status::kFailure);
  }

  /* Of a C function that fills a slot and returns a status: `fill` gets the empty slot. */
  template <typename Fill>
  static Result filled_by(Fill fill) {
    decltype(std::declval<T>().get()) record = nullptr;
    const auto status = static_cast<Status>(fill(&record));
    return Result(T(record), status);
  }

  explicit operator bool() const noexcept { return status_ == Status::kOk; }
  Status status() const noexcept { return status_; }

  /* Throw Error when there is no value. */
  T &value() & { return check(), value_; }
  const T &value() const & { return check(), value_; }
  T value() && { return check(), std::move(value_); }

  /* Only when there is one. */
  T &operator*() &noexcept { return value_; }
  const T &operator*() const &noexcept { return value_; }
  T operator*() &&noexcept { return std::move(value_); }
  T *operator->() noexcept { return &value_; }
  const T *operator->() const noexcept { return &value_; }

 private:
  Result(T value, Status status) noexcept : value_(std::move(value)), status_(status) {}

  void check() const {
    if (status_ != Status::kOk) {
      detail::fail(status_);
    }
  }

  T value_{};
  Status status_ = Status::kOk;
};

/* Of a call that returns nothing but its status. */
template <>
class [[nodiscard]] Result<void> {
 public:
  Result(Status status) noexcept : status_(status) {}
  explicit Result(int32_t status) noexcept : status_(static_cast<Status>(status)) {}

  explicit operator bool() const noexcept { return status_ == Status::kOk; }
  Status status() const noexcept { return status_; }

  /* Throws Error after a failure. */
  void value() const {
    if (status_ != Status::kOk) {
      detail::fail(status_);
    }
  }

 private:
  Status status_;
};

/* ---- Formats, sizes, rows --------------------------------------------------- */

enum class Memory : int32_t { kHost = TAVRINE_MEMORY_HOST, kDevice = TAVRINE_MEMORY_DEVICE };

enum class PixelFormat : uint32_t {
  kGrey = TAVRINE_FORMAT_GREY,
  kNv12 = TAVRINE_FORMAT_NV12,
  kNv21 = TAVRINE_FORMAT_NV21,
  kYu12 = TAVRINE_FORMAT_YU12,
  kRgb24 = TAVRINE_FORMAT_RGB24,
  kBgr24 = TAVRINE_FORMAT_BGR24,
  kBgra = TAVRINE_FORMAT_BGRA,
  kArgb = TAVRINE_FORMAT_ARGB,
  kY16 = TAVRINE_FORMAT_Y16
};

struct Size {
  int32_t width, height;
};

using Area = tavrine_area2d_t;
using Point = tavrine_point2f_t;

/* Elements that follow each other. */
template <typename T>
class Span {
 public:
  constexpr Span() noexcept = default;
  constexpr Span(T *data, size_t size) noexcept : data_(data), size_(size) {}
  template <
      typename Container,
      typename = std::enable_if_t<std::is_convertible_v<
          std::remove_pointer_t<decltype(std::data(std::declval<Container &>()))> (*)[], T (*)[]>>>
  constexpr Span(Container &&container) noexcept
      : data_(std::data(container)), size_(std::size(container)) {}

  constexpr T *data() const noexcept { return data_; }
  constexpr size_t size() const noexcept { return size_; }
  constexpr bool empty() const noexcept { return size_ == 0; }
  constexpr T *begin() const noexcept { return data_; }
  constexpr T *end() const noexcept { return data_ + size_; }
  template <typename Index>
  constexpr T &operator[](Index index) const noexcept {
    return data_[index];
  }

 private:
  T *data_ = nullptr;
  size_t size_ = 0;
};

/* The rows of a plane or of a tensor's channel, without their padding: `rows[y][x]`, or
 * `for (auto row : rows)`. */
template <typename T>
class Rows {
 public:
  class Iterator {
   public:
    using iterator_category = std::input_iterator_tag;
    using value_type = Span<T>;
    using difference_type = ptrdiff_t;
    using pointer = void;
    using reference = Span<T>;

    constexpr Iterator(const Rows &rows, int32_t y) noexcept : rows_(rows), y_(y) {}
    constexpr Span<T> operator*() const noexcept { return rows_[y_]; }
    constexpr Iterator &operator++() noexcept { return ++y_, *this; }
    constexpr bool operator!=(const Iterator &other) const noexcept { return y_ != other.y_; }
    constexpr bool operator==(const Iterator &other) const noexcept { return y_ == other.y_; }

   private:
    Rows rows_;
    int32_t y_;
  };

  constexpr Rows() noexcept = default;
  Rows(void *first, ptrdiff_t stride_bytes, size_t length, int32_t count) noexcept
      : first_(first), stride_(stride_bytes), length_(length), count_(count) {}

  constexpr int32_t size() const noexcept { return count_; }
  /* Elements in a row. */
  constexpr size_t length() const noexcept { return length_; }
  Span<T> operator[](int32_t y) const noexcept {
    using Byte = std::conditional_t<std::is_const_v<T>, const uint8_t, uint8_t>;
    using Void = std::conditional_t<std::is_const_v<T>, const void, void>;
    return {static_cast<T *>(static_cast<Void *>(static_cast<Byte *>(first_) + y * stride_)),
            length_};
  }
  Iterator begin() const noexcept { return {*this, 0}; }
  Iterator end() const noexcept { return {*this, count_}; }

 private:
  void *first_ = nullptr;
  ptrdiff_t stride_ = 0;
  size_t length_ = 0;
  int32_t count_ = 0;
};

namespace detail {

constexpr int32_t bytes_per_pixel(uint32_t format) noexcept {
  switch (format) {
    case TAVRINE_FORMAT_GREY:
    case TAVRINE_FORMAT_NV12:
    case TAVRINE_FORMAT_NV21:
    case TAVRINE_FORMAT_YU12:
      return 1;
    case TAVRINE_FORMAT_Y16:
      return 2;
    case TAVRINE_FORMAT_RGB24:
    case TAVRINE_FORMAT_BGR24:
      return 3;
    case TAVRINE_FORMAT_BGRA:
    case TAVRINE_FORMAT_ARGB:
      return 4;
    default:
      return 0;
  }
}

/* Planes after the first hold the chroma of a 4:2:0 format: one plane of pairs, or two. */
template <typename T>
Rows<T> plane_rows(const tavrine_frame_t &frame, int32_t plane) noexcept {
  const int32_t pixel_bytes = bytes_per_pixel(frame.pixel_format);
  if (plane < 0 || plane >= frame.plane_count || plane >= TAVRINE_MAX_PLANES ||
      frame.planes[plane] == nullptr || pixel_bytes == 0) {
    return {};
  }
  const bool is_pairs = plane > 0 && frame.plane_count == 2;
  const int32_t columns = plane == 0 ? frame.width : frame.width / 2;
  const auto bytes = static_cast<size_t>(columns) * static_cast<size_t>(is_pairs ? 2 : pixel_bytes);
  const ptrdiff_t stride =
      frame.strides[plane] != 0 ? frame.strides[plane] : static_cast<ptrdiff_t>(bytes);
  return {frame.planes[plane], stride, bytes / sizeof(T),
          plane == 0 ? frame.height : frame.height / 2};
}

/* The only pointer to a record of the core. */
template <typename Record, void (*Free)(Record **)>
class Handle {
 public:
  Handle() noexcept = default;
  explicit Handle(Record *record) noexcept : record_(record) {}
  Handle(Handle &&other) noexcept : record_(other.release()) {}
  Handle &operator=(Handle &&other) noexcept {
    Handle taken(std::move(other));
    std::swap(record_, taken.record_);
    return *this;
  }
  ~Handle() { reset(); }

  explicit operator bool() const noexcept { return record_ != nullptr; }
  Record *get() const noexcept { return record_; }

  /* For C functions that fill an empty slot, or write into what the slot holds. */
  Record **slot() noexcept { return &record_; }

  /* The caller has to release it. */
  [[nodiscard]] Record *release() noexcept { return std::exchange(record_, nullptr); }

  /* Passes the address of a copy: a compiler then keeps this object in a register. */
  void reset() noexcept {
    if (record_ != nullptr) {
      Record *record = release();
      Free(&record);
    }
  }

 private:
  Record *record_ = nullptr;
};

}  // namespace detail

/* ---- Frames ---------------------------------------------------------------- */

class Frame;

/* A frame that someone else owns, as a parameter: a Frame, or a pointer to a C record. Null is
 * allowed where a C function reports it. */
class FrameView {
 public:
  FrameView(const tavrine_frame_t *record) noexcept : record_(record) {}
  FrameView(const Frame &frame) noexcept;

  const tavrine_frame_t *get() const noexcept { return record_; }
  const tavrine_frame_t *operator->() const noexcept { return record_; }

  Size size() const noexcept { return {record_->width, record_->height}; }
  PixelFormat format() const noexcept { return static_cast<PixelFormat>(record_->pixel_format); }
  Memory memory() const noexcept { return static_cast<Memory>(tavrine_frame_mem_type(record_)); }
  bool is_contiguous() const noexcept { return tavrine_frame_is_contiguous(record_) != 0; }

  /* The rows of a host frame's plane, as elements of T: bytes, or uint16_t for Y16. Empty for a
   * plane that the frame does not have. */
  template <typename T = uint8_t>
  Rows<const T> rows(int32_t plane = 0) const noexcept {
    return detail::plane_rows<const T>(*record_, plane);
  }

  /* Another owner of the same pixels; a part of them; a copy; a copy in the other memory. */
  Result<Frame> reference() const;
  Result<Frame> roi(Area area) const;
  Result<Frame> duplicate() const;
  Result<Frame> download() const;
  Result<Frame> upload() const;

 private:
  const tavrine_frame_t *record_;
};

/* What a new frame need not be told. */
struct FrameOptions {
  Memory memory = Memory::kHost;
  int32_t strides[TAVRINE_MAX_PLANES] = {0, 0, 0, 0}; /* 0: the core chooses */
  uint64_t extra = 0;
};

class Frame : public detail::Handle<tavrine_frame_t, tavrine_frame_free> {
 public:
  using Handle::Handle;

  /* With pixels of its own, which are undefined. */
  static Result<Frame> allocate(PixelFormat format, Size size,
                                const FrameOptions &options = {}) noexcept {
    return Result<Frame>::adopt(tavrine_frame_alloc(static_cast<int32_t>(options.memory),
                                                    static_cast<uint32_t>(format), size.width,
                                                    size.height, options.strides, options.extra));
  }

  /* Over existing pixels, without copying them; see tavrine_frame_make. */
  static Result<Frame> wrap(PixelFormat format, void *pixels, Size size,
                            const FrameOptions &options = {}, tavrine_release_fn release = nullptr,
                            void *arg = nullptr) noexcept {
    return Result<Frame>::adopt(tavrine_frame_make(
        static_cast<int32_t>(options.memory), static_cast<uint32_t>(format), pixels, size.width,
        size.height, options.strides, options.extra, release, arg));
  }

  const tavrine_frame_t *operator->() const noexcept { return get(); }
  FrameView view() const noexcept { return {*this}; }
  Size size() const noexcept { return view().size(); }
  PixelFormat format() const noexcept { return view().format(); }

  template <typename T = uint8_t>
  Rows<T> rows(int32_t plane = 0) noexcept {
    return detail::plane_rows<T>(*get(), plane);
  }
  template <typename T = uint8_t>
  Rows<const T> rows(int32_t plane = 0) const noexcept {
    return view().rows<T>(plane);
  }

  /* Sets every byte of the pixels. */
  Result<void> fill(uint8_t value) { return Result<void>(tavrine_frame_reset(get(), value)); }
};

inline FrameView::FrameView(const Frame &frame) noexcept : record_(frame.get()) {}

inline Result<Frame> FrameView::reference() const {
  return Result<Frame>::adopt(tavrine_frame_ref(record_));
}
inline Result<Frame> FrameView::roi(Area area) const {
  return Result<Frame>::adopt(tavrine_frame_roi(record_, area.x, area.y, area.width, area.height));
}
inline Result<Frame> FrameView::duplicate() const {
  return Result<Frame>::adopt(tavrine_frame_duplicate(record_));
}
inline Result<Frame> FrameView::download() const {
  return Result<Frame>::filled_by(
      [this](tavrine_frame_t **slot) { return tavrine_frame_download(record_, slot); });
}
inline Result<Frame> FrameView::upload() const {
  return Result<Frame>::filled_by(
      [this](tavrine_frame_t **slot) { return tavrine_frame_upload(record_, slot); });
}

/* Copies pixels between frames of one memory and format; see tavrine_frame_copy. */
inline Result<void> copy(FrameView source, Frame &destination) {
  return Result<void>(tavrine_frame_copy(source.get(), destination.slot()));
}

/* ---- Buffers and tensors ---------------------------------------------------- */

class Buffer : public detail::Handle<tavrine_buffer_t, tavrine_buffer_free> {
 public:
  using Handle::Handle;

  static Result<Buffer> allocate(size_t size, Memory memory = Memory::kHost) {
    return Result<Buffer>::adopt(tavrine_buffer_alloc(size, static_cast<int32_t>(memory)));
  }

  /* Of a host buffer; valid until it is resized or released. */
  Span<uint8_t> bytes() const noexcept {
    return {static_cast<uint8_t *>(tavrine_buffer_raw_pointer(get())), size()};
  }
  size_t size() const noexcept { return tavrine_buffer_size(get()); }
  Memory memory() const noexcept { return static_cast<Memory>(tavrine_buffer_mem_type(get())); }
  Result<void> resize(size_t size) { return Result<void>(tavrine_buffer_resize(get(), size)); }
};

namespace detail {

template <typename T>
constexpr int32_t element_type = std::is_same_v<T, float>     ? TAVRINE_ELEMENT_FLOAT32
                                 : std::is_same_v<T, uint8_t> ? TAVRINE_ELEMENT_UINT8
                                 : std::is_same_v<T, int8_t>  ? TAVRINE_ELEMENT_INT8
                                                              : 0;

}  // namespace detail

/* The core or the SDK makes tensors: `Tensor tensor(tavrine_tensor_alloc(...))`. */
class Tensor : public detail::Handle<tavrine_tensor_t, tavrine_tensor_free> {
 public:
  using Handle::Handle;

  const tavrine_tensor_t *operator->() const noexcept { return get(); }
  Size size() const noexcept { return {get()->shape[3], get()->shape[2]}; }
  Memory memory() const noexcept { return static_cast<Memory>(tavrine_tensor_mem_type(get())); }

  /* The rows of one channel of a host tensor. Empty when it has no such channel, or elements of
   * another type. */
  template <typename T = float>
  Rows<T> rows(int32_t image, int32_t channel) noexcept {
    return channel_rows<T>(image, channel);
  }
  template <typename T = float>
  Rows<const T> rows(int32_t image, int32_t channel) const noexcept {
    return channel_rows<const T>(image, channel);
  }

  /* A view of a part, which keeps the elements alive; see tavrine_tensor_roi. */
  Result<Tensor> roi(const int32_t (&begin)[4], const int32_t (&end)[4]) const {
    return Result<Tensor>::adopt(tavrine_tensor_roi(get(), begin, end));
  }

 private:
  template <typename T>
  Rows<T> channel_rows(int32_t image, int32_t channel) const noexcept {
    void *first = tavrine_tensor_data_at(get(), image, channel, 0, 0);
    if (first == nullptr || get()->element_type != detail::element_type<std::remove_const_t<T>>) {
      return {};
    }
    return {first, get()->strides[2] * static_cast<ptrdiff_t>(sizeof(T)),
            static_cast<size_t>(get()->shape[3]), get()->shape[2]};
  }
};

}  // namespace v1
}  // namespace tavrine

#endif
