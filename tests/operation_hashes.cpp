// Prints one hash for each public operation, over some hundred random calls of it. Every build
// must print the same lines: a frame gives the same bytes on every machine.
#include <cinttypes>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <functional>
#include <iterator>

#include "tests/support.h"

namespace tavrine::test {
namespace {

// FNV-1a.
class Hash {
 public:
  void add(const void *data, size_t size) {
    const auto *bytes = static_cast<const uint8_t *>(data);
    for (size_t i = 0; i < size; ++i) {
      value_ = (value_ ^ bytes[i]) * 0x100000001b3;
    }
  }
  void add(int32_t value) { add(&value, sizeof(value)); }
  // Which NaN it is belongs to the machine, and so does the sign of it.
  void add(float value) {
    const float number = std::isnan(value) ? 0.5F : value;
    add(&number, sizeof(number));
    add(static_cast<int32_t>(std::isnan(value)));
  }
  void add(const tavrine_frame_t *frame) {
    if (frame != nullptr) {
      add(frame->width);
      add(frame->height);
      const std::vector<uint8_t> pixels = pixels_of(frame);
      add(pixels.data(), pixels.size());
    }
  }
  uint64_t value() const { return value_; }

 private:
  uint64_t value_ = 0xcbf29ce484222325;
};

// Only the generator's own numbers are the same everywhere, so everything is made from these.
class Source {
 public:
  explicit Source(uint32_t seed) : random_(seed) {}

  int between(int least, int most) {
    return least + static_cast<int>(random_() % static_cast<uint32_t>(most - least + 1));
  }
  float real(float magnitude) {
    return (static_cast<float>(between(0, 20000)) - 10000) * magnitude / 10000;
  }
  template <typename T, size_t kCount>
  T one_of(const T (&choices)[kCount]) {
    return choices[random_() % kCount];
  }
  OwnedFrame frame(uint32_t format) {
    // One statement each: the order of a call's arguments is the compiler's choice.
    const int width = 2 * between(1, 40);
    const int height = 2 * between(1, 30);
    OwnedFrame result = make_frame(format, width, height);
    fill_random(result.get(), random_);
    return result;
  }
  float odd_number() {
    const float numbers[] = {0.0F, 1.0F, 1e-30F, 1e30F, -1e9F, INFINITY, NAN, 2147483648.0F};
    return between(0, 9) == 0 ? one_of(numbers) : real(2);
  }

