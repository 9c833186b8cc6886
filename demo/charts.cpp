#include "scene.h"

namespace tavrine::example {

namespace {

constexpr double kPi = 3.14159265358979323846;

void paint_board(Pixel &pixel, Point centre, double half_width, double half_height) {
  pixel.paint(box(pixel.at, {centre.x + 0.015, centre.y + 0.025}, half_width, half_height, 0.03),
              rgb(20, 20, 26), 0.45);
  pixel.paint(box(pixel.at, centre, half_width, half_height, 0.02), rgb(244, 243, 239));
}

// Rings whose frequency grows with the radius until they are finer than two pixels, where
// they fade to grey: what is seen beyond that in a resized picture is an artefact.
void paint_zone_plate(Pixel &pixel, Point centre, double radius) {
  constexpr double kRings = 18.0;
  const double r = std::hypot(pixel.at.x - centre.x, pixel.at.y - centre.y);
  const double cycles_per_unit = 2.0 * kRings * r / (radius * radius);
  const double contrast = 1.0 - smooth_step(0.3, 0.5, cycles_per_unit * pixel.size);
  const double wave = std::cos(2.0 * kPi * kRings * r * r / (radius * radius));
  const double value = 0.5 + 0.5 * contrast * wave;
  pixel.paint(circle(pixel.at, centre, radius), {value, value, value});
}

// Wedges that meet in the centre.
void paint_star(Pixel &pixel, Point centre, double radius) {
  constexpr double kWedges = 36.0;
  const double x = pixel.at.x - centre.x;
  const double y = pixel.at.y - centre.y;
  const double r = std::hypot(x, y);
  const double wedge_width = kPi * r / kWedges;
  const double phase = std::sin(kWedges * std::atan2(y, x));
  const double edge = std::asin(std::clamp(phase, -1.0, 1.0)) / kPi * wedge_width;
  const double value = pixel.coverage(edge);
  const double contrast = smooth_step(0.6, 1.4, wedge_width / pixel.size);
  const double shown = 0.5 + contrast * (value - 0.5);
  pixel.paint(circle(pixel.at, centre, radius), {shown, shown, shown});
}

// Line pairs from coarse to fine.
void paint_line_pairs(Pixel &pixel, Point left, double half_height) {
  constexpr int kLines = 20;
  double x = left.x;
  double width = 0.03;
  for (int index = 0; index < kLines; ++index) {
    pixel.paint(box(pixel.at, {x + width / 2, left.y}, width / 2, half_height), rgb(16, 16, 18));
    x += 2.0 * width;
    width *= index % 2 == 0 ? 1.0 : 0.8;
  }
}

void paint_resolution_board(Pixel &pixel) {
  constexpr Point kCentre = {-1.57, 0.3};
  if (box(pixel.at, kCentre, 0.45, 0.75) > 0.0) {
    return;
  }
  paint_board(pixel, kCentre, 0.35, 0.66);
  paint_zone_plate(pixel, {kCentre.x, kCentre.y - 0.3}, 0.3);
  paint_star(pixel, {kCentre.x - 0.09, kCentre.y + 0.25}, 0.21);
  paint_line_pairs(pixel, {kCentre.x - 0.3, kCentre.y + 0.56}, 0.06);
  for (int step = 0; step < 6; ++step) {
    const double value = step / 5.0;
    pixel.paint(box(pixel.at, {kCentre.x + 0.24, kCentre.y + 0.09 + 0.07 * step}, 0.06, 0.035),
                {value, value, value});
  }
}

void paint_colour_board(Pixel &pixel) {
  constexpr Point kCentre = {1.47, 0.98};
  constexpr double kPitch = 0.145;
  constexpr Colour kPatches[4][6] = {
      {rgb(115, 82, 68), rgb(194, 150, 130), rgb(98, 122, 157), rgb(87, 108, 67),
       rgb(133, 128, 177), rgb(103, 189, 170)},
      {rgb(214, 126, 44), rgb(80, 91, 166), rgb(193, 90, 99), rgb(94, 60, 108), rgb(157, 188, 64),
       rgb(224, 163, 46)},
      {rgb(36, 60, 180), rgb(70, 148, 73), rgb(206, 40, 48), rgb(231, 199, 31), rgb(187, 86, 149),
       rgb(8, 133, 161)},
      {rgb(243, 243, 242), rgb(200, 200, 200), rgb(160, 160, 160), rgb(121, 121, 121),
       rgb(85, 85, 85), rgb(32, 32, 32)},
  };
  if (box(pixel.at, kCentre, 0.6, 0.6) > 0.0) {
    return;
  }
  for (const double foot : {-0.3, 0.3}) {
    pixel.paint(
        line(pixel.at, {kCentre.x + 0.8 * foot, kCentre.y}, {kCentre.x + foot, 1.48}, 0.022),
        rgb(118, 84, 52));
  }
  paint_board(pixel, kCentre, 0.47, 0.33);
  pixel.paint(box(pixel.at, kCentre, 0.455, 0.315, 0.015), rgb(24, 24, 26));
  for (int row = 0; row < 4; ++row) {
    for (int column = 0; column < 6; ++column) {
      const Point patch = {kCentre.x + (column - 2.5) * kPitch, kCentre.y + (row - 1.5) * kPitch};
      pixel.paint(box(pixel.at, patch, 0.06, 0.06), kPatches[row][column]);
    }
  }
}

}  // namespace

void paint_charts(Pixel &pixel) {
  paint_resolution_board(pixel);
  paint_colour_board(pixel);
}

}  // namespace tavrine::example
