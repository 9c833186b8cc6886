// Kernels return false, and write nothing, if a plane is missing or does not fit the others.
#include <gtest/gtest.h>

#include <functional>
#include <vector>

#include "kernels/color/contrast_stretch.h"
#include "kernels/color/planes.h"
#include "kernels/color/yuv.h"
#include "kernels/resize/resize.h"
#include "kernels/rotate/rotate.h"
#include "kernels/warp/warp_affine.h"
#include "kernels/warp/warp_perspective.h"

namespace tavrine::test {
namespace {

using Views = std::vector<PlaneView>;

// The properties of a plane that a kernel checks against the other planes.
enum Compared { kNothing = 0, kSize = 1, kChannels = 2, kBoth = 3, kStride = 4 };

struct Kernel {
  const char *name;
  std::vector<int32_t> channels;  // of its planes; those of -2 are chroma pairs at half size
  int compared;
  std::function<bool(const Views &)> run;
};

constexpr AffineMatrix kAffine = {1, 0, 0, 0, 1, 0};
constexpr PerspectiveMatrix kPerspective = {{1, 0, 0, 0, 1, 0, 0, 0, 1}};

constexpr ByteOrder kRed = ByteOrder::kRedFirst;
constexpr ChromaOrder kU = ChromaOrder::kUFirst;

const Kernel kKernels[] = {
    {"copy", {2, 2}, kBoth, [](auto &v) { return copy_plane(v[0], v[1]); }},
    {"fill", {1}, kNothing, [](auto &v) { return fill_plane(v[0], 7); }},
    {"swap pairs", {2, 2}, kBoth, [](auto &v) { return swap_pairs(v[0], v[1]); }},
    {"interleave", {1, 1, 2}, kBoth, [](auto &v) { return interleave_planes(v[0], v[1], v[2]); }},
    {"deinterleave",
     {2, 1, 1},
     kBoth,
     [](auto &v) { return deinterleave_plane(v[0], v[1], v[2]); }},
    {"weigh luma", {3, 1}, kBoth, [](auto &v) { return weigh_luma(v[0], kRed, v[1]); }},
    {"replicate grey", {1, 3}, kBoth, [](auto &v) { return replicate_grey(v[0], v[1]); }},
    {"swap red and blue", {3, 3}, kBoth, [](auto &v) { return swap_red_blue(v[0], v[1]); }},
    {"stretch contrast", {2, 1}, kBoth, [](auto &v) { return stretch_contrast(v[0], v[1]); }},
    {"rgb to yuv",
     {3, 1, -2},
     kBoth,
     [](auto &v) { return rgb_to_yuv(v[0], kRed, v[1], v[2], kU); }},
    {"yuv to rgb",
     {1, -2, 3},
     kBoth,
     [](auto &v) { return yuv_to_rgb(v[0], v[1], kU, v[2], kRed); }},
    {"chroma stride",
     {-2, 1},
     kStride,
     [](auto &v) {
       static uint8_t packed[4 * 8 * 3];
       return yuv_to_rgb(v[1], v[0], kU, {packed, 3, 8, 4, 24}, kRed);
     }},
    {"rotate", {3, 3}, kBoth, [](auto &v) { return rotate_plane(v[0], Rotation::k180, v[1]); }},
    {"resize", {2, 2}, kChannels, [](auto &v) { return resize_plane(v[0], v[1]); }},
    {"affine warp",
     {4, 4},
     kChannels,
     [](auto &v) { return warp_affine(v[0], kAffine, Border::kZero, v[1]); }},
    {"perspective warp",
     {3, 3},
     kChannels,
     [](auto &v) { return warp_perspective(v[0], kPerspective, v[1]); }},
};

// Planes of 8 x 4 pixels.
class Planes {
 public:
  explicit Planes(const std::vector<int32_t> &channels) : pixels_(channels.size()) {
    for (size_t i = 0; i < channels.size(); ++i) {
      pixels_[i].assign(8 * 4 * 4, static_cast<uint8_t>(i));
      const bool is_chroma = channels[i] == -2;
      views_.push_back(
          is_chroma ? PlaneView{pixels_[i].data(), 2, 4, 2, 8}
                    : PlaneView{pixels_[i].data(), channels[i], 8, 4, ptrdiff_t{8} * channels[i]});
    }
  }

  const Views &views() const { return views_; }
  const std::vector<std::vector<uint8_t>> &pixels() const { return pixels_; }

 private:
  std::vector<std::vector<uint8_t>> pixels_;
  Views views_;
};

TEST(Kernels, RefusePlanesThatAreMissingOrDoNotFit) {
  const struct {
    const char *name;
    int compared;
    void (*spoil)(PlaneView &view);
  } faults[] = {
      {"no data", kNothing, [](PlaneView &view) { view.data = nullptr; }},
      {"no columns", kNothing, [](PlaneView &view) { view.columns = 0; }},
      {"no rows", kNothing, [](PlaneView &view) { view.rows = 0; }},
      {"fewer columns", kSize, [](PlaneView &view) { view.columns -= 2; }},
      {"fewer rows", kSize, [](PlaneView &view) { view.rows -= 2; }},
      {"another channel", kChannels, [](PlaneView &view) { --view.channels; }},
      {"another stride", kStride, [](PlaneView &view) { view.stride += 8; }},
  };
  for (const Kernel &kernel : kKernels) {
    for (size_t plane = 0; plane < kernel.channels.size(); ++plane) {
      for (const auto &fault : faults) {
        const Planes planes(kernel.channels);
        const auto before = planes.pixels();
        Views views = planes.views();
        if ((kernel.compared & fault.compared) == fault.compared) {
          fault.spoil(views[plane]);
          EXPECT_FALSE(kernel.run(views)) << kernel.name << ", " << fault.name << " " << plane;
          EXPECT_TRUE(planes.pixels() == before)
              << kernel.name << ", " << fault.name << " " << plane;
        }
      }
    }
    EXPECT_TRUE(kernel.run(Planes(kernel.channels).views())) << kernel.name;
  }
}

}  // namespace
}  // namespace tavrine::test
