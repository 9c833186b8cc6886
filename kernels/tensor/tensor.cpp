#include "kernels/tensor/tensor.h"

#include <algorithm>
#include <cstring>
#include <type_traits>

#include "kernels/path.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "kernels/tensor/tensor.cpp"
#include <hwy/foreach_target.h>  // compiles this file for every instruction set
// After foreach_target:
#include "kernels/tensor/tensor-inl.h"
#include "kernels/tensor/tensor_arm-inl.h"
#include "kernels/tensor/tensor_scalar.h"
#include "kernels/tensor/tensor_x86-inl.h"
#include "kernels/vector-inl.h"

// The steps that each family of instruction sets defines.
//
//   kPrefersTables                           looking elements up is faster than vectors
//   kPixelsInFill                            pixels in a step
//   normalize_grey(bytes, normalizer, out)   a step's elements
//   normalize_color_row(pixels, columns, normalizers, out)
//                                            a row of at least one step, normalizers[i] for byte i
//                                            of each pixel and out[i] for its elements
//   normalize_luma_row(pixels, columns, red, channel, out)
//                                            a row of fill_weighted_grey(); false, with nothing
//                                            written, where vectors cannot give the same

HWY_BEFORE_NAMESPACE();
namespace tavrine {
namespace HWY_NAMESPACE {
namespace {

// The element of each byte, by definition.
template <typename Element>
class ElementTable {
 public:
  template <class Define>
  void define(Define define) {
    for (int32_t byte = 0; byte < 256; ++byte) {
      of_[byte] = define(static_cast<uint8_t>(byte));
    }
  }

  // Elements of bytes that lie kDistance apart. Not inlined: the table then has a register.
  template <int32_t kDistance>
  HWY_NOINLINE void look_up(const uint8_t *bytes, int32_t columns, Element *out) const {
    constexpr int32_t kUnrolled = 8;
    int32_t left = columns;
    for (; left >= kUnrolled; left -= kUnrolled, bytes += kUnrolled * kDistance) {
      // All are loaded before the first is stored, so that no instruction waits for its operand.
      Bits elements[kUnrolled];
      for (int32_t i = 0; i < kUnrolled; ++i) {
        elements[i] = bits_of(bytes[i * kDistance]);
      }
      for (const Bits bits : elements) {
        std::memcpy(out++, &bits, sizeof(bits));
        make_opaque(out);  // or GCC gathers the elements in vectors, through the stack
      }
    }
    for (; left > 0; --left, bytes += kDistance) {
      const Bits bits = bits_of(*bytes);
      std::memcpy(out++, &bits, sizeof(bits));
    }
  }

  bool is_identity() const {
    if constexpr (std::is_same_v<Element, uint8_t>) {
      for (int32_t byte = 0; byte < 256; ++byte) {
        if (of_[byte] != byte) {
          return false;
        }
      }
      return true;
    }
    return false;
  }

#if TAVRINE_HAS_VECTORS
  // Whether vectors give the same bits for every byte.
  template <class Normalizer>
  bool is_made_by(const Normalizer &normalizer) const {
    uint8_t bytes[256];
    for (int32_t byte = 0; byte < 256; ++byte) {
      bytes[byte] = static_cast<uint8_t>(byte);
    }
    Element made[256];
    for_each_step(256, kPixelsInFill,
                  [&](int32_t x) { normalize_grey(bytes + x, normalizer, made + x); });
    // NOLINTNEXTLINE(bugprone-suspicious-memory-comparison): the bits must be equal
    return std::memcmp(made, of_, sizeof(made)) == 0;
  }
#endif

 private:
  // Integer registers take elements along: on armv7, loads to others have no index.
  using Bits = std::conditional_t<sizeof(Element) == 1, uint8_t, uint32_t>;

  HWY_INLINE Bits bits_of(uint32_t byte) const {
    Bits bits;
    std::memcpy(&bits, of_ + byte, sizeof(bits));
    return bits;
  }

  Element of_[256];
};

template <typename Element>
void repeat(Element value, int32_t columns, Element *out) {
#if TAVRINE_HAS_VECTORS
  if (columns >= static_cast<int32_t>(4 * hn::Lanes(hn::ScalableTag<Element>()))) {
    repeat_in_vectors(value, columns, out);
    return;
  }
#endif
  std::fill_n(out, columns, value);
}

// What pixels and image share, and the padding around it.
template <typename Element>
class SharedArea {
 public:
  SharedArea(const PlaneView &pixels, const ElementPlanes<Element> &image)
      : columns_(std::min(pixels.columns, image.columns)),
        rows_(std::min(pixels.rows, image.rows)),
        image_(image) {}

