// Colour conversion on the CPU: the formulas over their whole input space, and every pair of
// formats on frames with awkward memory.
#include <algorithm>
#include <cmath>

#include "tests/support.h"

namespace tavrine::test {
namespace {

constexpr uint32_t kAllFormats[] = {TAVRINE_FORMAT_GREY, TAVRINE_FORMAT_RGB24, TAVRINE_FORMAT_BGR24,
                                    TAVRINE_FORMAT_NV12, TAVRINE_FORMAT_NV21,  TAVRINE_FORMAT_YU12,
                                    TAVRINE_FORMAT_BGRA, TAVRINE_FORMAT_ARGB,  TAVRINE_FORMAT_Y16};

// The exact quotient, rounded half up, by real arithmetic: every value here is exact in double.
int rounded(double sum, double divisor) {
  return static_cast<int>(std::floor(sum / divisor + 0.5));
}

uint8_t saturated(int value) { return static_cast<uint8_t>(std::clamp(value, 0, 255)); }

uint8_t luma_of(double r, double g, double b) {
  return saturated(rounded(38 * r + 74 * g + 16 * b, 128));
}
uint8_t u_of(double r, double g, double b) {
  return saturated(rounded(65 * b - 22 * r - 43 * g, 128) + 128);
}
uint8_t v_of(double r, double g, double b) {
  return saturated(rounded(67 * r - 55 * g - 12 * b, 128) + 128);
}

class CvtColor : public LibraryTest {
 protected:
  static OwnedFrame convert(const OwnedFrame &in, uint32_t format) {
    OwnedFrame out;
    EXPECT_EQ(tavrine_frame_cvt_color(in.get(), out.slot(), format), 0)
        << tavrine_frame_pixfmt_to_string(in->pixel_format) << " to "
        << tavrine_frame_pixfmt_to_string(format);
    return out;
  }
};

// All 2^24 colours as the top left pixels of 2 x 2 blocks, in slices of one red value.
TEST_F(CvtColor, ForwardYuvIsTheFormulaForEveryColour) {
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
        wrong += luma[2 * g * 512 + 2 * b] != luma_of(r, g, b);
        wrong += chroma[g * 512 + 2 * b] != u_of(r, g, b);
        wrong += chroma[g * 512 + 2 * b + 1] != v_of(r, g, b);
      }
    }
    ASSERT_EQ(wrong, 0) << "red " << r;
  }
}

TEST_F(CvtColor, InverseYuvIsTheFormulaForEveryTriple) {
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
      const double from_v = v_at(i % 512, i / 512) - 128;
      const double from_u = u - 128;
      const double base = 64.0 * luma[i];
      wrong += pixels[3 * i] != saturated(rounded(base + 110 * from_u, 64));
      wrong += pixels[3 * i + 1] != saturated(rounded(base - 44 * from_v - 24 * from_u, 64));
      wrong += pixels[3 * i + 2] != saturated(rounded(base + 86 * from_v, 64));
    }
    ASSERT_EQ(wrong, 0) << "U " << u;
  }
}

// The integer quotient says what the truncated double is, but where the quotient is exact: there
// the double's sum may fall just short. Among the greys it does so 65 times.
TEST_F(CvtColor, WeightedLumaTruncatesForEveryColour) {
  OwnedFrame bgr = make_frame(TAVRINE_FORMAT_BGR24, 256, 256);
  OwnedFrame grey = make_frame(TAVRINE_FORMAT_GREY, 256, 256);
  auto *pixels = static_cast<uint8_t *>(bgr->planes[0]);
  const auto *luma = static_cast<const uint8_t *>(grey->planes[0]);
  int greys_one_lower = 0;
  for (int r = 0; r < 256; ++r) {
    for (int i = 0; i < 65536; ++i) {
      pixels[3 * i] = static_cast<uint8_t>(i % 256);
      pixels[3 * i + 1] = static_cast<uint8_t>(i / 256);
      pixels[3 * i + 2] = static_cast<uint8_t>(r);
    }
    ASSERT_EQ(tavrine_frame_cvt_color(bgr.get(), grey.slot(), TAVRINE_FORMAT_GREY), 0);
    int wrong = 0;
    for (int i = 0; i < 65536; ++i) {
      const int b = i % 256;
      const int g = i / 256;
      const int thousandfold = 587 * g + 299 * r + 114 * b;
      int expected = thousandfold / 1000;
      if (thousandfold % 1000 == 0) {
        const volatile double green = g * 0.587;
        const volatile double red = r * 0.299;
        const volatile double blue = b * 0.114;
        const volatile double green_red = green + red;
        expected -= green_red + blue < expected;
      }
      wrong += luma[i] != expected;
      greys_one_lower += r == g && g == b && luma[i] == r - 1;
    }
    ASSERT_EQ(wrong, 0) << "red " << r;
  }
  EXPECT_EQ(greys_one_lower, 65);
}

