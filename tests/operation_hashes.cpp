// Prints hashes of the results of all operations, a line for each kind of call. Every build must
// print the lines of tests/operation-hashes.txt: a frame gives the same bytes on every machine and
// with every revision.
#include <cinttypes>
#include <cstdio>

#include "tests/operation_table.h"
#include "tests/random_calls.h"

namespace tavrine::test {
namespace {

void print(const Digest &digest, size_t calls, const char *kind) {
  std::printf("%016" PRIx64 " %zu calls %s\n", digest.value(), calls, kind);
}

void hash_random_calls() {
  const Variety none;
  for (const RandomOperation &operation : random_operations()) {
    RandomSource source(1, none);
    Digest digest;
    for (int i = 0; i < operation.calls; ++i) {
      operation.call(source, digest);
    }
    print(digest, static_cast<size_t>(operation.calls),
          (std::string("of ") + operation.name).c_str());
  }
}

void add(Digest &digest, const CallResult &result) {
  digest.add(result.code);
  digest.add(result.bytes.data(), result.bytes.size());
}

CallResult run_on_device_frames(const TableCall &call) {
  const OwnedFrame picture = make_frame(call.in_format, call.in_width, call.in_height);
  set_source_pixels(picture.get());
  const OwnedFrame in = on_device(picture.get());
  if (call.out_format == 0) {
    return call.run(in.get(), nullptr);
  }
  const OwnedFrame before = make_frame(call.out_format, call.out_width, call.out_height);
  fill(before.get(), 0xA5);
  const OwnedFrame out = on_device(before.get());
  return call.run(in.get(), out.get());
}

// With the pixels around the result.
CallResult run_inside_larger_frames(const TableCall &call) {
  Random random(1);
  const PaddedFrame in = make_padded_frame(call.in_format, call.in_width, call.in_height, random);
  set_source_pixels(in.frame.get());
  if (call.out_format == 0) {
    return call.run(in.frame.get(), nullptr);
  }
  const PaddedFrame out =
      make_padded_frame(call.out_format, call.out_width, call.out_height, random);
  const int32_t code = call.run(in.frame.get(), out.frame.get()).code;
  return {code, pixels_of(out.parent.get())};
}

// All operations with all formats, on sources of these sizes.
void hash_table(const char *kind, const std::vector<std::pair<int, int>> &sizes,
                CallResult (*run)(const TableCall &call)) {
  Digest digest;
  size_t calls = 0;
  for (const auto &[width, height] : sizes) {
    for (const TableCall &call : all_calls(width, height)) {
      add(digest, run(call));
      ++calls;
    }
  }
  print(digest, calls, kind);
}

// Frames of which most values are rare, or of which all are equal, up to more pixels than there are
// values.
void hash_y16() {
  Digest digest;
  size_t calls = 0;
  Random random(16);
  for (const auto &[width, height] : {std::pair{1, 1}, {7, 3}, {64, 48}, {320, 206}, {641, 480}}) {
    for (const uint32_t values : {1U, 2U, 300U, 65536U}) {
      const OwnedFrame in = make_frame(TAVRINE_FORMAT_Y16, width, height);
      std::vector<uint8_t> pixels;
      for (int i = 0; i < width * height; ++i) {
        const uint32_t value = (random() % values * 7919U) & 0xFFFFU;
        pixels.push_back(static_cast<uint8_t>(value & 0xFFU));
        pixels.push_back(static_cast<uint8_t>(value >> 8U));
      }
      set_pixels(in.get(), pixels);
      OwnedFrame out;
      digest.add(tavrine_frame_cvt_color(in.get(), out.slot(), TAVRINE_FORMAT_GREY));
      digest.add(out.get());
      ++calls;
    }
  }
  print(digest, calls, "on Y16 frames");
}

// Too slow for all of the table under emulation.
void hash_large_frames() {
  Digest digest;
  size_t calls = 0;
  const auto add_result = [&](int32_t code, const OwnedFrame &out) {
    digest.add(code);
    digest.add(out.get());
    ++calls;
  };
  for (const uint32_t format : {TAVRINE_FORMAT_GREY, TAVRINE_FORMAT_BGR24, TAVRINE_FORMAT_NV12}) {
    const OwnedFrame in = make_frame(format, 4096, 2048);
    set_source_pixels(in.get());
    for (const auto &[width, height] :
         {std::pair{3072, 1536}, {2048, 1024}, {1024, 512}, {300, 168}}) {
      OwnedFrame out;
      add_result(tavrine_frame_resize(in.get(), out.slot(), width, height), out);
    }
    OwnedFrame rotated;
    add_result(tavrine_frame_rotate(in.get(), rotated.slot(), TAVRINE_ROTATE_90), rotated);
    // The far corner, where positions need the most bits.
    const OwnedFrame corner = make_frame(format, 256, 256);
    constexpr float kAffine[6] = {0.9F, 0.2F, 3800, -0.2F, 0.9F, 1900};
    add_result(tavrine_frame_warpaffine(in.get(), corner.get(), kAffine), corner);
    constexpr float kPerspective[9] = {0.9F, 0.2F, 3800, -0.2F, 0.9F, 1900, 1e-5F, -1e-5F, 1};
    add_result(tavrine_frame_warpperspective(in.get(), corner.get(), kPerspective), corner);
  }
  print(digest, calls, "on frames of 4096x2048");
}

}  // namespace
}  // namespace tavrine::test

int main() {
  using namespace tavrine::test;
  tavrine_log_set_sink([](void *, int32_t, const char *, int32_t, const char *) {}, nullptr);
  hash_random_calls();
  hash_table("on tiny frames", {{1, 1}, {2, 2}, {3, 1}, {1, 4}, {4, 2}, {5, 3}, {8, 6}},
             run_on_ordinary_frames);
  hash_table("on frames of 161x121 and 322x124", {{161, 121}, {322, 124}}, run_on_ordinary_frames);
  hash_table("on frames of 4096x2 and 2x4096", {{4096, 2}, {2, 4096}}, run_on_ordinary_frames);
  hash_table("between parts of larger frames, with the pixels around", {{34, 18}, {67, 35}},
             run_inside_larger_frames);
  hash_table("on device frames, some by the software engine", {{128, 72}, {66, 34}},
             run_on_device_frames);
  hash_y16();
  hash_large_frames();
  return 0;
}
