// Resampling on every instruction set, held against its scalar definition.
#include "host/kernels/resize.h"
#include "host/kernels/resize_scalar.h"
#include "tests/kernel_support.h"

namespace tavrine::test {
namespace {

std::vector<uint8_t> resize_by_definition(const PlaneView &in, int32_t columns, int32_t rows) {
  const int32_t channels = in.channels;
  const float column_scale = scalar::reciprocal_scale(in.columns, columns);
  const float row_scale = scalar::reciprocal_scale(in.rows, rows);
  const auto pass = [&](int32_t y) {
    const uint8_t *source = in.row(std::clamp(y, 0, in.rows - 1));
    std::vector<int16_t> row;
    for (int32_t x = 0; x < columns; ++x) {
      const scalar::Tap tap = scalar::column_tap(x, column_scale, in.columns);
      const int32_t neighbour = std::min(tap.index + 1, in.columns - 1);
      for (int32_t c = 0; c < channels; ++c) {
        row.push_back(scalar::resample(source[tap.index * channels + c],
                                       source[neighbour * channels + c], tap));
      }
    }
    return row;
  };
  std::vector<uint8_t> out(static_cast<size_t>(columns) * channels * rows);
  for (int32_t y = 0; y < rows; ++y) {
    const scalar::Tap tap = scalar::row_tap(y, row_scale);
    scalar::blend_rows(pass(tap.index).data(), pass(tap.index + 1).data(), tap, columns * channels,
                       out.data() + static_cast<size_t>(y) * columns * channels);
  }
  return out;
}

TEST(ResizeKernels, EqualTheirDefinition) {
  on_every_target([] {
    std::mt19937 random(6);
    for (int32_t channels = 1; channels <= 4; ++channels) {
      std::vector<std::pair<int32_t, int32_t>> sizes;
      for (const int32_t width : widths_to_try()) {
        // Whole ratios, scales next to 1, anything, and far apart.
        sizes.insert(sizes.end(), {{2 * width, width},
                                   {3 * width, width},
                                   {4 * width, width},
                                   {5 * width, width},
                                   {width, 2 * width},
                                   {width, width},
                                   {width + 1, width},
                                   {width, width + 1},
                                   {3 * width, 2 * width},
                                   {width, 1 + static_cast<int32_t>(random() % 90)},
                                   {7 * width + 3, width},
                                   {23 * width + 5, width},
                                   {3, width}});
      }
      for (const auto &[from, to] : sizes) {
        // Rows mostly shrink as columns do: then there are shorter ways.
        const bool in_proportion = from % to == 0 && random() % 4 != 0;
        const auto to_rows = in_proportion ? 3 : 1 + static_cast<int32_t>(random() % 7);
        const auto from_rows =
            in_proportion ? from / to * to_rows : 1 + static_cast<int32_t>(random() % 9);
        GuardedPlane in(from, from_rows, channels, static_cast<ptrdiff_t>(random() % 4));
        in.fill(random);
        GuardedPlane out(to, to_rows, channels, static_cast<ptrdiff_t>(random() % 4));
        ASSERT_TRUE(resize_plane(in.view(), out.view()));
        ASSERT_EQ(out.pixels(), resize_by_definition(in.view(), to, to_rows))
            << channels << " channels, " << from << "x" << from_rows << " to " << to << "x"
            << to_rows;
        ASSERT_TRUE(out.margins_unharmed());
      }
    }
  });
}

}  // namespace
}  // namespace tavrine::test
