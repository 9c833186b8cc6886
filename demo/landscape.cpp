#include "scene.h"

namespace tavrine::example {

namespace {

constexpr Point kSun = {1.18, -0.98};

void paint_sky(Pixel &pixel) {
  const double height = clamp01((pixel.at.y + 1.6) / 2.0);
  const Colour zenith = rgb(38, 92, 168);
  const Colour middle = rgb(122, 176, 222);
  const Colour horizon = rgb(250, 218, 178);
  pixel.colour = height < 0.55 ? mix(zenith, middle, height / 0.55)
                               : mix(middle, horizon, smooth_step(0.55, 1.0, height));
}

void paint_sun(Pixel &pixel) {
  pixel.glow(kSun, 1.1, 1.0, rgb(255, 238, 206), 0.5);
  pixel.glow(kSun, 0.42, 0.42, rgb(255, 240, 200), 0.75);
  pixel.paint(circle(pixel.at, kSun, 0.17), rgb(255, 250, 226));
}

void paint_clouds(Pixel &pixel) {
  const double x = pixel.at.x;
  const double y = pixel.at.y;
  const double band = bell(y + 0.95, 0.38);
  const double density = layered_noise(1.5 * x + 7.3, 3.6 * y + 2.1);
  const double cover = smooth_step(0.5, 0.78, density * (0.55 + 0.6 * band));
  // The side away from the sun is darker.
  const double shade = layered_noise(1.5 * x + 7.1, 3.6 * y + 2.35);
  const Colour light = mix(rgb(255, 252, 246), rgb(182, 196, 218), smooth_step(0.4, 0.75, shade));
  pixel.colour = mix(pixel.colour, light, 0.92 * cover);
}

double ridge(double x, double frequency, double phase) {
  return 0.6 * std::sin(frequency * x + phase) + 0.3 * std::sin(2.3 * frequency * x + 2.0 * phase) +
         0.1 * std::sin(6.1 * frequency * x + 0.5 * phase);
}

void paint_mountains(Pixel &pixel) {
  const double x = pixel.at.x;
  const double far = pixel.at.y - (-0.28 - 0.17 * ridge(x, 1.9, 0.7));
  pixel.paint(-far, mix(rgb(134, 160, 196), rgb(206, 202, 200), far / 0.55));
  const double near = pixel.at.y - (-0.05 - 0.12 * ridge(x, 2.7, 2.4));
  pixel.paint(-near, mix(rgb(86, 122, 140), rgb(150, 172, 150), near / 0.5));
}

// A conifer: a stack of triangles with straight, slanted edges.
double conifer(Point p, Point foot, double height) {
  double distance = box(p, {foot.x, foot.y - 0.05 * height}, 0.03 * height, 0.07 * height);
  for (int tier = 0; tier < 4; ++tier) {
    const double bottom = foot.y - height * (0.1 + 0.2 * tier);
    const double tier_height = height * (0.4 - 0.045 * tier);
    const double half_width = height * (0.23 - 0.042 * tier);
    const double below_top = p.y - (bottom - tier_height);
    const double side = (std::abs(p.x - foot.x) * tier_height - below_top * half_width) /
                        std::hypot(tier_height, half_width);
    distance = std::min(distance, std::max(side, p.y - bottom));
  }
  return distance;
}

double hill_height(double x) { return 0.2 - 0.09 * ridge(x, 1.6, 4.2); }

void paint_hill_with_trees(Pixel &pixel) {
  constexpr double kSpacing = 0.19;
  const int nearest = static_cast<int>(std::floor(pixel.at.x / kSpacing));
  for (int index = nearest - 1; index <= nearest + 2; ++index) {
    const double size = 0.2 + 0.26 * cell_noise(index, 3);
    const double x = (index + 0.35 * cell_noise(index, 5)) * kSpacing;
    if (cell_noise(index, 8) < 0.35) {
      continue;
    }
    const double tree = conifer(pixel.at, {x, hill_height(x) + 0.03}, size);
    const double towards_sun = clamp01(0.5 + (pixel.at.x - x) / (0.3 * size));
    pixel.paint(tree, mix(rgb(28, 58, 52), rgb(66, 104, 66), towards_sun));
  }
  const double hill = pixel.at.y - hill_height(pixel.at.x);
  const double patches = layered_noise(3.0 * pixel.at.x, 9.0 * pixel.at.y);
  pixel.paint(
      -hill, mix(mix(rgb(108, 150, 78), rgb(152, 178, 92), patches), rgb(84, 126, 62), hill / 0.5));
}

}  // namespace

void paint_landscape(Pixel &pixel) {
  paint_sky(pixel);
  paint_sun(pixel);
  paint_clouds(pixel);
  paint_mountains(pixel);
  paint_hill_with_trees(pixel);
}

}  // namespace tavrine::example
