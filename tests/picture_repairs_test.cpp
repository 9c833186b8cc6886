// Faults of the decoder that third_party/ repairs. scripts/check-repairs removes one repair at a
// time and expects one of these tests, or of the other picture tests, to fail.
#include <cmath>
#include <cstring>
#include <map>
#include <random>

// A decoder of this file's own, to reach its steps. Configured as in io/stb.cpp.
#define STB_IMAGE_STATIC
#define STB_IMAGE_IMPLEMENTATION
#define STBI_NO_LINEAR
#if defined(__ARM_NEON)
#define STBI_NEON
#endif
#include <stb_image.h>

#include "tests/decoded_picture.h"
#include "tests/jpeg_writer.h"
#include "tests/memory_failure.h"

namespace tavrine::test {
namespace {

using namespace std::string_literals;
using Coefficients = std::array<int, 64>;

uint64_t fnv1a(const Bytes &bytes) {
  uint64_t hash = 0xcbf29ce484222325;
  for (const char byte : bytes) {
    hash = (hash ^ static_cast<uint8_t>(byte)) * 0x100000001b3;
  }
  return hash;
}

class PictureRepairs : public ::testing::Test {
 protected:
  std::mt19937 random_{20210917};
};

// ---- JPEG: the inverse transform ------------------------------------------------------

Bytes plain_transform(const Coefficients &coefficients) {
  alignas(16) short data[64];
  std::copy(coefficients.begin(), coefficients.end(), data);
  Bytes pixels(64, '\0');
  stbi__idct_block(reinterpret_cast<stbi_uc *>(pixels.data()), 8, data);
  return pixels;
}

#if defined(STBI_SSE2) || defined(STBI_NEON)

Bytes vector_transform(const Coefficients &coefficients) {
  alignas(16) short data[64];
  std::copy(coefficients.begin(), coefficients.end(), data);
  Bytes pixels(64, '\0');
  stbi__idct_simd(reinterpret_cast<stbi_uc *>(pixels.data()), 8, data);
  return pixels;
}

// Coefficients of both signs whose absolute values add up to `sum`, in `count` random places.
Coefficients random_block(std::mt19937 &random, int sum, int count) {
  Coefficients block{};
  for (int left = sum; count > 0 && left > 0; --count) {
    int &value = block[random() % 64];
    const int magnitude =
        count == 1 ? left : static_cast<int>(random() % (static_cast<uint32_t>(left) + 1));
    const int added = std::min(magnitude, 32767 - std::abs(value));
    value += value < 0 || (value == 0 && random() % 2 == 0) ? -added : added;
    left -= added;
  }
  return block;
}

TEST_F(PictureRepairs, JpegVectorTransformsEqualThePlainOne) {
  const int sums[] = {1, 64, 1000, 4999, 5000, 5001, 5165, 6000, 8191, 12000, 32767, 70000};
  for (const int sum : sums) {
    for (int i = 0; i < 3000; ++i) {
      const int counts[] = {1, 2, 3, 8, 64};
      const Coefficients block = random_block(random_, sum, counts[i % 5]);
      ASSERT_EQ(vector_transform(block), plain_transform(block)) << sum;
    }
  }
  for (int i = 0; i < 20000; ++i) {
    Coefficients block;
    for (int &value : block) {
      const int extremes[] = {-32768, -32767, 32767, 0, 1, -1};
      value = random_() % 2 == 0 ? extremes[random_() % 6]
                                 : static_cast<int>(random_() % 65536) - 32768;
    }
    ASSERT_EQ(vector_transform(block), plain_transform(block));
  }
  // One or two large coefficients in every place, with all signs.
  for (size_t a = 0; a < 64; ++a) {
    for (size_t b = 0; b < 64; ++b) {
      for (const int first : {-5000, -2500, 2500, 5000, 5001, -32768, 32767}) {
        for (const int second : {-5000, -2500, 0, 2500, 2501, 32767}) {
          Coefficients block{};
          block[b] = second;
          block[a] = first;
          ASSERT_EQ(vector_transform(block), plain_transform(block))
              << first << " at " << a << ", " << second << " at " << b;
        }
      }
    }
  }
}

#if defined(STBI__IDCT_SIMD_LIMIT)
// The numbers in the proof that stands beside the limit.
TEST_F(PictureRepairs, JpegVectorTransformsHaveRoomForTheirLimit) {
  int largest_weight = 0;
  for (int place = 0; place < 8; ++place) {
    int s[8] = {};
    s[place] = 1;
    STBI__IDCT_1D(s[0], s[1], s[2], s[3], s[4], s[5], s[6], s[7]);
    for (const int weight :
         {x0 + t3, x0 - t3, x1 + t2, x1 - t2, x2 + t1, x2 - t1, x3 + t0, x3 - t0}) {
      largest_weight = std::max(largest_weight, std::abs(weight));
    }
  }
  EXPECT_EQ(largest_weight, 5683);
  constexpr int kBias = 1024;
  EXPECT_LE(4 * largest_weight * STBI__IDCT_SIMD_LIMIT / 4096 + 8 + 4 * kBias, 32767);
  alignas(16) short data[64] = {};
  for (const short edge : {short{5000}, short{-5000}}) {
    data[9] = edge;
    data[63] = 0;
    EXPECT_TRUE(stbi__idct_fits_simd(data));
    for (const short one_more : {short{1}, short{-1}, short{32767}, short{-32768}}) {
      data[63] = one_more;
      EXPECT_FALSE(stbi__idct_fits_simd(data)) << edge << " " << one_more;
    }
  }
}
#endif

#endif

// A grey file of one block for each set of coefficients.
Bytes jpeg_of(const std::vector<Coefficients> &blocks, int quantizer) {
  JpegBits bits;
  int previous = 0;
  for (Coefficients block : blocks) {
    block[0] -= std::exchange(previous, block[0]);
    JpegWriter::put_block(bits, block);
  }
  return JpegWriter(JpegWriter::Process::kBaseline, 8 * static_cast<int>(blocks.size()), 8, 1,
                    quantizer)
      .scan({1}, 0, 63, bits.take())
      .finish();
}

TEST_F(PictureRepairs, JpegWithExtremeCoefficientsIsTheSameEverywhere) {
  EXPECT_EQ(fnv1a(decoded(read_picture(picture_folder("corpus") / "extreme-coefficients.jpg"))),
            0xb9b23f3a46fd0825U);
  for (int i = 0; i < 200; ++i) {
    const int quantizer = 1 + static_cast<int>(random_() % 255);
    std::vector<Coefficients> blocks(3);
    for (Coefficients &block : blocks) {
      for (int &value : block) {
        const int size = 1 + static_cast<int>(random_() % 15);
        value = (1 << (size - 1)) + static_cast<int>(random_() % (1U << (size - 1)));
        value = random_() % 2 == 0 ? value : -value;
      }
      block[0] /= 4;
    }
    const Picture picture = decode(jpeg_of(blocks, quantizer));
    ASSERT_EQ(picture.width, 24);
    for (size_t b = 0; b < blocks.size(); ++b) {
      Coefficients dequantized{};
      for (size_t k = 0; k < 64; ++k) {
        dequantized[stbi__jpeg_dezigzag[k]] = static_cast<short>(blocks[b][k] * quantizer);
      }
      const Bytes expected = plain_transform(dequantized);
      for (size_t y = 0; y < 8; ++y) {
        ASSERT_EQ(std::memcmp(&expected[8 * y], picture.pixels.get() + 24 * y + 8 * b, 8), 0);
      }
    }
  }
}

// ---- JPEG: files that end early -------------------------------------------------------

constexpr Coefficients kNoDifference = {};

Bytes data_of(int blocks, int first = 0) {
  JpegBits bits;
  Coefficients block = {first};
  for (int i = 0; i < blocks; ++i) {
    JpegWriter::put_block(bits, std::exchange(block, kNoDifference));
  }
  return bits.take();
}

using Process = JpegWriter::Process;

TEST_F(PictureRepairs, JpegScansHoldAllBlocks) {
  // 9 bits for a block, so that 16 blocks leave every number of bits.
  for (int blocks = 1; blocks <= 16; ++blocks) {
    const auto file = [=](int missing) {
      return JpegWriter(Process::kBaseline, 8 * blocks, 8, 1)
          .scan({1}, 0, 63, data_of(blocks - missing, 400))
          .finish();
    };
    EXPECT_EQ(decoded(file(0)), Bytes(static_cast<size_t>(64 * blocks), '\xB2')) << blocks;
    for (int missing = 1; missing <= blocks; ++missing) {
      EXPECT_FALSE(decode(file(missing)).pixels) << missing << " of " << blocks;
    }
  }
  // The same in scans of a progressive picture: DC values of 4 bits, then ends of blocks.
  for (const bool has_dc : {true, false}) {
    for (const bool has_ac : {true, false}) {
      JpegWriter writer(Process::kProgressive, 64, 64, 1);
      writer.scan({1}, 0, 0, Bytes(has_dc ? 32 : 16, '\0'));
      writer.scan({1}, 1, 63, Bytes(has_ac ? 40 : 20, '\0'));
      EXPECT_EQ(static_cast<bool>(decode(writer.finish()).pixels), has_dc && has_ac);
    }
  }
}

TEST_F(PictureRepairs, JpegRestartMarkersAreNotMissing) {
  struct Case {
    int components;
    Process process;
    Bytes block;  // the data of one restart interval
  };
  const Case cases[] = {{1, Process::kBaseline, data_of(2)},
                        {3, Process::kBaseline, data_of(6)},
                        {1, Process::kProgressive, Bytes(1, '\0')},
                        {3, Process::kProgressive, Bytes(3, '\0')}};
  for (const Case &test : cases) {
    const auto file = [&](const Bytes &data) {
      JpegWriter writer(test.process, 48, 8, test.components);
      writer.restart_interval(2);
      const int last = test.process == Process::kBaseline ? 63 : 0;
      test.components == 1 ? writer.scan({1}, 0, last, data)
                           : writer.scan({1, 2, 3}, 0, last, data);
      return writer.finish();
    };
    const Bytes &block = test.block;
    EXPECT_TRUE(decode(file(block + "\xFF\xD0" + block + "\xFF\xD1" + block)).pixels);
    EXPECT_TRUE(decode(file(block + "\xFF\xD0" + block + "\xFF\xD1" + block + "\xFF\xD2")).pixels);
    EXPECT_FALSE(decode(file(block + "\xFF\xD0" + block)).pixels);
    EXPECT_FALSE(decode(file(block)).pixels);
    EXPECT_FALSE(decode(file(block + block + block)).pixels);
  }
}

TEST_F(PictureRepairs, JpegHasAtMostHundredScans) {
  for (const int scans : {1, 100, 101, 1000}) {
    JpegWriter writer(Process::kProgressive, 8, 8, 1);
    writer.scan({1}, 0, 0, "\x0F");
    for (int i = 1; i < scans; ++i) {
      writer.scan({1}, 1, 63, "\x07");
    }
    EXPECT_EQ(static_cast<bool>(decode(writer.finish()).pixels), scans <= 100) << scans;
  }
}

TEST_F(PictureRepairs, JpegComponentsAllHaveAScan) {
  for (int missing = 0; missing <= 3; ++missing) {
    JpegWriter baseline(Process::kBaseline, 16, 8, 3);
    JpegWriter progressive(Process::kProgressive, 16, 8, 3);
    for (const int component : {1, 2, 3}) {
      progressive.scan({component}, 1, 63, Bytes(2, '\0'));
      if (component != missing) {
        baseline.scan({component}, 0, 63, data_of(2));
        progressive.scan({component}, 0, 0, Bytes(1, '\0'));
      }
    }
    EXPECT_EQ(static_cast<bool>(decode(baseline.finish()).pixels), missing == 0) << missing;
    EXPECT_EQ(static_cast<bool>(decode(progressive.finish()).pixels), missing == 0) << missing;
  }
}

// ---- Other wrong pixels ---------------------------------------------------------------

TEST_F(PictureRepairs, Jpeg422RowsAreMirroredLikeTheirSamples) {
  for (int width = 1; width <= 40; ++width) {
    std::vector<stbi_uc> samples(static_cast<size_t>(width));
    std::generate(samples.begin(), samples.end(),
                  [this] { return static_cast<stbi_uc>(random_()); });
    const auto doubled = [=](std::vector<stbi_uc> row) {
      std::vector<stbi_uc> out(2 * row.size());
      stbi__resample_row_h_2(out.data(), row.data(), nullptr, width, 2);
      return out;
    };
    const auto mirrored = [](const std::vector<stbi_uc> &row) {
      return std::vector<stbi_uc>(row.rbegin(), row.rend());
    };
    EXPECT_EQ(doubled(mirrored(samples)), mirrored(doubled(samples))) << width;
  }
  // Red up to column 13, then blue.
  const Picture picture = decode(read_picture(picture_folder("corpus") / "red-blue-422.jpg"));
  ASSERT_EQ(picture.width, 16);
  for (size_t x = 0; x < 16; ++x) {
    const uint8_t *pixel = picture.pixels.get() + 3 * x;
    EXPECT_EQ(pixel[0] > pixel[2], x < 14) << x;
  }
}

TEST_F(PictureRepairs, PnmSamplesAreScaledToBytes) {
  for (const int largest : {1, 2, 15, 100, 254, 255, 256, 1000, 4095, 65535}) {
    const int count = std::min(largest + 2, 1 << 16);
    Bytes pgm = "P5 " + std::to_string(count) + " 1 " + std::to_string(largest) + "\n";
    Bytes expected;
    for (int value = 0; value < count; ++value) {
      if (largest > 255) {
        pgm += static_cast<char>(value >> 8);
      }
      pgm += static_cast<char>(value);
      const int stored = largest > 255 ? value : value & 255;
      const double share = 1.0 * std::min(stored, largest) / largest;
      // Of two bytes the high one is taken, as in the other formats.
      expected += static_cast<char>(largest > 255 ? std::lround(65535 * share) >> 8
                                                  : std::lround(255 * share));
    }
    EXPECT_TRUE(decoded(pgm) == expected) << largest;
  }
  EXPECT_EQ(decoded("P6 2 1 3\n\0\1\2\3\2\1"s), "\0\x55\xAA\xFF\xAA\x55"s);
  EXPECT_FALSE(decode("P5 2 1 0\n\0\1"s).pixels);
  const Bytes ramp = decoded(read_picture(picture_folder("corpus") / "ramp-max15.pgm"));
  for (size_t i = 0; i < 16; ++i) {
    EXPECT_EQ(static_cast<uint8_t>(ramp.at(i)), 17 * i);
  }
  const Bytes wide_ramp = decoded(read_picture(picture_folder("corpus") / "ramp-16.pgm"));
  for (size_t i = 0; i < 1024; ++i) {
    EXPECT_EQ(static_cast<uint8_t>(wide_ramp.at(i)), i % 256);
  }
}

Bytes little_endian(std::initializer_list<int> values, int bytes) {
  Bytes text;
  for (const int value : values) {
    for (int i = 0; i < bytes; ++i) {
      text += static_cast<char>(value >> 8 * i);
    }
  }
  return text;
}

// Leaves no zeros where the decoder's local variables will be.
[[gnu::noinline]] void fill_stack() {
  volatile char bytes[1 << 16];
  for (volatile char &byte : bytes) {
    byte = '\xA5';
  }
}

TEST_F(PictureRepairs, IndicesPastAPaletteAreBlack) {
  const Bytes png =
      "\x89PNG\r\n\x1a\n\0\0\0\rIHDR\0\0\0\2\0\0\0\1\x08\3\0\0\0\0\0\0\0"
      "\0\0\0\3PLTEabc\0\0\0\0\0\0\0\x0EIDAT\x78\1\1\3\0\xFC\xFF\0\0\5\0\0\0\0\0\0\0\0"
      "\0\0\0\0IEND\0\0\0\0"s;
  fill_stack();
  EXPECT_EQ(decoded(png), "abc\0\0\0"s);
  // One colour, and a pixel for each index.
  Bytes bmp = "BM" + little_endian({0, 0, 58, 40, 256, 1}, 4) + little_endian({1, 8}, 2) +
              Bytes(24, '\0') + "abc\0"s;
  for (int index = 0; index < 256; ++index) {
    bmp += static_cast<char>(index);
  }
  fill_stack();
  EXPECT_EQ(decoded(bmp), "cba" + Bytes(size_t{3} * 255, '\0'));
}

// The camera converts a negative float to 0; other machines would keep its low bits.
TEST_F(PictureRepairs, PsdColoursBelowZeroAreZero) {
  EXPECT_EQ(decoded("8BPS\0\1\0\0\0\0\0\0\0\4\0\0\0\1\0\0\0\1\0\x08\0\3"s + Bytes(14, '\0') +
                    "\x0a\x7f\xc8\x80"),
            "\0\0\x91\x80"s);
}

TEST_F(PictureRepairs, TgaOriginIsInAnyCorner) {
  struct Case {
    Bytes header;  // up to the size, of 3 x 2 pixels
    Bytes depth;
    Bytes data;
    Bytes rows[2];  // as stored
  };
  const Bytes zeros(5, '\0');
  const Case cases[] = {
      {"\0\0\3"s + zeros, "\x08"s, "abcdef"s, {"abc", "def"}},
      {"\0\0\x0B"s + zeros, "\x08"s, "\2abc\x82z"s, {"abc", "zzz"}},
      {"\0\0\2"s + zeros, "\x18"s, "123456789abcdefghi"s, {"321654987", "cbafedihg"}},
      {"\0\1\1\0\0\2\0\x18"s, "\x08"s, "abcdef\0\1\0\1\1\0"s, {"cbafedcba", "fedfedcba"}},
  };
  for (const Case &test : cases) {
    for (const int descriptor : {0x00, 0x10, 0x20, 0x30}) {
      const Bytes file = test.header + "\0\0\0\0\3\0\2\0"s + test.depth +
                         static_cast<char>(descriptor) + test.data;
      const Picture picture = decode(file);
      ASSERT_TRUE(picture.pixels);
      const auto channels = static_cast<size_t>(picture.channels);
      Bytes expected;
      for (const size_t row : {size_t{0}, size_t{1}}) {
        const Bytes &stored = test.rows[(descriptor & 0x20) != 0 ? row : 1 - row];
        for (const size_t column : {size_t{0}, size_t{1}, size_t{2}}) {
          const size_t from = (descriptor & 0x10) != 0 ? 2 - column : column;
          expected += stored.substr(from * channels, channels);
        }
      }
      EXPECT_EQ(pixels_of(picture), expected) << descriptor << " " << test.data;
    }
  }
}

// Rows of every depth and both orders, with the last colour of the palette, and without the padding
// of the last row.
TEST_F(PictureRepairs, BmpRowsAndPalettes) {
  for (const int header : {12, 40}) {
    for (const int bits : {1, 4, 8, 24, 32}) {
      for (int width = 1; width <= 18; ++width) {
        const bool is_top_down = header == 40 && width % 2 == 0;
        const int height = 3;
        const int entry = header == 12 ? 3 : 4;
        const int colors = bits < 24 ? 1 << bits : 0;
        Bytes palette(static_cast<size_t>(entry * colors), '\0');
        std::generate(palette.begin(), palette.end(), [&] { return static_cast<char>(random_()); });
        Bytes file = "BM" + little_endian({0, 0, 14 + header + entry * colors, header}, 4);
        file += header == 12 ? little_endian({width, height, 1, bits}, 2)
                             : little_endian({width, is_top_down ? -height : height}, 4) +
                                   little_endian({1, bits}, 2) + Bytes(24, '\0');
        file += palette;
        const auto stride = static_cast<size_t>((width * bits + 31) / 32 * 4);
        Bytes rows[3];
        for (Bytes &row : rows) {
          row.resize(stride);
          std::generate(row.begin(), row.end(), [&] { return static_cast<char>(random_()); });
          row[0] = '\xFF';  // the last colour
          file += row;
        }
        Bytes expected;
        const int channels = bits == 32 ? 4 : 3;
        for (const size_t y : {size_t{0}, size_t{1}, size_t{2}}) {
          const Bytes &row = rows[is_top_down ? y : 2 - y];
          for (int x = 0; x < width; ++x) {
            const int byte = static_cast<uint8_t>(row.at(static_cast<size_t>(x * bits / 8)));
            const int index = byte >> (8 - bits - x * bits % 8) & ((1 << bits) - 1);
            const Bytes pixel = bits >= 24 ? row.substr(static_cast<size_t>(x * bits / 8), 4)
                                           : palette.substr(static_cast<size_t>(entry * index), 3);
            expected += {pixel[2], pixel[1], pixel[0]};
            expected += pixel.substr(3, static_cast<size_t>(channels - 3));
          }
        }
        file.resize(file.size() - stride + static_cast<size_t>((width * bits + 7) / 8));
        EXPECT_EQ(decoded(file), header == 12 && bits == 32 ? Bytes() : expected)
            << header << " " << bits << " " << width;
        file.pop_back();
        EXPECT_FALSE(decode(file).pixels);
      }
    }
  }
}

// A GIF of 4 colours, the third of which is the background, around a picture at (1, 2).
Bytes gif_of(const std::vector<int> &indices, int width, int height, bool is_interlaced) {
  constexpr int kBits = 2;
  constexpr int kClear = 1 << kBits;
  constexpr int kFullTable = 4096;
  Bytes packed(1, '\0');
  int used = 0;
  int code_bits = kBits + 1;
  const auto put = [&](int code) {
    for (int i = 0; i < code_bits; ++i, ++used) {
      if (used == 8) {
        packed += '\0';
        used = 0;
      }
      packed.back() = static_cast<char>(packed.back() | (code >> i & 1) << used);
    }
  };
  // The table is filled and not cleared again.
  std::map<std::pair<int, int>, int> table;
  put(kClear);
  int following = kClear + 2;
  int current = indices.at(0);
  for (size_t i = 1; i < indices.size(); ++i) {
    const auto longer = table.find({current, indices[i]});
    if (longer != table.end()) {
      current = longer->second;
      continue;
    }
    put(current);
    if (following < kFullTable) {
      code_bits += following == 1 << code_bits && code_bits < 12 ? 1 : 0;
      table[{current, indices[i]}] = following++;
    }
    current = indices[i];
  }
  put(current);
  put(kClear + 1);
  Bytes file = "GIF89a" + little_endian({width + 2, height + 3}, 2) + "\xF1\2\0abcdefghijkl,"s +
               little_endian({1, 2, width, height}, 2) + (is_interlaced ? '\x40' : '\0') +
               static_cast<char>(kBits);
  for (size_t i = 0; i < packed.size(); i += 255) {
    const Bytes block = packed.substr(i, 255);
    file += static_cast<char>(block.size()) + block;
  }
  return file + "\0;"s;
}

TEST_F(PictureRepairs, GifIsDrawnOnItsBackground) {
  struct Case {
    int width;
    int height;
    bool is_interlaced;
    int missing;  // pixels at the end
  };
  const Case cases[] = {{300, 200, false, 0}, {300, 201, true, 0}, {7, 9, false, 10},
                        {7, 9, true, 10},     {5, 1, true, 0},     {1, 3, true, 0}};
  for (const Case &test : cases) {
    const int width = test.width + 2;
    std::vector<int> rows;  // in the order of the file
    for (const auto &[first, step] : {std::pair(0, 8), {4, 8}, {2, 4}, {1, 2}}) {
      for (int y = test.is_interlaced ? first : 0; y < test.height; y += step) {
        rows.push_back(y);
        y -= test.is_interlaced ? 0 : step - 1;
      }
      if (!test.is_interlaced) {
        break;
      }
    }
    std::vector<int> indices(static_cast<size_t>(test.width * test.height - test.missing));
    Bytes expected;
    for (int i = 0; i < width * (test.height + 3); ++i) {
      expected += "ghi\xFF";
    }
    for (size_t i = 0; i < indices.size(); ++i) {
      // Runs, which have long codes, and noise.
      indices[i] = i % 1000 < 500 ? static_cast<int>(random_() % 4) : 1;
      const int x = static_cast<int>(i) % test.width;
      const int y = rows.at(i / static_cast<size_t>(test.width));
      expected.replace(static_cast<size_t>(4 * ((y + 2) * width + x + 1)), 3,
                       "abcdefghijkl"s.substr(static_cast<size_t>(3 * indices[i]), 3));
    }
    const Bytes file = gif_of(indices, test.width, test.height, test.is_interlaced);
    EXPECT_TRUE(decoded(file) == expected) << test.width << " x " << test.height;
  }
}

}  // namespace
}  // namespace tavrine::test

