// Pictures that announce too much, are truncated or corrupt, and memory that runs out.
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <thread>

#include "io/codec_memory.h"
#include "io/encoder.h"
#include "io/picture_source.h"
#include "tests/decoded_picture.h"
#include "tests/memory_failure.h"
#include "tests/support.h"

namespace tavrine::test {
namespace {

using namespace std::string_literals;

struct NamedFile {
  std::string name;
  Bytes bytes;
};

// Pictures of every kind that the decoder knows.
std::vector<NamedFile> corpus() {
  std::vector<NamedFile> files;
  for (const auto &entry : std::filesystem::directory_iterator(picture_folder("corpus"))) {
    files.push_back({entry.path().filename(), read_picture(entry.path())});
  }
  EXPECT_GT(files.size(), 50U);
  return files;
}

struct BytesSink final : ByteSink {
  BytesSink() { bytes.reserve(10000); }  // so that appending allocates nothing
  bool append(const void *data, size_t size) override {
    bytes.append(static_cast<const char *>(data), size);
    return true;
  }
  Bytes bytes;
};

class PictureLimits : public LibraryTest {};

TEST_F(PictureLimits, TooManyAnnouncedPixelsAreRefusedBeforeAllocation) {
  // 16000 x 16000 each: more than the limit, but less than the decoder itself refuses.
  const Bytes zeros(16, '\0');
  const Bytes bmp = "BM\0\0\0\0\0\0\0\0\x36\0\0\0\x28\0\0\0"s;
  const NamedFile files[] = {
      {"png",
       "\x89PNG\r\n\x1a\n\0\0\0\rIHDR\0\0\x3e\x80\0\0\x3e\x80\x08\2\0\0\0\0\0\0\0"
       "\0\0\0\1IDAT\0\0\0\0\0\0\0\0\0IEND\0\0\0\0"s},
      {"bmp", bmp + "\x80\x3e\0\0\x80\x3e\0\0\1\0\x18\0"s + zeros + zeros},
      {"bmp from top to bottom", bmp + "\x80\x3e\0\0\x80\xc1\xff\xff\1\0\x18\0"s + zeros + zeros},
      {"gif", "GIF89a\x80\x3e\x80\x3e" + zeros},
      {"psd", "8BPS\0\1\0\0\0\0\0\0\0\3\0\0\x3e\x80\0\0\x3e\x80\0\x08\0\3"s + zeros},
      {"ppm", "P6 16000 16000 255\n" + zeros},
      {"tga", "\0\0\2\0\0\0\0\0\0\0\0\0\x80\x3e\x80\x3e\x18\0"s + zeros},
      {"pic", "\x53\x80\xf6\x34" + Bytes(84, '\0') +
                  "PICT\x3e\x80\x3e\x80\0\0\0\0\0\3\0\0\0\x08\2\xe0"s + zeros},
      {"jpeg", "\xff\xd8\xff\xc0\0\x11\x08\x3e\x80\x3e\x80\3\1\x11\0\2\x11\0\3\x11\0"s + zeros},
  };
  for (const auto &[name, bytes] : files) {
    fail_allocation(0);
    EXPECT_FALSE(decode(bytes).pixels) << name;
    EXPECT_LT(largest_allocation(), size_t{1} << 20) << name;
  }
}

TEST_F(PictureLimits, SeventeenMegapixelsAreAccepted) {
  const Picture picture = decode("P6 4864 3584 255\n" + Bytes(size_t{4864} * 3584 * 3, 9));
  ASSERT_TRUE(picture.pixels);
  EXPECT_EQ(picture.width, 4864);
}

// Packs bits in the order of deflate.
class BitWriter {
 public:
  void put(uint32_t value, int count) {
    for (int i = 0; i < count; ++i, ++used_) {
      if (used_ % 8 == 0) {
        bytes_.push_back(0);
      }
      if ((value >> i & 1) != 0) {
        bytes_.back() = static_cast<char>(bytes_.back() | 1 << used_ % 8);
      }
    }
  }
  const Bytes &bytes() const { return bytes_; }

