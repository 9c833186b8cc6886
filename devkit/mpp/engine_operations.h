// What the engine does to pixels. The caller has checked types and sizes.
#pragma once

#include "engine_image.h"

namespace tavrine::devkit {

void convert_yuv_to_rgb(const EngineImage &source, const EngineImage &destination);
void convert_rgb_to_yuv(const EngineImage &source, const EngineImage &destination);
void resize_grey(const EngineImage &source, const EngineImage &destination);

}  // namespace tavrine::devkit
