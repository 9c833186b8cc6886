// Draws a test chart and saves it: edges, stripes, gradients, colour patches, skin tones and two
// plain faces. Also shows how a frame is made, filled and saved with the C interface.
//
//   draw_chart OUT.jpg [WIDTH HEIGHT]
#include <cstdio>
#include <cstdlib>

#include "frame.h"
#include "painter.h"
#include "problem_log.h"
#include "tavrine_aux.h"
#include "tavrine_core.h"

namespace tavrine::demo {

namespace {

constexpr int32_t kDefaultWidth = 1280;
constexpr int32_t kDefaultHeight = 960;
constexpr long kMaxSide = 16384;
constexpr double kPi = 3.14159265358979323846;

// The chart is 4 wide and 3 high around (0, 0), y downwards.
constexpr double kChartWidth = 4.0;
constexpr double kChartHeight = 3.0;

// ---- Resolution -----------------------------------------------------------------------

// Rings whose frequency grows with the radius. Where they get finer than two pixels they fade
// to grey, so any pattern that shows there in a resized picture is an artefact.
void paint_zone_plate(Pixel &pixel, Point centre, double radius) {
  constexpr double kRings = 18.0;
  const double r = std::hypot(pixel.at.x - centre.x, pixel.at.y - centre.y);
  const double cycles_per_unit = 2.0 * kRings * r / (radius * radius);
  const double contrast = 1.0 - smooth_step(0.3, 0.5, cycles_per_unit * pixel.size);
  const double wave = std::cos(2.0 * kPi * kRings * r * r / (radius * radius));
  pixel.paint(circle(pixel.at, centre, radius), grey(0.5 + 0.5 * contrast * wave));
}

// Wedges that meet in the centre.
void paint_star(Pixel &pixel, Point centre, double radius) {
  constexpr double kWedges = 24.0;
  const double x = pixel.at.x - centre.x;
  const double y = pixel.at.y - centre.y;
  const double wedge_width = kPi * std::hypot(x, y) / kWedges;
  const double phase = std::sin(kWedges * std::atan2(y, x));
  const double edge = std::asin(std::clamp(phase, -1.0, 1.0)) / kPi * wedge_width;
  const double contrast = smooth_step(0.6, 1.4, wedge_width / pixel.size);
  pixel.paint(circle(pixel.at, centre, radius),
              grey(0.5 + contrast * (pixel.coverage(edge) - 0.5)));
}

// From coarse to fine, black on white above, red on blue below.
void paint_line_pairs(Pixel &pixel, Point left, double half_height) {
  constexpr int kLines = 18;
  double x = left.x;
  double width = 0.03;
  for (int index = 0; index < kLines; ++index) {
    const double middle = x + width / 2;
    pixel.paint(box(pixel.at, {middle, left.y}, width / 2, half_height), rgb(16, 16, 18));
    const double lower = left.y + 2.2 * half_height;
    pixel.paint(box(pixel.at, {middle, lower}, width / 2, half_height), rgb(214, 40, 40));
    pixel.paint(box(pixel.at, {middle + width, lower}, width / 2, half_height), rgb(40, 60, 200));
    x += 2.0 * width;
    width *= index % 2 == 0 ? 1.0 : 0.8;
  }
}

void paint_resolution(Pixel &pixel) {
  pixel.paint(box(pixel.at, {-1.48, -0.12}, 0.38, 1.02), rgb(244, 243, 239));
  paint_zone_plate(pixel, {-1.48, -0.79}, 0.32);
  paint_star(pixel, {-1.48, -0.13}, 0.3);
  paint_line_pairs(pixel, {-1.8, 0.35}, 0.08);
  for (int step = 0; step < 8; ++step) {
    pixel.paint(box(pixel.at, {-1.75 + 0.077 * step, 0.76}, 0.0385, 0.08), grey(step / 7.0));
  }
}

// ---- Colour ---------------------------------------------------------------------------

void paint_patches(Pixel &pixel) {
  constexpr Color kPatches[6][4] = {
      // Skin tones from light to dark, then natural and saturated colours, then greys.
      {rgb(244, 208, 177), rgb(231, 180, 143), rgb(210, 153, 108), rgb(186, 119, 77)},
      {rgb(165, 94, 52), rgb(138, 78, 46), rgb(96, 54, 34), rgb(58, 34, 24)},
      {rgb(98, 122, 157), rgb(87, 108, 67), rgb(133, 128, 177), rgb(103, 189, 170)},
      {rgb(206, 40, 48), rgb(70, 148, 73), rgb(36, 60, 180), rgb(231, 199, 31)},
      {rgb(187, 86, 149), rgb(8, 133, 161), rgb(224, 126, 44), rgb(157, 188, 64)},
      {rgb(243, 243, 242), rgb(170, 170, 170), rgb(100, 100, 100), rgb(20, 20, 20)},
  };
  constexpr double kPitch = 0.18;
  constexpr Point kCentre = {1.48, -0.43};
  pixel.paint(box(pixel.at, kCentre, 0.38, 0.71), rgb(24, 24, 26));
  for (int row = 0; row < 6; ++row) {
    for (int column = 0; column < 4; ++column) {
      const Point centre = {kCentre.x + (column - 1.5) * kPitch,
                            kCentre.y + (row - 2.5) * 1.25 * kPitch};
      pixel.paint(box(pixel.at, centre, 0.08, 0.1), kPatches[row][column]);
    }
  }
}

// All hues, from saturated above to white below.
void paint_hues(Pixel &pixel) {
  constexpr Point kCentre = {1.48, 0.62};
  const double turn = (pixel.at.x - kCentre.x) / 0.76 + 0.5;
  const auto channel = [&](double shift) {
    return 0.5 + 0.5 * std::cos(2.0 * kPi * (turn - shift));
  };
  const Color hue = {channel(0), channel(1.0 / 3), channel(2.0 / 3)};
  pixel.paint(box(pixel.at, kCentre, 0.38, 0.28),
              mix(hue, grey(1), (pixel.at.y - kCentre.y + 0.28) / 0.56));
}

// ---- Faces ----------------------------------------------------------------------------

struct Face {
  Point centre;
  Color skin, shadow, hair, iris, cloth;
};

// scripts/demo aligns both faces by these eyes and mouths: 0.17 to each side and 0.06 above the
// centre, and 0.28 below it.
constexpr Face kFaces[] = {{{-0.45, -0.1},
                            rgb(240, 196, 164),
                            rgb(186, 124, 96),
                            rgb(110, 62, 34),
                            rgb(70, 110, 140),
                            rgb(58, 92, 148)},
                           {{0.5, 0.0},
                            rgb(150, 96, 64),
                            rgb(88, 50, 34),
                            rgb(24, 20, 22),
                            rgb(70, 40, 24),
                            rgb(168, 58, 50)}};

void paint_face(Pixel &pixel, const Face &face) {
  const Point p = {pixel.at.x - face.centre.x, pixel.at.y - face.centre.y};
  pixel.paint(ellipse(p, {0, 1.3}, 0.62, 0.62), face.cloth);
  pixel.paint(box(p, {0, 0.6}, 0.13, 0.2), face.shadow);
  pixel.paint(ellipse(p, {0, -0.12}, 0.42, 0.5), face.hair);
  // Lit from the upper right.
  const double light = 0.75 + 0.8 * p.x - 0.5 * p.y;
  pixel.paint(ellipse(p, {0, 0.03}, 0.36, 0.48), mix(face.shadow, face.skin, light));
  for (const double side : {-1.0, 1.0}) {
    const Point eye = {0.17 * side, -0.06};
    pixel.paint(ellipse(p, {eye.x, eye.y - 0.11}, 0.09, 0.018), face.hair);
    pixel.paint(ellipse(p, eye, 0.075, 0.045), rgb(250, 247, 243));
    pixel.paint(circle(p, eye, 0.037), face.iris);
    pixel.paint(circle(p, eye, 0.016), rgb(10, 10, 12));
    pixel.paint(circle(p, {0.03 * side, 0.12}, 0.013), face.shadow);
  }
  pixel.paint(ellipse(p, {0, 0.07}, 0.025, 0.09), face.shadow, 0.4);
  pixel.paint(ellipse(p, {0, 0.28}, 0.11, 0.04), rgb(176, 62, 66));
  pixel.paint(ellipse(p, {0, 0.276}, 0.1, 0.007), rgb(90, 26, 32));
}

Color chart_color(Point at, double pixel_size) {
  Pixel pixel{at, pixel_size};
  // A smooth background, where steps and colour casts show.
  pixel.color = mix(rgb(120, 168, 214), rgb(238, 226, 204), at.y / kChartHeight + 0.5);
  for (const Face &face : kFaces) {
    paint_face(pixel, face);
  }
  pixel.paint(box(at, {0, 1.2}, 1.86, 0.2), grey((at.x + 1.86) / 3.72));
  paint_resolution(pixel);
  paint_patches(pixel);
  paint_hues(pixel);
  // A border, where a lost or added row or column shows.
  const double from_edge = -box(at, {0, 0}, kChartWidth / 2, kChartHeight / 2);
  pixel.paint(from_edge - 0.03, rgb(200, 30, 40));
  pixel.paint(from_edge - 0.015, rgb(255, 255, 255));
  return pixel.color;
}

// ---- The picture ----------------------------------------------------------------------

// 0 if the text is not a valid side of a picture.
int32_t parse_side(const char *text) {
  char *end = nullptr;
  const long side = std::strtol(text, &end, 10);
  return *end == '\0' && side > 0 && side <= kMaxSide ? static_cast<int32_t>(side) : 0;
}

uint8_t to_byte(double value) {
  return static_cast<uint8_t>(std::lround(255.0 * std::clamp(value, 0.0, 1.0)));
}

void draw_chart(tavrine_frame_t &frame) {
  // The whole chart is in the picture, whatever the picture's shape.
  const double pixel_size = std::max(kChartWidth / frame.width, kChartHeight / frame.height);
  for (int32_t y = 0; y < frame.height; ++y) {
    uint8_t *byte = row_of(frame, y);
    for (int32_t x = 0; x < frame.width; ++x) {
      const Color color = chart_color(
          {(x + 0.5 - frame.width / 2.0) * pixel_size, (y + 0.5 - frame.height / 2.0) * pixel_size},
          pixel_size);
      *byte++ = to_byte(color.red);
      *byte++ = to_byte(color.green);
      *byte++ = to_byte(color.blue);
    }
  }
}

}  // namespace

}  // namespace tavrine::demo

int main(int argc, char **argv) {
  using namespace tavrine::demo;
  if (argc != 2 && argc != 4) {
    std::fprintf(stderr, "usage: %s OUT.jpg|png|bmp [WIDTH HEIGHT]\n", argv[0]);
    return 2;
  }
  const int32_t width = argc == 4 ? parse_side(argv[2]) : kDefaultWidth;
  const int32_t height = argc == 4 ? parse_side(argv[3]) : kDefaultHeight;

  show_only_problems();
  const Frame frame = allocate_rgb24(width, height);
  if (!frame) {
    std::fprintf(stderr, "draw_chart: cannot allocate the picture; sides must be 1 to %ld\n",
                 kMaxSide);
    return 1;
  }
  draw_chart(*frame);
  const int32_t status = tavrine_frame_save(frame.get(), argv[1]);
  if (status != TAVRINE_OK) {
    std::fprintf(stderr, "draw_chart: cannot save %s (%d)\n", argv[1], static_cast<int>(status));
    return 1;
  }
  return 0;
}
