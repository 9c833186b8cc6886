// Moves of chroma and conversions from and to YUV on every instruction set, held against their
// scalar definitions.
#include "host/kernels/planes.h"
#include "host/kernels/planes_scalar.h"
#include "host/kernels/yuv.h"
#include "host/kernels/yuv_scalar.h"
#include "tests/kernel_support.h"

namespace tavrine::test {
namespace {

std::vector<uint8_t> poisoned(const PlaneView &view) {
  return std::vector<uint8_t>(static_cast<size_t>(view.row_bytes() * view.rows));
}

TEST(YuvKernels, MovesEqualTheirDefinition) {
  on_every_target([] {
    std::mt19937 random(7);
    for (const int32_t width : widths_to_try()) {
      GuardedPlane pairs(width, 2, 2, width % 3);
      GuardedPlane first(width, 2, 1, width % 5);
      GuardedPlane second(width, 2, 1);
      GuardedPlane out(width, 2, 2, width % 7);
      pairs.fill(random);
      ASSERT_TRUE(swap_pairs(pairs.view(), out.view()));
      ASSERT_TRUE(deinterleave_plane(pairs.view(), first.view(), second.view()));
      std::vector<uint8_t> swapped = poisoned(out.view());
      std::vector<uint8_t> firsts = poisoned(first.view());
      std::vector<uint8_t> seconds = poisoned(second.view());
      for (int32_t y = 0; y < 2; ++y) {
        const auto offset = static_cast<size_t>(y) * width;
        scalar::swap_pairs(pairs.view().row(y), width, swapped.data() + 2 * offset);
        scalar::deinterleave(pairs.view().row(y), width, firsts.data() + offset,
                             seconds.data() + offset);
      }
      ASSERT_EQ(out.pixels(), swapped) << width;
      ASSERT_EQ(first.pixels(), firsts) << width;
      ASSERT_EQ(second.pixels(), seconds) << width;
      ASSERT_TRUE(interleave_planes(first.view(), second.view(), out.view()));
      ASSERT_EQ(out.pixels(), pairs.pixels()) << width;
      GuardedPlane copy(width, 2, 2, width % 7);
      ASSERT_TRUE(copy_plane(pairs.view(), copy.view()));
      ASSERT_EQ(copy.pixels(), pairs.pixels()) << width;
      ASSERT_TRUE(copy.margins_unharmed());
      ASSERT_TRUE(out.margins_unharmed() && first.margins_unharmed() && second.margins_unharmed());
    }
  });
}

TEST(YuvKernels, ConversionsEqualTheirDefinition) {
  on_every_target([] {
    std::mt19937 random(8);
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
          std::vector<uint8_t> lumas = poisoned(luma.view());
          std::vector<uint8_t> pairs = poisoned(chroma.view());
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
          std::vector<uint8_t> pixels = poisoned(packed.view());
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