 private:
  Random random_;
};

using Call = std::function<void(Source &source, Hash &hash)>;

template <typename Operation>
void into_slot(Source &source, Hash &hash, Operation operation) {
  const OwnedFrame in = source.frame(source.one_of(kEightBitFormats));
  OwnedFrame out;
  hash.add(operation(in.get(), out.slot()));
  hash.add(out.get());
}

template <typename Warp>
void warp(Source &source, Hash &hash, int numbers, Warp operation) {
  const uint32_t format = source.one_of(kEightBitFormats);
  const OwnedFrame in = source.frame(format);
  OwnedFrame out = source.frame(format);
  float matrix[9] = {1, 0, 0, 0, 1, 0, 0, 0, 1};
  for (int i = 0; i < numbers; ++i) {
    const bool moves = i == 2 || i == 5;
    matrix[i] += moves ? source.real(40) : i < 6 ? source.odd_number() * 0.5F : source.real(0.02F);
  }
  hash.add(operation(in.get(), out.get(), matrix));
  hash.add(out.get());
}

OwnedTensor make_tensor(Source &source, int items, int32_t &elements) {
  const int32_t types[] = {TAVRINE_ELEMENT_FLOAT32, TAVRINE_ELEMENT_UINT8};
  const int32_t shape[4] = {items, 3, source.between(1, 24), source.between(1, 24)};
  OwnedTensor tensor(tavrine_tensor_alloc(TAVRINE_MEMORY_HOST, source.one_of(types), shape));
  elements = items * 3 * shape[2] * shape[3];
  const size_t bytes = tensor->element_type == TAVRINE_ELEMENT_UINT8 ? 1 : 4;
  std::memset(tavrine_tensor_raw_pointer(tensor.get()), 0, elements * bytes);
  return tensor;
}

void add_tensor(Hash &hash, const tavrine_tensor_t *tensor, int32_t elements) {
  const void *data = tavrine_tensor_raw_pointer(tensor);
  for (int32_t i = 0; i < elements; ++i) {
    if (tensor->element_type == TAVRINE_ELEMENT_UINT8) {
      hash.add(static_cast<int32_t>(static_cast<const uint8_t *>(data)[i]));
    } else {
      hash.add(static_cast<const float *>(data)[i]);
    }
  }
}

uint32_t tensor_format(Source &source) {
  const uint32_t formats[] = {TAVRINE_FORMAT_RGB24, TAVRINE_FORMAT_BGR24};
  return source.one_of(formats);
}

void to_tensor(Source &source, Hash &hash) {
  int32_t elements = 0;
  const OwnedTensor tensor = make_tensor(source, 1, elements);
  const OwnedFrame in = source.frame(tensor_format(source));
  const float m = source.real(200);
  const float s = source.odd_number();
  hash.add(tavrine_frame_to_tensor(tensor.get(), 0, source.between(0, 2), in.get(), m, m + 1, 0, s,
                                   2, s * 3, 7, m, 9));
  add_tensor(hash, tensor.get(), elements);
}

void batch_to_tensor(Source &source, Hash &hash) {
  constexpr int kItems = 3;
  int32_t elements = 0;
  const OwnedTensor tensor = make_tensor(source, kItems, elements);
  const uint32_t format = tensor_format(source);
  OwnedFrame frames[kItems];
  tavrine_frame_t *pointers[kItems];
  tavrine_area2d_t areas[kItems];
  for (int i = 0; i < kItems; ++i) {
    frames[i] = source.frame(format);
    pointers[i] = frames[i].get();
    areas[i] = {source.between(-20, 20), source.between(-20, 20), source.between(1, 90),
                source.between(1, 70)};
  }
  const int32_t color_type = source.between(0, 2);
  const int32_t resize_mode = source.between(0, 1);
  const float paddings[kItems][3] = {{1, 2, 3}, {40.5F, 50, 60}, {255, 0, 128}};
  float ratios[2][kItems] = {};
  OwnedBuffer workspace;
  hash.add(tavrine_frame_transform_to_tensor_batch(
      tensor.get(), color_type, kItems, pointers, areas, resize_mode, 10, 20, 30, 2, 3, 4, paddings,
      workspace.slot(), ratios[0], ratios[1]));
  hash.add(ratios, sizeof(ratios));
  add_tensor(hash, tensor.get(), elements);
}

template <typename Find>
void find(Source &source, Hash &hash, Find operation) {
  tavrine_point2f_t points[6];
  for (tavrine_point2f_t &point : points) {
    point = {source.real(500), source.real(500)};
  }
  tavrine_matrix3x3f_t forward;
  tavrine_matrix3x3f_t inverse;
  operation(points, points + 3, &forward, &inverse);
  for (int i = 0; i < 9; ++i) {
    hash.add(forward.m[i]);
    hash.add(inverse.m[i]);
  }
}

// Through a picture file and back.
void encode_and_load(Source &source, Hash &hash) {
  const uint32_t formats[] = {TAVRINE_FORMAT_GREY, TAVRINE_FORMAT_RGB24, TAVRINE_FORMAT_NV21};
  const OwnedFrame in = source.frame(source.one_of(formats));
  const OwnedBuffer buffer(tavrine_buffer_alloc(1, TAVRINE_MEMORY_HOST));
  hash.add(tavrine_frame_encode(in.get(), source.between(1, 3), buffer.get()));
  const void *file = tavrine_buffer_raw_pointer(buffer.get());
  const size_t length = tavrine_buffer_size(buffer.get());
  hash.add(file, length);
  const OwnedFrame back(tavrine_frame_load_from_memory(file, static_cast<int32_t>(length)));
  hash.add(back.get());
}

const struct {
  const char *name;
  int calls;
  Call call;
} kOperations[] = {
    {"tavrine_frame_resize", 300,
     [](Source &s, Hash &h) {
       const int width = 2 * s.between(1, 60);
       const int height = 2 * s.between(1, 40);
       into_slot(s, h, [=](auto *in, auto **out) {
         return tavrine_frame_resize(in, out, width, height);
       });
     }},
    {"tavrine_frame_scale", 200,
     [](Source &s, Hash &h) {
       const float ratio = s.real(2);
       into_slot(s, h, [=](auto *in, auto **out) { return tavrine_frame_scale(in, out, ratio); });
     }},
    {"tavrine_frame_rotate", 200,
     [](Source &s, Hash &h) {
       const int code = s.between(-1, 3);
       into_slot(s, h, [=](auto *in, auto **out) { return tavrine_frame_rotate(in, out, code); });
     }},
    {"tavrine_frame_crop", 200,
     [](Source &s, Hash &h) {
       // Formats of four bytes leave what lies outside undefined.
       const uint32_t formats[] = {TAVRINE_FORMAT_GREY, TAVRINE_FORMAT_BGR24, TAVRINE_FORMAT_NV12,
                                   TAVRINE_FORMAT_YU12};
       const OwnedFrame in = s.frame(s.one_of(formats));
       const tavrine_area2d_t area = {2 * s.between(-20, 30), 2 * s.between(-20, 30),
                                      2 * s.between(1, 40), 2 * s.between(1, 40)};
       OwnedFrame out;
       h.add(tavrine_frame_crop(in.get(), out.slot(), area));
       h.add(out.get());
     }},
    {"tavrine_frame_cvt_color", 300,
     [](Source &s, Hash &h) {
       const uint32_t sources[] = {TAVRINE_FORMAT_GREY, TAVRINE_FORMAT_RGB24, TAVRINE_FORMAT_BGR24,
                                   TAVRINE_FORMAT_NV12, TAVRINE_FORMAT_NV21,  TAVRINE_FORMAT_YU12,
                                   TAVRINE_FORMAT_Y16};
       const OwnedFrame in = s.frame(s.one_of(sources));
       OwnedFrame out;
       h.add(tavrine_frame_cvt_color(in.get(), out.slot(), s.one_of(kEightBitFormats)));
       h.add(out.get());
     }},
    {"tavrine_frame_warpaffine", 400,
     [](Source &s, Hash &h) { warp(s, h, 6, tavrine_frame_warpaffine); }},
    {"tavrine_frame_warpperspective", 400,
     [](Source &s, Hash &h) { warp(s, h, 9, tavrine_frame_warpperspective); }},
    {"tavrine_frame_to_tensor", 300, to_tensor},
    {"tavrine_frame_transform_to_tensor_batch", 200, batch_to_tensor},
    {"tavrine_find_affine_transform", 300,
     [](Source &s, Hash &h) { find(s, h, tavrine_find_affine_transform); }},
    {"tavrine_find_similarity_transform", 300,
     [](Source &s, Hash &h) { find(s, h, tavrine_find_similarity_transform); }},
    {"tavrine_frame_encode, tavrine_frame_load_from_memory", 60, encode_and_load},
};

}  // namespace
}  // namespace tavrine::test

int main() {
  using namespace tavrine::test;
  tavrine_log_set_sink([](void *, int32_t, const char *, int32_t, const char *) {}, nullptr);
  for (const auto &operation : kOperations) {
    Source source(1);
    Hash hash;
    for (int i = 0; i < operation.calls; ++i) {
      operation.call(source, hash);
    }
    std::printf("%016" PRIx64 " %d calls of %s\n", hash.value(), operation.calls, operation.name);
  }
}
