#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <string>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

#include "common/owned.h"
#include "tavrine_devkit.h"
#include "tavrine_mpp_devkit.h"

namespace {

using tavrine::OwnedBuffer;
using tavrine::OwnedFrame;
using OwnedTensor = tavrine::Owned<tavrine_tensor_t, tavrine_tensor_free>;

constexpr int32_t kHost = TAVRINE_MEMORY_HOST, kDevice = TAVRINE_MEMORY_DEVICE;
constexpr uint64_t kExtra = 0x123456789ABCDEF0;

struct Request {
  int32_t memory;
  uint32_t format;
  int32_t width, height;
  int32_t strides[4];
};

OwnedFrame alloc(const Request &r) {
  return OwnedFrame(tavrine_frame_alloc(r.memory, r.format, r.width, r.height, r.strides, kExtra));
}

OwnedFrame make(const Request &r, void *data, int *released = nullptr) {
  const tavrine_release_fn count = [](void *arg) { ++*static_cast<int *>(arg); };
  return OwnedFrame(tavrine_frame_make(r.memory, r.format, data, r.width, r.height, r.strides,
                                       kExtra, released != nullptr ? count : nullptr, released));
}

uint8_t *bytes_of(const OwnedFrame &frame, int32_t plane) {
  return static_cast<uint8_t *>(frame->planes[plane]);
}

// The system call fails where an access by this process would crash.
bool is_readable(const void *path) {
  return access(static_cast<const char *>(path), F_OK) == 0 || errno != EFAULT;
}

class DevkitCore : public testing::Test {
 protected:
  void TearDown() override {
    tavrine_devkit_guard_device_memory(0);
    EXPECT_EQ(tavrine_devkit_clear_faults(), 0);
    const tavrine_devkit_objects_t live = tavrine_devkit_live_objects();
    EXPECT_EQ(live.frames + live.buffers + live.tensors + live.storage_blocks, 0);
  }
};

TEST_F(DevkitCore, PlacesThePlanesOfNewFrames) {
  // The stride and offset of each plane, and the size without padding.
  const std::tuple<Request, std::string, size_t> cases[] = {
      {{kHost, TAVRINE_FORMAT_Y16, 5, 3, {}}, "10@0 ", 30},
      {{kHost, TAVRINE_FORMAT_NV21, 5, 3, {}}, "5@0 4@15 ", 19},
      {{kHost, TAVRINE_FORMAT_YU12, 5, 3, {}}, "5@0 2@15 2@17 ", 19},
      {{kHost, TAVRINE_FORMAT_NV12, 6, 4, {10}}, "10@0 10@40 ", 36},
      {{kHost, TAVRINE_FORMAT_YU12, 6, 4, {10, 0, 7}}, "10@0 5@40 7@50 ", 36},
      {{kDevice, TAVRINE_FORMAT_BGR24, 17, 3, {}}, "96@0 ", 153},
      {{kDevice, TAVRINE_FORMAT_NV12, 18, 4, {}}, "32@0 32@128 ", 108},
      {{kDevice, TAVRINE_FORMAT_YU12, 18, 4, {}}, "32@0 16@128 16@160 ", 108},
  };
  for (const auto &[r, expected, inferred_size] : cases) {
    const OwnedFrame frame = alloc(r);
    const OwnedFrame copy(tavrine_frame_duplicate(frame.get()));
    ASSERT_TRUE(copy) << expected;
    std::string layout;
    for (int32_t plane = 0; plane < frame->plane_count; ++plane) {
      const ptrdiff_t offset = bytes_of(frame, plane) - bytes_of(frame, 0);
      layout += std::to_string(frame->strides[plane]) + "@" + std::to_string(offset) + " ";
    }
    EXPECT_EQ(layout, expected);
    EXPECT_EQ(tavrine_frame_inferred_size(r.format, r.width, r.height), inferred_size);
    EXPECT_EQ(tavrine_frame_is_contiguous(frame.get()), r.memory == kHost && r.strides[0] == 0);
    EXPECT_EQ(tavrine_frame_is_contiguous(copy.get()), 1);
  }
}

TEST_F(DevkitCore, RefusesImpossibleFramesAndAreas) {
  const Request requests[] = {
      {2, TAVRINE_FORMAT_GREY, 4, 4, {}},         {kHost, 0, 4, 4, {}},
      {kHost, TAVRINE_FORMAT_GREY, 0, 4, {}},     {kHost, TAVRINE_FORMAT_GREY, 4, -1, {}},
      {kHost, TAVRINE_FORMAT_RGB24, 4, 4, {11}},  {kHost, TAVRINE_FORMAT_GREY, 4, 4, {-4}},
      {kHost, TAVRINE_FORMAT_NV12, 4, 4, {4, 3}}, {kHost, TAVRINE_FORMAT_ARGB, INT32_MAX, 1, {}},
  };
  int released = 0;
  uint8_t pixel;
  for (const Request &request : requests) {
    EXPECT_FALSE(alloc(request) || make(request, &pixel, &released)) << &request - requests;
  }
  EXPECT_FALSE(make({kHost, TAVRINE_FORMAT_GREY, 1, 1, {}}, nullptr, &released));
  EXPECT_EQ(released, 0);
  // The bytes of a row, and of a frame, would overflow to small numbers.
  EXPECT_FALSE(alloc({kDevice, TAVRINE_FORMAT_BGR24, INT32_MAX / 3, 1, {}}));
  EXPECT_FALSE(alloc({kHost, TAVRINE_FORMAT_ARGB, 65536, 16384, {}}));

  const OwnedFrame frame = alloc({kHost, TAVRINE_FORMAT_NV12, 7, 7, {}});
  const tavrine_area2d_t areas[] = {{1, 0, 2, 2},  {0, 1, 2, 2}, {0, 0, 0, 2},
                                    {-2, 0, 4, 4}, {0, 4, 2, 4}, {2, 2, INT32_MAX, 2}};
  for (const tavrine_area2d_t &a : areas) {
    EXPECT_EQ(tavrine_frame_roi(frame.get(), a.x, a.y, a.width, a.height), nullptr) << &a - areas;
  }
  // The odd corner has luma only.
  const OwnedFrame corner(tavrine_frame_roi(frame.get(), 6, 6, 1, 1));
  EXPECT_EQ(tavrine_frame_reset(corner.get(), 0), 0);
}

TEST_F(DevkitCore, RecordsShareWrappedPixelsUntilTheLastIsFreed) {
  std::vector<uint8_t> pixels(54);
  int released = 0;
  OwnedFrame frame = make({kHost, TAVRINE_FORMAT_YU12, 6, 6, {}}, pixels.data(), &released);
  OwnedFrame luma(tavrine_frame_ref(frame.get()));
  OwnedFrame area(tavrine_frame_roi(frame.get(), 2, 4, 3, 2));
  frame.reset();
  const tavrine_devkit_objects_t live = tavrine_devkit_live_objects();
  EXPECT_EQ(live.frames * 10 + live.storage_blocks, 21);
  EXPECT_EQ(tavrine_frame_reset(area.get(), 0x1FF), 0);
  EXPECT_EQ(std::count(pixels.begin(), pixels.end(), 0xFF), 3 * 2 + 1 + 1);
  EXPECT_EQ(pixels[4 * 6 + 2] & pixels[36 + 2 * 3 + 1] & pixels[45 + 2 * 3 + 1], 0xFF);
  luma->pixel_format = TAVRINE_FORMAT_GREY;
  luma->plane_count = 1;
  EXPECT_EQ(tavrine_frame_reset(luma.get(), 3), 0);
  EXPECT_EQ(std::count(pixels.begin(), pixels.end(), 3), 36);
  area.reset();
  EXPECT_EQ(released, 0);
  luma.reset();
  EXPECT_EQ(released, 1);
}

TEST_F(DevkitCore, TransfersOnlyPixels) {
  for (const uint32_t format : {TAVRINE_FORMAT_YU12, TAVRINE_FORMAT_NV21, TAVRINE_FORMAT_RGB24}) {
    std::vector<uint8_t> pixels(tavrine_frame_inferred_size(format, 22, 6));
    std::vector<uint8_t> result(pixels.size(), 7);
    for (size_t index = 0; index < pixels.size(); ++index) {
      pixels[index] = static_cast<uint8_t>(8 + index * 37 % 199);
    }
    const OwnedFrame whole = make({kHost, format, 22, 6, {}}, pixels.data());
    const OwnedFrame source(tavrine_frame_roi(whole.get(), 2, 2, 18, 4));
    OwnedFrame device, copy;
    OwnedFrame target = make({kHost, format, 22, 6, {}}, result.data());
    tavrine_devkit_guard_device_memory(1);
    ASSERT_EQ(tavrine_frame_upload(source.get(), device.slot()), 0);
    ASSERT_EQ(tavrine_frame_copy(device.get(), copy.slot()), 0);
    ASSERT_EQ(tavrine_frame_download(copy.get(), target.slot()), 0);
    ASSERT_EQ(tavrine_frame_copy(target.get(), target.slot()), 0);
    EXPECT_EQ(copy->extra, kExtra);
    EXPECT_FALSE(is_readable(copy->planes[0]));
    tavrine_devkit_guard_device_memory(0);
    EXPECT_TRUE(is_readable(copy->planes[0]));

    // The pixels are in the top left part of the larger frame; its other bytes are unchanged.
    OwnedFrame part(tavrine_frame_roi(target.get(), 0, 0, 18, 4));
    part = OwnedFrame(tavrine_frame_duplicate(part.get()));
    copy = OwnedFrame(tavrine_frame_duplicate(source.get()));
    const size_t bytes = tavrine_frame_inferred_size(format, 18, 4);
    EXPECT_TRUE(std::equal(bytes_of(part, 0), bytes_of(part, 0) + bytes, bytes_of(copy, 0)));
    EXPECT_EQ(std::count(result.begin(), result.end(), 7), result.size() - bytes);
  }
}

TEST_F(DevkitCore, RefusesMismatchedTransfers) {
  OwnedFrame host = alloc({kHost, TAVRINE_FORMAT_NV12, 4, 4, {}}), none;
  OwnedFrame small = alloc({kHost, TAVRINE_FORMAT_NV12, 4, 2, {}});
  OwnedFrame device = alloc({kDevice, TAVRINE_FORMAT_NV12, 4, 4, {}});
  EXPECT_EQ(tavrine_frame_copy(host.get(), device.slot()), -1);
  EXPECT_EQ(tavrine_frame_copy(host.get(), small.slot()), -1);
  EXPECT_EQ(tavrine_frame_copy(nullptr, none.slot()), -1);
  EXPECT_EQ(tavrine_frame_copy(host.get(), nullptr), -1);
  EXPECT_EQ(tavrine_frame_download(host.get(), none.slot()), -1);
  EXPECT_EQ(tavrine_frame_upload(device.get(), none.slot()), -1);
  void (*const damages[])(tavrine_frame_t &) = {
      [](tavrine_frame_t &frame) { frame.planes[1] = nullptr; },
      [](tavrine_frame_t &frame) { frame.strides[1] = 3; },
      [](tavrine_frame_t &frame) { frame.strides[0] = INT32_MIN; },
      [](tavrine_frame_t &frame) { frame.pixel_format = TAVRINE_FORMAT_YU12; },
  };
  for (const auto &damage : damages) {
    OwnedFrame broken(tavrine_frame_ref(host.get()));
    damage(*broken.get());
    EXPECT_EQ(tavrine_frame_copy(broken.get(), none.slot()), -1);
    EXPECT_EQ(tavrine_frame_copy(host.get(), broken.slot()), -1);
    EXPECT_EQ(tavrine_frame_roi(broken.get(), 0, 0, 2, 2), nullptr);
  }
  EXPECT_FALSE(none);
}

TEST_F(DevkitCore, BuffersKeepTheirBytesWhenResized) {
  uint8_t bytes[4] = {1, 2, 3, 4};
  const OwnedBuffer wrap(tavrine_buffer_make(bytes, 4, kHost, nullptr, nullptr));
  EXPECT_EQ(tavrine_buffer_resize(wrap.get(), 5), -1);
  EXPECT_EQ(tavrine_buffer_resize(wrap.get(), 2), 0);
  EXPECT_EQ(tavrine_buffer_set(wrap.get(), 9) + bytes[1] * 10 + bytes[2], 93);
  for (const int32_t mem_type : {kHost, kDevice}) {
    const OwnedBuffer buffer(tavrine_buffer_alloc(0, mem_type));
    ASSERT_EQ(tavrine_buffer_resize(buffer.get(), 10), 0);
    ASSERT_EQ(tavrine_buffer_set(buffer.get(), 5), 0);
    // Bytes that a shrink cut off do not reappear, in place or after reallocation.
    for (const size_t size : {4U, 8U, 4U, 5000U}) {
      ASSERT_EQ(tavrine_buffer_resize(buffer.get(), size), 0);
      const auto *now = static_cast<const uint8_t *>(tavrine_buffer_raw_pointer(buffer.get()));
      EXPECT_EQ(std::count(now, now + size, 5), 4) << size;
    }
    EXPECT_EQ(tavrine_buffer_resize(buffer.get(), SIZE_MAX), -4);
    ASSERT_EQ(tavrine_buffer_size(buffer.get()), 5000u);
    const auto *data = static_cast<const uint8_t *>(tavrine_buffer_raw_pointer(buffer.get()));
    EXPECT_EQ(std::string(data, data + 4), "\5\5\5\5");
    EXPECT_EQ(std::count(data, data + 5000, 5), 4);
  }
}

// The engine reads memory, not the CPU's cache.
TEST_F(DevkitCore, EveryChangeOfDeviceMemoryIsFlushed) {
  using Range = std::pair<const uint8_t *, uint32_t>;
  std::vector<Range> flushed;
  tavrine_devkit_mpp_set_observer(
      [](void *arg, const tavrine_devkit_mpp_call_t *call) {
        if (std::string(call->name) == "HI_MPI_SYS_MmzFlushCache") {
          static_cast<std::vector<Range> *>(arg)->push_back(
              {static_cast<const uint8_t *>(call->address), call->length});
        }
      },
      &flushed);
  const auto expect_flush = [&](const char *change, const void *data, size_t size) {
    const auto *begin = static_cast<const uint8_t *>(data);
    EXPECT_TRUE(std::any_of(flushed.begin(), flushed.end(), [&](const Range &range) {
      return range.first <= begin && range.first + range.second >= begin + size;
    })) << change;
    flushed.clear();
  };

  const OwnedBuffer buffer(tavrine_buffer_alloc(100, kDevice));
  const auto bytes = [&] { return tavrine_buffer_raw_pointer(buffer.get()); };
  expect_flush("allocation", bytes(), 100);
  tavrine_buffer_set(buffer.get(), 5);
  expect_flush("setting", bytes(), 100);
  for (const size_t size : {50U, 90U, 5000U}) {
    tavrine_buffer_resize(buffer.get(), size);
    expect_flush("resizing", bytes(), size);
  }

  const Request size = {kDevice, TAVRINE_FORMAT_NV12, 32, 16, {}};
  const OwnedFrame host = alloc({kHost, TAVRINE_FORMAT_NV12, 32, 16, {}});
  OwnedFrame device = alloc(size);
  OwnedFrame other = alloc(size);
  const auto expect_flushed_planes = [&](const char *change, const OwnedFrame &frame) {
    const std::vector<Range> all = flushed;
    expect_flush(change, frame->planes[0], 32 * 16);
    flushed = all;
    expect_flush(change, frame->planes[1], 32 * 8);
  };
  flushed.clear();
  tavrine_frame_reset(device.get(), 7);
  expect_flushed_planes("reset", device);
  tavrine_frame_upload(host.get(), device.slot());
  expect_flushed_planes("upload", device);
  tavrine_frame_copy(device.get(), other.slot());
  expect_flushed_planes("copy", other);
  tavrine_devkit_mpp_set_observer(nullptr, nullptr);
}

TEST_F(DevkitCore, TensorViewsAddressTheirElements) {
  const int32_t shape[4] = {2, 3, 4, 5}, begin[4] = {1, 1, 2, 3}, end[4] = {2, 3, 4, 5};
  const int32_t padded[4] = {0, 40, 8, 1}, thin[4] = {0, 0, 4, 1}, apart[4] = {0, 0, 10, 2};
  const int32_t huge[4] = {65536, 65536, 1, 1};
  float values[2 * 109];
  const OwnedTensor whole(tavrine_tensor_make(kHost, 101, values, shape, padded, nullptr, nullptr));
  const OwnedTensor view(tavrine_tensor_roi(whole.get(), begin, end));
  EXPECT_EQ(tavrine_tensor_data_at(view.get(), 0, 0, 0, 0), &values[109 + 40 + 2 * 8 + 3]);
  EXPECT_EQ(tavrine_tensor_data_at(view.get(), 0, 1, 1, 1), &values[2 * 109 - 1]);
  EXPECT_EQ(tavrine_tensor_data_at(view.get(), 0, 2, 0, 0), nullptr);
  EXPECT_EQ(tavrine_tensor_roi(view.get(), begin, end), nullptr);
  EXPECT_EQ(tavrine_tensor_roi(whole.get(), begin, begin), nullptr);
  EXPECT_EQ(tavrine_tensor_alloc(kHost, 51, huge), nullptr);
  EXPECT_EQ(tavrine_tensor_alloc(kHost, 50, shape), nullptr);
  EXPECT_EQ(tavrine_tensor_make(kHost, 51, values, shape, thin, nullptr, nullptr), nullptr);
  EXPECT_EQ(tavrine_tensor_make(kHost, 51, values, shape, apart, nullptr, nullptr), nullptr);
}

TEST_F(DevkitCore, InjectedFaultsHappenOnce) {
  const OwnedFrame frame = alloc({kHost, TAVRINE_FORMAT_GREY, 2, 2, {}});
  tavrine_devkit_reset_call_counts();
  EXPECT_EQ(tavrine_devkit_inject_fault("tavrine_frame_reset", 2), 0);
  EXPECT_EQ(tavrine_devkit_inject_fault("*", 5), 0);
  for (const int32_t code : {0, -77, 0, 0, -77, 0}) {
    EXPECT_EQ(tavrine_frame_reset(frame.get(), 0), code);
  }
  // The core's own allocations do not count.
  EXPECT_EQ(tavrine_devkit_inject_fault("tavrine_frame_alloc", 1), 0);
  EXPECT_TRUE(OwnedFrame(tavrine_frame_duplicate(frame.get())));
  EXPECT_EQ(tavrine_devkit_clear_faults(), 1);
  EXPECT_EQ(tavrine_devkit_call_count("tavrine_frame_reset"), 6);
  EXPECT_EQ(tavrine_devkit_inject_fault("tavrine_frame_lose", 1), -1);
  EXPECT_EQ(tavrine_devkit_inject_fault("tavrine_frame_free", 1), TAVRINE_NOT_SUPPORTED);
}

// A process that is forked while another thread is in the sink logs as well.
TEST_F(DevkitCore, ForkedProcessLogs) {
  std::atomic<int> records{0};
  tavrine_log_set_sink(
      [](void *arg, int32_t, const char *, int32_t, const char *) {
        ++*static_cast<std::atomic<int> *>(arg);
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
      },
      &records);
  std::thread other([] { tavrine_log(3, "other", 1, "text"); });
  while (records == 0) {
    std::this_thread::yield();
  }
  const pid_t child = fork();
  if (child == 0) {
    alarm(5);
    tavrine_log(3, "child", 1, "text");
    _exit(records == 2 ? 0 : 1);
  }
  int status = -1;
  EXPECT_EQ(waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
  other.join();
  tavrine_log_set_sink(nullptr, nullptr);
}

}  // namespace
