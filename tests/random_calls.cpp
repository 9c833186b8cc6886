#include "tests/random_calls.h"

#include <cstring>

#include "tests/jpeg_writer.h"

namespace tavrine::test {
namespace {

// Into an empty slot, and sometimes again into the frame that it then holds.
template <typename Operation>
void into_slot(RandomSource &source, Digest &digest, const tavrine_frame_t *in,
               Operation operation) {
  OwnedFrame out;
  const auto fill = [&] {
    digest.add(source.attempt([&] { return operation(in, out.slot()); }));
    digest.add(out.get());
  };
  fill();
  // A conversion may return a reference to the source's pixels.
  if (source.chance(source.variety().repeated) && out && out->planes[0] != in->planes[0]) {
    fill();
  }
}

void resize(RandomSource &source, Digest &digest) {
  int width = 2 * source.between(1, 60);
  int height = 2 * source.between(1, 40);
  uint32_t format = source.one_of(kEightBitFormats);
  if (source.is_for_engine()) {
    width = 16 * source.between(4, 10);
    height = 2 * source.between(32, 60);
    format = TAVRINE_FORMAT_GREY;
  }
  const SharedFrame in = source.input(format);
  into_slot(source, digest, in.get(),
            [=](auto *from, auto **out) { return tavrine_frame_resize(from, out, width, height); });
}

void scale(RandomSource &source, Digest &digest) {
  const float ratio = source.real(2);
  const SharedFrame in = source.input(source.one_of(kEightBitFormats));
  into_slot(source, digest, in.get(),
            [=](auto *from, auto **out) { return tavrine_frame_scale(from, out, ratio); });
}

void rotate(RandomSource &source, Digest &digest) {
  const int code = source.between(-1, 3);
  const SharedFrame in = source.input(source.one_of(kEightBitFormats));
  into_slot(source, digest, in.get(),
            [=](auto *from, auto **out) { return tavrine_frame_rotate(from, out, code); });
}

void crop(RandomSource &source, Digest &digest) {
  // Four-byte formats and Y16 leave pixels outside the source undefined.
  const uint32_t formats[] = {TAVRINE_FORMAT_GREY, TAVRINE_FORMAT_BGR24, TAVRINE_FORMAT_NV12,
                              TAVRINE_FORMAT_YU12};
  const SharedFrame in = source.input(source.one_of(formats));
  const tavrine_area2d_t area = {2 * source.between(-20, 30), 2 * source.between(-20, 30),
                                 2 * source.between(1, 40), 2 * source.between(1, 40)};
  into_slot(source, digest, in.get(),
            [=](auto *from, auto **out) { return tavrine_frame_crop(from, out, area); });
}

void cvt_color(RandomSource &source, Digest &digest) {
  const uint32_t formats[] = {TAVRINE_FORMAT_GREY, TAVRINE_FORMAT_RGB24, TAVRINE_FORMAT_BGR24,
                              TAVRINE_FORMAT_NV12, TAVRINE_FORMAT_NV21,  TAVRINE_FORMAT_YU12,
                              TAVRINE_FORMAT_Y16};
  const uint32_t engine_formats[] = {TAVRINE_FORMAT_NV12, TAVRINE_FORMAT_RGB24};
  const SharedFrame in =
      source.input(source.is_for_engine() ? source.one_of(engine_formats) : source.one_of(formats));
  const uint32_t format =
      source.is_for_engine() ? source.one_of(engine_formats) : source.one_of(kEightBitFormats);
  into_slot(source, digest, in.get(),
            [=](auto *from, auto **out) { return tavrine_frame_cvt_color(from, out, format); });
}

// Varies the first kNumbers elements of the matrix.
template <auto kOperation, int kNumbers>
void warp(RandomSource &source, Digest &digest) {
  const uint32_t format = source.one_of(kEightBitFormats);
  const SharedFrame in = source.input(format);
  const OwnedFrame out = source.frame(format);
  float matrix[9] = {1, 0, 0, 0, 1, 0, 0, 0, 1};
  for (int i = 0; i < kNumbers; ++i) {
    const bool moves = i == 2 || i == 5;
    matrix[i] += moves ? source.real(40) : i < 6 ? source.odd_number() * 0.5F : source.real(0.02F);
  }
  digest.add(source.attempt([&] { return kOperation(in.get(), out.get(), matrix); }));
  digest.add(out.get());
}

OwnedTensor make_tensor(RandomSource &source, int items, int32_t &elements) {
  const int32_t types[] = {TAVRINE_ELEMENT_FLOAT32, TAVRINE_ELEMENT_UINT8};
  const int32_t shape[4] = {items, 3, source.between(1, 24), source.between(1, 24)};
  OwnedTensor tensor(tavrine_tensor_alloc(source.tensor_memory(), source.one_of(types), shape));
  elements = items * 3 * shape[2] * shape[3];
  const size_t bytes = tensor->element_type == TAVRINE_ELEMENT_UINT8 ? 1 : 4;
  std::memset(tavrine_tensor_raw_pointer(tensor.get()), 0, static_cast<size_t>(elements) * bytes);
  return tensor;
}

void add_tensor(Digest &digest, const tavrine_tensor_t *tensor, int32_t elements) {
  const void *data = tavrine_tensor_raw_pointer(tensor);
  for (int32_t i = 0; i < elements; ++i) {
    if (tensor->element_type == TAVRINE_ELEMENT_UINT8) {
      digest.add(static_cast<int32_t>(static_cast<const uint8_t *>(data)[i]));
    } else {
      digest.add(static_cast<const float *>(data)[i]);
    }
  }
}

uint32_t tensor_format(RandomSource &source) {
  const uint32_t formats[] = {TAVRINE_FORMAT_RGB24, TAVRINE_FORMAT_BGR24};
  return source.one_of(formats);
}

void to_tensor(RandomSource &source, Digest &digest) {
  int32_t elements = 0;
  const OwnedTensor tensor = make_tensor(source, 1, elements);
  const SharedFrame in = source.input(tensor_format(source));
  const float m = source.real(200);
  const float s = source.odd_number();
  const int32_t color_type = source.between(0, 2);
  digest.add(source.attempt([&] {
    return tavrine_frame_to_tensor(tensor.get(), 0, color_type, in.get(), m, m + 1, 0, s, 2, s * 3,
                                   7, m, 9);
  }));
  add_tensor(digest, tensor.get(), elements);
}

void batch_to_tensor(RandomSource &source, Digest &digest) {
  constexpr int kItems = 3;
  int32_t elements = 0;
  const OwnedTensor tensor = make_tensor(source, kItems, elements);
  const uint32_t format = tensor_format(source);
  SharedFrame frames[kItems];
  tavrine_frame_t *pointers[kItems];
  tavrine_area2d_t areas[kItems];
  for (int i = 0; i < kItems; ++i) {
    frames[i] = source.input(format);
    pointers[i] = frames[i].get();
    areas[i] = {source.between(-20, 20), source.between(-20, 20), source.between(1, 90),
                source.between(1, 70)};
  }
  const int32_t color_type = source.between(0, 2);
  const int32_t resize_mode = source.between(0, 1);
  const float paddings[kItems][3] = {{1, 2, 3}, {40.5F, 50, 60}, {255, 0, 128}};
  float ratios[2][kItems] = {};
  OwnedBuffer workspace;
  digest.add(source.attempt([&] {
    return tavrine_frame_transform_to_tensor_batch(
        tensor.get(), color_type, kItems, pointers, areas, resize_mode, 10, 20, 30, 2, 3, 4,
        paddings, workspace.slot(), ratios[0], ratios[1]);
  }));
  digest.add(ratios, sizeof(ratios));
  add_tensor(digest, tensor.get(), elements);
}

template <auto kOperation>
void find_transform(RandomSource &source, Digest &digest) {
  tavrine_point2f_t points[6];
  for (tavrine_point2f_t &point : points) {
    point = {source.real(500), source.real(500)};
  }
  tavrine_matrix3x3f_t forward;
  tavrine_matrix3x3f_t inverse;
  kOperation(points, points + 3, &forward, &inverse);
  for (int i = 0; i < 9; ++i) {
    digest.add(forward.m[i]);
    digest.add(inverse.m[i]);
  }
}

// Encodes a picture in memory and loads it again.
void encode_and_load(RandomSource &source, Digest &digest) {
  const uint32_t formats[] = {TAVRINE_FORMAT_GREY, TAVRINE_FORMAT_RGB24, TAVRINE_FORMAT_NV21};
  const SharedFrame in = source.input(source.one_of(formats));
  const OwnedBuffer buffer(tavrine_buffer_alloc(1, TAVRINE_MEMORY_HOST));
  const int32_t format = source.between(1, 3);
  const int32_t encoded =
      source.attempt([&] { return tavrine_frame_encode(in.get(), format, buffer.get()); });
  digest.add(encoded);
  if (encoded != TAVRINE_OK) {
    return;
  }
  const void *file = tavrine_buffer_raw_pointer(buffer.get());
  const size_t length = tavrine_buffer_size(buffer.get());
  digest.add(file, length);
  OwnedFrame back;
  source.attempt([&] {
    back = OwnedFrame(tavrine_frame_load_from_memory(file, static_cast<int32_t>(length)));
    return 0;
  });
  digest.add(back.get());
}

// JPEG blocks of any coefficients, also those that no picture has.
void load_extreme_jpeg(RandomSource &source, Digest &digest) {
  constexpr int kBlocks = 4;
  JpegBits bits;
  for (int i = 0; i < kBlocks; ++i) {
    std::array<int, 64> block;
    const int max_size = source.between(1, 15);
    for (int &value : block) {
      const int magnitude = 1 << (source.between(1, max_size) - 1);
      value = magnitude + source.between(0, magnitude - 1);
      value = source.chance(50) ? value : -value;
    }
    JpegWriter::put_block(bits, block);
  }
  const std::string file =
      JpegWriter(JpegWriter::Process::kBaseline, 8 * kBlocks, 8, 1, source.between(1, 255))
          .scan({1}, 0, 63, bits.take())
          .finish();
  OwnedFrame frame;
  source.attempt([&] {
    frame =
        OwnedFrame(tavrine_frame_load_from_memory(file.data(), static_cast<int32_t>(file.size())));
    return 0;
  });
  digest.add(frame.get());
}

}  // namespace

const std::vector<RandomOperation> &random_operations() {
  static const std::vector<RandomOperation> operations = {
      {"tavrine_frame_resize", 300, resize},
      {"tavrine_frame_scale", 200, scale},
      {"tavrine_frame_rotate", 200, rotate},
      {"tavrine_frame_crop", 200, crop},
      {"tavrine_frame_cvt_color", 300, cvt_color},
      {"tavrine_frame_warpaffine", 400, warp<tavrine_frame_warpaffine, 6>},
      {"tavrine_frame_warpperspective", 400, warp<tavrine_frame_warpperspective, 9>},
      {"tavrine_frame_to_tensor", 300, to_tensor},
      {"tavrine_frame_transform_to_tensor_batch", 200, batch_to_tensor},
      {"tavrine_find_affine_transform", 300, find_transform<tavrine_find_affine_transform>},
      {"tavrine_find_similarity_transform", 300, find_transform<tavrine_find_similarity_transform>},
      {"tavrine_frame_encode, tavrine_frame_load_from_memory", 60, encode_and_load},
      {"tavrine_frame_load_from_memory of extreme JPEG files", 200, load_extreme_jpeg},
  };
  return operations;
}

uint64_t digest_of_call(const RandomOperation &operation, uint32_t seed, const Variety &variety) {
  RandomSource source(seed, variety);
  Digest digest;
  source.begin_call();
  operation.call(source, digest);
  return digest.value();
}

}  // namespace tavrine::test
