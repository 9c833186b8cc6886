#if defined(__ARM_NEON)
#define STBI_NEON
#endif
#define STB_IMAGE_IMPLEMENTATION
#define STB_IMAGE_WRITE_IMPLEMENTATION
#include "io/stb.h"