// Stands for a C library that rounds differently: nothing may use it.
extern "C" float powf(float, float) { return 0; }

namespace tavrine::test {
namespace {

double hdr_curve(float value) {
  return 255 * std::pow(static_cast<double>(value), static_cast<double>(1 / 2.2F)) + 0.5;
}

// Every value that a HDR file can store, beside the curve in double precision.
TEST_F(PictureRepairs, HdrValuesFollowTheToneCurve) {
  Bytes file = "#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n-Y 65536 +X 1\n";
  Bytes expected;
  for (int exponent = 0; exponent < 256; ++exponent) {
    for (int mantissa = 0; mantissa < 256; ++mantissa) {
      const int mantissas[] = {mantissa, 255 - mantissa, 128};
      for (const int value : mantissas) {
        file += static_cast<char>(value);
        const float stored =
            exponent == 0 ? 0 : static_cast<float>(std::ldexp(value, exponent - 136));
        expected += static_cast<char>(static_cast<uint8_t>(std::min(hdr_curve(stored), 255.0)));
      }
      file += static_cast<char>(exponent);
    }
  }
  EXPECT_TRUE(decoded(file) == expected);
}

#if defined(STBI__HDR_THRESHOLDS)
// Each threshold is the smallest float that reaches its byte, by more than the error of pow.
TEST_F(PictureRepairs, HdrThresholdsAreExact) {
  constexpr double kPowError = 1e-14;
  for (int byte = 1; byte <= 255; ++byte) {
    const float threshold = stbi__hdr_thresholds[byte - 1];
    EXPECT_GE(hdr_curve(threshold), byte * (1 + kPowError)) << byte;
    EXPECT_LT(hdr_curve(std::nextafter(threshold, 0.0F)), byte * (1 - kPowError)) << byte;
    EXPECT_EQ(stbi__hdr_byte(threshold), byte);
    EXPECT_EQ(stbi__hdr_byte(std::nextafter(threshold, 0.0F)), byte - 1);
  }
  EXPECT_EQ(stbi__hdr_byte(INFINITY), 255);
  EXPECT_EQ(stbi__hdr_byte(-1), 0);
}
#endif

// ---- Findings -------------------------------------------------------------------------

TEST_F(PictureRepairs, FindingsAreRefused) {
  for (const char *name : {"jpeg-too-many-codes", "jpeg-too-many-codes-long", "pic-unknown-packet",
                           "png-empty-data", "jpeg-thousand-scans"}) {
    EXPECT_FALSE(decode(read_picture(picture_folder("findings") / name)).pixels) << name;
  }
  // Before memory for their pixels is allocated.
  for (const char *name : {"jpeg-without-scan-data", "jpeg-progressive-without-data",
                           "jpeg-large-scans", "gif-announces-a-gigabyte"}) {
    fail_allocation(0);
    EXPECT_FALSE(decode(read_picture(picture_folder("findings") / name)).pixels) << name;
    EXPECT_LT(largest_allocation(), size_t{1} << 20) << name;
  }
}

TEST_F(PictureRepairs, AnnouncedPixelsAreLimitedByTheFile) {
  const auto gif = [](int width, int height) {
    return "GIF89a"s + static_cast<char>(width) + static_cast<char>(width >> 8) +
           static_cast<char>(height) + static_cast<char>(height >> 8) + "\0\0\0"s;
  };
  // 2048 x 2048 pixels of four bytes for any file, and four rows more for each byte.
  for (const int more : {0, 1}) {
    fail_allocation(0);
    decode(gif(2048, 2048 + 4 * 16 + more) + Bytes(3, '\0'));
    EXPECT_EQ(largest_allocation() > size_t{1} << 20, more == 0);
    // In a JPEG, half a row of 4096 grey pixels.
    const auto jpeg = [&](int rows) {
      return JpegWriter(Process::kBaseline, 4096, rows, 1).scan({1}, 0, 63, "").finish();
    };
    const auto size = static_cast<int>(jpeg(1).size());
    fail_allocation(0);
    decode(jpeg(4096 + size / 2 + more));
    EXPECT_EQ(largest_allocation() > size_t{1} << 20, more == 0);
  }
}

}  // namespace
}  // namespace tavrine::test
