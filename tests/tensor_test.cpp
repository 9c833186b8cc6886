#include "tests/tensor_support.h"

namespace tavrine::test {
namespace {

constexpr int32_t kElementTypes[] = {TAVRINE_ELEMENT_FLOAT32, TAVRINE_ELEMENT_UINT8};
constexpr Preprocessing kUnchanged = {{0, 0, 0}, {1, 1, 1}, {1, 2, 3}};
constexpr Preprocessing kTypical = {
    {123.675F, 116.28F, 103.53F}, {58.395F, 57.12F, 57.375F}, {-2.5F, 114.9F, 260.7F}};
constexpr Preprocessing kExtreme = {
    {300, -7.5F, 0.25F}, {-0.37F, 1e-8F, 3e-39F}, {1e20F, -1e20F, 4294967040.0F}};

class Tensors : public LibraryTest {
 protected:
  void expect_message(const std::string &text, int32_t level) {
    expect_log(level, "aux", "[tavrine_frame_to_tensor] " + text + "\n");
  }
};

TEST_F(Tensors, EqualTheDefinition) {
  const struct {
    int32_t color_type;
    uint32_t format;
  } pairs[] = {
      {TAVRINE_TENSOR_BGR, TAVRINE_FORMAT_RGB24}, {TAVRINE_TENSOR_BGR, TAVRINE_FORMAT_BGR24},
      {TAVRINE_TENSOR_RGB, TAVRINE_FORMAT_RGB24}, {TAVRINE_TENSOR_RGB, TAVRINE_FORMAT_BGR24},
      {TAVRINE_TENSOR_GRAY, TAVRINE_FORMAT_GREY}, {TAVRINE_TENSOR_GRAY, TAVRINE_FORMAT_RGB24},
      {TAVRINE_TENSOR_GRAY, TAVRINE_FORMAT_BGR24}};
  constexpr Rectangle kImage = {0, 0, 21, 17};
  for (const auto &[color_type, format] : pairs) {
    for (const int32_t element_type : kElementTypes) {
      for (const auto &[width, height] : {std::pair{21, 17}, {30, 9}, {1, 1}, {5, 40}, {33, 18}}) {
        const PaddedFrame in = make_padded_frame(format, width, height, random_);
        for (const Preprocessing &preprocessing : {kUnchanged, kTypical, kExtreme}) {
          const PaddedTensor tensor(element_type, {2, 4, kImage.height, kImage.width});
          Elements expected = tensor.elements();
          tensor.expect_frame(expected, 1, kImage, color_type, in.frame.get(), preprocessing);
          const auto offset = static_cast<uint32_t>(tensor.get()->strides[0]);
          ASSERT_EQ(to_tensor(tensor.get(), offset, color_type, in.frame.get(), preprocessing), 0);
          ASSERT_EQ(tensor.elements(), expected)
              << color_type << " " << tavrine_frame_pixfmt_to_string(format) << " " << element_type
              << " " << width << "x" << height << " mean " << preprocessing.mean[0];
        }
      }
    }
  }
  EXPECT_TRUE(take_log().empty());
}

TEST_F(Tensors, FrameInAnotherMemory) {
  OwnedFrame host = make_frame(TAVRINE_FORMAT_BGR24, 19, 8);
  fill_random(host.get(), random_);
  const OwnedFrame device = on_device(host.get());
  const int32_t shape[4] = {1, 3, 9, 17};
  constexpr size_t kBytes = sizeof(float) * 3 * 9 * 17;
  const auto filled = [&](int32_t memory, const OwnedFrame &frame, int32_t result) {
    OwnedTensor tensor(tavrine_tensor_alloc(memory, TAVRINE_ELEMENT_FLOAT32, shape));
    EXPECT_EQ(to_tensor(tensor.get(), 0, TAVRINE_TENSOR_RGB, frame.get(), kTypical), result);
    return bytes_of(tensor.get());
  };
  const std::vector<uint8_t> expected = filled(TAVRINE_MEMORY_HOST, host, 0);
  EXPECT_EQ(filled(TAVRINE_MEMORY_DEVICE, device, 0), expected);
  EXPECT_TRUE(take_log().empty());

  const std::string text =
      "Memory type not match between frame and tensor, will follow tensor memory type: ";
  tavrine_devkit_guard_device_memory(1);  // the CPU must read a copy
  EXPECT_EQ(filled(TAVRINE_MEMORY_HOST, device, 0), expected);
  tavrine_devkit_guard_device_memory(0);
  expect_message(text + "0.", 0);
  EXPECT_EQ(filled(TAVRINE_MEMORY_DEVICE, host, 0), expected);
  expect_message(text + "1.", 0);

  tavrine_devkit_inject_fault("tavrine_frame_upload", 1);
  const std::vector<uint8_t> untouched(kBytes, 0xA5);
  EXPECT_EQ(filled(TAVRINE_MEMORY_DEVICE, host, TAVRINE_DEVKIT_INJECTED_FAILURE), untouched);
  expect_message(text + "1.", 0);
}

TEST_F(Tensors, RefusalsWriteNothing) {
  const OwnedFrame rgb = make_frame(TAVRINE_FORMAT_RGB24, 4, 4);
  const OwnedFrame grey = make_frame(TAVRINE_FORMAT_GREY, 4, 4);
  const OwnedFrame nv12 = make_frame(TAVRINE_FORMAT_NV12, 4, 4);
  const PaddedTensor floats(TAVRINE_ELEMENT_FLOAT32, {1, 3, 4, 4});
  const PaddedTensor signed_bytes(TAVRINE_ELEMENT_INT8, {1, 3, 4, 4});
  const PaddedTensor one_channel(TAVRINE_ELEMENT_UINT8, {1, 1, 4, 4});
  const Elements before = floats.elements();

  EXPECT_EQ(to_tensor(signed_bytes.get(), 0, 1, rgb.get(), kTypical), -1000);
  EXPECT_EQ(to_tensor(signed_bytes.get(), 0, 2, grey.get(), kTypical), -1000);
  EXPECT_EQ(to_tensor(one_channel.get(), 0, 0, rgb.get(), kTypical), -1);
  EXPECT_EQ(to_tensor(one_channel.get(), 0, 2, rgb.get(), kTypical), 0);
  OwnedFrame broken = make_frame(TAVRINE_FORMAT_RGB24, 4, 4);
  broken->strides[0] = 11;
  EXPECT_EQ(to_tensor(floats.get(), 0, 1, broken.get(), kTypical), -1);
  broken->planes[0] = nullptr;
  EXPECT_EQ(to_tensor(floats.get(), 0, 1, broken.get(), kTypical), -1);
  tavrine_tensor_t wrong = *floats.get();
  wrong.strides[1] = -4;
  EXPECT_EQ(to_tensor(&wrong, 0, 1, rgb.get(), kTypical), -1);
  EXPECT_TRUE(take_log().empty());

  EXPECT_EQ(to_tensor(floats.get(), 0, 1, grey.get(), kTypical), -1000);
  expect_message("RGB/GBR tensor needs RGB/BGR frame, given frame's format: GREY", 4);
  EXPECT_EQ(to_tensor(floats.get(), 0, 2, nv12.get(), kTypical), -1000);
  expect_message("GRAY tensor needs RGB/BGR/GRAY frame, given frame's format: NV12", 4);
  for (const int32_t unknown : {-1, 3}) {
    EXPECT_EQ(to_tensor(floats.get(), 0, unknown, rgb.get(), kTypical), -1000);
    expect_message("Unknown tensor color type: " + std::to_string(unknown), 4);
  }
  EXPECT_EQ(floats.elements(), before);
}

}  // namespace
}  // namespace tavrine::test
