#include <cstdint>

#include "io/codec_memory.h"
#include "kernels/color/rgb.h"

#define STBI_MALLOC(size) tavrine::CodecMemory::allocate(size)
#define STBI_MALLOC_UNSET(size) tavrine::CodecMemory::allocate_unset(size)
#define STBI_REALLOC(bytes, size) tavrine::CodecMemory::resize(bytes, size)
#define STBI_FREE(bytes) tavrine::CodecMemory::release(bytes)
#define STBIW_MALLOC STBI_MALLOC
#define STBIW_REALLOC STBI_REALLOC
#define STBIW_FREE STBI_FREE

// Corrupt input can violate the codecs' assertions, so they end the run instead of aborting.
#define STBI_ASSERT(condition) ((condition) ? static_cast<void>(0) : throw tavrine::CodecStopped())
#define STBIW_ASSERT STBI_ASSERT

namespace {

void swap_red_blue(uint8_t *out, uint8_t *in, int pixels) {
  constexpr int kChannels = 3;
  tavrine::swap_red_blue({in, kChannels, pixels, 1, kChannels * pixels},
                         {out, kChannels, pixels, 1, kChannels * pixels});
}

}  // namespace
#define STBI_SWAP_RED_BLUE swap_red_blue

// The decoder's float pictures are not used, and their tone curve needs the C library's pow.
#define STBI_NO_LINEAR

#if defined(__ARM_NEON)
#define STBI_NEON
#endif
#define STB_IMAGE_IMPLEMENTATION
#define STB_IMAGE_WRITE_IMPLEMENTATION
#include "io/stb.h"
