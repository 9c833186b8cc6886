// Picture files and encoded pictures.
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <memory>

#include "frame_operation.h"
#include "operations.h"
#include "tavrine_aux.h"
#include "values.h"

namespace tavrine::python {
namespace {

// A path as the operating system takes it, from str, bytes or os.PathLike.
std::string path_value(const Arguments &arguments, size_t index) {
  PyObject *bytes = nullptr;
  if (PyUnicode_FSConverter(arguments[index].ptr(), &bytes) == 0) {
    throw py::error_already_set();
  }
  return py::reinterpret_steal<py::bytes>(bytes);
}

// Why a file cannot be read, as errno; 0 if it can.
int reading_problem(const std::string &path) {
  std::error_code error;
  if (std::filesystem::is_directory(path, error)) {
    return EISDIR;
  }
  errno = 0;
  FILE *file = std::fopen(path.c_str(), "rb");
  if (file == nullptr) {
    return errno;
  }
  std::fclose(file);
  return 0;
}

// The bytes of a contiguous buffer, of any kind of element.
class BytesView {
 public:
  BytesView(py::handle object, const char *name) {
    if (PyObject_GetBuffer(object.ptr(), &view_, PyBUF_C_CONTIGUOUS) != 0) {
      PyErr_Clear();
      throw Refusal(name, "not bytes or a contiguous buffer", Refusal::Kind::kType);
    }
  }
  BytesView(const BytesView &) = delete;
  BytesView &operator=(const BytesView &) = delete;
  ~BytesView() { PyBuffer_Release(&view_); }

  const void *data() const { return view_.buf; }
  Py_ssize_t size() const { return view_.len; }

 private:
  Py_buffer view_ = {};
};

int32_t encoding_by_name(const Arguments &arguments, size_t index) {
  const std::string name = text_value(arguments, index, "");
  if (name == "jpeg" || name == "jpg") {
    return TAVRINE_ENCODE_JPEG;
  }
  if (name == "png") {
    return TAVRINE_ENCODE_PNG;
  }
  if (name == "bmp") {
    return TAVRINE_ENCODE_BMP;
  }
  throw Refusal(arguments.name(index), "must be jpeg, png or bmp");
}

}  // namespace

py::object load(const Arguments &arguments) {
  enum { kPath };
  const std::string path = path_value(arguments, kPath);
  Frame frame;
  {
    const py::gil_scoped_release released;
    frame.reset(tavrine_frame_load(path.c_str()));
  }
  if (!frame) {
    const int code = reading_problem(path);
    throw FileFailure{
        code, path,
        code != 0 ? "cannot read the file" : "damaged, too large, or no picture of a known kind"};
  }
  return Picture::adopt(std::move(frame));
}

py::object decode(const Arguments &arguments) {
  enum { kData };
  const BytesView bytes(arguments[kData], arguments.name(kData));
  if (bytes.size() == 0 || bytes.size() > INT32_MAX) {
    throw Refusal(arguments.name(kData), "must have from 1 to 2147483647 bytes");
  }
  Frame frame;
  {
    const py::gil_scoped_release released;
    frame.reset(tavrine_frame_load_from_memory(bytes.data(), static_cast<int32_t>(bytes.size())));
  }
  if (!frame) {
    throw Refusal(arguments.name(kData), "damaged, too large, or no picture of a known kind");
  }
  return Picture::adopt(std::move(frame));
}

py::object save(const Arguments &arguments) {
  enum { kImage, kPath, kFormat };
  const Picture in = source_picture(arguments, kImage, kFormat);
  const std::string path = path_value(arguments, kPath);
  int32_t status = TAVRINE_OK;
  int code = 0;
  {
    const py::gil_scoped_release released;
    errno = 0;
    status = tavrine_frame_save(in.frame(), path.c_str());
    code = errno;
  }
  // The library does not log why a file cannot be written or a picture not be encoded.
  if (status == TAVRINE_FAILURE && code != 0 && code != ENOMEM) {
    throw FileFailure{code, path, "cannot write the file"};
  }
  if (status == TAVRINE_FAILURE && code == 0) {
    throw StatusFailure{
        status, "the picture cannot be encoded, such as a JPEG of more than 65535 pixels a side"};
  }
  check(status);
  return py::none();
}

py::object encode(const Arguments &arguments) {
  enum { kImage, kEncoding, kFormat };
  const Picture in = source_picture(arguments, kImage, kFormat);
  const int32_t encoding = encoding_by_name(arguments, kEncoding);
  const Buffer buffer(tavrine_buffer_alloc(1, TAVRINE_MEMORY_HOST));
  int32_t status = TAVRINE_FAILURE;
  if (buffer) {
    const py::gil_scoped_release released;
    status = tavrine_frame_encode(in.frame(), encoding, buffer.get());
  }
  check(status);
  return py::bytes(static_cast<const char *>(tavrine_buffer_raw_pointer(buffer.get())),
                   tavrine_buffer_size(buffer.get()));
}

}  // namespace tavrine::python
