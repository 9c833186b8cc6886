// Which way each kind of call takes through the kernels. All ways give the same results, so nothing
// else notices when a fast one is no longer taken. tests/kernel_paths/ has the expected names for
// each instruction set; a test that fails leaves its own list among the temporary files.
#include <algorithm>
#include <cmath>
#include <fstream>
#include <sstream>

#include "tests/kernel_support.h"
#include "tests/path_recorder.h"
#include "tests/support.h"

namespace tavrine::test {
namespace {

std::string name_of(uint32_t format) { return tavrine_frame_pixfmt_to_string(format); }

std::string text_of(int32_t width, int32_t height) {
  return std::to_string(width) + "x" + std::to_string(height);
}

class PathTest : public LibraryTest {
 protected:
  // A line for each call: what it is, and the names of its paths.
  std::string take_list() { return std::exchange(list_, {}); }

  void list_resizes(uint32_t format) {
    struct Sizes {
      int32_t width, height, to_width, to_height;
    };
    const Sizes all[] = {
        {960, 540, 640, 360},   {640, 360, 320, 180}, {640, 360, 160, 90},  {960, 540, 320, 180},
        {960, 540, 192, 108},   {320, 240, 960, 540}, {640, 480, 500, 300}, {640, 480, 240, 180},
        {1920, 1080, 300, 168}, {640, 480, 32, 32},   {64, 48, 40, 30},     {10, 8, 8, 6},
    };
    for (const Sizes &sizes : all) {
      const OwnedFrame in = frame(format, sizes.width, sizes.height);
      OwnedFrame out;
      add("resize " + name_of(format) + " " + text_of(sizes.width, sizes.height) + " to " +
              text_of(sizes.to_width, sizes.to_height),
          [&] {
            return tavrine_frame_resize(in.get(), out.slot(), sizes.to_width, sizes.to_height);
          });
    }
  }

  void list_rotations(uint32_t format) {
    for (const int32_t size : {640, 64, 20, 8}) {
      for (const int32_t code : {0, 1, 2}) {
        const OwnedFrame in = frame(format, size, size / 2 + 2);
        OwnedFrame out;
        add("rotate " + name_of(format) + " " + text_of(size, size / 2 + 2) + " by " +
                std::to_string(90 * (code + 1)),
            [&] { return tavrine_frame_rotate(in.get(), out.slot(), code); });
      }
    }
  }

  void list_conversions(uint32_t from) {
    for (const uint32_t to : {TAVRINE_FORMAT_GREY, TAVRINE_FORMAT_RGB24, TAVRINE_FORMAT_BGR24,
                              TAVRINE_FORMAT_NV12, TAVRINE_FORMAT_NV21, TAVRINE_FORMAT_YU12}) {
      for (const int32_t width : {320, 8}) {
        if (from != to) {
          const OwnedFrame in = frame(from, width, 48);
          OwnedFrame out = make_frame(to, width, 48);
          add("convert " + name_of(from) + " " + text_of(width, 48) + " to " + name_of(to),
              [&] { return tavrine_frame_cvt_color(in.get(), out.slot(), to); });
        }
      }
    }
  }

  // Rotations by 10 degrees; a scale of 2 makes the picture half as large.
  void list_warps(uint32_t format) {
    for (const float scale : {0.5F, 0.9F, 1.5F, 2.5F, 4.0F, 20.0F, 1e6F}) {
      list_warp(format, scale, 112);
    }
    list_warp(format, 1.0F, 6);
  }

  void list_tensors(uint32_t format, int32_t color_type, const char *colors) {
    for (const int32_t element_type : {TAVRINE_ELEMENT_FLOAT32, TAVRINE_ELEMENT_UINT8}) {
      // Without effect; as most networks want it; and where a vector would flush to zero.
      for (const auto &[mean, scale] :
           {std::pair{0.0F, 1.0F}, {123.675F, 58.395F}, {0.0F, 1e38F}}) {
        const OwnedFrame in = frame(format, 320, 48);
        const int32_t shape[4] = {1, color_type == TAVRINE_TENSOR_GRAY ? 1 : 3, 48, 320};
        const OwnedTensor out(tavrine_tensor_alloc(TAVRINE_MEMORY_HOST, element_type, shape));
        std::ostringstream call;
        call << "tensor of " << name_of(format) << " as " << colors << ", type " << element_type
             << ", mean " << mean << ", scale " << scale;
        add(call.str(), [&, m = mean, s = scale] {
          return tavrine_frame_to_tensor(out.get(), 0, color_type, in.get(), m, m, m, s, s, s, 0, 0,
                                         0);
        });
      }
    }
  }

