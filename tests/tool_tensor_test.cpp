// The tensor files that the tool writes.
#include <array>

#include "tests/tensor_support.h"
#include "tests/tool_support.h"

namespace tavrine::test {
namespace {

// The elements after the header, which must describe them.
std::string elements_of(const std::string &file, const std::string &type,
                        const std::string &shape) {
  const size_t header_size =
      10 + static_cast<uint8_t>(file[8]) + 256 * size_t{static_cast<uint8_t>(file[9])};
  const std::string header = file.substr(0, header_size);
  EXPECT_EQ(header.substr(0, 8), std::string("\x93NUMPY\x01\x00", 8));
  EXPECT_EQ(header_size % 64, 0U);
  EXPECT_EQ(header.back(), '\n');
  const std::string description =
      "{'descr': '" + type + "', 'fortran_order': False, 'shape': (" + shape + "), }";
  EXPECT_EQ(header.substr(10, header.find_last_not_of(" \n") - 9), description);
  return file.substr(header_size);
}

TEST_F(Tool, TensorElementsAreThoseOfTheLibrary) {
  struct Case {
    const char *arguments;
    int32_t color_type, element_type;
    std::array<float, 3> mean, scale;
  };
  constexpr int32_t kFloat = TAVRINE_ELEMENT_FLOAT32, kByte = TAVRINE_ELEMENT_UINT8;
  const Case cases[] = {
      {"", TAVRINE_TENSOR_RGB, kFloat, {0, 0, 0}, {1, 1, 1}},
      {"--color bgr --mean 124,116,104 --scale 58,57,56 --mode stretch",
       TAVRINE_TENSOR_BGR,
       kFloat,
       {124, 116, 104},
       {58, 57, 56}},
      {"--type u8 --mean 100 --scale 2,0.5,-3",
       TAVRINE_TENSOR_RGB,
       kByte,
       {100, 100, 100},
       {2, 0.5F, -3}},
      {"--color gray --mean 1.5,99,99 --scale 7",
       TAVRINE_TENSOR_GRAY,
       kFloat,
       {1.5F, 0, 0},
       {7, 1, 1}},
      {"--color gray --type u8", TAVRINE_TENSOR_GRAY, kByte, {0, 0, 0}, {1, 1, 1}},
  };
  const std::string ramp = read("ramp.rgb");
  const OwnedFrame frame = make_frame(TAVRINE_FORMAT_RGB24, kWidth, kHeight);
  set_pixels(frame.get(), {ramp.begin(), ramp.end()});
  for (const Case &test : cases) {
    SCOPED_TRACE(test.arguments);
    const bool is_gray = test.color_type == TAVRINE_TENSOR_GRAY;
    const int32_t shape[4] = {1, is_gray ? 1 : 3, kHeight, kWidth};
    const OwnedTensor tensor(tavrine_tensor_alloc(TAVRINE_MEMORY_HOST, test.element_type, shape));
    ASSERT_EQ(to_tensor(tensor.get(), 0, test.color_type, frame.get(), {test.mean, test.scale, {}}),
              0);
    const std::vector<uint8_t> bytes = bytes_of(tensor.get());
    const std::string expected(bytes.begin(), bytes.end());
    succeed(std::string("tensor ramp.png out.npy --size 32x24 ") + test.arguments);
    EXPECT_TRUE(elements_of(read("out.npy"), test.element_type == kFloat ? "<f4" : "|u1",
                            is_gray ? "1, 1, 24, 32, " : "1, 3, 24, 32, ") == expected);
  }
}

TEST_F(Tool, TensorOfYuvTakesItsLuma) {
  const std::string frame = read("ramp.rgb").substr(0, kWidth * kHeight * 3 / 2);
  write("frame.nv12", frame);
  succeed("tensor --in NV12:32x24 frame.nv12 out.npy --size 32x24 --color gray --type u8");
  EXPECT_TRUE(elements_of(read("out.npy"), "|u1", "1, 1, 24, 32, ") ==
              frame.substr(0, kWidth * kHeight));
  succeed("convert --in NV12:32x24 frame.nv12 frame.png");
  succeed("tensor --in NV12:32x24 frame.nv12 direct.npy --size 20x20");
  succeed("tensor frame.png explicit.npy --size 20x20");
  EXPECT_NE(read("direct.npy"), "");
  EXPECT_TRUE(read("direct.npy") == read("explicit.npy"));
}

TEST_F(Tool, TensorOfRegionsHasEveryElementDefined) {
  // A region as large as an image, one that reaches outside, and a strip.
  write("regions.txt", "# faces\n\n 8, 4 ,8,6 # the first\r\n-4,-3,8,6\n\t0,0,32,12\n");
  const std::string ramp = read("ramp.rgb");
  struct Case {
    const char *arguments;
    std::array<size_t, 3> channels;
    std::array<uint8_t, 3> padding;
  };
  const Case cases[] = {{"--pad 10,20,30", {0, 1, 2}, {10, 20, 30}},
                        {"--color bgr --pad 10,20,30", {2, 1, 0}, {30, 20, 10}},
                        {"--pad 7", {0, 1, 2}, {7, 7, 7}}};
  for (const Case &test : cases) {
    SCOPED_TRACE(test.arguments);
    succeed("tensor ramp.png out.npy --size 8x6 --type u8 --regions regions.txt " +
            std::string(test.arguments));
    const std::string elements = elements_of(read("out.npy"), "|u1", "3, 3, 6, 8, ");
    ASSERT_EQ(elements.size(), 3U * 3 * 6 * 8);
    for (size_t c = 0; c < 3; ++c) {
      for (size_t y = 0; y < 6; ++y) {
        for (size_t x = 0; x < 8; ++x) {
          const auto element = [&](size_t n) { return elements[((n * 3 + c) * 6 + y) * 8 + x]; };
          const auto pixel = [&](size_t column, size_t row) {
            return ramp[(row * kWidth + column) * 3 + test.channels[c]];
          };
          const auto padding = static_cast<char>(test.padding[c]);
          ASSERT_EQ(element(0), pixel(x + 8, y + 4)) << c << " " << x << " " << y;
          ASSERT_EQ(element(1), x < 4 || y < 3 ? padding : pixel(x - 4, y - 3));
          if (y >= 3) {  // 32x12 fits as 8x3
            ASSERT_EQ(element(2), padding);
          }
        }
      }
    }
  }
  // Stretched regions cover everything, so the padding does not matter.
  for (const std::string padding : {"1", "2"}) {
    succeed("tensor ramp.png stretched" + padding + ".npy --size 9x20 --mode stretch --pad " +
            padding);
  }
  EXPECT_NE(read("stretched1.npy"), "");
  EXPECT_TRUE(read("stretched1.npy") == read("stretched2.npy"));
}

TEST_F(Tool, TensorFailuresNameFileAndPlace) {
  write("kept.npy", "what was there before");
  const std::pair<const char *, const char *> regions[] = {
      {"0,0,8,8\n1,2,3\n", "r.txt: line 2: '1,2,3' is not X,Y,WIDTH,HEIGHT"},
      {"# one\n\n0,0,8,8.5\n", "r.txt: line 3: '0,0,8,8.5' is not"},
      {"\xEF\xBB\xBF"
       "0,0,8,0\n",
       "r.txt: line 1: sizes must be positive"},
      {"\xFF\xFE"
       "0,0,8,8\n",
       "r.txt: line 1: '\\xFF\\xFE0,0,8,8' is not"},
      {"0,0,8,8 9\n", "r.txt: line 1: '0,0,8,8 9' is not"},
      {"0,0,8,0\n", "r.txt: line 1: sizes must be positive"},
      {"0,0,8,8\n\n32,0,8,8", "r.txt: line 3: the area lies outside the picture of 32x24"},
      {"0,-8,8,8", "r.txt: line 1: the area lies outside the picture of 32x24"},
      {"# none\n", "r.txt: read regions: the file has no regions"},
  };
  for (const auto &[text, line] : regions) {
    SCOPED_TRACE(text);
    write("r.txt", text);
    expect_failure("tensor ramp.png kept.npy --size 8x8 --regions r.txt", line);
  }
  write("eight.bgra", "12345678");
  const std::pair<const char *, const char *> refusals[] = {
      {"ramp.png kept.npy --size 8x8 --regions none.txt",
       "none.txt: read regions: No such file or directory"},
      {"ramp.png kept.npy --size 8x8 --regions .", ".: read regions: Is a directory"},
      {"--in BGRA:2x1 eight.bgra kept.npy --size 8x8",
       "eight.bgra: convert to RGB24: BGRA cannot be converted"},
      {"ramp.png kept.npy --size 40000x40000",
       "ramp.png: tensor: no memory for 1 images of 40000x40000"},
      {"ramp.png missing/new.npy --size 8x8", "missing/new.npy: save: No such file or directory"},
  };
  for (const auto &[arguments, line] : refusals) {
    expect_failure(std::string("tensor ") + arguments, line);
  }
  expect_failure("tensor ramp.png kept.npy --size 64x64", "kept.npy: save: File too large\n",
                 "ulimit -f 8; trap '' XFSZ; ");
}

}  // namespace
}  // namespace tavrine::test
