// Tensor fills on every instruction set, held against their definition bit by bit.
#include "kernels/tensor/tensor.h"

#include <cmath>

#include "kernels/tensor/tensor_scalar.h"
#include "tests/kernel_support.h"

namespace tavrine::test {
namespace {

// Ordinary values, and those for which vectors may differ: results that are denormal, infinite, NaN
// or beyond 32 bits, and denormal means and scales.
const ChannelNormalization kNormalizations[] = {{0, 1, 0},
                                                {-0.0F, 1, 7},
                                                {123.675F, 58.395F, -2.5F},
                                                {127.5F, 127.5F, 1},
                                                {127, 57.12F, 300},
                                                {104, -0.25F, 2},
                                                {0, 255, 0.5F},
                                                {116.28F, 1e37F, 1},
                                                {3, 3e38F, 1},
                                                {1e-39F, 1e-30F, 1e-39F},
                                                {255, 1e-39F, 1},
                                                {0.5F, 0, 1},
                                                {INFINITY, 1, 4294967040.0F},
                                                {NAN, 2, 1},
                                                {1, NAN, 1},
                                                {-2147483392.0F, 1, 1},
                                                {-7.5F, 1e-8F, 1e20F},
                                                {0, 0.001F, 0}};

// Colour or grey pixels into as many planes, or colour pixels into one.
struct Kernel {
  int32_t source_channels;
  int32_t image_channels;
  ByteOrder order;
};

const Kernel kKernels[] = {{3, 3, ByteOrder::kRedFirst},
                           {3, 3, ByteOrder::kBlueFirst},
                           {1, 1, ByteOrder::kRedFirst},
                           {3, 1, ByteOrder::kRedFirst},
                           {3, 1, ByteOrder::kBlueFirst}};

template <typename Element>
void fill(const Kernel &kernel, const PlaneView &pixels, const ChannelNormalization channels[3],
          const ElementPlanes<Element> &image) {
  if (kernel.image_channels == 3) {
    const int32_t bytes[3] = {red_byte(kernel.order), 1, blue_byte(kernel.order)};
    fill_color(pixels, bytes, channels, image);
  } else if (kernel.source_channels == 3) {
    fill_weighted_grey(pixels, kernel.order, channels[0], image);
  } else {
    fill_grey(pixels, channels[0], image);
  }
}

template <typename Element>
Element define(const Kernel &kernel, const uint8_t *pixel, int32_t channel,
               const ChannelNormalization channels[3]) {
  const int32_t red = red_byte(kernel.order);
  if (kernel.image_channels == 3) {
    return scalar::color_element<Element>(pixel[red == 0 ? channel : 2 - channel],
                                          channels[channel]);
  }
  return kernel.source_channels == 3
             ? scalar::weighted_element<Element>(pixel[red], pixel[1], pixel[2 - red], channels[0])
             : scalar::grey_element<Element>(*pixel, channels[0]);
}

template <typename Element>
void expect_definition(const Kernel &kernel, int32_t columns, int32_t image_columns,
                       const ChannelNormalization channels[3], Random &random) {
  constexpr int32_t kRows = 2;
  constexpr int32_t kImageRows = 3;
  constexpr auto kSize = static_cast<int32_t>(sizeof(Element));
  GuardedPlane in(columns, kRows, kernel.source_channels, 5);
  in.fill(random);
  if (columns >= 256) {  // every byte
    for (int64_t i = 0; i < in.view().row_bytes(); ++i) {
      in.view().row(0)[i] = static_cast<uint8_t>(i / kernel.source_channels);
    }
  }
  GuardedPlane out(image_columns, kImageRows * kernel.image_channels, kSize, 3 * kSize);
  const ptrdiff_t stride = out.view().stride / kSize;
  const ElementPlanes<Element> image = {
      static_cast<Element *>(static_cast<void *>(out.view().data)), image_columns, kImageRows,
      stride, stride * kImageRows};
  std::vector<Element> expected;
  for (int32_t row = 0; row < kImageRows * kernel.image_channels; ++row) {
    const int32_t channel = row / kImageRows;
    const int32_t y = row % kImageRows;
    for (int32_t x = 0; x < image_columns; ++x) {
      expected.push_back(y < kRows && x < columns
                             ? define<Element>(kernel,
                                               in.view().row(y) + x * kernel.source_channels,
                                               channel, channels)
                             : scalar::to_element<Element>(channels[channel].padding));
    }
  }
  fill(kernel, in.view(), channels, image);
  const std::vector<uint8_t> bytes = out.pixels();
  ASSERT_EQ(bytes.size(), expected.size() * kSize);
  for (size_t i = 0; std::memcmp(bytes.data(), expected.data(), bytes.size()) != 0; ++i) {
    ASSERT_EQ(std::memcmp(bytes.data() + i * kSize, &expected[i], kSize), 0)
        << "element " << i << " of columns " << columns << " in " << image_columns << ": not "
        << +expected[i];
  }
  ASSERT_TRUE(out.margins_unharmed());
}

template <typename Element>
void expect_definitions() {
  constexpr size_t kCount = std::size(kNormalizations);
  Random random(9);
  for (const Kernel &kernel : kKernels) {
    for (size_t i = 0; i < kCount; ++i) {
      SCOPED_TRACE("kernel " + std::to_string(&kernel - kKernels) + " normalization " +
                   std::to_string(i));
      for (const size_t other : {i, (i + 1) % kCount}) {
        const ChannelNormalization channels[3] = {kNormalizations[i], kNormalizations[other],
                                                  kNormalizations[i]};
        expect_definition<Element>(kernel, 300, 300, channels, random);
        expect_definition<Element>(kernel, 40, 43, channels, random);
      }
      if (i < 5) {
        for (const int32_t columns : widths_to_try()) {
          const ChannelNormalization channels[3] = {kNormalizations[i], kNormalizations[2],
                                                    kNormalizations[4]};
          expect_definition<Element>(kernel, columns, columns, channels, random);
          expect_definition<Element>(kernel, columns, 33, channels, random);
        }
      }
      if (::testing::Test::HasFatalFailure()) {
        return;
      }
    }
  }
}

TEST(TensorKernels, EqualTheirDefinition) {
  on_every_target([] {
    expect_definitions<float>();
    expect_definitions<uint8_t>();
  });
}

}  // namespace
}  // namespace tavrine::test
