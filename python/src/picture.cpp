#include "picture.h"

#include <cstring>

#include "refusal.h"
#include "tavrine_types.h"

namespace tavrine::python {
namespace {

int32_t to_int32(Py_ssize_t count, const char *name) {
  if (count < 1 || count > INT32_MAX) {
    throw Refusal(name, count < 1 ? "the array is empty" : "the array is too large");
  }
  return static_cast<int32_t>(count);
}

void check_element(const py::array &array, const char *name, const PixelFormat &format) {
  const Element needed = format.sample_bytes == 2 ? Element::kUint16 : Element::kUint8;
  if (element_of(array) != needed) {
    throw Refusal(name, std::string("its elements are ") + std::string(py::str(array.dtype())) +
                            ", and " + format.name + " needs " +
                            (needed == Element::kUint8 ? "uint8" : "uint16"));
  }
}

// The distance between the rows of (rows, columns) or (rows, columns, channels), in bytes. Within a
// row, pixels must follow each other.
int32_t row_stride(const py::array &array, const char *name) {
  Py_ssize_t row_bytes = array.itemsize();
  for (Py_ssize_t axis = array.ndim() - 1; axis > 0; --axis) {
    if (array.shape(axis) > 1 && array.strides(axis) != row_bytes) {
      throw Refusal(name, "its stride along axis " + std::to_string(axis) + " is " +
                              std::to_string(array.strides(axis)) +
                              " bytes: the pixels of a row must follow each other (" +
                              std::to_string(row_bytes) + " bytes)");
    }
    row_bytes *= array.shape(axis);
  }
  const Py_ssize_t stride = array.shape(0) > 1 ? array.strides(0) : row_bytes;
  if (stride < row_bytes || stride > INT32_MAX) {
    throw Refusal(name, "its rows are " + std::to_string(stride) + " bytes apart and have " +
                            std::to_string(row_bytes) + " bytes");
  }
  return static_cast<int32_t>(stride);
}

const PixelFormat &format_of_shape(const py::array &array, const char *name) {
  if (array.ndim() == 2) {
    const bool is_wide = element_of(array) == Element::kUint16;
    return pixel_format_by_code(is_wide ? TAVRINE_FORMAT_Y16 : TAVRINE_FORMAT_GREY);
  }
  if (array.ndim() == 3 && array.shape(2) == 3) {
    return pixel_format_by_code(TAVRINE_FORMAT_RGB24);
  }
  throw Refusal(name, array.ndim() == 3 && array.shape(2) == 4
                          ? "name the format of four channels, BGRA or ARGB"
                          : "a picture has the shape (H, W) or (H, W, 3)");
}

bool has_shape_of(const py::array &array, const PixelFormat &format) {
  if (format.channels == 1) {
    return array.ndim() == 2;
  }
  return array.ndim() == 3 && array.shape(2) == format.channels;
}

std::string shape_of(const PixelFormat &format) {
  if (format.is_yuv420) {
    return "(H * 3 / 2, W)";
  }
  return format.channels == 1 ? "(H, W)" : "(H, W, " + std::to_string(format.channels) + ")";
}

bool is_pair(py::handle object) {
  return PyTuple_Check(object.ptr()) != 0 || PyList_Check(object.ptr()) != 0;
}

}  // namespace

Picture::Picture(py::handle object, const char *name, const PixelFormat *format)
    : object_(py::reinterpret_borrow<py::object>(object)), format_(format) {
  if (is_pair(object)) {
    use_pair(object, name);
  } else {
    use(array_of(object, name), name);
  }
}

void Picture::use(py::array array, const char *name) {
  if (format_ == nullptr) {
    format_ = &format_of_shape(array, name);
  }
  check_element(array, name, *format_);
  if (!has_shape_of(array, *format_)) {
    throw Refusal(name, std::string(format_->name) + " has the shape " + shape_of(*format_));
  }
  const int32_t rows = to_int32(array.shape(0), name);
  const int32_t width = to_int32(array.shape(1), name);
  const int32_t stride = row_stride(array, name);
  int32_t strides[TAVRINE_MAX_PLANES] = {stride, 0, 0, 0};
  Size size = {width, rows};
  if (format_->is_yuv420) {
    if (rows % 3 != 0 || width % 2 != 0) {
      throw Refusal(name,
                    std::string(format_->name) + " has the shape (H * 3 / 2, W) with even H and W");
    }
    size.height = rows / 3 * 2;
    if (format_->has_chroma_pairs) {
      strides[1] = stride;
    } else if (stride != width) {
      throw Refusal(name, "rows of YU12 must follow each other without padding");
    }
  }
  luma_ = std::move(array);
  make_frame(const_cast<void *>(luma_.data()), size, strides);
}

void Picture::use_pair(py::handle pair, const char *name) {
  if (py::len(pair) != 2 || format_ == nullptr || !format_->has_chroma_pairs) {
    throw Refusal(name, "two arrays are NV12 or NV21, which must be named");
  }
  luma_ = array_of(pair[py::int_(0)], name);
  chroma_ = array_of(pair[py::int_(1)], name);
  check_element(luma_, name, *format_);
  check_element(chroma_, name, *format_);
  if (luma_.ndim() != 2 || chroma_.ndim() != 3 || chroma_.shape(2) != 2 ||
      luma_.shape(0) != chroma_.shape(0) * 2 || luma_.shape(1) != chroma_.shape(1) * 2) {
    throw Refusal(name, "the two arrays have the shapes (H, W) and (H / 2, W / 2, 2)");
  }
  const Size size = {to_int32(luma_.shape(1), name), to_int32(luma_.shape(0), name)};
  const int32_t strides[TAVRINE_MAX_PLANES] = {row_stride(luma_, name), row_stride(chroma_, name),
                                               0, 0};
  make_frame(const_cast<void *>(luma_.data()), size, strides);
  frame_->planes[1] = const_cast<void *>(chroma_.data());
}

Picture::Picture(const PixelFormat &format, Size size, const Picture &like) : format_(&format) {
  if (format.is_yuv420 && (size.width % 2 != 0 || size.height % 2 != 0)) {
    throw Refusal("size", std::string(format.name) + " needs an even width and height");
  }
  const Py_ssize_t rows = format.is_yuv420 ? Py_ssize_t{size.height} / 2 * 3 : size.height;
  const Py_ssize_t shape[3] = {rows, size.width, format.channels};
  const Element element = format.sample_bytes == 2 ? Element::kUint16 : Element::kUint8;
  luma_ = new_array(element, shape, format.channels == 1 ? 2 : 3);
  const int32_t tight[TAVRINE_MAX_PLANES] = {};
  make_frame(luma_.mutable_data(), size, tight);
  object_ = luma_;
  if (like.chroma_ && format.has_chroma_pairs) {
    const py::slice above(0, size.height, 1);
    const py::slice below(size.height, rows, 1);
    object_ = py::make_tuple(luma_[above],
                             luma_[below].attr("reshape")(size.height / 2, size.width / 2, 2));
  }
}

void Picture::make_frame(void *data, Size size, const int32_t (&strides)[TAVRINE_MAX_PLANES]) {
  frame_.reset(tavrine_frame_make(TAVRINE_MEMORY_HOST, format_->code, data, size.width, size.height,
                                  strides, 0, nullptr, nullptr));
  if (!frame_) {
    throw StatusFailure{TAVRINE_FAILURE};
  }
}

py::object Picture::adopt(Frame frame) {
  const tavrine_frame_t &record = *frame;
  const PixelFormat &format = pixel_format_by_code(record.pixel_format);
  std::vector<Py_ssize_t> shape = {record.height, record.width};
  if (format.channels > 1) {
    shape.push_back(format.channels);
  }
  std::vector<Py_ssize_t> strides = {record.strides[0], format.channels, 1};
  if (strides[0] == 0) {
    strides[0] = static_cast<Py_ssize_t>(record.width) * format.channels;
  }
  strides.resize(shape.size());
  const py::capsule owner(
      frame.get(), [](void *owned) { Frame(static_cast<tavrine_frame_t *>(owned)).reset(); });
  return py::array(py::dtype::of<uint8_t>(), shape, strides, frame.release()->planes[0], owner);
}

void Picture::check_as_destination(const Picture &source, const char *name) const {
  for (const py::array *written : {&luma_, &chroma_}) {
    if (!*written) {
      continue;
    }
    check_is_writable(*written, name);
    for (const py::array *read : {&source.luma_, &source.chroma_}) {
      if (*read && share_memory(*read, *written)) {
        throw Refusal(name, "it shares memory with the source");
      }
    }
  }
}

void Picture::clear() { std::memset(luma_.mutable_data(), 0, static_cast<size_t>(luma_.nbytes())); }

Picture source_picture(const Arguments &arguments, size_t image, size_t format) {
  const PixelFormat *named = arguments[format]
                                 ? &pixel_format_by_name(arguments[format], arguments.name(format))
                                 : nullptr;
  return {arguments[image], arguments.name(image), named};
}

Picture destination_picture(const Arguments &arguments, size_t out, const Picture &source,
                            const PixelFormat &format, Size size) {
  if (!arguments[out]) {
    return {format, size, source};
  }
  Picture picture(arguments[out], arguments.name(out), &format);
  picture.check_as_destination(source, arguments.name(out));
  return picture;
}

}  // namespace tavrine::python