TEST_F(CvtColor, KnownColoursAndByteOrders) {
  struct Colour {
    uint8_t r, g, b, y, u, v;
  };
  const Colour colours[] = {
      {255, 255, 255, 255, 128, 128}, {255, 0, 0, 76, 84, 255}, {0, 0, 255, 32, 255, 104}};
  for (const Colour &colour : colours) {
    OwnedFrame rgb = make_frame(TAVRINE_FORMAT_RGB24, 2, 2);
    std::vector<uint8_t> pixels(12);
    for (size_t i = 0; i < 12; i += 3) {
      pixels[i] = colour.r;
      pixels[i + 1] = colour.g;
      pixels[i + 2] = colour.b;
    }
    set_pixels(rgb.get(), pixels);
    const std::vector<uint8_t> nv12 = {colour.y, colour.y, colour.y, colour.y, colour.u, colour.v};
    const std::vector<uint8_t> nv21 = {colour.y, colour.y, colour.y, colour.y, colour.v, colour.u};
    EXPECT_EQ(pixels_of(convert(rgb, TAVRINE_FORMAT_NV12).get()), nv12);
    EXPECT_EQ(pixels_of(convert(rgb, TAVRINE_FORMAT_NV21).get()), nv21);
    EXPECT_EQ(pixels_of(convert(rgb, TAVRINE_FORMAT_YU12).get()), nv12);
    const OwnedFrame bgr = convert(rgb, TAVRINE_FORMAT_BGR24);
    EXPECT_EQ(pixels_of(convert(bgr, TAVRINE_FORMAT_NV12).get()), nv12);
  }
  OwnedFrame reddish = make_frame(TAVRINE_FORMAT_NV12, 2, 2);
  set_pixels(reddish.get(), {76, 76, 76, 76, 106, 195});
  EXPECT_EQ(pixels_of(convert(reddish, TAVRINE_FORMAT_RGB24).get()),
            (std::vector<uint8_t>{166, 38, 38, 166, 38, 38, 166, 38, 38, 166, 38, 38}));
}

// What every pair must give, from the pairs proven above and moves of bytes.
std::vector<uint8_t> convert_by_definition(const std::vector<uint8_t> &in, uint32_t from,
                                           uint32_t to, int width, int height) {
  const int pixels = width * height;
  std::vector<uint8_t> out = in;
  const auto swap_by = [&](int first, int distance, int step) {
    for (size_t i = static_cast<size_t>(first); i + distance < out.size(); i += step) {
      std::swap(out[i], out[i + distance]);
    }
  };
  const auto through = [&](uint32_t middle) {
    return convert_by_definition(convert_by_definition(in, from, middle, width, height), middle, to,
                                 width, height);
  };
  if (from == to) {
    return in;
  }
  if (from == TAVRINE_FORMAT_BGR24) {
    swap_by(0, 2, 3);
    return convert_by_definition(out, TAVRINE_FORMAT_RGB24, to, width, height);
  }
  if (to == TAVRINE_FORMAT_GREY && from != TAVRINE_FORMAT_RGB24) {
    out.resize(pixels);
    return out;
  }
  if (to == TAVRINE_FORMAT_BGR24) {
    out = convert_by_definition(in, from, TAVRINE_FORMAT_RGB24, width, height);
    swap_by(0, 2, 3);
    return out;
  }
  if (to == TAVRINE_FORMAT_NV21 && from == TAVRINE_FORMAT_NV12) {
    swap_by(pixels, 1, 2);
    return out;
  }
  if (from == TAVRINE_FORMAT_NV21) {
    swap_by(pixels, 1, 2);
    return convert_by_definition(out, TAVRINE_FORMAT_NV12, to, width, height);
  }
  if (from == TAVRINE_FORMAT_NV12 && to == TAVRINE_FORMAT_YU12) {
    for (int i = 0; i < pixels / 4; ++i) {
      out[pixels + i] = in[pixels + 2 * i];
      out[pixels + pixels / 4 + i] = in[pixels + 2 * i + 1];
    }
    return out;
  }
  if (from == TAVRINE_FORMAT_YU12 && to == TAVRINE_FORMAT_NV12) {
    for (int i = 0; i < pixels / 4; ++i) {
      out[pixels + 2 * i] = in[pixels + i];
      out[pixels + 2 * i + 1] = in[pixels + pixels / 4 + i];
    }
    return out;
  }
  if (from == TAVRINE_FORMAT_GREY && to == TAVRINE_FORMAT_RGB24) {
    out.clear();
    for (const uint8_t value : in) {
      out.insert(out.end(), 3, value);
    }
    return out;
  }
  if (from == TAVRINE_FORMAT_GREY && to == TAVRINE_FORMAT_NV12) {
    out.insert(out.end(), pixels / 2, 128);
    return out;
  }
  if (from == TAVRINE_FORMAT_RGB24 && to == TAVRINE_FORMAT_GREY) {
    for (int i = 0; i < pixels; ++i) {
      out[i] =
          static_cast<uint8_t>(in[3 * i + 1] * 0.587 + in[3 * i] * 0.299 + in[3 * i + 2] * 0.114);
    }
    out.resize(pixels);
    return out;
  }
  if (from == TAVRINE_FORMAT_RGB24 && to == TAVRINE_FORMAT_NV12) {
    out.resize(pixels * 3 / 2);
    for (int i = 0; i < pixels; ++i) {
      const uint8_t *p = &in[3 * i];
      const int x = i % width;
      const int y = i / width;
      out[i] = luma_of(p[0], p[1], p[2]);
      if (x % 2 == 0 && y % 2 == 0) {
        out[pixels + y / 2 * width + x] = u_of(p[0], p[1], p[2]);
        out[pixels + y / 2 * width + x + 1] = v_of(p[0], p[1], p[2]);
      }
    }
    return out;
  }
  if (from == TAVRINE_FORMAT_NV12 && to == TAVRINE_FORMAT_RGB24) {
    out.resize(pixels * 3);
    for (int i = 0; i < pixels; ++i) {
      const int pair = pixels + i / width / 2 * width + i % width / 2 * 2;
      const double u = in[pair] - 128;
      const double v = in[pair + 1] - 128;
      out[3 * i] = saturated(rounded(64.0 * in[i] + 86 * v, 64));
      out[3 * i + 1] = saturated(rounded(64.0 * in[i] - 44 * v - 24 * u, 64));
      out[3 * i + 2] = saturated(rounded(64.0 * in[i] + 110 * u, 64));
    }
    return out;
  }
  return through(TAVRINE_FORMAT_NV12);
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
        const std::vector<LogRecord> log = take_log();
        ASSERT_EQ(log.size(), 1U);
        ASSERT_EQ(log[0].text, "Unsupported frame convert from " + pair + "!\n");
        ASSERT_EQ(log[0].tag, "aux.host");
      } else {
        ASSERT_EQ(result, 0) << pair;
        if (from != TAVRINE_FORMAT_Y16) {
          ASSERT_EQ(pixels_of(out.frame.get()),
                    convert_by_definition(pixels_of(in.frame.get()), from, to, 34, 6))
              << pair;
        }
      }
      ASSERT_TRUE(out.surroundings_unharmed()) << pair;
      ASSERT_EQ(out.frame->pixel_format, to);
      ASSERT_EQ(out.frame->plane_count, static_cast<int>(planes_of(to, 2, 2).size()));
    }
  }
}

