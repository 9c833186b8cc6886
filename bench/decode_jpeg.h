// libjpeg-turbo, which OpenCV decodes JPEG with.
#pragma once

#include "pictures.h"

namespace tavrine::bench {

// Decodes into tight RGB rows of width x height pixels. Returns false for another size. A broken
// file ends the program.
bool decode_jpeg(const Bytes &file, uint8_t *rgb, int width, int height);

}  // namespace tavrine::bench
