#include "picture_file.h"

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>
#include <filesystem>

#include "failure.h"
#include "input_file.h"
#include "operations.h"
#include "output_file.h"
#include "pixel_format.h"
#include "refusal.h"
#include "tavrine_aux.h"

namespace tavrine::tool {

namespace {

enum class Content {
  kPicture,   // encoded by the library; the code is one of its encodings
  kRaw,       // the planes; the code is a pixel format
  kRawYuv420  // the planes in the frame's own 4:2:0 format, or in the one of the code
};

struct FileKind {
  const char *extension;
  Content content;
  uint32_t code;
};

constexpr FileKind kFileKinds[] = {
    {".jpg", Content::kPicture, TAVRINE_ENCODE_JPEG},
    {".jpeg", Content::kPicture, TAVRINE_ENCODE_JPEG},
    {".png", Content::kPicture, TAVRINE_ENCODE_PNG},
    {".bmp", Content::kPicture, TAVRINE_ENCODE_BMP},
    {".yuv", Content::kRawYuv420, TAVRINE_FORMAT_NV12},
    {".nv12", Content::kRaw, TAVRINE_FORMAT_NV12},
    {".nv21", Content::kRaw, TAVRINE_FORMAT_NV21},
    {".yu12", Content::kRaw, TAVRINE_FORMAT_YU12},
    {".grey", Content::kRaw, TAVRINE_FORMAT_GREY},
    {".rgb", Content::kRaw, TAVRINE_FORMAT_RGB24},
    {".bgr", Content::kRaw, TAVRINE_FORMAT_BGR24},
    {".bgra", Content::kRaw, TAVRINE_FORMAT_BGRA},
    {".argb", Content::kRaw, TAVRINE_FORMAT_ARGB},
    {".y16", Content::kRaw, TAVRINE_FORMAT_Y16},
};

const FileKind *file_kind(const std::string &extension) {
  for (const FileKind &kind : kFileKinds) {
    if (lower_case(extension) == kind.extension) {
      return &kind;
    }
  }
  return nullptr;
}

std::string extension_of(const std::string &path) {
  return std::filesystem::path(path).extension().string();
}

// The decoder does not say why it failed, so this looks at the file again.
std::string unreadable_reason(const std::string &path) {
  const OwnedFile file(std::fopen(path.c_str(), "rb"));
  if (!file) {
    return std::strerror(errno);
  }
  errno = 0;
  if (std::fgetc(file.get()) == EOF) {
    return errno != 0 ? std::strerror(errno) : "the file is empty";
  }
  const FileKind *kind = file_kind(extension_of(path));
  if (kind != nullptr && kind->content != Content::kPicture) {
    return "not a picture; for a raw frame add --in FORMAT:WIDTHxHEIGHT";
  }
  return "not a picture of a known kind, truncated, or too large";
}

OwnedFrame load_from_standard_input() {
  const std::vector<unsigned char> bytes = read_standard_input();
  if (bytes.size() > INT32_MAX) {
    throw Failure(input_name(kStandardStream), "load", "more than 2 GiB");
  }
  errno = 0;
  return OwnedFrame(
      tavrine_frame_load_from_memory(bytes.data(), static_cast<int32_t>(bytes.size())));
}

OwnedFrame in_raw_format(Environment &environment, OwnedFrame frame, const FileKind &kind,
                         const std::string &path) {
  const uint32_t format = frame->pixel_format;
  if (format == kind.code || (kind.content == Content::kRawYuv420 && is_yuv420(format))) {
    return frame;
  }
  Operation conversion = conversion_to(kind.code);
  conversion.description = "save";
  return apply_operation(environment, conversion, frame, path);
}

OwnedBuffer encode_picture(Environment &environment, const tavrine_frame_t &frame,
                           const FileKind &kind, const std::string &path) {
  OwnedBuffer buffer(tavrine_buffer_alloc(0, TAVRINE_MEMORY_HOST));
  const int32_t status =
      !buffer ? TAVRINE_FAILURE
              : tavrine_frame_encode(&frame, static_cast<int32_t>(kind.code), buffer.get());
  if (status == TAVRINE_OK) {
    return buffer;
  }
  const uint32_t format = frame.pixel_format;
  if (!is_encodable(format)) {
    environment.log.take_errors();
    throw Failure(
        path, "save",
        std::string(pixel_format_name(format)) + " cannot be saved as a picture" +
            (format == TAVRINE_FORMAT_Y16 ? ", convert it with --format GREY first" : ""));
  }
  throw Failure(
      path, "save",
      refusal_reason(environment, status, "out of memory, or too large for this kind of picture"));
}

}  // namespace

Destination Destination::at(const std::string &path, const std::string &stream_extension) {
  const bool is_stream = path == kStandardStream;
  const std::string extension =
      is_stream ? "." + (stream_extension.empty() ? std::string("png") : stream_extension)
                : extension_of(path);
  if (!is_output_extension(extension)) {
    throw UsageError(path + ": save: the name must end in one of " + output_extensions());
  }
  return {path, extension};
}

bool is_output_extension(const std::string &extension) { return file_kind(extension) != nullptr; }

std::string output_extensions() {
  std::string extensions;
  for (const FileKind &kind : kFileKinds) {
    extensions += (extensions.empty() ? "" : ", ") + std::string(kind.extension);
  }
  return extensions;
}

OwnedFrame load_picture(Environment &environment, const std::string &path,
                        const std::optional<RawLayout> &layout) {
  environment.log.take_errors();  // those of other pictures
  if (layout) {
    return read_raw_frame(path, *layout);
  }
  const bool is_stream = path == kStandardStream;
  errno = 0;
  OwnedFrame frame =
      is_stream ? load_from_standard_input() : OwnedFrame(tavrine_frame_load(path.c_str()));
  if (frame) {
    return frame;
  }
  const bool is_out_of_memory = errno == ENOMEM;
  const std::string logged = environment.log.take_errors();
  throw Failure(input_name(path), "load",
                !logged.empty()    ? logged
                : is_out_of_memory ? "out of memory"
                : is_stream        ? "not a picture of a known kind, truncated, or too large"
                                   : unreadable_reason(path));
}

void save_picture(Environment &environment, const OwnedFrame &frame,
                  const Destination &destination) {
  const FileKind &kind = *file_kind(destination.extension);
  const std::string &path = destination.path;
  if (kind.content == Content::kPicture) {
    const OwnedBuffer buffer = encode_picture(environment, *frame.get(), kind, path);
    OutputFile output(path);
    output.write(tavrine_buffer_raw_pointer(buffer.get()), tavrine_buffer_size(buffer.get()));
    output.commit();
    return;
  }
  const OwnedFrame raw =
      in_raw_format(environment, OwnedFrame(tavrine_frame_ref(frame.get())), kind, path);
  OutputFile output(path);
  write_raw_frame(*raw.get(), output);
  output.commit();
}

}  // namespace tavrine::tool
