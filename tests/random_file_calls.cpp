// Calls whose results may depend on the machine: files, damaged files, and refused calls.
#include <unistd.h>

#include <atomic>
#include <climits>
#include <cstdio>
#include <cstring>
#include <filesystem>

#include "tests/random_calls.h"

namespace tavrine::test {
namespace {

constexpr uint32_t kAllFormats[] = {TAVRINE_FORMAT_GREY, TAVRINE_FORMAT_RGB24, TAVRINE_FORMAT_BGR24,
                                    TAVRINE_FORMAT_BGRA, TAVRINE_FORMAT_ARGB,  TAVRINE_FORMAT_NV12,
                                    TAVRINE_FORMAT_NV21, TAVRINE_FORMAT_YU12,  TAVRINE_FORMAT_Y16};

// In the folder, or in one that does not exist.
std::string new_path(RandomSource &source) {
  static std::atomic<int> next{0};
  const char *const extensions[] = {".png", ".PNG", ".jpg", ".jpeg", ".bmp", ".gif", ""};
  const char *const middle = source.chance(10) ? "/none/" : "/";
  return source.variety().folder + middle + std::to_string(next++) + source.one_of(extensions);
}

void save_and_load(RandomSource &source, Digest &digest) {
  const SharedFrame in = source.input(source.one_of(kAllFormats));
  const std::string path = new_path(source);
  digest.add(source.attempt([&] { return tavrine_frame_save(in.get(), path.c_str()); }));
  OwnedFrame back;
  source.attempt([&] {
    back = OwnedFrame(tavrine_frame_load(path.c_str()));
    return 0;
  });
  unlink(path.c_str());
  digest.add(back.get());
}

// Truncated, or with damaged pixels. The header is kept, since a damaged size may need gigabytes.
void load_damaged(RandomSource &source, Digest &digest) {
  const SharedFrame in = source.input(TAVRINE_FORMAT_RGB24);
  const OwnedBuffer buffer(tavrine_buffer_alloc(1, TAVRINE_MEMORY_HOST));
  EXPECT_EQ(tavrine_frame_encode(in.get(), source.between(1, 3), buffer.get()), 0);
  auto *file = static_cast<uint8_t *>(tavrine_buffer_raw_pointer(buffer.get()));
  int length = static_cast<int>(tavrine_buffer_size(buffer.get()));
  for (int damages = source.between(0, 3); damages > 0; --damages) {
    file[source.between(length / 2, length - 1)] = static_cast<uint8_t>(source.between(0, 255));
  }
  if (source.chance(50)) {
    length = source.between(1, length);
  }
  const OwnedFrame back(tavrine_frame_load_from_memory(file, length));
  // The pixels of a damaged file are not compared.
  digest.add(back ? back->width : 0);
}

void texts(RandomSource &, Digest &digest) {
  for (const char *text :
       {tavrine_aux_meta(), tavrine_aux_version(), tavrine_aux_revision(), __plugin_name()}) {
    digest.add(text, std::strlen(text));
  }
}

// Arguments of refused calls.
struct Refused {
  tavrine_frame_t *in;
  tavrine_frame_t *other;  // of another format and memory
  tavrine_frame_t **out;
  tavrine_buffer_t *device_buffer;
  tavrine_tensor_t *tensor;  // one image, of a type that cannot be filled
  tavrine_tensor_t *usable;
  const char *folder;
};

constexpr float kMatrix[9] = {1, 0, 0, 0, 1, 0, 0, 0, 1};
constexpr tavrine_area2d_t kArea = {0, 0, 2, 2};

int32_t loaded(tavrine_frame_t *frame) {
  const OwnedFrame owned(frame);
  return owned ? 0 : -1;
}

int32_t fill(tavrine_tensor_t *tensor, int32_t color_type, const tavrine_frame_t *in) {
  return tavrine_frame_to_tensor(tensor, 0, color_type, in, 0, 0, 0, 1, 1, 1, 0, 0, 0);
}

int32_t fill_batch(tavrine_tensor_t *tensor, int32_t n, tavrine_frame_t *const *frames,
                   const tavrine_area2d_t *areas, int32_t resize_mode) {
  OwnedBuffer workspace;
  return tavrine_frame_transform_to_tensor_batch(tensor, TAVRINE_TENSOR_RGB, n, frames, areas,
                                                 resize_mode, 0, 0, 0, 1, 1, 1, nullptr,
                                                 workspace.slot(), nullptr, nullptr);
}

using Refusal = int32_t (*)(const Refused &with);

constexpr Refusal kRefusals[] = {
    [](const Refused &with) { return loaded(tavrine_frame_load(with.folder)); },
    [](const Refused &) { return loaded(tavrine_frame_load_from_memory("\x89PNG\r\n\x1a\n", 8)); },
    [](const Refused &with) { return tavrine_frame_save(with.in, with.folder); },
    [](const Refused &with) { return tavrine_frame_encode(with.in, 3, with.device_buffer); },
    [](const Refused &with) { return tavrine_frame_resize(with.in, with.out, 1 << 30, 1 << 30); },
    [](const Refused &with) {
      tavrine_frame_t *other = with.other;
      return tavrine_frame_resize(with.in, &other, 4, 4);
    },
    [](const Refused &with) {
      return tavrine_frame_crop(with.in, with.out, {0, 0, 2, INT_MIN});
    },
    [](const Refused &with) { return tavrine_frame_cvt_color(with.in, with.out, 1234); },
    [](const Refused &with) { return tavrine_frame_warpaffine(with.in, with.other, kMatrix); },
    [](const Refused &with) { return fill(with.tensor, TAVRINE_TENSOR_RGB, with.in); },
    [](const Refused &with) { return fill_batch(with.usable, 1, &with.in, &kArea, 2); },
    [](const Refused &with) { return fill_batch(with.tensor, 1, &with.in, &kArea, 1); },
};

void refusals(RandomSource &source, Digest &digest) {
  const SharedFrame in = source.input(TAVRINE_FORMAT_RGB24);
  const OwnedFrame other = make_frame(
      TAVRINE_FORMAT_NV21, 8, 8,
      source.memory() == TAVRINE_MEMORY_HOST ? TAVRINE_MEMORY_DEVICE : TAVRINE_MEMORY_HOST);
  const OwnedBuffer device_buffer(tavrine_buffer_alloc(1, TAVRINE_MEMORY_DEVICE));
  const int32_t shape[4] = {1, 3, 4, 4};
  const OwnedTensor tensor(
      tavrine_tensor_alloc(source.tensor_memory(), TAVRINE_ELEMENT_INT8, shape));
  const OwnedTensor usable(
      tavrine_tensor_alloc(source.tensor_memory(), TAVRINE_ELEMENT_FLOAT32, shape));
  for (const Refusal refusal : kRefusals) {
    OwnedFrame out;
    const int32_t status = refusal({in.get(), other.get(), out.slot(), device_buffer.get(),
                                    tensor.get(), usable.get(), source.variety().folder.c_str()});
    EXPECT_LT(status, 0) << "refusal " << &refusal - kRefusals;
    EXPECT_FALSE(out) << "refusal " << &refusal - kRefusals;
    digest.add(status);
  }
}

}  // namespace

TemporaryFolder::TemporaryFolder()
    : path_(std::filesystem::temp_directory_path() / "tavrine-XXXXXX") {
  EXPECT_NE(mkdtemp(path_.data()), nullptr);
}

TemporaryFolder::~TemporaryFolder() { std::filesystem::remove_all(path_); }

const std::vector<RandomOperation> &random_file_and_error_operations() {
  static const std::vector<RandomOperation> operations = {
      {"tavrine_frame_save, tavrine_frame_load", 60, save_and_load},
      {"tavrine_frame_load_from_memory of damaged files", 60, load_damaged},
      {"texts", 1, texts},
      {"refused calls", 10, refusals},
  };
  return operations;
}

}  // namespace tavrine::test
