// Planes that lie apart
#include "check.h"

int main() {
  static uint8_t luma[112 * 64], chroma[112 * 32];
  memset(chroma, 128, sizeof chroma);
  memset(luma, 90, sizeof luma);
  bool is_released = false;
  {
    const auto frame = wrap_nv12(
        luma, chroma, {96, 64}, 112, [](void *arg) { *static_cast<bool *>(arg) = true; },
        &is_released);
    const auto rgb = tavrine::cvt_color(*frame, tavrine::PixelFormat::kRgb24);
    CHECK(rgb->rows()[63][3 * 95] == 90 && frame->rows(1)[31][95] == 128 && !is_released);
  }
  CHECK(is_released);
}