  int32_t columns() const { return columns_; }
  int32_t rows() const { return rows_; }

  // The rest of row y. Rows are padded as they are filled: those of an image may overlap.
  void pad_right(int32_t y, int32_t channel, float padding) const {
    if (columns_ < image_.columns) {
      repeat(scalar::to_element<Element>(padding), image_.columns - columns_,
             image_.row(channel, y) + columns_);
    }
  }

  void pad_below(int32_t channel, float padding) const {
    for (int32_t y = rows_; y < image_.rows; ++y) {
      repeat(scalar::to_element<Element>(padding), image_.columns, image_.row(channel, y));
    }
  }

 private:
  int32_t columns_;
  int32_t rows_;
  const ElementPlanes<Element> &image_;
};

// Three channels from pixels of three bytes. Tables, normalizers and rows are in the order of a
// pixel's bytes.
template <typename Element>
class ColorFill {
 public:
  ColorFill(const PlaneView &pixels, const int32_t bytes[3], const ChannelNormalization channels[3],
            const ElementPlanes<Element> &image)
      : pixels_(pixels), image_(image), channels_(channels), area_(pixels, image) {
    for (int32_t channel = 0; channel < 3; ++channel) {
      channel_of_[bytes[channel]] = channel;
      tables_[bytes[channel]].define(
          [&](uint8_t byte) { return scalar::color_element<Element>(byte, channels[channel]); });
    }
  }

  void run() const {
    if (!identity() && !vectors()) {
      table();
    }
    for (int32_t channel = 0; channel < 3; ++channel) {
      area_.pad_below(channel, channels_[channel].padding);
    }
  }

 private:
  // The first two return false, with nothing written, where they would not give what the table
  // does.

  bool identity() const {
#if TAVRINE_HAS_VECTORS
    if constexpr (std::is_same_v<Element, uint8_t>) {
      const auto lanes = static_cast<int32_t>(byte_lanes());
      if (area_.columns() < lanes || !tables_[0].is_identity() || !tables_[1].is_identity() ||
          !tables_[2].is_identity()) {
        return false;
      }
      trace_path("tensor.color.identity");
      for (int32_t y = 0; y < area_.rows(); ++y) {
        const Rows out = rows_at(y);
        for_each_step(area_.columns(), lanes,
                      [&](int32_t x) { split_bytes(pixels_.row(y), out.of_byte, x); });
        pad_right(y);
      }
      return true;
    }
#endif
    return false;
  }

  bool vectors() const {
#if TAVRINE_HAS_VECTORS
    const MulNormalizer normalizers[3] = {MulNormalizer(channels_[channel_of_[0]]),
                                          MulNormalizer(channels_[channel_of_[1]]),
                                          MulNormalizer(channels_[channel_of_[2]])};
    if (kPrefersTables || area_.columns() < kPixelsInFill ||
        !tables_[0].is_made_by(normalizers[0]) || !tables_[1].is_made_by(normalizers[1]) ||
        !tables_[2].is_made_by(normalizers[2])) {
      return false;
    }
    trace_path("tensor.color.vectors");
    for (int32_t y = 0; y < area_.rows(); ++y) {
      normalize_color_row(pixels_.row(y), area_.columns(), normalizers, rows_at(y).of_byte);
      pad_right(y);
    }
    return true;
#else
    return false;
#endif
  }

  void table() const {
    trace_path("tensor.color.table");
    for (int32_t y = 0; y < area_.rows(); ++y) {
      const Rows out = rows_at(y);
      for (int32_t byte = 0; byte < 3; ++byte) {
        tables_[byte].template look_up<3>(pixels_.row(y) + byte, area_.columns(),
                                          out.of_byte[byte]);
      }
      pad_right(y);
    }
  }

  void pad_right(int32_t y) const {
    for (int32_t channel = 0; channel < 3; ++channel) {
      area_.pad_right(y, channel, channels_[channel].padding);
    }
  }

  struct Rows {
    Element *of_byte[3];
  };

