// One pixel of a picture, painted from back to front with shapes whose edges are smooth.
//
// A shape is its signed distance from the pixel's centre: negative inside, in scene units.
// Half a pixel on each side of the edge the colours mix.
#pragma once

#include <algorithm>
#include <cmath>

namespace tavrine::example {

struct Colour {
  double red, green, blue;  // 0 to 1
};

constexpr Colour rgb(int red, int green, int blue) {
  return {red / 255.0, green / 255.0, blue / 255.0};
}

inline double clamp01(double value) { return std::clamp(value, 0.0, 1.0); }

// 0 up to `begin`, 1 from `end` on, without a corner between them.
inline double smooth_step(double begin, double end, double value) {
  const double t = clamp01((value - begin) / (end - begin));
  return t * t * (3.0 - 2.0 * t);
}

inline double bell(double distance, double width) {
  return std::exp(-(distance * distance) / (width * width));
}

inline Colour mix(const Colour &from, const Colour &to, double amount) {
  const double t = clamp01(amount);
  return {from.red + (to.red - from.red) * t, from.green + (to.green - from.green) * t,
          from.blue + (to.blue - from.blue) * t};
}

inline Colour scaled(const Colour &colour, double factor) {
  return {clamp01(colour.red * factor), clamp01(colour.green * factor),
          clamp01(colour.blue * factor)};
}

struct Point {
  double x, y;
};

struct Pixel {
  Point at;     // its centre, in scene units
  double size;  // of its side
  Colour colour{0, 0, 0};

  double coverage(double distance) const { return clamp01(0.5 - distance / size); }

  void paint(double distance, const Colour &with, double opacity = 1.0) {
    colour = mix(colour, with, coverage(distance) * opacity);
  }

  // A soft spot that fades with the distance from `centre`.
  void glow(Point centre, double radius_x, double radius_y, const Colour &with, double opacity) {
    const double distance = std::hypot((at.x - centre.x) / radius_x, (at.y - centre.y) / radius_y);
    colour = mix(colour, with, bell(distance, 1.0) * opacity);
  }
};

inline double circle(Point p, Point centre, double radius) {
  return std::hypot(p.x - centre.x, p.y - centre.y) - radius;
}

// Exact on the edge, close to it nearly so.
inline double ellipse(Point p, Point centre, double radius_x, double radius_y) {
  const double x = (p.x - centre.x) / radius_x;
  const double y = (p.y - centre.y) / radius_y;
  const double value = std::hypot(x, y);
  const double slope = std::hypot(x / radius_x, y / radius_y);
  return slope > 0.0 ? value * (value - 1.0) / slope : -std::min(radius_x, radius_y);
}

inline double box(Point p, Point centre, double half_width, double half_height,
                  double corner = 0.0) {
  const double x = std::abs(p.x - centre.x) - half_width + corner;
  const double y = std::abs(p.y - centre.y) - half_height + corner;
  return std::hypot(std::max(x, 0.0), std::max(y, 0.0)) + std::min(std::max(x, y), 0.0) - corner;
}

// A line of the given half width with round ends.
inline double line(Point p, Point from, Point to, double half_width) {
  const double dx = to.x - from.x;
  const double dy = to.y - from.y;
  const double t = clamp01(((p.x - from.x) * dx + (p.y - from.y) * dy) / (dx * dx + dy * dy));
  return std::hypot(p.x - from.x - dx * t, p.y - from.y - dy * t) - half_width;
}

// A piece of a parabola around `vertex`, `bend` high at its ends; tapers towards them.
inline double arc(Point p, Point vertex, double half_length, double bend, double half_width) {
  const double x = (p.x - vertex.x) / half_length;
  const double slope = 2.0 * bend * x / half_length;
  const double from_curve =
      std::abs(p.y - vertex.y - bend * x * x) / std::sqrt(1.0 + slope * slope);
  const double taper = half_width * (1.0 - x * x);
  return std::max(from_curve - taper, (std::abs(x) - 1.0) * half_length);
}

inline double smooth_union(double a, double b, double radius) {
  const double h = clamp01(0.5 + 0.5 * (b - a) / radius);
  return b + (a - b) * h - radius * h * (1.0 - h);
}

// The same number between 0 and 1 for the same cell, unlike that of its neighbours.
inline double cell_noise(int x, int y) {
  unsigned value = static_cast<unsigned>(x) * 374761393U + static_cast<unsigned>(y) * 668265263U;
  value = (value ^ (value >> 13)) * 1274126177U;
  return static_cast<double>((value ^ (value >> 16)) & 0xffffU) / 65535.0;
}

// Noise without cells, for clouds and stone.
inline double value_noise(double x, double y) {
  const double cell_x = std::floor(x);
  const double cell_y = std::floor(y);
  const int i = static_cast<int>(cell_x);
  const int j = static_cast<int>(cell_y);
  const double u = smooth_step(0.0, 1.0, x - cell_x);
  const double v = smooth_step(0.0, 1.0, y - cell_y);
  const double top = cell_noise(i, j) * (1.0 - u) + cell_noise(i + 1, j) * u;
  const double bottom = cell_noise(i, j + 1) * (1.0 - u) + cell_noise(i + 1, j + 1) * u;
  return top * (1.0 - v) + bottom * v;
}

inline double layered_noise(double x, double y) {
  return 0.53 * value_noise(x, y) + 0.27 * value_noise(2.03 * x, 2.03 * y) +
         0.13 * value_noise(4.01 * x, 4.01 * y) + 0.07 * value_noise(8.05 * x, 8.05 * y);
}

}  // namespace tavrine::example
