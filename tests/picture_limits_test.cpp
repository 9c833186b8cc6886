// Pictures that announce more than they hold, end early or are broken, and memory that runs out.
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>

#include "io/decoder.h"
#include "io/encoder.h"
#include "tests/allocations.h"
#include "tests/support.h"

namespace tavrine::test {
namespace {

using Bytes = std::vector<uint8_t>;

Bytes bytes_of(const std::string &text) { return {text.begin(), text.end()}; }

Bytes read_file(const std::filesystem::path &path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

Bytes finding(const char *name) {
  return read_file(std::filesystem::path(TAVRINE_FUZZ_FOLDER) / "findings/picture" / name);
}

struct NamedFile {
  std::string name;
  Bytes bytes;
};

// A picture of every kind that the decoder knows.
std::vector<NamedFile> corpus() {
  std::vector<NamedFile> files;
  const auto folder = std::filesystem::path(TAVRINE_FUZZ_FOLDER) / "corpus/picture";
  for (const auto &entry : std::filesystem::directory_iterator(folder)) {
    files.push_back({entry.path().filename(), read_file(entry.path())});
  }
  EXPECT_GT(files.size(), 50U);
  return files;
}

Picture decode(const Bytes &bytes) { return decode_memory(bytes.data(), bytes.size()); }

Bytes pixels_of(const Picture &picture) {
  const size_t size = static_cast<size_t>(picture.width) * static_cast<size_t>(picture.height) *
                      static_cast<size_t>(picture.channels);
  return picture.pixels ? Bytes(picture.pixels.get(), picture.pixels.get() + size) : Bytes();
}

class VectorSink final : public ByteSink {
 public:
  bool append(const void *data, size_t size) override {
    const auto *bytes = static_cast<const uint8_t *>(data);
    bytes_.insert(bytes_.end(), bytes, bytes + size);
    return true;
  }
  const Bytes &bytes() const { return bytes_; }

 private:
  Bytes bytes_;
};

class PictureLimits : public LibraryTest {};

TEST_F(PictureLimits, WhatAnnouncesTooMuchIsRefusedBeforeMemoryIsAskedFor) {
  // 16000 x 16000 each: more than the limit, and still less than what the decoder itself refuses.
  const auto text = [](const char *bytes, size_t size) { return std::string(bytes, size); };
  const std::string zeros(16, '\0');
  const NamedFile files[] = {
      {"png", bytes_of("\x89PNG\r\n\x1a\n" +
                       text("\0\0\0\rIHDR\0\0\x3e\x80\0\0\x3e\x80\x08\2\0\0\0\0\0\0\0", 25) +
                       text("\0\0\0\1IDAT\0\0\0\0\0\0\0\0\0IEND\0\0\0\0", 25))},
      {"bmp", bytes_of("BM" + text("\0\0\0\0\0\0\0\0\x36\0\0\0\x28\0\0\0", 16) +
                       text("\x80\x3e\0\0\x80\x3e\0\0\1\0\x18\0", 12) + zeros + zeros)},
      {"bmp from the top down",
       bytes_of("BM" + text("\0\0\0\0\0\0\0\0\x36\0\0\0\x28\0\0\0", 16) +
                text("\x80\x3e\0\0\x80\xc1\xff\xff\1\0\x18\0", 12) + zeros + zeros)},
      {"gif", bytes_of("GIF89a\x80\x3e\x80\x3e" + zeros)},
      {"psd", bytes_of("8BPS" + text("\0\1\0\0\0\0\0\0\0\3\0\0\x3e\x80\0\0\x3e\x80\0\x08\0\3", 22) +
                       zeros)},
      {"ppm", bytes_of("P6 16000 16000 255\n" + zeros)},
      {"tga", bytes_of(text("\0\0\2\0\0\0\0\0\0\0\0\0\x80\x3e\x80\x3e\x18\0", 18) + zeros)},
      {"pic", bytes_of("\x53\x80\xf6\x34" + std::string(84, '\0') + "PICT\x3e\x80\x3e\x80" +
                       text("\0\0\0\0\0\3\0\0\0\x08\2\xe0", 12) + zeros)},
      {"jpeg",
       bytes_of("\xff\xd8\xff" +
                text("\xc0\0\x11\x08\x3e\x80\x3e\x80\3\1\x11\0\2\x11\0\3\x11\0", 18) + zeros)},
  };
  for (const auto &[name, bytes] : files) {
    const Allocations allocations(0);
    EXPECT_FALSE(decode(bytes).pixels) << name;
    EXPECT_LT(allocations.largest(), size_t{1} << 20) << name;
  }
}

TEST_F(PictureLimits, SeventeenMegapixelsAreNotTooMuch) {
  Bytes file = bytes_of("P6 4864 3584 255\n");
  file.resize(file.size() + size_t{4864} * 3584 * 3, 9);
  const Picture picture = decode(file);
  ASSERT_TRUE(picture.pixels);
  EXPECT_EQ(picture.width, 4864);
}

// Bits as deflate packs them.
class BitWriter {
 public:
  void put(uint32_t value, int count) {
    for (int i = 0; i < count; ++i, ++used_) {
      if (used_ % 8 == 0) {
        bytes_.push_back(0);
      }
      bytes_.back() = static_cast<uint8_t>(bytes_.back() | ((value >> i & 1) << used_ % 8));
    }
  }
  const Bytes &bytes() const { return bytes_; }

 private:
  Bytes bytes_;
  int used_ = 0;
};

TEST_F(PictureLimits, AStreamThatExpandsBeyondItsPictureIsRefused) {
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
  const auto size = static_cast<uint32_t>(packed.bytes().size());
  Bytes file = bytes_of("\x89PNG\r\n\x1a\n" +
                        std::string("\0\0\0\rIHDR\0\0\0\1\0\0\0\1\x08\0\0\0\0\0\0\0\0", 25));
  for (int shift = 24; shift >= 0; shift -= 8) {
    file.push_back(static_cast<uint8_t>(size >> shift));
  }
  const Bytes name = bytes_of("IDAT");
  file.insert(file.end(), name.begin(), name.end());
  file.insert(file.end(), packed.bytes().begin(), packed.bytes().end());
  const Bytes end = bytes_of(std::string("\0\0\0\0\0\0\0\0IEND\0\0\0\0", 16));
  file.insert(file.end(), end.begin(), end.end());
  const Allocations allocations(0);
  EXPECT_FALSE(decode(file).pixels);
  EXPECT_GT(allocations.largest(), size_t{1} << 20);  // it did expand
  EXPECT_LT(allocations.largest(), size_t{1} << 26);
}

TEST_F(PictureLimits, NoMemoryIsNoPicture) {
  for (const auto &[name, bytes] : corpus()) {
    const Bytes expected = pixels_of(decode(bytes));
    ASSERT_FALSE(expected.empty()) << name;
    bool has_failed = true;
    for (int nth = 1; has_failed; ++nth) {
      ASSERT_LT(nth, 1000) << name;
      Picture picture;
      {
        const Allocations allocations(nth);
        picture = decode(bytes);
        has_failed = allocations.has_failed();
      }
      EXPECT_EQ(pixels_of(picture), has_failed ? Bytes() : expected) << name << " call " << nth;
    }
  }
}

TEST_F(PictureLimits, NoMemoryIsAFailedEncoder) {
  OwnedFrame frame = make_frame(TAVRINE_FORMAT_RGB24, 9, 7);
  fill_random(frame.get(), random_);
  for (const PictureFormat format :
       {PictureFormat::kPng, PictureFormat::kBmp, PictureFormat::kJpeg}) {
    VectorSink expected;
    ASSERT_TRUE(encode(frame.get(), format, expected));
    bool has_failed = true;
    for (int nth = 1; has_failed; ++nth) {
      ASSERT_LT(nth, 10000);
      VectorSink sink;
      bool is_encoded = false;
      {
        const Allocations allocations(nth);
        is_encoded = encode(frame.get(), format, sink);
        has_failed = allocations.has_failed();
      }
      ASSERT_EQ(is_encoded, !has_failed) << "call " << nth;
      ASSERT_EQ(sink.bytes(), has_failed ? Bytes() : expected.bytes()) << "call " << nth;
    }
  }
}

TEST_F(PictureLimits, EveryBeginningOfAFileIsReadToItsEnd) {
  for (const auto &[name, bytes] : corpus()) {
    for (size_t size = 0; size < bytes.size() / 2; size += 3) {
      EXPECT_FALSE(
          decode(Bytes(bytes.begin(), bytes.begin() + static_cast<ptrdiff_t>(size))).pixels)
          << name << " cut to " << size;
    }
  }
}

TEST_F(PictureLimits, APipeIsAFile) {
  for (const auto &[name, bytes] : corpus()) {
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    ASSERT_EQ(write(ends[1], bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
    close(ends[1]);
    FILE *file = fdopen(ends[0], "rb");
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(pixels_of(decode_file(file)), pixels_of(decode(bytes))) << name;
    fclose(file);
  }
}

TEST_F(PictureLimits, ColoursBeyondThePaletteAreBlack) {
  const Picture picture = decode(finding("bmp-short-palette"));
  ASSERT_TRUE(picture.pixels);
  EXPECT_EQ(pixels_of(picture), Bytes(6, 0));
}

TEST_F(PictureLimits, MoreCodesThanATableHoldsAreNoPicture) {
  const Bytes file = finding("jpeg-too-many-codes");
  ASSERT_FALSE(file.empty());
  EXPECT_FALSE(decode(file).pixels);
}

// The camera makes 0 of a negative float; other machines would keep its low bits.
TEST_F(PictureLimits, ColoursBelowZeroBehindAlphaAreZero) {
  Bytes file = bytes_of("8BPS" + std::string("\0\1\0\0\0\0\0\0\0\4\0\0\0\1\0\0\0\1\0\x08\0\3", 22) +
                        std::string(14, '\0'));
  const Bytes pixel = {10, 127, 200, 128};
  file.insert(file.end(), pixel.begin(), pixel.end());
  const Picture picture = decode(file);
  ASSERT_TRUE(picture.pixels);
  EXPECT_EQ(pixels_of(picture), (Bytes{0, 0, 145, 128}));
}

}  // namespace
}  // namespace tavrine::test