  Rows rows_at(int32_t y) const {
    return {{image_.row(channel_of_[0], y), image_.row(channel_of_[1], y),
             image_.row(channel_of_[2], y)}};
  }

  const PlaneView &pixels_;
  const ElementPlanes<Element> &image_;
  const ChannelNormalization *channels_;
  SharedArea<Element> area_;
  int32_t channel_of_[3];
  ElementTable<Element> tables_[3];
};

// One channel from bytes.
template <typename Element>
class GreyFill {
 public:
  GreyFill(const PlaneView &pixels, const ChannelNormalization &channel,
           const ElementPlanes<Element> &image)
      : pixels_(pixels), image_(image), channel_(channel), area_(pixels, image) {
    table_.define([&](uint8_t byte) { return scalar::grey_element<Element>(byte, channel); });
  }

  void run() const {
    if (!identity() && !vectors()) {
      table();
    }
    area_.pad_below(0, channel_.padding);
  }

 private:
  bool identity() const {
    if (!table_.is_identity()) {
      return false;
    }
    trace_path("tensor.grey.identity");
    for (int32_t y = 0; y < area_.rows(); ++y) {
      std::memcpy(image_.row(0, y), pixels_.row(y), static_cast<size_t>(area_.columns()));
      area_.pad_right(y, 0, channel_.padding);
    }
    return true;
  }

  bool vectors() const {
#if TAVRINE_HAS_VECTORS
    const DivNormalizer normalizer(channel_);
    if (kPrefersTables || area_.columns() < kPixelsInFill || !table_.is_made_by(normalizer)) {
      return false;
    }
    trace_path("tensor.grey.vectors");
    for (int32_t y = 0; y < area_.rows(); ++y) {
      const uint8_t *row = pixels_.row(y);
      Element *out = image_.row(0, y);
      for_each_step(area_.columns(), kPixelsInFill,
                    [&](int32_t x) { normalize_grey(row + x, normalizer, out + x); });
      area_.pad_right(y, 0, channel_.padding);
    }
    return true;
#else
    return false;
#endif
  }

  void table() const {
    trace_path("tensor.grey.table");
    for (int32_t y = 0; y < area_.rows(); ++y) {
      table_.template look_up<1>(pixels_.row(y), area_.columns(), image_.row(0, y));
      area_.pad_right(y, 0, channel_.padding);
    }
  }

  const PlaneView &pixels_;
  const ElementPlanes<Element> &image_;
  const ChannelNormalization &channel_;
  SharedArea<Element> area_;
  ElementTable<Element> table_;
};

// One channel from pixels of three bytes. No table: there are 2^24 colours.
template <typename Element>
class LumaFill {
 public:
  LumaFill(const PlaneView &pixels, ByteOrder order, const ChannelNormalization &channel,
           const ElementPlanes<Element> &image)
      : pixels_(pixels), order_(order), image_(image), channel_(channel), area_(pixels, image) {}

  void run() const {
    for (int32_t y = 0; y < area_.rows(); ++y) {
      const char *way = fill_row(pixels_.row(y), image_.row(0, y));
      if (y == 0) {
        trace_path(way);
      }
      area_.pad_right(y, 0, channel_.padding);
    }
    area_.pad_below(0, channel_.padding);
  }

 private:
  // Returns which way it took, the same for all rows.
  const char *fill_row(uint8_t *pixels, Element *out) const {
    const int32_t columns = area_.columns();
    const int32_t red = red_byte(order_);
    if constexpr (std::is_same_v<Element, uint8_t>) {
      if (channel_.mean == 0 && channel_.scale == 1) {
        weigh_luma({pixels, 3, columns, 1, 3 * ptrdiff_t{columns}}, order_,
                   {out, 1, columns, 1, columns});
        return "tensor.luma.identity";
      }
    }
#if TAVRINE_HAS_VECTORS
    if (normalize_luma_row(pixels, columns, red, channel_, out)) {
      return "tensor.luma.vectors";
    }
#endif
    const ChannelNormalization channel = channel_;
    for (int32_t x = 0; x < columns; ++x, pixels += 3) {
      out[x] = scalar::weighted_element<Element>(pixels[red], pixels[1], pixels[2 - red], channel);
    }
    return "tensor.luma.pixels";
  }

