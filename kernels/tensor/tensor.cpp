#include "kernels/tensor/tensor.h"

#include <algorithm>
#include <cstring>
#include <type_traits>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "kernels/tensor/tensor.cpp"
#include <hwy/foreach_target.h>  // compiles this file for every instruction set
// After foreach_target:
#include "kernels/tensor/tensor_scalar.h"
#include "kernels/tensor/tensor_steps-inl.h"
#include "kernels/vector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace tavrine {
namespace HWY_NAMESPACE {
namespace {

// A byte has 256 values. Vectors are used where they make the same of all of them, bit by bit:
// they may flush what is next to zero, or hold less than an integer of 32 bits does.
template <typename Element>
struct ElementOfByte {
  Element of[256];

  template <class Define>
  explicit ElementOfByte(Define define) {
    for (int32_t byte = 0; byte < 256; ++byte) {
      of[byte] = define(static_cast<uint8_t>(byte));
    }
  }

  bool is_identity() const {
    if constexpr (std::is_same_v<Element, uint8_t>) {
      for (int32_t byte = 0; byte < 256; ++byte) {
        if (of[byte] != byte) {
          return false;
        }
      }
      return true;
    }
    return false;
  }

#if TAVRINE_HAS_VECTORS
  template <class Normalize>
  bool is_made_by(const Normalize &normalize) const {
    uint8_t bytes[256];
    for (int32_t byte = 0; byte < 256; ++byte) {
      bytes[byte] = static_cast<uint8_t>(byte);
    }
    Element made[256];
    for_each_step(256, kPixelsInFill,
                  [&](int32_t x) { normalize_grey(bytes + x, normalize, made + x); });
    return std::memcmp(made, of, sizeof(made)) == 0;
  }
#endif

