# The decoder as the distribution ships it, with what broken pictures do to it repaired: a copy
# in the build folder that stands before the original.
set(stb_original ${stb_INCLUDE_DIR}/stb_image.h)
set(stb_repaired_dir ${CMAKE_BINARY_DIR}/dependencies/repaired)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${stb_original})
file(READ ${stb_original} stb_text)
string(FIND "${stb_text}" "/* stb_image - v2.27 " stb_is_known)

# Other versions may have repaired it themselves, or differently: the kept inputs of fuzz/ tell
# whether they did.
function(tavrine_repair_stb what original repaired)
  string(FIND "${stb_text}" "${original}" place)
  if(place EQUAL -1)
    if(stb_is_known EQUAL 0)
      message(FATAL_ERROR "${stb_original}: the place to repair was not found: ${what}")
    endif()
    message(STATUS "${stb_original} is taken as it is: ${what}")
  endif()
  string(REPLACE "${original}" "${repaired}" stb_text "${stb_text}")
  set(stb_text "${stb_text}" PARENT_SCOPE)
endfunction()

tavrine_repair_stb("JPEG code lengths beyond their table"
[[      for (j=0; j < count[i]; ++j)
         h->size[k++] = (stbi_uc) (i+1);
]]
[[      for (j=0; j < count[i]; ++j) {
         if (k == 256) return stbi__err("bad size list","Corrupt JPEG");
         h->size[k++] = (stbi_uc) (i+1);
      }
]])

tavrine_repair_stb("PNG data without bytes are copied to nowhere"
[[static int stbi__getn(stbi__context *s, stbi_uc *buffer, int n)
{
]]
[[static int stbi__getn(stbi__context *s, stbi_uc *buffer, int n)
{
   if (n == 0) return 1;
]])

tavrine_repair_stb("PIC pixels that could not be read are converted"
[[      STBI_FREE(result);
      result=0;
   }
   *px = x;
]]
[[      STBI_FREE(result);
      return 0;
   }
   *px = x;
]])

# Pixels that name a colour beyond the palette show it as black, not as what was in memory before.
tavrine_repair_stb("BMP palettes that are too short"
  "   stbi_uc pal[256][4];"
  "   stbi_uc pal[256][4] = {{0}};")
tavrine_repair_stb("PNG palettes that are too short"
  "   stbi_uc palette[1024], pal_img_n=0;"
  "   stbi_uc palette[1024] = {0}, pal_img_n=0;")

# A negative float as a byte: 0, as on the camera, on every machine.
foreach(channel 0 1 2)
  tavrine_repair_stb("PSD colour ${channel} below 0 behind alpha"
    "pixel[${channel}] = (unsigned char) (pixel[${channel}]*ra + inv_a);"
    "pixel[${channel}] = (unsigned char) (pixel[${channel}]*ra + inv_a < 0 ? 0 : pixel[${channel}]*ra + inv_a);")
endforeach()

file(GENERATE OUTPUT ${stb_repaired_dir}/stb_image.h CONTENT "${stb_text}")