 private:
  Bytes bytes_;
  int used_ = 0;
};

TEST_F(PictureLimits, StreamsThatExpandBeyondTheirPictureAreRefused) {
  constexpr int kRunLength = 258;
  constexpr int kExpanded = 100 << 20;
  BitWriter packed;
  packed.put(0x0178, 16);  // zlib
  packed.put(3, 3);        // one block, fixed codes
  packed.put(0x0C, 8);     // a zero byte
  for (int size = 0; size < kExpanded; size += kRunLength) {
    packed.put(0xA3, 8);  // 258 times
    packed.put(0, 5);     // the byte before
  }
  packed.put(0, 7);
  const size_t size = packed.bytes().size();
  Bytes file = "\x89PNG\r\n\x1a\n\0\0\0\rIHDR\0\0\0\1\0\0\0\1\x08\0\0\0\0\0\0\0\0"s;
  for (int shift = 24; shift >= 0; shift -= 8) {
    file += static_cast<char>(size >> shift);
  }
  file += "IDAT" + packed.bytes() + "\0\0\0\0\0\0\0\0IEND\0\0\0\0"s;
  fail_allocation(0);
  EXPECT_FALSE(decode(file).pixels);
  EXPECT_GT(largest_allocation(), size_t{1} << 20);  // the stream did expand
  EXPECT_LT(largest_allocation(), size_t{1} << 26);
}

TEST_F(PictureLimits, ExhaustedMemoryIsNoPicture) {
  for (const auto &[name, bytes] : corpus()) {
    const Bytes expected = pixels_of(decode(bytes));
    ASSERT_FALSE(expected.empty()) << name;
    bool was_reached = true;
    for (int nth = 1; was_reached; ++nth) {
      ASSERT_LT(nth, 1000) << name;
      fail_allocation(nth);
      const Picture picture = decode(bytes);
      was_reached = clear_failed_allocation();
      EXPECT_EQ(pixels_of(picture), was_reached ? Bytes() : expected) << name << " call " << nth;
    }
  }
}

TEST_F(PictureLimits, ExhaustedMemoryFailsTheEncoder) {
  OwnedFrame frame = make_frame(TAVRINE_FORMAT_RGB24, 9, 7);
  fill_random(frame.get(), random_);
  for (const PictureFormat format :
       {PictureFormat::kPng, PictureFormat::kBmp, PictureFormat::kJpeg}) {
    BytesSink expected;
    ASSERT_TRUE(encode(frame.get(), format, expected));
    bool was_reached = true;
    for (int nth = 1; was_reached; ++nth) {
      ASSERT_LT(nth, 10000);
      BytesSink sink;
      fail_allocation(nth);
      const bool is_encoded = encode(frame.get(), format, sink);
      was_reached = clear_failed_allocation();
      ASSERT_EQ(is_encoded, !was_reached) << "call " << nth;
      ASSERT_EQ(sink.bytes, was_reached ? Bytes() : expected.bytes) << "call " << nth;
    }
  }
}

TEST_F(PictureLimits, TruncatedFilesAreRefusedAtEveryLength) {
  for (const auto &[name, bytes] : corpus()) {
    for (size_t size = 0; size < bytes.size() / 2; size += 3) {
      EXPECT_FALSE(decode(bytes.substr(0, size)).pixels) << name << " cut to " << size;
    }
  }
  // The decoder reads more than its buffer holds in one block.
  EXPECT_FALSE(decode("P6 40 30 255\n" + Bytes(40 * 30 * 3 - 1, '\7')).pixels);
}

TEST_F(PictureLimits, PipesAreFiles) {
  auto files = corpus();
  // Several times what the decoder first makes room for, and what a pipe holds.
  Bytes pixels(size_t{3} * 300 * 200, '\0');
  std::generate(pixels.begin(), pixels.end(), [&] { return static_cast<char>(random_()); });
  files.push_back({"large", "P6 300 200 255\n" + pixels});
  const auto on_broken_pipe = signal(SIGPIPE, SIG_IGN);
  for (const auto &entry : files) {
    const auto &[name, bytes] = entry;
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    FILE *file = fdopen(ends[0], "rb");
    ASSERT_NE(file, nullptr);
    std::thread writer([&file_bytes = entry.bytes, end = ends[1]] {
      size_t written = 0;
      while (written < file_bytes.size()) {
        const ssize_t count = write(end, file_bytes.data() + written, file_bytes.size() - written);
        if (count <= 0) {
          break;  // nobody reads the rest
        }
        written += static_cast<size_t>(count);
      }
      close(end);
    });
    const Bytes expected = pixels_of(decode(bytes));
    EXPECT_FALSE(expected.empty()) << name;
    EXPECT_EQ(pixels_of(decode_file(file)), expected) << name;
    fclose(file);
    writer.join();
  }
  signal(SIGPIPE, on_broken_pipe);
}

TEST_F(PictureLimits, CodecMemoryIsZeroed) {
  CodecMemory memory(1 << 20);
  for (int i = 0; i < 3; ++i) {
    // The second and the third time, probably the memory that was freed.
    auto *bytes = static_cast<uint8_t *>(CodecMemory::allocate(5000));
    EXPECT_EQ(std::count(bytes, bytes + 5000, 0), 5000);
    std::fill(bytes, bytes + 5000, uint8_t{0xA5});
    CodecMemory::release(bytes);
  }
}

// The decoder's own buffer may be another one, and smaller than what was left, in each run.
TEST_F(PictureLimits, EachRunOfTheDecoderHasItsOwnBuffer) {
  const uint8_t bytes[10] = {};
  MemorySource source(bytes, sizeof(bytes));
  char buffers[2][16];
  for (char *buffer : buffers) {
    ASSERT_TRUE(source.rewind());
    EXPECT_EQ(PictureSource::on_read(&source, buffer, 16), 10);
    EXPECT_THROW(PictureSource::on_read(&source, buffer, 16), CodecStopped);
  }
  ASSERT_TRUE(source.rewind());
  PictureSource::on_read(&source, buffers[0], 4);
  EXPECT_EQ(PictureSource::on_read(&source, buffers[1], 6), 6);
  ASSERT_TRUE(source.rewind());
  PictureSource::on_read(&source, buffers[0], 4);
  EXPECT_THROW(PictureSource::on_read(&source, buffers[1], 7), CodecStopped);
}

}  // namespace
}  // namespace tavrine::test
