// The picture's parts, painted in this order. The scene is 4 wide and 3 high around (0, 0),
// y downwards; a picture of another shape shows more of the landscape.
#pragma once

#include "painter.h"

namespace tavrine::example {

void paint_landscape(Pixel &pixel);  // sky, sun, hills, trees
void paint_garden(Pixel &pixel);     // meadow, brick wall, fence
void paint_people(Pixel &pixel);     // skin, hair, eyes, cloth
void paint_charts(Pixel &pixel);     // zone plate, star, colour patches

inline Colour scene_colour(Point at, double pixel_size) {
  Pixel pixel{at, pixel_size};
  paint_landscape(pixel);
  paint_garden(pixel);
  paint_people(pixel);
  paint_charts(pixel);
  return pixel.colour;
}

}  // namespace tavrine::example
