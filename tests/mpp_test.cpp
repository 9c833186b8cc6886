// The media platform in software: what it promises to those who test against it.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <random>
#include <vector>

#include "tavrine_mpp_devkit.h"

namespace {

// A block that a test frees, or that frees itself.
class Block {
 public:
  explicit Block(uint32_t size) {
    EXPECT_EQ(HI_MPI_SYS_MmzAlloc_Cached(&physical_, &address_, "test", nullptr, size), 0);
  }
  ~Block() { free(); }
  Block(const Block &) = delete;
  Block &operator=(const Block &) = delete;

  void free() {
    if (address_ != nullptr) {
      EXPECT_EQ(HI_MPI_SYS_MmzFree(physical_, address_), 0);
    }
    address_ = nullptr;
  }

  uint64_t physical() const { return physical_; }
  uint8_t *bytes() const { return static_cast<uint8_t *>(address_); }
  int32_t flush(uint32_t offset, uint32_t size) const {
    return HI_MPI_SYS_MmzFlushCache(physical_ + offset, bytes() + offset, size);
  }

 private:
  HI_U64 physical_ = 0;
  void *address_ = nullptr;
};

// Tightly packed; chroma follows luma.
IVE_IMAGE_S image_in(const Block &block, IVE_IMAGE_TYPE_E type, uint32_t width, uint32_t height) {
  IVE_IMAGE_S image = {};
  image.enType = type;
  image.u32Width = width;
  image.u32Height = height;
  image.au32Stride[0] = image.au32Stride[1] = width;
  image.au64PhyAddr[0] = block.physical();
  image.au64PhyAddr[1] = block.physical() + width * height;
  return image;
}

class Mpp : public testing::Test {
 protected:
  void TearDown() override {
    EXPECT_EQ(tavrine_devkit_mpp_clear_faults(), 0);
    EXPECT_EQ(tavrine_devkit_live_mmz().blocks, 0);
    EXPECT_EQ(tavrine_devkit_live_mmz().bytes, 0U);
  }

  static int32_t resize(const IVE_IMAGE_S &from, const IVE_IMAGE_S &to, IVE_HANDLE *handle) {
    const Block scratch(1024);
    const IVE_RESIZE_CTRL_S control = {
        IVE_RESIZE_MODE_LINEAR, {scratch.physical(), 0, 1024}, HI_U16{1}};
    return HI_MPI_IVE_Resize(handle, &from, &to, &control, HI_TRUE);
  }
  static void finish(IVE_HANDLE handle) {
    HI_BOOL is_finished = HI_FALSE;
    ASSERT_EQ(HI_MPI_IVE_Query(handle, &is_finished, HI_TRUE), 0);
    ASSERT_EQ(is_finished, HI_TRUE);
  }
  static std::vector<uint8_t> resized(const std::vector<uint8_t> &pixels, uint32_t width,
                                      uint32_t height, uint32_t to_width, uint32_t to_height) {
    const Block from(width * height);
    const Block to(to_width * to_height);
    std::memcpy(from.bytes(), pixels.data(), pixels.size());
    EXPECT_EQ(from.flush(0, width * height), 0);
    IVE_HANDLE handle = -1;
    EXPECT_EQ(resize(image_in(from, IVE_IMAGE_TYPE_U8C1, width, height),
                     image_in(to, IVE_IMAGE_TYPE_U8C1, to_width, to_height), &handle),
              0);
    finish(handle);
    return {to.bytes(), to.bytes() + to_width * to_height};
  }

