// From packed bytes to the planar, normalised elements of a network tensor.
//
// A colour element is (byte - mean) * (1 / scale) in single precision, with the reciprocal
// rounded first. A grey element is (byte - mean) / scale in single precision, or, from three
// bytes, (0.587 G + 0.299 R + 0.114 B - mean) / scale in double precision. Float elements take
// the value; byte elements take the low byte of the unsigned integer that it truncates to,
// which is 0 below 0 and saturates above 2^32 - 1.
//
// Elements to the right of and below the pixels take the channel's padding, converted alike but
// not normalised. Pixels beyond the image are ignored.
//
// A byte has 256 values, so a call with one byte an element first makes the table of their elements
// by definition. The vector formula is used only if it gives the same bits for all 256 (it may
// overflow an integer of 32 bits); otherwise, and where that is faster, the table is looked up.
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

// Pixels, of 3 channels or for fill_grey() of 1, and image must be usable.

// Channel c takes byte `bytes[c]` of each pixel.
void fill_color(const PlaneView &pixels, const int32_t bytes[3],
                const ChannelNormalization channels[3], const ElementPlanes<float> &image);
void fill_color(const PlaneView &pixels, const int32_t bytes[3],
                const ChannelNormalization channels[3], const ElementPlanes<uint8_t> &image);

void fill_grey(const PlaneView &pixels, const ChannelNormalization &channel,
               const ElementPlanes<float> &image);
void fill_grey(const PlaneView &pixels, const ChannelNormalization &channel,
               const ElementPlanes<uint8_t> &image);

void fill_weighted_grey(const PlaneView &pixels, ByteOrder order,
                        const ChannelNormalization &channel, const ElementPlanes<float> &image);
void fill_weighted_grey(const PlaneView &pixels, ByteOrder order,
                        const ChannelNormalization &channel, const ElementPlanes<uint8_t> &image);

// Every element of one channel.
void fill_constant(const ElementPlanes<float> &image, int32_t channel, float value);
void fill_constant(const ElementPlanes<uint8_t> &image, int32_t channel, uint8_t value);

}  // namespace tavrine
