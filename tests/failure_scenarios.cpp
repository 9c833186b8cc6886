#include "tests/failure_scenarios.h"

namespace tavrine::test {
namespace {

Operation resize_to(int width, int height) {
  return [=](const tavrine_frame_t *in, tavrine_frame_t **out) {
    return tavrine_frame_resize(in, out, width, height);
  };
}

Operation convert_to(uint32_t format) {
  return [=](const tavrine_frame_t *in, tavrine_frame_t **out) {
    return tavrine_frame_cvt_color(in, out, format);
  };
}

Operation crop_to(tavrine_area2d_t area) {
  return [=](const tavrine_frame_t *in, tavrine_frame_t **out) {
    return tavrine_frame_crop(in, out, area);
  };
}

Operation encode_as(int32_t code) {
  return [=](const tavrine_frame_t *in, tavrine_frame_t **) {
    static OwnedBuffer buffer;
    buffer = OwnedBuffer(tavrine_buffer_alloc(16, TAVRINE_MEMORY_HOST));
    const int32_t result = buffer ? tavrine_frame_encode(in, code, buffer.get()) : kInjected;
    buffer.reset();
    return result;
  };
}

// Rotates a part of the frame, whose rows are padded.
int32_t rotate_part(const tavrine_frame_t *in, tavrine_frame_t **out) {
  const OwnedFrame part(tavrine_frame_roi(in, 2, 2, 16, 12));
  return part ? tavrine_frame_rotate(part.get(), out, 0) : kInjected;
}

// Warps need an existing frame, so the first allocation is this function's own.
Operation warp_by(decltype(&tavrine_frame_warpaffine) warp) {
  return [=](const tavrine_frame_t *in, tavrine_frame_t **out) {
    constexpr float kMatrix[] = {0.9F, 0.1F, 2, -0.1F, 0.9F, 1, 0, 0, 1};
    constexpr int32_t kTight[4] = {};
    OwnedFrame created;
    if (*out == nullptr) {
      created = OwnedFrame(
          tavrine_frame_alloc(tavrine_frame_mem_type(in), in->pixel_format, 18, 14, kTight, 0));
    }
    tavrine_frame_t *destination = *out != nullptr ? *out : created.get();
    const int32_t result = destination != nullptr ? warp(in, destination, kMatrix) : kInjected;
    if (result == 0) {
      *out = destination;
      created.release();
    }
    return result;
  };
}

OwnedTensor make_tensor(int32_t memory) {
  constexpr int32_t kShape[4] = {2, 3, 10, 12};
  return OwnedTensor(tavrine_tensor_alloc(memory, TAVRINE_ELEMENT_FLOAT32, kShape));
}

Operation fill_tensor_in(int32_t memory) {
  return [=](const tavrine_frame_t *in, tavrine_frame_t **) {
    const OwnedTensor tensor = make_tensor(memory);
    return tensor ? tavrine_frame_to_tensor(tensor.get(), 0, TAVRINE_TENSOR_RGB, in, 0, 0, 0, 1, 1,
                                            1, 0, 0, 0)
                  : kInjected;
  };
}

// One region is scaled, one is not; both are padded.
Operation fill_batch_in(int32_t memory) {
  return [=](const tavrine_frame_t *in, tavrine_frame_t **) {
    const OwnedTensor tensor = make_tensor(memory);
    const OwnedFrame frame(tavrine_frame_ref(in));
    tavrine_frame_t *const frames[] = {frame.get(), frame.get()};
    const tavrine_area2d_t areas[] = {{-4, 2, 20, 16}, {12, 3, 12, 10}};
    OwnedBuffer workspace;
    return tensor && frame
               ? tavrine_frame_transform_to_tensor_batch(
                     tensor.get(), TAVRINE_TENSOR_BGR, 2, frames, areas, TAVRINE_RESIZE_FIT, 0, 0,
                     0, 1, 1, 1, nullptr, workspace.slot(), nullptr, nullptr)
               : kInjected;
  };
}

// The frame is new and is released here.
Operation decode(const std::string &picture) {
  return [=](const tavrine_frame_t *, tavrine_frame_t **) {
    const OwnedFrame frame(
        tavrine_frame_load_from_memory(picture.data(), static_cast<int32_t>(picture.size())));
    return frame ? 0 : -4;
  };
}

std::string encoded(int32_t code) {
  const OwnedFrame frame = make_frame(TAVRINE_FORMAT_RGB24, 20, 16);
  const OwnedBuffer buffer(tavrine_buffer_alloc(16, TAVRINE_MEMORY_HOST));
  EXPECT_EQ(tavrine_frame_encode(frame.get(), code, buffer.get()), 0);
  return {static_cast<const char *>(tavrine_buffer_raw_pointer(buffer.get())),
          tavrine_buffer_size(buffer.get())};
}

const std::string kGif("GIF89a\1\0\1\0\x80\0\0\xFF\0\0\0\xFF\0,\0\0\0\0\1\0\1\0\0\2\2D\1\0;", 35);

int32_t save_to_nowhere(const tavrine_frame_t *in, tavrine_frame_t **) {
  return tavrine_frame_save(in, "/dev/null/none.png") == -4 ? 0 : kInjected;
}

using Outcomes = std::vector<Outcome>;

Outcomes operator+(Outcomes first, const Outcomes &second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

}  // namespace

const std::vector<Scenario> &failure_scenarios() {
  // Calls of the scenario itself, before the operation.
  static const Outcomes kOwnFrame = {{"tavrine_frame_alloc", 1, kInjected}};
  static const Outcomes kOwnPart = {{"tavrine_frame_roi", 1, kInjected}};
  static const Outcomes kOwnBuffer = {{"tavrine_buffer_alloc", 1, kInjected}};
  static const Outcomes kOwnTensor = {{"tavrine_tensor_alloc", 1, kInjected}};
  // Calls of the operation.
  static const Outcomes kAllocation = {{"tavrine_frame_alloc", 1, -4}};
  static const Outcomes kWrapping = {{"tavrine_frame_make", 1, -4}};
  static const Outcomes kCopy = {{"tavrine_frame_copy", 1, kInjected}};
  static const Outcomes kReference = {{"tavrine_frame_ref", 1, -4}};
  // The transfers of a fallback are not checked: without its input the CPU refuses, and a failed
  // upload is not reported.
  static const Outcomes kFallback = {{"tavrine_frame_download", 1, -4},
                                     {"tavrine_frame_download", 2, -4},
                                     {"tavrine_frame_upload", 1, 0}};
  static const Outcomes kBatch = kOwnTensor + Outcomes{{"tavrine_frame_ref", 1, kInjected},
                                                       {"tavrine_buffer_alloc", 1, -4},
                                                       {"tavrine_frame_roi", Outcome::kEvery, -4},
                                                       {"tavrine_buffer_resize", 1, -4},
                                                       {"tavrine_frame_make", 1, -4},
                                                       {"tavrine_tensor_roi", Outcome::kEvery, -4}};
  static const Outcomes kBatchTransfers = {{"tavrine_frame_download", Outcome::kEvery, -4},
                                           {"tavrine_frame_upload", 1, 0}};
  static const std::vector<Scenario> kScenarios = {
      {"resize", TAVRINE_FORMAT_NV12, 0, resize_to(12, 10), kAllocation},
      {"resize to its own size", TAVRINE_FORMAT_GREY, 0, resize_to(20, 16), kAllocation + kCopy},
      {"resize on the device", TAVRINE_FORMAT_NV21, 1, resize_to(12, 10), kAllocation + kFallback},
      {"crop inside", TAVRINE_FORMAT_BGR24, 0, crop_to({2, 2, 8, 8}),
       kCopy + Outcomes{{"tavrine_frame_roi", 1, -1}}},
      {"crop across", TAVRINE_FORMAT_YU12, 0, crop_to({-4, -4, 12, 12}),
       kAllocation + kCopy +
           Outcomes{{"tavrine_buffer_make", Outcome::kEvery, 0},
                    {"tavrine_buffer_set", Outcome::kEvery, 0},
                    {"tavrine_frame_roi", Outcome::kEvery, -1}}},
      {"crop across, one plane", TAVRINE_FORMAT_GREY, 1, crop_to({-4, -4, 12, 12}),
       kAllocation + kCopy +
           Outcomes{{"tavrine_frame_reset", 1, 0}, {"tavrine_frame_roi", Outcome::kEvery, -1}}},
      {"rotation of a part", TAVRINE_FORMAT_NV12, 0, &rotate_part,
       kOwnPart + kAllocation + Outcomes{{"tavrine_frame_duplicate", 1, -4}}},
      {"rotation on the device", TAVRINE_FORMAT_YU12, 1, &rotate_part,
       kOwnPart + kAllocation + kFallback},
      {"affine warp on the device", TAVRINE_FORMAT_NV21, 1, warp_by(tavrine_frame_warpaffine),
       kOwnFrame + kFallback},
      {"perspective warp on the device", TAVRINE_FORMAT_BGR24, 1,
       warp_by(tavrine_frame_warpperspective),
       kOwnFrame + Outcomes{{"tavrine_frame_download", Outcome::kEvery, -1},
                            {"tavrine_frame_upload", 1, 0}}},
      {"perspective warp through another format", TAVRINE_FORMAT_YU12, 0,
       warp_by(tavrine_frame_warpperspective),
       kOwnFrame + Outcomes{{"tavrine_frame_alloc", 2, -4},
                            {"tavrine_frame_alloc", 3, -4},
                            {"tavrine_frame_alloc", 4, 0},
                            {"tavrine_frame_alloc", 5, -4}}},
      {"forward conversion", TAVRINE_FORMAT_RGB24, 0, convert_to(TAVRINE_FORMAT_NV12), kAllocation},
      {"reference", TAVRINE_FORMAT_RGB24, 0, convert_to(TAVRINE_FORMAT_RGB24), kCopy + kReference},
      {"luma view", TAVRINE_FORMAT_NV12, 0, convert_to(TAVRINE_FORMAT_GREY), kCopy + kReference},
      {"neutral chroma", TAVRINE_FORMAT_GREY, 0, convert_to(TAVRINE_FORMAT_NV21),
       kAllocation + kCopy},
      {"two steps", TAVRINE_FORMAT_NV21, 0, convert_to(TAVRINE_FORMAT_YU12),
       kAllocation + Outcomes{{"tavrine_frame_alloc", 2, -4}}},
      {"conversion on the device", TAVRINE_FORMAT_BGR24, 1, convert_to(TAVRINE_FORMAT_NV21),
       kAllocation + kFallback},
      {"conversion by the engine", TAVRINE_FORMAT_NV12, 1, convert_to(TAVRINE_FORMAT_RGB24),
       kAllocation, true},
      {"conversion by the engine, back", TAVRINE_FORMAT_RGB24, 1, convert_to(TAVRINE_FORMAT_NV12),
       kAllocation, true},
      {"resize by the engine", TAVRINE_FORMAT_GREY, 1, resize_to(64, 64), kAllocation, true},
      {"contrast stretch", TAVRINE_FORMAT_Y16, 0, convert_to(TAVRINE_FORMAT_GREY), kAllocation},
      {"decode PNM", TAVRINE_FORMAT_GREY, 0, decode("P6 2 1 255\nRGBrgb"), kWrapping},
      {"decode JPEG", TAVRINE_FORMAT_GREY, 0, decode(encoded(TAVRINE_ENCODE_JPEG)), kWrapping},
      {"decode PNG", TAVRINE_FORMAT_GREY, 0, decode(encoded(TAVRINE_ENCODE_PNG)), kWrapping},
      {"decode GIF with alpha", TAVRINE_FORMAT_GREY, 0, decode(kGif), kAllocation},
      {"tensor from the device", TAVRINE_FORMAT_RGB24, 1, fill_tensor_in(0),
       kOwnTensor + Outcomes{{"tavrine_frame_download", 1, kInjected}}},
      {"tensor on the device", TAVRINE_FORMAT_BGR24, 0, fill_tensor_in(1),
       kOwnTensor + Outcomes{{"tavrine_frame_upload", 1, kInjected}}},
      {"batch", TAVRINE_FORMAT_BGR24, 0, fill_batch_in(0), kBatch},
      {"batch from the device", TAVRINE_FORMAT_RGB24, 1, fill_batch_in(0),
       kBatch + kBatchTransfers},
      {"batch to the device", TAVRINE_FORMAT_RGB24, 0, fill_batch_in(1),
       kBatch + Outcomes{{"tavrine_frame_download", Outcome::kEvery, -4},
                         {"tavrine_frame_upload", 1, -4},
                         {"tavrine_frame_upload", 2, -4},
                         {"tavrine_frame_upload", 3, 0}}},
      {"batch on the device", TAVRINE_FORMAT_BGR24, 1, fill_batch_in(1), kBatch + kBatchTransfers},
      {"encode grey", TAVRINE_FORMAT_GREY, 0, encode_as(TAVRINE_ENCODE_PNG),
       kOwnBuffer + kReference + Outcomes{{"tavrine_buffer_resize", Outcome::kEvery, -4}}},
      {"encode colour in several parts", TAVRINE_FORMAT_NV12, 0, encode_as(TAVRINE_ENCODE_BMP),
       kOwnBuffer + kReference + kAllocation +
           Outcomes{{"tavrine_buffer_resize", Outcome::kEvery, -4}},
       true},
      {"encode from the device", TAVRINE_FORMAT_RGB24, 1, encode_as(TAVRINE_ENCODE_JPEG),
       kOwnBuffer + kReference +
           Outcomes{{"tavrine_frame_download", 1, -4},
                    {"tavrine_buffer_resize", Outcome::kEvery, -4}}},
      {"save from the device",
       TAVRINE_FORMAT_RGB24,
       1,
       &save_to_nowhere,
       {{"tavrine_frame_download", 1, kInjected}, {"tavrine_frame_ref", 1, 0}}},
  };
  return kScenarios;
}

OwnedFrame Scenario::make_input() const {
  return is_large ? make_frame(format, 96, 64, memory) : make_frame(format, 20, 16, memory);
}

}  // namespace tavrine::test
