#include "host/kernels/tensor.h"

#include <algorithm>
#include <cstring>
#include <type_traits>

#include "core/numeric.h"

namespace tavrine {
namespace {

template <typename Element, typename Value>
Element to_element(Value value) {
  if constexpr (std::is_same_v<Element, float>) {
    return static_cast<float>(value);
  } else {
    return static_cast<Element>(truncate_to_uint32(value) & 0xFF);
  }
}

// A byte has 256 values, so each is normalised once.
template <typename Element>
struct ElementOfByte {
  Element of[256];
};

template <typename Element>
void tabulate_color(const ChannelNormalization &channel, ElementOfByte<Element> &table) {
  const float reciprocal = 1.0F / channel.scale;
  for (int32_t byte = 0; byte < 256; ++byte) {
    table.of[byte] = to_element<Element>((static_cast<float>(byte) - channel.mean) * reciprocal);
  }
}

template <typename Element>
void tabulate_grey(const ChannelNormalization &channel, ElementOfByte<Element> &table) {
  for (int32_t byte = 0; byte < 256; ++byte) {
    table.of[byte] = to_element<Element>((static_cast<float>(byte) - channel.mean) / channel.scale);
  }
}

template <int32_t kPixelBytes, typename Element>
void look_up_row(const uint8_t *pixel, int32_t columns, const ElementOfByte<Element> &table,
                 Element *out) {
  for (int32_t x = 0; x < columns; ++x, pixel += kPixelBytes) {
    out[x] = table.of[*pixel];
  }
}

template <typename Element>
void weigh_row(const uint8_t *pixel, int32_t columns, ByteOrder order,
               const ChannelNormalization &channel, Element *out) {
  const int32_t red = red_byte(order);
  const int32_t blue = blue_byte(order);
  const double mean = channel.mean;
  const double scale = channel.scale;
  for (int32_t x = 0; x < columns; ++x, pixel += 3) {
    const double grey = 0.587 * pixel[1] + 0.299 * pixel[red] + 0.114 * pixel[blue] - mean;
    out[x] = to_element<Element>(grey / scale);
  }
}

// Calls fill_row(channel, source row, columns, destination row) for every row that pixels and
// image share, and pads the rest of these channels.
template <int32_t kChannels, typename Element, typename FillRow>
void fill_channels(const PlaneView &pixels, const ElementPlanes<Element> &image,
                   const ChannelNormalization *channels, FillRow fill_row) {
  const int32_t columns = std::min(pixels.columns, image.columns);
  const int32_t rows = std::min(pixels.rows, image.rows);
  Element pads[kChannels];
  for (int32_t channel = 0; channel < kChannels; ++channel) {
    pads[channel] = to_element<Element>(channels[channel].padding);
  }
  // Row by row, so that the pixels come from memory only once.
  for (int32_t y = 0; y < rows; ++y) {
    for (int32_t channel = 0; channel < kChannels; ++channel) {
      Element *out = image.row(channel, y);
      fill_row(channel, pixels.row(y), columns, out);
      std::fill(out + columns, out + image.columns, pads[channel]);
    }
  }
  for (int32_t channel = 0; channel < kChannels; ++channel) {
    for (int32_t y = rows; y < image.rows; ++y) {
      std::fill_n(image.row(channel, y), image.columns, pads[channel]);
    }
  }
}

}  // namespace

template <typename Element>
void fill_color(const PlaneView &pixels, const int32_t bytes[3],
                const ChannelNormalization channels[3], const ElementPlanes<Element> &image) {
  ElementOfByte<Element> tables[3];
  for (int32_t channel = 0; channel < 3; ++channel) {
    tabulate_color(channels[channel], tables[channel]);
  }
  fill_channels<3>(pixels, image, channels,
                   [&](int32_t channel, const uint8_t *row, int32_t columns, Element *out) {
                     look_up_row<3>(row + bytes[channel], columns, tables[channel], out);
                   });
}

template <typename Element>
void fill_grey(const PlaneView &pixels, const ChannelNormalization &channel,
               const ElementPlanes<Element> &image) {
  if constexpr (std::is_same_v<Element, uint8_t>) {
    if (channel.scale == 1.0F && channel.mean == 0.0F) {
      fill_channels<1>(pixels, image, &channel,
                       [](int32_t, const uint8_t *row, int32_t columns, uint8_t *out) {
                         std::memcpy(out, row, static_cast<size_t>(columns));
                       });
      return;
    }
  }
  ElementOfByte<Element> table;
  tabulate_grey(channel, table);
  fill_channels<1>(pixels, image, &channel,
                   [&](int32_t, const uint8_t *row, int32_t columns, Element *out) {
                     look_up_row<1>(row, columns, table, out);
                   });
}

template <typename Element>
void fill_weighted_grey(const PlaneView &pixels, ByteOrder order,
                        const ChannelNormalization &channel, const ElementPlanes<Element> &image) {
  fill_channels<1>(pixels, image, &channel,
                   [&](int32_t, const uint8_t *row, int32_t columns, Element *out) {
                     weigh_row(row, columns, order, channel, out);
                   });
}

template <typename Element>
void fill_constant(const ElementPlanes<Element> &image, int32_t channel, Element value) {
  for (int32_t y = 0; y < image.rows; ++y) {
    std::fill_n(image.row(channel, y), image.columns, value);
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
