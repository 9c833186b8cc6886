// From packed bytes to the planar, normalised elements of a network tensor.
//
// A colour element is (byte - mean) * (1 / scale) in single precision, with the reciprocal
// rounded first. A grey element is (byte - mean) / scale in single precision, or, from three
// bytes, (0.587 G + 0.299 R + 0.114 B - mean) / scale in double precision. Float elements take
// the value; byte elements take the low byte of the unsigned integer that it truncates to,
// which is 0 below 0 and saturates above 2^32 - 1.
//
// What the pixels do not cover, to the right and below, takes the channel's padding, converted
// alike but not normalised. Pixels beyond the image are left out.
#pragma once

#include "kernels/color/rgb.h"
#include "kernels/plane_view.h"

namespace tavrine {

// One image of a tensor. Strides count elements; the elements of a row are neighbours.
template <typename Element>
struct ElementPlanes {
  Element *data;  // null: there is no such image
  int32_t columns;
  int32_t rows;
  ptrdiff_t row_stride;
  ptrdiff_t channel_stride;

  Element *row(int32_t channel, int32_t y) const {
    return data + channel * channel_stride + y * row_stride;
  }
};

struct ChannelNormalization {
  float mean;
  float scale;
  float padding;
};

// Instantiated for float and uint8_t. Pixels and image must be usable.

// Channel c takes byte `bytes[c]` of each pixel.
template <typename Element>
void fill_color(const PlaneView &pixels, const int32_t bytes[3],
                const ChannelNormalization channels[3], const ElementPlanes<Element> &image);

template <typename Element>
void fill_grey(const PlaneView &pixels, const ChannelNormalization &channel,
               const ElementPlanes<Element> &image);

template <typename Element>
void fill_weighted_grey(const PlaneView &pixels, ByteOrder order,
                        const ChannelNormalization &channel, const ElementPlanes<Element> &image);

// Every element of one channel.
template <typename Element>
void fill_constant(const ElementPlanes<Element> &image, int32_t channel, Element value);

}  // namespace tavrine
