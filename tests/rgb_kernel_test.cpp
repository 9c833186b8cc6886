// Grey and packed conversions on every instruction set, held against their scalar definitions.
#include <algorithm>

#include "host/kernels/rgb.h"
#include "host/kernels/rgb_scalar.h"
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
    {1, 3, replicate_grey, scalar::replicate_grey},
    {3, 3, swap_red_blue, scalar::swap_red_blue},
    {3, 1,
     [](const PlaneView &in, const PlaneView &out) {
       return weigh_luma(in, ByteOrder::kRedFirst, out);
     },
     [](const uint8_t *in, int32_t columns, uint8_t *out) {
       scalar::weigh_luma(in, 0, columns, out);
     }},
    {3, 1,
     [](const PlaneView &in, const PlaneView &out) {
       return weigh_luma(in, ByteOrder::kBlueFirst, out);
     },
     [](const uint8_t *in, int32_t columns, uint8_t *out) {
       scalar::weigh_luma(in, 2, columns, out);
     }},
};

TEST(RgbKernels, EqualTheirDefinition) {
  on_every_target([] {
    std::mt19937 random(5);
    for (const Kernel &kernel : kKernels) {
      for (const int32_t width : widths_to_try()) {
        for (const ptrdiff_t padding : {0, 5}) {
          GuardedPlane in(width, 3, kernel.source_channels, padding);
          in.fill(random);
          if (width % 4 == 0) {  // greys, where the luma's exact quotients lie
            std::memset(in.view().row(1), width, static_cast<size_t>(in.view().row_bytes()));
          }
          GuardedPlane out(width, 3, kernel.destination_channels, padding);
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

// Where the weighted sum is a whole number, only its last bit decides whether a luma is one less.
TEST(RgbKernels, TruncateExactLumas) {
  std::vector<uint8_t> pixels;
  for (int green = 0; green < 256; ++green) {
    for (int red = 0; red < 256; ++red) {
      for (int blue = 0; blue < 256; ++blue) {
        if ((587 * green + 299 * red + 114 * blue) % 1000 == 0) {
          // The next one up and down lie just beside a whole number.
          for (const int step : {-1, 0, 1}) {
            const int other = std::min(std::max(blue + step, 0), 255);
            pixels.insert(pixels.end(), {static_cast<uint8_t>(red), static_cast<uint8_t>(green),
                                         static_cast<uint8_t>(other)});
          }
        }
      }
    }
  }
  const auto count = static_cast<int32_t>(pixels.size() / 3);
  ASSERT_GT(count, 3 * 256);
  const PlaneView packed{pixels.data(), 3, count, 1, static_cast<ptrdiff_t>(pixels.size())};
  on_every_target([&] {
    for (const ByteOrder order : {ByteOrder::kRedFirst, ByteOrder::kBlueFirst}) {
      std::vector<uint8_t> expected(static_cast<size_t>(count));
      scalar::weigh_luma(pixels.data(), red_byte(order), count, expected.data());
      std::vector<uint8_t> lumas(static_cast<size_t>(count));
      ASSERT_TRUE(weigh_luma(packed, order, {lumas.data(), 1, count, 1, count}));
      ASSERT_EQ(lumas, expected);
    }
  });
}

}  // namespace
}  // namespace tavrine::test
