// Turns on every instruction set, held against the mapping of places.
#include "host/kernels/rotate.h"
#include "tests/kernel_support.h"

namespace tavrine::test {
namespace {

std::vector<uint8_t> turn_by_definition(const PlaneView &in, Turn turn) {
  const bool is_half = turn == Turn::kHalf;
  const int32_t columns = is_half ? in.columns : in.rows;
  const int32_t rows = is_half ? in.rows : in.columns;
  std::vector<uint8_t> out;
  for (int32_t r = 0; r < rows; ++r) {
    for (int32_t c = 0; c < columns; ++c) {
      const int32_t row = turn == Turn::kQuarter ? in.rows - 1 - c : is_half ? in.rows - 1 - r : c;
      const int32_t column = turn == Turn::kQuarter ? r
                             : is_half              ? in.columns - 1 - c
                                                    : in.columns - 1 - r;
      const uint8_t *pixel = in.row(row) + static_cast<ptrdiff_t>(column) * in.channels;
      out.insert(out.end(), pixel, pixel + in.channels);
    }
  }
  return out;
}

TEST(RotateKernels, EqualTheirDefinition) {
  on_every_target([] {
    std::mt19937 random(9);
    for (int32_t channels = 1; channels <= 4; ++channels) {
      for (const int32_t width : widths_to_try()) {
        for (const int32_t height : {1, 4, 15, 16, 17, 66}) {
          GuardedPlane in(width, height, channels, width % 5);
          in.fill(random);
          for (const Turn turn : {Turn::kQuarter, Turn::kHalf, Turn::kThreeQuarters}) {
            const bool is_half = turn == Turn::kHalf;
            GuardedPlane out(is_half ? width : height, is_half ? height : width, channels,
                             width % 3);
            ASSERT_TRUE(rotate_plane(in.view(), turn, out.view()));
            ASSERT_EQ(out.pixels(), turn_by_definition(in.view(), turn))
                << channels << " channels, " << width << "x" << height;
            ASSERT_TRUE(out.margins_unharmed());
          }
        }
      }
    }
  });
}

}  // namespace
}  // namespace tavrine::test
