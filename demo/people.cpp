#include "scene.h"

namespace tavrine::example {

namespace {

// Lengths of a portrait are in half heads: the face reaches from (0, -1) to the chin at (0, 1).
struct Person {
  Point centre;
  double scale;
  Colour skin_light, skin, skin_shadow;
  Colour hair_light, hair_dark;
  Colour iris;
  Colour lips;
  Colour cloth, cloth_pattern;
  bool long_hair;
};

constexpr Person kWoman = {{-0.42, 0.16},      0.46,
                           rgb(255, 226, 204), rgb(236, 184, 154),
                           rgb(168, 104, 84),  rgb(176, 104, 56),
                           rgb(64, 30, 20),    rgb(86, 124, 92),
                           rgb(192, 78, 84),   rgb(58, 92, 148),
                           rgb(236, 232, 222), true};
constexpr Person kMan = {{0.56, 0.02},       0.48,
                         rgb(206, 150, 112), rgb(160, 104, 72),
                         rgb(88, 50, 36),    rgb(74, 62, 60),
                         rgb(20, 16, 18),    rgb(84, 50, 28),
                         rgb(148, 80, 70),   rgb(168, 58, 50),
                         rgb(60, 30, 38),    false};

double head(Point p) {
  return smooth_union(ellipse(p, {0, -0.17}, 0.72, 0.84), ellipse(p, {0, 0.4}, 0.54, 0.6), 0.3);
}

// Fine streaks along curves around the crown.
Colour hair_colour(Point p, const Person &person, Point crown) {
  const double angle = std::atan2(p.x - crown.x, crown.y - p.y);
  const double radius = std::hypot(p.x - crown.x, p.y - crown.y);
  const double strands = value_noise(46.0 * angle + 3.0 * radius, 2.5 * radius);
  const double gloss =
      bell(radius - 0.75 - 0.05 * std::sin(9.0 * angle), 0.22) * smooth_step(-1.2, 0.9, angle);
  return mix(person.hair_dark, person.hair_light, 0.15 + 0.5 * strands * strands + 0.55 * gloss);
}

// ---- Behind and below the face --------------------------------------------------------

// Long hair as seen from the front, before any of it is hidden.
double long_hair_outline(Point p) {
  const double wave = 0.05 * std::sin(5.5 * p.y + 0.6) * smooth_step(0.0, 1.0, p.y);
  const Point mirrored = {std::abs(p.x) - wave, p.y};
  return smooth_union(ellipse(mirrored, {0, -0.25}, 0.9, 0.98),
                      box(mirrored, {0, 0.75}, 0.86, 1.0, 0.5), 0.3);
}

void paint_hair_behind(Pixel &pixel, const Person &person) {
  pixel.paint(long_hair_outline(pixel.at),
              mix(hair_colour(pixel.at, person, {0, -0.9}), person.hair_dark,
                  0.55 * smooth_step(0.2, 0.9, pixel.at.y)));
}

double shoulders(Point p) {
  return smooth_union(ellipse(p, {0, 2.42}, 1.42, 1.06), box(p, {0, 3.9}, 1.42, 1.6, 0.4), 0.3);
}

void paint_shoulders(Pixel &pixel, const Person &person) {
  const Point p = pixel.at;
  // Stripes follow the body; on the other one, checks.
  const double bent = p.y + 0.14 * p.x * p.x;
  const double stripe = std::abs(bent * 4.2 - std::floor(bent * 4.2) - 0.5) - 0.14;
  const double across = std::abs(p.x * 4.2 - std::floor(p.x * 4.2) - 0.5) - 0.14;
  Colour cloth = mix(person.cloth, person.cloth_pattern, pixel.coverage(stripe / 4.2));
  if (!person.long_hair) {
    cloth = mix(cloth, person.cloth_pattern, 0.6 * pixel.coverage(across / 4.2));
  }
  const double light = 0.62 + 0.5 * smooth_step(-1.4, 1.2, p.x) - 0.22 * smooth_step(1.5, 3.0, p.y);
  pixel.paint(shoulders(p), scaled(cloth, light));
}

void paint_neck(Pixel &pixel, const Person &person) {
  const Point p = pixel.at;
  const double neck = smooth_union(box(p, {0, 1.0}, person.long_hair ? 0.29 : 0.37, 0.55, 0.1),
                                   ellipse(p, {0, 1.52}, 0.5, 0.22), 0.28);
  const double under_chin = bell(p.y - 0.86 - 0.08 * p.x, 0.4);
  const double light = 0.3 + smooth_step(-0.5, 0.55, p.x) - 1.1 * under_chin;
  pixel.paint(neck, mix(scaled(person.skin_shadow, 0.9), person.skin, light));
  for (const double side : {-1.0, 1.0}) {
    pixel.glow({side * 0.22, 1.56}, 0.2, 0.025, person.skin_shadow, 0.5);
  }
  const double neckline = std::max(std::abs(neck) - 0.05, shoulders(p) - 0.03);
  const double ribs = 0.8 + 0.3 * smooth_step(-0.5, 0.5, p.x) + 0.07 * std::sin(90.0 * p.x);
  pixel.paint(neckline, scaled(person.cloth_pattern, ribs));
}

void paint_ears(Pixel &pixel, const Person &person) {
  for (const double side : {-1.0, 1.0}) {
    const Point centre = {side * 0.73, 0.1};
    const Colour tone = side > 0 ? person.skin : mix(person.skin, person.skin_shadow, 0.55);
    pixel.paint(ellipse(pixel.at, centre, 0.12, 0.22), tone);
    pixel.paint(ellipse(pixel.at, {centre.x, centre.y + 0.01}, 0.055, 0.13),
                mix(tone, person.skin_shadow, 0.5));
  }
}

// ---- The face -------------------------------------------------------------------------

// Lit from the upper right, where the sun is, with some red where blood is near.
Colour skin_colour(Point p, const Person &person) {
  const double nx = p.x / 0.82;
  const double ny = (p.y + 0.05) / 1.12;
  const double nz = std::sqrt(std::max(0.0, 1.0 - nx * nx - ny * ny));
  const double light = 0.5 * nx - 0.4 * ny + 0.77 * nz;
  Colour tone = mix(person.skin_shadow, person.skin, smooth_step(-0.35, 0.75, light));
  tone = mix(tone, person.skin_light, 0.85 * smooth_step(0.62, 1.0, light));
  const Colour blush = mix(tone, rgb(226, 92, 84), 0.26);
  for (const double side : {-1.0, 1.0}) {
    const double cheek = std::hypot((p.x - side * 0.4) / 0.24, (p.y - 0.36) / 0.17);
    tone = mix(tone, blush, (person.long_hair ? 1.0 : 0.45) * bell(cheek, 1.0));
  }
  return tone;
}

void paint_beard(Pixel &pixel, const Person &person, double face) {
  const Point p = pixel.at;
  // Over the chin, and up along the jaw to the ears.
  const double sideburns =
      0.95 * smooth_step(0.3, 0.62, std::abs(p.x)) * smooth_step(-0.1, 0.5, p.y);
  const double density =
      smooth_step(-0.16, 0.3, p.y - 0.62 + sideburns) * smooth_step(-0.05, 0.3, p.y);
  const double hairs = value_noise(70.0 * p.x, 26.0 * p.y);
  pixel.paint(face, mix(person.hair_dark, person.hair_light, 0.5 * hairs),
              density * (0.5 + 0.4 * hairs));
  pixel.paint(arc(p, {0, 0.55}, 0.27, 0.1, 0.055), mix(person.hair_dark, person.hair_light, hairs),
              0.85);
}

void paint_nose(Pixel &pixel, const Person &person) {
  const Colour shadow = person.skin_shadow;
  pixel.glow({-0.12, 0.2}, 0.07, 0.26, shadow, 0.38);
  pixel.glow({-0.13, 0.37}, 0.08, 0.07, shadow, 0.4);
  pixel.glow({0.14, 0.38}, 0.05, 0.06, shadow, 0.3);
  pixel.glow({0.02, 0.47}, 0.16, 0.035, shadow, 0.6);
  pixel.glow({0.03, 0.14}, 0.05, 0.24, person.skin_light, 0.5);
  pixel.glow({0.035, 0.35}, 0.06, 0.055, person.skin_light, 0.75);
  for (const double side : {-1.0, 1.0}) {
    pixel.paint(ellipse(pixel.at, {side * 0.075, 0.445}, 0.035, 0.018), scaled(shadow, 0.6), 0.85);
  }
}

void paint_mouth(Pixel &pixel, const Person &person) {
  const Point p = pixel.at;
  const double corner = 0.27;
  const double x = p.x / corner;
  // The line between the lips, with its corners raised to a smile.
  const double between = 0.66 - 0.065 * x * x;
  const double upper_rim = between - 0.07 * (1.0 - x * x) * (1.0 - 0.45 * bell(x, 0.22));
  const double lower_rim = between + 0.105 * (1.0 - x * x);
  const double lips = std::max({upper_rim - p.y, p.y - lower_rim, std::abs(p.x) - corner});
  const double fullness = bell(p.y - between - 0.05, 0.045) * bell(x - 0.15, 0.5);
  pixel.glow({0, 0.83}, 0.2, 0.04, person.skin_shadow, 0.45);
  Colour tone = mix(person.lips, scaled(person.lips, 0.68), (between - p.y) / 0.05);
  tone = mix(tone, rgb(255, 226, 220), 0.42 * fullness);
  pixel.paint(lips, tone);
  pixel.paint(arc(p, {0, 0.66}, corner + 0.03, -0.075, 0.016), scaled(person.skin_shadow, 0.45));
}

void paint_eye(Pixel &pixel, const Person &person, double side) {
  const Point centre = {side * 0.29, 0.03};
  const Point p = pixel.at;
  pixel.glow({centre.x, centre.y - 0.07}, 0.24, 0.12, person.skin_shadow, 0.42);
  pixel.glow({centre.x, centre.y + 0.13}, 0.17, 0.05, person.skin_light, 0.3);

  // Two parabolas that meet in the corners; the outer corner is higher.
  const double x = (p.x - centre.x) / 0.17;
  const double y = p.y - centre.y + 0.012 * x * side;
  const double opening = std::max({-0.1 * (1.0 - x * x) - y, y - 0.07 * (1.0 - x * x)});
  const double eye = std::max(0.85 * opening, std::abs(p.x - centre.x) - 0.17);
  const double roundness = std::abs(x);
  pixel.paint(eye, mix(rgb(250, 247, 243), rgb(190, 172, 170), roundness * roundness));
  const auto inside = [&](double shape) { return std::max(shape, eye); };

  const Point iris = {centre.x + 0.012, centre.y - 0.015};
  const double from_middle = std::hypot(p.x - iris.x, p.y - iris.y) / 0.085;
  const double rays =
      cell_noise(static_cast<int>(std::floor(14.0 * std::atan2(p.y - iris.y, p.x - iris.x))), 2);
  Colour iris_tone = mix(scaled(person.iris, 1.45), scaled(person.iris, 0.75), rays);
  iris_tone = mix(iris_tone, scaled(person.iris, 0.35), smooth_step(0.7, 1.0, from_middle));
  pixel.paint(inside(circle(p, iris, 0.085)), iris_tone);
  pixel.paint(inside(circle(p, iris, 0.038)), rgb(12, 10, 12));
  pixel.paint(inside(y + 0.055), rgb(60, 40, 40), 0.4);  // the upper lid's shadow
  pixel.paint(circle(p, {iris.x + 0.03, iris.y - 0.032}, 0.016), rgb(255, 255, 255));

  const double lash = person.long_hair ? 0.03 : 0.019;
  pixel.paint(arc(p, {centre.x, centre.y - 0.1 - 0.012 * x * side}, 0.195, 0.1, lash),
              rgb(26, 16, 16));
  if (person.long_hair) {
    const double tip = side * 0.05;
    pixel.paint(line(p, {centre.x + side * 0.165, centre.y - 0.02},
                     {centre.x + side * 0.165 + tip, centre.y - 0.065}, 0.01),
                rgb(26, 16, 16));
  }
  pixel.paint(arc(p, {centre.x, centre.y - 0.165}, 0.17, 0.06, 0.012), person.skin_shadow, 0.55);

  const double thickness = person.long_hair ? 0.034 : 0.05;
  const double bristles = value_noise(90.0 * (p.x + 0.7 * p.y * side), 6.0 * p.y);
  pixel.paint(arc(p, {centre.x + side * 0.02, centre.y - 0.27}, 0.21, 0.075, thickness),
              mix(person.hair_dark, person.hair_light, 0.55 * bristles), 0.92);
}

// ---- Hair before the face -------------------------------------------------------------

void paint_fringe(Pixel &pixel, const Person &person, double face) {
  const Point p = pixel.at;
  if (person.long_hair) {
    // Parted on one side; two locks frame the face.
    const double cap = ellipse(p, {0, -0.27}, 0.88, 0.93);
    const double parting = 0.16;
    const double sweep = p.x - parting;
    const double hairline = -0.82 + (sweep > 0 ? 1.45 : 0.78) * std::pow(std::abs(sweep), 1.35);
    const double lock_edge = 0.66 - 0.1 * std::sin(2.4 * p.y + 0.2) - 0.04 * p.y;
    const double locks = box({std::abs(p.x), p.y}, {lock_edge + 0.2, 0.85}, 0.2, 1.2, 0.15);
    const double top = std::max(cap, (p.y - hairline) * 0.6);
    const double hair = std::max(smooth_union(top, locks, 0.12), long_hair_outline(p));
    pixel.paint(std::max(hair - 0.03, face), scaled(person.skin_shadow, 0.6), 0.35);
    pixel.paint(hair, hair_colour(p, person, {parting, -1.1}));
    return;
  }
  const double cap = ellipse(p, {0, -0.4}, 0.79, 0.76);
  const double jagged = 0.012 * std::sin(31.0 * p.x) + 0.008 * std::sin(67.0 * p.x);
  const double temples = 1.25 * smooth_step(0.42, 0.78, std::abs(p.x));
  const double hairline = -0.56 - 0.1 * p.x + jagged + 0.6 * temples;
  const double hair = std::max(cap, (p.y - hairline) * 0.7);
  pixel.paint(std::max(hair - 0.03, face), person.skin_shadow, 0.45);
  pixel.paint(hair, hair_colour(p, person, {0.3, -1.2}));
}

void paint_person(Pixel &pixel, const Person &person) {
  const Point p = {(pixel.at.x - person.centre.x) / person.scale,
                   (pixel.at.y - person.centre.y) / person.scale};
  if (std::abs(p.x) > 2.0 || p.y < -1.6) {
    return;
  }
  Pixel local{p, pixel.size / person.scale, pixel.colour};
  if (person.long_hair) {
    paint_hair_behind(local, person);
  }
  paint_shoulders(local, person);
  paint_neck(local, person);
  if (!person.long_hair) {
    paint_ears(local, person);
  }
  const double face = head(p);
  if (face < 0.3) {
    local.paint(face, skin_colour(p, person));
    const Colour outside = local.colour;
    if (!person.long_hair) {
      paint_beard(local, person, face);
    }
    paint_nose(local, person);
    paint_mouth(local, person);
    paint_eye(local, person, -1.0);
    paint_eye(local, person, 1.0);
    local.colour = mix(outside, local.colour, local.coverage(face));
  }
  paint_fringe(local, person, face);
  pixel.colour = local.colour;
}

}  // namespace

void paint_people(Pixel &pixel) {
  paint_person(pixel, kWoman);
  paint_person(pixel, kMan);
}

}  // namespace tavrine::example