 private:
  OwnedFrame frame(uint32_t format, int32_t width, int32_t height) {
    OwnedFrame result = make_frame(format, width, height);
    fill_random(result.get(), random_);
    return result;
  }

  void list_warp(uint32_t format, float scale, int32_t side) {
    const OwnedFrame in = frame(format, 640, 480);
    const OwnedFrame out = make_frame(format, side, side);
    const float a = scale * std::cos(0.1745F);
    const float b = scale * std::sin(0.1745F);
    const float matrix[9] = {a, -b, 100.0F, b, a, 50.0F, 0.0001F, 0.0002F, 1.0F};
    std::ostringstream call;
    call << " " << name_of(format) << " to " << text_of(side, side) << ", scale " << scale;
    add("affine" + call.str(),
        [&] { return tavrine_frame_warpaffine(in.get(), out.get(), matrix); });
    if (planes_of(format, side, side).size() == 1 && format != TAVRINE_FORMAT_BGRA) {
      add("perspective" + call.str(),
          [&] { return tavrine_frame_warpperspective(in.get(), out.get(), matrix); });
    }
  }

  template <typename Run>
  void add(const std::string &call, Run run) {
    const PathRecorder recorder;
    EXPECT_EQ(run(), TAVRINE_OK) << call;
    list_ += call + ": " + recorder.names() + "\n";
  }

  std::string list_;
};

std::vector<std::string> lines_of(std::istream &&text) {
  std::vector<std::string> lines;
  for (std::string line; std::getline(text, line);) {
    lines.push_back(line);
  }
  return lines;
}

// For the other sets, CMakeLists.txt runs this test with TAVRINE_INSTRUCTION_SET.
TEST_F(PathTest, EveryCallTakesItsPath) {
  const std::string file = taken_instruction_set() + ".txt";
  for (const uint32_t format : {TAVRINE_FORMAT_GREY, TAVRINE_FORMAT_RGB24, TAVRINE_FORMAT_BGRA,
                                TAVRINE_FORMAT_NV12, TAVRINE_FORMAT_YU12}) {
    list_resizes(format);
    list_rotations(format);
    list_warps(format);
    if (format != TAVRINE_FORMAT_BGRA) {
      list_conversions(format);
    }
  }
  list_tensors(TAVRINE_FORMAT_RGB24, TAVRINE_TENSOR_RGB, "RGB");
  list_tensors(TAVRINE_FORMAT_RGB24, TAVRINE_TENSOR_GRAY, "gray");
  list_tensors(TAVRINE_FORMAT_GREY, TAVRINE_TENSOR_GRAY, "gray");

  const std::string list = take_list();
  const std::vector<std::string> expected =
      lines_of(std::ifstream(std::string(TAVRINE_KERNEL_PATHS) + "/" + file));
  const std::vector<std::string> found = lines_of(std::istringstream(list));
  EXPECT_EQ(found.size(), expected.size());
  for (size_t i = 0; i < std::min(found.size(), expected.size()); ++i) {
    EXPECT_EQ(found[i], expected[i]);
  }
  if (HasFailure()) {
    const std::string copy = testing::TempDir() + "kernel-paths-" + file;
    std::ofstream(copy) << list;
    ADD_FAILURE() << "all paths: " << copy;
  }
}

TEST(InstructionSets, OfThisMachineAreFound) {
  std::string expected;
#if defined(__x86_64__)
  if (__builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma")) {
    expected += "AVX2 ";
  }
  if (__builtin_cpu_supports("sse4.2") && __builtin_cpu_supports("aes")) {
    expected += "SSE4 ";
  }
  expected += "SSSE3 SCALAR ";
#else
  expected = "NEON ";
#endif
  std::string found;
  for (const InstructionSet &set : instruction_sets()) {
    found += set.is_on_this_cpu ? set.name + std::string(" ") : "";
  }
  EXPECT_EQ(found, expected);
  // The variable names one. Without it, or where this machine does not have it, it is the best.
  const char *const forced = std::getenv(kInstructionSetVariable);
  const bool is_there = forced != nullptr && found.find(forced + std::string(" ")) != found.npos;
  EXPECT_EQ(taken_instruction_set(), is_there ? forced : found.substr(0, found.find(' ')));
}

}  // namespace
}  // namespace tavrine::test