  template <int32_t kPixelBytes>
  void look_up(const uint8_t *pixel, int32_t columns, Element *out) const {
    for (int32_t x = 0; x < columns; ++x, pixel += kPixelBytes) {
      out[x] = of[*pixel];
    }
  }
};

template <typename Element>
void repeat(Element value, int32_t columns, Element *out) {
#if TAVRINE_HAS_VECTORS
  const hn::ScalableTag<Element> d;
  const auto lanes = static_cast<int32_t>(hn::Lanes(d));
  if (columns >= 4 * lanes) {
    const auto values = hn::Set(d, value);
    for_each_step(columns, 4 * lanes, [&](int32_t x) {
      hn::StoreU(values, d, out + x);
      hn::StoreU(values, d, out + x + lanes);
      hn::StoreU(values, d, out + x + 2 * lanes);
      hn::StoreU(values, d, out + x + 3 * lanes);
    });
    return;
  }
#endif
  std::fill_n(out, columns, value);
}

// Calls fill_row(y, columns) for every row that pixels and image share, and pads the rest of
// these channels.
template <typename Element, class FillRow>
void fill_rows(const PlaneView &pixels, const ElementPlanes<Element> &image,
               const ChannelNormalization *channels, int32_t channel_count, FillRow fill_row) {
  const int32_t columns = std::min(pixels.columns, image.columns);
  const int32_t rows = std::min(pixels.rows, image.rows);
  const auto pad = [&](int32_t channel, int32_t y, int32_t from) {
    repeat(scalar::to_element<Element>(channels[channel].padding), image.columns - from,
           image.row(channel, y) + from);
  };
  for (int32_t y = 0; y < rows; ++y) {
    fill_row(y, columns);
    for (int32_t channel = 0; channel < channel_count && columns < image.columns; ++channel) {
      pad(channel, y, columns);
    }
  }
  for (int32_t channel = 0; channel < channel_count; ++channel) {
    for (int32_t y = rows; y < image.rows; ++y) {
      pad(channel, y, 0);
    }
  }
}

template <typename Element>
void fill_color_rows(const PlaneView &pixels, const int32_t bytes[3],
                     const ChannelNormalization channels[3], const ElementPlanes<Element> &image) {
  // In the order of a pixel's bytes.
  int32_t channel_of[3];
  for (int32_t channel = 0; channel < 3; ++channel) {
    channel_of[bytes[channel]] = channel;
  }
  const auto table_of = [&](int32_t byte) {
    return ElementOfByte<Element>([&, byte](uint8_t value) {
      return scalar::color_element<Element>(value, channels[channel_of[byte]]);
    });
  };
  const ElementOfByte<Element> tables[3] = {table_of(0), table_of(1), table_of(2)};
  const auto fill = [&](auto fill_row) {
    fill_rows(pixels, image, channels, 3, [&](int32_t y, int32_t columns) {
      Element *out[3];
      for (int32_t byte = 0; byte < 3; ++byte) {
        out[byte] = image.row(channel_of[byte], y);
      }
      fill_row(pixels.row(y), columns, out);
    });
  };
#if TAVRINE_HAS_VECTORS
  const int32_t columns = std::min(pixels.columns, image.columns);
  const auto all = [&](auto holds) { return holds(0) && holds(1) && holds(2); };
  if constexpr (std::is_same_v<Element, uint8_t>) {
    const Bytes d;
    const auto lanes = static_cast<int32_t>(byte_lanes());
    if (columns >= lanes && all([&](int32_t byte) { return tables[byte].is_identity(); })) {
      fill([&](const uint8_t *row, int32_t, uint8_t *const out[3]) {
        for_each_step(columns, lanes, [&](int32_t x) {
          hn::VFromD<Bytes> first, second, third;
          hn::LoadInterleaved3(d, row + 3 * x, first, second, third);
          hn::StoreU(first, d, out[0] + x);
          hn::StoreU(second, d, out[1] + x);
          hn::StoreU(third, d, out[2] + x);
        });
      });
      return;
    }
  }
  const Product products[3] = {Product(channels[channel_of[0]]), Product(channels[channel_of[1]]),
                               Product(channels[channel_of[2]])};
  if (columns >= kPixelsInFill &&
      all([&](int32_t byte) { return tables[byte].is_made_by(products[byte]); })) {
    fill([&](const uint8_t *row, int32_t, Element *const out[3]) {
      normalize_color_row(row, columns, products, out);
    });
    return;
  }
#endif
  fill([&](const uint8_t *row, int32_t count, Element *const out[3]) {
    for (int32_t byte = 0; byte < 3; ++byte) {
      tables[byte].template look_up<3>(row + byte, count, out[byte]);
    }
  });
}

template <typename Element>
void fill_grey_rows(const PlaneView &pixels, const ChannelNormalization &channel,
                    const ElementPlanes<Element> &image) {
  const ElementOfByte<Element> table(
      [&](uint8_t byte) { return scalar::grey_element<Element>(byte, channel); });
  const auto fill = [&](auto fill_row) {
    fill_rows(pixels, image, &channel, 1, [&](int32_t y, int32_t columns) {
      fill_row(pixels.row(y), columns, image.row(0, y));
    });
  };
  if (table.is_identity()) {
    fill([](const uint8_t *row, int32_t columns, Element *out) {
      std::memcpy(out, row, static_cast<size_t>(columns));
    });
    return;
  }
#if TAVRINE_HAS_VECTORS
  const Quotient quotient(channel);
  if (std::min(pixels.columns, image.columns) >= kPixelsInFill && table.is_made_by(quotient)) {
    fill([&](const uint8_t *row, int32_t columns, Element *out) {
      for_each_step(columns, kPixelsInFill,
                    [&](int32_t x) { normalize_grey(row + x, quotient, out + x); });
    });
    return;
  }
#endif
  fill([&](const uint8_t *row, int32_t columns, Element *out) {
    table.template look_up<1>(row, columns, out);
  });
}

template <typename Element>
void fill_weighted_grey_rows(const PlaneView &pixels, ByteOrder order,
                             const ChannelNormalization &channel,
                             const ElementPlanes<Element> &image) {
  const int32_t red = red_byte(order);
  const auto fill = [&](auto fill_row) {
    fill_rows(pixels, image, &channel, 1, [&](int32_t y, int32_t columns) {
      fill_row(pixels.row(y), columns, image.row(0, y));
    });
  };
  if constexpr (std::is_same_v<Element, uint8_t>) {
    if (channel.mean == 0 && channel.scale == 1) {
      fill([&](uint8_t *row, int32_t columns, uint8_t *out) {
        weigh_luma({row, 3, columns, 1, 3 * ptrdiff_t{columns}}, order,
                   {out, 1, columns, 1, columns});
      });
      return;
    }
  }
#if TAVRINE_IS_X86
  if (std::min(pixels.columns, image.columns) >= kPixelsInFill &&
      weighs_in_vectors<Element>(channel)) {
    const WeightedQuotient quotient(red, channel);
    fill([&](const uint8_t *row, int32_t columns, Element *out) {
      for_each_step(columns, kPixelsInFill,
                    [&](int32_t x) { quotient.fill(row + 3 * x, out + x); });
    });
    return;
  }
#endif
  fill([red, of = channel](const uint8_t *row, int32_t columns, Element *out) {
    for (int32_t x = 0; x < columns; ++x, row += 3) {
      out[x] = scalar::weighted_element<Element>(row[red], row[1], row[2 - red], of);
    }
  });
}

void fill_color_floats(const PlaneView &pixels, const int32_t bytes[3],
                       const ChannelNormalization channels[3], const ElementPlanes<float> &image) {
  fill_color_rows(pixels, bytes, channels, image);
}

void fill_color_bytes(const PlaneView &pixels, const int32_t bytes[3],
                      const ChannelNormalization channels[3], const ElementPlanes<uint8_t> &image) {
  fill_color_rows(pixels, bytes, channels, image);
}

void fill_grey_floats(const PlaneView &pixels, const ChannelNormalization &channel,
                      const ElementPlanes<float> &image) {
  fill_grey_rows(pixels, channel, image);
}

void fill_grey_bytes(const PlaneView &pixels, const ChannelNormalization &channel,
                     const ElementPlanes<uint8_t> &image) {
  fill_grey_rows(pixels, channel, image);
}

void fill_weighted_floats(const PlaneView &pixels, ByteOrder order,
                          const ChannelNormalization &channel, const ElementPlanes<float> &image) {
  fill_weighted_grey_rows(pixels, order, channel, image);
}

void fill_weighted_bytes(const PlaneView &pixels, ByteOrder order,
                         const ChannelNormalization &channel, const ElementPlanes<uint8_t> &image) {
  fill_weighted_grey_rows(pixels, order, channel, image);
}

template <typename Element>
void repeat_in_rows(const ElementPlanes<Element> &image, int32_t channel, Element value) {
  for (int32_t y = 0; y < image.rows; ++y) {
    repeat(value, image.columns, image.row(channel, y));
  }
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

HWY_EXPORT(fill_color_floats);
HWY_EXPORT(fill_color_bytes);
HWY_EXPORT(fill_grey_floats);
HWY_EXPORT(fill_grey_bytes);
HWY_EXPORT(fill_weighted_floats);
HWY_EXPORT(fill_weighted_bytes);
HWY_EXPORT(repeat_float);
HWY_EXPORT(repeat_byte);

}  // namespace

template <typename Element>
void fill_color(const PlaneView &pixels, const int32_t bytes[3],
                const ChannelNormalization channels[3], const ElementPlanes<Element> &image) {
  if constexpr (std::is_same_v<Element, float>) {
    HWY_DYNAMIC_DISPATCH(fill_color_floats)(pixels, bytes, channels, image);
  } else {
    HWY_DYNAMIC_DISPATCH(fill_color_bytes)(pixels, bytes, channels, image);
  }
}

template <typename Element>
void fill_grey(const PlaneView &pixels, const ChannelNormalization &channel,
               const ElementPlanes<Element> &image) {
  if constexpr (std::is_same_v<Element, float>) {
    HWY_DYNAMIC_DISPATCH(fill_grey_floats)(pixels, channel, image);
  } else {
    HWY_DYNAMIC_DISPATCH(fill_grey_bytes)(pixels, channel, image);
  }
}

template <typename Element>
void fill_weighted_grey(const PlaneView &pixels, ByteOrder order,
                        const ChannelNormalization &channel, const ElementPlanes<Element> &image) {
  if constexpr (std::is_same_v<Element, float>) {
    HWY_DYNAMIC_DISPATCH(fill_weighted_floats)(pixels, order, channel, image);
  } else {
    HWY_DYNAMIC_DISPATCH(fill_weighted_bytes)(pixels, order, channel, image);
  }
}

template <typename Element>
void fill_constant(const ElementPlanes<Element> &image, int32_t channel, Element value) {
  if constexpr (std::is_same_v<Element, float>) {
    HWY_DYNAMIC_DISPATCH(repeat_float)(image, channel, value);
  } else {
    HWY_DYNAMIC_DISPATCH(repeat_byte)(image, channel, value);
  }
}

#define TAVRINE_INSTANTIATE_FILLS(Element)                                                     \
  template void fill_color(const PlaneView &, const int32_t[3], const ChannelNormalization[3], \
                           const ElementPlanes<Element> &);                                    \
  template void fill_grey(const PlaneView &, const ChannelNormalization &,                     \
                          const ElementPlanes<Element> &);                                     \
  template void fill_weighted_grey(const PlaneView &, ByteOrder, const ChannelNormalization &, \
                                   const ElementPlanes<Element> &);                            \
  template void fill_constant(const ElementPlanes<Element> &, int32_t, Element)

TAVRINE_INSTANTIATE_FILLS(float);
TAVRINE_INSTANTIATE_FILLS(uint8_t);

}  // namespace tavrine
#endif