  std::mt19937 random_{4};
};

TEST_F(Mpp, FindsWhatLiesInABlock) {
  Block first(5000);
  Block second(1);
  EXPECT_EQ(first.physical(), 0x80000000U);
  EXPECT_EQ(second.physical(), 0x80002000U);
  EXPECT_EQ(tavrine_devkit_live_mmz().blocks, 2);
  EXPECT_EQ(tavrine_devkit_live_mmz().bytes, 5001U);
  SYS_VIRMEM_INFO_S info;
  std::memset(&info, 0x23, sizeof(info));
  const SYS_VIRMEM_INFO_S untouched = info;
  EXPECT_NE(HI_MPI_SYS_GetVirMemInfo(&info, &info), 0);
  EXPECT_EQ(std::memcmp(&info, &untouched, sizeof(info)), 0);
  EXPECT_EQ(HI_MPI_SYS_GetVirMemInfo(first.bytes() + 8191, &info), 0);
  EXPECT_EQ(info.u64PhyAddr, 0x80001FFFU);
  EXPECT_EQ(info.bCached, HI_TRUE);

  // Gaps are filled by what they can hold.
  first.free();
  const Block large(9000);
  const Block small(4096);
  EXPECT_EQ(large.physical(), 0x80003000U);
  EXPECT_EQ(small.physical(), 0x80000000U);

  HI_U64 physical = 1;
  void *address = &physical;
  EXPECT_NE(HI_MPI_SYS_MmzAlloc_Cached(&physical, &address, nullptr, nullptr, 0), 0);
  EXPECT_NE(HI_MPI_SYS_MmzAlloc_Cached(nullptr, &address, nullptr, nullptr, 1), 0);
  EXPECT_EQ(address, &physical);
  EXPECT_NE(HI_MPI_SYS_MmzFree(0, nullptr), 0);
  EXPECT_NE(HI_MPI_SYS_MmzFree(small.physical(), large.bytes()), 0);
  EXPECT_EQ(large.flush(12287, 1), 0);
  EXPECT_NE(large.flush(12287, 2), 0);
  EXPECT_NE(HI_MPI_SYS_MflushCache(large.physical(), large.bytes() + 64, 1), 0);
}

TEST_F(Mpp, TheEngineSeesWhatWasFlushed) {
  const Block from(64 * 64);
  const Block to(64 * 64);
  const IVE_IMAGE_S source = image_in(from, IVE_IMAGE_TYPE_U8C1, 64, 64);
  const IVE_IMAGE_S destination = image_in(to, IVE_IMAGE_TYPE_U8C1, 64, 64);
  std::memset(from.bytes(), 7, 64 * 64);
  EXPECT_EQ(from.flush(64 + 63, 2), 0);  // the second and the third line
  to.bytes()[64 + 5] = 99;               // the CPU holds the second line of the destination
  IVE_HANDLE handle = -1;
  ASSERT_EQ(resize(source, destination, &handle), 0);
  finish(handle);
  const std::vector<uint8_t> seen = {to.bytes()[0], to.bytes()[64], to.bytes()[69], to.bytes()[128],
                                     to.bytes()[192]};
  EXPECT_EQ(seen, (std::vector<uint8_t>{0, 0, 99, 7, 0}));

  // Flushing what the CPU held destroys what the engine wrote.
  EXPECT_EQ(HI_MPI_SYS_MflushCache(to.physical(), to.bytes(), 64 * 64), 0);
  ASSERT_EQ(resize(destination, source, &handle), 0);
  finish(handle);
  EXPECT_EQ(from.flush(0, 0), 0);
  EXPECT_EQ(from.bytes()[64 + 5], 99);
  EXPECT_EQ(from.bytes()[64 + 6], 0);
  EXPECT_EQ(from.bytes()[128], 7);
}

uint8_t limited(double value) {
  return static_cast<uint8_t>(std::clamp(std::floor(value + 0.5), 0.0, 255.0));
}

TEST_F(Mpp, ConvertsAsItSays) {
  constexpr uint32_t kWidth = 1920, kHeight = 1080, kPixels = kWidth * kHeight;
  const Block yuv(kPixels * 3 / 2);
  const Block rgb(kPixels * 3);
  const IVE_IMAGE_S yuv_image = image_in(yuv, IVE_IMAGE_TYPE_YUV420SP, kWidth, kHeight);
  const IVE_IMAGE_S rgb_image = image_in(rgb, IVE_IMAGE_TYPE_U8C3_PACKAGE, kWidth, kHeight);
  for (uint32_t i = 0; i < kPixels * 3 / 2; ++i) {
    yuv.bytes()[i] = static_cast<uint8_t>(random_());
  }
  yuv.flush(0, kPixels * 3 / 2);
  IVE_HANDLE handle = -1;
  IVE_CSC_CTRL_S control = {IVE_CSC_MODE_PIC_BT601_YUV2RGB};
  ASSERT_EQ(HI_MPI_IVE_CSC(&handle, &yuv_image, &rgb_image, &control, HI_FALSE), 0);
  finish(handle);
  const uint8_t *p = rgb.bytes();
  int wrong = 0;
  for (uint32_t i = 0; i < kPixels; ++i, p += 3) {
    const uint8_t *pair = yuv.bytes() + kPixels + i / kWidth / 2 * kWidth + i % kWidth / 2 * 2;
    const double y = 1192.0 * (yuv.bytes()[i] - 16), u = pair[0] - 128, v = pair[1] - 128;
    wrong += p[0] != limited((y + 1634 * v) / 1024) ||
             p[1] != limited((y - 401 * u - 832 * v) / 1024) ||
             p[2] != limited((y + 2066 * u) / 1024);
  }
  EXPECT_EQ(wrong, 0);

  control.enMode = IVE_CSC_MODE_PIC_BT601_RGB2YUV;
  ASSERT_EQ(HI_MPI_IVE_CSC(&handle, &rgb_image, &yuv_image, &control, HI_FALSE), 0);
  finish(handle);
  for (uint32_t i = 0; i < kPixels; ++i) {
    p = rgb.bytes() + 3 * i;
    wrong += yuv.bytes()[i] != limited((263.0 * p[0] + 516.0 * p[1] + 100.0 * p[2]) / 1024 + 16);
    const uint32_t x = i % kWidth, y = i / kWidth;
    if (x % 2 == 0 && y % 2 == 0) {
      const uint8_t *q = p + 3 * kWidth, *pair = yuv.bytes() + kPixels + y / 2 * kWidth + x;
      const double r = p[0] + p[3] + q[0] + q[3], g = p[1] + p[4] + q[1] + q[4],
                   b = p[2] + p[5] + q[2] + q[5];
      wrong += pair[0] != limited((-152 * r - 298 * g + 450 * b) / 4096 + 128) ||
               pair[1] != limited((450 * r - 377 * g - 73 * b) / 4096 + 128);
    }
  }
  EXPECT_EQ(wrong, 0);
}

TEST_F(Mpp, ResizesAsItSays) {
  EXPECT_EQ(resized(std::vector<uint8_t>(80 * 66, 201), 80, 66, 1920, 1080),
            std::vector<uint8_t>(1920 * 1080, 201));
  std::vector<uint8_t> picture(128 * 128);
  for (uint8_t &pixel : picture) {
    pixel = static_cast<uint8_t>(random_());
  }
  EXPECT_EQ(resized(picture, 128, 128, 128, 128), picture);

  // Twice the size: a quarter from the neighbour's side, on both axes.
  std::vector<uint8_t> twice;
  const auto at = [&](int x, int y) {
    return picture[static_cast<size_t>(std::clamp(y, 0, 127) * 128 + std::clamp(x, 0, 127))];
  };
  for (int i = 0; i < 256 * 256; ++i) {
    const int x = i % 256 / 2, y = i / 256 / 2;
    const int to_x = x + (i % 2 != 0 ? 1 : -1), to_y = y + (i / 256 % 2 != 0 ? 1 : -1);
    twice.push_back(
        limited((9 * at(x, y) + 3 * at(to_x, y) + 3 * at(x, to_y) + at(to_x, to_y)) / 16.0));
  }
  EXPECT_EQ(resized(picture, 128, 128, 256, 256), twice);
}

TEST_F(Mpp, TasksQueueAndAreCarriedOutInOrder) {
  const Block from(64 * 64);
  const Block to(TAVRINE_DEVKIT_IVE_QUEUE_DEPTH * 4096);
  const IVE_IMAGE_S source = image_in(from, IVE_IMAGE_TYPE_U8C1, 64, 64);
  IVE_IMAGE_S destination = image_in(to, IVE_IMAGE_TYPE_U8C1, 64, 64);
  std::memset(from.bytes(), 5, 64 * 64);
  from.flush(0, 64 * 64);
  IVE_HANDLE handles[TAVRINE_DEVKIT_IVE_QUEUE_DEPTH + 1] = {};
  for (IVE_HANDLE &handle : handles) {
    destination.au64PhyAddr[0] = to.physical() + static_cast<uint64_t>(4096 * (&handle - handles));
    if (&handle == handles + TAVRINE_DEVKIT_IVE_QUEUE_DEPTH) {
      destination.au64PhyAddr[0] = to.physical();
      EXPECT_EQ(to.bytes()[0], 0);
      EXPECT_EQ(resize(source, destination, &handle), HI_ERR_IVE_BUF_FULL);
      EXPECT_EQ(to.bytes()[0], 5);
    }
    ASSERT_EQ(resize(source, destination, &handle), 0);
  }
  HI_BOOL is_finished = HI_FALSE;
  EXPECT_EQ(HI_MPI_IVE_Query(handles[2], &is_finished, HI_FALSE), 0);
  EXPECT_EQ(is_finished, HI_FALSE);
  EXPECT_EQ(to.bytes()[4096] + to.bytes()[2 * 4096], 5);
  finish(handles[3]);
  EXPECT_EQ(to.bytes()[3 * 4096] + to.bytes()[4 * 4096], 5);
  EXPECT_EQ(HI_MPI_IVE_Query(handles[1], &is_finished, HI_FALSE), 0);
  EXPECT_EQ(is_finished, HI_TRUE);
  for (const IVE_HANDLE unknown : {-1, handles[TAVRINE_DEVKIT_IVE_QUEUE_DEPTH] + 1}) {
    EXPECT_EQ(HI_MPI_IVE_Query(unknown, &is_finished, HI_TRUE), TAVRINE_DEVKIT_IVE_ILLEGAL_PARAM);
  }
  EXPECT_EQ(HI_MPI_IVE_Query(handles[8], nullptr, HI_TRUE), TAVRINE_DEVKIT_IVE_NULL_POINTER);
  finish(handles[TAVRINE_DEVKIT_IVE_QUEUE_DEPTH]);

  // Memory that is gone is not written.
  auto *gone = new Block(4096);
  destination.au64PhyAddr[0] = gone->physical();
  ASSERT_EQ(resize(source, destination, &handles[0]), 0);
  delete gone;
  finish(handles[0]);
}

TEST_F(Mpp, RefusesWhatTheEngineCannotTake) {
  const Block memory(1920 * 1088 * 3);
  struct Pair {
    IVE_IMAGE_S from, to;
    int mode;
  };
  constexpr HI_S32 kType = TAVRINE_DEVKIT_IVE_NOT_SUPPORTED;
  constexpr HI_S32 kParam = TAVRINE_DEVKIT_IVE_ILLEGAL_PARAM;
  constexpr HI_S32 kAddress = TAVRINE_DEVKIT_IVE_BAD_ADDRESS;
  const std::pair<int32_t, void (*)(Pair &)> cases[] = {
      {kType, [](Pair &p) { p.mode = 10; }},
      {kType, [](Pair &p) { p.from.enType = IVE_IMAGE_TYPE_YUV420P; }},
      {kParam, [](Pair &p) { p.from.u32Width = 66; }},
      {kParam, [](Pair &p) { p.from.u32Width = p.to.u32Width = 62; }},
      {kParam, [](Pair &p) { p.from.u32Height = p.to.u32Height = 1082; }},
      {kParam, [](Pair &p) { p.from.u32Height = p.to.u32Height = 65; }},
      {kParam, [](Pair &p) { p.to.au32Stride[0] = 72; }},
      {kParam, [](Pair &p) { p.from.au32Stride[1] = 48; }},
      {kParam, [](Pair &p) { p.from.au64PhyAddr[1] += 8; }},
      {kAddress, [](Pair &p) { p.from.au64PhyAddr[0] = 0; }},
      {kAddress, [](Pair &p) { p.to.au32Stride[0] = 0x60000000; }},
      {kAddress, [](Pair &p) { p.from.au64PhyAddr[1] = ~uint64_t{15}; }},
  };
  IVE_HANDLE handle = -1;
  for (const auto &[code, change] : cases) {
    Pair pair = {image_in(memory, IVE_IMAGE_TYPE_YUV420SP, 64, 64),
                 image_in(memory, IVE_IMAGE_TYPE_U8C3_PACKAGE, 64, 64), 2};
    change(pair);
    const IVE_CSC_CTRL_S control = {static_cast<IVE_CSC_MODE_E>(pair.mode)};
    EXPECT_EQ(HI_MPI_IVE_CSC(&handle, &pair.from, &pair.to, &control, HI_TRUE), code)
        << "case " << &change - &cases[0].second;
  }
  const IVE_IMAGE_S grey = image_in(memory, IVE_IMAGE_TYPE_U8C1, 64, 64);
  const IVE_IMAGE_S packed = image_in(memory, IVE_IMAGE_TYPE_U8C3_PACKAGE, 64, 64);
  EXPECT_EQ(resize(grey, packed, &handle), kType);
  IVE_RESIZE_CTRL_S control = {IVE_RESIZE_MODE_LINEAR, {0, 0, 1024}, HI_U16{1}};
  EXPECT_EQ(HI_MPI_IVE_Resize(&handle, &grey, &grey, &control, HI_TRUE), kAddress);
  control.u16Num = 2;
  EXPECT_EQ(HI_MPI_IVE_Resize(&handle, &grey, &grey, &control, HI_TRUE), kType);
  EXPECT_EQ(HI_MPI_IVE_CSC(&handle, &grey, nullptr, nullptr, HI_TRUE),
            TAVRINE_DEVKIT_IVE_NULL_POINTER);
}

TEST_F(Mpp, OrdersAreCarriedOutAndSeen) {
  std::vector<int32_t> codes;
  tavrine_devkit_mpp_set_observer(
      [](void *arg, const tavrine_devkit_mpp_call_t *call) {
        EXPECT_STREQ(call->name, "HI_MPI_SYS_GetVirMemInfo");
        static_cast<std::vector<int32_t> *>(arg)->push_back(call->code);
      },
      &codes);
  SYS_VIRMEM_INFO_S info;
  EXPECT_EQ(tavrine_devkit_mpp_inject_fault("HI_MPI_SYS_GetVirMemInfo", 2, 2, 11, 0), 0);
  for (int call = 0; call < 4; ++call) {
    HI_MPI_SYS_GetVirMemInfo(&info, &info);
  }
  constexpr int32_t kNotFound = TAVRINE_DEVKIT_SYS_ILLEGAL_PARAM;
  EXPECT_EQ(codes, (std::vector<int32_t>{kNotFound, 11, 11, kNotFound}));
  tavrine_devkit_mpp_set_observer(nullptr, nullptr);

  const char *const alloc = "HI_MPI_SYS_MmzAlloc_Cached";
  HI_U64 physical = 0;
  void *address = nullptr;
  EXPECT_EQ(tavrine_devkit_mpp_inject_fault(alloc, 1, 1, 12, TAVRINE_DEVKIT_MPP_ITS_WORK), 0);
  EXPECT_EQ(HI_MPI_SYS_MmzAlloc_Cached(&physical, &address, nullptr, nullptr, 1), 12);
  EXPECT_EQ(HI_MPI_SYS_MmzFree(physical, address), 0);
  EXPECT_EQ(tavrine_devkit_mpp_inject_fault(alloc, 1, 0, 12, 0), -1);
  EXPECT_EQ(tavrine_devkit_mpp_inject_fault("HI_MPI_SYS_Exit", 1, 1, 12, 0), -1);
  EXPECT_EQ(tavrine_devkit_mpp_inject_fault(alloc, 1, 1, 12, 0), 0);
  EXPECT_EQ(tavrine_devkit_mpp_clear_faults(), 1);
}

}  // namespace
