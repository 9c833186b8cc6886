// Cuts an upright face out of a picture: estimates the transform from three points to the places
// where a recognition network expects them, and warps the picture. The same in C: align_face.c
//
//   align_face_cpp                                  with a tilted face that it paints
//   align_face_cpp PICTURE OUT.png X Y X Y X Y      left eye, right eye, mouth
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>

#include "tavrine_aux.hpp"

namespace {

constexpr tavrine::Size kFace = {112, 112};
constexpr std::array kNames = {"left eye", "right eye", "mouth"};
constexpr tavrine::PointTriple kUpright = {{{38, 52}, {74, 52}, {56, 92}}};
constexpr tavrine::PointTriple kPainted = {{{75, 58}, {118, 82}, {70, 108}}};

tavrine::PointTriple points_of(char **numbers) {
  const auto number = [=](int index) { return std::strtof(numbers[index], nullptr); };
  return {{{number(0), number(1)}, {number(2), number(3)}, {number(4), number(5)}}};
}

// Skin with a spot at each point: dark eyes and a red mouth.
tavrine::Frame paint_face(const tavrine::PointTriple &points) {
  constexpr uint8_t kColours[4][3] = {{50, 30, 20}, {50, 30, 20}, {200, 40, 50}, {230, 190, 160}};
  auto frame = tavrine::Frame::allocate(tavrine::PixelFormat::kRgb24, {200, 160}).value();
  float y = 0;
  for (const auto row : frame.rows()) {
    for (int32_t x = 0; x < frame->width; ++x) {
      size_t spot = 0;
      while (spot < 3 &&
             std::hypot(static_cast<float>(x) - points[spot].x, y - points[spot].y) > 5) {
        ++spot;
      }
      std::copy_n(kColours[spot], 3, &row[3 * x]);
    }
    ++y;
  }
  return frame;
}

tavrine::Frame load_picture(const char *path) {
  auto picture = tavrine::load(path);
  return picture ? std::move(*picture) : throw std::runtime_error("cannot load the picture");
}

tavrine::Frame align(const tavrine::Frame &picture, const tavrine::PointTriple &points) {
  const tavrine::TransformPair to_face = tavrine::find_similarity(points, kUpright);
  for (size_t i = 0; i < points.size(); ++i) {
    const tavrine::Point place = to_face.forward.apply(points[i]);
    std::printf("%-9s (%.1f, %.1f) -> (%.1f, %.1f)\n", kNames[i], points[i].x, points[i].y, place.x,
                place.y);
  }
  // The warp's transform maps each pixel of the face to its position in the picture.
  return tavrine::warp_affine(picture, kFace, to_face.inverse).value();
}

void check_colours(const tavrine::Frame &face) {
  for (size_t i = 0; i < kUpright.size(); ++i) {
    const auto row = face.rows()[static_cast<int32_t>(kUpright[i].y)];
    const auto x = 3 * static_cast<size_t>(kUpright[i].x);
    std::printf("%-9s is red %d, green %d, blue %d\n", kNames[i], row[x], row[x + 1], row[x + 2]);
    if (row[x] < 50 || row[x + 1] >= 100) {
      throw std::runtime_error("skin where an eye or the mouth should be");
    }
  }
}

}  // namespace

int main(int argc, char **argv) {
  if (argc != 1 && argc != 9) {
    std::fprintf(stderr, "usage: %s [PICTURE OUT.png X Y X Y X Y]\n", argv[0]);
    return 2;
  }
  const tavrine::PointTriple points = argc == 9 ? points_of(argv + 3) : kPainted;
  try {
    const tavrine::Frame picture = argc == 9 ? load_picture(argv[1]) : paint_face(points);
    const tavrine::Frame face = align(picture, points);
    if (argc == 1) {
      check_colours(face);
    } else if (!tavrine::save(face, argv[2])) {
      throw std::runtime_error("cannot save the face");
    }
  } catch (const std::exception &problem) {
    std::fprintf(stderr, "align_face: %s\n", problem.what());
    return 1;
  }
}
