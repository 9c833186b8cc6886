#include "picture_file.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>

#include "common/pixel_format.h"
#include "failure.h"
#include "operations.h"
#include "output_file.h"
#include "pixel_format.h"
#include "refusal.h"
#include "tavrine_aux.h"

namespace tavrine::tool {

namespace {

enum class Content {
  kPicture,   // encoded by the library
  kRaw,       // the planes, in the kind's format
  kRawYuv420  // the planes, in whichever 4:2:0 format the frame has
};

struct FileKind {
  const char *extension;
  Content content;
  uint32_t format;
};

constexpr FileKind kFileKinds[] = {
    {".jpg", Content::kPicture, 0},
    {".jpeg", Content::kPicture, 0},
    {".png", Content::kPicture, 0},
    {".bmp", Content::kPicture, 0},
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

const FileKind *file_kind(const std::string &path) {
  const std::string extension = lower_case(std::filesystem::path(path).extension().string());
  for (const FileKind &kind : kFileKinds) {
    if (extension == kind.extension) {
      return &kind;
    }
  }
  return nullptr;
}

// The decoder does not tell why; the file does.
std::string unreadable_reason(const std::string &path) {
  std::FILE *file = std::fopen(path.c_str(), "rb");
  if (file == nullptr) {
    return std::strerror(errno);
  }
  errno = 0;
  const int first = std::fgetc(file);
  const int error = errno;
  std::fclose(file);
  if (first == EOF) {
    return error != 0 ? std::strerror(error) : "the file is empty";
  }
  const FileKind *kind = file_kind(path);
  if (kind != nullptr && kind->content != Content::kPicture) {
    return "not a picture; for a raw frame add --in FORMAT:WIDTHxHEIGHT";
  }
  return "not a picture of a known kind, or truncated";
}

OwnedFrame in_raw_format(Environment &environment, OwnedFrame frame, const FileKind &kind,
                         const std::string &path) {
  const uint32_t format = frame->pixel_format;
  if (format == kind.format || (kind.content == Content::kRawYuv420 && is_yuv420(format))) {
    return frame;
  }
  Operation conversion = conversion_to(kind.format);
  conversion.description = "save";
  return apply_operation(environment, conversion, frame, path);
}

void encode_picture(Environment &environment, const tavrine_frame_t &frame, const std::string &path,
                    const OutputFile &output) {
  errno = 0;
  const int32_t status = tavrine_frame_save(&frame, output.temporary_path().c_str());
  const int error = errno;
  if (status == TAVRINE_OK) {
    return;
  }
  std::string explanation;
  const uint32_t format = frame.pixel_format;
  if (!is_yuv420(format) && !is_packed_rgb(format) && format != TAVRINE_FORMAT_GREY) {
    explanation = std::string("a picture cannot be made of ") + pixel_format_name(format);
    explanation += format == TAVRINE_FORMAT_Y16 ? ", convert it with --format GREY before" : "";
  } else if (status == TAVRINE_FAILURE) {
    const bool is_storage = error == ENOSPC || error == EDQUOT || error == EFBIG || error == EIO;
    explanation = is_storage ? std::strerror(error) : "could not be encoded or written";
  }
  throw Failure(path, "save", refusal_reason(environment, status, explanation));
}

}  // namespace

bool is_output_name(const std::string &path) { return file_kind(path) != nullptr; }

void check_output_name(const std::string &path) {
  if (!is_output_name(path)) {
    throw UsageError(path + ": save: the name must end in one of " + output_extensions());
  }
}

std::string output_extensions() {
  std::string extensions;
  for (const FileKind &kind : kFileKinds) {
    extensions += (extensions.empty() ? "" : ", ") + std::string(kind.extension);
  }
  return extensions;
}

OwnedFrame load_picture(Environment &environment, const std::string &path,
                        const std::optional<RawLayout> &layout) {
  environment.log.take_errors();  // what another picture left
  if (layout) {
    return read_raw_frame(path, *layout);
  }
  OwnedFrame frame(tavrine_frame_load(path.c_str()));
  if (!frame) {
    const std::string logged = environment.log.take_errors();
    throw Failure(path, "load", logged.empty() ? unreadable_reason(path) : logged);
  }
  return frame;
}

void save_picture(Environment &environment, const OwnedFrame &frame, const std::string &path) {
  const FileKind *kind = file_kind(path);
  if (kind == nullptr) {
    throw Failure(path, "save", "the name must end in one of " + output_extensions());
  }
  if (kind->content == Content::kPicture) {
    OutputFile output(path);
    encode_picture(environment, *frame.get(), path, output);
    output.commit();
    return;
  }
  const OwnedFrame raw =
      in_raw_format(environment, OwnedFrame(tavrine_frame_ref(frame.get())), *kind, path);
  OutputFile output(path);
  const int error = write_raw_frame(*raw.get(), output.temporary_path());
  if (error != 0) {
    throw Failure(path, "save", std::strerror(error));
  }
  output.commit();
}

}  // namespace tavrine::tool
