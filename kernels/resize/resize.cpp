#include "kernels/resize/resize.h"

#include "kernels/resize/downscale_2x_4x.h"
#include "kernels/resize/resize_bilinear.h"
#include "kernels/resize/resize_scalar.h"
#include "kernels/resize/subsample.h"

namespace tavrine {
namespace {

bool is_downscale(const PlaneView &source, const PlaneView &destination, int32_t ratio) {
  return source.columns % ratio == 0 && source.rows % ratio == 0 &&
         destination.columns == source.columns / ratio && destination.rows == source.rows / ratio;
}

}  // namespace

bool resize_plane(const PlaneView &source, const PlaneView &destination) {
  if (!have_same_channels(source, destination)) {
    return false;
  }
  if (is_downscale(source, destination, 2)) {
    downscale_2x_4x(source, destination, 2);
    return true;
  }
  if (is_downscale(source, destination, 4)) {
    downscale_2x_4x(source, destination, 4);
    return true;
  }
  if (scalar::lies_on_samples(source.columns, destination.columns) &&
      scalar::lies_on_samples(source.rows, destination.rows)) {
    subsample(source, destination);
    return true;
  }
  return resize_bilinear(source, destination);
}

}  // namespace tavrine
