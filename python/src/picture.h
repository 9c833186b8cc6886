// Frames over the memory of arrays. Nothing is copied.
#pragma once

#include <optional>

#include "arguments.h"
#include "array.h"
#include "handles.h"
#include "pixel_format.h"

namespace tavrine::python {

struct Size {
  int32_t width;
  int32_t height;
};

class Picture {
 public:
  // The argument as a picture of that format; without a format (null), of the one that its shape
  // says: (H, W) is GREY, or Y16 for uint16, and (H, W, 3) is RGB.
  Picture(py::handle object, const char *name, const PixelFormat *format);

  // A new picture, with undefined pixels. A pair if `like` is one.
  Picture(const PixelFormat &format, Size size, const Picture &like);

  // Over the memory of a frame, which it releases with the last array.
  static py::object adopt(Frame frame);

  const tavrine_frame_t *frame() const { return frame_.get(); }
  tavrine_frame_t *frame() { return frame_.get(); }
  Size size() const { return {frame_->width, frame_->height}; }
  const PixelFormat &format() const { return *format_; }
  // A pair whose rows are not equally far apart. The library's conversions cannot read it.
  bool has_uneven_rows() const { return chroma_ && frame_->strides[0] != frame_->strides[1]; }
  // What Python passed or gets.
  const py::object &object() const { return object_; }

  // Throws a Refusal if the caller's destination cannot be written or has pixels of `source`.
  void check_as_destination(const Picture &source, const char *name) const;

  // Sets all bytes to 0.
  void clear();

 private:
  void use(py::array first, const char *name);
  void use_pair(py::handle pair, const char *name);
  void make_frame(void *data, Size size, const int32_t (&strides)[TAVRINE_MAX_PLANES]);

  py::object object_;
  py::array luma_ = no_array();    // or all planes
  py::array chroma_ = no_array();  // null unless the picture is a pair
  const PixelFormat *format_;
  Frame frame_;
};

// The picture of a call that has the parameters `image` and `format`.
Picture source_picture(const Arguments &arguments, size_t image, size_t format);

// The caller's destination if there is one, otherwise a new picture.
Picture destination_picture(const Arguments &arguments, size_t out, const Picture &source,
                            const PixelFormat &format, Size size);

}  // namespace tavrine::python
