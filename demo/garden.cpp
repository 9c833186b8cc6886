#include "scene.h"

namespace tavrine::example {

namespace {

constexpr double kWallEdge = -1.12;
constexpr double kWallTop = -0.62;

void paint_meadow(Pixel &pixel) {
  const double depth = pixel.at.y - 0.52;
  // Blades are long and wide near the viewer, fine and short far away.
  const double near = value_noise(44.0 * pixel.at.x, 5.5 * pixel.at.y);
  const double far = value_noise(90.0 * pixel.at.x, 20.0 * pixel.at.y);
  const double blades = far + (near - far) * smooth_step(0.1, 0.6, depth);
  const Colour grass = mix(rgb(70, 122, 48), rgb(142, 180, 74), blades);
  pixel.paint(-depth - 0.02 * std::sin(5.0 * pixel.at.x),
              mix(grass, rgb(44, 86, 40), 0.6 * smooth_step(0.0, 1.1, depth)));
}

void paint_fence(Pixel &pixel) {
  constexpr double kSpacing = 0.17;
  constexpr double kTop = 0.3;
  constexpr double kFoot = 0.98;
  const Colour white = rgb(246, 244, 238);
  const Colour shadow = rgb(178, 184, 198);
  for (const double rail : {0.5, 0.82}) {
    pixel.paint(box(pixel.at, {2.0 + kWallEdge / 2, rail}, 4.0 + kWallEdge / 2, 0.035),
                mix(white, shadow, 0.35 + (pixel.at.y - rail) / 0.07));
  }
  const double picket_x = (std::floor(pixel.at.x / kSpacing) + 0.5) * kSpacing;
  const double from_middle = pixel.at.x - picket_x;
  const double slanted_top = (kTop - pixel.at.y + 1.1 * std::abs(from_middle)) / std::hypot(1, 1.1);
  const double picket = std::max({std::abs(from_middle) - 0.055, pixel.at.y - kFoot, slanted_top});
  if (picket_x > kWallEdge) {
    pixel.paint(picket - 0.012, rgb(88, 96, 90), 0.8);
    pixel.paint(picket, mix(shadow, white, smooth_step(-0.055, 0.03, from_middle)));
  }
}

// Bricks in a running bond: straight horizontal and vertical edges of one to a few pixels.
void paint_wall(Pixel &pixel) {
  constexpr double kBrickWidth = 0.24;
  constexpr double kBrickHeight = 0.094;
  const double wall = std::max(pixel.at.x - kWallEdge, kWallTop - pixel.at.y);
  if (pixel.coverage(wall) == 0.0) {
    return;
  }
  const double grain = layered_noise(40.0 * pixel.at.x, 40.0 * pixel.at.y);
  const Colour mortar = mix(rgb(172, 164, 152), rgb(206, 200, 188), grain);
  pixel.paint(wall, mortar);

  const int row = static_cast<int>(std::floor((pixel.at.y - kWallTop) / kBrickHeight));
  const double offset = row % 2 == 0 ? 0.0 : 0.5;
  const int column = static_cast<int>(std::floor((pixel.at.x - kWallEdge) / kBrickWidth + offset));
  const Point centre = {kWallEdge + (column - offset + 0.5) * kBrickWidth,
                        kWallTop + (row + 0.5) * kBrickHeight};
  const double brick = std::max(
      wall, box(pixel.at, centre, kBrickWidth / 2 - 0.009, kBrickHeight / 2 - 0.009, 0.008));
  const Colour clay = mix(rgb(136, 62, 46), rgb(196, 106, 74),
                          0.75 * cell_noise(column, row) + 0.35 * grain - 0.05);
  const double lit_edge = smooth_step(0.6, 1.0, (centre.y - pixel.at.y) / (kBrickHeight / 2));
  pixel.paint(brick, mix(clay, rgb(226, 160, 122), 0.4 * lit_edge));

  const double coping = box(pixel.at, {kWallEdge - 3.0 + 0.03, kWallTop}, 3.0, 0.035, 0.006);
  pixel.paint(coping, mix(rgb(214, 208, 198), rgb(140, 136, 130),
                          smooth_step(-0.035, 0.035, pixel.at.y - kWallTop)));
}

}  // namespace

void paint_garden(Pixel &pixel) {
  paint_meadow(pixel);
  paint_fence(pixel);
  paint_wall(pixel);
}

}  // namespace tavrine::example