  const PlaneView &pixels_;
  ByteOrder order_;
  const ElementPlanes<Element> &image_;
  const ChannelNormalization &channel_;
  SharedArea<Element> area_;
};

template <typename Element>
void repeat_in_rows(const ElementPlanes<Element> &image, int32_t channel, Element value) {
  for (int32_t y = 0; y < image.rows; ++y) {
    repeat(value, image.columns, image.row(channel, y));
  }
}

// Names that can be exported: overloads and templates cannot.

void color_to_floats(const PlaneView &pixels, const int32_t bytes[3],
                     const ChannelNormalization channels[3], const ElementPlanes<float> &image) {
  ColorFill<float>(pixels, bytes, channels, image).run();
}

void color_to_bytes(const PlaneView &pixels, const int32_t bytes[3],
                    const ChannelNormalization channels[3], const ElementPlanes<uint8_t> &image) {
  ColorFill<uint8_t>(pixels, bytes, channels, image).run();
}

void grey_to_floats(const PlaneView &pixels, const ChannelNormalization &channel,
                    const ElementPlanes<float> &image) {
  GreyFill<float>(pixels, channel, image).run();
}

void grey_to_bytes(const PlaneView &pixels, const ChannelNormalization &channel,
                   const ElementPlanes<uint8_t> &image) {
  GreyFill<uint8_t>(pixels, channel, image).run();
}

void luma_to_floats(const PlaneView &pixels, ByteOrder order, const ChannelNormalization &channel,
                    const ElementPlanes<float> &image) {
  LumaFill<float>(pixels, order, channel, image).run();
}

void luma_to_bytes(const PlaneView &pixels, ByteOrder order, const ChannelNormalization &channel,
                   const ElementPlanes<uint8_t> &image) {
  LumaFill<uint8_t>(pixels, order, channel, image).run();
}

void repeat_float(const ElementPlanes<float> &image, int32_t channel, float value) {
  repeat_in_rows(image, channel, value);
}

void repeat_byte(const ElementPlanes<uint8_t> &image, int32_t channel, uint8_t value) {
  repeat_in_rows(image, channel, value);
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace tavrine
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace tavrine {
namespace {

HWY_EXPORT(color_to_floats);
HWY_EXPORT(color_to_bytes);
HWY_EXPORT(grey_to_floats);
HWY_EXPORT(grey_to_bytes);
HWY_EXPORT(luma_to_floats);
HWY_EXPORT(luma_to_bytes);
HWY_EXPORT(repeat_float);
HWY_EXPORT(repeat_byte);

}  // namespace

void fill_color(const PlaneView &pixels, const int32_t bytes[3],
                const ChannelNormalization channels[3], const ElementPlanes<float> &image) {
  HWY_DYNAMIC_DISPATCH(color_to_floats)(pixels, bytes, channels, image);
}

void fill_color(const PlaneView &pixels, const int32_t bytes[3],
                const ChannelNormalization channels[3], const ElementPlanes<uint8_t> &image) {
  HWY_DYNAMIC_DISPATCH(color_to_bytes)(pixels, bytes, channels, image);
}

void fill_grey(const PlaneView &pixels, const ChannelNormalization &channel,
               const ElementPlanes<float> &image) {
  HWY_DYNAMIC_DISPATCH(grey_to_floats)(pixels, channel, image);
}

void fill_grey(const PlaneView &pixels, const ChannelNormalization &channel,
               const ElementPlanes<uint8_t> &image) {
  HWY_DYNAMIC_DISPATCH(grey_to_bytes)(pixels, channel, image);
}

void fill_weighted_grey(const PlaneView &pixels, ByteOrder order,
                        const ChannelNormalization &channel, const ElementPlanes<float> &image) {
  HWY_DYNAMIC_DISPATCH(luma_to_floats)(pixels, order, channel, image);
}

void fill_weighted_grey(const PlaneView &pixels, ByteOrder order,
                        const ChannelNormalization &channel, const ElementPlanes<uint8_t> &image) {
  HWY_DYNAMIC_DISPATCH(luma_to_bytes)(pixels, order, channel, image);
}

void fill_constant(const ElementPlanes<float> &image, int32_t channel, float value) {
  HWY_DYNAMIC_DISPATCH(repeat_float)(image, channel, value);
}

void fill_constant(const ElementPlanes<uint8_t> &image, int32_t channel, uint8_t value) {
  HWY_DYNAMIC_DISPATCH(repeat_byte)(image, channel, value);
}

}  // namespace tavrine
#endif