TEST_F(CvtColor, RefusesOddSizesAndPlanesThatDoNotFit) {
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

class ContrastStretch : public CvtColor {
 protected:
  std::vector<uint8_t> stretch(int width, const std::vector<uint16_t> &samples) {
    OwnedFrame in = make_frame(TAVRINE_FORMAT_Y16, width, static_cast<int>(samples.size()) / width);
    std::vector<uint8_t> bytes;
    for (const uint16_t sample : samples) {
      bytes.insert(bytes.end(),
                   {static_cast<uint8_t>(sample & 255), static_cast<uint8_t>(sample >> 8)});
    }
    set_pixels(in.get(), bytes);
    return pixels_of(convert(in, TAVRINE_FORMAT_GREY).get());
  }
};

TEST_F(ContrastStretch, SmallFramesUseTheirWholeRange) {
  EXPECT_EQ(stretch(2, {300, 70, 300, 70}), (std::vector<uint8_t>{255, 0, 255, 0}));
  EXPECT_EQ(stretch(4, {1000, 1100, 65000, 33000}), (std::vector<uint8_t>{0, 0, 255, 127}));
  EXPECT_EQ(stretch(3, {0, 65535, 32768}), (std::vector<uint8_t>{0, 255, 127}));
}

TEST_F(ContrastStretch, LargeFramesClipBothEndsAndUniformFramesAreBlack) {
  // 40000 pixels: four may saturate at each end.
  std::vector<uint16_t> samples(40000, 500);
  std::fill_n(samples.begin(), 1000, uint16_t{400});
  std::fill_n(samples.begin() + 1000, 1000, uint16_t{600});
  samples[3000] = 3;
  samples[3001] = 4;
  samples[3002] = 5;
  samples[3003] = 6;
  samples[3004] = 65000;
  const std::vector<uint8_t> out = stretch(200, samples);
  EXPECT_EQ(out[3000], 0);
  EXPECT_EQ(out[3003], 0);
  EXPECT_EQ(out[0], 0);       // the first value with four pixels below it
  EXPECT_EQ(out[1000], 255);  // with the value above it, more than four pixels
  EXPECT_EQ(out[5000], 127);
  EXPECT_EQ(out[3004], 255);

  // Exactly as many as may saturate: the value that they have is the bound.
  std::fill_n(samples.begin() + 3000, 4, uint16_t{5});
  std::fill_n(samples.begin() + 3004, 4, uint16_t{700});
  EXPECT_EQ(stretch(200, samples)[1000], 170);  // of 400 to 700

  EXPECT_EQ(stretch(200, std::vector<uint16_t>(40000, 777)), std::vector<uint8_t>(40000, 0));
  // All but one pixel alike: both bounds pass each other.
  std::vector<uint16_t> nearly(40000, 777);
  nearly[9] = 9000;
  std::vector<uint8_t> expected(40000, 0);
  expected[9] = 255;
  EXPECT_EQ(stretch(200, nearly), expected);
}

}  // namespace
}  // namespace tavrine::test
