// Colour conversions on every instruction set, compared with their scalar definitions.
#include "kernels/color/planes.h"
#include "kernels/color/planes_scalar.h"
#include "kernels/color/rgb_scalar.h"
#include "kernels/color/yuv.h"
#include "kernels/color/yuv_scalar.h"
#include "tests/kernel_support.h"

namespace tavrine::test {
namespace {

struct Kernel {
  int32_t source_channels;
  int32_t destination_channels;
  bool (*run)(const PlaneView &source, const PlaneView &destination);
  void (*define)(const uint8_t *in, int32_t columns, uint8_t *out);
};

const Kernel kKernels[] = {
    {2, 2, swap_pairs, scalar::swap_pairs_row},
    {4, 4, copy_plane,
     [](const uint8_t *in, int32_t columns, uint8_t *out) {
       std::memcpy(out, in, 4 * static_cast<size_t>(columns));
     }},
    {1, 3, replicate_grey, scalar::replicate_grey_row},
    {3, 3, swap_red_blue, scalar::swap_red_blue_row},
    {3, 1,
     [](const PlaneView &in, const PlaneView &out) {
       return weigh_luma(in, ByteOrder::kRedFirst, out);
     },
     [](const uint8_t *in, int32_t columns, uint8_t *out) {
       scalar::truncated_luma_row(in, 0, columns, out);
     }},
    {3, 1,
     [](const PlaneView &in, const PlaneView &out) {
       return weigh_luma(in, ByteOrder::kBlueFirst, out);
     },
     [](const uint8_t *in, int32_t columns, uint8_t *out) {
       scalar::truncated_luma_row(in, 2, columns, out);
     }},
};

// Padding of rows, and the edge at which a plane touches memory that faults.
const struct {
  ptrdiff_t padding;
  GuardedMemory::Edge edge;
} kLayouts[] = {{0, GuardedMemory::Edge::kLast},
                {5, GuardedMemory::Edge::kLast},
                {0, GuardedMemory::Edge::kFirst}};

TEST(ColorKernels, EqualTheirDefinition) {
  on_every_target([] {
    Random random(5);
    for (const Kernel &kernel : kKernels) {
      for (const int32_t width : widths_to_try()) {
        for (const auto &[padding, edge] : kLayouts) {
          GuardedPlane in(width, 3, kernel.source_channels, padding, edge);
          in.fill(random);
          GuardedPlane out(width, 3, kernel.destination_channels, padding, edge);
          std::vector<uint8_t> expected;
          for (int32_t y = 0; y < 3; ++y) {
            std::vector<uint8_t> row(static_cast<size_t>(out.view().row_bytes()));
            kernel.define(in.view().row(y), width, row.data());
            expected.insert(expected.end(), row.begin(), row.end());
          }
          ASSERT_TRUE(kernel.run(in.view(), out.view()));
          ASSERT_EQ(out.pixels(), expected)
              << "kernel " << &kernel - kKernels << " width " << width;
          ASSERT_TRUE(out.margins_unharmed());
        }
      }
    }
  });
}

// The luma is the integer quotient, except where that has no remainder: there the sum of doubles
// may be just short of it. This happens for 65 of the greys.
TEST(ColorKernels, WeightedLumaTruncatesForEveryColour) {
  const auto lumas_one_lower = [](ByteOrder order) {
    constexpr size_t kCount = 256 * 256;
    std::vector<uint8_t> pixels(3 * kCount);
    std::vector<uint8_t> lumas(kCount);
    std::vector<uint8_t> expected(kCount);
    int greys_one_lower = 0;
    for (int r = 0; r < 256; ++r) {
      for (size_t i = 0; i < kCount; ++i) {
        const int b = static_cast<int>(i % 256);
        const int g = static_cast<int>(i / 256);
        pixels[3 * i + static_cast<size_t>(red_byte(order))] = static_cast<uint8_t>(r);
        pixels[3 * i + 1] = static_cast<uint8_t>(g);
        pixels[3 * i + static_cast<size_t>(blue_byte(order))] = static_cast<uint8_t>(b);
        const int thousandfold = 587 * g + 299 * r + 114 * b;
        int luma = thousandfold / 1000;
        if (thousandfold % 1000 == 0) {
          const volatile double green = g * 0.587;
          const volatile double red = r * 0.299;
          const volatile double blue = b * 0.114;
          const volatile double green_red = green + red;
          luma -= green_red + blue < luma;
        }
        expected[i] = static_cast<uint8_t>(luma);
        greys_one_lower += r == g && g == b && luma == r - 1;
      }
      EXPECT_TRUE(weigh_luma({pixels.data(), 3, kCount, 1, 3 * kCount}, order,
                             {lumas.data(), 1, kCount, 1, kCount}));
      EXPECT_TRUE(lumas == expected) << "red " << r;
    }
    return greys_one_lower;
  };
  on_every_target([&] {
    EXPECT_EQ(lumas_one_lower(ByteOrder::kRedFirst), 65);
    EXPECT_EQ(lumas_one_lower(ByteOrder::kBlueFirst), 65);
  });
}

// Rows that hold as many greys as given, in a thousand, and a run of greys in their middle.
std::vector<uint8_t> pixels_with_greys(int32_t columns, unsigned greys, Random &random) {
  std::vector<uint8_t> pixels;
  for (int32_t x = 0; x < columns; ++x) {
    const bool is_in_run = x > columns / 3 && x < columns / 2;
    const auto level = static_cast<uint8_t>(random());
    if (is_in_run || random() % 1000 < greys) {
      pixels.insert(pixels.end(), 3, level);
    } else {
      const auto green = static_cast<uint8_t>(random());
      // Some have two equal bytes.
      const auto blue = random() % 8 == 0 ? level : static_cast<uint8_t>(random());
      pixels.insert(pixels.end(), {level, green, blue});
    }
  }
  return pixels;
}

TEST(ColorKernels, WeightedLumaOfPicturesWithGreys) {
  on_every_target([] {
    Random random(11);
    for (const ByteOrder order : {ByteOrder::kRedFirst, ByteOrder::kBlueFirst}) {
      for (const unsigned greys : {0U, 10U, 100U, 500U, 970U, 1000U}) {
        for (const int32_t width : {31, 64, 96, 100, 1000, 1024, 3001}) {
          std::vector<uint8_t> pixels = pixels_with_greys(width, greys, random);
          const auto columns = static_cast<size_t>(width);
          std::vector<uint8_t> lumas(columns);
          std::vector<uint8_t> expected(columns);
          scalar::truncated_luma_row(pixels.data(), red_byte(order), width, expected.data());
          ASSERT_TRUE(weigh_luma({pixels.data(), 3, width, 1, ptrdiff_t{3} * width}, order,
                                 {lumas.data(), 1, width, 1, width}));
          ASSERT_EQ(lumas, expected) << greys << " greys in 1000, width " << width;
        }
      }
    }
  });
}

TEST(ColorKernels, MovesOfChromaEqualTheirDefinition) {
  on_every_target([] {
    Random random(7);
    for (const int32_t width : widths_to_try()) {
      GuardedPlane pairs(width, 2, 2, width % 3);
      GuardedPlane first(width, 2, 1, width % 5);
      GuardedPlane second(width, 2, 1);
      GuardedPlane out(width, 2, 2, width % 7);
      pairs.fill(random);
      ASSERT_TRUE(deinterleave_plane(pairs.view(), first.view(), second.view()));
      const std::vector<uint8_t> pixels = pairs.pixels();
      std::vector<uint8_t> firsts, seconds;
      for (size_t i = 0; i < pixels.size(); i += 2) {
        firsts.push_back(pixels[i]);
        seconds.push_back(pixels[i + 1]);
      }
      ASSERT_EQ(first.pixels(), firsts) << width;
      ASSERT_EQ(second.pixels(), seconds) << width;
      ASSERT_TRUE(interleave_planes(first.view(), second.view(), out.view()));
      ASSERT_EQ(out.pixels(), pixels) << width;
      ASSERT_TRUE(out.margins_unharmed() && first.margins_unharmed() && second.margins_unharmed());
    }
  });
}

std::vector<uint8_t> zeros(const PlaneView &view) {
  return std::vector<uint8_t>(static_cast<size_t>(view.row_bytes() * view.rows));
}

TEST(ColorKernels, YuvConversionsEqualTheirDefinition) {
  on_every_target([] {
    Random random(8);
    for (const int32_t half_width : widths_to_try()) {
      const int32_t width = 2 * half_width;
      for (const ByteOrder order : {ByteOrder::kRedFirst, ByteOrder::kBlueFirst}) {
        for (const ChromaOrder chroma_order : {ChromaOrder::kUFirst, ChromaOrder::kVFirst}) {
          const int32_t red = red_byte(order);
          const auto u = static_cast<int32_t>(chroma_order);
          GuardedPlane packed(width, 4, 3, half_width % 4);
          GuardedPlane luma(width, 4, 1, 3);
          GuardedPlane chroma(half_width, 2, 2, 3);
          packed.fill(random);
          ASSERT_TRUE(rgb_to_yuv(packed.view(), order, luma.view(), chroma.view(), chroma_order));
          std::vector<uint8_t> lumas = zeros(luma.view());
          std::vector<uint8_t> pairs = zeros(chroma.view());
          for (int32_t y = 0; y < 4; ++y) {
            scalar::luma_row(packed.view().row(y), red, width, lumas.data() + y * width);
            if (y % 2 == 0) {
              scalar::chroma_row(packed.view().row(y), red, half_width,
                                 pairs.data() + y / 2 * width, u);
            }
          }
          ASSERT_EQ(luma.pixels(), lumas) << width;
          ASSERT_EQ(chroma.pixels(), pairs) << width;
          ASSERT_TRUE(luma.margins_unharmed() && chroma.margins_unharmed());

          luma.fill(random);
          chroma.fill(random);
          ASSERT_TRUE(yuv_to_rgb(luma.view(), chroma.view(), chroma_order, packed.view(), order));
          std::vector<uint8_t> pixels = zeros(packed.view());
          for (int32_t y = 0; y < 4; ++y) {
            scalar::packed_row(luma.view().row(y), chroma.view().row(y / 2), u, width,
                               pixels.data() + y * width * 3, red);
          }
          ASSERT_EQ(packed.pixels(), pixels) << width;
          ASSERT_TRUE(packed.margins_unharmed());
        }
      }
    }
  });
}

}  // namespace
}  // namespace tavrine::test
