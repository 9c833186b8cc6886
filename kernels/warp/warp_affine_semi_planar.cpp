#include "kernels/warp/warp_affine_semi_planar.h"

namespace tavrine {

bool warp_affine_semi_planar(const SemiPlanarView &source, const AffineMatrix &matrix,
                             const SemiPlanarView &destination) {
  return warp_affine(source.luma, matrix, Border::kNearestEdge, destination.luma) &&
         warp_affine(source.chroma, at_half_size(matrix), Border::kNearestEdge, destination.chroma);
}

}  // namespace tavrine
