// Paints one pixel from back to front with antialiased shapes.
//
// A shape is the signed distance from the pixel's centre to its edge: negative inside, in scene
// units. Colours mix within half a pixel on each side of an edge.
#pragma once

#include <algorithm>
#include <cmath>

namespace tavrine::demo {

struct Color {
  double red, green, blue;  // 0 to 1
};

constexpr Color rgb(int red, int green, int blue) {
  return {red / 255.0, green / 255.0, blue / 255.0};
}

constexpr Color grey(double value) { return {value, value, value}; }

inline Color mix(const Color &from, const Color &to, double amount) {
  const double t = std::clamp(amount, 0.0, 1.0);
  return {from.red + (to.red - from.red) * t, from.green + (to.green - from.green) * t,
          from.blue + (to.blue - from.blue) * t};
}

// 0 up to `begin`, 1 from `end` on, smooth between them.
inline double smooth_step(double begin, double end, double value) {
  const double t = std::clamp((value - begin) / (end - begin), 0.0, 1.0);
  return t * t * (3.0 - 2.0 * t);
}

struct Point {
  double x, y;
};

struct Pixel {
  Point at;     // its centre, in scene units
  double size;  // of its side
  Color color{0, 0, 0};

  double coverage(double distance) const { return std::clamp(0.5 - distance / size, 0.0, 1.0); }

  void paint(double distance, const Color &with, double opacity = 1.0) {
    color = mix(color, with, coverage(distance) * opacity);
  }
};

inline double circle(Point p, Point centre, double radius) {
  return std::hypot(p.x - centre.x, p.y - centre.y) - radius;
}

// Exact on the edge and a good estimate near it.
inline double ellipse(Point p, Point centre, double radius_x, double radius_y) {
  const double x = (p.x - centre.x) / radius_x;
  const double y = (p.y - centre.y) / radius_y;
  const double value = std::hypot(x, y);
  const double slope = std::hypot(x / radius_x, y / radius_y);
  return slope > 0.0 ? value * (value - 1.0) / slope : -std::min(radius_x, radius_y);
}

inline double box(Point p, Point centre, double half_width, double half_height) {
  const double x = std::abs(p.x - centre.x) - half_width;
  const double y = std::abs(p.y - centre.y) - half_height;
  return std::hypot(std::max(x, 0.0), std::max(y, 0.0)) + std::min(std::max(x, y), 0.0);
}

}  // namespace tavrine::demo
