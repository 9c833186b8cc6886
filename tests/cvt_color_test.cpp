// Colour conversion on the CPU: the formulas for every input, and every pair of formats on frames
// with padded rows.
#include <algorithm>
#include <cmath>
#include <map>

#include "fuzz/definitions.h"
#include "tests/support.h"

namespace tavrine::test {
namespace {

using fuzz::rgb_of;
using fuzz::Triple;
using fuzz::yuv_of;

class CvtColor : public LibraryTest {};

// All 2^24 colours as the top left pixels of 2 x 2 blocks, in slices of one red value.
TEST_F(CvtColor, ForwardYuvOfEveryColour) {
  OwnedFrame rgb = make_frame(TAVRINE_FORMAT_RGB24, 512, 512);
  OwnedFrame nv12 = make_frame(TAVRINE_FORMAT_NV12, 512, 512);
  auto *pixels = static_cast<uint8_t *>(rgb->planes[0]);
  const auto *luma = static_cast<const uint8_t *>(nv12->planes[0]);
  const auto *chroma = static_cast<const uint8_t *>(nv12->planes[1]);
  std::fill_n(pixels, 512 * 512 * 3, uint8_t{200});
  for (int r = 0; r < 256; ++r) {
    for (int g = 0; g < 256; ++g) {
      for (int b = 0; b < 256; ++b) {
        uint8_t *pixel = pixels + (2 * g * 512 + 2 * b) * 3;
        pixel[0] = static_cast<uint8_t>(r);
        pixel[1] = static_cast<uint8_t>(g);
        pixel[2] = static_cast<uint8_t>(b);
      }
    }
    ASSERT_EQ(tavrine_frame_cvt_color(rgb.get(), nv12.slot(), TAVRINE_FORMAT_NV12), 0);
    int wrong = 0;
    for (int g = 0; g < 256; ++g) {
      for (int b = 0; b < 256; ++b) {
        const uint8_t *pair = chroma + g * 512 + 2 * b;
        wrong += Triple{luma[2 * g * 512 + 2 * b], pair[0], pair[1]} != yuv_of(r, g, b);
      }
    }
    ASSERT_EQ(wrong, 0) << "red " << r;
  }
}

TEST_F(CvtColor, InverseYuvOfEveryTriple) {
  OwnedFrame nv21 = make_frame(TAVRINE_FORMAT_NV21, 512, 128);
  OwnedFrame bgr = make_frame(TAVRINE_FORMAT_BGR24, 512, 128);
  auto *luma = static_cast<uint8_t *>(nv21->planes[0]);
  auto *chroma = static_cast<uint8_t *>(nv21->planes[1]);
  const auto *pixels = static_cast<const uint8_t *>(bgr->planes[0]);
  // 64 blocks of four pixels hold the 256 lumas of one V value, one U value a frame.
  for (int i = 0; i < 512 * 128; ++i) {
    const int x = i % 512;
    const int y = i / 512;
    luma[i] = static_cast<uint8_t>((x / 2 % 64) * 4 + (y % 2) * 2 + x % 2);
  }
  const auto v_at = [](int x, int y) { return y / 2 * 4 + x / 128; };
  for (int u = 0; u < 256; ++u) {
    for (int y = 0; y < 64; ++y) {
      for (int x = 0; x < 512; x += 2) {
        chroma[y * 512 + x] = static_cast<uint8_t>(v_at(x, 2 * y));
        chroma[y * 512 + x + 1] = static_cast<uint8_t>(u);
      }
    }
    ASSERT_EQ(tavrine_frame_cvt_color(nv21.get(), bgr.slot(), TAVRINE_FORMAT_BGR24), 0);
    int wrong = 0;
    for (int i = 0; i < 512 * 128; ++i) {
      const uint8_t *pixel = pixels + 3 * i;
      wrong += Triple{pixel[2], pixel[1], pixel[0]} != rgb_of(luma[i], u, v_at(i % 512, i / 512));
    }
    ASSERT_EQ(wrong, 0) << "U " << u;
  }
}

bool is_supported(uint32_t from, uint32_t to) {
  const auto is_four_byte = [](uint32_t format) {
    return format == TAVRINE_FORMAT_BGRA || format == TAVRINE_FORMAT_ARGB;
  };
  if (from == TAVRINE_FORMAT_Y16) {
    return to == TAVRINE_FORMAT_GREY;
  }
  return !is_four_byte(from) && !is_four_byte(to) && to != TAVRINE_FORMAT_Y16;
}

TEST_F(CvtColor, EveryPairOnPaddedFrames) {
  for (const uint32_t from : kAllFormats) {
    for (const uint32_t to : kAllFormats) {
      if (from == to) {
        continue;
      }
      PaddedFrame in = make_padded_frame(from, 34, 6, random_);
      PaddedFrame out = make_padded_frame(to, 34, 6, random_);
      const std::vector<uint8_t> before = pixels_of(out.frame.get());
      const int32_t result = tavrine_frame_cvt_color(in.frame.get(), out.frame.slot(), to);
      const std::string pair = std::string(tavrine_frame_pixfmt_to_string(from)) + " to " +
                               tavrine_frame_pixfmt_to_string(to);
      if (!is_supported(from, to)) {
        ASSERT_EQ(result, -1000) << pair;
        ASSERT_EQ(pixels_of(out.frame.get()), before);
        expect_log(4, "aux.host", "Unsupported frame convert from " + pair + "!\n");
      } else {
        ASSERT_EQ(result, 0) << pair;
        if (from != TAVRINE_FORMAT_Y16) {
          const OwnedFrame expected = fuzz::defined_conversion(in.frame.get(), to);
          ASSERT_EQ(pixels_of(out.frame.get()), pixels_of(expected.get())) << pair;
        }
      }
      ASSERT_TRUE(out.surroundings_unharmed()) << pair;
      ASSERT_EQ(out.frame->pixel_format, to);
      ASSERT_EQ(out.frame->plane_count, static_cast<int>(planes_of(to, 2, 2).size()));
    }
  }
}

TEST_F(CvtColor, RefusesOddSizesAndUnequalStrides) {
  const struct {
    uint32_t from, to;
    int width, height;
  } odd[] = {{TAVRINE_FORMAT_RGB24, TAVRINE_FORMAT_NV12, 5, 4},
             {TAVRINE_FORMAT_BGR24, TAVRINE_FORMAT_NV21, 4, 5},
             {TAVRINE_FORMAT_RGB24, TAVRINE_FORMAT_YU12, 5, 4},
             {TAVRINE_FORMAT_NV12, TAVRINE_FORMAT_BGR24, 3, 4},
             {TAVRINE_FORMAT_NV21, TAVRINE_FORMAT_RGB24, 4, 3}};
  for (const auto &test : odd) {
    OwnedFrame in = make_frame(test.from, test.width, test.height);
    OwnedFrame out = make_frame(test.to, test.width, test.height);
    fill(out.get(), 77);
    const std::vector<uint8_t> before = pixels_of(out.get());
    EXPECT_EQ(tavrine_frame_cvt_color(in.get(), out.slot(), test.to), -4);
    EXPECT_EQ(pixels_of(out.get()), before);
    OwnedFrame none;
    EXPECT_EQ(tavrine_frame_cvt_color(in.get(), none.slot(), test.to), -4);
    EXPECT_FALSE(none);
  }
  // Chroma rows must lie as far apart as luma rows.
  const int32_t strides[4] = {16, 24, 0, 0};
  OwnedFrame uneven(tavrine_frame_alloc(0, TAVRINE_FORMAT_NV12, 16, 4, strides, 0));
  OwnedFrame rgb = make_frame(TAVRINE_FORMAT_RGB24, 16, 4);
  EXPECT_EQ(tavrine_frame_cvt_color(rgb.get(), uneven.slot(), TAVRINE_FORMAT_NV12), -4);
  EXPECT_EQ(tavrine_frame_cvt_color(uneven.get(), rgb.slot(), TAVRINE_FORMAT_RGB24), -4);
  EXPECT_TRUE(take_log().empty());
}

// Half-size chroma of odd sizes is rounded down, but an odd width's last byte is neutral too where
// the rows have room for it.
TEST_F(CvtColor, NeutralChromaFillsRowsOfOddWidth) {
  for (const auto &[width, height] : {std::pair{5, 4}, {7, 5}, {1, 4}, {4, 1}, {33, 6}, {6, 4}}) {
    for (const uint32_t format : {TAVRINE_FORMAT_NV12, TAVRINE_FORMAT_NV21}) {
      OwnedFrame in = make_frame(TAVRINE_FORMAT_GREY, width, height);
      fill_random(in.get(), random_);
      const int32_t strides[4] = {width + 3, width + 2, 0, 0};
      OwnedFrame out(tavrine_frame_alloc(0, format, width, height, strides, 0));
      auto *chroma = static_cast<uint8_t *>(out->planes[1]);
      const auto bytes = static_cast<size_t>(strides[1]) * static_cast<size_t>(height / 2);
      std::fill_n(chroma, bytes, uint8_t{7});
      ASSERT_EQ(tavrine_frame_cvt_color(in.get(), out.slot(), format), 0);
      for (size_t i = 0; i < bytes; ++i) {
        const bool is_padding = i % static_cast<size_t>(strides[1]) >= static_cast<size_t>(width);
        ASSERT_EQ(chroma[i], is_padding ? 7 : 128) << width << "x" << height << " byte " << i;
      }
      // Rows without that room, up to the end of their memory.
      OwnedFrame tight;
      ASSERT_EQ(tavrine_frame_cvt_color(in.get(), tight.slot(), format), 0);
      std::vector<uint8_t> expected = pixels_of(in.get());
      expected.resize(expected.size() + static_cast<size_t>(width / 2 * 2 * (height / 2)), 128);
      ASSERT_EQ(pixels_of(tight.get()), expected) << width << "x" << height;
    }
  }
}

class ContrastStretch : public LibraryTest {
 protected:
  std::vector<uint8_t> stretch(int width, const std::vector<uint16_t> &samples) {
    OwnedFrame in = make_frame(TAVRINE_FORMAT_Y16, width, static_cast<int>(samples.size()) / width);
    std::vector<uint8_t> bytes;
    for (const uint16_t sample : samples) {
      bytes.insert(bytes.end(),
                   {static_cast<uint8_t>(sample & 255), static_cast<uint8_t>(sample >> 8)});
    }
    set_pixels(in.get(), bytes);
    OwnedFrame out;
    EXPECT_EQ(tavrine_frame_cvt_color(in.get(), out.slot(), TAVRINE_FORMAT_GREY), 0);
    return pixels_of(out.get());
  }
};

// Counts wrap at 65536, as a 16-bit counter does.
std::vector<uint8_t> stretch_by_definition(int width, const std::vector<uint16_t> &samples) {
  std::map<uint16_t, int> counts;
  for (const uint16_t sample : samples) {
    ++counts[sample];
  }
  const auto height = static_cast<int>(samples.size()) / width;
  const int clip = static_cast<int>(width * 0.0001 * height) % 65536;
  const auto reaches = [&](int count) { return count % 65536 >= clip; };
  int low = counts.begin()->first;
  int below = 0;
  for (const auto &[value, count] : counts) {
    if (reaches(below)) {
      low = value;
      break;
    }
    below += count;
  }
  int high = counts.rbegin()->first;
  int from = 0;
  for (auto bin = counts.rbegin(); bin != counts.rend(); ++bin) {
    from += bin->second;
    if (reaches(from)) {
      high = bin->first;
      break;
    }
  }
  std::vector<uint8_t> result;
  for (const uint16_t sample : samples) {
    const int grey = high == low ? 0 : static_cast<int>((sample - low) * 255.0 / (high - low));
    result.push_back(static_cast<uint8_t>(sample < low ? 0 : sample > high ? 255 : grey));
  }
  return result;
}

TEST_F(ContrastStretch, EqualsItsDefinition) {
  for (int i = 0; i < 40; ++i) {
    // One value has about 65536 of the 90000 pixels, and is anywhere among the others.
    const size_t many = 65530 + random_() % 20;
    std::vector<uint16_t> samples(90000);
    std::fill_n(samples.begin(), many, static_cast<uint16_t>(random_() % 6 * 1000));
    const auto limit = static_cast<std::ptrdiff_t>(many);
    std::generate(samples.begin() + limit, samples.end(),
                  [&] { return static_cast<uint16_t>(random_() % 6 * 1000 + random_() % 2); });
    std::fill_n(samples.begin() + limit, random_() % 12, static_cast<uint16_t>(random_()));
    if (i == 0) {  // hardly a value has more than one pixel, and nine may saturate at each end
      std::generate(samples.begin(), samples.end(),
                    [&] { return static_cast<uint16_t>(random_()); });
    }
    ASSERT_EQ(stretch(300, samples), stretch_by_definition(300, samples)) << i;
  }
}

TEST_F(ContrastStretch, SmallFramesUseTheWholeRange) {
  EXPECT_EQ(stretch(2, {300, 70, 300, 70}), (std::vector<uint8_t>{255, 0, 255, 0}));
  EXPECT_EQ(stretch(4, {1000, 1100, 65000, 33000}), (std::vector<uint8_t>{0, 0, 255, 127}));
  EXPECT_EQ(stretch(3, {0, 65535, 32768}), (std::vector<uint8_t>{0, 255, 127}));
}

TEST_F(ContrastStretch, LargeFramesClipBothEnds) {
  // 40000 pixels: four may saturate at each end.
  std::vector<uint16_t> samples(40000, 500);
  std::fill_n(samples.begin(), 1000, uint16_t{400});
  std::fill_n(samples.begin() + 1000, 1000, uint16_t{600});
  const std::vector<uint16_t> rare = {3, 4, 5, 6, 65000};
  std::copy(rare.begin(), rare.end(), samples.begin() + 3000);
  const std::vector<uint8_t> out = stretch(200, samples);
  EXPECT_EQ(out, stretch_by_definition(200, samples));
  EXPECT_EQ(out[0], 0);       // the first value with four pixels below it
  EXPECT_EQ(out[1000], 255);  // with the value above it, more than four pixels
  EXPECT_EQ(out[5000], 127);

  // Exactly as many pixels as may saturate: their value is the bound.
  std::fill_n(samples.begin() + 3000, 4, uint16_t{5});
  std::fill_n(samples.begin() + 3004, 4, uint16_t{700});
  EXPECT_EQ(stretch(200, samples)[1000], 170);  // of 400 to 700

  // All pixels are equal, or all but one: then the low bound is above the high one.
  std::vector<uint16_t> equal(40000, 777);
  EXPECT_EQ(stretch(200, equal), std::vector<uint8_t>(40000, 0));
  equal[9] = 9000;
  EXPECT_EQ(stretch(200, equal), stretch_by_definition(200, equal));
  EXPECT_EQ(stretch(200, equal)[9], 255);
}

}  // namespace
}  // namespace tavrine::test
