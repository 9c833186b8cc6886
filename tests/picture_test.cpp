// Loading, saving and encoding.
#include <cstdio>
#include <filesystem>
#include <fstream>

#define STB_IMAGE_WRITE_STATIC
#define STB_IMAGE_WRITE_IMPLEMENTATION
#include <stb_image_write.h>

#include "tests/file_failure.h"
#include "tests/support.h"

namespace tavrine::test {
namespace {

std::vector<uint8_t> read_file(const std::string &path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

std::vector<uint8_t> encode_png(const std::vector<uint8_t> &pixels, int width, int channels) {
  int length = 0;
  const int height = static_cast<int>(pixels.size()) / width / channels;
  unsigned char *png = stbi_write_png_to_mem(pixels.data(), 0, width, height, channels, &length);
  std::vector<uint8_t> file(png, png + length);
  free(png);
  return file;
}

class Pictures : public LibraryTest {
 protected:
  Pictures() {
    folder_ = ::testing::TempDir() + "pictures-" +
              std::to_string(::testing::UnitTest::GetInstance()->random_seed()) + "-" +
              ::testing::UnitTest::GetInstance()->current_test_info()->name();
    std::filesystem::create_directories(folder_);
  }
  ~Pictures() override { std::filesystem::remove_all(folder_); }

  std::string path(const std::string &name) const { return folder_ + "/" + name; }

  static OwnedFrame decode(const std::vector<uint8_t> &file) {
    return OwnedFrame(
        tavrine_frame_load_from_memory(file.data(), static_cast<int32_t>(file.size())));
  }

  std::string folder_;
};

TEST_F(Pictures, ChannelsBecomeFormats) {
  const std::vector<uint8_t> samples = {10, 20, 30, 40, 50, 60, 70, 80, 90, 100, 110, 120};
  struct Case {
    int channels;
    uint32_t format;
    std::vector<uint8_t> pixels;
  };
  const Case cases[] = {{1, TAVRINE_FORMAT_GREY, samples},
                        {2, TAVRINE_FORMAT_GREY, {10, 30, 50, 70, 90, 110}},
                        {3, TAVRINE_FORMAT_RGB24, samples},
                        {4, TAVRINE_FORMAT_RGB24, {10, 20, 30, 50, 60, 70, 90, 100, 110}}};
  for (const Case &test : cases) {
    const int width = 12 / test.channels / (test.channels == 4 ? 3 : 2);
    const std::vector<uint8_t> file = encode_png(samples, width, test.channels);
    std::ofstream(path("in"), std::ios::binary)
        .write(reinterpret_cast<const char *>(file.data()),
               static_cast<std::streamsize>(file.size()));
    for (const OwnedFrame &frame :
         {decode(file), OwnedFrame(tavrine_frame_load(path("in").c_str()))}) {
      ASSERT_TRUE(frame);
      EXPECT_EQ(frame->pixel_format, test.format);
      EXPECT_EQ(frame->width, width);
      EXPECT_EQ(tavrine_frame_mem_type(frame.get()), TAVRINE_MEMORY_HOST);
      EXPECT_EQ(frame->extra, 0U);
      EXPECT_EQ(pixels_of(frame.get()), test.pixels);
    }
  }
}

TEST_F(Pictures, TruncatedFilesAreNullWhateverTheirKind) {
  OwnedFrame frame = make_frame(TAVRINE_FORMAT_RGB24, 40, 30);
  fill_random(frame.get(), random_);
  for (const char *name : {"a.png", "a.bmp", "a.jpg"}) {
    ASSERT_EQ(tavrine_frame_save(frame.get(), path(name).c_str()), 0);
    std::vector<uint8_t> file = read_file(path(name));
    EXPECT_TRUE(decode(file)) << name;
    EXPECT_TRUE(OwnedFrame(tavrine_frame_load(path(name).c_str()))) << name;
    file.resize(file.size() * 9 / 10);
    EXPECT_FALSE(decode(file)) << name;
    std::filesystem::resize_file(path(name), file.size());
    EXPECT_FALSE(OwnedFrame(tavrine_frame_load(path(name).c_str()))) << name;
  }
}

TEST_F(Pictures, BytesThatAreNotAPictureAreNull) {
  EXPECT_FALSE(decode({1, 2, 3, 4}));
  EXPECT_EQ(tavrine_frame_load(folder_.c_str()), nullptr);
  EXPECT_TRUE(take_log().empty());
  EXPECT_EQ(tavrine_frame_load(nullptr), nullptr);
  EXPECT_EQ(take_log(),
            (std::vector<LogRecord>{{4, "aux", 257, "Load frame but no file name specified!\n"}}));
}

TEST_F(Pictures, EveryFormatAndMemoryIsSavedByExtension) {
  for (const uint32_t format : {TAVRINE_FORMAT_GREY, TAVRINE_FORMAT_RGB24, TAVRINE_FORMAT_BGR24,
                                TAVRINE_FORMAT_NV12, TAVRINE_FORMAT_NV21, TAVRINE_FORMAT_YU12}) {
    const PaddedFrame padded = make_padded_frame(format, 18, 14, random_);
    const OwnedFrame device = on_device(padded.frame.get());
    OwnedFrame rgb;
    ASSERT_EQ(tavrine_frame_cvt_color(padded.frame.get(), rgb.slot(), TAVRINE_FORMAT_RGB24), 0);
    for (const tavrine_frame_t *frame : {padded.frame.get(), device.get()}) {
      for (const char *name : {"a.png", "B.PNG", "c.bmp", "PHOTO.JPEG", "d.jPg"}) {
        ASSERT_EQ(tavrine_frame_save(frame, path(name).c_str()), 0) << name;
        const OwnedFrame back(tavrine_frame_load(path(name).c_str()));
        ASSERT_TRUE(back) << name;
        const std::string text = name;
        const bool is_png = text == "a.png" || text == "B.PNG";
        if (is_png && format == TAVRINE_FORMAT_GREY) {
          EXPECT_EQ(back->pixel_format, TAVRINE_FORMAT_GREY);
          EXPECT_EQ(pixels_of(back.get()), pixels_of(padded.frame.get()));
        } else if (is_png || text == "c.bmp") {
          EXPECT_EQ(back->pixel_format, TAVRINE_FORMAT_RGB24);
          EXPECT_EQ(pixels_of(back.get()), pixels_of(rgb.get())) << name;
        } else {
          EXPECT_EQ(back->width, 18);
          EXPECT_EQ(back->pixel_format, TAVRINE_FORMAT_RGB24);
        }
      }
    }
  }
}

TEST_F(Pictures, JpegHasTheHighestQuality) {
  OwnedFrame frame = make_frame(TAVRINE_FORMAT_RGB24, 40, 30);
  fill_random(frame.get(), random_);
  std::vector<uint8_t> expected;
  stbi_write_jpg_to_func(
      [](void *bytes, void *data, int size) {
        const auto *first = static_cast<const uint8_t *>(data);
        auto *all = static_cast<std::vector<uint8_t> *>(bytes);
        all->insert(all->end(), first, first + size);
      },
      &expected, 40, 30, 3, pixels_of(frame.get()).data(), 100);
  ASSERT_EQ(tavrine_frame_save(frame.get(), path("a.jpg").c_str()), 0);
  EXPECT_EQ(read_file(path("a.jpg")), expected);
}

TEST_F(Pictures, EncodedBufferHoldsExactlyTheFile) {
  const char *names[] = {"", "a.jpg", "a.bmp", "a.png"};
  for (const uint32_t format : {TAVRINE_FORMAT_GREY, TAVRINE_FORMAT_NV12}) {
    OwnedFrame frame = make_frame(format, 150, 130);
    fill_random(frame.get(), random_);
    const OwnedBuffer buffer(tavrine_buffer_alloc(100000, TAVRINE_MEMORY_HOST));
    for (const int32_t code : {TAVRINE_ENCODE_JPEG, TAVRINE_ENCODE_BMP, TAVRINE_ENCODE_PNG}) {
      ASSERT_EQ(tavrine_frame_encode(frame.get(), code, buffer.get()), 0);
      ASSERT_EQ(tavrine_frame_save(frame.get(), path(names[code]).c_str()), 0);
      const auto *bytes = static_cast<const uint8_t *>(tavrine_buffer_raw_pointer(buffer.get()));
      EXPECT_EQ(std::vector<uint8_t>(bytes, bytes + tavrine_buffer_size(buffer.get())),
                read_file(path(names[code])));
    }
  }
}

TEST_F(Pictures, RefusalsInTheirOrder) {
  OwnedFrame frame = make_frame(TAVRINE_FORMAT_RGB24, 4, 4);
  for (const char *name : {"a.jpg.txt", "png", ".gif", "a.jpe", ""}) {
    EXPECT_EQ(tavrine_frame_save(frame.get(), name), -1000) << name;
  }
  EXPECT_EQ(tavrine_frame_save(nullptr, nullptr), -1000);
  const std::vector<LogRecord> log = take_log();
  EXPECT_EQ(log.size(), 6U);
  EXPECT_EQ(log[0],
            (LogRecord{4, "aux", 391, "Unsuppported save format, only support jp[e]g/bmp/png!\n"}));
  EXPECT_EQ(tavrine_frame_save(nullptr, path("a.png").c_str()), -1);
  EXPECT_EQ(tavrine_frame_save(frame.get(), path("none/a.png").c_str()), -4);

  // A failed conversion leaves an existing file unchanged.
  ASSERT_EQ(tavrine_frame_save(frame.get(), path("keep.png").c_str()), 0);
  const std::vector<uint8_t> kept = read_file(path("keep.png"));
  const OwnedFrame four_bytes = make_frame(TAVRINE_FORMAT_BGRA, 4, 4);
  EXPECT_EQ(tavrine_frame_save(four_bytes.get(), path("keep.png").c_str()), -4);
  EXPECT_EQ(read_file(path("keep.png")), kept);
  take_log();

  const OwnedBuffer buffer(tavrine_buffer_alloc(10, TAVRINE_MEMORY_HOST));
  const OwnedBuffer device(tavrine_buffer_alloc(10, TAVRINE_MEMORY_DEVICE));
  EXPECT_EQ(tavrine_frame_encode(nullptr, 0, nullptr), -1000);
  EXPECT_EQ(tavrine_frame_encode(frame.get(), 4, buffer.get()), -1000);
  EXPECT_EQ(tavrine_frame_encode(nullptr, 3, buffer.get()), -1);
  EXPECT_EQ(tavrine_frame_encode(frame.get(), 3, nullptr), -1);
  EXPECT_EQ(tavrine_frame_encode(frame.get(), 3, device.get()), -1);
  const LogRecord format = {4, "aux", 475, "Unsupported save format, only support JPG/BMP/PNG\n"};
  const LogRecord host = {4, "aux", 485,
                          "Invalid buffer, expect a tavrine_buffer with HOST memory!\n"};
  EXPECT_EQ(take_log(),
            (std::vector<LogRecord>{
                format, format, {4, "aux", 480, "Invalid input frame!\n"}, host, host}));
}

TEST_F(Pictures, AJpegHasAtMost65535Columns) {
  const OwnedBuffer buffer(tavrine_buffer_alloc(0, TAVRINE_MEMORY_HOST));
  for (const bool is_tall : {false, true}) {
    for (const int32_t side : {65535, 65536}) {
      const OwnedFrame in = make_frame(TAVRINE_FORMAT_GREY, is_tall ? 1 : side, is_tall ? side : 1);
      fill(in.get(), 99);
      EXPECT_EQ(tavrine_frame_encode(in.get(), TAVRINE_ENCODE_JPEG, buffer.get()),
                side == 65535 ? 0 : -4);
      EXPECT_EQ(tavrine_frame_encode(in.get(), TAVRINE_ENCODE_PNG, buffer.get()), 0);
    }
  }
  EXPECT_EQ(take_log().size(), 2U);
}

// Each operation on a file fails in turn, as on a bad disk.
TEST_F(Pictures, FailedFileOperationsAreReported) {
  OwnedFrame frame = make_frame(TAVRINE_FORMAT_RGB24, 12, 10);
  fill_random(frame.get(), random_);
  const auto descriptors = [] {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
  };
  const auto descriptors_before = descriptors();
  for (const char *name : {"a.png", "a.bmp", "a.jpg"}) {
    const std::string file = path(name);
    bool was_reached = true;
    // The JPEG encoder writes single bytes; one in a hundred is enough.
    for (int nth = 1; was_reached; nth += nth < 30 ? 1 : 101) {
      ASSERT_LT(nth, 10000);
      // Some file systems wait for the disk when a file's content is replaced.
      std::filesystem::remove(file);
      fail_file_operation(nth);
      const int32_t status = tavrine_frame_save(frame.get(), file.c_str());
      was_reached = clear_failed_file_operation();
      ASSERT_EQ(status, was_reached ? -4 : 0) << name << " operation " << nth;
    }
    const std::vector<uint8_t> expected =
        pixels_of(OwnedFrame(tavrine_frame_load(file.c_str())).get());
    was_reached = true;
    for (int nth = 1; was_reached; ++nth) {
      ASSERT_LT(nth, 10000);
      fail_file_operation(nth);
      const OwnedFrame back(tavrine_frame_load(file.c_str()));
      was_reached = clear_failed_file_operation();
      // A file that cannot be positioned is read like a pipe, and closing cannot lose anything.
      EXPECT_TRUE(back || was_reached);
      if (back) {
        ASSERT_EQ(pixels_of(back.get()), expected) << name << " operation " << nth;
      }
    }
  }
  EXPECT_EQ(descriptors(), descriptors_before);
}

}  // namespace
}  // namespace tavrine::test
