#include <algorithm>
#include <cmath>

#include "commands.h"
#include "failure.h"
#include "geometry_operations.h"
#include "picture_file.h"
#include "tavrine_aux.h"

namespace tavrine::tool {

namespace {

using Points = std::array<tavrine_point2f_t, 3>;

// Left eye, right eye and mouth of an upright face in a square of kTemplateSide.
constexpr float kTemplateSide = 112;
constexpr Points kTemplate = {{{38, 52}, {74, 52}, {56, 92}}};

Points template_of(const Size &size) {
  const auto width = static_cast<float>(size.width);
  const auto height = static_cast<float>(size.height);
  const float side = std::min(width, height);
  Points points = kTemplate;
  for (tavrine_point2f_t &point : points) {
    point.x = point.x * side / kTemplateSide + (width - side) / 2;
    point.y = point.y * side / kTemplateSide + (height - side) / 2;
  }
  return points;
}

}  // namespace

int run(Environment &environment, const AlignRequest &request) {
  const OwnedFrame picture = load_picture(environment, request.picture, request.layout);
  const Points destination = template_of(request.size);
  tavrine_matrix3x3f_t to_template;
  tavrine_matrix3x3f_t to_picture;
  // The estimate minimises distances in its destination. That must be the template, so that they
  // are small in the result whatever the size of the face. The warp maps destination pixels to
  // source positions, so it takes the inverse.
  tavrine_find_similarity_transform(request.points.data(), destination.data(), &to_template,
                                    &to_picture);
  AffineMatrix matrix{};
  std::copy_n(to_picture.m, matrix.size(), matrix.begin());
  if (!std::all_of(matrix.begin(), matrix.end(),
                   [](float value) { return std::isfinite(value); })) {
    throw Failure(request.picture, "align", "these points do not define a transform");
  }
  const Operation warp = affine_warp("align", matrix, request.size);
  save_picture(environment, apply_operation(environment, warp, picture, request.picture),
               request.output);
  return 0;
}

}  // namespace tavrine::tool
