// The picture codecs. Their one definition, with its configuration, is in stb.cpp.
#pragma once

#include <stb_image.h>
#include <stb_image_write.h>
