#include "device_frames.h"

#include "failure.h"

namespace tavrine::tool {

OwnedFrame to_device(const OwnedFrame &frame, const std::string &file) {
  OwnedFrame device;
  if (tavrine_frame_upload(frame.get(), device.slot()) != TAVRINE_OK) {
    throw Failure(file, "upload", "no device memory for this picture");
  }
  return device;
}

OwnedFrame to_host(const OwnedFrame &frame, const std::string &file) {
  OwnedFrame host;
  if (tavrine_frame_download(frame.get(), host.slot()) != TAVRINE_OK) {
    throw Failure(file, "download", "no memory for this picture");
  }
  return host;
}

void note_who_did(Environment &environment, const Operation &operation, const OwnedFrame &in,
                  const OwnedFrame &out, const std::string &file) {
  const LogRecords::Path path = environment.log.take_path();
  const bool is_copy = operation.only_copies || path == LogRecords::Path::kShortcut ||
                       out->planes[0] == in->planes[0];
  const char *who = path == LogRecords::Path::kFallback ? "the CPU"
                    : is_copy                           ? "a copy or a reference"
                                                        : "the engine";
  environment.log.note(file + ": " + operation.description + ": done by " + who);
}

}  // namespace tavrine::tool
