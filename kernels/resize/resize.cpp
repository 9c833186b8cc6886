#include "kernels/resize/resize.h"

#include <initializer_list>

#include "kernels/resize/resize_bilinear.h"
#include "kernels/resize/resize_reduce.h"
#include "kernels/resize/resize_scalar.h"

namespace tavrine {
namespace {

bool is_reduction(const PlaneView &source, const PlaneView &destination, int32_t ratio) {
  return source.columns % ratio == 0 && source.rows % ratio == 0 &&
         destination.columns == source.columns / ratio && destination.rows == source.rows / ratio;
}

}  // namespace

bool resize_plane(const PlaneView &source, const PlaneView &destination) {
  if (!source.is_usable() || !destination.is_usable()) {
    return false;
  }
  for (const int32_t ratio : {2, 4}) {
    if (is_reduction(source, destination, ratio)) {
      resize_reduce(source, destination, ratio);
      return true;
    }
  }
  if (scalar::lies_on_samples(source.columns, destination.columns) &&
      scalar::lies_on_samples(source.rows, destination.rows)) {
    resize_to_centres(source, destination);
    return true;
  }
  return resize_bilinear(source, destination);
}

}  // namespace tavrine
