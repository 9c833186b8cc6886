// Rotation of frames, and its kernels on every instruction set, held against the mapping of single
// pixels.
#include "kernels/rotate/rotate.h"
#include "fuzz/definitions.h"
#include "tests/kernel_support.h"

namespace tavrine::test {
namespace {

std::vector<uint8_t> rotate_by_mapping(const std::vector<uint8_t> &pixels, const Plane &plane,
                                       int code) {
  const bool is_half = code == 1;
  std::vector<uint8_t> out;
  for (int r = 0; r < (is_half ? plane.rows : plane.columns); ++r) {
    for (int c = 0; c < (is_half ? plane.columns : plane.rows); ++c) {
      const int row = code == 0 ? plane.rows - 1 - c : is_half ? plane.rows - 1 - r : c;
      const int column = code == 0 ? r : plane.columns - 1 - (is_half ? c : r);
      const uint8_t *pixel = pixels.data() + (row * plane.columns + column) * plane.channels;
      out.insert(out.end(), pixel, pixel + plane.channels);
    }
  }
  return out;
}

OwnedFrame rotate(const tavrine_frame_t *in, int code) {
  OwnedFrame out;
  EXPECT_EQ(tavrine_frame_rotate(in, out.slot(), code), 0);
  return out;
}

class Rotate : public LibraryTest {};

TEST_F(Rotate, ASmallPictureByHand) {
  const OwnedFrame in = make_frame(TAVRINE_FORMAT_GREY, 3, 2);
  set_pixels(in.get(), {'a', 'b', 'c', 'd', 'e', 'f'});
  const char *expected[] = {"daebfc", "fedcba", "cfbead"};
  for (int code = 0; code < 3; ++code) {
    const OwnedFrame out = rotate(in.get(), code);
    const std::vector<uint8_t> pixels = pixels_of(out.get());
    EXPECT_EQ(std::string(pixels.begin(), pixels.end()), expected[code]);
    EXPECT_EQ(out->width, code == 1 ? 3 : 2);
  }
}

TEST_F(Rotate, EveryFormat) {
  for (const uint32_t format : kEightBitFormats) {
    const PaddedFrame in = make_padded_frame(format, 66, 38, random_);
    for (int code = 0; code < 3; ++code) {
      SCOPED_TRACE(tavrine_frame_pixfmt_to_string(format));
      const std::vector<uint8_t> expected =
          pixels_of(fuzz::defined_rotation(in.frame.get(), code).get());
      const OwnedFrame created = rotate(in.frame.get(), code);
      EXPECT_EQ(pixels_of(created.get()), expected);
      PaddedFrame given = make_padded_frame(format, created->width, created->height, random_);
      EXPECT_EQ(tavrine_frame_rotate(in.frame.get(), given.frame.slot(), code), 0);
      EXPECT_EQ(pixels_of(given.frame.get()), expected);
      EXPECT_TRUE(given.surroundings_unharmed());
      EXPECT_TRUE(take_log().empty());
    }
  }
}

TEST_F(Rotate, RefusesOtherSizesAndFormats) {
  for (const uint32_t format : kEightBitFormats) {
    const OwnedFrame in = make_frame(format, 8, 4);
    for (int code = 0; code < 3; ++code) {
      OwnedFrame larger = make_frame(format, 10, 10);
      fill(larger.get(), 3);
      const std::vector<uint8_t> before = pixels_of(larger.get());
      EXPECT_EQ(tavrine_frame_rotate(in.get(), larger.slot(), code), -4);
      EXPECT_EQ(pixels_of(larger.get()), before);
    }
  }
  EXPECT_TRUE(take_log().empty());

  OwnedFrame none;
  const OwnedFrame deep = make_frame(TAVRINE_FORMAT_Y16, 8, 8);
  EXPECT_EQ(tavrine_frame_rotate(deep.get(), none.slot(), 0), -4);
  EXPECT_FALSE(none);
  expect_log(4, "aux.host", "Rotating a frame in format [Y16] is not supported yet!\n");
}

class MappingCheck {
 public:
  // Every rotation of random planes whose memory ends, or begins, with the pixels.
  void expect_mapping(int32_t width, int32_t height, int32_t channels) {
    for (const auto edge : {GuardedMemory::Edge::kLast, GuardedMemory::Edge::kFirst}) {
      GuardedPlane in(width, height, channels, width % 5, edge);
      in.fill(random_);
      for (const Rotation rotation : {Rotation::k90, Rotation::k180, Rotation::k270}) {
        const bool is_half = rotation == Rotation::k180;
        GuardedPlane out(is_half ? width : height, is_half ? height : width, channels, width % 3,
                         edge);
        ASSERT_TRUE(rotate_plane(in.view(), rotation, out.view()));
        ASSERT_EQ(out.pixels(),
                  rotate_by_mapping(in.pixels(), in.shape(), static_cast<int>(rotation)))
            << channels << " channels, " << width << "x" << height;
        ASSERT_TRUE(out.margins_unharmed());
      }
    }
  }

 private:
  Random random_{9};
};

TEST(RotateKernels, EqualTheMapping) {
  on_every_target([] {
    MappingCheck check;
    for (int32_t channels = 1; channels <= 4; ++channels) {
      for (const int32_t width : widths_to_try()) {
        for (const int32_t height : {1, 3, 8, 15, 17, 34}) {
          check.expect_mapping(width, height, channels);
        }
      }
      check.expect_mapping(131, 129, channels);
      check.expect_mapping(300, 77, channels);
    }
  });
}

}  // namespace
}  // namespace tavrine::test
