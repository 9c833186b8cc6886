#include "decode_jpeg.h"

#include <cstdio>
// Needs the declarations of <cstdio>.
#include <jpeglib.h>

namespace tavrine::bench {

bool decode_jpeg(const Bytes &file, uint8_t *rgb, int width, int height) {
  jpeg_decompress_struct decoder;
  jpeg_error_mgr errors;
  decoder.err = jpeg_std_error(&errors);
  jpeg_create_decompress(&decoder);
  jpeg_mem_src(&decoder, file.data, file.size);
  jpeg_read_header(&decoder, TRUE);
  decoder.out_color_space = JCS_RGB;
  jpeg_start_decompress(&decoder);
  const bool has_size = decoder.output_width == static_cast<JDIMENSION>(width) &&
                        decoder.output_height == static_cast<JDIMENSION>(height);
  while (has_size && decoder.output_scanline < decoder.output_height) {
    JSAMPROW row = rgb + size_t{3} * decoder.output_width * decoder.output_scanline;
    jpeg_read_scanlines(&decoder, &row, 1);
  }
  if (has_size) {
    jpeg_finish_decompress(&decoder);
  }
  jpeg_destroy_decompress(&decoder);
  return has_size;
}

}  // namespace tavrine::bench
